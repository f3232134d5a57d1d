// Basic Win32 types for the Linux build, with the sizes of the Windows x64 ABI where that
// matters for layouts (LONG and DWORD are 32 bits wide there).
#pragma once

#include <cstddef>
#include <cstdint>
#include <algorithm>
#include <cwchar>

typedef int32_t HRESULT;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef uint32_t DWORD;
typedef uint16_t WORD;
typedef uint8_t BYTE;
typedef int BOOL;
typedef int32_t INT;
typedef uint32_t UINT;
typedef int16_t SHORT;
typedef uint16_t USHORT;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;
typedef int64_t LONG_PTR;
typedef uint64_t ULONG_PTR;
typedef uint64_t DWORD_PTR;
typedef ULONG_PTR SIZE_T;
typedef wchar_t WCHAR;
typedef char CHAR;
typedef WCHAR* LPWSTR;
typedef const WCHAR* LPCWSTR;
typedef char* LPSTR;
typedef const char* LPCSTR;
typedef void* LPVOID;
typedef const void* LPCVOID;
typedef BYTE* LPBYTE;
typedef DWORD* LPDWORD;
typedef void* HANDLE;
typedef struct HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;
typedef struct HWND__* HWND;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif
#define STDMETHODCALLTYPE
#define WINAPI
#define MAX_PATH 260

#define SUCCEEDED(hr) (static_cast<HRESULT>(hr) >= 0)
#define FAILED(hr) (static_cast<HRESULT>(hr) < 0)
#define HRESULT_CODE(hr) ((hr) & 0xFFFF)
#define HRESULT_FACILITY(hr) (((hr) >> 16) & 0x1FFF)
#define SEVERITY_SUCCESS 0
#define SEVERITY_ERROR 1
#define FACILITY_NULL 0
#define FACILITY_RPC 1
#define FACILITY_STORAGE 3
#define FACILITY_ITF 4
#define FACILITY_WIN32 7
#define MAKE_HRESULT(sev, fac, code) \
  static_cast<HRESULT>((static_cast<uint32_t>(sev) << 31) | (static_cast<uint32_t>(fac) << 16) | static_cast<uint32_t>(code))
#define MAKE_SCODE(sev, fac, code) MAKE_HRESULT(sev, fac, code)

inline HRESULT HRESULT_FROM_WIN32(unsigned long x) {
  return static_cast<HRESULT>(x) <= 0 ? static_cast<HRESULT>(x)
                                      : static_cast<HRESULT>((x & 0x0000FFFFu) | (FACILITY_WIN32 << 16) | 0x80000000u);
}

struct GUID {
  uint32_t Data1;
  uint16_t Data2;
  uint16_t Data3;
  uint8_t Data4[8];
};
typedef GUID IID;
typedef GUID CLSID;
typedef const GUID& REFGUID;
typedef const IID& REFIID;
typedef const CLSID& REFCLSID;

inline bool IsEqualGUID(REFGUID a, REFGUID b) {
  return a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3 &&
         std::equal(a.Data4, a.Data4 + 8, b.Data4);
}
#define IsEqualIID(a, b) IsEqualGUID(a, b)
#define IsEqualCLSID(a, b) IsEqualGUID(a, b)
inline bool operator==(REFGUID a, REFGUID b) { return IsEqualGUID(a, b); }
inline bool operator!=(REFGUID a, REFGUID b) { return !IsEqualGUID(a, b); }

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};
typedef FILETIME* LPFILETIME;

struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek;
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};
typedef SYSTEMTIME* LPSYSTEMTIME;

union LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
};
union ULARGE_INTEGER {
  struct {
    DWORD LowPart;
    DWORD HighPart;
  } u;
  ULONGLONG QuadPart;
};

static_assert(sizeof(GUID) == 16, "GUID layout");
static_assert(sizeof(FILETIME) == 8, "FILETIME layout");
static_assert(sizeof(SYSTEMTIME) == 16, "SYSTEMTIME layout");
