// Names of result codes for diagnostics.
#pragma once

#include <cstddef>
#include <string>

#include "platform/Win32.h"

// "0x80070057 E_INVALIDARG"; a code without a name stays bare hexadecimal.
std::string hresultToString(HRESULT code);

namespace details {
// The number of distinct codes in the table (for tests).
size_t hresultTableSize();
}  // namespace details
