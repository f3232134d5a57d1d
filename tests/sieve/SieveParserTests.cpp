// The productions of the reader: every error message with its line, and the shapes that the
// dialect's quirks give.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "base/HResultException.h"
#include "tests/sieve/SieveTestSupport.h"
#include "testing/TestEnvironment.h"

using namespace Sieve;
using sievetest::outline;
using sievetest::parse;
using zelvo::testing::utf8;

namespace {

struct ErrorCase {
  const wchar_t* script;
  const wchar_t* message;
  int line;
};

// Commands.
const ErrorCase kCommandErrors[] = {
    {L"keep", L"premature end of script: semicolon expected", 1},
    {L"keep\r\n", L"premature end of script: semicolon expected", 2},
    {L"keep;\r\n\r\nstop\r\n", L"premature end of script: semicolon expected", 4},
    {L"keep stop;", L"bad token: semicolon expected", 1},
    {L"discard :x", L"bad token: semicolon expected", 1},
    {L"42;", L"bad token: keyword expected", 1},
    {L"\"x\";", L"bad token: keyword expected", 1},
    {L"keep; ;", L"bad token: keyword expected", 1},
    {L"require \"fileinto\";", L"invalid command: require", 1},
    {L"keep;\nelse { keep; }", L"invalid command: else", 2},
    {L"elsif true { keep; }", L"invalid command: elsif", 1},
    {L"envelope", L"invalid command: envelope", 1},
    {L"reject", L"premature end of script: string argument expected", 1},
    {L"fileinto 5;", L"bad token: string argument expected", 1},
    {L"redirect [\"a\"];", L"bad token: string argument expected", 1},
    {L"redirect \"a\"", L"premature end of script: semicolon expected", 1},
    {L"reject text:\r\nline\r\n.\r\n;", L"premature end of script: string argument expected", 5},
    {L"notify :foo \"x\";", L"unknown notify command option", 1},
    {L"notify \"x\";", L"bad token: option expected", 1},
    {L"notify :method \"sms\";", L"unknown notify method", 1},
    {L"notify :message", L"premature end of script: string expected", 1},
    {L"vacation :foo 1 \"x\";", L"unknown vacation command option", 1},
    {L"vacation :days", L"premature end of script: string expected", 1},
    {L"vacation :days \"7\" \"x\";", L"bad token: number expected", 1},
    {L"vacation :subject 5 \"x\";", L"bad token: string expected", 1},
    {L"vacation :rangeStart \"1\" \"x\";", L"bad token: string expected", 1},
    {L"vacation :externalMessageBody 1 \"x\";", L"bad token: string expected", 1},
    {L"vacation 5;", L"bad token: string expected", 1},
    {L"vacation", L"bad token: string expected", 1},
    {L"vacation :days 5", L"bad token: string expected", 1},
    {L"vacation \"x\"", L"premature end of script: semicolon expected", 1},
    {L"vacation \"x\" keep;", L"bad token: semicolon expected", 1},
};

// If, blocks and test lists.
const ErrorCase kBlockErrors[] = {
    {L"if", L"premature end of script - test expected", 1},
    {L"if\r\n= { keep; }", L"premature end of script - test expected", 2},
    {L"if \"x\" { keep; }", L"invalid token - test keyword expected", 1},
    {L"if foo { keep; }", L"invalid test keyword: foo", 1},
    {L"if true", L"premature end of script: start of block expected", 1},
    {L"if true keep;", L"bad token: start of block expected", 1},
    {L"if true {", L"premature end of script inside block", 1},
    {L"if true {\r\n  keep;\r\n", L"premature end of script inside block", 3},
    {L"if true { keep; = }", L"premature end of script inside block", 1},
    {L"if true { 5 }", L"bad token: keyword expected", 1},
    {L"if true { keep; } else", L"premature end of script: start of block expected", 1},
    {L"if true { keep; } elsif { keep; }", L"invalid token - test keyword expected", 1},
    {L"if allof (void) { keep; }", L"bad token: start of block expected", 1},
    {L"if allof", L"premature end of script: test expected", 1},
    {L"if allof (true false) { keep; }", L"bad token: comma expected", 1},
    {L"if anyof (true,", L"premature end of script - test expected", 1},
    {L"if anyof (true", L"premature end of script: comma or close brace expected", 1},
    {L"if allof () { keep; }", L"invalid token - test keyword expected", 1},
    {L"if not", L"premature end of script - test expected", 1},
};

// Tests and string lists.
const ErrorCase kTestErrors[] = {
    {L"if size", L"premature end of script - size tag expected", 1},
    {L"if size 5 { keep; }", L"invalid token - size :under or :over expected", 1},
    {L"if size :big 5 { keep; }", L"unknown tag ':big' - size :under or :over expected", 1},
    {L"if size :over", L"premature end of script - number expected", 1},
    {L"if size :over \"5\" { keep; }", L"invalid token - number expected", 1},
    {L"if exists", L"premature end of script - string list expected", 1},
    {L"if exists 5 { keep; }", L"bad token - string list expected", 1},
    {L"if exists [", L"premature end of script - string list incomplete", 1},
    {L"if exists [5] { keep; }", L"invalid token - string expected", 1},
    {L"if exists [] { keep; }", L"invalid token - string expected", 1},
    {L"if exists [\"a\"", L"premature end of script - comma or close brace expected", 1},
    {L"if exists [\"a\" \"b\"] { keep; }", L"invalid token - comma expected", 1},
    {L"if address", L"premature end of script - address tag expected", 1},
    {L"if address :is", L"premature end of script - address tag expected", 1},
    {L"if address :comparator", L"Premature end of script: comparator value expected", 1},
    {L"if address :comparator 5", L"bad token: comparator value string expected", 1},
    {L"if address :foo \"a\" \"b\" { keep; }", L"Invalid tag in address test: foo", 1},
    {L"if address \"From\"", L"premature end of script - string list expected", 1},
    {L"if address \"From\" { keep; }", L"bad token - string list expected", 1},
    {L"if header", L"Premature end of script: header tag expected", 1},
    {L"if header :contains", L"Premature end of script: header tag expected", 1},
    {L"if header :comparator", L"premature end of script: comparator value expected", 1},
    {L"if header :comparator 5", L"bad token: comparator value string expected", 1},
    {L"if header :domain \"a\" \"b\" { keep; }", L"invalid tag in header test: domain", 1},
    {L"if header :iscontact \"a\" \"b\" { keep; }", L"invalid tag in header test: iscontact", 1},
    {L"if spamtest 5 { keep; }", L"bad token: start of block expected", 1},
};

// The comment state machine and lines.
const ErrorCase kCommentErrors[] = {
    {L"# just a comment\r\nkeep;", L"invalid command: just", 1},
    {L"#!0 x\r\n# kep;\r\n", L"invalid command: kep", 2},
    {L"#!0 x\r\n# keep;\r\n# a note\r\nkeep;", L"invalid command: a", 3},
    {L"keep;\r\n/* a\r\nb */ stop", L"premature end of script: semicolon expected", 3},
    {L"if true {\r\n  fileinto \"a\nb\";\r\n  keep\r\n}", L"bad token: semicolon expected", 4},
};

void expectErrors(const ErrorCase* begin, const ErrorCase* end) {
  for (const ErrorCase* c = begin; c != end; ++c) {
    auto parsed = parse(c->script);
    EXPECT_FALSE(parsed.ok) << utf8(c->script);
    EXPECT_EQ(parsed.head, nullptr) << utf8(c->script);
    EXPECT_EQ(parsed.status->errorFlag, 1) << utf8(c->script);
    EXPECT_EQ(parsed.message(), c->message) << utf8(c->script);
    EXPECT_EQ(parsed.status->line, c->line) << utf8(c->script);
  }
}

}  // namespace

