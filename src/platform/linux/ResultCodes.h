// Result codes and Win32 error numbers, declared from the one list that the Windows build
// checks against the SDK.
#pragma once

#include "platform/linux/Types.h"

#define ZEL_RESULT_CODE(name, value) constexpr HRESULT name = static_cast<HRESULT>(static_cast<uint32_t>(value));
#define ZEL_WIN32_ERROR(name, value) constexpr LONG name = value;
#include "platform/ResultCodes.inc"
#undef ZEL_RESULT_CODE
#undef ZEL_WIN32_ERROR
