#include "Arguments.h"

#include <gtest/gtest.h>

#include <iterator>

namespace {

using zelvo::rules::CommandLine;
using zelvo::rules::CommandSyntax;
using zelvo::rules::parseCommandLine;
using Request = CommandLine::Request;

// Two commands of the shapes the tool has and will have: one file, and a file with options.
const CommandSyntax kOneFile{{}, 1, 1};
const CommandSyntax kWithOptions{{{"--mailbox", true}, {"--all", false}}, 0, 2};

CommandLine parse(const std::vector<std::string>& args) {
  return parseCommandLine(args, [](const std::string& name) -> const CommandSyntax* {
    if (name == "check") return &kOneFile;
    if (name == "list") return &kWithOptions;
    return nullptr;
  });
}

TEST(ZelvoRulesArguments, GlobalRequests) {
  EXPECT_EQ(parse({"--help"}).request, Request::Help);
  EXPECT_EQ(parse({"-h"}).request, Request::Help);
  EXPECT_EQ(parse({"--version"}).request, Request::Version);
}

TEST(ZelvoRulesArguments, CommandWithItsFile) {
  const CommandLine line = parse({"check", "a.sieve"});
  EXPECT_EQ(line.request, Request::Run);
  EXPECT_EQ(line.command, "check");
  EXPECT_EQ(line.operands, std::vector<std::string>{"a.sieve"});
  EXPECT_EQ(parse({"check", "-"}).operands, std::vector<std::string>{"-"});
  EXPECT_EQ(parse({"check", "--", "-h"}).operands, std::vector<std::string>{"-h"});
}

TEST(ZelvoRulesArguments, HelpOfACommandWinsOverEverythingElse) {
  for (const auto& args : std::vector<std::vector<std::string>>{
           {"check", "--help"}, {"check", "a", "-h"}, {"check", "--bogus", "--help"}, {"check", "a", "b", "--help"}}) {
    const CommandLine line = parse(args);
    EXPECT_EQ(line.request, Request::CommandHelp);
    EXPECT_EQ(line.command, "check");
  }
}

TEST(ZelvoRulesArguments, OptionsWithAndWithoutValues) {
  CommandLine line = parse({"list", "--mailbox", "dir one", "--all", "x"});
  EXPECT_EQ(line.request, Request::Run);
  EXPECT_EQ(line.options.at("--mailbox"), "dir one");
  EXPECT_EQ(line.options.count("--all"), 1u);
  EXPECT_EQ(line.operands, std::vector<std::string>{"x"});
  line = parse({"list", "--mailbox=d", "--mailbox=e"});
  EXPECT_EQ(line.options.at("--mailbox"), "e");
}

TEST(ZelvoRulesArguments, MistakesGiveOneLineToShowTheUser) {
  const struct {
    std::vector<std::string> args;
    const wchar_t* error;
  } cases[] = {
      {{}, L"zelvo-rules: no command given; run 'zelvo-rules --help' for usage"},
      {{"frobnicate"}, L"zelvo-rules: unknown command 'frobnicate'; run 'zelvo-rules --help' for usage"},
      {{"--frob"}, L"zelvo-rules: unknown option '--frob'; run 'zelvo-rules --help' for usage"},
      {{"check"}, L"zelvo-rules check: no file given; run 'zelvo-rules check --help' for usage"},
      {{"check", "a", "b"}, L"zelvo-rules check: unexpected argument 'b'; run 'zelvo-rules check --help' for usage"},
      {{"check", "-x", "a"}, L"zelvo-rules check: unknown option '-x'; run 'zelvo-rules check --help' for usage"},
      {{"list", "--all=1"}, L"zelvo-rules list: unknown option '--all=1'; run 'zelvo-rules list --help' for usage"},
      {{"list", "--mailbox"},
       L"zelvo-rules list: option '--mailbox' needs a value; run 'zelvo-rules list --help' for usage"},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    const CommandLine line = parse(cases[i].args);
    EXPECT_EQ(line.request, Request::Error) << i;
    EXPECT_EQ(line.error, cases[i].error) << i;
  }
  // A non-ASCII name comes back in the message as the same text.
  EXPECT_EQ(parse({"caf\xC3\xA9"}).error,
            L"zelvo-rules: unknown command 'caf\u00e9'; run 'zelvo-rules --help' for usage");
}

}  // namespace
