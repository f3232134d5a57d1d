#include "platform/linux/RichEdit.h"

#include <cstdio>
#include <cwctype>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace {

// Code page 1252 from 0x80 to 0x9F; the rest of the page is Latin-1.
const wchar_t kCp1252High[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

wchar_t fromCp1252(unsigned char byte) {
  return byte >= 0x80 && byte < 0xA0 ? kCp1252High[byte - 0x80] : static_cast<wchar_t>(byte);
}

// The byte of c in code page 1252, or -1 when it has none.
int toCp1252(wchar_t c) {
  const unsigned long value = static_cast<unsigned long>(c);
  if (value < 0x80 || (value >= 0xA0 && value < 0x100)) return static_cast<int>(value);
  for (int i = 0; i < 32; ++i)
    if (kCp1252High[i] == c) return 0x80 + i;
  return -1;
}

struct CharFormat {
  bool autoColor = true;
  COLORREF color = 0;
  DWORD effects = 0;  // CFE_BOLD, CFE_ITALIC, CFE_UNDERLINE, CFE_LINK
};

struct Control {
  std::wstring text;  // a paragraph ends in '\r', as in the real control
  std::vector<CharFormat> formats;
  CHARRANGE selection{0, 0};
  DWORD eventMask = 0;
  bool redraw = true;
  unsigned invalidated = 0;
  LONG chunk = 4096;
  platform::linuxRichEdit::StreamStats stats;
};

std::mutex gLock;
std::map<HWND, std::shared_ptr<Control>> gWindows;
std::uintptr_t gNextHandle = 0x20000;

std::shared_ptr<Control> controlOf(HWND window) {
  std::lock_guard<std::mutex> guard(gLock);
  const auto found = gWindows.find(window);
  return found == gWindows.end() ? nullptr : found->second;
}

LONG length(const Control& c) { return static_cast<LONG>(c.text.size()); }

CHARRANGE clamp(const Control& c, CHARRANGE range) {
  const LONG end = length(c);
  if (range.cpMin < 0) return CHARRANGE{end, end};  // no selection: the caret at the end
  if (range.cpMax < 0 || range.cpMax > end) range.cpMax = end;
  if (range.cpMin > end) range.cpMin = end;
  if (range.cpMin > range.cpMax) std::swap(range.cpMin, range.cpMax);
  return range;
}

// Line ends of plain text in: CR LF, CR and LF each end one paragraph.
std::wstring normaliseLineEnds(const std::wstring& text) {
  std::wstring out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == L'\r') {
      out += L'\r';
      if (i + 1 < text.size() && text[i + 1] == L'\n') ++i;
    } else if (text[i] == L'\n') {
      out += L'\r';
    } else {
      out += text[i];
    }
  }
  return out;
}

std::wstring withCrLf(const std::wstring& text) {
  std::wstring out;
  for (wchar_t c : text) {
    if (c == L'\r')
      out += L"\r\n";
    else
      out += c;
  }
  return out;
}

