// SHCopyKeyW of the Linux build, over the registry calls, so that it copies whatever back
// end the keys live in.
#include <vector>

#include "platform/Win32.h"

namespace {

// The open key, closed when the guard goes.
struct KeyGuard {
  HKEY key = nullptr;
  ~KeyGuard() {
    if (key) RegCloseKey(key);
  }
};

LSTATUS copyValues(HKEY from, HKEY to) {
  for (DWORD index = 0;; ++index) {
    WCHAR name[16384];
    DWORD nameLength = 16384, type = 0, size = 0;
    LONG error = RegEnumValueW(from, index, name, &nameLength, nullptr, &type, nullptr, &size);
    if (error == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    if (error != ERROR_SUCCESS) return error;
    std::vector<BYTE> data(size);
    error = RegQueryValueExW(from, name, nullptr, &type, data.data(), &size);
    if (error != ERROR_SUCCESS) return error;
    error = RegSetValueExW(to, name, 0, type, data.data(), size);
    if (error != ERROR_SUCCESS) return error;
  }
}

LSTATUS copyTree(HKEY from, HKEY to) {
  LSTATUS error = copyValues(from, to);
  if (error != ERROR_SUCCESS) return error;
  for (DWORD index = 0;; ++index) {
    WCHAR name[256];
    DWORD nameLength = 256;
    error = RegEnumKeyExW(from, index, name, &nameLength, nullptr, nullptr, nullptr, nullptr);
    if (error == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    if (error != ERROR_SUCCESS) return error;
    KeyGuard child, copy;
    error = RegOpenKeyExW(from, name, 0, KEY_READ, &child.key);
    if (error == ERROR_SUCCESS)
      error = RegCreateKeyExW(to, name, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &copy.key,
                              nullptr);
    if (error == ERROR_SUCCESS) error = copyTree(child.key, copy.key);
    if (error != ERROR_SUCCESS) return error;
  }
}

}  // namespace

LSTATUS SHCopyKeyW(HKEY hkeySrc, LPCWSTR pszSrcSubKey, HKEY hkeyDest, DWORD) {
  if (!hkeyDest) return ERROR_INVALID_PARAMETER;
  KeyGuard source;
  const LONG error = RegOpenKeyExW(hkeySrc, pszSrcSubKey, 0, KEY_READ, &source.key);
  if (error != ERROR_SUCCESS) return error;
  return copyTree(source.key, hkeyDest);
}
