#include "sieve/JunkEmailRule.h"

#include "base/HResultException.h"

namespace Sieve {

const wchar_t* const kJunkEmailRuleName = L"__WebmailJunk__";
const wchar_t* const kJunkEmailFolderName = L"Junk E-Mail";

namespace details {

bool isPlainSpamTest(const SieveTest* test) { return test && test->kind == TestKind::SpamTest && !test->negated; }

// not address :all :is [:iscontact] "From" ...: one key, compared with case, no octet comparator.
bool isTrustedSendersTest(const SieveTest* test) {
  return test && test->kind == TestKind::Address && test->negated && test->keys && !test->keys->next &&
         test->keys->text == L"From" && test->addressPart == AddressPart::All && test->matchType == MatchType::Is &&
         test->octetComparator == 0;
}

}  // namespace details

bool isJunkEmailTest(const SieveTest* test) {
  if (!test || test->negated) return false;
  if (test->kind == TestKind::SpamTest) return true;
  if (test->kind != TestKind::AllOf) return false;
  const SieveTest* first = test->subTests;
  return details::isPlainSpamTest(first) && details::isTrustedSendersTest(first->next) && !first->next->next;
}

bool isJunkEmailRule(const SieveRule* rule) {
  if (!rule || rule->kind != RuleKind::If || rule->name != kJunkEmailRuleName || rule->elseBlock) return false;
  if (!isJunkEmailTest(rule->test)) return false;
  const SieveRule* fileInto = rule->thenBlock;
  return fileInto && fileInto->kind == RuleKind::FileInto && fileInto->next &&
         fileInto->next->kind == RuleKind::Stop && !fileInto->next->next;
}

SieveTest* createJunkEmailTest(const std::vector<std::wstring>& senders, bool trustContacts) {
  if (senders.empty() && !trustContacts) return new SieveTest(TestKind::SpamTest);
  TestPtr allOf(new SieveTest(TestKind::AllOf));
  allOf->subTests = new SieveTest(TestKind::SpamTest);
  auto* address = new SieveTest(TestKind::Address);
  allOf->subTests->next = address;
  address->negated = true;
  address->isContact = trustContacts;
  address->keys = makeStringList({L"From"});
  address->values = makeStringList(senders);
  return allOf.release();
}

SieveRule* createJunkEmailRule(const std::vector<std::wstring>& senders, bool trustContacts, bool enabled) {
  RulePtr rule(new SieveRule(kJunkEmailRuleName, enabled, nullptr));
  rule->kind = RuleKind::If;
  rule->test = createJunkEmailTest(senders, trustContacts);
  auto* fileInto = new SieveRule(RuleKind::FileInto, rule.get());
  rule->thenBlock = fileInto;
  fileInto->setArgument(kJunkEmailFolderName);
  fileInto->next = new SieveRule(RuleKind::Stop, rule.get());
  return rule.release();
}

void getJunkEmailTestParams(const SieveTest* test, std::vector<std::wstring>& senders, bool& trustContacts) {
  if (!test) ZEL_HERE.raise(E_INVALIDARG);
  senders.clear();
  trustContacts = false;
  if (test->kind != TestKind::AllOf) return;
  const SieveTest* address = test->subTests;
  while (address && address->kind != TestKind::Address) address = address->next;
  if (!address) ZEL_HERE.raise(E_INVALIDARG);
  trustContacts = address->isContact;
  // An empty string stands for "no senders" when contacts are trusted; it is no sender.
  for (const SieveStringList* value = address->values; value; value = value->next)
    if (!value->text.empty()) senders.push_back(value->text);
}

void getJunkEmailRuleParams(const SieveRule* rule, std::vector<std::wstring>& senders, bool& trustContacts) {
  if (!rule) ZEL_HERE.raise(E_INVALIDARG);
  getJunkEmailTestParams(rule->test, senders, trustContacts);
}

void setJunkEmailRuleParams(SieveRule* rule, const std::vector<std::wstring>& senders, bool trustContacts) {
  if (!rule) ZEL_HERE.raise(E_INVALIDARG);
  SieveTest* test = createJunkEmailTest(senders, trustContacts);
  if (!test) ZEL_HERE.raise(E_UNEXPECTED);
  deleteTests(rule->test);
  rule->test = test;
}

}  // namespace Sieve
