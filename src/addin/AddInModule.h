// The module object: one per loaded module. It keeps the module's handle, which DllMain
// hands it, and the count of live objects and server locks that DllCanUnloadNow reads.
#pragma once

#include <atomic>
#include <string>

#include "platform/Win32.h"

namespace zelvo {
namespace addin {

class AddInModule {
 public:
  static AddInModule& instance();

  // DllMain calls this at attach; null (the default) stands for the program itself.
  void setModuleHandle(HINSTANCE module);
  HINSTANCE moduleHandle() const;

  // The module's full path. Raises the system error when it can't be read.
  std::wstring getModuleFilePath() const;
  // The path up to and including the last backslash; a path without one raises
  // E_UNEXPECTED.
  std::wstring getModuleLocation() const;

  // Every live object of the module and every LockServer(TRUE) holds one lock; the module
  // may unload only at a count of 0.
  void lock();
  void unlock();
  long lockCount() const;

 private:
  AddInModule() = default;
  AddInModule(const AddInModule&) = delete;
  AddInModule& operator=(const AddInModule&) = delete;

  std::atomic<HINSTANCE> module_{nullptr};
  std::atomic<long> locks_{0};
};

// The full path of a module, from a buffer of 520 characters: a longer path comes back cut
// there, as the loader has it. A failure raises the system's error.
std::wstring moduleFilePathOf(HINSTANCE module);
// The directory part of a module path, as getModuleLocation gives it.
std::wstring moduleLocationOf(const std::wstring& path);

}  // namespace addin
}  // namespace zelvo
