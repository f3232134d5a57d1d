// The script model: construction, parents, copies, list operations, and the
// two forms of forwarding.
#include <gtest/gtest.h>

#include <vector>

#include "base/HResultException.h"
#include "tests/sieve/AllocationProbe.h"
#include "tests/sieve/SieveTestSupport.h"
#include "testing/TestEnvironment.h"

using namespace Sieve;
using sievetest::outline;
using sievetest::parse;

namespace {

// A chain of plain Keep rules named "r0", "r1", ...; the chain owns them.
RulePtr namedChain(int count) {
  SieveRule* head = nullptr;
  for (int i = 0; i < count; ++i) {
    auto* rule = new SieveRule(L"r" + std::to_wstring(i), true, nullptr);
    rule->kind = RuleKind::Keep;
    appendRule(head, rule);
  }
  return RulePtr(head);
}

std::wstring names(const SieveRule* head) {
  std::wstring text;
  for (; head; head = head->next) text += head->name + L" ";
  return text;
}

}  // namespace

TEST(SieveModel, NewNodesHaveTheDocumentedDefaults) {
  SieveTest test;
  EXPECT_EQ(test.kind, TestKind::None);
  EXPECT_FALSE(test.negated);
  EXPECT_EQ(test.keys, nullptr);
  EXPECT_EQ(test.values, nullptr);
  EXPECT_EQ(test.octetComparator, 0u);
  EXPECT_EQ(test.addressPart, AddressPart::All);
  EXPECT_EQ(test.matchType, MatchType::Is);
  EXPECT_EQ(test.sizeMode, SizeMode::Under);  // the one non-zero field
  EXPECT_EQ(test.sizeLimit, 0u);

  SieveRule rule;
  EXPECT_EQ(rule.kind, RuleKind::Empty);
  EXPECT_FALSE(rule.enabled);
  EXPECT_FALSE(rule.reserved);
  EXPECT_TRUE(rule.editable);

  SieveRule parent(RuleKind::If, nullptr);
  SieveRule child(RuleKind::Keep, &parent);
  EXPECT_EQ(child.parent, &parent);
  EXPECT_FALSE(child.enabled);

  SieveRule named(L"n", true, &parent);
  EXPECT_EQ(named.kind, RuleKind::Empty);
  EXPECT_TRUE(named.enabled);
  EXPECT_EQ(named.name, L"n");
  EXPECT_EQ(named.parent, &parent);
}

TEST(SieveModel, EnumValuesAreThoseOfTheScriptModel) {
  EXPECT_EQ(static_cast<int>(TestKind::AllOf), 1);
  EXPECT_EQ(static_cast<int>(TestKind::SpamTest), 9);
  EXPECT_EQ(static_cast<int>(RuleKind::Vacation), 8);
  EXPECT_EQ(static_cast<int>(RuleKind::If), 9);
  EXPECT_EQ(static_cast<int>(RuleKind::SetReadFlag), 10);
  EXPECT_EQ(static_cast<int>(AddressPart::Domain), 2);
  EXPECT_EQ(static_cast<int>(MatchType::Matches), 2);
  EXPECT_EQ(static_cast<int>(SizeMode::Over), 0);
  EXPECT_EQ(static_cast<int>(VacationParameter::ExternalMessageKnownContactsOnly), 8);
}

TEST(SieveModel, NodeCopyTakesTheFieldsButNoPointers) {
  SieveRule parent(RuleKind::If, nullptr);
  SieveRule original(L"name", true, &parent);
  original.kind = RuleKind::Vacation;
  original.reserved = true;
  original.editable = false;
  original.argument = L"why";
  original.setParameter(VacationParameter::Days, L"3");
  SieveRule sibling;
  original.next = &sibling;

  SieveRule copy(original);
  EXPECT_EQ(copy.kind, RuleKind::Vacation);
  EXPECT_TRUE(copy.enabled);
  EXPECT_TRUE(copy.reserved);
  EXPECT_FALSE(copy.editable);
  EXPECT_EQ(copy.name, L"name");
  EXPECT_EQ(copy.argument, L"why");
  EXPECT_EQ(copy.parameter(VacationParameter::Days), L"3");
  EXPECT_EQ(copy.parent, nullptr);
  EXPECT_EQ(copy.next, nullptr);
  original.next = nullptr;
}

