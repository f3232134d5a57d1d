// Shell helpers of the Linux build that work on the registry calls.
#pragma once

#include "platform/linux/Registry.h"

typedef LONG LSTATUS;

// Copies the values and the sub-keys of hkeySrc\pszSrcSubKey, to any depth, into hkeyDest.
LSTATUS SHCopyKeyW(HKEY hkeySrc, LPCWSTR pszSrcSubKey, HKEY hkeyDest, DWORD fReserved);
