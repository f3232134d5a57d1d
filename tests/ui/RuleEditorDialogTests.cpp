// The rule editor: what the check lists show for a rule, how each check changes the rule,
// and what OK accepts.
#include "ui/RuleEditorDialog.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "sieve/SieveTables.h"
#include "testing/RecordingDialogView.h"

namespace {

using namespace Sieve;
using zelvo::testing::RecordingDialogView;
using zelvo::ui::RuleEditorDialog;
namespace mb = zelvo::ui::mb;

constexpr auto kName = RuleEditorDialog::kName;
constexpr auto kConditions = RuleEditorDialog::kConditions;
constexpr auto kActions = RuleEditorDialog::kActions;
constexpr auto kDescription = RuleEditorDialog::kDescription;
constexpr int kUnchecked = RuleEditorDialog::kUnchecked;
constexpr int kChecked = RuleEditorDialog::kChecked;
constexpr int kDisabled = RuleEditorDialog::kDisabled;

class FakeLinks : public zelvo::ui::RuleDescriptionHost {
 public:
  bool editLink(LinkKind kind, SieveTest*, SieveRule* rule, HWND) override {
    kinds.push_back(kind);
    if (kind == LinkKind::FileInto) rule->argument = L"Archive";
    return true;
  }
  std::vector<LinkKind> kinds;
};

// A condition as the tests write it: its id, or x for one outside the table.
std::string conditionName(const SieveTest* test) {
  const unsigned id = conditionIdOfTest(test);
  return id ? std::to_string(id) : "x";
}

// The rule's test: none, an id, or allof(...) / anyof(...) of ids.
std::string testShape(const SieveTest* test) {
  if (!test) return "none";
  if (test->kind != TestKind::AllOf && test->kind != TestKind::AnyOf) return conditionName(test);
  std::string shape = test->kind == TestKind::AllOf ? "allof(" : "anyof(";
  for (const SieveTest* child = test->subTests; child; child = child->next) {
    shape += conditionName(child) + (child->next ? "," : "");
  }
  return shape + ")";
}

// The action ids of the rule's block in order.
std::string actionShape(const SieveRule& rule) {
  std::string shape;
  for (const SieveRule* command = rule.thenBlock; command; command = command->next) {
    if (!shape.empty()) shape += ",";
    shape += std::to_string(actionIdOfRule(command));
  }
  return shape;
}

// One editor on its own view: the tables below open one for each case.
struct Editor {
  RecordingDialogView view;
  FakeLinks links;
  RulePtr rule;
  std::unique_ptr<RuleEditorDialog> dialog;

