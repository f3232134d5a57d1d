// The mailbox commands of zelvo-rules (list, enable, disable, junk) run as functions on
// copies of the sample mailbox: exit codes, the exact lines, what reaches the files, and
// that nothing is written when nothing changed.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Commands.h"
#include "MailboxTarget.h"
#include "base/HResultException.h"
#include "sieve/SieveRules.h"
#include "store/reference/ReferenceStore.h"
#include "testing/TestEnvironment.h"
#include "tests/tools/ToolRun.h"

namespace {

namespace fs = std::filesystem;
using zelvo::rules::runTool;
using zelvo::rules::ToolIo;

using tooltest::Outcome;
using tooltest::run;

std::string readBytes(const fs::path& path) { return zelvo::testing::readFile(path.string()); }

// A copy of the sample mailbox for one test.
class MailboxCopy : public ::testing::Test {
 protected:
  void SetUp() override {
    if (zelvo::testing::sourceDir().empty()) GTEST_SKIP() << "ZELVO_SOURCE_DIR is not set";
    dir_ = zelvo::testing::uniqueTempPath("zelvo-mailbox");
    fs::remove_all(dir_);
    fs::create_directories(dir_);
    const fs::path sample = zelvo::testing::sourcePath("samples/mailbox");
    fs::copy_file(sample / "script.sieve", dir_ / "script.sieve");
    fs::copy_file(sample / "mailbox.json", dir_ / "mailbox.json");
  }
  void TearDown() override {
    std::error_code ec;
    fs::remove_all(dir_, ec);
  }
  Outcome runOn(std::vector<std::string> args) {
    args.push_back("--mailbox");
    args.push_back(dir_.string());
    return run(args);
  }
  std::string script() const { return readBytes(dir_ / "script.sieve"); }
  std::string json() const { return readBytes(dir_ / "mailbox.json"); }
  std::string name() const { return dir_.string(); }

  fs::path dir_;
};

const char* const kSampleRows =
    "1  [x]  Junk e-mail filter\n"
    "2  [ ]  Out of office reply\n"
    "3  [x]  Team reports\n"
    "4  [x]  Invoices\n"
    "5  [x]  Boss to phone\n"
    "6  [x]  Mailing lists\n"
    "7  [ ]  Large attachments\n"
    "8  [x]  Drop calendar noise\n"
    "9  [x]  Family\n";

TEST_F(MailboxCopy, ListShowsTheRowsOfTheRulesDialog) {
  const Outcome o = runOn({"list"});
  EXPECT_EQ(o.code, 0) << o.err;
  EXPECT_EQ(o.out, kSampleRows);
  EXPECT_EQ(o.err, "");
}

TEST_F(MailboxCopy, ReservedRulesComeFirstWhereverTheScriptHasThem) {
  // A junk rule in third place, an unnamed rule, and two rules named like the junk rule.
  std::ofstream(dir_ / "script.sieve", std::ios::binary)
      << "#!1 First\r\nif true { keep; }\r\n"
         "if true { discard; }\r\n"
         "#!1 __WebmailJunk__\r\nif spamtest { fileinto \"Junk E-Mail\"; stop; }\r\n"
         "#!0 __WebmailJunk__\r\n# if true { keep; }\r\n";
  const Outcome o = runOn({"list"});
  EXPECT_EQ(o.code, 0) << o.err;
  EXPECT_EQ(o.out,
            "1  [x]  Junk e-mail filter\n"
            "2  [x]  First\n"
            "3  [x]  (unnamed rule)\n"
            "4  [ ]  Junk e-mail filter\n");
}

TEST_F(MailboxCopy, EnableAndDisableChangeOneRuleAndSaveOnlyChanges) {
  const std::string before = script();
  Outcome o = runOn({"disable", "3"});
  EXPECT_EQ(o.code, 0) << o.err;
  EXPECT_EQ(o.err, name() + ": saved\n");
  const std::string after = script();
  EXPECT_NE(after.find("#!0 Team reports\r\n# if address"), std::string::npos);
  EXPECT_NE(runOn({"list"}).out.find("\n3  [ ]  Team reports\n4  [x]  Invoices\n"), std::string::npos);

  // The same again: the rule set is not touched, so nothing is written. A mailbox.json in
  // a hand-made layout would be rewritten by a save; it stays as it is.
  std::ofstream(dir_ / "mailbox.json", std::ios::app) << "\n\n";
  const std::string handMade = json();
  o = runOn({"disable", "3"});
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.err, name() + ": unchanged\n");
  EXPECT_EQ(script(), after);
  EXPECT_EQ(json(), handMade);

