// Reader and writer against each other: the example scripts of a plain rule, the
// out-of-office rule and the junk e-mail rule come back byte for byte, and the table "What survives a rewrite" holds row by row.
#include <gtest/gtest.h>

#include <string>

#include "base/HResultException.h"
#include "tests/sieve/SieveTestSupport.h"
#include "testing/TestEnvironment.h"

using namespace Sieve;
using sievetest::crlf;
using sievetest::parse;
using zelvo::testing::utf8;

namespace {

// Parses and writes again with writeScript.
std::wstring rewritten(const std::wstring& script) {
  auto parsed = parse(script);
  EXPECT_TRUE(parsed.ok) << utf8(script) << ": " << utf8(parsed.message());
  return parsed.ok ? sievetest::writeScript(parsed.head.get()) : L"";
}

// Parses and writes again with writeRules, the form the rule set saves.
std::wstring saved(const std::wstring& script) {
  auto parsed = parse(script);
  EXPECT_TRUE(parsed.ok) << utf8(script) << ": " << utf8(parsed.message());
  bool ok = false;
  const std::wstring text = sievetest::writeRulesText(parsed.head.get(), &ok);
  EXPECT_TRUE(ok);
  return text;
}

const std::wstring kFromBob = crlf({
    L"#!1 From Bob",
    L"if allof (address :all :is \"From\" \"bob\" , header :contains \"Subject\" [\"urgent\", \"asap\"] ) ",
    L"{",
    L"  fileinto \"Work/Bob\";",
    L"  stop;",
    L"}",
});

}  // namespace

TEST(SieveRoundTrip, DataFilesHoldTheTextsOfTheSpecification) {
  EXPECT_EQ(sievetest::dataScript("from-bob.sieve"), kFromBob);
  EXPECT_EQ(sievetest::dataScript("from-bob-disabled.sieve"),
            crlf({
                L"#!0 From Bob",
                L"# if allof (address :all :is \"From\" \"bob\" , header :contains \"Subject\" [\"urgent\", \"asap\"] ) ",
                L"# {",
                L"#   fileinto \"Work/Bob\";",
                L"#   stop;",
                L"# }",
            }));
  EXPECT_EQ(sievetest::dataScript("out-of-office.sieve"),
            crlf({
                L"#!1 __WebmailAutoreply__",
                L"if true ",
                L"{",
                L"  vacation :days 7 :rangeEnabled 1 :rangeStart 1447369200 :rangeEnd 1447455600 "
                L":externalMessageEnabled 1 :externalMessageSubject \"Away\" :externalMessageBody \"Back on Monday\" "
                L":externalMessageKnownContactsOnly 0 \"I am on leave\";",
                L"}",
            }));
  EXPECT_EQ(sievetest::dataScript("junk-email.sieve"),
            crlf({
                L"#!1 __WebmailJunk__",
                L"if allof (spamtest , not address :all :is :iscontact \"From\" [\"a\", \"b\"] ) ",
                L"{",
                L"  fileinto \"Junk E-Mail\";",
                L"  stop;",
                L"}",
            }));
}

TEST(SieveRoundTrip, ExampleTextsComeBackByteForByte) {
  for (const char* name :
       {"from-bob.sieve", "from-bob-disabled.sieve", "out-of-office.sieve", "junk-email.sieve", "mailbox.sieve"}) {
    const std::wstring script = sievetest::dataScript(name);
    ASSERT_FALSE(script.empty()) << name;
    EXPECT_EQ(rewritten(script), script) << name;
    EXPECT_EQ(saved(script), script) << name;
  }
}

