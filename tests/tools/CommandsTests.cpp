// The commands of zelvo-rules run as functions: exit codes and the exact bytes of both streams.
#include "Commands.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "testing/TestEnvironment.h"
#include "tests/tools/ToolRun.h"

namespace {

using zelvo::rules::runTool;
using zelvo::rules::ToolIo;

using tooltest::Outcome;
using tooltest::run;

std::string sample(const std::string& name) { return zelvo::testing::sourcePath("tests/tools/data/" + name); }

// A file of our own for one test, removed afterwards.
class TempFile {
 public:
  explicit TempFile(const std::string& bytes, const std::string& suffix = ".sieve") {
    path_ = zelvo::testing::uniqueTempPath("zelvo-rules-test").u8string() + suffix;
    std::ofstream(std::filesystem::u8path(path_), std::ios::binary) << bytes;
  }
  ~TempFile() {
    std::error_code ec;
    std::filesystem::remove(std::filesystem::u8path(path_), ec);
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

class ZelvoRulesCommands : public ::testing::Test {
 protected:
  void SetUp() override {
    if (zelvo::testing::sourceDir().empty()) GTEST_SKIP() << "ZELVO_SOURCE_DIR is not set";
  }
};

TEST_F(ZelvoRulesCommands, CheckCountsTheTopLevelRules) {
  const struct {
    const char* file;
    const char* count;
  } cases[] = {{"rule-from-bob.sieve", "1"},      {"rule-from-bob-disabled.sieve", "1"},
               {"out-of-office.sieve", "1"},      {"junk-email.sieve", "1"},
               {"mailbox.sieve", "4"},            {"hand-written.sieve", "2"},
               {"hand-written.formatted.sieve", "2"}};
  for (const auto& c : cases) {
    const Outcome o = run({"check", sample(c.file)});
    EXPECT_EQ(o.code, 0) << c.file;
    EXPECT_EQ(o.out, sample(c.file) + ": ok, " + c.count + " rules\n");
    EXPECT_EQ(o.err, "");
  }
}

TEST_F(ZelvoRulesCommands, CheckReportsTheLineAndMessageOfTheFirstError) {
  // `stop` stands in for the missing semicolon of the fileinto; its `;` then begins no command.
  Outcome o = run({"check", sample("broken.sieve")});
  EXPECT_EQ(o.code, 1);
  EXPECT_EQ(o.out, "");
  EXPECT_EQ(o.err, sample("broken.sieve") + ":5: bad token: keyword expected\n");

  // A comment before the first live token reads as a disabled rule's code.
  o = run({"check", sample("leading-comment.sieve")});
  EXPECT_EQ(o.code, 1);
  EXPECT_EQ(o.err, sample("leading-comment.sieve") + ":1: invalid command: hand\n");
}

TEST_F(ZelvoRulesCommands, FormatPrintsTheSavedFormByteForByte) {
  for (const char* file : {"rule-from-bob.sieve", "rule-from-bob-disabled.sieve", "out-of-office.sieve",
                           "junk-email.sieve", "mailbox.sieve", "hand-written.formatted.sieve"}) {
    const Outcome o = run({"format", sample(file)});
    EXPECT_EQ(o.code, 0) << file;
    EXPECT_EQ(o.out, zelvo::testing::readFile(sample(file))) << file;
    EXPECT_EQ(o.err, "");
  }
}

TEST_F(ZelvoRulesCommands, FormatNormalisesAHandWrittenScript) {
  // Redirects joined and split again, the size written in bytes, default tags spelt out.
  const Outcome o = run({"format", sample("hand-written.sieve")});
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.out, zelvo::testing::readFile(sample("hand-written.formatted.sieve")));
}

TEST_F(ZelvoRulesCommands, FormatFailsLikeCheckOnAScriptThatDoesNotParse) {
  const Outcome o = run({"format", sample("broken.sieve")});
  EXPECT_EQ(o.code, 1);
  EXPECT_EQ(o.out, "");
  EXPECT_EQ(o.err, sample("broken.sieve") + ":5: bad token: keyword expected\n");
}

TEST_F(ZelvoRulesCommands, MissingFilesAndDirectoriesAreUsageErrors) {
  const std::string missing = sample("no-such-file.sieve");
  Outcome o = run({"check", missing});
  EXPECT_EQ(o.code, 2);
  EXPECT_EQ(o.out, "");
  EXPECT_EQ(o.err.rfind(missing + ": cannot read the file: ", 0), 0u) << o.err;
  EXPECT_EQ(o.err.find('\n'), o.err.size() - 1);

  o = run({"format", zelvo::testing::sourcePath("tests/tools/data")});
  EXPECT_EQ(o.code, 2);
  EXPECT_EQ(o.err.find('\n'), o.err.size() - 1);
}

TEST_F(ZelvoRulesCommands, ReadsFilesWithNonAsciiNamesAndNamesThemInUtf8) {
  TempFile file("keep;\r\n", "-m\xC3\xBCll.sieve");
  Outcome o = run({"check", file.path()});
  EXPECT_EQ(o.code, 0) << o.err;
  EXPECT_EQ(o.out, file.path() + ": ok, 1 rules\n");

  TempFile broken("keep;\r\nstop", "-\xE2\x82\xAC.sieve");
  o = run({"check", broken.path()});
  EXPECT_EQ(o.code, 1);
  EXPECT_EQ(o.err, broken.path() + ":2: premature end of script: semicolon expected\n");
}

TEST(ZelvoRulesStdin, CheckAndFormatReadStandardInput) {
  Outcome o = run({"check", "-"}, "keep;\r\n#!0 off\r\n# discard;\r\n");
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.out, "<stdin>: ok, 2 rules\n");

