// The words of a rule: sentences, links and their mark-up, and the rich text made of it.
#include "sieve/RuleDescription.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <regex>
#include <string>
#include <vector>

#include "sieve/SieveTables.h"

namespace {

using namespace Sieve;

void setValues(SieveTest* test, const std::vector<std::wstring>& values) {
  deleteStringList(test->values);
  test->values = nullptr;
  SieveStringList** tail = &test->values;
  for (const std::wstring& v : values) {
    *tail = new SieveStringList(v);
    tail = &(*tail)->next;
  }
}

std::wstring id(const void* node) { return std::to_wstring(reinterpret_cast<std::uintptr_t>(node)); }

// The (word, id, shown text, capital) of each link of a mark-up text, in order.
struct MarkedLink {
  std::wstring word;
  std::wstring id;
  std::wstring shown;
  bool capital;
};
std::vector<MarkedLink> linksOf(const std::wstring& markup) {
  // A shown text may span lines (a notification is shown whole).
  static const std::wregex link(L"<(a href|A HREF)=#([a-z]+)_([0-9]+)>([\\s\\S]*?)</(a|A)>");
  std::vector<MarkedLink> links;
  for (std::wsregex_iterator it(markup.begin(), markup.end(), link), end; it != end; ++it)
    links.push_back({(*it)[2].str(), (*it)[3].str(), (*it)[4].str(), (*it)[1].str() == L"A HREF"});
  return links;
}

TEST(RuleDescription, EachConditionSentenceWithItsLinks) {
  struct Case {
    unsigned condition;
    std::vector<std::wstring> values;
    MatchType match;
    bool negated;
    std::uint32_t size;
    SizeMode mode;
    std::wstring plain;
    std::vector<std::wstring> linkWords;
  };
  const Case cases[] = {
      {ConditionToOrCc, {L"a@x.org", L"b@y.org"}, MatchType::Contains, false, 0, SizeMode::Under,
       L"with 'a@x.org' or 'b@y.org' (anywhere in the text) in the To or Cc box", {L"addr", L"match"}},
      {ConditionFrom, {L"boss@x.org"}, MatchType::Is, true, 0, SizeMode::Under, L"from 'boss@x.org' (not exactly)",
       {L"addr", L"match"}},
      {ConditionTo, {L"me"}, MatchType::Matches, false, 0, SizeMode::Under,
       L"with 'me' (as a pattern) in the To box", {L"addr", L"match"}},
      {ConditionCc, {L"me"}, MatchType::Contains, true, 0, SizeMode::Under,
       L"with 'me' (nowhere in the text) in the Cc box", {L"addr", L"match"}},
      {ConditionSender, {L"list"}, MatchType::Is, false, 0, SizeMode::Under, L"with 'list' (exactly) as the sender",
       {L"addr", L"match"}},
      {ConditionSubject, {L"hello", L"hi"}, MatchType::Contains, false, 0, SizeMode::Under,
       L"with 'hello' or 'hi' (anywhere in the text) in the subject", {L"word", L"match"}},
      {ConditionAttachment, {}, MatchType::Contains, false, 0, SizeMode::Under, L"which has an attachment", {}},
      {ConditionSize, {}, MatchType::Is, false, 20480, SizeMode::Over, L"with a size over 20 kB", {L"size"}},
      {ConditionSize, {}, MatchType::Is, false, 5000, SizeMode::Under, L"with a size under 5000 B", {L"size"}},
      {ConditionSpam, {}, MatchType::Is, false, 0, SizeMode::Under, L"which the server marks as spam", {}},
      {ConditionAll, {}, MatchType::Is, false, 0, SizeMode::Under, L"on all messages", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "condition " << c.condition);
    TestPtr test(createTestForCondition(c.condition));
    ASSERT_TRUE(test);
    if (test->kind == TestKind::Address || c.condition == ConditionSubject) setValues(test.get(), c.values);
    test->matchType = c.match;
    test->negated = c.negated;
    test->sizeLimit = c.size;
    test->sizeMode = c.mode;

    RuleDescriber plain(false, false);
    EXPECT_EQ(plain.describeTest(test.get()), L"\n  " + c.plain);
    EXPECT_TRUE(plain.complete());

    RuleDescriber markup(true, false);
    const std::wstring text = markup.describeTest(test.get());
    EXPECT_EQ(text.compare(0, 25, L"<br><nobr> &nbsp; </nobr>"), 0) << text;
    const auto links = linksOf(text);
    ASSERT_EQ(links.size(), c.linkWords.size()) << text;
    for (std::size_t i = 0; i < links.size(); ++i) {
      EXPECT_EQ(links[i].word, c.linkWords[i]);
      EXPECT_EQ(links[i].id, id(test.get()));
      EXPECT_FALSE(links[i].capital);
    }
  }
}

TEST(RuleDescription, EachActionSentenceWithItsLinks) {
  struct Case {
    unsigned action;
    std::wstring argument;
    std::wstring name;
    std::wstring plain;
    std::vector<std::wstring> linkWords;
  };
  const Case cases[] = {
      {ActionFileInto, L"Archive/2024", L"", L"move it to the Archive/2024 folder", {L"fileinto"}},
      {ActionRedirect, L"a@x.org, b@y.org", L"", L"redirect it to a@x.org; b@y.org", {L"redirect"}},
      {ActionReject, L"Not here", L"", L"reject it and send Not here back to the sender", {L"reject"}},
      {ActionReject, L"Not here\nTry later", L"", L"reject it and send Not here... back to the sender", {L"reject"}},
      {ActionReject, L"Gone\rfor good\r\n", L"", L"reject it and send Gone... back to the sender", {L"reject"}},
      {ActionKeep, L"", L"", L"keep it in the Inbox", {}},
      {ActionDiscard, L"", L"", L"delete it permanently", {}},
      {ActionNotify, L"New mail", L"me@x.org", L"send the notification New mail to me@x.org",
       {L"notifym", L"notifya"}},
      // Unlike reject and vacation, a notification is shown whole, line breaks and all.
      {ActionNotify, L"$from$: $subject$\r\n$text$", L"me@x.org",
       L"send the notification $from$: $subject$\r\n$text$ to me@x.org", {L"notifym", L"notifya"}},
      {ActionVacation, L"Away\n", L"", L"reply to the sender automatically with Away...", {L"vacation"}},
      {ActionVacation, L"Away until Monday\r\nRegards", L"", L"reply to the sender automatically with Away until Monday...",
       {L"vacation"}},
      {ActionStop, L"", L"", L"stop processing more rules", {}},
      {ActionSetReadFlag, L"", L"", L"mark it as read", {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "action " << c.action);
    RulePtr rule(createRuleForAction(c.action));
    ASSERT_TRUE(rule);
    rule->argument = c.argument;
    rule->name = c.name;
    RuleDescriber plain(false, false);
    EXPECT_EQ(plain.describeRule(rule.get()), L"\n  " + c.plain);
    EXPECT_TRUE(plain.complete());
    RuleDescriber markup(true, false);
    const auto links = linksOf(markup.describeRule(rule.get()));
    ASSERT_EQ(links.size(), c.linkWords.size());
    for (std::size_t i = 0; i < links.size(); ++i) {
      EXPECT_EQ(links[i].word, c.linkWords[i]);
      EXPECT_EQ(links[i].id, id(rule.get()));
    }
  }
}

TEST(RuleDescription, MissingValuesTakeTheBracketTextAndTheCapitalFormWhenShown) {
  struct Case {
    const char* name;
    bool isTest;
    unsigned id;
    std::wstring argument;
    std::wstring shown;  // the missing link's text
  };
  const Case cases[] = {
      {"address", true, ConditionFrom, L"", L"people or addresses"},
      {"subject", true, ConditionSubject, L"", L"specific words"},
      {"size zero", true, ConditionSize, L"", L"in a specified range"},
      {"folder", false, ActionFileInto, L"", L"specified"},
      {"reject", false, ActionReject, L"", L"a message"},
      {"vacation", false, ActionVacation, L"", L"a message"},
      {"redirect without a valid address", false, ActionRedirect, L"not-an-address, also bad", L"people or addresses"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TestPtr test(c.isTest ? createTestForCondition(c.id) : nullptr);
    RulePtr rule(c.isTest ? nullptr : createRuleForAction(c.id));
    if (rule) rule->argument = c.argument;
    for (bool showMissing : {false, true}) {
      SCOPED_TRACE(showMissing ? "shown as missing" : "not yet shown as missing");
      RuleDescriber describer(true, showMissing);
      const std::wstring text = test ? describer.describeTest(test.get()) : describer.describeRule(rule.get());
      EXPECT_FALSE(describer.complete());
      const auto links = linksOf(text);
      ASSERT_FALSE(links.empty()) << text;
      EXPECT_EQ(links[0].shown, c.shown);
      EXPECT_EQ(links[0].capital, showMissing) << text;
      if (showMissing) EXPECT_NE(text.find(L"</A>"), std::wstring::npos);
    }
  }
}

TEST(RuleDescription, RedirectKeepsOnlyValidAddressesInTheRule) {
  RulePtr rule(createRuleForAction(ActionRedirect));
  rule->argument = L"a@x.org;bad value, b@y.org";
  RuleDescriber plain(false, false);
  EXPECT_EQ(plain.describeRule(rule.get()), L"\n  redirect it to a@x.org; b@y.org");
  EXPECT_EQ(rule->argument, L"a@x.org; b@y.org");
  rule->argument = L"only bad";
  RuleDescriber second(false, false);
  second.describeRule(rule.get());
  EXPECT_EQ(rule->argument, L"");
  EXPECT_FALSE(second.complete());
}

TEST(RuleDescription, SizeTextAtUnitBoundaries) {
  const std::pair<std::uint32_t, const wchar_t*> cases[] = {
      {0, L"0 B"},          {1, L"1 B"},          {10240, L"10240 B"},     {10241, L"10 kB"},
      {11264, L"11 kB"},    {10485760, L"10240 kB"}, {10486783, L"10240 kB"}, {10486784, L"10 MB"}, {0xFFFFFFFFu, L"4095 MB"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.first);
    EXPECT_EQ(sizeText(c.first), c.second);
  }
}

TEST(RuleDescription, ValuesAreQuotedAndEscapedInMarkupOnly) {
  TestPtr test(createTestForCondition(ConditionSubject));
  setValues(test.get(), {L"a<b>", L"Tom & Jerry's"});
  RuleDescriber plain(false, false);
  EXPECT_EQ(plain.describeTest(test.get()), L"\n  with 'a<b>' or 'Tom & Jerry's' (anywhere in the text) in the subject");
  RuleDescriber markup(true, false);
  const auto links = linksOf(markup.describeTest(test.get()));
  ASSERT_EQ(links.size(), 2u);
  EXPECT_EQ(links[0].shown, L"'a&lt;b&gt;' or 'Tom &amp; Jerry's'");
}

TEST(RuleDescription, AllOfAndAnyOfPutTheConnectingWordAfterTheFirstCondition) {
  struct Case {
    TestKind kind;
    const wchar_t* word;
  };
  for (const Case c : {Case{TestKind::AllOf, L"and"}, Case{TestKind::AnyOf, L"or"}}) {
    SCOPED_TRACE(testing::Message() << c.word);
    TestPtr top(new SieveTest(c.kind));
    top->subTests = createTestForCondition(ConditionSpam);
    top->subTests->next = createTestForCondition(ConditionAll);
    top->subTests->next->next = createTestForCondition(ConditionAttachment);
    RuleDescriber plain(false, false);
    EXPECT_EQ(plain.describeTest(top.get()), std::wstring(L"\n  which the server marks as spam ") + c.word +
                                                  L"\n  on all messages\n  which has an attachment");
    RuleDescriber markup(true, false);
    const auto links = linksOf(markup.describeTest(top.get()));
    ASSERT_EQ(links.size(), 1u);
    EXPECT_EQ(links[0].word, L"andor");
    EXPECT_EQ(links[0].id, id(top.get()));
    // The first child's sibling is back in place after the call.
    EXPECT_NE(top->subTests->next, nullptr);
  }
}

TEST(RuleDescription, UnknownConditionsAndActionsGiveNoSentence) {
  TestPtr exists(new SieveTest(TestKind::Exists));
  RuleDescriber describer(false, false);
  EXPECT_EQ(describer.describeTest(exists.get()), L"");
  EXPECT_EQ(describer.describeTest(nullptr), L"");
  RulePtr nested(new SieveRule(RuleKind::If, nullptr));
  nested->next = createRuleForAction(ActionStop);
  EXPECT_EQ(describer.describeRule(nested.get()), L"\n  stop processing more rules");
}

TEST(RuleDescription, FollowingActionsAreJoinedOnNewLines) {
  RulePtr rule(createRuleForAction(ActionKeep));
  rule->next = createRuleForAction(ActionSetReadFlag);
  rule->next->next = createRuleForAction(ActionStop);
  RuleDescriber plain(false, false);
  EXPECT_EQ(plain.describeRule(rule.get()), L"\n  keep it in the Inbox; \n  mark it as read; \n  stop processing more rules");
}

class FakeFolders : public FolderNameTranslator {
 public:
  std::wstring publicFoldersName() const override { return L"Öffentliche Ordner"; }
  std::wstring translateFolderName(const std::wstring& name) const override {
    return name == L"INBOX" ? L"Posteingang" : name == L"Sent" ? L"Gesendet" : name;
  }
};

TEST(RuleDescription, FolderDisplayPaths) {
  const FakeFolders folders;
  const std::tuple<const wchar_t*, const wchar_t*, const wchar_t*> cases[] = {
      {L"INBOX", L"Posteingang", L"INBOX"},
      {L"INBOX/Projects", L"Posteingang/Projects", L"INBOX/Projects"},
      {L"#public/Sales/INBOX", L"\u00d6ffentliche Ordner/Sales/Posteingang", L"#public/Sales/INBOX"},
      {L"~anna@x.org/Sent", L"~anna@x.org/Gesendet", L"~anna@x.org/Sent"},
      {L"~anna/Sent", L"~anna/Gesendet", L"~anna/Sent"},  // no @ before the first slash: own mailbox
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::get<0>(c));
    EXPECT_EQ(folderDisplayPath(std::get<0>(c), &folders), std::get<1>(c));
    EXPECT_EQ(folderDisplayPath(std::get<0>(c), nullptr), std::get<2>(c));
  }
}

TEST(RuleDescription, RtfHeaderAndColourTableAreExact) {
  EXPECT_EQ(markupToRtf(L"x", 1252),
            "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\fswiss{\\*\\fname Arial;}Arial Unicode MS;}}"
            "{\\colortbl ;\\red0\\green0\\blue204;\\red204\\green0\\blue0;\\red0\\green204\\blue0;\\red51\\green51\\blue51;}"
            "\\uc0\\pard\\f0\\fs16x}");
  EXPECT_EQ(markupToRtf(L"", 1251).compare(0, 24, "{\\rtf1\\ansi\\ansicpg1251\\"), 0);
}

TEST(RuleDescription, MarkupToRtfReplacements) {
  const std::string prefix = markupToRtf(L"", 1252).substr(0, markupToRtf(L"", 1252).size() - 1);
  const std::pair<const wchar_t*, const char*> cases[] = {
      {L"a\\b", "a\\\\b"},
      {L"it's", "it\\'27s"},
      {L"one\r\ntwo", "onetwo"},
      {L"a<br>b", "a\\par b"},
      {L"<b>x</b><u>y</u><i>z</i>", "\\b x\\b0 \\ul y\\ul0 \\i z\\i0 "},
      {L"<br><nobr> &nbsp; </nobr>x", "\\par   x"},
      {L"&lt;a&gt; &amp;", "\\'16a\\'15 &"},
      {L"<font color=red>r</font>", "r"},
      {L"caf\u00e9 x", "caf\\'e9  x"},
      {L"\u00e9x", "\\'e9x"},
      {L"\u20ac 5", "\\u8364  5"},
      {L"<a href=#addr_12>v</a>", "<a href=#addr_12>v</a>"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.second);
    EXPECT_EQ(markupToRtf(c.first, 1252), prefix + c.second + "}");
  }
}

TEST(RuleDescription, DisplayOfNoRuleAndOfRulesThatCannotBeShown) {
  RulePtr rule(new SieveRule(RuleKind::If, nullptr));
  rule->enabled = false;
  rule->test = createTestForCondition(ConditionAll);
  rule->thenBlock = createRuleForAction(ActionDiscard);
  bool complete = false;
  EXPECT_EQ(describeRuleForDisplay(rule.get(), false, false, false, nullptr, &complete),
            L"This rule is turned off. When turned on, it applies after the message arrives\n  on all messages\n  "
            L"delete it permanently");
  EXPECT_TRUE(complete);
  EXPECT_EQ(describeRuleForDisplay(nullptr, false, false, false, nullptr), L"Select a rule to see its description.");
  EXPECT_EQ(describeRuleForDisplay(rule.get(), false, false, true, nullptr),
            L"Several rules are selected. Select one rule to see its description.");
  rule->editable = false;
  EXPECT_EQ(describeRuleForDisplay(rule.get(), false, false, false, nullptr),
            L"This rule uses conditions that the rule editor cannot show. It can only be edited as a script.");
}

}  // namespace
