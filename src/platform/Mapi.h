// The MAPI names: on Windows the SDK headers of the cross compiler, elsewhere our own
// declarations (platform/linux/Mapi.h, through Win32.h). The interface IIDs are defined
// in MapiGuids.cpp on both builds, since no import library of the SDK carries them.
#pragma once

#include "platform/Win32.h"

#ifdef _WIN32
#include <mapix.h>
#include <mapiutil.h>
#endif
