#include "sieve/RuleList.h"

#include "sieve/JunkEmailRule.h"
#include "sieve/OutOfOfficeRule.h"
#include "sieve/SieveRules.h"
#include "strings/Localization.h"

namespace Sieve {
namespace details {

constexpr unsigned kJunkEmailRowName = 11081;
constexpr unsigned kOutOfOfficeRowName = 11082;
constexpr unsigned kUnnamedRowName = 11083;

bool isKeepOrDiscard(const SieveRule* rule) {
  return rule->kind == RuleKind::Keep || rule->kind == RuleKind::Discard;
}

void removeRepeatsInChain(SieveRule*& head) {
  bool seen = false;
  for (SieveRule* rule = head; rule;) {
    SieveRule* next = rule->next;
    if (isKeepOrDiscard(rule)) {
      if (seen) {
        unlinkRule(head, rule);
        deleteRules(rule);
      }
      seen = true;
    }
    rule = next;
  }
}

}  // namespace details

std::wstring rowName(const SieveRule* rule) {
  if (rule->name == kJunkEmailRuleName) return Localization::getString(details::kJunkEmailRowName);
  if (rule->name == kOutOfOfficeRuleName) return Localization::getString(details::kOutOfOfficeRowName);
  if (rule->name.empty()) return Localization::getString(details::kUnnamedRowName);
  return rule->name;
}

void removeRepeatedKeepDiscard(SieveRule* head) {
  for (SieveRule* rule = head; rule; rule = rule->next) {
    if (rule->kind != RuleKind::If) continue;
    details::removeRepeatsInChain(rule->thenBlock);
    details::removeRepeatsInChain(rule->elseBlock);
  }
}

void RuleList::load(const SieveRules& rules) {
  entries_.clear();
  reserved_.reset();
  rules_.reset(rules.getRules(true));
  SieveRule* head = rules_.release();
  removeRepeatedKeepDiscard(head);
  // The reserved rows are found by name alone; their shape is not looked at here.
  SieveRule* reservedHead = nullptr;
  for (const wchar_t* name : {kJunkEmailRuleName, kOutOfOfficeRuleName}) {
    if (SieveRule* rule = findRule(head, name)) {
      unlinkRule(head, rule);
      rule->reserved = true;
      appendRule(reservedHead, rule);
      entries_.push_back(rule);
    }
  }
  reserved_.reset(reservedHead);
  rules_.reset(head);
  for (SieveRule* rule = head; rule; rule = rule->next) entries_.push_back(rule);
}

bool RuleList::toggle(size_t row) {
  SieveRule* rule = entries_.at(row);
  if (rule->reserved) return false;
  rule->enabled = !rule->enabled;
  return true;
}

void RuleList::apply(SieveRules& rules) {
  // The reserved chain in front of the user's rules for the moment of the hand-over.
  SieveRule* last = reserved_.get();
  while (last && last->next) last = last->next;
  if (!last) {
    rules.setRules(rules_.get());
    return;
  }
  last->next = rules_.get();
  try {
    rules.setRules(reserved_.get());
  } catch (...) {
    last->next = nullptr;
    throw;
  }
  last->next = nullptr;
}

}  // namespace Sieve
