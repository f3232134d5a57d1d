// The productions of the Sieve reader. Each returns an owned node or null; the
// first error is recorded in the parser record, and nothing here raises.
#include "sieve/SieveParser.h"

#include <cwchar>
#include <iterator>
#include <new>

#include "sieve/SieveText.h"

namespace Sieve {

namespace details {
namespace {

bool tokenIs(const SieveParser& parser, const wchar_t* word) { return equalsNoCase(parser.tokenText, word); }

std::wstring tokenString(const SieveParser& parser) { return std::wstring(parser.tokenText); }

// Counts the nesting of tests and blocks for the life of one production.
class NestingGuard {
 public:
  explicit NestingGuard(SieveParser& parser) : parser_(parser) {
    if (++parser_.nesting > kMaxNesting) setParseError(parser_, L"script nested too deeply");
  }
  ~NestingGuard() { --parser_.nesting; }
  bool tooDeep() const { return parser_.nesting > kMaxNesting; }

 private:
  SieveParser& parser_;
};

// keep, stop, setreadflag, discard
bool parseSimpleCommand(SieveParser& parser, SieveInput& input) {
  if (!nextToken(parser, input)) {
    setParseError(parser, L"premature end of script: semicolon expected");
    return false;
  }
  if (parser.tokenType != TokenType::Semicolon) {
    setParseError(parser, L"bad token: semicolon expected");
    return false;
  }
  return true;
}

// reject, fileinto, redirect
bool parseStringCommand(SieveParser& parser, SieveInput& input, SieveRule& rule) {
  if (!nextToken(parser, input)) {
    setParseError(parser, L"premature end of script: string argument expected");
    return false;
  }
  if (parser.tokenType != TokenType::String) {
    setParseError(parser, L"bad token: string argument expected");
    return false;
  }
  rule.argument = tokenString(parser);
  // Whatever token follows stands in for the semicolon and is consumed, as on the server.
  if (!nextToken(parser, input)) {
    setParseError(parser, L"premature end of script: semicolon expected");
    return false;
  }
  return true;
}

bool parseNotify(SieveParser& parser, SieveInput& input, SieveRule& rule) {
  rule.argument = kDefaultNotifyMessage;
  if (!nextToken(parser, input)) return true;
  for (;;) {
    if (parser.tokenType == TokenType::Semicolon) return true;
    if (parser.tokenType != TokenType::Tag) {
      setParseError(parser, L"bad token: option expected");
      return false;
    }
    enum { Method, Options, Message } option;
    if (tokenIs(parser, L"method")) {
      option = Method;
    } else if (tokenIs(parser, L"options")) {
      option = Options;
    } else if (tokenIs(parser, L"message")) {
      option = Message;
    } else {
      setParseError(parser, L"unknown notify command option");
      return false;
    }
    if (!nextToken(parser, input)) {
      setParseError(parser, L"premature end of script: string expected");
      return false;
    }
    if (option == Method) {
      if (!tokenIs(parser, L"mail")) {
        setParseError(parser, L"unknown notify method");
        return false;
      }
    } else if (option == Options) {
      rule.name = tokenString(parser);
    } else {
      rule.argument = tokenString(parser);
    }
    if (!nextToken(parser, input)) return true;
  }
}

struct VacationOption {
  const wchar_t* tag;
  VacationParameter id;
  TokenType valueType;
};

constexpr VacationOption kVacationOptions[] = {
    {L"days", VacationParameter::Days, TokenType::Number},
    {L"subject", VacationParameter::Subject, TokenType::String},
    {L"rangeEnabled", VacationParameter::RangeEnabled, TokenType::Number},
    {L"rangeStart", VacationParameter::RangeStart, TokenType::Number},
    {L"rangeEnd", VacationParameter::RangeEnd, TokenType::Number},
    {L"externalMessageEnabled", VacationParameter::ExternalMessageEnabled, TokenType::Number},
    {L"externalMessageSubject", VacationParameter::ExternalMessageSubject, TokenType::String},
    {L"externalMessageBody", VacationParameter::ExternalMessageBody, TokenType::String},
    {L"externalMessageKnownContactsOnly", VacationParameter::ExternalMessageKnownContactsOnly, TokenType::Number},
};

bool parseVacation(SieveParser& parser, SieveInput& input, SieveRule& rule) {
  rule.setParameter(VacationParameter::Days, L"7");
  if (nextToken(parser, input)) {
    for (;;) {
      // A vacation without reason text is accepted.
      if (parser.tokenType == TokenType::Semicolon) return true;
      if (parser.tokenType != TokenType::Tag) break;
      const VacationOption* option = nullptr;
      for (const VacationOption& candidate : kVacationOptions)
        if (tokenIs(parser, candidate.tag)) option = &candidate;
      if (!option) {
        setParseError(parser, L"unknown vacation command option");
        return false;
      }
      if (!nextToken(parser, input)) {
        setParseError(parser, L"premature end of script: string expected");
        return false;
      }
      if (parser.tokenType != option->valueType) {
        // The server's reader says "string" for every option but days.
        setParseError(parser, option->id == VacationParameter::Days ? L"bad token: number expected"
                                                                    : L"bad token: string expected");
        return false;
      }
      if (option->id == VacationParameter::Subject)
        rule.name = tokenString(parser);
      else
        rule.setParameter(option->id, tokenString(parser));
      if (!nextToken(parser, input)) break;
    }
  }
  // The reason text: the current token, also when the last read failed.
  if (parser.tokenType != TokenType::String) {
    setParseError(parser, L"bad token: string expected");
    return false;
  }
  rule.argument = tokenString(parser);
  return parseSimpleCommand(parser, input);
}

// The tags of address and header; returns false after recording an error.
struct TagMessages {
  const wchar_t* tagExpected;
  const wchar_t* comparatorExpected;
  const wchar_t* comparatorNotString;
  const wchar_t* invalidTag;
};

bool parseComparisonTags(SieveParser& parser, SieveInput& input, SieveTest& test, bool isAddress,
                         const TagMessages& messages) {
  if (!nextToken(parser, input)) {
    setParseError(parser, messages.tagExpected);
    return false;
  }
  while (parser.tokenType == TokenType::Tag) {
    if (isAddress && tokenIs(parser, L"all")) {
      test.addressPart = AddressPart::All;
    } else if (isAddress && tokenIs(parser, L"localpart")) {
      test.addressPart = AddressPart::LocalPart;
    } else if (isAddress && tokenIs(parser, L"domain")) {
      test.addressPart = AddressPart::Domain;
    } else if (tokenIs(parser, L"is")) {
      test.matchType = MatchType::Is;
    } else if (tokenIs(parser, L"contains")) {
      test.matchType = MatchType::Contains;
    } else if (tokenIs(parser, L"matches")) {
      test.matchType = MatchType::Matches;
    } else if (isAddress && tokenIs(parser, L"iscontact")) {
      test.isContact = true;
    } else if (tokenIs(parser, L"comparator")) {
      if (!nextToken(parser, input)) {
        setParseError(parser, messages.comparatorExpected);
        return false;
      }
      if (parser.tokenType != TokenType::String) {
        setParseError(parser, messages.comparatorNotString);
        return false;
      }
      test.octetComparator = tokenIs(parser, L"i;octet") ? 1 : 0;
    } else {
      setParseError(parser, messages.invalidTag, parser.tokenText);
      return false;
    }
    if (!nextToken(parser, input)) {
      setParseError(parser, messages.tagExpected);
      return false;
    }
  }
  ungetToken(parser);
  return true;
}

const TagMessages kAddressMessages = {
    L"premature end of script - address tag expected",
    L"Premature end of script: comparator value expected",
    L"bad token: comparator value string expected",
    L"Invalid tag in address test: %s",
};

const TagMessages kHeaderMessages = {
    L"Premature end of script: header tag expected",
    L"premature end of script: comparator value expected",
    L"bad token: comparator value string expected",
    L"invalid tag in header test: %s",
};

bool parseSize(SieveParser& parser, SieveInput& input, SieveTest& test) {
  if (!nextToken(parser, input)) {
    setParseError(parser, L"premature end of script - size tag expected");
    return false;
  }
  if (parser.tokenType != TokenType::Tag) {
    setParseError(parser, L"invalid token - size :under or :over expected");
    return false;
  }
  if (tokenIs(parser, L"over")) {
    test.sizeMode = SizeMode::Over;
  } else if (tokenIs(parser, L"under")) {
    test.sizeMode = SizeMode::Under;
  } else {
    setParseError(parser, L"unknown tag ':%s' - size :under or :over expected", parser.tokenText);
    return false;
  }
  if (!nextToken(parser, input)) {
    setParseError(parser, L"premature end of script - number expected");
    return false;
  }
  if (parser.tokenType != TokenType::Number) {
    setParseError(parser, L"invalid token - number expected");
    return false;
  }
  // The token holds the signed decimal of the 32-bit value: 2G reads back as 0x80000000.
  if (parser.tokenText[0] == L'-')
    test.sizeLimit = static_cast<std::uint32_t>(std::wcstol(parser.tokenText, nullptr, 10));
  else
    test.sizeLimit = static_cast<std::uint32_t>(std::wcstoul(parser.tokenText, nullptr, 10));
  return true;
}

SieveRule* parseCommandChecked(SieveParser& parser, SieveInput& input, SieveRule* parent) {
  if (!nextToken(parser, input)) return nullptr;
  if (parser.tokenType == TokenType::BlockClose) return nullptr;
  if (parser.tokenType != TokenType::Identifier) {
    setParseError(parser, L"bad token: keyword expected");
    return nullptr;
  }
  if (tokenIs(parser, L"if")) return parseIf(parser, input, parent);

  RulePtr rule(new SieveRule(std::wstring(parser.ruleName), parser.enabled, parent));
  parser.ruleName[0] = 0;
  struct Keyword {
    const wchar_t* word;
    RuleKind kind;
  };
  static const Keyword kKeywords[] = {
      {L"keep", RuleKind::Keep},         {L"stop", RuleKind::Stop},         {L"setreadflag", RuleKind::SetReadFlag},
      {L"discard", RuleKind::Discard},   {L"reject", RuleKind::Reject},     {L"fileinto", RuleKind::FileInto},
      {L"redirect", RuleKind::Redirect}, {L"notify", RuleKind::Notify},     {L"vacation", RuleKind::Vacation},
  };
  const Keyword* keyword = nullptr;
  for (const Keyword& candidate : kKeywords)
    if (tokenIs(parser, candidate.word)) keyword = &candidate;
  if (!keyword) {
    // `require` ends here too: the dialect has none.
    setParseError(parser, L"invalid command: %s", parser.tokenText);
    return nullptr;
  }
  rule->kind = keyword->kind;
  bool ok = false;
  switch (keyword->kind) {
    case RuleKind::Reject:
    case RuleKind::FileInto:
    case RuleKind::Redirect:
      ok = parseStringCommand(parser, input, *rule);
      break;
    case RuleKind::Notify:
      ok = parseNotify(parser, input, *rule);
      break;
    case RuleKind::Vacation:
      ok = parseVacation(parser, input, *rule);
      break;
    default:
      ok = parseSimpleCommand(parser, input);
      break;
  }
  if (!ok || parser.errorFlag) return nullptr;
  return rule.release();
}

SieveTest* parseTestChecked(SieveParser& parser, SieveInput& input) {
  NestingGuard nesting(parser);
  if (nesting.tooDeep()) return nullptr;
  if (!nextToken(parser, input)) {
    setParseError(parser, L"premature end of script - test expected");
    return nullptr;
  }
  if (parser.tokenType != TokenType::Identifier) {
    setParseError(parser, L"invalid token - test keyword expected");
    return nullptr;
  }
  if (tokenIs(parser, L"not")) {
    SieveTest* test = parseTest(parser, input);
    if (test) test->negated = !test->negated;  // two `not` cancel
    return test;
  }
  if (tokenIs(parser, L"void")) return nullptr;

  TestPtr test(new SieveTest());
  bool ok = true;
  if (tokenIs(parser, L"allof") || tokenIs(parser, L"anyof")) {
    test->kind = tokenIs(parser, L"allof") ? TestKind::AllOf : TestKind::AnyOf;
    test->subTests = parseTestList(parser, input);
    ok = test->subTests != nullptr;
  } else if (tokenIs(parser, L"true")) {
    test->kind = TestKind::True;
  } else if (tokenIs(parser, L"false")) {
    test->kind = TestKind::False;
  } else if (tokenIs(parser, L"spamtest")) {
    test->kind = TestKind::SpamTest;
  } else if (tokenIs(parser, L"size")) {
    test->kind = TestKind::Size;
    ok = parseSize(parser, input, *test);
  } else if (tokenIs(parser, L"exists")) {
    test->kind = TestKind::Exists;
    test->keys = parseStringList(parser, input);
    ok = test->keys != nullptr;
  } else if (tokenIs(parser, L"address") || tokenIs(parser, L"header")) {
    const bool isAddress = tokenIs(parser, L"address");
    test->kind = isAddress ? TestKind::Address : TestKind::Header;
    ok = parseComparisonTags(parser, input, *test, isAddress, isAddress ? kAddressMessages : kHeaderMessages);
    if (ok) {
      test->keys = parseStringList(parser, input);
      ok = test->keys != nullptr;
    }
    if (ok) {
      test->values = parseStringList(parser, input);
      ok = test->values != nullptr;
    }
  } else {
    setParseError(parser, L"invalid test keyword: %s", parser.tokenText);
    ok = false;
  }
  return ok ? test.release() : nullptr;
}

SieveTest* parseTestListChecked(SieveParser& parser, SieveInput& input) {
  if (!nextToken(parser, input)) {
    setParseError(parser, L"premature end of script: test expected");
    return nullptr;
  }
  // The parentheses may be left out around a single test.
  if (parser.tokenType != TokenType::ParenOpen) {
    ungetToken(parser);
    return parseTest(parser, input);
  }
  TestPtr list;
  SieveTest** tail = nullptr;
  for (;;) {
    SieveTest* test = parseTest(parser, input);
    if (!test) return nullptr;  // a test list cannot hold `void`
    if (!list)
      list.reset(test);
    else
      *tail = test;
    tail = &test->next;
    if (!nextToken(parser, input)) {
      setParseError(parser, L"premature end of script: comma or close brace expected");
      return nullptr;
    }
    if (parser.tokenType == TokenType::ParenClose) return list.release();
    if (parser.tokenType != TokenType::Comma) {
      setParseError(parser, L"bad token: comma expected");
      return nullptr;
    }
  }
}

SieveStringList* parseStringListChecked(SieveParser& parser, SieveInput& input) {
  if (!nextToken(parser, input)) {
    setParseError(parser, L"premature end of script - string list expected");
    return nullptr;
  }
  if (parser.tokenType == TokenType::String) return new SieveStringList(tokenString(parser));
  if (parser.tokenType != TokenType::ListOpen) {
    setParseError(parser, L"bad token - string list expected");
    return nullptr;
  }
  StringListPtr list;
  SieveStringList** tail = nullptr;
  for (;;) {
    if (!nextToken(parser, input)) {
      setParseError(parser, L"premature end of script - string list incomplete");
      return nullptr;
    }
    if (parser.tokenType != TokenType::String) {
      setParseError(parser, L"invalid token - string expected");
      return nullptr;
    }
    auto* node = new SieveStringList(tokenString(parser));
    if (!list)
      list.reset(node);
    else
      *tail = node;
    tail = &node->next;
    if (!nextToken(parser, input)) {
      setParseError(parser, L"premature end of script - comma or close brace expected");
      return nullptr;
    }
    if (parser.tokenType == TokenType::ListClose) return list.release();
    if (parser.tokenType != TokenType::Comma) {
      setParseError(parser, L"invalid token - comma expected");
      return nullptr;
    }
  }
}

SieveRule* parseBlockChecked(SieveParser& parser, SieveInput& input, SieveRule* parent) {
  NestingGuard nesting(parser);
  if (nesting.tooDeep()) return nullptr;
  if (!nextToken(parser, input)) {
    setParseError(parser, L"premature end of script: start of block expected");
    return nullptr;
  }
  if (parser.tokenType != TokenType::BlockOpen) {
    setParseError(parser, L"bad token: start of block expected");
    return nullptr;
  }
  if (!nextToken(parser, input)) {
    setParseError(parser, L"premature end of script inside block");
    return nullptr;
  }
  RulePtr chain;
  SieveRule* last = nullptr;
  for (;;) {
    if (parser.tokenType == TokenType::BlockClose) {
      // An empty block is one node of kind Empty.
      if (!chain) chain.reset(new SieveRule(RuleKind::Empty, parent));
      return chain.release();
    }
    ungetToken(parser);
    SieveRule* command = parseCommand(parser, input, parent);
    if (!command) return nullptr;
    if (!chain) {
      setParent(command, parent);
      chain.reset(command);
    } else {
      last->next = command;
    }
    last = command;
    if (!nextToken(parser, input)) {
      setParseError(parser, L"premature end of script inside block");
      return nullptr;
    }
  }
}

SieveRule* parseIfChecked(SieveParser& parser, SieveInput& input, SieveRule* parent) {
  RulePtr rule(new SieveRule(std::wstring(parser.ruleName), parser.enabled, parent));
  parser.ruleName[0] = 0;
  rule->kind = RuleKind::If;
  // Null is the test `void`; an error in the test stays recorded and fails the parse.
  rule->test = parseTest(parser, input);
  rule->thenBlock = parseBlock(parser, input, rule.get());
  if (!rule->thenBlock) return nullptr;
  if (!nextToken(parser, input)) return rule.release();
  if (parser.tokenType == TokenType::Identifier && tokenIs(parser, L"else")) {
    rule->elseBlock = parseBlock(parser, input, rule.get());
    if (!rule->elseBlock) return nullptr;
  } else if (parser.tokenType == TokenType::Identifier && tokenIs(parser, L"elsif")) {
    rule->elseBlock = parseIf(parser, input, rule.get());
    if (!rule->elseBlock) return nullptr;
  } else {
    ungetToken(parser);
  }
  return rule.release();
}

// Allocation failures inside a production end the parse with an error instead of leaving
// the parser; the message is the reader's own, there being none in the dialect.
template <class Result, class Production>
Result* guarded(SieveParser& parser, Production production) {
  try {
    return production();
  } catch (const std::bad_alloc&) {
    setParseError(parser, L"out of memory");
    return nullptr;
  }
}

}  // namespace
}  // namespace details

SieveRule* parseCommand(SieveParser& parser, SieveInput& input, SieveRule* parent) {
  return details::guarded<SieveRule>(parser, [&] { return details::parseCommandChecked(parser, input, parent); });
}

SieveRule* parseBlock(SieveParser& parser, SieveInput& input, SieveRule* parent) {
  return details::guarded<SieveRule>(parser, [&] { return details::parseBlockChecked(parser, input, parent); });
}

SieveRule* parseIf(SieveParser& parser, SieveInput& input, SieveRule* parent) {
  return details::guarded<SieveRule>(parser, [&] { return details::parseIfChecked(parser, input, parent); });
}

SieveTest* parseTest(SieveParser& parser, SieveInput& input) {
  return details::guarded<SieveTest>(parser, [&] { return details::parseTestChecked(parser, input); });
}

SieveTest* parseTestList(SieveParser& parser, SieveInput& input) {
  return details::guarded<SieveTest>(parser, [&] { return details::parseTestListChecked(parser, input); });
}

SieveStringList* parseStringList(SieveParser& parser, SieveInput& input) {
  return details::guarded<SieveStringList>(parser, [&] { return details::parseStringListChecked(parser, input); });
}

bool parseRules(std::wstring_view text, SieveRule*& head, bool commentsMode, SieveParseStatus* status) {
  head = nullptr;
  SieveParser parser;
  parser.commentsMode = commentsMode;
  SieveInput input(text);
  RulePtr chain;
  SieveRule* last = nullptr;
  for (;;) {
    // A clean end, a `}` at top level or a character that begins no token all end the
    // loop without an error, keeping the rules so far.
    SieveRule* rule = parseCommand(parser, input, nullptr);
    if (!rule) break;
    if (!chain)
      chain.reset(rule);
    else
      last->next = rule;
    last = rule;
  }
  if (parser.errorFlag == 0) {
    try {
      mergeRedirects(chain.get());
    } catch (const std::bad_alloc&) {
      setParseError(parser, L"out of memory");
    }
  }
  const bool ok = parser.errorFlag == 0;
  if (ok) head = chain.release();
  if (status) *status = parser;
  return ok;
}

bool parseRules(std::wistream& stream, SieveRule*& head, bool commentsMode, SieveParseStatus* status) {
  std::wstring text((std::istreambuf_iterator<wchar_t>(stream)), std::istreambuf_iterator<wchar_t>());
  return parseRules(std::wstring_view(text), head, commentsMode, status);
}

}  // namespace Sieve
