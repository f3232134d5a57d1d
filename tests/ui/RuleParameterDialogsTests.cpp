// The parameter dialogs of a rule's description, played through the recording view: what the user
// sees while editing, and what OK and Cancel leave in the node.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "sieve/SieveModel.h"
#include "sieve/SieveTables.h"
#include "strings/Localization.h"
#include "testing/RecordingDialogHost.h"
#include "testing/RecordingDialogView.h"
#include "ui/RuleParameterDialogs.h"

namespace {

using zelvo::testing::RecordingDialogHost;
using zelvo::testing::RecordingDialogView;
using zelvo::ui::Beep;
using zelvo::ui::RuleAddressDialog;
using zelvo::ui::RuleConditionDialog;
using zelvo::ui::RuleContainsDialog;
using zelvo::ui::RuleHasSizeDialog;
using zelvo::ui::RuleMessageDialog;
using zelvo::ui::RulePeopleDialog;
namespace notify = zelvo::ui::notify;
namespace mb = zelvo::ui::mb;
using Strings = std::vector<std::wstring>;

constexpr auto kIdOk = zelvo::ui::kIdOk;
constexpr auto kIdCancel = zelvo::ui::kIdCancel;
constexpr auto kIdYes = zelvo::ui::kIdYes;
constexpr auto kIdNo = zelvo::ui::kIdNo;
constexpr auto kNoItem = zelvo::ui::kNoItem;

struct FakePicker : zelvo::ui::AddressBookPicker {
  bool answer = true;
  std::wstring chosen;
  std::vector<unsigned> kinds;
  bool pick(unsigned kind, std::wstring& result) override {
    kinds.push_back(kind);
    if (answer) result = chosen;
    return answer;
  }
};

// A header test on the subject, as the condition table makes it, with these values.
Sieve::TestPtr subjectTest(const Strings& values) {
  Sieve::TestPtr test(Sieve::createTestForCondition(Sieve::ConditionSubject));
  test->values = Sieve::makeStringList(values);
  return test;
}

void click(zelvo::ui::DialogLogic& dialog, zelvo::ui::ControlId id) { dialog.command(id, notify::buttonClicked); }

// --- the list of values --------------------------------------------------------------------------

using D = RuleContainsDialog;

// One showing of the words dialog on a subject test.
struct ValueList {
  RecordingDialogView view;
  RecordingDialogHost host;
  Sieve::TestPtr test;
  std::unique_ptr<D> dialog;

  explicit ValueList(const Strings& values = {L"zeta", L"Alpha", L"beta"}) : test(subjectTest(values)) {}