TEST(SieveModel, ReadingAMissingParameterInsertsAnEmptyString) {
  SieveRule rule(RuleKind::Vacation, nullptr);
  EXPECT_TRUE(rule.parameters.empty());
  EXPECT_EQ(rule.parameter(VacationParameter::RangeStart), L"");
  ASSERT_EQ(rule.parameters.size(), 1u);
  EXPECT_EQ(rule.parameters.begin()->first,
            SieveRule::ParameterKey(static_cast<unsigned>(RuleKind::Vacation), 3u));
}

TEST(SieveModel, ParametersAreKeyedByKindSoAKindChangeHidesThem) {
  SieveRule rule(RuleKind::Vacation, nullptr);
  rule.setParameter(VacationParameter::Days, L"5");
  rule.kind = RuleKind::Notify;
  EXPECT_EQ(rule.parameter(VacationParameter::Days), L"");
  rule.kind = RuleKind::Vacation;
  EXPECT_EQ(rule.parameter(VacationParameter::Days), L"5");
}

TEST(SieveModel, SetParentReportsACycleAndStillStoresThePointer) {
  SieveRule top(RuleKind::If, nullptr);
  SieveRule middle(RuleKind::If, &top);
  SieveRule bottom(RuleKind::Keep, &middle);
  EXPECT_TRUE(setParent(&bottom, &middle));

  // top under bottom: top -> bottom -> middle -> top.
  EXPECT_FALSE(setParent(&top, &bottom));
  EXPECT_EQ(top.parent, &bottom);
  // A rule as its own parent.
  SieveRule self;
  EXPECT_FALSE(setParent(&self, &self));
  EXPECT_EQ(self.parent, &self);
  // A cycle has no top; the flag reads as disabled instead of hanging.
  top.enabled = true;
  EXPECT_FALSE(isEnabledAtTop(&bottom));
  EXPECT_FALSE(isEnabledAtTop(&self));
}

TEST(SieveModel, IsEnabledAtTopTakesTheFlagOfTheTopRule) {
  SieveRule top(L"", false, nullptr);
  top.kind = RuleKind::If;
  SieveRule nested(L"", true, &top);
  SieveRule deeper(L"", true, &nested);
  EXPECT_FALSE(isEnabledAtTop(&nested));
  EXPECT_FALSE(isEnabledAtTop(&deeper));
  top.enabled = true;
  nested.enabled = false;
  EXPECT_TRUE(isEnabledAtTop(&deeper));
  EXPECT_FALSE(isEnabledAtTop(nullptr));
}

TEST(SieveModel, CloneLeavesTheElseBranchBehindInEveryMode) {
  auto parsed = parse(L"if true { keep; stop; } else { discard; } if false { keep; } elsif true { stop; }");
  ASSERT_TRUE(parsed.ok);
  SieveRule* first = parsed.head.get();
  ASSERT_NE(first->elseBlock, nullptr);

  struct Case {
    int mode;
    const wchar_t* outline;
  };
  const Case cases[] = {
      {CloneNode, L"If()"},
      {CloneWithBlock, L"If(Keep Stop)"},
      {CloneWithSiblings, L"If(Keep Stop) If(Keep)"},
  };
  for (const Case& c : cases) {
    RulePtr copy(cloneRule(first, c.mode));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(outline(copy.get()), c.outline) << "mode " << c.mode;
    for (SieveRule* rule = copy.get(); rule; rule = rule->next) EXPECT_EQ(rule->elseBlock, nullptr);
  }
}

