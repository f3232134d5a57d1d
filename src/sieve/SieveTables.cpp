#include "sieve/SieveTables.h"

#include <algorithm>
#include <cwctype>
#include <vector>

#include "strings/Localization.h"

namespace Sieve {
namespace details {

struct ConditionSource {
  unsigned id;
  TestKind kind;
  unsigned labelId;
  const wchar_t* parameter;
};

const ConditionSource kConditions[] = {
    {ConditionToOrCc, TestKind::Address, IDS_CONDITION_TO_OR_CC, L"To|Cc"},
    {ConditionFrom, TestKind::Address, IDS_CONDITION_FROM, L"From"},
    {ConditionTo, TestKind::Address, IDS_CONDITION_TO, L"To"},
    {ConditionCc, TestKind::Address, IDS_CONDITION_CC, L"Cc"},
    {ConditionSender, TestKind::Address, IDS_CONDITION_SENDER, L"Sender"},
    {ConditionSubject, TestKind::Header, IDS_CONDITION_SUBJECT, L"Subject"},
    {ConditionAttachment, TestKind::Header, IDS_CONDITION_ATTACHMENT, L"Content-Type=multipart/mixed"},
    {ConditionSize, TestKind::Size, IDS_CONDITION_SIZE, L""},
    {ConditionSpam, TestKind::SpamTest, IDS_CONDITION_SPAM, L""},
    {ConditionAll, TestKind::True, IDS_CONDITION_ALL, L""},
};

struct ActionSource {
  unsigned id;
  RuleKind kind;
  unsigned firstLabelId;
  unsigned secondLabelId;
};

const ActionSource kActions[] = {
    {ActionFileInto, RuleKind::FileInto, IDS_ACTION_FILEINTO, IDS_ACTION_FILEINTO_SENTENCE},
    {ActionRedirect, RuleKind::Redirect, IDS_ACTION_REDIRECT, 0},
    {ActionReject, RuleKind::Reject, IDS_ACTION_REJECT, IDS_ACTION_REJECT_SENTENCE},
    {ActionKeep, RuleKind::Keep, IDS_ACTION_KEEP, 0},
    {ActionDiscard, RuleKind::Discard, IDS_ACTION_DISCARD, 0},
    {ActionNotify, RuleKind::Notify, IDS_ACTION_NOTIFY, IDS_ACTION_NOTIFY_SENTENCE},
    {ActionVacation, RuleKind::Vacation, IDS_ACTION_VACATION, IDS_ACTION_VACATION_SENTENCE},
    {ActionStop, RuleKind::Stop, IDS_ACTION_STOP, 0},
    {ActionSetReadFlag, RuleKind::SetReadFlag, IDS_ACTION_SETREADFLAG, 0},
};

struct MatchSource {
  MatchType type;
  unsigned plainId;
  unsigned negatedId;
  unsigned explanationId;
};

const MatchSource kMatches[] = {
    {MatchType::Is, IDS_MATCH_IS, IDS_MATCH_IS_NOT, IDS_MATCH_IS_HELP},
    {MatchType::Contains, IDS_MATCH_CONTAINS, IDS_MATCH_CONTAINS_NOT, IDS_MATCH_CONTAINS_HELP},
    {MatchType::Matches, IDS_MATCH_MATCHES, IDS_MATCH_MATCHES_NOT, IDS_MATCH_MATCHES_HELP},
};

struct Tables {
  bool built = false;
  ConditionTable conditions;
  ActionTable actions;
  MatchTable matches;
};

Tables& tables() {
  static Tables instance;
  return instance;
}

// Rows are filled in place: the set of rows is fixed, so a reload changes texts only, and
// references to rows stay good.
void build(Tables& t) {
  for (const auto& s : kConditions) {
    ConditionRow& row = t.conditions[s.id];
    row = ConditionRow{s.id, s.kind, s.labelId, Localization::getString(s.labelId), s.parameter};
  }
  for (const auto& s : kActions) {
    ActionRow& row = t.actions[s.id];
    row = ActionRow{s.id, s.kind, s.firstLabelId, s.secondLabelId, Localization::getString(s.firstLabelId),
                    s.secondLabelId ? Localization::getString(s.secondLabelId) : std::wstring()};
  }
  for (const auto& s : kMatches) {
    MatchRow& row = t.matches[s.type];
    row = MatchRow{s.type, Localization::getString(s.plainId), Localization::getString(s.negatedId),
                   Localization::getString(s.explanationId)};
  }
  t.built = true;
}

const Tables& builtTables() {
  Tables& t = tables();
  if (!t.built) build(t);
  return t;
}

// Cuts at each separator; an empty text gives no pieces, empty pieces between
// separators are kept.
std::vector<std::wstring> split(const std::wstring& text, wchar_t separator) {
  std::vector<std::wstring> pieces;
  if (text.empty()) return pieces;
  std::wstring::size_type start = 0;
  for (;;) {
    const auto end = text.find(separator, start);
    pieces.push_back(text.substr(start, end == std::wstring::npos ? std::wstring::npos : end - start));
    if (end == std::wstring::npos) break;
    start = end + 1;
  }
  return pieces;
}

std::wstring lowered(std::wstring text) {
  for (auto& ch : text) ch = static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(ch)));
  return text;
}

bool equalsIgnoringCase(const std::wstring& a, const std::wstring& b) {
  return a.size() == b.size() && lowered(a) == lowered(b);
}