// --- rich text in ---------------------------------------------------------------------------

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::wstring readRtf(const std::string& rtf) {
  struct Group {
    bool skip = false;
    int uc = 1;
  };
  std::vector<Group> groups{Group()};
  std::wstring text;
  int pendingSkip = 0;  // fallback characters of a \u still to drop
  auto put = [&](wchar_t c) {
    if (groups.back().skip) return;
    if (pendingSkip > 0) {
      --pendingSkip;
      return;
    }
    text += c;
  };
  std::size_t i = 0;
  while (i < rtf.size()) {
    const char c = rtf[i];
    if (c == '{') {
      groups.push_back(groups.back());
      ++i;
    } else if (c == '}') {
      if (groups.size() > 1) groups.pop_back();
      pendingSkip = 0;
      ++i;
    } else if (c == '\r' || c == '\n') {
      ++i;
    } else if (c != '\\') {
      put(fromCp1252(static_cast<unsigned char>(c)));
      ++i;
    } else if (i + 1 >= rtf.size()) {
      ++i;
    } else {
      const char s = rtf[i + 1];
      if (s == '\\' || s == '{' || s == '}') {
        put(static_cast<wchar_t>(s));
        i += 2;
      } else if (s == '\'') {
        const int high = i + 2 < rtf.size() ? hexValue(rtf[i + 2]) : -1;
        const int low = i + 3 < rtf.size() ? hexValue(rtf[i + 3]) : -1;
        if (high >= 0 && low >= 0) {
          put(fromCp1252(static_cast<unsigned char>(high * 16 + low)));
          i += 4;
        } else {
          i += 2;
        }
      } else if (s == '*') {
        groups.back().skip = true;
        i += 2;
      } else if (s == '~') {
        put(L'\u00A0');
        i += 2;
      } else if (s == '\r' || s == '\n') {
        put(L'\r');
        i += 2;
      } else if (!isLetter(s)) {
        i += 2;  // \- \_ \| and the like: nothing to show here
      } else {
        std::size_t j = i + 1;
        while (j < rtf.size() && isLetter(rtf[j])) ++j;
        const std::string word = rtf.substr(i + 1, j - i - 1);
        bool hasParameter = false;
        long parameter = 0;
        bool negative = false;
        if (j < rtf.size() && rtf[j] == '-' && j + 1 < rtf.size() && isDigit(rtf[j + 1])) {
          negative = true;
          ++j;
        }
        while (j < rtf.size() && isDigit(rtf[j])) {
          hasParameter = true;
          parameter = parameter * 10 + (rtf[j] - '0');
          ++j;
        }
        if (negative) parameter = -parameter;
        if (j < rtf.size() && rtf[j] == ' ') ++j;  // the delimiter belongs to the word
        i = j;
        if (word == "par") {
          put(L'\r');
        } else if (word == "line") {
          put(L'\v');
        } else if (word == "tab") {
          put(L'\t');
        } else if (word == "u" && hasParameter) {
          put(static_cast<wchar_t>(parameter < 0 ? parameter + 65536 : parameter));
          pendingSkip = groups.back().uc;
        } else if (word == "uc" && hasParameter) {
          groups.back().uc = static_cast<int>(parameter);
        } else if (word == "fonttbl" || word == "colortbl" || word == "stylesheet" || word == "info" ||
                   word == "pict" || word == "header" || word == "footer") {
          groups.back().skip = true;
        }
      }
    }
  }
  return text;
}

// --- rich text out --------------------------------------------------------------------------

std::string writeRtf(const std::wstring& text) {
  std::string rtf = "{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl{\\f0\\fnil Tahoma;}}\r\n\\uc1\\pard\\f0\\fs16 ";
  for (wchar_t c : text) {
    if (c == L'\\' || c == L'{' || c == L'}') {
      rtf += '\\';
      rtf += static_cast<char>(c);
    } else if (c == L'\r') {
      rtf += "\\par\r\n";
    } else if (c == L'\t') {
      rtf += "\\tab ";
    } else if (static_cast<unsigned long>(c) < 0x80) {
      rtf += static_cast<char>(c);
    } else {
      char escaped[24];
      const int byte = toCp1252(c);
      if (byte >= 0)
        std::snprintf(escaped, sizeof escaped, "\\'%02x", byte);
      else
        std::snprintf(escaped, sizeof escaped, "\\u%d?", static_cast<int>(static_cast<short>(c)));
      rtf += escaped;
    }
  }
  rtf += "}\r\n";
  return rtf;
}

std::string encodeText(const std::wstring& text, bool unicode) {
  std::string bytes;
  for (wchar_t c : withCrLf(text)) {
    if (unicode) {
      const unsigned long value = static_cast<unsigned long>(c);
      bytes += static_cast<char>(value & 0xFF);
      bytes += static_cast<char>((value >> 8) & 0xFF);
    } else {
      const int byte = toCp1252(c);
      bytes += static_cast<char>(byte >= 0 ? byte : '?');
    }
  }
  return bytes;
}

std::wstring decodeText(const std::string& bytes, bool unicode) {
  std::wstring text;
  if (unicode) {
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
      text += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) | (static_cast<unsigned char>(bytes[i + 1]) << 8));
  } else {
    for (char b : bytes) text += fromCp1252(static_cast<unsigned char>(b));
  }
  return normaliseLineEnds(text);
}

// --- messages -------------------------------------------------------------------------------

void replaceRange(Control& c, CHARRANGE range, const std::wstring& with) {
  range = clamp(c, range);
  CharFormat format;
  if (range.cpMin > 0 && static_cast<std::size_t>(range.cpMin) <= c.formats.size()) format = c.formats[range.cpMin - 1];
  format.effects &= ~static_cast<DWORD>(CFE_LINK);  // a link does not grow by typing after it
  c.text.replace(range.cpMin, range.cpMax - range.cpMin, with);
  c.formats.erase(c.formats.begin() + range.cpMin, c.formats.begin() + range.cpMax);
  c.formats.insert(c.formats.begin() + range.cpMin, with.size(), format);
  const LONG caret = range.cpMin + static_cast<LONG>(with.size());
  c.selection = CHARRANGE{caret, caret};
}

