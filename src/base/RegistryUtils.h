// Single registry values, read and written by root key, sub-key and value name. On Linux
// the registry calls work on the user settings store (platform/SettingsStore.h).
#pragma once

#include <string>

#include "platform/Win32.h"

namespace RegistryUtils {

// An open registry key, closed when the guard goes.
class ScopedKey {
 public:
  ScopedKey() = default;
  ScopedKey(const ScopedKey&) = delete;
  ScopedKey& operator=(const ScopedKey&) = delete;
  ~ScopedKey() {
    if (key_) RegCloseKey(key_);
  }
  // The Win32 error of RegOpenKeyExW.
  LONG open(HKEY parent, const std::wstring& path, REGSAM access) {
    return RegOpenKeyExW(parent, path.c_str(), 0, access, &key_);
  }
  HKEY* out() { return &key_; }
  HKEY get() const { return key_; }

 private:
  HKEY key_ = nullptr;
};

// Result-code forms: a value of the wrong type gives 0x8007000D, a Win32 error its
// HRESULT form. The key is closed on every path.
HRESULT readDWORD(HKEY root, const std::wstring& subKey, const std::wstring& name, DWORD& value);
HRESULT writeDWORD(HKEY root, const std::wstring& subKey, const std::wstring& name, DWORD value);
HRESULT readString(HKEY root, const std::wstring& subKey, const std::wstring& name, std::wstring& value);
// Creates the key when it is missing.
HRESULT writeString(HKEY root, const std::wstring& subKey, const std::wstring& name, const std::wstring& value);

// Raising forms.
DWORD getDWORDFromRegistry(HKEY root, const std::wstring& subKey, const std::wstring& name);
std::wstring getStringFromRegistry(HKEY root, const std::wstring& subKey, const std::wstring& name);

// Any failure gives the default, without an error.
DWORD getDWORDFromRegistry(HKEY root, const std::wstring& subKey, const std::wstring& name, DWORD defaultValue);

}  // namespace RegistryUtils
