#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "platform/Utf8.h"
#include "platform/Win32.h"
#include "platform/linux/KernelObject.h"

namespace {

using platform::posix::failFromErrno;

class FileObject : public platform::posix::KernelObject {
 public:
  explicit FileObject(int fd) : fd_(fd) {}
  ~FileObject() override { ::close(fd_); }
  int fd() const { return fd_; }

 private:
  int fd_;
};

FileObject* fileOf(HANDLE handle) {
  auto* file = dynamic_cast<FileObject*>(platform::posix::objectOf(handle));
  if (!file) SetLastError(ERROR_INVALID_HANDLE);
  return file;
}

// 100-nanosecond steps since 1601-01-01, the FILETIME scale.
FILETIME toFileTime(const timespec& t) {
  const uint64_t ticks = (static_cast<uint64_t>(t.tv_sec) + 11644473600ull) * 10000000ull +
                         static_cast<uint64_t>(t.tv_nsec) / 100;
  return FILETIME{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// Copies a path into a MAX_PATH buffer as GetTempPathW does: the length without the
// terminator on success, the size needed with it when the buffer is short.
DWORD copyOut(const std::wstring& text, DWORD size, LPWSTR buffer) {
  if (text.size() + 1 > size) return static_cast<DWORD>(text.size() + 1);
  std::wmemcpy(buffer, text.c_str(), text.size() + 1);
  return static_cast<DWORD>(text.size());
}

}  // namespace

DWORD GetTempPathW(DWORD nBufferLength, LPWSTR lpBuffer) {
  const char* dir = std::getenv("TMPDIR");
  std::string path = dir && *dir ? dir : "/tmp";
  if (path.back() != '/') path += '/';
  SetLastError(ERROR_SUCCESS);
  return copyOut(platform::fromUtf8Lenient(path), nBufferLength, lpBuffer);
}

UINT GetTempFileNameW(LPCWSTR lpPathName, LPCWSTR lpPrefixString, UINT uUnique, LPWSTR lpTempFileName) {
  if (!lpPathName || !lpTempFileName || uUnique != 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  std::string pattern = platform::toUtf8(lpPathName);
  if (pattern.empty() || pattern.back() != '/') pattern += '/';
  // Windows takes at most three characters of the prefix.
  if (lpPrefixString) pattern += platform::toUtf8(std::wstring(lpPrefixString).substr(0, 3));
  pattern += "XXXXXX.TMP";
  const int fd = ::mkostemps(&pattern[0], 4, O_CLOEXEC);
  if (fd < 0) return static_cast<UINT>(failFromErrno());
  ::close(fd);
  const std::wstring name = platform::fromUtf8Lenient(pattern);
  if (name.size() >= MAX_PATH) {
    ::unlink(pattern.c_str());
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  std::wmemcpy(lpTempFileName, name.c_str(), name.size() + 1);
  SetLastError(ERROR_SUCCESS);
  // Windows gives the unique part of the name; here it is random letters, so any non-zero
  // number drawn from them says success.
  UINT unique = 0;
  for (size_t i = pattern.size() - 10; i < pattern.size() - 4; ++i) unique = unique * 31 + static_cast<unsigned char>(pattern[i]);
  return (unique & 0xFFFFu) | 1u;
}

HANDLE CreateFileW(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD, LPSECURITY_ATTRIBUTES,
                   DWORD dwCreationDisposition, DWORD dwFlagsAndAttributes, HANDLE) {
  if (!lpFileName) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  int flags = O_CLOEXEC;
  const bool reads = (dwDesiredAccess & GENERIC_READ) != 0;
  const bool writes = (dwDesiredAccess & GENERIC_WRITE) != 0;
  flags |= reads && writes ? O_RDWR : writes ? O_WRONLY : O_RDONLY;
  switch (dwCreationDisposition) {
    case CREATE_NEW: flags |= O_CREAT | O_EXCL; break;
    case CREATE_ALWAYS: flags |= O_CREAT | O_TRUNC; break;
    case OPEN_EXISTING: break;
    case OPEN_ALWAYS: flags |= O_CREAT; break;
    case TRUNCATE_EXISTING: flags |= O_TRUNC; break;
    default:
      SetLastError(ERROR_INVALID_PARAMETER);
      return INVALID_HANDLE_VALUE;
  }
  const std::string path = platform::toUtf8(lpFileName);
  const int fd = ::open(path.c_str(), flags, 0600);
  if (fd < 0) {
    const int error = errno;
    failFromErrno();
    // Windows tells a missing file in an existing folder from a missing folder.
    if (error == ENOENT) {
      const size_t slash = path.find_last_of('/');
      const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
      struct stat st;
      if (::stat(folder.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) SetLastError(ERROR_FILE_NOT_FOUND);
    }
    return INVALID_HANDLE_VALUE;
  }
  if (dwFlagsAndAttributes & FILE_FLAG_DELETE_ON_CLOSE) ::unlink(path.c_str());
  SetLastError(ERROR_SUCCESS);
  return platform::posix::handleOf(new FileObject(fd));
}

BOOL DeleteFileW(LPCWSTR lpFileName) {
  if (!lpFileName) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (::unlink(platform::toUtf8(lpFileName).c_str()) != 0) return failFromErrno();
  return TRUE;
}

// Moves count bytes through step (read or write) until all are done, the end comes (0) or
// an error other than an interrupted call; done tells how far it got.
template <class Step>
bool transferAll(Step step, DWORD count, DWORD& done) {
  done = 0;
  while (done < count) {
    const ssize_t n = step(done, count - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (n == 0) break;
    done += static_cast<DWORD>(n);
  }
  return true;
}

// The shared part of ReadFile and WriteFile: the handle, no overlapped calls, the loop.
template <class Step>
BOOL fileTransfer(HANDLE hFile, DWORD count, LPDWORD transferred, LPOVERLAPPED overlapped, Step step) {
  if (transferred) *transferred = 0;
  FileObject* file = fileOf(hFile);
  if (!file) return FALSE;
  if (overlapped) {
    SetLastError(ERROR_NOT_SUPPORTED);
    return FALSE;
  }
  DWORD done = 0;
  const bool ok = transferAll([&](DWORD at, DWORD left) { return step(file->fd(), at, left); }, count, done);
  if (transferred) *transferred = done;
  return ok ? TRUE : failFromErrno();
}

// A file read gives all that was asked for unless the end comes first.
BOOL ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead, LPDWORD lpNumberOfBytesRead,
              LPOVERLAPPED lpOverlapped) {
  auto* bytes = static_cast<char*>(lpBuffer);
  return fileTransfer(hFile, nNumberOfBytesToRead, lpNumberOfBytesRead, lpOverlapped,
                      [bytes](int fd, DWORD at, DWORD left) { return ::read(fd, bytes + at, left); });
}

BOOL WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite, LPDWORD lpNumberOfBytesWritten,
               LPOVERLAPPED lpOverlapped) {
  const auto* bytes = static_cast<const char*>(lpBuffer);
  return fileTransfer(hFile, nNumberOfBytesToWrite, lpNumberOfBytesWritten, lpOverlapped,
                      [bytes](int fd, DWORD at, DWORD left) { return ::write(fd, bytes + at, left); });
}

BOOL SetFilePointerEx(HANDLE hFile, LARGE_INTEGER liDistanceToMove, LARGE_INTEGER* lpNewFilePointer,
                      DWORD dwMoveMethod) {
  FileObject* file = fileOf(hFile);
  if (!file) return FALSE;
  int whence;
  switch (dwMoveMethod) {
    case FILE_BEGIN: whence = SEEK_SET; break;
    case FILE_CURRENT: whence = SEEK_CUR; break;
    case FILE_END: whence = SEEK_END; break;
    default:
      SetLastError(ERROR_INVALID_PARAMETER);
      return FALSE;
  }
  if (whence == SEEK_SET && liDistanceToMove.QuadPart < 0) {
    SetLastError(ERROR_NEGATIVE_SEEK);
    return FALSE;
  }
  const off_t at = ::lseek(file->fd(), static_cast<off_t>(liDistanceToMove.QuadPart), whence);
  if (at < 0) {
    if (errno == EINVAL) {
      SetLastError(ERROR_NEGATIVE_SEEK);
      return FALSE;
    }
    return failFromErrno();
  }
  if (lpNewFilePointer) lpNewFilePointer->QuadPart = at;
  return TRUE;
}

BOOL SetEndOfFile(HANDLE hFile) {
  FileObject* file = fileOf(hFile);
  if (!file) return FALSE;
  const off_t at = ::lseek(file->fd(), 0, SEEK_CUR);
  if (at < 0 || ::ftruncate(file->fd(), at) != 0) return failFromErrno();
  return TRUE;
}

BOOL GetFileSizeEx(HANDLE hFile, LARGE_INTEGER* lpFileSize) {
  FileObject* file = fileOf(hFile);
  if (!file) return FALSE;
  struct stat st;
  if (::fstat(file->fd(), &st) != 0) return failFromErrno();
  if (lpFileSize) lpFileSize->QuadPart = st.st_size;
  return TRUE;
}

BOOL GetFileInformationByHandle(HANDLE hFile, LPBY_HANDLE_FILE_INFORMATION lpFileInformation) {
  FileObject* file = fileOf(hFile);
  if (!file) return FALSE;
  if (!lpFileInformation) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  struct stat st;
  if (::fstat(file->fd(), &st) != 0) return failFromErrno();
  BY_HANDLE_FILE_INFORMATION& info = *lpFileInformation;
  std::memset(&info, 0, sizeof info);
  info.dwFileAttributes = FILE_ATTRIBUTE_NORMAL;
  // POSIX keeps no creation time; the change time is the closest.
  info.ftCreationTime = toFileTime(st.st_ctim);
  info.ftLastAccessTime = toFileTime(st.st_atim);
  info.ftLastWriteTime = toFileTime(st.st_mtim);
  info.dwVolumeSerialNumber = static_cast<DWORD>(st.st_dev);
  const auto size = static_cast<uint64_t>(st.st_size);
  info.nFileSizeHigh = static_cast<DWORD>(size >> 32);
  info.nFileSizeLow = static_cast<DWORD>(size);
  info.nNumberOfLinks = static_cast<DWORD>(st.st_nlink);
  info.nFileIndexHigh = static_cast<DWORD>(static_cast<uint64_t>(st.st_ino) >> 32);
  info.nFileIndexLow = static_cast<DWORD>(st.st_ino);
  return TRUE;
}

void GetSystemTimeAsFileTime(LPFILETIME lpSystemTimeAsFileTime) {
  timespec now;
  ::clock_gettime(CLOCK_REALTIME, &now);
  *lpSystemTimeAsFileTime = toFileTime(now);
}