LRESULT streamIn(Control& c, WPARAM flags, EDITSTREAM* stream) {
  if (!stream || !stream->pfnCallback) return 0;
  c.stats = platform::linuxRichEdit::StreamStats();
  stream->dwError = 0;
  std::string bytes;
  std::vector<BYTE> buffer(static_cast<std::size_t>(c.chunk));
  for (;;) {
    LONG got = 0;
    const DWORD error = stream->pfnCallback(stream->dwCookie, buffer.data(), c.chunk, &got);
    c.stats.offered.push_back(c.chunk);
    c.stats.answered.push_back(got);
    if (error != 0) {
      stream->dwError = error;
      break;
    }
    if (got <= 0) break;
    bytes.append(reinterpret_cast<const char*>(buffer.data()), static_cast<std::size_t>(std::min(got, c.chunk)));
  }
  const bool rtf = (flags & SF_RTF) != 0 && bytes.compare(0, 5, "{\\rtf") == 0;
  const std::wstring text = rtf ? readRtf(bytes) : decodeText(bytes, (flags & SF_UNICODE) != 0);
  const CHARRANGE range = (flags & SFF_SELECTION) ? c.selection : CHARRANGE{0, -1};
  replaceRange(c, range, text);
  if (!(flags & SFF_SELECTION)) c.selection = CHARRANGE{0, 0};
  return static_cast<LRESULT>(text.size());
}

LRESULT streamOut(Control& c, WPARAM flags, EDITSTREAM* stream) {
  if (!stream || !stream->pfnCallback) return 0;
  c.stats = platform::linuxRichEdit::StreamStats();
  stream->dwError = 0;
  std::wstring text = c.text;
  if (flags & SFF_SELECTION) {
    const CHARRANGE range = clamp(c, c.selection);
    text = c.text.substr(range.cpMin, range.cpMax - range.cpMin);
  }
  const std::string bytes = (flags & SF_RTF) ? writeRtf(text) : encodeText(text, (flags & SF_UNICODE) != 0);
  std::vector<BYTE> buffer;
  std::size_t done = 0;
  while (done < bytes.size()) {
    const std::size_t size = std::min(bytes.size() - done, static_cast<std::size_t>(c.chunk));
    buffer.assign(bytes.begin() + static_cast<std::ptrdiff_t>(done),
                  bytes.begin() + static_cast<std::ptrdiff_t>(done + size));
    LONG written = 0;
    const DWORD error = stream->pfnCallback(stream->dwCookie, buffer.data(), static_cast<LONG>(size), &written);
    c.stats.offered.push_back(static_cast<LONG>(size));
    c.stats.answered.push_back(written);
    if (error != 0) {
      stream->dwError = error;
      break;
    }
    // The rest of a chunk that was taken in part is offered again; nothing taken ends it.
    if (written <= 0) break;
    done += static_cast<std::size_t>(written);
  }
  return static_cast<LRESULT>(std::min(done, bytes.size()));
}

bool sameText(const std::wstring& text, std::size_t at, const std::wstring& what, bool matchCase) {
  for (std::size_t k = 0; k < what.size(); ++k) {
    const wchar_t a = text[at + k], b = what[k];
    if (matchCase ? a != b : std::towlower(a) != std::towlower(b)) return false;
  }
  return true;
}

LRESULT findText(const Control& c, WPARAM flags, FINDTEXTEXW* find) {
  if (!find || !find->lpstrText) return -1;
  const std::wstring what = find->lpstrText;
  const LONG end = length(c);
  LONG from = std::min(std::max<LONG>(find->chrg.cpMin, 0), end);
  LONG to = find->chrg.cpMax < 0 ? end : std::min(find->chrg.cpMax, end);
  const bool matchCase = (flags & FR_MATCHCASE) != 0;
  const LONG size = static_cast<LONG>(what.size());
  if (size == 0) return -1;
  if (flags & FR_DOWN) {
    for (LONG at = from; at + size <= to; ++at)
      if (sameText(c.text, static_cast<std::size_t>(at), what, matchCase)) {
        find->chrgText = CHARRANGE{at, at + size};
        return at;
      }
  } else {
    // Upward: from cpMin back to cpMax.
    const LONG low = std::max<LONG>(std::min(to, from), 0);
    for (LONG at = from - size; at >= low; --at)
      if (sameText(c.text, static_cast<std::size_t>(at), what, matchCase)) {
        find->chrgText = CHARRANGE{at, at + size};
        return at;
      }
  }
  find->chrgText = CHARRANGE{-1, -1};
  return -1;
}

