#include "sieve/OutOfOfficeRule.h"

#include <chrono>
#include <cwchar>

#include "base/HResultException.h"
#include "calendar/DateTime.h"
#include "strings/Localization.h"

namespace Sieve {

const wchar_t* const kOutOfOfficeRuleName = L"__WebmailAutoreply__";

namespace details {

constexpr unsigned kDefaultMessageId = 15008;

// Numbers in the options are read as 64-bit signed decimals; what does not start with a
// number reads as 0.
int64_t optionNumber(const std::wstring& text) {
  if (text.empty()) return 0;
  wchar_t* end = nullptr;
  return static_cast<int64_t>(std::wcstoll(text.c_str(), &end, 10));
}

std::wstring flag(bool value) { return value ? L"1" : L"0"; }

SieveRule* vacationOf(const SieveRule* rule) { return rule ? rule->thenBlock : nullptr; }

}  // namespace details

int64_t systemClockSeconds() {
  return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

SYSTEMTIME utcFieldsOfSeconds(int64_t seconds) {
  SYSTEMTIME fields = {};
  zelvo::timezone::DateTime::fromUtc(seconds).toSystemTime(fields);
  return fields;
}

int64_t secondsOfUtcFields(const SYSTEMTIME& fields) {
  const int64_t seconds = zelvo::timezone::DateTime(fields).utc();
  return seconds < 0 ? 0 : seconds;
}

bool isOutOfOfficeRule(const SieveRule* rule) {
  if (!rule || rule->kind != RuleKind::If || rule->name != kOutOfOfficeRuleName || rule->elseBlock) return false;
  const SieveTest* test = rule->test;
  if (!test || test->kind != TestKind::True || test->negated || test->next) return false;
  return rule->thenBlock && rule->thenBlock->kind == RuleKind::Vacation;
}

void initOutOfOffice(OutOfOfficeParams& params, int64_t now) {
  params = OutOfOfficeParams();
  params.message = Localization::getString(details::kDefaultMessageId);
  const int64_t hour = now - ((now % 3600) + 3600) % 3600;
  params.rangeStart = utcFieldsOfSeconds(hour);
  params.rangeEnd = utcFieldsOfSeconds(hour + 86400);
  params.externalSubject = params.subject;
  params.externalBody = params.message;
}

void applyOutOfOffice(SieveRule* rule, const OutOfOfficeParams& params) {
  SieveRule* vacation = details::vacationOf(rule);
  if (!rule || !vacation) ZEL_HERE.raise(E_INVALIDARG);
  rule->enabled = params.enabled;
  vacation->setArgument(params.message);
  // An empty option is not written, so switching a part off makes it vanish from the text.
  const bool range = params.rangeEnabled;
  vacation->setParameter(VacationParameter::RangeEnabled, range ? L"1" : L"");
  vacation->setParameter(VacationParameter::RangeStart,
                         range ? std::to_wstring(secondsOfUtcFields(params.rangeStart)) : L"");
  vacation->setParameter(VacationParameter::RangeEnd,
                         range ? std::to_wstring(secondsOfUtcFields(params.rangeEnd)) : L"");
  const bool external = params.externalSupported;
  vacation->setParameter(VacationParameter::ExternalMessageEnabled,
                         external ? details::flag(params.externalEnabled) : L"");
  vacation->setParameter(VacationParameter::ExternalMessageSubject, external ? params.externalSubject : L"");
  vacation->setParameter(VacationParameter::ExternalMessageBody, external ? params.externalBody : L"");
  vacation->setParameter(VacationParameter::ExternalMessageKnownContactsOnly,
                         external ? details::flag(params.externalKnownContactsOnly) : L"");
}

SieveRule* createOutOfOfficeRule(const OutOfOfficeParams& params) {
  RulePtr rule(new SieveRule(kOutOfOfficeRuleName, params.enabled, nullptr));
  rule->kind = RuleKind::If;
  rule->test = new SieveTest(TestKind::True);
  rule->thenBlock = new SieveRule(RuleKind::Vacation, rule.get());
  applyOutOfOffice(rule.get(), params);
  return rule.release();
}

void readOutOfOffice(const SieveRule* rule, OutOfOfficeParams& params, int64_t now) {
  SieveRule* vacation = details::vacationOf(rule);
  if (!rule || !vacation) ZEL_HERE.raise(E_INVALIDARG);
  initOutOfOffice(params, now);
  const SYSTEMTIME defaultStart = params.rangeStart, defaultEnd = params.rangeEnd;
  params.enabled = rule->enabled;
  params.message = vacation->argument;
  // Reading a missing option inserts an empty one; the copy keeps the tree as it is.
  SieveRule options(*vacation);
  params.rangeEnabled = details::optionNumber(options.parameter(VacationParameter::RangeEnabled)) != 0;
  const std::wstring& start = options.parameter(VacationParameter::RangeStart);
  if (!start.empty()) params.rangeStart = utcFieldsOfSeconds(details::optionNumber(start));
  const std::wstring& end = options.parameter(VacationParameter::RangeEnd);
  if (!end.empty()) params.rangeEnd = utcFieldsOfSeconds(details::optionNumber(end));
  const std::wstring& externalEnabled = options.parameter(VacationParameter::ExternalMessageEnabled);
  if (!externalEnabled.empty()) {
    params.externalSupported = true;
    params.externalEnabled = details::optionNumber(externalEnabled) != 0;
  }
  const std::wstring& subject = options.parameter(VacationParameter::ExternalMessageSubject);
  params.externalSubject = subject.empty() ? params.subject : subject;
  const std::wstring& body = options.parameter(VacationParameter::ExternalMessageBody);
  params.externalBody = body.empty() ? params.message : body;
  params.externalKnownContactsOnly =
      details::optionNumber(options.parameter(VacationParameter::ExternalMessageKnownContactsOnly)) != 0;

  if (params.enabled && params.rangeEnabled) {
    const int64_t from = secondsOfUtcFields(params.rangeStart), to = secondsOfUtcFields(params.rangeEnd);
    params.activeNow = now > from && now < to;
    if (now >= to) {
      // The range is over: the record says so, the script stays as it is.
      params.rangeStart = defaultStart;
      params.rangeEnd = defaultEnd;
      params.enabled = false;
    }
  }
}

}  // namespace Sieve
