// The commands that work on a mailbox's rules: list, enable, disable and junk. Each loads
// through the rule set, changes through it, and saves through it.
#include <algorithm>
#include <filesystem>

#include "Commands.h"
#include "MailboxTarget.h"
#include "ToolText.h"
#include "platform/Utf8.h"
#include "sieve/RuleList.h"
#include "sieve/SieveRules.h"
#include "sieve/TrustedSenderList.h"
#include "strings/Localization.h"

namespace zelvo {
namespace rules {
namespace details {

// The operand at index, or empty.
std::string operandAt(const CommandLine& line, size_t index) {
  return index < line.operands.size() ? line.operands[index] : std::string();
}

// Opens the target and loads its rules; the exit code.
int openAndLoad(const CommandLine& line, const std::string& scriptOperand, ToolIo& io, MailboxTarget& target,
                Sieve::SieveRules& rules) {
  if (const int code = target.open(line, scriptOperand, io); code != ExitSuccess) return code;
  return target.load(rules, io);
}

// "3" -> row index 2 of list; a message and false otherwise.
bool parseRow(const CommandLine& line, const std::string& text, const Sieve::RuleList& list, size_t& row,
              ToolIo& io) {
  const std::wstring command = wide(line.command);
  const bool digits = !text.empty() && text.size() <= 9 &&
                      std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (!digits) {
    writeLine(io.err, Localization::formatString(IDS_TOOL_BAD_ROW, command, wide(text)));
    return false;
  }
  const unsigned long number = std::stoul(text);
  if (number < 1 || number > list.size()) {
    writeLine(io.err, list.size() == 0
                                 ? Localization::formatString(IDS_TOOL_NO_ROWS, command, wide(text))
                                 : Localization::formatString(IDS_TOOL_NO_SUCH_ROW, command, wide(text), list.size()));
    return false;
  }
  row = number - 1;
  return true;
}

std::wstring onOff(bool value) { return Localization::getString(value ? IDS_TOOL_ON : IDS_TOOL_OFF); }

// "on" or "off"; a message and false otherwise.
bool parseSwitch(const CommandLine& line, const std::string& text, bool& value, ToolIo& io) {
  if (text == "on" || text == "off") {
    value = text == "on";
    return true;
  }
  writeLine(io.err, Localization::formatString(IDS_TOOL_BAD_SWITCH, wide(line.command), wide(text)));
  return false;
}

int setRowEnabled(const CommandLine& line, ToolIo& io, bool enabled) {
  MailboxTarget target;
  Sieve::SieveRules rules;
  if (const int code = openAndLoad(line, operandAt(line, 1), io, target, rules); code != ExitSuccess) return code;
  Sieve::RuleList list;
  list.load(rules);
  size_t row = 0;
  if (!parseRow(line, line.operands.at(0), list, row, io)) return ExitUsage;
  if (list.isReserved(row)) {
    const bool junk = list.rule(row)->name == L"__WebmailJunk__";
    writeLine(io.err, Localization::formatString(IDS_TOOL_RESERVED_ROW, wide(line.command), row + 1,
                                                        list.name(row), junk ? L"junk" : L"ooo"));
    return ExitScriptError;
  }
  if (list.rule(row)->enabled != enabled) {
    list.toggle(row);
    list.apply(rules);
  }
  return target.save(rules, io);
}

// An argument that only a file can be meant by: standard input, a name ending in ".sieve",
// a path, or the name of something on disk. Such an argument is never taken as a trusted
// sender, so that a script named on the command line is never stored as one.
bool namesAFile(const std::string& arg) {
  if (arg == "-" || arg.find_first_of("/\\") != std::string::npos) return true;
  static const std::string kSuffix = ".sieve";
  if (arg.size() >= kSuffix.size() &&
      std::equal(kSuffix.begin(), kSuffix.end(), arg.end() - static_cast<std::ptrdiff_t>(kSuffix.size()),
                 [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? static_cast<char>(b + 32) : b); }))
    return true;
  std::error_code error;
  return std::filesystem::exists(std::filesystem::u8path(arg), error);
}

// Takes 'trust add|remove' apart: the senders, and the script file when it is written last
// without --file or --mailbox. Nothing is taken for a sender that names a file, and a file
// that cannot be the script is refused with what to write instead. The exit code.
int parseTrustArguments(const CommandLine& line, ToolIo& io, std::vector<std::string> senders,
                        std::vector<std::wstring>& addresses, std::string& scriptOperand) {
  const std::wstring verb = wide(line.operands.at(1));  // add or remove
  const bool targetNamed = line.options.count("--file") > 0 || line.options.count("--mailbox") > 0;
  if (!targetNamed && !senders.empty() && namesAFile(senders.back())) {
    const std::string& last = senders.back();
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(std::filesystem::u8path(last), error);
    if (last != "-" && std::filesystem::is_directory(status)) {
      writeLine(io.err, Localization::formatString(IDS_TOOL_TRUST_FOLDER, verb, wide(last)));
      return ExitUsage;
    }
    if (last != "-" && !std::filesystem::exists(status)) {
      writeLine(io.err, Localization::formatString(IDS_TOOL_TRUST_NO_SUCH_FILE, verb, wide(last)));
      return ExitUsage;
    }
    scriptOperand = last;
    senders.pop_back();
  }
  for (const std::string& sender : senders) {
    if (namesAFile(sender)) {
      writeLine(io.err, Localization::formatString(IDS_TOOL_TRUST_FILE_NOT_SENDER, verb, wide(sender)));
      return ExitUsage;
    }
  }
  if (senders.empty()) {
    writeLine(io.err, Localization::formatString(IDS_TOOL_TRUST_NO_SENDER, verb));
    return ExitUsage;
  }
  for (const std::string& sender : senders) addresses.push_back(wide(sender));
  return ExitSuccess;
}

}  // namespace details

int runList(const CommandLine& line, ToolIo& io) {
  MailboxTarget target;
  Sieve::SieveRules rules;
  if (const int code = details::openAndLoad(line, details::operandAt(line, 0), io, target, rules); code != ExitSuccess)
    return code;
  Sieve::RuleList list;
  list.load(rules);
  const size_t width = std::to_wstring(list.size()).size();
  for (size_t row = 0; row < list.size(); ++row) {
    std::wstring number = std::to_wstring(row + 1);
    number.insert(0, width - number.size(), L' ');
    writeLine(io.out, Localization::formatString(IDS_TOOL_ROW, number,
                                                                 list.rule(row)->enabled ? L"x" : L" ", list.name(row)));
  }
  return ExitSuccess;
}

int runEnable(const CommandLine& line, ToolIo& io) { return details::setRowEnabled(line, io, true); }

int runDisable(const CommandLine& line, ToolIo& io) { return details::setRowEnabled(line, io, false); }

int runJunk(const CommandLine& line, ToolIo& io) {
  const std::vector<std::string>& args = line.operands;
  const std::string first = details::operandAt(line, 0);
  enum class Action { Show, Enable, Trust, Contacts } action = Action::Show;
  bool value = false;
  bool add = false;
  std::vector<std::wstring> addresses;
  std::string scriptOperand;
  if (args.empty() || (args.size() == 1 && first != "on" && first != "off" && first != "trust" && first != "contacts")) {
    scriptOperand = first;
  } else if (first == "on" || first == "off") {
    action = Action::Enable;
    value = first == "on";
    if (args.size() > 2) {
      writeLine(io.err, Localization::getString(IDS_TOOL_BAD_JUNK_ARGUMENTS));
      return ExitUsage;
    }
    scriptOperand = details::operandAt(line, 1);
  } else if (first == "contacts") {
    action = Action::Contacts;
    if (args.size() < 2 || args.size() > 3) {
      writeLine(io.err, Localization::getString(IDS_TOOL_BAD_JUNK_ARGUMENTS));
      return ExitUsage;
    }
    if (!details::parseSwitch(line, args[1], value, io)) return ExitUsage;
    scriptOperand = details::operandAt(line, 2);
  } else if (first == "trust" && args.size() >= 3 && (args[1] == "add" || args[1] == "remove")) {
    action = Action::Trust;
    add = args[1] == "add";
    const std::vector<std::string> senders(args.begin() + 2, args.end());
    if (const int code = details::parseTrustArguments(line, io, senders, addresses, scriptOperand); code != ExitSuccess)
      return code;
  } else {
    writeLine(io.err, Localization::getString(IDS_TOOL_BAD_JUNK_ARGUMENTS));
    return ExitUsage;
  }

  MailboxTarget target;
  Sieve::SieveRules rules;
  if (const int code = details::openAndLoad(line, scriptOperand, io, target, rules); code != ExitSuccess) return code;

  switch (action) {
    case Action::Show: {
      std::wstring senders;
      for (const std::wstring& sender : rules.getJunkEmailTrustedSenders())
        senders += (senders.empty() ? L"" : L", ") + sender;
      if (senders.empty()) senders = Localization::getString(IDS_TOOL_NONE);
      writeLine(io.out, Localization::formatString(IDS_TOOL_JUNK_STATE,
                                                                   details::onOff(rules.getJunkEmailEnabled()),
                                                                   details::onOff(rules.getJunkEmailTrustContacts()),
                                                                   senders));
      return ExitSuccess;
    }
    case Action::Enable:
      // A setting that already has the value is not touched, so nothing is written.
      if (rules.getJunkEmailEnabled() != value) rules.setJunkEmailEnabled(value);
      break;
    case Action::Contacts:
      if (rules.getJunkEmailTrustContacts() != value) rules.setJunkEmailTrustContacts(value);
      break;
    case Action::Trust: {
      // The dialog's list rules: trimmed entries, none empty, case-blind matches.
      Sieve::TrustedSenderList senders(rules.getJunkEmailTrustedSenders());
      const std::wstring verb = wide(args[1]);
      bool changed = false;
      int missing = 0;
      for (const std::wstring& address : addresses) {
        if (Sieve::TrustedSenderList::entryOf(address).empty()) {
          writeLine(io.err, Localization::formatString(IDS_TOOL_TRUST_EMPTY_SENDER, verb));
        } else if (add) {
          changed = senders.add(address) == Sieve::TrustedSenderList::AddResult::Added || changed;
        } else if (senders.remove(address)) {
          changed = true;
        } else {
          writeLine(io.err,
                    Localization::formatString(IDS_TOOL_NOT_TRUSTED, Sieve::TrustedSenderList::entryOf(address)));
          ++missing;
        }
      }
      if (changed) rules.setJunkEmailTrustedSenders(senders.entries());
      const int code = target.save(rules, io);
      return code != ExitSuccess ? code : (missing > 0 ? ExitScriptError : ExitSuccess);
    }
  }
  return target.save(rules, io);
}

}  // namespace rules
}  // namespace zelvo
