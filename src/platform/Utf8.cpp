#include "platform/Utf8.h"

#include <cstdint>

namespace platform {
namespace details {

constexpr char32_t kReplacement = 0xFFFD;

void appendUtf8(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

void appendWide(std::wstring& out, char32_t cp) {
  if constexpr (sizeof(wchar_t) == 2) {
    if (cp >= 0x10000) {
      cp -= 0x10000;
      out += static_cast<wchar_t>(0xD800 + (cp >> 10));
      out += static_cast<wchar_t>(0xDC00 + (cp & 0x3FF));
      return;
    }
  }
  out += static_cast<wchar_t>(cp);
}

// Decodes one code point at bytes[i]; returns its length, or 0 when the sequence is bad.
size_t decodeOne(std::string_view bytes, size_t i, char32_t& cp) {
  const auto b0 = static_cast<uint8_t>(bytes[i]);
  if (b0 < 0x80) {
    cp = b0;
    return 1;
  }
  size_t len;
  char32_t min;
  if ((b0 & 0xE0) == 0xC0) {
    len = 2, cp = b0 & 0x1F, min = 0x80;
  } else if ((b0 & 0xF0) == 0xE0) {
    len = 3, cp = b0 & 0x0F, min = 0x800;
  } else if ((b0 & 0xF8) == 0xF0) {
    len = 4, cp = b0 & 0x07, min = 0x10000;
  } else {
    return 0;
  }
  if (i + len > bytes.size()) return 0;
  for (size_t k = 1; k < len; ++k) {
    const auto b = static_cast<uint8_t>(bytes[i + k]);
    if ((b & 0xC0) != 0x80) return 0;
    cp = (cp << 6) | (b & 0x3F);
  }
  if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
  return len;
}

}  // namespace details

std::string toUtf8(std::wstring_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t cp = static_cast<char32_t>(text[i]);
    if constexpr (sizeof(wchar_t) == 2) cp &= 0xFFFF;
    if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < text.size()) {
      const char32_t low = static_cast<char32_t>(text[i + 1]) & 0xFFFF;
      if (low >= 0xDC00 && low <= 0xDFFF) {
        cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
        ++i;
      }
    }
    if ((cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF) cp = details::kReplacement;
    details::appendUtf8(out, cp);
  }
  return out;
}

std::optional<std::wstring> fromUtf8(std::string_view bytes, size_t* errorOffset) {
  std::wstring out;
  out.reserve(bytes.size());
  for (size_t i = 0; i < bytes.size();) {
    char32_t cp;
    const size_t len = details::decodeOne(bytes, i, cp);
    if (len == 0) {
      if (errorOffset) *errorOffset = i;
      return std::nullopt;
    }
    details::appendWide(out, cp);
    i += len;
  }
  return out;
}

std::wstring fromUtf8Lenient(std::string_view bytes) {
  std::wstring out;
  out.reserve(bytes.size());
  for (size_t i = 0; i < bytes.size();) {
    char32_t cp;
    size_t len = details::decodeOne(bytes, i, cp);
    if (len == 0) {
      cp = details::kReplacement;
      len = 1;
    }
    details::appendWide(out, cp);
    i += len;
  }
  return out;
}

}  // namespace platform
