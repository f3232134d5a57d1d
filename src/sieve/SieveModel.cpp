// Nodes, freeing, parent pointers and list operations of the Sieve tree.
#include "sieve/SieveModel.h"

#include <algorithm>

namespace Sieve {

const wchar_t* const kDefaultNotifyMessage = L"$from$: $subject$\r\n$text$";

SieveRule::SieveRule(RuleKind ruleKind, SieveRule* parentRule) : kind(ruleKind) { setParent(this, parentRule); }

SieveRule::SieveRule(std::wstring ruleName, bool isEnabled, SieveRule* parentRule)
    : enabled(isEnabled), name(std::move(ruleName)) {
  setParent(this, parentRule);
}

SieveRule::SieveRule(const SieveRule& other)
    : kind(other.kind),
      enabled(other.enabled),
      reserved(other.reserved),
      name(other.name),
      parameters(other.parameters),
      argument(other.argument),
      editable(other.editable) {}

void SieveRule::setParameter(std::uint32_t id, const std::wstring& value) {
  parameters[ParameterKey(static_cast<std::uint32_t>(kind), id)] = value;
}

std::wstring& SieveRule::parameter(std::uint32_t id) {
  return parameters[ParameterKey(static_cast<std::uint32_t>(kind), id)];
}

// --- freeing -------------------------------------------------------------------------------

void deleteStringList(SieveStringList* head) noexcept {
  while (head) {
    SieveStringList* next = head->next;
    delete head;
    head = next;
  }
}

void deleteTests(SieveTest* head) noexcept {
  // Siblings iteratively; only children recurse, and the reader bounds their nesting.
  while (head) {
    SieveTest* next = head->next;
    deleteStringList(head->keys);
    deleteStringList(head->values);
    deleteTests(head->subTests);
    delete head;
    head = next;
  }
}

void deleteRules(SieveRule* head) noexcept {
  while (head) {
    SieveRule* next = head->next;
    if (head->kind == RuleKind::If) {
      deleteTests(head->test);
      deleteRules(head->thenBlock);
      deleteRules(head->elseBlock);
    }
    delete head;
    head = next;
  }
}

// --- parent pointers -----------------------------------------------------------------------

bool setParent(SieveRule* rule, SieveRule* parent) {
  if (!rule) return true;
  std::vector<const SieveRule*> seen{rule};
  bool acyclic = true;
  for (const SieveRule* node = parent; node; node = node->parent) {
    if (std::find(seen.begin(), seen.end(), node) != seen.end()) {
      acyclic = false;
      break;
    }
    seen.push_back(node);
  }
  rule->parent = parent;
  return acyclic;
}

bool isEnabledAtTop(const SieveRule* rule) {
  if (!rule) return false;
  // setParent stores cyclic pointers too; a cycle has no top, and reads as disabled rather
  // than hanging (Floyd's tortoise and hare).
  const SieveRule* slow = rule;
  const SieveRule* fast = rule;
  while (fast->parent && fast->parent->parent) {
    slow = slow->parent;
    fast = fast->parent->parent;
    if (slow == fast) return false;
  }
  const SieveRule* top = fast->parent ? fast->parent : fast;
  return top->enabled;
}

// --- list operations -----------------------------------------------------------------------

void appendRule(SieveRule*& head, SieveRule* rule) {
  if (!head) {
    head = rule;
    return;
  }
  SieveRule* last = head;
  while (last->next) last = last->next;
  last->next = rule;
}

void unlinkRule(SieveRule*& head, SieveRule* rule) {
  if (!rule) return;
  if (head == rule) {
    head = rule->next;
    rule->next = nullptr;
    return;
  }
  SieveRule* previous = previousRule(head, rule);
  if (!previous) return;  // not in the chain
  previous->next = rule->next;
  rule->next = nullptr;
}

bool replaceRule(SieveRule*& head, SieveRule* oldRule, SieveRule* newRule) {
  if (!oldRule || !containsRule(head, oldRule)) return false;
  SieveRule* previous = previousRule(head, oldRule);
  SieveRule* following = oldRule->next;
  if (newRule) {
    newRule->next = following;
    following = newRule;
  }
  if (previous)
    previous->next = following;
  else
    head = following;
  oldRule->next = nullptr;
  return true;
}

bool containsRule(const SieveRule* head, const SieveRule* rule) {
  for (; head; head = head->next)
    if (head == rule) return true;
  return false;
}

SieveRule* previousRule(SieveRule* head, const SieveRule* rule) {
  for (; head; head = head->next)
    if (head->next == rule && rule) return head;
  return nullptr;
}

SieveRule* findRule(SieveRule* head, const std::wstring& name) {
  for (; head; head = head->next)
    if (head->name == name) return head;
  return nullptr;
}

void moveRule(SieveRule*& head, SieveRule* rule, int delta) {
  if (!rule || delta == 0) return;
  if (delta < 0) {
    // Moving up is moving the predecessor down.
    SieveRule* previous = previousRule(head, rule);
    if (previous) moveRule(head, previous, 1);
    return;
  }
  SieveRule* successor = rule->next;
  if (!successor) return;
  SieveRule* previous = previousRule(head, rule);
  if (!previous && head != rule) return;  // not in the chain
  rule->next = successor->next;
  successor->next = rule;
  if (previous)
    previous->next = successor;
  else
    head = successor;
}

// --- string lists --------------------------------------------------------------------------

SieveStringList* makeStringList(const std::vector<std::wstring>& strings) {
  StringListPtr list;
  SieveStringList** tail = nullptr;
  for (const std::wstring& text : strings) {
    auto* node = new SieveStringList(text);
    if (!list) {
      list.reset(node);
    } else {
      *tail = node;
    }
    tail = &node->next;
  }
  return list.release();
}

std::vector<std::wstring> stringListToVector(const SieveStringList* list) {
  std::vector<std::wstring> strings;
  for (; list; list = list->next) strings.push_back(list->text);
  return strings;
}

void appendString(SieveStringList*& list, const std::wstring& text) {
  SieveStringList** tail = &list;
  while (*tail) tail = &(*tail)->next;
  *tail = new SieveStringList(text);
}

}  // namespace Sieve
