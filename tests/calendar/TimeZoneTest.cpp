#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <set>

#include "calendar/LocalTimeZone.h"
#include "calendar/TimeZone.h"

using namespace zelvo::timezone;

namespace {
const ZoneSourceRow* findRow(const ZoneSourceRow* rows, size_t count, const std::string& name) {
  for (size_t i = 0; i < count; ++i) {
    if (name == rows[i].name) return &rows[i];
  }
  return nullptr;
}
std::string offsetText(const ZTimeZone& zone, const char* utcText) {
  const auto shared = std::make_shared<ZTimeZone>(zone);
  DateTime time = DateTime::parse(std::string(utcText));
  time.moveToZone(shared);
  return time.format(0);
}
}  // namespace

TEST(ZoneTables, Counts) {
  EXPECT_EQ(163u, tables::abbreviationCount);
  EXPECT_EQ(91u, tables::displayZoneCount);
  EXPECT_EQ(568u, tables::namedZoneCount);
  EXPECT_EQ(78u, tables::representativeZoneCount);
  EXPECT_EQ(108u, tables::windowsKeyToZoneCount);
  EXPECT_EQ(56u, tables::zoneToWindowsKeyCount);
  EXPECT_STREQ("", tables::representativeZones[52]);
  EXPECT_STREQ("America/Chihuahua", tables::representativeZones[77]);
}

TEST(ZoneTables, RowsAreWellFormed) {
  std::set<std::string> names;
  auto check = [&](const ZoneSourceRow& row) {
    EXPECT_TRUE(names.insert(row.name).second) << "twice: " << row.name;
    EXPECT_TRUE(parseUtcOffset(row.standard).isValid()) << row.name;
    if (*row.daylight) {
      EXPECT_TRUE(parseUtcOffset(row.daylight).isValid()) << row.name;
    }
    for (const char* start : {row.standardStart, row.daylightStart}) {
      if (*start) {
        EXPECT_EQ(15u, std::strlen(start)) << row.name;
        EXPECT_TRUE(DateTime::parse(std::string(start)).isValid()) << row.name;
      }
    }
    for (const char* rule : {row.standardRule, row.daylightRule}) {
      if (*rule) {
        EXPECT_TRUE(RecurrenceRule::parse(std::string(rule)).valid) << row.name << " " << rule;
        EXPECT_EQ(rule, RecurrenceRule::parse(std::string(rule)).toString());
      }
    }
    for (int zone : row.windowsZones) {
      EXPECT_GE(zone, -1);
      EXPECT_LT(zone, static_cast<int>(tables::representativeZoneCount));
    }
    EXPECT_TRUE(ZTimeZone::fromRow(row).isValid()) << row.name;
  };
  for (size_t i = 0; i < tables::displayZoneCount; ++i) check(tables::displayZones[i]);
  for (size_t i = 0; i < tables::namedZoneCount; ++i) check(tables::namedZones[i]);
  for (size_t i = 0; i < tables::abbreviationCount; ++i) {
    EXPECT_TRUE(Duration::parseIso(std::string(tables::abbreviations[i].offset)).isValid());
  }
}

