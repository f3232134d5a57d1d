// The writer: exact text, spacing and CRLF of every piece.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "base/HResultException.h"
#include "tests/sieve/SieveTestSupport.h"
#include "testing/TestEnvironment.h"

using namespace Sieve;
using sievetest::crlf;
using sievetest::parse;
using zelvo::testing::utf8;

namespace {

std::wstring quoted(const std::wstring& text) {
  std::wostringstream out;
  writeQuoted(out, text);
  return out.str();
}

std::wstring listText(const SieveStringList* list) {
  std::wostringstream out;
  writeStringList(out, list);
  return out.str();
}

// A rule of the given kind, owned by the caller.
RulePtr makeRule(RuleKind kind, const std::wstring& name, bool enabled) {
  RulePtr rule(new SieveRule(name, enabled, nullptr));
  rule->kind = kind;
  return rule;
}

}  // namespace

TEST(SieveWriter, QuotedEscapesSixCharacters) {
  struct Case {
    std::wstring text;
    std::wstring written;
  };
  const Case cases[] = {
      {L"", L"\"\""},
      {L"plain text", L"\"plain text\""},
      {L"it's", L"\"it\\'s\""},
      {L"say \"hi\"", L"\"say \\\"hi\\\"\""},
      {L"a\\b", L"\"a\\\\b\""},
      {L"cr\rlf\ntab\t", L"\"cr\\rlf\\ntab\\t\""},
      {L"\x00e9t\x00e9 \x20ac \x0001", L"\"\x00e9t\x00e9 \x20ac \x0001\""},
  };
  for (const Case& c : cases) EXPECT_EQ(quoted(c.text), c.written) << utf8(c.text);
}

TEST(SieveWriter, StringLists) {
  StringListPtr one(makeStringList({L"From"}));
  StringListPtr two(makeStringList({L"a", L"b\"c"}));
  StringListPtr three(makeStringList({L"x", L"", L"z"}));
  EXPECT_EQ(listText(nullptr), L"\"\" ");
  EXPECT_EQ(listText(one.get()), L"\"From\" ");
  EXPECT_EQ(listText(two.get()), L"[\"a\", \"b\\\"c\"] ");
  EXPECT_EQ(listText(three.get()), L"[\"x\", \"\", \"z\"] ");
}

TEST(SieveWriter, Tests) {
  struct Case {
    const wchar_t* test;
    const wchar_t* written;
  };
  const Case cases[] = {
      {L"true", L"true "},
      {L"false", L"false "},
      {L"spamtest", L"spamtest "},
      {L"not true", L"not true "},
      {L"not not true", L"true "},
      {L"allof (true, false)", L"allof (true , false ) "},
      {L"not allof (true)", L"not allof (true ) "},
      {L"anyof (size :over 1K, spamtest)", L"anyof (size :over 1024, spamtest ) "},
      {L"exists [\"X-A\", \"X-B\"]", L"exists [\"X-A\", \"X-B\"] "},
      {L"address \"From\" \"x\"", L"address :all :is \"From\" \"x\" "},
      {L"address :iscontact :contains :domain [\"To\",\"Cc\"] \"x\"",
       L"address :domain :contains :iscontact [\"To\", \"Cc\"] \"x\" "},
      {L"address :localpart :matches \"From\" \"a*\"", L"address :localpart :matches \"From\" \"a*\" "},
      {L"header :comparator \"i;octet\" :matches \"Subject\" \"*x*\"", L"header :matches \"Subject\" \"*x*\" "},
      {L"header \"Subject\" \"\"", L"header :is \"Subject\" \"\" "},
      {L"size :under 0", L"size :under 0"},
      {L"size :over 2G", L"size :over 2147483648"},
      {L"size :over 4G", L"size :over 0"},
  };
  for (const Case& c : cases) {
    auto test = sievetest::parseTestText(c.test);
    ASSERT_NE(test, nullptr) << utf8(c.test);
    bool ok = false;
    EXPECT_EQ(sievetest::writeTestText(test.get(), &ok), c.written) << utf8(c.test);
    EXPECT_TRUE(ok);
  }
}

