#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "calendar/DateTime.h"

using zelvo::timezone::DateTime;
using zelvo::timezone::Duration;
using zelvo::timezone::FixedOffsetZone;
using zelvo::timezone::TimeParts;
using zelvo::timezone::utcZone;
namespace details = zelvo::timezone::details;

namespace {
DateTime utc(int day, int month, int year, int hour = 0, int minute = 0, int second = 0) {
  return DateTime(day, month, year, hour, minute, second, Duration(0));
}
std::shared_ptr<const FixedOffsetZone> fixedZone(int minutes) {
  return std::make_shared<FixedOffsetZone>("fixed", Duration(minutes * 60));
}
}  // namespace

TEST(DateTimeConversion, KnownValues) {
  struct Case {
    int day, month, year;
    int64_t value;
    int weekDay, yearDay;
  } cases[] = {
      {1, 1, 1970, 0, 4, 0},
      {1, 1, 1601, -11644473600LL, 1, 0},
      {29, 2, 2000, 951782400LL, 2, 59},
      {31, 12, 2000, 978220800LL, 0, 365},
      {1, 3, 1600 + 400, 951868800LL, 3, 60},
      {31, 12, 9999, 253402214400LL, 5, 364},
      {1, 1, 30000, 884541340800LL, 6, 0},
  };
  for (const Case& c : cases) {
    const DateTime time = utc(c.day, c.month, c.year);
    EXPECT_EQ(c.value, time.utc()) << c.year;
    TimeParts parts;
    details::valueToParts(c.value, parts);
    EXPECT_EQ(c.day, parts.day);
    EXPECT_EQ(c.month - 1, parts.month);
    EXPECT_EQ(c.year - 1900, parts.year);
    EXPECT_EQ(c.weekDay, parts.weekDay) << c.year;
    EXPECT_EQ(c.yearDay, parts.yearDay) << c.year;
    EXPECT_EQ(-1, parts.isDst);
  }
}

TEST(DateTimeConversion, RoundTripsEveryDayOfTwoCycles) {
  // Both directions agree day by day over 800 years across the century rules.
  int64_t expectedValue = utc(1, 1, 1601).utc();
  for (int64_t day = 0; day < 292194; ++day, expectedValue += 86400) {
    TimeParts parts;
    details::valueToParts(expectedValue, parts);
    TimeParts copy = parts;
    ASSERT_EQ(expectedValue, details::partsToValue(copy)) << day;
    ASSERT_EQ(parts.yearDay, copy.yearDay);
  }
}

TEST(DateTimeConversion, LeapDayIn2000AndCarriedIn1900) {
  EXPECT_EQ("2000-02-29", DateTime(29, 2, 2000).format(1));
  EXPECT_EQ("1900-03-01", DateTime(29, 2, 1900).format(1));
  EXPECT_EQ("2100-03-01", DateTime::parse("21000229").format(DateTime::formatExtended));
  EXPECT_TRUE(details::isLeapYear(2000));
  EXPECT_FALSE(details::isLeapYear(1900));
  EXPECT_TRUE(details::isLeapYear(2024));
  EXPECT_FALSE(details::isLeapYear(2023));
}

TEST(DateTimeConversion, FieldsCarryOver) {
  EXPECT_EQ("2016-01-01T00:30:00Z", utc(31, 12, 2015, 24, 30).format(1));
  EXPECT_EQ("2016-01-31T00:00:00Z", utc(31, 13, 2015).format(1));
  EXPECT_EQ("2014-12-31T00:00:00Z", utc(0, 1, 2015).format(1));
  EXPECT_EQ("2014-11-01T00:00:00Z", utc(1, -1, 2015).format(1));
  EXPECT_EQ("2015-03-01T00:00:00Z", utc(29, 2, 2015).format(1));
}

