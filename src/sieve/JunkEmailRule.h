// The junk e-mail rule: a rule of the user's script with a reserved name that files what
// the server's spam filter marks into "Junk E-Mail" and stops, unless the sender is
// trusted or, when that option is on, a known contact.
#pragma once

#include <string>
#include <vector>

#include "sieve/SieveModel.h"

namespace Sieve {

extern const wchar_t* const kJunkEmailRuleName;    // "__WebmailJunk__"
extern const wchar_t* const kJunkEmailFolderName;  // "Junk E-Mail"

// Either shape: a plain spamtest, or allof(spamtest, not address :all :is [:iscontact]
// "From" <senders>). Null and a negated top give false.
bool isJunkEmailTest(const SieveTest* test);
// The reserved name, an If without else, a junk test, and exactly a FileInto and a Stop.
bool isJunkEmailRule(const SieveRule* rule);

// The plain spamtest for an empty list without contacts, else the allof shape (with a null
// values list when the list is empty). Owned by the caller.
SieveTest* createJunkEmailTest(const std::vector<std::wstring>& senders, bool trustContacts);
SieveRule* createJunkEmailRule(const std::vector<std::wstring>& senders, bool trustContacts, bool enabled);

// Raise E_INVALIDARG for null, and for an allof without an address child.
void getJunkEmailTestParams(const SieveTest* test, std::vector<std::wstring>& senders, bool& trustContacts);
void getJunkEmailRuleParams(const SieveRule* rule, std::vector<std::wstring>& senders, bool& trustContacts);
// Replaces the rule's test with a new one of these parameters.
void setJunkEmailRuleParams(SieveRule* rule, const std::vector<std::wstring>& senders, bool trustContacts);

}  // namespace Sieve