TEST(ZoneTables, TellingRows) {
  const ZoneSourceRow* casablanca = findRow(tables::namedZones, tables::namedZoneCount, "Africa/Casablanca");
  ASSERT_NE(nullptr, casablanca);
  EXPECT_STREQ("+0000", casablanca->standard);
  EXPECT_STREQ("+0100", casablanca->daylight);
  EXPECT_STREQ("20160605T030000", casablanca->standardStart);
  EXPECT_STREQ("FREQ=YEARLY;BYMONTH=7;BYMONTHDAY=19", casablanca->daylightRule);
  EXPECT_EQ(31, casablanca->windowsZones[0]);
  const ZoneSourceRow* riyadh = findRow(tables::namedZones, tables::namedZoneCount, "Mideast/Riyadh87");
  ASSERT_NE(nullptr, riyadh);
  EXPECT_EQ(3 * 3600 + 7 * 60, parseUtcOffset(riyadh->standard).totalSeconds());
  const ZoneSourceRow* tunis = findRow(tables::namedZones, tables::namedZoneCount, "Africa/Tunis");
  EXPECT_STREQ("20080330T020000", tunis->standardStart);
  EXPECT_STREQ("", tunis->daylight);
  for (const char* european : {"Europe/Paris", "Europe/Berlin", "Europe/Madrid"}) {
    const ZoneSourceRow* row = findRow(tables::namedZones, tables::namedZoneCount, european);
    ASSERT_NE(nullptr, row);
    EXPECT_STREQ("+0100", row->standard);
    EXPECT_STREQ("+0200", row->daylight);
    EXPECT_STREQ("19961027T030000", row->standardStart) << european;
    EXPECT_STREQ("19810329T020000", row->daylightStart) << european;
    EXPECT_STREQ("FREQ=YEARLY;BYMONTH=10;BYDAY=-1SU", row->standardRule);
    EXPECT_STREQ("FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU", row->daylightRule);
    EXPECT_EQ(3, row->windowsZones[0]);
    EXPECT_EQ(4, row->windowsZones[1]);
    EXPECT_EQ(6, row->windowsZones[2]);
  }
  const ZoneSourceRow* newYork = findRow(tables::namedZones, tables::namedZoneCount, "America/New_York");
  EXPECT_STREQ("20071104T020000", newYork->standardStart);
  EXPECT_STREQ("20070311T020000", newYork->daylightStart);
  EXPECT_STREQ("FREQ=YEARLY;BYMONTH=11;BYDAY=1SU", newYork->standardRule);
  EXPECT_STREQ("FREQ=YEARLY;BYMONTH=3;BYDAY=2SU", newYork->daylightRule);
}

TEST(ZoneTables, WindowsMapsReachRows) {
  for (size_t i = 0; i < tables::windowsKeyToZoneCount; ++i) {
    const std::string name = tables::windowsKeyToZone[i].to;
    EXPECT_TRUE(findRow(tables::displayZones, tables::displayZoneCount, name) ||
                findRow(tables::namedZones, tables::namedZoneCount, name) || name == "Etc/GMT-12" ||
                name == "Atlantic/Reykjavik" || name == "Indian/Mauritius" || name == "Europe/Kiev")
        << name;
  }
  size_t russian = 0;
  for (size_t i = 0; i < tables::windowsKeyToZoneCount; ++i) {
    if (std::string(tables::windowsKeyToZone[i].from) == "Russian Standard Time") {
      ++russian;
      EXPECT_STREQ("Europe/Moscow", tables::windowsKeyToZone[i].to);
    }
  }
  EXPECT_EQ(1u, russian);
}

TEST(ParseUtcOffset, Forms) {
  struct Case {
    const char* text;
    int64_t seconds;
  } cases[] = {
      {"+0100", 3600},       {"-01:00", -3600},      {"5", 18000},          {"-1200", -43200},
      {"+0307", 11220},      {"+053000", 19800},     {"+1345", 49500},      {"-03:30", -12600},
      {"WET", 0},            {"wet", 0},             {"+0000", 0},          {"ACDT", 37800},
      {"NST", -12600},       {"CHADT", 49500},
      {"-PT1H", Duration::notADuration},  {"", Duration::notADuration},   {"+", Duration::notADuration},
      {"XYZT", Duration::notADuration},   {"WE", Duration::notADuration}, {"#1", Duration::notADuration},
  };
  for (const Case& c : cases) EXPECT_EQ(c.seconds, parseUtcOffset(c.text).totalSeconds()) << c.text;
}

TEST(FindTimeZone, ByName) {
  EXPECT_EQ("Pacific/Fiji", findTimeZone(std::string("Pacific/Fiji")).name);
  EXPECT_EQ("Fiji, Marshall Is.", findTimeZone(std::string("Fiji, Marshall Is.")).name);
  EXPECT_EQ("(UTC) Universal Coordinated Time", findTimeZone(std::string("Nowhere")).name);
  EXPECT_EQ("Amsterdam, Belgrade, Berlin, Brussels, Budapest, Madrid, Paris, Prague, Stockholm",
            findTimeZone(std::wstring(L"(GMT+01:00) amsterdam, belgrade, berlin, brussels, budapest, madrid, "
                                      L"paris, prague, stockholm"))
                .name);
  // Both "Greenland" and "Greenland (Danmarkshavn)" occur: the longer name wins.
  EXPECT_EQ("Greenland (Danmarkshavn)", findTimeZone(std::string("Greenland (Danmarkshavn)")).name);
  EXPECT_EQ("Europe/Moscow", findTimeZone(std::string("Europe/Moscow")).name);
  // The text of the Russian zone key is shorter than the row name and finds no row.
  EXPECT_EQ("(UTC) Universal Coordinated Time", findTimeZone(std::string("Moscow, St.Petersburg, Volgograd")).name);
}

