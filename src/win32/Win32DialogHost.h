// The modal base of every dialog of the module: DialogBoxParamW on a template of the
// module, with one dialog procedure that hands the logic what the window reports.
#pragma once

#include <functional>
#include <string>

#include "ui/DialogHost.h"
#include "win32/Win32DialogView.h"

namespace zelvo::win32 {

class Win32DialogHost : public ui::DialogHost {
 public:
  // module holds the templates and icons; by default the module of this code.
  explicit Win32DialogHost(HINSTANCE module = thisModule()) : module_(module) {}

  // Called once a dialog is on the screen and its first paint is done, with its window and
  // logic: tests act on the real controls there, and screenshots are taken.
  using ShownHook = std::function<void(HWND dialog, Win32DialogView& view, ui::DialogLogic& logic)>;
  void onShown(ShownHook hook) { shown_ = std::move(hook); }
  // Where the dialogs' dropped handler failures go besides the trace.
  void setFailureSink(Win32DialogView::FailureSink sink) { failureSink_ = std::move(sink); }

  int runModal(int templateId, HWND parent, const LogicFactory& make) override;
  int messageBox(HWND parent, const std::wstring& text, const std::wstring& caption, UINT style) override;

 private:
  HINSTANCE module_;
  ShownHook shown_;
  Win32DialogView::FailureSink failureSink_;
};

// Loads the libraries of the controls that templates use: the common controls and the rich
// edit. Once per process.
void loadDialogControls();

}  // namespace zelvo::win32
