// The conditions, actions and match types that the rule editor offers, and how each row
// maps to the shape of a SieveTest or the kind of a SieveRule and back. A rule whose tests
// and commands all have rows can be shown and edited without Sieve.
//
// The tables are built from the language resources on first use; reloadTables rebuilds
// them after a change of language.
// Everything here runs on the user-interface thread.
#pragma once

#include <map>
#include <string>

#include "sieve/SieveModel.h"

namespace Sieve {

// Ids of the condition table, in the order the editor lists them.
enum ConditionId : unsigned {
  ConditionToOrCc = 1,
  ConditionFrom = 2,
  ConditionTo = 3,
  ConditionCc = 4,
  ConditionSender = 5,
  ConditionSubject = 6,
  ConditionAttachment = 7,
  ConditionSize = 8,
  ConditionSpam = 9,
  ConditionAll = 10,
};

// Ids of the action table.
enum ActionId : unsigned {
  ActionFileInto = 1,
  ActionRedirect = 2,
  ActionReject = 3,
  ActionKeep = 4,
  ActionDiscard = 5,
  ActionNotify = 6,
  ActionVacation = 7,
  ActionStop = 8,
  ActionSetReadFlag = 9,
};

struct ConditionRow {
  unsigned id = 0;
  TestKind kind = TestKind::None;
  unsigned labelId = 0;
  std::wstring label;  // with its [link] marks
  // Header names separated by '|', optionally '=' and values separated by '|'; may be empty.
  std::wstring parameter;
};

struct ActionRow {
  unsigned id = 0;
  RuleKind kind = RuleKind::Empty;
  unsigned firstLabelId = 0;
  unsigned secondLabelId = 0;  // 0 when the action has no sentence of its own
  std::wstring firstLabel;     // shown in the list
  std::wstring secondLabel;    // the sentence of a description; empty when absent
};

struct MatchRow {
  MatchType type = MatchType::Is;
  std::wstring plain;
  std::wstring negated;
  std::wstring explanation;
};

using ConditionTable = std::map<unsigned, ConditionRow>;
using ActionTable = std::map<unsigned, ActionRow>;
using MatchTable = std::map<MatchType, MatchRow>;

// The tables, built on first use. Walking a map walks the rows in id order.
const ConditionTable& conditionTable();
const ActionTable& actionTable();
const MatchTable& matchTable();
// Rebuilds all three from the language in force. Rows are updated in place: references
// to rows taken before then stay valid and see the new texts.
void reloadTables();

// Lookups by id: the row's kind as its number, or -1 for an unknown id; a label or
// parameter, or an empty text.
int conditionKind(unsigned id);
std::wstring conditionLabel(unsigned id);
std::wstring conditionParameter(unsigned id);
int actionKind(unsigned id);
std::wstring actionFirstLabel(unsigned id);
std::wstring actionSecondLabel(unsigned id);
// The label of a match type, plain or negated, and its explanation; empty for a value
// outside the table.
std::wstring matchLabel(MatchType type, bool negated);
std::wstring matchExplanation(MatchType type);

// A label as list views show it: the text without its '[' and ']' marks.
std::wstring withoutLinkMarks(const std::wstring& label);

// A new test of the condition's kind, not negated, with :contains for Address and Header
// and keys and values from the parameter; null for an unknown id. The caller owns it.
SieveTest* createTestForCondition(unsigned id);
// A new, enabled rule of the action's kind with no parent; null for an unknown id.
SieveRule* createRuleForAction(unsigned id);

// Whether the test has the shape of the row; the match type, address part, values of an
// address test and negation do not count.
bool testMatchesCondition(const ConditionRow& row, const SieveTest* test);
// The id of the first row that the test matches; 0 for none and for a null test.
unsigned conditionIdOfTest(const SieveTest* test);
// The id of the first row of the rule's kind; 0 for none and for a null rule.
unsigned actionIdOfRule(const SieveRule* rule);
// Whether the editor can show the rule's condition: each child of an AllOf or AnyOf, or
// else the test itself, has a row. False for a rule without a test.
bool allConditionsKnown(const SieveRule* rule);

}  // namespace Sieve