LRESULT setCharFormat(Control& c, WPARAM which, const CHARFORMAT2W* format) {
  if (!format) return FALSE;
  CHARRANGE range = which & SCF_ALL ? CHARRANGE{0, length(c)} : clamp(c, c.selection);
  if (!(which & (SCF_ALL | SCF_SELECTION))) return TRUE;  // the default format: nothing is drawn here
  static const DWORD effectMasks[] = {CFM_BOLD, CFM_ITALIC, CFM_UNDERLINE, CFM_LINK};
  for (LONG i = range.cpMin; i < range.cpMax; ++i) {
    CharFormat& f = c.formats[static_cast<std::size_t>(i)];
    if (format->dwMask & CFM_COLOR) {
      f.autoColor = (format->dwEffects & CFE_AUTOCOLOR) != 0;
      f.color = format->crTextColor;
    }
    for (DWORD mask : effectMasks)
      if (format->dwMask & mask) f.effects = (f.effects & ~mask) | (format->dwEffects & mask);
  }
  return TRUE;
}

LRESULT getCharFormat(const Control& c, CHARFORMAT2W* format) {
  if (!format) return 0;
  const CHARRANGE range = clamp(c, c.selection);
  const LONG first = range.cpMin < length(c) ? range.cpMin : std::max<LONG>(range.cpMin - 1, 0);
  if (c.formats.empty()) {
    format->dwMask = CFM_COLOR | CFM_LINK | CFM_BOLD | CFM_ITALIC | CFM_UNDERLINE;
    format->dwEffects = CFE_AUTOCOLOR;
    format->crTextColor = 0;
    return format->dwMask;
  }
  const CharFormat& f = c.formats[static_cast<std::size_t>(first)];
  DWORD mask = CFM_COLOR | CFM_LINK | CFM_BOLD | CFM_ITALIC | CFM_UNDERLINE;
  for (LONG i = range.cpMin; i < range.cpMax; ++i) {
    const CharFormat& g = c.formats[static_cast<std::size_t>(i)];
    if (g.autoColor != f.autoColor || (!f.autoColor && g.color != f.color)) mask &= ~static_cast<DWORD>(CFM_COLOR);
    mask &= ~((g.effects ^ f.effects) & (CFM_LINK | CFM_BOLD | CFM_ITALIC | CFM_UNDERLINE));
  }
  format->dwMask = mask;
  format->dwEffects = f.effects | (f.autoColor ? CFE_AUTOCOLOR : 0);
  format->crTextColor = f.color;
  return mask;
}

