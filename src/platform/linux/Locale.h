// The user's locale for the Linux build: one fixed locale, that of a United States English
// desktop, so that what is built from it is the same on every machine.
#pragma once

#include "platform/linux/Automation.h"
#include "platform/linux/Types.h"

typedef DWORD LCTYPE;

#define LOCALE_STIME 0x0000001E
#define LOCALE_STIMEFORMAT 0x00001003
#define LOCALE_ITIMEMARKPOSN 0x00001005

// As on Windows: the length in characters with the terminating zero, the length needed when
// size is 0, and 0 for an unknown type or a buffer too small.
int GetLocaleInfoW(LCID locale, LCTYPE type, LPWSTR data, int size);
