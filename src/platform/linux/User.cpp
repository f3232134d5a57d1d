// Modules, resources and message boxes of the Linux build.
#include <cstring>
#include <map>
#include <mutex>
#include <utility>

#include "platform/Utf8.h"
#include "platform/Win32.h"

namespace platform {
namespace details {

struct Resource {
  std::vector<BYTE> bytes;
};

std::mutex resourceMutex;
// (type, id) -> resource; entries are never removed, so handles to them stay valid.
std::map<std::pair<ULONG_PTR, WORD>, Resource>& resources() {
  static std::map<std::pair<ULONG_PTR, WORD>, Resource> table;
  return table;
}

}  // namespace details

void registerResource(LPCWSTR type, WORD id, std::vector<BYTE> bytes) {
  std::lock_guard<std::mutex> lock(details::resourceMutex);
  details::resources()[{reinterpret_cast<ULONG_PTR>(type), id}].bytes = std::move(bytes);
}

}  // namespace platform


HMODULE GetModuleHandleW(LPCWSTR lpModuleName) {
  if (lpModuleName) SetLastError(ERROR_MOD_NOT_FOUND);
  return nullptr;
}

HMODULE LoadLibraryExW(LPCWSTR, HANDLE, DWORD) {
  SetLastError(ERROR_MOD_NOT_FOUND);
  return nullptr;
}

BOOL FreeLibrary(HMODULE) {
  SetLastError(ERROR_INVALID_HANDLE);
  return FALSE;
}

int LoadStringW(HINSTANCE, UINT, LPWSTR lpBuffer, int cchBufferMax) {
  if (lpBuffer && cchBufferMax > 0) lpBuffer[0] = 0;
  SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
  return 0;
}

HRSRC FindResourceW(HMODULE hModule, LPCWSTR lpName, LPCWSTR lpType) {
  // Only the program itself has resources; names are numbers, as the product uses them.
  if (hModule || !IS_INTRESOURCE(lpName) || !IS_INTRESOURCE(lpType)) {
    SetLastError(hModule ? ERROR_INVALID_HANDLE : ERROR_RESOURCE_NAME_NOT_FOUND);
    return nullptr;
  }
  std::lock_guard<std::mutex> lock(platform::details::resourceMutex);
  auto& table = platform::details::resources();
  const auto type = reinterpret_cast<ULONG_PTR>(lpType);
  const auto found = table.find({type, static_cast<WORD>(reinterpret_cast<ULONG_PTR>(lpName))});
  if (found == table.end()) {
    const auto anyOfType = table.lower_bound({type, 0});
    SetLastError(anyOfType != table.end() && anyOfType->first.first == type ? ERROR_RESOURCE_NAME_NOT_FOUND
                                                                            : ERROR_RESOURCE_TYPE_NOT_FOUND);
    return nullptr;
  }
  return reinterpret_cast<HRSRC>(&found->second);
}

HGLOBAL LoadResource(HMODULE, HRSRC hResInfo) {
  if (!hResInfo) SetLastError(ERROR_INVALID_HANDLE);
  return hResInfo;
}

LPVOID LockResource(HGLOBAL hResData) {
  if (!hResData) return nullptr;
  return reinterpret_cast<platform::details::Resource*>(hResData)->bytes.data();
}

DWORD SizeofResource(HMODULE, HRSRC hResInfo) {
  if (!hResInfo) {
    SetLastError(ERROR_INVALID_HANDLE);
    return 0;
  }
  return static_cast<DWORD>(reinterpret_cast<platform::details::Resource*>(hResInfo)->bytes.size());
}

HANDLE LoadImageW(HINSTANCE, LPCWSTR, UINT, int, int, UINT) {
  SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
  return nullptr;
}

BOOL DestroyIcon(HICON) {
  SetLastError(ERROR_INVALID_ICON_HANDLE);
  return FALSE;
}

BOOL DeleteObject(HGDIOBJ) { return FALSE; }

int MessageBoxW(HWND, LPCWSTR, LPCWSTR, UINT) {
  SetLastError(ERROR_NOT_SUPPORTED);
  return 0;
}

HWND GetActiveWindow() { return nullptr; }

DWORD GetModuleFileNameA(HMODULE hModule, LPSTR lpFilename, DWORD nSize) {
  wchar_t wide[4096];
  const DWORD length = GetModuleFileNameW(hModule, wide, 4096);
  if (length == 0) return 0;
  const std::string path = platform::toUtf8(std::wstring(wide, length));
  if (nSize == 0) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  // Cut as the wide form is: the terminator always fits.
  const size_t copied = path.size() < nSize ? path.size() : nSize - 1;
  std::memcpy(lpFilename, path.data(), copied);
  lpFilename[copied] = 0;
  if (copied < path.size()) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return nSize;
  }
  return static_cast<DWORD>(copied);
}

HRESULT OleCreatePictureIndirect(LPPICTDESC, REFIID, BOOL, LPVOID* lplpvObj) {
  if (lplpvObj) *lplpvObj = nullptr;
  return E_NOTIMPL;
}
