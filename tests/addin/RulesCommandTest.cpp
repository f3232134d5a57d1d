// The rules and out-of-office commands as the host reaches them: the ribbon's callbacks on
// the add-in, the module's dialogs played through the recording host, and the reference
// store behind the stand-in holding what the dialogs saved.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "addin/HostCommandDialogs.h"
#include "sieve/SieveModel.h"
#include "testing/RecordingDialogHost.h"
#include "tests/addin/UserInterfaceSupport.h"
#include "tests/ui/SieveRulesTestSupport.h"
#include "ui/FilterRulesSelectionDialog.h"
#include "ui/OutOfOfficeDialog.h"
#include "ui/SieveRulesDialog.h"
#include "ui/SieveScriptDialog.h"

namespace {

using namespace lifecycle_test;
using OutlookStandIn::StandIn;
using zelvo::addin::HostCommandDialogs;
using zelvo::addin::UserInterface;
using zelvo::testing::RecordingDialogHost;
using zelvo::testing::RecordingDialogView;
using zelvo::ui::test::keepRule;
namespace ui = zelvo::ui;

const HWND kFront = reinterpret_cast<HWND>(0x4242);
const int kChoice = ui::FilterRulesSelectionDialog::kTemplateId;
const int kRules = ui::SieveRulesDialog::kTemplateId;

void click(ui::DialogLogic& logic, ui::ControlId id) { logic.command(id, ui::notify::buttonClicked); }

// The enabled flags of the rules of a stored script, in order.
std::vector<bool> enabledFlags(const std::wstring& script) {
  Sieve::SieveRule* head = nullptr;
  Sieve::SieveRule::parseScript(script, &head);
  Sieve::RulePtr rules(head);
  std::vector<bool> flags;
  for (const Sieve::SieveRule* rule = head; rule; rule = rule->next) flags.push_back(rule->enabled);
  return flags;
}

class RulesCommand : public ::testing::Test {
 protected:
  // A started add-in over one store of ours holding script, and a foreign one; the
  // explorer shows the Inbox of ours, or the foreign store's folder.
  void start(const std::wstring& script, bool foreignFolder = false) {
    host_ = std::make_unique<StandIn>(
        OutlookStandIn::parseProfile("version 16.0.4266.1001\n" + privateStore(1, true) + foreignStore(9)));
    ReferenceStore::Mailbox mailbox = host_->store(0).mailbox();
    mailbox.script = script;
    host_->store(0).setMailbox(mailbox);
    host_->openExplorer(host_->folder(foreignFolder ? 1 : 0, L"Inbox").get());
    ui_ = UserInterface::create(registry_.config());
    ui_->setHostSteps(std::make_shared<RecordingSteps>(log_));
    ui_->setCommandDialogs(std::make_shared<HostCommandDialogs>(
        dialogs_, registry_.config(),
        [] {
          return ui::OutOfOfficeDialog::Settings{
              std::make_shared<const zelvo::timezone::ZTimeZone>(zelvo::timezone::findTimeZone("UTC")), false,
              {L"H:mm", true}};
        },
        [] { return kFront; }));
    ui_->setCommandLineSource([] { return std::wstring(L"OUTLOOK.EXE"); });
    const ComRef<IDispatch> comAddIn = host_->comAddIn(L"DravAddIn.UserInterface", L"");
    ASSERT_EQ(ui_->OnConnection(host_->application().get(), 0, comAddIn.get(), nullptr), S_OK);
  }
  // The host's click on its own rules command; whether it cancelled the host's dialog.
  bool clickRules() {
    bool cancelDefault = false;
    ui_->rulesAndAlertsCommandOnAction(nullptr, cancelDefault);
    return cancelDefault;
  }
  // The choice dialog: check sees it opened, then the user picks and ends it.
  void choose(bool serverRules, int end = ui::kIdOk, std::function<void(RecordingDialogView&)> check = {}) {
    dialogs_->script(kChoice, [=](RecordingDialogView& view, ui::DialogLogic& logic) {
      if (check) check(view);
      click(logic, serverRules ? ui::FilterRulesSelectionDialog::kServerRules
                               : ui::FilterRulesSelectionDialog::kClientRules);
      click(logic, end);
    });
  }
  std::wstring storedScript() { return host_->store(0).mailbox().script; }

  std::shared_ptr<Log> log_ = std::make_shared<Log>();
  ScopedRegistry registry_;
  AnsweringMessageBox box_{log_};
  std::shared_ptr<RecordingDialogHost> dialogs_ = std::make_shared<RecordingDialogHost>();
  std::unique_ptr<StandIn> host_;
  ComRef<UserInterface> ui_;

