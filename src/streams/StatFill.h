// The statistics record that every back end fills the same way.
#pragma once

#include <cstring>

#include "base/HResultException.h"
#include "platform/Win32.h"

namespace details {

inline FILETIME toFileTime(ULONGLONG ticks) {
  return FILETIME{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// A stream, read-write and exclusive, with no name whatever the flag asks.
inline void fillStat(STATSTG* stat, DWORD statFlag, ULONGLONG size, ULONGLONG modified, ULONGLONG created,
                     ULONGLONG accessed) {
  if (!stat) ZEL_HERE.raise(STG_E_INVALIDPOINTER);
  if (statFlag != STATFLAG_DEFAULT && statFlag != STATFLAG_NONAME) ZEL_HERE.raise(STG_E_INVALIDFLAG);
  std::memset(stat, 0, sizeof *stat);
  stat->type = STGTY_STREAM;
  stat->cbSize.QuadPart = size;
  stat->mtime = toFileTime(modified);
  stat->ctime = toFileTime(created);
  stat->atime = toFileTime(accessed);
  stat->grfMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
}

inline ULONGLONG fromFileTime(const FILETIME& time) {
  return (static_cast<ULONGLONG>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

}  // namespace details
