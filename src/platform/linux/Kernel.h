// Kernel services for the Linux build: last error, critical sections, module path.
#pragma once

#include <pthread.h>

#include "platform/linux/Types.h"

DWORD GetLastError();
void SetLastError(DWORD dwErrCode);

// A recursive mutex that can be tried, as a Windows critical section is.
struct CRITICAL_SECTION {
  pthread_mutex_t mutex;
};
typedef CRITICAL_SECTION* LPCRITICAL_SECTION;

void InitializeCriticalSection(LPCRITICAL_SECTION cs);
BOOL InitializeCriticalSectionAndSpinCount(LPCRITICAL_SECTION cs, DWORD spinCount);
void EnterCriticalSection(LPCRITICAL_SECTION cs);
BOOL TryEnterCriticalSection(LPCRITICAL_SECTION cs);
void LeaveCriticalSection(LPCRITICAL_SECTION cs);
void DeleteCriticalSection(LPCRITICAL_SECTION cs);

// The running program's path; hModule must be null or the program's own handle.
DWORD GetModuleFileNameW(HMODULE hModule, LPWSTR lpFilename, DWORD nSize);
DWORD GetCurrentThreadId();
// The process's command line: its arguments from /proc, joined by blanks. Read once and
// kept, as the system keeps it.
LPCWSTR GetCommandLineW();
DWORD GetCurrentProcessId();
