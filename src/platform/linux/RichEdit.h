// Windows, messages and the rich edit control for the Linux build: an in-memory control
// behind our own window handles that answers the messages the product sends to a rich
// edit, with the EDITSTREAM callback contract of the real one. It reads the rich text
// that the product writes (groups, control words, \' and \u escapes, \par) and writes
// plain rich text back; it draws nothing.
#pragma once

#include <vector>

#include "platform/linux/Types.h"

typedef ULONG_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;
typedef DWORD COLORREF;
typedef struct HMENU__* HMENU;
typedef struct HFONT__* HFONT;
struct RECT {
  LONG left, top, right, bottom;
};

#define RGB(r, g, b) \
  (static_cast<COLORREF>((static_cast<BYTE>(r)) | (static_cast<WORD>(static_cast<BYTE>(g)) << 8) | \
                         (static_cast<DWORD>(static_cast<BYTE>(b)) << 16)))
#define GetRValue(c) (static_cast<BYTE>(c))
#define GetGValue(c) (static_cast<BYTE>((c) >> 8))
#define GetBValue(c) (static_cast<BYTE>((c) >> 16))

#define CALLBACK

// Window messages.
#define WM_SETTEXT 0x000C
#define WM_GETTEXT 0x000D
#define WM_GETTEXTLENGTH 0x000E
#define WM_SETREDRAW 0x000B
#define WM_NOTIFY 0x004E
#define WM_USER 0x0400

// Rich edit messages.
#define EM_SETSEL 0x00B1
#define EM_REPLACESEL 0x00C2
#define EM_SETREADONLY 0x00CF
#define EM_EXGETSEL (WM_USER + 52)
#define EM_EXSETSEL (WM_USER + 55)
#define EM_GETCHARFORMAT (WM_USER + 58)
#define EM_GETEVENTMASK (WM_USER + 59)
#define EM_GETTEXTRANGE (WM_USER + 75)
#define EM_SETCHARFORMAT (WM_USER + 68)
#define EM_SETEVENTMASK (WM_USER + 69)
#define EM_STREAMIN (WM_USER + 73)
#define EM_STREAMOUT (WM_USER + 74)
#define EM_FINDTEXTEXW (WM_USER + 124)
#define EM_AUTOURLDETECT (WM_USER + 91)

// Stream formats.
#define SF_TEXT 0x0001
#define SF_RTF 0x0002
#define SF_RTFNOOBJS 0x0003
#define SF_TEXTIZED 0x0004
#define SF_UNICODE 0x0010
#define SF_USECODEPAGE 0x0020
#define SFF_PLAINRTF 0x4000
#define SFF_SELECTION 0x8000

// Character formats.
#define SCF_DEFAULT 0x0000
#define SCF_SELECTION 0x0001
#define SCF_ALL 0x0004
#define CFM_BOLD 0x00000001
#define CFM_ITALIC 0x00000002
#define CFM_UNDERLINE 0x00000004
#define CFM_LINK 0x00000020
#define CFM_COLOR 0x40000000
#define CFE_BOLD 0x00000001
#define CFE_ITALIC 0x00000002
#define CFE_UNDERLINE 0x00000004
#define CFE_LINK 0x00000020
#define CFE_AUTOCOLOR 0x40000000

// Events and find flags.
#define ENM_LINK 0x04000000
#define EN_LINK 0x070B
#define FR_DOWN 0x00000001
#define FR_WHOLEWORD 0x00000002
#define FR_MATCHCASE 0x00000004

// Window styles.
#define WS_POPUP 0x80000000L
#define WS_CHILD 0x40000000L
#define WS_VISIBLE 0x10000000L
#define WS_VSCROLL 0x00200000L
#define ES_MULTILINE 0x0004L
#define ES_READONLY 0x0800L

#define LF_FACESIZE 32

typedef DWORD(CALLBACK* EDITSTREAMCALLBACK)(DWORD_PTR dwCookie, LPBYTE pbBuff, LONG cb, LONG* pcb);

#pragma pack(push, 4)
struct EDITSTREAM {
  DWORD_PTR dwCookie;
  DWORD dwError;
  EDITSTREAMCALLBACK pfnCallback;
};
#pragma pack(pop)

struct CHARRANGE {
  LONG cpMin;
  LONG cpMax;
};

struct TEXTRANGEW {
  CHARRANGE chrg;
  LPWSTR lpstrText;
};

struct FINDTEXTEXW {
  CHARRANGE chrg;
  LPCWSTR lpstrText;
  CHARRANGE chrgText;
};

struct CHARFORMAT2W {
  UINT cbSize;
  DWORD dwMask;
  DWORD dwEffects;
  LONG yHeight;
  LONG yOffset;
  COLORREF crTextColor;
  BYTE bCharSet;
  BYTE bPitchAndFamily;
  WCHAR szFaceName[LF_FACESIZE];
  WORD wWeight;
  SHORT sSpacing;
  COLORREF crBackColor;
  DWORD lcid;
  DWORD dwReserved;
  SHORT sStyle;
  WORD wKerning;
  BYTE bUnderlineType;
  BYTE bAnimation;
  BYTE bRevAuthor;
  BYTE bUnderlineColor;
};

typedef ULONG_PTR UINT_PTR;
struct NMHDR {
  HWND hwndFrom;
  UINT_PTR idFrom;
  UINT code;
};

// A mouse or key event over text with the link effect.
struct ENLINK {
  NMHDR nmhdr;
  UINT msg;
  WPARAM wParam;
  LPARAM lParam;
  CHARRANGE chrg;
};
#define WM_SETCURSOR 0x0020
#define WM_LBUTTONDOWN 0x0201
#define WM_LBUTTONUP 0x0202

// The class names of the control.
#define RICHEDIT_CLASSW L"RichEdit20W"
#define MSFTEDIT_CLASS L"RICHEDIT50W"

// Only the two rich edit classes exist; anything else fails with a null handle. Windows
// are hidden and have no parent relation beyond the handle that is kept.
HWND CreateWindowExW(DWORD dwExStyle, LPCWSTR lpClassName, LPCWSTR lpWindowName, DWORD dwStyle, int X, int Y,
                     int nWidth, int nHeight, HWND hWndParent, HMENU hMenu, HINSTANCE hInstance, LPVOID lpParam);
BOOL DestroyWindow(HWND hWnd);
BOOL IsWindow(HWND hWnd);
LRESULT SendMessageW(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam);
BOOL InvalidateRect(HWND hWnd, const RECT* lpRect, BOOL bErase);
int GetWindowTextW(HWND hWnd, LPWSTR lpString, int nMaxCount);
int GetWindowTextLengthW(HWND hWnd);
// The ANSI code page of the system: Western European here, as on the usual Windows install.
UINT GetACP();

namespace platform {
namespace linuxRichEdit {

// Test hooks of the in-memory control.
struct StreamStats {
  std::vector<LONG> offered;   // count of each callback call
  std::vector<LONG> answered;  // what the callback put in its count out
};
// The largest chunk a stream callback gets; 4096 unless set.
void setChunkSize(HWND window, LONG bytes);
// The counts of the last EM_STREAMIN or EM_STREAMOUT.
StreamStats lastStreamStats(HWND window);
// How often the window was invalidated, and whether redrawing is on.
unsigned invalidateCount(HWND window);
bool redrawOn(HWND window);

}  // namespace linuxRichEdit
}  // namespace platform