TEST(SieveParser, CommandErrors) { expectErrors(std::begin(kCommandErrors), std::end(kCommandErrors)); }
TEST(SieveParser, BlockErrors) { expectErrors(std::begin(kBlockErrors), std::end(kBlockErrors)); }
TEST(SieveParser, TestErrors) { expectErrors(std::begin(kTestErrors), std::end(kTestErrors)); }
TEST(SieveParser, CommentErrors) { expectErrors(std::begin(kCommentErrors), std::end(kCommentErrors)); }

TEST(SieveParser, TopLevelEndsWithSuccessAtACloseBraceOrAStrayCharacter) {
  struct Case {
    const wchar_t* script;
    const wchar_t* outline;
  };
  const Case cases[] = {
      {L"", L""},
      {L"  \r\n\r\n", L""},
      {L"keep;", L"Keep"},
      {L"keep; } this is not read (", L"Keep"},
      {L"}", L""},
      {L"keep; = stop;", L"Keep"},
      {L"stop; @", L"Stop"},
      {L"keep; // not a comment", L"Keep"},
      {L"keep; #!", L"Keep"},
  };
  for (const Case& c : cases) {
    auto parsed = parse(c.script);
    EXPECT_TRUE(parsed.ok) << utf8(c.script) << ": " << utf8(parsed.message());
    EXPECT_EQ(parsed.status->errorFlag, 0);
    EXPECT_STREQ(parsed.status->errorMessage, L"");
    EXPECT_EQ(outline(parsed.head.get()), c.outline) << utf8(c.script);
  }
}

