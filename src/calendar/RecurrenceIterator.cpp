#include "calendar/RecurrenceIterator.h"

#include <algorithm>

namespace zelvo::timezone {

namespace {
constexpr int64_t secondsPerDay = 86400;
// A 400-year cycle: a rule without a match in that span never matches again.
constexpr int64_t cycleSeconds = 146097 * secondsPerDay;
constexpr int lastYear = 29999;

int64_t floorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

int64_t daysFromCivil(int64_t year, int month, int day) {
  year -= month <= 2;
  const int64_t era = floorDiv(year, 400);
  const int64_t yearOfEra = year - era * 400;
  const int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097 + dayOfEra - 719468;
}

int yearLength(int year) { return details::isLeapYear(year) ? 366 : 365; }

bool contains(const std::vector<int32_t>& list, int value) {
  return std::find(list.begin(), list.end(), value) != list.end();
}

// Keeps the values inside [low, high] other than 0 when negatives count from the end.
// A list that loses every value can never match.
bool keepInRange(std::vector<int32_t>& list, int low, int high, bool negatives) {
  if (list.empty()) return true;
  std::vector<int32_t> kept;
  for (int32_t value : list) {
    if ((value >= low && value <= high) || (negatives && value <= -low && value >= -high)) kept.push_back(value);
  }
  list = kept;
  return !list.empty();
}

// A listed value matches a position counted from 1, or from the end when negative.
bool positionMatches(const std::vector<int32_t>& list, int position, int length) {
  for (int32_t value : list) {
    if (value > 0 ? value == position : length + 1 + value == position) return true;
  }
  return false;
}
}  // namespace

RecurrenceIterator::RecurrenceIterator(const RecurrenceRule& rule, const DateTime& first, bool includeFirst)
    : rule_(rule), first_(first), includeFirst_(includeFirst) {
  if (!rule_.valid || rule_.frequency < RecurrenceRule::yearly || rule_.frequency > RecurrenceRule::secondly ||
      rule_.interval < 1 || rule_.interval > 1024 || !first_.isValid() || first_.isEndOfTime()) {
    finished_ = true;
    return;
  }
  if (rule_.weekStart < 1 || rule_.weekStart > 7) rule_.weekStart = RecurrenceRule::monday;
  bool possible = keepInRange(rule_.byMonth, 1, 12, false) && keepInRange(rule_.byWeekNo, 1, 53, true) &&
                  keepInRange(rule_.byYearDay, 1, 366, true) && keepInRange(rule_.byMonthDay, 1, 31, true) &&
                  keepInRange(rule_.byHour, 0, 23, false) && keepInRange(rule_.byMinute, 0, 59, false) &&
                  keepInRange(rule_.bySecond, 0, 59, false) && keepInRange(rule_.bySetPos, 1, 366, true);
  std::vector<int32_t> days;
  for (int32_t item : rule_.byDay) {
    const int weekDay = RecurrenceRule::dayWeekDay(item);
    const int ordinal = RecurrenceRule::dayOrdinal(item);
    if (weekDay >= 1 && weekDay <= 7 && ordinal >= -53 && ordinal <= 53) days.push_back(item);
  }
  if (!rule_.byDay.empty() && days.empty()) possible = false;
  rule_.byDay = days;
  if (!possible) {
    finished_ = true;
    return;
  }

  firstWall_ = first_.wallValue();
  lastMatchWall_ = firstWall_;
  TimeParts parts;
  details::valueToParts(firstWall_, parts);
  firstDay_.number = floorDiv(firstWall_, secondsPerDay);
  firstDay_.year = parts.year + 1900;
  firstDay_.month = parts.month + 1;
  firstDay_.monthDay = parts.day;
  firstDay_.yearDay = parts.yearDay + 1;
  firstDay_.weekDay = parts.weekDay == 0 ? 7 : parts.weekDay;
  firstHour_ = parts.hour;
  firstMinute_ = parts.minute;
  firstSecond_ = parts.second;

  // Where the rule names no day at all, the first moment's own day fills in at the
  // frequency's level: its month and day each year, its day each month, its weekday.
  months_ = rule_.byMonth;
  monthDays_ = rule_.byMonthDay;
  days_ = rule_.byDay;
  if (rule_.byWeekNo.empty() && rule_.byYearDay.empty() && rule_.byMonthDay.empty() && rule_.byDay.empty()) {
    if (rule_.frequency == RecurrenceRule::yearly) {
      if (months_.empty()) months_.push_back(firstDay_.month);
      monthDays_.push_back(firstDay_.monthDay);
    } else if (rule_.frequency == RecurrenceRule::monthly) {
      monthDays_.push_back(firstDay_.monthDay);
    } else if (rule_.frequency == RecurrenceRule::weekly) {
      days_.push_back(RecurrenceRule::packDay(0, firstDay_.weekDay));
    }
  }
  hours_ = rule_.byHour;
  minutes_ = rule_.byMinute;
  seconds_ = rule_.bySecond;
  if (hours_.empty() && rule_.frequency < RecurrenceRule::hourly) hours_.push_back(firstHour_);
  if (minutes_.empty() && rule_.frequency < RecurrenceRule::minutely) minutes_.push_back(firstMinute_);
  if (seconds_.empty() && rule_.frequency < RecurrenceRule::secondly) seconds_.push_back(firstSecond_);
}

bool RecurrenceIterator::weekNumberMatches(const Day& day) const {
  // The week belongs to the year that holds its fourth day.
  const int place = ((day.weekDay - rule_.weekStart) % 7 + 7) % 7;
  const int64_t fourth = day.number - place + 3;
  TimeParts parts;
  details::valueToParts(fourth * secondsPerDay, parts);
  const int weekYear = parts.year + 1900;
  const int week = parts.yearDay / 7 + 1;
  // Weeks in that year: the week of its 28 December, which always lies in its last week.
  const int64_t december28 = daysFromCivil(weekYear, 12, 28);
  const int decemberWeekDay = static_cast<int>(((december28 + 3) % 7 + 7) % 7) + 1;
  const int64_t lastFourth = december28 - (((decemberWeekDay - rule_.weekStart) % 7 + 7) % 7) + 3;
  const int weeks = static_cast<int>((lastFourth - daysFromCivil(weekYear, 1, 1)) / 7 + 1);
  return positionMatches(rule_.byWeekNo, week, weeks);
}

bool RecurrenceIterator::dayMatches(const Day& day) const {
  if (!months_.empty() && !contains(months_, day.month)) return false;
  if (!rule_.byWeekNo.empty() && !weekNumberMatches(day)) return false;
  if (!rule_.byYearDay.empty() && !positionMatches(rule_.byYearDay, day.yearDay, yearLength(day.year))) return false;
  const int monthLength = details::monthLength(day.year, day.month - 1);
  if (!monthDays_.empty() && !positionMatches(monthDays_, day.monthDay, monthLength)) return false;
  if (days_.empty()) return true;
  // An ordinal counts within the month for a monthly rule or a yearly one limited to
  // months, else within the year; finer rules take every such weekday.
  const bool withinMonth = rule_.frequency == RecurrenceRule::monthly ||
                           (rule_.frequency == RecurrenceRule::yearly && !rule_.byMonth.empty());
  for (int32_t item : days_) {
    if (RecurrenceRule::dayWeekDay(item) != day.weekDay) continue;
    const int ordinal = RecurrenceRule::dayOrdinal(item);
    if (ordinal == 0 || rule_.frequency > RecurrenceRule::monthly) return true;
    const int position = withinMonth ? day.monthDay : day.yearDay;
    const int length = withinMonth ? monthLength : yearLength(day.year);
    const int fromStart = (position - 1) / 7 + 1;
    const int fromEnd = -((length - position) / 7 + 1);
    if (ordinal == fromStart || ordinal == fromEnd) return true;
  }
  return false;
}

void RecurrenceIterator::addTimes(const Day& day, std::vector<int64_t>& candidates) const {
  for (int32_t hour : hours_) {
    for (int32_t minute : minutes_) {
      for (int32_t second : seconds_) {
        candidates.push_back(day.number * secondsPerDay + hour * 3600 + minute * 60 + second);
      }
    }
  }
}

bool RecurrenceIterator::periodCandidates(int64_t n, std::vector<int64_t>& candidates, int64_t& periodWall,
                                          int64_t& skipTo) {
  const int64_t step = static_cast<int64_t>(rule_.interval) * n;
  int64_t firstNumber = 0;
  int64_t dayCount = 1;
  switch (rule_.frequency) {
    case RecurrenceRule::yearly: {
      const int64_t year = firstDay_.year + step;
      if (year > lastYear) return false;
      firstNumber = daysFromCivil(year, 1, 1);
      dayCount = yearLength(static_cast<int>(year));
      break;
    }
    case RecurrenceRule::monthly: {
      const int64_t months = static_cast<int64_t>(firstDay_.year) * 12 + (firstDay_.month - 1) + step;
      const int64_t year = months / 12;
      const int month = static_cast<int>(months % 12) + 1;
      if (year > lastYear) return false;
      firstNumber = daysFromCivil(year, month, 1);
      dayCount = details::monthLength(year, month - 1);
      break;
    }
    case RecurrenceRule::weekly:
      firstNumber = firstDay_.number - ((firstDay_.weekDay - rule_.weekStart) % 7 + 7) % 7 + 7 * step;
      dayCount = 7;
      break;
    case RecurrenceRule::daily:
      firstNumber = firstDay_.number + step;
      break;
    default: {
      const int64_t unit = rule_.frequency == RecurrenceRule::hourly ? 3600 : rule_.frequency == RecurrenceRule::minutely ? 60 : 1;
      periodWall = firstWall_ + step * unit;
      firstNumber = floorDiv(periodWall, secondsPerDay);
      break;
    }
  }
  if (rule_.frequency <= RecurrenceRule::daily) periodWall = firstNumber * secondsPerDay;
  if (periodWall >= details::lastClampedValue - 366 * secondsPerDay) return false;

  for (int64_t number = firstNumber; number < firstNumber + dayCount; ++number) {
    TimeParts parts;
    details::valueToParts(number * secondsPerDay, parts);
    const Day day{number, parts.year + 1900, parts.month + 1, parts.day, parts.yearDay + 1,
                  parts.weekDay == 0 ? 7 : parts.weekDay};
    if (!dayMatches(day)) {
      if (rule_.frequency > RecurrenceRule::daily) skipTo = (number + 1) * secondsPerDay;
      continue;
    }
    if (rule_.frequency <= RecurrenceRule::daily) {
      addTimes(day, candidates);
      continue;
    }
    // Finer than a day: the period's own time, limited by the coarser lists and expanded
    // by the finer ones.
    const int64_t seconds = periodWall - number * secondsPerDay;
    const int hour = static_cast<int>(seconds / 3600);
    const int minute = static_cast<int>(seconds / 60 % 60);
    const int second = static_cast<int>(seconds % 60);
    if (!rule_.byHour.empty() && !contains(rule_.byHour, hour)) {
      skipTo = number * secondsPerDay + (hour + 1) * 3600;
      continue;
    }
    if (rule_.frequency >= RecurrenceRule::minutely && !rule_.byMinute.empty() && !contains(rule_.byMinute, minute)) {
      skipTo = number * secondsPerDay + hour * 3600 + (minute + 1) * 60;
      continue;
    }
    if (rule_.frequency == RecurrenceRule::secondly && !rule_.bySecond.empty() && !contains(rule_.bySecond, second)) {
      continue;
    }
    const std::vector<int32_t> ownMinute{minute};
    const std::vector<int32_t> ownSecond{second};
    const std::vector<int32_t>& minutes = rule_.frequency == RecurrenceRule::hourly ? minutes_ : ownMinute;
    const std::vector<int32_t>& secondsList = rule_.frequency == RecurrenceRule::secondly ? ownSecond : seconds_;
    for (int32_t m : minutes) {
      for (int32_t s : secondsList) candidates.push_back(number * secondsPerDay + hour * 3600 + m * 60 + s);
    }
  }
  return true;
}

DateTime RecurrenceIterator::occurrenceAt(int64_t wall) const {
  DateTime result;
  switch (first_.kind()) {
    case DateTime::kindFixed:
      result = DateTime::fromUtc(wall - first_.offset().totalSeconds(), first_.offset());
      break;
    case DateTime::kindZone:
      result = DateTime::fromUtc(wall);
      result.setZone(first_.zone());
      break;
    default: {
      TimeParts parts;
      details::valueToParts(wall, parts);
      result = DateTime(parts.day, parts.month + 1, parts.year + 1900, parts.hour, parts.minute, parts.second,
                        Duration());
      break;
    }
  }
  result.setDateOnly(first_.isDateOnly());
  return result;
}

bool RecurrenceIterator::fillBatch() {
  std::vector<int64_t> candidates;
  while (!finished_) {
    candidates.clear();
    int64_t periodWall = 0;
    int64_t skipTo = 0;
    if (!periodCandidates(periodIndex_, candidates, periodWall, skipTo)) {
      finished_ = true;
      break;
    }
    ++periodIndex_;
    if (candidates.empty()) {
      if (periodWall - lastMatchWall_ > cycleSeconds) finished_ = true;
      if (skipTo > periodWall && rule_.frequency > RecurrenceRule::daily) {
        // Jump to the first period at or after the moment where the failing field changes.
        const int64_t unit = rule_.frequency == RecurrenceRule::hourly ? 3600 : rule_.frequency == RecurrenceRule::minutely ? 60 : 1;
        const int64_t step = unit * rule_.interval;
        const int64_t target = (skipTo - firstWall_ + step - 1) / step;
        periodIndex_ = std::max(periodIndex_, target);
      }
      continue;
    }
    lastMatchWall_ = periodWall;
    std::sort(candidates.begin(), candidates.end());
    candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
    if (!rule_.bySetPos.empty()) {
      std::vector<int64_t> picked;
      const int64_t size = static_cast<int64_t>(candidates.size());
      for (int32_t position : rule_.bySetPos) {
        const int64_t index = position > 0 ? position - 1 : size + position;
        if (index >= 0 && index < size) picked.push_back(candidates[static_cast<size_t>(index)]);
      }
      std::sort(picked.begin(), picked.end());
      picked.erase(std::unique(picked.begin(), picked.end()), picked.end());
      candidates.swap(picked);
    }
    batch_.clear();
    batchPosition_ = 0;
    for (int64_t wall : candidates) {
      DateTime occurrence = occurrenceAt(wall);
      if (occurrence < first_ || (!includeFirst_ && occurrence == first_)) continue;
      batch_.push_back(occurrence);
    }
    if (!batch_.empty()) return true;
  }
  return false;
}

bool RecurrenceIterator::next(DateTime& occurrence) {
  if (finished_ && batchPosition_ >= batch_.size()) return false;
  if (batchPosition_ >= batch_.size() && !fillBatch()) return false;
  const DateTime& candidate = batch_[batchPosition_];
  if ((rule_.count > 0 && handedOut_ >= rule_.count) ||
      (rule_.until.isValid() && candidate.utc() > rule_.until.utc())) {
    finished_ = true;
    batch_.clear();
    batchPosition_ = 0;
    return false;
  }
  ++batchPosition_;
  ++handedOut_;
  occurrence = candidate;
  return true;
}

}  // namespace zelvo::timezone
