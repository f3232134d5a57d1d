// The rules dialog over a mailbox of the reference store: the rows it shows, the buttons
// each row allows, every action on the list, and what OK leaves in the stored script.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "SieveRulesTestSupport.h"
#include "testing/RecordingDialogHost.h"
#include "testing/RecordingDialogView.h"
#include "testing/TestEnvironment.h"
#include "ui/ParameterDialogs.h"
#include "ui/RuleEditorDialog.h"
#include "ui/RuleParameterDialogs.h"
#include "ui/SieveRulesDialog.h"
#include "ui/SieveScriptDialog.h"

namespace {

using zelvo::testing::RecordingDialogHost;
using zelvo::testing::RecordingDialogView;
using zelvo::ui::ControlId;
using zelvo::ui::DialogLogic;
using zelvo::ui::DialogView;
using zelvo::ui::SieveRulesDialog;
using zelvo::ui::SieveScriptDialog;
using zelvo::ui::test::keepRule;
using zelvo::ui::test::kJunkEmailRule;
using zelvo::ui::test::kOutOfOfficeRule;
using zelvo::ui::test::ruleText;
namespace mb = zelvo::ui::mb;
namespace notify = zelvo::ui::notify;
using Texts = std::vector<std::wstring>;

constexpr auto kList = SieveRulesDialog::kList;
constexpr auto kIdOk = zelvo::ui::kIdOk;
constexpr auto kIdCancel = zelvo::ui::kIdCancel;
constexpr auto kIdYes = zelvo::ui::kIdYes;
constexpr auto kIdNo = zelvo::ui::kIdNo;
constexpr int kEditorId = SieveRulesDialog::kRuleEditorTemplateId;
constexpr int kScriptId = SieveScriptDialog::kTemplateId;

const std::wstring kJunkRow = L"Junk e-mail filter";
const std::wstring kOutOfOfficeRow = L"Out of office reply";
const std::wstring kDeleteQuestion = L"Do you want to delete the selected rule?";

// Stands in for the rule editor, which has tests of its own: the test's script changes the
// rule the dialog handed over, as a user of the editor would.
class EditorStandIn : public DialogLogic {
 public:
  EditorStandIn(DialogView& view, Sieve::SieveRule& edited) : DialogLogic(view), rule(edited) {}
  Sieve::SieveRule& rule;
};

// An editor's user who names the rule and gives it a condition and one action.
RecordingDialogHost::Script editorNames(const std::wstring& name, Sieve::RuleKind action, int close = kIdOk) {
  return [=](RecordingDialogView&, DialogLogic& logic) {
    Sieve::SieveRule& rule = dynamic_cast<EditorStandIn&>(logic).rule;
    rule.name = name;
    if (!rule.test) rule.test = new Sieve::SieveTest(Sieve::TestKind::True);
    Sieve::appendRule(rule.thenBlock, new Sieve::SieveRule(action, &rule));
    logic.command(close, notify::buttonClicked);
  };
}

// A script dialog's user who types text and presses OK, then Cancel if it stays open.
RecordingDialogHost::Script scriptTyped(const std::wstring& text) {
  return [=](RecordingDialogView& view, DialogLogic& logic) {
    view.setText(SieveScriptDialog::kEdit, text);
    logic.command(kIdOk, notify::buttonClicked);
    if (!view.result()) logic.command(kIdCancel, notify::buttonClicked);
  };
}

class RulesDialogTest : public zelvo::ui::test::MailboxFixture {
 protected:
  RecordingDialogView view;
  RecordingDialogHost host;
  std::unique_ptr<SieveRulesDialog> dialog;

