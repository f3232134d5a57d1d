#include "streams/RichTextConvertor.h"

#include "base/ComBoundary.h"
#include "base/ComRef.h"
#include "base/HResultException.h"
#include "base/SizeCast.h"
#include "streams/DataStream.h"
#include "streams/StreamUtils.h"

namespace details {

const std::string& rtfHeaderWord() {
  static const std::string word = "{\\rtf1\\";
  return word;
}

const std::string& codePageWord() {
  static const std::string word = "\\ansicpg";
  return word;
}

ComRef<IStream> makeStream() {
  ComRef<IStream> stream;
  ZEL_CHECK(createWrappedStream(2, stream.put(), 1, false, false, true));
  if (!stream) ZEL_HERE.raise(E_INVALIDARG);
  return stream;
}

DWORD CALLBACK readCallback(DWORD_PTR cookie, LPBYTE buffer, LONG size, LONG* count) {
  *count = 0;
  IStream* stream = *reinterpret_cast<IStream**>(cookie);
  return static_cast<DWORD>(stream->Read(buffer, static_cast<ULONG>(size), reinterpret_cast<ULONG*>(count)));
}

}  // namespace details

namespace richTextDetail {

DWORD CALLBACK streamOutChunk(DWORD_PTR cookie, LPBYTE buffer, LONG size, LONG* count) {
  using namespace details;
  *count = 0;
  auto* state = reinterpret_cast<StreamOutState*>(cookie);
  return static_cast<DWORD>(zelvo::comBoundary([&] {
    if (state->insertFromText) {
      std::string chunk(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(size));
      if (chunk.compare(0, rtfHeaderWord().size(), rtfHeaderWord()) == 0) {
        const std::size_t word = chunk.find(codePageWord());
        const std::size_t next =
            word == std::string::npos ? std::string::npos : chunk.find('\\', word + codePageWord().size());
        if (next != std::string::npos) {
          static const std::string fromText = "\\fromtext ";
          chunk.insert(next, fromText);
          const HRESULT hr = state->stream->Write(chunk.data(), size_cast<ULONG>(chunk.size()),
                                                  reinterpret_cast<ULONG*>(count));
          // The control counts what it gave, not what the mark added.
          if (SUCCEEDED(hr)) *count -= static_cast<LONG>(fromText.size());
          state->insertFromText = false;
          return hr;
        }
      }
    }
    return state->stream->Write(buffer, static_cast<ULONG>(size), reinterpret_cast<ULONG*>(count));
  }));
}

}  // namespace richTextDetail

namespace details {

void raiseStreamError(const EDITSTREAM& edit) {
  const HRESULT error = static_cast<HRESULT>(edit.dwError);
  if (error < 0) ZEL_HERE.raise(error);
}

}  // namespace details

HRESULT RichTextConvertor::streamIn(HWND window, const std::string& text, DWORD flags) {
  return zelvo::comBoundary([&] {
    ComRef<IStream> stream = details::makeStream();
    streamUtils::detail::writeStr(stream.get(), text);
    streamUtils::rewind(stream.get());
    flags &= ~static_cast<DWORD>(0x10);
    IStream* held = stream.get();
    EDITSTREAM edit{};
    edit.dwCookie = reinterpret_cast<DWORD_PTR>(&held);
    edit.dwError = 0;
    edit.pfnCallback = details::readCallback;
    SendMessageW(window, EM_STREAMIN, flags, reinterpret_cast<LPARAM>(&edit));
    details::raiseStreamError(edit);
  });
}

HRESULT RichTextConvertor::streamOut(HWND window, std::string& text, DWORD flags, bool fromText) {
  return zelvo::comBoundary([&] {
    const DWORD streamFlags = flags & ~static_cast<DWORD>(0x10);  // the caller's flags decide fromText
    ComRef<IStream> stream = details::makeStream();
    richTextDetail::StreamOutState state{stream.get(), fromText && (flags & SF_RTF) != 0};
    EDITSTREAM edit{};
    edit.dwCookie = reinterpret_cast<DWORD_PTR>(&state);
    edit.dwError = 0;
    edit.pfnCallback = richTextDetail::streamOutChunk;
    SendMessageW(window, EM_STREAMOUT, streamFlags, reinterpret_cast<LPARAM>(&edit));
    details::raiseStreamError(edit);
    text.clear();
    streamUtils::rewind(stream.get());
    const ULONG size = streamUtils::getStreamSize(stream.get());
    text.assign(static_cast<std::size_t>(size) + 1, '\0');
    ULONG read = 0;
    ZEL_CHECK(stream->Read(&text[0], size, &read));
  });
}
