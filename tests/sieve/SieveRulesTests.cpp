#include "sieve/SieveRules.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>

#include "base/HResultException.h"
#include "sieve/JunkEmailRule.h"
#include "sieve/RuleList.h"
#include "sieve/SieveWriter.h"
#include "tests/sieve/SieveTestSupport.h"
#include "testing/TestEnvironment.h"

namespace {

using namespace Sieve;
using zelvo::testing::utf8;
using sievetest::crlf;

const std::wstring kJunk = crlf({L"#!1 __WebmailJunk__",
                                 L"if allof (spamtest , not address :all :is :iscontact \"From\" [\"a\", \"b\"] ) ",
                                 L"{", L"  fileinto \"Junk E-Mail\";", L"  stop;", L"}"});

std::wstring userRule(const wchar_t* name, const wchar_t* folder) {
  return crlf({(std::wstring(L"#!1 ") + name).c_str(), L"if header :contains \"Subject\" \"x\" ", L"{",
               (std::wstring(L"  fileinto \"") + folder + L"\";").c_str(), L"}"});
}

HRESULT codeOf(const std::function<void()>& f, std::wstring* text = nullptr) {
  try {
    f();
  } catch (const HResultException& e) {
    if (text) *text = e.text();
    return e.getHResult();
  }
  return S_OK;
}

std::vector<std::wstring> names(const SieveRules& rules) {
  std::vector<std::wstring> out;
  for (const SieveRule* r = rules.getRules(false); r; r = r->next) out.push_back(r->name);
  return out;
}

std::wstring written(const SieveRules& rules) {
  std::wstring text;
  rules.writeSieveScript(text);
  return text;
}

SieveRule* parseOne(const std::wstring& text) {
  SieveRule* head = nullptr;
  SieveParseStatus status;
  EXPECT_TRUE(parseRules(text, head, true, &status)) << utf8(status.errorMessage) << " line " << status.line;
  return head;
}

// --- the junk e-mail rule ------------------------------------------------------------------

TEST(JunkEmailRule, ItsTextRoundTripsAndReadsBack) {
  RulePtr rule(parseOne(kJunk));
  ASSERT_TRUE(isJunkEmailRule(rule.get()));
  std::vector<std::wstring> senders;
  bool contacts = false;
  getJunkEmailRuleParams(rule.get(), senders, contacts);
  EXPECT_EQ(senders, (std::vector<std::wstring>{L"a", L"b"}));
  EXPECT_TRUE(contacts);
  RulePtr made(createJunkEmailRule({L"a", L"b"}, true, true));
  std::wostringstream out;
  ASSERT_TRUE(writeRules(out, made.get()));
  EXPECT_EQ(textOfStream(out), kJunk) << "a made rule writes as the server's own";
}

TEST(JunkEmailRule, ShapesThatAreNotTheJunkRule) {
  const struct {
    const char* why;
    std::wstring text;
    bool isJunk;
  } cases[] = {
      {"plain spamtest", crlf({L"#!1 __WebmailJunk__", L"if spamtest {", L"fileinto \"X\"; stop; }"}), true},
      {"folder text is not looked at", crlf({L"#!0 __WebmailJunk__", L"# if spamtest { fileinto \"Spam\"; stop; }"}),
       true},
      {"two keys", crlf({L"#!1 __WebmailJunk__",
                          L"if allof (spamtest, not address :all :is [\"From\", \"Sender\"] \"a\") {",
                          L"fileinto \"Junk E-Mail\"; stop; }"}),
       false},
      {"contains", crlf({L"#!1 __WebmailJunk__", L"if allof (spamtest, not address :all :contains \"From\" \"a\") {",
                         L"fileinto \"Junk E-Mail\"; stop; }"}),
       false},
      {"octet comparator", crlf({L"#!1 __WebmailJunk__",
                                 L"if allof (spamtest, not address :all :is :comparator \"i;octet\" \"From\" \"a\") {",
                                 L"fileinto \"Junk E-Mail\"; stop; }"}),
       false},
      {"lower-case key", crlf({L"#!1 __WebmailJunk__", L"if allof (spamtest, not address :all :is \"from\" \"a\") {",
                               L"fileinto \"Junk E-Mail\"; stop; }"}),
       false},
      {"three commands", crlf({L"#!1 __WebmailJunk__", L"if spamtest { fileinto \"Junk E-Mail\"; stop; keep; }"}),
       false},
      {"no stop", crlf({L"#!1 __WebmailJunk__", L"if spamtest { fileinto \"Junk E-Mail\"; }"}), false},
      {"negated", crlf({L"#!1 __WebmailJunk__", L"if not spamtest { fileinto \"Junk E-Mail\"; stop; }"}), false},
      {"other name", crlf({L"#!1 Junk", L"if spamtest { fileinto \"Junk E-Mail\"; stop; }"}), false},
      {"address not negated", crlf({L"#!1 __WebmailJunk__", L"if allof (spamtest, address :all :is \"From\" \"a\") {",
                                    L"fileinto \"Junk E-Mail\"; stop; }"}),
       false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    RulePtr rule(parseOne(c.text));
    ASSERT_TRUE(rule);
    EXPECT_EQ(isJunkEmailRule(rule.get()), c.isJunk);
  }
  EXPECT_FALSE(isJunkEmailTest(nullptr));
  EXPECT_FALSE(isJunkEmailRule(nullptr));
}

TEST(JunkEmailRule, ParamsOfTestsAndTheirFailures) {
  std::vector<std::wstring> senders{L"stale"};
  bool contacts = true;
  SieveTest spam(TestKind::SpamTest);
  getJunkEmailTestParams(&spam, senders, contacts);
  EXPECT_TRUE(senders.empty());
  EXPECT_FALSE(contacts);
  SieveTest allOf(TestKind::AllOf);  // no address child
  EXPECT_EQ(codeOf([&] { getJunkEmailTestParams(&allOf, senders, contacts); }), E_INVALIDARG);
  EXPECT_EQ(codeOf([&] { getJunkEmailTestParams(nullptr, senders, contacts); }), E_INVALIDARG);
  EXPECT_EQ(codeOf([&] { getJunkEmailRuleParams(nullptr, senders, contacts); }), E_INVALIDARG);
  EXPECT_EQ(codeOf([&] { setJunkEmailRuleParams(nullptr, {}, false); }), E_INVALIDARG);
}

// --- the rule set ----------------------------------------------------------------------------

class TestRules : public SieveRules {
 public:
  void forceStatus(SieveStatus s) { status_ = s; }
};

TEST(SieveRules, StatusMachine) {
  using S = SieveStatus;
  const S all[] = {S::NotLoaded, S::Loaded, S::Modified, S::Repaired};
  const bool allowed[4][4] = {
      // to: NotLoaded Loaded Modified Repaired
      {false, true, false, true},    // from NotLoaded
      {false, true, true, false},    // from Loaded
      {false, true, false, false},   // from Modified
      {false, true, false, false},   // from Repaired
  };
  for (int from = 0; from < 4; ++from) {
    for (int to = 0; to < 4; ++to) {
      SCOPED_TRACE(testing::Message() << from << " -> " << to);
      TestRules rules;
      rules.forceStatus(all[from]);
      EXPECT_EQ(codeOf([&] { rules.setSieveStatus(all[to]); }), allowed[from][to] ? S_OK : E_INVALIDARG);
      EXPECT_EQ(rules.getSieveStatus(), allowed[from][to] ? all[to] : all[from]);
    }
  }
  TestRules odd;
  odd.forceStatus(static_cast<S>(7));
  EXPECT_EQ(codeOf([&] { odd.setSieveStatus(S::Loaded); }), E_UNEXPECTED);
}

TEST(SieveRules, EmptyScriptLoadsWithNoRules) {
  SieveRules rules;
  rules.parseSieveScript(L"", false, nullptr);
  EXPECT_EQ(rules.getSieveStatus(), SieveStatus::Loaded);
  EXPECT_EQ(rules.getRules(false), nullptr);
  EXPECT_EQ(rules.getRules(true), nullptr);
  EXPECT_FALSE(rules.getJunkEmailEnabled());
  EXPECT_EQ(written(rules), L"");
}

TEST(SieveRules, FailedParseHoldsNothingAndSaysWhere) {
  SieveRules rules;
  rules.parseSieveScript(userRule(L"A", L"x"), false, nullptr);
  std::wstring text;
  EXPECT_EQ(codeOf([&] { rules.parseSieveScript(L"if true {\r\n  keep;\r\n  frobnicate;\r\n}\r\n", false, nullptr); },
                   &text),
            E_FAIL);
  EXPECT_NE(text.find(L": Failed to parse sieve script (error=1, line=3)"), std::wstring::npos) << utf8(text);
  EXPECT_EQ(rules.getSieveStatus(), SieveStatus::NotLoaded);
  EXPECT_EQ(codeOf([&] { rules.getRules(false); }), E_INVALIDARG);
  EXPECT_EQ(codeOf([&] { rules.getJunkEmailEnabled(); }), E_INVALIDARG);
  EXPECT_EQ(codeOf([&] { rules.setJunkEmailEnabled(true); }), E_INVALIDARG);
}

class FakeRepair : public IScriptRepair {
 public:
  bool answerFix = false;
  bool answerOk = false;
  std::wstring corrected;
  int messages = 0, dialogs = 0;

  bool showParseFailure(HWND, const SieveParseStatus& status, bool askFix) override {
    ++messages;
    EXPECT_TRUE(askFix);
    EXPECT_EQ(status.errorFlag, 1);
    return answerFix;
  }
  bool editScript(HWND, const std::wstring&, SieveRule** rules) override {
    ++dialogs;
    if (answerOk) *rules = parseOne(corrected);
    return answerOk;
  }
};

TEST(SieveRules, RepairPathAsksOnlyWithAUserPresent) {
  const std::wstring broken = L"if true { frobnicate; }";
  const struct {
    bool allowFix, fix, ok;
    HRESULT code;
    int messages, dialogs;
    SieveStatus status;
  } cases[] = {
      {false, true, true, E_FAIL, 0, 0, SieveStatus::NotLoaded},    // nobody to ask
      {true, false, false, E_FAIL, 1, 0, SieveStatus::NotLoaded},   // user declines
      {true, true, false, E_ABORT, 1, 1, SieveStatus::NotLoaded},   // user cancels the editor
      {true, true, true, S_OK, 1, 1, SieveStatus::Repaired},        // corrected by hand
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.allowFix << c.fix << c.ok);
    FakeRepair repair;
    repair.answerFix = c.fix;
    repair.answerOk = c.ok;
    repair.corrected = L"if true { keep; }";
    SieveRules rules;
    rules.setScriptRepair(&repair);
    std::wstring text;
    EXPECT_EQ(codeOf([&] { rules.parseSieveScript(broken, c.allowFix, nullptr); }, &text), c.code);
    if (c.code == E_ABORT) {
      EXPECT_NE(text.find(L"Failed to parse sieve script (error=1, line=1)"), std::wstring::npos);
    }
    EXPECT_EQ(repair.messages, c.messages);
    EXPECT_EQ(repair.dialogs, c.dialogs);
    EXPECT_EQ(rules.getSieveStatus(), c.status);
    if (c.status == SieveStatus::Repaired) {
      // Saved in the writer's form, not the user's text.
      EXPECT_EQ(written(rules), crlf({L"if true ", L"{", L"  keep;", L"}"}));
    }
  }
}

TEST(SieveRules, SecondChangeBeforeASaveRaisesWithTheChangeMade) {
  SieveRules rules;
  rules.parseSieveScript(userRule(L"A", L"x"), false, nullptr);
  rules.setJunkEmailEnabled(true);
  EXPECT_EQ(rules.getSieveStatus(), SieveStatus::Modified);
  EXPECT_EQ(codeOf([&] { rules.setJunkEmailTrustedSenders({L"c@example.com"}); }), E_INVALIDARG);
  EXPECT_EQ(rules.getJunkEmailTrustedSenders(), std::vector<std::wstring>{L"c@example.com"});
  EXPECT_EQ(codeOf([&] { rules.setRules(nullptr); }), E_INVALIDARG);
  EXPECT_EQ(rules.getRules(false), nullptr) << "setRules freed the rules before it raised";
}

TEST(SieveRules, SetRulesCopiesAndGetRulesCopiesWithoutElse) {
  SieveRules rules;
  rules.parseSieveScript(L"", false, nullptr);
  RulePtr mine(parseOne(crlf({L"#!1 A", L"if true { keep; } else { discard; }"})));
  ASSERT_NE(mine->elseBlock, nullptr);
  rules.setRules(mine.get());
  EXPECT_NE(rules.getRules(false), mine.get()) << "the caller keeps what it passed";
  EXPECT_EQ(rules.getRules(false)->elseBlock, nullptr);
  RulePtr copy(rules.getRules(true));
  EXPECT_NE(copy.get(), rules.getRules(false));
  EXPECT_EQ(copy->name, L"A");
}

TEST(SieveRules, FindRuleByName) {
  SieveRules rules;
  rules.parseSieveScript(userRule(L"Work", L"w") + userRule(L"work", L"x") + userRule(L"Work", L"y"), false,
                         nullptr);
  EXPECT_EQ(rules.findRuleByName(L"work")->thenBlock->argument, L"x") << "case counts";
  EXPECT_EQ(rules.findRuleByName(L"Work")->thenBlock->argument, L"w") << "the first wins";
  EXPECT_EQ(rules.findRuleByName(L"None"), nullptr);
  EXPECT_EQ(codeOf([&] { rules.findRuleByName(L""); }), E_INVALIDARG);
}

TEST(SieveRules, JunkSettersMoveTheJunkRuleToTheHead) {
  // A junk rule at place five, as a server may deliver it, stays there until it is set.
  const std::wstring text = userRule(L"A", L"a") + userRule(L"B", L"b") + userRule(L"C", L"c") +
                            userRule(L"D", L"d") + kJunk + userRule(L"E", L"e");
  const std::vector<std::function<void(SieveRules&)>> setters = {
      [](SieveRules& r) { r.setJunkEmailEnabled(false); },
      [](SieveRules& r) { r.setJunkEmailTrustedSenders({L"x"}); },
      [](SieveRules& r) { r.setJunkEmailTrustContacts(false); },
  };
  for (size_t i = 0; i < setters.size(); ++i) {
    SCOPED_TRACE(i);
    SieveRules rules;
    rules.parseSieveScript(text, false, nullptr);
    EXPECT_EQ(names(rules)[4], L"__WebmailJunk__") << "loading changes no order";
    setters[i](rules);
    EXPECT_EQ(names(rules),
              (std::vector<std::wstring>{L"__WebmailJunk__", L"A", L"B", L"C", L"D", L"E"}));
  }
}

TEST(SieveRules, JunkSettersKeepTheOtherParameters) {
  TestRules rules;
  rules.parseSieveScript(kJunk, false, nullptr);
  EXPECT_TRUE(rules.getJunkEmailEnabled());
  rules.setJunkEmailEnabled(false);
  rules.forceStatus(SieveStatus::Loaded);  // as after a save
  EXPECT_FALSE(rules.getJunkEmailEnabled());
  EXPECT_EQ(rules.getJunkEmailTrustedSenders(), (std::vector<std::wstring>{L"a", L"b"})) << "kept while disabled";
  EXPECT_TRUE(rules.getJunkEmailTrustContacts());
  rules.setJunkEmailTrustContacts(false);
  rules.forceStatus(SieveStatus::Loaded);
  EXPECT_EQ(rules.getJunkEmailTrustedSenders(), (std::vector<std::wstring>{L"a", L"b"}));
  rules.setJunkEmailTrustedSenders({});
  EXPECT_EQ(rules.findRuleByName(L"__WebmailJunk__")->test->kind, TestKind::SpamTest)
      << "no senders and no contacts is the plain spamtest again";
}

TEST(SieveRules, NewJunkRulesAreEnabledOnlyByTheEnabledSetter) {
  const struct {
    std::function<void(SieveRules&)> set;
    bool enabled;
    std::vector<std::wstring> senders;
    bool contacts;
  } cases[] = {
      {[](SieveRules& r) { r.setJunkEmailEnabled(true); }, true, {}, false},
      {[](SieveRules& r) { r.setJunkEmailTrustedSenders({L"x@y"}); }, false, {L"x@y"}, false},
      {[](SieveRules& r) { r.setJunkEmailTrustContacts(true); }, false, {}, true},
  };
  for (const auto& c : cases) {
    SieveRules rules;
    rules.parseSieveScript(userRule(L"A", L"a"), false, nullptr);
    c.set(rules);
    EXPECT_EQ(names(rules), (std::vector<std::wstring>{L"__WebmailJunk__", L"A"}));
    EXPECT_EQ(rules.getJunkEmailEnabled(), c.enabled);
    EXPECT_EQ(rules.getJunkEmailTrustedSenders(), c.senders);
    EXPECT_EQ(rules.getJunkEmailTrustContacts(), c.contacts);
  }
}

TEST(SieveRules, TrustedContactsWithoutSendersWriteAnEmptyString) {
  SieveRules rules;
  rules.parseSieveScript(L"", false, nullptr);
  rules.setJunkEmailTrustContacts(true);
  const std::wstring text = written(rules);
  EXPECT_NE(text.find(L"not address :all :is :iscontact \"From\" \"\" "), std::wstring::npos) << utf8(text);
  SieveRules back;
  back.parseSieveScript(text, false, nullptr);
  EXPECT_TRUE(back.getJunkEmailTrustedSenders().empty()) << "the empty string is no sender";
  EXPECT_TRUE(back.getJunkEmailTrustContacts());
}

TEST(SieveRules, ASameNamedRuleOfAnotherShapeIsHiddenButKept) {
  const std::wstring impostor = crlf({L"#!1 __WebmailJunk__", L"if true ", L"{", L"  keep;", L"}"});
  SieveRules rules;
  rules.parseSieveScript(userRule(L"A", L"a") + impostor, false, nullptr);
  EXPECT_FALSE(rules.getJunkEmailEnabled()) << "a name alone does not make the junk rule";
  EXPECT_TRUE(rules.getJunkEmailTrustedSenders().empty());
  rules.setJunkEmailEnabled(true);
  EXPECT_EQ(names(rules), (std::vector<std::wstring>{L"__WebmailJunk__", L"A", L"__WebmailJunk__"}));
  EXPECT_TRUE(isJunkEmailRule(rules.findRuleByName(L"__WebmailJunk__")));
  const std::wstring text = written(rules);
  EXPECT_NE(text.find(impostor), std::wstring::npos) << "both are written";
}

TEST(SieveRules, WriteFailureLeavesStatusAndRules) {
  TestRules rules;
  rules.parseSieveScript(userRule(L"A", L"a"), false, nullptr);
  RulePtr empty(new SieveRule());  // a rule of kind Empty cannot be written
  rules.setRules(empty.get());
  std::wstring text = L"untouched", message;
  EXPECT_EQ(codeOf([&] { rules.writeSieveScript(text); }, &message), E_FAIL);
  EXPECT_NE(message.find(L": Failed to write sieve script."), std::wstring::npos);
  EXPECT_EQ(text, L"untouched");
  EXPECT_EQ(rules.getSieveStatus(), SieveStatus::Modified);
}

TEST(ReservedPositions, RepairMovesOnlyTheRuleItIsGiven) {
  auto chain = [](std::initializer_list<std::wstring> parts) {
    std::wstring text;
    for (const auto& p : parts) text += p;
    return parseOne(text);
  };
  const std::wstring ooo = userRule(L"__WebmailAutoreply__", L"o");
  const struct {
    const char* why;
    std::wstring text;
    bool junkRepair;
    std::vector<std::wstring> order;
  } cases[] = {
      {"out of office behind a junk head", kJunk + userRule(L"A", L"a") + ooo, false,
       {L"__WebmailJunk__", L"__WebmailAutoreply__", L"A"}},
      {"out of office to the head without one", userRule(L"A", L"a") + ooo + kJunk, false,
       {L"__WebmailAutoreply__", L"A", L"__WebmailJunk__"}},
      {"already second", kJunk + ooo + userRule(L"A", L"a"), false, {L"__WebmailJunk__", L"__WebmailAutoreply__", L"A"}},
      {"junk to the head", userRule(L"A", L"a") + ooo + kJunk, true, {L"__WebmailJunk__", L"A", L"__WebmailAutoreply__"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    SieveRule* head = chain({c.text});
    SieveRule* rule = findRule(head, c.junkRepair ? L"__WebmailJunk__" : L"__WebmailAutoreply__");
    if (c.junkRepair) Sieve::details::repairJunkEmailPosition(head, rule);
    else Sieve::details::repairOutOfOfficePosition(head, rule);
    std::vector<std::wstring> order;
    for (SieveRule* r = head; r; r = r->next) order.push_back(r->name);
    EXPECT_EQ(order, c.order);
    deleteRules(head);
  }
  SieveRule* none = nullptr;
  SieveRule lone;
  EXPECT_EQ(codeOf([&] { Sieve::details::repairJunkEmailPosition(none, &lone); }), E_INVALIDARG);
  EXPECT_EQ(codeOf([&] { Sieve::details::repairOutOfOfficePosition(none, &lone); }), E_INVALIDARG);
  RulePtr one(parseOne(kJunk));
  SieveRule* head = one.get();
  EXPECT_EQ(codeOf([&] { Sieve::details::repairOutOfOfficePosition(head, nullptr); }), E_INVALIDARG);
}

TEST(RuleList, ReservedRowsFirstRepeatsDroppedAndTheChainHandedBackInOrder) {
  const std::wstring ooo = crlf({L"#!0 __WebmailAutoreply__", L"# if true { vacation \"x\"; }"});
  SieveRules rules;
  rules.parseSieveScript(crlf({L"#!1 A", L"if true { keep; discard; fileinto \"x\"; keep; }", L"if false { stop; }"}) +
                             ooo + kJunk,
                         false, nullptr);
  RuleList list;
  list.load(rules);
  ASSERT_EQ(list.size(), 4u);
  const wchar_t* names[] = {L"Junk e-mail filter", L"Out of office reply", L"A", L"(unnamed rule)"};
  for (size_t row = 0; row < list.size(); ++row) EXPECT_EQ(list.name(row), names[row]) << row;
  EXPECT_TRUE(list.isReserved(0));
  EXPECT_TRUE(list.isReserved(1));
  EXPECT_FALSE(list.toggle(1)) << "reserved rows keep their state";
  EXPECT_FALSE(list.rule(1)->enabled);
  EXPECT_TRUE(list.toggle(3));
  list.apply(rules);
  // The junk e-mail rule, the out-of-office rule, then the user's rules; one Keep or Discard a rule.
  EXPECT_EQ(written(rules), kJunk + ooo.substr(0, 26) + L"# if true \r\n# {\r\n#   vacation :days 7 \"x\";\r\n# }\r\n" +
                                crlf({L"#!1 A", L"if true ", L"{", L"  keep;", L"  fileinto \"x\";", L"}",
                                      L"#!0 ", L"# if false ", L"# {", L"#   stop;", L"# }"}));
}

}  // namespace
