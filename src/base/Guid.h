// A value class over the 16 bytes of a GUID, ordered by its bytes.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>

#include "platform/Win32.h"

class Guid {
 public:
  Guid() : value_() {}
  explicit Guid(const GUID& value) : value_(value) {}

  // A new unique value; a failure of the system is raised.
  static Guid create();
  static const Guid& nil();

  // Raises E_POINTER for null data and E_INVALIDARG for a size other than 16; the old
  // value stays in either case.
  void setData(const void* data, size_t size);

  // "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", 38 upper-case characters.
  std::wstring toString() const;
  bool isNil() const { return *this == nil(); }

  const GUID& get() const { return value_; }
  const BYTE* bytes() const { return reinterpret_cast<const BYTE*>(&value_); }

  friend bool operator==(const Guid& a, const Guid& b) { return std::memcmp(&a.value_, &b.value_, 16) == 0; }
  friend bool operator!=(const Guid& a, const Guid& b) { return !(a == b); }
  friend bool operator<(const Guid& a, const Guid& b) { return std::memcmp(&a.value_, &b.value_, 16) < 0; }

 private:
  GUID value_;
};
