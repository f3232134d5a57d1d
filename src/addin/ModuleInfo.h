// Facts about modules and processes: a file's version numbers, where a module lives, and
// which process runs a program.
#pragma once

#include <array>
#include <string>

#include "platform/Win32.h"

namespace zelvo {
namespace addin {

class ModuleInfo {
 public:
  // Major, minor, build and revision of the file's version block; raises when the file
  // has none.
  static std::array<WORD, 4> getFileVersions(const std::wstring& path);
  // The path of a module of this process; null is the program itself. Raises on failure.
  static void getModulePath(HMODULE module, std::wstring& path);
  static void getModulePath(HMODULE module, std::string& path);
  // The path of the module of that name in a process, compared without regard to case;
  // empty when the process has no such module. Raises when the process can't be read.
  static std::wstring getModulePath(DWORD processId, const std::wstring& moduleName);
  // The first process whose program has that file name, compared without regard to case;
  // 0 when none does.
  static DWORD getProcessId(const std::wstring& name);
};

}  // namespace addin
}  // namespace zelvo
