// The command line of zelvo-rules, taken apart: global requests (--help, --version), the
// command, its options and its operands. Knows nothing of what the commands do; each
// command describes its syntax through CommandSyntax.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace zelvo {
namespace rules {

struct OptionSyntax {
  std::string name;  // with its dashes, e.g. "--mailbox"
  bool takesValue = false;
};

struct CommandSyntax {
  std::vector<OptionSyntax> options;
  size_t minOperands = 0;
  size_t maxOperands = 0;
};

struct CommandLine {
  enum class Request {
    Run,          // run `command`
    Help,         // the tool's help
    CommandHelp,  // the help of `command`
    Version,
    Error,        // `error` says what is wrong
  };
  Request request = Request::Error;
  std::string command;
  // Options by name; an option without a value maps to an empty text. A repeated option
  // keeps its last value.
  std::map<std::string, std::string> options;
  std::vector<std::string> operands;  // "-" stands for standard input
  std::wstring error;                 // one line, for standard error
};

// The syntax of a command by name, or null for an unknown command.
using SyntaxLookup = std::function<const CommandSyntax*(const std::string& command)>;

// args are the arguments after the program name, as UTF-8. "--" ends the options of a
// command; "-" alone is an operand.
CommandLine parseCommandLine(const std::vector<std::string>& args, const SyntaxLookup& syntaxOf);

}  // namespace rules
}  // namespace zelvo
