// The opaque byte string by which the product's stores name folders, messages and the
// stores themselves. Most code only compares and passes it; getComponents takes apart
// the identifiers of the product's own stores, whose layout is known:
//
//   offset 0  4 bytes  MAPI flags (not read)
//   offset 4  16 bytes provider Guid
//   offset 20 4 bytes  type, little-endian; 0 is a store identifier (24 bytes in all)
//   offset 24 16 bytes object Guid (absent for type 0)
//   offset 40 4 bytes  tail, type 6 only (44 bytes in all; 40 for every other type)
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/Guid.h"

class EntryId {
 public:
  static constexpr size_t kStoreSize = 24;
  static constexpr size_t kObjectSize = 40;
  static constexpr size_t kTailedSize = 44;
  static constexpr uint32_t kStoreType = 0;
  static constexpr uint32_t kTailedType = 6;

  EntryId() = default;
  // A null pointer with size 0 is the empty identifier. Raises MAPI_E_INVALID_ENTRYID for
  // a size below 4 and for a null pointer with any other size.
  EntryId(const void* data, size_t size);
  explicit EntryId(std::string bytes) : bytes_(std::move(bytes)) {}

  // Raises MAPI_E_INVALID_ENTRYID when the size does not fit the type.
  void getComponents(Guid& provider, Guid& object, uint32_t& type) const;

  const std::string& bytes() const { return bytes_; }
  const BYTE* data() const { return reinterpret_cast<const BYTE*>(bytes_.data()); }
  size_t size() const { return bytes_.size(); }
  bool empty() const { return bytes_.empty(); }

  friend bool operator==(const EntryId& a, const EntryId& b) { return a.bytes_ == b.bytes_; }
  friend bool operator!=(const EntryId& a, const EntryId& b) { return a.bytes_ != b.bytes_; }
  friend bool operator<(const EntryId& a, const EntryId& b) { return a.bytes_ < b.bytes_; }

 private:
  std::string bytes_;
};
