// The rules dialogs on their own templates and real controls, under the modal base: the
// rows of the virtual list as the list view asks for them, the buttons, the script editor's
// text and the rule kind choice, down to what OK leaves behind.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/ui/SieveRulesTestSupport.h"
#include "ui/FilterRulesSelectionDialog.h"
#include "ui/SieveRulesDialog.h"
#include "ui/SieveScriptDialog.h"
#include "win32/Win32DialogHost.h"

namespace {

using namespace zelvo::ui;
using zelvo::ui::test::keepRule;
using zelvo::ui::test::kJunkEmailRule;
using zelvo::win32::Win32DialogHost;
using zelvo::win32::Win32DialogView;

// Acts on the first dialog that shows, then closes it with Cancel unless the body ended it.
void actOnShown(Win32DialogHost& host, const std::function<void(HWND, DialogLogic&)>& body) {
  auto done = std::make_shared<bool>(false);
  host.onShown([body, done](HWND dialog, Win32DialogView&, DialogLogic& logic) {
    if (*done) return;
    *done = true;
    struct Closer {
      HWND dialog;
      ~Closer() { PostMessageW(dialog, WM_COMMAND, MAKEWPARAM(kIdCancel, BN_CLICKED), 0); }
    } closer{dialog};
    body(dialog, logic);
  });
}

void click(HWND dialog, ControlId id) {
  SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)));
}

std::wstring windowText(HWND window) {
  std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
  text.resize(static_cast<std::size_t>(GetWindowTextW(window, &text[0], static_cast<int>(text.size()))));
  return text;
}

// The rows of a list view as the control shows them; a virtual list asks its dialog.
std::vector<std::wstring> listRows(HWND list) {
  std::vector<std::wstring> rows;
  const int count = static_cast<int>(SendMessageW(list, LVM_GETITEMCOUNT, 0, 0));
  for (int row = 0; row < count; ++row) {
    wchar_t buffer[256] = {};
    LVITEMW item{};
    item.iSubItem = 0;
    item.pszText = buffer;
    item.cchTextMax = 256;
    SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
    rows.emplace_back(buffer);
  }
  return rows;
}

class RulesDialogsOnWindows : public zelvo::ui::test::MailboxFixture {
 protected:
  Win32DialogHost host;
  std::vector<HRESULT> failures;
  void SetUp() override {
    host.setFailureSink([this](HRESULT code, const std::wstring&) { failures.push_back(code); });
  }
};

TEST_F(RulesDialogsOnWindows, TheRulesListShowsItsRowsAndMovesOneOnTheRealControls) {
  ASSERT_EQ(openMailbox(keepRule(L"A") + kJunkEmailRule + keepRule(L"B")), S_OK);
  std::vector<std::wstring> before, after;
  bool editOnReserved = true, editOnRule = false;
  actOnShown(host, [&](HWND dialog, DialogLogic&) {
    HWND list = GetDlgItem(dialog, SieveRulesDialog::kList);
    before = listRows(list);
    editOnReserved = IsWindowEnabled(GetDlgItem(dialog, SieveRulesDialog::kEdit)) != FALSE;
    // The last row selected as a click would, then moved up.
    LVITEMW state{};
    state.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
    state.state = 0;
    SendMessageW(list, LVM_SETITEMSTATE, static_cast<WPARAM>(-1), reinterpret_cast<LPARAM>(&state));
    state.state = LVIS_SELECTED | LVIS_FOCUSED;
    SendMessageW(list, LVM_SETITEMSTATE, 2, reinterpret_cast<LPARAM>(&state));
    editOnRule = IsWindowEnabled(GetDlgItem(dialog, SieveRulesDialog::kEdit)) != FALSE;
    click(dialog, SieveRulesDialog::kMoveUp);
    after = listRows(list);
    click(dialog, kIdOk);
  });
  const int result = host.runModal(SieveRulesDialog::kTemplateId, nullptr, [&](DialogView& view) {
    return std::make_unique<SieveRulesDialog>(view, properties(), host, SieveRulesDialog::ruleEditor(nullptr, nullptr));
  });
  EXPECT_EQ(result, kIdOk);
  EXPECT_TRUE(failures.empty());
  EXPECT_EQ(before, (std::vector<std::wstring>{L"Junk e-mail filter", L"A", L"B"}));
  EXPECT_FALSE(editOnReserved);
  EXPECT_TRUE(editOnRule);
  EXPECT_EQ(after, (std::vector<std::wstring>{L"Junk e-mail filter", L"B", L"A"}));
  applyWhenDirty();
  EXPECT_EQ(storedScript(), kJunkEmailRule + keepRule(L"B") + keepRule(L"A"));
}

TEST_F(RulesDialogsOnWindows, TheScriptEditorShowsTheTextWithItsLineBreaksAndParsesItOnOk) {
  std::wstring shown;
  SieveScriptDialog::Result result;
  actOnShown(host, [&](HWND dialog, DialogLogic&) {
    shown = windowText(GetDlgItem(dialog, SieveScriptDialog::kEdit));
    click(dialog, kIdOk);
  });
  const int ended = host.runModal(SieveScriptDialog::kTemplateId, nullptr, [&](DialogView& view) {
    return std::make_unique<SieveScriptDialog>(view, L"#!1 A\nif true {\n  keep;\n}\n", true, false, &result);
  });
  EXPECT_EQ(ended, kIdOk);
  EXPECT_EQ(shown, L"#!1 A\r\nif true {\r\n  keep;\r\n}\r\n");
  ASSERT_NE(result.rules, nullptr);
  EXPECT_EQ(result.rules->name, L"A");
}

TEST_F(RulesDialogsOnWindows, TheRuleKindChoiceFollowsTheRadioButtons) {
  bool serverChecked = false, clientChecked = true;
  std::wstring label;
  FilterRulesSelectionDialog* choice = nullptr;
  bool chosen = true;
  actOnShown(host, [&](HWND dialog, DialogLogic& logic) {
    choice = dynamic_cast<FilterRulesSelectionDialog*>(&logic);
    serverChecked = IsDlgButtonChecked(dialog, FilterRulesSelectionDialog::kServerRules) == BST_CHECKED;
    clientChecked = IsDlgButtonChecked(dialog, FilterRulesSelectionDialog::kClientRules) == BST_CHECKED;
    label = windowText(GetDlgItem(dialog, FilterRulesSelectionDialog::kLabel));
    SendMessageW(GetDlgItem(dialog, FilterRulesSelectionDialog::kClientRules), BM_CLICK, 0, 0);
    if (choice) chosen = choice->useServerRules();
    click(dialog, kIdOk);
  });
  const int ended = host.runModal(FilterRulesSelectionDialog::kTemplateId, nullptr, [](DialogView& view) {
    return std::make_unique<FilterRulesSelectionDialog>(view, true);
  });
  EXPECT_EQ(ended, 1);
  EXPECT_TRUE(serverChecked);
  EXPECT_FALSE(clientChecked);
  EXPECT_NE(label.find(L"Which rules do you want to manage?"), std::wstring::npos);
  EXPECT_NE(choice, nullptr);
  EXPECT_FALSE(chosen);
}

}  // namespace
