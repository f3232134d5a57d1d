// The tokenizer of the Sieve reader: comment states, `#!` rule headers, and the
// token forms of the dialect. Every write into the record's fixed buffers is bounded.
#include <cwchar>
#include <cwctype>

#include "sieve/SieveParser.h"
#include "sieve/SieveText.h"

namespace Sieve {

namespace details {

namespace {

bool isDigit(wchar_t ch) { return ch >= L'0' && ch <= L'9'; }

// Appends to tokenText, keeping it zero-terminated and within its size; characters past
// the limit are dropped.
class TokenWriter {
 public:
  explicit TokenWriter(SieveParser& parser) : parser_(parser) { parser_.tokenText[0] = 0; }
  void put(wchar_t ch) {
    if (length_ + 1 >= kTokenTextSize) return;
    parser_.tokenText[length_++] = ch;
    parser_.tokenText[length_] = 0;
  }
  void append(const wchar_t* text) {
    for (; *text; ++text) put(*text);
  }
  std::size_t length() const { return length_; }

 private:
  SieveParser& parser_;
  std::size_t length_ = 0;
};

// A rule header `#!1 name`, `#!` already read: the flag and the name of the next command.
bool readRuleHeader(SieveParser& parser, SieveInput& input) {
  wchar_t buffer[kReadLineSize];
  readLine(input, buffer, kReadLineSize);
  if (buffer[0] == 0) return false;
  ++parser.line;
  parser.enabled = buffer[0] == L'1';
  parser.ruleName[0] = 0;
  if (buffer[1] == L' ') {
    std::size_t length = std::wcslen(buffer);
    while (length > 2 && (buffer[length - 1] == L'\r' || buffer[length - 1] == L'\n')) buffer[--length] = 0;
    std::size_t i = 0;
    for (; i + 1 < kRuleNameSize && buffer[2 + i]; ++i) parser.ruleName[i] = buffer[2 + i];
    parser.ruleName[i] = 0;
  }
  return true;
}

bool readQuotedString(SieveParser& parser, SieveInput& input) {
  parser.tokenType = TokenType::String;
  TokenWriter text(parser);
  wchar_t ch = 0;
  for (;;) {
    if (!input.get(ch)) return false;
    if (ch == L'"') return true;
    if (ch == L'\\') {
      if (!input.get(ch)) return false;
      if (ch == L'n')
        ch = L'\n';
      else if (ch == L'r')
        ch = L'\r';
      else if (ch == L't')
        ch = L'\t';
      // A full text ends the token early and drops the character; the rest of the
      // quoted text is read as further tokens.
      if (text.length() >= kTokenTextSize - 2) return true;
    } else if (text.length() >= kTokenTextSize - 1) {
      return true;
    }
    text.put(ch);
  }
}

void readTag(SieveParser& parser, SieveInput& input) {
  parser.tokenType = TokenType::Tag;
  TokenWriter text(parser);
  wchar_t ch = 0;
  while (input.get(ch)) {
    if (!isLetter(ch)) {
      input.putBack();
      break;
    }
    text.put(ch);
  }
}

void readNumber(SieveParser& parser, SieveInput& input, wchar_t first) {
  parser.tokenType = TokenType::Number;
  std::uint32_t value = static_cast<std::uint32_t>(first - L'0');
  wchar_t ch = 0;
  while (input.get(ch)) {
    if (isDigit(ch)) {
      value = value * 10u + static_cast<std::uint32_t>(ch - L'0');  // wraps around, as the server's does
      continue;
    }
    const wchar_t suffix = asciiLower(ch);
    if (suffix == L'k')
      value *= 1024u;
    else if (suffix == L'm')
      value *= 1048576u;
    else if (suffix == L'g')
      value *= 1073741824u;
    else
      input.putBack();
    break;
  }
  TokenWriter text(parser);
  text.append(std::to_wstring(static_cast<std::int32_t>(value)).c_str());
}

// A multi-line `text:` string. The end mark ".\n" is compared with a line whose line feed
// readLine has already removed, so the text never ends well: it runs into an empty line,
// the end of input or the length limit, and the token fails. The server's reader does the
// same; the writer never produces this form.
bool readMultiLineText(SieveParser& parser, SieveInput& input) {
  parser.tokenType = TokenType::String;
  TokenWriter text(parser);
  wchar_t ch = 0;
  while (input.get(ch) && ch != L'\n') {
  }
  ++parser.line;
  for (;;) {
    wchar_t buffer[kReadLineSize];
    readLine(input, buffer, kReadLineSize);
    if (buffer[0] == 0) return false;
    ++parser.line;
    if (std::wcscmp(buffer, L".\n") == 0) return true;
    if (text.length() + std::wcslen(buffer) >= kTokenTextSize - 1) return false;
    text.append(buffer);
  }
}

bool readIdentifier(SieveParser& parser, SieveInput& input, wchar_t first) {
  parser.tokenType = TokenType::Identifier;
  TokenWriter text(parser);
  text.put(first);
  wchar_t ch = 0;
  while (input.get(ch)) {
    if (isLetter(ch) || isDigit(ch)) {
      text.put(ch);
      continue;
    }
    // Any word followed by a colon, not only `text`, begins a multi-line text.
    if (ch == L':') return readMultiLineText(parser, input);
    input.putBack();
    break;
  }
  return true;
}

}  // namespace

void readLine(SieveInput& input, wchar_t* buffer, std::size_t size) {
  std::size_t length = 0;
  wchar_t ch = 0;
  while (input.get(ch)) {
    if (ch == L'\n') break;
    if (length + 1 < size) {
      buffer[length++] = ch;
      continue;
    }
    // Too long: the rest of the line goes, its line feed too.
    while (ch != L'\n' && input.get(ch)) {
    }
    break;
  }
  buffer[length] = 0;
}

}  // namespace details

void ungetToken(SieveParser& parser) { parser.pushedBack = 1; }

bool nextToken(SieveParser& parser, SieveInput& input) {
  if (parser.pushedBack) {
    parser.pushedBack = 0;
    return true;
  }
  // After the first error the parse only unwinds; the line stays where the error was.
  if (parser.errorFlag) return false;

  wchar_t ch = 0;
  if (!input.get(ch)) return false;
  for (;; ) {
    const LexState state = parser.lexState;
    bool skip = true;
    if (ch == L'\n') {
      ++parser.line;
      if (state != LexState::BlockComment) parser.lexState = LexState::Code;
    } else if (details::isWhiteSpace(ch)) {
    } else if (state != LexState::BlockComment && ch == L'#') {
      if (state == LexState::Code) {
        wchar_t following = 0;
        if (!input.get(following)) return false;
        if (following == L'!') {
          if (!details::readRuleHeader(parser, input)) return false;
        } else {
          input.putBack();
          // Before any live token, and after a disabled rule, `#` marks commented-out code.
          parser.lexState = parser.enabled ? LexState::LineComment : LexState::DisabledCode;
        }
      } else {
        parser.lexState = LexState::LineComment;
      }
    } else {
      skip = false;
      if ((state == LexState::Code || state == LexState::DisabledCode) && ch == L'/') {
        wchar_t following = 0;
        if (!input.get(following)) return false;
        if (following == L'*') {
          parser.lexState = LexState::BlockComment;
          skip = true;
        } else {
          input.putBack();
        }
      } else if (state == LexState::BlockComment && ch == L'*') {
        wchar_t following = 0;
        if (!input.get(following)) return false;
        if (following == L'/')
          parser.lexState = LexState::Code;  // also when the comment began in state 2
        else
          input.putBack();
        skip = true;
      }
      if (!skip) {
        if (state == LexState::Code) {
          parser.enabled = true;
          break;
        }
        if (state == LexState::DisabledCode) {
          parser.enabled = false;
          break;
        }
        skip = true;  // inside a comment
      }
    }
    if (!input.get(ch)) return false;
  }

  switch (ch) {
    case L'(': parser.tokenType = TokenType::ParenOpen; break;
    case L')': parser.tokenType = TokenType::ParenClose; break;
    case L'[': parser.tokenType = TokenType::ListOpen; break;
    case L']': parser.tokenType = TokenType::ListClose; break;
    case L'{': parser.tokenType = TokenType::BlockOpen; break;
    case L'}': parser.tokenType = TokenType::BlockClose; break;
    case L';': parser.tokenType = TokenType::Semicolon; break;
    case L',': parser.tokenType = TokenType::Comma; break;
    case L'"': return details::readQuotedString(parser, input);
    case L':': details::readTag(parser, input); return true;
    default:
      if (details::isDigit(ch)) {
        details::readNumber(parser, input, ch);
        return true;
      }
      if (details::isLetter(ch)) return details::readIdentifier(parser, input, ch);
      return false;
  }
  parser.tokenText[0] = ch;
  parser.tokenText[1] = 0;
  return true;
}

void setParseError(SieveParser& parser, const wchar_t* format, const wchar_t* argument) {
  if (parser.errorFlag) return;
  parser.errorFlag = 1;
  std::size_t length = 0;
  auto put = [&](wchar_t ch) {
    if (length + 1 < kErrorMessageSize) parser.errorMessage[length++] = ch;
  };
  for (const wchar_t* p = format ? format : L""; *p; ++p) {
    if (p[0] == L'%' && p[1] == L's') {
      for (const wchar_t* a = argument ? argument : L""; *a; ++a) put(*a);
      ++p;
    } else {
      put(*p);
    }
  }
  parser.errorMessage[length] = 0;
}

}  // namespace Sieve
