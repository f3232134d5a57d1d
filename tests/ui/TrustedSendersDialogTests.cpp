// The trusted senders dialog over a rule set loaded from the reference store: what the
// user sees while editing, and what OK leaves in the mailbox's script.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "RulesMailServerOptions.h"
#include "base/HResultException.h"
#include "sieve/SieveRules.h"
#include "store/reference/ReferenceStore.h"
#include "testing/RecordingDialogView.h"
#include "ui/TrustedSendersDialog.h"

namespace {

using zelvo::testing::RecordingDialogView;
using zelvo::ui::Beep;
using zelvo::ui::TrustedSendersDialog;
using zelvo::ui::test::RulesMailServerOptions;
namespace notify = zelvo::ui::notify;
using Senders = std::vector<std::wstring>;

constexpr auto kList = TrustedSendersDialog::kList;
constexpr auto kEdit = TrustedSendersDialog::kEdit;
constexpr auto kAdd = TrustedSendersDialog::kAdd;
constexpr auto kRemove = TrustedSendersDialog::kRemove;
constexpr auto kAddressBook = TrustedSendersDialog::kAddressBook;
constexpr auto kTrustContacts = TrustedSendersDialog::kTrustContacts;
constexpr auto kIdOk = zelvo::ui::kIdOk;
constexpr auto kIdCancel = zelvo::ui::kIdCancel;
constexpr auto kNoItem = zelvo::ui::kNoItem;

struct FakePicker : zelvo::ui::AddressBookPicker {
  bool answer = true;
  std::wstring address;
  std::vector<unsigned> kinds;
  bool pick(unsigned kind, std::wstring& result) override {
    kinds.push_back(kind);
    if (answer) result = address;
    return answer;
  }
};

class TrustedSendersTest : public ::testing::Test {
 protected:
  std::unique_ptr<ReferenceStore::Store> store;
  ComRef<IGlobalConfig> config;
  Sieve::SieveRules rules;
  RulesMailServerOptions options{rules};
  RecordingDialogView view;
  FakePicker picker;
  std::unique_ptr<TrustedSendersDialog> dialog;

  // A mailbox whose script trusts these senders, written and read back as the add-in does.
  void openMailbox(const Senders& senders, bool trustContacts = false) {
    store = std::make_unique<ReferenceStore::Store>();
    config = store->globalConfig();
    {
      Sieve::SieveRules seed;
      RulesMailServerOptions seedOptions(seed);
      seed.loadSieveScript(config.get(), false, nullptr);
      seedOptions.setJunkEmailTrustedSenders(senders);
      seedOptions.setJunkEmailTrustContacts(trustContacts);
      seed.saveSieveScript(config.get());
    }
    rules.loadSieveScript(config.get(), false, nullptr);
    openDialog();
  }
  void openDialog(zelvo::ui::AddressBookPicker* usePicker = nullptr) {
    dialog = std::make_unique<TrustedSendersDialog>(view, options, usePicker ? usePicker : &picker);
    dialog->initDialog();
  }

