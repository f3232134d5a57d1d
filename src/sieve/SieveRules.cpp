#include "sieve/SieveRules.h"

#include "base/HResultException.h"
#include "sieve/JunkEmailRule.h"
#include "sieve/SieveWriter.h"

namespace Sieve {

namespace details {

void moveToPosition(SieveRule*& head, SieveRule* rule, SieveRule* after) {
  unlinkRule(head, rule);
  if (after) {
    rule->next = after->next;
    after->next = rule;
  } else {
    rule->next = head;
    head = rule;
  }
}

void repairJunkEmailPosition(SieveRule*& head, SieveRule* rule) {
  if (!head || !rule) ZEL_HERE.raise(E_INVALIDARG);
  if (head != rule) moveToPosition(head, rule, nullptr);
}

void repairOutOfOfficePosition(SieveRule*& head, SieveRule* rule) {
  if (!head || !rule) ZEL_HERE.raise(E_INVALIDARG);
  if (isJunkEmailRule(head) && head != rule) {
    if (head->next != rule) moveToPosition(head, rule, head);
  } else if (head != rule) {
    moveToPosition(head, rule, nullptr);
  }
}

}  // namespace details

SieveRules::~SieveRules() { deleteRules(rules_); }

void SieveRules::clear() {
  deleteRules(rules_);
  rules_ = nullptr;
  status_ = SieveStatus::NotLoaded;
}

void SieveRules::parseSieveScript(const std::wstring& text, bool allowFix, HWND parent) {
  clear();
  HRESULT failure = E_FAIL;
  SieveParseStatus parseStatus;
  try {
    SieveRule* parsed = nullptr;
    if (parseRules(text, parsed, true, &parseStatus)) {
      rules_ = parsed;
      setSieveStatus(SieveStatus::Loaded);
      return;
    }
    if ((allowFix || parent) && repair_ && repair_->showParseFailure(parent, parseStatus, true)) {
      SieveRule* corrected = nullptr;
      if (repair_->editScript(parent, text, &corrected)) {
        RulePtr owned(corrected);
        rules_ = cloneRule(corrected, CloneWithSiblings);
        setSieveStatus(SieveStatus::Repaired);
        return;
      }
      failure = E_ABORT;
    }
  } catch (const HResultException&) {
    throw;
  } catch (const std::exception&) {
    ZEL_HERE.raise(E_FAIL, "Failed to parse sieve script.");
  }
  ZEL_HERE.raiseFormatted(failure, "Failed to parse sieve script (error=%d, line=%d)", parseStatus.errorFlag,
                          parseStatus.line);
}

void SieveRules::writeSieveScript(std::wstring& text) const {
  std::wstring written;
  if (!writeRulesInto(written, rules_)) ZEL_HERE.raise(E_FAIL, "Failed to write sieve script.");
  text.swap(written);
}

SieveRule* SieveRules::getRules(bool copy) const {
  requireLoaded();
  return copy ? cloneRule(rules_, CloneWithSiblings) : rules_;
}

void SieveRules::setRules(const SieveRule* head) {
  SieveRule* copy = nullptr;
  if (head) {
    copy = cloneRule(head, CloneWithSiblings);
    if (!copy) ZEL_HERE.raise(E_OUTOFMEMORY);
  }
  deleteRules(rules_);
  rules_ = copy;
  setSieveStatus(SieveStatus::Modified);
}

SieveRule* SieveRules::findRuleByName(const std::wstring& name) const {
  if (name.empty()) ZEL_HERE.raise(E_INVALIDARG);
  return findRule(rules_, name);
}

void SieveRules::setSieveStatus(SieveStatus status) {
  bool allowed = false;
  switch (status_) {
    case SieveStatus::NotLoaded:
      allowed = status == SieveStatus::Loaded || status == SieveStatus::Repaired;
      break;
    case SieveStatus::Loaded:
      allowed = status == SieveStatus::Loaded || status == SieveStatus::Modified;
      break;
    case SieveStatus::Modified:
    case SieveStatus::Repaired:
      allowed = status == SieveStatus::Loaded;
      break;
    default:
      ZEL_HERE.raise(E_UNEXPECTED);
  }
  if (!allowed) ZEL_HERE.raise(E_INVALIDARG);
  status_ = status;
}

void SieveRules::requireLoaded() const {
  if (status_ == SieveStatus::NotLoaded) ZEL_HERE.raise(E_INVALIDARG);
}

SieveRule* SieveRules::findJunkEmailRule() const {
  SieveRule* rule = findRule(rules_, kJunkEmailRuleName);
  return isJunkEmailRule(rule) ? rule : nullptr;
}

void SieveRules::insertAtHead(SieveRule* rule) {
  rule->next = rules_;
  rules_ = rule;
}

bool SieveRules::getJunkEmailEnabled() const {
  requireLoaded();
  const SieveRule* rule = findJunkEmailRule();
  return rule && rule->enabled;
}

void SieveRules::setJunkEmailEnabled(bool enabled) {
  requireLoaded();
  if (SieveRule* rule = findJunkEmailRule()) {
    details::repairJunkEmailPosition(rules_, rule);
    rule->enabled = enabled;
  } else {
    insertAtHead(createJunkEmailRule({}, false, enabled));
  }
  setSieveStatus(SieveStatus::Modified);
}

std::vector<std::wstring> SieveRules::getJunkEmailTrustedSenders() const {
  requireLoaded();
  std::vector<std::wstring> senders;
  bool trustContacts = false;
  if (const SieveRule* rule = findJunkEmailRule()) getJunkEmailRuleParams(rule, senders, trustContacts);
  return senders;
}

void SieveRules::setJunkEmailTrustedSenders(const std::vector<std::wstring>& senders) {
  requireLoaded();
  if (SieveRule* rule = findJunkEmailRule()) {
    details::repairJunkEmailPosition(rules_, rule);
    std::vector<std::wstring> present;
    bool trustContacts = false;
    getJunkEmailRuleParams(rule, present, trustContacts);
    setJunkEmailRuleParams(rule, senders, trustContacts);
  } else {
    insertAtHead(createJunkEmailRule(senders, false, false));
  }
  setSieveStatus(SieveStatus::Modified);
}

bool SieveRules::getJunkEmailTrustContacts() const {
  requireLoaded();
  std::vector<std::wstring> senders;
  bool trustContacts = false;
  if (const SieveRule* rule = findJunkEmailRule()) getJunkEmailRuleParams(rule, senders, trustContacts);
  return trustContacts;
}

void SieveRules::setJunkEmailTrustContacts(bool trustContacts) {
  requireLoaded();
  if (SieveRule* rule = findJunkEmailRule()) {
    details::repairJunkEmailPosition(rules_, rule);
    std::vector<std::wstring> senders;
    bool present = false;
    getJunkEmailRuleParams(rule, senders, present);
    setJunkEmailRuleParams(rule, senders, trustContacts);
  } else {
    insertAtHead(createJunkEmailRule({}, trustContacts, false));
  }
  setSieveStatus(SieveStatus::Modified);
}

SieveRule* SieveRules::findOutOfOfficeRule() const {
  SieveRule* rule = findRule(rules_, kOutOfOfficeRuleName);
  return isOutOfOfficeRule(rule) ? rule : nullptr;
}

void SieveRules::insertOutOfOfficeRule(SieveRule* rule) {
  insertAtHead(rule);
  if (SieveRule* junk = findRule(rules_, kJunkEmailRuleName)) details::repairJunkEmailPosition(rules_, junk);
}

void SieveRules::getOutOfOffice(OutOfOfficeParams& params) const {
  const int64_t moment = now();
  initOutOfOffice(params, moment);
  requireLoaded();
  if (const SieveRule* rule = findOutOfOfficeRule()) readOutOfOffice(rule, params, moment);
}

void SieveRules::setOutOfOffice(const OutOfOfficeParams& params) {
  requireLoaded();
  if (SieveRule* rule = findOutOfOfficeRule()) {
    details::repairOutOfOfficePosition(rules_, rule);
    applyOutOfOffice(rule, params);
  } else {
    insertOutOfOfficeRule(createOutOfOfficeRule(params));
  }
  setSieveStatus(SieveStatus::Modified);
}

bool SieveRules::getOutOfOfficeEnabled() const {
  requireLoaded();
  const SieveRule* rule = findOutOfOfficeRule();
  if (!rule || !rule->enabled) return false;
  OutOfOfficeParams params;
  readOutOfOffice(rule, params, now());
  return params.rangeEnabled ? params.activeNow : params.enabled;
}

void SieveRules::setOutOfOfficeEnabled(bool enabled) {
  requireLoaded();
  if (SieveRule* rule = findOutOfOfficeRule()) {
    details::repairOutOfOfficePosition(rules_, rule);
    rule->enabled = enabled;
  } else {
    OutOfOfficeParams params;
    initOutOfOffice(params, now());
    params.enabled = enabled;
    insertOutOfOfficeRule(createOutOfOfficeRule(params));
  }
  setSieveStatus(SieveStatus::Modified);
}

}  // namespace Sieve
