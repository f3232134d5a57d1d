// The tokenizer: token forms, number suffixes, escapes, cuts, the comment state
// machine with `#` and `#!`, and line counting.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/sieve/SieveTestSupport.h"
#include "testing/TestEnvironment.h"

using namespace Sieve;
using zelvo::testing::utf8;

namespace {

// All tokens of a text as "type:text" words, disabled ones marked with a leading '-'.
struct Tokens {
  std::vector<std::wstring> words;
  std::wstring lastRuleName;
  int line = 0;
  bool atEnd = false;  // the last false came at the end of input
};

std::wstring typeName(TokenType type) {
  switch (type) {
    case TokenType::Identifier: return L"id";
    case TokenType::String: return L"str";
    case TokenType::Tag: return L"tag";
    case TokenType::Number: return L"num";
    default: return L"p";
  }
}

Tokens tokenize(std::wstring_view text) {
  Tokens tokens;
  auto parser = std::make_unique<SieveParser>();
  SieveInput input(text);
  while (nextToken(*parser, input)) {
    std::wstring word = parser->enabled ? L"" : L"-";
    word += typeName(parser->tokenType) + L":" + parser->tokenText;
    tokens.words.push_back(word);
    if (parser->ruleName[0]) tokens.lastRuleName = parser->ruleName;
  }
  tokens.line = parser->line;
  tokens.atEnd = input.position() == text.size();
  return tokens;
}

std::wstring joined(const std::vector<std::wstring>& words) {
  std::wstring text;
  for (const auto& word : words) text += (text.empty() ? L"" : L" ") + word;
  return text;
}

struct TokenCase {
  const wchar_t* text;
  const wchar_t* tokens;
};

void expectTokens(const TokenCase* begin, const TokenCase* end) {
  for (const TokenCase* c = begin; c != end; ++c)
    EXPECT_EQ(joined(tokenize(c->text).words), c->tokens) << "text: " << utf8(c->text);
}

}  // namespace

TEST(SieveTokenizer, TokenForms) {
  const TokenCase cases[] = {
      {L"keep;", L"id:keep p:;"},
      {L"( ) [ ] { } ; ,", L"p:( p:) p:[ p:] p:{ p:} p:; p:,"},
      {L"a1b2", L"id:a1b2"},
      {L"foo_bar", L"id:foo"},  // underscores end an identifier, and begin no token
      {L"foo-bar", L"id:foo"},
      {L":Over 5", L"tag:Over num:5"},
      {L":over", L"tag:over"},  // a tag at the very end simply ends
      {L":", L"tag:"},          // the word may be empty
      {L":1", L"tag: num:1"},
      {L"\"a b\"", L"str:a b"},
      {L"\"\"", L"str:"},
      {L"x=1", L"id:x"},  // `=` begins no token
  };
  expectTokens(std::begin(cases), std::end(cases));
}

TEST(SieveTokenizer, LettersAndWhiteSpaceAreUnicodeOnEveryBuild) {
  const TokenCase cases[] = {
      {L"gr\x00f6\x00df" L"e :gr\x00f6\x00df" L"e", L"id:gr\x00f6\x00df" L"e tag:gr\x00f6\x00df" L"e"},
      {L"\x0416\x0443\x043a;", L"id:\x0416\x0443\x043a p:;"},
      {L"keep;\x2003stop;", L"id:keep p:; id:stop p:;"},  // an em space
      {L"keep;\x20acstop;", L"id:keep p:;"},             // a euro sign begins no token
  };
  expectTokens(std::begin(cases), std::end(cases));
}

TEST(SieveTokenizer, NumbersWithSuffixesWrapAroundIn32Bits) {
  const TokenCase cases[] = {
      {L"0", L"num:0"},
      {L"12", L"num:12"},  // a number at the very end simply ends
      {L"1K", L"num:1024"},
      {L"1k;", L"num:1024 p:;"},
      {L"2M", L"num:2097152"},
      {L"1G", L"num:1073741824"},
      {L"2G", L"num:-2147483648"},  // the bit pattern 0x80000000, printed signed
      {L"3g", L"num:-1073741824"},
      {L"4G", L"num:0"},
      {L"4294967295", L"num:-1"},
      {L"4294967296", L"num:0"},
      {L"99999999999", L"num:1215752191"},
      {L"5x", L"num:5 id:x"},
      {L"5KB", L"num:5120 id:B"},
  };
  expectTokens(std::begin(cases), std::end(cases));
}