TEST(SieveWriter, VoidAndUnknownTests) {
  bool ok = false;
  EXPECT_EQ(sievetest::writeTestText(nullptr, &ok), L"void ");
  EXPECT_TRUE(ok);

  SieveTest unknown;  // kind 0
  EXPECT_EQ(sievetest::writeTestText(&unknown, &ok), L"");
  EXPECT_FALSE(ok);

  // A failing child stops the list; the closing parenthesis comes all the same.
  auto list = sievetest::parseTestText(L"anyof (true, false, spamtest)");
  ASSERT_NE(list, nullptr);
  list->subTests->next->kind = static_cast<TestKind>(42);
  list->subTests->next->negated = true;
  EXPECT_EQ(sievetest::writeTestText(list.get(), &ok), L"anyof (true , not ) ");
  EXPECT_FALSE(ok);
}

TEST(SieveWriter, Commands) {
  struct Case {
    const wchar_t* script;
    const wchar_t* written;
  };
  const Case cases[] = {
      {L"keep;", L"keep;"},
      {L"discard;", L"discard;"},
      {L"stop;", L"stop;"},
      {L"setreadflag;", L"setreadflag;"},
      {L"reject \"No \\\"thanks\\\"\";", L"reject \"No \\\"thanks\\\"\";"},
      {L"fileinto \"Work/Bob\";", L"fileinto \"Work/Bob\";"},
      {L"redirect \"a@example.com\";", L"redirect \"a@example.com\";"},
      {L"redirect \"a\"; redirect \"b\";", L"redirect \"a; b\";"},
      {L"notify;", L"notify :message \"$from$: $subject$\\r\\n$text$\";"},
      {L"notify :options \"o\" :message \"\";", L"notify :options \"o\";"},
      {L"notify :message \"m\" :options \"o\";", L"notify :options \"o\" :message \"m\";"},
      {L"vacation \"r\";", L"vacation :days 7 \"r\";"},
      {L"vacation;", L"vacation :days 7 \"\";"},
      {L"vacation :externalMessageBody \"b\" :rangeEnabled 1 :subject \"s\" :days 2 \"r\";",
       L"vacation :subject \"s\" :days 2 :rangeEnabled 1 :externalMessageBody \"b\" \"r\";"},
      {L"vacation :externalMessageKnownContactsOnly 0 :externalMessageSubject \"x\" :rangeStart 1 :rangeEnd 2 "
       L":externalMessageEnabled 1 \"r\";",
       L"vacation :days 7 :rangeStart 1 :rangeEnd 2 :externalMessageEnabled 1 :externalMessageSubject \"x\" "
       L":externalMessageKnownContactsOnly 0 \"r\";"},
  };
  for (const Case& c : cases) {
    auto parsed = parse(c.script);
    ASSERT_TRUE(parsed.ok) << utf8(c.script) << ": " << utf8(parsed.message());
    EXPECT_EQ(sievetest::writeScript(parsed.head.get(), true), std::wstring(c.written) + L"\r\n") << utf8(c.script);
  }
}

TEST(SieveWriter, HeaderLines) {
  struct Case {
    const wchar_t* name;
    bool enabled;
    std::wstring written;
  };
  const Case cases[] = {
      {L"", true, crlf({L"keep;"})},
      {L"", false, crlf({L"#!0 ", L"# keep;"})},
      {L"Named", true, crlf({L"#!1 Named", L"keep;"})},
      {L"Named", false, crlf({L"#!0 Named", L"# keep;"})},
      {L"say \"hi\" \\ there", true, crlf({L"#!1 say \"hi\" \\ there", L"keep;"})},  // unquoted, unescaped
  };
  for (const Case& c : cases) {
    RulePtr rule = makeRule(RuleKind::Keep, c.name, c.enabled);
    EXPECT_EQ(sievetest::writeScript(rule.get()), c.written) << utf8(c.name) << " " << c.enabled;
    // A single rule is written with no comments at all.
    EXPECT_EQ(sievetest::writeScript(rule.get(), true), L"keep;\r\n");
  }
}

