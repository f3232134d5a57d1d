// Text at the tool's edge: what the commands print is UTF-8 bytes, exactly as made.
#pragma once

#include <ostream>
#include <string>

#include "platform/Utf8.h"

namespace zelvo {
namespace rules {

inline std::wstring wide(const std::string& utf8) { return platform::fromUtf8Lenient(utf8); }

inline void writeText(std::ostream& stream, const std::wstring& text) {
  const std::string bytes = platform::toUtf8(text);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline void writeLine(std::ostream& stream, const std::wstring& text) {
  writeText(stream, text);
  stream.put('\n');
}

}  // namespace rules
}  // namespace zelvo
