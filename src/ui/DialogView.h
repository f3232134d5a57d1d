// What a dialog's logic sees of its window: controls addressed by their ids, message boxes
// and beeps. The Win32 view is a thin class over the dialog's window; tests use a view that
// records. Logic never sends a window message itself.
//
// Codes that cross this interface (message box styles and answers, beep kinds, command
// notifications) carry the values of the Win32 constants, so that the Win32 view passes
// them through unchanged. They have names of their own because the SDK defines the Win32
// ones as macros.
#pragma once

#include <string>

#include "platform/Win32.h"

namespace zelvo::ui {

// A control's id in the dialog template; 0 is no control.
using ControlId = int;
constexpr ControlId kNoControl = 0;

// Button ids: what a message box answers, and what a dialog ends with.
constexpr int kIdOk = 1;
constexpr int kIdCancel = 2;
constexpr int kIdYes = 6;
constexpr int kIdNo = 7;

// Message box styles: one button set or'ed with one icon.
namespace mb {
constexpr UINT ok = 0x00000000;
constexpr UINT okCancel = 0x00000001;
constexpr UINT yesNoCancel = 0x00000003;
constexpr UINT yesNo = 0x00000004;
constexpr UINT iconError = 0x00000010;  // the stop sign
constexpr UINT iconQuestion = 0x00000020;
constexpr UINT iconExclamation = 0x00000030;
constexpr UINT iconInformation = 0x00000040;
constexpr UINT buttonMask = 0x0000000F;
constexpr UINT iconMask = 0x000000F0;
}  // namespace mb

// The sounds of MessageBeep.
enum class Beep : UINT {
  Default = 0x00000000,
  Stop = 0x00000010,
  Question = 0x00000020,
  Exclamation = 0x00000030,
  Asterisk = 0x00000040,
  Simple = 0xFFFFFFFF,
};

// Notification codes of the command message, as the Win32 view hands them on.
namespace notify {
constexpr int buttonClicked = 0;       // BN_CLICKED
constexpr int listSelChange = 1;       // LBN_SELCHANGE
constexpr int editSetFocus = 0x0100;   // EN_SETFOCUS
constexpr int editKillFocus = 0x0200;  // EN_KILLFOCUS
constexpr int editChange = 0x0300;     // EN_CHANGE
constexpr int editUpdate = 0x0400;     // EN_UPDATE
}  // namespace notify

// A list box index; -1 is none (LB_ERR).
constexpr int kNoItem = -1;

class DialogView {
 public:
  virtual ~DialogView() = default;

  // --- texts, states, focus ----------------------------------------------------------------
  virtual std::wstring getText(ControlId id) const = 0;
  virtual void setText(ControlId id, const std::wstring& text) = 0;
  // Check boxes and radio buttons. checkRadio checks one button of the group first..last
  // and clears the others, as CheckRadioButton does.
  virtual bool isChecked(ControlId id) const = 0;
  virtual void setChecked(ControlId id, bool checked) = 0;
  virtual void checkRadio(ControlId first, ControlId last, ControlId checked) = 0;
  virtual bool isEnabled(ControlId id) const = 0;
  virtual void enable(ControlId id, bool enabled) = 0;
  virtual bool isVisible(ControlId id) const = 0;
  virtual void show(ControlId id, bool visible) = 0;
  // The control of this dialog that has the focus, or kNoControl.
  virtual ControlId focus() const = 0;
  virtual void setFocus(ControlId id) = 0;
  virtual ControlId defaultButton() const = 0;
  virtual void setDefaultButton(ControlId id) = 0;
  // Drawing of a control off and on; turning it on redraws the control.
  virtual void setRedraw(ControlId id, bool redraw) = 0;

  // --- edit fields ---------------------------------------------------------------------------
  // Selects characters start..end (end excluded); start == end puts the caret there.
  virtual void selectText(ControlId id, int start, int end) = 0;
  virtual void scrollCaret(ControlId id) = 0;

  // --- list boxes ----------------------------------------------------------------------------
  // Indexes are those of the list as it shows; add places by the list's sort style.
  virtual void listBoxClear(ControlId id) = 0;
  virtual int listBoxAdd(ControlId id, const std::wstring& text) = 0;
  virtual int listBoxInsert(ControlId id, int index, const std::wstring& text) = 0;
  virtual void listBoxDelete(ControlId id, int index) = 0;
  virtual int listBoxCount(ControlId id) const = 0;
  virtual std::wstring listBoxText(ControlId id, int index) const = 0;
  // The selected item of a single-selection list, or kNoItem.
  virtual int listBoxSelection(ControlId id) const = 0;
  // kNoItem clears the selection.
  virtual void listBoxSelect(ControlId id, int index) = 0;
  // The first item equal to text as a whole, without regard to case; kNoItem for none.
  virtual int listBoxFindExact(ControlId id, const std::wstring& text) const = 0;

  // List views, combo boxes, tree views, date pickers and rich edit streaming join here as
  // the dialogs that use them arrive.

  // --- messages ------------------------------------------------------------------------------
  // A modal message box owned by the dialog; gives the id of the button chosen.
  virtual int messageBox(const std::wstring& text, const std::wstring& caption, UINT style) = 0;
  virtual void beep(Beep kind) = 0;

  // --- the dialog ----------------------------------------------------------------------------
  // Ends the modal dialog; the result is what the dialog returns to its caller.
  virtual void endDialog(int result) = 0;
  // A handler failed and the failure was dropped in its frame, as a window procedure drops
  // it. The Win32 view only traces it; a test sees it.
  virtual void handlerFailed(HRESULT code, const std::wstring& text) = 0;
};

}  // namespace zelvo::ui
