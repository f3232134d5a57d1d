#include "win32/Win32MapiEnvironment.h"

#include <vector>

#include "base/RegistryUtils.h"
#include "platform/Win32.h"

namespace zelvo {
namespace win32 {

namespace details {

HKEY rootKey(addin::MapiEnvironment::Root root) {
  return root == addin::MapiEnvironment::Root::CurrentUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
}

}  // namespace details

bool Win32MapiEnvironment::readString(Root root, const std::wstring& key, const std::wstring& name,
                                      std::wstring& value) {
  return SUCCEEDED(RegistryUtils::readString(details::rootKey(root), key, name, value));
}

bool Win32MapiEnvironment::readNumber(Root root, const std::wstring& key, const std::wstring& name,
                                      unsigned long& value) {
  DWORD number = 0;
  if (SUCCEEDED(RegistryUtils::readDWORD(details::rootKey(root), key, name, number))) {
    value = number;
    return true;
  }
  std::wstring text;
  if (!readString(root, key, name, text) || text.empty()) return false;
  wchar_t* end = nullptr;
  value = std::wcstoul(text.c_str(), &end, 10);
  return end && *end == L'\0';
}

bool Win32MapiEnvironment::readKeyAndNames(Root root, const std::wstring& key, const std::wstring& name,
                                           std::wstring& subKey, std::vector<std::wstring>& valueNames) {
  // A multi-string, which the registry helpers do not read: key path, then value names.
  RegistryUtils::ScopedKey opened;
  if (opened.open(details::rootKey(root), key, KEY_READ) != ERROR_SUCCESS) return false;
  DWORD type = 0, size = 0;
  if (RegQueryValueExW(opened.get(), name.c_str(), nullptr, &type, nullptr, &size) != ERROR_SUCCESS ||
      type != REG_MULTI_SZ)
    return false;
  std::vector<wchar_t> buffer(size / sizeof(wchar_t) + 2, L'\0');
  if (RegQueryValueExW(opened.get(), name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()), &size) !=
      ERROR_SUCCESS)
    return false;
  // Cut at the terminators; the buffer ends in two of them whatever was stored.
  std::vector<std::wstring> strings;
  for (const wchar_t* p = buffer.data(); p < buffer.data() + buffer.size() && *p; p += strings.back().size() + 1)
    strings.emplace_back(p);
  if (strings.empty()) return false;
  subKey = strings.front();
  valueNames.assign(strings.begin() + 1, strings.end());
  return true;
}

bool Win32MapiEnvironment::fileExists(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

void* Win32MapiEnvironment::loadLibrary(const std::wstring& path) {
  // A missing or broken library must not put a dialog in front of the host.
  const UINT previous = SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  HMODULE module = LoadLibraryW(path.c_str());
  SetErrorMode(previous);
  return module;
}

void Win32MapiEnvironment::freeLibrary(void* module) { FreeLibrary(static_cast<HMODULE>(module)); }

void* Win32MapiEnvironment::getProcAddress(void* module, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name));
}

std::wstring Win32MapiEnvironment::systemDirectory() {
  wchar_t path[MAX_PATH] = {};
  const UINT length = GetSystemDirectoryW(path, MAX_PATH);
  return length && length < MAX_PATH ? std::wstring(path, length) : std::wstring();
}

unsigned long Win32MapiEnvironment::userDefaultLcid() { return GetUserDefaultLCID(); }

unsigned long Win32MapiEnvironment::systemDefaultLcid() { return GetSystemDefaultLCID(); }

bool Win32MapiEnvironment::callGetComponentPath(void* function, const std::string& component,
                                                const std::string& qualifier, std::wstring& path) {
  typedef BOOL(STDAPICALLTYPE * GetComponentPath)(LPCSTR, LPCSTR, LPSTR, DWORD, BOOL);
  char found[MAX_PATH] = {};
  if (!reinterpret_cast<GetComponentPath>(function)(component.c_str(), qualifier.c_str(), found, MAX_PATH, FALSE))
    return false;
  const int length = MultiByteToWideChar(CP_ACP, 0, found, -1, nullptr, 0);
  if (length <= 1) return false;
  path.assign(static_cast<size_t>(length), L'\0');
  MultiByteToWideChar(CP_ACP, 0, found, -1, &path[0], length);
  path.resize(static_cast<size_t>(length - 1));
  return true;
}

addin::MapiLoader& processMapiLoader() {
  static Win32MapiEnvironment environment;
  static addin::MapiLoader loader(environment);
  return loader;
}

}  // namespace win32
}  // namespace zelvo