TEST(DateTimeConversion, ClampsToTheCalendarRange) {
  TimeParts parts;
  details::valueToParts(-20000000000LL, parts);
  EXPECT_EQ(1601 - 1900, parts.year);
  EXPECT_EQ(0, parts.month);
  EXPECT_EQ(1, parts.day);
  details::valueToParts(INT64_MAX / 2, parts);
  EXPECT_EQ(30000 - 1900, parts.year);
  EXPECT_EQ(0, parts.yearDay);
  EXPECT_EQ(details::firstClampedValue, utc(1, 1, 1200).utc());
  EXPECT_EQ(details::lastClampedValue, utc(1, 1, 40000).utc());
}

TEST(DateTimeFormat, Flags) {
  const DateTime time = utc(29, 3, 2015, 1, 2, 3);
  struct Case {
    unsigned flags;
    const char* text;
  } cases[] = {
      {0, "20150329T010203Z"},
      {1, "2015-03-29T01:02:03Z"},
      {2, "20150329T010203.000Z"},
      {3, "2015-03-29T01:02:03.000Z"},
      {4, "20150329T010203+0000"},
      {5, "2015-03-29T01:02:03+00:00"},
      {8, "20150329T010203"},
      {9, "2015-03-29T01:02:03"},
      {12, "20150329T010203"},
      {16, "20150329T010203Z"},
  };
  for (const Case& c : cases) EXPECT_EQ(c.text, time.format(c.flags)) << c.flags;
}

TEST(DateTimeFormat, OffsetsAndDates) {
  const DateTime east(29, 3, 2015, 10, 0, 0, Duration(0, 5, 45, 0, false));
  EXPECT_EQ("20150329T100000+0545", east.format(0));
  EXPECT_EQ("2015-03-29T10:00:00+05:45", east.format(1));
  EXPECT_EQ("2015-03-29T10:00:00", east.format(9));
  const DateTime west(29, 3, 2015, 10, 0, 0, Duration(0, 3, 30, 0, true));
  EXPECT_EQ("20150329T100000-0330", west.format(0));
  EXPECT_EQ(utc(29, 3, 2015, 13, 30).utc(), west.utc());

  const DateTime day(29, 3, 2015);
  EXPECT_TRUE(day.isDateOnly());
  EXPECT_EQ("2015-03-29", day.format(1));
  EXPECT_EQ("20150329", day.format(0));
  EXPECT_EQ("2015-03-29T00:00:00Z", day.format(1 | 16));
}

TEST(DateTimeFormat, EmptyTexts) {
  EXPECT_EQ("", DateTime().format(0));
  EXPECT_EQ("", DateTime::endOfTimeValue().format(0));
  EXPECT_EQ("", utc(1, 1, 10000).format(0));
  EXPECT_EQ("99991231T235959Z", utc(31, 12, 9999, 23, 59, 59).format(0));
}

TEST(DateTimeParse, SameMomentInBothForms) {
  const DateTime basic = DateTime::parse("20150329T010000Z");
  const DateTime extended = DateTime::parse("2015-03-29T01:00:00+00:00");
  EXPECT_EQ(basic, extended);
  EXPECT_EQ(utc(29, 3, 2015, 1).utc(), basic.utc());
  EXPECT_EQ(DateTime::kindFixed, basic.kind());
  EXPECT_FALSE(basic.isDateOnly());
}

TEST(DateTimeParse, Grammar) {
  struct Case {
    const char* text;
    const char* utcText;  // empty: not a time
  } cases[] = {
      {"20150329T013000+0200", "20150328T233000Z"},
      {"2015-03-29T01:30:00-05", "20150329T063000Z"},
      {"2015-03-29T01:30:00.123Z", "20150329T013000Z"},
      {"20150329T013000,5 +01:00", "20150329T003000Z"},
      {"20150329T0130", ""},
      {"2015329", ""},
      {"20150329T013000+1", ""},
      {"20150329T013000Zjunk", ""},
      {"", ""},
      {"abcd0101", ""},
  };
  for (const Case& c : cases) {
    DateTime time = DateTime::parse(std::string(c.text));
    if (*c.utcText == 0) {
      EXPECT_FALSE(time.isValid()) << c.text;
      continue;
    }
    time.setFixedOffset(Duration(0));
    EXPECT_EQ(c.utcText, time.format(0)) << c.text;
  }
  EXPECT_EQ(utc(1, 2, 2003, 4, 5, 6), DateTime::parse(std::wstring(L"20030201T040506Z")));
}

