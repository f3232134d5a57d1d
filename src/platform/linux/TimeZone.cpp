// The machine's zone on Linux: its name from TZ or /etc/localtime, its offsets and yearly
// change dates from the C library, its key name from the table the calendar installs.
#include "platform/linux/TimeZone.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <cwctype>
#include <iterator>
#include <mutex>
#include <sys/stat.h>

#include "platform/SettingsStore.h"
#include "platform/Win32.h"

namespace platform {
namespace {

constexpr wchar_t timeZonesPath[] = L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones";

struct ZoneKeyState {
  std::mutex mutex;
  TimeZoneKeys keys;
  std::shared_ptr<MemorySettings> backend = std::make_shared<MemorySettings>();
};
ZoneKeyState& zoneKeyState() {
  static ZoneKeyState state;
  return state;
}

std::string zoneDirectory() {
  const char* dir = std::getenv("TZDIR");
  return dir && *dir ? dir : "/usr/share/zoneinfo";
}

// The part after ".../zoneinfo/", or empty.
std::string afterZoneinfo(const std::string& path) {
  const std::string marker = "zoneinfo/";
  const size_t at = path.rfind(marker);
  return at == std::string::npos ? std::string() : path.substr(at + marker.size());
}

bool isZoneFile(const std::string& name) {
  if (name.empty() || name.find("..") != std::string::npos) return false;
  struct stat info {};
  return ::stat((zoneDirectory() + "/" + name).c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

std::wstring widen(const std::string& text) { return std::wstring(text.begin(), text.end()); }

// The registry holds 16-bit units with a terminator, whatever the width of wchar_t.
SettingsValue stringValue(const std::wstring& text) {
  SettingsValue value;
  value.type = REG_SZ;
  for (wchar_t c : text) {
    const auto unit = static_cast<uint16_t>(c);
    value.data.push_back(static_cast<BYTE>(unit & 0xFF));
    value.data.push_back(static_cast<BYTE>(unit >> 8));
  }
  value.data.push_back(0);
  value.data.push_back(0);
  return value;
}

std::wstring daylightNameOf(const std::wstring& keyName) {
  std::wstring name = keyName;
  const size_t at = name.find(L"Standard");
  if (at != std::wstring::npos) name.replace(at, 8, L"Daylight");
  return name;
}

void copyName(WCHAR (&target)[32], const std::wstring& text) {
  const size_t length = std::min<size_t>(text.size(), 31);
  for (size_t i = 0; i < length; ++i) target[i] = text[i];
  target[length] = 0;
}

struct LocalState {
  long offset;  // seconds east of UTC
  bool daylight;
  std::string abbreviation;
};
LocalState localState(std::time_t moment) {
  std::tm parts{};
  if (!localtime_r(&moment, &parts)) return {0, false, "UTC"};
  return {parts.tm_gmtoff, parts.tm_isdst > 0, parts.tm_zone ? parts.tm_zone : ""};
}

// The first moment at or after from (and before to) whose local state differs from that of
// from; from when there is none.
std::time_t nextChange(std::time_t from, std::time_t to) {
  const LocalState start = localState(from);
  for (std::time_t probe = from + 86400; probe - 86400 < to; probe += 86400) {
    const LocalState state = localState(probe);
    if (state.offset == start.offset && state.daylight == start.daylight) continue;
    std::time_t low = probe - 86400, high = probe;  // low has the old state, high the new
    while (high - low > 1) {
      const std::time_t middle = low + (high - low) / 2;
      const LocalState at = localState(middle);
      (at.offset == start.offset && at.daylight == start.daylight ? low : high) = middle;
    }
    return high;
  }
  return from;
}

// The yearly form of a change: the wall clock just before it, as a week of the month.
SYSTEMTIME yearlyDate(std::time_t change, long offsetBefore) {
  const std::time_t wall = change + offsetBefore;
  std::tm parts{};
  gmtime_r(&wall, &parts);
  SYSTEMTIME date{};
  date.wMonth = static_cast<WORD>(parts.tm_mon + 1);
  date.wDayOfWeek = static_cast<WORD>(parts.tm_wday);
  static const int monthDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const int year = parts.tm_year + 1900;
  int length = monthDays[parts.tm_mon];
  if (parts.tm_mon == 1 && ((year % 4 == 0 && year % 100 != 0) || year % 400 == 0)) ++length;
  date.wDay = static_cast<WORD>(parts.tm_mday + 7 > length ? 5 : (parts.tm_mday - 1) / 7 + 1);
  date.wHour = static_cast<WORD>(parts.tm_hour);
  date.wMinute = static_cast<WORD>(parts.tm_min);
  date.wSecond = static_cast<WORD>(parts.tm_sec);
  return date;
}

std::wstring keyOfMachineZone() {
  ZoneKeyState& state = zoneKeyState();
  std::function<std::wstring(const std::string&)> keyOf;
  {
    std::lock_guard<std::mutex> guard(state.mutex);
    keyOf = state.keys.keyOfZone;
  }
  return keyOf ? keyOf(machineTimeZoneName()) : std::wstring();
}

DWORD fillInformation(DYNAMIC_TIME_ZONE_INFORMATION& info) {
  info = DYNAMIC_TIME_ZONE_INFORMATION{};
  tzset();  // TZ may have changed since the last call
  const std::time_t now = std::time(nullptr);
  std::tm today{};
  gmtime_r(&now, &today);
  std::tm first{};
  first.tm_year = today.tm_year;
  first.tm_mday = 1;
  const std::time_t yearStart = timegm(&first);
  first.tm_year += 1;
  const std::time_t yearEnd = timegm(&first);

  // The changes of the year, and the standard and daylight states among them.
  LocalState standard = localState(yearStart);
  bool haveStandard = !standard.daylight;
  LocalState daylight{};
  bool haveDaylight = standard.daylight;
  if (standard.daylight) daylight = standard;
  std::time_t toStandard = 0, toDaylight = 0;
  for (std::time_t at = yearStart;;) {
    const LocalState before = localState(at);
    const std::time_t change = nextChange(at, yearEnd);
    if (change == at) break;
    const LocalState after = localState(change);
    if (after.daylight && !toDaylight) {
      toDaylight = change;
      daylight = after;
      haveDaylight = true;
      info.DaylightDate = yearlyDate(change, before.offset);
    } else if (!after.daylight && before.daylight && !toStandard) {
      toStandard = change;
      info.StandardDate = yearlyDate(change, before.offset);
    }
    if (!after.daylight && !haveStandard) {
      standard = after;
      haveStandard = true;
    }
    at = change;
  }
  if (!haveStandard) standard = localState(now);
  const bool yearly = haveDaylight && toDaylight && toStandard;
  if (!yearly) {
    info.StandardDate = SYSTEMTIME{};
    info.DaylightDate = SYSTEMTIME{};
  }
  info.Bias = static_cast<LONG>(-standard.offset / 60);
  info.DaylightBias = yearly ? static_cast<LONG>(-(daylight.offset - standard.offset) / 60) : 0;

  const std::wstring key = keyOfMachineZone();
  copyName(info.StandardName, key.empty() ? widen(standard.abbreviation) : key);
  copyName(info.DaylightName, key.empty() ? widen(yearly ? daylight.abbreviation : standard.abbreviation)
                                          : daylightNameOf(key));
  const size_t length = std::min<size_t>(key.size(), 127);
  for (size_t i = 0; i < length; ++i) info.TimeZoneKeyName[i] = key[i];
  if (!yearly) return TIME_ZONE_ID_UNKNOWN;
  return localState(now).daylight ? TIME_ZONE_ID_DAYLIGHT : TIME_ZONE_ID_STANDARD;
}

}  // namespace

std::string machineTimeZoneName() {
  const char* tz = std::getenv("TZ");
  if (tz != nullptr) {
    std::string text = tz;
    if (!text.empty() && text[0] == ':') text.erase(0, 1);
    if (text.empty()) return "UTC";  // the C library reads an empty TZ as UTC
    if (text[0] == '/') {
      const std::string name = afterZoneinfo(text);
      return name.empty() ? text : name;
    }
    return text;  // a zone name or a POSIX rule text
  }
  char target[4096];
  const ssize_t length = ::readlink("/etc/localtime", target, sizeof target - 1);
  if (length > 0) {
    const std::string name = afterZoneinfo(std::string(target, static_cast<size_t>(length)));
    if (isZoneFile(name)) return name;
  }
  return "UTC";
}

void setTimeZoneKeys(TimeZoneKeys keys) {
  auto backend = std::make_shared<MemorySettings>();
  backend->createKey(timeZonesPath);
  for (const std::wstring& name : keys.keyNames) {
    const std::wstring path = std::wstring(timeZonesPath) + L"\\" + name;
    backend->createKey(path);
    backend->setValue(path, L"Std", stringValue(name));
    backend->setValue(path, L"Dlt", stringValue(daylightNameOf(name)));
  }
  ZoneKeyState& state = zoneKeyState();
  std::lock_guard<std::mutex> guard(state.mutex);
  state.keys = std::move(keys);
  state.backend = std::move(backend);
}

std::shared_ptr<SettingsBackend> timeZoneKeysBackend() {
  ZoneKeyState& state = zoneKeyState();
  std::lock_guard<std::mutex> guard(state.mutex);
  return state.backend;
}

bool isTimeZoneKeyPath(const std::wstring& path) {
  const std::wstring prefix = timeZonesPath;
  if (path.size() < prefix.size()) return false;
  for (size_t i = 0; i < prefix.size(); ++i) {
    if (std::towlower(static_cast<wint_t>(path[i])) != std::towlower(static_cast<wint_t>(prefix[i]))) return false;
  }
  return path.size() == prefix.size() || path[prefix.size()] == L'\\';
}

}  // namespace platform

DWORD GetTimeZoneInformation(LPTIME_ZONE_INFORMATION lpTimeZoneInformation) {
  if (!lpTimeZoneInformation) return TIME_ZONE_ID_INVALID;
  DYNAMIC_TIME_ZONE_INFORMATION dynamic{};
  const DWORD result = platform::fillInformation(dynamic);
  TIME_ZONE_INFORMATION& info = *lpTimeZoneInformation;
  info.Bias = dynamic.Bias;
  std::copy(std::begin(dynamic.StandardName), std::end(dynamic.StandardName), info.StandardName);
  info.StandardDate = dynamic.StandardDate;
  info.StandardBias = dynamic.StandardBias;
  std::copy(std::begin(dynamic.DaylightName), std::end(dynamic.DaylightName), info.DaylightName);
  info.DaylightDate = dynamic.DaylightDate;
  info.DaylightBias = dynamic.DaylightBias;
  return result;
}

DWORD GetDynamicTimeZoneInformation(PDYNAMIC_TIME_ZONE_INFORMATION pTimeZoneInformation) {
  if (!pTimeZoneInformation) return TIME_ZONE_ID_INVALID;
  return platform::fillInformation(*pTimeZoneInformation);
}