TEST(SieveTokenizer, StringEscapes) {
  const TokenCase cases[] = {
      {L"\"a\\qb\"", L"str:aqb"},
      {L"\"a\\\\b\"", L"str:a\\b"},
      {L"\"\\n\\r\\t\"", L"str:\n\r\t"},
      {L"\"say \\\"hi\\\"\"", L"str:say \"hi\""},
      {L"\"it\\'s\"", L"str:it's"},
      {L"\"two\nlines\"", L"str:two\nlines"},
  };
  expectTokens(std::begin(cases), std::end(cases));
}

TEST(SieveTokenizer, UnfinishedTokensFail) {
  for (const wchar_t* text : {L"\"open", L"\"open\\", L"#", L"/", L"/*", L"/* x *", L"#!"}) {
    const Tokens tokens = tokenize(text);
    EXPECT_TRUE(tokens.words.empty()) << utf8(text);
    EXPECT_TRUE(tokens.atEnd) << utf8(text);
  }
}

TEST(SieveTokenizer, StringsAreCutAt2048Characters) {
  const std::wstring full(2048, L'a');
  // The 2049th character is dropped and what follows is read as further tokens: here an
  // identifier, and a quote that opens a string that never ends.
  Tokens tokens = tokenize(L"\"" + full + L"XY\";");
  ASSERT_EQ(tokens.words.size(), 2u);
  EXPECT_EQ(tokens.words[0], L"str:" + full);
  EXPECT_EQ(tokens.words[1], L"id:Y");

  // An escaped character needs room for two: with 2047 stored it ends the token.
  tokens = tokenize(L"\"" + std::wstring(2047, L'a') + L"\\nZ\";");
  ASSERT_EQ(tokens.words.size(), 2u);
  EXPECT_EQ(tokens.words[0], L"str:" + std::wstring(2047, L'a'));
  EXPECT_EQ(tokens.words[1], L"id:Z");

  tokens = tokenize(L"\"" + std::wstring(2046, L'a') + L"\\nZ\";");
  ASSERT_EQ(tokens.words.size(), 2u);
  EXPECT_EQ(tokens.words[0], L"str:" + std::wstring(2046, L'a') + L"\nZ");
  EXPECT_EQ(tokens.words[1], L"p:;");
}

TEST(SieveTokenizer, OverlongWordsStayWithinTheTokenText) {
  const std::wstring word(5000, L'w');
  Tokens tokens = tokenize(word + L" :" + word + L" 7");
  ASSERT_EQ(tokens.words.size(), 3u);
  EXPECT_EQ(tokens.words[0], L"id:" + std::wstring(2048, L'w'));
  EXPECT_EQ(tokens.words[1], L"tag:" + std::wstring(2048, L'w'));
  EXPECT_EQ(tokens.words[2], L"num:7");
  tokens = tokenize(L"1" + std::wstring(5000, L'0'));
  EXPECT_EQ(joined(tokens.words), L"num:0");
}

TEST(SieveTokenizer, CommentStateMachine) {
  const TokenCase cases[] = {
      // Before the first live token `#` marks commented-out code.
      {L"# keep;", L"-id:keep -p:;"},
      {L"# keep;\nstop;", L"-id:keep -p:; id:stop p:;"},
      // After a live token it is a comment.
      {L"keep; # a comment\nstop;", L"id:keep p:; id:stop p:;"},
      {L"keep;# a comment", L"id:keep p:;"},
      // A disabled rule, and a comment after it before any live token.
      {L"#!0 n\n# keep;\n# a note\nstop;", L"-id:keep -p:; -id:a -id:note id:stop p:;"},
      // A header marked enabled turns `#` lines into comments: no rule at all.
      {L"#!1 n\n# keep;\nstop;", L"id:stop p:;"},
      // `#` inside a commented-out line starts a comment.
      {L"# keep; # stop;\n", L"-id:keep -p:;"},
      // A block comment ends in live code, also when it began on a disabled line.
      {L"# /* x */ keep;", L"id:keep p:;"},
      {L"keep /* x\n # y */ ;", L"id:keep p:;"},
      {L"/* a ** b */ keep", L"id:keep"},
      {L"/* # */ keep", L"id:keep"},
      // `//` is no comment in this dialect.
      {L"// keep", L""},
      // `#!` anywhere in live code begins a header, up to the end of its line.
      {L"keep; #!0 n keep;\nstop;", L"id:keep p:; id:stop p:;"},
      {L"#!0 n\nkeep;", L"id:keep p:;"},
      {L"#!0\n# keep;", L"-id:keep -p:;"},
      {L"#!x\n# keep;", L"-id:keep -p:;"},
      {L"#!1\n# keep;", L""},
      // A header line that is empty ends the tokens.
      {L"keep; #!\nstop;", L"id:keep p:;"},
  };
  expectTokens(std::begin(cases), std::end(cases));
}

