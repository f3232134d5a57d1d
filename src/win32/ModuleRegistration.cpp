#include "win32/ModuleRegistration.h"

#include <string_view>

#include "addin/AddInModule.h"
#include "addin/registrar/AddInRegistration.h"
#include "addin/registrar/Registrar.h"
#include "base/ComRef.h"
#include "base/HResultException.h"
#include "base/RegistryUtils.h"
#include "base/Win32Error.h"
#include "platform/Utf8.h"

namespace zelvo {
namespace win32 {

namespace details {

using addin::RegistrarScope;

addin::RegistrarReplacements replacementsFor(HMODULE module) {
  return addin::addInRegistrarReplacements(addin::moduleFilePathOf(module), module == GetModuleHandleW(nullptr));
}

// The per-user forms of the type library calls are missing from the cross compiler's
// headers and import library; oleaut32 has them, so they are taken from it at run time.
using RegisterForUserFunction = HRESULT(WINAPI*)(ITypeLib*, OLECHAR*, OLECHAR*);
using UnregisterForUserFunction = HRESULT(WINAPI*)(REFGUID, WORD, WORD, LCID, SYSKIND);

template <class Function>
Function oleAutomationFunction(const char* name) {
  HMODULE library = GetModuleHandleW(L"oleaut32.dll");
  FARPROC found = library ? GetProcAddress(library, name) : nullptr;
  if (!found) ZEL_HERE.raise(lastErrorToHResult(), name);
  return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

ComRef<ITypeLib> loadTypeLibrary(HMODULE module) {
  ComRef<ITypeLib> library;
  ZEL_CHECK(LoadTypeLibEx(addin::moduleFilePathOf(module).c_str(), REGKIND_NONE, library.put()));
  return library;
}

void registerTypeLibrary(HMODULE module, RegistrarScope scope) {
  const ComRef<ITypeLib> library = loadTypeLibrary(module);
  std::wstring path = addin::moduleFilePathOf(module);
  if (scope == RegistrarScope::kPerUser) {
    ZEL_CHECK(
        oleAutomationFunction<RegisterForUserFunction>("RegisterTypeLibForUser")(library.get(), &path[0], nullptr));
  } else {
    ZEL_CHECK(RegisterTypeLib(library.get(), &path[0], nullptr));
  }
}

bool isTypeLibraryRegistered(const TLIBATTR& attributes, RegistrarScope scope) {
  wchar_t libraryId[40];
  StringFromGUID2(attributes.guid, libraryId, 40);
  wchar_t version[16];
  wsprintfW(version, L"%x.%x", attributes.wMajorVerNum, attributes.wMinorVerNum);
  const addin::RegistrarTarget classes = addin::registrarTarget(addin::RegistrarRoot::kClassesRoot, scope);
  const std::wstring key =
      (classes.path.empty() ? L"" : classes.path + L"\\") + L"TypeLib\\" + libraryId + L"\\" + version;
  RegistryUtils::ScopedKey opened;
  return opened.open(classes.root, key, KEY_READ) == ERROR_SUCCESS;
}

// A library that isn't registered is left alone: the system calls answer that with
// differing errors.
void unregisterTypeLibrary(HMODULE module, RegistrarScope scope) {
  const ComRef<ITypeLib> library = loadTypeLibrary(module);
  TLIBATTR* attributes = nullptr;
  ZEL_CHECK(library->GetLibAttr(&attributes));
  const TLIBATTR copy = *attributes;
  library->ReleaseTLibAttr(attributes);
  if (!isTypeLibraryRegistered(copy, scope)) return;
  ZEL_CHECK(scope == RegistrarScope::kPerUser
                ? oleAutomationFunction<UnregisterForUserFunction>("UnRegisterTypeLibForUser")(
                      copy.guid, copy.wMajorVerNum, copy.wMinorVerNum, copy.lcid, copy.syskind)
                : UnRegisterTypeLib(copy.guid, copy.wMajorVerNum, copy.wMinorVerNum, copy.lcid, copy.syskind));
}

void registerFor(HMODULE module, const std::wstring& script, RegistrarScope scope) {
  addin::registerScript(script, replacementsFor(module), scope);
  registerTypeLibrary(module, scope);
}

// Best effort: what can't be removed stays, and the first failure of a registration is
// the one that is reported.
void undoFor(HMODULE module, const std::wstring& script, RegistrarScope scope) {
  try {
    addin::unregisterScript(script, replacementsFor(module), scope);
  } catch (const HResultException&) {
  }
  try {
    unregisterTypeLibrary(module, scope);
  } catch (const HResultException&) {
  }
}

bool isAccessDenied(HRESULT code) {
  return code == E_ACCESSDENIED || code == TYPE_E_REGISTRYACCESS || code == HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED);
}

}  // namespace details

std::wstring loadRegistrationScript(HMODULE module) {
  HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(addin::kRegistrationScriptResource), L"REGISTRY");
  if (!found) ZEL_HERE.raise(lastErrorToHResult(), L"The module has no registration script.");
  HGLOBAL loaded = LoadResource(module, found);
  const void* bytes = loaded ? LockResource(loaded) : nullptr;
  if (!bytes) ZEL_HERE.raise(lastErrorToHResult(), L"The registration script can't be loaded.");
  return platform::fromUtf8Lenient(std::string_view(static_cast<const char*>(bytes), SizeofResource(module, found)));
}

void registerModule(HMODULE module) {
  const std::wstring script = loadRegistrationScript(module);
  try {
    details::registerFor(module, script, details::RegistrarScope::kMachine);
    return;
  } catch (const HResultException& e) {
    details::undoFor(module, script, details::RegistrarScope::kMachine);
    if (!details::isAccessDenied(e.getHResult())) throw;
  }
  try {
    details::registerFor(module, script, details::RegistrarScope::kPerUser);
  } catch (const HResultException&) {
    details::undoFor(module, script, details::RegistrarScope::kPerUser);
    throw;
  }
}

void unregisterModule(HMODULE module) {
  const std::wstring script = loadRegistrationScript(module);
  try {
    addin::unregisterScript(script, details::replacementsFor(module), details::RegistrarScope::kMachine);
    details::unregisterTypeLibrary(module, details::RegistrarScope::kMachine);
  } catch (const HResultException& e) {
    if (!details::isAccessDenied(e.getHResult())) throw;
  }
  addin::unregisterScript(script, details::replacementsFor(module), details::RegistrarScope::kPerUser);
  details::unregisterTypeLibrary(module, details::RegistrarScope::kPerUser);
}

}  // namespace win32
}  // namespace zelvo