  void open() {
    dialog = std::make_unique<D>(view, *test, host);
    view.attach(*dialog);
    dialog->initDialog();
  }
  void type(const std::wstring& text) {
    view.setText(D::kEdit, text);
    dialog->command(D::kEdit, notify::editChange);
  }
  void add(const std::wstring& text) {
    type(text);
    click(*dialog, D::kAdd);
  }
  void select(int row) {
    view.listBoxSelect(D::kList, row);
    dialog->command(D::kList, notify::listSelChange);
  }
  Strings stored() const { return Sieve::stringListToVector(test->values); }
};

TEST(RuleContainsDialog, OpensOnTheValuesSortedByTheirOwnOrderWithTheFirstSelected) {
  ValueList s;
  s.open();
  EXPECT_EQ(s.view.items(D::kList), (Strings{L"Alpha", L"beta", L"zeta"}));
  EXPECT_EQ(s.view.listBoxSelection(D::kList), 0);
  EXPECT_TRUE(s.view.isEnabled(D::kRemove));
  EXPECT_TRUE(s.view.isEnabled(kIdOk));
  EXPECT_FALSE(s.view.isEnabled(D::kAdd));
  EXPECT_EQ(s.view.defaultButton(), kIdOk);
}

TEST(RuleContainsDialog, TheLabelPutsHowTheConditionComparesInTheRangeOfItsMarks) {
  struct Case {
    std::wstring condition;
    std::wstring label;
  };
  const Case cases[] = {
      {L"with [words] ([compared]) in the subject", L"with words (not exactly) in the subject"},
      {L"the subject is [compared]", L"the subject is not exactly"},
      {L"the subject", L"the subject not exactly"},
  };
  for (const Case& c : cases) {
    const Localization::TableTranslator language({{11052, c.condition}, {11062, L"not exactly"}});
    Localization::setTranslator(&language);
    Sieve::reloadTables();
    ValueList s;
    s.test->matchType = Sieve::MatchType::Is;
    s.test->negated = true;
    s.open();
    EXPECT_EQ(s.view.getText(D::kConditionLabel), c.label);
    Localization::setTranslator(nullptr);
    Sieve::reloadTables();
  }
}

TEST(RuleContainsDialog, AddTrimsAndKeepsTheListSorted) {
  struct Case {
    std::wstring typed;
    Strings list;
    int selected;
  };
  const Case cases[] = {
      {L" abc ", {L"Alpha", L"abc", L"beta", L"zeta"}, 1},
      {L"\tomega\t", {L"Alpha", L"beta", L"omega", L"zeta"}, 2},
      {L"ALPHA", {L"ALPHA", L"Alpha", L"beta", L"zeta"}, 0},  // case counts: no question
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "typed '" << std::string(c.typed.begin(), c.typed.end()) << "'");
    ValueList s;
    s.open();
    s.add(c.typed);
    EXPECT_EQ(s.view.items(D::kList), c.list);
    EXPECT_EQ(s.view.listBoxSelection(D::kList), c.selected);
    EXPECT_EQ(s.view.getText(D::kEdit), L"");
    EXPECT_TRUE(s.view.messages().empty());
  }
}

TEST(RuleContainsDialog, EditWithTextMakesAddTheDefaultButton) {
  ValueList s;
  s.open();
  s.type(L"x");
  EXPECT_TRUE(s.view.isEnabled(D::kAdd));
  EXPECT_EQ(s.view.defaultButton(), D::kAdd);
  s.type(L"");
  EXPECT_FALSE(s.view.isEnabled(D::kAdd));
  EXPECT_EQ(s.view.defaultButton(), kIdOk);
}

TEST(RuleContainsDialog, BlanksAloneAddNothingAndLeaveAnEmptyFieldWithTheFocus) {
  ValueList s;
  s.open();
  s.add(L"   ");
  EXPECT_EQ(s.view.items(D::kList), (Strings{L"Alpha", L"beta", L"zeta"}));
  EXPECT_EQ(s.view.getText(D::kEdit), L"");
  EXPECT_EQ(s.view.focus(), D::kEdit);
}

TEST(RuleContainsDialog, AValueAlreadyListedIsAddedTwiceOnlyAfterYes) {
  ValueList s;
  s.open();
  s.view.queueAnswer(kIdNo);
  s.add(L" beta");
  ASSERT_EQ(s.view.messages().size(), 1u);
  const auto& question = s.view.messages()[0];
  EXPECT_EQ(question.text, Localization::getString(IDS_VALUE_ALREADY_LISTED));
  EXPECT_EQ(question.style & mb::buttonMask, mb::yesNo);
  EXPECT_EQ(question.style & 0xF00u, 0x100u) << "No is the default answer";
  EXPECT_EQ(s.view.items(D::kList), (Strings{L"Alpha", L"beta", L"zeta"}));
  EXPECT_EQ(s.view.focus(), D::kEdit);
  EXPECT_EQ(s.view.getText(D::kEdit), L"");

  s.view.queueAnswer(kIdYes);
  s.add(L"beta");
  EXPECT_EQ(s.view.items(D::kList), (Strings{L"Alpha", L"beta", L"beta", L"zeta"}));
  click(*s.dialog, kIdOk);
  EXPECT_EQ(s.stored(), (Strings{L"Alpha", L"beta", L"beta", L"zeta"}));
}

