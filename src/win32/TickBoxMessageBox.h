// The system's message box with a real tick box: a CBT hook on the calling thread waits
// for the box to come up, adds a check box under its text, and reads it back when the
// box goes.
#pragma once

#include "addin/GUI.h"

namespace zelvo {
namespace win32 {

class TickBoxMessageBox : public addin::GUI::MessageBoxDisplay {
 public:
  // The control id of the added check box.
  static constexpr int kTickBoxId = 0x5A01;

  int show(HWND parent, const std::wstring& text, const std::wstring& caption, UINT style) override;
  // One box at a time in the process: a second caller waits until the first box closes.
  int showWithTickBox(HWND parent, const std::wstring& text, const std::wstring& caption,
                      const std::wstring& checkText, UINT style, bool& ticked) override;
};

}  // namespace win32
}  // namespace zelvo
