#include "calendar/LocalTimeZone.h"

#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>

#include "base/RegistryUtils.h"
#include "base/ZMutex.h"
#include "calendar/RecurrenceIterator.h"
#include "platform/Win32.h"

namespace zelvo::timezone {

namespace {
constexpr wchar_t timeZonesKey[] = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Time Zones";
// Its English zone name is shorter than the row name, so this finds the UTC row; machines
// set to Moscow have always ended there and must go on doing so.
constexpr wchar_t russianKey[] = L"Russian Standard Time";
constexpr char russianText[] = "Moscow, St.Petersburg, Volgograd";

// A row expanded for the search: its two observances and, without daylight time, the
// fixed offset.
struct ExpandedRow {
  const ZoneSourceRow* row;
  std::string name;
  Observance standard;
  Observance daylight;
  std::vector<int32_t> windowsZones;
  Duration fixedOffset;
};

struct LocalSearch {
  tiny::ZMutex mutex;
  std::vector<ExpandedRow> rows;
  bool searched = false;
  ZTimeZone zone;
};
LocalSearch& localSearch() {
  static LocalSearch instance;
  return instance;
}

void expand(const ZoneSourceRow* rows, size_t count, std::vector<ExpandedRow>& out) {
  for (size_t i = 0; i < count; ++i) {
    const ZTimeZone zone = ZTimeZone::fromRow(rows[i]);
    ExpandedRow item{&rows[i], zone.name, Observance(), Observance(), zone.windowsZones, Duration()};
    if (const Observance* standard = zone.observance(Observance::standard)) item.standard = *standard;
    if (const Observance* daylight = zone.observance(Observance::daylight)) item.daylight = *daylight;
    if (!item.daylight.present) item.fixedOffset = item.standard.offsetTo;
    out.push_back(std::move(item));
  }
}

// Built once, display rows first; the caller holds the search lock.
const std::vector<ExpandedRow>& expandedRows() {
  LocalSearch& search = localSearch();
  if (search.rows.empty()) {
    expand(tables::displayZones, tables::displayZoneCount, search.rows);
    expand(tables::namedZones, tables::namedZoneCount, search.rows);
  }
  return search.rows;
}

int64_t utcMidnight(int year, int month, int day) {
  TimeParts parts;
  parts.year = year - 1900;
  parts.month = month - 1;
  parts.day = day;
  return details::partsToValue(parts);
}

int64_t startOfUtcDay(int64_t value) {
  const int64_t day = value / 86400 - (value % 86400 < 0 ? 1 : 0);
  return day * 86400;
}

bool machineIsOnDaylightTime(std::time_t now) {
  std::tm parts{};
#ifdef _WIN32
  if (localtime_s(&parts, &now) != 0) return false;
#else
  if (!localtime_r(&now, &parts)) return false;
#endif
  return parts.tm_isdst > 0;
}

bool sameOffset(const ZTimeZone& zone, int64_t t) {
  return zone.offsetAt(t) == details::localOffset(t, true);
}

const ZoneSourceRow* rowNamed(const std::string& name) {
  for (size_t i = 0; i < tables::displayZoneCount; ++i) {
    if (name == tables::displayZones[i].name) return &tables::displayZones[i];
  }
  for (size_t i = 0; i < tables::namedZoneCount; ++i) {
    if (name == tables::namedZones[i].name) return &tables::namedZones[i];
  }
  return nullptr;
}

bool sameOffsetText(const char* a, const char* b) {
  const Duration x = parseUtcOffset(a);
  const Duration y = parseUtcOffset(b);
  return x.isValid() == y.isValid() && (!x.isValid() || x == y);
}

// Two rows that describe the same clock, whatever their names.
bool sameRules(const ZoneSourceRow& a, const ZoneSourceRow& b) {
  return sameOffsetText(a.standard, b.standard) && sameOffsetText(a.daylight, b.daylight) &&
         std::strcmp(a.standardStart, b.standardStart) == 0 && std::strcmp(a.daylightStart, b.daylightStart) == 0 &&
         std::strcmp(a.standardRule, b.standardRule) == 0 && std::strcmp(a.daylightRule, b.daylightRule) == 0;
}

// The key of a row name that the maps name directly.
std::string mappedKey(const std::string& rowName) {
  for (size_t i = 0; i < tables::zoneToWindowsKeyCount; ++i) {
    if (rowName == tables::zoneToWindowsKey[i].from) return tables::zoneToWindowsKey[i].to;
  }
  for (size_t i = 0; i < tables::windowsKeyToZoneCount; ++i) {
    if (rowName == tables::windowsKeyToZone[i].to) return tables::windowsKeyToZone[i].from;
  }
  return std::string();
}

// Zones that read the same in midwinter and midsummer of the tables' year.
bool sameClock(const ZoneSourceRow& a, const ZoneSourceRow& b) {
  const ZTimeZone x = ZTimeZone::fromRow(a);
  const ZTimeZone y = ZTimeZone::fromRow(b);
  for (int month : {1, 7}) {
    const int64_t t = utcMidnight(tables::referenceYear, month, 15);
    if (x.offsetAt(t) != y.offsetAt(t)) return false;
  }
  return true;
}

// The zone a key stands for: its row in the key-to-zone map.
const ZoneSourceRow* rowOfKey(const std::string& key) {
  for (size_t i = 0; i < tables::windowsKeyToZoneCount; ++i) {
    if (key == tables::windowsKeyToZone[i].from) return rowNamed(tables::windowsKeyToZone[i].to);
  }
  return nullptr;
}

// A key the maps give for a row name, provided the key's own zone keeps the clock of own.
std::string keyKeepingClock(const std::string& rowName, const ZoneSourceRow& own) {
  auto keeps = [&own](const char* key) {
    const ZoneSourceRow* row = rowOfKey(key);
    return row && sameClock(own, *row);
  };
  for (size_t i = 0; i < tables::zoneToWindowsKeyCount; ++i) {
    if (rowName == tables::zoneToWindowsKey[i].from && keeps(tables::zoneToWindowsKey[i].to))
      return tables::zoneToWindowsKey[i].to;
  }
  for (size_t i = 0; i < tables::windowsKeyToZoneCount; ++i) {
    if (rowName == tables::windowsKeyToZone[i].to && keeps(tables::windowsKeyToZone[i].from))
      return tables::windowsKeyToZone[i].from;
  }
  return std::string();
}

// A representative zone stands for the display rows that list it; several may, and the
// one that keeps its clock is taken.
std::string keyOfRepresentative(const std::string& zoneName) {
  const ZoneSourceRow* own = rowNamed(zoneName);
  for (size_t index = 0; own && index < tables::representativeZoneCount; ++index) {
    if (zoneName != tables::representativeZones[index]) continue;
    for (size_t i = 0; i < tables::displayZoneCount; ++i) {
      for (int listed : tables::displayZones[i].windowsZones) {
        if (listed < 0) break;
        if (static_cast<size_t>(listed) != index || !sameClock(*own, tables::displayZones[i])) continue;
        const std::string key = keyKeepingClock(tables::displayZones[i].name, *own);
        if (!key.empty()) return key;
      }
    }
  }
  return std::string();
}

std::string directKey(const std::string& zoneName) {
  const std::string key = mappedKey(zoneName);
  return key.empty() ? keyOfRepresentative(zoneName) : key;
}

#ifndef _WIN32
// Linux has no table of Windows key names; ours stands in for the registry's.
void installZoneKeys() {
  static std::once_flag once;
  std::call_once(once, [] {
    platform::TimeZoneKeys keys;
    for (const std::string& name : details::windowsKeyNames()) keys.keyNames.emplace_back(name.begin(), name.end());
    keys.keyOfZone = [](const std::string& zoneName) {
      const std::string key = details::windowsKeyOfZone(zoneName);
      return std::wstring(key.begin(), key.end());
    };
    platform::setTimeZoneKeys(std::move(keys));
  });
}
#endif


// A REG_SZ value; the registry holds 16-bit units, which wchar_t may be wider than.
bool readText(HKEY key, const wchar_t* name, std::wstring& text) {
  DWORD type = 0;
  DWORD size = 0;
  if (RegQueryValueExW(key, name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS) return false;
  if (type != REG_SZ && type != REG_EXPAND_SZ) return false;
  std::vector<uint16_t> units(size / 2 + 1, 0);
  if (RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(units.data()), &size) != ERROR_SUCCESS)
    return false;
  text.clear();
  for (size_t i = 0; i < size / 2 && units[i] != 0; ++i) text += static_cast<wchar_t>(units[i]);
  return true;
}
}  // namespace

namespace details {

std::vector<std::string> windowsKeyNames() {
  std::vector<std::string> names;
  for (size_t i = 0; i < tables::windowsKeyToZoneCount; ++i) {
    const std::string name = tables::windowsKeyToZone[i].from;
    bool seen = false;
    for (const std::string& known : names) seen = seen || known == name;
    if (!seen) names.push_back(name);
  }
  return names;
}

std::string windowsKeyOfZone(const std::string& zoneName) {
  std::string key = directKey(zoneName);
  if (!key.empty()) return key;
  const ZoneSourceRow* row = rowNamed(zoneName);
  if (!row) return std::string();
  // A zone the maps leave out takes the key of a representative zone it lists, if that
  // keeps the same clock ...
  for (int index : row->windowsZones) {
    if (index < 0) break;
    if (static_cast<size_t>(index) >= tables::representativeZoneCount) continue;
    const std::string representative = tables::representativeZones[index];
    const ZoneSourceRow* other = rowNamed(representative);
    if (other && sameRules(*row, *other)) {
      key = directKey(representative);
      if (!key.empty()) return key;
    }
  }
  // ... else that of the first key whose zone keeps the same clock.
  for (size_t i = 0; i < tables::windowsKeyToZoneCount; ++i) {
    const ZoneSourceRow* target = rowNamed(tables::windowsKeyToZone[i].to);
    if (target && sameRules(*row, *target)) return tables::windowsKeyToZone[i].from;
  }
  return std::string();
}

bool findZoneKeyByStandardName(const std::wstring& standardName, std::wstring& keyName) {
  RegistryUtils::ScopedKey zones;
  if (standardName.empty() || zones.open(HKEY_LOCAL_MACHINE, timeZonesKey, KEY_READ) != ERROR_SUCCESS) return false;
  for (DWORD index = 0;; ++index) {
    wchar_t name[256];
    DWORD length = 256;
    const LONG error = RegEnumKeyExW(zones.get(), index, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (error == ERROR_MORE_DATA) continue;  // no zone key is that long
    if (error != ERROR_SUCCESS) return false;
    RegistryUtils::ScopedKey zone;
    std::wstring standard;
    if (zone.open(zones.get(), std::wstring(name, length), KEY_READ) == ERROR_SUCCESS && readText(zone.get(), L"Std", standard) &&
        standard == standardName) {
      keyName.assign(name, length);
      return !keyName.empty();
    }
  }
}

bool firstTransitionsOfYear(const ZTimeZone& zone, int year, int64_t& first, int64_t& second) {
  const int64_t yearStart = utcMidnight(year, 1, 1);
  const int64_t yearEnd = utcMidnight(year + 1, 1, 1);
  std::vector<int64_t> onsets;
  for (const Observance& item : zone.observances) {
    if (!item.present || !item.hasRule || !item.start.isValid()) continue;
    RecurrenceIterator iterator(item.rule, item.start);
    DateTime occurrence;
    while (iterator.next(occurrence) && occurrence.utc() < yearEnd) {
      if (occurrence.utc() >= yearStart) {
        onsets.push_back(occurrence.utc());
        break;
      }
    }
  }
  if (onsets.size() < 2) return false;
  first = std::min(onsets[0], onsets[1]);
  second = std::max(onsets[0], onsets[1]);
  return true;
}

ZTimeZone searchLocalTimeZone() {
  std::lock_guard<tiny::ZMutex> guard(localSearch().mutex);
  std::wstring key;
  if (getWindowsTimeZoneName(key) && key == russianKey) {
    ZTimeZone zone = findTimeZone(std::string(russianText));
    if (zone.isValid()) return zone;
  }
  const std::time_t now = std::time(nullptr);
  const bool daylight = machineIsOnDaylightTime(now);
  const Duration machineNow = localOffset(static_cast<int64_t>(now), true);
  TimeParts today;
  valueToParts(static_cast<int64_t>(now), today);
  const int year = today.year + 1900;
  const int64_t february = utcMidnight(year, 2, 1);
  const int64_t july = utcMidnight(year, 7, 1);

  ZTimeZone fallback;
  for (const ExpandedRow& row : expandedRows()) {
    const Observance& observance = daylight ? row.daylight : row.standard;
    if (!observance.present || observance.offsetTo != machineNow) continue;
    ZTimeZone zone = ZTimeZone::fromRow(*row.row);
    if (!sameOffset(zone, february) || !sameOffset(zone, july)) continue;
    if (!fallback.isValid()) fallback = zone;
    int64_t first = 0;
    int64_t second = 0;
    if (!firstTransitionsOfYear(zone, year, first, second)) continue;
    bool agrees = true;
    for (int64_t transition : {first, second}) {
      const int64_t midnight = startOfUtcDay(transition);
      agrees = agrees && sameOffset(zone, midnight - 86400) && sameOffset(zone, midnight + 86400);
    }
    if (agrees) return zone;
  }
  return fallback;
}

}  // namespace details

bool getWindowsTimeZoneName(std::wstring& name) {
#ifndef _WIN32
  installZoneKeys();
#endif
  TIME_ZONE_INFORMATION information{};
  if (GetTimeZoneInformation(&information) == TIME_ZONE_ID_INVALID) return false;
  std::wstring standardName;
  for (size_t i = 0; i < 32 && information.StandardName[i] != 0; ++i) standardName += information.StandardName[i];
  if (standardName.empty()) return false;
  return details::findZoneKeyByStandardName(standardName, name);
}

ZTimeZone getLocalTimeZone() {
  LocalSearch& search = localSearch();
  std::lock_guard<tiny::ZMutex> guard(search.mutex);
  if (!search.searched) {
    search.zone = details::searchLocalTimeZone();
    search.searched = true;
  }
  return search.zone;
}

}  // namespace zelvo::timezone