TEST(RuleContainsDialog, RemoveSelectsTheSameRowOrTheLast) {
  struct Case {
    int removed;
    Strings left;
    int selected;
  };
  const Case cases[] = {{0, {L"beta", L"zeta"}, 0}, {1, {L"Alpha", L"zeta"}, 1}, {2, {L"Alpha", L"beta"}, 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.removed);
    ValueList s;
    s.open();
    s.select(c.removed);
    click(*s.dialog, D::kRemove);
    EXPECT_EQ(s.view.items(D::kList), c.left);
    EXPECT_EQ(s.view.listBoxSelection(D::kList), c.selected);
  }
}

TEST(RuleContainsDialog, RemovingTheLastValueDisablesOkAndFocusesTheEdit) {
  ValueList s({L"only"});
  s.open();
  click(*s.dialog, D::kRemove);
  EXPECT_TRUE(s.view.items(D::kList).empty());
  EXPECT_EQ(s.view.focus(), D::kEdit);
  EXPECT_FALSE(s.view.isEnabled(kIdOk));
  EXPECT_FALSE(s.view.isEnabled(D::kRemove));
  click(*s.dialog, kIdOk);  // cannot happen through the disabled button; nothing
                            // is lost either
  EXPECT_FALSE(s.view.result());
  EXPECT_EQ(s.stored(), (Strings{L"only"}));
}

TEST(RuleContainsDialog, OkReplacesTheValuesInTheListOrderAndCancelKeepsThem) {
  ValueList cancelled;
  cancelled.open();
  cancelled.add(L"gamma");
  click(*cancelled.dialog, kIdCancel);
  EXPECT_EQ(cancelled.stored(), (Strings{L"zeta", L"Alpha", L"beta"}));

  ValueList s;
  s.open();
  s.add(L"gamma");
  click(*s.dialog, kIdOk);
  EXPECT_EQ(s.view.result(), kIdOk);
  EXPECT_EQ(s.stored(), (Strings{L"Alpha", L"beta", L"gamma", L"zeta"}));
}

TEST(RuleContainsDialog, TheConditionDialogChangesTheTestAtOnceEvenWhenTheListIsCancelled) {
  ValueList s;
  s.test->matchType = Sieve::MatchType::Contains;
  s.open();
  s.host.script(RuleConditionDialog::kTemplateId, [](RecordingDialogView& v, zelvo::ui::DialogLogic& logic) {
    EXPECT_EQ(v.comboSelection(RuleConditionDialog::kCombo),
              2);  // contains, plain
    v.userSelectCombo(RuleConditionDialog::kCombo,
                      1);  // is, negated
    click(logic, kIdOk);
  });
  click(*s.dialog, D::kCondition);
  EXPECT_EQ(s.host.shownIds(), (std::vector<int>{RuleConditionDialog::kTemplateId}));
  EXPECT_EQ(s.test->matchType, Sieve::MatchType::Is);
  EXPECT_TRUE(s.test->negated);
  EXPECT_NE(s.view.getText(D::kConditionLabel).find(Sieve::matchLabel(Sieve::MatchType::Is, true)), std::wstring::npos);
  click(*s.dialog, kIdCancel);
  EXPECT_EQ(s.test->matchType, Sieve::MatchType::Is);
  EXPECT_TRUE(s.test->negated);
}

TEST(RulePeopleDialog, TheAddressBookAddsEachChosenAddressThroughAdd) {
  RecordingDialogView view;
  RecordingDialogHost host;
  FakePicker picker;
  Sieve::TestPtr test(Sieve::createTestForCondition(Sieve::ConditionFrom));
  test->values = Sieve::makeStringList({L"b@example.com"});
  RulePeopleDialog dialog(view, *test, host, &picker);
  view.attach(dialog);
  dialog.initDialog();
  EXPECT_TRUE(view.isEnabled(RulePeopleDialog::kAddressBook));

  picker.chosen = L"c@example.com; a@example.com, b@example.com";
  view.queueAnswer(kIdNo);  // b is listed already
  click(dialog, RulePeopleDialog::kAddressBook);
  EXPECT_EQ(picker.kinds, (std::vector<unsigned>{zelvo::ui::kRuleAddressBookKind}));
  EXPECT_EQ(view.items(RulePeopleDialog::kList), (Strings{L"a@example.com", L"b@example.com", L"c@example.com"}));
  EXPECT_EQ(view.messages().size(), 1u);

  picker.answer = false;
  click(dialog, RulePeopleDialog::kAddressBook);
  EXPECT_EQ(view.items(RulePeopleDialog::kList).size(), 3u);
}

