// Wrappers that make a stream fit to cross an apartment or process boundary: they marshal
// free-threaded and watch their outside clients.
#pragma once

#include "base/HResultException.h"
#include "streams/DataStream.h"
#include "streams/ExternalConnection.h"

template <class Self, class Unknown>
class DravGenericStreamWrapperImpl : public Unknown {
 public:
  // std::exception of any kind, our own included, becomes E_FAIL here.
  static HRESULT createWrapper(IStream* inner, DWORD flag, IStream** out) {
    try {
      if (!out) ZEL_HERE.raise(E_POINTER);
      *out = new Self(inner, flag);
      return S_OK;
    } catch (const std::exception&) {
      return E_FAIL;
    }
  }

  HRESULT STDMETHODCALLTYPE Read(void* pv, ULONG cb, ULONG* pcbRead) override { return inner_->Read(pv, cb, pcbRead); }
  HRESULT STDMETHODCALLTYPE Write(const void* pv, ULONG cb, ULONG* pcbWritten) override {
    return inner_->Write(pv, cb, pcbWritten);
  }
  HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) override {
    return inner_->Seek(dlibMove, dwOrigin, plibNewPosition);
  }
  HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER libNewSize) override { return inner_->SetSize(libNewSize); }
  HRESULT STDMETHODCALLTYPE CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead,
                                   ULARGE_INTEGER* pcbWritten) override {
    return inner_->CopyTo(pstm, cb, pcbRead, pcbWritten);
  }
  HRESULT STDMETHODCALLTYPE Commit(DWORD grfCommitFlags) override { return inner_->Commit(grfCommitFlags); }
  HRESULT STDMETHODCALLTYPE Revert() override { return inner_->Revert(); }
  HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override {
    return inner_->LockRegion(libOffset, cb, dwLockType);
  }
  HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER libOffset, ULARGE_INTEGER cb, DWORD dwLockType) override {
    return inner_->UnlockRegion(libOffset, cb, dwLockType);
  }
  HRESULT STDMETHODCALLTYPE Stat(STATSTG* pstatstg, DWORD grfStatFlag) override {
    return inner_->Stat(pstatstg, grfStatFlag);
  }
  // The clone gets a wrapper of the same kind and flag.
  HRESULT STDMETHODCALLTYPE Clone(IStream** ppstm) override {
    if (!ppstm) return E_POINTER;
    ComRef<IStream> clone;
    const HRESULT hr = inner_->Clone(clone.put());
    if (FAILED(hr)) return hr;
    return createWrapper(clone.get(), flag_, ppstm);
  }

  DWORD flag() const { return flag_; }

 protected:
  DravGenericStreamWrapperImpl(IStream* inner, DWORD flag) : inner_(inner), flag_(flag) {
    if (!inner) ZEL_HERE.raise(E_INVALIDARG);
    IUnknown* self = static_cast<IStream*>(this);
    ZEL_CHECK(CoCreateFreeThreadedMarshaler(self, marshaler_.put()));
    {
      ComRef<IMarshal> check;
      ZEL_CHECK(marshaler_->QueryInterface(IID_IMarshal, check.putVoid()));
    }
    try {
      ZEL_CHECK(flag ? CExternalConnection<true>::create(self, connection_.put())
                     : CExternalConnection<false>::create(self, connection_.put()));
    } catch (const std::bad_alloc&) {
      ZEL_HERE.raise(E_OUTOFMEMORY);
    }
    ComRef<IExternalConnection> check;
    ZEL_CHECK(connection_->QueryInterface(IID_IExternalConnection, check.putVoid()));
  }

  IUnknown* aggregateFor(REFIID riid) override {
    if (IsEqualIID(riid, IID_IMarshal)) return marshaler_.get();
    if (IsEqualIID(riid, IID_IExternalConnection)) return connection_.get();
    return nullptr;
  }

  ComRef<IStream> inner_;
  DWORD flag_;
  ComRef<IUnknown> marshaler_;
  ComRef<IUnknown> connection_;
};

// The wrapper of a plain stream.
class DravGenericStreamWrapper
    : public DravGenericStreamWrapperImpl<
          DravGenericStreamWrapper, iui_::IUnknownImpl<IStream, iui_::QI<ISequentialStream>, iui_::Aggreg<IMarshal>,
                                                       iui_::Aggreg<IExternalConnection>>> {
 public:
  DravGenericStreamWrapper(IStream* inner, DWORD flag) : DravGenericStreamWrapperImpl(inner, flag) {}
};

// The wrapper of a stream over stream data, which it still lets reach.
class DravDataStreamWrapper
    : public DravGenericStreamWrapperImpl<
          DravDataStreamWrapper, iui_::IUnknownImpl<IStream, iui_::QI<ISequentialStream>, IStreamManager,
                                                    iui_::Aggreg<IMarshal>, iui_::Aggreg<IExternalConnection>>> {
 public:
  DravDataStreamWrapper(IStream* inner, DWORD flag) : DravGenericStreamWrapperImpl(inner, flag) {}

  HRESULT STDMETHODCALLTYPE getStreamData(IStreamData** data) override {
    ComRef<IStreamManager> manager;
    const HRESULT hr = inner_->QueryInterface(IID_IStreamManager, manager.putVoid());
    if (FAILED(hr)) return hr;
    return manager->getStreamData(data);
  }
};

// Wraps with the data wrapper when the stream reaches stream data, else the generic one.
HRESULT wrapStream(IStream* stream, DWORD flag, IStream** out);
