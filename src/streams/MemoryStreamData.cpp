#include "streams/MemoryStreamData.h"

#include <cstdlib>
#include <cstring>

#include "base/ComBoundary.h"
#include "streams/StatFill.h"

namespace {
constexpr ULONGLONG kMaxBlock = 0x100000000ull;
}  // namespace

HRESULT MemoryStreamData::create(DWORD flags, const CLock* sharedLock, IStreamData** out) {
  return zelvo::comBoundary([&] {
    if (!out) ZEL_HERE.raise(E_POINTER);
    auto data = ComRef<MemoryStreamData>::adopt(new MemoryStreamData(sharedLock));
    ZEL_CHECK(data->setFlags(flags, nullptr));
    *out = data.detach();
    return S_OK;
  });
}

MemoryStreamData::MemoryStreamData(const CLock* sharedLock) : BaseStreamData(sharedLock) {
  modified_ = accessed_ = created_ = now();
}

MemoryStreamData::~MemoryStreamData() { std::free(buffer_); }

ULONGLONG MemoryStreamData::now() {
  FILETIME time;
  GetSystemTimeAsFileTime(&time);
  return (static_cast<ULONGLONG>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

ULONGLONG MemoryStreamData::grownCapacity(ULONGLONG capacity, ULONG count) {
  const ULONGLONG n = capacity + count + 1;
  if (n > 2500000) return n + 5000000;
  if (n >= 1024) return n * 2;
  return n + 1024;
}

void MemoryStreamData::allocate(ULONGLONG newCapacity) {
  try {
    if (newCapacity >= kMaxBlock) ZEL_HERE.raise(E_OUTOFMEMORY);
    auto* grown = static_cast<BYTE*>(std::realloc(buffer_, static_cast<size_t>(newCapacity)));
    if (!grown && newCapacity != 0) ZEL_HERE.raise(E_OUTOFMEMORY);
    // Fresh room reads as zeros, never as stale heap.
    if (grown && newCapacity > capacity_) std::memset(grown + capacity_, 0, static_cast<size_t>(newCapacity - capacity_));
    buffer_ = grown;
    capacity_ = newCapacity;
  } catch (const HResultException&) {
    ZEL_HERE.raise(STG_E_MEDIUMFULL);
  }
  if (size_ > capacity_) {
    size_ = capacity_;
    callbacks_.notifySizeChanged(this, size_);
  }
}

HRESULT MemoryStreamData::read(void* buffer, ULONG count, ULONGLONG offset, ULONG* bytesRead) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    if (!buffer) ZEL_HERE.raise(STG_E_INVALIDPOINTER);
    ULONG done = 0;
    if (offset < size_) {
      done = static_cast<ULONG>(std::min<ULONGLONG>(count, size_ - offset));
      if (done > 0) std::memcpy(buffer, buffer_ + offset, done);
    }
    accessed_ = now();
    if (bytesRead) *bytesRead = done;
    return S_OK;
  });
}

HRESULT MemoryStreamData::write(const void* buffer, ULONG count, ULONGLONG offset, ULONG* bytesWritten) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    if (!buffer) ZEL_HERE.raise(STG_E_INVALIDPOINTER);
    if (readOnly()) ZEL_HERE.raise(STG_E_ACCESSDENIED);
    const ULONGLONG end = offset + count;
    if (end > capacity_) {
      // The step looks at the capacity and the count only; a write far past the end
      // still gets room for all of itself.
      allocate(std::max(grownCapacity(capacity_, count), end));
    }
    // An empty write into an empty store has no block to copy into.
    if (count > 0) std::memcpy(buffer_ + offset, buffer, count);
    dirty_ = true;
    if (bytesWritten) *bytesWritten = count;
    if (end > size_) {
      size_ = end;
      callbacks_.notifySizeChanged(this, size_);
    }
    modified_ = accessed_ = now();
    autoCommit();
    return S_OK;
  });
}

HRESULT MemoryStreamData::setSize(ULONGLONG newSize) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    if (readOnly()) ZEL_HERE.raise(STG_E_ACCESSDENIED);
    if (newSize <= capacity_) {
      size_ = newSize;
      callbacks_.notifySizeChanged(this, size_);
    } else {
      allocate(newSize);
    }
    dirty_ = true;
    modified_ = accessed_ = now();
    autoCommit();
    return S_OK;
  });
}

HRESULT MemoryStreamData::commit(DWORD) {
  CLockGuard guard(this);
  if (dirty_ && !readOnly()) {
    accessed_ = now();
    callbacks_.notifyCommit(this);
    dirty_ = false;
  }
  return S_OK;
}

HRESULT MemoryStreamData::revert() {
  CLockGuard guard(this);
  accessed_ = now();
  return S_OK;
}

HRESULT MemoryStreamData::lockRegion(ULONGLONG, ULONGLONG, DWORD) { return STG_E_INVALIDFUNCTION; }

HRESULT MemoryStreamData::unlockRegion(ULONGLONG, ULONGLONG, DWORD) { return STG_E_INVALIDFUNCTION; }

HRESULT MemoryStreamData::_stat64(STATSTG* stat, DWORD statFlag) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    details::fillStat(stat, statFlag, size_, modified_, created_, accessed_);
    return S_OK;
  });
}

HRESULT MemoryStreamData::getSize(ULONGLONG* size) {
  CLockGuard guard(this);
  if (!size) return E_POINTER;
  *size = size_;
  return S_OK;
}
