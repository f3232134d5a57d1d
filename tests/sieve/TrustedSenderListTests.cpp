// The list rules of the trusted senders, shared by the dialog and the command-line tool.
#include "sieve/TrustedSenderList.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Sieve::TrustedSenderList;
using Entries = std::vector<std::wstring>;
using AddResult = TrustedSenderList::AddResult;

TEST(TrustedSenderList, EntriesAreTrimmedAndMatchedWithoutRegardToCase) {
  const struct {
    const wchar_t* a;
    const wchar_t* b;
    bool same;
  } cases[] = {
      {L"bob@example.com", L"BOB@Example.COM", true},
      {L"  bob@example.com\t", L"bob@example.com", true},
      {L"\u00a0bob@example.com\r\n", L"bob@example.com", true},
      {L"example.com", L"EXAMPLE.COM", true},
      {L"J\u00f6rg@x.de", L"J\u00d6RG@X.DE", true},
      {L"\u0438\u0432\u0430\u043d@x.ru", L"\u0418\u0412\u0410\u041d@x.ru", true},
      {L"\u0451@x.ru", L"\u0401@x.ru", true},
      {L"\u03c9@x.gr", L"\u03a9@x.gr", true},
      {L"bob@example.com", L"bob@example.co", false},   // whole entries only
      {L"bob@example.com", L"b ob@example.com", false},  // blanks inside count
      {L"stra\u00dfe@x.de", L"STRASSE@x.de", false},     // no folding that changes lengths
      {L"\u00d7", L"\u00f7", false},                     // signs, not letters
      {L"", L"   ", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << std::wstring(c.a).size() << " " << std::wstring(c.b).size());
    EXPECT_EQ(TrustedSenderList::sameEntry(c.a, c.b), c.same);
    EXPECT_EQ(TrustedSenderList::sameEntry(c.b, c.a), c.same);
  }
  EXPECT_EQ(TrustedSenderList::entryOf(L" \t x@y.org \r\n"), L"x@y.org");
  EXPECT_EQ(TrustedSenderList::entryOf(L"a b"), L"a b");
  EXPECT_EQ(TrustedSenderList::entryOf(L" \u00a0 "), L"");
}

TEST(TrustedSenderList, AddTrimsRefusesEmptyTextsAndDuplicatesAndTellsWhere) {
  TrustedSenderList list(Entries{L"first@x.org", L"example.com"});
  const struct {
    const wchar_t* text;
    AddResult result;
    std::size_t position;
    bool canAddBefore;
  } steps[] = {
      {L"  x@y.org  ", AddResult::Added, 2, true},
      {L"X@Y.ORG", AddResult::Duplicate, 2, false},
      {L"EXAMPLE.com", AddResult::Duplicate, 1, false},
      {L"   ", AddResult::Empty, TrustedSenderList::npos, false},
      {L"", AddResult::Empty, TrustedSenderList::npos, false},
      {L"partial", AddResult::Added, 3, true},  // no address check
      {L"@y.org", AddResult::Added, 4, true},
  };
  for (const auto& s : steps) {
    SCOPED_TRACE(testing::Message() << "step " << (&s - steps));
    EXPECT_EQ(list.canAdd(s.text), s.canAddBefore);
    std::size_t position = 99;
    EXPECT_EQ(list.add(s.text, &position), s.result);
    EXPECT_EQ(position, s.position);
  }
  EXPECT_EQ(list.entries(), (Entries{L"first@x.org", L"example.com", L"x@y.org", L"partial", L"@y.org"}));
  EXPECT_EQ(list.find(L" PARTIAL "), 3u);
  EXPECT_EQ(list.find(L"part"), TrustedSenderList::npos);
}

TEST(TrustedSenderList, RemoveByTextFindsStoredEntriesWithBlanks) {
  // A list stored by hand, or by an older tool, may hold entries with blanks at their ends.
  TrustedSenderList list(Entries{L"  x@y.org  ", L"Bob@Example.com"});
  EXPECT_TRUE(list.remove(L"x@y.org"));
  EXPECT_FALSE(list.remove(L"x@y.org"));
  EXPECT_TRUE(list.remove(L"\tbob@example.COM"));
  EXPECT_TRUE(list.empty());
  EXPECT_FALSE(list.remove(L""));
}

TEST(TrustedSenderList, RemoveAtSelectsTheEntryThatTakesThePlaceOrTheLast) {
  const struct {
    std::size_t index;
    std::size_t next;
    Entries left;
  } steps[] = {
      {1, 1, {L"a", L"c", L"d"}},  // the following entry moves up
      {2, 1, {L"a", L"c"}},        // the last went: the new last
      {5, TrustedSenderList::npos, {L"a", L"c"}},
      {0, 0, {L"c"}},
      {0, TrustedSenderList::npos, {}},
  };
  TrustedSenderList list(Entries{L"a", L"b", L"c", L"d"});
  for (const auto& s : steps) {
    SCOPED_TRACE(s.index);
    EXPECT_EQ(list.removeAt(s.index), s.next);
    EXPECT_EQ(list.entries(), s.left);
  }
}

}  // namespace
