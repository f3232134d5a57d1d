#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "calendar/LocalTimeZone.h"
#include "calendar/TimeZone.h"
#include "platform/Win32.h"

using namespace zelvo::timezone;

namespace {

constexpr char berlinRow[] = "Amsterdam, Belgrade, Berlin, Brussels, Budapest, Madrid, Paris, Prague, Stockholm";

#ifdef _WIN32
#define SKIP_WITHOUT_SETTABLE_ZONE()                                                                            \
  GTEST_SKIP() << "Wine takes the machine's zone from the host when it starts and keeps it; TZ set inside the " \
                  "process changes only the C runtime, not GetTimeZoneInformation or the registry"
// The tests that set a zone skip before they get here.
void setMachineTz(const char*) {}
void clearMachineTz() {}
#else
#define SKIP_WITHOUT_SETTABLE_ZONE() (void)0
void setMachineTz(const char* tz) {
  setenv("TZ", tz, 1);
  tzset();
}
void clearMachineTz() {
  unsetenv("TZ");
  tzset();
}
#endif

bool machineOnDaylightTimeNow() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
#ifdef _WIN32
  localtime_s(&parts, &now);
#else
  localtime_r(&now, &parts);
#endif
  return parts.tm_isdst > 0;
}

// Sets the machine's zone through TZ for the life of the object.
class MachineZone {
 public:
  explicit MachineZone(const char* tz) {
    if (const char* old = std::getenv("TZ")) saved_ = old;
    setMachineTz(tz);
  }
  ~MachineZone() {
    if (saved_) {
      setMachineTz(saved_->c_str());
    } else {
      clearMachineTz();
    }
  }
  MachineZone(const MachineZone&) = delete;
  MachineZone& operator=(const MachineZone&) = delete;

 private:
  std::optional<std::string> saved_;
};


std::string narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }
std::string narrow(const WCHAR* text) {
  std::string result;
  for (; *text; ++text) result += static_cast<char>(*text);
  return result;
}

Duration machineOffset(int64_t t) { return details::localOffset(t, true); }

int64_t utcMidnight(int year, int month, int day) {
  return DateTime(day, month, year, 0, 0, 0, Duration(0)).utc();
}

}  // namespace

TEST(LocalTimeZone, MachinesFoundByTheirBehaviour) {
  SKIP_WITHOUT_SETTABLE_ZONE();
  struct Case {
    const char* tz;
    const char* key;  // empty: no key
    const char* zone;
  } cases[] = {
      {"Europe/Berlin", "W. Europe Standard Time", berlinRow},
      {":America/New_York", "Eastern Standard Time", "Eastern Time (US & Canada)"},
      {"Asia/Kolkata", "India Standard Time", "Chennai, Kolkata, Mumbai, New Delhi"},
      // Without daylight time no row passes the transition check; the first row that
      // agrees in February and July stands, and Danmarkshavn comes before the UTC row.
      {"UTC", "UTC", "Greenland (Danmarkshavn)"},
      {"Australia/Sydney", "AUS Eastern Standard Time", "Canberra, Melbourne, Sydney"},
      {"Europe/Vienna", "W. Europe Standard Time", berlinRow},
      // A POSIX rule has no key name, and the machine's behaviour alone decides.
      {"CET-1CEST,M3.5.0,M10.5.0/3", "", berlinRow},
      {"EST5EDT,M3.2.0,M11.1.0", "", "Eastern Time (US & Canada)"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.tz);
    MachineZone machine(c.tz);
    std::wstring key;
    EXPECT_EQ(*c.key != 0, getWindowsTimeZoneName(key));
    EXPECT_EQ(c.key, narrow(key));
    const ZTimeZone zone = details::searchLocalTimeZone();
    EXPECT_EQ(c.zone, zone.name);
  }
}

TEST(LocalTimeZone, RussianKeyEndsInTheUtcRow) {
  SKIP_WITHOUT_SETTABLE_ZONE();
  MachineZone machine("Europe/Moscow");
  std::wstring key;
  ASSERT_TRUE(getWindowsTimeZoneName(key));
  EXPECT_EQ(L"Russian Standard Time", key);
  // The key's text is shorter than the row "Moscow, St.Petersburg, Volgograd (RTZ 2)".
  const ZTimeZone zone = details::searchLocalTimeZone();
  EXPECT_EQ("(UTC) Universal Coordinated Time", zone.name);
  EXPECT_TRUE(zone.isValid());
}

