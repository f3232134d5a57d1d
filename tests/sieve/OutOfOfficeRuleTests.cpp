#include "sieve/OutOfOfficeRule.h"

#include <gtest/gtest.h>

#include <functional>

#include "base/HResultException.h"
#include "sieve/JunkEmailRule.h"
#include "sieve/SieveRules.h"
#include "sieve/SieveWriter.h"
#include "strings/Localization.h"
#include "tests/sieve/SieveTestSupport.h"
#include "testing/TestEnvironment.h"

namespace {

using namespace Sieve;
using zelvo::testing::utf8;
using sievetest::crlf;

// The rule as the system writes it, with a range and the external options.
const std::wstring kExample = crlf(
    {L"#!1 __WebmailAutoreply__", L"if true ", L"{",
     L"  vacation :days 7 :rangeEnabled 1 :rangeStart 1447369200 :rangeEnd 1447455600 :externalMessageEnabled 1 "
     L":externalMessageSubject \"Away\" :externalMessageBody \"Back on Monday\" :externalMessageKnownContactsOnly 0 "
     L"\"I am on leave\";",
     L"}"});
constexpr int64_t kStart = 1447369200;  // 2015-11-12 23:00:00 UTC
constexpr int64_t kEnd = 1447455600;

const std::wstring kJunk = crlf({L"#!1 __WebmailJunk__", L"if spamtest ", L"{", L"  fileinto \"Junk E-Mail\";",
                                 L"  stop;", L"}"});
const std::wstring kUser = crlf({L"#!1 Mine", L"if true ", L"{", L"  keep;", L"}"});

SieveRule* parse(const std::wstring& text) {
  SieveRule* head = nullptr;
  SieveParseStatus status;
  EXPECT_TRUE(parseRules(text, head, true, &status)) << utf8(status.errorMessage) << " line " << status.line;
  return head;
}

std::wstring write(const SieveRule* head) {
  std::wostringstream out;
  EXPECT_TRUE(writeRules(out, head));
  return textOfStream(out);
}

class RulesAt : public SieveRules {
 public:
  explicit RulesAt(int64_t moment) { setClock([moment] { return moment; }); }
};

std::wstring written(const SieveRules& rules) {
  std::wstring text;
  rules.writeSieveScript(text);
  return text;
}

TEST(OutOfOfficeRule, TheExampleReadsAndWritesBackByteForByte) {
  RulePtr rule(parse(kExample));
  ASSERT_TRUE(isOutOfOfficeRule(rule.get()));
  OutOfOfficeParams params;
  readOutOfOffice(rule.get(), params, kStart + 60);
  EXPECT_TRUE(params.enabled);
  EXPECT_TRUE(params.activeNow);
  EXPECT_TRUE(params.rangeEnabled);
  EXPECT_EQ(params.message, L"I am on leave");
  EXPECT_EQ(params.rangeStart.wYear, 2015);
  EXPECT_EQ(params.rangeStart.wMonth, 11);
  EXPECT_EQ(params.rangeStart.wDay, 12);
  EXPECT_EQ(params.rangeStart.wHour, 23);
  EXPECT_EQ(params.rangeStart.wDayOfWeek, 4) << "a Thursday";
  EXPECT_EQ(secondsOfUtcFields(params.rangeEnd), kEnd);
  EXPECT_TRUE(params.externalSupported);
  EXPECT_TRUE(params.externalEnabled);
  EXPECT_EQ(params.externalSubject, L"Away");
  EXPECT_EQ(params.externalBody, L"Back on Monday");
  EXPECT_FALSE(params.externalKnownContactsOnly);
  RulePtr made(createOutOfOfficeRule(params));
  EXPECT_EQ(write(made.get()), kExample);
}

TEST(OutOfOfficeRule, RangeBoundariesAndExpiry) {
  RulePtr rule(parse(kExample));
  const struct {
    int64_t now;
    bool enabled, active;
    bool defaultDates;
  } cases[] = {
      {kStart - 1, true, false, false},  // begins tomorrow: on, but not active
      {kStart, true, false, false},      // exactly the start is not yet inside
      {kStart + 1, true, true, false},
      {kEnd - 1, true, true, false},
      {kEnd, false, false, true},        // exactly the end: over
      {kEnd + 86400, false, false, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.now - kStart);
    OutOfOfficeParams params;
    readOutOfOffice(rule.get(), params, c.now);
    EXPECT_EQ(params.enabled, c.enabled);
    EXPECT_EQ(params.activeNow, c.active);
    OutOfOfficeParams defaults;
    initOutOfOffice(defaults, c.now);
    const int64_t expectedStart = c.defaultDates ? secondsOfUtcFields(defaults.rangeStart) : kStart;
    EXPECT_EQ(secondsOfUtcFields(params.rangeStart), expectedStart);
    EXPECT_TRUE(rule->enabled) << "the tree is not changed";
  }
}

TEST(OutOfOfficeRule, DefaultsStartAtThePresentHour) {
  OutOfOfficeParams params;
  initOutOfOffice(params, kStart + 1234);  // 23:20:34
  EXPECT_EQ(secondsOfUtcFields(params.rangeStart), kStart);
  EXPECT_EQ(secondsOfUtcFields(params.rangeEnd), kStart + 86400);
  EXPECT_EQ(params.rangeEnd.wDayOfWeek, 5);
  EXPECT_EQ(params.message, Localization::getString(15008));
  EXPECT_FALSE(params.message.empty());
  EXPECT_EQ(params.externalBody, params.message);
  EXPECT_FALSE(params.enabled || params.rangeEnabled || params.externalSupported || params.activeNow);
}

TEST(OutOfOfficeRule, SwitchedOffPartsVanishFromTheText) {
  OutOfOfficeParams params;
  initOutOfOffice(params, kStart);
  params.enabled = true;
  params.message = L"Away";
  params.subject = L"Out";
  RulePtr rule(createOutOfOfficeRule(params));
  EXPECT_EQ(write(rule.get()), crlf({L"#!1 __WebmailAutoreply__", L"if true ", L"{", L"  vacation :days 7 \"Away\";",
                                     L"}"}));
  OutOfOfficeParams back;
  readOutOfOffice(rule.get(), back, kStart);
  EXPECT_FALSE(back.externalSupported);
  EXPECT_EQ(back.externalSubject, L"") << "from subject, which the script does not carry";
  EXPECT_EQ(back.externalBody, L"Away") << "from the message";
}

TEST(OutOfOfficeRule, DaysSetByHandSurvive) {
  RulePtr rule(parse(crlf({L"#!1 __WebmailAutoreply__", L"if true { vacation :days 3 \"x\"; }"})));
  OutOfOfficeParams params;
  readOutOfOffice(rule.get(), params, kStart);
  params.message = L"y";
  applyOutOfOffice(rule.get(), params);
  EXPECT_NE(write(rule.get()).find(L"vacation :days 3 \"y\";"), std::wstring::npos);
}

TEST(OutOfOfficeRule, ShapesThatAreNotTheRule) {
  const struct {
    const char* why;
    std::wstring text;
  } cases[] = {
      {"a test other than true", crlf({L"#!1 __WebmailAutoreply__", L"if false { vacation \"x\"; }"})},
      {"negated true", crlf({L"#!1 __WebmailAutoreply__", L"if not true { vacation \"x\"; }"})},
      {"no vacation first", crlf({L"#!1 __WebmailAutoreply__", L"if true { keep; vacation \"x\"; }"})},
      {"name case", crlf({L"#!1 __webmailautoreply__", L"if true { vacation \"x\"; }"})},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    RulePtr rule(parse(c.text));
    EXPECT_FALSE(isOutOfOfficeRule(rule.get()));
  }
  EXPECT_FALSE(isOutOfOfficeRule(nullptr));
}

TEST(OutOfOfficeRule, MomentsBefore1970CountAsZero) {
  SYSTEMTIME old = {};
  old.wYear = 1969;
  old.wMonth = 12;
  old.wDay = 31;
  EXPECT_EQ(secondsOfUtcFields(old), 0);
}

// --- through the rule set ---------------------------------------------------------------------

TEST(OutOfOfficeRules, WithoutTheRuleTheDefaultsAreReadyForEditing) {
  RulesAt rules(kStart);
  OutOfOfficeParams params;
  params.message = L"stale";
  EXPECT_THROW(rules.getOutOfOffice(params), HResultException);
  EXPECT_EQ(params.message, Localization::getString(15008)) << "defaults are filled in before the raise";
  rules.parseSieveScript(kUser, false, nullptr);
  EXPECT_FALSE(rules.getOutOfOfficeEnabled());
  rules.getOutOfOffice(params);
  EXPECT_FALSE(params.enabled);
  EXPECT_EQ(params.message, Localization::getString(15008));
}

TEST(OutOfOfficeRules, EnablingCreatesTheRuleBehindTheJunkRule) {
  RulesAt rules(kStart);
  rules.parseSieveScript(kJunk + kUser, false, nullptr);
  rules.setOutOfOfficeEnabled(true);
  const std::wstring text = written(rules);
  const std::wstring expected =
      kJunk + crlf({L"#!1 __WebmailAutoreply__", L"if true ", L"{"}) + L"  vacation :days 7 \"" +
      Localization::getString(15008) + L"\";\r\n}\r\n" + kUser;
  EXPECT_EQ(text, expected);
  EXPECT_TRUE(rules.getOutOfOfficeEnabled());
}

TEST(OutOfOfficeRules, ANewRuleGoesFirstWhenTheHeadIsNoJunkRule) {
  RulesAt rules(kStart);
  rules.parseSieveScript(kUser + kJunk, false, nullptr);
  OutOfOfficeParams params;
  rules.getOutOfOffice(params);
  params.enabled = true;
  rules.setOutOfOffice(params);
  // Inserting puts the rule at the head and the junk rule back in front of it.
  const SieveRule* head = rules.getRules(false);
  EXPECT_EQ(head->name, L"__WebmailJunk__");
  EXPECT_EQ(head->next->name, L"__WebmailAutoreply__");
  EXPECT_EQ(head->next->next->name, L"Mine");
}

TEST(OutOfOfficeRules, ASetterMovesAnExistingRuleAndLeavesAFarJunkRule) {
  RulesAt rules(kStart + 10);
  rules.parseSieveScript(kUser + kJunk + kExample, false, nullptr);
  rules.setOutOfOfficeEnabled(false);
  std::vector<std::wstring> order;
  for (const SieveRule* r = rules.getRules(false); r; r = r->next) order.push_back(r->name);
  EXPECT_EQ(order, (std::vector<std::wstring>{L"__WebmailAutoreply__", L"Mine", L"__WebmailJunk__"}));
  OutOfOfficeParams params;
  rules.getOutOfOffice(params);
  EXPECT_FALSE(params.enabled);
  EXPECT_EQ(secondsOfUtcFields(params.rangeEnd), kEnd) << "the range and texts stay";
  EXPECT_EQ(params.externalSubject, L"Away");
}

TEST(OutOfOfficeRules, EnabledReadsTheRangeWhenThereIsOne) {
  const struct {
    int64_t now;
    bool enabled;       // getOutOfOffice
    bool active;        // getOutOfOffice
    bool enabledNow;    // getOutOfOfficeEnabled
  } cases[] = {
      {kStart - 86400, true, false, false},  // begins tomorrow
      {kStart + 3600, true, true, true},
      {kEnd, false, false, false},           // ended, though the tree still says enabled
  };
  for (const auto& c : cases) {
    RulesAt rules(c.now);
    rules.parseSieveScript(kExample, false, nullptr);
    OutOfOfficeParams params;
    rules.getOutOfOffice(params);
    EXPECT_EQ(params.enabled, c.enabled);
    EXPECT_EQ(params.activeNow, c.active);
    EXPECT_EQ(rules.getOutOfOfficeEnabled(), c.enabledNow);
    EXPECT_TRUE(rules.getRules(false)->enabled);
  }
}

TEST(OutOfOfficeRules, RangeOffWritesNoRangeOptions) {
  RulesAt rules(kStart + 10);
  rules.parseSieveScript(kExample, false, nullptr);
  OutOfOfficeParams params;
  rules.getOutOfOffice(params);
  params.rangeEnabled = false;
  params.externalSupported = false;
  rules.setOutOfOffice(params);
  EXPECT_EQ(written(rules), crlf({L"#!1 __WebmailAutoreply__", L"if true ", L"{",
                                  L"  vacation :days 7 \"I am on leave\";", L"}"}));
}

TEST(OutOfOfficeRules, ASameNamedRuleOfAnotherShapeStaysBehindTheNewOne) {
  const std::wstring impostor = crlf({L"#!1 __WebmailAutoreply__", L"if false ", L"{", L"  keep;", L"}"});
  RulesAt rules(kStart);
  rules.parseSieveScript(kUser + impostor, false, nullptr);
  EXPECT_FALSE(rules.getOutOfOfficeEnabled());
  rules.setOutOfOfficeEnabled(true);
  EXPECT_TRUE(isOutOfOfficeRule(rules.findRuleByName(L"__WebmailAutoreply__")));
  EXPECT_NE(written(rules).find(impostor), std::wstring::npos);
}

TEST(OutOfOfficeRules, NotLoadedRaisesInvalidArgument) {
  SieveRules rules;
  OutOfOfficeParams params;
  for (const auto& call : std::vector<std::function<void()>>{
           [&] { rules.getOutOfOfficeEnabled(); }, [&] { rules.setOutOfOfficeEnabled(true); },
           [&] { rules.setOutOfOffice(params); }, [&] { rules.getOutOfOffice(params); }}) {
    try {
      call();
      ADD_FAILURE() << "no raise";
    } catch (const HResultException& e) {
      EXPECT_EQ(e.getHResult(), E_INVALIDARG);
    }
  }
}

}  // namespace
