// The base of every dialog's logic. The view calls the entry points below from its window
// procedure; each runs its handler through runHandler, so that a failure ends in that
// frame and nothing raised ever reaches the window procedure.
#pragma once

#include <functional>

#include "ui/DialogView.h"

namespace zelvo::ui {

// Runs one handler. An HResultException is reported to the view with its code and text, a
// std::bad_alloc as E_OUTOFMEMORY and any other std::exception as E_FAIL, and is dropped.
// True when the handler returned normally.
bool runHandler(DialogView& view, const std::function<void()>& handler) noexcept;

class DialogLogic {
 public:
  explicit DialogLogic(DialogView& view) : view_(view) {}
  DialogLogic(const DialogLogic&) = delete;
  DialogLogic& operator=(const DialogLogic&) = delete;
  virtual ~DialogLogic() = default;

  // The dialog opens: the controls exist and are still empty.
  void initDialog();
  // A command message: a button, or a notification of an edit field or list.
  void command(ControlId id, int notification);
  // A notification of a control (WM_NOTIFY). The answer goes back to the control: true
  // keeps a tree item from expanding and a link click from the control's own handling.
  bool notify(ControlId id, const Notification& notification);
  // The client area of a resizable dialog has a new size; anchored controls have followed.
  void size(int width, int height);

 protected:
  virtual void onInitDialog() {}
  // OK and Cancel arrive as commands of kIdOk and kIdCancel and come here.
  virtual void onOk() { view_.endDialog(kIdOk); }
  virtual void onCancel() { view_.endDialog(kIdCancel); }
  virtual void onCommand(ControlId id, int notification) {
    (void)id;
    (void)notification;
  }

  virtual bool onNotify(ControlId id, const Notification& notification) {
    (void)id;
    (void)notification;
    return false;
  }
  virtual void onSize(int width, int height) {
    (void)width;
    (void)height;
  }

  DialogView& view() const { return view_; }

 private:
  DialogView& view_;
};

}  // namespace zelvo::ui
