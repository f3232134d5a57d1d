// COM threading and marshaling for the Linux build.
//
// Linux has no COM run time and no other process can reach our objects, so these are the
// smallest honest equivalents: apartments are only counted per thread, the free-threaded
// marshaler hands out raw pointers within the process, and CoDisconnectObject asks the
// object's own IMarshal to cut its clients off, as COM does for custom marshaling.
#pragma once

#include "platform/linux/Com.h"
#include "platform/linux/Storage.h"
#include "platform/linux/Types.h"

extern "C" const IID IID_IMarshal;
extern "C" const IID IID_IExternalConnection;
extern "C" const CLSID CLSID_InProcFreeMarshaler;

enum COINIT { COINIT_MULTITHREADED = 0x0, COINIT_APARTMENTTHREADED = 0x2 };
enum MSHCTX { MSHCTX_LOCAL = 0, MSHCTX_NOSHAREDMEM = 1, MSHCTX_DIFFERENTMACHINE = 2, MSHCTX_INPROC = 3,
              MSHCTX_CROSSCTX = 4 };
enum MSHLFLAGS { MSHLFLAGS_NORMAL = 0, MSHLFLAGS_TABLESTRONG = 1, MSHLFLAGS_TABLEWEAK = 2 };
enum EXTCONN { EXTCONN_STRONG = 0x1, EXTCONN_WEAK = 0x2, EXTCONN_CALLABLE = 0x4 };

struct IMarshal : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetUnmarshalClass(REFIID riid, void* pv, DWORD dwDestContext,
                                                      void* pvDestContext, DWORD mshlflags, CLSID* pCid) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetMarshalSizeMax(REFIID riid, void* pv, DWORD dwDestContext,
                                                      void* pvDestContext, DWORD mshlflags, DWORD* pSize) = 0;
  virtual HRESULT STDMETHODCALLTYPE MarshalInterface(IStream* pStm, REFIID riid, void* pv, DWORD dwDestContext,
                                                     void* pvDestContext, DWORD mshlflags) = 0;
  virtual HRESULT STDMETHODCALLTYPE UnmarshalInterface(IStream* pStm, REFIID riid, void** ppv) = 0;
  virtual HRESULT STDMETHODCALLTYPE ReleaseMarshalData(IStream* pStm) = 0;
  virtual HRESULT STDMETHODCALLTYPE DisconnectObject(DWORD dwReserved) = 0;

 protected:
  ~IMarshal() = default;
};

struct IExternalConnection : IUnknown {
  virtual DWORD STDMETHODCALLTYPE AddConnection(DWORD extconn, DWORD reserved) = 0;
  virtual DWORD STDMETHODCALLTYPE ReleaseConnection(DWORD extconn, DWORD reserved, BOOL fLastReleaseCloses) = 0;

 protected:
  ~IExternalConnection() = default;
};

// S_OK on a thread's first call, S_FALSE on later ones with the same model,
// RPC_E_CHANGED_MODE for another model. Each success is paired with CoUninitialize.
HRESULT CoInitializeEx(LPVOID pvReserved, DWORD dwCoInit);
void CoUninitialize();

// An aggregable marshaler for punkOuter that marshals only within the process
// (MSHCTX_INPROC): the stream carries the interface pointer itself.
HRESULT CoCreateFreeThreadedMarshaler(LPUNKNOWN punkOuter, LPUNKNOWN* ppunkMarshal);
// Calls DisconnectObject of the object's IMarshal, if it has one.
HRESULT CoDisconnectObject(LPUNKNOWN pUnk, DWORD dwReserved);
