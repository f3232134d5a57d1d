#include "base/ModuleVersion.h"

#include <gtest/gtest.h>

#include "base/HResultException.h"

namespace {

TEST(ModuleVersion, ReadsTheTranslationsAndStringsOfThisProgram) {
  ModuleVersion version;
  const auto translations = version.getTranslations();
  ASSERT_EQ(translations.size(), 1u);
  EXPECT_EQ(translations[0].language, 0x0409);
  EXPECT_EQ(translations[0].codePage, 1200);
  const struct {
    const wchar_t* key;
    const wchar_t* value;
  } cases[] = {
      {L"ProductName", L"Zelvo Mail Bridge"},
      {L"CompanyName", L"Zelvo"},
      {L"FileDescription", L"Zelvo Mail Bridge test program"},
      {L"productname", L"Zelvo Mail Bridge"},
  };
  for (const auto& c : cases) EXPECT_EQ(version.getFileInfoString(c.key, translations[0]), c.value);
  EXPECT_FALSE(version.getFileInfoString(L"FileVersion", translations[0]).empty());
}

TEST(ModuleVersion, MissingStringsAndTranslationsRaise) {
  ModuleVersion version;
  const auto translations = version.getTranslations();
  ASSERT_FALSE(translations.empty());
  EXPECT_THROW(version.getFileInfoString(L"NoSuchKey", translations[0]), HResultException);
  EXPECT_THROW(version.getFileInfoString(L"ProductName", {0x0407, 1252}), HResultException);
}

TEST(ModuleVersion, ModulePathIsThisProgram) {
  const std::wstring path = ModuleVersion().getModulePath();
  EXPECT_NE(path.find(L"base_tests"), std::wstring::npos);
}

}  // namespace
