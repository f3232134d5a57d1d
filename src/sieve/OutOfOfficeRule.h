// The out-of-office reply: a rule of the user's script with a reserved name whose one
// action is a vacation command, with a date range and a second message for senders
// outside the organisation.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Win32.h"
#include "sieve/SieveModel.h"

namespace Sieve {

extern const wchar_t* const kOutOfOfficeRuleName;  // "__WebmailAutoreply__"

struct OutOfOfficeParams {
  bool enabled = false;
  std::wstring subject;  // default of externalSubject; never in the script
  std::wstring message;  // the reason text of the vacation command
  bool rangeEnabled = false;
  SYSTEMTIME rangeStart = {};  // UTC fields
  SYSTEMTIME rangeEnd = {};
  bool activeNow = false;  // set on reading: the range holds the present moment
  bool externalEnabled = false;
  std::wstring externalSubject;
  std::wstring externalBody;
  bool externalKnownContactsOnly = false;
  bool externalSupported = false;  // decides on writing whether the external options are written
};

// Seconds since 1970-01-01 00:00:00 UTC; the rule set's clock by default.
int64_t systemClockSeconds();

// UTC fields of a moment, and the moment of UTC fields (before 1970 counts as 0).
SYSTEMTIME utcFieldsOfSeconds(int64_t seconds);
int64_t secondsOfUtcFields(const SYSTEMTIME& fields);

bool isOutOfOfficeRule(const SieveRule* rule);
SieveRule* createOutOfOfficeRule(const OutOfOfficeParams& params);
void applyOutOfOffice(SieveRule* rule, const OutOfOfficeParams& params);
// Reads the rule as it stands at the moment now. A range that has ended reads as
// disabled with the default dates; the tree is not changed.
void readOutOfOffice(const SieveRule* rule, OutOfOfficeParams& params, int64_t now);
// The defaults: the default message, no range, and a range from the present hour to the
// same hour of the next day ready for editing.
void initOutOfOffice(OutOfOfficeParams& params, int64_t now);

}  // namespace Sieve
