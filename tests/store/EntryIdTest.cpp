#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "store/EntryId.h"
#include "StoreTestSupport.h"

using storetest::messageOf;

namespace {

const GUID kProvider = {0x11223344, 0x5566, 0x7788, {0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF, 0x00}};
const GUID kObject = {0xA1B2C3D4, 0xE5F6, 0x0718, {0x29, 0x3A, 0x4B, 0x5C, 0x6D, 0x7E, 0x8F, 0x90}};

std::string makeId(uint32_t type, size_t size) {
  std::string bytes(size, '\0');
  const unsigned char flags[4] = {0xDE, 0xAD, 0xBE, 0xEF};
  std::memcpy(&bytes[0], flags, std::min<size_t>(4, size));
  if (size >= 20) std::memcpy(&bytes[4], &kProvider, 16);
  if (size >= 24) {
    const unsigned char t[4] = {static_cast<unsigned char>(type), static_cast<unsigned char>(type >> 8),
                                static_cast<unsigned char>(type >> 16), static_cast<unsigned char>(type >> 24)};
    std::memcpy(&bytes[20], t, 4);
  }
  if (size >= 40) std::memcpy(&bytes[24], &kObject, 16);
  if (size >= 44) std::memset(&bytes[40], 0x5A, 4);
  return bytes;
}

struct LayoutCase {
  const char* name;
  uint32_t type;
  size_t size;
  const char* error;  // null: the components are read
};

const LayoutCase kLayouts[] = {
    {"store id of 24 bytes", 0, 24, nullptr},
    {"store id of 25 bytes", 0, 25, "Invalid size of store EntryId: 25 != 24"},
    {"store id of 40 bytes", 0, 40, "Invalid size of store EntryId: 40 != 24"},
    {"type 1 of 40 bytes", 1, 40, nullptr},
    {"type 1 of 24 bytes", 1, 24, "Invalid size of EntryId: 24 != 40"},
    {"type 1 of 44 bytes", 1, 44, "Invalid size of EntryId: 44 != 40"},
    {"type 6 of 44 bytes", 6, 44, nullptr},
    {"type 6 of 40 bytes", 6, 40, "Invalid size of EntryId: 40 != 44"},
    {"type 0x01000000 of 40 bytes", 0x01000000u, 40, nullptr},
    {"23 bytes", 0, 23, "EntryId too small: 23"},
    {"4 bytes", 0, 4, "EntryId too small: 4"},
};

TEST(EntryIdTest, ComponentsFollowTheLayoutOfEachType) {
  for (const auto& c : kLayouts) {
    SCOPED_TRACE(c.name);
    const EntryId id(makeId(c.type, c.size));
    Guid provider, object;
    uint32_t type = 12345;
    if (c.error) {
      try {
        id.getComponents(provider, object, type);
        ADD_FAILURE() << "no raise";
      } catch (const HResultException& e) {
        EXPECT_EQ(e.getHResult(), MAPI_E_INVALID_ENTRYID);
        EXPECT_EQ(messageOf(e), c.error);
      }
      EXPECT_EQ(type, 12345u) << "outs change only on success";
      continue;
    }
    id.getComponents(provider, object, type);
    EXPECT_EQ(provider, Guid(kProvider));
    EXPECT_EQ(type, c.type);
    EXPECT_EQ(object, c.type == 0 ? Guid::nil() : Guid(kObject));
  }
}

struct ConstructCase {
  const char* name;
  bool nullPointer;
  size_t size;
  const char* error;
};

const ConstructCase kConstructions[] = {
    {"null and 0", true, 0, nullptr},
    {"null and 4", true, 4, "EntryId constructor: ID pointer is NULL"},
    {"null and 3", true, 3, "EntryId constructor: size of buffer < 4"},
    {"pointer and 3", false, 3, "EntryId constructor: size of buffer < 4"},
    {"pointer and 0", false, 0, "EntryId constructor: size of buffer < 4"},
    {"pointer and 4", false, 4, nullptr},
    {"pointer and 44", false, 44, nullptr},
};

TEST(EntryIdTest, ConstructorChecksPointerAndSize) {
  const std::string bytes = makeId(6, 44);
  for (const auto& c : kConstructions) {
    SCOPED_TRACE(c.name);
    const void* data = c.nullPointer ? nullptr : bytes.data();
    if (c.error) {
      try {
        EntryId id(data, c.size);
        ADD_FAILURE() << "no raise";
      } catch (const HResultException& e) {
        EXPECT_EQ(e.getHResult(), MAPI_E_INVALID_ENTRYID);
        EXPECT_EQ(messageOf(e), c.error);
      }
      continue;
    }
    const EntryId id(data, c.size);
    EXPECT_EQ(id.size(), c.size);
    EXPECT_EQ(id.empty(), c.size == 0);
    EXPECT_EQ(id.bytes(), bytes.substr(0, c.size));
  }
}

TEST(EntryIdTest, CopiesTheBytesItWasGiven) {
  std::string bytes = makeId(1, 40);
  const EntryId id(bytes.data(), bytes.size());
  bytes[30] = 'x';
  EXPECT_NE(id.bytes(), bytes);
  EXPECT_TRUE(EntryId(bytes) < EntryId(bytes + "z"));
  EXPECT_EQ(EntryId(bytes), EntryId(bytes.data(), bytes.size()));
}

}  // namespace
