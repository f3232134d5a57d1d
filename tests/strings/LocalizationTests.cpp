#include "strings/Localization.h"

#include <gtest/gtest.h>

namespace {

// Puts a translator in force for one test and restores English after it.
class ScopedTranslator {
 public:
  explicit ScopedTranslator(const Localization::Translator& t) { Localization::setTranslator(&t); }
  ~ScopedTranslator() { Localization::setTranslator(nullptr); }
};

TEST(Localization, GivesTheEnglishTextOfAKnownId) {
  EXPECT_EQ(Localization::getString(IDS_MESSAGE_TITLE), L"Zelvo Mail Bridge");
  EXPECT_EQ(Localization::getString(IDS_MATCH_CONTAINS), Localization::getStlString(IDS_MATCH_CONTAINS));
}

TEST(Localization, GivesAnEmptyTextForAnUnknownId) {
  EXPECT_EQ(Localization::getString(0), L"");
  EXPECT_EQ(Localization::getString(4999), L"");
  EXPECT_EQ(Localization::getString(65535), L"");
}

TEST(Localization, KeepsEscapedCharactersOfTheTable) {
  // The tool's usage text is written with \n escapes in the table.
  const std::wstring usage = Localization::getString(IDS_TOOL_USAGE);
  ASSERT_FALSE(usage.empty());
  EXPECT_EQ(usage.compare(0, 19, L"Usage: zelvo-rules "), 0);
  EXPECT_NE(usage.find(L"\n       zelvo-rules --help"), std::wstring::npos);
  EXPECT_EQ(usage.find(L"\\n"), std::wstring::npos);
}

TEST(Localization, ATranslatorTakesOverAndMissingIdsStayEmpty) {
  Localization::TableTranslator german({{IDS_MATCH_IS, L"genau"}, {12345, L"x\u00e9\u20ac"}});
  const unsigned before = Localization::languageGeneration();
  {
    ScopedTranslator scope(german);
    EXPECT_NE(Localization::languageGeneration(), before);
    EXPECT_EQ(Localization::getString(IDS_MATCH_IS), L"genau");
    EXPECT_EQ(Localization::getString(12345), L"x\u00e9\u20ac");
    // No fallback to English: a missing translation is as missing as an unknown id.
    EXPECT_EQ(Localization::getString(IDS_MESSAGE_TITLE), L"");
  }
  EXPECT_EQ(Localization::getString(IDS_MATCH_IS), L"exactly");
  EXPECT_EQ(&Localization::getTranslator(), &Localization::englishTranslator());
}

TEST(Localization, TableTranslatorKeepsTheLastTextOfAnId) {
  Localization::TableTranslator t({{7, L"first"}, {3, L"three"}, {7, L"second"}, {7, L"third"}});
  EXPECT_STREQ(t.find(7), L"third");
  EXPECT_STREQ(t.find(3), L"three");
  EXPECT_EQ(t.find(5), nullptr);
}

TEST(Localization, FormatsPlacesAndSurvivesABadTranslation) {
  EXPECT_EQ(Localization::formatString(IDS_TOOL_CHECK_OK, L"a.sieve", 3), L"a.sieve: ok, 3 rules");
  EXPECT_EQ(Localization::formatString(IDS_SCRIPT_ERROR_LINE, 12, L"bad token"), L"Line 12: bad token");

  Localization::TableTranslator broken({{IDS_TOOL_CHECK_OK, L"%1% %2% %3% %"}, {IDS_TOOL_VERSION, L"v%1%"}});
  ScopedTranslator scope(broken);
  EXPECT_NO_THROW(Localization::formatString(IDS_TOOL_CHECK_OK, L"a", 1));
  EXPECT_NO_THROW(Localization::formatString(IDS_TOOL_CHECK_OK, L"a", 1, 2, 3, 4));
  EXPECT_EQ(Localization::formatString(IDS_TOOL_CHECK_OK, L"a", 1), L"a 1  %");  // missing places stay empty
  EXPECT_EQ(Localization::formatString(IDS_TOOL_VERSION, L"1.0", L"extra"), L"v1.0");
  EXPECT_EQ(Localization::formatString(IDS_TOOL_VERSION), L"v");
}

}  // namespace
