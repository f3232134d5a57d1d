// The product's own result codes. All lie in the interface facility; a warning or a
// success shares the low word of the failure of the same stem. The numbering has gaps
// that are to stay: the store services use the same values.
#pragma once

#include "platform/Win32.h"

#define ZEL_DRAV_CODE(name, value) constexpr HRESULT name = static_cast<HRESULT>(static_cast<uint32_t>(value));
#include "base/DravCodes.inc"
#undef ZEL_DRAV_CODE