TEST(SieveWriter, IfLayout) {
  struct Case {
    const wchar_t* script;
    bool single;
    std::wstring written;
  };
  const Case cases[] = {
      {L"if true { if false { keep; } else { stop; } }", false,
       crlf({L"if true ", L"{", L"  if false ", L"  {", L"    keep;", L"  }", L"  else {", L"    stop;", L"  }", L"}"})},
      {L"if true { keep; } elsif false { stop; } else { discard; }", false,
       crlf({L"if true ", L"{", L"  keep;", L"}", L"elsif false ", L"{", L"  stop;", L"}", L"else {", L"  discard;",
             L"}"})},
      // Without comments the opening brace stands unindented at any depth; the closing one not.
      {L"if true { if false { keep; } }", true,
       crlf({L"if true ", L"{", L"  if false ", L"{", L"    keep;", L"  }", L"}"})},
      {L"#!0 x\n# if true { keep; } else { stop; }", false,
       crlf({L"#!0 x", L"# if true ", L"# {", L"#   keep;", L"# }", L"# else {", L"#   stop;", L"# }"})},
      // A disabled elsif at depth 0 gets a header line of its own.
      {L"#!0 x\n# if true { keep; } elsif false { stop; }", false,
       crlf({L"#!0 x", L"# if true ", L"# {", L"#   keep;", L"# }", L"#!0 ", L"# elsif false ", L"# {", L"#   stop;",
             L"# }"})},
      {L"#!0 x\n# if true { keep; }", true, crlf({L"if true ", L"{", L"  keep;", L"}"})},
  };
  for (const Case& c : cases) {
    auto parsed = parse(c.script);
    ASSERT_TRUE(parsed.ok) << utf8(c.script) << ": " << utf8(parsed.message());
    const std::wstring written = sievetest::writeScript(parsed.head.get(), c.single);
    EXPECT_EQ(written, c.written) << utf8(c.script);
    if (!c.single) {
      // What the writer makes reads back to the same text.
      auto again = parse(written);
      ASSERT_TRUE(again.ok) << utf8(written) << ": " << utf8(again.message());
      EXPECT_EQ(sievetest::writeScript(again.head.get()), written);
    }
  }
}

TEST(SieveWriter, WritingSetsTheParentsOfBlockCommands) {
  auto parsed = parse(L"if true { redirect \"a\"; keep; redirect \"b\"; stop; }");
  ASSERT_TRUE(parsed.ok);
  SieveRule* stop = parsed.head->thenBlock->next->next;
  ASSERT_NE(stop->parent, parsed.head.get());  // the back pointer of mergeRedirects
  sievetest::writeScript(parsed.head.get());
  EXPECT_EQ(stop->parent, parsed.head.get());
}

TEST(SieveWriter, KindsThatCannotBeWrittenFailTheWholeText) {
  for (const int kind : {0, 11, -1}) {
    RulePtr rule = makeRule(static_cast<RuleKind>(kind), L"", true);
    std::wostringstream out;
    EXPECT_FALSE(writeRule(out, rule.get(), 0, true, false)) << kind;
  }
  std::wostringstream out;
  EXPECT_FALSE(writeRule(out, nullptr, 0, true, false));

  auto parsed = parse(L"keep; if true { } stop;");  // an empty block
  ASSERT_TRUE(parsed.ok);
  std::wstring text = L"untouched";
  try {
    SieveRule::writeScript(parsed.head.get(), text, false);
    FAIL() << "no exception";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), E_FAIL);
    const std::wstring tail = L": Failed to write sieve script.";
    EXPECT_EQ(e.text().substr(e.text().size() - tail.size()), tail) << e.what();
  }
  EXPECT_EQ(text, L"untouched");
  EXPECT_THROW(SieveRule::writeScript(parsed.head->next, text, true), HResultException);
  EXPECT_THROW(SieveRule::writeScript(nullptr, text, true), HResultException);
  EXPECT_EQ(text, L"untouched");

  bool ok = true;
  const std::wstring partial = sievetest::writeRulesText(parsed.head.get(), &ok);
  EXPECT_FALSE(ok);
  EXPECT_EQ(partial.find(L"keep;\r\nif true \r\n{\r\n"), 0u);
  EXPECT_EQ(partial.find(L"stop"), std::wstring::npos);  // stops at the first failure
}