TEST(SieveRoundTrip, ExampleRuleAsBuiltInTheModel) {
  auto* rule = new SieveRule(L"From Bob", true, nullptr);
  rule->kind = RuleKind::If;
  RulePtr owner(rule);
  auto* all = new SieveTest(TestKind::AllOf);
  rule->test = all;
  auto* address = new SieveTest(TestKind::Address);
  address->keys = makeStringList({L"From"});
  address->values = makeStringList({L"bob"});
  auto* header = new SieveTest(TestKind::Header);
  header->matchType = MatchType::Contains;
  header->keys = makeStringList({L"Subject"});
  header->values = makeStringList({L"urgent", L"asap"});
  all->subTests = address;
  address->next = header;
  auto* fileInto = new SieveRule(RuleKind::FileInto, rule);
  fileInto->argument = L"Work/Bob";
  auto* stop = new SieveRule(RuleKind::Stop, rule);
  rule->thenBlock = fileInto;
  fileInto->next = stop;

  EXPECT_EQ(sievetest::writeScript(rule), kFromBob);
  rule->enabled = false;
  EXPECT_EQ(sievetest::writeScript(rule), sievetest::dataScript("from-bob-disabled.sieve"));
}

// The table "What survives a rewrite", row by row.
TEST(SieveRoundTrip, WhatSurvivesARewrite) {
  struct Row {
    const wchar_t* input;
    std::wstring written;
  };
  const Row rows[] = {
      // :comparator of any value: read, never written.
      {L"if header :comparator \"i;octet\" :is \"Subject\" \"x\" { keep; }",
       crlf({L"if header :is \"Subject\" \"x\" ", L"{", L"  keep;", L"}"})},
      // :method "mail" of notify: neither kept nor written. (At top level the name field,
      // which holds :options, also gives the rule a header line.)
      {L"notify :method \"mail\" :options \"o\" :message \"m\";",
       crlf({L"#!1 o", L"notify :options \"o\" :message \"m\";"})},
      // Numbers with K, M or G: plain decimal.
      {L"if size :over 10M { discard; }", crlf({L"if size :over 10485760", L"{", L"  discard;", L"}"})},
      {L"vacation :days 1k \"r\";", crlf({L"vacation :days 1024 \"r\";"})},
      // Comments that are not #! lines, and white space: gone.
      {L"keep; # why\r\n/* block\r\n comment */\r\n\r\n   stop ;", crlf({L"keep;", L"stop;"})},
      // A vacation without :days gets :days 7.
      {L"if true { vacation :subject \"s\" \"r\"; }",
       crlf({L"if true ", L"{", L"  vacation :subject \"s\" :days 7 \"r\";", L"}"})},
      // not not: gone.
      {L"if not not true { keep; }", crlf({L"if true ", L"{", L"  keep;", L"}"})},
      // Tag order of address and header: part, match, iscontact.
      {L"if address :iscontact :matches :localpart \"From\" \"x\" { keep; }",
       crlf({L"if address :localpart :matches :iscontact \"From\" \"x\" ", L"{", L"  keep;", L"}"})},
      // An enabled nameless rule has no header line; a disabled one keeps "#!0 ".
      {L"#!1\r\nkeep;", crlf({L"keep;"})},
      {L"#!0\r\n# keep;", crlf({L"#!0 ", L"# keep;"})},
      // Several redirects of one list: one Redirect in the place of the first.
      {L"redirect \"a\"; keep; redirect \"b\";", crlf({L"redirect \"a; b\";", L"keep;"})},
      // else and elsif come out of writeScript.
      {L"if true { keep; } else { stop; }", crlf({L"if true ", L"{", L"  keep;", L"}", L"else {", L"  stop;", L"}"})},
  };
  for (const Row& row : rows) EXPECT_EQ(rewritten(row.input), row.written) << utf8(row.input);
}

TEST(SieveRoundTrip, NotifyWithAnEmptyMessageReadsBackTheDefault) {
  auto parsed = parse(L"if true { notify :options \"o\" :message \"\"; }");
  ASSERT_TRUE(parsed.ok);
  EXPECT_EQ(parsed.head->thenBlock->argument, L"");
  const std::wstring written = sievetest::writeScript(parsed.head.get());
  EXPECT_EQ(written, crlf({L"if true ", L"{", L"  notify :options \"o\";", L"}"}));
  auto again = parse(written);
  ASSERT_TRUE(again.ok);
  EXPECT_EQ(again.head->thenBlock->argument, kDefaultNotifyMessage);
}