  o = runOn({"enable", "3"});
  EXPECT_EQ(o.code, 0) << o.err;
  EXPECT_EQ(script(), before) << "the sample is in the writer's form already";
}

TEST_F(MailboxCopy, RowErrors) {
  const struct {
    std::vector<std::string> args;
    int code;
    std::string err;
  } cases[] = {
      {{"enable", "0"}, 2, "zelvo-rules enable: there is no row 0; 'zelvo-rules list' shows rows 1 to 9\n"},
      {{"disable", "10"}, 2, "zelvo-rules disable: there is no row 10; 'zelvo-rules list' shows rows 1 to 9\n"},
      {{"enable", "x1"}, 2, "zelvo-rules enable: 'x1' is not a row number\n"},
      {{"enable", "-1"}, 2, "zelvo-rules enable: unknown option '-1'; run 'zelvo-rules enable --help' for usage\n"},
      {{"disable", "1"}, 1,
       "zelvo-rules disable: row 1 ('Junk e-mail filter') has a command of its own: 'zelvo-rules junk on' or "
       "'zelvo-rules junk off'\n"},
      {{"enable", "2"}, 1,
       "zelvo-rules enable: row 2 ('Out of office reply') has a command of its own: 'zelvo-rules ooo on' or "
       "'zelvo-rules ooo off'\n"},
  };
  const std::string before = script();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args[0] + " " + c.args[1]);
    const Outcome o = runOn(c.args);
    EXPECT_EQ(o.code, c.code);
    EXPECT_EQ(o.err, c.err);
    EXPECT_EQ(script(), before);
  }
}

TEST_F(MailboxCopy, JunkCommands) {
  const struct {
    std::vector<std::string> args;
    int code;
    std::string err;        // after the mailbox's name
    std::string state;      // 'junk' afterwards
  } steps[] = {
      {{"junk"}, 0, "",
       "Junk e-mail filter: on\nTrust your contacts: on\nTrusted senders: newsletter@lists.example.org, "
       "billing@utility.example.net\n"},
      {{"junk", "off"}, 0, ": saved\n",
       "Junk e-mail filter: off\nTrust your contacts: on\nTrusted senders: newsletter@lists.example.org, "
       "billing@utility.example.net\n"},
      {{"junk", "off"}, 0, ": unchanged\n", ""},
      {{"junk", "trust", "add", "a@example.org", "BILLING@utility.example.net"}, 0, ": saved\n",
       "Junk e-mail filter: off\nTrust your contacts: on\nTrusted senders: newsletter@lists.example.org, "
       "billing@utility.example.net, a@example.org\n"},
      {{"junk", "trust", "remove", "newsletter@lists.example.org", "billing@utility.example.net", "a@example.org"}, 0,
       ": saved\n", "Junk e-mail filter: off\nTrust your contacts: on\nTrusted senders: none\n"},
      {{"junk", "contacts", "off"}, 0, ": saved\n",
       "Junk e-mail filter: off\nTrust your contacts: off\nTrusted senders: none\n"},
      {{"junk", "on"}, 0, ": saved\n", "Junk e-mail filter: on\nTrust your contacts: off\nTrusted senders: none\n"},
  };
  for (const auto& s : steps) {
    std::string trace;
    for (const auto& a : s.args) trace += a + " ";
    SCOPED_TRACE(trace);
    const Outcome o = runOn(s.args);
    EXPECT_EQ(o.code, s.code);
    if (s.args.size() == 1) {
      EXPECT_EQ(o.out, s.state);
      continue;
    }
    EXPECT_EQ(o.err, s.err.empty() ? "" : name() + s.err);
    if (!s.state.empty()) {
      EXPECT_EQ(runOn({"junk"}).out, s.state);
    }
  }
  // No senders and no contacts: the plain spamtest again.
  EXPECT_NE(script().find("#!1 __WebmailJunk__\r\nif spamtest \r\n{"), std::string::npos);
}

