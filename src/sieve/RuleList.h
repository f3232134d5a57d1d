// The list of rules as the rules dialog shows it: the junk e-mail rule and the
// out-of-office rule in rows of their own at the top, not editable there, then the user's
// rules in their order. Works on a copy of a rule set's rules and hands the whole chain
// back in the required order.
#pragma once

#include <string>
#include <vector>

#include "sieve/SieveModel.h"

namespace Sieve {

class SieveRules;

// The text of a row: the display names of the two reserved rules, the unnamed-rule text
// for an empty name, otherwise the name.
std::wstring rowName(const SieveRule* rule);

// Removes, in the block and the else chain of every top-level If, the Keep and Discard
// commands that follow the first Keep or Discard; a rule holds one of them at most.
void removeRepeatedKeepDiscard(SieveRule* head);

class RuleList {
 public:
  // Takes a copy of the rule set's rules (raises as getRules does).
  void load(const SieveRules& rules);

  size_t size() const { return entries_.size(); }
  SieveRule* rule(size_t row) const { return entries_.at(row); }
  bool isReserved(size_t row) const { return entries_.at(row)->reserved; }
  std::wstring name(size_t row) const { return rowName(entries_.at(row)); }

  // Flips the enabled flag of a user rule; reserved rows do not toggle (their state
  // belongs to their own dialogs) and give false.
  bool toggle(size_t row);

  // Hands the reserved rules and then the user's rules to the rule set.
  void apply(SieveRules& rules);

 private:
  RulePtr reserved_;
  RulePtr rules_;
  std::vector<SieveRule*> entries_;
};

}  // namespace Sieve
