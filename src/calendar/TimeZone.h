// The zone model: a zone is a named list of observances, each a standard or daylight
// period with its first onset, the offsets on either side and a yearly rule, built from
// the rows of the zone tables. The machine's own zone is getLocalTimeZone (LocalTimeZone.h)
// unless another is handed in through setLocalTimeZoneProvider.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "calendar/DateTime.h"
#include "calendar/RecurrenceRule.h"
#include "calendar/ZoneRules.h"
#include "calendar/ZoneTables.h"

namespace zelvo::timezone {

struct Observance {
  enum Kind : int32_t { standard = 1, daylight = 2 };
  bool present = false;
  int32_t kind = standard;
  DateTime start;       // the first onset, as a UTC value
  Duration offsetFrom;  // in force before the onset
  Duration offsetTo;    // in force after it
  RecurrenceRule rule;
  bool hasRule = false;
};

class ZTimeZone : public ZoneRules {
 public:
  ZTimeZone() = default;
  ZTimeZone(const ZTimeZone&) = default;
  ZTimeZone& operator=(const ZTimeZone&) = default;
  ~ZTimeZone() override = default;

  // A row of the display-zone or named-zone table.
  static ZTimeZone fromRow(const ZoneSourceRow& row);

  bool isValid() const override { return !name.empty() && !observances.empty(); }
  Duration offsetAt(int64_t utcSeconds) const override;
  std::string zoneName() const override { return name; }
  // The observance of the given kind, or null.
  const Observance* observance(int32_t kind) const;
  // MD5 in hexadecimal of the zone's rules; zones with the same rules share it.
  const std::string& getSignature() const;

  std::string name;
  std::vector<Observance> observances;
  std::vector<int32_t> windowsZones;

 private:
  Duration generalOffset(int64_t utcSeconds) const;
  mutable std::string signature;
};

// A display name, a zone name, an offset in seconds or "server"; anything else gives the
// row "(UTC) Universal Coordinated Time".
ZTimeZone findTimeZone(const std::string& text);
ZTimeZone findTimeZone(const std::wstring& text);
// "+0100", "-01:00", "5", "+053000", "WET"; not a Duration when unreadable.
Duration parseUtcOffset(const std::string& text);

// The machine's zone, which findTimeZone gives for "server" and an empty text and whose
// standard offset it compares numbers with. Without a provider it is getLocalTimeZone().
void setLocalTimeZoneProvider(std::function<ZTimeZone()> provider);

namespace details {
// Index of the row whose name occurs in text (without regard to case), the longest such
// name winning and the first of equal length; -1 when none occurs.
int findRowByName(const std::string& text, const ZoneSourceRow* rows, size_t count);
// Case-insensitive Knuth-Morris-Pratt search of needle in haystack.
bool containsNoCase(const std::string& haystack, const std::string& needle);
// The yearly transitions cache, for tests: entries held now, whether it holds the entry of
// a signature and year, and emptying it.
size_t yearlyCacheSize();
bool yearlyCacheHolds(const std::string& signature, int year);
void clearYearlyCache();
constexpr size_t yearlyCacheCapacity = 512;
}  // namespace details

}  // namespace zelvo::timezone
