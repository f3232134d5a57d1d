// Conversion between UTF-8 (files, console) and the wide strings of user text (UTF-16
// on Windows, UTF-32 elsewhere). Used at the edges only.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

// Unpaired surrogates become U+FFFD.
std::string toUtf8(std::wstring_view text);
// Null on a byte sequence that is not valid UTF-8 (overlong forms, surrogates and values
// beyond U+10FFFF included); errorOffset, if given, receives the offset of the first bad byte.
std::optional<std::wstring> fromUtf8(std::string_view bytes, size_t* errorOffset = nullptr);
// Invalid sequences become U+FFFD, one per bad byte.
std::wstring fromUtf8Lenient(std::string_view bytes);

}  // namespace platform
