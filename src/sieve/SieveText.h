// Character helpers shared by the reader's tokenizer and productions. Internal to the
// sieve layer.
#pragma once

#include <cstddef>

#include "sieve/SieveParser.h"

namespace Sieve {
namespace details {

// Letters and white space by the system's wide character tests. The add-in's CRT answers
// them from Unicode whatever the locale; glibc's "C" locale knows ASCII only, so elsewhere
// the tests ask the C.UTF-8 locale, and a script reads the same on both builds.
bool isLetter(wchar_t ch);
bool isWhiteSpace(wchar_t ch);

// Keywords, tags and comparison values are ASCII; they match without regard to case.
inline wchar_t asciiLower(wchar_t ch) { return ch >= L'A' && ch <= L'Z' ? static_cast<wchar_t>(ch - L'A' + L'a') : ch; }

inline bool equalsNoCase(const wchar_t* text, const wchar_t* word) {
  for (; *text && *word; ++text, ++word)
    if (asciiLower(*text) != asciiLower(*word)) return false;
  return *text == *word;
}

// Reads up to size - 1 characters up to the next line feed, which is consumed and not
// stored; the rest of a longer line is discarded with its line feed. The carriage return of
// a CRLF line end stays. The buffer is zero-terminated.
void readLine(SieveInput& input, wchar_t* buffer, std::size_t size);

}  // namespace details
}  // namespace Sieve
