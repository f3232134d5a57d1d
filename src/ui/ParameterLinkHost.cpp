#include "ui/ParameterLinkHost.h"

namespace zelvo::ui {

bool ParameterLinkHost::editLink(Sieve::LinkKind kind, Sieve::SieveTest* test, Sieve::SieveRule* rule, HWND parent) {
  return dialogs_.edit(kind, test, rule, parent);
}

}  // namespace zelvo::ui
