// The registry calls of the Linux build, over the settings back end.
#include <cstring>
#include <string>

#include "platform/SettingsStore.h"
#include "platform/Win32.h"

struct HKEY__ {
  std::wstring path;
};

namespace {

// The full path of hKey itself, or an empty text for an unknown handle.
std::wstring pathOf(HKEY hKey) {
  if (hKey == HKEY_CLASSES_ROOT) return L"HKEY_CLASSES_ROOT";
  if (hKey == HKEY_CURRENT_USER) return L"HKEY_CURRENT_USER";
  if (hKey == HKEY_LOCAL_MACHINE) return L"HKEY_LOCAL_MACHINE";
  if (hKey == HKEY_USERS) return L"HKEY_USERS";
  return hKey ? hKey->path : std::wstring();
}

bool isRoot(HKEY hKey) {
  return hKey == HKEY_CLASSES_ROOT || hKey == HKEY_CURRENT_USER || hKey == HKEY_LOCAL_MACHINE || hKey == HKEY_USERS;
}

std::wstring join(HKEY hKey, LPCWSTR subKey) {
  std::wstring path = pathOf(hKey);
  if (subKey && *subKey) path += L"\\" + std::wstring(subKey);
  return path;
}

}  // namespace

LONG RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD, REGSAM, PHKEY phkResult) {
  if (!phkResult || pathOf(hKey).empty()) return ERROR_INVALID_HANDLE;
  *phkResult = nullptr;
  const std::wstring path = join(hKey, lpSubKey);
  auto backend = platform::settingsBackend();
  if (!isRoot(hKey) || (lpSubKey && *lpSubKey)) {
    if (!backend->keyExists(path)) return ERROR_FILE_NOT_FOUND;
  }
  *phkResult = new HKEY__{path};
  return ERROR_SUCCESS;
}

LONG RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD, LPWSTR, DWORD, REGSAM, void*, PHKEY phkResult,
                     LPDWORD lpdwDisposition) {
  if (!phkResult || pathOf(hKey).empty()) return ERROR_INVALID_HANDLE;
  const std::wstring path = join(hKey, lpSubKey);
  auto backend = platform::settingsBackend();
  const bool existed = backend->keyExists(path);
  if (!existed) backend->createKey(path);
  if (lpdwDisposition) *lpdwDisposition = existed ? 2 /* REG_OPENED_EXISTING_KEY */ : 1 /* REG_CREATED_NEW_KEY */;
  *phkResult = new HKEY__{path};
  return ERROR_SUCCESS;
}

LONG RegCloseKey(HKEY hKey) {
  if (!hKey) return ERROR_INVALID_HANDLE;
  if (!isRoot(hKey)) delete hKey;
  return ERROR_SUCCESS;
}

LONG RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD, LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData) {
  if (pathOf(hKey).empty()) return ERROR_INVALID_HANDLE;
  if (lpData && !lpcbData) return ERROR_INVALID_PARAMETER;
  const auto value = platform::settingsBackend()->getValue(pathOf(hKey), lpValueName ? lpValueName : L"");
  if (!value) return ERROR_FILE_NOT_FOUND;
  if (lpType) *lpType = value->type;
  const auto size = static_cast<DWORD>(value->data.size());
  if (lpData) {
    if (*lpcbData < size) {
      *lpcbData = size;
      return ERROR_MORE_DATA;
    }
    if (size) std::memcpy(lpData, value->data.data(), size);
  }
  if (lpcbData) *lpcbData = size;
  return ERROR_SUCCESS;
}

LONG RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD, DWORD dwType, const BYTE* lpData, DWORD cbData) {
  if (pathOf(hKey).empty()) return ERROR_INVALID_HANDLE;
  if (!lpData && cbData) return ERROR_INVALID_PARAMETER;
  platform::SettingsValue value;
  value.type = dwType;
  if (cbData) value.data.assign(lpData, lpData + cbData);
  if (!platform::settingsBackend()->setValue(pathOf(hKey), lpValueName ? lpValueName : L"", value))
    return ERROR_FILE_NOT_FOUND;
  return ERROR_SUCCESS;
}

LONG RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName) {
  if (pathOf(hKey).empty()) return ERROR_INVALID_HANDLE;
  return platform::settingsBackend()->deleteValue(pathOf(hKey), lpValueName ? lpValueName : L"") ? ERROR_SUCCESS
                                                                                                  : ERROR_FILE_NOT_FOUND;
}

LONG RegDeleteTreeW(HKEY hKey, LPCWSTR lpSubKey) {
  if (pathOf(hKey).empty()) return ERROR_INVALID_HANDLE;
  return platform::settingsBackend()->deleteTree(join(hKey, lpSubKey)) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}
