// The Windows STRINGTABLE generated from the same source must hold the same texts.
#include <gtest/gtest.h>

#include <windows.h>

#include "strings/StringTable.h"

namespace {

TEST(ResourceStringTable, HoldsEveryTextOfThePortableTable) {
  using Localization::details::kEnglishStringCount;
  using Localization::details::kEnglishStrings;
  for (size_t i = 0; i < kEnglishStringCount; ++i) {
    const wchar_t* text = nullptr;
    // With a zero buffer size LoadStringW hands out a pointer into the resource itself.
    const int length = LoadStringW(GetModuleHandleW(nullptr), kEnglishStrings[i].id,
                                   reinterpret_cast<wchar_t*>(&text), 0);
    ASSERT_GT(length, 0) << "id " << kEnglishStrings[i].id;
    EXPECT_EQ(std::wstring(text, static_cast<size_t>(length)), std::wstring(kEnglishStrings[i].text))
        << "id " << kEnglishStrings[i].id;
  }
}

}  // namespace
