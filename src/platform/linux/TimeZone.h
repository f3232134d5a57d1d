// The machine's time zone for the Linux build, as the Windows calls report it.
//
// The zone comes from TZ (a zone name, with or without a leading ':', or a POSIX rule
// text), else from the target of /etc/localtime, else UTC; offsets and dates come from the
// C library for that zone. Windows names its zones by registry key names, which Linux has
// no table of: the calendar tables carry one and install it with setTimeZoneKeys. With
// that, the key "SOFTWARE\Microsoft\Windows NT\CurrentVersion\Time Zones" of
// HKEY_LOCAL_MACHINE lists those keys, each with its "Std" and "Dlt" names, as an English
// Windows does.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/Registry.h"
#include "platform/linux/Types.h"

typedef BYTE BOOLEAN;

struct TIME_ZONE_INFORMATION {
  LONG Bias;  // minutes to add to local time to give UTC
  WCHAR StandardName[32];
  SYSTEMTIME StandardDate;
  LONG StandardBias;
  WCHAR DaylightName[32];
  SYSTEMTIME DaylightDate;
  LONG DaylightBias;
};
typedef TIME_ZONE_INFORMATION* PTIME_ZONE_INFORMATION;
typedef TIME_ZONE_INFORMATION* LPTIME_ZONE_INFORMATION;

struct DYNAMIC_TIME_ZONE_INFORMATION {
  LONG Bias;
  WCHAR StandardName[32];
  SYSTEMTIME StandardDate;
  LONG StandardBias;
  WCHAR DaylightName[32];
  SYSTEMTIME DaylightDate;
  LONG DaylightBias;
  WCHAR TimeZoneKeyName[128];
  BOOLEAN DynamicDaylightTimeDisabled;
};
typedef DYNAMIC_TIME_ZONE_INFORMATION* PDYNAMIC_TIME_ZONE_INFORMATION;

#define TIME_ZONE_ID_UNKNOWN 0
#define TIME_ZONE_ID_STANDARD 1
#define TIME_ZONE_ID_DAYLIGHT 2
#define TIME_ZONE_ID_INVALID (static_cast<DWORD>(0xFFFFFFFF))

// StandardDate and DaylightDate in the yearly form: wYear 0, wDay the week of the month
// (5 the last), wDayOfWeek 0 Sunday. Both zero for a zone without daylight time.
DWORD GetTimeZoneInformation(LPTIME_ZONE_INFORMATION lpTimeZoneInformation);
DWORD GetDynamicTimeZoneInformation(PDYNAMIC_TIME_ZONE_INFORMATION pTimeZoneInformation);

LONG RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved, LPWSTR lpClass,
                   LPDWORD lpcchClass, LPFILETIME lpftLastWriteTime);

namespace platform {

class SettingsBackend;

// The zone name of this machine: "Europe/Berlin", or the TZ text itself when it is a
// POSIX rule ("CET-1CEST,M3.5.0,M10.5.0/3"), or "UTC".
std::string machineTimeZoneName();

struct TimeZoneKeys {
  std::vector<std::wstring> keyNames;  // in the order the registry lists them
  // The key name of a zone name, empty when none fits.
  std::function<std::wstring(const std::string&)> keyOfZone;
};
void setTimeZoneKeys(TimeZoneKeys keys);

// Where the registry calls find the "Time Zones" key and its sub-keys.
std::shared_ptr<SettingsBackend> timeZoneKeysBackend();
// True for that key and the keys under it, given as a full path from the root name.
bool isTimeZoneKeyPath(const std::wstring& path);

}  // namespace platform
