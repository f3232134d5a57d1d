#include <poll.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "platform/Win32.h"
#include "platform/linux/KernelObject.h"

namespace {

using platform::posix::failFromErrno;
using platform::posix::KernelObject;

class EventObject : public KernelObject {
 public:
  EventObject(int fd, bool manualReset) : fd_(fd), manualReset_(manualReset) {}
  ~EventObject() override { ::close(fd_); }
  int waitDescriptor() const override { return fd_; }
  // An auto-reset event lets exactly one waiter through: whoever drains the counter.
  bool takeSignal() override { return manualReset_ || drain(); }
  bool drain() {
    uint64_t value;
    return ::read(fd_, &value, sizeof value) == sizeof value;
  }
  bool signal() {
    const uint64_t one = 1;
    return ::write(fd_, &one, sizeof one) == sizeof one;
  }

 private:
  int fd_;
  bool manualReset_;
};

// Signalled for good once the process has ended.
class ProcessObject : public KernelObject {
 public:
  explicit ProcessObject(int fd) : fd_(fd) {}
  ~ProcessObject() override { ::close(fd_); }
  int waitDescriptor() const override { return fd_; }

 private:
  int fd_;
};

EventObject* eventOf(HANDLE handle) {
  auto* event = dynamic_cast<EventObject*>(platform::posix::objectOf(handle));
  if (!event) SetLastError(ERROR_INVALID_HANDLE);
  return event;
}

}  // namespace

HANDLE CreateEventW(LPSECURITY_ATTRIBUTES, BOOL bManualReset, BOOL bInitialState, LPCWSTR lpName) {
  if (lpName) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return nullptr;
  }
  const int fd = ::eventfd(bInitialState ? 1 : 0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (fd < 0) {
    failFromErrno();
    return nullptr;
  }
  SetLastError(ERROR_SUCCESS);
  return platform::posix::handleOf(new EventObject(fd, bManualReset != FALSE));
}

BOOL SetEvent(HANDLE hEvent) {
  EventObject* event = eventOf(hEvent);
  if (!event) return FALSE;
  return event->signal() ? TRUE : failFromErrno();
}

BOOL ResetEvent(HANDLE hEvent) {
  EventObject* event = eventOf(hEvent);
  if (!event) return FALSE;
  event->drain();
  return TRUE;
}

DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds) {
  return WaitForMultipleObjects(1, &hHandle, FALSE, dwMilliseconds);
}

DWORD WaitForMultipleObjects(DWORD nCount, const HANDLE* lpHandles, BOOL bWaitAll, DWORD dwMilliseconds) {
  if (nCount == 0 || nCount > MAXIMUM_WAIT_OBJECTS || !lpHandles || bWaitAll) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return WAIT_FAILED;
  }
  std::vector<KernelObject*> objects(nCount);
  std::vector<pollfd> fds(nCount);
  for (DWORD i = 0; i < nCount; ++i) {
    objects[i] = platform::posix::objectOf(lpHandles[i]);
    const int fd = objects[i] ? objects[i]->waitDescriptor() : -1;
    if (fd < 0) {
      SetLastError(ERROR_INVALID_HANDLE);
      return WAIT_FAILED;
    }
    fds[i] = pollfd{fd, POLLIN, 0};
  }
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::milliseconds(dwMilliseconds);
  for (;;) {
    int timeout = -1;
    if (dwMilliseconds != INFINITE) {
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
      timeout = left > 0 ? static_cast<int>(left) : 0;
    }
    const int ready = ::poll(fds.data(), fds.size(), timeout);
    if (ready < 0) {
      if (errno == EINTR) continue;
      failFromErrno();
      return WAIT_FAILED;
    }
    // The lowest signalled index wins, as on Windows.
    for (DWORD i = 0; i < nCount; ++i) {
      if ((fds[i].revents & (POLLIN | POLLHUP | POLLERR)) && objects[i]->takeSignal()) return WAIT_OBJECT_0 + i;
    }
    if (ready == 0 && timeout == 0) return WAIT_TIMEOUT;
  }
}

HANDLE OpenProcess(DWORD dwDesiredAccess, BOOL, DWORD dwProcessId) {
  if ((dwDesiredAccess & ~SYNCHRONIZE) != 0 || dwProcessId == 0) {
    SetLastError(dwProcessId == 0 ? ERROR_INVALID_PARAMETER : ERROR_ACCESS_DENIED);
    return nullptr;
  }
  const long fd = ::syscall(SYS_pidfd_open, static_cast<pid_t>(dwProcessId), 0);
  if (fd < 0) {
    // No such process is a bad parameter to Windows.
    if (errno == ESRCH) SetLastError(ERROR_INVALID_PARAMETER);
    else failFromErrno();
    return nullptr;
  }
  SetLastError(ERROR_SUCCESS);
  return platform::posix::handleOf(new ProcessObject(static_cast<int>(fd)));
}

void Sleep(DWORD dwMilliseconds) {
  if (dwMilliseconds == 0) ::sched_yield();
  else std::this_thread::sleep_for(std::chrono::milliseconds(dwMilliseconds));
}
