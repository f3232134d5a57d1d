// The tokens of a registration script, with the %NAME% replacements already put in.
//
// A script is words, 'quoted texts' (two quotes stand for one), braces and equals signs,
// separated by blanks and line ends. %NAME% inside a word or a quoted text is replaced by
// the value given for NAME (names compare without regard to case); %% stands for one %.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo {
namespace addin {

// Names of replacements, compared without regard to case.
struct ReplacementNameLess {
  bool operator()(const std::wstring& a, const std::wstring& b) const;
};
using RegistrarReplacements = std::map<std::wstring, std::wstring, ReplacementNameLess>;

// The first error of a script: where and what.
struct RegistrarError {
  int line = 0;
  std::wstring message;
};

enum class RegistrarTokenKind { kWord, kText, kOpenBrace, kCloseBrace, kEquals, kEnd };

struct RegistrarToken {
  RegistrarTokenKind kind = RegistrarTokenKind::kEnd;
  std::wstring text;  // a word or a quoted text, replacements done
  int line = 1;
};

class RegistrarTokenizer {
 public:
  // Both the script and the replacements must outlive the tokenizer.
  RegistrarTokenizer(std::wstring_view script, const RegistrarReplacements& replacements);

  // The next token; kEnd at the end of the script, and for ever after. A bad token gives
  // nothing and keeps its error.
  std::optional<RegistrarToken> next();
  const RegistrarError& error() const { return error_; }

 private:
  void skipBlanks();
  std::optional<RegistrarToken> readText(int line);
  std::optional<RegistrarToken> readWord(int line);
  // Appends the replacement that starts at the % under pos_; false on a bad one.
  bool appendReplacement(std::wstring& out, int line);
  bool fail(int line, std::wstring message);

  std::wstring_view script_;
  const RegistrarReplacements& replacements_;
  std::size_t pos_ = 0;
  int line_ = 1;
  RegistrarError error_;
};

}  // namespace addin
}  // namespace zelvo
