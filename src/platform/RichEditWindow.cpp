#include "platform/RichEditWindow.h"

namespace platform {

HWND createRichEdit(HWND parent) {
#ifdef _WIN32
  // The class is registered by its library; loaded once and kept for the process.
  static const HMODULE library = LoadLibraryW(L"Riched20.dll");
  if (!library) return nullptr;
  const HINSTANCE instance = GetModuleHandleW(nullptr);
#else
  const HINSTANCE instance = nullptr;
#endif
  const DWORD style = (parent ? WS_CHILD : WS_POPUP) | ES_MULTILINE | ES_READONLY;
  return CreateWindowExW(0, RICHEDIT_CLASSW, L"", style, 0, 0, 400, 200, parent, nullptr, instance, nullptr);
}

}  // namespace platform