TEST(SieveModel, CloneCopiesTheTestAndSetsParents) {
  auto parsed = parse(L"#!0 x\n# if anyof (header :contains \"Subject\" [\"a\", \"b\"], size :over 5) { keep; stop; }");
  ASSERT_TRUE(parsed.ok);
  SieveRule outer(RuleKind::If, nullptr);
  RulePtr copy(cloneRule(parsed.head.get(), CloneWithBlock, &outer));
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->parent, &outer);
  EXPECT_EQ(copy->name, L"x");
  EXPECT_FALSE(copy->enabled);
  ASSERT_NE(copy->test, nullptr);
  EXPECT_NE(copy->test, parsed.head->test);
  EXPECT_EQ(sievetest::writeTestText(copy->test), sievetest::writeTestText(parsed.head->test));
  for (SieveRule* command = copy->thenBlock; command; command = command->next) EXPECT_EQ(command->parent, copy.get());
}

TEST(SieveModel, CloneTestShallowAndDeep) {
  auto test = sievetest::parseTestText(L"not allof (address :domain :matches :comparator \"i;octet\" \"From\" [\"a\", \"b\"], size :over 7)");
  ASSERT_NE(test, nullptr);
  TestPtr shallow(cloneTest(test.get(), false));
  ASSERT_NE(shallow, nullptr);
  EXPECT_EQ(shallow->kind, TestKind::AllOf);
  EXPECT_TRUE(shallow->negated);
  EXPECT_EQ(shallow->subTests, nullptr);

  TestPtr deep(cloneTest(test->subTests, true));
  ASSERT_NE(deep, nullptr);
  EXPECT_EQ(deep->next, nullptr);  // the head copy does not take its siblings
  EXPECT_EQ(deep->addressPart, AddressPart::Domain);
  EXPECT_EQ(deep->matchType, MatchType::Matches);
  EXPECT_EQ(deep->octetComparator, 1u);
  EXPECT_EQ(stringListToVector(deep->values), (std::vector<std::wstring>{L"a", L"b"}));

  TestPtr whole(cloneTest(test.get(), true));
  EXPECT_EQ(sievetest::writeTestText(whole.get()), L"not allof (address :domain :matches \"From\" [\"a\", \"b\"] , size :over 7) ");
  EXPECT_EQ(cloneTest(nullptr, true), nullptr);
}

TEST(SieveModel, CloneStringListFirstOrAll) {
  StringListPtr list(makeStringList({L"a", L"b", L"c"}));
  StringListPtr first(cloneStringList(list.get(), false));
  StringListPtr all(cloneStringList(list.get(), true));
  EXPECT_EQ(stringListToVector(first.get()), (std::vector<std::wstring>{L"a"}));
  EXPECT_EQ(stringListToVector(all.get()), (std::vector<std::wstring>{L"a", L"b", L"c"}));
  EXPECT_EQ(cloneStringList(nullptr, true), nullptr);
  EXPECT_EQ(cloneRule(nullptr, CloneWithSiblings), nullptr);
}

TEST(SieveModel, CopiesGiveNullAndFreeEverythingWhenMemoryRunsOut) {
  auto parsed = parse(sievetest::dataScript("mailbox.sieve"));
  ASSERT_TRUE(parsed.ok);
  const std::wstring expected = sievetest::writeRulesText(parsed.head.get());
  // Let the n-th allocation fail, for every n, until the copy gets through.
  bool completed = false;
  for (long long allowed = 0; !completed && allowed < 100000; ++allowed) {
    const long long before = sievetest::liveAllocations();
    SieveRule* copy = nullptr;
    {
      sievetest::AllocationFailure failure(allowed);
      copy = cloneRule(parsed.head.get(), CloneWithSiblings);
    }
    if (copy) {
      completed = true;
      EXPECT_EQ(sievetest::writeRulesText(copy), expected);
      deleteRules(copy);
    }
    ASSERT_EQ(sievetest::liveAllocations(), before) << "after " << allowed << " allocations";
  }
  EXPECT_TRUE(completed);
}

TEST(SieveModel, DeletingAChainFreesTheFollowingNodesButNotAnUnlinkedOnesOldSiblings) {
  const long long before = sievetest::liveAllocations();
  {
    RulePtr chain = namedChain(4);
    SieveRule* head = chain.release();
    SieveRule* second = head->next;
    unlinkRule(head, second);
    EXPECT_EQ(second->next, nullptr);
    deleteRules(second);  // the node alone
    EXPECT_EQ(names(head), L"r0 r2 r3 ");
    deleteRules(head);  // the rest
  }
  EXPECT_EQ(sievetest::liveAllocations(), before);
  deleteRules(nullptr);
  deleteTests(nullptr);
  deleteStringList(nullptr);
}

