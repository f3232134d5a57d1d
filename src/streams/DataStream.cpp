#include "streams/DataStream.h"

#include <algorithm>
#include <memory>

#include "base/ComBoundary.h"
#include "streams/AdaptiveStreamData.h"
#include "streams/MemoryStreamData.h"
#include "streams/StreamWrappers.h"
#include "streams/TempFileStreamData.h"

extern "C" const IID IID_IStreamManager = {0x1A5A2A2F, 0x465E, 0x4C08, {0xAD, 0xEC, 0xF3, 0x35, 0x41, 0x23, 0x79, 0x96}};

namespace {
constexpr ULONG kTransferSize = 1000000;
// The only threshold the product uses.
constexpr DWORD kAdaptiveThreshold = 2000000;

IStreamData* checkedData(IStreamData* data) {
  if (!data) ZEL_HERE.raise(E_INVALIDARG);
  return data;
}

template <class Backend>
HRESULT createBackend(DWORD flags, const CLock* lock, IStreamData** out) {
  return Backend::create(flags, lock, out);
}
template <>
HRESULT createBackend<AdaptiveStreamData>(DWORD flags, const CLock* lock, IStreamData** out) {
  return AdaptiveStreamData::create(flags, lock, out, kAdaptiveThreshold);
}
}  // namespace

DataStream::DataStream(DWORD flags, IStreamData* data, ULONGLONG position, const CLock* sharedLock)
    : CLock(sharedLock ? CLock(*sharedLock) : CLock(true)),
      data_(checkedData(data)),
      position_(position),
      listener_(StreamCallbacksImpl<DataStream>::create(this)),
      flags_(flags),
      ownLock_(sharedLock == nullptr) {
  const HRESULT hr = data_->registerCallback(listener_.get(), &cookie_);
  if (FAILED(hr)) {
    listener_->detach();
    ZEL_HERE.raise(hr);
  }
}

DataStream::~DataStream() {
  data_->unregisterCallback(cookie_);
  listener_->detach();
}

void DataStream::finalRelease() {
  if (flags_ & DATASTREAM_COMMIT_ON_RELEASE) Commit(0);
}

HRESULT DataStream::wrap(IStreamData* data, IStream** out, DWORD flags, ULONGLONG position, const CLock* sharedLock) {
  return zelvo::comBoundary([&] {
    if (!out) ZEL_HERE.raise(E_POINTER);
    auto* stream = new DataStream(flags, data, position, sharedLock);
    *out = stream;
    return S_OK;
  });
}

HRESULT DataStream::create(bool commitOnRelease, IStreamData* data, const CLock* lock, IStream** out,
                           const void* initData, ULONG initSize) {
  return zelvo::comBoundary([&] {
    if (!data) ZEL_HERE.raise(E_INVALIDARG);
    if (!out) ZEL_HERE.raise(E_POINTER);
    auto stream = ComRef<DataStream>::adopt(
        new DataStream(commitOnRelease ? DATASTREAM_COMMIT_ON_RELEASE : 0, data, 0, lock));
    stream->init(initData, initSize);
    *out = stream.detach();
    return S_OK;
  });
}

template <class Backend>
HRESULT DataStream::create(bool readOnly, bool autoCommit, bool commitOnRelease, IStream** out, const void* initData,
                           ULONG initSize) {
  return zelvo::comBoundary([&] {
    const CLock lock(true);
    const DWORD flags = (readOnly ? STREAMDATA_READONLY : 0) | (autoCommit ? STREAMDATA_AUTOCOMMIT : 0);
    ComRef<IStreamData> data;
    ZEL_CHECK(createBackend<Backend>(flags, &lock, data.put()));
    ZEL_CHECK(create(commitOnRelease, data.get(), &lock, out, initData, initSize));
    return S_OK;
  });
}

template HRESULT DataStream::create<MemoryStreamData>(bool, bool, bool, IStream**, const void*, ULONG);
template HRESULT DataStream::create<TempFileStreamData>(bool, bool, bool, IStream**, const void*, ULONG);
template HRESULT DataStream::create<AdaptiveStreamData>(bool, bool, bool, IStream**, const void*, ULONG);

void DataStream::init(const void* initData, ULONG initSize) {
  if (!initData || initSize == 0) return;
  CLockGuard guard(this);
  ZEL_CHECK(data_->suspendCallbacks());
  try {
    // Cleared flags let a read-only stream take its initial content.
    DWORD oldFlags = 0;
    ZEL_CHECK(data_->setFlags(0, &oldFlags));
    ZEL_CHECK(data_->write(initData, initSize, 0, nullptr));
    ZEL_CHECK(data_->commit(0));
    ZEL_CHECK(data_->setFlags(oldFlags, nullptr));
  } catch (...) {
    data_->resumeCallbacks();
    throw;
  }
  data_->resumeCallbacks();
}

HRESULT DataStream::QueryInterface(REFIID riid, void** ppv) {
  CLockGuard guard(this);
  return queryList(riid, ppv);
}