TEST(SieveParser, CommandShapes) {
  struct Case {
    const wchar_t* script;
    const wchar_t* outline;
  };
  const Case cases[] = {
      {L"KEEP; Stop; setReadFlag; discard;", L"Keep Stop SetReadFlag Discard"},
      // Any token stands in for the semicolon: `discard` is swallowed.
      {L"fileinto \"x\" discard stop;", L"FileInto[x] Stop"},
      {L"reject \"no\" ; keep;", L"Reject[no] Keep"},
      {L"redirect \"a\" {", L"Redirect[a]"},
      {L"if true { }", L"If(Empty)"},
      {L"if true {} else {}", L"If(Empty)else(Empty)"},
      {L"If TRUE { Keep; }", L"If(Keep)"},
      {L"if true { keep; } elsif false { stop; } else { discard; }", L"If(Keep)else(If(Stop)else(Discard))"},
      {L"if true { keep; } keep;", L"If(Keep) Keep"},
      {L"if true { if false { stop; } keep; }", L"If(If(Stop) Keep)"},
  };
  for (const Case& c : cases) {
    auto parsed = parse(c.script);
    EXPECT_TRUE(parsed.ok) << utf8(c.script) << ": " << utf8(parsed.message());
    EXPECT_EQ(outline(parsed.head.get()), c.outline) << utf8(c.script);
  }
}

TEST(SieveParser, BlocksSetParentsAndAnEmptyBlockIsOneNode) {
  auto parsed = parse(L"if true { } else { keep; stop; }");
  ASSERT_TRUE(parsed.ok);
  SieveRule* rule = parsed.head.get();
  ASSERT_NE(rule->thenBlock, nullptr);
  EXPECT_EQ(rule->thenBlock->kind, RuleKind::Empty);
  EXPECT_EQ(rule->thenBlock->parent, rule);
  EXPECT_EQ(rule->thenBlock->next, nullptr);
  for (SieveRule* command = rule->elseBlock; command; command = command->next) EXPECT_EQ(command->parent, rule);
  EXPECT_EQ(rule->parent, nullptr);
}

TEST(SieveParser, NotifyOptions) {
  struct Case {
    const wchar_t* script;
    const wchar_t* name;
    const wchar_t* argument;
  };
  const Case cases[] = {
      {L"notify;", L"", L"$from$: $subject$\r\n$text$"},
      {L"notify", L"", L"$from$: $subject$\r\n$text$"},
      {L"notify :method \"MAIL\" :options \"o\" :message \"m\";", L"o", L"m"},
      {L"notify :message \"m\"", L"", L"m"},
      {L"notify :message 5;", L"", L"5"},  // the value's type is not looked at
      {L"notify :message \"\";", L"", L""},
  };
  for (const Case& c : cases) {
    auto parsed = parse(c.script);
    ASSERT_TRUE(parsed.ok) << utf8(c.script) << ": " << utf8(parsed.message());
    EXPECT_EQ(parsed.head->kind, RuleKind::Notify);
    EXPECT_EQ(parsed.head->name, c.name) << utf8(c.script);
    EXPECT_EQ(parsed.head->argument, c.argument) << utf8(c.script);
  }
}