TEST(SieveModel, ListOperations) {
  RulePtr chain = namedChain(3);
  SieveRule* head = chain.release();
  SieveRule* r0 = head;
  SieveRule* r1 = r0->next;
  SieveRule* r2 = r1->next;

  EXPECT_TRUE(containsRule(head, r2));
  EXPECT_EQ(previousRule(head, r0), nullptr);
  EXPECT_EQ(previousRule(head, r2), r1);
  EXPECT_EQ(findRule(head, L"r1"), r1);
  EXPECT_EQ(findRule(head, L"R1"), nullptr);  // with case
  EXPECT_EQ(findRule(head, L""), nullptr);

  auto* fresh = new SieveRule(L"new", true, nullptr);
  EXPECT_TRUE(replaceRule(head, r1, fresh));
  EXPECT_EQ(r1->next, nullptr);
  EXPECT_EQ(names(head), L"r0 new r2 ");
  EXPECT_FALSE(containsRule(head, r1));
  EXPECT_FALSE(replaceRule(head, r1, r1));
  EXPECT_TRUE(replaceRule(head, r0, r1));  // the head itself
  EXPECT_EQ(names(head), L"r1 new r2 ");
  deleteRules(r0);

  unlinkRule(head, r2);
  EXPECT_EQ(names(head), L"r1 new ");
  appendRule(head, r2);
  EXPECT_EQ(names(head), L"r1 new r2 ");
  deleteRules(head);
}

TEST(SieveModel, MoveRuleSwapsByOnePlaceByTheSignOfDelta) {
  struct Case {
    const wchar_t* rule;
    int delta;
    const wchar_t* order;
  };
  const Case cases[] = {
      {L"r1", 0, L"r0 r1 r2 "},     {L"r1", 1, L"r0 r2 r1 "},  {L"r1", 57, L"r0 r2 r1 "},
      {L"r1", -1, L"r1 r0 r2 "},    {L"r1", -9, L"r1 r0 r2 "}, {L"r0", 1, L"r1 r0 r2 "},
      {L"r0", -1, L"r0 r1 r2 "},    {L"r2", 1, L"r0 r1 r2 "},  {L"r2", -1, L"r0 r2 r1 "},
  };
  for (const Case& c : cases) {
    RulePtr chain = namedChain(3);
    SieveRule* head = chain.release();
    moveRule(head, findRule(head, c.rule), c.delta);
    EXPECT_EQ(names(head), c.order) << zelvo::testing::utf8(c.rule) << " by " << c.delta;
    chain.reset(head);
  }
}

TEST(SieveModel, MergeRedirectsJoinsEveryRedirectOfAListIntoTheFirst) {
  struct Case {
    const wchar_t* script;
    const wchar_t* outline;
  };
  const Case cases[] = {
      {L"redirect \"a\";", L"Redirect[a]"},
      {L"redirect \"a\"; keep; redirect \"b\";", L"Redirect[a; b] Keep"},
      {L"keep; redirect \"a\"; redirect \"b\"; stop; redirect \"c\";", L"Keep Redirect[a; b; c] Stop"},
      {L"redirect \"\"; redirect \"b\";", L"Redirect[; b]"},
      // Each block keeps a memory of its own.
      {L"redirect \"a\"; if true { redirect \"b\"; keep; redirect \"c\"; } else { redirect \"d\"; }",
       L"Redirect[a] If(Redirect[b; c] Keep)else(Redirect[d])"},
  };
  for (const Case& c : cases) {
    auto parsed = parse(c.script);  // the reader merges
    ASSERT_TRUE(parsed.ok) << zelvo::testing::utf8(c.script);
    EXPECT_EQ(outline(parsed.head.get()), c.outline) << zelvo::testing::utf8(c.script);
  }
}

