// Events, waits and process handles for the Linux build. Every waitable object has a
// descriptor that polls readable while it is signalled (an eventfd for an event, a pidfd
// for a process), so that one poll serves WaitForMultipleObjects.
#pragma once

#include "platform/linux/Handles.h"
#include "platform/linux/Types.h"

#define INFINITE 0xFFFFFFFFu
#define WAIT_OBJECT_0 0x00000000u
#define WAIT_TIMEOUT 0x00000102u
#define WAIT_FAILED 0xFFFFFFFFu
#define MAXIMUM_WAIT_OBJECTS 64
#define SYNCHRONIZE 0x00100000u

// Named events are not supported: lpName must be null.
HANDLE CreateEventW(LPSECURITY_ATTRIBUTES lpEventAttributes, BOOL bManualReset, BOOL bInitialState,
                    LPCWSTR lpName);
BOOL SetEvent(HANDLE hEvent);
BOOL ResetEvent(HANDLE hEvent);
DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds);
// Waits for any one object; bWaitAll must be FALSE.
DWORD WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll, DWORD dwMilliseconds);

// Only SYNCHRONIZE access: the handle can be waited on until the process has ended.
HANDLE OpenProcess(DWORD dwDesiredAccess, BOOL bInheritHandle, DWORD dwProcessId);

void Sleep(DWORD dwMilliseconds);
