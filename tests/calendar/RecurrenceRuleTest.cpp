#include <gtest/gtest.h>

#include "calendar/RecurrenceRule.h"

using zelvo::timezone::RecurrenceRule;

TEST(RecurrenceRuleText, RoundTrips) {
  const char* texts[] = {
      "FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU",
      "FREQ=YEARLY;BYMONTH=3;BYMONTHDAY=23,24,25,26,27,28,29,30,31;BYDAY=FR",
      "FREQ=MONTHLY;COUNT=10;INTERVAL=2;BYMONTHDAY=-1,-2,15",
      "FREQ=WEEKLY;UNTIL=20151231T235959Z;BYDAY=MO,WE,FR;WKST=SU",
      "FREQ=DAILY;UNTIL=20151231;BYHOUR=9,17;BYMINUTE=0,30;BYSECOND=0",
      "FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1",
      "FREQ=YEARLY;BYWEEKNO=20;BYYEARDAY=-1,100;BYDAY=20MO",
      "FREQ=SECONDLY;INTERVAL=15",
      "FREQ=MINUTELY",
      "FREQ=HOURLY;X-UNTIL=20200101T000000Z;COUNT=3",
  };
  for (const char* text : texts) {
    const RecurrenceRule rule = RecurrenceRule::parse(std::string(text));
    EXPECT_TRUE(rule.valid) << text;
    EXPECT_EQ(text, rule.toString());
  }
}

TEST(RecurrenceRuleText, ReaderFields) {
  const RecurrenceRule rule = RecurrenceRule::parse(std::string("freq=yearly;bymonth=3;byday=-1su,+2MO,TU;wkst=su;count=4"));
  ASSERT_TRUE(rule.valid);
  EXPECT_EQ(RecurrenceRule::yearly, rule.frequency);
  EXPECT_EQ(std::vector<int32_t>{3}, rule.byMonth);
  ASSERT_EQ(3u, rule.byDay.size());
  EXPECT_EQ(-1, RecurrenceRule::dayOrdinal(rule.byDay[0]));
  EXPECT_EQ(7, RecurrenceRule::dayWeekDay(rule.byDay[0]));
  EXPECT_EQ(2, RecurrenceRule::dayOrdinal(rule.byDay[1]));
  EXPECT_EQ(1, RecurrenceRule::dayWeekDay(rule.byDay[1]));
  EXPECT_EQ(0, RecurrenceRule::dayOrdinal(rule.byDay[2]));
  EXPECT_EQ(7, rule.weekStart);
  EXPECT_EQ(4, rule.count);
  EXPECT_EQ(1, rule.interval);
  EXPECT_EQ("FREQ=YEARLY;COUNT=4;BYMONTH=3;BYDAY=-1SU,2MO,TU;WKST=SU", rule.toString());
}

TEST(RecurrenceRuleText, UntilWinsOverCountAndIsUtc) {
  const RecurrenceRule rule =
      RecurrenceRule::parse(std::string("FREQ=DAILY;COUNT=5;UNTIL=20150329T030000+0200;INTERVAL=1"));
  ASSERT_TRUE(rule.valid);
  EXPECT_EQ("FREQ=DAILY;UNTIL=20150329T010000Z", rule.toString());
}

TEST(RecurrenceRuleText, MalformedTextsAreInvalid) {
  const char* texts[] = {
      "", "FREQ=FORTNIGHTLY", "BYMONTH=3", "FREQ=DAILY;COUNT=x", "FREQ=DAILY;BYDAY=XX", "FREQ=DAILY;BYMONTH=1,,2",
      "FREQ=DAILY;UNTIL=2015", "FREQ=WEEKLY;WKST=MONDAY", "FREQ=DAILY;INTERVAL=99999999999",
  };
  for (const char* text : texts) {
    const RecurrenceRule rule = RecurrenceRule::parse(std::string(text));
    EXPECT_FALSE(rule.valid) << text;
    EXPECT_EQ("", rule.toString()) << text;
  }
}

TEST(RecurrenceRuleText, UnknownKeysAreSkipped) {
  EXPECT_EQ("FREQ=DAILY", RecurrenceRule::parse(std::string("X-NAME=1;FREQ=DAILY;RSCALE=GREGORIAN")).toString());
}

TEST(RecurrenceRuleText, WriterRefusesABadWeekday) {
  RecurrenceRule rule = RecurrenceRule::parse(std::string("FREQ=WEEKLY;BYDAY=MO"));
  rule.byDay.push_back(RecurrenceRule::packDay(1, 8));
  EXPECT_EQ("", rule.toString());
  rule.byDay.pop_back();
  rule.weekStart = 0;
  EXPECT_EQ("", rule.toString());
}

TEST(RecurrenceRuleText, VCalendarForms) {
  struct Case {
    const char* text;
    const char* rrule;
  } cases[] = {
      {"D1 #5", "FREQ=DAILY;COUNT=5"},
      {"MD1 LD", "FREQ=MONTHLY;BYMONTHDAY=-1"},
      {"MD1 1 15 LD #0", "FREQ=MONTHLY;BYMONTHDAY=1,15,-1"},
      {"MD2 2- 10", "FREQ=MONTHLY;INTERVAL=2;BYMONTHDAY=-2,10"},
      {"W2 MO WE FR #10", "FREQ=WEEKLY;COUNT=10;INTERVAL=2;BYDAY=MO,WE,FR"},
      {"MP1 1+ SU 1- FR", "FREQ=MONTHLY;BYDAY=1SU,-1FR"},
      {"MP6 2+ 3+ TU", "FREQ=MONTHLY;INTERVAL=6;BYDAY=2TU,3TU"},
      {"YM1 6 7 #10", "FREQ=YEARLY;COUNT=10;BYMONTH=6,7"},
      {"YD3 1 100 200", "FREQ=YEARLY;INTERVAL=3;BYYEARDAY=1,100,200"},
      {"M30 #4", "FREQ=MINUTELY;COUNT=4;INTERVAL=30"},
      {"D1 19960430T070000Z", "FREQ=DAILY;UNTIL=19960430T070000Z"},
      {"W1\tTU\tTH", "FREQ=WEEKLY;BYDAY=TU,TH"},
  };
  for (const Case& c : cases) {
    const RecurrenceRule rule = RecurrenceRule::parse(std::string(c.text));
    EXPECT_TRUE(rule.valid) << c.text;
    EXPECT_EQ(c.rrule, rule.toString()) << c.text;
  }
  EXPECT_EQ(5, RecurrenceRule::parse(std::string("D1 #5")).count);
  EXPECT_FALSE(RecurrenceRule::parse(std::string("Q1 #5")).valid);
  EXPECT_FALSE(RecurrenceRule::parse(std::string("WWWWWWWWWWWWWWWWWWWW1 MO")).valid);
  EXPECT_TRUE(RecurrenceRule::parse(std::wstring(L"D1 #5")).valid);
}
