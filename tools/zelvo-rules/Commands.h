// The commands of zelvo-rules. Each command is a function over a parsed command line and
// the tool's streams, so that tests run it without a process; runTool is the whole tool.
#pragma once

#include <istream>
#include <ostream>
#include <string>
#include <vector>

#include "Arguments.h"

namespace zelvo {
namespace rules {

enum ExitCode : int {
  ExitSuccess = 0,
  ExitScriptError = 1,  // the script cannot be read or written
  ExitUsage = 2,        // bad usage, a missing file, input that is not UTF-8
};

// The streams a run reads and writes: bytes, UTF-8 text, exactly as they reach the user.
struct ToolIo {
  std::istream& in;
  std::ostream& out;
  std::ostream& err;
};

using CommandFunction = int (*)(const CommandLine& line, ToolIo& io);

struct Command {
  const char* name;
  unsigned summaryId;  // one line for the tool's help
  unsigned helpId;     // the command's own help
  CommandSyntax syntax;
  CommandFunction run;
};

// The commands in the order the help lists them.
const std::vector<Command>& commands();
const Command* findCommand(const std::string& name);

// check FILE: parses as the add-in does when it loads a mailbox and reports the outcome.
int runCheck(const CommandLine& line, ToolIo& io);
// format FILE: prints the text that saving the parsed rules would store.
int runFormat(const CommandLine& line, ToolIo& io);

// list, enable ROW, disable ROW, junk ...: on a script file, --file FILE, --mailbox DIR or
// the default mailbox (MailboxTarget.h).
int runList(const CommandLine& line, ToolIo& io);
int runEnable(const CommandLine& line, ToolIo& io);
int runDisable(const CommandLine& line, ToolIo& io);
int runJunk(const CommandLine& line, ToolIo& io);
// ooo, ooo on|off, ooo set --message TEXT [--from T --to T] [--zone NAME] ...
int runOoo(const CommandLine& line, ToolIo& io);

// The paragraph on FILE, --mailbox and the default mailbox that mailbox commands' help ends with.
std::wstring targetHelp();

// The tool's version: the program's version block, or the build's version.
std::wstring toolVersion();

// The whole tool: args are the arguments after the program name, as UTF-8. Never throws.
int runTool(const std::vector<std::string>& args, ToolIo& io);

}  // namespace rules
}  // namespace zelvo
