// The raising forms of the reader and the writer over a whole text.
#include <memory>
#include <sstream>

#include "base/HResultException.h"
#include "sieve/SieveParser.h"
#include "sieve/SieveWriter.h"

namespace Sieve {

void SieveRule::parseScript(const std::wstring& text, SieveRule** head) {
  if (!head) ZEL_HERE.raise(E_INVALIDARG);
  *head = nullptr;
  // The record is large; keep it off the stack of the caller.
  auto status = std::make_unique<SieveParseStatus>();
  if (!parseRules(std::wstring_view(text), *head, false, status.get()))
    ZEL_HERE.raiseFormatted(E_FAIL, "Failed to parse sieve script (error=%d, line=%d)", status->errorFlag,
                            status->line);
}

void SieveRule::writeScript(SieveRule* rule, std::wstring& text, bool single) {
  std::wostringstream out;
  bool ok = true;
  if (single) {
    ok = writeRule(out, rule, 0, false, false);
  } else {
    for (SieveRule* node = rule; node && ok; node = node->next) ok = writeRule(out, node, 0, true, false);
  }
  // No partial text reaches the caller.
  if (!ok) ZEL_HERE.raise(E_FAIL, "Failed to write sieve script.");
  text = out.str();
}

}  // namespace Sieve