TEST(SieveTokenizer, RuleHeaderNames) {
  struct Case {
    std::wstring text;
    std::wstring name;
  };
  const std::wstring longName(200, L'n');
  const Case cases[] = {
      {L"#!1 Spam folder\r\nkeep;", L"Spam folder"},
      {L"#!0 Trailing CR\r\r\nkeep;", L"Trailing CR"},
      {L"#!1  two blanks\nkeep;", L" two blanks"},
      {L"#!1 " + longName + L"\nkeep;", std::wstring(127, L'n')},
      {L"#!1x name\nkeep;", L""},  // no blank as the second character: nameless
      {L"#!1 first\n#!1 second\nkeep;", L"second"},
  };
  for (const Case& c : cases) EXPECT_EQ(tokenize(c.text).lastRuleName, c.name) << utf8(c.text);

  // A header line longer than 255 characters loses the rest up to its line feed.
  const Tokens tokens = tokenize(L"#!1 " + std::wstring(400, L'x') + L"\nkeep;");
  EXPECT_EQ(joined(tokens.words), L"id:keep p:;");
  EXPECT_EQ(tokens.line, 2);
}

TEST(SieveTokenizer, LinesCountLineFeedsOutsideStrings) {
  struct Case {
    const wchar_t* text;
    int line;
  };
  const Case cases[] = {
      {L"", 1},
      {L"keep;", 1},
      {L"keep;\r\n", 2},
      {L"\n\nkeep;\n", 4},
      {L"\"a\nb\nc\"", 1},           // not inside a string
      {L"# x\n# y\nkeep; # z\n", 4},  // but in comments too
      {L"/* x\ny */", 2},
      {L"#!1 n\r\n#!0\nkeep;", 3},
      {L"#!1 n", 2},  // a header counts its line even at the end of input
  };
  for (const Case& c : cases) EXPECT_EQ(tokenize(c.text).line, c.line) << utf8(c.text);
}

TEST(SieveTokenizer, MultiLineTextAlwaysFails) {
  struct Case {
    const wchar_t* text;
    int line;
  };
  // Every word followed by a colon starts one; it runs into an empty line or the end.
  const Case cases[] = {
      {L"text:\r\nline one\r\n.\r\n", 4},
      {L"text:\nline one\n.\n\nkeep;", 4},
      {L"anything: rest of line\nfoo\n\n", 3},
      {L"text:", 2},
  };
  for (const Case& c : cases) {
    const Tokens tokens = tokenize(c.text);
    EXPECT_TRUE(tokens.words.empty()) << utf8(c.text);
    EXPECT_EQ(tokens.line, c.line) << utf8(c.text);
  }
  // Too long for the token text.
  std::wstring text = L"text:\n";
  for (int i = 0; i < 30; ++i) text += std::wstring(100, L'x') + L"\n";
  EXPECT_TRUE(tokenize(text).words.empty());
}

TEST(SieveTokenizer, UngetHandsOutTheSameTokenAgain) {
  auto parser = std::make_unique<SieveParser>();
  SieveInput input(L"keep stop");
  ASSERT_TRUE(nextToken(*parser, input));
  ungetToken(*parser);
  ASSERT_TRUE(nextToken(*parser, input));
  EXPECT_STREQ(parser->tokenText, L"keep");
  ASSERT_TRUE(nextToken(*parser, input));
  EXPECT_STREQ(parser->tokenText, L"stop");
}

TEST(SieveTokenizer, OnlyTheFirstErrorIsKeptAndCutTo511Characters) {
  auto parser = std::make_unique<SieveParser>();
  setParseError(*parser, L"first %s!", L"word");
  setParseError(*parser, L"second");
  EXPECT_EQ(parser->errorFlag, 1);
  EXPECT_STREQ(parser->errorMessage, L"first word!");

  auto cut = std::make_unique<SieveParser>();
  const std::wstring longWord(1000, L'z');
  setParseError(*cut, L"invalid command: %s", longWord.c_str());
  EXPECT_EQ(std::wstring(cut->errorMessage), (L"invalid command: " + longWord).substr(0, 511));
}