TEST(DateTimeParse, DateOnlyAndZones) {
  const DateTime date = DateTime::parse("20150329");
  EXPECT_TRUE(date.isDateOnly());
  EXPECT_EQ(DateTime::kindFloating, date.kind());
  EXPECT_EQ("20150329", date.format(0));

  const auto plusTwo = fixedZone(120);
  const DateTime wall = DateTime::parse("20150329T100000", plusTwo);
  EXPECT_EQ(DateTime::kindZone, wall.kind());
  EXPECT_EQ(utc(29, 3, 2015, 8).utc(), wall.utc());
  EXPECT_EQ("20150329T100000+0200", wall.format(0));

  const DateTime moved = DateTime::parse("20150329T100000Z", plusTwo);
  EXPECT_EQ(utc(29, 3, 2015, 10).utc(), moved.utc());
  EXPECT_EQ("20150329T120000+0200", moved.format(0));
}

TEST(DateTimeFields, GetOnTheWallClock) {
  const DateTime time(31, 12, 2015, 23, 30, 15, Duration(0, 2, 0, 0, true));  // 01:30 UTC next day
  EXPECT_EQ(2015, time.get(DateTime::fieldYear));
  EXPECT_EQ(12, time.get(DateTime::fieldMonth));
  EXPECT_EQ(365, time.get(DateTime::fieldYearDay));
  EXPECT_EQ(31, time.get(DateTime::fieldMonthDay));
  EXPECT_EQ(4, time.get(DateTime::fieldWeekDay));
  EXPECT_EQ(23, time.get(DateTime::fieldHour));
  EXPECT_EQ(30, time.get(DateTime::fieldMinute));
  EXPECT_EQ(15, time.get(DateTime::fieldSecond));
}

TEST(DateTimeFields, WeekNumbers) {
  struct Case {
    int day, month, year, weekStart, week;
  } cases[] = {
      {1, 1, 2021, 1, 53},   {3, 1, 2021, 1, 53},   {4, 1, 2021, 1, 1},    {29, 12, 2014, 1, 1},
      {28, 12, 2014, 1, 52}, {31, 12, 2024, 1, 1},  {28, 12, 2020, 1, 53}, {1, 1, 2016, 1, 53},
      {1, 1, 2017, 1, 52},   {2, 1, 2017, 1, 1},    {1, 1, 2017, 7, 1},    {31, 12, 2016, 7, 52},
      {30, 12, 2012, 7, 1},  {5, 1, 2014, 7, 2},    {4, 1, 2014, 7, 1},    {29, 12, 2019, 1, 52},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.week, DateTime(c.day, c.month, c.year).get(DateTime::fieldWeek, c.weekStart))
        << c.day << "." << c.month << "." << c.year << " start " << c.weekStart;
  }
}

