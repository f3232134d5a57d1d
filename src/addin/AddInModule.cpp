#include "addin/AddInModule.h"

#include "base/HResultException.h"
#include "base/Win32Error.h"

namespace zelvo {
namespace addin {

namespace details {
// A path longer than this is refused by the loader anyway.
constexpr DWORD kModulePathCapacity = 520;
}  // namespace details

AddInModule& AddInModule::instance() {
  static AddInModule module;
  return module;
}

void AddInModule::setModuleHandle(HINSTANCE module) { module_ = module; }

HINSTANCE AddInModule::moduleHandle() const { return module_; }

std::wstring AddInModule::getModuleFilePath() const { return moduleFilePathOf(module_); }

std::wstring moduleFilePathOf(HINSTANCE module) {
  wchar_t buffer[details::kModulePathCapacity];
  const DWORD length = GetModuleFileNameW(module, buffer, details::kModulePathCapacity);
  if (length == 0) ZEL_HERE.raise(lastErrorToHResult());
  return std::wstring(buffer, length < details::kModulePathCapacity ? length : details::kModulePathCapacity - 1);
}

std::wstring AddInModule::getModuleLocation() const { return moduleLocationOf(getModuleFilePath()); }

void AddInModule::lock() { ++locks_; }

void AddInModule::unlock() { --locks_; }

long AddInModule::lockCount() const { return locks_; }

std::wstring moduleLocationOf(const std::wstring& path) {
  const std::wstring::size_type slash = path.rfind(L'\\');
  if (slash == std::wstring::npos) ZEL_HERE.raise(E_UNEXPECTED);
  return path.substr(0, slash + 1);
}

}  // namespace addin
}  // namespace zelvo