LRESULT dispatch(Control& c, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_SETTEXT: {
      const wchar_t* text = reinterpret_cast<const wchar_t*>(lParam);
      replaceRange(c, CHARRANGE{0, -1}, normaliseLineEnds(text ? text : L""));
      c.selection = CHARRANGE{0, 0};
      return TRUE;
    }
    case WM_GETTEXTLENGTH:
      return static_cast<LRESULT>(withCrLf(c.text).size());
    case WM_GETTEXT: {
      wchar_t* out = reinterpret_cast<wchar_t*>(lParam);
      if (!out || wParam == 0) return 0;
      const std::wstring text = withCrLf(c.text);
      const std::size_t count = std::min<std::size_t>(text.size(), wParam - 1);
      text.copy(out, count);
      out[count] = L'\0';
      return static_cast<LRESULT>(count);
    }
    case WM_SETREDRAW:
      c.redraw = wParam != 0;
      return 0;
    case EM_SETSEL:
      c.selection = clamp(c, CHARRANGE{static_cast<LONG>(wParam), static_cast<LONG>(lParam)});
      return 0;
    case EM_EXSETSEL: {
      const CHARRANGE* range = reinterpret_cast<const CHARRANGE*>(lParam);
      if (range) c.selection = clamp(c, *range);
      return c.selection.cpMax;
    }
    case EM_EXGETSEL:
      if (CHARRANGE* range = reinterpret_cast<CHARRANGE*>(lParam)) *range = c.selection;
      return 0;
    case EM_REPLACESEL: {
      const wchar_t* text = reinterpret_cast<const wchar_t*>(lParam);
      replaceRange(c, c.selection, normaliseLineEnds(text ? text : L""));
      return 0;
    }
    case EM_GETTEXTRANGE: {
      TEXTRANGEW* range = reinterpret_cast<TEXTRANGEW*>(lParam);
      if (!range || !range->lpstrText) return 0;
      const CHARRANGE r = clamp(c, range->chrg);
      const std::size_t count = static_cast<std::size_t>(r.cpMax - r.cpMin);
      c.text.copy(range->lpstrText, count, static_cast<std::size_t>(r.cpMin));
      range->lpstrText[count] = L'\0';
      return static_cast<LRESULT>(count);
    }
    case EM_SETCHARFORMAT:
      return setCharFormat(c, wParam, reinterpret_cast<const CHARFORMAT2W*>(lParam));
    case EM_GETCHARFORMAT:
      return getCharFormat(c, reinterpret_cast<CHARFORMAT2W*>(lParam));
    case EM_SETEVENTMASK: {
      const DWORD previous = c.eventMask;
      c.eventMask = static_cast<DWORD>(lParam);
      return previous;
    }
    case EM_GETEVENTMASK:
      return c.eventMask;
    case EM_STREAMIN:
      return streamIn(c, wParam, reinterpret_cast<EDITSTREAM*>(lParam));
    case EM_STREAMOUT:
      return streamOut(c, wParam, reinterpret_cast<EDITSTREAM*>(lParam));
    case EM_FINDTEXTEXW:
      return findText(c, wParam, reinterpret_cast<FINDTEXTEXW*>(lParam));
    case EM_SETREADONLY:
    case EM_AUTOURLDETECT:
      return TRUE;
    default:
      return 0;
  }
}

}  // namespace

HWND CreateWindowExW(DWORD, LPCWSTR lpClassName, LPCWSTR lpWindowName, DWORD, int, int, int, int, HWND, HMENU, HINSTANCE,
                     LPVOID) {
  if (!lpClassName) return nullptr;
  const std::wstring name = lpClassName;
  if (name != RICHEDIT_CLASSW && name != MSFTEDIT_CLASS) return nullptr;
  auto control = std::make_shared<Control>();
  if (lpWindowName) replaceRange(*control, CHARRANGE{0, -1}, normaliseLineEnds(lpWindowName));
  control->selection = CHARRANGE{0, 0};
  std::lock_guard<std::mutex> guard(gLock);
  HWND window = reinterpret_cast<HWND>(gNextHandle);
  gNextHandle += 4;
  gWindows[window] = control;
  return window;
}

BOOL DestroyWindow(HWND hWnd) {
  std::lock_guard<std::mutex> guard(gLock);
  return gWindows.erase(hWnd) ? TRUE : FALSE;
}

BOOL IsWindow(HWND hWnd) { return controlOf(hWnd) ? TRUE : FALSE; }

LRESULT SendMessageW(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam) {
  // Held for the call, so that a window destroyed from a callback stays valid until it returns.
  const std::shared_ptr<Control> control = controlOf(hWnd);
  return control ? dispatch(*control, Msg, wParam, lParam) : 0;
}

BOOL InvalidateRect(HWND hWnd, const RECT*, BOOL) {
  const std::shared_ptr<Control> control = controlOf(hWnd);
  if (!control) return FALSE;
  ++control->invalidated;
  return TRUE;
}

int GetWindowTextW(HWND hWnd, LPWSTR lpString, int nMaxCount) {
  return static_cast<int>(SendMessageW(hWnd, WM_GETTEXT, static_cast<WPARAM>(std::max(nMaxCount, 0)),
                                       reinterpret_cast<LPARAM>(lpString)));
}

int GetWindowTextLengthW(HWND hWnd) { return static_cast<int>(SendMessageW(hWnd, WM_GETTEXTLENGTH, 0, 0)); }

UINT GetACP() { return 1252; }

namespace platform {
namespace linuxRichEdit {

void setChunkSize(HWND window, LONG bytes) {
  if (const auto control = controlOf(window)) control->chunk = std::max<LONG>(bytes, 1);
}

StreamStats lastStreamStats(HWND window) {
  const auto control = controlOf(window);
  return control ? control->stats : StreamStats();
}

unsigned invalidateCount(HWND window) {
  const auto control = controlOf(window);
  return control ? control->invalidated : 0;
}

bool redrawOn(HWND window) {
  const auto control = controlOf(window);
  return control && control->redraw;
}

}  // namespace linuxRichEdit
}  // namespace platform
