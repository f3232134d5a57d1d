#include "base/Guid.h"

#include <cwchar>

#include "base/HResultException.h"

Guid Guid::create() {
  GUID value;
  ZEL_CHECK(CoCreateGuid(&value));
  return Guid(value);
}

const Guid& Guid::nil() {
  static const Guid zero;
  return zero;
}

void Guid::setData(const void* data, size_t size) {
  if (!data) ZEL_HERE.raise(E_POINTER, "NULL GUID data");
  if (size != sizeof(GUID)) ZEL_HERE.raiseFormatted(E_INVALIDARG, "Wrong GUID data size: %u", static_cast<unsigned>(size));
  std::memcpy(&value_, data, sizeof(GUID));
}

std::wstring Guid::toString() const {
  wchar_t buffer[64];
  const int length = std::swprintf(buffer, sizeof buffer / sizeof buffer[0],
                                   L"{%08lX-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                                   static_cast<unsigned long>(value_.Data1), value_.Data2, value_.Data3,
                                   value_.Data4[0], value_.Data4[1], value_.Data4[2], value_.Data4[3],
                                   value_.Data4[4], value_.Data4[5], value_.Data4[6], value_.Data4[7]);
  if (length != 38) return std::wstring();
  return std::wstring(buffer, 38);
}