  // Opens the editor on the one rule of script, or on a new rule for an empty script.
  void open(const std::wstring& script = std::wstring()) {
    if (script.empty()) {
      rule.reset(new SieveRule(RuleKind::If, nullptr));
      rule->enabled = true;
    } else {
      SieveRule* head = nullptr;
      SieveRule::parseScript(script, &head);
      rule.reset(head);
      ASSERT_TRUE(rule);
    }
    dialog = std::make_unique<RuleEditorDialog>(view, *rule, &links, nullptr);
    view.attach(*dialog);
    dialog->initDialog();
    ASSERT_TRUE(view.failures().empty());
  }
  int row(zelvo::ui::ControlId list, unsigned id) const {
    for (int i = 0; i < view.listViewCount(list); ++i) {
      if (view.listViewItemData(list, i) == static_cast<zelvo::ui::ItemData>(id)) return i;
    }
    ADD_FAILURE() << "no row for id " << id;
    return 0;
  }
  int image(zelvo::ui::ControlId list, unsigned id) const { return view.listViewStateImage(list, row(list, id)); }
  void click(zelvo::ui::ControlId list, unsigned id) { view.userClickStateImage(list, row(list, id)); }
  void clickAll(zelvo::ui::ControlId list, const std::vector<unsigned>& ids) {
    for (unsigned id : ids) click(list, id);
  }
  // The ids whose rows show the image.
  std::vector<unsigned> idsWith(zelvo::ui::ControlId list, int wanted) const {
    std::vector<unsigned> ids;
    for (int i = 0; i < view.listViewCount(list); ++i) {
      if (view.listViewStateImage(list, i) == wanted)
        ids.push_back(static_cast<unsigned>(view.listViewItemData(list, i)));
    }
    return ids;
  }
  void ok() { dialog->command(zelvo::ui::kIdOk, zelvo::ui::notify::buttonClicked); }
};

class RuleEditorTest : public ::testing::Test, protected Editor {};

TEST_F(RuleEditorTest, ListsHoldTheTableRowsWithoutLinkMarks) {
  open();
  ASSERT_EQ(view.listViewCount(kConditions), 10);
  ASSERT_EQ(view.listViewCount(kActions), 9);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(view.listViewItemData(kConditions, i), i + 1);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(view.listViewItemData(kActions, i), i + 1);
  EXPECT_EQ(view.listViewText(kConditions, 0, 0), L"with people or addresses (compared) in the To or Cc box");
  EXPECT_EQ(view.listViewText(kConditions, 9, 0), L"on all messages");
  EXPECT_EQ(view.listViewText(kActions, 5, 0), L"send a notification to an address");
  EXPECT_EQ(view.listViewText(kActions, 8, 0), L"mark it as read");
  for (auto list : {kConditions, kActions}) {
    EXPECT_TRUE(view.listView(list).extendedStyle & zelvo::ui::lvx::checkBoxes);
    EXPECT_EQ(view.listView(list).columns.size(), 1u);
  }
  EXPECT_EQ(view.control(kName).textLimit, 2047);
}

TEST_F(RuleEditorTest, OpeningChecksWhatTheRuleHolds) {
  struct Case {
    const char* name;
    std::wstring script;
    std::vector<unsigned> conditions;
    std::vector<unsigned> disabledConditions;
    std::vector<unsigned> actions;
    std::vector<unsigned> disabledActions;
    unsigned selected;  // the first condition of the test that has a row; 0 for none
  };
  const std::vector<unsigned> allButTen = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const Case cases[] = {
      {"allof",
       L"#!1 Boss\r\nif allof (header :contains \"Subject\" \"b\", address :all :contains \"From\" \"a\") "
       L"{\r\nfileinto \"X\";\r\nstop;\r\n}\r\n",
       {2, 6},
       {},
       {1, 8},
       {},
       6},
      {"all messages and keep", L"if true {\r\nkeep;\r\n}\r\n", {10}, allButTen, {4}, {5}, 10},
      {"discard", L"if size :over 100 {\r\ndiscard;\r\n}\r\n", {8}, {}, {5}, {4}, 8},
      {"outside the table", L"if exists \"X-Y\" {\r\nsetreadflag;\r\n}\r\n", {}, {}, {9}, {}, 0},
      {"anyof with an unknown child",
       L"if anyof (exists \"X-Y\", spamtest) {\r\nredirect \"a@b.c\";\r\n}\r\n",
       {9},
       {},
       {2},
       {},
       9},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Editor e;
    e.open(c.script);
    // Checking the items while the lists fill changes nothing in the rule.
    std::wstring before, after;
    SieveRule* parsed = nullptr;
    SieveRule::parseScript(c.script, &parsed);
    RulePtr original(parsed);
    SieveRule::writeScript(original.get(), before, true);
    SieveRule::writeScript(e.rule.get(), after, true);
    EXPECT_EQ(after, before);
    EXPECT_EQ(e.idsWith(kConditions, kChecked), c.conditions);
    EXPECT_EQ(e.idsWith(kConditions, kDisabled), c.disabledConditions);
    EXPECT_EQ(e.idsWith(kActions, kChecked), c.actions);
    EXPECT_EQ(e.idsWith(kActions, kDisabled), c.disabledActions);
    const std::vector<int> selected = e.view.listViewSelectedRows(kConditions);
    if (c.selected == 0) {
      EXPECT_TRUE(selected.empty());
    } else {
      EXPECT_EQ(selected, std::vector<int>{e.row(kConditions, c.selected)});
    }
  }
}

TEST_F(RuleEditorTest, OpeningShowsTheNameAndTheDescription) {
  open(L"#!1 Boss\r\nif address :all :contains \"From\" \"boss@x.org\" {\r\nstop;\r\n}\r\n");
  EXPECT_EQ(view.getText(kName), L"Boss");
  const std::wstring text = view.richEditText(kDescription);
  EXPECT_NE(text.find(L"from 'boss@x.org' (anywhere in the text)"), std::wstring::npos) << text;
  EXPECT_NE(text.find(L"stop processing more rules"), std::wstring::npos) << text;
}

TEST_F(RuleEditorTest, CheckingConditionsBuildsAndUnbuildsTheGroup) {
  struct Case {
    const char* name;
    std::wstring script;  // empty: a new rule
    std::vector<unsigned> clicks;
    std::string shape;
  };
  const Case cases[] = {
      {"one condition", L"", {2}, "2"},
      {"two make an allof", L"", {2, 6}, "allof(2,6)"},
      {"children in table order", L"", {6, 8, 2}, "allof(2,6,8)"},
      {"unchecking one of two leaves no group", L"", {2, 6, 6}, "2"},
      {"unchecking the first of two", L"", {2, 6, 2}, "6"},
      {"unchecking the only one", L"", {2, 2}, "none"},
      {"anyof stays anyof",
       L"if anyof (address :all :contains \"From\" \"a\", header :contains \"Subject\" \"b\") {\r\nkeep;\r\n}\r\n",
       {3},
       "anyof(2,3,6)"},
      {"a single test joins an allof", L"if header :contains \"Subject\" \"b\" {\r\nkeep;\r\n}\r\n", {1}, "allof(1,6)"},
      {"an unknown test stays in front", L"if exists \"X-Y\" {\r\nkeep;\r\n}\r\n", {2}, "allof(x,2)"},
      {"all messages replaces unknown tests", L"if allof (exists \"X-Y\", spamtest) {\r\nkeep;\r\n}\r\n", {10}, "10"},
      {"all messages on and off leaves none", L"", {2, 10, 10}, "none"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Editor e;
    e.open(c.script);
    e.clickAll(kConditions, c.clicks);
    EXPECT_EQ(testShape(e.rule->test), c.shape);
    EXPECT_TRUE(e.view.failures().empty());
  }
}

TEST_F(RuleEditorTest, UncheckingATwiceHeldConditionRemovesTheFirstOnly) {
  open(
      L"if allof (address :all :contains \"From\" \"first\", address :all :contains \"From\" \"second\", "
      L"header :contains \"Subject\" \"s\") {\r\nkeep;\r\n}\r\n");
  click(kConditions, ConditionFrom);
  EXPECT_EQ(image(kConditions, ConditionFrom), kUnchecked);
  ASSERT_EQ(testShape(rule->test), "allof(2,6)");
  EXPECT_EQ(rule->test->subTests->values->text, L"second");
}

TEST_F(RuleEditorTest, AllMessagesDisablesTheOtherConditions) {
  open();
  clickAll(kConditions, {ConditionFrom, ConditionSubject, ConditionAll});
  EXPECT_EQ(testShape(rule->test), "10");
  EXPECT_EQ(rule->test->kind, TestKind::True);
  EXPECT_EQ(idsWith(kConditions, kDisabled), (std::vector<unsigned>{1, 2, 3, 4, 5, 6, 7, 8, 9}));

  // A disabled item turns back, whether clicked or toggled with the space bar.
  click(kConditions, ConditionFrom);
  view.listViewSetFocusedRow(kConditions, row(kConditions, ConditionSize));
  view.userPressKey(kConditions, zelvo::ui::vk::space);
  EXPECT_EQ(image(kConditions, ConditionFrom), kDisabled);
  EXPECT_EQ(image(kConditions, ConditionSize), kDisabled);
  EXPECT_EQ(testShape(rule->test), "10");

  click(kConditions, ConditionAll);
  EXPECT_EQ(idsWith(kConditions, kUnchecked), (std::vector<unsigned>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
  EXPECT_EQ(rule->test, nullptr);
}

TEST_F(RuleEditorTest, ActionsKeepTheTableOrderAndKeepExcludesDiscard) {
  struct Case {
    const char* name;
    std::vector<unsigned> clicks;
    std::string actions;
    int keep;
    int discard;
  };
  const Case cases[] = {
      {"keep", {ActionKeep}, "4", kChecked, kDisabled},
      {"discard", {ActionDiscard}, "5", kDisabled, kChecked},
      {"keep off frees discard", {ActionKeep, ActionKeep}, "", kUnchecked, kUnchecked},
      {"a click on the disabled one turns back", {ActionKeep, ActionDiscard}, "4", kChecked, kDisabled},
      {"discard after keep was undone", {ActionKeep, ActionKeep, ActionDiscard}, "5", kDisabled, kChecked},
      // Stop comes after everything but mark as read.
      {"sorted", {ActionSetReadFlag, ActionStop, ActionFileInto, ActionKeep}, "1,4,8,9", kChecked, kDisabled},
      {"one removed", {ActionRedirect, ActionReject, ActionNotify, ActionReject}, "2,6", kUnchecked, kUnchecked},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Editor e;
    e.open();
    e.clickAll(kActions, c.clicks);
    EXPECT_EQ(actionShape(*e.rule), c.actions);
    EXPECT_EQ(e.image(kActions, ActionKeep), c.keep);
    EXPECT_EQ(e.image(kActions, ActionDiscard), c.discard);
    for (const SieveRule* command = e.rule->thenBlock; command; command = command->next) {
      EXPECT_EQ(command->parent, e.rule.get());
      EXPECT_TRUE(command->enabled);
    }
  }
}

TEST_F(RuleEditorTest, EachCheckRewordsTheDescription) {
  open();
  click(kConditions, ConditionSpam);
  click(kActions, ActionFileInto);
  std::wstring text = view.richEditText(kDescription);
  EXPECT_NE(text.find(L"which the server marks as spam"), std::wstring::npos) << text;
  EXPECT_NE(text.find(L"move it to the specified folder"), std::wstring::npos) << text;

  // The folder link opens its dialog, and the description shows the folder chosen.
  const auto marked = view.richEditLinks(kDescription);
  ASSERT_EQ(marked.size(), 1u);
  view.userClickLink(kDescription, marked[0].start);
  EXPECT_EQ(links.kinds, std::vector<LinkKind>{LinkKind::FileInto});
  text = view.richEditText(kDescription);
  EXPECT_NE(text.find(L"move it to the Archive folder"), std::wstring::npos) << text;

  click(kConditions, ConditionSpam);
  text = view.richEditText(kDescription);
  EXPECT_EQ(text.find(L"spam"), std::wstring::npos) << text;
}

TEST_F(RuleEditorTest, OkRefusesWhatIsMissingOrReserved) {
  const std::wstring noCondition = L"Select at least one condition for this rule, or select \"on all messages\".";
  const std::wstring noAction = L"Select at least one action for this rule.";
  const std::wstring missing =
      L"Some values of this rule are missing. Click each value shown in red and fill it in before you save the rule.";
  const std::wstring reserved =
      L"This name is reserved for the rules that the out-of-office reply and the junk e-mail filter keep. Choose "
      L"another name.";
  struct Case {
    const char* name;
    std::vector<unsigned> conditions;
    std::vector<unsigned> actions;
    std::wstring typed;
    std::wstring message;  // empty: accepted
    UINT style;
    std::wstring stored;
  };
  const Case cases[] = {
      {"no condition", {}, {ActionKeep}, L"A", noCondition, mb::ok | mb::iconExclamation, L""},
      {"no action", {ConditionAll}, {}, L"A", noAction, mb::ok, L""},
      {"a value missing", {ConditionAll}, {ActionFileInto}, L"A", missing, mb::ok | mb::iconExclamation, L""},
      {"junk rule name", {ConditionAll}, {ActionKeep}, L"__webmailjunk__", reserved, mb::ok | mb::iconExclamation, L""},
      {"out of office name with blanks",
       {ConditionAll},
       {ActionKeep},
       L"  __WebmailAutoreply__\t",
       reserved,
       mb::ok | mb::iconExclamation,
       L""},
      {"trimmed", {ConditionAll}, {ActionKeep}, L"  Boss mail \t", L"", 0, L"Boss mail"},
      {"blanks only", {ConditionAll}, {ActionKeep}, L"   ", L"", 0, L""},
      {"a longer reserved-looking name",
       {ConditionAll},
       {ActionKeep},
       L"__WebmailJunk__2",
       L"",
       0,
       L"__WebmailJunk__2"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Editor e;
    e.open();
    e.clickAll(kConditions, c.conditions);
    e.clickAll(kActions, c.actions);
    e.view.setText(kName, c.typed);
    e.view.setFocus(kConditions);
    e.ok();
    if (c.message.empty()) {
      EXPECT_TRUE(e.view.messages().empty());
      EXPECT_EQ(e.view.result(), zelvo::ui::kIdOk);
      EXPECT_EQ(e.rule->name, c.stored);
    } else {
      ASSERT_EQ(e.view.messages().size(), 1u);
      EXPECT_EQ(e.view.messages()[0].text, c.message);
      EXPECT_EQ(e.view.messages()[0].style, c.style);
      EXPECT_FALSE(e.view.result().has_value());
      EXPECT_TRUE(e.rule->name.empty());
      EXPECT_EQ(e.view.focus(), c.message == reserved ? kName : kConditions);
    }
  }
}

TEST_F(RuleEditorTest, ABlankNameIsWrittenAsNoName) {
  open(L"#!1 Old\r\nif true {\r\nkeep;\r\n}\r\n");
  view.setText(kName, L" ");
  ok();
  ASSERT_EQ(view.result(), zelvo::ui::kIdOk);
  std::wstring script;
  SieveRule::writeScript(rule.get(), script, true);
  EXPECT_EQ(script.compare(0, 3, L"if "), 0) << script;
}

}  // namespace
