// Runs a registration script against the registry: registration writes what the script
// says, unregistration removes what it marks for removal. There is no system registrar to
// lean on, so the module carries this one.
//
// A per-user run (no administrator) writes the same keys below HKCU: HKCR's under
// HKCU\Software\Classes, HKLM's under HKCU itself, where the host looks for a user's
// add-ins.
#pragma once

#include <string>
#include <string_view>

#include "addin/registrar/RegistrarScript.h"
#include "platform/Win32.h"

namespace zelvo {
namespace addin {

enum class RegistrarScope { kMachine, kPerUser };

// Where a root of the script lands: the registry root and the path below it ("" or
// "Software\Classes").
struct RegistrarTarget {
  HKEY root;
  std::wstring path;
};
RegistrarTarget registrarTarget(RegistrarRoot root, RegistrarScope scope);

// Parse and run. A script that doesn't parse raises DISP_E_EXCEPTION with "line N: ...";
// a registry call that fails raises its error as HRESULT with the key's path. A failed
// registration leaves what was written; the caller unregisters to clean up.
void registerScript(std::wstring_view text, const RegistrarReplacements& replacements, RegistrarScope scope);
void unregisterScript(std::wstring_view text, const RegistrarReplacements& replacements, RegistrarScope scope);

// The same over a parsed script.
void registerScript(const RegistrarScript& script, RegistrarScope scope);
void unregisterScript(const RegistrarScript& script, RegistrarScope scope);

}  // namespace addin
}  // namespace zelvo