// --- size ----------------------------------------------------------------------------------------

TEST(RuleHasSizeDialog, OpensInTheLargestUnitTheDescriptionWouldUse) {
  struct Case {
    std::uint32_t bytes;
    std::wstring number;
    int unit;
  };
  const Case cases[] = {
      {0, L"0", 0},
      {10240, L"10240", 0},
      {10241, L"10", 1},
      {102400, L"100", 1},
      {10485760, L"10240", 1},
      {10485761, L"10240", 1},
      {10241u * 1024u, L"10", 2},
      {0xFFFFFFFFu, L"4095", 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.bytes);
    RecordingDialogView view;
    Sieve::SizeMode mode = Sieve::SizeMode::Over;
    std::uint32_t bytes = c.bytes;
    RuleHasSizeDialog dialog(view, mode, bytes);
    dialog.initDialog();
    EXPECT_EQ(view.getText(RuleHasSizeDialog::kEdit), c.number);
    EXPECT_EQ(view.comboSelection(RuleHasSizeDialog::kUnit), c.unit);
    EXPECT_EQ(view.comboCount(RuleHasSizeDialog::kUnit), 3);
    EXPECT_EQ(view.control(RuleHasSizeDialog::kEdit).textLimit, 6);
    EXPECT_EQ(view.comboSelection(RuleHasSizeDialog::kMode), 0);
  }
}

TEST(RuleHasSizeDialog, OkReadsTheNumberInItsUnit) {
  struct Case {
    std::wstring text;
    int unit;
    int mode;
    bool closes;
    std::uint32_t bytes;  // stored when it closes
    std::wstring shown;   // the field afterwards
    bool beeps;
  };
  const Case cases[] = {
      {L"100", 1, 1, true, 102400, L"100", false},
      {L"10240", 0, 0, true, 10240, L"10240", false},
      {L"4095", 2, 0, true, 4095u * 1048576u, L"4095", false},
      {L"4096", 2, 0, true, 4095u * 1048576u, L"4095", true},
      {L"999999", 2, 0, true, 4095u * 1048576u, L"4095", true},
      {L"999999", 1, 0, true, 999999u * 1024u, L"999999", false},
      {L"12x", 0, 0, false, 0, L"12x", true},
      {L"", 0, 0, false, 0, L"", true},
      {L"100", 0, kNoItem, false, 0, L"100", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << std::string(c.text.begin(), c.text.end()) << " unit " << c.unit);
    RecordingDialogView view;
    Sieve::SizeMode mode = Sieve::SizeMode::Under;
    std::uint32_t bytes = 1;
    RuleHasSizeDialog dialog(view, mode, bytes);
    dialog.initDialog();
    view.setText(RuleHasSizeDialog::kEdit, c.text);
    view.comboSelect(RuleHasSizeDialog::kUnit, c.unit);
    view.comboSelect(RuleHasSizeDialog::kMode, c.mode);
    click(dialog, kIdOk);
    EXPECT_EQ(view.result().has_value(), c.closes);
    EXPECT_EQ(bytes, c.closes ? c.bytes : 1u);
    if (c.closes) {
      EXPECT_EQ(mode, static_cast<Sieve::SizeMode>(c.mode));
    }
    EXPECT_EQ(view.getText(RuleHasSizeDialog::kEdit), c.shown);
    EXPECT_EQ(!view.beeps().empty(), c.beeps);
  }
}