TEST(SieveWriter, EmptyChains) {
  EXPECT_EQ(sievetest::writeScript(nullptr), L"");
  std::wostringstream out;
  EXPECT_TRUE(writeRules(out, nullptr));
  EXPECT_EQ(out.str(), std::wstring(1, L'\0'));
  EXPECT_EQ(textOfStream(out), L"");
}

TEST(SieveWriter, WriteRulesWorksOnACopy) {
  auto parsed = parse(L"#!1 fw\r\nif true { redirect \"a,b\"; } else { keep; }");
  ASSERT_TRUE(parsed.ok);
  std::wostringstream out;
  ASSERT_TRUE(writeRules(out, parsed.head.get()));
  const std::wstring text = out.str();
  EXPECT_EQ(text, crlf({L"#!1 fw", L"if true ", L"{", L"  redirect \"a\";", L"  redirect \"b\";", L"}"}) + L'\0');
  // The tree is as it was.
  EXPECT_EQ(sievetest::outline(parsed.head.get()), L"If(Redirect[a,b])else(Keep)");
}

TEST(SieveWriter, EdgeCasesOfTheWriter) {
  struct Case {
    const wchar_t* script;
    std::wstring written;
  };
  const Case cases[] = {
      {L"reject \"line one\\r\\nline two\";", crlf({L"reject \"line one\\r\\nline two\";"})},
      {L"if void { keep; }", crlf({L"if void ", L"{", L"  keep;", L"}"})},
      {L"if not allof (true, false) { keep; }", crlf({L"if not allof (true , false ) ", L"{", L"  keep;", L"}"})},
      {L"vacation \"\";", crlf({L"vacation :days 7 \"\";"})},
      {L"if size :under 0 { keep; }", crlf({L"if size :under 0", L"{", L"  keep;", L"}"})},
  };
  for (const Case& c : cases) {
    auto parsed = parse(c.script);
    ASSERT_TRUE(parsed.ok) << utf8(c.script);
    const std::wstring written = sievetest::writeScript(parsed.head.get());
    EXPECT_EQ(written, c.written) << utf8(c.script);
    auto again = parse(written);
    ASSERT_TRUE(again.ok) << utf8(written);
    EXPECT_EQ(sievetest::writeScript(again.head.get()), written);
  }
  // The reader gives the carriage return back.
  auto parsed = parse(L"reject \"a\\rb\";");
  ASSERT_TRUE(parsed.ok);
  auto again = parse(sievetest::writeScript(parsed.head.get()));
  EXPECT_EQ(again.head->argument, L"a\rb");
}

TEST(SieveWriter, ALineFeedInANameBreaksTheScriptStructure) {
  // Nothing guards against it; the rule editor keeps line breaks out of names.
  RulePtr rule = makeRule(RuleKind::Keep, L"two\nlines", false);
  const std::wstring written = sievetest::writeScript(rule.get());
  EXPECT_EQ(written, L"#!0 two\nlines\r\n# keep;\r\n");
  auto parsed = parse(written);
  EXPECT_FALSE(parsed.ok);
  EXPECT_EQ(parsed.message(), L"invalid command: lines");
}

