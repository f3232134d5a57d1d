// The Win32 behaviour that the streams rely on. On Windows the system answers, on Linux
// our own declarations do: the same expectations hold both to one account.
#include <gtest/gtest.h>

#include <string>

#include "StreamTestSupport.h"
#include "base/Win32Error.h"
#include "platform/Win32.h"

namespace {

class Handle {
 public:
  explicit Handle(HANDLE h) : h_(h) {}
  ~Handle() {
    if (h_ && h_ != INVALID_HANDLE_VALUE) CloseHandle(h_);
  }
  HANDLE get() const { return h_; }

 private:
  HANDLE h_;
};

TEST(KernelCalls, AWaitForManyGivesTheLowestSignalledIndexAndTakesAutoResetSignals) {
  Handle manual(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  Handle autoA(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  Handle autoB(CreateEventW(nullptr, FALSE, TRUE, nullptr));
  const HANDLE all[3] = {manual.get(), autoA.get(), autoB.get()};
  const struct {
    const char* what;
    HANDLE set;
    DWORD expected;
  } steps[] = {
      {"initially signalled auto-reset", nullptr, WAIT_OBJECT_0 + 2},
      {"taken by the wait", nullptr, WAIT_TIMEOUT},
      {"auto-reset set twice counts once", autoA.get(), WAIT_OBJECT_0 + 1},
      {"nothing left", nullptr, WAIT_TIMEOUT},
      {"manual-reset stays signalled", manual.get(), WAIT_OBJECT_0},
      {"still signalled", nullptr, WAIT_OBJECT_0},
  };
  for (const auto& s : steps) {
    SCOPED_TRACE(s.what);
    if (s.set) {
      ASSERT_TRUE(SetEvent(s.set));
      if (s.set == autoA.get()) {
        ASSERT_TRUE(SetEvent(s.set));
      }
    }
    EXPECT_EQ(WaitForMultipleObjects(3, all, FALSE, 0), s.expected);
  }
  ASSERT_TRUE(ResetEvent(manual.get()));
  EXPECT_EQ(WaitForSingleObject(manual.get(), 10), WAIT_TIMEOUT);
}

TEST(KernelCalls, TemporaryFileNamesCarryThePrefixAndTheFileExists) {
  streamtest::TempFolder folder;
  std::wstring dir = folder.path().wstring();
  dir += static_cast<wchar_t>(std::filesystem::path::preferred_separator);
  WCHAR name[MAX_PATH];
  ASSERT_NE(GetTempFileNameW(dir.c_str(), L"ZEL!!", 0, name), 0u);
  const std::filesystem::path made(name);
  EXPECT_EQ(made.parent_path(), folder.path());
  // Only three characters of the prefix are used.
  const std::string file = made.filename().string();
  EXPECT_EQ(file.rfind("ZEL", 0), 0u) << file;
  EXPECT_EQ(file.find('!'), std::string::npos) << file;
  EXPECT_TRUE(std::filesystem::exists(made));
  EXPECT_TRUE(DeleteFileW(name));
  EXPECT_FALSE(DeleteFileW(name));
}

TEST(KernelCalls, FilePositionsSizesAndShortReads) {
  streamtest::TempFolder folder;
  const std::wstring name = (folder.path() / "data.bin").wstring();
  Handle file(CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                          FILE_FLAG_DELETE_ON_CLOSE | FILE_ATTRIBUTE_TEMPORARY, nullptr));
  ASSERT_NE(file.get(), INVALID_HANDLE_VALUE);
  LARGE_INTEGER at;
  at.QuadPart = 100;
  ASSERT_TRUE(SetFilePointerEx(file.get(), at, nullptr, FILE_BEGIN));
  DWORD done = 0;
  ASSERT_TRUE(WriteFile(file.get(), "abcdef", 6, &done, nullptr));
  EXPECT_EQ(done, 6u);
  LARGE_INTEGER size;
  ASSERT_TRUE(GetFileSizeEx(file.get(), &size));
  EXPECT_EQ(size.QuadPart, 106);
  at.QuadPart = 103;
  ASSERT_TRUE(SetFilePointerEx(file.get(), at, nullptr, FILE_BEGIN));
  char buffer[10] = {};
  ASSERT_TRUE(ReadFile(file.get(), buffer, sizeof buffer, &done, nullptr));
  EXPECT_EQ(done, 3u);
  EXPECT_EQ(std::string(buffer, 3), "def");
  // A gap reads as zeros.
  at.QuadPart = 0;
  ASSERT_TRUE(SetFilePointerEx(file.get(), at, nullptr, FILE_BEGIN));
  ASSERT_TRUE(ReadFile(file.get(), buffer, 4, &done, nullptr));
  EXPECT_EQ(std::string(buffer, 4), std::string(4, '\0'));
  at.QuadPart = 2;
  ASSERT_TRUE(SetFilePointerEx(file.get(), at, nullptr, FILE_BEGIN));
  ASSERT_TRUE(SetEndOfFile(file.get()));
  BY_HANDLE_FILE_INFORMATION info;
  ASSERT_TRUE(GetFileInformationByHandle(file.get(), &info));
  EXPECT_EQ(info.nFileSizeLow, 2u);
  EXPECT_EQ(info.nFileSizeHigh, 0u);
  at.QuadPart = -1;
  EXPECT_FALSE(SetFilePointerEx(file.get(), at, nullptr, FILE_BEGIN));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NEGATIVE_SEEK));
}

TEST(KernelCalls, OpeningAMissingFileNamesTheWin32Error) {
  streamtest::TempFolder folder;
  const struct {
    std::filesystem::path path;
    DWORD error;
    uint32_t code;
  } cases[] = {{folder.path() / "no-folder" / "file", ERROR_PATH_NOT_FOUND, 0x80070003u},
               {folder.path() / "no-file", ERROR_FILE_NOT_FOUND, 0x80070002u}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path.string());
    Handle file(CreateFileW(c.path.wstring().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_EQ(file.get(), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), c.error);
    EXPECT_EQ(static_cast<uint32_t>(lastErrorToHResult()), c.code);
  }
}

}  // namespace
