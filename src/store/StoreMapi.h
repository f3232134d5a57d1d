// The MAPI names the store layer needs: on Windows the SDK headers of the cross
// compiler, elsewhere the declarations of platform/linux/Mapi.h (through Win32.h).
#pragma once

#include "platform/Win32.h"

#ifdef _WIN32
#include <mapidefs.h>
#include <mapix.h>
#endif
