// A moment with an optional zone, and the calendar arithmetic under it. The arithmetic is
// our own rather than the C runtime's, so that it covers the years 1601 to 30000 and gives
// the same answers on every machine; only the machine's own local offset (floating times)
// comes from the runtime.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "calendar/Duration.h"
#include "calendar/ZoneRules.h"
#include "platform/Win32.h"

namespace zelvo::timezone {

// The broken-down form, laid out as the C runtime's tm: month 0 to 11, year less 1900,
// weekDay 0 Sunday, yearDay 0 for 1 January, isDst -1.
struct TimeParts {
  int32_t second = 0;
  int32_t minute = 0;
  int32_t hour = 0;
  int32_t day = 1;
  int32_t month = 0;
  int32_t year = 70;
  int32_t weekDay = 4;
  int32_t yearDay = 0;
  int32_t isDst = -1;
};

// The same moment as a SYSTEMTIME, milliseconds zero.
SYSTEMTIME toSystemTime(const TimeParts& parts);

namespace details {
// 1 January 1601 00:00:00 and 1 January 30000 00:00:00 UTC, the range of the broken-down form.
constexpr int64_t firstClampedValue = -11644473600LL;
constexpr int64_t lastClampedValue = 884541340800LL;
bool isLeapYear(int64_t year);
// "Jan" to "Dec", for the text forms that name months.
extern const char* const monthNames[12];
// Length of a month (0 to 11) of a full year.
int monthLength(int64_t year, int month);
// Clamps to the range above, then breaks down.
void valueToParts(int64_t value, TimeParts& parts);
// Carries out-of-range fields over, clamps the year, and normalises parts in place.
int64_t partsToValue(TimeParts& parts);
// The machine's offset at a UTC moment, or at a wall-clock moment of the machine.
Duration localOffset(int64_t value, bool valueIsUtc);
}  // namespace details

class DateTime {
 public:
  enum Kind : int32_t { kindZone = 1, kindFixed = 2, kindFloating = 3 };
  enum Field : int {
    fieldYear = 0,
    fieldMonth = 1,     // 1 to 12
    fieldWeek = 2,      // ISO 8601 week number under the given first weekday
    fieldYearDay = 3,   // 1 to 366
    fieldMonthDay = 4,  // 1 to 31
    fieldWeekDay = 5,   // 1 Monday to 7 Sunday
    fieldHour = 6,
    fieldMinute = 7,
    fieldSecond = 8
  };
  enum FormatFlags : unsigned {
    formatExtended = 1,      // "-" and ":" between the fields
    formatMilliseconds = 2,  // ".000" behind the seconds
    formatNoZ = 4,           // a zero offset as digits
    formatNoOffset = 8,      // no offset at all
    formatDateWithTime = 16  // a date-only value with its time
  };
  static constexpr int64_t notATime = INT64_MIN;
  static constexpr int64_t endOfTime = 67723044291792000LL;
  static constexpr int32_t unknownOffset = 0x7FFFFFFF;

  // Not a time, floating.
  DateTime() noexcept = default;
  // Month 1 to 12. The offset is taken off to give UTC; not a Duration makes a floating
  // time whose wall clock reads the given fields on this machine.
  DateTime(int day, int month, int year, int hour, int minute, int second, Duration offset);
  // A whole day: 00:00:00 UTC, fixed offset 0.
  DateTime(int day, int month, int year);
  // The fields with a zero offset; milliseconds are dropped.
  explicit DateTime(const SYSTEMTIME& time);

  // A UTC moment with a fixed offset (0 unless given).
  static DateTime fromUtc(int64_t value, Duration offset = Duration(0));
  static DateTime fromUtc(int64_t value, std::shared_ptr<const ZoneRules> zone);
  // The present moment as the machine's local time.
  static DateTime now();
  static DateTime endOfTimeValue() { return fromUtc(endOfTime); }