  // The mailbox's rules as the rules command opens them; loads says whether they parse.
  void open(const std::wstring& script, bool loads = true) {
    ASSERT_EQ(openMailbox(script), loads ? S_OK : S_FALSE);
    dialog = std::make_unique<SieveRulesDialog>(view, properties(), host, [](DialogView& v, Sieve::SieveRule& rule) {
      return std::make_unique<EditorStandIn>(v, rule);
    });
    view.attach(*dialog);
    dialog->initDialog();
    ASSERT_TRUE(view.failures().empty()) << zelvo::testing::utf8(view.failures()[0].text);
  }
  int rowCount() const { return view.listViewCount(kList); }
  Texts rows() const {
    Texts texts;
    for (int row = 0; row < rowCount(); ++row) texts.push_back(view.listView(kList).source.text(row, 0));
    return texts;
  }
  std::vector<bool> checks() const {
    std::vector<bool> checked;
    for (int row = 0; row < rowCount(); ++row) {
      checked.push_back(view.listView(kList).source.stateImage(row) == zelvo::ui::stateImage::checked);
    }
    return checked;
  }
  std::vector<int> selection() const { return view.listViewSelectedRows(kList); }
  void press(ControlId id) { dialog->command(id, notify::buttonClicked); }
  void click(int row) { view.userClickRow(kList, row); }
  // OK, then what the rules command does after the dialog.
  std::wstring okAndSave() {
    press(kIdOk);
    EXPECT_EQ(view.result(), kIdOk);
    applyWhenDirty();
    return storedScript();
  }
};

TEST_F(RulesDialogTest, AJunkEmailRuleInThirdPlaceShowsFirstAndIsWrittenFirst) {
  open(keepRule(L"One") + kOutOfOfficeRule + kJunkEmailRule + keepRule(L"Off", false));
  EXPECT_EQ(rows(), (Texts{kJunkRow, kOutOfOfficeRow, L"One", L"Off"}));
  EXPECT_EQ(checks(), (std::vector<bool>{true, true, true, false}));
  EXPECT_EQ(selection(), std::vector<int>{0});
  EXPECT_EQ(okAndSave(), kJunkEmailRule + kOutOfOfficeRule + keepRule(L"One") + keepRule(L"Off", false));
}

TEST_F(RulesDialogTest, OfTwoJunkEmailRulesOnlyTheFirstIsReserved) {
  open(kJunkEmailRule + keepRule(L"One") + kJunkEmailRule);
  EXPECT_EQ(rows(), (Texts{kJunkRow, L"One", kJunkRow}));
  click(2);
  EXPECT_TRUE(view.isEnabled(SieveRulesDialog::kEdit)) << "the second is a plain rule";
  EXPECT_TRUE(view.isEnabled(SieveRulesDialog::kMoveUp));
  click(0);
  EXPECT_FALSE(view.isEnabled(SieveRulesDialog::kEdit));
}

TEST_F(RulesDialogTest, AnUnnamedRuleShowsTheUnnamedText) {
  open(ruleText(L"", L"true", L"  keep;\r\n"));
  EXPECT_EQ(rows(), (Texts{L"(unnamed rule)"}));
}

struct ButtonCase {
  int row;
  bool moveUp, moveDown, edit, copy;  // delete, edit as script and the description follow edit
};

class RulesDialogButtons : public RulesDialogTest, public ::testing::WithParamInterface<ButtonCase> {};

TEST_P(RulesDialogButtons, FollowTheSelectedRow) {
  open(kJunkEmailRule + kOutOfOfficeRule + keepRule(L"First") + keepRule(L"Middle") + keepRule(L"Last"));
  const ButtonCase& c = GetParam();
  click(c.row);
  EXPECT_EQ(view.isEnabled(SieveRulesDialog::kMoveUp), c.moveUp);
  EXPECT_EQ(view.isEnabled(SieveRulesDialog::kMoveDown), c.moveDown);
  for (ControlId id : {SieveRulesDialog::kEdit, SieveRulesDialog::kDelete, SieveRulesDialog::kEditAsScript,
                       SieveRulesDialog::kDescription}) {
    EXPECT_EQ(view.isEnabled(id), c.edit) << id;
  }
  EXPECT_EQ(view.isEnabled(SieveRulesDialog::kCopy), c.copy);
}

INSTANTIATE_TEST_SUITE_P(Rows, RulesDialogButtons,
                         ::testing::Values(ButtonCase{0, false, false, false, true},  // junk e-mail
                                           ButtonCase{1, false, false, false, true},  // out of office
                                           ButtonCase{2, false, true, true, true},    // first of the user's
                                           ButtonCase{3, true, true, true, true},     //
                                           ButtonCase{4, true, false, true, true}));  // last

TEST_F(RulesDialogTest, SeveralSelectedRowsDisableTheRowButtonsAndSaySoInTheDescription) {
  open(keepRule(L"One") + keepRule(L"Two"));
  view.userSelectRows(kList, {0, 1});
  for (ControlId id : {SieveRulesDialog::kEdit, SieveRulesDialog::kDelete, SieveRulesDialog::kCopy,
                       SieveRulesDialog::kMoveUp, SieveRulesDialog::kMoveDown, SieveRulesDialog::kEditAsScript}) {
    EXPECT_FALSE(view.isEnabled(id)) << id;
  }
  EXPECT_EQ(view.richEditText(SieveRulesDialog::kDescription),
            L"Several rules are selected. Select one rule to see its description.");
}

TEST_F(RulesDialogTest, DeletingTheOnlyRowLeavesAnEmptyListWithTheButtonsDisabled) {
  open(keepRule(L"Only"));
  view.queueAnswer(kIdYes);
  press(SieveRulesDialog::kDelete);
  ASSERT_EQ(view.messages().size(), 1u);
  EXPECT_EQ(view.messages()[0].text, kDeleteQuestion);
  EXPECT_EQ(view.messages()[0].style, mb::yesNo | mb::iconQuestion);
  EXPECT_EQ(rowCount(), 0);
  for (ControlId id : {SieveRulesDialog::kEdit, SieveRulesDialog::kDelete, SieveRulesDialog::kCopy,
                       SieveRulesDialog::kMoveUp, SieveRulesDialog::kMoveDown, SieveRulesDialog::kEditAsScript}) {
    EXPECT_FALSE(view.isEnabled(id)) << id;
  }
  EXPECT_TRUE(view.isEnabled(SieveRulesDialog::kAdd));
}

struct DeleteCase {
  int row;
  int answer;
  Texts left;
  int selected;
};

class RulesDialogDelete : public RulesDialogTest, public ::testing::WithParamInterface<DeleteCase> {};

TEST_P(RulesDialogDelete, TheSelectionStaysOnTheRowOrMovesToTheLast) {
  open(kJunkEmailRule + keepRule(L"A") + keepRule(L"B") + keepRule(L"C"));
  click(GetParam().row);
  view.queueAnswer(GetParam().answer);
  press(SieveRulesDialog::kDelete);
  EXPECT_EQ(rows(), GetParam().left);
  EXPECT_EQ(selection(), std::vector<int>{GetParam().selected});
}

INSTANTIATE_TEST_SUITE_P(Rows, RulesDialogDelete,
                         ::testing::Values(DeleteCase{1, kIdYes, {kJunkRow, L"B", L"C"}, 1},
                                           DeleteCase{2, kIdYes, {kJunkRow, L"A", L"C"}, 2},
                                           DeleteCase{3, kIdYes, {kJunkRow, L"A", L"B"}, 2},
                                           DeleteCase{3, kIdNo, {kJunkRow, L"A", L"B", L"C"}, 3}));

TEST_F(RulesDialogTest, OkWithAnEmptyListHandsOverNoRulesAtAll) {
  open(keepRule(L"Only"));
  view.queueAnswer(kIdYes);
  press(SieveRulesDialog::kDelete);
  press(kIdOk);
  EXPECT_EQ(view.result(), kIdOk);
  EXPECT_EQ(object->getSieveStatus(), Sieve::SieveStatus::Modified);
  EXPECT_EQ(object->getRules(false), nullptr);
  applyWhenDirty();
  EXPECT_EQ(storedScript(), L"");
}

TEST_F(RulesDialogTest, ASecondKeepOrDiscardInABlockIsDroppedOnOpening) {
  open(ruleText(L"Twice", L"true", L"  keep;\r\n  discard;\r\n  stop;\r\n"));
  EXPECT_EQ(okAndSave(), ruleText(L"Twice", L"true", L"  keep;\r\n  stop;\r\n"));
}

TEST_F(RulesDialogTest, CancelHandsNothingOver) {
  open(keepRule(L"A") + keepRule(L"B"));
  click(1);
  press(SieveRulesDialog::kMoveUp);
  press(kIdCancel);
  EXPECT_EQ(view.result(), kIdCancel);
  EXPECT_EQ(object->getSieveStatus(), Sieve::SieveStatus::Loaded);
  applyWhenDirty();
  EXPECT_EQ(storedScript(), keepRule(L"A") + keepRule(L"B"));
}

TEST_F(RulesDialogTest, ACheckBoxClickOrTheSpaceBarTogglesAUserRuleOnly) {
  open(kJunkEmailRule + keepRule(L"A") + keepRule(L"B", false));
  view.userClickStateImage(kList, 2);
  EXPECT_EQ(checks(), (std::vector<bool>{true, true, true}));
  EXPECT_EQ(selection(), std::vector<int>{2}) << "the toggled row is selected";
  click(1);
  view.userPressKey(kList, zelvo::ui::vk::space);
  EXPECT_EQ(checks(), (std::vector<bool>{true, false, true}));
  view.userClickStateImage(kList, 0);
  click(0);
  view.userPressKey(kList, zelvo::ui::vk::space);
  EXPECT_EQ(checks(), (std::vector<bool>{true, false, true})) << "the reserved row keeps its state";
  EXPECT_EQ(okAndSave(), kJunkEmailRule + keepRule(L"A", false) + keepRule(L"B"));
}

TEST_F(RulesDialogTest, AddAppendsWhatTheEditorMadeAndSelectsIt) {
  open(kJunkEmailRule + keepRule(L"A"));
  host.script(kEditorId, editorNames(L"New", Sieve::RuleKind::Keep));
  press(SieveRulesDialog::kAdd);
  EXPECT_EQ(host.shownIds(), std::vector<int>{kEditorId});
  EXPECT_EQ(rows(), (Texts{kJunkRow, L"A", L"New"}));
  EXPECT_EQ(selection(), std::vector<int>{2});
  EXPECT_TRUE(view.isEnabled(SieveRulesDialog::kMoveUp));
  EXPECT_EQ(okAndSave(), kJunkEmailRule + keepRule(L"A") + keepRule(L"New"));
}

TEST_F(RulesDialogTest, TheProductsEditorBuildsTheAddedRule) {
  ASSERT_EQ(openMailbox(keepRule(L"A")), S_OK);
  dialog = std::make_unique<SieveRulesDialog>(view, properties(), host, SieveRulesDialog::ruleEditor(nullptr, nullptr));
  view.attach(*dialog);
  dialog->initDialog();
  host.script(kEditorId, [](RecordingDialogView& v, DialogLogic& logic) {
    // The rows of "on all messages" and of "stop processing more rules".
    for (auto [list, id] : {std::pair{zelvo::ui::RuleEditorDialog::kConditions, 10},
                            std::pair{zelvo::ui::RuleEditorDialog::kActions, 8}}) {
      for (int row = 0; row < v.listViewCount(list); ++row) {
        if (v.listViewItemData(list, row) == id) v.userClickStateImage(list, row);
      }
    }
    v.setText(zelvo::ui::RuleEditorDialog::kName, L"  Last stop ");
    logic.command(kIdOk, notify::buttonClicked);
  });
  press(SieveRulesDialog::kAdd);
  ASSERT_EQ(host.shown().size(), 1u);
  EXPECT_EQ(host.shown()[0].result, kIdOk);
  EXPECT_EQ(rows(), (Texts{L"A", L"Last stop"}));
  EXPECT_EQ(okAndSave(), keepRule(L"A") + ruleText(L"Last stop", L"true", L"  stop;\r\n"));
}

// The links of the editor's description, opened on the product's parameter dialogs.
class ParameterLinks : public zelvo::ui::RuleDescriptionHost {
 public:
  explicit ParameterLinks(zelvo::ui::DialogHost& host) : dialogs_(host, nullptr, nullptr, nullptr) {}
  bool editLink(Sieve::LinkKind kind, Sieve::SieveTest* test, Sieve::SieveRule* rule, HWND parent) override {
    return dialogs_.edit(kind, test, rule, parent);
  }

