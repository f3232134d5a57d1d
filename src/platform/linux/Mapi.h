// The MAPI subset the product uses, for the Linux build: memory functions, the property
// structures that cross the store contract, and IMAPIProp. Layouts, tags and IIDs are
// those of the published MAPI headers. There is no MAPI subsystem on Linux: the memory
// functions are supplied by the in-process reference store (src/store/reference).
#pragma once

#include "platform/linux/Com.h"
#include "platform/linux/Types.h"

typedef LONG SCODE;
typedef GUID* LPGUID;
typedef const IID* LPCIID;

#define MAPI_DIM 1

// Defined in platform/MapiGuids.cpp.
extern "C" const IID IID_IMAPISession;
extern "C" const IID IID_IMAPITable;
extern "C" const IID IID_IMAPIProp;
extern "C" const IID IID_IMsgStore;
extern "C" const IID IID_IMAPIContainer;
extern "C" const IID IID_IMAPIFolder;

// The three memory functions and their pointer types. A block from MAPIAllocateMore
// belongs to its root and is freed with it; it must never be freed on its own.
typedef SCODE(STDMETHODCALLTYPE ALLOCATEBUFFER)(ULONG cbSize, LPVOID* lppBuffer);
typedef SCODE(STDMETHODCALLTYPE ALLOCATEMORE)(ULONG cbSize, LPVOID lpObject, LPVOID* lppBuffer);
typedef ULONG(STDMETHODCALLTYPE FREEBUFFER)(LPVOID lpBuffer);
typedef ALLOCATEBUFFER* LPALLOCATEBUFFER;
typedef ALLOCATEMORE* LPALLOCATEMORE;
typedef FREEBUFFER* LPFREEBUFFER;

SCODE STDMETHODCALLTYPE MAPIAllocateBuffer(ULONG cbSize, LPVOID* lppBuffer);
SCODE STDMETHODCALLTYPE MAPIAllocateMore(ULONG cbSize, LPVOID lpObject, LPVOID* lppBuffer);
ULONG STDMETHODCALLTYPE MAPIFreeBuffer(LPVOID lpBuffer);

struct SBinary {
  ULONG cb;
  LPBYTE lpb;
};
typedef SBinary* LPSBinary;

struct SBinaryArray {
  ULONG cValues;
  SBinary* lpbin;
};

struct SPropTagArray {
  ULONG cValues;
  ULONG aulPropTag[MAPI_DIM];
};
typedef SPropTagArray* LPSPropTagArray;

#define PROP_TYPE(ulPropTag) ((ULONG)(ulPropTag)&0xFFFFu)
#define PROP_ID(ulPropTag) (((ULONG)(ulPropTag)) >> 16)
#define PROP_TAG(ulPropType, ulPropID) ((((ULONG)(ulPropID)) << 16) | ((ULONG)(ulPropType)))
#define PT_UNSPECIFIED ((ULONG)0)
#define PT_NULL ((ULONG)1)
#define PT_I2 ((ULONG)2)
#define PT_LONG ((ULONG)3)
#define PT_BOOLEAN ((ULONG)11)
#define PT_OBJECT ((ULONG)13)
#define PT_I8 ((ULONG)20)
#define PT_STRING8 ((ULONG)30)
#define PT_UNICODE ((ULONG)31)
#define PT_SYSTIME ((ULONG)64)
#define PT_CLSID ((ULONG)72)
#define PT_BINARY ((ULONG)258)
#define PT_ERROR ((ULONG)10)

// The value union: every member the product reads, plus the wide ones that fix its size
// (16 bytes on x64, as SBinary and LARGE_INTEGER).
union _PV {
  short int i;
  LONG l;
  ULONG ul;
  float flt;
  double dbl;
  unsigned short int b;
  FILETIME ft;
  LPSTR lpszA;
  SBinary bin;
  LPWSTR lpszW;
  LPGUID lpguid;
  LARGE_INTEGER li;
  SCODE err;
  LONG x;
};

struct SPropValue {
  ULONG ulPropTag;
  ULONG dwAlignPad;
  union _PV Value;
};
typedef SPropValue* LPSPropValue;

struct SPropProblem {
  ULONG ulIndex;
  ULONG ulPropTag;
  SCODE scode;
};
struct SPropProblemArray {
  ULONG cProblem;
  SPropProblem aProblem[MAPI_DIM];
};
typedef SPropProblemArray* LPSPropProblemArray;

// Declared only to complete IMAPIProp's slots; the product never looks inside them.
struct MAPIERROR;
typedef MAPIERROR* LPMAPIERROR;
struct MAPINAMEID;
typedef MAPINAMEID* LPMAPINAMEID;
struct IMAPIProgress;
typedef IMAPIProgress* LPMAPIPROGRESS;

struct IMAPIProp : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetLastError(HRESULT hResult, ULONG ulFlags, LPMAPIERROR* lppMAPIError) = 0;
  virtual HRESULT STDMETHODCALLTYPE SaveChanges(ULONG ulFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetProps(LPSPropTagArray lpPropTagArray, ULONG ulFlags, ULONG* lpcValues,
                                             LPSPropValue* lppPropArray) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetPropList(ULONG ulFlags, LPSPropTagArray* lppPropTagArray) = 0;
  virtual HRESULT STDMETHODCALLTYPE OpenProperty(ULONG ulPropTag, LPCIID lpiid, ULONG ulInterfaceOptions,
                                                 ULONG ulFlags, LPUNKNOWN* lppUnk) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetProps(ULONG cValues, LPSPropValue lpPropArray,
                                             LPSPropProblemArray* lppProblems) = 0;
  virtual HRESULT STDMETHODCALLTYPE DeleteProps(LPSPropTagArray lpPropTagArray, LPSPropProblemArray* lppProblems) = 0;
  virtual HRESULT STDMETHODCALLTYPE CopyTo(ULONG ciidExclude, LPCIID rgiidExclude, LPSPropTagArray lpExcludeProps,
                                           ULONG ulUIParam, LPMAPIPROGRESS lpProgress, LPCIID lpInterface,
                                           LPVOID lpDestObj, ULONG ulFlags, LPSPropProblemArray* lppProblems) = 0;
  virtual HRESULT STDMETHODCALLTYPE CopyProps(LPSPropTagArray lpIncludeProps, ULONG ulUIParam,
                                              LPMAPIPROGRESS lpProgress, LPCIID lpInterface, LPVOID lpDestObj,
                                              ULONG ulFlags, LPSPropProblemArray* lppProblems) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetNamesFromIDs(LPSPropTagArray* lppPropTags, LPGUID lpPropSetGuid,
                                                    ULONG ulFlags, ULONG* lpcPropNames,
                                                    LPMAPINAMEID** lpppPropNames) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetIDsFromNames(ULONG cPropNames, LPMAPINAMEID* lppPropNames, ULONG ulFlags,
                                                    LPSPropTagArray* lppPropTags) = 0;

 protected:
  ~IMAPIProp() = default;
};
typedef IMAPIProp* LPMAPIPROP;

static_assert(sizeof(SBinary) == 2 * sizeof(void*), "SBinary layout");
static_assert(sizeof(SPropValue) == 8 + sizeof(union _PV), "SPropValue layout");
