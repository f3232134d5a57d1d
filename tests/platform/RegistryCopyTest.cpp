// SHCopyKeyW and the value enumeration it rests on: the system's under Wine, ours over the
// settings store natively.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/Win32.h"
#include "testing/TestEnvironment.h"

namespace {

class RegistryCopyTest : public ::testing::Test {
 protected:
  void SetUp() override {
    base_ = L"Software\\Zelvo Tests\\" + widen(zelvo::testing::uniqueTempPath("copy").filename().string());
  }
  void TearDown() override { RegDeleteTreeW(HKEY_CURRENT_USER, base_.c_str()); }

  static std::wstring widen(const std::string& text) { return std::wstring(text.begin(), text.end()); }
  HKEY create(const std::wstring& path) {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, (base_ + path).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                              nullptr),
              ERROR_SUCCESS);
    return key;
  }
  void set(const std::wstring& path, const wchar_t* name, DWORD type, const void* data, DWORD size) {
    HKEY key = create(path);
    EXPECT_EQ(RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), size), ERROR_SUCCESS);
    RegCloseKey(key);
  }
  // (type, bytes) of a value, or type REG_NONE with no bytes when it cannot be read.
  std::pair<DWORD, std::vector<BYTE>> get(const std::wstring& path, const wchar_t* name) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, (base_ + path).c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return {};
    DWORD type = 0, size = 64;
    std::vector<BYTE> data(size);
    const LONG error = RegQueryValueExW(key, name, nullptr, &type, data.data(), &size);
    RegCloseKey(key);
    if (error != ERROR_SUCCESS) return {};
    data.resize(size);
    return {type, data};
  }

  std::wstring base_;
};

TEST_F(RegistryCopyTest, CopiesValuesOfEveryTypeAndSubKeysToAnyDepth) {
  const DWORD number = 0x01020304;
  const char16_t text[] = u"caf\u00e9";
  const BYTE binary[] = {0, 0xFF, 7};
  set(L"\\From", L"Number", REG_DWORD, &number, sizeof number);
  set(L"\\From", L"Text", REG_SZ, text, sizeof text);
  set(L"\\From\\A\\B", L"Binary", REG_BINARY, binary, sizeof binary);
  RegCloseKey(create(L"\\From\\Empty"));
  set(L"\\To", L"Number", REG_DWORD, &binary, 3);  // replaced by the copy
  const DWORD kept = 5;
  set(L"\\To", L"Kept", REG_DWORD, &kept, sizeof kept);

  HKEY to = create(L"\\To");
  EXPECT_EQ(SHCopyKeyW(HKEY_CURRENT_USER, (base_ + L"\\From").c_str(), to, 0), ERROR_SUCCESS);
  RegCloseKey(to);

  const auto n = get(L"\\To", L"Number");
  EXPECT_EQ(n.first, static_cast<DWORD>(REG_DWORD));
  EXPECT_EQ(n.second, (std::vector<BYTE>{4, 3, 2, 1}));
  EXPECT_EQ(get(L"\\To", L"Text").second, (std::vector<BYTE>{'c', 0, 'a', 0, 'f', 0, 0xE9, 0, 0, 0}));
  EXPECT_EQ(get(L"\\To\\A\\B", L"Binary"), (std::pair<DWORD, std::vector<BYTE>>{REG_BINARY, {0, 0xFF, 7}}));
  EXPECT_EQ(get(L"\\To", L"Kept").second, (std::vector<BYTE>{5, 0, 0, 0})) << "values of the target stay";
  HKEY empty = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, (base_ + L"\\To\\Empty").c_str(), 0, KEY_READ, &empty), ERROR_SUCCESS);
  if (empty) RegCloseKey(empty);
}

TEST_F(RegistryCopyTest, MissingSourceIsNotFound) {
  HKEY to = create(L"\\To");
  EXPECT_EQ(SHCopyKeyW(HKEY_CURRENT_USER, (base_ + L"\\Nowhere").c_str(), to, 0), ERROR_FILE_NOT_FOUND);
  RegCloseKey(to);
}

TEST_F(RegistryCopyTest, EnumeratesValueNames) {
  const DWORD one = 1;
  set(L"\\Key", L"Beta", REG_DWORD, &one, sizeof one);
  set(L"\\Key", L"alpha", REG_DWORD, &one, sizeof one);
  HKEY key = create(L"\\Key");
  std::vector<std::wstring> names;
  for (DWORD i = 0;; ++i) {
    WCHAR name[32];
    DWORD length = 32;
    const LONG error = RegEnumValueW(key, i, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (error != ERROR_SUCCESS) {
      EXPECT_EQ(error, ERROR_NO_MORE_ITEMS);
      break;
    }
    EXPECT_EQ(length, std::wstring(name).size());
    names.emplace_back(name);
  }
  WCHAR small[3];
  DWORD length = 3;
  EXPECT_EQ(RegEnumValueW(key, 0, small, &length, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
  RegCloseKey(key);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::wstring>{L"Beta", L"alpha"}));
}

}  // namespace
