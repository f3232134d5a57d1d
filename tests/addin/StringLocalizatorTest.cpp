#include "addin/StringLocalizator.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "addin/ModuleInfo.h"
#include "base/HResultException.h"
#include "base/RegistryUtils.h"
#include "tests/addin/PrivateRoots.h"

namespace {

using namespace zelvo::addin;

const std::wstring kAppPaths = L"Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE";

// Libraries by path, each a table of string ids; records what was loaded and released.
class FakeLibraries : public ResourceLibraries {
 public:
  std::map<std::wstring, std::map<UINT, std::wstring>> files;
  std::vector<std::wstring> loads;  // every path asked for
  int open = 0;

  HMODULE load(const std::wstring& path) override {
    loads.push_back(path);
    const auto found = files.find(path);
    if (found == files.end()) return nullptr;
    ++open;
    return reinterpret_cast<HMODULE>(&found->second);
  }
  std::optional<std::wstring> loadString(HMODULE library, UINT id) override {
    const auto& table = *reinterpret_cast<std::map<UINT, std::wstring>*>(library);
    const auto found = table.find(id);
    if (found == table.end()) return std::nullopt;
    return found->second;
  }
  void release(HMODULE) override { --open; }
};

std::wstring text(StringLocalizator& localizator, unsigned key) {
  std::wstring value;
  localizator.getStrings(key, value);
  return value;
}

HRESULT codeOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const HResultException& e) {
    return e.getHResult();
  }
  return S_OK;
}

std::wstring ownProgram() {
  std::wstring path;
  ModuleInfo::getModulePath(nullptr, path);
  return path;
}

