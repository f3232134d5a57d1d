// The links of a rule's description as the product opens them: each click goes to the
// parameter dialog of its kind, over the window that is in front at that moment (the rule
// editor that shows the description).
#pragma once

#include <functional>

#include "ui/ParameterDialogs.h"
#include "ui/RuleDescriptionHost.h"

namespace zelvo::ui {

class ParameterLinkHost : public RuleDescriptionHost {
 public:
  // The owner of the next parameter dialog, asked at each click; the editor that holds the
  // description is not yet open when this object is made.
  using ParentSource = std::function<HWND()>;

  // dialogs outlives this object. Without parent the dialogs open without an owner.
  explicit ParameterLinkHost(ParameterDialogs& dialogs, ParentSource parent = {});

  bool editLink(Sieve::LinkKind kind, Sieve::SieveTest* test, Sieve::SieveRule* rule) override;

 private:
  ParameterDialogs& dialogs_;
  ParentSource parent_;
};

}  // namespace zelvo::ui