  void TearDown() override {
    EXPECT_EQ(dialogs_->pendingScripts(), 0u);
    for (const auto& shown : dialogs_->shown()) {
      EXPECT_TRUE(shown.failures.empty()) << shown.templateId;
      EXPECT_EQ(shown.parent, kFront) << shown.templateId;
    }
  }
};

TEST_F(RulesCommand, OkOnAChangedListSavesTheScriptOfTheStoreInFront) {
  const std::wstring script = keepRule(L"first") + keepRule(L"second");
  start(script);
  choose(true);
  dialogs_->script(kRules, [](RecordingDialogView& view, ui::DialogLogic& logic) {
    ASSERT_EQ(view.listViewCount(ui::SieveRulesDialog::kList), 2);
    view.userClickStateImage(ui::SieveRulesDialog::kList, 1);
    click(logic, ui::kIdOk);
  });
  EXPECT_TRUE(clickRules()) << "the server's rules were chosen: the host's dialog stays away";
  EXPECT_EQ(dialogs_->shownIds(), (std::vector<int>{kChoice, kRules}));
  EXPECT_EQ(enabledFlags(storedScript()), (std::vector<bool>{true, false}));
  EXPECT_NE(storedScript(), script);
  EXPECT_TRUE(box_.shown.empty());
}

TEST_F(RulesCommand, CancelAnywhereLeavesTheStoredScriptAlone) {
  const std::wstring good = keepRule(L"first") + keepRule(L"second");
  const std::wstring broken = L"if true {\r\n  keep;\r\n";
  struct Case {
    const char* name;
    std::wstring script;
    int choiceEnd;   // how the choice dialog ends
    bool rulesOpen;  // whether the rules dialog then opens (and is cancelled after a change)
  };
  const Case cases[] = {{"choice cancelled", good, ui::kIdCancel, false},
                        {"rules cancelled", good, ui::kIdOk, true},
                        {"repair declined", broken, ui::kIdOk, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    start(c.script);
    // The question whether to correct a broken script by hand comes through the dialog host.
    if (c.script == broken) dialogs_->queueAnswer(IDNO);
    choose(true, c.choiceEnd);
    if (c.rulesOpen) {
      dialogs_->script(kRules, [](RecordingDialogView& view, ui::DialogLogic& logic) {
        view.userClickStateImage(ui::SieveRulesDialog::kList, 0);
        click(logic, ui::kIdCancel);
      });
    }
    EXPECT_TRUE(clickRules()) << "no way out lets the host's dialog open";
    EXPECT_EQ(storedScript(), c.script);
    EXPECT_EQ(dialogs_->shown().size(), c.rulesOpen ? 2u : 1u);
    EXPECT_EQ(dialogs_->boxes().size(), c.script == broken ? 1u : 0u);
    for (const auto& box : dialogs_->boxes()) EXPECT_EQ(box.parent, kFront);
    EXPECT_TRUE(box_.shown.empty());
    EXPECT_TRUE(ui_->serverRulesChosen);
    EXPECT_EQ(dialogs_->pendingScripts(), 0u);
    dialogs_ = std::make_shared<RecordingDialogHost>();
    box_.shown.clear();
  }
}

TEST_F(RulesCommand, TheRememberedChoicePresetsTheNextChoiceWithoutSkippingIt) {
  start(keepRule(L"first"));
  const auto checked = [](bool server) {
    return [server](RecordingDialogView& view) {
      EXPECT_EQ(view.isChecked(ui::FilterRulesSelectionDialog::kServerRules), server);
      EXPECT_EQ(view.isChecked(ui::FilterRulesSelectionDialog::kClientRules), !server);
    };
  };
  choose(false, ui::kIdOk, checked(true));
  EXPECT_FALSE(clickRules()) << "the client's rules: the host's dialog runs";
  EXPECT_FALSE(ui_->serverRulesChosen);

  // A cancelled choice does not change what is remembered.
  choose(true, ui::kIdCancel, checked(false));
  EXPECT_TRUE(clickRules());
  EXPECT_FALSE(ui_->serverRulesChosen);

  choose(true, ui::kIdOk, checked(false));
  dialogs_->script(kRules, [](RecordingDialogView&, ui::DialogLogic& logic) { click(logic, ui::kIdOk); });
  EXPECT_TRUE(clickRules());
  EXPECT_TRUE(ui_->serverRulesChosen);
  EXPECT_EQ(dialogs_->shownIds(), (std::vector<int>{kChoice, kChoice, kChoice, kRules}))
      << "the choice is asked at every click, whatever was chosen before";
  EXPECT_EQ(enabledFlags(storedScript()), std::vector<bool>{true});
}

// The host's rules command in a folder of another provider, and its new-rule command
// anywhere: the warning, then the host's own dialog.
struct WarningCase {
  const char* name;
  bool foreignFolder;
  bool createMailRule;
};

class RulesWarning : public RulesCommand, public ::testing::WithParamInterface<WarningCase> {};

TEST_P(RulesWarning, TheClientsRulesOnOurStoresAreWarnedAboutUntilTheTickBoxSaysNo) {
  const WarningCase& c = GetParam();
  start(keepRule(L"first"), c.foreignFolder);
  box_.tick = true;
  const auto command = [&] {
    bool cancelDefault = true;
    if (c.createMailRule) {
      ui_->createMailRuleCommandOnAction(nullptr, cancelDefault);
    } else {
      ui_->rulesAndAlertsCommandOnAction(nullptr, cancelDefault);
    }
    return cancelDefault;
  };
  EXPECT_FALSE(command());
  ASSERT_EQ(box_.shown.size(), 1u);
  EXPECT_EQ(box_.shown[0].style, static_cast<UINT>(MB_OK | MB_ICONEXCLAMATION));
  EXPECT_NE(box_.shown[0].text.find(L"\n\n"), std::wstring::npos);
  EXPECT_EQ(zelvo::config::getDontInformRulesNotWorking(registry_.config()), 1u);
  EXPECT_FALSE(command()) << "the tick box keeps the warning away";
  EXPECT_EQ(box_.shown.size(), 1u);
  EXPECT_TRUE(dialogs_->shown().empty());
}

INSTANTIATE_TEST_SUITE_P(Commands, RulesWarning,
                         ::testing::Values(WarningCase{"RulesInAForeignFolder", true, false},
                                           WarningCase{"NewRuleInOurFolder", false, true}),
                         [](const ::testing::TestParamInfo<WarningCase>& info) { return info.param.name; });

TEST_F(RulesCommand, AScriptThatDoesNotParseIsRepairedFirstAndTheRepairIsSaved) {
  start(L"if true {\r\n  keep;\r\n");
  dialogs_->queueAnswer(IDYES);  // correct it by hand
  choose(true);
  dialogs_->script(ui::SieveScriptDialog::kTemplateId, [](RecordingDialogView& view, ui::DialogLogic& logic) {
    view.setText(ui::SieveScriptDialog::kEdit, L"if true {\r\n  keep;\r\n}\r\n");
    click(logic, ui::kIdOk);
  });
  dialogs_->script(kRules, [](RecordingDialogView& view, ui::DialogLogic& logic) {
    EXPECT_EQ(view.listViewCount(ui::SieveRulesDialog::kList), 1);
    click(logic, ui::kIdOk);
  });
  EXPECT_TRUE(clickRules());
  EXPECT_EQ(dialogs_->shownIds(), (std::vector<int>{kChoice, ui::SieveScriptDialog::kTemplateId, kRules}));
  ASSERT_EQ(dialogs_->boxes().size(), 1u);
  EXPECT_EQ(dialogs_->boxes()[0].message.style, static_cast<UINT>(MB_YESNO | MB_ICONEXCLAMATION));
  EXPECT_EQ(enabledFlags(storedScript()), std::vector<bool>{true});
}

TEST_F(RulesCommand, OutOfOfficeOkWritesTheReplyToTheStoreInFrontAndCancelDoesNot) {
  start(keepRule(L"first"));
  dialogs_->script(ui::OutOfOfficeDialog::kTemplateId, [](RecordingDialogView& view, ui::DialogLogic& logic) {
    view.setText(ui::OutOfOfficeDialog::kMessage, L"I am away");
    view.checkRadio(ui::OutOfOfficeDialog::kOn, ui::OutOfOfficeDialog::kOff, ui::OutOfOfficeDialog::kOff);
    click(logic, ui::kIdCancel);
  });
  ui_->commandOutOfOffice();
  EXPECT_EQ(storedScript(), keepRule(L"first"));

  dialogs_->script(ui::OutOfOfficeDialog::kTemplateId, [](RecordingDialogView& view, ui::DialogLogic& logic) {
    view.checkRadio(ui::OutOfOfficeDialog::kOn, ui::OutOfOfficeDialog::kOff, ui::OutOfOfficeDialog::kOn);
    view.setText(ui::OutOfOfficeDialog::kMessage, L"I am away");
    click(logic, ui::kIdOk);
  });
  ui_->commandOutOfOffice();
  const std::wstring stored = storedScript();
  EXPECT_NE(stored.find(L"__WebmailAutoreply__"), std::wstring::npos) << zelvo::testing::utf8(stored);
  EXPECT_NE(stored.find(L"I am away"), std::wstring::npos) << zelvo::testing::utf8(stored);
  EXPECT_EQ(enabledFlags(stored), (std::vector<bool>{true, true}));
}

}  // namespace