TEST_F(MailboxCopy, JunkUsageErrors) {
  const struct {
    std::vector<std::string> args;
    std::string err;
  } cases[] = {
      {{"junk", "trust"}, "zelvo-rules junk: expected 'on', 'off', 'trust add|remove ADDRESS...' or 'contacts on|off'; "
                          "run 'zelvo-rules junk --help' for usage\n"},
      {{"junk", "trust", "add"}, "zelvo-rules junk: expected 'on', 'off', 'trust add|remove ADDRESS...' or 'contacts "
                                 "on|off'; run 'zelvo-rules junk --help' for usage\n"},
      {{"junk", "contacts", "maybe"}, "zelvo-rules junk: expected 'on' or 'off', not 'maybe'\n"},
  };
  for (const auto& c : cases) {
    const Outcome o = runOn(c.args);
    EXPECT_EQ(o.code, 2);
    EXPECT_EQ(o.err, c.err);
  }
  const Outcome missing = runOn({"junk", "trust", "remove", "nobody@example.org"});
  EXPECT_EQ(missing.code, 1);
  EXPECT_EQ(missing.err, "zelvo-rules junk: nobody@example.org is not a trusted sender\n" + name() + ": unchanged\n");
}

// Trusted senders typed as a user types them, in a folder with a script, a text file and a
// folder, and with a default mailbox that must never be made by a mistyped line.
class TrustedSendersAtThePrompt : public MailboxCopy {
 protected:
  void SetUp() override {
    MailboxCopy::SetUp();
    if (IsSkipped()) return;
    work_ = dir_ / "work";
    fs::create_directories(work_ / "box");
    std::ofstream(work_ / "s.sieve", std::ios::binary) << kScript;
    std::ofstream(work_ / "rules.txt", std::ios::binary) << kScript;
    oldDirectory_ = fs::current_path();
    fs::current_path(work_);
    const char* old = std::getenv("ZELVO_DEFAULT_MAILBOX");
    oldDefault_ = old ? old : "";
    setDefault((dir_ / "default").string());
  }
  void TearDown() override {
    if (!oldDirectory_.empty()) fs::current_path(oldDirectory_);
    if (!work_.empty()) setDefault(oldDefault_);
    MailboxCopy::TearDown();
  }
  static void setDefault(const std::string& value) {
#ifdef _WIN32
    _putenv_s("ZELVO_DEFAULT_MAILBOX", value.c_str());
#else
    if (value.empty()) unsetenv("ZELVO_DEFAULT_MAILBOX");
    else setenv("ZELVO_DEFAULT_MAILBOX", value.c_str(), 1);
#endif
  }
  // The trusted senders that 'junk' shows for a file.
  static std::string sendersOf(const std::string& file) {
    const Outcome o = run({"junk", file});
    const size_t at = o.out.find("Trusted senders: ");
    return at == std::string::npos ? "?" : o.out.substr(at + 17);
  }

  static constexpr const char* kScript = "#!1 A\r\nif true \r\n{\r\n  keep;\r\n}\r\n";
  fs::path work_;
  fs::path oldDirectory_;
  std::string oldDefault_;
};

