// The two forms of forwarding: a script holds one `redirect` per address, the
// model one Redirect per list with the addresses joined by "; ".
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <boost/tokenizer.hpp>

#include "base/HResultException.h"
#include "sieve/SieveModel.h"

namespace Sieve {

namespace details {

std::vector<std::wstring> redirectAddresses(const std::wstring& argument) {
  using Separator = boost::char_separator<wchar_t>;
  boost::tokenizer<Separator, std::wstring::const_iterator, std::wstring> tokens(argument, Separator(L",; "));
  return std::vector<std::wstring>(tokens.begin(), tokens.end());
}

}  // namespace details

void mergeRedirects(SieveRule* head) {
  SieveRule* first = nullptr;  // the first Redirect of this chain
  SieveRule* previous = nullptr;
  SieveRule* node = head;
  while (node) {
    if (node->kind == RuleKind::Redirect) {
      if (!first) {
        first = node;
      } else {
        first->argument += L"; ";
        first->argument += node->argument;
        SieveRule* following = node->next;
        previous->next = following;
        // The parent field serves as a back pointer here; the writer overwrites it.
        if (following) following->parent = first;
        node->next = nullptr;
        deleteRules(node);
        node = following;
        continue;
      }
    }
    mergeRedirects(node->thenBlock);
    mergeRedirects(node->elseBlock);
    previous = node;
    node = node->next;
  }
}

void SieveRule::splitRules(SieveRule* head) {
  SieveRule* node = head;
  while (node) {
    splitRules(node->thenBlock);
    splitRules(node->elseBlock);
    if (node->kind == RuleKind::Redirect) {
      const std::vector<std::wstring> addresses = details::redirectAddresses(node->argument);
      if (!addresses.empty()) {
        node->argument = addresses.front();
        SieveRule* previous = node;
        for (size_t i = 1; i < addresses.size(); ++i) {
          std::unique_ptr<SieveRule> made;  // a node copy owns nothing but itself
          try {
            made.reset(new SieveRule(*node));
            made->argument = addresses[i];
          } catch (const std::bad_alloc&) {
            ZEL_HERE.raise(E_FAIL, "Failed to clone sieve rule");
          }
          SieveRule* copy = made.release();
          copy->next = previous->next;
          previous->next = copy;
          copy->parent = previous;
          if (copy->next) copy->next->parent = copy;
          previous = copy;
        }
        node = previous->next;
        continue;
      }
    }
    node = node->next;
  }
}

}  // namespace Sieve
