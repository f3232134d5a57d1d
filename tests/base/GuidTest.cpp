#include "base/Guid.h"

#include <gtest/gtest.h>

#include <set>

#include "base/HResultException.h"

namespace {

const GUID kSample = {0x0A1B2C3D, 0x4E5F, 0x6071, {0x82, 0x93, 0xA4, 0xB5, 0xC6, 0xD7, 0xE8, 0xF9}};

TEST(Guid, TextFormIsThirtyEightUpperCaseCharacters) {
  EXPECT_EQ(Guid(kSample).toString(), L"{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}");
  EXPECT_EQ(Guid().toString(), L"{00000000-0000-0000-0000-000000000000}");
  const GUID all = {0xFFFFFFFF, 0xFFFF, 0xFFFF, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};
  EXPECT_EQ(Guid(all).toString(), L"{FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF}");
}

TEST(Guid, CreateGivesDistinctNonNilValues) {
  std::set<Guid> seen;
  for (int i = 0; i < 100; ++i) {
    const Guid g = Guid::create();
    EXPECT_FALSE(g.isNil());
    EXPECT_TRUE(seen.insert(g).second);
  }
  EXPECT_TRUE(Guid().isNil());
  EXPECT_TRUE(Guid::nil().isNil());
}

TEST(Guid, SetDataRejectsNullAndWrongSizesAndKeepsTheOldValue) {
  Guid g(kSample);
  const unsigned char bytes[17] = {1};
  const struct {
    const void* data;
    size_t size;
    HRESULT code;
    const wchar_t* message;
  } cases[] = {
      {nullptr, 16, E_POINTER, L": NULL GUID data"},
      {bytes, 15, E_INVALIDARG, L": Wrong GUID data size: 15"},
      {bytes, 17, E_INVALIDARG, L": Wrong GUID data size: 17"},
      {bytes, 0, E_INVALIDARG, L": Wrong GUID data size: 0"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.size);
    try {
      g.setData(c.data, c.size);
      ADD_FAILURE() << "no raise";
    } catch (const HResultException& e) {
      EXPECT_EQ(e.getHResult(), c.code);
      const std::wstring& text = e.text();
      const std::wstring tail(c.message);
      ASSERT_GE(text.size(), tail.size());
      EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
    }
    EXPECT_EQ(g, Guid(kSample));
  }
  g.setData(bytes, 16);
  EXPECT_EQ(g.bytes()[0], 1);
  EXPECT_EQ(g.bytes()[1], 0);
}

TEST(Guid, OrderIsByBytesNotByFields) {
  // Data1 is stored little-endian: 0x00000100 has a smaller first byte than 0x00000001.
  const GUID low = {0x00000100, 0, 0, {}};
  const GUID high = {0x00000001, 0, 0, {}};
  EXPECT_LT(Guid(low), Guid(high));
  EXPECT_FALSE(Guid(high) < Guid(low));
  EXPECT_NE(Guid(low), Guid(high));
}

}  // namespace