TEST(LocalTimeZone, ChosenZoneAgreesWithTheMachine) {
  // Whatever the machine's zone, on both builds: the chosen zone keeps the machine's clock
  // now and on the days the search compares.
  const ZTimeZone zone = getLocalTimeZone();
  ASSERT_TRUE(zone.isValid());
  const int64_t now = static_cast<int64_t>(std::time(nullptr));
  const int year = DateTime::fromUtc(now).get(DateTime::fieldYear);
  for (int64_t t : {utcMidnight(year, 2, 1), utcMidnight(year, 7, 1)}) {
    SCOPED_TRACE(t);
    EXPECT_EQ(machineOffset(t), zone.offsetAt(t));
  }
}

TEST(LocalTimeZone, WorkedOutOncePerProcess) {
  SKIP_WITHOUT_SETTABLE_ZONE();
  const std::string first = getLocalTimeZone().name;
  MachineZone machine(first == berlinRow ? "Asia/Kolkata" : "Europe/Berlin");
  EXPECT_NE(first, details::searchLocalTimeZone().name);
  EXPECT_EQ(first, getLocalTimeZone().name);
  EXPECT_EQ(first, findTimeZone(std::string("SERVER")).name);
}

TEST(LocalTimeZone, MachineZoneInformation) {
  SKIP_WITHOUT_SETTABLE_ZONE();
  struct Case {
    const char* tz;
    LONG bias;
    LONG daylightBias;
    WORD standard[4];  // month, week, weekday, hour; zeros without daylight time
    WORD daylight[4];
    const char* standardName;
    const char* daylightName;
    const char* keyName;
  } cases[] = {
      {"Europe/Berlin", -60, -60, {10, 5, 0, 3}, {3, 5, 0, 2}, "W. Europe Standard Time", "W. Europe Daylight Time",
       "W. Europe Standard Time"},
      {"America/New_York", 300, -60, {11, 1, 0, 2}, {3, 2, 0, 2}, "Eastern Standard Time", "Eastern Daylight Time",
       "Eastern Standard Time"},
      {"Australia/Sydney", -600, -60, {4, 1, 0, 3}, {10, 1, 0, 2}, "AUS Eastern Standard Time",
       "AUS Eastern Daylight Time", "AUS Eastern Standard Time"},
      {"Asia/Kolkata", -330, 0, {0, 0, 0, 0}, {0, 0, 0, 0}, "India Standard Time", "India Daylight Time",
       "India Standard Time"},
      {"CET-1CEST,M3.5.0,M10.5.0/3", -60, -60, {10, 5, 0, 3}, {3, 5, 0, 2}, "CET", "CEST", ""},
      {"", 0, 0, {0, 0, 0, 0}, {0, 0, 0, 0}, "UTC", "UTC", "UTC"},  // an empty TZ is UTC
  };
  std::wstring ignored;
  getWindowsTimeZoneName(ignored);  // hands the key table to the platform
  for (const Case& c : cases) {
    SCOPED_TRACE(c.tz);
    MachineZone machine(c.tz);
    TIME_ZONE_INFORMATION info{};
    const DWORD id = GetTimeZoneInformation(&info);
    const DWORD expectedId = c.standard[0] == 0        ? TIME_ZONE_ID_UNKNOWN
                             : machineOnDaylightTimeNow() ? TIME_ZONE_ID_DAYLIGHT
                                                          : TIME_ZONE_ID_STANDARD;
    EXPECT_EQ(expectedId, id);
    EXPECT_EQ(c.bias, info.Bias);
    EXPECT_EQ(c.daylightBias, info.DaylightBias);
    const SYSTEMTIME* dates[] = {&info.StandardDate, &info.DaylightDate};
    const WORD* expected[] = {c.standard, c.daylight};
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(0, dates[i]->wYear);
      EXPECT_EQ(expected[i][0], dates[i]->wMonth);
      EXPECT_EQ(expected[i][1], dates[i]->wDay);
      EXPECT_EQ(expected[i][2], dates[i]->wDayOfWeek);
      EXPECT_EQ(expected[i][3], dates[i]->wHour);
    }
    EXPECT_EQ(c.standardName, narrow(info.StandardName));
    EXPECT_EQ(c.daylightName, narrow(info.DaylightName));
    DYNAMIC_TIME_ZONE_INFORMATION dynamic{};
    GetDynamicTimeZoneInformation(&dynamic);
    EXPECT_EQ(c.keyName, narrow(dynamic.TimeZoneKeyName));
  }
}

