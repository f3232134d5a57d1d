#include "ui/ParameterLinkHost.h"

#include <utility>

namespace zelvo::ui {

ParameterLinkHost::ParameterLinkHost(ParameterDialogs& dialogs, ParentSource parent)
    : dialogs_(dialogs), parent_(std::move(parent)) {}

bool ParameterLinkHost::editLink(Sieve::LinkKind kind, Sieve::SieveTest* test, Sieve::SieveRule* rule) {
  return dialogs_.edit(kind, test, rule, parent_ ? parent_() : nullptr);
}

}  // namespace zelvo::ui
