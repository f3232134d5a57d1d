// The optional message with the system's own message box: a helper thread plays the
// user, finds the box, ticks the added check box and presses OK.
#include "win32/TickBoxMessageBox.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cwchar>
#include <string>
#include <thread>
#include <vector>

#include "addin/GUI.h"
#include "strings/Localization.h"

namespace {

namespace GUI = zelvo::addin::GUI;
using zelvo::win32::TickBoxMessageBox;

struct Child {
  HWND window;
  std::wstring className, text;
  int id;
  RECT place;  // on the screen
};

std::wstring textOf(HWND window) {
  wchar_t buffer[512] = {};
  GetWindowTextW(window, buffer, 512);
  return buffer;
}

BOOL CALLBACK collectChild(HWND window, LPARAM list) {
  wchar_t className[64] = {};
  GetClassNameW(window, className, 64);
  RECT place{};
  GetWindowRect(window, &place);
  reinterpret_cast<std::vector<Child>*>(list)->push_back(
      {window, className, textOf(window), GetDlgCtrlID(window), place});
  return TRUE;
}

// What the user saw and did.
struct Seen {
  bool found = false;
  std::wstring text;           // the message text control's
  std::vector<Child> children;
  bool checkedBefore = false;  // the tick box when the box came up
  bool checkedAfter = false;   // after the click
  bool hasTickBox = false;
};

// Waits for the box of that caption, clicks the tick box labelled checkText if there is
// one (and click is set), and presses OK.
Seen playUser(const std::wstring& caption, const std::wstring& checkText, bool click) {
  Seen seen;
  HWND box = nullptr;
  for (int i = 0; i < 1000 && !box; ++i) {
    box = FindWindowW(L"#32770", caption.c_str());
    if (!box) Sleep(10);
  }
  if (!box) return seen;
  seen.found = true;
  // The box is found as soon as it is made; a sent message is answered only once its
  // thread runs the box's message loop, when it has been shown and activated.
  SendMessageW(box, WM_NULL, 0, 0);
  if (!checkText.empty())
    for (int i = 0; i < 200 && !GetDlgItem(box, TickBoxMessageBox::kTickBoxId); ++i) Sleep(10);
  EnumChildWindows(box, collectChild, reinterpret_cast<LPARAM>(&seen.children));
  seen.text = textOf(GetDlgItem(box, 0xFFFF));
  for (const Child& child : seen.children) {
    if (_wcsicmp(child.className.c_str(), L"Button") != 0 || child.text != checkText) continue;
    seen.hasTickBox = true;
    seen.checkedBefore = SendMessageW(child.window, BM_GETCHECK, 0, 0) == BST_CHECKED;
    if (click) SendMessageW(child.window, BM_CLICK, 0, 0);
    seen.checkedAfter = SendMessageW(child.window, BM_GETCHECK, 0, 0) == BST_CHECKED;
  }
  SendMessageW(GetDlgItem(box, IDOK), BM_CLICK, 0, 0);
  return seen;
}

class TickBoxMessageBoxTest : public ::testing::Test {
 protected:
  void SetUp() override { previous_ = GUI::setMessageBoxDisplay(&display_); }
  void TearDown() override { GUI::setMessageBoxDisplay(previous_); }

  // Captions are unique: other test programs may show boxes on the same Wine desktop.
  std::wstring caption(const wchar_t* what) {
    return std::wstring(L"Zelvo test ") + what + L" " + std::to_wstring(GetCurrentProcessId());
  }