TEST(SieveModel, MergeRedirectsLeavesABackPointerOnTheNodeAfterARemovedOne) {
  auto parsed = parse(L"if true { redirect \"a\"; keep; redirect \"b\"; stop; }");
  ASSERT_TRUE(parsed.ok);
  SieveRule* redirect = parsed.head->thenBlock;
  SieveRule* stop = redirect->next->next;
  ASSERT_EQ(stop->kind, RuleKind::Stop);
  EXPECT_EQ(stop->parent, redirect);
  EXPECT_EQ(redirect->next->parent, parsed.head.get());  // Keep was not behind a removed one
}

TEST(SieveModel, SplitRulesMakesOneRedirectPerAddress) {
  struct Case {
    const wchar_t* argument;
    std::vector<std::wstring> addresses;
  };
  const Case cases[] = {
      {L"a, b;c d", {L"a", L"b", L"c", L"d"}},
      {L"a", {L"a"}},
      {L"", {L""}},  // no token: the rule stays as it is
      {L" ,; ", {L" ,; "}},
      {L";;a;;", {L"a"}},
      {L"a\tb", {L"a\tb"}},  // a tab is no separator
  };
  for (const Case& c : cases) {
    auto* rule = new SieveRule(L"fw", false, nullptr);
    rule->kind = RuleKind::Redirect;
    rule->argument = c.argument;
    auto* after = new SieveRule(RuleKind::Keep, nullptr);
    rule->next = after;
    RulePtr chain(rule);
    SieveRule::splitRules(chain.get());

    std::vector<std::wstring> addresses;
    const SieveRule* previous = nullptr;
    const SieveRule* node = chain.get();
    for (; node && node->kind == RuleKind::Redirect; node = node->next) {
      addresses.push_back(node->argument);
      EXPECT_EQ(node->name, L"fw");
      EXPECT_FALSE(node->enabled);
      if (previous) {
        EXPECT_EQ(node->parent, previous);
      }
      previous = node;
    }
    EXPECT_EQ(addresses, c.addresses) << zelvo::testing::utf8(c.argument);
    ASSERT_EQ(node, after);
    if (c.addresses.size() > 1) {
      EXPECT_EQ(after->parent, previous);
    }
  }
}

TEST(SieveModel, SplitRulesRecursesIntoBothBlocks) {
  auto parsed = parse(L"if true { redirect \"a,b\"; } else { redirect \"c d\"; }");
  ASSERT_TRUE(parsed.ok);
  SieveRule::splitRules(parsed.head.get());
  EXPECT_EQ(outline(parsed.head.get()), L"If(Redirect[a] Redirect[b])else(Redirect[c] Redirect[d])");
}

TEST(SieveModel, SplitRulesRaisesWhenACopyFails) {
  // Cutting the text allocates too; only a failed node copy is E_FAIL. The first raise at a
  // place keeps names for the life of the process, so the first round only warms up.
  for (int round = 0; round < 2; ++round) {
    bool raised = false;
    bool completed = false;
    for (long long allowed = 0; !completed && allowed < 1000; ++allowed) {
      const long long before = sievetest::liveAllocations();
      {
        auto* rule = new SieveRule(RuleKind::Redirect, nullptr);
        rule->argument = L"a,b,c";
        RulePtr chain(rule);
        try {
          sievetest::AllocationFailure failure(allowed);
          SieveRule::splitRules(chain.get());
          completed = true;
        } catch (const HResultException& e) {
          raised = true;
          EXPECT_EQ(e.getHResult(), E_FAIL);
          EXPECT_NE(e.text().find(L": Failed to clone sieve rule"), std::wstring::npos) << e.what();
        } catch (const std::bad_alloc&) {
        }
      }
      if (round == 1) {
        ASSERT_EQ(sievetest::liveAllocations(), before) << "after " << allowed << " allocations";
      }
    }
    EXPECT_TRUE(raised);
    EXPECT_TRUE(completed);
  }
}

TEST(SieveModel, StringListHelpers) {
  SieveStringList* list = nullptr;
  appendString(list, L"x");
  appendString(list, L"y");
  EXPECT_EQ(stringListToVector(list), (std::vector<std::wstring>{L"x", L"y"}));
  deleteStringList(list);
  EXPECT_EQ(makeStringList({}), nullptr);
}
