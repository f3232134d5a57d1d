#include "Commands.h"

#include <algorithm>
#include <new>
#include <sstream>

#include "ScriptInput.h"
#include "base/HResultException.h"
#include "base/ModuleVersion.h"
#include "platform/Utf8.h"
#include "sieve/SieveParser.h"
#include "sieve/SieveWriter.h"
#include "strings/Localization.h"

namespace zelvo {
namespace rules {
namespace details {

void writeText(std::ostream& stream, const std::wstring& text) {
  const std::string bytes = platform::toUtf8(text);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void writeLine(std::ostream& stream, const std::wstring& text) {
  writeText(stream, text);
  stream.put('\n');
}

const CommandSyntax kOneFile{{}, 1, 1};

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
  details::writeLine(io.out, Localization::formatString(IDS_TOOL_CHECK_OK, input.name, count));
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
    details::writeLine(io.err, Localization::formatString(IDS_TOOL_WRITE_FAILED, input.name));
    return ExitScriptError;
  }
  // Exactly what would be stored: CRLF from the writer, nothing added.
  details::writeText(io.out, Sieve::textOfStream(stream));
  return ExitSuccess;
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
        details::writeLine(io.err, line.error);
        return ExitUsage;
      case CommandLine::Request::Help:
        details::writeText(io.out, Localization::formatString(IDS_TOOL_USAGE, details::commandList()));
        return ExitSuccess;
      case CommandLine::Request::CommandHelp:
        details::writeText(io.out, Localization::getString(findCommand(line.command)->helpId));
        return ExitSuccess;
      case CommandLine::Request::Version:
        details::writeLine(io.out, Localization::formatString(IDS_TOOL_VERSION, toolVersion()));
        return ExitSuccess;
      case CommandLine::Request::Run:
        return findCommand(line.command)->run(line, io);
    }
    return ExitUsage;
  } catch (const std::bad_alloc&) {
    details::writeLine(io.err, Localization::getString(IDS_TOOL_OUT_OF_MEMORY));
  } catch (const HResultException& e) {
    details::writeLine(io.err, Localization::formatString(IDS_TOOL_INTERNAL_ERROR, e.text()));
  } catch (const std::exception& e) {
    details::writeLine(io.err, Localization::formatString(IDS_TOOL_INTERNAL_ERROR, platform::fromUtf8Lenient(e.what())));
  }
  return ExitUsage;
}

}  // namespace rules
}  // namespace zelvo