  TickBoxMessageBox display_;
  GUI::MessageBoxDisplay* previous_ = nullptr;
};

TEST_F(TickBoxMessageBoxTest, TheUserTicksTheAddedBoxAndTheAnswerComesBack) {
  const struct {
    bool tickedBefore;
    bool click;
  } cases[] = {{false, true}, {true, true}, {true, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "ticked before " << c.tickedBefore << ", click " << c.click);
    const std::wstring title = caption(L"tick");
    const std::wstring check = L"Do not show this message again";
    Seen seen;
    std::thread user([&] { seen = playUser(title, check, c.click); });
    bool ticked = c.tickedBefore;
    const int pressed = GUI::showOptionalMessage(nullptr, L"Messages will be moved.", title, check, ticked, MB_OK);
    user.join();
    ASSERT_TRUE(seen.found);
    EXPECT_EQ(pressed, IDOK);
    EXPECT_TRUE(seen.hasTickBox);
    EXPECT_EQ(seen.text, L"Messages will be moved.\n\n\n");
    EXPECT_EQ(seen.checkedBefore, c.tickedBefore);
    EXPECT_EQ(seen.checkedAfter, c.tickedBefore != c.click);
    EXPECT_EQ(ticked, seen.checkedAfter);
  }
}

TEST_F(TickBoxMessageBoxTest, TickBoxSitsUnderTheTextWithItsId) {
  const std::wstring title = caption(L"layout");
  Seen seen;
  std::thread user([&] { seen = playUser(title, L"Remember", false); });
  bool ticked = false;
  GUI::showOptionalMessage(nullptr, L"Text", title, L"Remember", ticked, MB_OKCANCEL);
  user.join();
  ASSERT_TRUE(seen.found);
  const Child* text = nullptr;
  const Child* check = nullptr;
  for (const Child& child : seen.children) {
    if (child.id == 0xFFFF) text = &child;
    if (child.id == TickBoxMessageBox::kTickBoxId) check = &child;
  }
  ASSERT_TRUE(text && check);
  EXPECT_EQ(check->text, L"Remember");
  EXPECT_EQ(check->place.left, text->place.left) << "aligned with the text";
  EXPECT_GT(check->place.top, text->place.top) << "below the first line";
  EXPECT_LE(check->place.top, text->place.bottom) << "in the room the line breaks made";
  for (const Child& child : seen.children)
    if (child.id == IDOK || child.id == IDCANCEL) EXPECT_LE(check->place.bottom, child.place.top) << "above the buttons";
  EXPECT_FALSE(ticked);
}

TEST_F(TickBoxMessageBoxTest, EmptyCheckTextGivesAPlainBox) {
  const std::wstring title = caption(L"plain");
  Seen seen;
  std::thread user([&] { seen = playUser(title, L"", true); });
  bool ticked = true;
  int result = 0;
  EXPECT_TRUE(GUI::detail::doOptionalMessage(nullptr, L"Just this.", title, L"", MB_OK, &result, &ticked));
  user.join();
  ASSERT_TRUE(seen.found);
  EXPECT_EQ(result, IDOK);
  EXPECT_EQ(seen.text, L"Just this.") << "no room made";
  for (const Child& child : seen.children) EXPECT_NE(child.id, TickBoxMessageBox::kTickBoxId);
  EXPECT_TRUE(ticked) << "untouched";
}

// A box of the owner's thread, as the user in front of it sees it.
struct OwnedBox {
  HWND box = nullptr;
  HWND owner = nullptr;
  std::wstring caption, text;
  HICON icon = nullptr;
  std::vector<int> buttons;  // ascending
  bool ticked = false;       // the tick box after the user's click
};

BOOL CALLBACK findOwnedBox(HWND window, LPARAM found) {
  wchar_t className[16] = {};
  GetClassNameW(window, className, 16);
  if (std::wcscmp(className, L"#32770") != 0 || !GetWindow(window, GW_OWNER)) return TRUE;
  *reinterpret_cast<HWND*>(found) = window;
  return FALSE;
}

// Finds the owned box among the windows of thread, reads it, clicks its tick box and
// presses button.
OwnedBox answerOwnedBox(DWORD thread, int button) {
  OwnedBox seen;
  for (int i = 0; i < 1000 && !seen.box; ++i) {
    EnumThreadWindows(thread, findOwnedBox, reinterpret_cast<LPARAM>(&seen.box));
    if (!seen.box) Sleep(10);
  }
  if (!seen.box) return seen;
  SendMessageW(seen.box, WM_NULL, 0, 0);
  for (int i = 0; i < 200 && !GetDlgItem(seen.box, TickBoxMessageBox::kTickBoxId); ++i) Sleep(10);
  seen.owner = GetWindow(seen.box, GW_OWNER);
  seen.caption = textOf(seen.box);
  seen.text = textOf(GetDlgItem(seen.box, 0xFFFF));
  std::vector<Child> children;
  EnumChildWindows(seen.box, collectChild, reinterpret_cast<LPARAM>(&children));
  for (const Child& child : children) {
    const LONG_PTR style = GetWindowLongPtrW(child.window, GWL_STYLE);
    if (!(style & WS_VISIBLE)) continue;
    if (_wcsicmp(child.className.c_str(), L"Static") == 0 && (style & SS_TYPEMASK) == SS_ICON)
      seen.icon = reinterpret_cast<HICON>(SendMessageW(child.window, STM_GETICON, 0, 0));
    if (_wcsicmp(child.className.c_str(), L"Button") == 0 && child.id != TickBoxMessageBox::kTickBoxId)
      seen.buttons.push_back(child.id);
  }
  std::sort(seen.buttons.begin(), seen.buttons.end());
  const HWND tick = GetDlgItem(seen.box, TickBoxMessageBox::kTickBoxId);
  SendMessageW(tick, BM_CLICK, 0, 0);
  seen.ticked = SendMessageW(tick, BM_GETCHECK, 0, 0) == BST_CHECKED;
  SendMessageW(GetDlgItem(seen.box, button), BM_CLICK, 0, 0);
  return seen;
}

// The question before messages are marked as spam, as that command asks it: texts by id,
// over the window in front, with OK, Cancel and the exclamation icon. The tick counts
// whichever button closes the box.
TEST_F(TickBoxMessageBoxTest, TheQuestionByIdsBelongsToTheActiveWindowAndKeepsTheTickOnCancel) {
  constexpr UINT kQuestion = 15005, kDontAsk = 15007;
  const HWND front = CreateWindowExW(0, L"STATIC", L"Zelvo front", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 300, 200,
                                     nullptr, nullptr, nullptr, nullptr);
  ASSERT_NE(front, nullptr);
  SetActiveWindow(front);
  ASSERT_EQ(GetActiveWindow(), front);
  OwnedBox seen;
  std::thread user([&, thread = GetCurrentThreadId()] { seen = answerOwnedBox(thread, IDCANCEL); });
  bool ticked = false;
  const int pressed = GUI::showOptionalMessage(kQuestion, IDS_MESSAGE_TITLE, kDontAsk, ticked,
                                               MB_OKCANCEL | MB_ICONEXCLAMATION);
  user.join();
  DestroyWindow(front);
  ASSERT_NE(seen.box, nullptr) << "no box owned by a window of this thread";
  EXPECT_EQ(seen.owner, front);
  EXPECT_EQ(seen.caption, Localization::getString(IDS_MESSAGE_TITLE));
  EXPECT_EQ(seen.text, Localization::getString(kQuestion) + L"\n\n\n");
  EXPECT_EQ(seen.icon, LoadIconW(nullptr, IDI_EXCLAMATION));
  EXPECT_EQ(seen.buttons, (std::vector<int>{IDOK, IDCANCEL}));
  EXPECT_TRUE(seen.ticked);
  EXPECT_EQ(pressed, IDCANCEL);
  EXPECT_TRUE(ticked);
}

}  // namespace
