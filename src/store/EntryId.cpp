#include "store/EntryId.h"

#include "base/HResultException.h"

namespace {

uint32_t readUInt32(const std::string& bytes, size_t offset) {
  const auto* p = reinterpret_cast<const unsigned char*>(bytes.data()) + offset;
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[2]) << 16 |
         static_cast<uint32_t>(p[3]) << 24;
}

}  // namespace

EntryId::EntryId(const void* data, size_t size) {
  if (!data && size == 0) return;
  if (size < 4) ZEL_HERE.raise(MAPI_E_INVALID_ENTRYID, "EntryId constructor: size of buffer < 4");
  if (!data) ZEL_HERE.raise(MAPI_E_INVALID_ENTRYID, "EntryId constructor: ID pointer is NULL");
  bytes_.assign(static_cast<const char*>(data), size);
}

void EntryId::getComponents(Guid& provider, Guid& object, uint32_t& type) const {
  const auto size = static_cast<unsigned>(bytes_.size());
  if (bytes_.size() < kStoreSize) ZEL_HERE.raiseFormatted(MAPI_E_INVALID_ENTRYID, "EntryId too small: %u", size);
  Guid readProvider;
  readProvider.setData(bytes_.data() + 4, 16);
  const uint32_t readType = readUInt32(bytes_, 20);
  Guid readObject;
  if (readType == kStoreType) {
    if (bytes_.size() != kStoreSize)
      ZEL_HERE.raiseFormatted(MAPI_E_INVALID_ENTRYID, "Invalid size of store EntryId: %u != 24", size);
  } else {
    const unsigned expected = static_cast<unsigned>(readType == kTailedType ? kTailedSize : kObjectSize);
    if (size != expected)
      ZEL_HERE.raiseFormatted(MAPI_E_INVALID_ENTRYID, "Invalid size of EntryId: %u != %u", size, expected);
    readObject.setData(bytes_.data() + 24, 16);
  }
  provider = readProvider;
  object = readObject;
  type = readType;
}
