// The description control over the recording view, whose rich edit is the system's: the
// real control under Windows, the platform layer's in-memory one elsewhere.
#include "ui/RuleDescriptionCtrl.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "sieve/SieveTables.h"
#include "testing/RecordingDialogView.h"

namespace {

using namespace Sieve;
using zelvo::testing::RecordingDialogView;
using zelvo::ui::DialogLogic;
using zelvo::ui::Notification;
using zelvo::ui::RuleDescriptionCtrl;
using zelvo::ui::RuleLink;
namespace mb = zelvo::ui::mb;
namespace notify = zelvo::ui::notify;

constexpr zelvo::ui::ControlId kId = 10019;
const std::wstring kIncompleteSave =
    L"Some values of this rule are missing. Click each value shown in red and fill it in before you save the rule.";
const std::wstring kIncompleteAsk =
    L"Some values of this rule are missing, shown in red. Do you want to continue anyway?";

struct Call {
  LinkKind kind;
  SieveTest* test;
  SieveRule* rule;
  HWND parent;
};

class FakeHost : public zelvo::ui::RuleDescriptionHost {
 public:
  bool editLink(LinkKind kind, SieveTest* test, SieveRule* rule, HWND parent) override {
    calls.push_back({kind, test, rule, parent});
    if (edit) edit(kind, test, rule);
    return changes;
  }

  std::vector<Call> calls;
  bool changes = true;
  std::function<void(LinkKind, SieveTest*, SieveRule*)> edit;
};

// The dialog around the control: hands the control its notifications and counts the
// change notices that reach it.
class HostDialog : public DialogLogic {
 public:
  HostDialog(RecordingDialogView& view, RuleDescriptionCtrl& ctrl) : DialogLogic(view), ctrl_(ctrl) {
    view.attach(*this);
  }
  int changes = 0;

 protected:
  bool onNotify(zelvo::ui::ControlId id, const Notification& notification) override {
    if (id != kId) return false;
    if (notification.code == notify::descriptionChanged) ++changes;
    return ctrl_.notify(notification);
  }

 private:
  RuleDescriptionCtrl& ctrl_;
};

// if address :contains "from" ["Jürgen", "zoë €"] { fileinto "Büro"; redirect ""; stop; }
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

// Remembers the font the control was given.
class FontView : public RecordingDialogView {
 public:
  void richEditSetFont(zelvo::ui::ControlId id, const std::wstring& face, int points) override {
    font = face;
    fontPoints = points;
    RecordingDialogView::richEditSetFont(id, face, points);
  }
  std::wstring font;
  int fontPoints = 0;
};

class DescriptionCtrlTest : public ::testing::Test {
 protected:
  FontView view;
  FakeHost host;
  RuleDescriptionCtrl ctrl{view, kId, &host, nullptr};
  HostDialog dialog{view, ctrl};
  RulePtr rule = sampleRule();

  void SetUp() override { ctrl.attach(); }
  std::wstring shown(const RuleLink& link) const { return view.richEditTextRange(kId, link.start, link.end); }
  // The colour the control gave the range of link, or 0 when it marked no such range.
  COLORREF colorOf(const RuleLink& link) const {
    for (const auto& marked : view.richEditLinks(kId)) {
      if (marked.start == link.start && marked.end == link.end) return marked.color;
    }
    return 0;
  }
};

TEST_F(DescriptionCtrlTest, AttachingSetsUpAReadOnlyTahomaControlThatTellsOfLinks) {
  EXPECT_TRUE(view.richEditReadOnly(kId));
  EXPECT_TRUE(view.richEditLinkEvents(kId));
  EXPECT_EQ(view.font, L"Tahoma");
  EXPECT_EQ(view.fontPoints, 8);
}

TEST_F(DescriptionCtrlTest, LinksAfterTheMarkupIsRemoved) {
  EXPECT_FALSE(ctrl.showRule(rule.get()));  // the redirect has no address

  const std::wstring text = view.richEditText(kId);
  EXPECT_EQ(text.find(L"<a"), std::wstring::npos) << text;
  EXPECT_EQ(text.find(L"HREF"), std::wstring::npos) << text;
  EXPECT_EQ(text.compare(0, 41, L"Apply this rule after the message arrives"), 0) << text;
  EXPECT_EQ(view.control(kId).redrawsOn, 1);
  EXPECT_TRUE(view.control(kId).redraw);

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
      // Not asked for missing values yet: the bracket text, blue.
      {LinkKind::Redirect, L"people or addresses", rule->thenBlock->next},
  };
  ASSERT_EQ(ctrl.links().size(), std::size(expected));
  ASSERT_EQ(view.richEditLinks(kId).size(), std::size(expected));
  for (std::size_t i = 0; i < std::size(expected); ++i) {
    SCOPED_TRACE(i);
    const RuleLink& link = ctrl.links()[i];
    EXPECT_EQ(link.kind, expected[i].kind);
    EXPECT_EQ(link.node, expected[i].node);
    EXPECT_EQ(shown(link), expected[i].text);
    EXPECT_FALSE(link.missing);
    EXPECT_EQ(colorOf(link), RuleDescriptionCtrl::kLinkColor);
  }
}

