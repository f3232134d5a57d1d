#include "addin/ClientDetector.h"

#include <gtest/gtest.h>

namespace {

using zelvo::addin::ClientDetector;

TEST(ClientDetector, NamesEveryKnownVersionAndNothingElse) {
  const struct {
    unsigned major;
    const wchar_t* name;
  } cases[] = {
      {0, L"Unknown"},           {8, L"Unknown"},           {9, L"Outlook 2000"}, {10, L"Outlook XP"},
      {11, L"Outlook 2003"},     {12, L"Outlook 2007"},     {13, L"Unknown"},     {14, L"Outlook 2010"},
      {15, L"Outlook 2013"},     {16, L"Outlook 2016"},     {17, L"New Outlook Version"},
      {18, L"Unknown"},          {0xFFFFFFFF, L"Unknown"},
  };
  for (const auto& c : cases) EXPECT_EQ(ClientDetector::getClientName(c.major), c.name) << c.major;
}

}  // namespace