  o = run({"format", "-"}, "keep; #!0 off\n# discard;\n");
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.out, "keep;\r\n#!0 off\r\n# discard;\r\n");
}

TEST(ZelvoRulesStdin, AnEmptyScriptHasNoRulesAndFormatsToNothing) {
  EXPECT_EQ(run({"check", "-"}, "").out, "<stdin>: ok, 0 rules\n");
  const Outcome o = run({"format", "-"}, "  \r\n# just a comment? no: disabled code\r\n");
  EXPECT_EQ(o.code, 1);  // a comment before any live token is read as code
  EXPECT_EQ(o.err, "<stdin>:2: invalid command: just\n");
  const Outcome empty = run({"format", "-"}, "");
  EXPECT_EQ(empty.code, 0);
  EXPECT_EQ(empty.out, "");
  EXPECT_EQ(empty.err, "");
}

TEST(ZelvoRulesStdin, TextIsUtf8BothWays) {
  const std::string script = "#!1 M\xC3\xBCll \xE2\x82\xAC\r\nif header :contains \"Subject\" \"\xF0\x9F\x93\xA7\" \r\n{\r\n  fileinto \"Ablage/M\xC3\xBCll\";\r\n}\r\n";
  Outcome o = run({"format", "-"}, script);
  EXPECT_EQ(o.code, 0) << o.err;
  EXPECT_EQ(o.out, script);

  // A byte order mark is not part of the script.
  o = run({"check", "-"}, "\xEF\xBB\xBFkeep;");
  EXPECT_EQ(o.out, "<stdin>: ok, 1 rules\n");
}

TEST(ZelvoRulesStdin, InputThatIsNotUtf8IsRefused) {
  const struct {
    std::string bytes;
    const char* offset;
  } cases[] = {{"keep;\xFF", "5"}, {"\xEF\xBB\xBF" "a\xC3", "4"}, {"\xC0\xAF", "0"}, {"\xED\xA0\x80", "0"}};
  for (const auto& c : cases) {
    const Outcome o = run({"check", "-"}, c.bytes);
    EXPECT_EQ(o.code, 2);
    EXPECT_EQ(o.out, "");
    EXPECT_EQ(o.err, std::string("<stdin>: not valid UTF-8 (bad byte at offset ") + c.offset + ")\n");
  }
}

TEST(ZelvoRulesStdin, ARuleWithAnEmptyBlockCannotBeWritten) {
  const std::string script = "#!1 nothing\r\nif true { }\r\n";
  EXPECT_EQ(run({"check", "-"}, script).out, "<stdin>: ok, 1 rules\n");
  const Outcome o = run({"format", "-"}, script);
  EXPECT_EQ(o.code, 1);
  EXPECT_EQ(o.out, "");
  EXPECT_EQ(o.err, "<stdin>: Failed to write sieve script.\n");
}

TEST(ZelvoRulesStdin, FormatDropsElseBranchesAsSavingDoes) {
  const Outcome o = run({"format", "-"}, "if true { keep; } else { discard; }\r\n");
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.out, "if true \r\n{\r\n  keep;\r\n}\r\n");
}

TEST(ZelvoRulesUsage, BadUsageExitsTwoWithOneLine) {
  for (const auto& args : std::vector<std::vector<std::string>>{
           {}, {"lint", "x"}, {"check"}, {"format", "a", "b"}, {"--frob"}, {"check", "--strict", "x"}}) {
    const Outcome o = run(args);
    EXPECT_EQ(o.code, 2);
    EXPECT_EQ(o.out, "");
    ASSERT_FALSE(o.err.empty());
    EXPECT_EQ(o.err.find('\n'), o.err.size() - 1) << o.err;
  }
}

TEST(ZelvoRulesUsage, HelpDescribesEveryCommand) {
  const Outcome o = run({"--help"});
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.err, "");
  for (const auto& command : zelvo::rules::commands()) {
    EXPECT_NE(o.out.find(std::string("\n  ") + command.name + " "), std::string::npos) << command.name;
    const Outcome own = run({command.name, "--help"});
    EXPECT_EQ(own.code, 0);
    EXPECT_EQ(own.out.rfind(std::string("Usage: zelvo-rules ") + command.name, 0), 0u) << own.out;
  }
}

TEST(ZelvoRulesUsage, VersionComesFromTheVersionBlock) {
  const Outcome o = run({"--version"});
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.out, "zelvo-rules " + std::string(ZELVO_TEST_VERSION) + ".0\n");
}

}  // namespace
