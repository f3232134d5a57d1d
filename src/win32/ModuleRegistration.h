// What DllRegisterServer and DllUnregisterServer do: the registration script of the
// module's resources and its type library, for the machine or, without the rights for
// that, for the current user.
#pragma once

#include <string>

#include "platform/Win32.h"

namespace zelvo {
namespace win32 {

// The script (REGISTRY 5000) of the module as text. Raises when it is missing.
std::wstring loadRegistrationScript(HMODULE module);

// Registers the module for the machine; when that is denied, undoes what was written and
// registers for the current user instead. A failure undoes what was written and raises.
void registerModule(HMODULE module);
// Removes what the script marks for removal and the type library, for the machine (where
// the rights allow) and for the current user.
void unregisterModule(HMODULE module);

// Runs body with the thread locale set to the system default (0x800), restoring the one
// before on every path: registration must not depend on the user's language.
template <class Body>
auto withSystemThreadLocale(Body&& body) {
  struct Restore {
    LCID previous;
    ~Restore() { SetThreadLocale(previous); }
  } restore{GetThreadLocale()};
  SetThreadLocale(LOCALE_SYSTEM_DEFAULT);
  return body();
}

}  // namespace win32
}  // namespace zelvo
