// The seam between a rule's description and the dialogs that edit its values: a click on a
// link of the description hands the node to the parameter dialog of the link's kind. The
// host holds what those dialogs need (the session, the store's configuration) so that the
// description itself knows none of it; the description names the owner window.
#pragma once

#include "platform/Win32.h"
#include "sieve/RuleDescription.h"
#include "sieve/SieveModel.h"

namespace zelvo::ui {

class RuleDescriptionHost {
 public:
  virtual ~RuleDescriptionHost() = default;
  // Opens the parameter dialog of kind on its node: the test for AndOr, Address, Match, Size
  // and Word, the command for the others (the other pointer is null). The dialog writes the
  // values back on OK. parent is the window of the dialog that shows the description, the
  // owner of the one that opens. True when the node was changed.
  virtual bool editLink(Sieve::LinkKind kind, Sieve::SieveTest* test, Sieve::SieveRule* rule, HWND parent) = 0;
};

}  // namespace zelvo::ui
