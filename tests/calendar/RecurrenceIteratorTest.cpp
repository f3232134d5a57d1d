#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "calendar/RecurrenceIterator.h"

using zelvo::timezone::DateTime;
using zelvo::timezone::Duration;
using zelvo::timezone::FixedOffsetZone;
using zelvo::timezone::RecurrenceIterator;
using zelvo::timezone::RecurrenceRule;

namespace {
std::vector<std::string> occurrences(const std::string& rule, const std::string& first, size_t limit = 50,
                                     bool includeFirst = true) {
  RecurrenceIterator iterator(RecurrenceRule::parse(rule), DateTime::parse(first), includeFirst);
  std::vector<std::string> found;
  DateTime occurrence;
  while (found.size() < limit && iterator.next(occurrence)) found.push_back(occurrence.format(0));
  return found;
}
using Texts = std::vector<std::string>;
}  // namespace

TEST(RecurrenceIterator, LastSundayOfMarch) {
  EXPECT_EQ((Texts{"20150329T010000Z", "20160327T010000Z", "20170326T010000Z"}),
            occurrences("FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU", "20150101T010000Z", 3));
}

TEST(RecurrenceIterator, OneFridayOnTheLastDaysOfMarch) {
  EXPECT_EQ((Texts{"20130329T020000Z", "20140328T020000Z", "20150327T020000Z", "20160325T020000Z"}),
            occurrences("FREQ=YEARLY;BYMONTH=3;BYMONTHDAY=23,24,25,26,27,28,29,30,31;BYDAY=FR",
                        "20130101T020000Z", 4));
}

TEST(RecurrenceIterator, IntervalOutsideTheRangeYieldsNothing) {
  EXPECT_TRUE(occurrences("FREQ=DAILY;INTERVAL=1025", "20150101T000000Z").empty());
  EXPECT_TRUE(occurrences("FREQ=DAILY;INTERVAL=0", "20150101T000000Z").empty());
  EXPECT_EQ(3u, occurrences("FREQ=DAILY;INTERVAL=1024", "20150101T000000Z", 3).size());
}

TEST(RecurrenceIterator, CountAndUntil) {
  EXPECT_EQ((Texts{"20150101T090000Z", "20150102T090000Z", "20150103T090000Z", "20150104T090000Z",
                   "20150105T090000Z"}),
            occurrences("D1 #5", "20150101T090000Z"));
  EXPECT_EQ((Texts{"20150101T090000Z", "20150102T090000Z", "20150103T090000Z"}),
            occurrences("FREQ=DAILY;UNTIL=20150103T090000Z", "20150101T090000Z"));
  // A date alone as UNTIL stands for 00:00 UTC of that day.
  EXPECT_EQ((Texts{"20150101T000000Z", "20150102T000000Z", "20150103T000000Z"}),
            occurrences("FREQ=DAILY;UNTIL=20150103", "20150101T000000Z"));
}

TEST(RecurrenceIterator, LastDayOfTheMonth) {
  const Texts all = occurrences("MD1 LD", "20150101T000000Z", 14);
  ASSERT_EQ(14u, all.size());
  EXPECT_EQ((Texts{"20150131T000000Z", "20150228T000000Z", "20150331T000000Z", "20150430T000000Z"}),
            Texts(all.begin(), all.begin() + 4));
  EXPECT_EQ("20160229T000000Z", all[13]);
}

TEST(RecurrenceIterator, MonthsWithoutTheDayAreSkipped) {
  EXPECT_EQ((Texts{"20150131T120000Z", "20150331T120000Z", "20150531T120000Z"}),
            occurrences("FREQ=MONTHLY", "20150131T120000Z", 3));
  EXPECT_EQ((Texts{"20160229T000000Z", "20200229T000000Z"}), occurrences("FREQ=YEARLY", "20160229T000000Z", 2));
}

TEST(RecurrenceIterator, FirstMomentCountsOnlyIfTheRuleGivesIt) {
  // 1 January 2015 is a Thursday.
  EXPECT_EQ((Texts{"20150105T080000Z", "20150112T080000Z"}),
            occurrences("FREQ=WEEKLY;BYDAY=MO", "20150101T080000Z", 2));
  EXPECT_EQ((Texts{"20150101T080000Z", "20150108T080000Z"}),
            occurrences("FREQ=WEEKLY", "20150101T080000Z", 2));
  EXPECT_EQ((Texts{"20150108T080000Z"}), occurrences("FREQ=WEEKLY", "20150101T080000Z", 1, false));
}

TEST(RecurrenceIterator, SetPositionsPickWithinEachPeriod) {
  EXPECT_EQ((Texts{"20150130T170000Z", "20150227T170000Z", "20150331T170000Z"}),
            occurrences("FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1", "20150101T170000Z", 3));
  EXPECT_EQ((Texts{"20150105T090000Z", "20150106T170000Z"}),
            occurrences("FREQ=WEEKLY;BYDAY=MO,TU;BYHOUR=9,17;BYSETPOS=1,-1", "20150105T000000Z", 2));
}

