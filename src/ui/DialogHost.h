// Runs a dialog modally: the one way a dialog's logic opens another dialog, so that tests
// can stand in for the user of the nested one. It also shows the message boxes of logic
// that has an owner window but no view of its own.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "ui/DialogLogic.h"

namespace zelvo::ui {

class DialogHost {
 public:
  virtual ~DialogHost() = default;
  using LogicFactory = std::function<std::unique_ptr<DialogLogic>(DialogView&)>;
  // Makes a view for the dialog template, lets make() build the logic on it, shows the
  // dialog modally over parent and gives the result it ended with (kIdCancel when it could
  // not be shown).
  virtual int runModal(int templateId, HWND parent, const LogicFactory& make) = 0;
  // A modal message box over parent (null: none), as a view's messageBox: gives the id of
  // the button chosen, 0 when it could not be shown.
  virtual int messageBox(HWND parent, const std::wstring& text, const std::wstring& caption, UINT style) = 0;
};

}  // namespace zelvo::ui
