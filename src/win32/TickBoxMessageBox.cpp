#include "win32/TickBoxMessageBox.h"

#include <cwchar>
#include <mutex>

namespace zelvo {
namespace win32 {
namespace details {

// The message text of a system message box.
constexpr int kMessageTextId = 0xFFFF;

// What the hook works on; a thread hook sees one box at a time, and the lock keeps the
// boxes of other threads out until this one is gone.
struct HookState {
  HHOOK hook = nullptr;
  const wchar_t* checkText = nullptr;
  bool ticked = false;
  HWND box = nullptr;
  HWND check = nullptr;
};
std::recursive_mutex hookMutex;
HookState state;

void addTickBox(HWND box) {
  HWND text = GetDlgItem(box, kMessageTextId);
  if (!text) return;
  const auto font = reinterpret_cast<HFONT>(SendMessageW(text, WM_GETFONT, 0, 0));
  RECT place;
  GetWindowRect(text, &place);
  MapWindowPoints(nullptr, box, reinterpret_cast<POINT*>(&place), 2);

  TEXTMETRICW metrics{};
  SIZE extent{};
  HDC dc = GetDC(text);
  HGDIOBJ old = SelectObject(dc, font ? static_cast<HGDIOBJ>(font) : GetStockObject(DEFAULT_GUI_FONT));
  GetTextMetricsW(dc, &metrics);
  GetTextExtentPoint32W(dc, state.checkText, static_cast<int>(std::wcslen(state.checkText)), &extent);
  SelectObject(dc, old);
  ReleaseDC(text, dc);

  const int side = GetSystemMetrics(SM_CXMENUCHECK);
  const int width = side + 2 * metrics.tmAveCharWidth + extent.cx;
  const int height = (metrics.tmHeight > side ? metrics.tmHeight : side) + 2;
  // The three line breaks at the end of the text left empty lines under it: the box sits
  // on the second of them.
  const int top = place.bottom - 2 * metrics.tmHeight;
  state.check = CreateWindowExW(0, L"BUTTON", state.checkText, WS_CHILD | WS_VISIBLE | WS_TABSTOP | BS_AUTOCHECKBOX,
                                place.left, top, width, height, box,
                                reinterpret_cast<HMENU>(static_cast<INT_PTR>(TickBoxMessageBox::kTickBoxId)),
                                reinterpret_cast<HINSTANCE>(GetWindowLongPtrW(box, GWLP_HINSTANCE)), nullptr);
  if (!state.check) return;
  if (font) SendMessageW(state.check, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
  SendMessageW(state.check, BM_SETCHECK, state.ticked ? BST_CHECKED : BST_UNCHECKED, 0);

  // A long label widens the box rather than being cut.
  RECT client;
  GetClientRect(box, &client);
  const int needed = place.left + width + place.left;
  if (needed > client.right) {
    RECT outer;
    GetWindowRect(box, &outer);
    SetWindowPos(box, nullptr, 0, 0, outer.right - outer.left + needed - client.right, outer.bottom - outer.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  }
}

LRESULT CALLBACK cbtHook(int code, WPARAM wParam, LPARAM lParam) {
  const auto window = reinterpret_cast<HWND>(wParam);
  if (code == HCBT_ACTIVATE && !state.box) {
    wchar_t className[16] = {};
    if (GetClassNameW(window, className, 16) && std::wcscmp(className, L"#32770") == 0) {
      state.box = window;
      addTickBox(window);
    }
  } else if (code == HCBT_DESTROYWND && window == state.box && state.check) {
    state.ticked = SendMessageW(state.check, BM_GETCHECK, 0, 0) == BST_CHECKED;
  }
  return CallNextHookEx(state.hook, code, wParam, lParam);
}

}  // namespace details

int TickBoxMessageBox::show(HWND parent, const std::wstring& text, const std::wstring& caption, UINT style) {
  return MessageBoxW(parent, text.c_str(), caption.c_str(), style);
}

int TickBoxMessageBox::showWithTickBox(HWND parent, const std::wstring& text, const std::wstring& caption,
                                       const std::wstring& checkText, UINT style, bool& ticked) {
  std::lock_guard<std::recursive_mutex> lock(details::hookMutex);
  // A box opened from within another box's handlers has a state of its own.
  const details::HookState outer = details::state;
  details::state = details::HookState{};
  details::state.checkText = checkText.c_str();
  details::state.ticked = ticked;
  details::state.hook = SetWindowsHookExW(WH_CBT, details::cbtHook, nullptr, GetCurrentThreadId());
  if (!details::state.hook) {
    details::state = outer;
    return 0;
  }
  const int result = MessageBoxW(parent, text.c_str(), caption.c_str(), style);
  const DWORD error = GetLastError();
  UnhookWindowsHookEx(details::state.hook);
  if (result != 0) ticked = details::state.ticked;
  details::state = outer;
  SetLastError(error);
  return result;
}

}  // namespace win32
}  // namespace zelvo