HRESULT DataStream::Read(void* pv, ULONG cb, ULONG* pcbRead) {
  CLockGuard guard(this);
  ULONG done = 0;
  const HRESULT hr = data_->read(pv, cb, position_, &done);
  if (SUCCEEDED(hr)) position_ += done;
  if (pcbRead) *pcbRead = SUCCEEDED(hr) ? done : 0;
  return hr;
}

HRESULT DataStream::Write(const void* pv, ULONG cb, ULONG* pcbWritten) {
  CLockGuard guard(this);
  ULONG done = 0;
  const HRESULT hr = data_->write(pv, cb, position_, &done);
  if (SUCCEEDED(hr)) position_ += done;
  if (pcbWritten) *pcbWritten = SUCCEEDED(hr) ? done : 0;
  return hr;
}

HRESULT DataStream::Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    const LONGLONG move = dlibMove.QuadPart;
    ULONGLONG base = 0;
    switch (dwOrigin) {
      case STREAM_SEEK_SET:
        // Any position, also past the end: a write there grows the data.
        position_ = static_cast<ULONGLONG>(move);
        break;
      case STREAM_SEEK_CUR:
        base = position_;
        break;
      case STREAM_SEEK_END:
        ZEL_CHECK(data_->getSize(&base));
        break;
      default:
        ZEL_HERE.raise(STG_E_INVALIDFUNCTION);
    }
    if (dwOrigin != STREAM_SEEK_SET) {
      if (move < 0 && static_cast<ULONGLONG>(-(move + 1)) + 1 > base) ZEL_HERE.raise(STG_E_INVALIDFUNCTION);
      position_ = base + static_cast<ULONGLONG>(move);
    }
    if (plibNewPosition) plibNewPosition->QuadPart = position_;
    return S_OK;
  });
}

// These go straight to the data, which takes the shared lock itself.
HRESULT DataStream::SetSize(ULARGE_INTEGER libNewSize) { return data_->setSize(libNewSize.QuadPart); }
HRESULT DataStream::Commit(DWORD grfCommitFlags) { return data_->commit(grfCommitFlags); }
HRESULT DataStream::Revert() { return data_->revert(); }
HRESULT DataStream::LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) {
  return data_->lockRegion(libOffset.QuadPart, cb.QuadPart, dwLockType);
}
HRESULT DataStream::UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) {
  return data_->unlockRegion(libOffset.QuadPart, cb.QuadPart, dwLockType);
}
HRESULT DataStream::Stat(STATSTG* pstatstg, DWORD grfStatFlag) { return data_->_stat64(pstatstg, grfStatFlag); }

HRESULT DataStream::CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead, ULARGE_INTEGER* pcbWritten) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    if (!pstm) ZEL_HERE.raise(STG_E_INVALIDPOINTER);
    if (pcbRead) pcbRead->QuadPart = 0;
    if (pcbWritten) pcbWritten->QuadPart = 0;
    std::unique_ptr<BYTE[]> buffer(new BYTE[kTransferSize]);
    ULONGLONG remaining = cb.QuadPart;
    while (remaining > 0) {
      const ULONG want = static_cast<ULONG>(std::min<ULONGLONG>(remaining, kTransferSize));
      ULONG got = 0;
      ZEL_CHECK(Read(buffer.get(), want, &got));
      if (got == 0) break;
      ULONG written = 0;
      ZEL_CHECK(pstm->Write(buffer.get(), got, &written));
      // A short write does not stop the copy; only the counts show it.
      remaining -= got;
      if (pcbRead) pcbRead->QuadPart += got;
      if (pcbWritten) pcbWritten->QuadPart += written;
    }
    return S_OK;
  });
}

HRESULT DataStream::Clone(IStream** ppstm) {
  CLockGuard guard(this);
  // A stream with a lock of its own gives its clone a new one; a shared lock is shared on.
  return wrap(data_.get(), ppstm, flags_, position_, ownLock_ ? nullptr : static_cast<const CLock*>(this));
}

HRESULT DataStream::getStreamData(IStreamData** data) {
  if (!data) return E_POINTER;
  return data_->QueryInterface(IID_IStreamData, reinterpret_cast<void**>(data));
}

HRESULT createDataStream(DWORD kind, IStream** out, bool readOnly, bool autoCommit, bool commitOnRelease) {
  switch (kind) {
    case 0: return DataStream::create<MemoryStreamData>(readOnly, autoCommit, commitOnRelease, out, nullptr, 0);
    case 1: return DataStream::create<TempFileStreamData>(readOnly, autoCommit, commitOnRelease, out, nullptr, 0);
    case 2: return DataStream::create<AdaptiveStreamData>(readOnly, autoCommit, commitOnRelease, out, nullptr, 0);
    default: return E_INVALIDARG;
  }
}

HRESULT createWrappedStream(DWORD kind, IStream** out, DWORD wrapperFlag, bool readOnly, bool autoCommit,
                            bool commitOnRelease) {
  if (!out) return E_POINTER;
  ComRef<IStream> stream;
  const HRESULT hr = createDataStream(kind, stream.put(), readOnly, autoCommit, commitOnRelease);
  if (FAILED(hr)) return hr;
  return wrapStream(stream.get(), wrapperFlag, out);
}
