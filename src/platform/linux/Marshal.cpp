#include <atomic>
#include <new>
#include <cstring>

#include "platform/Win32.h"

extern "C" const IID IID_ISequentialStream = {0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};
extern "C" const IID IID_IStream = {0x0000000C, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
extern "C" const IID IID_IMarshal = {0x00000003, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
extern "C" const IID IID_IExternalConnection = {0x00000019, 0x0000, 0x0000,
                                                {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
extern "C" const CLSID CLSID_InProcFreeMarshaler = {0x0000033A, 0x0000, 0x0000,
                                                    {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

namespace {

struct Apartment {
  unsigned count = 0;
  DWORD model = 0;
};
thread_local Apartment apartment;

// The marshaler is aggregated: its IMarshal face delegates IUnknown to the outer object,
// and a separate inner IUnknown owns the marshaler's life.
class FreeThreadedMarshaler : public IMarshal {
 public:
  explicit FreeThreadedMarshaler(IUnknown* outer) : outer_(outer ? outer : &inner_), inner_(this) {}

  virtual ~FreeThreadedMarshaler() = default;
  IUnknown* inner() { return &inner_; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override { return outer_->QueryInterface(riid, ppv); }
  ULONG STDMETHODCALLTYPE AddRef() override { return outer_->AddRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return outer_->Release(); }

  HRESULT STDMETHODCALLTYPE GetUnmarshalClass(REFIID, void*, DWORD dwDestContext, void*, DWORD,
                                              CLSID* pCid) override {
    if (!pCid) return E_POINTER;
    if (dwDestContext != MSHCTX_INPROC) return E_NOTIMPL;
    *pCid = CLSID_InProcFreeMarshaler;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetMarshalSizeMax(REFIID, void*, DWORD dwDestContext, void*, DWORD,
                                              DWORD* pSize) override {
    if (!pSize) return E_POINTER;
    if (dwDestContext != MSHCTX_INPROC) return E_NOTIMPL;
    *pSize = sizeof(void*);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE MarshalInterface(IStream* pStm, REFIID riid, void* pv, DWORD dwDestContext, void*,
                                             DWORD) override {
    if (!pStm || !pv) return E_INVALIDARG;
    if (dwDestContext != MSHCTX_INPROC) return E_NOTIMPL;
    void* object = nullptr;
    HRESULT hr = static_cast<IUnknown*>(pv)->QueryInterface(riid, &object);
    if (FAILED(hr)) return hr;
    // The reference taken here travels with the stream until it is unmarshalled.
    hr = pStm->Write(&object, sizeof object, nullptr);
    if (FAILED(hr)) static_cast<IUnknown*>(object)->Release();
    return hr;
  }
  HRESULT STDMETHODCALLTYPE UnmarshalInterface(IStream* pStm, REFIID riid, void** ppv) override {
    if (!pStm || !ppv) return E_INVALIDARG;
    *ppv = nullptr;
    void* object = nullptr;
    ULONG got = 0;
    HRESULT hr = pStm->Read(&object, sizeof object, &got);
    if (FAILED(hr)) return hr;
    if (got != sizeof object || !object) return E_UNEXPECTED;
    hr = static_cast<IUnknown*>(object)->QueryInterface(riid, ppv);
    static_cast<IUnknown*>(object)->Release();
    return hr;
  }
  HRESULT STDMETHODCALLTYPE ReleaseMarshalData(IStream* pStm) override {
    if (!pStm) return E_INVALIDARG;
    void* object = nullptr;
    ULONG got = 0;
    const HRESULT hr = pStm->Read(&object, sizeof object, &got);
    if (FAILED(hr)) return hr;
    if (got != sizeof object || !object) return E_UNEXPECTED;
    static_cast<IUnknown*>(object)->Release();
    return S_OK;
  }
  // In-process clients hold direct pointers; there is no proxy to cut.
  HRESULT STDMETHODCALLTYPE DisconnectObject(DWORD) override { return S_OK; }

 private:
  class Inner : public IUnknown {
   public:
    explicit Inner(FreeThreadedMarshaler* owner) : owner_(owner) {}
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
      if (!ppv) return E_POINTER;
      if (riid == IID_IUnknown) {
        *ppv = this;
      } else if (riid == IID_IMarshal) {
        *ppv = static_cast<IMarshal*>(owner_);
      } else {
        *ppv = nullptr;
        return E_NOINTERFACE;
      }
      static_cast<IUnknown*>(*ppv)->AddRef();
      return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++count_; }
    ULONG STDMETHODCALLTYPE Release() override {
      const ULONG left = --count_;
      if (left == 0) delete owner_;
      return left;
    }

   private:
    FreeThreadedMarshaler* owner_;
    std::atomic<ULONG> count_{1};
  };

  IUnknown* outer_;
  Inner inner_;
};

}  // namespace

HRESULT CoInitializeEx(LPVOID, DWORD dwCoInit) {
  const DWORD model = dwCoInit & COINIT_APARTMENTTHREADED;
  if (apartment.count > 0 && apartment.model != model) return RPC_E_CHANGED_MODE;
  apartment.model = model;
  return apartment.count++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize() {
  if (apartment.count > 0) --apartment.count;
}

HRESULT CoCreateFreeThreadedMarshaler(LPUNKNOWN punkOuter, LPUNKNOWN* ppunkMarshal) {
  if (!ppunkMarshal) return E_INVALIDARG;
  auto* marshaler = new (std::nothrow) FreeThreadedMarshaler(punkOuter);
  if (!marshaler) {
    *ppunkMarshal = nullptr;
    return E_OUTOFMEMORY;
  }
  *ppunkMarshal = marshaler->inner();
  return S_OK;
}

HRESULT CoDisconnectObject(LPUNKNOWN pUnk, DWORD dwReserved) {
  if (!pUnk) return E_INVALIDARG;
  IMarshal* marshal = nullptr;
  if (FAILED(pUnk->QueryInterface(IID_IMarshal, reinterpret_cast<void**>(&marshal))) || !marshal) return S_OK;
  const HRESULT hr = marshal->DisconnectObject(dwReserved);
  marshal->Release();
  return hr;
}
