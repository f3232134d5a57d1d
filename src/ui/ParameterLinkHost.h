// The links of a rule's description as the product opens them: each click goes to the
// parameter dialog of its kind, owned by the dialog that shows the description.
#pragma once

#include "ui/ParameterDialogs.h"
#include "ui/RuleDescriptionHost.h"

namespace zelvo::ui {

class ParameterLinkHost : public RuleDescriptionHost {
 public:
  // dialogs outlives this object.
  explicit ParameterLinkHost(ParameterDialogs& dialogs) : dialogs_(dialogs) {}

  bool editLink(Sieve::LinkKind kind, Sieve::SieveTest* test, Sieve::SieveRule* rule, HWND parent) override;

 private:
  ParameterDialogs& dialogs_;
};

}  // namespace zelvo::ui