TEST(FindTimeZone, LongestMatchAndKmp) {
  EXPECT_TRUE(details::containsNoCase("xxAABAABAAAB", "aabaaab"));
  EXPECT_FALSE(details::containsNoCase("AABAABAAB", "aabaaab"));
  const ZoneSourceRow rows[] = {
      {"Paris", "+0100", "", "", "", "", "", {-1, -1, -1, -1}},
      {"Paris, Texas", "-0600", "", "", "", "", "", {-1, -1, -1, -1}},
      {"Texas", "-0600", "", "", "", "", "", {-1, -1, -1, -1}},
      {"Rome", "+0100", "", "", "", "", "", {-1, -1, -1, -1}},
      {"Oslo", "+0100", "", "", "", "", "", {-1, -1, -1, -1}},
  };
  EXPECT_EQ(1, details::findRowByName("paris, texas", rows, 5));
  EXPECT_EQ(3, details::findRowByName("Rome and Oslo", rows, 5));
  EXPECT_EQ(-1, details::findRowByName("Berlin", rows, 5));
}

TEST(FindTimeZone, LocalZoneAndNumbers) {
  setLocalTimeZoneProvider([] { return findTimeZone(std::string("Osaka, Sapporo, Seoul, Tokyo (Jayapura, Osaka, Sapporo, Seoul, Tokyo)")); });
  EXPECT_EQ("Jayapura, Osaka, Sapporo, Seoul, Tokyo", findTimeZone(std::string("SERVER")).name);
  EXPECT_EQ("Jayapura, Osaka, Sapporo, Seoul, Tokyo", findTimeZone(std::string("")).name);
  // A plain count of seconds: the first display row with that standard offset.
  EXPECT_EQ("Baker Is., Howland Is.", findTimeZone(std::string("-43200")).name);
  EXPECT_EQ("Amsterdam, Belgrade, Berlin, Brussels, Budapest, Madrid, Paris, Prague, Stockholm",
            findTimeZone(std::string("+3600")).name);
  EXPECT_EQ("Greenland (Danmarkshavn)", findTimeZone(std::string("0")).name);
  // The local standard offset itself ends in UTC, and "+0100" is 100 seconds.
  EXPECT_EQ("(UTC) Universal Coordinated Time", findTimeZone(std::string("32400")).name);
  EXPECT_EQ("(UTC) Universal Coordinated Time", findTimeZone(std::string("+0100")).name);
  setLocalTimeZoneProvider(nullptr);
  EXPECT_EQ(getLocalTimeZone().name, findTimeZone(std::string("server")).name);
}

TEST(ZoneOffsets, EuropeanRules) {
  const ZTimeZone paris = findTimeZone(std::string("Europe/Paris"));
  ASSERT_EQ(2u, paris.observances.size());
  EXPECT_EQ("20150329T015959+0100", offsetText(paris, "20150329T005959Z"));
  EXPECT_EQ("20150329T030000+0200", offsetText(paris, "20150329T010000Z"));
  EXPECT_EQ("20151025T025959+0200", offsetText(paris, "20151025T005959Z"));
  EXPECT_EQ("20151025T020000+0100", offsetText(paris, "20151025T010000Z"));
}

