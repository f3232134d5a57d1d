// The user's session with the sample mailbox's rules on the real dialogs: the module's
// templates under the modal base, driven by the window messages a user's clicks and keys
// send, one dialog inside the modal loop of the other. It ends in the script that the run
// over the recording view ends in. Then one store call fails inside a dialog, and the
// dialog's window procedure keeps the failure.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "platform/Win32.h"

#include <commctrl.h>
#include <richedit.h>

#include "tests/ui/RulesSession.h"
#include "win32/Win32DialogHost.h"

namespace {

namespace ui = zelvo::ui;
namespace session = zelvo::ui::session;
using zelvo::win32::Win32DialogHost;
using zelvo::win32::Win32DialogView;

constexpr HRESULT kInjected = static_cast<HRESULT>(0x8004DEAD);

// The template of a dialog's logic, to tell which dialog is in front.
int templateOf(const ui::DialogLogic& logic) {
  if (dynamic_cast<const ui::SieveRulesDialog*>(&logic)) return ui::SieveRulesDialog::kTemplateId;
  if (dynamic_cast<const ui::RuleEditorDialog*>(&logic)) return ui::RuleEditorDialog::kTemplateId;
  if (dynamic_cast<const ui::RuleContainsDialog*>(&logic)) return ui::RuleContainsDialog::kTemplateId;
  if (dynamic_cast<const ui::RuleHasSizeDialog*>(&logic)) return ui::RuleHasSizeDialog::kTemplateId;
  if (dynamic_cast<const ui::RuleMoveToDialog*>(&logic)) return ui::RuleMoveToDialog::kTemplateId;
  return 0;
}

std::wstring itemText(HWND list, int row) {
  wchar_t buffer[256] = {};
  LVITEMW item{};
  item.pszText = buffer;
  item.cchTextMax = 256;
  SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
  return buffer;
}

std::wstring treeText(HWND tree, HTREEITEM item) {
  wchar_t buffer[256] = {};
  TVITEMW data{};
  data.mask = TVIF_TEXT;
  data.hItem = item;
  data.pszText = buffer;
  data.cchTextMax = 256;
  SendMessageW(tree, TVM_GETITEMW, 0, reinterpret_cast<LPARAM>(&data));
  return buffer;
}

void setItemState(HWND list, int row, UINT mask, UINT state) {
  LVITEMW item{};
  item.stateMask = mask;
  item.state = state;
  SendMessageW(list, LVM_SETITEMSTATE, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

// The user on the dialog's window: the messages that the controls get from a user, or that
// they send their dialog on a user's action.
class WindowUser : public session::User {
 public:
  WindowUser(HWND dialog, Win32DialogView& view) : dialog_(dialog), view_(view) {}

  void click(ui::ControlId button) override {
    HWND control = item(button);
    if (!IsWindowEnabled(control)) {
      ADD_FAILURE() << "button " << button << " is disabled";
      return;
    }
    SendMessageW(control, BM_CLICK, 0, 0);
  }
  void setCheck(ui::ControlId list, int row, bool checked) override {
    const int image = checked ? ui::stateImage::checked : ui::stateImage::unchecked;
    setItemState(item(list), row, LVIS_STATEIMAGEMASK, INDEXTOSTATEIMAGEMASK(image));
    const auto state = static_cast<UINT>(SendMessageW(item(list), LVM_GETITEMSTATE, row, LVIS_STATEIMAGEMASK));
    EXPECT_EQ(static_cast<int>(state >> 12), image) << "row " << row << " of " << list;
  }
  // The list view reports a click with the point; the point is found on the row's check
  // box as the control itself hit-tests it.
  void clickCheckBox(ui::ControlId list, int row) override {
    HWND view = item(list);
    RECT bounds{};
    bounds.left = LVIR_BOUNDS;
    SendMessageW(view, LVM_GETITEMRECT, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&bounds));
    LVHITTESTINFO hit{};
    hit.pt.y = (bounds.top + bounds.bottom) / 2;
    for (hit.pt.x = bounds.left; hit.pt.x < bounds.left + 48; ++hit.pt.x) {
      hit.flags = 0;
      if (SendMessageW(view, LVM_HITTEST, 0, reinterpret_cast<LPARAM>(&hit)) == row &&
          (hit.flags & LVHT_ONITEMSTATEICON))
        break;
    }
    ASSERT_TRUE(hit.flags & LVHT_ONITEMSTATEICON) << "no check box on row " << row;
    NMITEMACTIVATE click{};
    click.hdr.hwndFrom = view;
    click.hdr.idFrom = static_cast<UINT_PTR>(list);
    click.hdr.code = NM_CLICK;
    click.iItem = row;
    click.ptAction = hit.pt;
    SendMessageW(dialog_, WM_NOTIFY, static_cast<WPARAM>(list), reinterpret_cast<LPARAM>(&click));
  }
  void selectRow(ui::ControlId list, int row) override {
    setItemState(item(list), -1, LVIS_SELECTED | LVIS_FOCUSED, 0);
    setItemState(item(list), row, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
  }
  void type(ui::ControlId edit, const std::wstring& text) override {
    SendMessageW(item(edit), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
  }
  void selectCombo(ui::ControlId combo, int index) override {
    SendMessageW(item(combo), CB_SETCURSEL, static_cast<WPARAM>(index), 0);
    SendMessageW(dialog_, WM_COMMAND, MAKEWPARAM(combo, CBN_SELCHANGE), reinterpret_cast<LPARAM>(item(combo)));
  }
  void selectTreeItem(ui::ControlId tree, const std::vector<std::wstring>& path) override {
    HWND control = item(tree);
    auto at = reinterpret_cast<HTREEITEM>(SendMessageW(control, TVM_GETNEXTITEM, TVGN_ROOT, 0));
    ASSERT_NE(at, nullptr) << "tree " << tree << " is empty";
    for (const std::wstring& text : path) {
      auto child = reinterpret_cast<HTREEITEM>(
          SendMessageW(control, TVM_GETNEXTITEM, TVGN_CHILD, reinterpret_cast<LPARAM>(at)));
      while (child && treeText(control, child) != text) {
        child = reinterpret_cast<HTREEITEM>(
            SendMessageW(control, TVM_GETNEXTITEM, TVGN_NEXT, reinterpret_cast<LPARAM>(child)));
      }
      ASSERT_NE(child, nullptr) << "no item " << zelvo::testing::utf8(text);
      at = child;
    }
    SendMessageW(control, TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(at));
  }
  // The control tells its dialog of a click on a link with EN_LINK and the link's range.
  void clickLink(ui::ControlId richEdit, const std::wstring& text) override {
    const LONG at = view_.richEditFind(richEdit, 0, text);
    ASSERT_GE(at, 0) << "no text " << zelvo::testing::utf8(text);
    // The control draws the whole text as a link.
    CHARRANGE range{at, at + static_cast<LONG>(text.size())};
    SendMessageW(item(richEdit), EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&range));
    CHARFORMAT2W format{};
    format.cbSize = sizeof format;
    SendMessageW(item(richEdit), EM_GETCHARFORMAT, SCF_SELECTION, reinterpret_cast<LPARAM>(&format));
    EXPECT_TRUE((format.dwMask & CFM_LINK) && (format.dwEffects & CFE_LINK)) << zelvo::testing::utf8(text);
    ENLINK link{};
    link.nmhdr.hwndFrom = item(richEdit);
    link.nmhdr.idFrom = static_cast<UINT_PTR>(richEdit);
    link.nmhdr.code = EN_LINK;
    link.msg = WM_LBUTTONUP;
    link.chrg = range;
    SendMessageW(dialog_, WM_NOTIFY, static_cast<WPARAM>(richEdit), reinterpret_cast<LPARAM>(&link));
  }
  std::vector<std::wstring> rows(ui::ControlId list) override {
    std::vector<std::wstring> texts;
    const auto count = static_cast<int>(SendMessageW(item(list), LVM_GETITEMCOUNT, 0, 0));
    for (int row = 0; row < count; ++row) texts.push_back(itemText(item(list), row));
    return texts;
  }

 private:
  HWND item(ui::ControlId id) const { return GetDlgItem(dialog_, id); }

  HWND dialog_;
  Win32DialogView& view_;
};

// Plays the session's steps, one for each dialog as it shows, in order. A dialog that the
// steps left open is cancelled, as a user gives up.
class SessionPlayer {
 public:
  explicit SessionPlayer(Win32DialogHost& host) {
    for (const session::Step& step : session::sessionSteps()) steps_.push_back(step);
    host.onShown([this](HWND dialog, Win32DialogView& view, ui::DialogLogic& logic) {
      shown.push_back(templateOf(logic));
      struct Closer {
        HWND dialog;
        ~Closer() { PostMessageW(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), 0); }
      } closer{dialog};
      if (steps_.empty() || steps_.front().templateId != templateOf(logic)) {
        ADD_FAILURE() << "dialog " << templateOf(logic) << " was not expected";
        return;
      }
      const session::Step step = steps_.front();
      steps_.pop_front();
      WindowUser user(dialog, view);
      step.act(user);
    });
  }
  std::vector<int> shown;

 private:
  std::deque<session::Step> steps_;
};

struct Outcome {
  int result = ui::kIdCancel;
  HRESULT applied = S_FALSE;
  std::vector<int> shown;
  std::vector<HRESULT> dropped;
};

// Answers every message box of this thread with its default button, as a user who reads
// and closes them; the box's text is the static control 0xFFFF of its dialog.
class MessageBoxCloser {
 public:
  MessageBoxCloser() : timer_(SetTimer(nullptr, 0, 100, &MessageBoxCloser::tick)) {}
  ~MessageBoxCloser() { KillTimer(nullptr, timer_); }

 private:
  static void CALLBACK tick(HWND, UINT, UINT_PTR, DWORD) {
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND window, LPARAM) -> BOOL {
          if (IsWindowVisible(window) && GetDlgItem(window, 0xFFFF)) {
            PostMessageW(window, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), 0);
          }
          return TRUE;
        },
        0);
  }
  UINT_PTR timer_;
};