class StringLocalizatorTest : public ::testing::Test {
 protected:
  // The host as its installer registers it: this test program stands for its program
  // file, so its version (major.minor) names the language key.
  void installHost(const std::wstring& folder, DWORD language) {
    const auto& roots = registry_.roots();
    ASSERT_EQ(RegistryUtils::writeString(roots.localMachine, kAppPaths, L"Path", folder), S_OK);
    ASSERT_EQ(RegistryUtils::writeString(roots.localMachine, kAppPaths, L"", ownProgram()), S_OK);
    const auto version = ModuleInfo::getFileVersions(ownProgram());
    const std::wstring key = L"Software\\Microsoft\\Office\\" + std::to_wstring(version[0]) + L"." +
                             std::to_wstring(version[1]) + L"\\Common\\LanguageResources";
    HKEY opened = nullptr;
    ASSERT_EQ(RegCreateKeyExW(roots.currentUser, key.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &opened, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(opened);
    ASSERT_EQ(RegistryUtils::writeDWORD(roots.currentUser, key, L"UiLanguage", language), S_OK);
  }

  zelvo::testing::PrivateRoots registry_;
  std::shared_ptr<FakeLibraries> libraries_ = std::make_shared<FakeLibraries>();
};

TEST_F(StringLocalizatorTest, EnglishWhenNoLibraryIsThere) {
  StringLocalizator localizator(16, registry_.roots(), libraries_);
  const std::pair<unsigned, const wchar_t*> expected[] = {
      {0, L"Inbox"},        {1, L"Outbox"},         {2, L"Sent Items"},    {3, L"Deleted Items"},
      {4, L"Calendar"},     {5, L"Contacts"},       {6, L"Drafts"},        {7, L"Journal"},
      {8, L"Notes"},        {9, L"Tasks"},          {10, L"Junk E-mail"},  {11, L"Conflicts"},
      {12, L"Local Failures"}, {13, L"__zelvomapi__IPM_ROOT"}, {14, L"Resources"}, {15, L"Public Folders"},
      {16, L"Public Folders - unavailable"}, {17, L"Mailbox - "},
  };
  for (const auto& [key, name] : expected) EXPECT_EQ(text(localizator, key), name) << key;
  for (unsigned missing : {18u, 100u}) {
    EXPECT_EQ(codeOf([&] { text(localizator, missing); }), E_UNEXPECTED) << missing;
  }
  EXPECT_EQ(libraries_->loads,
            (std::vector<std::wstring>{L"outllibr.dll", L"mapir.dll", L"mapi32.dll", L"emsmdb32.dll", L"emsui32.dll"}))
      << "no host installed: only the plain names are tried";
}

TEST_F(StringLocalizatorTest, JunkFolderIdDependsOnTheHostVersion) {
  libraries_->files[L"outllibr.dll"] = {{7342, L"Junk (old id)"}, {7343, L"Junk (new id)"}};
  const struct {
    unsigned host;
    const wchar_t* junk;
  } cases[] = {{11, L"Junk (old id)"}, {12, L"Junk (old id)"}, {14, L"Junk (new id)"}, {16, L"Junk (new id)"}};
  for (const auto& c : cases) {
    StringLocalizator localizator(c.host, registry_.roots(), libraries_);
    EXPECT_EQ(text(localizator, kJunkEmailFolder), c.junk) << c.host;
  }
}

TEST_F(StringLocalizatorTest, LaterRowWinsOnlyWhereItFoundAText) {
  libraries_->files[L"outllibr.dll"] = {{12038, L"Posteingang"}, {12040, L"Gesendet (alt)"}, {7352, L"Entw\u00fcrfe"}};
  libraries_->files[L"mapir.dll"] = {{3146, L"Gesendete Elemente"}};
  libraries_->files[L"emsui32.dll"] = {{5207, L"Postfach - "}};
  StringLocalizator localizator(16, registry_.roots(), libraries_);
  EXPECT_EQ(text(localizator, kInboxFolder), L"Posteingang");
  EXPECT_EQ(text(localizator, kSentItemsFolder), L"Gesendete Elemente") << "the newer library's text";
  EXPECT_EQ(text(localizator, kDraftsFolder), L"Entw\u00fcrfe") << "the newer library has none: the older stays";
  EXPECT_EQ(text(localizator, kMailboxPrefix), L"Postfach - ");
  EXPECT_EQ(text(localizator, kOutboxFolder), L"Outbox") << "a missing string keeps English";
  EXPECT_EQ(text(localizator, kResourcesFolder), L"Resources") << "no library holds it";
  EXPECT_EQ(libraries_->open, 0) << "every library is released after the fill";
}

TEST_F(StringLocalizatorTest, LibrariesNotFoundByNameComeFromTheLanguageFolder) {
  installHost(L"C:\\Office\\", 1031);
  libraries_->files[L"C:\\Office\\1031\\outllibr.dll"] = {{12038, L"Posteingang"}};
  libraries_->files[L"mapi32.dll"] = {};
  StringLocalizator localizator(15, registry_.roots(), libraries_);
  EXPECT_EQ(localizator.getOutlookLanguageDirectory(), L"C:\\Office\\1031");
  EXPECT_EQ(text(localizator, kInboxFolder), L"Posteingang");
  EXPECT_EQ(libraries_->loads, (std::vector<std::wstring>{
                                   L"outllibr.dll", L"C:\\Office\\1031\\outllibr.dll", L"mapir.dll",
                                   L"C:\\Office\\1031\\mapir.dll", L"mapi32.dll", L"emsmdb32.dll",
                                   L"C:\\Office\\1031\\emsmdb32.dll", L"emsui32.dll", L"C:\\Office\\1031\\emsui32.dll"}));
  const size_t loads = libraries_->loads.size();
  text(localizator, kOutboxFolder);
  EXPECT_EQ(libraries_->loads.size(), loads) << "the table is filled once";
}

TEST_F(StringLocalizatorTest, LanguageFolderNeedsTheHostAndItsLanguage) {
  StringLocalizator localizator(16, registry_.roots(), libraries_);
  EXPECT_EQ(codeOf([&] { localizator.getOutlookLanguageDirectory(); }), E_FAIL) << "no host registered";
  const auto& roots = registry_.roots();
  ASSERT_EQ(RegistryUtils::writeString(roots.localMachine, kAppPaths, L"Path", L"C:\\Office\\"), S_OK);
  EXPECT_EQ(codeOf([&] { localizator.getOutlookLanguageDirectory(); }), E_FAIL) << "no program file";
  ASSERT_EQ(RegistryUtils::writeString(roots.localMachine, kAppPaths, L"", ownProgram() + L".missing"), S_OK);
  EXPECT_NE(codeOf([&] { localizator.getOutlookLanguageDirectory(); }), S_OK) << "a program without a version";
  ASSERT_EQ(RegistryUtils::writeString(roots.localMachine, kAppPaths, L"", ownProgram()), S_OK);
  EXPECT_EQ(codeOf([&] { localizator.getOutlookLanguageDirectory(); }), static_cast<HRESULT>(0x80070002))
      << "no UiLanguage";
}

TEST_F(StringLocalizatorTest, WithoutALanguagePackFolderNamesStayEnglish) {
  // The system's own loader: the language folder does not exist, and no host library is
  // installed on a build machine.
  installHost(L"C:\\No Such Office\\", 1049);
  StringLocalizator localizator(16, registry_.roots());
  EXPECT_EQ(localizator.getOutlookLanguageDirectory(), L"C:\\No Such Office\\1049");
  const std::pair<unsigned, const wchar_t*> names[] = {
      {kInboxFolder, L"Inbox"}, {kSentItemsFolder, L"Sent Items"}, {kDraftsFolder, L"Drafts"},
      {kJunkEmailFolder, L"Junk E-mail"}, {kMailboxPrefix, L"Mailbox - "}};
  for (const auto& [key, name] : names) EXPECT_EQ(text(localizator, key), name) << key;
}

}  // namespace
