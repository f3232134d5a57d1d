// A mailbox whose script does not parse, opened with a user present: the message, the
// script dialog, and the status the rule set ends in, down to what the next save stores.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SieveRulesTestSupport.h"
#include "testing/RecordingDialogHost.h"
#include "ui/ScriptRepair.h"
#include "ui/SieveScriptDialog.h"

namespace {

using zelvo::testing::RecordingDialogHost;
using zelvo::testing::RecordingDialogView;
using zelvo::ui::DialogLogic;
using zelvo::ui::ScriptRepair;
using zelvo::ui::SieveScriptDialog;
using zelvo::ui::test::keepRule;
namespace mb = zelvo::ui::mb;
namespace notify = zelvo::ui::notify;

constexpr auto kEdit = SieveScriptDialog::kEdit;
constexpr int kScriptId = SieveScriptDialog::kTemplateId;

// The block is never closed: the reader runs out of text on line 5.
const std::wstring kBroken = L"#!1 Open\r\nif true \r\n{\r\n  keep;\r\n";
const std::wstring kUnreadable = L"The filter rules stored on the server cannot be read.";
const std::wstring kAskFix = L"Do you want to correct the script by hand?";
const HWND kParent = reinterpret_cast<HWND>(static_cast<LONG_PTR>(0x4242));

class ScriptRepairTest : public zelvo::ui::test::MailboxFixture {
 protected:
  RecordingDialogHost host;
  ScriptRepair repair{host};

  // The mailbox as the client loads it, no user asked; then the repair is put in place.
  void openBroken() {
    EXPECT_EQ(openMailbox(kBroken), S_FALSE) << "the rule set fails to load, quietly";
    EXPECT_EQ(object->getSieveStatus(), Sieve::SieveStatus::NotLoaded);
    EXPECT_TRUE(host.boxes().empty());
    object->setScriptRepair(&repair);
  }
  // What a dialog that needs the rules does first.
  HRESULT validate() {
    return datatest::call(data(), L"ValidateSieveScript",
                          {Variant::fromInt32(static_cast<LONG>(reinterpret_cast<LONG_PTR>(kParent)))});
  }
};

TEST_F(ScriptRepairTest, ACorrectedScriptIsRepairedAndStoredByTheNextSave) {
  openBroken();
  host.queueAnswer(zelvo::ui::kIdYes);
  host.script(kScriptId, [](RecordingDialogView& view, DialogLogic& logic) {
    EXPECT_EQ(view.getText(kEdit), kBroken) << "the stored text as it is";
    view.setText(kEdit, L"#!1 Open\r\nif true {\r\n  keep;\r\n}\r\n#!1 Second\r\nif true {\r\n  stop;\r\n}\r\n");
    logic.command(zelvo::ui::kIdOk, notify::buttonClicked);
  });
  EXPECT_EQ(validate(), S_OK);

  ASSERT_EQ(host.boxes().size(), 1u);
  const RecordingDialogHost::Box& box = host.boxes()[0];
  EXPECT_EQ(box.parent, kParent);
  EXPECT_EQ(box.message.text, kUnreadable + L"\n\nLine 5: premature end of script inside block\n\n" + kAskFix);
  EXPECT_EQ(box.message.caption, L"Zelvo Mail Bridge");
  EXPECT_EQ(box.message.style, mb::yesNo | mb::iconExclamation);
  ASSERT_EQ(host.shown().size(), 1u);
  EXPECT_EQ(host.shown()[0].parent, kParent);

  EXPECT_EQ(object->getSieveStatus(), Sieve::SieveStatus::Repaired);
  EXPECT_EQ(storedScript(), kBroken) << "nothing is stored before the save";
  EXPECT_TRUE(datatest::get(data(), L"Dirty").toBool());
  applyWhenDirty();
  // The writer's form of what was typed, several rules allowed.
  EXPECT_EQ(storedScript(), keepRule(L"Open") + zelvo::ui::test::ruleText(L"Second", L"true", L"  stop;\r\n"));
  EXPECT_EQ(object->getSieveStatus(), Sieve::SieveStatus::Loaded);
  EXPECT_EQ(validate(), S_OK) << "a loaded set is not checked again";
  EXPECT_EQ(host.boxes().size(), 1u);
}

TEST_F(ScriptRepairTest, AnEmptiedScriptIsRepairedToNoRules) {
  openBroken();
  host.queueAnswer(zelvo::ui::kIdYes);
  host.script(kScriptId, [](RecordingDialogView& view, DialogLogic& logic) {
    view.queueAnswer(zelvo::ui::kIdYes);
    view.setText(kEdit, L"");
    logic.command(zelvo::ui::kIdOk, notify::buttonClicked);
  });
  EXPECT_EQ(validate(), S_OK);
  EXPECT_EQ(object->getSieveStatus(), Sieve::SieveStatus::Repaired);
  EXPECT_EQ(object->getRules(false), nullptr);
  applyWhenDirty();
  EXPECT_EQ(storedScript(), L"");
}

struct RefusalCase {
  int answer;            // to the question
  bool dialogCancelled;  // the script dialog runs and is cancelled
  HRESULT result;
};

class ScriptRepairRefused : public ScriptRepairTest, public ::testing::WithParamInterface<RefusalCase> {};

TEST_P(ScriptRepairRefused, LeavesTheSetUnloadedAndTheStoredScriptAlone) {
  openBroken();
  host.queueAnswer(GetParam().answer);
  if (GetParam().dialogCancelled) {
    host.script(kScriptId, [](RecordingDialogView& view, DialogLogic& logic) {
      view.setText(kEdit, keepRule(L"Typed"));
      logic.command(zelvo::ui::kIdCancel, notify::buttonClicked);
    });
  }
  EXPECT_EQ(validate(), GetParam().result);
  EXPECT_EQ(host.boxes().size(), 1u);
  EXPECT_EQ(host.shown().size(), GetParam().dialogCancelled ? 1u : 0u);
  EXPECT_EQ(object->getSieveStatus(), Sieve::SieveStatus::NotLoaded);
  EXPECT_FALSE(datatest::get(data(), L"Dirty").toBool());
  EXPECT_EQ(datatest::call(data(), L"Apply"), S_OK);
  EXPECT_EQ(storedScript(), kBroken);
}

INSTANTIATE_TEST_SUITE_P(Ways, ScriptRepairRefused,
                         ::testing::Values(RefusalCase{zelvo::ui::kIdNo, false, E_FAIL},
                                           RefusalCase{zelvo::ui::kIdYes, true, E_ABORT}));

TEST_F(ScriptRepairTest, AScriptThatStillDoesNotParseKeepsTheDialogOpen) {
  openBroken();
  host.queueAnswer(zelvo::ui::kIdYes);
  host.script(kScriptId, [](RecordingDialogView& view, DialogLogic& logic) {
    logic.command(zelvo::ui::kIdOk, notify::buttonClicked);  // unchanged: fails again
    EXPECT_FALSE(view.result().has_value());
    view.setText(kEdit, keepRule(L"Fixed"));
    logic.command(zelvo::ui::kIdOk, notify::buttonClicked);
  });
  EXPECT_EQ(validate(), S_OK);
  ASSERT_EQ(host.shown().size(), 1u);
  ASSERT_EQ(host.shown()[0].messages.size(), 1u);
  EXPECT_EQ(host.shown()[0].messages[0].style, mb::ok | mb::iconError) << "no question inside the dialog";
  applyWhenDirty();
  EXPECT_EQ(storedScript(), keepRule(L"Fixed"));
}

}  // namespace
