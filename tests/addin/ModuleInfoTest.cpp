#include "addin/ModuleInfo.h"

#include <gtest/gtest.h>

#include <cwctype>

#include "base/HResultException.h"
#include "base/ModuleVersion.h"
#include "platform/Utf8.h"
#include "testing/TestEnvironment.h"

namespace {

using zelvo::addin::ModuleInfo;

std::wstring upper(std::wstring text) {
  for (auto& c : text) c = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
  return text;
}

std::wstring fileNameOf(const std::wstring& path) { return path.substr(path.find_last_of(L"\\/") + 1); }

std::wstring ownPath() {
  std::wstring path;
  ModuleInfo::getModulePath(nullptr, path);
  return path;
}

TEST(ModuleInfo, FileVersionsAreThoseOfTheVersionBlock) {
  // The numbers must agree with the text that the same block carries.
  ModuleVersion version;
  const auto translations = version.getTranslations();
  ASSERT_FALSE(translations.empty());
  const std::wstring text = version.getFileInfoString(L"FileVersion", translations.front());
  const auto numbers = ModuleInfo::getFileVersions(ownPath());
  EXPECT_EQ(text, std::to_wstring(numbers[0]) + L"." + std::to_wstring(numbers[1]) + L"." +
                      std::to_wstring(numbers[2]) + L"." + std::to_wstring(numbers[3]));
  EXPECT_GE(numbers[0], 1) << "a product version starts at 1";
}

TEST(ModuleInfo, FileWithoutVersionRaises) {
  try {
    ModuleInfo::getFileVersions(ownPath() + L".no-such-file");
    ADD_FAILURE() << "no raise";
  } catch (const HResultException& e) {
    EXPECT_LT(e.getHResult(), 0);
  }
}

TEST(ModuleInfo, NarrowAndWidePathsOfTheProgramAgree) {
  const std::wstring wide = ownPath();
  std::string narrow;
  ModuleInfo::getModulePath(nullptr, narrow);
  EXPECT_EQ(fileNameOf(wide).rfind(L"addin_tests", 0), 0u) << zelvo::testing::utf8(wide);
  EXPECT_EQ(platform::fromUtf8Lenient(narrow), wide) << "the build folder's path is plain ASCII";
}

TEST(ModuleInfo, FindsTheProgramInItsProcessWithoutRegardToCase) {
  const std::wstring path = ownPath();
  const std::wstring name = upper(fileNameOf(path));
  EXPECT_EQ(upper(ModuleInfo::getModulePath(GetCurrentProcessId(), name)), upper(path));
  EXPECT_EQ(ModuleInfo::getModulePath(GetCurrentProcessId(), L"no-such-module.dll"), L"");
  // Several copies of the test program may run at once: any of them will do.
  EXPECT_NE(ModuleInfo::getProcessId(name), 0u);
  EXPECT_EQ(ModuleInfo::getProcessId(L"no-such-program-of-zelvo.exe"), 0u);
}

}  // namespace
