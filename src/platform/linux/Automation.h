// Automation for the Linux build: IDispatch, VARIANT and its helpers, DISPPARAMS,
// EXCEPINFO, SAFEARRAY, connection points and IPictureDisp, with the layouts, IIDs and
// values of the published headers.
//
// The VARIANT helpers know the types that cross our own interfaces and the host's: the
// integers, bool, double, BSTR, IUnknown, IDispatch and references to them. Other types
// answer DISP_E_BADVARTYPE.
#pragma once

#include "platform/linux/Com.h"
#include "platform/linux/Types.h"

typedef LONG DISPID;
typedef DISPID MEMBERID;
typedef DWORD LCID;
typedef unsigned short VARTYPE;
typedef double DATE;
typedef float FLOAT;
typedef double DOUBLE;
typedef LONG SCODE;
typedef void* PVOID;

#define LOCALE_USER_DEFAULT (static_cast<LCID>(0x0400))
#define LOCALE_SYSTEM_DEFAULT (static_cast<LCID>(0x0800))

#define DISPID_UNKNOWN (-1)
#define DISPID_VALUE 0
#define DISPID_PROPERTYPUT (-3)
#define DISPID_NEWENUM (-4)

#define DISPATCH_METHOD 0x1
#define DISPATCH_PROPERTYGET 0x2
#define DISPATCH_PROPERTYPUT 0x4
#define DISPATCH_PROPERTYPUTREF 0x8

// VariantChangeType flags.
#define VARIANT_NOVALUEPROP 0x01
#define VARIANT_ALPHABOOL 0x02

enum VARENUM {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_R4 = 4,
  VT_R8 = 5,
  VT_CY = 6,
  VT_DATE = 7,
  VT_BSTR = 8,
  VT_DISPATCH = 9,
  VT_ERROR = 10,
  VT_BOOL = 11,
  VT_VARIANT = 12,
  VT_UNKNOWN = 13,
  VT_DECIMAL = 14,
  VT_I1 = 16,
  VT_UI1 = 17,
  VT_UI2 = 18,
  VT_UI4 = 19,
  VT_I8 = 20,
  VT_UI8 = 21,
  VT_INT = 22,
  VT_UINT = 23,
  VT_VOID = 24,
  VT_HRESULT = 25,
  VT_ARRAY = 0x2000,
  VT_BYREF = 0x4000,
  VT_TYPEMASK = 0xfff
};

union CY {
  struct {
    ULONG Lo;
    LONG Hi;
  };
  LONGLONG int64;
};

struct DECIMAL {
  USHORT wReserved;
  BYTE scale;
  BYTE sign;
  ULONG Hi32;
  ULONGLONG Lo64;
};

struct SAFEARRAYBOUND {
  ULONG cElements;
  LONG lLbound;
};

struct SAFEARRAY {
  USHORT cDims;
  USHORT fFeatures;
  ULONG cbElements;
  ULONG cLocks;
  PVOID pvData;
  SAFEARRAYBOUND rgsabound[1];
};
typedef SAFEARRAY* LPSAFEARRAY;

struct IDispatch;
struct ITypeInfo;
struct IRecordInfo;

// The members are reached directly (v.vt, v.lVal), as with the SDK's nameless unions.
struct VARIANT {
  union {
    struct {
      VARTYPE vt;
      WORD wReserved1;
      WORD wReserved2;
      WORD wReserved3;
      union {
        LONGLONG llVal;
        LONG lVal;
        BYTE bVal;
        SHORT iVal;
        FLOAT fltVal;
        DOUBLE dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        CY cyVal;
        DATE date;
        BSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        SAFEARRAY* parray;
        BYTE* pbVal;
        SHORT* piVal;
        LONG* plVal;
        LONGLONG* pllVal;
        FLOAT* pfltVal;
        DOUBLE* pdblVal;
        VARIANT_BOOL* pboolVal;
        SCODE* pscode;
        BSTR* pbstrVal;
        IUnknown** ppunkVal;
        IDispatch** ppdispVal;
        SAFEARRAY** pparray;
        VARIANT* pvarVal;
        PVOID byref;
        CHAR cVal;
        USHORT uiVal;
        ULONG ulVal;
        ULONGLONG ullVal;
        INT intVal;
        UINT uintVal;
        INT* pintVal;
        UINT* puintVal;
        ULONG* pulVal;
        struct {
          PVOID pvRecord;
          IRecordInfo* pRecInfo;
        };
      };
    };
    DECIMAL decVal;
  };
};
typedef VARIANT VARIANTARG;
typedef VARIANT* LPVARIANT;
typedef VARIANTARG* LPVARIANTARG;

