#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/Utf8.h"
#include "platform/Win32.h"

namespace {
thread_local DWORD lastError = 0;
}

DWORD GetLastError() { return lastError; }
void SetLastError(DWORD dwErrCode) { lastError = dwErrCode; }

void InitializeCriticalSection(LPCRITICAL_SECTION cs) {
  pthread_mutexattr_t attr;
  pthread_mutexattr_init(&attr);
  pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&cs->mutex, &attr);
  pthread_mutexattr_destroy(&attr);
}

BOOL InitializeCriticalSectionAndSpinCount(LPCRITICAL_SECTION cs, DWORD) {
  InitializeCriticalSection(cs);
  return TRUE;
}

void EnterCriticalSection(LPCRITICAL_SECTION cs) { pthread_mutex_lock(&cs->mutex); }
BOOL TryEnterCriticalSection(LPCRITICAL_SECTION cs) { return pthread_mutex_trylock(&cs->mutex) == 0; }
void LeaveCriticalSection(LPCRITICAL_SECTION cs) { pthread_mutex_unlock(&cs->mutex); }
void DeleteCriticalSection(LPCRITICAL_SECTION cs) { pthread_mutex_destroy(&cs->mutex); }

DWORD GetModuleFileNameW(HMODULE hModule, LPWSTR lpFilename, DWORD nSize) {
  if (hModule) {
    SetLastError(ERROR_INVALID_HANDLE);
    return 0;
  }
  char buf[4096];
  const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  if (n <= 0) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return 0;
  }
  const std::wstring path = platform::fromUtf8Lenient(std::string(buf, static_cast<size_t>(n)));
  if (nSize == 0) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  // As on Windows: a short buffer gets the truncated, terminated path and the full size.
  const size_t copied = path.size() < nSize ? path.size() : nSize - 1;
  std::wmemcpy(lpFilename, path.data(), copied);
  lpFilename[copied] = L'\0';
  if (copied < path.size()) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return nSize;
  }
  SetLastError(ERROR_SUCCESS);
  return static_cast<DWORD>(copied);
}

DWORD GetCurrentThreadId() { return static_cast<DWORD>(syscall(SYS_gettid)); }
DWORD GetCurrentProcessId() { return static_cast<DWORD>(getpid()); }

LPCWSTR GetCommandLineW() {
  static const std::wstring line = [] {
    std::string bytes;
    if (FILE* file = std::fopen("/proc/self/cmdline", "rb")) {
      char buffer[4096];
      size_t n = 0;
      while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0) bytes.append(buffer, n);
      std::fclose(file);
    }
    while (!bytes.empty() && bytes.back() == '\0') bytes.pop_back();
    for (char& c : bytes)
      if (c == '\0') c = ' ';
    return platform::fromUtf8Lenient(bytes);
  }();
  return line.c_str();
}