TEST(SieveWriter, ATopLevelRuleAfterSplitRedirectsTakesItsPrefixFromTheirTop) {
  // splitRules points the rule after the copies at the last copy, and a top-level rule's
  // parent is never overwritten by the writer: the `# ` of its lines comes from the first
  // redirect's flag, while the If's own braces follow its own flag. The
  // rule editor only builds If rules, so a top-level redirect comes from a hand-made script.
  auto parsed = parse(L"#!0 fw\r\n# redirect \"a,b\";\r\n#!1 x\r\nif true { keep; }");
  ASSERT_TRUE(parsed.ok);
  EXPECT_EQ(sievetest::writeRulesText(parsed.head.get()),
            crlf({L"#!0 fw", L"# redirect \"a\";", L"#!0 fw", L"# redirect \"b\";", L"#!1 x", L"# if true ", L"{",
                  L"#   keep;", L"}"}));
  // The reader merges a list's redirects into one, so a run of several split redirects is
  // hand-made: the run's first flag reaches every rule up to the one after the last split,
  // and a rule that is not split ends the run.
  struct Made {
    RuleKind kind;
    const wchar_t* name;
    bool enabled;
    const wchar_t* argument;
  };
  const Made made[] = {{RuleKind::Redirect, L"a", false, L"a,b"}, {RuleKind::Redirect, L"b", true, L"c;d"},
                       {RuleKind::Keep, L"c", true, L""},           {RuleKind::Keep, L"d", true, L""},
                       {RuleKind::Redirect, L"e", true, L"e f"},    {RuleKind::Discard, L"f", false, L""}};
  SieveRule* head = nullptr;
  for (const Made& m : made) {
    RulePtr rule = makeRule(m.kind, m.name, m.enabled);
    rule->argument = m.argument;
    appendRule(head, rule.release());
  }
  RulePtr chain(head);
  EXPECT_EQ(sievetest::writeRulesText(chain.get()),
            crlf({L"#!0 a", L"# redirect \"a\";", L"#!0 a", L"# redirect \"b\";", L"#!1 b", L"# redirect \"c\";",
                  L"#!1 b", L"# redirect \"d\";", L"#!1 c", L"# keep;", L"#!1 d", L"keep;", L"#!1 e", L"redirect \"e\";",
                  L"#!1 e", L"redirect \"f\";", L"#!0 f", L"discard;"}));
  // writeScript has no split copies, and writes the rule as it is.
  EXPECT_EQ(sievetest::writeScript(parsed.head.get()),
            crlf({L"#!0 fw", L"# redirect \"a,b\";", L"#!1 x", L"if true ", L"{", L"  keep;", L"}"}));
}

TEST(SieveWriter, WriteRulesIntoGivesTheStreamsTextInPlaceOfWhatTheStringHeld) {
  const char* const files[] = {"mailbox.sieve", "handwritten.sieve", "junk-email.sieve", "out-of-office.sieve"};
  std::wstring text = L"left over from before";
  for (const char* file : files) {
    SCOPED_TRACE(file);
    auto parsed = parse(sievetest::dataScript(file));
    ASSERT_TRUE(parsed.ok);
    bool streamOk = false;
    const std::wstring expected = sievetest::writeRulesText(parsed.head.get(), &streamOk);
    ASSERT_TRUE(streamOk);
    EXPECT_TRUE(writeRulesInto(text, parsed.head.get()));
    EXPECT_EQ(text, expected);
  }
  EXPECT_TRUE(writeRulesInto(text, nullptr));
  EXPECT_EQ(text, L"");

  // A failure leaves what the stream would hold, up to the rule that failed.
  auto broken = parse(L"keep; if true { } stop;");
  ASSERT_TRUE(broken.ok);
  bool streamOk = true;
  const std::wstring partial = sievetest::writeRulesText(broken.head.get(), &streamOk);
  EXPECT_FALSE(streamOk);
  EXPECT_FALSE(writeRulesInto(text, broken.head.get()));
  EXPECT_EQ(text, partial);
}
