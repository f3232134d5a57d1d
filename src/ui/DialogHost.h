// Runs a dialog modally: the one way a dialog's logic opens another dialog, so that tests
// can stand in for the user of the nested one.
#pragma once

#include <functional>
#include <memory>

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
};

}  // namespace zelvo::ui
