// The real zelvo-rules program, started as a user starts it: exit codes and the exact bytes
// of standard output and standard error.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "testing/TestEnvironment.h"

extern char** environ;

namespace {

struct Outcome {
  int code = -1;
  std::string out;
  std::string err;
};

// Runs the program with stdin from a file (or /dev/null) and both outputs into files.
Outcome runProgram(const std::vector<std::string>& args, const std::string& stdinPath = "/dev/null") {
  namespace fs = std::filesystem;
  const fs::path dir = fs::temp_directory_path() / ("zelvo-rules-e2e-" + std::to_string(::getpid()));
  fs::create_directories(dir);
  const std::string outPath = (dir / "out").string();
  const std::string errPath = (dir / "err").string();

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, stdinPath.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);

  std::vector<std::string> argvStrings{ZELVO_RULES_PROGRAM};
  argvStrings.insert(argvStrings.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (auto& a : argvStrings) argv.push_back(a.data());
  argv.push_back(nullptr);

  Outcome outcome;
  pid_t pid = 0;
  const int spawned = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) {
    ADD_FAILURE() << "cannot start " << argv[0];
    return outcome;
  }
  int status = 0;
  waitpid(pid, &status, 0);
  if (WIFEXITED(status)) {
    outcome.code = WEXITSTATUS(status);
  } else {
    ADD_FAILURE() << "zelvo-rules ended by signal " << WTERMSIG(status);
  }
  outcome.out = zelvo::testing::readFile(outPath);
  outcome.err = zelvo::testing::readFile(errPath);
  fs::remove_all(dir);
  return outcome;
}

std::string sample(const std::string& name) { return zelvo::testing::sourcePath("tests/tools/data/" + name); }

class ZelvoRulesProgram : public ::testing::Test {
 protected:
  void SetUp() override {
    if (zelvo::testing::sourceDir().empty()) GTEST_SKIP() << "ZELVO_SOURCE_DIR is not set";
  }
};

TEST_F(ZelvoRulesProgram, CheckOfABrokenScriptGivesItsLineAndMessage) {
  const Outcome o = runProgram({"check", sample("broken.sieve")});
  EXPECT_EQ(o.code, 1);
  EXPECT_EQ(o.out, "");
  EXPECT_EQ(o.err, sample("broken.sieve") + ":5: bad token: keyword expected\n");
}

TEST_F(ZelvoRulesProgram, FormatPrintsTheExamplesBackByteForByte) {
  for (const char* file : {"rule-from-bob.sieve", "rule-from-bob-disabled.sieve", "out-of-office.sieve",
                           "junk-email.sieve", "mailbox.sieve"}) {
    const Outcome o = runProgram({"format", sample(file)});
    EXPECT_EQ(o.code, 0) << file;
    EXPECT_EQ(o.out, zelvo::testing::readFile(sample(file))) << file;
    EXPECT_EQ(o.err, "") << file;
  }
}

TEST_F(ZelvoRulesProgram, CheckReadsStandardInput) {
  const Outcome o = runProgram({"check", "-"}, sample("mailbox.sieve"));
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.out, "<stdin>: ok, 4 rules\n");
  EXPECT_EQ(o.err, "");
}

TEST_F(ZelvoRulesProgram, UsageErrorsExitTwo) {
  for (const auto& args : std::vector<std::vector<std::string>>{{}, {"check"}, {"check", sample("missing.sieve")}}) {
    const Outcome o = runProgram(args);
    EXPECT_EQ(o.code, 2);
    EXPECT_EQ(o.out, "");
    EXPECT_EQ(o.err.find('\n'), o.err.size() - 1) << o.err;
  }
}

TEST_F(ZelvoRulesProgram, VersionAndHelp) {
  Outcome o = runProgram({"--version"});
  EXPECT_EQ(o.code, 0);
  EXPECT_EQ(o.out, "zelvo-rules " + std::string(ZELVO_TEST_VERSION) + ".0\n");
  o = runProgram({"--help"});
  EXPECT_EQ(o.code, 0);
  EXPECT_NE(o.out.find("  check "), std::string::npos);
  EXPECT_NE(o.out.find("  format "), std::string::npos);
}

}  // namespace
