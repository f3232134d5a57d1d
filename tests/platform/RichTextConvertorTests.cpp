// The rich text convertor against the system's rich edit control: the real one under
// Windows, the platform layer's in-memory one elsewhere.
#include "streams/RichTextConvertor.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/RichEditWindow.h"
#include "base/ComRef.h"
#include "streams/DataStream.h"
#include "streams/StreamUtils.h"

namespace {

class RichEdit {
 public:
  RichEdit() : window_(platform::createRichEdit(nullptr)) {}
  ~RichEdit() {
    if (window_) DestroyWindow(window_);
  }
  HWND get() const { return window_; }
  std::wstring text() const {
    std::vector<wchar_t> buffer(static_cast<std::size_t>(GetWindowTextLengthW(window_)) + 1);
    const int n = GetWindowTextW(window_, buffer.data(), static_cast<int>(buffer.size()));
    return std::wstring(buffer.data(), static_cast<std::size_t>(n));
  }

 private:
  HWND window_;
};

std::string codePageHeader() { return "{\\rtf1\\ansi\\ansicpg" + std::to_string(GetACP()) + "\\"; }

TEST(RichTextConvertor, StreamInPutsTheTextIntoTheControl) {
  struct Case {
    const char* name;
    std::string input;
    DWORD flags;
    std::wstring shown;
  };
  const Case cases[] = {
      {"plain text", "two words", SF_TEXT, L"two words"},
      {"empty text", "", SF_TEXT, L""},
      {"rich text with escapes", "{\\rtf1\\ansi\\deff0 caf\\'e9 \\{x\\}\\par next}", SF_RTF, L"caf\u00e9 {x}\r\nnext"},
      {"unicode escape without fallback", "{\\rtf1\\ansi\\uc0 a\\u8364 b}", SF_RTF, L"a\u20acb"},
      // Bit 0x10 is taken off: the bytes are read as ANSI text, not as UTF-16.
      {"bit 0x10 cleared", "ab", SF_TEXT | 0x10, L"ab"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    RichEdit edit;
    ASSERT_NE(edit.get(), nullptr);
    SendMessageW(edit.get(), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"old text"));
    EXPECT_EQ(RichTextConvertor::streamIn(edit.get(), c.input, c.flags), S_OK);
    EXPECT_EQ(edit.text(), c.shown);
  }
}

TEST(RichTextConvertor, StreamOutOfPlainTextEndsInOneZeroByte) {
  struct Case {
    const wchar_t* content;
    std::string expected;
  };
  const Case cases[] = {
      {L"", std::string(1, '\0')},
      {L"abc", std::string("abc\0", 4)},
      {L"one\r\ntwo", std::string("one\r\ntwo\0", 9)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "content of " << wcslen(c.content) << " characters");
    RichEdit edit;
    SendMessageW(edit.get(), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(c.content));
    std::string out = "left over";
    EXPECT_EQ(RichTextConvertor::streamOut(edit.get(), out, SF_TEXT, true), S_OK);
    EXPECT_EQ(out, c.expected);
  }
}

TEST(RichTextConvertor, FromTextMarksTheRichTextHeaderOnlyWhenAskedForRtf) {
  struct Case {
    const char* name;
    DWORD flags;
    bool fromText;
    bool marked;
  };
  const Case cases[] = {
      {"rtf from text", SF_RTF, true, true},
      {"rtf not from text", SF_RTF, false, false},
      {"plain text from text", SF_TEXT, true, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    RichEdit edit;
    SendMessageW(edit.get(), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"hello"));
    std::string out;
    ASSERT_EQ(RichTextConvertor::streamOut(edit.get(), out, c.flags, c.fromText), S_OK);
    ASSERT_FALSE(out.empty());
    EXPECT_EQ(out.back(), '\0');
    const std::string marked = codePageHeader().substr(0, codePageHeader().size() - 1) + "\\fromtext \\";
    EXPECT_EQ(out.compare(0, marked.size(), marked) == 0, c.marked) << out;
    EXPECT_EQ(out.find("\\fromtext") != std::string::npos, c.marked) << out;
    if (c.flags == SF_RTF) {
      // What the control wrote around the mark is all there, once.
      EXPECT_NE(out.find("hello"), std::string::npos);
      EXPECT_EQ(out.find("hello"), out.rfind("hello"));
    }
  }
}

// The callback alone, chunk by chunk, as the control calls it.
TEST(RichTextConvertor, StreamOutCallbackMarksTheFirstChunkWithAHeader) {
  struct Chunk {
    std::string bytes;
    std::string written;
    bool stillLooking;  // insertFromText after the chunk
  };
  struct Case {
    const char* name;
    std::vector<Chunk> chunks;
  };
  const Case cases[] = {
      {"header with code page",
       {{"{\\rtf1\\ansi\\ansicpg1252\\deff0 x", "{\\rtf1\\ansi\\ansicpg1252\\fromtext \\deff0 x", false}}},
      {"header without code page passes unchanged",
       {{"{\\rtf1\\ansi\\deff0 x", "{\\rtf1\\ansi\\deff0 x", true}}},
      {"code page word with no backslash after it",
       {{"{\\rtf1\\ansi\\ansicpg1252 x", "{\\rtf1\\ansi\\ansicpg1252 x", true}}},
      {"no header in the first chunk, one in the second",
       {{"text \\ansicpg1252\\x", "text \\ansicpg1252\\x", true},
        {"{\\rtf1\\ansicpg850\\f0", "{\\rtf1\\ansicpg850\\fromtext \\f0", false}}},
      {"only the first header is marked",
       {{"{\\rtf1\\ansicpg1252\\a", "{\\rtf1\\ansicpg1252\\fromtext \\a", false},
        {"{\\rtf1\\ansicpg1252\\b", "{\\rtf1\\ansicpg1252\\b", false}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ComRef<IStream> stream;
    ASSERT_EQ(createWrappedStream(2, stream.put(), 1, false, false, true), S_OK);
    richTextDetail::StreamOutState state{stream.get(), true};
    std::string expected;
    for (const Chunk& chunk : c.chunks) {
      std::string buffer = chunk.bytes;
      LONG count = -1;
      const DWORD code = richTextDetail::streamOutChunk(reinterpret_cast<DWORD_PTR>(&state),
                                                         reinterpret_cast<LPBYTE>(&buffer[0]),
                                                         static_cast<LONG>(buffer.size()), &count);
      EXPECT_EQ(code, 0u);
      // The control must see the count that it gave, or it would stream bytes again.
      EXPECT_EQ(count, static_cast<LONG>(chunk.bytes.size()));
      EXPECT_EQ(state.insertFromText, chunk.stillLooking);
      expected += chunk.written;
    }
    streamUtils::rewind(stream.get());
    const ULONG size = streamUtils::getStreamSize(stream.get());
    std::string stored(size, '\0');
    ULONG read = 0;
    ASSERT_EQ(stream->Read(&stored[0], size, &read), S_OK);
    EXPECT_EQ(stored, expected);
  }
}

TEST(RichTextConvertor, RoundTripOfRichTextKeepsTheText) {
  RichEdit edit;
  ASSERT_EQ(RichTextConvertor::streamIn(edit.get(), "{\\rtf1\\ansi\\deff0 Gr\\'fc\\'dfe \\u1046?x\\par end}", SF_RTF),
            S_OK);
  std::string rtf;
  ASSERT_EQ(RichTextConvertor::streamOut(edit.get(), rtf, SF_RTF, false), S_OK);
  RichEdit second;
  rtf.pop_back();  // the zero byte is ours, not the control's
  ASSERT_EQ(RichTextConvertor::streamIn(second.get(), rtf, SF_RTF), S_OK);
  EXPECT_EQ(second.text(), edit.text());
  EXPECT_EQ(second.text(), L"Gr\u00fc\u00dfe \u0416x\r\nend");
}

#ifndef _WIN32
// The in-memory control shows what the callbacks answered.
TEST(RichTextConvertor, ChunkedStreamingOfTheInMemoryControl) {
  struct Case {
    LONG chunk;
    bool marked;  // a header cut by a chunk end is not found
  };
  const Case cases[] = {{4096, true}, {40, true}, {7, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "chunk " << c.chunk);
    RichEdit edit;
    platform::linuxRichEdit::setChunkSize(edit.get(), c.chunk);
    const std::string input = "{\\rtf1\\ansi\\deff0 " + std::string(100, 'x') + "}";
    ASSERT_EQ(RichTextConvertor::streamIn(edit.get(), input, SF_RTF), S_OK);
    const auto in = platform::linuxRichEdit::lastStreamStats(edit.get());
    ASSERT_FALSE(in.answered.empty());
    EXPECT_EQ(in.answered.back(), 0);  // the stream ran dry
    EXPECT_EQ(edit.text(), std::wstring(100, L'x'));

    std::string out;
    ASSERT_EQ(RichTextConvertor::streamOut(edit.get(), out, SF_RTF, true), S_OK);
    const auto stats = platform::linuxRichEdit::lastStreamStats(edit.get());
    ASSERT_FALSE(stats.offered.empty());
    EXPECT_EQ(stats.answered, stats.offered);
    EXPECT_EQ(out.find("\\fromtext ") != std::string::npos, c.marked) << out;
  }
}
#endif

}  // namespace