TEST(SieveParser, VacationOptions) {
  auto parsed = parse(
      L"vacation :DAYS 3 :subject \"Away\" :rangeEnabled 1 :rangeStart 1447369200 :rangeEnd 2G "
      L":externalMessageEnabled 0 :externalMessageSubject \"s\" :externalMessageBody \"b\" "
      L":externalMessageKnownContactsOnly 1 \"reason\";");
  ASSERT_TRUE(parsed.ok) << utf8(parsed.message());
  SieveRule& rule = *parsed.head;
  EXPECT_EQ(rule.kind, RuleKind::Vacation);
  EXPECT_EQ(rule.name, L"Away");
  EXPECT_EQ(rule.argument, L"reason");
  EXPECT_EQ(rule.parameter(VacationParameter::Days), L"3");
  EXPECT_EQ(rule.parameter(VacationParameter::RangeEnabled), L"1");
  EXPECT_EQ(rule.parameter(VacationParameter::RangeStart), L"1447369200");
  EXPECT_EQ(rule.parameter(VacationParameter::RangeEnd), L"-2147483648");
  EXPECT_EQ(rule.parameter(VacationParameter::ExternalMessageEnabled), L"0");
  EXPECT_EQ(rule.parameter(VacationParameter::ExternalMessageSubject), L"s");
  EXPECT_EQ(rule.parameter(VacationParameter::ExternalMessageBody), L"b");
  EXPECT_EQ(rule.parameter(VacationParameter::ExternalMessageKnownContactsOnly), L"1");
  EXPECT_EQ(rule.parameter(VacationParameter::Subject), L"");  // never in parameters

  auto plain = parse(L"vacation \"r\";");
  ASSERT_TRUE(plain.ok);
  EXPECT_EQ(plain.head->parameter(VacationParameter::Days), L"7");
  auto bare = parse(L"vacation;");  // no reason text
  ASSERT_TRUE(bare.ok);
  EXPECT_EQ(bare.head->argument, L"");
  auto empty = parse(L"vacation :days 2 \"\";");
  ASSERT_TRUE(empty.ok);
  EXPECT_EQ(empty.head->argument, L"");
}

TEST(SieveParser, TestShapes) {
  auto test = sievetest::parseTestText(L"address :domain :all :contains :iscontact :is \"From\" \"\"");
  ASSERT_NE(test, nullptr);
  EXPECT_EQ(test->kind, TestKind::Address);
  EXPECT_EQ(test->addressPart, AddressPart::All);  // the last tag wins
  EXPECT_EQ(test->matchType, MatchType::Is);
  EXPECT_TRUE(test->isContact);
  EXPECT_EQ(stringListToVector(test->keys), (std::vector<std::wstring>{L"From"}));
  ASSERT_NE(test->values, nullptr);  // one empty string, not an empty list
  EXPECT_EQ(stringListToVector(test->values), (std::vector<std::wstring>{L""}));

  struct Comparator {
    const wchar_t* test;
    unsigned octet;
  };
  const Comparator comparators[] = {
      {L"header :comparator \"i;octet\" \"Subject\" \"x\"", 1},
      {L"header :comparator \"I;OCTET\" \"Subject\" \"x\"", 1},
      {L"header :comparator \"i;ascii-casemap\" \"Subject\" \"x\"", 0},
      {L"address :comparator \"i;octet\" :comparator \"x\" \"From\" \"x\"", 0},
      {L"header \"Subject\" \"x\"", 0},
  };
  for (const Comparator& c : comparators) {
    auto parsed = sievetest::parseTestText(c.test);
    ASSERT_NE(parsed, nullptr);
    EXPECT_EQ(parsed->octetComparator, c.octet) << utf8(c.test);
  }

  struct Size {
    const wchar_t* test;
    SizeMode mode;
    std::uint32_t limit;
  };
  const Size sizes[] = {
      {L"size :over 1K", SizeMode::Over, 1024u},
      {L"size :under 100", SizeMode::Under, 100u},
      {L"size :OVER 2G", SizeMode::Over, 0x80000000u},
      {L"size :over 4G", SizeMode::Over, 0u},
      {L"size :over 4294967295", SizeMode::Over, 0xFFFFFFFFu},
  };
  for (const Size& c : sizes) {
    auto parsed = sievetest::parseTestText(c.test);
    ASSERT_NE(parsed, nullptr);
    EXPECT_EQ(parsed->kind, TestKind::Size);
    EXPECT_EQ(parsed->sizeMode, c.mode) << utf8(c.test);
    EXPECT_EQ(parsed->sizeLimit, c.limit) << utf8(c.test);
  }
}

