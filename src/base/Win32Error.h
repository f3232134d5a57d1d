// A Win32 error number as a result code: values below 1 pass unchanged, others are
// masked to 16 bits and put into the Win32 facility as failures.
#pragma once

#include "platform/Win32.h"

constexpr HRESULT win32ErrorToHResult(long error) {
  return error <= 0 ? static_cast<HRESULT>(error)
                    : static_cast<HRESULT>((static_cast<uint32_t>(error) & 0xFFFFu) | 0x80070000u);
}

// The calling thread's last error as a result code.
inline HRESULT lastErrorToHResult() { return win32ErrorToHResult(static_cast<long>(GetLastError())); }
