#include "win32/Win32DialogHost.h"

#include <memory>
#include <mutex>

#include "base/ComBoundary.h"

namespace zelvo::win32 {

namespace details {

// Posted to a dialog that has just opened, so that the shown hook runs from its queue once
// the first paint is through.
constexpr UINT kShownMessage = WM_APP + 0x5A;

// What one modal run holds; the dialog procedure finds it in DWLP_USER.
struct Session {
  Win32DialogView view;
  const ui::DialogHost::LogicFactory& make;
  const Win32DialogHost::ShownHook& shown;
  std::unique_ptr<ui::DialogLogic> logic;
};

Session* sessionOf(HWND dialog) { return reinterpret_cast<Session*>(GetWindowLongPtrW(dialog, DWLP_USER)); }

// WM_INITDIALOG: the logic is made on the view and opens. FALSE when the logic set the
// focus itself.
INT_PTR initDialog(HWND dialog, Session& session) {
  session.view.attach(dialog);
  if (!ui::runHandler(session.view, [&] { session.logic = session.make(session.view); }) || !session.logic) {
    EndDialog(dialog, ui::kIdCancel);
    return TRUE;
  }
  session.logic->initDialog();
  PostMessageW(dialog, kShownMessage, 0, 0);
  return session.view.focusWasSet() ? FALSE : TRUE;
}

INT_PTR notify(HWND dialog, Session& session, const NMHDR& header) {
  LRESULT answer = 0;
  bool answered = false;
  ui::runHandler(session.view, [&] { answered = session.view.answerNotification(header, answer); });
  if (!answered) {
    ui::Notification notification;
    if (!session.view.translateNotification(header, notification)) return FALSE;
    answer = session.logic->notify(static_cast<ui::ControlId>(header.idFrom), notification) ? TRUE : FALSE;
  }
  SetWindowLongPtrW(dialog, DWLP_MSGRESULT, answer);
  return TRUE;
}

INT_PTR dispatch(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_INITDIALOG) {
    auto* session = reinterpret_cast<Session*>(lParam);
    SetWindowLongPtrW(dialog, DWLP_USER, lParam);
    return initDialog(dialog, *session);
  }
  Session* session = sessionOf(dialog);
  if (!session || !session->logic) return FALSE;
  switch (message) {
    case WM_COMMAND:
      session->logic->command(LOWORD(wParam), HIWORD(wParam));
      return TRUE;
    case WM_NOTIFY:
      return lParam ? notify(dialog, *session, *reinterpret_cast<const NMHDR*>(lParam)) : FALSE;
    case WM_SIZE:
      if (wParam == SIZE_MINIMIZED) return FALSE;
      ui::runHandler(session->view, [&] { session->view.layout(); });
      session->logic->size(LOWORD(lParam), HIWORD(lParam));
      return TRUE;
    case WM_GETMINMAXINFO:
      session->view.limitTracking(*reinterpret_cast<MINMAXINFO*>(lParam));
      return TRUE;
    case WM_SETCURSOR:
      // The controls choose their own pointers (the rich edit's hand over a link comes
      // through EN_LINK); the dialog keeps the system's.
      return FALSE;
    case kShownMessage:
      if (session->shown) {
        // The dialog manager shows the dialog once its queue is idle; this message came
        // first.
        if (!IsWindowVisible(dialog)) ShowWindow(dialog, SW_SHOWNORMAL);
        UpdateWindow(dialog);
        ui::runHandler(session->view, [&] { session->shown(dialog, session->view, *session->logic); });
      }
      return TRUE;
    default:
      return FALSE;
  }
}

// The frame of the window procedure: nothing raised leaves it.
INT_PTR CALLBACK dialogProcedure(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
  INT_PTR result = FALSE;
  comBoundary([&] { result = dispatch(dialog, message, wParam, lParam); });
  return result;
}

}  // namespace details

void loadDialogControls() {
  static std::once_flag once;
  std::call_once(once, [] {
    INITCOMMONCONTROLSEX classes{};
    classes.dwSize = sizeof classes;
    classes.dwICC =
        ICC_STANDARD_CLASSES | ICC_LISTVIEW_CLASSES | ICC_TREEVIEW_CLASSES | ICC_DATE_CLASSES | ICC_WIN95_CLASSES;
    InitCommonControlsEx(&classes);
    // Templates name the rich edit class; its library stays loaded for the process.
    LoadLibraryW(L"riched20.dll");
  });
}

int Win32DialogHost::runModal(int templateId, HWND parent, const LogicFactory& make) {
  loadDialogControls();
  details::Session session{Win32DialogView(module_), make, shown_, nullptr};
  session.view.setFailureSink(failureSink_);
  const INT_PTR result = DialogBoxParamW(module_, MAKEINTRESOURCEW(templateId), parent, details::dialogProcedure,
                                         reinterpret_cast<LPARAM>(&session));
  // -1: the template could not be made into a window.
  if (result == -1) return ui::kIdCancel;
  return static_cast<int>(result);
}

int Win32DialogHost::messageBox(HWND parent, const std::wstring& text, const std::wstring& caption, UINT style) {
  return MessageBoxW(parent, text.c_str(), caption.c_str(), style);
}

}  // namespace zelvo::win32
