// The templates of the out-of-office reply, its question and the trusted senders, opened
// by their logic over real controls: every id the logic uses is in its template, and what
// the controls hold comes back through them.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "../ui/RulesMailServerOptions.h"
#include "calendar/TimeZone.h"
#include "sieve/SieveRules.h"
#include "store/reference/ReferenceStore.h"
#include "ui/OutOfOfficeDialog.h"
#include "ui/TrustedSendersDialog.h"
#include "ui/WarningQuestionDialog.h"
#include "win32/Win32DialogHost.h"

namespace {

using zelvo::ui::OutOfOfficeDialog;
using zelvo::ui::TrustedSendersDialog;
using zelvo::ui::WarningQuestionDialog;
using zelvo::win32::Win32DialogHost;
using zelvo::win32::Win32DialogView;
using Dlg = OutOfOfficeDialog;

// A button click as the dialog procedure gets it from the control.
void clickButton(HWND dialog, int id) {
  SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)));
}

int windowHeight(HWND window) {
  RECT rect{};
  GetWindowRect(window, &rect);
  return rect.bottom - rect.top;
}

class TemplateTest : public ::testing::Test {
 protected:
  void SetUp() override {
    config = store.globalConfig();
    rules.loadSieveScript(config.get(), false, nullptr);
    host.setFailureSink([this](HRESULT code, const std::wstring&) { failures.push_back(code); });
  }

  ReferenceStore::Store store;
  ComRef<IGlobalConfig> config;
  Sieve::SieveRules rules;
  zelvo::ui::test::RulesMailServerOptions options{rules};
  Win32DialogHost host;
  std::vector<HRESULT> failures;
};

TEST_F(TemplateTest, TheOutOfOfficeReplyUnfoldsItsPanelAndReadsThePickers) {
  Sieve::OutOfOfficeParams record;
  options.getOutOfOffice(record);
  record.enabled = true;
  record.rangeEnabled = true;
  record.rangeStart = {2015, 11, 0, 5, 8, 0, 0, 0};  // 09:00 in Berlin
  record.rangeEnd = {2015, 11, 0, 6, 16, 30, 0, 0};
  const Dlg::Settings settings{
      std::make_shared<const zelvo::timezone::ZTimeZone>(zelvo::timezone::findTimeZone(std::string("Europe/Berlin"))),
      true,
      {L"H:mm", true}};
  std::vector<int> missing;
  int folded = 0;
  int unfolded = 0;
  int panel = 0;
  int marginUnderCancel = 0;
  int margin = 0;
  bool panelVisibleFolded = true;
  SYSTEMTIME shownStart{};
  host.onShown([&](HWND dialog, Win32DialogView& view, zelvo::ui::DialogLogic&) {
    for (const int id : {Dlg::kOn, Dlg::kOff, Dlg::kMessage, Dlg::kDefaultMessage, Dlg::kRangeEnabled, Dlg::kStartLabel,
                         Dlg::kStartDate, Dlg::kStartTime, Dlg::kEndLabel, Dlg::kEndDate, Dlg::kEndTime, Dlg::kFold,
                         Dlg::kExternalEnabled, Dlg::kExternalBody, Dlg::kExternalDefaultMessage,
                         Dlg::kExternalBodyLabel, Dlg::kKnownContactsOnly, Dlg::kEverybody})
      if (!GetDlgItem(dialog, id)) missing.push_back(id);
    view.dateTimeGet(Dlg::kStartTime, shownStart);
    folded = windowHeight(dialog);
    panel = view.dialogUnitsToPixels({0, 0, 0, Dlg::kPanelExtent}).bottom;
    margin = view.dialogUnitsToPixels({0, 0, 0, 6}).bottom;
    RECT client{};
    GetClientRect(dialog, &client);
    marginUnderCancel = client.bottom - view.controlRect(IDCANCEL).bottom;
    panelVisibleFolded = IsWindowVisible(GetDlgItem(dialog, Dlg::kExternalEnabled)) != FALSE;
    clickButton(dialog, Dlg::kFold);
    unfolded = windowHeight(dialog);
    SetDlgItemTextW(dialog, Dlg::kExternalBody, L"Ask the front desk.");
    CheckDlgButton(dialog, Dlg::kExternalEnabled, BST_CHECKED);
    clickButton(dialog, Dlg::kExternalEnabled);
    const SYSTEMTIME end{2015, 11, 0, 6, 18, 45, 0, 0};
    view.dateTimeSet(Dlg::kEndTime, &end);
    clickButton(dialog, IDOK);
  });
  const int result = host.runModal(Dlg::kTemplateId, nullptr, [&](zelvo::ui::DialogView& view) {
    return std::make_unique<OutOfOfficeDialog>(view, config.get(), record, host, settings);
  });
  EXPECT_EQ(result, zelvo::ui::kIdOk);
  EXPECT_TRUE(missing.empty()) << missing.size() << " controls missing, the first " << std::hex << missing[0];
  EXPECT_EQ(shownStart.wHour, 9);
  EXPECT_EQ(unfolded - folded, panel);
  EXPECT_NEAR(marginUnderCancel, margin, 1) << "folded, the buttons keep their margin to the bottom edge";
  EXPECT_FALSE(panelVisibleFolded);
  EXPECT_EQ(record.rangeEnd.wHour, 17);  // 18:45 in Berlin
  EXPECT_EQ(record.rangeEnd.wMinute, 45);
  EXPECT_TRUE(record.externalSupported);
  EXPECT_TRUE(record.externalEnabled);
  EXPECT_EQ(record.externalBody, L"Ask the front desk.");
  EXPECT_TRUE(failures.empty());
}

