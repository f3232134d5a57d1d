// A recurrence rule as iCalendar's RRULE states it, with its reader (which also takes the
// vCalendar 1.0 form, "W2 MO WE #10") and its writer.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "calendar/DateTime.h"

namespace zelvo::timezone {

class RecurrenceRule {
 public:
  enum Frequency : int32_t {
    frequencyNone = -1,
    yearly = 0,
    monthly = 1,
    weekly = 2,
    daily = 3,
    hourly = 4,
    minutely = 5,
    secondly = 6
  };
  // Weekday numbers of BYDAY and WKST.
  enum WeekDay : int32_t { monday = 1, tuesday, wednesday, thursday, friday, saturday, sunday };

  int32_t frequency = frequencyNone;
  int32_t interval = 1;
  DateTime until;
  // X-UNTIL: carried through reading and writing, not a bound of the iteration.
  DateTime extendedUntil;
  int32_t count = -1;
  std::vector<int32_t> byMonth;
  std::vector<int32_t> byWeekNo;
  std::vector<int32_t> byYearDay;
  std::vector<int32_t> byMonthDay;
  // Each item packs the ordinal above the low 8 bits and the weekday (1 to 7) in them.
  std::vector<int32_t> byDay;
  std::vector<int32_t> byHour;
  std::vector<int32_t> byMinute;
  std::vector<int32_t> bySecond;
  std::vector<int32_t> bySetPos;
  int32_t weekStart = monday;
  bool valid = false;

  static int32_t packDay(int ordinal, int weekDay) { return static_cast<int32_t>(ordinal * 256 + weekDay); }
  static int dayOrdinal(int32_t item) { return item >> 8; }
  static int dayWeekDay(int32_t item) { return item & 0xFF; }

  // An unreadable text gives a rule whose valid is false.
  static RecurrenceRule parse(const std::string& text);
  static RecurrenceRule parse(const std::wstring& text);
  // Empty for an invalid rule or a bad weekday number.
  std::string toString() const;

  // "FREQ=..." keywords for the frequency; null outside the range.
  static const char* frequencyName(int32_t frequency);
  // "MO" to "SU"; null outside 1 to 7.
  static const char* weekDayName(int weekDay);

 private:
  bool readRrule(const std::string& text);
  bool readVCalendar(const std::string& text);
};

}  // namespace zelvo::timezone
