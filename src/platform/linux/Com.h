// The COM basics for the Linux build: IUnknown, BSTR with its length prefix, GUIDs.
#pragma once

#include "platform/linux/Types.h"

typedef WCHAR OLECHAR;
typedef OLECHAR* LPOLESTR;
typedef const OLECHAR* LPCOLESTR;
typedef OLECHAR* BSTR;
typedef short VARIANT_BOOL;
#define VARIANT_TRUE (static_cast<VARIANT_BOOL>(-1))
#define VARIANT_FALSE (static_cast<VARIANT_BOOL>(0))

// The IIDs of the standard interfaces; defined in platform/linux/Com.cpp.
extern "C" const IID IID_IUnknown;

struct IUnknown {
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) = 0;
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE Release() = 0;

 protected:
  ~IUnknown() = default;
};
typedef IUnknown* LPUNKNOWN;

// A BSTR points at its first character; the byte length (without the terminator) is
// stored in the 32-bit word before it, and a terminating zero character follows.
BSTR SysAllocString(const OLECHAR* psz);
BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui);
BSTR SysAllocStringByteLen(LPCSTR psz, UINT len);
void SysFreeString(BSTR bstrString);
UINT SysStringLen(BSTR pbstr);
UINT SysStringByteLen(BSTR bstr);
INT SysReAllocString(BSTR* pbstr, const OLECHAR* psz);

HRESULT CoCreateGuid(GUID* pguid);
void* CoTaskMemAlloc(SIZE_T cb);
void CoTaskMemFree(void* pv);