TEST_F(TemplateTest, TheWarningQuestionHidesOkWithoutAConfirmText) {
  bool okVisible = true;
  LRESULT defaultId = 0;
  std::wstring cancelText;
  host.onShown([&](HWND dialog, Win32DialogView& view, zelvo::ui::DialogLogic&) {
    okVisible = IsWindowVisible(GetDlgItem(dialog, IDOK)) != FALSE;
    defaultId = LOWORD(SendMessageW(dialog, DM_GETDEFID, 0, 0));
    cancelText = view.getText(IDCANCEL);
    EXPECT_EQ(view.getText(WarningQuestionDialog::kMessage), L"Something goes.");
    clickButton(dialog, IDCANCEL);
  });
  const int result = host.runModal(WarningQuestionDialog::kTemplateId, nullptr, [](zelvo::ui::DialogView& view) {
    return std::make_unique<WarningQuestionDialog>(view, L"", L"Something goes.", L"", L"Keep");
  });
  EXPECT_EQ(result, zelvo::ui::kIdCancel);
  EXPECT_FALSE(okVisible);
  EXPECT_EQ(defaultId, IDCANCEL) << "Enter must not confirm";
  EXPECT_EQ(cancelText, L"Keep");
  EXPECT_TRUE(failures.empty());
}

TEST_F(TemplateTest, TrustedSendersKeepsTheOrderOfItsList) {
  options.setJunkEmailTrustedSenders({L"zeta@example.org", L"alpha@example.org"});
  host.onShown([&](HWND dialog, Win32DialogView& view, zelvo::ui::DialogLogic&) {
    EXPECT_NE(GetDlgItem(dialog, TrustedSendersDialog::kIcon), nullptr);
    SetDlgItemTextW(dialog, TrustedSendersDialog::kEdit, L" middle@example.org ");
    EXPECT_TRUE(view.isEnabled(TrustedSendersDialog::kAdd));
    clickButton(dialog, TrustedSendersDialog::kAdd);
    clickButton(dialog, IDOK);
  });
  const int result = host.runModal(TrustedSendersDialog::kTemplateId, nullptr, [&](zelvo::ui::DialogView& view) {
    return std::make_unique<TrustedSendersDialog>(view, options, nullptr);
  });
  EXPECT_EQ(result, zelvo::ui::kIdOk);
  EXPECT_EQ(rules.getJunkEmailTrustedSenders(),
            (std::vector<std::wstring>{L"zeta@example.org", L"alpha@example.org", L"middle@example.org"}));
  EXPECT_TRUE(failures.empty());
}

}  // namespace
