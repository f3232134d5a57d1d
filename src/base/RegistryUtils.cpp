#include "base/RegistryUtils.h"

#include <vector>

#include "base/HResultException.h"
#include "base/Win32Error.h"

namespace RegistryUtils {
namespace details {

constexpr REGSAM kReadAccess = 0x20019;   // KEY_READ
constexpr REGSAM kWriteAccess = 0x2001F;  // KEY_READ with the write rights
constexpr HRESULT kWrongType = static_cast<HRESULT>(0x8007000D);

}  // namespace details

HRESULT readDWORD(HKEY root, const std::wstring& subKey, const std::wstring& name, DWORD& value) {
  ScopedKey key;
  LONG error = RegOpenKeyExW(root, subKey.c_str(), 0, details::kReadAccess, key.out());
  if (error != ERROR_SUCCESS) return win32ErrorToHResult(error);
  DWORD type = 0, data = 0, size = sizeof data;
  error = RegQueryValueExW(key.get(), name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(&data), &size);
  if (error == ERROR_MORE_DATA || (error == ERROR_SUCCESS && type != REG_DWORD)) return details::kWrongType;
  if (error != ERROR_SUCCESS) return win32ErrorToHResult(error);
  value = data;
  return S_OK;
}

HRESULT writeDWORD(HKEY root, const std::wstring& subKey, const std::wstring& name, DWORD value) {
  ScopedKey key;
  LONG error = RegOpenKeyExW(root, subKey.c_str(), 0, details::kWriteAccess, key.out());
  if (error != ERROR_SUCCESS) return win32ErrorToHResult(error);
  error = RegSetValueExW(key.get(), name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value);
  return win32ErrorToHResult(error);
}

HRESULT readString(HKEY root, const std::wstring& subKey, const std::wstring& name, std::wstring& value) {
  ScopedKey key;
  LONG error = RegOpenKeyExW(root, subKey.c_str(), 0, details::kReadAccess, key.out());
  if (error != ERROR_SUCCESS) return win32ErrorToHResult(error);
  DWORD type = 0, size = 0;
  error = RegQueryValueExW(key.get(), name.c_str(), nullptr, &type, nullptr, &size);
  if (error != ERROR_SUCCESS) return win32ErrorToHResult(error);
  if (type != REG_SZ && type != REG_EXPAND_SZ) return details::kWrongType;
  // The registry stores 16-bit units; on Linux wchar_t is wider, so read into units.
  std::vector<uint16_t> buffer(size / 2 + 1, 0);
  error = RegQueryValueExW(key.get(), name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()), &size);
  if (error != ERROR_SUCCESS) return win32ErrorToHResult(error);
  size_t length = size / 2;
  if (length > 0) --length;  // the terminator
  std::wstring text;
  text.reserve(length);
  for (size_t i = 0; i < length; ++i) {
    const uint32_t unit = buffer[i];
    if (sizeof(wchar_t) == 4 && unit >= 0xD800 && unit <= 0xDBFF && i + 1 < length && buffer[i + 1] >= 0xDC00 &&
        buffer[i + 1] <= 0xDFFF) {
      text += static_cast<wchar_t>(0x10000 + ((unit - 0xD800) << 10) + (buffer[i + 1] - 0xDC00));
      ++i;
    } else {
      text += static_cast<wchar_t>(unit);
    }
  }
  // A value stored with its terminator and more: the text ends at the first zero.
  const size_t zero = text.find(L'\0');
  if (zero != std::wstring::npos) text.resize(zero);
  value = text;
  return S_OK;
}

HRESULT writeString(HKEY root, const std::wstring& subKey, const std::wstring& name, const std::wstring& value) {
  ScopedKey key;
  LONG error = RegCreateKeyExW(root, subKey.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, details::kWriteAccess,
                               nullptr, key.out(), nullptr);
  if (error != ERROR_SUCCESS) return win32ErrorToHResult(error);
  std::vector<uint16_t> units;
  for (wchar_t c : value) {
    const auto u = static_cast<uint32_t>(c);
    if (u > 0xFFFF) {
      units.push_back(static_cast<uint16_t>(0xD800 + ((u - 0x10000) >> 10)));
      units.push_back(static_cast<uint16_t>(0xDC00 + ((u - 0x10000) & 0x3FF)));
    } else {
      units.push_back(static_cast<uint16_t>(u));
    }
  }
  units.push_back(0);
  error = RegSetValueExW(key.get(), name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(units.data()),
                         static_cast<DWORD>(units.size() * 2));
  return win32ErrorToHResult(error);
}

DWORD getDWORDFromRegistry(HKEY root, const std::wstring& subKey, const std::wstring& name) {
  DWORD value = 0;
  ZEL_CHECK(readDWORD(root, subKey, name, value));
  return value;
}

std::wstring getStringFromRegistry(HKEY root, const std::wstring& subKey, const std::wstring& name) {
  std::wstring value;
  ZEL_CHECK(readString(root, subKey, name, value));
  return value;
}

DWORD getDWORDFromRegistry(HKEY root, const std::wstring& subKey, const std::wstring& name, DWORD defaultValue) {
  DWORD value = 0;
  return SUCCEEDED(readDWORD(root, subKey, name, value)) ? value : defaultValue;
}

}  // namespace RegistryUtils
