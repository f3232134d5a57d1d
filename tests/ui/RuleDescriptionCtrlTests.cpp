// The description control over the system's rich edit: the real control under Windows,
// the platform layer's in-memory one elsewhere.
#include "sieve/RuleDescriptionCtrl.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/RichEditWindow.h"
#include "sieve/SieveTables.h"
#include "strings/Localization.h"

namespace {

using namespace Sieve;

class Window {
 public:
  Window() : window_(platform::createRichEdit(nullptr)) {}
  ~Window() {
    if (window_) DestroyWindow(window_);
  }
  HWND get() const { return window_; }
  std::wstring text() const {
    std::vector<wchar_t> buffer(static_cast<std::size_t>(GetWindowTextLengthW(window_)) + 1);
    const int n = GetWindowTextW(window_, buffer.data(), static_cast<int>(buffer.size()));
    return std::wstring(buffer.data(), static_cast<std::size_t>(n));
  }
  std::wstring range(LONG start, LONG end) const {
    std::wstring text(static_cast<std::size_t>(end - start) + 1, L'\0');
    TEXTRANGEW r{{start, end}, &text[0]};
    text.resize(static_cast<std::size_t>(SendMessageW(window_, EM_GETTEXTRANGE, 0, reinterpret_cast<LPARAM>(&r))));
    return text;
  }
  // Link effect and colour of a range, when the whole range has them alike.
  CHARFORMAT2W format(LONG start, LONG end) const {
    CHARRANGE r{start, end};
    SendMessageW(window_, EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&r));
    CHARFORMAT2W f{};
    f.cbSize = sizeof f;
    SendMessageW(window_, EM_GETCHARFORMAT, SCF_SELECTION, reinterpret_cast<LPARAM>(&f));
    return f;
  }

 private:
  HWND window_;
};

struct Call {
  LinkKind kind;
  SieveTest* test;
  SieveRule* rule;
};

class FakeHost : public RuleDescriptionHost {
 public:
  bool editLink(LinkKind kind, SieveTest* test, SieveRule* rule) override {
    calls.push_back({kind, test, rule});
    if (edit) edit(kind, test, rule);
    return changes;
  }
  void showMessage(unsigned textId) override { messages.push_back(textId); }
  bool askYesNo(unsigned textId) override {
    questions.push_back(textId);
    return answer;
  }

  std::vector<Call> calls;
  std::vector<unsigned> messages;
  std::vector<unsigned> questions;
  bool changes = true;
  bool answer = false;
  void (*edit)(LinkKind, SieveTest*, SieveRule*) = nullptr;
};

// if address :contains "from" ["Jürgen", "zoë"] { fileinto "Büro"; redirect ""; stop; }
RulePtr sampleRule() {
  RulePtr rule(new SieveRule(RuleKind::If, nullptr));
  rule->enabled = true;
  rule->test = createTestForCondition(ConditionFrom);
  rule->test->values = new SieveStringList(L"J\u00fcrgen");
  rule->test->values->next = new SieveStringList(L"zo\u00eb \u20ac");
  rule->thenBlock = createRuleForAction(ActionFileInto);
  rule->thenBlock->argument = L"B\u00fcro";
  rule->thenBlock->next = createRuleForAction(ActionRedirect);
  rule->thenBlock->next->next = createRuleForAction(ActionStop);
  return rule;
}

TEST(RuleDescriptionCtrl, LinksAfterTheMarkupIsRemoved) {
  Window window;
  ASSERT_NE(window.get(), nullptr);
  FakeHost host;
  RuleDescriptionCtrl ctrl(window.get(), nullptr, &host, nullptr);
  RulePtr rule = sampleRule();
  EXPECT_FALSE(ctrl.showRule(rule.get()));  // the redirect has no address

  const std::wstring shown = window.text();
  EXPECT_EQ(shown.find(L"<a"), std::wstring::npos) << shown;
  EXPECT_EQ(shown.find(L"HREF"), std::wstring::npos) << shown;
  EXPECT_EQ(shown.compare(0, 43, L"Apply this rule after the message arrives\r\n"), 0) << shown;

  struct Expected {
    LinkKind kind;
    std::wstring text;
    void* node;
  };
  const Expected expected[] = {
      // The blank after an escaped character goes in twice, and this control keeps both.
      {LinkKind::Address, L"'J\u00fcrgen' or 'zo\u00eb  \u20ac'", rule->test},
      {LinkKind::Match, L"anywhere in the text", rule->test},
      {LinkKind::FileInto, L"B\u00fcro", rule->thenBlock},
      {LinkKind::Redirect, L"people or addresses", rule->thenBlock->next},
  };
  ASSERT_EQ(ctrl.links().size(), std::size(expected));
  for (std::size_t i = 0; i < std::size(expected); ++i) {
    SCOPED_TRACE(i);
    const RuleLink& link = ctrl.links()[i];
    EXPECT_EQ(link.kind, expected[i].kind);
    EXPECT_EQ(link.node, expected[i].node);
    EXPECT_EQ(window.range(link.start, link.end), expected[i].text);
    EXPECT_FALSE(link.missing);
    const CHARFORMAT2W format = window.format(link.start, link.end);
    EXPECT_TRUE(format.dwEffects & CFE_LINK);
    EXPECT_EQ(format.crTextColor, kLinkColor);
  }
  // The text between links has no link effect.
  EXPECT_FALSE(window.format(0, 5).dwEffects & CFE_LINK);
}