TEST_F(DescriptionCtrlTest, ValidateShowsMissingValuesInRed) {
  struct Case {
    const char* name;
    bool quiet;
    bool asSave;
    int answer;  // 0: no box expected
    bool result;
    std::wstring message;
    UINT style;
  };
  const Case cases[] = {
      {"quiet", true, false, 0, false, L"", 0},
      {"as save", false, true, 0, false, kIncompleteSave, mb::ok | mb::iconExclamation},
      {"asked, yes", false, false, zelvo::ui::kIdYes, true, kIncompleteAsk, mb::yesNo | mb::iconQuestion},
      {"asked, no", false, false, zelvo::ui::kIdNo, false, kIncompleteAsk, mb::yesNo | mb::iconQuestion},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    RecordingDialogView view;
    RuleDescriptionCtrl ctrl(view, kId, &host, nullptr);
    ctrl.attach();
    if (c.answer) view.queueAnswer(c.answer);
    ctrl.showRule(rule.get());
    EXPECT_EQ(ctrl.validate(c.quiet, c.asSave), c.result);
    if (c.message.empty()) {
      EXPECT_TRUE(view.messages().empty());
    } else {
      ASSERT_EQ(view.messages().size(), 1u);
      EXPECT_EQ(view.messages()[0].text, c.message);
      EXPECT_EQ(view.messages()[0].caption, L"Zelvo Mail Bridge");
      EXPECT_EQ(view.messages()[0].style, c.style);
    }
    const RuleLink& missing = ctrl.links().back();
    EXPECT_TRUE(missing.missing);
    EXPECT_EQ(view.richEditTextRange(kId, missing.start, missing.end), L"people or addresses");
    const auto marked = view.richEditLinks(kId);
    ASSERT_EQ(marked.size(), 4u);
    EXPECT_EQ(marked.back().color, RuleDescriptionCtrl::kMissingLinkColor);
    EXPECT_EQ(marked.front().color, RuleDescriptionCtrl::kLinkColor);
  }
}

TEST_F(DescriptionCtrlTest, ValidateOfACompleteRuleAsksNothing) {
  rule->thenBlock->next->argument = L"boss@x.org";
  EXPECT_TRUE(ctrl.showRule(rule.get()));
  EXPECT_TRUE(ctrl.validate(false, true));
  EXPECT_TRUE(view.messages().empty());
  for (const RuleLink& link : ctrl.links()) EXPECT_FALSE(link.missing);

  RuleDescriptionCtrl none(view, kId, &host, nullptr);
  EXPECT_TRUE(none.validate(false, true));  // no rule shown: nothing to ask
  EXPECT_TRUE(view.messages().empty());
}

