// Stream data that starts in memory, moves itself to a temporary file when it reaches the
// threshold, and back when it shrinks below half of it.
#pragma once

#include "streams/StreamData.h"

class AdaptiveStreamData : public BaseStreamData {
 public:
  enum Kind : DWORD { KindNone = 0, KindMemory = 1, KindTempFile = 2 };

  // No inner object until the first operation needs one.
  static HRESULT create(DWORD flags, const CLock* sharedLock, IStreamData** out, DWORD threshold);

  AdaptiveStreamData(const CLock* sharedLock, DWORD threshold);
  ~AdaptiveStreamData() override;

  HRESULT STDMETHODCALLTYPE read(void* buffer, ULONG count, ULONGLONG offset, ULONG* bytesRead) override;
  HRESULT STDMETHODCALLTYPE write(const void* buffer, ULONG count, ULONGLONG offset, ULONG* bytesWritten) override;
  HRESULT STDMETHODCALLTYPE setSize(ULONGLONG newSize) override;
  HRESULT STDMETHODCALLTYPE commit(DWORD flags) override;
  HRESULT STDMETHODCALLTYPE revert() override;
  // Decides like write, so a lock beyond the threshold moves the data before it fails.
  HRESULT STDMETHODCALLTYPE lockRegion(ULONGLONG offset, ULONGLONG length, DWORD lockType) override;
  HRESULT STDMETHODCALLTYPE unlockRegion(ULONGLONG offset, ULONGLONG length, DWORD lockType) override;
  HRESULT STDMETHODCALLTYPE _stat64(STATSTG* stat, DWORD statFlag) override;
  HRESULT STDMETHODCALLTYPE getSize(ULONGLONG* size) override;
  HRESULT STDMETHODCALLTYPE setFlags(DWORD newFlags, DWORD* oldFlags) override;

  Kind kind() const { return kind_; }

  // From the inner object's listener: passed on with this object as the source, so that
  // listeners keep hearing across a move.
  void dataCommitted(IStreamData* source);
  void dataSizeChanged(IStreamData* source, ULONGLONG newSize);

 private:
  // Makes a back end of the target kind, filled from the present one when copy is set.
  // On failure nothing changes and the data stays where it was.
  void createData(Kind target, bool copy);
  void ensureInner();
  // The move that a write or lock ending at end calls for.
  void prepareForEnd(ULONGLONG end);

  ComRef<IStreamData> inner_;
  DWORD threshold_;
  Kind kind_ = KindNone;
  DWORD cookie_ = 0;
  ComRef<StreamCallbacksImpl<AdaptiveStreamData>> listener_;
};
