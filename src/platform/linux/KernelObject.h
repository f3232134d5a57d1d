// What a HANDLE of the Linux build points at. Not part of the Win32 face: only the
// platform's own sources include this.
#pragma once

#include "platform/linux/Types.h"

namespace platform {
namespace posix {

class KernelObject {
 public:
  virtual ~KernelObject() = default;
  // A descriptor that polls readable while the object is signalled; -1 if it cannot be waited on.
  virtual int waitDescriptor() const { return -1; }
  // Called when a wait has seen the object signalled: an auto-reset event takes its signal
  // here and may find that another waiter was quicker.
  virtual bool takeSignal() { return true; }
};

// The object behind a handle, or null for null and INVALID_HANDLE_VALUE.
KernelObject* objectOf(HANDLE handle);
HANDLE handleOf(KernelObject* object);

// The Win32 error number that stands for an errno value.
DWORD win32ErrorFromErrno(int error);
// Sets the last error from errno and returns FALSE, for the failure paths of BOOL calls.
BOOL failFromErrno();

}  // namespace posix
}  // namespace platform
