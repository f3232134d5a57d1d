#include "StreamTestSupport.h"

#include "testing/TestEnvironment.h"

namespace streamtest {

TempFolder::TempFolder() {
  path_ = zelvo::testing::uniqueTempPath("zelvo-streams");
  std::filesystem::create_directories(path_);
  std::wstring folder = path_.wstring();
  folder += static_cast<wchar_t>(std::filesystem::path::preferred_separator);
  Stream::Init::setTempPathOverride(folder);
}

TempFolder::~TempFolder() {
  Stream::Init::setTempPathOverride(L"");
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::vector<std::string> TempFolder::entries() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path_)) names.push_back(entry.path().filename().string());
  return names;
}

}  // namespace streamtest
