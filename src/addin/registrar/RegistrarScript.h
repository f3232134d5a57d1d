// A registration script as a tree: root keys, their keys with default and named values,
// and what unregistration is to do with each key.
//
//   HKCR
//   {
//     NoRemove CLSID
//     {
//       ForceRemove {...} = s 'Name'
//       {
//         InprocServer32 = s '%MODULE%'
//         {
//           val ThreadingModel = s 'Apartment'
//         }
//       }
//     }
//   }
//
// Roots: HKCR, HKCU, HKLM, HKU or their long names. Value types: s (text), e (text with
// environment references), d (a DWORD, decimal or 0x hexadecimal), b (bytes as hex digits).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "addin/registrar/RegistrarTokenizer.h"
#include "platform/Win32.h"

namespace zelvo {
namespace addin {

enum class RegistrarRoot { kClassesRoot, kCurrentUser, kLocalMachine, kUsers };

// What unregistration does with a key (and registration with a Delete key).
enum class RegistrarKeyFlag {
  kNone,         // removed when nothing is left under it, else only its values
  kForceRemove,  // removed whole on unregistration, and made anew on registration
  kNoRemove,     // kept; the keys under it are still visited
  kDelete,       // removed whole on registration, not made
};

struct RegistrarValue {
  DWORD type = REG_SZ;
  std::wstring text;        // REG_SZ, REG_EXPAND_SZ
  DWORD number = 0;         // REG_DWORD
  std::vector<BYTE> bytes;  // REG_BINARY
};

struct RegistrarNamedValue {
  std::wstring name;
  RegistrarValue value;
};

struct RegistrarKey {
  std::wstring name;
  RegistrarKeyFlag flag = RegistrarKeyFlag::kNone;
  int line = 0;
  std::optional<RegistrarValue> defaultValue;
  std::vector<RegistrarNamedValue> values;
  std::vector<RegistrarKey> subKeys;
};

struct RegistrarRootKey {
  RegistrarRoot root = RegistrarRoot::kClassesRoot;
  std::vector<RegistrarKey> keys;
};

struct RegistrarScript {
  std::vector<RegistrarRootKey> roots;
};

// Parses a whole script. The first error stops it; the answer is then empty and the error
// says the line and what was wrong.
struct RegistrarParseResult {
  RegistrarScript script;
  std::optional<RegistrarError> error;
};
RegistrarParseResult parseRegistrarScript(std::wstring_view text, const RegistrarReplacements& replacements);

}  // namespace addin
}  // namespace zelvo
