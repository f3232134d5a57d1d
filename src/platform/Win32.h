// The Windows ABI as the rest of the system sees it.
//
// On Windows these are the SDK headers. Elsewhere they are our own declarations with the
// same names, layouts, IIDs and numeric values, for exactly the subset the product uses,
// so that one code path serves both builds.
#pragma once

#ifdef _WIN32
// The status codes come from ntstatus.h alone, not also from winnt.h.
#define WIN32_NO_STATUS
#include <windows.h>
#undef WIN32_NO_STATUS
#include <winternl.h>
#include <ntstatus.h>
#include <objbase.h>
#include <oleauto.h>
#include <olectl.h>
#include <winreg.h>
#include <winver.h>
#include <mapicode.h>
#include <richedit.h>
#include <shlwapi.h>
#include <tlhelp32.h>
#else
#include "platform/linux/Types.h"
#include "platform/linux/ResultCodes.h"
#include "platform/linux/Com.h"
#include "platform/linux/Automation.h"
#include "platform/linux/Kernel.h"
#include "platform/linux/Registry.h"
#include "platform/linux/TimeZone.h"
#include "platform/linux/Version.h"
#include "platform/linux/Handles.h"
#include "platform/linux/Files.h"
#include "platform/linux/Sync.h"
#include "platform/linux/Storage.h"
#include "platform/linux/Marshal.h"
#include "platform/linux/Mapi.h"
#include "platform/linux/RichEdit.h"
#include "platform/linux/Shell.h"
#include "platform/linux/User.h"
#include "platform/linux/ToolHelp.h"
#include "platform/linux/Locale.h"
#endif
