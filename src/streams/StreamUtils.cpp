#include "streams/StreamUtils.h"

#include "base/HResultException.h"
#include "base/SizeCast.h"

namespace streamUtils {

namespace {
// The stream is too big for a 32-bit size.
constexpr HRESULT kStreamTooBig = static_cast<HRESULT>(0x80080011u);

template <class Text>
void writeBytes(IStream* stream, const Text& text) {
  detail::checkStream(stream);
  if (!text.data()) return;
  const size_t bytes = text.size() * sizeof(typename Text::value_type);
  ZEL_CHECK(stream->Write(text.data(), size_cast<ULONG>(bytes), nullptr));
}
}  // namespace

namespace detail {
void checkStream(IStream* stream) {
  if (!stream) ZEL_HERE.raise(E_INVALIDARG);
}
void writeStr(IStream* stream, const std::string& text) { writeBytes(stream, text); }
void writeStr(IStream* stream, const std::wstring& text) { writeBytes(stream, text); }
}  // namespace detail

void rewind(IStream* stream) {
  detail::checkStream(stream);
  LARGE_INTEGER start;
  start.QuadPart = 0;
  ZEL_CHECK(stream->Seek(start, STREAM_SEEK_SET, nullptr));
}

ULONG getStreamSize(IStream* stream) {
  detail::checkStream(stream);
  STATSTG stat;
  ZEL_CHECK(stream->Stat(&stat, STATFLAG_NONAME));
  if (stat.cbSize.QuadPart >> 32) ZEL_HERE.raise(kStreamTooBig);
  return static_cast<ULONG>(stat.cbSize.QuadPart);
}

}  // namespace streamUtils