TEST(SieveParser, NotFlipsAndVoidIsANullTest) {
  struct Case {
    const wchar_t* test;
    bool negated;
  };
  const Case cases[] = {{L"true", false}, {L"not true", true}, {L"not not true", false}, {L"NOT not NOT true", true}};
  for (const Case& c : cases) {
    auto test = sievetest::parseTestText(c.test);
    ASSERT_NE(test, nullptr);
    EXPECT_EQ(test->negated, c.negated) << utf8(c.test);
  }
  auto parsed = parse(L"if void { keep; }");
  ASSERT_TRUE(parsed.ok);
  EXPECT_EQ(parsed.head->test, nullptr);
  auto negatedVoid = parse(L"if not void { keep; }");
  ASSERT_TRUE(negatedVoid.ok);
  EXPECT_EQ(negatedVoid.head->test, nullptr);
}

TEST(SieveParser, TestListsMayLeaveOutTheParentheses) {
  auto test = sievetest::parseTestText(L"allof true");
  ASSERT_NE(test, nullptr);
  ASSERT_NE(test->subTests, nullptr);
  EXPECT_EQ(test->subTests->kind, TestKind::True);
  EXPECT_EQ(test->subTests->next, nullptr);

  test = sievetest::parseTestText(L"anyof (spamtest, exists [\"X\", \"Y\"], false)");
  ASSERT_NE(test, nullptr);
  EXPECT_EQ(test->kind, TestKind::AnyOf);
  int children = 0;
  for (SieveTest* child = test->subTests; child; child = child->next) ++children;
  EXPECT_EQ(children, 3);
  EXPECT_EQ(stringListToVector(test->subTests->next->keys), (std::vector<std::wstring>{L"X", L"Y"}));
}

TEST(SieveParser, NamesAndFlagsComeFromTheHeaderAndTheLiveState) {
  struct Case {
    const wchar_t* script;
    const wchar_t* name;
    bool enabled;
  };
  const Case cases[] = {
      {L"keep;", L"", true},
      {L"#!1 Spam folder\r\nkeep;", L"Spam folder", true},
      {L"#!0 Off\r\n# keep;", L"Off", false},
      // The flag is the one in force when the keyword was read.
      {L"#!0 Live anyway\r\nkeep;", L"Live anyway", true},
      // A header marked enabled before `#` lines gives no rule: the name waits for the next.
      {L"#!1 Waiting\r\n# keep;\r\nstop;", L"Waiting", true},
      {L"#!0\r\n# keep;", L"", false},
  };
  for (const Case& c : cases) {
    auto parsed = parse(c.script);
    ASSERT_TRUE(parsed.ok) << utf8(c.script) << ": " << utf8(parsed.message());
    ASSERT_NE(parsed.head, nullptr);
    EXPECT_EQ(parsed.head->next, nullptr) << utf8(c.script);
    EXPECT_EQ(parsed.head->name, c.name) << utf8(c.script);
    EXPECT_EQ(parsed.head->enabled, c.enabled) << utf8(c.script);
  }

  const std::wstring longName(300, L'N');
  auto parsed = parse(L"#!1 " + longName + L"\r\nkeep;");
  ASSERT_TRUE(parsed.ok);
  EXPECT_EQ(parsed.head->name, std::wstring(127, L'N'));

  // Nested commands of a disabled rule are disabled, and carry no name.
  auto disabled = parse(sievetest::dataScript("from-bob-disabled.sieve"));
  ASSERT_TRUE(disabled.ok);
  EXPECT_FALSE(disabled.head->enabled);
  for (SieveRule* command = disabled.head->thenBlock; command; command = command->next) {
    EXPECT_FALSE(command->enabled);
    EXPECT_EQ(command->name, L"");
  }
}

