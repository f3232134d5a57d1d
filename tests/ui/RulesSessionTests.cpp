// A whole session of a user with the rules of the sample mailbox, through the recording
// view: the rules dialog, the rule editor, the parameter dialogs behind the description's
// links, OK and Apply, down to the script the store holds. Then the same session with each
// store call of it failing in turn.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "RulesSession.h"
#include "testing/RecordingDialogHost.h"
#include "testing/RecordingDialogView.h"

namespace {

namespace ui = zelvo::ui;
namespace session = zelvo::ui::session;
using ReferenceStore::Operation;
using zelvo::testing::RecordingDialogHost;
using zelvo::testing::RecordingDialogView;

constexpr HRESULT kInjected = static_cast<HRESULT>(0x8004DEAD);

// The user on the recording view, by its user actions.
class RecordingUser : public session::User {
 public:
  RecordingUser(RecordingDialogView& view, ui::DialogLogic& logic) : view_(view), logic_(logic) {}

  void click(ui::ControlId button) override {
    if (!view_.isEnabled(button)) {
      ADD_FAILURE() << "button " << button << " is disabled";
      return;
    }
    logic_.command(button, ui::notify::buttonClicked);
  }
  void setCheck(ui::ControlId list, int row, bool checked) override {
    const int wanted = checked ? ui::stateImage::checked : ui::stateImage::unchecked;
    if (view_.listViewStateImage(list, row) != wanted) view_.userClickStateImage(list, row);
    EXPECT_EQ(view_.listViewStateImage(list, row), wanted) << "row " << row << " of " << list;
  }
  void clickCheckBox(ui::ControlId list, int row) override { view_.userClickStateImage(list, row); }
  void selectRow(ui::ControlId list, int row) override { view_.userClickRow(list, row); }
  void type(ui::ControlId edit, const std::wstring& text) override {
    view_.setText(edit, text);
    logic_.command(edit, ui::notify::editChange);
  }
  void selectCombo(ui::ControlId combo, int index) override { view_.userSelectCombo(combo, index); }
  void selectTreeItem(ui::ControlId tree, const std::vector<std::wstring>& path) override {
    const std::vector<ui::TreeItem> top = view_.treeChildren(tree, ui::kTreeRoot);
    if (top.empty()) {
      ADD_FAILURE() << "tree " << tree << " is empty";
      return;
    }
    ui::TreeItem item = top.front();
    for (const std::wstring& text : path) {
      ui::TreeItem found = ui::kNoTreeItem;
      for (ui::TreeItem child : view_.treeChildren(tree, item)) {
        if (view_.treeText(tree, child) == text) found = child;
      }
      if (found == ui::kNoTreeItem) {
        ADD_FAILURE() << "no item " << zelvo::testing::utf8(text);
        return;
      }
      item = found;
    }
    view_.userSelectTreeItem(tree, item);
  }
  void clickLink(ui::ControlId richEdit, const std::wstring& text) override {
    const LONG at = view_.richEditFind(richEdit, 0, text);
    for (const auto& link : view_.richEditLinks(richEdit)) {
      if (at >= link.start && at < link.end) {
        EXPECT_EQ(view_.richEditTextRange(richEdit, link.start, link.end), text);
        view_.userClickLink(richEdit, at);
        return;
      }
    }
    ADD_FAILURE() << "no link " << zelvo::testing::utf8(text) << " in "
                  << zelvo::testing::utf8(view_.richEditText(richEdit));
  }
  std::vector<std::wstring> rows(ui::ControlId list) override {
    std::vector<std::wstring> texts;
    const auto& shown = view_.listView(list);
    for (int row = 0; row < view_.listViewCount(list); ++row) {
      texts.push_back(shown.isVirtual ? shown.source.text(row, 0) : view_.listViewText(list, row, 0));
    }
    return texts;
  }