TEST_F(TrustedSendersAtThePrompt, SendersAreTrimmedAndAFileIsNeverASender) {
  const std::string box = dir_.string();
  const struct {
    std::vector<std::string> args;
    int code;
    std::string err;
    std::string script;  // the trusted senders of s.sieve afterwards
    std::string text;    // and of rules.txt
  } steps[] = {
      {{"junk", "trust", "add", "--file", "s.sieve", "  x@y.org  "}, 0, "s.sieve: saved\n", "x@y.org\n", "none\n"},
      {{"junk", "trust", "remove", "--file", "s.sieve", "x@y.org"}, 0, "s.sieve: saved\n", "none\n", "none\n"},
      // The file last, as every other command takes it.
      {{"junk", "trust", "add", "bob@example.com", "s.sieve"}, 0, "s.sieve: saved\n", "bob@example.com\n", "none\n"},
      {{"junk", "trust", "add", "BOB@Example.com ", "example.org", "s.sieve"}, 0, "s.sieve: saved\n",
       "bob@example.com, example.org\n", "none\n"},
      {{"junk", "trust", "add", "example.org", "rules.txt"}, 0, "rules.txt: saved\n", "bob@example.com, example.org\n",
       "example.org\n"},
      {{"junk", "trust", "add", "\t", "s.sieve"}, 0,
       "zelvo-rules junk trust add: an empty sender is skipped\ns.sieve: unchanged\n", "bob@example.com, example.org\n",
       "example.org\n"},
      {{"junk", "trust", "remove", "Example.ORG", "nobody", "./s.sieve"}, 1,
       "zelvo-rules junk: nobody is not a trusted sender\n./s.sieve: saved\n", "bob@example.com\n", "example.org\n"},
      // Refused, and nothing written anywhere.
      {{"junk", "trust", "add", "bob@example.com", "missing.sieve"}, 2,
       "zelvo-rules junk trust add: there is no script file 'missing.sieve', and a file name is not a sender; name an "
       "existing script: zelvo-rules junk trust add ADDRESS... FILE\n",
       "bob@example.com\n", "example.org\n"},
      {{"junk", "trust", "add", "bob@example.com", "old/s.sieve"}, 2,
       "zelvo-rules junk trust add: there is no script file 'old/s.sieve', and a file name is not a sender; name an "
       "existing script: zelvo-rules junk trust add ADDRESS... FILE\n",
       "bob@example.com\n", "example.org\n"},
      {{"junk", "trust", "add", "s.sieve", "carol@example.com"}, 2,
       "zelvo-rules junk trust add: 's.sieve' is a file name, not a sender; write the senders first and at most one "
       "script file last: zelvo-rules junk trust add ADDRESS... [FILE]\n",
       "bob@example.com\n", "example.org\n"},
      {{"junk", "trust", "add", "carol@example.com", "rules.txt", "s.sieve"}, 2,
       "zelvo-rules junk trust add: 'rules.txt' is a file name, not a sender; write the senders first and at most one "
       "script file last: zelvo-rules junk trust add ADDRESS... [FILE]\n",
       "bob@example.com\n", "example.org\n"},
      {{"junk", "trust", "add", "carol@example.com", "s.sieve", "--mailbox", box}, 2,
       "zelvo-rules junk trust add: 's.sieve' is a file name, not a sender; write the senders first and at most one "
       "script file last: zelvo-rules junk trust add ADDRESS... [FILE]\n",
       "bob@example.com\n", "example.org\n"},
      {{"junk", "trust", "remove", "bob@example.com", "box"}, 2,
       "zelvo-rules junk trust remove: 'box' is a folder; for a mailbox folder write: zelvo-rules junk trust remove "
       "ADDRESS... --mailbox box\n",
       "bob@example.com\n", "example.org\n"},
      {{"junk", "trust", "add", "s.sieve"}, 2,
       "zelvo-rules junk trust add: no sender given; write: zelvo-rules junk trust add ADDRESS... [FILE | --mailbox "
       "DIR]\n",
       "bob@example.com\n", "example.org\n"},
  };
  const std::string mailbox = script();
  for (const auto& s : steps) {
    std::string trace;
    for (const auto& a : s.args) trace += "'" + a + "' ";
    SCOPED_TRACE(trace);
    const Outcome o = run(s.args);
    EXPECT_EQ(o.code, s.code);
    EXPECT_EQ(o.err, s.err);
    EXPECT_EQ(sendersOf("s.sieve"), s.script);
    EXPECT_EQ(sendersOf("rules.txt"), s.text);
    EXPECT_EQ(script(), mailbox);
    EXPECT_FALSE(fs::exists(dir_ / "default")) << "the default mailbox was made";
  }
  // The stored list holds the entries cut of their blanks.
  EXPECT_NE(readBytes(work_ / "s.sieve").find("\"From\" \"bob@example.com\" ) \r\n"), std::string::npos)
      << readBytes(work_ / "s.sieve");
}