TEST(DateTimeFields, SetKeepsTheOtherFields) {
  struct Case {
    int field, value, weekStart;
    const char* result;
  } cases[] = {
      {DateTime::fieldYear, 2016, 1, "20160315T101112Z"},
      {DateTime::fieldMonth, 2, 1, "20150215T101112Z"},
      {DateTime::fieldMonth, 14, 1, "20160215T101112Z"},
      {DateTime::fieldMonth, 0, 1, "20141215T101112Z"},
      {DateTime::fieldMonthDay, 31, 1, "20150331T101112Z"},
      {DateTime::fieldMonthDay, 32, 1, "20150401T101112Z"},
      {DateTime::fieldYearDay, 1, 1, "20150101T101112Z"},
      {DateTime::fieldYearDay, 366, 1, "20160101T101112Z"},
      {DateTime::fieldWeekDay, 1, 1, "20150309T101112Z"},  // Sunday 15th back to Monday 9th
      {DateTime::fieldWeekDay, 1, 7, "20150316T101112Z"},  // weeks from Sunday: forward
      {DateTime::fieldWeekDay, 7, 1, "20150315T101112Z"},
      {DateTime::fieldWeek, 1, 1, "20150104T101112Z"},     // Sunday of ISO week 1
      {DateTime::fieldWeek, 53, 1, "20160103T101112Z"},
      {DateTime::fieldHour, 23, 1, "20150315T231112Z"},
      {DateTime::fieldMinute, 0, 1, "20150315T100012Z"},
      {DateTime::fieldSecond, 60, 1, "20150315T101200Z"},
  };
  for (const Case& c : cases) {
    DateTime time = utc(15, 3, 2015, 10, 11, 12);
    time.set(c.field, c.value, c.weekStart);
    EXPECT_EQ(c.result, time.format(0)) << "field " << c.field << " value " << c.value;
  }
}

TEST(DateTimeFields, SettingTheMonthClampsTheDay) {
  DateTime time = utc(31, 1, 2016, 8);
  time.set(DateTime::fieldMonth, 2);
  EXPECT_EQ("20160229T080000Z", time.format(0));
  time = utc(31, 1, 2015, 8);
  time.set(DateTime::fieldMonth, 2);
  EXPECT_EQ("20150228T080000Z", time.format(0));
  time.set(DateTime::fieldMonth, 4);
  EXPECT_EQ("20150428T080000Z", time.format(0));
}

TEST(DateTimeFields, SettingTheWeekKeepsTheWeekday) {
  for (int week = 1; week <= 52; ++week) {
    DateTime time = utc(7, 5, 2015, 9);  // a Thursday
    time.set(DateTime::fieldWeek, week, 1);
    EXPECT_EQ(week, time.get(DateTime::fieldWeek, 1));
    EXPECT_EQ(4, time.get(DateTime::fieldWeekDay));
  }
}

TEST(DateTimeFields, TimeFieldsEndADateOnlyValue) {
  DateTime day(29, 3, 2015);
  day.set(DateTime::fieldMonthDay, 30);
  EXPECT_TRUE(day.isDateOnly());
  day.set(DateTime::fieldHour, 5);
  EXPECT_FALSE(day.isDateOnly());
  EXPECT_EQ("20150330T050000Z", day.format(0));
}

TEST(DateTimeArithmetic, PlusAndMinus) {
  const DateTime time = utc(28, 2, 2016, 12);
  EXPECT_EQ("20160229T120000Z", time.plus(Duration(86400)).format(0));
  EXPECT_EQ("20160227T120000Z", (time - Duration(86400)).format(0));
  EXPECT_EQ(Duration(86400), time.plus(Duration(86400)) - time);
  EXPECT_EQ(time, time.plus(Duration()));
  EXPECT_FALSE(DateTime().plus(Duration(5)).isValid());
  EXPECT_TRUE(DateTime::endOfTimeValue().plus(Duration(5)).isEndOfTime());
  EXPECT_FALSE((DateTime() - time).isValid());

  const DateTime day(29, 3, 2015);
  EXPECT_TRUE(day.plus(Duration(2 * 86400)).isDateOnly());
  EXPECT_FALSE(day.plus(Duration(3600)).isDateOnly());
}

TEST(DateTimeArithmetic, ComparesTheMomentOnly) {
  const DateTime a = utc(1, 1, 2015, 12);
  const DateTime b(1, 1, 2015, 13, 0, 0, Duration(3600));
  EXPECT_EQ(a, b);
  EXPECT_LT(a, a.plus(Duration(1)));
  EXPECT_LT(DateTime(), a);
}

