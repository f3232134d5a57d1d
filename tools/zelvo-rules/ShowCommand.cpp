#include "ShowCommand.h"

#include "MailboxTarget.h"
#include "ToolText.h"
#include "platform/Win32.h"
#include "sieve/RuleDescription.h"
#include "sieve/RuleList.h"
#include "sieve/SieveRules.h"
#include "sieve/SieveTables.h"

namespace zelvo {
namespace rules {
namespace details {

// Shared with the other mailbox commands.
std::string operandAt(const CommandLine& line, size_t index);
int openAndLoad(const CommandLine& line, const std::string& scriptOperand, ToolIo& io, MailboxTarget& target,
                Sieve::SieveRules& rules);
bool parseRow(const CommandLine& line, const std::string& text, const Sieve::RuleList& list, size_t& row, ToolIo& io);

}  // namespace details

std::wstring describeForTool(Sieve::SieveRule* rule, bool rtf) {
  // The script editor marks a rule whose conditions have no row as not editable; a rule read
  // from the server gets the same judgement here.
  rule->editable = rule->kind == Sieve::RuleKind::If && Sieve::allConditionsKnown(rule);
  const std::wstring text = Sieve::describeRuleForDisplay(rule, rtf, false, false, nullptr);
  if (!rtf) return text;
  return wide(Sieve::markupToRtf(text, GetACP()));
}

int runShow(const CommandLine& line, ToolIo& io) {
  MailboxTarget target;
  Sieve::SieveRules rules;
  if (const int code = details::openAndLoad(line, details::operandAt(line, 1), io, target, rules); code != ExitSuccess)
    return code;
  Sieve::RuleList list;
  list.load(rules);
  size_t row = 0;
  if (!details::parseRow(line, line.operands.at(0), list, row, io)) return ExitUsage;
  writeLine(io.out, describeForTool(list.rule(row), line.options.count("--rtf") != 0));
  return ExitSuccess;
}

}  // namespace rules
}  // namespace zelvo
