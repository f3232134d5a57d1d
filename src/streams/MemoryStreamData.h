// Stream data in one growing heap block.
#pragma once

#include "streams/StreamData.h"

class MemoryStreamData : public BaseStreamData {
 public:
  // Hands out a new object with the flags applied; E_POINTER for a null out.
  static HRESULT create(DWORD flags, const CLock* sharedLock, IStreamData** out);

  explicit MemoryStreamData(const CLock* sharedLock);
  ~MemoryStreamData() override;

  HRESULT STDMETHODCALLTYPE read(void* buffer, ULONG count, ULONGLONG offset, ULONG* bytesRead) override;
  HRESULT STDMETHODCALLTYPE write(const void* buffer, ULONG count, ULONGLONG offset, ULONG* bytesWritten) override;
  // Beyond the capacity this only reserves room: the size stays until a write or a
  // repeated setSize. Callers rely on that.
  HRESULT STDMETHODCALLTYPE setSize(ULONGLONG newSize) override;
  HRESULT STDMETHODCALLTYPE commit(DWORD flags) override;
  HRESULT STDMETHODCALLTYPE revert() override;
  HRESULT STDMETHODCALLTYPE lockRegion(ULONGLONG offset, ULONGLONG length, DWORD lockType) override;
  HRESULT STDMETHODCALLTYPE unlockRegion(ULONGLONG offset, ULONGLONG length, DWORD lockType) override;
  HRESULT STDMETHODCALLTYPE _stat64(STATSTG* stat, DWORD statFlag) override;
  HRESULT STDMETHODCALLTYPE getSize(ULONGLONG* size) override;

  ULONGLONG capacity() const { return capacity_; }

  // The capacity after a write of count bytes into a block of the given capacity:
  // a fixed step of 1024 while small, doubling up to 2,500,000, then steps of 5,000,000.
  static ULONGLONG grownCapacity(ULONGLONG capacity, ULONG count);

 private:
  // Grows the block to exactly newCapacity; 4 GiB or more, or no memory, is
  // STG_E_MEDIUMFULL.
  void allocate(ULONGLONG newCapacity);
  static ULONGLONG now();

  bool dirty_ = false;
  BYTE* buffer_ = nullptr;
  ULONGLONG size_ = 0;
  ULONGLONG capacity_ = 0;
  ULONGLONG modified_;
  ULONGLONG accessed_;
  ULONGLONG created_;
};
