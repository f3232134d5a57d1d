// The rules command of the add-in on the module's own templates and real controls: the
// host's click opens the rule kind choice and then the rules list of the store in front,
// and what the user changed there reaches the reference store behind the host stand-in.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "addin/HostCommandDialogs.h"
#include "tests/addin/UserInterfaceSupport.h"
#include "tests/ui/SieveRulesTestSupport.h"
#include "ui/FilterRulesSelectionDialog.h"
#include "ui/SieveRulesDialog.h"
#include "win32/Win32DialogHost.h"

namespace {

using namespace lifecycle_test;
using zelvo::addin::HostCommandDialogs;
using zelvo::addin::UserInterface;
using zelvo::ui::test::keepRule;
using zelvo::win32::Win32DialogHost;
namespace ui = zelvo::ui;

void click(HWND dialog, ui::ControlId id) {
  SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)));
}

void selectOnly(HWND list, int row) {
  LVITEMW state{};
  state.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
  SendMessageW(list, LVM_SETITEMSTATE, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(&state));
  state.state = LVIS_SELECTED | LVIS_FOCUSED;
  SendMessageW(list, LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&state));
}

TEST(RulesCommandOnWindows, TheChoiceThenTheRulesListOnTheRealControlsSaveTheMovedRule) {
  ScopedRegistry registry;
  auto log = std::make_shared<Log>();
  AnsweringMessageBox box(log);
  OutlookStandIn::StandIn host(
      OutlookStandIn::parseProfile("version 16.0.4266.1001\n" + privateStore(1, true)));
  ReferenceStore::Mailbox mailbox = host.store(0).mailbox();
  mailbox.script = keepRule(L"A") + keepRule(L"B");
  host.store(0).setMailbox(mailbox);
  host.openExplorer(host.folder(0, L"Inbox").get());

  auto dialogs = std::make_shared<Win32DialogHost>();
  std::vector<HRESULT> failures;
  dialogs->setFailureSink([&failures](HRESULT code, const std::wstring&) { failures.push_back(code); });
  std::vector<std::string> seen;
  // Each dialog is told by a control of its own; an unknown one is cancelled.
  dialogs->onShown([&seen](HWND dialog, zelvo::win32::Win32DialogView&, ui::DialogLogic&) {
    if (GetDlgItem(dialog, ui::FilterRulesSelectionDialog::kServerRules)) {
      seen.push_back(IsDlgButtonChecked(dialog, ui::FilterRulesSelectionDialog::kServerRules) == BST_CHECKED
                         ? "choice, server checked"
                         : "choice, client checked");
      SendMessageW(GetDlgItem(dialog, ui::FilterRulesSelectionDialog::kServerRules), BM_CLICK, 0, 0);
      click(dialog, ui::kIdOk);
    } else if (GetDlgItem(dialog, ui::SieveRulesDialog::kList)) {
      seen.push_back("rules");
      selectOnly(GetDlgItem(dialog, ui::SieveRulesDialog::kList), 0);
      click(dialog, ui::SieveRulesDialog::kMoveDown);
      click(dialog, ui::kIdOk);
    } else {
      seen.push_back("other");
      click(dialog, ui::kIdCancel);
    }
  });

  auto ui = UserInterface::create(registry.config());
  ui->setHostSteps(std::make_shared<RecordingSteps>(log));
  ui->setCommandDialogs(std::make_shared<HostCommandDialogs>(dialogs, registry.config(),
                                                             HostCommandDialogs::OutOfOfficeSettings{},
                                                             [] { return HWND{}; }));
  ui->setCommandLineSource([] { return std::wstring(L"OUTLOOK.EXE"); });
  const ComRef<IDispatch> comAddIn = host.comAddIn(L"DravAddIn.UserInterface", L"");
  ASSERT_EQ(ui->OnConnection(host.application().get(), 0, comAddIn.get(), nullptr), S_OK);

  ui->serverRulesChosen = false;
  bool cancelDefault = false;
  ui->rulesAndAlertsCommandOnAction(nullptr, cancelDefault);
  EXPECT_TRUE(cancelDefault);
  EXPECT_EQ(seen, (std::vector<std::string>{"choice, client checked", "rules"}));
  EXPECT_TRUE(ui->serverRulesChosen) << "the radio button clicked on the real control";
  EXPECT_TRUE(failures.empty());
  EXPECT_EQ(host.store(0).mailbox().script, keepRule(L"B") + keepRule(L"A"));
  EXPECT_TRUE(box.shown.empty());
  ui->releaseHostObjects();
}

}  // namespace
