// Walks a recurrence rule from a first moment and hands out its occurrences in order.
#pragma once

#include <cstdint>
#include <vector>

#include "calendar/DateTime.h"
#include "calendar/RecurrenceRule.h"

namespace zelvo::timezone {

class RecurrenceIterator {
 public:
  // The rule runs on the wall clock of first, in its zone or offset. With includeFirst an
  // occurrence at first itself is handed out; first counts only if the rule produces it.
  RecurrenceIterator(const RecurrenceRule& rule, const DateTime& first, bool includeFirst = true);

  // The next occurrence, or false when the rule has ended (COUNT, UNTIL, the end of the
  // calendar, or a whole 400-year cycle without a match).
  bool next(DateTime& occurrence);

 private:
  struct Day {
    int64_t number;  // days since 1 January 1970
    int year;
    int month;  // 1 to 12
    int monthDay;
    int yearDay;  // 1 to 366
    int weekDay;  // 1 Monday to 7 Sunday
  };

  bool fillBatch();
  // Candidates of period index n, as wall-clock values; false when the calendar ends there.
  bool periodCandidates(int64_t n, std::vector<int64_t>& candidates, int64_t& periodWall, int64_t& skipTo);
  bool dayMatches(const Day& day) const;
  bool weekNumberMatches(const Day& day) const;
  void addTimes(const Day& day, std::vector<int64_t>& candidates) const;
  DateTime occurrenceAt(int64_t wall) const;

  RecurrenceRule rule_;
  DateTime first_;
  bool includeFirst_;
  bool finished_ = false;
  int64_t firstWall_ = 0;
  Day firstDay_{};
  int firstHour_ = 0;
  int firstMinute_ = 0;
  int firstSecond_ = 0;
  // Lists with the first moment's fields filled in where the rule leaves them open.
  std::vector<int32_t> months_, monthDays_, days_, hours_, minutes_, seconds_;
  int64_t periodIndex_ = 0;
  int64_t lastMatchWall_ = 0;
  int64_t handedOut_ = 0;
  std::vector<DateTime> batch_;
  size_t batchPosition_ = 0;
};

}  // namespace zelvo::timezone
