#include "calendar/TimeZone.h"

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "base/StreamDigest.h"
#include "base/ZMutex.h"
#include "calendar/LocalTimeZone.h"
#include "calendar/RecurrenceIterator.h"

namespace zelvo::timezone {

namespace {
constexpr char utcRowName[] = "(UTC) Universal Coordinated Time";

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// The tables are constant; the registry only gives them one place, made once.
struct ZoneRegistry {
  const ZoneAbbreviation* abbreviations = tables::abbreviations;
  size_t abbreviationCount = tables::abbreviationCount;
  const ZoneSourceRow* displayZones = tables::displayZones;
  size_t displayZoneCount = tables::displayZoneCount;
  const ZoneSourceRow* namedZones = tables::namedZones;
  size_t namedZoneCount = tables::namedZoneCount;
};

const ZoneRegistry& registry() {
  static tiny::ZMutex mutex;
  static std::unique_ptr<ZoneRegistry> instance;
  std::lock_guard<tiny::ZMutex> guard(mutex);
  if (!instance) instance = std::make_unique<ZoneRegistry>();
  return *instance;
}

struct LocalProvider {
  tiny::ZMutex mutex;
  std::function<ZTimeZone()> provider;
};
LocalProvider& localProvider() {
  static LocalProvider instance;
  return instance;
}

ZTimeZone localTimeZone() {
  LocalProvider& local = localProvider();
  std::function<ZTimeZone()> provider;
  {
    std::lock_guard<tiny::ZMutex> guard(local.mutex);
    provider = local.provider;
  }
  return provider ? provider() : getLocalTimeZone();
}

// An onset of the tables is a wall-clock time in the offset in force before it.
DateTime onsetFromText(const char* text, Duration offsetFrom) {
  const DateTime wall = DateTime::parse(std::string(text), utcZone());
  if (!wall.isValid()) return DateTime();
  const Duration shift = offsetFrom.isValid() ? offsetFrom : Duration(0);
  return DateTime::fromUtc(wall.utc() - shift.totalSeconds(), shift);
}

Observance makeObservance(int32_t kind, const char* start, const char* rule, Duration to, Duration from) {
  Observance observance;
  observance.present = true;
  observance.kind = kind;
  observance.offsetTo = to;
  observance.offsetFrom = from;
  observance.start = onsetFromText(start, from);
  if (rule != nullptr && *rule != 0) {
    observance.rule = RecurrenceRule::parse(std::string(rule));
    observance.hasRule = observance.rule.valid;
  }
  return observance;
}

int64_t floorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

int utcYear(int64_t value) {
  TimeParts parts;
  details::valueToParts(value, parts);
  return parts.year + 1900;
}

// The yearly rule of nearly every zone: one month, one weekday with an ordinal.
bool isSimpleRule(const RecurrenceRule& rule) {
  return rule.valid && rule.frequency == RecurrenceRule::yearly && rule.interval == 1 && rule.byMonth.size() == 1 &&
         rule.byDay.size() == 1 && RecurrenceRule::dayOrdinal(rule.byDay[0]) != 0 && rule.byWeekNo.empty() &&
         rule.byYearDay.empty() && rule.byMonthDay.empty() && rule.byHour.empty() && rule.byMinute.empty() &&
         rule.bySecond.empty() && rule.bySetPos.empty() && rule.count <= 0 && !rule.until.isValid();
}

// The onset of an observance in a year, as a UTC value; false when it has none there. A
// simple rule is applied to any year, also before its start: the start gives only the time
// of day, and the rows date their rules from the last change, not from their first use.
bool onsetInYear(const Observance& observance, int year, int64_t& onset) {
  if (!observance.start.isValid()) return false;
  const RecurrenceRule& rule = observance.rule;
  if (isSimpleRule(rule)) {
    const int month = rule.byMonth[0];
    const int weekDay = RecurrenceRule::dayWeekDay(rule.byDay[0]);
    const int ordinal = RecurrenceRule::dayOrdinal(rule.byDay[0]);
    if (month < 1 || month > 12 || weekDay < 1 || weekDay > 7) return false;
    const int length = details::monthLength(year, month - 1);
    TimeParts first;
    first.day = 1;
    first.month = month - 1;
    first.year = year - 1900;
    const int64_t firstDay = details::partsToValue(first);
    const int firstWeekDay = first.weekDay == 0 ? 7 : first.weekDay;
    int day = 1 + ((weekDay - firstWeekDay) % 7 + 7) % 7;
    if (ordinal > 0) {
      day += 7 * (ordinal - 1);
    } else {
      while (day + 7 <= length) day += 7;
      day -= 7 * (-ordinal - 1);
    }
    if (day < 1 || day > length) return false;
    const int64_t timeOfDay = observance.start.wallValue() - floorDiv(observance.start.wallValue(), 86400) * 86400;
    const Duration from = observance.offsetFrom.isValid() ? observance.offsetFrom : Duration(0);
    onset = firstDay + static_cast<int64_t>(day - 1) * 86400 + timeOfDay - from.totalSeconds();
    return true;
  }
  // Other rules run from the start, so a year before it has no onset.
  RecurrenceIterator iterator(rule, observance.start);
  DateTime occurrence;
  while (iterator.next(occurrence)) {
    const int found = utcYear(occurrence.wallValue());
    if (found == year) {
      onset = occurrence.utc();
      return true;
    }
    if (found > year) return false;
  }
  return false;
}

struct YearEntry {
  std::string signature;
  int year;
  int64_t first;
  int64_t last;
  Duration inner;  // from first, inclusive, to last, exclusive
  Duration outer;
};

// Entries are found by signature and year; the list keeps their order of insertion, so that
// the oldest goes first when the cache is full.
struct YearlyCache {
  tiny::ZMutex mutex;
  std::deque<std::pair<std::string, int>> entries;
  std::unordered_map<std::string, std::unordered_map<int, YearEntry>> bySignature;
};
YearlyCache& yearlyCache() {
  static YearlyCache instance;
  return instance;
}

bool yearlyOffset(const ZTimeZone& zone, int64_t t, Duration& result) {
  const std::string& signature = zone.getSignature();
  const int year = utcYear(t);
  YearlyCache& cache = yearlyCache();
  YearEntry entry;
  bool found = false;
  {
    std::lock_guard<tiny::ZMutex> guard(cache.mutex);
    const auto zoneEntries = cache.bySignature.find(signature);
    if (zoneEntries != cache.bySignature.end()) {
      const auto hit = zoneEntries->second.find(year);
      if (hit != zoneEntries->second.end()) {
        const YearEntry& cached = hit->second;
        result = t >= cached.first && t < cached.last ? cached.inner : cached.outer;
        return true;
      }
    }
  }
  if (!found) {
    const Observance& a = zone.observances[0];
    const Observance& b = zone.observances[1];
    int64_t onsetA = 0;
    int64_t onsetB = 0;
    if (!onsetInYear(a, year, onsetA) || !onsetInYear(b, year, onsetB)) return false;
    const bool aFirst = onsetA <= onsetB;
    entry = YearEntry{signature, year, aFirst ? onsetA : onsetB, aFirst ? onsetB : onsetA,
                      aFirst ? a.offsetTo : b.offsetTo, aFirst ? b.offsetTo : a.offsetTo};
    std::lock_guard<tiny::ZMutex> guard(cache.mutex);
    auto& years = cache.bySignature[signature];
    if (years.count(year) == 0) {  // another thread may have put it in meanwhile
      if (cache.entries.size() >= details::yearlyCacheCapacity) {
        const auto& oldest = cache.entries.front();
        const auto zoneEntries = cache.bySignature.find(oldest.first);
        zoneEntries->second.erase(oldest.second);
        if (zoneEntries->second.empty() && zoneEntries->first != signature) cache.bySignature.erase(zoneEntries);
        cache.entries.pop_front();
      }
      cache.entries.emplace_back(signature, year);
      years.emplace(year, entry);
    }
  }
  result = t >= entry.first && t < entry.last ? entry.inner : entry.outer;
  return true;
}

template <class Char>
std::string narrow(const std::basic_string<Char>& text) {
  std::string result;
  for (Char c : text) result += (c >= 0 && c < 0x80) ? static_cast<char>(c) : '?';
  return result;
}
}  // namespace

namespace details {
bool containsNoCase(const std::string& haystack, const std::string& needle) {
  if (needle.empty()) return true;
  // Failure table: for each prefix, the length of its longest proper border.
  std::vector<size_t> failure(needle.size(), 0);
  for (size_t i = 1, k = 0; i < needle.size(); ++i) {
    while (k > 0 && lower(needle[i]) != lower(needle[k])) k = failure[k - 1];
    if (lower(needle[i]) == lower(needle[k])) ++k;
    failure[i] = k;
  }
  for (size_t i = 0, k = 0; i < haystack.size(); ++i) {
    while (k > 0 && lower(haystack[i]) != lower(needle[k])) k = failure[k - 1];
    if (lower(haystack[i]) == lower(needle[k])) ++k;
    if (k == needle.size()) return true;
  }
  return false;
}

int findRowByName(const std::string& text, const ZoneSourceRow* rows, size_t count) {
  int best = -1;
  size_t bestLength = 0;
  for (size_t i = 0; i < count; ++i) {
    const std::string name = rows[i].name;
    if (name.empty() || (best >= 0 && name.size() <= bestLength)) continue;
    if (containsNoCase(text, name)) {
      best = static_cast<int>(i);
      bestLength = name.size();
    }
  }
  return best;
}

size_t yearlyCacheSize() {
  std::lock_guard<tiny::ZMutex> guard(yearlyCache().mutex);
  return yearlyCache().entries.size();
}

bool yearlyCacheHolds(const std::string& signature, int year) {
  std::lock_guard<tiny::ZMutex> guard(yearlyCache().mutex);
  const auto zoneEntries = yearlyCache().bySignature.find(signature);
  return zoneEntries != yearlyCache().bySignature.end() && zoneEntries->second.count(year) != 0;
}

void clearYearlyCache() {
  std::lock_guard<tiny::ZMutex> guard(yearlyCache().mutex);
  yearlyCache().entries.clear();
  yearlyCache().bySignature.clear();
}
}  // namespace details

ZTimeZone ZTimeZone::fromRow(const ZoneSourceRow& row) {
  ZTimeZone zone;
  zone.name = row.name;
  for (int index : row.windowsZones) {
    if (index < 0) break;
    zone.windowsZones.push_back(index);
  }
  const Duration standard = parseUtcOffset(row.standard);
  const Duration daylight = parseUtcOffset(row.daylight);
  if (*row.standardStart != 0 && daylight.isValid()) {
    zone.observances.push_back(makeObservance(Observance::standard, row.standardStart, row.standardRule, standard,
                                              daylight.isValid() ? daylight : standard));
  }
  if (*row.daylightStart != 0 && standard.isValid()) {
    zone.observances.push_back(
        makeObservance(Observance::daylight, row.daylightStart, row.daylightRule, daylight, standard));
  }
  if (zone.observances.empty()) {
    Observance only;
    only.present = true;
    only.kind = Observance::standard;
    only.start = DateTime::fromUtc(1);
    only.offsetFrom = standard;
    only.offsetTo = standard;
    zone.observances.push_back(only);
  }
  return zone;
}

const Observance* ZTimeZone::observance(int32_t kind) const {
  for (const Observance& item : observances) {
    if (item.present && item.kind == kind) return &item;
  }
  return nullptr;
}

const std::string& ZTimeZone::getSignature() const {
  if (signature.empty()) {
    std::vector<std::string> texts;
    for (const Observance& item : observances) {
      texts.push_back((item.kind == Observance::daylight ? "DST:" : "STD:") + item.start.format(0) +
                      item.offsetTo.formatOffset() + (item.hasRule ? item.rule.toString() : std::string()));
    }
    std::sort(texts.begin(), texts.end());
    crypto::StreamDigestMD5 digest;
    for (const std::string& text : texts) digest << text;
    signature = digest.getDigestHex();
  }
  return signature;
}

Duration ZTimeZone::offsetAt(int64_t utcSeconds) const {
  if (!isValid()) return Duration();
  if (observances.size() == 1) return observances[0].offsetTo;
  if (observances.size() == 2 && observances[0].hasRule && observances[1].hasRule) {
    Duration result;
    if (yearlyOffset(*this, utcSeconds, result)) return result;
  }
  return generalOffset(utcSeconds);
}

Duration ZTimeZone::generalOffset(int64_t t) const {
  const Observance* latest = nullptr;
  int64_t latestOnset = 0;
  const Observance* earliest = nullptr;
  for (const Observance& item : observances) {
    if (!item.present || !item.start.isValid()) continue;
    if (!earliest || item.start < earliest->start) earliest = &item;
    if (item.start.utc() > t) continue;
    int64_t onset = item.start.utc();
    if (item.hasRule) {
      RecurrenceIterator iterator(item.rule, item.start);
      DateTime occurrence;
      while (iterator.next(occurrence) && occurrence.utc() <= t) onset = std::max(onset, occurrence.utc());
    }
    if (!latest || onset > latestOnset) {
      latest = &item;
      latestOnset = onset;
    }
  }
  if (latest) return latest->offsetTo;
  return earliest ? earliest->offsetFrom : Duration();
}

Duration parseUtcOffset(const std::string& text) {
  size_t pos = 0;
  bool negative = false;
  bool sign = false;
  if (pos < text.size() && (text[pos] == '-' || text[pos] == '+')) {
    negative = text[pos] == '-';
    sign = true;
    ++pos;
  }
  if (pos >= text.size()) return Duration();
  if (!isDigit(text[pos])) {
    if (sign || !isLetter(text[pos])) return Duration();
    size_t end = pos;
    while (end < text.size() && isLetter(text[end])) ++end;
    const std::string abbreviation = text.substr(pos, end - pos);
    const ZoneRegistry& tables = registry();
    for (size_t i = 0; i < tables.abbreviationCount; ++i) {
      const std::string name = tables.abbreviations[i].name;
      if (name.size() == abbreviation.size() && details::containsNoCase(name, abbreviation)) {
        return Duration::parseIso(std::string(tables.abbreviations[i].offset));
      }
    }
    return Duration();
  }
  int64_t value = 0;
  int digits = 0;
  while (pos < text.size() && digits < 7 && isDigit(text[pos])) {
    value = value * 10 + (text[pos] - '0');
    ++digits;
    ++pos;
    if (pos < text.size() && !isDigit(text[pos]) && !isLetter(text[pos]) && text[pos] != ' ') ++pos;
  }
  int64_t seconds = 0;
  if (digits <= 2) {
    seconds = value * 3600;
  } else if (digits <= 4) {
    seconds = value / 100 * 3600 + value % 100 * 60;
  } else {
    seconds = value / 10000 * 3600 + value / 100 % 100 * 60 + value % 100;
  }
  return Duration(negative ? -seconds : seconds);
}

void setLocalTimeZoneProvider(std::function<ZTimeZone()> provider) {
  LocalProvider& local = localProvider();
  std::lock_guard<tiny::ZMutex> guard(local.mutex);
  local.provider = std::move(provider);
}

ZTimeZone findTimeZone(const std::string& text) {
  if (text.empty() || (text.size() == 6 && details::containsNoCase(text, "server"))) return localTimeZone();
  const ZoneRegistry& tables = registry();
  int row = details::findRowByName(text, tables.displayZones, tables.displayZoneCount);
  if (row >= 0) return ZTimeZone::fromRow(tables.displayZones[row]);
  row = details::findRowByName(text, tables.namedZones, tables.namedZoneCount);
  if (row >= 0) {
    ZTimeZone zone = ZTimeZone::fromRow(tables.namedZones[row]);
    if (zone.isValid()) return zone;
  }
  const bool numeric = isDigit(text[0]) || ((text[0] == '+' || text[0] == '-') && text.size() > 1 && isDigit(text[1]));
  if (numeric) {
    // A plain decimal count of seconds, so "+0100" is 100 seconds and matches nothing.
    const int64_t seconds = std::strtoll(text.c_str(), nullptr, 10);
    const ZTimeZone local = localTimeZone();
    const Observance* standard = local.observance(Observance::standard);
    if (!(standard && standard->offsetTo.totalSeconds() == seconds)) {
      for (size_t i = 0; i < tables.displayZoneCount; ++i) {
        const Duration offset = parseUtcOffset(tables.displayZones[i].standard);
        if (offset.isValid() && offset.totalSeconds() == seconds) return ZTimeZone::fromRow(tables.displayZones[i]);
      }
    }
  }
  // Anything else, including a number equal to the local standard offset, ends in UTC.
  row = details::findRowByName(utcRowName, tables.displayZones, tables.displayZoneCount);
  return row >= 0 ? ZTimeZone::fromRow(tables.displayZones[row]) : ZTimeZone();
}

ZTimeZone findTimeZone(const std::wstring& text) { return findTimeZone(narrow(text)); }

}  // namespace zelvo::timezone
