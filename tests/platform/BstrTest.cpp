#include <gtest/gtest.h>

#include <cstring>

#include "platform/Win32.h"

namespace {

TEST(Bstr, CarriesItsByteLengthBeforeTheText) {
  BSTR s = SysAllocString(L"hello");
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(SysStringLen(s), 5u);
  EXPECT_EQ(SysStringByteLen(s), 5u * sizeof(OLECHAR));
  uint32_t prefix;
  std::memcpy(&prefix, reinterpret_cast<const char*>(s) - 4, 4);
  EXPECT_EQ(prefix, 5u * sizeof(OLECHAR));
  EXPECT_EQ(s[5], L'\0');
  SysFreeString(s);
}

TEST(Bstr, EmbeddedZerosAndNulls) {
  const OLECHAR text[] = {L'a', 0, L'b'};
  BSTR s = SysAllocStringLen(text, 3);
  EXPECT_EQ(SysStringLen(s), 3u);
  EXPECT_EQ(s[2], L'b');
  SysFreeString(s);
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  EXPECT_EQ(SysStringLen(nullptr), 0u);
  SysFreeString(nullptr);
  BSTR zeros = SysAllocStringLen(nullptr, 4);
  EXPECT_EQ(SysStringLen(zeros), 4u);
  SysFreeString(zeros);
  BSTR bytes = SysAllocStringByteLen("abc", 3);
  EXPECT_EQ(SysStringByteLen(bytes), 3u);
  EXPECT_EQ(SysStringLen(bytes), 3u / sizeof(OLECHAR));
  SysFreeString(bytes);
}

TEST(Bstr, ReAllocReplacesTheText) {
  BSTR s = SysAllocString(L"one");
  EXPECT_TRUE(SysReAllocString(&s, L"three"));
  EXPECT_EQ(SysStringLen(s), 5u);
  EXPECT_EQ(std::wstring(s), L"three");
  SysFreeString(s);
}

}  // namespace