TEST(SieveRoundTrip, ANullValuesListIsWrittenAsOneEmptyString) {
  auto parsed = parse(L"#!1 __WebmailJunk__\r\nif allof (spamtest, not address :iscontact \"From\" \"x\") "
                      L"{ fileinto \"Junk E-Mail\"; stop; }");
  ASSERT_TRUE(parsed.ok);
  SieveTest* address = parsed.head->test->subTests->next;
  deleteStringList(address->values);
  address->values = nullptr;  // as the junk e-mail rule makes it for trusted contacts only
  const std::wstring written = sievetest::writeScript(parsed.head.get());
  EXPECT_NE(written.find(L"not address :all :is :iscontact \"From\" \"\" ) "), std::wstring::npos) << utf8(written);
  auto again = parse(written);
  ASSERT_TRUE(again.ok);
  EXPECT_EQ(stringListToVector(again.head->test->subTests->next->values), (std::vector<std::wstring>{L""}));
}

TEST(SieveRoundTrip, ReservedAndEditableAreNeverWritten) {
  auto parsed = parse(kFromBob);
  ASSERT_TRUE(parsed.ok);
  parsed.head->reserved = true;
  parsed.head->editable = false;
  EXPECT_EQ(sievetest::writeScript(parsed.head.get()), kFromBob);
  auto again = parse(kFromBob);
  EXPECT_FALSE(again.head->reserved);
  EXPECT_TRUE(again.head->editable);
}

TEST(SieveRoundTrip, AnEmptyBlockCannotBeWritten) {
  auto parsed = parse(L"if true { }");
  ASSERT_TRUE(parsed.ok);
  std::wstring text;
  EXPECT_THROW(SieveRule::writeScript(parsed.head.get(), text, false), HResultException);
  bool ok = true;
  sievetest::writeRulesText(parsed.head.get(), &ok);
  EXPECT_FALSE(ok);
}

TEST(SieveRoundTrip, MultiLineTextsCannotBeRead) {
  auto parsed = parse(L"reject text:\r\nSorry.\r\n.\r\n;");
  EXPECT_FALSE(parsed.ok);
  EXPECT_EQ(parsed.message(), L"premature end of script: string argument expected");
}

TEST(SieveRoundTrip, RedirectsAreSavedOnePerAddressNextToEachOther) {
  const std::wstring script = crlf({
      L"#!1 Forward",
      L"if true ",
      L"{",
      L"  redirect \"a@example.com\";",
      L"  keep;",
      L"  redirect \"b@example.com\";",
      L"}",
  });
  auto parsed = parse(script);
  ASSERT_TRUE(parsed.ok);
  EXPECT_EQ(sievetest::outline(parsed.head.get()), L"If(Redirect[a@example.com; b@example.com] Keep)");
  EXPECT_EQ(sievetest::writeScript(parsed.head.get()),
            crlf({L"#!1 Forward", L"if true ", L"{", L"  redirect \"a@example.com; b@example.com\";", L"  keep;", L"}"}));
  EXPECT_EQ(saved(script), crlf({L"#!1 Forward", L"if true ", L"{", L"  redirect \"a@example.com\";",
                                 L"  redirect \"b@example.com\";", L"  keep;", L"}"}));
}

TEST(SieveRoundTrip, SavingDropsElseAndElsifBranches) {
  const std::wstring script = crlf({
      L"#!1 Branches",
      L"if header :contains \"Subject\" \"x\" ",
      L"{",
      L"  keep;",
      L"}",
      L"elsif true ",
      L"{",
      L"  stop;",
      L"}",
      L"else {",
      L"  discard;",
      L"}",
  });
  EXPECT_EQ(rewritten(script), script);
  EXPECT_EQ(saved(script), crlf({L"#!1 Branches", L"if header :contains \"Subject\" \"x\" ", L"{", L"  keep;", L"}"}));
}

TEST(SieveRoundTrip, NormalisedFormOfAHandWrittenScript) {
  // The pair the command-line tool's `format` checks against as well.
  const std::wstring input = sievetest::dataScript("handwritten.sieve");
  const std::wstring expected = sievetest::dataScript("handwritten.saved.sieve");
  ASSERT_FALSE(input.empty());
  EXPECT_EQ(saved(input), expected);
  EXPECT_EQ(saved(expected), expected);
}
