#include <cerrno>

#include "platform/Win32.h"
#include "platform/linux/KernelObject.h"

namespace platform {
namespace posix {

KernelObject* objectOf(HANDLE handle) {
  if (!handle || handle == INVALID_HANDLE_VALUE) return nullptr;
  return static_cast<KernelObject*>(handle);
}

HANDLE handleOf(KernelObject* object) { return static_cast<HANDLE>(object); }

DWORD win32ErrorFromErrno(int error) {
  switch (error) {
    case 0: return ERROR_SUCCESS;
    case ENOENT: return ERROR_PATH_NOT_FOUND;
    case ENOTDIR: return ERROR_DIRECTORY;
    case EACCES:
    case EPERM:
    case EROFS: return ERROR_ACCESS_DENIED;
    case EEXIST: return ERROR_FILE_EXISTS;
    case EBADF: return ERROR_INVALID_HANDLE;
    case ENOMEM: return ERROR_NOT_ENOUGH_MEMORY;
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return ERROR_DISK_FULL;
    case EMFILE:
    case ENFILE: return ERROR_TOO_MANY_OPEN_FILES;
    case EBUSY: return ERROR_BUSY;
    case ENOSYS: return ERROR_NOT_SUPPORTED;
    default: return ERROR_INVALID_PARAMETER;
  }
}

BOOL failFromErrno() {
  SetLastError(win32ErrorFromErrno(errno));
  return FALSE;
}

}  // namespace posix
}  // namespace platform

BOOL CloseHandle(HANDLE hObject) {
  platform::posix::KernelObject* object = platform::posix::objectOf(hObject);
  if (!object) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  delete object;
  return TRUE;
}
