// The registry calls of the Linux build, over the settings back end.
#include <cstring>
#include <algorithm>
#include <string>
#include <vector>

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

// The "Time Zones" key is the machine's, not the user's: it has a back end of its own.
std::shared_ptr<platform::SettingsBackend> backendFor(const std::wstring& path) {
  return platform::isTimeZoneKeyPath(path) ? platform::timeZoneKeysBackend() : platform::settingsBackend();
}

}  // namespace

LONG RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD, REGSAM, PHKEY phkResult) {
  if (!phkResult || pathOf(hKey).empty()) return ERROR_INVALID_HANDLE;
  *phkResult = nullptr;
  const std::wstring path = join(hKey, lpSubKey);
  auto backend = backendFor(path);
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
  auto backend = backendFor(path);
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
  const auto value = backendFor(pathOf(hKey))->getValue(pathOf(hKey), lpValueName ? lpValueName : L"");
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
  if (!backendFor(pathOf(hKey))->setValue(pathOf(hKey), lpValueName ? lpValueName : L"", value))
    return ERROR_FILE_NOT_FOUND;
  return ERROR_SUCCESS;
}

LONG RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName) {
  if (pathOf(hKey).empty()) return ERROR_INVALID_HANDLE;
  return backendFor(pathOf(hKey))->deleteValue(pathOf(hKey), lpValueName ? lpValueName : L"") ? ERROR_SUCCESS
                                                                                                  : ERROR_FILE_NOT_FOUND;
}

LONG RegDeleteTreeW(HKEY hKey, LPCWSTR lpSubKey) {
  if (pathOf(hKey).empty()) return ERROR_INVALID_HANDLE;
  return backendFor(join(hKey, lpSubKey))->deleteTree(join(hKey, lpSubKey)) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

LONG RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD, LPWSTR lpClass,
                   LPDWORD lpcchClass, LPFILETIME lpftLastWriteTime) {
  if (pathOf(hKey).empty()) return ERROR_INVALID_HANDLE;
  if (!lpName || !lpcchName) return ERROR_INVALID_PARAMETER;
  const std::vector<std::wstring> names = backendFor(pathOf(hKey))->subKeys(pathOf(hKey));
  if (dwIndex >= names.size()) return ERROR_NO_MORE_ITEMS;
  const std::wstring& name = names[dwIndex];
  if (*lpcchName <= name.size()) return ERROR_MORE_DATA;
  std::copy(name.begin(), name.end(), lpName);
  lpName[name.size()] = 0;
  *lpcchName = static_cast<DWORD>(name.size());
  if (lpClass && lpcchClass && *lpcchClass > 0) {
    *lpClass = 0;
    *lpcchClass = 0;
  }
  if (lpftLastWriteTime) *lpftLastWriteTime = FILETIME{};
  return ERROR_SUCCESS;
}

LONG RegEnumValueW(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName, LPDWORD, LPDWORD lpType,
                   LPBYTE lpData, LPDWORD lpcbData) {
  if (pathOf(hKey).empty()) return ERROR_INVALID_HANDLE;
  if (!lpValueName || !lpcchValueName) return ERROR_INVALID_PARAMETER;
  const std::wstring path = pathOf(hKey);
  const std::vector<std::wstring> names = backendFor(path)->valueNames(path);
  if (dwIndex >= names.size()) return ERROR_NO_MORE_ITEMS;
  const std::wstring& name = names[dwIndex];
  if (*lpcchValueName <= name.size()) return ERROR_MORE_DATA;
  std::copy(name.begin(), name.end(), lpValueName);
  lpValueName[name.size()] = 0;
  *lpcchValueName = static_cast<DWORD>(name.size());
  if (!lpType && !lpData && !lpcbData) return ERROR_SUCCESS;
  return RegQueryValueExW(hKey, name.c_str(), nullptr, lpType, lpData, lpcbData);
}
