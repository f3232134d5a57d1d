// Kernel handles for the Linux build: every HANDLE points at a kernel object of our own
// (a file, an event, a process), and CloseHandle ends it whatever its kind.
#pragma once

#include <cstdint>

#include "platform/linux/Types.h"

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<intptr_t>(-1)))

struct SECURITY_ATTRIBUTES {
  DWORD nLength;
  LPVOID lpSecurityDescriptor;
  BOOL bInheritHandle;
};
typedef SECURITY_ATTRIBUTES* LPSECURITY_ATTRIBUTES;

BOOL CloseHandle(HANDLE hObject);