TEST(RuleDescriptionCtrl, ValidateShowsMissingValuesInRed) {
  struct Case {
    const char* name;
    bool quiet;
    bool asSave;
    bool answer;
    bool result;
    std::vector<unsigned> messages;
    std::vector<unsigned> questions;
  };
  const Case cases[] = {
      {"quiet", true, false, true, false, {}, {}},
      {"as save", false, true, true, false, {IDS_DESCRIPTION_INCOMPLETE_SAVE}, {}},
      {"asked, yes", false, false, true, true, {}, {IDS_DESCRIPTION_INCOMPLETE_ASK}},
      {"asked, no", false, false, false, false, {}, {IDS_DESCRIPTION_INCOMPLETE_ASK}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Window window;
    FakeHost host;
    host.answer = c.answer;
    RuleDescriptionCtrl ctrl(window.get(), nullptr, &host, nullptr);
    RulePtr rule = sampleRule();
    ctrl.showRule(rule.get());
    EXPECT_EQ(ctrl.validate(c.quiet, c.asSave), c.result);
    EXPECT_EQ(host.messages, c.messages);
    EXPECT_EQ(host.questions, c.questions);
    const RuleLink& missing = ctrl.links().back();
    EXPECT_TRUE(missing.missing);
    EXPECT_EQ(window.range(missing.start, missing.end), L"people or addresses");
    EXPECT_EQ(window.format(missing.start, missing.end).crTextColor, kMissingLinkColor);
    EXPECT_EQ(window.format(ctrl.links()[0].start, ctrl.links()[0].end).crTextColor, kLinkColor);
  }
}

TEST(RuleDescriptionCtrl, ValidateOfACompleteRuleAsksNothing) {
  Window window;
  FakeHost host;
  RuleDescriptionCtrl ctrl(window.get(), nullptr, &host, nullptr);
  RulePtr rule = sampleRule();
  rule->thenBlock->next->argument = L"boss@x.org";
  EXPECT_TRUE(ctrl.showRule(rule.get()));
  EXPECT_TRUE(ctrl.validate(false, true));
  EXPECT_TRUE(host.messages.empty());
  for (const RuleLink& link : ctrl.links()) EXPECT_FALSE(link.missing);
  RuleDescriptionCtrl none(window.get(), nullptr, &host, nullptr);
  EXPECT_TRUE(none.validate(false, true));  // no rule shown: nothing to ask
}

TEST(RuleDescriptionCtrl, ClickOpensTheDialogOfTheLinkAndShowsTheChange) {
  Window window;
  FakeHost host;
  host.edit = [](LinkKind kind, SieveTest*, SieveRule* rule) {
    if (kind == LinkKind::Redirect) rule->argument = L"new@x.org";
  };
  RuleDescriptionCtrl ctrl(window.get(), nullptr, &host, nullptr);
  RulePtr rule = sampleRule();
  ctrl.showRule(rule.get());
  const RuleLink redirect = ctrl.links().back();
  EXPECT_FALSE(ctrl.clickAt(0));  // plain text, no link
  EXPECT_TRUE(host.calls.empty());

  ENLINK click{};
  click.nmhdr.hwndFrom = window.get();
  click.nmhdr.code = EN_LINK;
  click.msg = WM_LBUTTONUP;
  click.chrg = CHARRANGE{redirect.start + 1, redirect.start + 1};
  EXPECT_TRUE(ctrl.onNotify(&click.nmhdr));
  ASSERT_EQ(host.calls.size(), 1u);
  EXPECT_EQ(host.calls[0].kind, LinkKind::Redirect);
  EXPECT_EQ(host.calls[0].rule, rule->thenBlock->next);
  EXPECT_EQ(host.calls[0].test, nullptr);
  const RuleLink& changed = ctrl.links().back();
  EXPECT_EQ(window.range(changed.start, changed.end), L"new@x.org");
  EXPECT_TRUE(ctrl.complete());

  // A condition link hands over the test.
  EXPECT_TRUE(ctrl.clickAt(ctrl.links()[1].start));
  ASSERT_EQ(host.calls.size(), 2u);
  EXPECT_EQ(host.calls[1].kind, LinkKind::Match);
  EXPECT_EQ(host.calls[1].test, rule->test);
}

TEST(RuleDescriptionCtrl, NotificationMessageStartsFromTheDefault) {
  Window window;
  FakeHost host;
  host.changes = false;
  RuleDescriptionCtrl ctrl(window.get(), nullptr, &host, nullptr);
  RulePtr rule(new SieveRule(RuleKind::If, nullptr));
  rule->test = createTestForCondition(ConditionAll);
  rule->thenBlock = createRuleForAction(ActionNotify);
  rule->thenBlock->name = L"me@x.org";
  ctrl.showRule(rule.get());
  ASSERT_EQ(ctrl.links().size(), 2u);
  EXPECT_EQ(ctrl.links()[0].kind, LinkKind::NotifyMessage);
  EXPECT_EQ(window.range(ctrl.links()[0].start, ctrl.links()[0].end), L"message");
  EXPECT_FALSE(ctrl.clickAt(ctrl.links()[0].start));
  EXPECT_EQ(rule->thenBlock->argument, L"$from$: $subject$\r\n$text$");
}

TEST(RuleDescriptionCtrl, WithoutAWindowTheDescriptionIsPlainText) {
  FakeHost host;
  RuleDescriptionCtrl ctrl(nullptr, nullptr, &host, nullptr);
  RulePtr rule = sampleRule();
  rule->thenBlock->next->argument = L"x@y.org";
  EXPECT_TRUE(ctrl.showRule(rule.get()));
  EXPECT_EQ(ctrl.text(),
            L"Apply this rule after the message arrives\n  from 'J\u00fcrgen' or 'zo\u00eb \u20ac' (anywhere in the "
            L"text)\n  move it to the B\u00fcro folder; \n  redirect it to x@y.org; \n  stop processing more rules");
  EXPECT_TRUE(ctrl.links().empty());
}

}  // namespace