struct DISPPARAMS {
  VARIANTARG* rgvarg;
  DISPID* rgdispidNamedArgs;
  UINT cArgs;
  UINT cNamedArgs;
};

struct EXCEPINFO {
  WORD wCode;
  WORD wReserved;
  BSTR bstrSource;
  BSTR bstrDescription;
  BSTR bstrHelpFile;
  DWORD dwHelpContext;
  PVOID pvReserved;
  HRESULT(STDMETHODCALLTYPE* pfnDeferredFillIn)(EXCEPINFO*);
  SCODE scode;
};
typedef EXCEPINFO* LPEXCEPINFO;

// Defined in platform/linux/Automation.cpp.
extern "C" const IID IID_NULL;
extern "C" const IID IID_IDispatch;
extern "C" const IID IID_IConnectionPointContainer;
extern "C" const IID IID_IConnectionPoint;
extern "C" const IID IID_IEnumConnections;
extern "C" const IID IID_IEnumConnectionPoints;
extern "C" const IID IID_IPictureDisp;

struct IDispatch : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* pctinfo) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID lcid,
                                                  DISPID* rgDispId) = 0;
  virtual HRESULT STDMETHODCALLTYPE Invoke(DISPID dispIdMember, REFIID riid, LCID lcid, WORD wFlags,
                                           DISPPARAMS* pDispParams, VARIANT* pVarResult, EXCEPINFO* pExcepInfo,
                                           UINT* puArgErr) = 0;

 protected:
  ~IDispatch() = default;
};
typedef IDispatch* LPDISPATCH;

// A picture handed to the host (button faces); the host reads it through its dispatch face.
struct IPictureDisp : public IDispatch {
 protected:
  ~IPictureDisp() = default;
};

struct CONNECTDATA {
  IUnknown* pUnk;
  DWORD dwCookie;
};
typedef CONNECTDATA* LPCONNECTDATA;

struct IConnectionPoint;
struct IConnectionPointContainer;

struct IEnumConnections : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Next(ULONG cConnections, LPCONNECTDATA rgcd, ULONG* pcFetched) = 0;
  virtual HRESULT STDMETHODCALLTYPE Skip(ULONG cConnections) = 0;
  virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
  virtual HRESULT STDMETHODCALLTYPE Clone(IEnumConnections** ppEnum) = 0;

 protected:
  ~IEnumConnections() = default;
};

struct IEnumConnectionPoints : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Next(ULONG cConnections, IConnectionPoint** ppCP, ULONG* pcFetched) = 0;
  virtual HRESULT STDMETHODCALLTYPE Skip(ULONG cConnections) = 0;
  virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
  virtual HRESULT STDMETHODCALLTYPE Clone(IEnumConnectionPoints** ppEnum) = 0;

 protected:
  ~IEnumConnectionPoints() = default;
};

struct IConnectionPoint : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* pIID) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** ppCPC) = 0;
  virtual HRESULT STDMETHODCALLTYPE Advise(IUnknown* pUnkSink, DWORD* pdwCookie) = 0;
  virtual HRESULT STDMETHODCALLTYPE Unadvise(DWORD dwCookie) = 0;
  virtual HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** ppEnum) = 0;

 protected:
  ~IConnectionPoint() = default;
};

struct IConnectionPointContainer : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** ppEnum) = 0;
  virtual HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID riid, IConnectionPoint** ppCP) = 0;

 protected:
  ~IConnectionPointContainer() = default;
};

void VariantInit(VARIANTARG* pvarg);
HRESULT VariantClear(VARIANTARG* pvarg);
// The sources are not const, as in the cross compiler's headers, so that code written
// here builds there too.
HRESULT VariantCopy(VARIANTARG* pvargDest, VARIANTARG* pvargSrc);
HRESULT VariantChangeType(VARIANTARG* pvargDest, VARIANTARG* pvarSrc, USHORT wFlags, VARTYPE vt);

// Comparing two BSTRs. There are no locale tables on Linux: the comparison is by code
// point whatever the locale, and NORM_IGNORECASE folds the letters that towlower folds.
// A null BSTR compares as an empty one.
#define VARCMP_LT 0
#define VARCMP_EQ 1
#define VARCMP_GT 2
#define VARCMP_NULL 3
#define NORM_IGNORECASE 0x00000001
HRESULT VarBstrCmp(BSTR bstrLeft, BSTR bstrRight, LCID lcid, ULONG dwFlags);

static_assert(sizeof(VARIANT) == 8 + 2 * sizeof(void*), "VARIANT layout");
static_assert(sizeof(DISPPARAMS) == 2 * sizeof(void*) + 8, "DISPPARAMS layout");