 private:
  zelvo::ui::ParameterDialogs dialogs_;
};

TEST_F(RulesDialogTest, EachNestedDialogIsOwnedByTheDialogThatOpenedIt) {
  using zelvo::ui::RuleConditionDialog;
  using zelvo::ui::RuleContainsDialog;
  using zelvo::ui::RuleEditorDialog;
  ASSERT_EQ(openMailbox(ruleText(L"Offers", L"header :contains \"Subject\" \"sale\"", L"  discard;\r\n")), S_OK);
  ParameterLinks links(host);
  const HWND owner = reinterpret_cast<HWND>(static_cast<LONG_PTR>(0x4242));
  host.script(SieveRulesDialog::kTemplateId, [](RecordingDialogView&, DialogLogic& logic) {
    logic.command(SieveRulesDialog::kEdit, notify::buttonClicked);
    logic.command(kIdCancel, notify::buttonClicked);
  });
  host.script(kEditorId, [](RecordingDialogView& v, DialogLogic& logic) {
    // The words of the condition, the one link whose text is a value of the rule.
    for (const auto& link : v.richEditLinks(RuleEditorDialog::kDescription)) {
      if (v.richEditTextRange(RuleEditorDialog::kDescription, link.start, link.end).find(L"sale") != std::wstring::npos)
        v.userClickLink(RuleEditorDialog::kDescription, link.start);
    }
    logic.command(kIdCancel, notify::buttonClicked);
  });
  host.script(RuleContainsDialog::kTemplateId, [](RecordingDialogView&, DialogLogic& logic) {
    logic.command(RuleContainsDialog::kCondition, notify::buttonClicked);
    logic.command(kIdCancel, notify::buttonClicked);
  });
  host.script(RuleConditionDialog::kTemplateId, [](RecordingDialogView&, DialogLogic& logic) {
    logic.command(kIdCancel, notify::buttonClicked);
  });
  host.runModal(SieveRulesDialog::kTemplateId, owner, [&](DialogView& v) {
    return std::make_unique<SieveRulesDialog>(v, properties(), host, SieveRulesDialog::ruleEditor(&links, nullptr));
  });

  ASSERT_EQ(host.shownIds(), (std::vector<int>{SieveRulesDialog::kTemplateId, kEditorId,
                                               RuleContainsDialog::kTemplateId, RuleConditionDialog::kTemplateId}));
  const auto& shown = host.shown();
  EXPECT_EQ(shown[0].parent, owner);
  for (std::size_t i = 1; i < shown.size(); ++i) {
    EXPECT_NE(shown[i - 1].window, nullptr);
    EXPECT_NE(shown[i].window, shown[i - 1].window);
    EXPECT_EQ(shown[i].parent, shown[i - 1].window) << "dialog " << shown[i].templateId;
  }
  EXPECT_EQ(host.pendingScripts(), 0u);
}

TEST_F(RulesDialogTest, TheDescriptionShowsTheSelectedRule) {
  open(keepRule(L"A") + ruleText(L"B", L"true", L"  discard;\r\n"));
  const std::wstring first = view.richEditText(SieveRulesDialog::kDescription);
  EXPECT_NE(first.find(L"keep it in the Inbox"), std::wstring::npos) << zelvo::testing::utf8(first);
  click(1);
  const std::wstring second = view.richEditText(SieveRulesDialog::kDescription);
  EXPECT_NE(second.find(L"delete it permanently"), std::wstring::npos) << zelvo::testing::utf8(second);
  EXPECT_TRUE(view.richEditReadOnly(SieveRulesDialog::kDescription));
}

TEST_F(RulesDialogTest, AddCancelledLeavesTheList) {
  open(keepRule(L"A"));
  host.script(kEditorId, editorNames(L"New", Sieve::RuleKind::Keep, kIdCancel));
  press(SieveRulesDialog::kAdd);
  EXPECT_EQ(rows(), (Texts{L"A"}));
  EXPECT_EQ(selection(), std::vector<int>{0});
}

TEST_F(RulesDialogTest, EditWorksOnACopyThatReplacesTheRuleOnlyOnOk) {
  open(keepRule(L"A") + keepRule(L"B"));
  click(1);
  host.script(kEditorId, editorNames(L"Cancelled", Sieve::RuleKind::Stop, kIdCancel));
  press(SieveRulesDialog::kEdit);
  EXPECT_EQ(rows(), (Texts{L"A", L"B"}));

  // The editor adds a Discard behind the Keep; the repeat goes when the copy comes back.
  host.script(kEditorId, editorNames(L"Renamed", Sieve::RuleKind::Discard));
  press(SieveRulesDialog::kEdit);
  EXPECT_EQ(rows(), (Texts{L"A", L"Renamed"}));
  EXPECT_EQ(selection(), std::vector<int>{1});
  EXPECT_EQ(okAndSave(), keepRule(L"A") + keepRule(L"Renamed"));
}

TEST_F(RulesDialogTest, EditAsScriptKeepsTheNameAndTheEnabledFlag) {
  open(keepRule(L"A") + keepRule(L"Off", false));
  click(1);
  host.script(kScriptId, [](RecordingDialogView& v, DialogLogic& logic) {
    // The rule as the writer gives it, one rule only, with its line breaks for the field.
    EXPECT_EQ(v.getText(SieveScriptDialog::kEdit), L"if true \r\n{\r\n  keep;\r\n}\r\n");
    v.setText(SieveScriptDialog::kEdit, L"#!1 Other name\r\nif size :over 102400 {\r\n  discard;\r\n  keep;\r\n}\r\n");
    logic.command(kIdOk, notify::buttonClicked);
  });
  press(SieveRulesDialog::kEditAsScript);
  EXPECT_EQ(rows(), (Texts{L"A", L"Off"}));
  EXPECT_EQ(checks(), (std::vector<bool>{true, false}));
  // The writer puts no blank behind a size test.
  EXPECT_EQ(okAndSave(), keepRule(L"A") + L"#!0 Off\r\n# if size :over 102400\r\n# {\r\n#   discard;\r\n# }\r\n");
}

TEST_F(RulesDialogTest, TypingASecondRuleIntoTheOneRuleEditorIsRefused) {
  open(keepRule(L"A"));
  host.script(kScriptId, scriptTyped(keepRule(L"X") + keepRule(L"Y")));
  press(SieveRulesDialog::kEditAsScript);
  ASSERT_EQ(host.shown().size(), 1u);
  ASSERT_EQ(host.shown()[0].messages.size(), 1u);
  EXPECT_EQ(host.shown()[0].messages[0].text,
            L"The script may hold one rule only. Remove the other rules, or add them as rules of their own.");
  EXPECT_EQ(host.shown()[0].result, kIdCancel);
  EXPECT_EQ(rows(), (Texts{L"A"}));
}

class RulesDialogEmptiedScript : public RulesDialogTest, public ::testing::WithParamInterface<int> {};

TEST_P(RulesDialogEmptiedScript, DeletesTheRowAsDeleteDoesWithItsQuestion) {
  open(keepRule(L"A") + keepRule(L"B"));
  host.script(kScriptId, [](RecordingDialogView& v, DialogLogic& logic) {
    v.queueAnswer(kIdYes);  // keep the script empty
    v.setText(SieveScriptDialog::kEdit, L"");
    logic.command(kIdOk, notify::buttonClicked);
  });
  view.queueAnswer(GetParam());
  press(SieveRulesDialog::kEditAsScript);
  ASSERT_EQ(view.messages().size(), 1u);
  EXPECT_EQ(view.messages()[0].text, kDeleteQuestion);
  EXPECT_EQ(rows(), GetParam() == kIdYes ? Texts{L"B"} : (Texts{L"A", L"B"}));
}

INSTANTIATE_TEST_SUITE_P(Answers, RulesDialogEmptiedScript, ::testing::Values(kIdYes, kIdNo));

struct CopyCase {
  int row;
  Texts after;
  int selected;
};

class RulesDialogCopy : public RulesDialogTest, public ::testing::WithParamInterface<CopyCase> {};

TEST_P(RulesDialogCopy, NamesTheCopyAndPutsItInItsPlace) {
  open(kJunkEmailRule + kOutOfOfficeRule + keepRule(L"A") + keepRule(L"Copy of A") + keepRule(L"B"));
  click(GetParam().row);
  press(SieveRulesDialog::kCopy);
  EXPECT_EQ(rows(), GetParam().after);
  EXPECT_EQ(selection(), std::vector<int>{GetParam().selected});
}

INSTANTIATE_TEST_SUITE_P(
    Rows, RulesDialogCopy,
    ::testing::Values(
        // The first free name: "Copy of A" is taken, so the count begins.
        CopyCase{2, {kJunkRow, kOutOfOfficeRow, L"A", L"Copy (2) of A", L"Copy of A", L"B"}, 3},
        CopyCase{3, {kJunkRow, kOutOfOfficeRow, L"A", L"Copy of A", L"Copy of Copy of A", L"B"}, 4},
        CopyCase{4, {kJunkRow, kOutOfOfficeRow, L"A", L"Copy of A", L"B", L"Copy of B"}, 5},
        // A reserved rule's copy is named after its row and leads the user's rules.
        CopyCase{0, {kJunkRow, kOutOfOfficeRow, L"Copy of Junk e-mail filter", L"A", L"Copy of A", L"B"}, 2},
        CopyCase{1, {kJunkRow, kOutOfOfficeRow, L"Copy of Out of office reply", L"A", L"Copy of A", L"B"}, 2}));

TEST_F(RulesDialogTest, ACopyOfTheJunkEmailRuleIsAPlainEditableRule) {
  open(kJunkEmailRule);
  press(SieveRulesDialog::kCopy);
  EXPECT_EQ(selection(), std::vector<int>{1});
  EXPECT_TRUE(view.isEnabled(SieveRulesDialog::kEdit));
  EXPECT_EQ(okAndSave(), kJunkEmailRule + ruleText(L"Copy of Junk e-mail filter", L"spamtest",
                                                   L"  fileinto \"Junk E-Mail\";\r\n  stop;\r\n"));
}

class RulesDialogCopyLimit : public RulesDialogTest, public ::testing::WithParamInterface<int> {};

TEST_P(RulesDialogCopyLimit, TheLastNumberIs127) {
  // Copies 1 to 127 of "X" exist, except the number of the parameter.
  std::wstring script = keepRule(L"X");
  for (int n = 1; n <= 127; ++n) {
    if (n == GetParam()) continue;
    script += keepRule(n == 1 ? std::wstring(L"Copy of X") : L"Copy (" + std::to_wstring(n) + L") of X");
  }
  open(script);
  press(SieveRulesDialog::kCopy);
  if (GetParam() > 127) {
    ASSERT_EQ(view.messages().size(), 1u);
    EXPECT_EQ(view.messages()[0].style, mb::ok | mb::iconExclamation);
    EXPECT_EQ(view.messages()[0].text,
              L"This rule has too many copies already. Rename or delete some of them, then copy it again.");
    EXPECT_EQ(rowCount(), 128);
  } else {
    EXPECT_TRUE(view.messages().empty());
    EXPECT_EQ(rowCount(), 128);
    EXPECT_EQ(rows()[1], L"Copy (" + std::to_wstring(GetParam()) + L") of X");
  }
}

INSTANTIATE_TEST_SUITE_P(FreeNumber, RulesDialogCopyLimit, ::testing::Values(127, 128));

struct MoveCase {
  int row;
  ControlId button;
  Texts after;
  int selected;
};

class RulesDialogMove : public RulesDialogTest, public ::testing::WithParamInterface<MoveCase> {};

TEST_P(RulesDialogMove, SwapsWithTheNeighbourAndTheSelectionFollows) {
  open(kOutOfOfficeRule + keepRule(L"A") + keepRule(L"B") + keepRule(L"C"));
  click(GetParam().row);
  press(GetParam().button);
  EXPECT_EQ(rows(), GetParam().after);
  EXPECT_EQ(selection(), std::vector<int>{GetParam().selected});
}

INSTANTIATE_TEST_SUITE_P(
    Moves, RulesDialogMove,
    ::testing::Values(MoveCase{2, SieveRulesDialog::kMoveUp, {kOutOfOfficeRow, L"B", L"A", L"C"}, 1},
                      MoveCase{2, SieveRulesDialog::kMoveDown, {kOutOfOfficeRow, L"A", L"C", L"B"}, 3},
                      MoveCase{1, SieveRulesDialog::kMoveUp, {kOutOfOfficeRow, L"A", L"B", L"C"}, 1},      // first
                      MoveCase{3, SieveRulesDialog::kMoveDown, {kOutOfOfficeRow, L"A", L"B", L"C"}, 3},    // last
                      MoveCase{0, SieveRulesDialog::kMoveDown, {kOutOfOfficeRow, L"A", L"B", L"C"}, 0}));  // reserved

TEST_F(RulesDialogTest, ASecondOkBeforeTheSaveHandsOverTheSecondList) {
  open(keepRule(L"A") + keepRule(L"B"));
  click(1);
  press(SieveRulesDialog::kMoveUp);
  press(kIdOk);
  ASSERT_EQ(object->getSieveStatus(), Sieve::SieveStatus::Modified);
  // The options page opens the dialog again before its own Apply.
  RecordingDialogView again;
  SieveRulesDialog second(again, properties(), host, {});
  again.attach(second);
  second.initDialog();
  again.userClickRow(kList, 0);
  second.command(SieveRulesDialog::kMoveDown, notify::buttonClicked);
  second.command(kIdOk, notify::buttonClicked);
  EXPECT_EQ(again.result(), kIdOk);
  EXPECT_TRUE(again.failures().empty());
  applyWhenDirty();
  EXPECT_EQ(storedScript(), keepRule(L"A") + keepRule(L"B"));
}

TEST_F(RulesDialogTest, AMovedRuleIsStoredInItsNewPlace) {
  open(kJunkEmailRule + keepRule(L"A") + keepRule(L"B"));
  click(2);
  press(SieveRulesDialog::kMoveUp);
  EXPECT_EQ(okAndSave(), kJunkEmailRule + keepRule(L"B") + keepRule(L"A"));
}

TEST_F(RulesDialogTest, ARuleSetThatDidNotLoadGivesTheStopBeepAndNothingToEdit) {
  open(L"if true {\r\n", false);
  EXPECT_EQ(view.beeps(), std::vector<zelvo::ui::Beep>{zelvo::ui::Beep::Stop});
  EXPECT_EQ(rowCount(), 0);
  for (ControlId id : {kList, SieveRulesDialog::kAdd, SieveRulesDialog::kEdit, SieveRulesDialog::kCopy}) {
    EXPECT_FALSE(view.isEnabled(id)) << id;
  }
  EXPECT_TRUE(view.control(kList).redraw) << "drawing is turned back on";
}

TEST_F(RulesDialogTest, ADataObjectWithoutAStoreIsRefused) {
  auto unopened = ComRef<zelvo::config::ConfigProperties>::adopt(new zelvo::config::ConfigProperties({}, nullptr));
  try {
    SieveRulesDialog refused(view, static_cast<_ConfigProperties*>(unopened.get()), host, {});
    ADD_FAILURE() << "a data object without a store configuration was taken";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), E_NOINTERFACE);
  }
}

}  // namespace
