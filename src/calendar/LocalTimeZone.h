// The machine's own zone. Windows names it by a registry key; the zone itself is chosen
// from the tables by comparing their offsets with the machine's around this year's
// transitions, so that it works whatever language the machine's zone names are in.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "calendar/TimeZone.h"

namespace zelvo::timezone {

// The name of the key under "SOFTWARE\Microsoft\Windows NT\CurrentVersion\Time Zones" of
// the machine's zone: the first key whose "Std" value is the standard name the system
// reports. False when there is no such name or no such key.
bool getWindowsTimeZoneName(std::wstring& name);

// The zone chosen for this machine, worked out once per process. May be invalid, and then
// arithmetic with it uses the machine's own local time.
ZTimeZone getLocalTimeZone();

namespace details {
// The search of getLocalTimeZone without the process-wide memo, for a machine whose zone
// has changed since (in tests).
ZTimeZone searchLocalTimeZone();
// The first key under the "Time Zones" key whose "Std" value equals standardName.
bool findZoneKeyByStandardName(const std::wstring& standardName, std::wstring& keyName);
// The key name of a zone database name ("Europe/Berlin" gives "W. Europe Standard Time"),
// from the zone maps of the tables; empty when none fits.
std::string windowsKeyOfZone(const std::string& zoneName);
// The key names the zone maps know, each once, in table order.
std::vector<std::string> windowsKeyNames();
// This year's first onsets of the zone's observances, as UTC values; false when the zone
// has fewer than two.
bool firstTransitionsOfYear(const ZTimeZone& zone, int year, int64_t& first, int64_t& second);
}  // namespace details

}  // namespace zelvo::timezone