TEST(LocalTimeZone, EveryMappedKeyIsFoundByItsStandardName) {
  SKIP_WITHOUT_SETTABLE_ZONE();  // the real registry's Std names are not ours
  std::wstring ignored;
  getWindowsTimeZoneName(ignored);
  const std::vector<std::string> names = details::windowsKeyNames();
  EXPECT_GT(names.size(), 100u);
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    std::wstring key;
    EXPECT_TRUE(details::findZoneKeyByStandardName(std::wstring(name.begin(), name.end()), key));
    EXPECT_EQ(name, narrow(key));
  }
  std::wstring key;
  EXPECT_FALSE(details::findZoneKeyByStandardName(L"Mitteleurop\u00e4ische Zeit", key));
  EXPECT_FALSE(details::findZoneKeyByStandardName(L"", key));
}

TEST(WindowsZoneKeys, KeyOfZoneName) {
  struct Case {
    const char* zone;
    const char* key;
  } cases[] = {
      {"Europe/Moscow", "Russian Standard Time"},               // named by the reverse map
      {"America/Sao_Paulo", "E. South America Standard Time"},  // target of a key
      {"Europe/Berlin", "W. Europe Standard Time"},             // representative of a display row
      {"America/New_York", "Eastern Standard Time"},
      {"Etc/UTC", "UTC"},
      {"Europe/Vienna", "W. Europe Standard Time"},  // same clock as a zone it lists
      {"Asia/Kolkata", "India Standard Time"},
      {"UTC", "UTC"},  // same clock as the target of a key
      {"Atlantic/Reykjavik", "Greenwich Standard Time"},
      {"Fiji, Marshall Is.", "Fiji Standard Time"},
      {"Nowhere/City", ""},
      {"", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.zone);
    EXPECT_EQ(c.key, details::windowsKeyOfZone(c.zone));
  }
}

TEST(WindowsZoneKeys, ZonesOutsideTheMapsKeepTheClockOfTheirKey) {
  // The maps name some zones outright; every other zone gets a key only when the key's
  // zone reads the same, or a machine would be handed a wrong key.
  std::set<std::string> named;
  for (size_t k = 0; k < tables::windowsKeyToZoneCount; ++k) named.insert(tables::windowsKeyToZone[k].to);
  for (size_t k = 0; k < tables::zoneToWindowsKeyCount; ++k) named.insert(tables::zoneToWindowsKey[k].from);
  int keyed = 0;
  for (size_t i = 0; i < tables::namedZoneCount; ++i) {
    if (named.count(tables::namedZones[i].name)) continue;
    const std::string key = details::windowsKeyOfZone(tables::namedZones[i].name);
    if (key.empty()) continue;
    ++keyed;
    std::string target;
    for (size_t k = 0; k < tables::windowsKeyToZoneCount && target.empty(); ++k) {
      if (key == tables::windowsKeyToZone[k].from) target = tables::windowsKeyToZone[k].to;
    }
    SCOPED_TRACE(std::string(tables::namedZones[i].name) + " -> " + key + " -> " + target);
    ASSERT_FALSE(target.empty());
    const ZTimeZone zone = ZTimeZone::fromRow(tables::namedZones[i]);
    const ZTimeZone keyZone = findTimeZone(target);
    for (int month : {1, 7}) {
      const int64_t t = utcMidnight(tables::referenceYear, month, 15);
      EXPECT_EQ(zone.offsetAt(t).totalSeconds(), keyZone.offsetAt(t).totalSeconds()) << month;
    }
  }
  EXPECT_GT(keyed, 200);
}

