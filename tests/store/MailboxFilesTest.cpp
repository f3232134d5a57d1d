#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/Utf8.h"
#include "sieve/SieveModel.h"
#include "store/reference/Mailbox.h"
#include "store/reference/ReferenceStore.h"
#include "StoreTestSupport.h"
#include "testing/TestEnvironment.h"

using namespace ReferenceStore;
using storetest::messageOf;
namespace fs = std::filesystem;

namespace {

class TempFolder {
 public:
  TempFolder() {
    path_ = zelvo::testing::uniqueTempPath("zelvo-store");
    fs::create_directories(path_);
  }
  ~TempFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  std::string path() const { return path_.u8string(); }
  std::string file(const char* name) const { return (path_ / name).u8string(); }
  void write(const char* name, const std::string& bytes) const {
    std::ofstream(path_ / name, std::ios::binary) << bytes;
  }

 private:
  fs::path path_;
};

std::string sampleFolder() { return zelvo::testing::sourcePath("samples/mailbox"); }

class MailboxFilesTest : public storetest::StoreTest {};

TEST_F(MailboxFilesTest, SampleMailboxRoundTripsByteForByte) {
  ASSERT_FALSE(sampleFolder().empty()) << "ZELVO_SOURCE_DIR is not set";
  const Mailbox sample = loadMailbox(sampleFolder());
  TempFolder out;
  saveMailbox(sample, out.path());
  EXPECT_EQ(zelvo::testing::readFile(out.file(kScriptFileName)),
            zelvo::testing::readFile(sampleFolder() + "/" + kScriptFileName));
  const Mailbox again = loadMailbox(out.path());
  EXPECT_TRUE(again == sample) << "the model survives a save and a load";
  EXPECT_EQ(zelvo::testing::readFile(out.file(kMailboxFileName)), mailboxToJson(again)) << "saving is stable";
  EXPECT_TRUE(fs::exists(out.file(kScriptFileName)));
  EXPECT_FALSE(fs::exists(out.file("mailbox.json.tmp")));
}

TEST_F(MailboxFilesTest, SampleMailboxHasWhatTheToolAndTestsRelyOn) {
  const Mailbox m = loadMailbox(sampleFolder());
  EXPECT_NE(m.script.find(L"\r\n"), std::wstring::npos) << "line ends stay CRLF";
  EXPECT_EQ(m.storeClass, StoreClass::Private);
  EXPECT_FALSE(m.folders.empty());
  EXPECT_FALSE(m.delegates.empty());
  EXPECT_FALSE(m.sender.defaultAddress.empty());

  Sieve::SieveRule* head = nullptr;
  Sieve::SieveRule::parseScript(m.script, &head);
  Sieve::RulePtr owner(head);
  std::vector<std::wstring> names;
  int disabled = 0;
  for (auto* rule = head; rule; rule = rule->next) {
    names.push_back(rule->name);
    if (!rule->enabled) ++disabled;
  }
  EXPECT_GE(names.size(), 8u);
  EXPECT_LE(names.size(), 12u);
  ASSERT_GE(names.size(), 2u);
  EXPECT_EQ(names[0], L"__WebmailJunk__");
  EXPECT_EQ(names[1], L"__WebmailAutoreply__");
  EXPECT_GE(disabled, 2) << "the auto-reply and one user rule are off";
}

TEST_F(MailboxFilesTest, StoreSavesWhatItsInterfacesChanged) {
  TempFolder out;
  auto store = Store::load(sampleFolder());
  {
    ComRef<IGlobalConfig> config(store->globalConfig());
    Bstr script(L"#!1 only\r\nkeep;\r\n");
    ASSERT_EQ(config->setSieveScript(script.get()), S_OK);
  }
  store->save(out.path());
  EXPECT_EQ(zelvo::testing::readFile(out.file(kScriptFileName)), "#!1 only\r\nkeep;\r\n");
  Mailbox expected = loadMailbox(sampleFolder());
  expected.script = L"#!1 only\r\nkeep;\r\n";
  EXPECT_TRUE(loadMailbox(out.path()) == expected);
}

struct BrokenCase {
  const char* name;
  std::string json;
  std::string message;
};

const std::string kMinimal = R"({"format": 1, "rootName": "R", "folders": []})";

std::string withFolder(const std::string& folder) {
  return R"({"format": 1, "rootName": "R", "folders": [)" + folder + "]}";
}

const BrokenCase kBroken[] = {
    {"syntax", "{\"format\": 1,\n  \"rootName\" \"R\"}", "mailbox.json: line 2, column 14: syntax error"},
    {"truncated", "{\"format\": 1", "mailbox.json: line 1, column 13: incomplete JSON"},
    {"not an object", "[1, 2]", "mailbox.json: expected an object"},
    {"no format", R"({"rootName": "R", "folders": []})", "mailbox.json: missing field \"format\""},
    {"newer format", R"({"format": 2, "rootName": "R", "folders": []})", "mailbox.json: format: unsupported version 2"},
    {"no root name", R"({"format": 1, "folders": []})", "mailbox.json: missing field \"rootName\""},
    {"root name number", R"({"format": 1, "rootName": 5, "folders": []})", "mailbox.json: rootName: expected a string"},
    {"no folders", R"({"format": 1, "rootName": "R"})", "mailbox.json: missing field \"folders\""},
    {"folders object", R"({"format": 1, "rootName": "R", "folders": {}})", "mailbox.json: folders: expected an array"},
    {"unknown top field", R"({"format": 1, "rootName": "R", "folders": [], "colour": 1})",
     "mailbox.json: unknown field \"colour\""},
    {"folder without path", withFolder(R"({"displayPath": "x"})"), "mailbox.json: folders[0]: missing field \"path\""},
    {"empty path", withFolder(R"({"path": ""})"), "mailbox.json: folders[0].path: a folder path may not be empty"},
    {"misspelt field", withFolder(R"({"path": "a", "pth": "b"})"), "mailbox.json: folders[0]: unknown field \"pth\""},
    {"negative flags", withFolder(R"({"path": "a", "flags": -1})"),
     "mailbox.json: folders[0].flags: expected an unsigned 32-bit number"},
    {"flags too big", withFolder(R"({"path": "a", "flags": 4294967296})"),
     "mailbox.json: folders[0].flags: expected an unsigned 32-bit number"},
    {"flags as text", withFolder(R"({"path": "a", "flags": "1"})"),
     "mailbox.json: folders[0].flags: expected an unsigned 32-bit number"},
    {"duplicate folder", withFolder(R"({"path": "a"}, {"path": "a"})"),
     "mailbox.json: folders[1].path: duplicate folder \"a\""},
    {"odd entry id", withFolder(R"({"path": "a", "entryId": "ABC"})"),
     "mailbox.json: folders[0].entryId: expected upper-case hexadecimal digits in pairs"},
    {"lower-case entry id", withFolder(R"({"path": "a", "entryId": "ab"})"),
     "mailbox.json: folders[0].entryId: expected upper-case hexadecimal digits in pairs"},
    {"access rights missing", withFolder(R"({"path": "a", "access": [{"name": "x"}]})"),
     "mailbox.json: folders[0].access[0]: missing field \"rights\""},
    {"feature as bool", withFolder(R"({"path": "a", "features": [1, true]})"),
     "mailbox.json: folders[0].features[1]: expected an unsigned 32-bit number"},
    {"bad guid", R"({"format": 1, "rootName": "R", "folders": [], "serviceUid": "{1234}"})",
     "mailbox.json: serviceUid: expected a GUID such as {00000000-0000-0000-0000-000000000000}"},
    {"bad store class", R"({"format": 1, "rootName": "R", "folders": [], "storeClass": "shared"})",
     "mailbox.json: storeClass: expected \"private\", \"public\" or \"delegate\""},
    {"address book flag", R"({"format": 1, "rootName": "R", "folders": [], "addressBook": {"ready": 1}})",
     "mailbox.json: addressBook.ready: expected true or false"},
    {"account text key", R"({"format": 1, "rootName": "R", "folders": [], "accountTexts": {"one": "x"}})",
     "mailbox.json: accountTexts: \"one\" is not an unsigned number"},
    {"delegate without id", R"({"format": 1, "rootName": "R", "folders": [], "delegates": [{"address": "a"}]})",
     "mailbox.json: delegates[0]: missing field \"id\""},
    {"property tag", R"({"format": 1, "rootName": "R", "folders": [], "messages": [{"entryId": "00", "properties": {"junk": true}}]})",
     "mailbox.json: messages[0].properties: \"junk\" is not a property tag such as 0xAF17000B"},
    {"property type", R"({"format": 1, "rootName": "R", "folders": [], "messages": [{"entryId": "00", "properties": {"0xAF170102": "x"}}]})",
     "mailbox.json: messages[0].properties: property 0xAF170102 has a type other than boolean (000B), long (0003) or string (001F)"},
    {"property value", R"({"format": 1, "rootName": "R", "folders": [], "messages": [{"entryId": "00", "properties": {"0xAF17000B": 1}}]})",
     "mailbox.json: messages[0].properties.0xAF17000B: expected true or false"},
};

TEST_F(MailboxFilesTest, MalformedJsonNamesFileAndPlace) {
  for (const auto& c : kBroken) {
    SCOPED_TRACE(c.name);
    try {
      parseMailbox("", c.json);
      ADD_FAILURE() << "no raise";
    } catch (const HResultException& e) {
      EXPECT_EQ(e.getHResult(), MAPI_E_CORRUPT_DATA);
      EXPECT_EQ(messageOf(e), c.message);
    }
  }
  EXPECT_NO_THROW(parseMailbox("", kMinimal));
}

TEST_F(MailboxFilesTest, MalformedFolderIsLeftAsItWas) {
  const std::string badScript = "keep;\r\n\xC3(\r\n";
  const std::string json = R"({"format": 1, "rootName": "R", "folders": []})";
  TempFolder folder;
  folder.write(kScriptFileName, badScript);
  folder.write(kMailboxFileName, json);
  try {
    Store::load(folder.path());
    ADD_FAILURE() << "no raise";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), MAPI_E_CORRUPT_DATA);
    EXPECT_EQ(messageOf(e), "script.sieve: not valid UTF-8 at byte 7");
  }
  EXPECT_EQ(zelvo::testing::readFile(folder.file(kScriptFileName)), badScript);
  EXPECT_EQ(zelvo::testing::readFile(folder.file(kMailboxFileName)), json);
  size_t files = 0;
  for (const auto& entry : fs::directory_iterator(folder.path())) files += entry.is_regular_file() ? 1 : 0;
  EXPECT_EQ(files, 2u);
}

TEST_F(MailboxFilesTest, MissingFilesAreReportedByPath) {
  TempFolder folder;
  try {
    loadMailbox(folder.path());
    ADD_FAILURE() << "no raise";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), STG_E_FILENOTFOUND);
    EXPECT_NE(messageOf(e).find("mailbox.json: cannot be opened"), std::string::npos) << messageOf(e);
  }
  folder.write(kMailboxFileName, kMinimal);
  EXPECT_EQ(loadMailbox(folder.path()).script, L"") << "a mailbox without a script has the empty one";
}

}  // namespace