TEST(DateTimeZones, StartOfDay) {
  const auto plusTwo = fixedZone(120);
  DateTime time = DateTime::parse("20150329T013000", plusTwo);
  const DateTime kept = time.startOfDay(true);
  EXPECT_EQ("20150329T000000+0200", kept.format(0));
  EXPECT_EQ(DateTime::kindZone, kept.kind());
  const DateTime plain = time.startOfDay(false);
  EXPECT_EQ("20150329T000000Z", plain.format(0));
  EXPECT_EQ(DateTime::kindFixed, plain.kind());
}

TEST(DateTimeZones, SetZoneKeepsTheWallClockMoveKeepsTheMoment) {
  DateTime time = utc(1, 6, 2015, 12);
  DateTime wall = time;
  wall.setZone(fixedZone(-300));
  EXPECT_EQ("20150601T120000-0500", wall.format(0));
  EXPECT_EQ(time.utc() + 5 * 3600, wall.utc());
  DateTime moved = time;
  moved.moveToZone(fixedZone(-300));
  EXPECT_EQ("20150601T070000-0500", moved.format(0));
  EXPECT_EQ(time, moved);
  EXPECT_EQ(Duration(-5 * 3600), moved.offset());
}

TEST(DateTimeSystemTime, BothDirections) {
  SYSTEMTIME in{};
  in.wYear = 2015;
  in.wMonth = 3;
  in.wDay = 29;
  in.wHour = 1;
  in.wMinute = 2;
  in.wSecond = 3;
  in.wMilliseconds = 999;
  const DateTime time(in);
  EXPECT_EQ("20150329T010203Z", time.format(0));
  SYSTEMTIME out{};
  EXPECT_TRUE(time.toSystemTime(out));
  EXPECT_EQ(2015, out.wYear);
  EXPECT_EQ(3, out.wMonth);
  EXPECT_EQ(0, out.wDayOfWeek);
  EXPECT_EQ(29, out.wDay);
  EXPECT_EQ(3, out.wSecond);
  EXPECT_EQ(0, out.wMilliseconds);
  EXPECT_FALSE(DateTime().toSystemTime(out));
  EXPECT_EQ(0, out.wYear);
  EXPECT_FALSE(DateTime::endOfTimeValue().toSystemTime(out));
}

TEST(DateTimeNow, IsAFloatingMomentOfThePresent) {
  const DateTime now = DateTime::now();
  EXPECT_EQ(DateTime::kindFloating, now.kind());
  EXPECT_NEAR(static_cast<double>(std::time(nullptr)), static_cast<double>(now.utc()), 5.0);
}

#ifndef _WIN32
// Floating values follow the machine's zone; the zone is set through TZ for these tests.
class FloatingTime : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* old = std::getenv("TZ");
    hadTz_ = old != nullptr;
    if (hadTz_) oldTz_ = old;
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
  }
  void TearDown() override {
    if (hadTz_) {
      setenv("TZ", oldTz_.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }
  bool hadTz_ = false;
  std::string oldTz_;
};

TEST_F(FloatingTime, OffsetFollowsTheMachine) {
  EXPECT_EQ(Duration(3600), details::localOffset(utc(15, 1, 2015).utc(), true));
  EXPECT_EQ(Duration(7200), details::localOffset(utc(15, 7, 2015).utc(), true));
  const DateTime winter = DateTime::parse("20150115T120000");
  EXPECT_EQ(DateTime::kindFloating, winter.kind());
  EXPECT_EQ(utc(15, 1, 2015, 11).utc(), winter.utc());
  EXPECT_EQ("20150115T120000", winter.format(0));
  const DateTime summer(15, 7, 2015, 12, 0, 0, Duration());
  EXPECT_EQ(utc(15, 7, 2015, 10).utc(), summer.utc());
  EXPECT_EQ("2015-07-15T12:00:00", summer.format(1));
}

TEST_F(FloatingTime, WallClockInTheSpringGapMovesForward) {
  DateTime time(29, 3, 2015, 1, 30, 0, Duration());
  time.set(DateTime::fieldHour, 2);  // 02:30 does not exist that night
  EXPECT_EQ("20150329T033000", time.format(0));
}
#endif
