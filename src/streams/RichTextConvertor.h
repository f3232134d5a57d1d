// Moving a byte string in and out of a rich edit control through its streaming messages,
// with an adaptive stream in between, so that a long text does not need a second block in
// the heap.
#pragma once

#include <string>

#include "platform/Win32.h"

namespace richTextDetail {

// What the stream-out callback works on: the stream, and whether the next chunk with the
// rich text header still gets the \fromtext mark.
struct StreamOutState {
  IStream* stream;
  bool insertFromText;
};

// The EM_STREAMOUT callback: cookie points to a StreamOutState. count gets the number of
// the control's bytes taken, whatever was added to them.
DWORD CALLBACK streamOutChunk(DWORD_PTR cookie, LPBYTE buffer, LONG size, LONG* count);

}  // namespace richTextDetail

class RichTextConvertor {
 public:
  // Puts text into the control under the EM_STREAMIN format flags (bit 0x10 is
  // always taken off). 0, or the code of the failure.
  static HRESULT streamIn(HWND window, const std::string& text, DWORD flags);
  // Reads the control's content under the EM_STREAMOUT format flags. With fromText and
  // SF_RTF, the first chunk that holds the rich text header gets "\fromtext " before the
  // control word after "\ansicpg". text ends in one zero byte, which is part of it.
  static HRESULT streamOut(HWND window, std::string& text, DWORD flags, bool fromText);
};
