// The COM face of stream data: an IStream with a seek position over an IStreamData.
#pragma once

#include "streams/StreamData.h"

extern "C" const IID IID_IStreamManager;

// Reaches the data object under a stream.
struct IStreamManager : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE getStreamData(IStreamData** data) = 0;

 protected:
  ~IStreamManager() = default;
};
ZEL_IUI_INTERFACE(IStreamManager, IID_IStreamManager)

// The stream flag: commit once more at the final Release.
constexpr DWORD DATASTREAM_COMMIT_ON_RELEASE = 4;

class DataStream : public iui_::IUnknownImpl<IStream, iui_::QI<ISequentialStream>, IStreamManager>, public CLock {
 public:
  // Registers a listener on data; a null data raises E_INVALIDARG. Without a shared lock
  // the stream has one of its own.
  DataStream(DWORD flags, IStreamData* data, ULONGLONG position, const CLock* sharedLock);
  ~DataStream() override;

  static HRESULT wrap(IStreamData* data, IStream** out, DWORD flags, ULONGLONG position, const CLock* sharedLock);
  // A stream on data with the initial content written; commitOnRelease sets the flag.
  static HRESULT create(bool commitOnRelease, IStreamData* data, const CLock* lock, IStream** out,
                        const void* initData, ULONG initSize);
  // A stream on a new back end of type Backend (MemoryStreamData, TempFileStreamData or
  // AdaptiveStreamData), which shares one new lock with the stream.
  template <class Backend>
  static HRESULT create(bool readOnly, bool autoCommit, bool commitOnRelease, IStream** out, const void* initData,
                        ULONG initSize);

  // Writes the initial content, even into read-only data, without telling the listeners.
  void init(const void* initData, ULONG initSize);

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;

  HRESULT STDMETHODCALLTYPE Read(void* pv, ULONG cb, ULONG* pcbRead) override;
  HRESULT STDMETHODCALLTYPE Write(const void* pv, ULONG cb, ULONG* pcbWritten) override;
  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) override;
  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER libNewSize) override;
  HRESULT STDMETHODCALLTYPE CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                                   ULARGE_INTEGER* pcbWritten) override;
  HRESULT STDMETHODCALLTYPE Commit(DWORD grfCommitFlags) override;
  HRESULT STDMETHODCALLTYPE Revert() override;
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override;
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override;
  HRESULT STDMETHODCALLTYPE Stat(STATSTG* pstatstg, DWORD grfStatFlag) override;
  HRESULT STDMETHODCALLTYPE Clone(IStream** ppstm) override;

  HRESULT STDMETHODCALLTYPE getStreamData(IStreamData** data) override;

  // For derived streams; nothing happens here.
  virtual void onCommit() {}
  virtual void onSizeChanged(ULONGLONG newSize) {}

  // From the listener on data.
  void dataCommitted(IStreamData*) { onCommit(); }
  void dataSizeChanged(IStreamData*, ULONGLONG newSize) { onSizeChanged(newSize); }

 protected:
  void finalRelease() override;

 private:
  ComRef<IStreamData> data_;
  ULONGLONG position_;
  ComRef<StreamCallbacksImpl<DataStream>> listener_;
  DWORD cookie_ = 0;
  DWORD flags_;
  bool ownLock_;
};

// kind 0 memory, 1 temporary file, 2 adaptive; others E_INVALIDARG.
HRESULT createDataStream(DWORD kind, IStream** out, bool readOnly, bool autoCommit, bool commitOnRelease);
// createDataStream, then wrapStream with the wrapper flag.
HRESULT createWrappedStream(DWORD kind, IStream** out, DWORD wrapperFlag, bool readOnly, bool autoCommit,
                            bool commitOnRelease);
