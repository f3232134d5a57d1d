#include "addin/ClientDetector.h"

namespace zelvo {
namespace addin {
namespace details {

struct ClientRow {
  unsigned majorVersion;
  const wchar_t* name;
};

// There was never a version 13, so it stays unknown.
constexpr ClientRow kClients[] = {
    {9, L"Outlook 2000"},  {10, L"Outlook XP"},   {11, L"Outlook 2003"}, {12, L"Outlook 2007"},
    {14, L"Outlook 2010"}, {15, L"Outlook 2013"}, {16, L"Outlook 2016"}, {17, L"New Outlook Version"},
};
constexpr const wchar_t* kUnknownClient = L"Unknown";

}  // namespace details

std::wstring ClientDetector::getClientName(unsigned majorVersion) {
  for (const auto& row : details::kClients)
    if (row.majorVersion == majorVersion) return row.name;
  return details::kUnknownClient;
}

}  // namespace addin
}  // namespace zelvo