TEST(ZoneOffsets, SimpleRulesHoldBeforeTheRowsStartYear) {
  // The Paris row dates its rules from 1981 and 1996, the New York row from 2007; the
  // yearly rules still give the changes of earlier years. Jerusalem's spring rule is not
  // simple, so the general path answers there, and before its start there is no onset.
  struct Case {
    const char* zone;
    const char* utc;
    const char* local;
  } cases[] = {
      {"Europe/Paris", "19901215T120000Z", "19901215T130000+0100"},
      {"Europe/Paris", "19800601T120000Z", "19800601T140000+0200"},
      {"Europe/Paris", "19900325T005959Z", "19900325T015959+0100"},
      {"Europe/Paris", "19900325T010000Z", "19900325T030000+0200"},
      {"Europe/Paris", "19901028T005959Z", "19901028T025959+0200"},
      {"Europe/Paris", "19901028T010000Z", "19901028T020000+0100"},
      {"America/New_York", "20050715T120000Z", "20050715T080000-0400"},
      {"America/New_York", "20050115T120000Z", "20050115T070000-0500"},
      {"America/New_York", "20050313T065959Z", "20050313T015959-0500"},
      {"America/New_York", "20050313T070000Z", "20050313T030000-0400"},
      {"America/New_York", "20051106T055959Z", "20051106T015959-0400"},
      {"America/New_York", "20051106T060000Z", "20051106T010000-0500"},
      {"Jerusalem", "20100715T120000Z", "20100715T140000+0200"},
      {"Jerusalem", "20150715T120000Z", "20150715T150000+0300"},
  };
  for (const Case& c : cases) {
    // Both through a fresh cache, which computes the year, and through the entry it kept.
    details::clearYearlyCache();
    const ZTimeZone zone = findTimeZone(std::string(c.zone));
    ASSERT_EQ(c.zone, zone.name);
    EXPECT_EQ(c.local, offsetText(zone, c.utc)) << c.zone << " " << c.utc;
    EXPECT_EQ(c.local, offsetText(zone, c.utc)) << c.zone << " " << c.utc << ", cached";
  }
}

TEST(ZoneOffsets, SouthernHemisphereAndFixedRows) {
  const ZTimeZone sydney = findTimeZone(std::string("Canberra, Melbourne, Sydney"));
  EXPECT_EQ("20150115T110000+1100", offsetText(sydney, "20150115T000000Z"));
  EXPECT_EQ("20150715T100000+1000", offsetText(sydney, "20150715T000000Z"));
  // A row with a lone date of its last change is a fixed offset.
  const ZTimeZone bogota = findTimeZone(std::string("Bogota, Lima, Quito, Navassa Is."));
  ASSERT_EQ(1u, bogota.observances.size());
  EXPECT_EQ("20150715T000000-0500", offsetText(bogota, "20150715T050000Z"));
  const ZTimeZone riyadh = findTimeZone(std::string("Mideast/Riyadh87"));
  EXPECT_EQ("20150715T030700+0307", offsetText(riyadh, "20150715T000000Z"));
}

TEST(ZoneOffsets, IteratorPathForRulesOutsideTheSimpleForm) {
  // Friday before the last Sunday of March, and the fixed dates of the Tehran row.
  const ZTimeZone jerusalem = findTimeZone(std::string("Jerusalem"));
  EXPECT_EQ("20150327T015959+0200", offsetText(jerusalem, "20150326T235959Z"));
  EXPECT_EQ("20150327T030000+0300", offsetText(jerusalem, "20150327T000000Z"));
  const ZTimeZone tehran = findTimeZone(std::string("Tehran"));
  EXPECT_EQ("20170320T235959+0330", offsetText(tehran, "20170320T202959Z"));
  EXPECT_EQ("20170321T010000+0430", offsetText(tehran, "20170320T203000Z"));
  EXPECT_EQ("20171015T003000+0330", offsetText(tehran, "20171014T210000Z"));
}

TEST(ZoneOffsets, YearlyCacheIsBoundedAndSharedByRules) {
  details::clearYearlyCache();
  const auto london = std::make_shared<ZTimeZone>(findTimeZone(std::string("Europe/London")));
  const auto dublin = std::make_shared<ZTimeZone>(findTimeZone(std::string("Europe/Dublin")));
  EXPECT_EQ(london->getSignature(), dublin->getSignature());
  EXPECT_EQ(32u, london->getSignature().size());
  EXPECT_NE(london->getSignature(), findTimeZone(std::string("Europe/Paris")).getSignature());
  DateTime::fromUtc(1436918400, london).offset();
  DateTime::fromUtc(1436918400, dublin).offset();
  EXPECT_EQ(1u, details::yearlyCacheSize());
  for (int year = 1990; year < 2700; ++year) {
    DateTime time(15, 7, year, 12, 0, 0, Duration(0));
    time.moveToZone(london);
    ASSERT_EQ(Duration(3600), time.offset()) << year;
  }
  EXPECT_EQ(details::yearlyCacheCapacity, details::yearlyCacheSize());
}

