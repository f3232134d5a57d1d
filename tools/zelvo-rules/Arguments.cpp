#include "Arguments.h"

#include "ToolText.h"

#include "platform/Utf8.h"
#include "strings/Localization.h"

namespace zelvo {
namespace rules {
namespace details {

bool isHelp(const std::string& arg) { return arg == "--help" || arg == "-h"; }

bool looksLikeOption(const std::string& arg) { return arg.size() > 1 && arg[0] == '-'; }

CommandLine failure(std::wstring message) {
  CommandLine line;
  line.request = CommandLine::Request::Error;
  line.error = std::move(message);
  return line;
}

}  // namespace details

CommandLine parseCommandLine(const std::vector<std::string>& args, const SyntaxLookup& syntaxOf) {
  if (args.empty()) return details::failure(Localization::getString(IDS_TOOL_NO_COMMAND));

  const std::string& first = args[0];
  if (details::isHelp(first)) {
    CommandLine line;
    line.request = CommandLine::Request::Help;
    return line;
  }
  if (first == "--version") {
    CommandLine line;
    line.request = CommandLine::Request::Version;
    return line;
  }
  if (details::looksLikeOption(first))
    return details::failure(Localization::formatString(IDS_TOOL_UNKNOWN_GLOBAL_OPTION, wide(first)));

  const CommandSyntax* syntax = syntaxOf(first);
  if (!syntax) return details::failure(Localization::formatString(IDS_TOOL_UNKNOWN_COMMAND, wide(first)));

  CommandLine line;
  line.command = first;
  // Help anywhere before "--" wins over every mistake on the line: a user who asks for it
  // is about to learn how to mend them.
  for (size_t i = 1; i < args.size() && args[i] != "--"; ++i) {
    if (details::isHelp(args[i])) {
      line.request = CommandLine::Request::CommandHelp;
      return line;
    }
  }

  line.request = CommandLine::Request::Run;
  bool optionsEnded = false;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (!optionsEnded && arg == "--") {
      optionsEnded = true;
      continue;
    }
    if (!optionsEnded && details::looksLikeOption(arg)) {
      // "--name=value" or "--name value".
      const auto equals = arg.find('=');
      const std::string name = arg.substr(0, equals);
      const OptionSyntax* option = nullptr;
      for (const auto& o : syntax->options)
        if (o.name == name) option = &o;
      if (!option || (equals != std::string::npos && !option->takesValue))
        return details::failure(Localization::formatString(IDS_TOOL_UNKNOWN_OPTION, wide(line.command), wide(arg)));
      if (!option->takesValue) {
        line.options[name].clear();
      } else if (equals != std::string::npos) {
        line.options[name] = arg.substr(equals + 1);
      } else if (i + 1 < args.size()) {
        line.options[name] = args[++i];
      } else {
        return details::failure(Localization::formatString(IDS_TOOL_OPTION_NEEDS_VALUE, wide(line.command), wide(name)));
      }
      continue;
    }
    line.operands.push_back(arg);
  }
  if (line.operands.size() < syntax->minOperands)
    return details::failure(Localization::formatString(IDS_TOOL_MISSING_FILE_ARGUMENT, wide(line.command)));
  if (line.operands.size() > syntax->maxOperands)
    return details::failure(Localization::formatString(IDS_TOOL_TOO_MANY_ARGUMENTS, wide(line.command),
                                                       wide(line.operands[syntax->maxOperands])));
  return line;
}

}  // namespace rules
}  // namespace zelvo
