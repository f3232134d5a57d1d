// The few functions through which the rest of the system touches an IStream.
#pragma once

#include <string>

#include "platform/Win32.h"

namespace streamUtils {

namespace detail {
// A null stream raises E_INVALIDARG.
void checkStream(IStream* stream);
// Writes the characters' bytes, without a terminator.
void writeStr(IStream* stream, const std::string& text);
void writeStr(IStream* stream, const std::wstring& text);
}  // namespace detail

// Seeks to the start.
void rewind(IStream* stream);
// The size of a stream below 4 GiB; a larger one raises 0x80080011.
ULONG getStreamSize(IStream* stream);

}  // namespace streamUtils
