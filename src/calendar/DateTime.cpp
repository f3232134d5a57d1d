#include "calendar/DateTime.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace zelvo::timezone {

namespace details {
namespace {
// From 1 March 1600, the start of a 400-year cycle, to 1 January 1970.
constexpr int64_t secondsFrom1600 = 11670912000LL;
constexpr int64_t daysFrom1600 = 135080;
// Days before each month of a year that starts on 1 March.
constexpr int daysBeforeMarchMonth[13] = {0, 31, 61, 92, 122, 153, 184, 214, 245, 275, 306, 337, 366};
constexpr int monthLengths[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

int64_t floorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }
int64_t floorMod(int64_t a, int64_t b) { return a - floorDiv(a, b) * b; }
}  // namespace

const char* const monthNames[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                    "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

bool isLeapYear(int64_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int monthLength(int64_t year, int month) {
  return month == 1 && isLeapYear(year) ? 29 : monthLengths[((month % 12) + 12) % 12];
}

void valueToParts(int64_t value, TimeParts& parts) {
  value = std::clamp(value, firstClampedValue, lastClampedValue);
  const int64_t fromStart = value + secondsFrom1600;
  int64_t days = fromStart / 86400;
  const int64_t seconds = fromStart % 86400;
  parts.weekDay = static_cast<int32_t>((days + 3) % 7);
  const int64_t cycles400 = days / 146097;
  days %= 146097;
  // The last day of a 400- or 4-year cycle is the extra one, so the quotient is capped.
  const int64_t cycles100 = std::min<int64_t>(days / 36524, 3);
  days -= cycles100 * 36524;
  const int64_t cycles4 = days / 1461;
  days -= cycles4 * 1461;
  const int64_t years = std::min<int64_t>(days / 365, 3);
  days -= years * 365;
  int64_t year = 1600 + cycles400 * 400 + cycles100 * 100 + cycles4 * 4 + years;
  int month = 0;
  while (days >= daysBeforeMarchMonth[month + 1]) ++month;
  parts.day = static_cast<int32_t>(days - daysBeforeMarchMonth[month] + 1);
  month += 2;
  if (month >= 12) {
    month -= 12;
    ++year;
    parts.yearDay = static_cast<int32_t>(days - 306);
  } else {
    parts.yearDay = static_cast<int32_t>(days + 59 + (isLeapYear(year) ? 1 : 0));
  }
  parts.month = month;
  parts.year = static_cast<int32_t>(year - 1900);
  parts.hour = static_cast<int32_t>(seconds / 3600);
  parts.minute = static_cast<int32_t>(seconds / 60 % 60);
  parts.second = static_cast<int32_t>(seconds % 60);
  parts.isDst = -1;
}

int64_t partsToValue(TimeParts& parts) {
  int64_t year = static_cast<int64_t>(parts.year) + floorDiv(parts.month, 12);
  int64_t month = floorMod(parts.month, 12);
  year = std::clamp<int64_t>(year + 300, 0, 28400);  // from 1600
  // Count in years that start on 1 March, so that the leap day ends a year.
  if (month < 2) {
    --year;
    month += 10;
  } else {
    month -= 2;
  }
  const int64_t days = year * 365 + floorDiv(year, 4) - floorDiv(year, 100) + floorDiv(year, 400) +
                       daysBeforeMarchMonth[month] + (static_cast<int64_t>(parts.day) - 1);
  const int64_t value = (days - daysFrom1600) * 86400 + static_cast<int64_t>(parts.hour) * 3600 +
                        static_cast<int64_t>(parts.minute) * 60 + parts.second;
  valueToParts(value, parts);
  return std::clamp(value, firstClampedValue, lastClampedValue);
}

namespace {
// The runtime's calendar functions hold up from just after 1970 to some centuries ahead;
// outside that the present offset is the best guess there is.
constexpr int64_t localRangeStart = 86400;
constexpr int64_t localRangeEnd = 0x700000000LL + 86400;

bool runtimeGmTime(std::time_t t, std::tm& out) {
#ifdef _WIN32
  return gmtime_s(&out, &t) == 0;
#else
  return gmtime_r(&t, &out) != nullptr;
#endif
}
bool runtimeLocalTime(std::time_t t, std::tm& out) {
#ifdef _WIN32
  return localtime_s(&out, &t) == 0;
#else
  return localtime_r(&t, &out) != nullptr;
#endif
}
}  // namespace

Duration localOffset(int64_t value, bool valueIsUtc) {
  std::time_t moment = std::time(nullptr);
  if (value > localRangeStart && value < localRangeEnd) {
    moment = static_cast<std::time_t>(value);
    if (!valueIsUtc) {
      TimeParts parts;
      valueToParts(value, parts);
      std::tm local{};
      local.tm_year = parts.year;
      local.tm_mon = parts.month;
      local.tm_mday = parts.day;
      local.tm_hour = parts.hour;
      local.tm_min = parts.minute;
      local.tm_sec = parts.second;
      local.tm_isdst = -1;
      const std::time_t converted = std::mktime(&local);
      moment = converted == static_cast<std::time_t>(-1) ? std::time(nullptr) : converted;
    }
  }
  std::tm gm{};
  std::tm local{};
  if (!runtimeGmTime(moment, gm) || !runtimeLocalTime(moment, local)) return Duration(0);
  int minutes = (local.tm_hour - gm.tm_hour) * 60 + (local.tm_min - gm.tm_min);
  if (local.tm_year != gm.tm_year) {
    minutes += local.tm_year > gm.tm_year ? 1440 : -1440;
  } else if (local.tm_yday != gm.tm_yday) {
    minutes += local.tm_yday > gm.tm_yday ? 1440 : -1440;
  }
  return Duration(static_cast<int64_t>(minutes) * 60);
}
}  // namespace details

const std::shared_ptr<const ZoneRules>& utcZone() {
  static const std::shared_ptr<const ZoneRules> zone = std::make_shared<FixedOffsetZone>("UTC", Duration(0));
  return zone;
}

namespace {
TimeParts makeParts(int day, int month, int year, int hour, int minute, int second) {
  TimeParts parts;
  parts.day = day;
  parts.month = month - 1;
  parts.year = year - 1900;
  parts.hour = hour;
  parts.minute = minute;
  parts.second = second;
  return parts;
}

int32_t minutesOf(Duration offset) { return static_cast<int32_t>(offset.totalSeconds() / 60); }

// 1 Monday to 7 Sunday from the runtime's 0 Sunday.
int isoWeekDay(const TimeParts& parts) { return parts.weekDay == 0 ? 7 : parts.weekDay; }
// Place of a weekday (1 to 7) in a week that starts on weekStart (1 to 7): 0 to 6.
int placeInWeek(int weekDay, int weekStart) { return ((weekDay - weekStart) % 7 + 7) % 7; }

int64_t dayValue(const TimeParts& parts) {
  TimeParts copy = parts;
  copy.hour = copy.minute = copy.second = 0;
  return details::partsToValue(copy);
}

// Midnight of the first day of week 1 of a year: the week that holds 4 January.
int64_t firstWeekStart(int year, int weekStart) {
  TimeParts fourth = makeParts(4, 1, year, 0, 0, 0);
  const int64_t value = details::partsToValue(fourth);
  return value - static_cast<int64_t>(placeInWeek(isoWeekDay(fourth), weekStart)) * 86400;
}

int sanitizeWeekStart(int weekStart) { return weekStart >= 1 && weekStart <= 7 ? weekStart : 1; }

template <class Char>
bool readDigits(const std::basic_string<Char>& text, size_t& pos, int count, int& out) {
  out = 0;
  for (int i = 0; i < count; ++i, ++pos) {
    if (pos >= text.size() || text[pos] < '0' || text[pos] > '9') return false;
    out = out * 10 + (text[pos] - '0');
  }
  return true;
}

template <class Char>
bool skipOptional(const std::basic_string<Char>& text, size_t& pos, char c) {
  if (pos < text.size() && text[pos] == static_cast<Char>(c)) {
    ++pos;
    return true;
  }
  return false;
}

// The text form: date, optional time, optional offset. Gives the wall clock as fields,
// the offset seen (not a Duration if none) and whether it was a date alone.
template <class Char>
bool readDateTimeText(const std::basic_string<Char>& text, TimeParts& parts, Duration& offset, bool& dateOnly) {
  size_t pos = 0;
  int year = 0;
  int month = 0;
  int day = 0;
  if (!readDigits(text, pos, 4, year)) return false;
  skipOptional(text, pos, '-');
  if (!readDigits(text, pos, 2, month)) return false;
  skipOptional(text, pos, '-');
  if (!readDigits(text, pos, 2, day)) return false;
  int hour = 0;
  int minute = 0;
  int second = 0;
  offset = Duration();
  dateOnly = !skipOptional(text, pos, 'T');
  if (!dateOnly) {
    if (!readDigits(text, pos, 2, hour)) return false;
    skipOptional(text, pos, ':');
    if (!readDigits(text, pos, 2, minute)) return false;
    skipOptional(text, pos, ':');
    if (!readDigits(text, pos, 2, second)) return false;
    if (skipOptional(text, pos, '.') || skipOptional(text, pos, ',')) {
      while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') ++pos;
    }
    while (pos < text.size() && (text[pos] == ' ' || text[pos] == '\t')) ++pos;
    if (skipOptional(text, pos, 'Z')) {
      offset = Duration(0);
    } else if (pos < text.size()) {
      bool negative = false;
      if (text[pos] == '+' || text[pos] == '-') negative = text[pos++] == '-';
      int offsetHours = 0;
      int offsetMinutes = 0;
      if (!readDigits(text, pos, 2, offsetHours)) return false;
      if (skipOptional(text, pos, ':')) {
        if (!readDigits(text, pos, 2, offsetMinutes)) return false;
      } else if (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') {
        if (!readDigits(text, pos, 2, offsetMinutes)) return false;
      }
      offset = Duration(0, offsetHours, offsetMinutes, 0, negative);
    }
  }
  while (pos < text.size() && (text[pos] == ' ' || text[pos] == '\t')) ++pos;
  if (pos != text.size()) return false;
  parts = makeParts(day, month, year, hour, minute, second);
  return true;
}

template <class Char>
DateTime parseText(const std::basic_string<Char>& text, std::shared_ptr<const ZoneRules> zone) {
  TimeParts parts;
  Duration offset;
  bool dateOnly = false;
  if (!readDateTimeText(text, parts, offset, dateOnly)) return DateTime();
  const int64_t wall = details::partsToValue(parts);
  DateTime result;
  if (!offset.isValid()) {
    if (zone) {
      result = DateTime::fromUtc(wall);
      result.setZone(std::move(zone));
    } else {
      result = DateTime(parts.day, parts.month + 1, parts.year + 1900, parts.hour, parts.minute, parts.second,
                        Duration());
    }
  } else {
    result = DateTime::fromUtc(wall - offset.totalSeconds(), offset);
    if (zone) result.moveToZone(std::move(zone));
  }
  result.setDateOnly(dateOnly);
  return result;
}
}  // namespace

DateTime::DateTime(int day, int month, int year, int hour, int minute, int second, Duration offset) {
  TimeParts parts = makeParts(day, month, year, hour, minute, second);
  const int64_t wall = details::partsToValue(parts);
  if (offset.isValid()) {
    kind_ = kindFixed;
    offsetMinutes_ = minutesOf(offset);
    value_ = wall - offset.totalSeconds();
  } else {
    // Floating: the fields are read as this machine's wall clock.
    kind_ = kindFloating;
    value_ = wall - details::localOffset(wall, false).totalSeconds();
  }
}

DateTime::DateTime(int day, int month, int year) : DateTime(day, month, year, 0, 0, 0, Duration(0)) {
  dateOnly_ = true;
}

DateTime::DateTime(const SYSTEMTIME& time)
    : DateTime(time.wDay, time.wMonth, time.wYear, time.wHour, time.wMinute, time.wSecond, Duration(0)) {}

DateTime DateTime::fromUtc(int64_t value, Duration offset) {
  DateTime result;
  result.value_ = value;
  result.kind_ = kindFixed;
  result.offsetMinutes_ = offset.isValid() ? minutesOf(offset) : 0;
  return result;
}

DateTime DateTime::fromUtc(int64_t value, std::shared_ptr<const ZoneRules> zone) {
  DateTime result = fromUtc(value);
  result.moveToZone(std::move(zone));
  return result;
}

DateTime DateTime::now() {
  DateTime result;
  const int64_t value = static_cast<int64_t>(std::time(nullptr));
  if (value >= 0) result.value_ = value;
  return result;
}

Duration DateTime::offset() const {
  if (value_ == notATime) return Duration();
  if (kind_ == kindFixed) return Duration(static_cast<int64_t>(offsetMinutes_ == unknownOffset ? 0 : offsetMinutes_) * 60);
  if (offsetMinutes_ == unknownOffset) {
    Duration found;
    if (kind_ == kindZone && zone_ && zone_->isValid()) found = zone_->offsetAt(value_);
    if (!found.isValid()) found = details::localOffset(value_, true);
    offsetMinutes_ = minutesOf(found);
  }
  return Duration(static_cast<int64_t>(offsetMinutes_) * 60);
}

int64_t DateTime::wallValue() const {
  if (value_ == notATime) return notATime;
  if (value_ == endOfTime) return endOfTime;
  return value_ + offset().totalSeconds();
}

TimeParts DateTime::wallClock() const {
  TimeParts parts;
  details::valueToParts(wallValue(), parts);
  return parts;
}

bool DateTime::toSystemTime(SYSTEMTIME& time) const {
  time = SYSTEMTIME{};
  if (!shifts()) return false;
  TimeParts parts;
  details::valueToParts(dateOnly_ ? wallValue() : value_, parts);
  time = zelvo::timezone::toSystemTime(parts);
  return true;
}

SYSTEMTIME toSystemTime(const TimeParts& parts) {
  SYSTEMTIME time{};
  time.wYear = static_cast<WORD>(parts.year + 1900);
  time.wMonth = static_cast<WORD>(parts.month + 1);
  time.wDayOfWeek = static_cast<WORD>(parts.weekDay);
  time.wDay = static_cast<WORD>(parts.day);
  time.wHour = static_cast<WORD>(parts.hour);
  time.wMinute = static_cast<WORD>(parts.minute);
  time.wSecond = static_cast<WORD>(parts.second);
  return time;
}

std::string DateTime::format(unsigned flags) const {
  if (!shifts()) return std::string();
  const TimeParts parts = wallClock();
  const int year = parts.year + 1900;
  if (year >= 10000 || parts.month < 0 || parts.month > 11 || parts.day < 1 || parts.day > 31) return std::string();
  const bool extended = (flags & formatExtended) != 0;
  char buffer[64];
  if (dateOnly_ && !(flags & formatDateWithTime)) {
    std::snprintf(buffer, sizeof buffer, extended ? "%04d-%02d-%02d" : "%04d%02d%02d", year, parts.month + 1, parts.day);
    return buffer;
  }
  std::snprintf(buffer, sizeof buffer, extended ? "%04d-%02d-%02dT%02d:%02d:%02d" : "%04d%02d%02dT%02d%02d%02d", year,
                parts.month + 1, parts.day, parts.hour, parts.minute, parts.second);
  std::string text = buffer;
  if (flags & formatMilliseconds) text += ".000";
  if (kind_ == kindFloating || (flags & formatNoOffset)) return text;
  const char* separator = extended ? ":" : "";
  const Duration shift = (kind_ == kindZone || kind_ == kindFixed) ? offset() : Duration();
  if (!shift.isValid() || shift.totalSeconds() == 0) {
    if (!(flags & formatNoZ)) return text + "Z";
    std::snprintf(buffer, sizeof buffer, "+00%s00", separator);
    return text + buffer;
  }
  std::snprintf(buffer, sizeof buffer, "%c%02d%s%02d", shift.isNegative() ? '-' : '+', static_cast<int>(shift.hours()),
                separator, shift.minutes());
  return text + buffer;
}

DateTime DateTime::parse(const std::string& text, std::shared_ptr<const ZoneRules> zone) {
  return parseText(text, std::move(zone));
}
DateTime DateTime::parse(const std::wstring& text, std::shared_ptr<const ZoneRules> zone) {
  return parseText(text, std::move(zone));
}

int DateTime::get(int field, int weekStart) const {
  if (!shifts()) return 0;
  weekStart = sanitizeWeekStart(weekStart);
  const TimeParts parts = wallClock();
  switch (field) {
    case fieldYear: return parts.year + 1900;
    case fieldMonth: return parts.month + 1;
    case fieldYearDay: return parts.yearDay + 1;
    case fieldMonthDay: return parts.day;
    case fieldWeekDay: return isoWeekDay(parts);
    case fieldHour: return parts.hour;
    case fieldMinute: return parts.minute;
    case fieldSecond: return parts.second;
    case fieldWeek: {
      // The week belongs to the year that holds its fourth day; so late December can be
      // week 1 and early January the last week of the year before.
      const int64_t fourthDay =
          dayValue(parts) + (3 - static_cast<int64_t>(placeInWeek(isoWeekDay(parts), weekStart))) * 86400;
      TimeParts anchor;
      details::valueToParts(fourthDay, anchor);
      return anchor.yearDay / 7 + 1;
    }
    default: return 0;
  }
}

void DateTime::set(int field, int value, int weekStart) {
  if (!shifts()) return;
  weekStart = sanitizeWeekStart(weekStart);
  TimeParts parts = wallClock();
  const int64_t secondsOfDay = static_cast<int64_t>(parts.hour) * 3600 + parts.minute * 60 + parts.second;
  int64_t wall = 0;
  switch (field) {
    case fieldYear:
      parts.year = value - 1900;
      wall = details::partsToValue(parts);
      break;
    case fieldMonth: {
      // A month outside 1 to 12 carries into the year; the day is cut to the month's length.
      const int64_t months = static_cast<int64_t>(parts.year) * 12 + (static_cast<int64_t>(value) - 1);
      parts.year = static_cast<int32_t>(months >= 0 ? months / 12 : -((11 - months) / 12));
      parts.month = static_cast<int32_t>(months - static_cast<int64_t>(parts.year) * 12);
      parts.day = std::min(parts.day, details::monthLength(static_cast<int64_t>(parts.year) + 1900, parts.month));
      wall = details::partsToValue(parts);
      break;
    }
    case fieldWeek: {
      const int place = placeInWeek(isoWeekDay(parts), weekStart);
      wall = firstWeekStart(parts.year + 1900, weekStart) + (static_cast<int64_t>(value) - 1) * 7 * 86400 +
             static_cast<int64_t>(place) * 86400 + secondsOfDay;
      break;
    }
    case fieldYearDay:
      parts.month = 0;
      parts.day = value;
      wall = details::partsToValue(parts);
      break;
    case fieldMonthDay:
      parts.day = value;
      wall = details::partsToValue(parts);
      break;
    case fieldWeekDay: {
      const int shift = placeInWeek(value, weekStart) - placeInWeek(isoWeekDay(parts), weekStart);
      wall = details::partsToValue(parts) + static_cast<int64_t>(shift) * 86400;
      break;
    }
    case fieldHour:
    case fieldMinute:
    case fieldSecond:
      if (field == fieldHour) parts.hour = value;
      if (field == fieldMinute) parts.minute = value;
      if (field == fieldSecond) parts.second = value;
      dateOnly_ = false;
      wall = details::partsToValue(parts);
      break;
    default: return;
  }
  setFromWallValue(wall);
}

void DateTime::setFromWallValue(int64_t wall) {
  if (kind_ == kindFixed) {
    value_ = wall - offset().totalSeconds();
    return;
  }
  // Same steps as a change of zone: the offset at the wall clock read as UTC, then again
  // at the result, with one correction at a transition.
  offsetMinutes_ = unknownOffset;
  value_ = wall;
  Duration first;
  if (kind_ == kindFloating) {
    first = details::localOffset(wall, false);
  } else {
    first = offset();
  }
  value_ = wall - first.totalSeconds();
  offsetMinutes_ = unknownOffset;
  const Duration second = offset();
  if (second < first || (first.totalSeconds() >= 0 && second.totalSeconds() >= 0)) {
    value_ += (first - second).totalSeconds();
    offsetMinutes_ = unknownOffset;
  }
}

DateTime DateTime::plus(Duration span) const {
  if (!shifts() || !span.isValid()) return *this;
  DateTime result = *this;
  result.value_ += span.totalSeconds();
  if (kind_ != kindFixed) result.offsetMinutes_ = unknownOffset;
  if (span.totalSeconds() % 86400 != 0) result.dateOnly_ = false;
  return result;
}

Duration operator-(const DateTime& a, const DateTime& b) {
  if (!a.isValid() || !b.isValid()) return Duration();
  return Duration(a.value_ - b.value_);
}

DateTime DateTime::startOfDay(bool keepZone) const {
  if (!shifts()) return *this;
  TimeParts parts = wallClock();
  parts.hour = parts.minute = parts.second = 0;
  DateTime result = fromUtc(details::partsToValue(parts));
  result.dateOnly_ = dateOnly_;
  if (keepZone && kind_ == kindZone) result.setZone(zone_);
  return result;
}

void DateTime::setZone(std::shared_ptr<const ZoneRules> zone) {
  if (!shifts()) {
    zone_ = std::move(zone);
    kind_ = zone_ ? kindZone : kindFloating;
    offsetMinutes_ = unknownOffset;
    return;
  }
  const int64_t wall = wallValue();
  zone_ = std::move(zone);
  kind_ = zone_ ? kindZone : kindFloating;
  offsetMinutes_ = unknownOffset;
  setFromWallValue(wall);
}

void DateTime::moveToZone(std::shared_ptr<const ZoneRules> zone) {
  zone_ = std::move(zone);
  kind_ = zone_ ? kindZone : kindFloating;
  offsetMinutes_ = unknownOffset;
}

void DateTime::setFixedOffset(Duration offset) {
  zone_.reset();
  kind_ = kindFixed;
  offsetMinutes_ = offset.isValid() ? minutesOf(offset) : 0;
}

}  // namespace zelvo::timezone
