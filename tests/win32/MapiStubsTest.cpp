// The real machine binding and the stubs, against the MAPI library of the system directory
// (Wine's own in the test run).
#include <gtest/gtest.h>

#include <algorithm>
#include <cwctype>

#include "platform/Mapi.h"
#include "win32/Win32MapiEnvironment.h"

namespace {

using zelvo::addin::MapiLoader;
using zelvo::win32::Win32MapiEnvironment;

std::wstring systemMapi() {
  Win32MapiEnvironment environment;
  return environment.systemDirectory() + L"\\mapi32.dll";
}

std::wstring lower(std::wstring text) {
  std::transform(text.begin(), text.end(), text.begin(), [](wchar_t c) { return static_cast<wchar_t>(std::towlower(c)); });
  return text;
}

TEST(MapiStubs, WithoutTheHostTheSystemLibraryIsFound) {
  Win32MapiEnvironment environment;
  if (!environment.fileExists(systemMapi())) GTEST_SKIP() << "no mapi32.dll in the system directory";
  std::wstring client;
  if (environment.readString(Win32MapiEnvironment::Root::LocalMachine, zelvo::addin::kMailClientsKey, L"", client) &&
      client == zelvo::addin::kOutlookClientName)
    GTEST_SKIP() << "a host is installed";
  void* module = zelvo::addin::findMapiLibrary(environment);
  ASSERT_NE(module, nullptr);
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(static_cast<HMODULE>(module), path, MAX_PATH);
  EXPECT_EQ(lower(path), lower(systemMapi()));
  environment.freeLibrary(module);
}

TEST(MapiStubs, MemoryFunctionsGoThroughTheFoundLibrary) {
  Win32MapiEnvironment environment;
  if (!environment.fileExists(systemMapi())) GTEST_SKIP() << "no mapi32.dll in the system directory";
  void* buffer = nullptr;
  ASSERT_EQ(MAPIAllocateBuffer(16, &buffer), S_OK);
  ASSERT_NE(buffer, nullptr);
  void* more = nullptr;
  EXPECT_EQ(MAPIAllocateMore(8, buffer, &more), S_OK);
  EXPECT_NE(more, nullptr);
  EXPECT_EQ(MAPIFreeBuffer(buffer), 0u);
  const auto load = zelvo::win32::processMapiLoader().loadNumber();
  EXPECT_EQ(load, 1u);
  EXPECT_EQ(MAPIFreeBuffer(nullptr), 0u);
  EXPECT_EQ(zelvo::win32::processMapiLoader().loadNumber(), load);  // no new search
}

TEST(MapiStubs, MissingExportOfTheRealLibraryAnswersEFail) {
  Win32MapiEnvironment environment;
  if (!environment.fileExists(systemMapi())) GTEST_SKIP() << "no mapi32.dll in the system directory";
  MapiLoader loader(environment);
  MapiLoader::Cache cache;
  using Function = decltype(HrGetOneProp);
  LPSPropValue value = nullptr;
  EXPECT_EQ(zelvo::addin::callMapiExport<Function>(loader, {"NoSuchMapiExport@12"}, cache, E_FAIL,
                                                   static_cast<LPMAPIPROP>(nullptr), ULONG(0), &value),
            E_FAIL);
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(loader.loadNumber(), 1u);
}

}  // namespace