// Header names compare without regard to case, so they are also sorted that way: "cc|To"
// and keys ["TO", "Cc"] are the same set.
std::vector<std::wstring> sortedLowered(std::vector<std::wstring> names) {
  for (auto& n : names) n = lowered(std::move(n));
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace details

const ConditionTable& conditionTable() { return details::builtTables().conditions; }
const ActionTable& actionTable() { return details::builtTables().actions; }
const MatchTable& matchTable() { return details::builtTables().matches; }
void reloadTables() { details::build(details::tables()); }

int conditionKind(unsigned id) {
  const auto& table = conditionTable();
  const auto it = table.find(id);
  return it == table.end() ? -1 : static_cast<int>(it->second.kind);
}

std::wstring conditionLabel(unsigned id) {
  const auto& table = conditionTable();
  const auto it = table.find(id);
  return it == table.end() ? std::wstring() : it->second.label;
}

std::wstring conditionParameter(unsigned id) {
  const auto& table = conditionTable();
  const auto it = table.find(id);
  return it == table.end() ? std::wstring() : it->second.parameter;
}

int actionKind(unsigned id) {
  const auto& table = actionTable();
  const auto it = table.find(id);
  return it == table.end() ? -1 : static_cast<int>(it->second.kind);
}

std::wstring actionFirstLabel(unsigned id) {
  const auto& table = actionTable();
  const auto it = table.find(id);
  return it == table.end() ? std::wstring() : it->second.firstLabel;
}

std::wstring actionSecondLabel(unsigned id) {
  const auto& table = actionTable();
  const auto it = table.find(id);
  return it == table.end() ? std::wstring() : it->second.secondLabel;
}

std::wstring matchLabel(MatchType type, bool negated) {
  const auto& table = matchTable();
  const auto it = table.find(type);
  if (it == table.end()) return std::wstring();
  return negated ? it->second.negated : it->second.plain;
}

std::wstring matchExplanation(MatchType type) {
  const auto& table = matchTable();
  const auto it = table.find(type);
  return it == table.end() ? std::wstring() : it->second.explanation;
}

std::wstring withoutLinkMarks(const std::wstring& label) {
  std::wstring text;
  text.reserve(label.size());
  for (wchar_t ch : label)
    if (ch != L'[' && ch != L']') text += ch;
  return text;
}

SieveTest* createTestForCondition(unsigned id) {
  const auto& table = conditionTable();
  const auto it = table.find(id);
  if (it == table.end()) return nullptr;
  const ConditionRow& row = it->second;

  TestPtr test(new SieveTest(row.kind));
  if (row.kind == TestKind::Address || row.kind == TestKind::Header) test->matchType = MatchType::Contains;
  if (!row.parameter.empty()) {
    const auto equals = row.parameter.find(L'=');
    if (equals == std::wstring::npos) {
      test->keys = makeStringList(details::split(row.parameter, L'|'));
    } else {
      test->keys = makeStringList(details::split(row.parameter.substr(0, equals), L'|'));
      test->values = makeStringList(details::split(row.parameter.substr(equals + 1), L'|'));
    }
  }
  return test.release();
}

SieveRule* createRuleForAction(unsigned id) {
  const auto& table = actionTable();
  const auto it = table.find(id);
  if (it == table.end()) return nullptr;
  auto* rule = new SieveRule(it->second.kind, nullptr);
  rule->enabled = true;
  return rule;
}

bool testMatchesCondition(const ConditionRow& row, const SieveTest* test) {
  if (!test || test->kind != row.kind) return false;
  switch (test->kind) {
    case TestKind::True:
    case TestKind::Size:
    case TestKind::SpamTest:
      return true;
    case TestKind::Address: {
      std::vector<std::wstring> keys;
      for (const SieveStringList* k = test->keys; k; k = k->next)
        if (!k->text.empty()) keys.push_back(k->text);
      const auto names = details::split(row.parameter, L'|');
      if (names.empty() && keys.empty()) return true;
      return names.size() == keys.size() && details::sortedLowered(names) == details::sortedLowered(keys);
    }
    case TestKind::Header: {
      std::wstring text = test->keys ? test->keys->text : std::wstring();
      if (row.parameter.find(L'=') != std::wstring::npos) {
        text += L'=';
        if (test->values) text += test->values->text;
      }
      return details::equalsIgnoringCase(text, row.parameter);
    }
    default:
      return false;
  }
}

unsigned conditionIdOfTest(const SieveTest* test) {
  if (!test) return 0;
  for (const auto& [id, row] : conditionTable())
    if (testMatchesCondition(row, test)) return id;
  return 0;
}

unsigned actionIdOfRule(const SieveRule* rule) {
  if (!rule) return 0;
  for (const auto& [id, row] : actionTable())
    if (row.kind == rule->kind) return id;
  return 0;
}

bool allConditionsKnown(const SieveRule* rule) {
  if (!rule || !rule->test) return false;
  const SieveTest* test = rule->test;
  if (test->kind == TestKind::AllOf || test->kind == TestKind::AnyOf) {
    for (const SieveTest* child = test->subTests; child; child = child->next)
      if (conditionIdOfTest(child) == 0) return false;
    return true;
  }
  return conditionIdOfTest(test) != 0;
}

}  // namespace Sieve
