#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "base/AddressCheck.h"
#include "testing/TestEnvironment.h"

using zelvo::checkEmailAddress;

namespace {

struct AddressCase {
  std::wstring text;
  HRESULT expected;
};

std::string caseName(const std::wstring& text) {
  std::string name;
  for (wchar_t c : text) name += (c >= 0x20 && c < 0x7F) ? static_cast<char>(c) : '?';
  return "\"" + name + "\"";
}

TEST(AddressCheck, MatchesTheWholeTextAgainstTheAddressPattern) {
  const AddressCase cases[] = {
      {L"a@b", S_OK},  // one label after "@" is enough
      {L"a@b.c", S_OK},
      {L"a.@b", S_FALSE},
      {L"", S_FALSE},
      {L"john.smith@mail.example.com", S_OK},
      {L"!#$%&'*+-/=?^_`{|}~@x", S_OK},  // every special character of an atom
      {L"a@b.toolongforatld", S_OK},     // the last label gets no weight of its own
      {L"a@b.c1", S_OK},
      {L"a1@2b", S_OK},
      {L".a@b", S_FALSE},
      {L"a..b@c", S_FALSE},
      {L"a@b.", S_FALSE},
      {L"a@.b", S_FALSE},
      {L"a@b..c", S_FALSE},
      {L"@b", S_FALSE},
      {L"a@", S_FALSE},
      {L"a@@b", S_FALSE},
      {L"a@b@c", S_FALSE},
      {L"ab", S_FALSE},
      {L" a@b", S_FALSE},  // no trimming here: callers trim
      {L"a@b ", S_FALSE},
      {L"a b@c", S_FALSE},
      {L"a@b\n", S_FALSE},  // an end anchor must not accept a final line break
      {L"a@b\r\n", S_FALSE},
      {L"\"a\"@b", S_FALSE},
      {L"a(b)@c", S_FALSE},
      {L"a@b,c@d", S_FALSE},
      {L"a@b;c", S_FALSE},
      {L"a@[1.2.3.4]", S_FALSE},
      {L"a\\b@c", S_FALSE},
      {L"j\u00fcrgen@example.com", S_FALSE},
      {L"a@\u0431.com", S_FALSE},
      {std::wstring(L"a@b\0c", 5), S_FALSE},
      {std::wstring(2000, L'x') + L"@" + std::wstring(2000, L'y') + L".com", S_OK},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(caseName(c.text));
    EXPECT_EQ(checkEmailAddress(c.text), c.expected);
  }
}

TEST(AddressCheck, ManyDottedLabelsStillMatchWithinTheEnginesBudget) {
  std::wstring address = L"a";
  for (int i = 0; i < 500; ++i) address += L".a";
  EXPECT_EQ(checkEmailAddress(address + L"@" + address), S_OK);
  EXPECT_EQ(checkEmailAddress(address + L"@" + address + L"."), S_FALSE);
}

TEST(AddressCheck, ThreadsThatAskTogetherOnTheFirstUseAllGetTheRightAnswer) {
  // Whichever thread builds the expression, the others must wait for it, not see half of it.
  std::atomic<bool> go{false};
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t)
    threads.emplace_back([&, t] {
      while (!go.load()) std::this_thread::yield();
      for (int i = 0; i < 200; ++i) {
        const bool good = (i + t) % 2 == 0;
        if (checkEmailAddress(good ? L"user@example.com" : L"user@@example.com") != (good ? S_OK : S_FALSE))
          ++wrong;
      }
    });
  go = true;
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
