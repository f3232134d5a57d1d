// Checks of the generated English table as a whole.
#include <gtest/gtest.h>

#include <set>

#include "strings/Localization.h"
#include "strings/StringTable.h"

namespace {

using Localization::details::kEnglishStringCount;
using Localization::details::kEnglishStrings;

TEST(StringTable, IsSortedByIdWithoutDuplicates) {
  ASSERT_GT(kEnglishStringCount, 0u);
  for (size_t i = 1; i < kEnglishStringCount; ++i)
    EXPECT_LT(kEnglishStrings[i - 1].id, kEnglishStrings[i].id) << "at " << kEnglishStrings[i].id;
}

TEST(StringTable, EveryTextIsFoundByItsIdAndIsNotEmpty) {
  for (size_t i = 0; i < kEnglishStringCount; ++i) {
    const auto& e = kEnglishStrings[i];
    EXPECT_NE(*e.text, L'\0') << e.id;
    EXPECT_EQ(Localization::englishTranslator().find(e.id), e.text) << e.id;
  }
}

// A link range is one '[' closed by one ']', never nested or left open: a translator's slip
// here would leave a rule sentence without its link. The command-line tool's texts, from
// id 20000 on, use brackets for optional arguments instead.
TEST(StringTable, LinkMarksArePairedAndNotNested) {
  constexpr unsigned kFirstToolText = 20000;
  for (size_t i = 0; i < kEnglishStringCount && kEnglishStrings[i].id < kFirstToolText; ++i) {
    int depth = 0;
    for (const wchar_t* p = kEnglishStrings[i].text; *p; ++p) {
      if (*p == L'[') ++depth;
      if (*p == L']') --depth;
      ASSERT_TRUE(depth == 0 || depth == 1) << "id " << kEnglishStrings[i].id;
    }
    EXPECT_EQ(depth, 0) << "id " << kEnglishStrings[i].id;
  }
}

TEST(StringTable, SymbolicNamesAreTheIds) {
  EXPECT_EQ(IDS_MESSAGE_TITLE, 5000);
  EXPECT_EQ(IDS_ACTION_FILEINTO, 11035);
  EXPECT_EQ(IDS_ACTION_SETREADFLAG, 11107);
  EXPECT_EQ(IDS_MATCH_MATCHES_HELP, 11067);
}

}  // namespace