  // The user moves into the edit field and types; the field reports each step.
  void type(const std::wstring& text) {
    if (view.focus() != kEdit) {
      view.setFocus(kEdit);
      dialog->command(kEdit, notify::editSetFocus);
    }
    view.setText(kEdit, text);
    dialog->command(kEdit, notify::editUpdate);
    dialog->command(kEdit, notify::editChange);
  }
  // Enter or an accelerator: the focus stays where it is.
  void press(zelvo::ui::ControlId id) { dialog->command(id, notify::buttonClicked); }
  void selectRow(int row) {
    view.listBoxSelect(kList, row);
    dialog->command(kList, notify::listSelChange);
  }
  // What the mailbox holds once saved, read back from the store by a fresh rule set.
  std::unique_ptr<Sieve::SieveRules> saved() {
    rules.saveSieveScript(config.get());
    auto fresh = std::make_unique<Sieve::SieveRules>();
    fresh->loadSieveScript(config.get(), false, nullptr);
    return fresh;
  }
};

TEST_F(TrustedSendersTest, OpeningShowsTheStoredListInOrderWithTheFirstSelected) {
  openMailbox({L"zeta@example.org", L"alpha@example.org", L"example.net"}, true);
  EXPECT_EQ(view.items(kList), (Senders{L"zeta@example.org", L"alpha@example.org", L"example.net"}));
  EXPECT_EQ(view.listBoxSelection(kList), 0);
  EXPECT_TRUE(view.isChecked(kTrustContacts));
  EXPECT_TRUE(view.control(kList).redraw);
  EXPECT_EQ(view.control(kList).redrawsOn, 1);
  EXPECT_TRUE(view.isEnabled(kRemove));
  EXPECT_FALSE(view.isEnabled(kAdd));
  EXPECT_EQ(view.defaultButton(), kIdOk);
  EXPECT_TRUE(view.beeps().empty());
  EXPECT_TRUE(view.failures().empty());
}

TEST_F(TrustedSendersTest, OpeningAnEmptyListSelectsNothingAndDisablesRemove) {
  openMailbox({}, false);
  EXPECT_EQ(view.listBoxCount(kList), 0);
  EXPECT_EQ(view.listBoxSelection(kList), kNoItem);
  EXPECT_FALSE(view.isChecked(kTrustContacts));
  EXPECT_FALSE(view.isEnabled(kRemove));
}

TEST_F(TrustedSendersTest, ARuleSetThatIsNotLoadedGivesTheStopBeepAndDisablesEditing) {
  store = std::make_unique<ReferenceStore::Store>();
  config = store->globalConfig();
  openDialog();  // rules never loaded: every getter raises
  EXPECT_EQ(view.beeps(), std::vector<Beep>{Beep::Stop});
  EXPECT_FALSE(view.isEnabled(kEdit));
  EXPECT_FALSE(view.isEnabled(kList));
  EXPECT_TRUE(view.control(kList).redraw) << "drawing is turned back on after a failed read";
  EXPECT_TRUE(view.failures().empty()) << "the dialog handles this failure itself";
}

struct StateCase {
  const wchar_t* text;
  bool focusInEdit;
  bool addEnabled;
  zelvo::ui::ControlId defaultButton;
};

class TrustedSendersState : public TrustedSendersTest, public ::testing::WithParamInterface<StateCase> {};

TEST_P(TrustedSendersState, AddAndTheDefaultButtonFollowTheText) {
  openMailbox({L"known@example.org", L"example.net", L"m\u00fcller@example.de"});
  type(GetParam().text);
  if (!GetParam().focusInEdit) {
    view.setFocus(kList);
    dialog->command(kEdit, notify::editKillFocus);
  }
  EXPECT_EQ(view.isEnabled(kAdd), GetParam().addEnabled);
  EXPECT_EQ(view.defaultButton(), GetParam().defaultButton);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, TrustedSendersState,
    ::testing::Values(StateCase{L"", true, false, kIdOk},                           //
                      StateCase{L"  \t ", true, false, kIdOk},                      // blanks only
                      StateCase{L"new@example.org", true, true, kAdd},              //
                      StateCase{L"new@example.org", false, true, kIdOk},            // focus elsewhere
                      StateCase{L"KNOWN@Example.ORG", true, false, kIdOk},          // differs in case only
                      StateCase{L"  known@example.org ", true, false, kIdOk},       // differs in blanks only
                      StateCase{L"known@example.org.uk", true, true, kAdd},         // longer: a new entry
                      StateCase{L"net", true, true, kAdd},                          // a part: a new entry
                      StateCase{L"M\u00dcLLER@example.de", true, false, kIdOk},     // case beyond ASCII
                      StateCase{L"\u00a0known@example.org", true, false, kIdOk}));  // a pasted no-break space

TEST_F(TrustedSendersTest, RemoveFollowsTheSelection) {
  openMailbox({L"a@x.org", L"b@x.org"});
  selectRow(zelvo::ui::kNoItem);
  EXPECT_FALSE(view.isEnabled(kRemove));
  press(kRemove);
  EXPECT_EQ(view.listBoxCount(kList), 2);
  selectRow(1);
  EXPECT_TRUE(view.isEnabled(kRemove));
}

TEST_F(TrustedSendersTest, TheDefaultButtonIsSetOnlyWhenItChanges) {
  openMailbox({L"known@example.org"});
  const int before = view.defaultButtonChanges();
  type(L"n");
  type(L"ne");
  type(L"new");
  EXPECT_EQ(view.defaultButtonChanges(), before + 1);
  type(L"");
  EXPECT_EQ(view.defaultButtonChanges(), before + 2);
  EXPECT_EQ(view.defaultButton(), kIdOk);
}

TEST_F(TrustedSendersTest, AddingStoresTheTrimmedTextAtTheEnd) {
  openMailbox({L"known@example.org"});
  type(L"   new@example.org\t ");
  press(kAdd);
  EXPECT_EQ(view.items(kList), (Senders{L"known@example.org", L"new@example.org"}));
  EXPECT_EQ(view.listBoxSelection(kList), 1);
  EXPECT_EQ(view.getText(kEdit), L"");
  EXPECT_EQ(view.focus(), kEdit);
  EXPECT_FALSE(view.isEnabled(kAdd));
  EXPECT_EQ(view.defaultButton(), kIdOk);
  press(kIdOk);
  EXPECT_EQ(view.result(), kIdOk);
  EXPECT_EQ(saved()->getJunkEmailTrustedSenders(), (Senders{L"known@example.org", L"new@example.org"}));
}

TEST_F(TrustedSendersTest, AnEntryDifferingOnlyInCaseIsRefusedWithTheBeep) {
  openMailbox({L"first@example.org", L"known@example.org", L"last@example.org"});
  type(L"Known@EXAMPLE.org");
  press(kAdd);  // the button is disabled, but Enter in a stale state still arrives
  EXPECT_EQ(view.beeps(), std::vector<Beep>{Beep::Exclamation});
  EXPECT_EQ(view.listBoxSelection(kList), 1);
  EXPECT_EQ(view.listBoxCount(kList), 3);
  EXPECT_EQ(view.getText(kEdit), L"Known@EXAMPLE.org") << "the text stays for the user to correct";
}

TEST_F(TrustedSendersTest, AddingBlanksDoesNothing) {
  openMailbox({L"known@example.org"});
  type(L"   ");
  press(kAdd);
  EXPECT_EQ(view.listBoxCount(kList), 1);
  EXPECT_TRUE(view.beeps().empty());
}

struct RemoveCase {
  int row;
  Senders left;
  int selected;
  zelvo::ui::ControlId focus;
};

class TrustedSendersRemove : public TrustedSendersTest, public ::testing::WithParamInterface<RemoveCase> {};

TEST_P(TrustedSendersRemove, TheSelectionAndFocusMoveOn) {
  openMailbox({L"a@x.org", L"b@x.org", L"c@x.org"});
  selectRow(GetParam().row);
  press(kRemove);
  EXPECT_EQ(view.items(kList), GetParam().left);
  EXPECT_EQ(view.listBoxSelection(kList), GetParam().selected);
  EXPECT_EQ(view.focus(), GetParam().focus);
  EXPECT_TRUE(view.isEnabled(kRemove));
}

INSTANTIATE_TEST_SUITE_P(Rows, TrustedSendersRemove,
                         ::testing::Values(RemoveCase{0, {L"b@x.org", L"c@x.org"}, 0, kList},
                                           RemoveCase{1, {L"a@x.org", L"c@x.org"}, 1, kList},
                                           RemoveCase{2, {L"a@x.org", L"b@x.org"}, 1, kList}));

TEST_F(TrustedSendersTest, RemovingTheLastEntryMovesTheFocusToTheEditFieldAndStoresAnEmptyList) {
  openMailbox({L"only@x.org"}, true);
  press(kRemove);
  EXPECT_EQ(view.listBoxCount(kList), 0);
  EXPECT_EQ(view.listBoxSelection(kList), kNoItem);
  EXPECT_EQ(view.focus(), kEdit);
  EXPECT_FALSE(view.isEnabled(kRemove));
  press(kRemove);  // nothing selected: nothing happens
  EXPECT_TRUE(view.failures().empty());
  press(kIdOk);
  EXPECT_EQ(saved()->getJunkEmailTrustedSenders(), Senders{});
  EXPECT_TRUE(saved()->getJunkEmailTrustContacts());
}

TEST_F(TrustedSendersTest, OkStoresTheCheckBox) {
  openMailbox({L"a@x.org"}, false);
  view.setChecked(kTrustContacts, true);
  press(kIdOk);
  EXPECT_EQ(view.result(), kIdOk);
  EXPECT_TRUE(saved()->getJunkEmailTrustContacts());
  EXPECT_EQ(saved()->getJunkEmailTrustedSenders(), Senders{L"a@x.org"});
}

TEST_F(TrustedSendersTest, CancelStoresNothing) {
  openMailbox({L"a@x.org"}, false);
  const std::wstring before = store->mailbox().script;
  type(L"b@x.org");
  press(kAdd);
  view.setChecked(kTrustContacts, true);
  press(kIdCancel);
  EXPECT_EQ(view.result(), kIdCancel);
  EXPECT_EQ(rules.getSieveStatus(), Sieve::SieveStatus::Loaded);
  rules.saveSieveScript(config.get());
  EXPECT_EQ(store->mailbox().script, before);
}

TEST_F(TrustedSendersTest, AFailedOkBeepsAndStaysOpen) {
  openMailbox({L"a@x.org"});
  rules.clear();  // the setters now raise
  press(kIdOk);
  EXPECT_FALSE(view.result().has_value());
  EXPECT_EQ(view.beeps(), std::vector<Beep>{Beep::Exclamation});
  ASSERT_EQ(view.failures().size(), 1u);
  EXPECT_EQ(view.failures()[0].code, E_INVALIDARG);
}

TEST_F(TrustedSendersTest, TheAddressBookFillsTheEditField) {
  openMailbox({L"a@x.org"});
  picker.address = L"picked@example.org";
  view.setFocus(kEdit);
  press(kAddressBook);
  EXPECT_EQ(picker.kinds, std::vector<unsigned>{TrustedSendersDialog::kAddressBookKind});
  EXPECT_EQ(view.getText(kEdit), L"picked@example.org");
  EXPECT_TRUE(view.isEnabled(kAdd));
  EXPECT_EQ(view.defaultButton(), kAdd);

  picker.answer = false;
  picker.address = L"other@example.org";
  press(kAddressBook);
  EXPECT_EQ(view.getText(kEdit), L"picked@example.org") << "a cancelled address book changes nothing";
}

TEST_F(TrustedSendersTest, OnADataObjectItTakesItsMailServerOptions) {
  openMailbox({L"a@x.org"});
  TrustedSendersDialog onData(view, static_cast<IUnknown*>(&options), nullptr);
  onData.initDialog();
  EXPECT_EQ(view.items(kList), Senders{L"a@x.org"});
  for (IUnknown* data : {static_cast<IUnknown*>(config.get()), static_cast<IUnknown*>(nullptr)}) {
    try {
      TrustedSendersDialog refused(view, data, nullptr);
      ADD_FAILURE() << "made on an object without mail server options";
    } catch (const HResultException& e) {
      EXPECT_EQ(e.getHResult(), E_NOINTERFACE);
    }
  }
}

TEST_F(TrustedSendersTest, WithoutAnAddressBookTheButtonIsDisabled) {
  store = std::make_unique<ReferenceStore::Store>();
  config = store->globalConfig();
  rules.loadSieveScript(config.get(), false, nullptr);
  dialog = std::make_unique<TrustedSendersDialog>(view, options, nullptr);
  dialog->initDialog();
  EXPECT_FALSE(view.isEnabled(kAddressBook));
  press(kAddressBook);
  EXPECT_TRUE(view.failures().empty());
}

TEST_F(TrustedSendersTest, TheListGrowsWithTheFrameAndTheButtonsFollowTheCorner) {
  view.setWindowSize(400, 300);
  view.moveControl(TrustedSendersDialog::kList, {10, 100, 280, 230});
  view.moveControl(TrustedSendersDialog::kRemove, {290, 100, 380, 120});
  view.moveControl(kIdOk, {230, 270, 300, 290});
  openMailbox({L"a@example.org"});
  view.attach(*dialog);
  ASSERT_TRUE(view.resizable());
  view.userResize(500, 350);
  const RECT list = view.controlRect(TrustedSendersDialog::kList);
  EXPECT_EQ(list.right, 380);
  EXPECT_EQ(list.bottom, 280);
  EXPECT_EQ(view.controlRect(TrustedSendersDialog::kRemove).left, 390);
  EXPECT_EQ(view.controlRect(TrustedSendersDialog::kRemove).top, 100);
  EXPECT_EQ(view.controlRect(kIdOk).top, 320);
}

}  // namespace
