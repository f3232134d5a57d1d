// The Sieve script reader: a hand-written tokenizer with a small comment
// state machine and a recursive-descent parser for the server's dialect.
//
// The parser never raises and holds no global state: one SieveParser record serves one
// parse, the first error is kept in it, and productions report by returning null/false.
// Parsing is a pure function of the input text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>
#include <string_view>

#include "sieve/SieveModel.h"

namespace Sieve {

enum class TokenType : std::int32_t {
  Identifier = 0,
  String = 1,
  Tag = 2,  // a colon and a word; the text holds the word without the colon
  Number = 3,
  BlockOpen = 4,     // {
  BlockClose = 5,    // }
  ListOpen = 6,      // [
  ListClose = 7,     // ]
  ParenOpen = 8,     // (
  ParenClose = 9,    // )
  Semicolon = 10,    // ;
  Comma = 11,        // ,
};

enum class LexState : std::int32_t {
  Code = 0,           // live code
  LineComment = 1,    // skipped up to the end of the line
  DisabledCode = 2,   // a `#` began the line while disabled: tokenized with enabled false
  BlockComment = 3,   // up to the closing `*/`
};

constexpr std::size_t kRuleNameSize = 128;      // 127 characters and the terminator
constexpr std::size_t kTokenTextSize = 2049;    // 2048 characters and the terminator
constexpr std::size_t kErrorMessageSize = 512;  // 511 characters and the terminator
constexpr std::size_t kReadLineSize = 256;      // readLine keeps up to 255 characters
// How deep tests and blocks may nest. The dialect has no limit of its own; this one keeps a
// hostile script from exhausting the stack of the reader, the writer and the copies. Going
// deeper records the error "script nested too deeply"; running out of memory while parsing
// records "out of memory". Neither text is the server's: it has no such errors.
constexpr int kMaxNesting = 256;

// The record the tokenizer and the parser share; zeroed at the start of a parse, and handed
// back whole as the parse status.
struct SieveParser {
  TokenType tokenType = TokenType::Identifier;
  bool enabled = false;  // last token from live code (true) or a disabled rule's line
  LexState lexState = LexState::Code;
  std::int32_t errorFlag = 0;  // 1 once an error was recorded
  bool commentsMode = false;   // set on request; nothing reads it
  wchar_t ruleName[kRuleNameSize] = {};
  wchar_t tokenText[kTokenTextSize] = {};
  std::int32_t pushedBack = 0;
  std::int32_t line = 1;
  wchar_t errorMessage[kErrorMessageSize] = {};
  // Not in the original record: the present nesting of tests and blocks (kMaxNesting).
  std::int32_t nesting = 0;
};

using SieveParseStatus = SieveParser;

// The wide character stream the tokenizer reads: one character at a time with putback of
// the last one read. Views the text; the text must outlive it.
class SieveInput {
 public:
  explicit SieveInput(std::wstring_view text) noexcept : text_(text) {}

  // False at the end of input.
  bool get(wchar_t& ch) noexcept {
    if (pos_ >= text_.size()) return false;
    ch = text_[pos_++];
    return true;
  }
  // Puts back the character that the last successful get returned.
  void putBack() noexcept {
    if (pos_ > 0) --pos_;
  }
  std::size_t position() const noexcept { return pos_; }

 private:
  std::wstring_view text_;
  std::size_t pos_ = 0;
};

// --- tokenizer -----------------------------------------------------------------------------

// Reads the next token into parser.tokenType / tokenText. False at the end of input and on
// a character that can begin no token; callers report both as a premature end.
bool nextToken(SieveParser& parser, SieveInput& input);
// The next nextToken hands out the current token again.
void ungetToken(SieveParser& parser);
// Records the first error: the message (one `%s` is replaced by argument) cut to 511
// characters. Does nothing once an error is recorded.
void setParseError(SieveParser& parser, const wchar_t* format, const wchar_t* argument = nullptr);

// --- productions ---------------------------------------------------------------------------

// Each returns an owned node or chain, or null. Null with no error recorded is a clean end.
SieveRule* parseCommand(SieveParser& parser, SieveInput& input, SieveRule* parent);
SieveRule* parseBlock(SieveParser& parser, SieveInput& input, SieveRule* parent);
SieveRule* parseIf(SieveParser& parser, SieveInput& input, SieveRule* parent);
SieveTest* parseTest(SieveParser& parser, SieveInput& input);
SieveTest* parseTestList(SieveParser& parser, SieveInput& input);
SieveStringList* parseStringList(SieveParser& parser, SieveInput& input);

// Parses a whole text. True with the owned head of the rule chain (null for an empty text);
// false with a null head once an error was recorded. status, when given, receives the whole
// parser record in both cases.
bool parseRules(std::wstring_view text, SieveRule*& head, bool commentsMode, SieveParseStatus* status);
// The same over a stream, read to its end first.
bool parseRules(std::wistream& stream, SieveRule*& head, bool commentsMode, SieveParseStatus* status);

}  // namespace Sieve
