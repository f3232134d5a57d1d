// Files and temporary files for the Linux build, over POSIX descriptors.
#pragma once

#include "platform/linux/Handles.h"
#include "platform/linux/Types.h"

#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define TRUNCATE_EXISTING 5
#define FILE_ATTRIBUTE_NORMAL 0x00000080u
#define FILE_ATTRIBUTE_TEMPORARY 0x00000100u
#define FILE_FLAG_DELETE_ON_CLOSE 0x04000000u
#define FILE_BEGIN 0
#define FILE_CURRENT 1
#define FILE_END 2

struct OVERLAPPED;
typedef OVERLAPPED* LPOVERLAPPED;

struct BY_HANDLE_FILE_INFORMATION {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD dwVolumeSerialNumber;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  DWORD nNumberOfLinks;
  DWORD nFileIndexHigh;
  DWORD nFileIndexLow;
};
typedef BY_HANDLE_FILE_INFORMATION* LPBY_HANDLE_FILE_INFORMATION;

// $TMPDIR, else /tmp, with a trailing separator as on Windows.
DWORD GetTempPathW(DWORD nBufferLength, LPWSTR lpBuffer);
// uUnique must be 0: the call creates an empty file "<path>/<prefix>XXXXXX.TMP" of its own.
UINT GetTempFileNameW(LPCWSTR lpPathName, LPCWSTR lpPrefixString, UINT uUnique, LPWSTR lpTempFileName);
// Share modes are not enforced. FILE_FLAG_DELETE_ON_CLOSE removes the name at once, so the
// data lives exactly as long as the descriptor, which is what the flag means on Windows.
HANDLE CreateFileW(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                   LPSECURITY_ATTRIBUTES lpSecurityAttributes, DWORD dwCreationDisposition,
                   DWORD dwFlagsAndAttributes, HANDLE hTemplateFile);
BOOL DeleteFileW(LPCWSTR lpFileName);
// Synchronous only: lpOverlapped must be null.
BOOL ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead, LPDWORD lpNumberOfBytesRead,
              LPOVERLAPPED lpOverlapped);
BOOL WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite, LPDWORD lpNumberOfBytesWritten,
               LPOVERLAPPED lpOverlapped);
BOOL SetFilePointerEx(HANDLE hFile, LARGE_INTEGER liDistanceToMove, LARGE_INTEGER* lpNewFilePointer,
                      DWORD dwMoveMethod);
BOOL SetEndOfFile(HANDLE hFile);
BOOL GetFileSizeEx(HANDLE hFile, LARGE_INTEGER* lpFileSize);
BOOL GetFileInformationByHandle(HANDLE hFile, LPBY_HANDLE_FILE_INFORMATION lpFileInformation);

void GetSystemTimeAsFileTime(LPFILETIME lpSystemTimeAsFileTime);
