#include "platform/Utf8.h"

#include <gtest/gtest.h>

namespace {

TEST(Utf8, RoundTripsEveryPlane) {
  const std::wstring texts[] = {L"", L"ascii", L"caf\u00e9", L"\u20ac uro", L"\U0001F600 smile", L"\uFFFD"};
  for (const auto& text : texts) {
    const auto back = platform::fromUtf8(platform::toUtf8(text));
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(*back, text);
  }
  EXPECT_EQ(platform::toUtf8(L"\u00e9"), "\xC3\xA9");
  EXPECT_EQ(platform::toUtf8(L"\U0001F600"), "\xF0\x9F\x98\x80");
}

TEST(Utf8, RejectsMalformedInputAndSaysWhere) {
  const struct {
    std::string bytes;
    size_t offset;
  } cases[] = {
      {"ab\xC3", 2},              // cut short
      {"\xC3\x41", 0},            // no continuation
      {"x\xC0\x80", 1},           // overlong
      {"\xED\xA0\x80", 0},        // surrogate
      {"\xF4\x90\x80\x80", 0},    // beyond U+10FFFF
      {"ok\xFF", 2},
      {"\x80", 0},
  };
  for (const auto& c : cases) {
    size_t offset = 999;
    EXPECT_FALSE(platform::fromUtf8(c.bytes, &offset).has_value()) << c.bytes;
    EXPECT_EQ(offset, c.offset) << c.bytes;
  }
  EXPECT_EQ(platform::fromUtf8Lenient("a\xFF" "b"), L"a\uFFFDb");
}

}  // namespace
