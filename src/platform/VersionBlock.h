// The version block that a program carries in itself on Linux, the counterpart of a
// VERSIONINFO resource. The build generates one registration per program from the same
// data as the Windows resource script.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "platform/Win32.h"

namespace platform {

struct VersionBlock {
  WORD fileVersion[4] = {0, 0, 0, 0};
  WORD productVersion[4] = {0, 0, 0, 0};
  std::vector<std::pair<WORD, WORD>> translations;  // (language, code page)
  // Strings by (language, code page) block name such as "040904b0", then key.
  std::vector<std::pair<std::wstring, std::vector<std::pair<std::wstring, std::wstring>>>> stringTables;
};

// Registers the block of the running program; called from a static initialiser.
void registerVersionBlock(const VersionBlock& block);
const VersionBlock* registeredVersionBlock();

}  // namespace platform
