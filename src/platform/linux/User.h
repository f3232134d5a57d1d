// Modules, resources, message boxes and OLE pictures for the Linux build. A Linux program
// loads no Windows libraries, so LoadLibraryExW fails as it does for a missing file; the
// program's own resources are those compiled into it and registered at start-up
// (platform::registerResource), as the version block is. There is no display: a message
// box cannot be shown and there are no icons or bitmaps to load.
#pragma once

#include <string>
#include <vector>

#include "platform/linux/Automation.h"
#include "platform/linux/Com.h"
#include "platform/linux/Types.h"

typedef struct HICON__* HICON;
typedef struct HBITMAP__* HBITMAP;
typedef struct HPALETTE__* HPALETTE;
typedef struct HRSRC__* HRSRC;
typedef void* HGLOBAL;
typedef void* HGDIOBJ;

#define MAKEINTRESOURCEW(i) (reinterpret_cast<LPWSTR>(static_cast<ULONG_PTR>(static_cast<WORD>(i))))
#define IS_INTRESOURCE(r) ((reinterpret_cast<ULONG_PTR>(r) >> 16) == 0)
#define RT_BITMAP MAKEINTRESOURCEW(2)
#define RT_ICON MAKEINTRESOURCEW(3)
#define RT_STRING MAKEINTRESOURCEW(6)
#define RT_RCDATA MAKEINTRESOURCEW(10)
#define RT_GROUP_ICON MAKEINTRESOURCEW(14)

#define LOAD_LIBRARY_AS_DATAFILE 0x00000002

#define IMAGE_BITMAP 0
#define IMAGE_ICON 1
#define LR_DEFAULTCOLOR 0x00000000
#define LR_LOADTRANSPARENT 0x00000020
#define LR_DEFAULTSIZE 0x00000040
#define LR_CREATEDIBSECTION 0x00002000
#define LR_SHARED 0x00008000

#define MB_OK 0x00000000
#define MB_OKCANCEL 0x00000001
#define MB_YESNOCANCEL 0x00000003
#define MB_YESNO 0x00000004
#define MB_ICONHAND 0x00000010
#define MB_ICONERROR MB_ICONHAND
#define MB_ICONQUESTION 0x00000020
#define MB_ICONEXCLAMATION 0x00000030
#define MB_ICONWARNING MB_ICONEXCLAMATION
#define MB_ICONASTERISK 0x00000040
#define MB_ICONINFORMATION MB_ICONASTERISK

#define IDOK 1
#define IDCANCEL 2
#define IDABORT 3
#define IDRETRY 4
#define IDIGNORE 5
#define IDYES 6
#define IDNO 7

constexpr LONG ERROR_MOD_NOT_FOUND = 126;
constexpr LONG ERROR_RESOURCE_NAME_NOT_FOUND = 1814;
constexpr LONG ERROR_INVALID_ICON_HANDLE = 1402;

// The program's own handle is null in this build, as the resource calls take it; no other
// module is loaded.
HMODULE GetModuleHandleW(LPCWSTR lpModuleName);
HMODULE LoadLibraryExW(LPCWSTR lpLibFileName, HANDLE hFile, DWORD dwFlags);
BOOL FreeLibrary(HMODULE hLibModule);
int LoadStringW(HINSTANCE hInstance, UINT uID, LPWSTR lpBuffer, int cchBufferMax);
HRSRC FindResourceW(HMODULE hModule, LPCWSTR lpName, LPCWSTR lpType);
HGLOBAL LoadResource(HMODULE hModule, HRSRC hResInfo);
LPVOID LockResource(HGLOBAL hResData);
DWORD SizeofResource(HMODULE hModule, HRSRC hResInfo);
HANDLE LoadImageW(HINSTANCE hInst, LPCWSTR name, UINT type, int cx, int cy, UINT fuLoad);
BOOL DestroyIcon(HICON hIcon);
BOOL DeleteObject(HGDIOBJ ho);
int MessageBoxW(HWND hWnd, LPCWSTR lpText, LPCWSTR lpCaption, UINT uType);
HWND GetActiveWindow();
DWORD GetModuleFileNameA(HMODULE hModule, LPSTR lpFilename, DWORD nSize);

// OLE pictures: only what the product hands to its host (IPictureDisp is declared with
// the other automation interfaces).
#define PICTYPE_BITMAP 1
#define PICTYPE_ICON 3
struct PICTDESC {
  UINT cbSizeofstruct;
  UINT picType;
  union {
    struct {
      HBITMAP hbitmap;
      HPALETTE hpal;
    } bmp;
    struct {
      HICON hicon;
    } icon;
  };
};
typedef PICTDESC* LPPICTDESC;
// There is no OLE picture support without a display: E_NOTIMPL, and the handle stays the caller's.
HRESULT OleCreatePictureIndirect(LPPICTDESC lpPictDesc, REFIID riid, BOOL fOwn, LPVOID* lplpvObj);

namespace platform {

// Registers a resource of the running program, as a resource script would put it into a
// Windows module; the bytes are copied. Called before the resource is looked for.
void registerResource(LPCWSTR type, WORD id, std::vector<BYTE> bytes);

}  // namespace platform