TEST(RecurrenceIterator, WeekStartDecidesTheWeeksOfAnInterval) {
  // The classic pair: every other week on Tuesday and Sunday, weeks from Monday or Sunday.
  EXPECT_EQ((Texts{"19970805T090000Z", "19970810T090000Z", "19970819T090000Z", "19970824T090000Z"}),
            occurrences("FREQ=WEEKLY;INTERVAL=2;COUNT=4;BYDAY=TU,SU;WKST=MO", "19970805T090000Z"));
  EXPECT_EQ((Texts{"19970805T090000Z", "19970817T090000Z", "19970819T090000Z", "19970831T090000Z"}),
            occurrences("FREQ=WEEKLY;INTERVAL=2;COUNT=4;BYDAY=TU,SU;WKST=SU", "19970805T090000Z"));
}

TEST(RecurrenceIterator, WeekNumbersAndYearDays) {
  EXPECT_EQ((Texts{"19970512T090000Z", "19980511T090000Z", "19990517T090000Z"}),
            occurrences("FREQ=YEARLY;BYWEEKNO=20;BYDAY=MO", "19970101T090000Z", 3));
  EXPECT_EQ((Texts{"20151231T000000Z", "20161231T000000Z"}),
            occurrences("FREQ=YEARLY;BYYEARDAY=-1", "20150101T000000Z", 2));
}

TEST(RecurrenceIterator, FinerFrequencies) {
  EXPECT_EQ((Texts{"20150101T090000Z", "20150101T093000Z", "20150101T100000Z", "20150101T103000Z",
                   "20150102T090000Z"}),
            occurrences("FREQ=MINUTELY;INTERVAL=30;BYHOUR=9,10", "20150101T090000Z", 5));
  EXPECT_EQ((Texts{"20150105T000000Z", "20150105T120000Z", "20150106T000000Z"}),
            occurrences("FREQ=HOURLY;INTERVAL=12;BYDAY=MO,TU", "20150101T000000Z", 3));
  EXPECT_EQ((Texts{"20150101T000000Z", "20150101T000010Z", "20150101T000020Z"}),
            occurrences("FREQ=SECONDLY;INTERVAL=10", "20150101T000000Z", 3));
}

TEST(RecurrenceIterator, RuleThatNeverMatchesEnds) {
  EXPECT_TRUE(occurrences("FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=30", "20150101T000000Z").empty());
  EXPECT_TRUE(occurrences("FREQ=DAILY;BYMONTH=13", "20150101T000000Z").empty());
  EXPECT_TRUE(occurrences("FREQ=MINUTELY;BYMONTH=2;BYMONTHDAY=31", "20150101T000000Z").empty());
}

TEST(RecurrenceIterator, StopsAtTheEndOfTheCalendar) {
  const Texts found = occurrences("FREQ=YEARLY;INTERVAL=1000", "20150101T000000Z", 100);
  ASSERT_EQ(28u, found.size());
  EXPECT_EQ("", found.back());  // years beyond 9999 have no text form
  EXPECT_EQ("90150101T000000Z", found[7]);
}

TEST(RecurrenceIterator, RunsOnTheWallClockOfTheFirstMoment) {
  const auto zone = std::make_shared<FixedOffsetZone>("plus five", Duration(5 * 3600));
  RecurrenceIterator iterator(RecurrenceRule::parse(std::string("FREQ=DAILY;BYHOUR=1;COUNT=2")),
                              DateTime::parse(std::string("20150101T000000"), zone));
  DateTime occurrence;
  ASSERT_TRUE(iterator.next(occurrence));
  EXPECT_EQ("20150101T010000+0500", occurrence.format(0));
  EXPECT_EQ(DateTime::kindZone, occurrence.kind());
  ASSERT_TRUE(iterator.next(occurrence));
  EXPECT_EQ("20150101T200000Z", DateTime::fromUtc(occurrence.utc()).format(0));
  EXPECT_FALSE(iterator.next(occurrence));
  EXPECT_FALSE(iterator.next(occurrence));
}

TEST(RecurrenceIterator, DateOnlyFirstGivesDates) {
  RecurrenceIterator iterator(RecurrenceRule::parse(std::string("FREQ=MONTHLY;BYMONTHDAY=1;COUNT=2")),
                              DateTime(15, 1, 2015));
  DateTime occurrence;
  ASSERT_TRUE(iterator.next(occurrence));
  EXPECT_TRUE(occurrence.isDateOnly());
  EXPECT_EQ("20150201", occurrence.format(0));
}
