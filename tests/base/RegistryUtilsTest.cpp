#include "base/RegistryUtils.h"

#include <gtest/gtest.h>

#include "base/Guid.h"
#include "base/HResultException.h"

namespace {

constexpr HRESULT kWrongType = static_cast<HRESULT>(0x8007000D);
constexpr HRESULT kNotFound = static_cast<HRESULT>(0x80070002);

// Each test works below a key of its own: in the real registry on Windows (Wine's in the
// test run), in the test program's memory store elsewhere.
class RegistryUtilsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    key_ = L"Software\\Zelvo Tests\\" + Guid::create().toString();
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, key_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(key);
  }
  void TearDown() override { RegDeleteTreeW(HKEY_CURRENT_USER, key_.c_str()); }

  void setRaw(const wchar_t* name, DWORD type, const void* data, DWORD size) {
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, key_.c_str(), 0, KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), size), ERROR_SUCCESS);
    RegCloseKey(key);
  }

  std::wstring key_;
};

TEST_F(RegistryUtilsTest, DWordRoundTrip) {
  for (DWORD value : {0u, 1u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
    ASSERT_EQ(RegistryUtils::writeDWORD(HKEY_CURRENT_USER, key_, L"Number", value), S_OK);
    EXPECT_EQ(RegistryUtils::getDWORDFromRegistry(HKEY_CURRENT_USER, key_, L"Number"), value);
    EXPECT_EQ(RegistryUtils::getDWORDFromRegistry(HKEY_CURRENT_USER, key_, L"number", 5u), value)
        << "value names ignore case";
  }
}

TEST_F(RegistryUtilsTest, StringRoundTrip) {
  const std::wstring texts[] = {L"", L"plain", L"Mail Bridge (Offline Edition)", L"caf\u00e9 \u20ac",
                                L"emoji \U0001F600 end"};
  for (const auto& text : texts) {
    ASSERT_EQ(RegistryUtils::writeString(HKEY_CURRENT_USER, key_, L"Text", text), S_OK);
    EXPECT_EQ(RegistryUtils::getStringFromRegistry(HKEY_CURRENT_USER, key_, L"Text"), text);
  }
}

TEST_F(RegistryUtilsTest, WrongTypesGiveInvalidData) {
  const BYTE binary[4] = {1, 2, 3, 4};
  setRaw(L"Binary", REG_BINARY, binary, sizeof binary);
  const char16_t text[] = u"abc";
  setRaw(L"Text", REG_SZ, text, sizeof text);
  const DWORD number = 7;
  setRaw(L"Number", REG_DWORD, &number, sizeof number);

  DWORD d = 99;
  std::wstring s = L"unchanged";
  EXPECT_EQ(RegistryUtils::readDWORD(HKEY_CURRENT_USER, key_, L"Binary", d), kWrongType);
  EXPECT_EQ(RegistryUtils::readDWORD(HKEY_CURRENT_USER, key_, L"Text", d), kWrongType);
  EXPECT_EQ(d, 99u);
  EXPECT_EQ(RegistryUtils::readString(HKEY_CURRENT_USER, key_, L"Number", s), kWrongType);
  EXPECT_EQ(RegistryUtils::readString(HKEY_CURRENT_USER, key_, L"Binary", s), kWrongType);
  EXPECT_EQ(s, L"unchanged");
  // The default form hides every failure.
  EXPECT_EQ(RegistryUtils::getDWORDFromRegistry(HKEY_CURRENT_USER, key_, L"Binary", 42u), 42u);
  EXPECT_EQ(RegistryUtils::getDWORDFromRegistry(HKEY_CURRENT_USER, key_, L"Missing", 43u), 43u);
  EXPECT_EQ(RegistryUtils::getDWORDFromRegistry(HKEY_CURRENT_USER, key_ + L"\\Nowhere", L"Number", 44u), 44u);
}

TEST_F(RegistryUtilsTest, ExpandStringsReadAsStrings) {
  const char16_t text[] = u"%TEMP%\\x";
  setRaw(L"Expand", REG_EXPAND_SZ, text, sizeof text);
  EXPECT_EQ(RegistryUtils::getStringFromRegistry(HKEY_CURRENT_USER, key_, L"Expand"), L"%TEMP%\\x");
}

TEST_F(RegistryUtilsTest, EmptyStringValueIsEmpty) {
  const char16_t empty[] = u"";
  setRaw(L"Empty", REG_SZ, empty, sizeof empty);
  EXPECT_EQ(RegistryUtils::getStringFromRegistry(HKEY_CURRENT_USER, key_, L"Empty"), L"");
  setRaw(L"NoBytes", REG_SZ, nullptr, 0);
  EXPECT_EQ(RegistryUtils::getStringFromRegistry(HKEY_CURRENT_USER, key_, L"NoBytes"), L"");
}

TEST_F(RegistryUtilsTest, MissingKeysAndValuesGiveConvertedWin32Errors) {
  DWORD d = 0;
  std::wstring s;
  EXPECT_EQ(RegistryUtils::readDWORD(HKEY_CURRENT_USER, key_, L"Missing", d), kNotFound);
  EXPECT_EQ(RegistryUtils::readString(HKEY_CURRENT_USER, key_, L"Missing", s), kNotFound);
  EXPECT_EQ(RegistryUtils::readDWORD(HKEY_CURRENT_USER, key_ + L"\\Nowhere", L"X", d), kNotFound);
  EXPECT_EQ(RegistryUtils::writeDWORD(HKEY_CURRENT_USER, key_ + L"\\Nowhere", L"X", 1), kNotFound)
      << "a 32-bit write opens the key, it does not make it";
}

TEST_F(RegistryUtilsTest, RaisingFormsRaiseTheCode) {
  const char16_t text[] = u"abc";
  setRaw(L"Text", REG_SZ, text, sizeof text);
  try {
    RegistryUtils::getDWORDFromRegistry(HKEY_CURRENT_USER, key_, L"Text");
    ADD_FAILURE() << "no raise";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), kWrongType);
  }
  try {
    RegistryUtils::getStringFromRegistry(HKEY_CURRENT_USER, key_, L"Missing");
    ADD_FAILURE() << "no raise";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), kNotFound);
  }
}

}  // namespace
