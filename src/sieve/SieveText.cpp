#include "sieve/SieveText.h"

#include <cwctype>
#include <locale>

namespace Sieve {
namespace details {

#ifdef _WIN32

bool isLetter(wchar_t ch) { return std::iswalpha(static_cast<std::wint_t>(ch)) != 0; }
bool isWhiteSpace(wchar_t ch) { return std::iswspace(static_cast<std::wint_t>(ch)) != 0; }

#else

namespace {
const std::ctype<wchar_t>& unicodeCharacterClasses() {
  static const std::locale locale = [] {
    try {
      return std::locale("C.UTF-8");
    } catch (const std::runtime_error&) {
      return std::locale::classic();
    }
  }();
  static const std::ctype<wchar_t>& classes = std::use_facet<std::ctype<wchar_t>>(locale);
  return classes;
}
}  // namespace

bool isLetter(wchar_t ch) { return unicodeCharacterClasses().is(std::ctype_base::alpha, ch); }
bool isWhiteSpace(wchar_t ch) { return unicodeCharacterClasses().is(std::ctype_base::space, ch); }

#endif

}  // namespace details
}  // namespace Sieve
