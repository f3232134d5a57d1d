#include "addin/registrar/RegistrarTokenizer.h"

#include <algorithm>
#include <cwctype>

namespace zelvo {
namespace addin {

namespace details {

bool isBlank(wchar_t c) { return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n' || c == L'\f' || c == L'\v'; }

// Ends a word: a blank or a character that is a token of its own.
bool endsWord(wchar_t c) { return isBlank(c) || c == L'{' || c == L'}' || c == L'=' || c == L'\''; }

wchar_t fold(wchar_t c) { return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c))); }

}  // namespace details

bool ReplacementNameLess::operator()(const std::wstring& a, const std::wstring& b) const {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                      [](wchar_t x, wchar_t y) { return details::fold(x) < details::fold(y); });
}

RegistrarTokenizer::RegistrarTokenizer(std::wstring_view script, const RegistrarReplacements& replacements)
    : script_(script), replacements_(replacements) {}

std::optional<RegistrarToken> RegistrarTokenizer::next() {
  if (!error_.message.empty()) return std::nullopt;
  skipBlanks();
  const int line = line_;
  if (pos_ >= script_.size()) return RegistrarToken{RegistrarTokenKind::kEnd, {}, line};
  switch (script_[pos_]) {
    case L'{':
      ++pos_;
      return RegistrarToken{RegistrarTokenKind::kOpenBrace, L"{", line};
    case L'}':
      ++pos_;
      return RegistrarToken{RegistrarTokenKind::kCloseBrace, L"}", line};
    case L'=':
      ++pos_;
      return RegistrarToken{RegistrarTokenKind::kEquals, L"=", line};
    case L'\'':
      return readText(line);
    default:
      return readWord(line);
  }
}

void RegistrarTokenizer::skipBlanks() {
  while (pos_ < script_.size() && details::isBlank(script_[pos_])) {
    if (script_[pos_] == L'\n') ++line_;
    ++pos_;
  }
}

std::optional<RegistrarToken> RegistrarTokenizer::readText(int line) {
  RegistrarToken token{RegistrarTokenKind::kText, {}, line};
  ++pos_;  // the opening quote
  for (;;) {
    if (pos_ >= script_.size()) {
      fail(line, L"unterminated quoted text");
      return std::nullopt;
    }
    const wchar_t c = script_[pos_];
    if (c == L'\'') {
      if (pos_ + 1 < script_.size() && script_[pos_ + 1] == L'\'') {
        token.text += L'\'';
        pos_ += 2;
        continue;
      }
      ++pos_;
      return token;
    }
    if (c == L'%') {
      if (!appendReplacement(token.text, line_)) return std::nullopt;
      continue;
    }
    // A text may run over line ends; errors after it must still count them.
    if (c == L'\n') ++line_;
    token.text += c;
    ++pos_;
  }
}

std::optional<RegistrarToken> RegistrarTokenizer::readWord(int line) {
  RegistrarToken token{RegistrarTokenKind::kWord, {}, line};
  while (pos_ < script_.size() && !details::endsWord(script_[pos_])) {
    if (script_[pos_] == L'%') {
      if (!appendReplacement(token.text, line)) return std::nullopt;
      continue;
    }
    token.text += script_[pos_++];
  }
  return token;
}

bool RegistrarTokenizer::appendReplacement(std::wstring& out, int line) {
  const std::size_t close = script_.find(L'%', pos_ + 1);
  if (close == std::wstring_view::npos) return fail(line, L"unterminated replacement name");
  const std::wstring name(script_.substr(pos_ + 1, close - pos_ - 1));
  if (name.empty()) {
    out += L'%';
  } else {
    const auto found = replacements_.find(name);
    if (found == replacements_.end()) return fail(line, L"unknown replacement %" + name + L"%");
    out += found->second;
  }
  pos_ = close + 1;
  return true;
}

bool RegistrarTokenizer::fail(int line, std::wstring message) {
  error_.line = line;
  error_.message = std::move(message);
  return false;
}

}  // namespace addin
}  // namespace zelvo
