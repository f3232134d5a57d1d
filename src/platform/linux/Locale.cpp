#include "platform/linux/Locale.h"

#include <cwchar>

int GetLocaleInfoW(LCID /*locale*/, LCTYPE type, LPWSTR data, int size) {
  const wchar_t* value = nullptr;
  switch (type) {
    case LOCALE_STIME:
      value = L":";
      break;
    case LOCALE_STIMEFORMAT:
      value = L"h:mm:ss tt";
      break;
    case LOCALE_ITIMEMARKPOSN:
      value = L"0";
      break;
    default:
      return 0;
  }
  const int needed = static_cast<int>(std::wcslen(value)) + 1;
  if (size == 0) return needed;
  if (!data || size < needed) return 0;
  std::wmemcpy(data, value, static_cast<size_t>(needed));
  return needed;
}