TEST(SieveParser, StatusRecordIsFilledOnSuccessToo) {
  auto parsed = parse(L"keep;\r\nstop;\r\n");
  ASSERT_TRUE(parsed.ok);
  EXPECT_EQ(parsed.status->line, 3);
  EXPECT_TRUE(parsed.status->commentsMode);
  EXPECT_EQ(parsed.status->errorFlag, 0);

  SieveRule* head = nullptr;
  EXPECT_TRUE(parseRules(std::wstring_view(L"keep;"), head, false, nullptr));
  RulePtr owner(head);
  EXPECT_EQ(outline(head), L"Keep");
}

TEST(SieveParser, StreamAndTextFormsAgree) {
  const std::wstring script = sievetest::dataScript("mailbox.sieve");
  std::wistringstream stream(script);
  SieveRule* head = nullptr;
  SieveParseStatus status;
  ASSERT_TRUE(parseRules(stream, head, true, &status));
  RulePtr owner(head);
  EXPECT_EQ(sievetest::writeScript(head), script);

  std::wistringstream broken(L"keep;\nstop");
  EXPECT_FALSE(parseRules(broken, head, true, &status));
  EXPECT_EQ(head, nullptr);
  EXPECT_EQ(status.line, 2);
}

TEST(SieveParser, ParseScriptRaises) {
  SieveRule* head = nullptr;
  SieveRule::parseScript(L"keep;", &head);
  RulePtr owner(head);
  EXPECT_EQ(outline(head), L"Keep");

  try {
    SieveRule::parseScript(L"keep;", nullptr);
    FAIL() << "no exception";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), E_INVALIDARG);
  }

  try {
    SieveRule::parseScript(L"keep;\r\nif true {\r\n  stop\r\n}\r\n", &head);
    FAIL() << "no exception";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), E_FAIL);
    const std::wstring tail = L": Failed to parse sieve script (error=1, line=4)";
    ASSERT_GE(e.text().size(), tail.size());
    EXPECT_EQ(e.text().substr(e.text().size() - tail.size()), tail) << e.what();
    EXPECT_NE(e.text().find(L"Sieve::SieveRule::parseScript"), std::wstring::npos) << e.what();
  }
  EXPECT_EQ(head, nullptr);
}

TEST(SieveParser, DeepNestingIsAnErrorNotACrash) {
  std::wstring nots;
  for (int i = 0; i < 100000; ++i) nots += L"not ";
  auto parsed = parse(L"if " + nots + L"true { keep; }");
  EXPECT_FALSE(parsed.ok);
  EXPECT_EQ(parsed.message(), L"script nested too deeply");

  std::wstring blocks;
  for (int i = 0; i < 100000; ++i) blocks += L"if true {";
  parsed = parse(blocks);
  EXPECT_FALSE(parsed.ok);
  EXPECT_EQ(parsed.message(), L"script nested too deeply");

  // Within the limit all is well.
  std::wstring nested;
  for (int i = 0; i < 100; ++i) nested += L"if allof (true, not anyof (false)) {\n";
  nested += L"keep;\n";
  for (int i = 0; i < 100; ++i) nested += L"}\n";
  parsed = parse(nested);
  EXPECT_TRUE(parsed.ok) << utf8(parsed.message());
  const std::wstring written = sievetest::writeScript(parsed.head.get());
  auto again = parse(written);
  ASSERT_TRUE(again.ok) << utf8(again.message());
  EXPECT_EQ(sievetest::writeScript(again.head.get()), written);
}
