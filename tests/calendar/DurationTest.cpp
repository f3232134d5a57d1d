#include <gtest/gtest.h>

#include "calendar/Duration.h"

using zelvo::timezone::Duration;

TEST(Duration, DefaultIsNotADurationAndPoisonsArithmetic) {
  const Duration none;
  EXPECT_FALSE(none.isValid());
  EXPECT_EQ(Duration::notADuration, none.totalSeconds());
  EXPECT_FALSE((none + Duration(5)).isValid());
  EXPECT_FALSE((Duration(5) - none).isValid());
  EXPECT_FALSE((-none).isValid());
  EXPECT_LT(none, Duration(INT64_MIN + 1));
}

TEST(Duration, PartsAreWithoutSign) {
  const Duration span(1, 2, 3, 4, true);
  EXPECT_EQ(-(86400 + 2 * 3600 + 3 * 60 + 4), span.totalSeconds());
  EXPECT_EQ(26, span.hours());
  EXPECT_EQ(3, span.minutes());
  EXPECT_EQ(4, span.seconds());
}

TEST(Duration, OffsetTexts) {
  struct Case {
    int64_t seconds;
    const char* text;
  } cases[] = {{0, "+0000"}, {3600, "+0100"}, {-16200, "-0430"}, {11224, "+030704"}, {-(13 * 3600 + 45 * 60), "-1345"}};
  for (const Case& c : cases) EXPECT_EQ(c.text, Duration(c.seconds).formatOffset()) << c.seconds;
  EXPECT_EQ("", Duration().formatOffset());
}

TEST(Duration, IsoTextsRoundTrip) {
  struct Case {
    int64_t seconds;
    const char* text;
  } cases[] = {{-16200, "-PT04H30M"}, {37800, "+PT10H30M"}, {0, "+PT00H00M"}, {90061, "+P1DT01H01M01S"}};
  for (const Case& c : cases) {
    EXPECT_EQ(c.text, Duration(c.seconds).formatIso());
    EXPECT_EQ(c.seconds, Duration::parseIso(std::string(c.text)).totalSeconds()) << c.text;
  }
}

TEST(Duration, IsoReader) {
  struct Case {
    const char* text;
    int64_t seconds;
  } cases[] = {
      {"P1W", 604800},           {"-P2D", -172800},       {"+PT1H", 3600},  {"PT1H1M1S", 3661},
      {"P1DT12H", 129600},       {"PT90M", 5400},         {"P", 0},         {"PT", 0},
      {"P1XT2H", 7200},  // an unknown letter drops the running number
      {"", Duration::notADuration}, {"T1H", Duration::notADuration}, {"1H", Duration::notADuration},
      {"-", Duration::notADuration},
  };
  for (const Case& c : cases) EXPECT_EQ(c.seconds, Duration::parseIso(std::string(c.text)).totalSeconds()) << c.text;
  EXPECT_EQ(-16200, Duration::parseIso(std::wstring(L"-PT04H30M")).totalSeconds());
}
