#include "sieve/SieveTables.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <iterator>
#include <string>
#include <vector>

#include "sieve/SieveParser.h"
#include "strings/Localization.h"

namespace {

using namespace Sieve;

// The test of `if TEST { keep; }`, owned by the returned chain.
struct ParsedTest {
  RulePtr rules;
  const SieveTest* test = nullptr;
};

ParsedTest parseTestText(const std::wstring& testText) {
  ParsedTest parsed;
  SieveRule* head = nullptr;
  SieveParseStatus status;
  const std::wstring script = L"if " + testText + L"\r\n{\r\n  keep;\r\n}\r\n";
  EXPECT_TRUE(parseRules(script, head, true, &status)) << status.errorMessage;
  parsed.rules.reset(head);
  if (head) parsed.test = head->test;
  return parsed;
}

RulePtr parseScriptText(const std::wstring& script) {
  SieveRule* head = nullptr;
  SieveParseStatus status;
  EXPECT_TRUE(parseRules(script, head, true, &status)) << status.errorMessage;
  return RulePtr(head);
}

TEST(SieveTables, ConditionRowsHaveTheirKindLabelAndParameter) {
  struct Row {
    unsigned id;
    TestKind kind;
    unsigned labelId;
    const wchar_t* parameter;
  };
  const Row expected[] = {
      {1, TestKind::Address, 11047, L"To|Cc"},   {2, TestKind::Address, 11048, L"From"},
      {3, TestKind::Address, 11049, L"To"},      {4, TestKind::Address, 11050, L"Cc"},
      {5, TestKind::Address, 11051, L"Sender"},  {6, TestKind::Header, 11052, L"Subject"},
      {7, TestKind::Header, 11053, L"Content-Type=multipart/mixed"},
      {8, TestKind::Size, 11054, L""},           {9, TestKind::SpamTest, 11056, L""},
      {10, TestKind::True, 11055, L""},
  };
  ASSERT_EQ(conditionTable().size(), std::size(expected));
  auto it = conditionTable().begin();
  for (const Row& row : expected) {
    SCOPED_TRACE(row.id);
    EXPECT_EQ(it->first, row.id);  // walked in id order
    ++it;
    EXPECT_EQ(conditionKind(row.id), static_cast<int>(row.kind));
    EXPECT_EQ(conditionParameter(row.id), row.parameter);
    EXPECT_EQ(conditionTable().at(row.id).labelId, row.labelId);
    EXPECT_FALSE(conditionLabel(row.id).empty());
    EXPECT_EQ(conditionLabel(row.id), Localization::getString(row.labelId));
  }
}

TEST(SieveTables, ActionRowsHaveTheirKindAndLabels) {
  struct Row {
    unsigned id;
    RuleKind kind;
    unsigned first;
    unsigned second;
  };
  const Row expected[] = {
      {1, RuleKind::FileInto, 11035, 11036}, {2, RuleKind::Redirect, 11037, 0},
      {3, RuleKind::Reject, 11038, 11039},   {4, RuleKind::Keep, 11040, 0},
      {5, RuleKind::Discard, 11041, 0},      {6, RuleKind::Notify, 11042, 11043},
      {7, RuleKind::Vacation, 11044, 11045}, {8, RuleKind::Stop, 11046, 0},
      {9, RuleKind::SetReadFlag, 11107, 0},
  };
  ASSERT_EQ(actionTable().size(), std::size(expected));
  for (const Row& row : expected) {
    SCOPED_TRACE(row.id);
    EXPECT_EQ(actionKind(row.id), static_cast<int>(row.kind));
    EXPECT_EQ(actionFirstLabel(row.id), Localization::getString(row.first));
    EXPECT_FALSE(actionFirstLabel(row.id).empty());
    if (row.second) {
      EXPECT_EQ(actionSecondLabel(row.id), Localization::getString(row.second));
      EXPECT_FALSE(actionSecondLabel(row.id).empty());
    } else {
      EXPECT_EQ(actionSecondLabel(row.id), L"");
    }
  }
}

TEST(SieveTables, MatchRowsHavePlainNegatedAndExplanation) {
  const struct {
    MatchType type;
    unsigned plain, negated, explanation;
  } expected[] = {{MatchType::Is, 11059, 11062, 11065},
                  {MatchType::Contains, 11060, 11063, 11066},
                  {MatchType::Matches, 11061, 11064, 11067}};
  ASSERT_EQ(matchTable().size(), 3u);
  for (const auto& row : expected) {
    EXPECT_EQ(matchLabel(row.type, false), Localization::getString(row.plain));
    EXPECT_EQ(matchLabel(row.type, true), Localization::getString(row.negated));
    EXPECT_EQ(matchExplanation(row.type), Localization::getString(row.explanation));
    EXPECT_NE(matchLabel(row.type, false), matchLabel(row.type, true));
  }
  EXPECT_EQ(matchLabel(static_cast<MatchType>(3), false), L"");
  EXPECT_EQ(matchExplanation(static_cast<MatchType>(-1)), L"");
}

TEST(SieveTables, UnknownIdsGiveMinusOneEmptyTextsAndNoNodes) {
  for (unsigned id : {0u, 11u, 10000u}) {
    EXPECT_EQ(conditionKind(id), -1);
    EXPECT_EQ(conditionLabel(id), L"");
    EXPECT_EQ(conditionParameter(id), L"");
    EXPECT_EQ(createTestForCondition(id), nullptr);
  }
  for (unsigned id : {0u, 10u, 11107u}) {
    EXPECT_EQ(actionKind(id), -1);
    EXPECT_EQ(actionFirstLabel(id), L"");
    EXPECT_EQ(actionSecondLabel(id), L"");
    EXPECT_EQ(createRuleForAction(id), nullptr);
  }
}

TEST(SieveTables, CreatedTestsTakeKeysAndValuesFromTheParameter) {
  struct Case {
    unsigned id;
    TestKind kind;
    MatchType match;
    std::vector<std::wstring> keys;
    std::vector<std::wstring> values;
  };
  const Case cases[] = {
      {1, TestKind::Address, MatchType::Contains, {L"To", L"Cc"}, {}},
      {2, TestKind::Address, MatchType::Contains, {L"From"}, {}},
      {5, TestKind::Address, MatchType::Contains, {L"Sender"}, {}},
      {6, TestKind::Header, MatchType::Contains, {L"Subject"}, {}},
      {7, TestKind::Header, MatchType::Contains, {L"Content-Type"}, {L"multipart/mixed"}},
      {8, TestKind::Size, MatchType::Is, {}, {}},
      {9, TestKind::SpamTest, MatchType::Is, {}, {}},
      {10, TestKind::True, MatchType::Is, {}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.id);
    TestPtr test(createTestForCondition(c.id));
    ASSERT_NE(test, nullptr);
    EXPECT_EQ(test->kind, c.kind);
    EXPECT_FALSE(test->negated);
    EXPECT_EQ(test->matchType, c.match);
    EXPECT_EQ(stringListToVector(test->keys), c.keys);
    EXPECT_EQ(stringListToVector(test->values), c.values);
    EXPECT_EQ(test->values == nullptr, c.values.empty());
    EXPECT_EQ(test->next, nullptr);
    EXPECT_EQ(test->sizeMode, SizeMode::Under);
  }
}

TEST(SieveTables, EveryRowFindsItselfAgain) {
  for (const auto& [id, row] : conditionTable()) {
    TestPtr test(createTestForCondition(id));
    EXPECT_EQ(conditionIdOfTest(test.get()), id);
    EXPECT_TRUE(testMatchesCondition(row, test.get()));
  }
  for (const auto& [id, row] : actionTable()) {
    RulePtr rule(createRuleForAction(id));
    ASSERT_NE(rule, nullptr);
    EXPECT_EQ(rule->kind, row.kind);
    EXPECT_TRUE(rule->enabled);
    EXPECT_EQ(rule->parent, nullptr);
    EXPECT_EQ(rule->next, nullptr);
    EXPECT_EQ(actionIdOfRule(rule.get()), id);
  }
}

TEST(SieveTables, TestsOfAScriptFindTheirCondition) {
  const struct {
    const wchar_t* test;
    unsigned id;
  } cases[] = {
      {L"header :contains \"Subject\" \"x\"", 6},
      {L"header :is \"Subject\" \"x\"", 6},
      {L"header \"subject\" \"x\"", 6},
      {L"header [\"Subject\", \"From\"] \"x\"", 6},  // the first key alone counts
      {L"header \"Subject\" [\"a\", \"b\"]", 6},
      {L"header :is \"Content-Type\" \"multipart/mixed\"", 7},
      {L"header :contains \"Content-Type\" \"multipart/mixed\"", 7},
      {L"header :matches \"content-type\" \"MULTIPART/MIXED\"", 7},
      {L"header \"Content-Type\" [\"multipart/mixed\", \"text/plain\"]", 7},
      {L"header \"Content-Type\" \"text/plain\"", 0},
      {L"header \"X-Spam\" \"yes\"", 0},
      {L"address :all :is [\"To\", \"Cc\"] \"a\"", 1},
      {L"address [\"Cc\", \"To\"] \"a\"", 1},
      {L"address [\"cc\", \"TO\"] \"a\"", 1},
      {L"address [\"To\", \"\", \"Cc\"] \"a\"", 1},  // empty keys are left out
      {L"address [\"To\", \"Cc\", \"From\"] \"a\"", 0},
      {L"address [\"To\", \"To\"] \"a\"", 0},
      {L"address :domain :matches \"FROM\" \"*\"", 2},
      {L"address \"To\" \"a\"", 3},
      {L"address \"Cc\" \"a\"", 4},
      {L"address \"Sender\" [\"a\", \"b\"]", 5},
      {L"address :iscontact \"From\" \"\"", 2},
      {L"address \"X-Foo\" \"a\"", 0},
      {L"not address \"From\" \"a\"", 2},
      {L"size :over 1K", 8},
      {L"not size :under 10", 8},
      {L"spamtest", 9},
      {L"true", 10},
      {L"not true", 10},
      {L"false", 0},
      {L"exists \"X\"", 0},
      {L"allof (true)", 0},
      {L"anyof (spamtest, true)", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << std::string(c.test, c.test + std::wcslen(c.test)));
    ParsedTest parsed = parseTestText(c.test);
    ASSERT_NE(parsed.test, nullptr);
    EXPECT_EQ(conditionIdOfTest(parsed.test), c.id);
  }
  EXPECT_EQ(conditionIdOfTest(nullptr), 0u);
}

TEST(SieveTables, AddressTestWithoutNamesMatchesOnlyARowWithoutNames) {
  SieveTest test(TestKind::Address);
  appendString(test.keys, L"");
  ConditionRow noNames{99, TestKind::Address, 0, L"", L""};
  EXPECT_TRUE(testMatchesCondition(noNames, &test));
  EXPECT_EQ(conditionIdOfTest(&test), 0u);
  deleteStringList(test.keys);
}

TEST(SieveTables, ActionIdFollowsTheRuleKind) {
  const struct {
    RuleKind kind;
    unsigned id;
  } cases[] = {{RuleKind::Empty, 0},   {RuleKind::Keep, 4},      {RuleKind::Reject, 3},
               {RuleKind::Discard, 5}, {RuleKind::FileInto, 1},  {RuleKind::Stop, 8},
               {RuleKind::Redirect, 2}, {RuleKind::Notify, 6},   {RuleKind::Vacation, 7},
               {RuleKind::If, 0},      {RuleKind::SetReadFlag, 9}};
  for (const auto& c : cases) {
    SieveRule rule(c.kind, nullptr);
    EXPECT_EQ(actionIdOfRule(&rule), c.id) << static_cast<int>(c.kind);
  }
  EXPECT_EQ(actionIdOfRule(nullptr), 0u);
}

TEST(SieveTables, AllConditionsKnownLooksAtEachChildOfAListOrTheTestItself) {
  const struct {
    const wchar_t* script;
    bool known;
  } cases[] = {
      {L"if allof (address \"From\" \"a\", header \"Subject\" \"b\") { keep; }", true},
      {L"if anyof (size :over 1M, spamtest, true) { keep; }", true},
      {L"if anyof (true, exists \"X\") { keep; }", false},
      {L"if allof (allof (true), true) { keep; }", false},
      {L"if not allof (true, spamtest) { keep; }", true},
      {L"if header \"X-Spam\" \"yes\" { keep; }", false},
      {L"if address \"From\" \"a\" { keep; }", true},
      {L"if void { keep; }", false},
      {L"keep;", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << std::string(c.script, c.script + std::wcslen(c.script)));
    RulePtr rules = parseScriptText(c.script);
    ASSERT_NE(rules, nullptr);
    EXPECT_EQ(allConditionsKnown(rules.get()), c.known);
  }
  EXPECT_FALSE(allConditionsKnown(nullptr));
}

TEST(SieveTables, LinkMarksAreDroppedForListViews) {
  EXPECT_EQ(withoutLinkMarks(L"from [people or addresses] ([compared])"), L"from people or addresses (compared)");
  EXPECT_EQ(withoutLinkMarks(L"no marks"), L"no marks");
  EXPECT_EQ(withoutLinkMarks(L"[]"), L"");
}

TEST(SieveTables, ReloadTakesTheLanguageInForce) {
  const ConditionRow& from = conditionTable().at(ConditionFrom);
  const std::wstring english = from.label;
  Localization::TableTranslator other({{IDS_CONDITION_FROM, L"von [Personen]"}, {IDS_MATCH_IS, L"genau"}});
  Localization::setTranslator(&other);
  EXPECT_EQ(conditionLabel(ConditionFrom), english);  // built once, until a reload
  reloadTables();
  EXPECT_EQ(from.label, L"von [Personen]");
  EXPECT_EQ(matchLabel(MatchType::Is, false), L"genau");
  EXPECT_EQ(actionFirstLabel(ActionKeep), L"");  // no text in that language
  EXPECT_EQ(conditionParameter(ConditionFrom), L"From");  // parameters are not translated
  Localization::setTranslator(nullptr);
  reloadTables();
  EXPECT_EQ(from.label, english);
}

}  // namespace
