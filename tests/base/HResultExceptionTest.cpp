#include "base/HResultException.h"

#include <gtest/gtest.h>

#include <functional>

#include "base/DravCodes.h"
#include "base/HResultTable.h"
#include "testing/TestEnvironment.h"

namespace {

std::wstring composed(HRESULT code, const char* file, int line, const char* function, const wchar_t* message) {
  return HResultException(code, file, line, function, message).text();
}

struct PathCase {
  const char* file;
  const wchar_t* shown;
};

class PathShortening : public ::testing::TestWithParam<PathCase> {};

TEST_P(PathShortening, KeepsTheLastTwoComponentsUnlessTheSeparatorIsMissingOrFirst) {
  const auto& c = GetParam();
  const std::wstring text = composed(E_FAIL, c.file, 7, "F::g", nullptr);
  EXPECT_EQ(text, L"Exception of class HResultException: " + std::wstring(c.shown) + L"(7), F::g:\n0x80004005 E_FAIL");
}

INSTANTIATE_TEST_SUITE_P(
    Paths, PathShortening,
    ::testing::Values(PathCase{"StreamImpl", L"StreamImpl"},                      // no backslash
                      PathCase{"StreamUtils\\StreamImpl", L"StreamUtils\\StreamImpl"},  // one
                      PathCase{"a\\StreamUtils\\StreamImpl", L"StreamUtils\\StreamImpl"},  // two
                      PathCase{"..\\a\\StreamUtils\\StreamImpl", L"StreamUtils\\StreamImpl"},  // three
                      PathCase{"..\\..\\..\\..\\repository\\mailserver\\SharedModules\\StreamUtils\\StreamImpl",
                               L"StreamUtils\\StreamImpl"},
                      PathCase{"\\StreamImpl", L"\\StreamImpl"},                    // last separator first
                      PathCase{"\\StreamUtils\\StreamImpl", L"\\StreamUtils\\StreamImpl"},  // second-last at 0
                      PathCase{"src/base/Guid.cpp", L"src/base/Guid.cpp"},          // only backslashes count
                      PathCase{"", L""}));

TEST(HResultExceptionText, NullFileAndFunctionAreNamed) {
  EXPECT_EQ(composed(E_INVALIDARG, nullptr, 0, nullptr, nullptr),
            L"Exception of class HResultException: <unknown file>(0), <no function>:\n0x80070057 E_INVALIDARG");
}

TEST(HResultExceptionText, MessageIsAppendedOnlyWhenNotEmpty) {
  const struct {
    const wchar_t* message;
    const wchar_t* tail;
  } cases[] = {
      {nullptr, L"0x80004005 E_FAIL"},
      {L"", L"0x80004005 E_FAIL"},
      {L"No private store found", L"0x80004005 E_FAIL: No private store found"},
      {L": odd", L"0x80004005 E_FAIL: : odd"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message ? c.message : L"(null)");
    const std::wstring text = composed(E_FAIL, "x\\y", 1, "f", c.message);
    EXPECT_EQ(text.substr(text.find(L'\n') + 1), c.tail);
  }
}

TEST(HResultExceptionText, UnknownCodeIsBareHexadecimal) {
  const std::wstring text = composed(static_cast<HRESULT>(0x8badf00d), "f", 1, "g", L"m");
  EXPECT_EQ(text.substr(text.find(L'\n') + 1), L"0x8badf00d: m");
}

TEST(HResultExceptionWhat, KeepsTheLowByteOfEachCharacter) {
  const wchar_t message[] = {L'\u00e9', static_cast<wchar_t>(0x141), static_cast<wchar_t>(0x2020), L'z', 0};
  HResultException e(E_FAIL, nullptr, 1, nullptr, message);
  const std::string what = e.what();
  ASSERT_GE(what.size(), 4u);
  EXPECT_EQ(what.substr(what.size() - 4), std::string("\xE9\x41\x20z"));
  EXPECT_EQ(std::string(e.what()), what) << "the cache gives the same text";
}

TEST(HResultExceptionCopy, TakesOverCodeTextAndCache) {
  HResultException original(E_POINTER, "a\\b", 3, "f", L"m");
  (void)original.what();
  HResultException copy(original);
  EXPECT_EQ(copy.getHResult(), E_POINTER);
  EXPECT_EQ(copy.text(), original.text());
  EXPECT_STREQ(copy.what(), original.what());
}

HRESULT raisedCode(const std::function<void()>& f, std::wstring* text = nullptr) {
  try {
    f();
  } catch (const HResultException& e) {
    if (text) *text = e.text();
    return e.getHResult();
  }
  ADD_FAILURE() << "nothing was raised";
  return S_OK;
}

std::wstring messageOf(const std::wstring& text) {
  const size_t colon = text.find(L": ", text.find(L'\n'));
  return colon == std::wstring::npos ? std::wstring() : text.substr(colon + 2);
}

TEST(RaiseForms, NarrowMessageIsWidenedByteByByte) {
  std::wstring text;
  EXPECT_EQ(raisedCode([] { ZEL_HERE.raise(STG_E_ACCESSDENIED, "caf\xE9 \xFF"); }, &text), STG_E_ACCESSDENIED);
  EXPECT_EQ(messageOf(text), L"caf\u00e9 \u00ff");
  EXPECT_EQ(raisedCode([] { ZEL_HERE.raise(E_FAIL, static_cast<const char*>(nullptr)); }, &text), E_FAIL);
  EXPECT_EQ(messageOf(text), L"");
}

TEST(RaiseForms, FormattedMessages) {
  const struct {
    std::function<void()> raise;
    HRESULT code;
    std::wstring message;
  } cases[] = {
      {[] { ZEL_HERE.raiseFormatted(E_INVALIDARG, "Invalid size of EntryId: %u != %u", 24u, 40u); }, E_INVALIDARG,
       L"Invalid size of EntryId: 24 != 40"},
      {[] { ZEL_HERE.raiseFormatted(E_OUTOFMEMORY, "Failed to load access rights (%s)", "boom"); }, E_OUTOFMEMORY,
       L"Failed to load access rights (boom)"},
      {[] { ZEL_HERE.raiseFormatted(E_INVALIDARG, "Wrong GUID data size: %u", 15u); }, E_INVALIDARG,
       L"Wrong GUID data size: 15"},
      // Too many arguments, then too few: the code stays, the message says what went wrong.
      {[] { ZEL_HERE.raiseFormatted(E_POINTER, "no places", 1u); }, E_POINTER,
       L"Wrongly formatted exception message: "},
      {[] { ZEL_HERE.raiseFormatted(E_HANDLE, "%u and %u", 1u); }, E_HANDLE, L"Wrongly formatted exception message: "},
      {[] { ZEL_HERE.raiseFormatted(E_ABORT, static_cast<const char*>(nullptr), 1u); }, E_ABORT, L""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.message);
    std::wstring text;
    EXPECT_EQ(raisedCode(c.raise, &text), c.code);
    const std::wstring message = messageOf(text);
    if (c.message.rfind(L"Wrongly", 0) == 0) {
      EXPECT_EQ(message.rfind(c.message, 0), 0u) << "got: " << zelvo::testing::utf8(message);
      EXPECT_GT(message.size(), c.message.size()) << "the format error's own text follows";
    } else {
      EXPECT_EQ(message, c.message);
    }
  }
}

TEST(ResultCheck, WarningsPassAndTheirFailureTwinsRaise) {
  const struct {
    HRESULT code;
    bool raises;
  } cases[] = {
      {S_OK, false},          {S_FALSE, false},         {DRAV_W_POSTPONED, false}, {DRAV_E_POSTPONED, true},
      {DRAV_W_EXISTS, false}, {DRAV_E_EXISTS, true},    {DRAV_S_FINISHED, false},  {STG_S_CONVERTED, false},
      {MAPI_W_ERRORS_RETURNED, false}, {E_FAIL, true},  {static_cast<HRESULT>(0x80000000u), true},
      {0x7FFFFFFF, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(hresultToString(c.code));
    bool raised = false;
    try {
      ZEL_CHECK(c.code);
    } catch (const HResultException& e) {
      raised = true;
      EXPECT_EQ(e.getHResult(), c.code);
    }
    EXPECT_EQ(raised, c.raises);
  }
}

struct Widget {
  void failingMethod() { ZEL_HERE.raise(E_UNEXPECTED); }
};

TEST(RaisePosition, CarriesThisFileLineAndQualifiedFunction) {
  std::wstring text;
  const int line = __LINE__ - 5;  // the raise in Widget::failingMethod
  EXPECT_EQ(raisedCode([] { Widget().failingMethod(); }, &text), E_UNEXPECTED);
  EXPECT_NE(text.find(L"base\\HResultExceptionTest.cpp(" + std::to_wstring(line) + L"), "), std::wstring::npos)
      << zelvo::testing::utf8(text);
  EXPECT_NE(text.find(L"), {anonymous}::Widget::failingMethod:\n"), std::wstring::npos) << zelvo::testing::utf8(text);
}

TEST(RaisePosition, QualifiedNamesFromCompilerSignatures) {
  const struct {
    const char* pretty;
    const char* name;
  } cases[] = {
      {"void Guid::setData(const void*, size_t)", "Guid::setData"},
      {"static Guid Guid::create()", "Guid::create"},
      {"virtual HRESULT DataStream::Read(void*, ULONG, ULONG*) const", "DataStream::Read"},
      {"uint64_t streamUtils::getStreamSize(IStream*)", "streamUtils::getStreamSize"},
      {"Target size_cast(Source) [with Target = int; Source = long unsigned int]", "size_cast"},
      {"std::vector<std::pair<int, int> > Sieve::SieveRules::getRules(int)", "Sieve::SieveRules::getRules"},
      {"bool Functor<T>::operator()(int) [with T = int]", "Functor<T>::operator()"},
      {"Sieve::SieveRule::SieveRule()", "Sieve::SieveRule::SieveRule"},
      {"main", "main"},
  };
  for (const auto& c : cases) EXPECT_STREQ(details::qualifiedFunctionName(c.pretty), c.name) << c.pretty;
}

}  // namespace
