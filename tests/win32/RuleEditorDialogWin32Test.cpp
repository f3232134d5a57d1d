// The rule editor on its own template with the real controls: the check boxes of the list
// views as the common controls draw and report them, and the description's rich edit.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/Win32.h"

#include <commctrl.h>
#include <richedit.h>

#include "sieve/SieveModel.h"
#include "sieve/SieveTables.h"
#include "ui/RuleEditorDialog.h"
#include "win32/Win32DialogHost.h"

namespace {

using zelvo::ui::RuleEditorDialog;

class FolderLink : public zelvo::ui::RuleDescriptionHost {
 public:
  bool editLink(Sieve::LinkKind kind, Sieve::SieveTest*, Sieve::SieveRule* rule, HWND) override {
    kinds.push_back(kind);
    if (kind != Sieve::LinkKind::FileInto) return false;
    rule->argument = L"Archive";
    return true;
  }
  std::vector<Sieve::LinkKind> kinds;
};

std::wstring className(HWND window) {
  wchar_t name[64] = {};
  GetClassNameW(window, name, 64);
  return name;
}

std::wstring windowText(HWND window) {
  std::vector<wchar_t> text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1);
  GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
  return text.data();
}

int stateImage(HWND list, int row) {
  return static_cast<int>(
      (SendMessageW(list, LVM_GETITEMSTATE, static_cast<WPARAM>(row), LVIS_STATEIMAGEMASK) & LVIS_STATEIMAGEMASK) >>
      12);
}

// What a click on a check box does to the row: the control changes the state image and
// reports the change to the dialog.
void setStateImage(HWND list, int row, int image) {
  LVITEMW item{};
  item.stateMask = LVIS_STATEIMAGEMASK;
  item.state = static_cast<UINT>(image) << 12;
  SendMessageW(list, LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

TEST(RuleEditorDialogWin32, ChecksOnTheRealListsBuildTheRuleAndItsLinks) {
  Sieve::RulePtr rule(new Sieve::SieveRule(Sieve::RuleKind::If, nullptr));
  rule->enabled = true;
  FolderLink links;
  zelvo::win32::Win32DialogHost host;
  std::vector<std::wstring> failures;
  host.setFailureSink([&](HRESULT, const std::wstring& text) { failures.push_back(text); });

  host.onShown([&](HWND dialog, zelvo::win32::Win32DialogView&, zelvo::ui::DialogLogic&) {
    HWND conditions = GetDlgItem(dialog, RuleEditorDialog::kConditions);
    HWND actions = GetDlgItem(dialog, RuleEditorDialog::kActions);
    HWND description = GetDlgItem(dialog, RuleEditorDialog::kDescription);
    ASSERT_NE(conditions, nullptr);
    ASSERT_NE(actions, nullptr);
    ASSERT_NE(description, nullptr);
    EXPECT_EQ(className(conditions), WC_LISTVIEWW);
    EXPECT_EQ(className(description), L"RichEdit20W");
    EXPECT_EQ(SendMessageW(conditions, LVM_GETITEMCOUNT, 0, 0), 10);
    EXPECT_EQ(SendMessageW(actions, LVM_GETITEMCOUNT, 0, 0), 9);
    EXPECT_TRUE(SendMessageW(conditions, LVM_GETEXTENDEDLISTVIEWSTYLE, 0, 0) & LVS_EX_CHECKBOXES);
    // Every condition and action in sight at the template's size, and no list scrolls
    // sideways: its one column fits inside the list as the items left it.
    for (HWND list : {conditions, actions}) {
      EXPECT_GE(SendMessageW(list, LVM_GETCOUNTPERPAGE, 0, 0), SendMessageW(list, LVM_GETITEMCOUNT, 0, 0));
      RECT client{};
      GetClientRect(list, &client);
      EXPECT_LE(SendMessageW(list, LVM_GETCOLUMNWIDTH, 0, 0), client.right);
      EXPECT_FALSE(GetWindowLongPtrW(list, GWL_STYLE) & WS_HSCROLL);
    }

    // All messages: the other nine show no check box, and one the user toggles goes back.
    setStateImage(conditions, 9, RuleEditorDialog::kChecked);
    for (int row = 0; row < 9; ++row) EXPECT_EQ(stateImage(conditions, row), RuleEditorDialog::kDisabled) << row;
    setStateImage(conditions, 1, RuleEditorDialog::kUnchecked);
    EXPECT_EQ(stateImage(conditions, 1), RuleEditorDialog::kDisabled);

    // Keep rules out Discard; a fileinto asks for its folder.
    setStateImage(actions, 3, RuleEditorDialog::kChecked);
    EXPECT_EQ(stateImage(actions, 4), RuleEditorDialog::kDisabled);
    setStateImage(actions, 0, RuleEditorDialog::kChecked);
    std::wstring text = windowText(description);
    EXPECT_NE(text.find(L"on all messages"), std::wstring::npos) << text;
    const std::size_t folder = text.find(L"specified");
    ASSERT_NE(folder, std::wstring::npos) << text;

    // A click on the folder's link, as the control reports it.
    ENLINK click{};
    click.nmhdr.hwndFrom = description;
    click.nmhdr.idFrom = RuleEditorDialog::kDescription;
    click.nmhdr.code = EN_LINK;
    click.msg = WM_LBUTTONUP;
    click.chrg.cpMin = click.chrg.cpMax = static_cast<LONG>(folder) + 1;
    SendMessageW(dialog, WM_NOTIFY, RuleEditorDialog::kDescription, reinterpret_cast<LPARAM>(&click));
    text = windowText(description);
    EXPECT_NE(text.find(L"move it to the Archive folder"), std::wstring::npos) << text;

    SetDlgItemTextW(dialog, RuleEditorDialog::kName, L"  Everything ");
    SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), 0);
  });

  const int result = host.runModal(RuleEditorDialog::kTemplateId, nullptr, [&](zelvo::ui::DialogView& view) {
    return std::make_unique<RuleEditorDialog>(view, *rule, &links, nullptr);
  });
  EXPECT_EQ(result, zelvo::ui::kIdOk);
  EXPECT_TRUE(failures.empty()) << (failures.empty() ? "" : std::string(failures[0].begin(), failures[0].end()));
  EXPECT_EQ(links.kinds, std::vector<Sieve::LinkKind>{Sieve::LinkKind::FileInto});
  EXPECT_EQ(rule->name, L"Everything");
  ASSERT_NE(rule->test, nullptr);
  EXPECT_EQ(rule->test->kind, Sieve::TestKind::True);
  ASSERT_NE(rule->thenBlock, nullptr);
  EXPECT_EQ(rule->thenBlock->kind, Sieve::RuleKind::FileInto);
  EXPECT_EQ(rule->thenBlock->argument, L"Archive");
  ASSERT_NE(rule->thenBlock->next, nullptr);
  EXPECT_EQ(rule->thenBlock->next->kind, Sieve::RuleKind::Keep);
}

}  // namespace