  bool isValid() const noexcept { return value_ != notATime; }
  bool isEndOfTime() const noexcept { return value_ == endOfTime; }
  int64_t utc() const noexcept { return value_; }
  bool isDateOnly() const noexcept { return dateOnly_; }
  void setDateOnly(bool dateOnly) noexcept { dateOnly_ = dateOnly; }
  int32_t kind() const noexcept { return kind_; }
  const std::shared_ptr<const ZoneRules>& zone() const noexcept { return zone_; }

  // UTC fields, or the wall clock of a date-only value. All zeros and false for not a time
  // and the end of time.
  bool toSystemTime(SYSTEMTIME& time) const;
  // The wall clock broken down (value plus offset).
  TimeParts wallClock() const;
  // UTC value plus offset; notATime for not a time.
  int64_t wallValue() const;

  // Empty for not a time, the end of time, or a year beyond 9999.
  std::string format(unsigned flags = 0) const;
  // "20150329", "2015-03-29T01:00:00+02:00", "20150329T010000Z" and the like. Malformed
  // text gives not a time. Without an offset in the text: the wall clock in the zone, or
  // floating without one; with an offset: that fixed offset, or the same moment in the zone.
  static DateTime parse(const std::string& text, std::shared_ptr<const ZoneRules> zone = nullptr);
  static DateTime parse(const std::wstring& text, std::shared_ptr<const ZoneRules> zone = nullptr);

  // Fields as numbered in Field, read and written on the wall clock. weekStart is 1 Monday
  // to 7 Sunday and matters for the week number and for moving within a week.
  int get(int field, int weekStart = 1) const;
  void set(int field, int value, int weekStart = 1);

  DateTime plus(Duration span) const;
  DateTime minus(Duration span) const { return plus(-span); }
  DateTime& operator+=(Duration span) { return *this = plus(span); }
  DateTime& operator-=(Duration span) { return *this = minus(span); }
  friend DateTime operator+(const DateTime& time, Duration span) { return time.plus(span); }
  friend DateTime operator-(const DateTime& time, Duration span) { return time.minus(span); }
  // Not a Duration when either side is not a time.
  friend Duration operator-(const DateTime& a, const DateTime& b);

  // Midnight of the wall-clock day, fixed offset 0; with keepZone a zoned value goes back
  // into its zone at that wall-clock time.
  DateTime startOfDay(bool keepZone) const;
  // The UTC offset at this moment, in whole minutes. Not a Duration for not a time.
  Duration offset() const;
  // Into a zone, keeping the wall-clock time; a null zone makes the value floating.
  void setZone(std::shared_ptr<const ZoneRules> zone);
  // Into a zone, keeping the moment.
  void moveToZone(std::shared_ptr<const ZoneRules> zone);
  // A fixed offset, keeping the moment.
  void setFixedOffset(Duration offset);

  friend bool operator==(const DateTime& a, const DateTime& b) noexcept { return a.value_ == b.value_; }
  friend bool operator!=(const DateTime& a, const DateTime& b) noexcept { return a.value_ != b.value_; }
  friend bool operator<(const DateTime& a, const DateTime& b) noexcept { return a.value_ < b.value_; }
  friend bool operator>(const DateTime& a, const DateTime& b) noexcept { return a.value_ > b.value_; }
  friend bool operator<=(const DateTime& a, const DateTime& b) noexcept { return a.value_ <= b.value_; }
  friend bool operator>=(const DateTime& a, const DateTime& b) noexcept { return a.value_ >= b.value_; }

 private:
  // Sets the value from a wall-clock reading in this value's own zone or offset, settling
  // wall-clock times in a gap or doubled hour as a zone change does.
  void setFromWallValue(int64_t wall);
  bool shifts() const noexcept { return value_ != notATime && value_ != endOfTime; }

  int64_t value_ = notATime;
  bool dateOnly_ = false;
  mutable int32_t offsetMinutes_ = unknownOffset;
  std::shared_ptr<const ZoneRules> zone_;
  int32_t kind_ = kindFloating;
  int32_t reserved_ = -1;
};

}  // namespace zelvo::timezone
