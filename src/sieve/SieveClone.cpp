// Explicit copies of rules, tests and string lists. Running out of memory gives
// null and frees what was copied so far.
#include <new>

#include "sieve/SieveModel.h"

namespace Sieve {

namespace details {

SieveStringList* copyStringList(const SieveStringList* list, bool all) {
  if (!list) return nullptr;
  StringListPtr copy(new SieveStringList(list->text));
  if (all) {
    SieveStringList** tail = &copy->next;
    for (const SieveStringList* node = list->next; node; node = node->next) {
      *tail = new SieveStringList(node->text);
      tail = &(*tail)->next;
    }
  }
  return copy.release();
}

SieveTest* copyTest(const SieveTest* test, bool deep) {
  if (!test) return nullptr;
  TestPtr copy(new SieveTest(test->kind));
  copy->negated = test->negated;
  copy->octetComparator = test->octetComparator;
  copy->addressPart = test->addressPart;
  copy->matchType = test->matchType;
  copy->isContact = test->isContact;
  copy->sizeMode = test->sizeMode;
  copy->sizeLimit = test->sizeLimit;
  if (deep) {
    copy->keys = copyStringList(test->keys, true);
    copy->values = copyStringList(test->values, true);
    SieveTest** tail = &copy->subTests;
    for (const SieveTest* child = test->subTests; child; child = child->next) {
      *tail = copyTest(child, true);
      tail = &(*tail)->next;
    }
  }
  return copy.release();
}

// One rule in mode 0 or 1; the else branch is left out on purpose.
SieveRule* copyRule(const SieveRule* rule, bool withBlock) {
  RulePtr copy(new SieveRule(*rule));
  // Test and blocks belong to If nodes only, as deleteRules follows them there only.
  if (withBlock && rule->kind == RuleKind::If) {
    copy->test = copyTest(rule->test, true);
    SieveRule** tail = &copy->thenBlock;
    for (const SieveRule* command = rule->thenBlock; command; command = command->next) {
      *tail = copyRule(command, true);
      (*tail)->parent = copy.get();
      tail = &(*tail)->next;
    }
  }
  return copy.release();
}

}  // namespace details

SieveRule* cloneRule(const SieveRule* rule, int mode, SieveRule* parent) noexcept {
  if (!rule) return nullptr;
  try {
    RulePtr copy(details::copyRule(rule, mode != CloneNode));
    if (mode == CloneWithSiblings) {
      SieveRule** tail = &copy->next;
      for (const SieveRule* sibling = rule->next; sibling; sibling = sibling->next) {
        *tail = details::copyRule(sibling, true);
        // The siblings share the head's enclosing If.
        (*tail)->parent = parent;
        tail = &(*tail)->next;
      }
    }
    if (parent) setParent(copy.get(), parent);
    return copy.release();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

SieveTest* cloneTest(const SieveTest* test, bool deep) noexcept {
  try {
    return details::copyTest(test, deep);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

SieveStringList* cloneStringList(const SieveStringList* list, bool all) noexcept {
  try {
    return details::copyStringList(list, all);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace Sieve