TEST_F(TrustedSendersAtThePrompt, StandardInputLastIsTheScript) {
  const Outcome o = run({"junk", "trust", "add", " x@y.org", "-"}, kScript);
  EXPECT_EQ(o.code, 0) << o.err;
  EXPECT_EQ(o.err, "<stdin>: standard input is not saved; the changed script follows\n");
  EXPECT_NE(o.out.find("\"From\" \"x@y.org\" ) \r\n"), std::string::npos) << o.out;
  EXPECT_FALSE(fs::exists(dir_ / "default"));
}

TEST_F(TrustedSendersAtThePrompt, TheDefaultMailboxTakesSendersThatNameNoFile) {
  const Outcome o = run({"junk", "trust", "add", "  partner.example  "});
  EXPECT_EQ(o.code, 0) << o.err;
  EXPECT_NE(o.err.find((dir_ / "default").string() + ": saved\n"), std::string::npos) << o.err;
  EXPECT_EQ(sendersOf("--mailbox=" + (dir_ / "default").string()),
            "newsletter@lists.example.org, billing@utility.example.net, partner.example\n");
  EXPECT_NE(readBytes(dir_ / "default" / "script.sieve").find("\"partner.example\"]"), std::string::npos);
  EXPECT_EQ(readBytes(work_ / "s.sieve"), kScript);
}

TEST_F(MailboxCopy, ABrokenScriptIsReportedAndLeftAsItWas) {
  const std::string broken = "#!1 A\r\nif true {\r\n  keep;\r\n  frob;\r\n}\r\n";
  std::ofstream(dir_ / "script.sieve", std::ios::binary | std::ios::trunc) << broken;
  for (const std::vector<std::string>& args :
       std::vector<std::vector<std::string>>{{"list"}, {"junk", "on"}, {"disable", "1"}}) {
    const Outcome o = runOn(args);
    EXPECT_EQ(o.code, 1);
    EXPECT_EQ(o.err, name() + ":4: invalid command: frob\n" + name() +
                         ": cannot read the mailbox's rules: 0x80004005 E_FAIL: Failed to parse sieve script "
                         "(error=1, line=4)\n");
    EXPECT_EQ(script(), broken);
  }
}

TEST_F(MailboxCopy, ABrokenMailboxFileIsNamed) {
  std::ofstream(dir_ / "mailbox.json", std::ios::trunc) << "{ not json";
  const Outcome o = runOn({"list"});
  EXPECT_EQ(o.code, 1);
  EXPECT_EQ(o.err.rfind(name() + ": cannot open the mailbox: 0x8004011b MAPI_E_CORRUPT_DATA: mailbox.json", 0), 0u)
      << o.err;
}

TEST_F(MailboxCopy, ScriptFilesAndStandardInput) {
  const fs::path file = dir_ / "mine.sieve";
  std::ofstream(file, std::ios::binary) << "#!1 A\r\nif true \r\n{\r\n  keep;\r\n}\r\n";
  Outcome o = run({"junk", "on", file.string()});
  EXPECT_EQ(o.code, 0) << o.err;
  EXPECT_EQ(readBytes(file).rfind("#!1 __WebmailJunk__\r\nif spamtest \r\n", 0), 0u);
  o = run({"list", "--file", file.string()});
  EXPECT_EQ(o.out, "1  [x]  Junk e-mail filter\n2  [x]  A\n");
  o = run({"list", file.string(), "--mailbox", dir_.string()});
  EXPECT_EQ(o.code, 2);
  // Standard input is not saved; the changed script goes to standard output.
  o = run({"disable", "1", "-"}, "#!1 A\r\nif true { keep; }\r\n");
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.out, "#!0 A\r\n# if true \r\n# {\r\n#   keep;\r\n# }\r\n");
  EXPECT_EQ(o.err, "<stdin>: standard input is not saved; the changed script follows\n");
}

