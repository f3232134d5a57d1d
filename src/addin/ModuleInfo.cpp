#include "addin/ModuleInfo.h"

#include <cwctype>
#include <vector>

#include "base/HResultException.h"
#include "base/Win32Error.h"

namespace zelvo {
namespace addin {
namespace details {

bool sameName(const std::wstring& a, const wchar_t* b) {
  size_t i = 0;
  for (; i < a.size() && b[i]; ++i)
    if (std::towlower(static_cast<wint_t>(a[i])) != std::towlower(static_cast<wint_t>(b[i]))) return false;
  return i == a.size() && b[i] == 0;
}

// Version calls do not always set a last error; a failure is raised as one all the same.
HRESULT lastFailure() {
  const HRESULT code = lastErrorToHResult();
  return code < 0 ? code : E_FAIL;
}

class Snapshot {
 public:
  Snapshot(DWORD flags, DWORD processId) : handle_(CreateToolhelp32Snapshot(flags, processId)) {
    if (handle_ == INVALID_HANDLE_VALUE) ZEL_HERE.raise(lastFailure());
  }
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;
  ~Snapshot() { CloseHandle(handle_); }
  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

}  // namespace details

std::array<WORD, 4> ModuleInfo::getFileVersions(const std::wstring& path) {
  DWORD handle = 0;
  const DWORD size = GetFileVersionInfoSizeW(path.c_str(), &handle);
  if (size == 0) ZEL_HERE.raise(details::lastFailure());
  std::vector<BYTE> block(size);
  if (!GetFileVersionInfoW(path.c_str(), handle, size, block.data())) ZEL_HERE.raise(details::lastFailure());
  void* data = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(block.data(), L"\\", &data, &length) || length < sizeof(VS_FIXEDFILEINFO))
    ZEL_HERE.raise(details::lastFailure());
  const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(data);
  return {static_cast<WORD>(fixed->dwFileVersionMS >> 16), static_cast<WORD>(fixed->dwFileVersionMS & 0xFFFF),
          static_cast<WORD>(fixed->dwFileVersionLS >> 16), static_cast<WORD>(fixed->dwFileVersionLS & 0xFFFF)};
}

namespace details {
// The module's path in a buffer that grows until the path is not cut; get is
// GetModuleFileNameW or GetModuleFileNameA.
template <class Char, class Get>
void modulePathInto(HMODULE module, std::basic_string<Char>& path, Get get) {
  std::vector<Char> buffer(MAX_PATH);
  for (;;) {
    const DWORD length = get(module, buffer.data(), static_cast<DWORD>(buffer.size()));
    if (length == 0) ZEL_HERE.raise(lastFailure());
    // A path that fills the buffer may have been cut: try again with more room.
    if (length < buffer.size()) {
      path.assign(buffer.data(), length);
      return;
    }
    if (buffer.size() >= 32768) ZEL_HERE.raise(win32ErrorToHResult(ERROR_INSUFFICIENT_BUFFER));
    buffer.resize(buffer.size() * 2);
  }
}
}  // namespace details

void ModuleInfo::getModulePath(HMODULE module, std::wstring& path) {
  details::modulePathInto(module, path, GetModuleFileNameW);
}

void ModuleInfo::getModulePath(HMODULE module, std::string& path) {
  details::modulePathInto(module, path, GetModuleFileNameA);
}

std::wstring ModuleInfo::getModulePath(DWORD processId, const std::wstring& moduleName) {
  details::Snapshot snapshot(TH32CS_SNAPMODULE, processId);
  MODULEENTRY32W entry{};
  entry.dwSize = sizeof entry;
  for (BOOL more = Module32FirstW(snapshot.get(), &entry); more; more = Module32NextW(snapshot.get(), &entry))
    if (details::sameName(moduleName, entry.szModule)) return entry.szExePath;
  return std::wstring();
}

DWORD ModuleInfo::getProcessId(const std::wstring& name) {
  details::Snapshot snapshot(TH32CS_SNAPPROCESS, 0);
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof entry;
  for (BOOL more = Process32FirstW(snapshot.get(), &entry); more; more = Process32NextW(snapshot.get(), &entry))
    if (details::sameName(name, entry.szExeFile)) return entry.th32ProcessID;
  return 0;
}

}  // namespace addin
}  // namespace zelvo
