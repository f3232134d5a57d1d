#include "Commands.h"

#include <algorithm>
#include <new>
#include <sstream>

#include "MailboxTarget.h"
#include "ScriptInput.h"
#include "ShowCommand.h"
#include "ToolText.h"
#include "base/HResultException.h"
#include "base/ModuleVersion.h"
#include "platform/Utf8.h"
#include "sieve/SieveParser.h"
#include "sieve/SieveWriter.h"
#include "strings/Localization.h"

namespace zelvo {
namespace rules {
namespace details {

const CommandSyntax kOneFile{{}, 1, 1};

// Mailbox commands take the rules from a script file, --file, --mailbox or the default.
const std::vector<OptionSyntax> kTargetOptions{{"--mailbox", true}, {"--file", true}};
const CommandSyntax kTargetOnly{kTargetOptions, 0, 1};
const CommandSyntax kRowAndTarget{kTargetOptions, 1, 2};
const CommandSyntax kJunk{kTargetOptions, 0, 4096};
const CommandSyntax kShow{{{"--mailbox", true}, {"--file", true}, {"--rtf", false}}, 1, 2};
const CommandSyntax kOoo{{{"--mailbox", true},
                         {"--file", true},
                         {"--zone", true},
                         {"--message", true},
                         {"--from", true},
                         {"--to", true},
                         {"--external-message", true},
                         {"--known-contacts-only", false}},
                        0,
                        2};

// The script of the command's one operand, parsed as the add-in parses a mailbox's script
// when it loads it. Returns the exit code; on success rules holds the chain.
int loadRules(const CommandLine& line, ToolIo& io, ScriptInput& input, Sieve::RulePtr& rules) {
  std::wstring error;
  if (!readScriptInput(line.operands.at(0), io.in, input, error)) {
    writeLine(io.err, error);
    return ExitUsage;
  }
  Sieve::SieveRule* head = nullptr;
  Sieve::SieveParseStatus status;
  if (!Sieve::parseRules(input.text, head, true, &status)) {
    writeLine(io.err, Localization::formatString(IDS_TOOL_PARSE_ERROR, input.name, status.line,
                                                 std::wstring(status.errorMessage)));
    return ExitScriptError;
  }
  rules.reset(head);
  return ExitSuccess;
}

std::wstring commandList() {
  size_t width = 0;
  for (const Command& c : commands()) width = std::max(width, std::char_traits<char>::length(c.name));
  std::wstring list;
  for (const Command& c : commands()) {
    std::wstring name = platform::fromUtf8Lenient(c.name);
    name.resize(width, L' ');
    list += L"  " + name + L"  " + Localization::getString(c.summaryId) + L"\n";
  }
  return list;
}

}  // namespace details

const std::vector<Command>& commands() {
  static const std::vector<Command> table = {
      {"check", IDS_TOOL_CHECK_SUMMARY, IDS_TOOL_CHECK_HELP, details::kOneFile, runCheck},
      {"format", IDS_TOOL_FORMAT_SUMMARY, IDS_TOOL_FORMAT_HELP, details::kOneFile, runFormat},
      {"list", IDS_TOOL_LIST_SUMMARY, IDS_TOOL_LIST_HELP, details::kTargetOnly, runList},
      {"enable", IDS_TOOL_ENABLE_SUMMARY, IDS_TOOL_ENABLE_HELP, details::kRowAndTarget, runEnable},
      {"disable", IDS_TOOL_DISABLE_SUMMARY, IDS_TOOL_DISABLE_HELP, details::kRowAndTarget, runDisable},
      {"junk", IDS_TOOL_JUNK_SUMMARY, IDS_TOOL_JUNK_HELP, details::kJunk, runJunk},
      {"show", IDS_TOOL_SHOW_SUMMARY, IDS_TOOL_SHOW_HELP, details::kShow, runShow},
      {"ooo", IDS_TOOL_OOO_SUMMARY, IDS_TOOL_OOO_HELP, details::kOoo, runOoo},
  };
  return table;
}

const Command* findCommand(const std::string& name) {
  for (const Command& c : commands())
    if (name == c.name) return &c;
  return nullptr;
}

int runCheck(const CommandLine& line, ToolIo& io) {
  ScriptInput input;
  Sieve::RulePtr rules;
  if (const int code = details::loadRules(line, io, input, rules); code != ExitSuccess) return code;
  unsigned long count = 0;
  for (const Sieve::SieveRule* r = rules.get(); r; r = r->next) ++count;
  writeLine(io.out, Localization::formatString(IDS_TOOL_CHECK_OK, input.name, count));
  return ExitSuccess;
}

int runFormat(const CommandLine& line, ToolIo& io) {
  ScriptInput input;
  Sieve::RulePtr rules;
  if (const int code = details::loadRules(line, io, input, rules); code != ExitSuccess) return code;
  std::wostringstream stream;
  bool written = false;
  try {
    written = Sieve::writeRules(stream, rules.get());
  } catch (const HResultException&) {
    written = false;  // a copy that failed on the way: the same for the user
  }
  if (!written) {
    writeLine(io.err, Localization::formatString(IDS_TOOL_WRITE_FAILED, input.name));
    return ExitScriptError;
  }
  // Exactly what would be stored: CRLF from the writer, nothing added.
  writeText(io.out, Sieve::textOfStream(stream));
  return ExitSuccess;
}

std::wstring targetHelp() {
  return Localization::formatString(IDS_TOOL_TARGET_HELP, platform::fromUtf8Lenient(defaultMailboxFolder()));
}

std::wstring toolVersion() {
  try {
    ModuleVersion version;
    const auto translations = version.getTranslations();
    if (!translations.empty()) {
      const std::wstring text = version.getFileInfoString(L"FileVersion", translations.front());
      if (!text.empty()) return text;
    }
  } catch (const HResultException&) {
    // A program without a version block still knows the version it was built as.
  }
  return platform::fromUtf8Lenient(ZELVO_RULES_BUILD_VERSION);
}

int runTool(const std::vector<std::string>& args, ToolIo& io) {
  try {
    const CommandLine line = parseCommandLine(args, [](const std::string& name) -> const CommandSyntax* {
      const Command* command = findCommand(name);
      return command ? &command->syntax : nullptr;
    });
    switch (line.request) {
      case CommandLine::Request::Error:
        writeLine(io.err, line.error);
        return ExitUsage;
      case CommandLine::Request::Help:
        writeText(io.out, Localization::formatString(IDS_TOOL_USAGE, details::commandList()));
        return ExitSuccess;
      case CommandLine::Request::CommandHelp:
        // Mailbox commands end their help with the paragraph on where the rules come from.
        writeText(io.out, Localization::formatString(findCommand(line.command)->helpId, targetHelp()));
        return ExitSuccess;
      case CommandLine::Request::Version:
        writeLine(io.out, Localization::formatString(IDS_TOOL_VERSION, toolVersion()));
        return ExitSuccess;
      case CommandLine::Request::Run:
        return findCommand(line.command)->run(line, io);
    }
    return ExitUsage;
  } catch (const std::bad_alloc&) {
    writeLine(io.err, Localization::getString(IDS_TOOL_OUT_OF_MEMORY));
  } catch (const HResultException& e) {
    writeLine(io.err, Localization::formatString(IDS_TOOL_INTERNAL_ERROR, e.text()));
  } catch (const std::exception& e) {
    writeLine(io.err, Localization::formatString(IDS_TOOL_INTERNAL_ERROR, platform::fromUtf8Lenient(e.what())));
  }
  return ExitUsage;
}

}  // namespace rules
}  // namespace zelvo