TEST_F(MailboxCopy, TheDefaultMailboxIsMadeFromTheBuiltInSample) {
  const fs::path home = dir_ / "default";
  const std::string old = std::getenv("ZELVO_DEFAULT_MAILBOX") ? std::getenv("ZELVO_DEFAULT_MAILBOX") : "";
#ifdef _WIN32
  _putenv_s("ZELVO_DEFAULT_MAILBOX", home.string().c_str());
#else
  setenv("ZELVO_DEFAULT_MAILBOX", home.string().c_str(), 1);
#endif
  Outcome o = run({"list"});
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.out, kSampleRows);
  EXPECT_EQ(o.err, "zelvo-rules: made your default mailbox at " + home.string() + " from the sample mailbox\n");
  EXPECT_EQ(readBytes(home / "script.sieve"), script()) << "the built-in sample is the repository's";
  o = run({"list"});
  EXPECT_EQ(o.err, "") << "made once";
#ifdef _WIN32
  _putenv_s("ZELVO_DEFAULT_MAILBOX", old.c_str());
#else
  if (old.empty()) unsetenv("ZELVO_DEFAULT_MAILBOX");
  else setenv("ZELVO_DEFAULT_MAILBOX", old.c_str(), 1);
#endif
}

TEST_F(MailboxCopy, AFailingStoreCallLeavesTheScript) {
  // The commands' store is the reference service; a failing save reports its code.
  zelvo::rules::MailboxTarget target;
  target.adopt(ReferenceStore::Store::load(dir_.string()), L"box");
  std::istringstream in;
  std::ostringstream out, err;
  ToolIo io{in, out, err};
  Sieve::SieveRules rules;
  ASSERT_EQ(target.load(rules, io), 0);
  rules.setJunkEmailEnabled(false);
  target.store().failNext(ReferenceStore::Operation::SetSieveScript, MAPI_E_NETWORK_ERROR);
  EXPECT_EQ(target.save(rules, io), 1);
  EXPECT_EQ(err.str(), "box: cannot save the rules: 0x80040115 MAPI_E_NETWORK_ERROR; the stored script is as it was\n");
  target.store().failNext(ReferenceStore::Operation::GetSieveScript, E_ACCESSDENIED);
  err.str("");
  Sieve::SieveRules again;
  EXPECT_EQ(target.load(again, io), 1);
  EXPECT_EQ(err.str(), "box: cannot read the mailbox's rules: 0x80070005 E_ACCESSDENIED\n");
}

// --- ooo -------------------------------------------------------------------------------------

TEST_F(MailboxCopy, OooSetStoresTheUtcSecondsOfTheZonesRules) {
  // Ranges across a change of the clocks; the seconds are those that the zone database gives.
  const struct {
    const char* zone;
    const char* from;
    const char* to;
    const char* stored;
  } cases[] = {
      {"Europe/Berlin", "2035-03-24 18:00", "2035-03-26 09:00", ":rangeStart 2058368400 :rangeEnd 2058505200 "},
      {"America/New_York", "2035-11-03 12:00", "2035-11-05 12:00", ":rangeStart 2077718400 :rangeEnd 2077894800 "},
      {"Asia/Kolkata", "2035-06-01 09:30", "2035-06-02T09:30", ":rangeStart 2064283200 :rangeEnd 2064369600 "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.zone);
    const Outcome o = runOn({"ooo", "set", "--message", "  Away  ", "--from", c.from, "--to", c.to, "--zone", c.zone});
    ASSERT_EQ(o.code, 0) << o.err;
    EXPECT_NE(script().find(c.stored), std::string::npos) << script();
    EXPECT_NE(script().find("#!1 __WebmailAutoreply__\r\nif true \r\n"), std::string::npos) << "set turns it on";
    EXPECT_NE(script().find("\"Away\";"), std::string::npos) << "white space is cut from the message";
  }
  const Outcome shown = runOn({"ooo", "--zone", "Europe/Berlin"});
  EXPECT_EQ(shown.code, 0);
  EXPECT_NE(shown.out.find("Out of office reply: on\nAnswering now: no\nMessage: Away\n"), std::string::npos)
      << shown.out;
}

TEST_F(MailboxCopy, OooShowsTheRangeInTheZoneAndInUtc) {
  ASSERT_EQ(runOn({"ooo", "set", "--message", "Back soon", "--from", "2035-03-24 18:00", "--to", "2035-03-26 09:00",
                   "--zone", "Europe/Berlin", "--external-message", "Out", "--known-contacts-only"})
                .code,
            0);
  const Outcome o = runOn({"ooo", "--zone", "America/New_York"});
  EXPECT_EQ(o.out,
            "Out of office reply: on\nAnswering now: no\nMessage: Back soon\n"
            "Range: 2035-03-24 13:00 to 2035-03-26 03:00 (America/New_York); UTC 2035-03-24 17:00 to 2035-03-26 "
            "07:00\nExternal senders: on, known contacts only: yes; message: Out\n");
}