TEST(RuleHasSizeDialog, AHundredKilobytesStoredOpensAsAHundredKilobytes) {
  RecordingDialogView first;
  Sieve::SizeMode mode = Sieve::SizeMode::Over;
  std::uint32_t bytes = 0;
  RuleHasSizeDialog editing(first, mode, bytes);
  editing.initDialog();
  first.setText(RuleHasSizeDialog::kEdit, L"100");
  first.comboSelect(RuleHasSizeDialog::kUnit, 1);
  click(editing, kIdOk);
  ASSERT_EQ(bytes, 102400u);

  RecordingDialogView second;
  RuleHasSizeDialog reading(second, mode, bytes);
  reading.initDialog();
  EXPECT_EQ(second.getText(RuleHasSizeDialog::kEdit), L"100");
  EXPECT_EQ(second.comboSelection(RuleHasSizeDialog::kUnit), 1);
}

// --- match type and texts ------------------------------------------------------------------------

TEST(RuleConditionDialog, OffersEachMatchTypePlainThenNegatedWithItsExplanation) {
  for (int row = 0; row < 6; ++row) {
    SCOPED_TRACE(row);
    RecordingDialogView view;
    Sieve::MatchType type = static_cast<Sieve::MatchType>(row / 2);
    bool negated = row % 2 != 0;
    RuleConditionDialog dialog(view, type, negated);
    view.attach(dialog);
    dialog.initDialog();
    ASSERT_EQ(view.comboCount(RuleConditionDialog::kCombo), 6);
    EXPECT_EQ(view.comboText(RuleConditionDialog::kCombo, row), Sieve::matchLabel(type, negated));
    EXPECT_EQ(view.comboSelection(RuleConditionDialog::kCombo), row);
    EXPECT_EQ(view.getText(RuleConditionDialog::kExplanation), Sieve::matchExplanation(type));

    const int other = (row + 3) % 6;
    view.userSelectCombo(RuleConditionDialog::kCombo, other);
    EXPECT_EQ(view.getText(RuleConditionDialog::kExplanation),
              Sieve::matchExplanation(static_cast<Sieve::MatchType>(other / 2)));
    click(dialog, kIdOk);
    EXPECT_EQ(type, static_cast<Sieve::MatchType>(other / 2));
    EXPECT_EQ(negated, other % 2 != 0);
  }
}

TEST(RuleAddressDialog, OkNeedsTextAndStoresItTrimmed) {
  RecordingDialogView view;
  FakePicker picker;
  std::wstring address = L"old@example.com";
  RuleAddressDialog dialog(view, address, &picker);
  dialog.initDialog();
  EXPECT_EQ(view.getText(RuleAddressDialog::kEdit), L"old@example.com");
  EXPECT_TRUE(view.isEnabled(kIdOk));

  view.setText(RuleAddressDialog::kEdit, L"");
  dialog.command(RuleAddressDialog::kEdit, notify::editChange);
  EXPECT_FALSE(view.isEnabled(kIdOk));

  picker.chosen = L"  new@example.com ";
  click(dialog, RuleAddressDialog::kAddressBook);
  EXPECT_EQ(view.getText(RuleAddressDialog::kEdit), L"  new@example.com ");
  EXPECT_TRUE(view.isEnabled(kIdOk));
  EXPECT_EQ(address, L"old@example.com");
  click(dialog, kIdOk);
  EXPECT_EQ(address, L"new@example.com");
}

TEST(RuleMessageDialog, StoresTheTextAsItStandsEvenEmptyAndIsResizable) {
  RecordingDialogView view;
  std::wstring text = L"line one\r\nline two";
  RuleMessageDialog dialog(view, text);
  dialog.initDialog();
  EXPECT_EQ(view.getText(RuleMessageDialog::kEdit), L"line one\r\nline two");
  EXPECT_TRUE(view.resizable());
  view.setText(RuleMessageDialog::kEdit, L"");
  click(dialog, kIdOk);
  EXPECT_EQ(view.result(), kIdOk);
  EXPECT_EQ(text, L"");
}

}  // namespace