TEST(LocalTimeZone, FirstTransitionsOfTheYear) {
  struct Case {
    const char* zone;
    int year;
    const char* first;  // empty: the zone has no two transitions
    const char* second;
  } cases[] = {
      {"Europe/Berlin", 2015, "20150329T010000Z", "20151025T010000Z"},
      {"America/New_York", 2016, "20160313T070000Z", "20161106T060000Z"},
      {"Canberra, Melbourne, Sydney", 2015, "20150404T160000Z", "20151003T160000Z"},
      {"Asia/Kolkata", 2015, "", ""},
      {"(UTC) Universal Coordinated Time", 2015, "", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.zone);
    int64_t first = 0;
    int64_t second = 0;
    const bool found = details::firstTransitionsOfYear(findTimeZone(std::string(c.zone)), c.year, first, second);
    ASSERT_EQ(*c.first != 0, found);
    if (!found) continue;
    EXPECT_EQ(c.first, DateTime::fromUtc(first).format(0));
    EXPECT_EQ(c.second, DateTime::fromUtc(second).format(0));
  }
}

TEST(ZoneChange, WallClockKeptAcrossTransitions) {
  struct Case {
    const char* zone;
    int day, month, year, hour, minute;
    const char* expected;
    const char* again;  // after a second change into the same zone
  } cases[] = {
      // The spring gap has no such wall clock: one pass moves it an hour on.
      {"Europe/Berlin", 29, 3, 2015, 2, 30, "20150329T033000+0200", "20150329T033000+0200"},
      {"Canberra, Melbourne, Sydney", 4, 10, 2015, 2, 30, "20151004T033000+1100", "20151004T033000+1100"},
      // West of Greenwich the wall clock read as UTC lies before the change, and the
      // tie-break only ever moves a value back: 03:30, just after the gap, reads an hour on.
      {"America/New_York", 8, 3, 2015, 2, 30, "20150308T033000-0400", "20150308T043000-0400"},
      // The doubled hour of autumn settles on one of its two readings.
      {"Europe/Berlin", 25, 10, 2015, 2, 30, "20151025T023000+0100", "20151025T023000+0100"},
      {"America/New_York", 1, 11, 2015, 1, 30, "20151101T013000-0400", "20151101T013000-0400"},
      {"Canberra, Melbourne, Sydney", 5, 4, 2015, 2, 30, "20150405T023000+1000", "20150405T023000+1000"},
      // Away from a transition the wall clock stands.
      {"Europe/Berlin", 15, 7, 2015, 12, 0, "20150715T120000+0200", "20150715T120000+0200"},
      {"Chennai, Kolkata, Mumbai, New Delhi", 29, 3, 2015, 2, 30, "20150329T023000+0530", "20150329T023000+0530"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.zone) + " " + c.expected);
    const auto zone = std::make_shared<ZTimeZone>(findTimeZone(std::string(c.zone)));
    // From another zone's wall clock of the same reading.
    DateTime time(c.day, c.month, c.year, c.hour, c.minute, 0, Duration(-7 * 3600));
    time.setZone(zone);
    EXPECT_EQ(c.expected, time.format(0));
    time.setZone(zone);
    EXPECT_EQ(c.again, time.format(0));
  }
}

TEST(ZoneChange, AllDayValueKeepsItsMark) {
  const auto berlin = std::make_shared<ZTimeZone>(findTimeZone(std::string("Europe/Berlin")));
  DateTime day(29, 3, 2015);
  ASSERT_TRUE(day.isDateOnly());
  day.setZone(berlin);
  EXPECT_TRUE(day.isDateOnly());
  EXPECT_EQ("20150329", day.format(0));
  EXPECT_EQ("20150329T000000+0100", day.format(DateTime::formatDateWithTime));
}

TEST(FindTimeZone, EqualLengthNamesFirstRowWins) {
  struct Case {
    const char* text;
    const char* row;
  } cases[] = {
      {"Alaska or Hawaii", "Hawaii"},  // same length: the earlier row
      {"Hawaii or Alaska", "Hawaii"},
      {"Kabul, then Cairo", "Cairo"},
      {"Cairo and Africa/Cairo", "Cairo"},  // display rows come first
      {"Africa/Tunis", "Africa/Tunis"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(c.row, findTimeZone(std::string(c.text)).name);
  }
}
