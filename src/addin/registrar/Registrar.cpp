#include "addin/registrar/Registrar.h"

#include <vector>

#include "base/HResultException.h"
#include "base/RegistryUtils.h"
#include "base/Win32Error.h"

namespace zelvo {
namespace addin {

namespace details {

std::wstring joinPath(const std::wstring& parent, const std::wstring& name) {
  return parent.empty() ? name : parent + L"\\" + name;
}

const RegistrarScript& parsed(const RegistrarParseResult& result) {
  if (result.error) {
    ZEL_HERE.raise(DISP_E_EXCEPTION, L"line " + std::to_wstring(result.error->line) + L": " + result.error->message);
  }
  return result.script;
}

void setValue(HKEY key, const std::wstring& name, const RegistrarValue& value, const std::wstring& path) {
  const BYTE* data = nullptr;
  DWORD size = 0;
  switch (value.type) {
    case REG_DWORD:
      data = reinterpret_cast<const BYTE*>(&value.number);
      size = sizeof value.number;
      break;
    case REG_BINARY:
      data = value.bytes.data();
      size = static_cast<DWORD>(value.bytes.size());
      break;
    default:
      data = reinterpret_cast<const BYTE*>(value.text.c_str());
      size = static_cast<DWORD>((value.text.size() + 1) * sizeof(wchar_t));
      break;
  }
  const LONG error = RegSetValueExW(key, name.empty() ? nullptr : name.c_str(), 0, value.type, data, size);
  if (error != ERROR_SUCCESS) {
    ZEL_HERE.raise(win32ErrorToHResult(error), L"Can't set value '" + name + L"' of key " + path);
  }
}

// Removing what isn't there is no failure.
void deleteTree(HKEY parent, const std::wstring& name, const std::wstring& path) {
  const LONG error = RegDeleteTreeW(parent, name.c_str());
  if (error != ERROR_SUCCESS && error != ERROR_FILE_NOT_FOUND) {
    ZEL_HERE.raise(win32ErrorToHResult(error), L"Can't remove key " + path);
  }
}

bool hasSubKeys(HKEY key) {
  wchar_t name[256];
  DWORD length = 256;
  return RegEnumKeyExW(key, 0, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_NO_MORE_ITEMS;
}

void registerKey(HKEY parent, const std::wstring& parentPath, const RegistrarKey& key) {
  const std::wstring path = joinPath(parentPath, key.name);
  if (key.flag == RegistrarKeyFlag::kDelete) {
    deleteTree(parent, key.name, path);
    return;
  }
  // A force-removed key is made anew, so that nothing of an older registration stays.
  if (key.flag == RegistrarKeyFlag::kForceRemove) deleteTree(parent, key.name, path);
  RegistryUtils::ScopedKey opened;
  const LONG error = RegCreateKeyExW(parent, key.name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                     KEY_READ | KEY_WRITE, nullptr, opened.out(), nullptr);
  if (error != ERROR_SUCCESS) ZEL_HERE.raise(win32ErrorToHResult(error), L"Can't create key " + path);
  if (key.defaultValue) setValue(opened.get(), std::wstring(), *key.defaultValue, path);
  for (const auto& named : key.values) setValue(opened.get(), named.name, named.value, path);
  for (const auto& sub : key.subKeys) registerKey(opened.get(), path, sub);
}

void unregisterKey(HKEY parent, const std::wstring& parentPath, const RegistrarKey& key) {
  const std::wstring path = joinPath(parentPath, key.name);
  if (key.flag == RegistrarKeyFlag::kForceRemove) {
    deleteTree(parent, key.name, path);
    return;
  }
  {
    RegistryUtils::ScopedKey opened;
    // A key that isn't there has nothing of ours below it.
    if (opened.open(parent, key.name, KEY_READ | KEY_WRITE) != ERROR_SUCCESS) return;
    for (const auto& sub : key.subKeys) unregisterKey(opened.get(), path, sub);
    if (key.flag == RegistrarKeyFlag::kNoRemove || key.flag == RegistrarKeyFlag::kDelete) return;
    // A shared key that others still use keeps its keys; only our values go.
    if (hasSubKeys(opened.get())) {
      for (const auto& named : key.values) RegDeleteValueW(opened.get(), named.name.c_str());
      return;
    }
  }
  deleteTree(parent, key.name, path);
}

template <class Visit>
void forEachRoot(const RegistrarScript& script, RegistrarScope scope, bool create, Visit visit) {
  for (const auto& rootKey : script.roots) {
    const RegistrarTarget target = registrarTarget(rootKey.root, scope);
    // The predefined roots are used as they are; only a path below one is opened.
    HKEY base = target.root;
    RegistryUtils::ScopedKey opened;
    if (!target.path.empty()) {
      const LONG error = create ? RegCreateKeyExW(target.root, target.path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                                  KEY_READ | KEY_WRITE, nullptr, opened.out(), nullptr)
                                : opened.open(target.root, target.path, KEY_READ | KEY_WRITE);
      if (!create && error == ERROR_FILE_NOT_FOUND) continue;
      if (error != ERROR_SUCCESS) ZEL_HERE.raise(win32ErrorToHResult(error), L"Can't open key " + target.path);
      base = opened.get();
    }
    for (const auto& key : rootKey.keys) visit(base, target.path, key);
  }
}

}  // namespace details

RegistrarTarget registrarTarget(RegistrarRoot root, RegistrarScope scope) {
  if (scope == RegistrarScope::kPerUser) {
    switch (root) {
      case RegistrarRoot::kClassesRoot:
        return {HKEY_CURRENT_USER, L"Software\\Classes"};
      case RegistrarRoot::kLocalMachine:
        return {HKEY_CURRENT_USER, L""};
      default:
        break;
    }
  }
  switch (root) {
    case RegistrarRoot::kClassesRoot:
      return {HKEY_CLASSES_ROOT, L""};
    case RegistrarRoot::kCurrentUser:
      return {HKEY_CURRENT_USER, L""};
    case RegistrarRoot::kLocalMachine:
      return {HKEY_LOCAL_MACHINE, L""};
    case RegistrarRoot::kUsers:
      return {HKEY_USERS, L""};
  }
  return {HKEY_CLASSES_ROOT, L""};
}

void registerScript(const RegistrarScript& script, RegistrarScope scope) {
  details::forEachRoot(script, scope, true, details::registerKey);
}

void unregisterScript(const RegistrarScript& script, RegistrarScope scope) {
  details::forEachRoot(script, scope, false, details::unregisterKey);
}

void registerScript(std::wstring_view text, const RegistrarReplacements& replacements, RegistrarScope scope) {
  const auto result = parseRegistrarScript(text, replacements);
  registerScript(details::parsed(result), scope);
}

void unregisterScript(std::wstring_view text, const RegistrarReplacements& replacements, RegistrarScope scope) {
  const auto result = parseRegistrarScript(text, replacements);
  unregisterScript(details::parsed(result), scope);
}

}  // namespace addin
}  // namespace zelvo