TEST_F(DescriptionCtrlTest, AClickInsideALinkOpensItsDialogAndTellsTheDialog) {
  host.edit = [](LinkKind kind, SieveTest*, SieveRule* rule) {
    if (kind == LinkKind::Redirect) rule->argument = L"new@x.org";
  };
  ctrl.showRule(rule.get());
  const RuleLink redirect = ctrl.links().back();

  view.userClickLink(kId, redirect.start + 1);
  ASSERT_EQ(host.calls.size(), 1u);
  EXPECT_EQ(host.calls[0].kind, LinkKind::Redirect);
  EXPECT_EQ(host.calls[0].rule, rule->thenBlock->next);
  EXPECT_EQ(host.calls[0].test, nullptr);
  EXPECT_EQ(host.calls[0].parent, view.window()) << "the dialog that shows the description owns the one it opens";
  const RuleLink& changed = ctrl.links().back();
  EXPECT_EQ(shown(changed), L"new@x.org");
  EXPECT_TRUE(ctrl.complete());
  EXPECT_EQ(dialog.changes, 1);
  ASSERT_EQ(view.sentNotifications().size(), 1u);
  EXPECT_EQ(view.sentNotifications()[0].first, kId);
  EXPECT_EQ(view.sentNotifications()[0].second, 32768);

  // A condition link hands over the test.
  view.userClickLink(kId, ctrl.links()[1].start);
  ASSERT_EQ(host.calls.size(), 2u);
  EXPECT_EQ(host.calls[1].kind, LinkKind::Match);
  EXPECT_EQ(host.calls[1].test, rule->test);
  EXPECT_EQ(host.calls[1].rule, nullptr);
  EXPECT_EQ(dialog.changes, 2);
}

TEST_F(DescriptionCtrlTest, ClicksOutsideALinkOrWithoutAChangeTellNobody) {
  ctrl.showRule(rule.get());
  const std::size_t before = view.richEditLinks(kId).size();
  struct Case {
    const char* name;
    LONG position;
  };
  const LONG firstStart = ctrl.links().front().start;
  const LONG lastEnd = ctrl.links().back().end;
  for (const Case& c :
       {Case{"plain text", 0}, Case{"just before a link", firstStart - 1}, Case{"the end of the last link", lastEnd}}) {
    SCOPED_TRACE(c.name);
    EXPECT_FALSE(ctrl.clickAt(c.position));
  }
  EXPECT_TRUE(host.calls.empty());

  host.changes = false;  // the user cancelled the dialog
  view.userClickLink(kId, ctrl.links().front().start);
  EXPECT_EQ(host.calls.size(), 1u);
  EXPECT_TRUE(view.sentNotifications().empty());
  EXPECT_EQ(dialog.changes, 0);
  EXPECT_EQ(view.richEditLinks(kId).size(), before);
}

TEST_F(DescriptionCtrlTest, OnlyAReleasedButtonOnALinkOpensADialog) {
  ctrl.showRule(rule.get());
  struct Case {
    const char* name;
    int code;
    UINT message;
    bool handled;
  };
  const Case cases[] = {
      {"button released", notify::richEditLink, 0x0202, true},
      {"button pressed", notify::richEditLink, 0x0201, false},
      {"double click", notify::richEditLink, 0x0203, false},
      {"another notification", notify::listItemChanged, 0x0202, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    host.calls.clear();
    Notification notification;
    notification.code = c.code;
    notification.message = c.message;
    notification.start = notification.end = ctrl.links().front().start;
    EXPECT_EQ(ctrl.notify(notification), c.handled);
    EXPECT_EQ(host.calls.size(), c.handled ? 1u : 0u);
  }
}

TEST_F(DescriptionCtrlTest, TheTextsForNoRuleCarryNoLinks) {
  // No rule, a rule the editor cannot show, several rules.
  const std::pair<bool, bool> cases[] = {{false, false}, {true, false}, {true, true}};
  for (const auto& [withRule, several] : cases) {
    rule->editable = !withRule || several;
    EXPECT_TRUE(ctrl.showRule(withRule ? rule.get() : nullptr, several));
    EXPECT_NE(view.richEditText(kId), L"");
    EXPECT_TRUE(ctrl.links().empty());
    EXPECT_TRUE(view.richEditLinks(kId).empty());
  }
}

TEST(RuleDescriptionCtrlWithoutControl, KeepsThePlainText) {
  RecordingDialogView view;
  FakeHost host;
  RuleDescriptionCtrl ctrl(view, zelvo::ui::kNoControl, &host, nullptr);
  ctrl.attach();
  RulePtr rule = sampleRule();
  rule->thenBlock->next->argument = L"x@y.org";
  EXPECT_TRUE(ctrl.showRule(rule.get()));
  EXPECT_EQ(ctrl.text(),
            L"Apply this rule after the message arrives\n  from 'J\u00fcrgen' or 'zo\u00eb \u20ac' (anywhere in the "
            L"text)\n  move it to the B\u00fcro folder; \n  redirect it to x@y.org; \n  stop processing more rules");
  EXPECT_TRUE(ctrl.links().empty());
}

}  // namespace