TEST_F(MailboxCopy, OooRefusesWhatItCannotStore) {
  const struct {
    std::vector<std::string> args;
    std::string err;
  } cases[] = {
      {{"ooo", "set", "--message", "x", "--from", "2035-03-26 09:00", "--to", "2035-03-26 09:00"},
       "zelvo-rules ooo set: the start 2035-03-26 09:00 is not before the end 2035-03-26 09:00\n"},
      {{"ooo", "set", "--message", "x", "--from", "2035-03-27 09:00", "--to", "2035-03-26 09:00"},
       "zelvo-rules ooo set: the start 2035-03-27 09:00 is not before the end 2035-03-26 09:00\n"},
      {{"ooo", "set", "--message", "x", "--from", "2035-02-30 09:00", "--to", "2035-03-26 09:00"},
       "zelvo-rules ooo set: '2035-02-30 09:00' is not a time of the form YYYY-MM-DD HH:MM\n"},
      {{"ooo", "set", "--message", "x", "--from", "2035-03-26 9:00pm", "--to", "2035-03-27 09:00"},
       "zelvo-rules ooo set: '2035-03-26 9:00pm' is not a time of the form YYYY-MM-DD HH:MM\n"},
      {{"ooo", "set", "--message", "x", "--from", "2035-03-26 09:00"},
       "zelvo-rules ooo set: give both --from and --to, or neither\n"},
      {{"ooo", "set", "--from", "2035-03-26 09:00", "--to", "2035-03-27 09:00"},
       "zelvo-rules ooo set: --message TEXT is needed\n"},
      {{"ooo", "set", "--message", "x", "--zone", "Europe/Berln"}, "zelvo-rules ooo: unknown time zone 'Europe/Berln'\n"},
      {{"ooo", "set", "--message", "x", "--known-contacts-only"},
       "zelvo-rules ooo set: --known-contacts-only goes with --external-message\n"},
      {{"ooo", "on", "--message", "x"}, "zelvo-rules ooo: option '--message' goes with 'set'\n"},
      {{"ooo", "maybe", "later"},
       "zelvo-rules ooo: expected 'on', 'off' or 'set', and at most a script file; run 'zelvo-rules ooo --help' for "
       "usage\n"},
  };
  const std::string before = script();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.err);
    const Outcome o = runOn(c.args);
    EXPECT_EQ(o.code, 2);
    EXPECT_EQ(o.err, c.err);
    EXPECT_EQ(script(), before);
  }
}

TEST_F(MailboxCopy, OooOnAndOffKeepTheMessageAndWriteOnlyChanges) {
  // The sample's reply is off, with a range and an external message.
  Outcome o = runOn({"ooo", "off"});
  EXPECT_EQ(o.err, name() + ": unchanged\n");
  o = runOn({"ooo", "on"});
  EXPECT_EQ(o.err, name() + ": saved\n");
  EXPECT_NE(script().find("#!1 __WebmailAutoreply__\r\nif true \r\n{\r\n  vacation :days 7 :rangeEnabled 1 "
                          ":rangeStart 1735718400 :rangeEnd 1736323200"),
            std::string::npos);
  o = runOn({"ooo", "on"});
  EXPECT_EQ(o.err, name() + ": unchanged\n");
  // Without the rule, on makes one with the default message, behind the junk e-mail rule.
  std::ofstream(dir_ / "script.sieve", std::ios::binary | std::ios::trunc) << "#!1 Mine\r\nif true { keep; }\r\n";
  EXPECT_EQ(runOn({"ooo", "off"}).err, name() + ": unchanged\n");
  EXPECT_EQ(runOn({"ooo", "on"}).code, 0);
  EXPECT_EQ(runOn({"list"}).out, "1  [x]  Out of office reply\n2  [x]  Mine\n");
}

}  // namespace