Outcome runSession(session::SampleMailbox& mailbox) {
  Outcome outcome;
  Win32DialogHost host;
  host.setFailureSink([&](HRESULT code, const std::wstring&) { outcome.dropped.push_back(code); });
  SessionPlayer player(host);
  EXPECT_EQ(mailbox.open(), S_OK);
  session::RulesDialogParts parts(mailbox, host);
  outcome.result = host.runModal(ui::SieveRulesDialog::kTemplateId, nullptr,
                                 [&](ui::DialogView& view) { return parts.make(view, mailbox, host); });
  outcome.applied = mailbox.applyWhenDirty();
  outcome.shown = player.shown;
  return outcome;
}

TEST(RulesSessionOnWindows, TheSessionOnTheRealDialogsEndsInTheSameScript) {
  session::SampleMailbox mailbox;
  const Outcome outcome = runSession(mailbox);
  EXPECT_EQ(outcome.result, ui::kIdOk);
  EXPECT_EQ(outcome.applied, S_OK);
  EXPECT_TRUE(outcome.dropped.empty());
  EXPECT_EQ(outcome.shown, session::sessionDialogs());
  session::expectSessionScript(mailbox.original, mailbox.script());
}

// The folder list fails while the picker opens, inside its window procedure. The failure
// stays in that frame: the picker shows no folders, the user gives up on the rule, and the
// store keeps its script until the rules dialog's OK hands over what is left.
TEST(RulesSessionOnWindows, AStoreFailureInsideADialogStaysInItsWindowProcedure) {
  session::SampleMailbox mailbox;
  mailbox.store->failNext(ReferenceStore::Operation::GetFolderList, kInjected);
  Outcome outcome;
  ::testing::TestPartResultArray steps;
  {
    // The editor tells of the missing folder before the user gives up.
    MessageBoxCloser boxes;
    // The steps after the failure find no folder; that is the point, not a finding.
    ::testing::ScopedFakeTestPartResultReporter quiet(
        ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &steps);
    outcome = runSession(mailbox);
  }
  EXPECT_EQ(mailbox.store->pendingFailures(), 0u);
  EXPECT_EQ(outcome.dropped, std::vector<HRESULT>{kInjected});
  ASSERT_GE(outcome.shown.size(), 5u);
  EXPECT_EQ(outcome.shown[4], ui::RuleMoveToDialog::kTemplateId);
  EXPECT_EQ(outcome.result, ui::kIdOk) << "the rules dialog went on after the picker's failure";
  const std::wstring stored = mailbox.script();
  std::wstring written;
  mailbox.object->writeSieveScript(written);
  EXPECT_EQ(stored, written);
  EXPECT_NE(stored, mailbox.original) << "the rest of the session was stored";
  EXPECT_EQ(stored.find(session::kNewRuleName), std::wstring::npos) << "the rule without a folder was given up";
  EXPECT_TRUE(mailbox.restKept());
}

}  // namespace