 private:
  RecordingDialogView& view_;
  ui::DialogLogic& logic_;
};

struct Outcome {
  int result = ui::kIdCancel;
  HRESULT applied = S_FALSE;
  bool dirtyAfter = false;  // the data object still holds changes not stored
  bool escaped = false;  // an exception left the dialogs
  std::vector<int> shown;
  std::vector<HRESULT> dropped;  // what the dialogs' handlers reported and dropped
  std::vector<Operation> calls;
};

// The rules command's session on the sample mailbox: open, the user's steps, Apply.
Outcome runSession(session::SampleMailbox& mailbox) {
  Outcome outcome;
  RecordingDialogHost host;
  for (const session::Step& step : session::sessionSteps()) {
    host.script(step.templateId, [act = step.act](RecordingDialogView& view, ui::DialogLogic& logic) {
      RecordingUser user(view, logic);
      act(user);
    });
  }
  try {
    mailbox.open();
    session::RulesDialogParts parts(mailbox, host);
    outcome.result = host.runModal(ui::SieveRulesDialog::kTemplateId, nullptr,
                                   [&](ui::DialogView& view) { return parts.make(view, mailbox, host); });
    outcome.applied = mailbox.applyWhenDirty();
    outcome.dirtyAfter = datatest::get(mailbox.data(), L"Dirty").toBool();
  } catch (...) {
    outcome.escaped = true;
  }
  outcome.shown = host.shownIds();
  for (const auto& shown : host.shown()) {
    for (const auto& failure : shown.failures) outcome.dropped.push_back(failure.code);
  }
  outcome.calls = mailbox.store->calls();
  return outcome;
}

TEST(RulesSession, AddingMovingAndSwitchingOffRulesEndsInTheScriptTheUserMeant) {
  session::SampleMailbox mailbox;
  const Outcome outcome = runSession(mailbox);
  ASSERT_FALSE(outcome.escaped);
  EXPECT_EQ(outcome.result, ui::kIdOk);
  EXPECT_EQ(outcome.applied, S_OK);
  EXPECT_TRUE(outcome.dropped.empty());
  EXPECT_EQ(outcome.shown, session::sessionDialogs());
  session::expectSessionScript(mailbox.original, mailbox.script());
  EXPECT_TRUE(mailbox.restKept()) << "the session changes the script alone";
}

TEST(RulesSession, EveryStoreCallOfTheSessionMayFailWithoutLosingTheScript) {
  std::vector<Operation> calls;
  {
    session::SampleMailbox clean;
    const Outcome outcome = runSession(clean);
    ASSERT_FALSE(outcome.escaped);
    calls = outcome.calls;
  }
  // The script is read, the picker reads the folders, and Apply writes.
  const std::set<Operation> kinds(calls.begin(), calls.end());
  ASSERT_TRUE(kinds.count(Operation::GetSieveScript));
  ASSERT_TRUE(kinds.count(Operation::GetFolderList));
  ASSERT_TRUE(kinds.count(Operation::SetSieveScript));
  RecordProperty("storeCalls", static_cast<int>(calls.size()));

  std::map<Operation, int> seen;
  std::set<Operation> droppedIn;
  for (const Operation call : calls) {
    const int occurrence = ++seen[call];
    SCOPED_TRACE("call " + std::to_string(static_cast<int>(call)) + " #" + std::to_string(occurrence));
    session::SampleMailbox mailbox;
    for (int i = 1; i < occurrence; ++i) mailbox.store->passNext(call);
    mailbox.store->failNext(call, kInjected);

    Outcome outcome;
    ::testing::TestPartResultArray steps;
    {
      // The user's steps stop making sense once a dialog lost its data; what they report
      // here is no finding. The invariants below are.
      ::testing::ScopedFakeTestPartResultReporter quiet(
          ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &steps);
      outcome = runSession(mailbox);
    }
    EXPECT_FALSE(outcome.escaped) << "no failure leaves a handler";
    EXPECT_EQ(mailbox.store->pendingFailures(), 0u) << "the failing call was made";
    for (const HRESULT code : outcome.dropped) {
      EXPECT_TRUE(code == kInjected || code == E_INVALIDARG) << std::hex << code;
    }
    if (!outcome.dropped.empty()) droppedIn.insert(call);

    EXPECT_TRUE(mailbox.restKept());
    // The store holds the old script or the whole of what the data object wrote.
    const std::wstring stored = mailbox.script();
    if (stored != mailbox.original) {
      EXPECT_EQ(outcome.applied, S_OK);
      std::wstring written;
      mailbox.object->writeSieveScript(written);
      EXPECT_EQ(stored, written);
      Sieve::SieveRule* head = nullptr;
      Sieve::SieveRule::parseScript(stored, &head);
      Sieve::RulePtr owner(head);
      EXPECT_TRUE(owner) << "the stored script reads back";
    }
    if (call == Operation::SetSieveScript) {
      // Apply answers the host success all the same, and keeps the changes for another try.
      EXPECT_EQ(stored, mailbox.original);
      EXPECT_TRUE(outcome.dirtyAfter);
    }
  }
  // The folder picker's calls fail inside its dialog, and a script that could not be read
  // leaves the rules dialog without rules; each dialog drops its failure. Apply and its
  // calls come after the dialogs.
  EXPECT_EQ(droppedIn, (std::set<Operation>{Operation::GetSieveScript, Operation::GetServiceUid,
                                            Operation::OpenProperty, Operation::GetAllocator,
                                            Operation::GetFolderList}));
}

}  // namespace