TEST(ZoneOffsets, YearlyCacheDropsItsOldestInsertionFirst) {
  details::clearYearlyCache();
  const auto london = std::make_shared<ZTimeZone>(findTimeZone(std::string("Europe/London")));
  const auto paris = std::make_shared<ZTimeZone>(findTimeZone(std::string("Europe/Paris")));
  const std::string londonKey = london->getSignature();
  const std::string parisKey = paris->getSignature();
  const auto ask = [](const std::shared_ptr<ZTimeZone>& zone, int year) {
    DateTime time(15, 1, year, 12, 0, 0, Duration(0));
    time.moveToZone(zone);
    return time.offset();
  };
  // Paris 2000 first, then London from 2000 on until the cache is full.
  EXPECT_EQ(Duration(3600), ask(paris, 2000));
  const int lastLondon = 2000 + static_cast<int>(details::yearlyCacheCapacity) - 2;
  for (int year = 2000; year <= lastLondon; ++year) ASSERT_EQ(Duration(0), ask(london, year)) << year;
  ASSERT_EQ(details::yearlyCacheCapacity, details::yearlyCacheSize());
  // A hit does not renew an entry: London 2000 stays the next to go after Paris 2000.
  EXPECT_EQ(Duration(3600), ask(paris, 2000));
  EXPECT_EQ(Duration(0), ask(london, 2000));
  struct Step {
    int parisYear;       // inserted now
    const char* gone;    // the entry that makes room for it
    int goneYear;
    int keptLondonYear;  // still there
  } steps[] = {
      {2001, "Paris", 2000, 2000},
      {2002, "London", 2000, 2001},
      {2003, "London", 2001, 2002},
  };
  for (const Step& step : steps) {
    SCOPED_TRACE(step.parisYear);
    EXPECT_EQ(Duration(3600), ask(paris, step.parisYear));
    EXPECT_EQ(details::yearlyCacheCapacity, details::yearlyCacheSize());
    EXPECT_TRUE(details::yearlyCacheHolds(parisKey, step.parisYear));
    EXPECT_FALSE(details::yearlyCacheHolds(std::string(step.gone) == "Paris" ? parisKey : londonKey, step.goneYear));
    EXPECT_TRUE(details::yearlyCacheHolds(londonKey, step.keptLondonYear));
    EXPECT_TRUE(details::yearlyCacheHolds(londonKey, lastLondon));
  }
  // An evicted year is computed again, and goes in as the newest entry.
  EXPECT_EQ(Duration(3600), ask(paris, 2000));
  EXPECT_TRUE(details::yearlyCacheHolds(parisKey, 2000));
  EXPECT_FALSE(details::yearlyCacheHolds(londonKey, 2002));
  details::clearYearlyCache();
  EXPECT_EQ(0u, details::yearlyCacheSize());
  EXPECT_FALSE(details::yearlyCacheHolds(parisKey, 2000));
}

TEST(ZoneOffsets, WallClockInTheGapSettlesInOnePass) {
  const auto berlin = std::make_shared<ZTimeZone>(findTimeZone(std::string("Europe/Berlin")));
  const DateTime gap = DateTime::parse(std::string("20150329T023000"), berlin);
  EXPECT_EQ("20150329T033000+0200", gap.format(0));
  const DateTime doubled = DateTime::parse(std::string("20151025T023000"), berlin);
  EXPECT_EQ("20151025T023000+0100", doubled.format(0));
  const auto newYork = std::make_shared<ZTimeZone>(findTimeZone(std::string("America/New_York")));
  EXPECT_EQ("20150308T033000-0400", DateTime::parse(std::string("20150308T023000"), newYork).format(0));
  EXPECT_EQ("20151101T013000-0400", DateTime::parse(std::string("20151101T013000"), newYork).format(0));
  DateTime day = DateTime::parse(std::string("20150329"), berlin);
  EXPECT_TRUE(day.isDateOnly());
  EXPECT_EQ("20150329", day.format(0));
  EXPECT_EQ("20150329T000000+0100", day.format(16));
}
