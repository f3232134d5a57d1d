// The parsed script of one mailbox, and whether it still agrees with the text on the
// server. The junk e-mail rule, when present, stands first and the out-of-office rule
// directly behind it; the user's rules follow in their order.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/Win32.h"
#include "sieve/OutOfOfficeRule.h"
#include "sieve/SieveModel.h"
#include "sieve/SieveParser.h"

struct IGlobalConfig;

namespace Sieve {

enum class SieveStatus : std::int32_t {
  NotLoaded = 0,  // no usable script is held
  Loaded = 1,     // the rules agree with the server's text
  Modified = 2,   // changed, to be saved
  Repaired = 3,   // did not parse and was corrected by hand; to be saved
};

// What a script that does not parse puts in front of a user: the message, and the dialog
// in which the text can be corrected. The rules dialog implements it; without one, a
// failed parse simply fails.
class IScriptRepair {
 public:
  virtual ~IScriptRepair() = default;
  // Shows the parse failure; with askFix, asks whether to correct the script by hand and
  // gives the answer. Without askFix the result is false.
  virtual bool showParseFailure(HWND parent, const SieveParseStatus& status, bool askFix) = 0;
  // Lets the user correct text. On OK gives true with the parsed rules in *rules (owned
  // by the caller); on cancel false.
  virtual bool editScript(HWND parent, const std::wstring& text, SieveRule** rules) = 0;
};

class SieveRules {
 public:
  SieveRules() = default;
  SieveRules(const SieveRules&) = delete;
  SieveRules& operator=(const SieveRules&) = delete;
  virtual ~SieveRules();

  void setScriptRepair(IScriptRepair* repair) { repair_ = repair; }
  // The present moment in seconds since 1970 UTC, for the out-of-office range.
  void setClock(std::function<int64_t()> clock) { clock_ = std::move(clock); }

  // Frees the rules; the status becomes NotLoaded.
  void clear();
  // Fetches the script from the store and parses it.
  void loadSieveScript(IGlobalConfig* config, bool allowFix, HWND parent);
  // On failure raises "Failed to parse sieve script (error=%d, line=%d)" (E_FAIL, or E_ABORT
  // when the user cancelled the correction) and holds no rules.
  void parseSieveScript(const std::wstring& text, bool allowFix, HWND parent);
  // Stores the script when it was modified or repaired; otherwise does nothing.
  void saveSieveScript(IGlobalConfig* config);
  void writeSieveScript(std::wstring& text) const;

  // The head itself (copy false) or a copy owned by the caller, without else branches.
  SieveRule* getRules(bool copy) const;
  // Copies the chain in; the caller keeps what it passed. Moves to Modified last, which
  // raises when the status allows no such move, the change having been made.
  void setRules(const SieveRule* head);
  SieveRule* findRuleByName(const std::wstring& name) const;

  SieveStatus getSieveStatus() const { return status_; }
  void setSieveStatus(SieveStatus status);

  // Junk e-mail filtering. Each raises E_INVALIDARG while NotLoaded; each setter ends by
  // moving to Modified (see setRules).
  bool getJunkEmailEnabled() const;
  void setJunkEmailEnabled(bool enabled);
  std::vector<std::wstring> getJunkEmailTrustedSenders() const;
  void setJunkEmailTrustedSenders(const std::vector<std::wstring>& senders);
  bool getJunkEmailTrustContacts() const;
  void setJunkEmailTrustContacts(bool trustContacts);

  // The out-of-office reply, with the same raising and status rules. getOutOfOffice fills
  // in the defaults before anything else, so that a caller always has a record to edit.
  void getOutOfOffice(OutOfOfficeParams& params) const;
  void setOutOfOffice(const OutOfOfficeParams& params);
  // The rule's flag, or with a range whether the range holds the present moment.
  bool getOutOfOfficeEnabled() const;
  void setOutOfOfficeEnabled(bool enabled);

 protected:
  void requireLoaded() const;
  // The rule of that name when it has the junk e-mail form, else null.
  SieveRule* findJunkEmailRule() const;
  void insertAtHead(SieveRule* rule);
  SieveRule* findOutOfOfficeRule() const;
  // A new out-of-office rule goes to the head, and a junk e-mail rule back in front of it.
  void insertOutOfOfficeRule(SieveRule* rule);
  int64_t now() const { return clock_ ? clock_() : systemClockSeconds(); }

  SieveRule* rules_ = nullptr;
  SieveStatus status_ = SieveStatus::NotLoaded;
  IScriptRepair* repair_ = nullptr;
  std::function<int64_t()> clock_;
};

namespace details {
// Move the given rule into its reserved place: the junk e-mail rule to the head; the
// out-of-office rule behind a valid junk e-mail rule at the head, else to the head.
// A null or empty chain and a null rule raise E_INVALIDARG.
void repairJunkEmailPosition(SieveRule*& head, SieveRule* rule);
void repairOutOfOfficePosition(SieveRule*& head, SieveRule* rule);
}  // namespace details

}  // namespace Sieve
