// The rules dialogs on their own templates and real controls, under the modal base: the
// rows of the virtual list as the list view asks for them, the buttons, the script editor's
// text and the rule kind choice, down to what OK leaves behind; and the message about a
// script that does not parse, as the system's message box shows it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cwchar>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/HResultException.h"
#include "sieve/SieveRules.h"
#include "strings/Localization.h"
#include "tests/ui/SieveRulesTestSupport.h"
#include "ui/FilterRulesSelectionDialog.h"
#include "ui/ScriptRepair.h"
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
  EXPECT_NE(label.find(L"Choose which rules you want to manage."), std::wstring::npos);
  EXPECT_NE(choice, nullptr);
  EXPECT_FALSE(chosen);
}

// What the user saw of a message box, read from a thread of the user's own.
struct SeenBox {
  HWND owner = nullptr;
  std::wstring text;
  HICON icon = nullptr;
  std::vector<int> buttons;  // the ids of its buttons, ascending
};

struct BoxSearch {
  std::wstring caption;
  HWND found = nullptr;
};

BOOL CALLBACK findBox(HWND window, LPARAM param) {
  auto& search = *reinterpret_cast<BoxSearch*>(param);
  wchar_t className[16] = {};
  GetClassNameW(window, className, 16);
  if (std::wcscmp(className, L"#32770") != 0 || windowText(window) != search.caption) return TRUE;
  search.found = window;
  return FALSE;
}

BOOL CALLBACK readBoxChild(HWND child, LPARAM param) {
  auto& seen = *reinterpret_cast<SeenBox*>(param);
  wchar_t className[16] = {};
  GetClassNameW(child, className, 16);
  const LONG_PTR style = GetWindowLongPtrW(child, GWL_STYLE);
  if (!(style & WS_VISIBLE)) return TRUE;
  if (_wcsicmp(className, L"Button") == 0) seen.buttons.push_back(GetDlgCtrlID(child));
  if (_wcsicmp(className, L"Static") == 0 && (style & SS_TYPEMASK) == SS_ICON) {
    seen.icon = reinterpret_cast<HICON>(SendMessageW(child, STM_GETICON, 0, 0));
  }
  return TRUE;
}

// Plays the user of the next message box titled caption among the windows of thread: reads
// what it shows and presses button. Nothing when no such box came up.
std::optional<SeenBox> answerBox(DWORD thread, const std::wstring& caption, int button) {
  BoxSearch search{caption};
  for (int i = 0; i < 1000 && !search.found; ++i) {
    EnumThreadWindows(thread, findBox, reinterpret_cast<LPARAM>(&search));
    if (!search.found) Sleep(10);
  }
  if (!search.found) return std::nullopt;
  const HWND box = search.found;
  // Found as soon as it is made; a sent message is answered once the box runs its loop.
  SendMessageW(box, WM_NULL, 0, 0);
  SeenBox seen;
  seen.owner = GetWindow(box, GW_OWNER);
  seen.text = windowText(GetDlgItem(box, 0xFFFF));
  EnumChildWindows(box, readBoxChild, reinterpret_cast<LPARAM>(&seen));
  std::sort(seen.buttons.begin(), seen.buttons.end());
  SendMessageW(GetDlgItem(box, button), BM_CLICK, 0, 0);
  return seen;
}

// The block is never closed: the reader runs out of text on line 5.
const std::wstring kBroken = L"#!1 Open\r\nif true \r\n{\r\n  keep;\r\n";
const std::wstring kUnreadable =
    L"The filter rules stored on the server cannot be read.\n\nLine 5: premature end of script inside block";

// A window of this thread that owns what the rule set shows while it loads.
struct OwnerWindow {
  HWND window = CreateWindowExW(0, L"STATIC", L"Zelvo owner", WS_OVERLAPPEDWINDOW, 0, 0, 200, 100, nullptr, nullptr,
                                nullptr, nullptr);
  ~OwnerWindow() { DestroyWindow(window); }
};

TEST_F(RulesDialogsOnWindows, TheParseFailureMessageIsASystemBoxOverItsOwner) {
  zelvo::ui::ScriptRepair repair(host);
  OwnerWindow owner;
  ASSERT_NE(owner.window, nullptr);
  const struct Case {
    const char* what;
    std::wstring text;
    LPCWSTR icon;
    std::vector<int> buttons;
    int press;
    // Brings the message up on this thread; gives the window that must own it.
    std::function<HWND()> show;
  } cases[] = {
      {"loading asks whether to correct", kUnreadable + L"\n\nDo you want to correct the script by hand?",
       IDI_EXCLAMATION, {IDYES, IDNO}, IDNO,
       [&] {
         Sieve::SieveRules rules;
         rules.setScriptRepair(&repair);
         HRESULT raised = S_OK;
         try {
           rules.parseSieveScript(kBroken, true, owner.window);
         } catch (const HResultException& e) {
           raised = e.getHResult();
         }
         EXPECT_EQ(raised, E_FAIL) << "No leaves the script unread";
         return owner.window;
       }},
      {"the script dialog only tells", kUnreadable, IDI_HAND, {IDOK}, IDOK,
       [&] {
         HWND dialog = nullptr;
         actOnShown(host, [&](HWND shown, DialogLogic&) {
           dialog = shown;
           click(shown, kIdOk);  // the box comes and goes inside; the dialog stays open
         });
         host.runModal(SieveScriptDialog::kTemplateId, nullptr, [](DialogView& view) {
           return std::make_unique<SieveScriptDialog>(view, kBroken, true, false);
         });
         return dialog;
       }},
  };
  const std::wstring title = Localization::getString(IDS_MESSAGE_TITLE);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::optional<SeenBox> seen;
    std::thread user([&, thread = GetCurrentThreadId()] { seen = answerBox(thread, title, c.press); });
    const HWND expectedOwner = c.show();
    user.join();
    ASSERT_TRUE(seen.has_value()) << "no message box titled with string 5000";
    EXPECT_NE(expectedOwner, nullptr);
    EXPECT_EQ(seen->owner, expectedOwner);
    EXPECT_EQ(seen->text, c.text);
    EXPECT_EQ(seen->icon, LoadIconW(nullptr, c.icon));
    EXPECT_EQ(seen->buttons, c.buttons);
  }
  EXPECT_TRUE(failures.empty());
}

}  // namespace
