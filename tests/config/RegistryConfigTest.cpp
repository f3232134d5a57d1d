#include "config/RegistryConfig.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "base/Guid.h"
#include "base/HResultException.h"

namespace {

using namespace zelvo::config;

constexpr HRESULT kInvalidData = static_cast<HRESULT>(0x8007000D);
constexpr HRESULT kNotFound = static_cast<HRESULT>(0x80070002);

const std::wstring kProduct = L"Software\\Zelvo\\Mail Bridge (Offline Edition)";
const std::wstring kSecond = L"Software\\Zelvo\\Handset Bridge";

HRESULT codeOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const HResultException& e) {
    return e.getHResult();
  }
  return S_OK;
}

// The three roots are keys of the test's own below HKEY_CURRENT_USER, in Wine's registry
// under Wine and in the test program's memory store natively; removed afterwards.
class RegistryConfigTest : public ::testing::Test {
 protected:
  void SetUp() override {
    base_ = L"Software\\Zelvo Tests\\" + Guid::create().toString();
    roots_.localMachine = create(base_ + L"\\Machine");
    roots_.currentUser = create(base_ + L"\\User");
    roots_.classesRoot = create(base_ + L"\\Classes");
  }
  void TearDown() override {
    for (HKEY key : {roots_.localMachine, roots_.currentUser, roots_.classesRoot})
      if (key) RegCloseKey(key);
    RegDeleteTreeW(HKEY_CURRENT_USER, base_.c_str());
  }

  static HKEY create(const std::wstring& path, HKEY parent = HKEY_CURRENT_USER) {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(parent, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    return key;
  }
  void makeKey(HKEY root, const std::wstring& path) { RegCloseKey(create(path, root)); }
  bool keyExists(HKEY root, const std::wstring& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
    RegCloseKey(key);
    return true;
  }
  void setRaw(HKEY root, const std::wstring& path, const wchar_t* name, DWORD type, const void* data, DWORD size) {
    HKEY key = create(path, root);
    EXPECT_EQ(RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), size), ERROR_SUCCESS);
    RegCloseKey(key);
  }
  void setDword(HKEY root, const std::wstring& path, const wchar_t* name, DWORD value) {
    setRaw(root, path, name, REG_DWORD, &value, sizeof value);
  }
  // The DWORD as stored, or the error of reading it.
  DWORD rawDword(HKEY root, const std::wstring& path, const wchar_t* name, DWORD* type = nullptr) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return 0xDEAD0001;
    DWORD t = 0, value = 0, size = sizeof value;
    const LONG error = RegQueryValueExW(key, name, nullptr, &t, reinterpret_cast<BYTE*>(&value), &size);
    RegCloseKey(key);
    if (type) *type = t;
    return error == ERROR_SUCCESS ? value : 0xDEAD0002;
  }

  std::wstring base_;
  RegistryConfig::Roots roots_{};
};

TEST(RegistryConfigPaths, OfficeProfilesOnlyForHosts15To17) {
  const std::wstring messaging = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Windows Messaging Subsystem\\Profiles";
  const struct {
    unsigned host;
    std::wstring path;
  } cases[] = {
      {9, messaging},
      {12, messaging},
      {14, messaging},
      {15, L"Software\\Microsoft\\Office\\15.0\\Outlook\\Profiles"},
      {16, L"Software\\Microsoft\\Office\\16.0\\Outlook\\Profiles"},
      {17, L"Software\\Microsoft\\Office\\17.0\\Outlook\\Profiles"},
      {18, messaging},
  };
  for (const auto& c : cases) EXPECT_EQ(RegistryConfig::profilesPath(c.host), c.path) << c.host;
}

TEST(RegistryConfigNames, SharedTableHasItsNamesOnceInTheirPlaces) {
  std::vector<std::wstring> names;
  for (int i = 0; i < static_cast<int>(ConfigName::Count); ++i) names.push_back(configName(static_cast<ConfigName>(i)));
  EXPECT_EQ(names.size(), 57u);
  for (size_t i = 0; i < names.size(); ++i)
    for (size_t j = i + 1; j < names.size(); ++j) EXPECT_NE(names[i], names[j]);
  EXPECT_EQ(names.front(), L"InstallPath");
  EXPECT_EQ(names.back(), L"AccountDeleted");
  EXPECT_STREQ(configName(ConfigName::ProfileSubkeyPart), L"\\9375CFF0413111d3B88A00104B2A6676");
  EXPECT_STREQ(configName(ConfigName::LastFingerprint), L"LastFngrprnt");
  EXPECT_EQ(codeOf([] { configName(ConfigName::Count); }), E_INVALIDARG);
}

TEST_F(RegistryConfigTest, NormalKeyWhileTheSecondProductIsAbsent) {
  makeKey(roots_.currentUser, kSecond);  // only the machine's key decides
  RegistryConfig config(roots_);
  EXPECT_EQ(config.productKey(), kProduct);
  EXPECT_EQ(config.toolbarKey(Toolbar::Explorer), kProduct + L"\\Explorer Toolbar");
  EXPECT_EQ(config.toolbarKey(Toolbar::Inspector), kProduct + L"\\Inspector Toolbar");
  EXPECT_EQ(config.root(ConfigRoot::ClassesRoot), roots_.classesRoot);
}

TEST_F(RegistryConfigTest, SecondProductTakesOverTheUsersSettingsOnce) {
  makeKey(roots_.localMachine, kSecond);
  setDword(roots_.currentUser, kProduct, L"Confirm Mark As Spam", 0);
  setDword(roots_.currentUser, kProduct + L"\\Explorer Toolbar", L"Left", 5);
  const char16_t text[] = u"C:\\Cache";
  setRaw(roots_.currentUser, kProduct, L"Cache Root Path", REG_SZ, text, sizeof text);

  RegistryConfig first(roots_);
  EXPECT_EQ(first.productKey(), kSecond);
  EXPECT_FALSE(getConfirmMarkAsSpam(first)) << "the copied value is read from the second key";
  EXPECT_EQ(readToolbarValue(Toolbar::Explorer, ConfigName::Left, 0, first), 5u) << "sub-keys are copied too";
  EXPECT_EQ(readRegistryString(roots_.currentUser, kSecond, L"Cache Root Path"), L"C:\\Cache");
  EXPECT_TRUE(keyExists(roots_.currentUser, kProduct)) << "the old key stays";

  // A second start finds the user's key and copies nothing over what is there now.
  setDword(roots_.currentUser, kProduct + L"\\Explorer Toolbar", L"Left", 9);
  setDword(roots_.currentUser, kProduct, L"Check Default Store", 0);
  setConfirmMarkAsSpam(true, first);
  RegistryConfig second(roots_);
  EXPECT_EQ(second.productKey(), kSecond);
  EXPECT_EQ(readToolbarValue(Toolbar::Explorer, ConfigName::Left, 0, second), 5u);
  EXPECT_TRUE(getConfirmMarkAsSpam(second));
  EXPECT_TRUE(getCheckDefaultStore(second));
}

TEST_F(RegistryConfigTest, SecondProductWithoutUserSettingsMakesNoKey) {
  makeKey(roots_.localMachine, kSecond);
  RegistryConfig config(roots_);
  EXPECT_EQ(config.productKey(), kSecond);
  EXPECT_FALSE(keyExists(roots_.currentUser, kSecond));
  EXPECT_TRUE(getConfirmMarkAsSpam(config));
}

TEST_F(RegistryConfigTest, LocalOptionsDefaultToTrueAndRoundTrip) {
  struct Option {
    const wchar_t* name;
    bool (*get)(const RegistryConfig&);
    void (*set)(bool, const RegistryConfig&);
  };
  const Option options[] = {{L"Confirm Mark As Spam", getConfirmMarkAsSpam, setConfirmMarkAsSpam},
                            {L"Check Default Store", getCheckDefaultStore, setCheckDefaultStore}};
  RegistryConfig config(roots_);
  for (const auto& option : options) {
    SCOPED_TRACE(testing::Message() << option.name);
    EXPECT_TRUE(option.get(config)) << "no product key";
    EXPECT_EQ(codeOf([&] { option.set(false, config); }), kNotFound) << "writing opens the key, it does not make it";
    makeKey(roots_.currentUser, kProduct);
    EXPECT_TRUE(option.get(config)) << "no value";
    option.set(false, config);
    DWORD type = 0;
    EXPECT_EQ(rawDword(roots_.currentUser, kProduct, option.name, &type), 0u);
    EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
    EXPECT_FALSE(option.get(config));
    option.set(true, config);
    EXPECT_EQ(rawDword(roots_.currentUser, kProduct, option.name), 1u);
    EXPECT_TRUE(option.get(config));
    setDword(roots_.currentUser, kProduct, option.name, 0x100);
    EXPECT_TRUE(option.get(config)) << "any value other than 0 is true";
    RegDeleteTreeW(roots_.currentUser, kProduct.c_str());
  }
}

TEST_F(RegistryConfigTest, OptionOfAnotherTypeRaisesInvalidData) {
  RegistryConfig config(roots_);
  const char16_t text[] = u"0";
  setRaw(roots_.currentUser, kProduct, L"Confirm Mark As Spam", REG_SZ, text, sizeof text);
  EXPECT_EQ(codeOf([&] { getConfirmMarkAsSpam(config); }), kInvalidData);
  const BYTE wide[8] = {1, 0, 0, 0, 0, 0, 0, 0};
  setRaw(roots_.currentUser, kProduct, L"Check Default Store", REG_BINARY, wide, sizeof wide);
  EXPECT_EQ(codeOf([&] { getCheckDefaultStore(config); }), kInvalidData) << "too long for a DWORD";
  const BYTE four[4] = {1, 0, 0, 0};
  setRaw(roots_.currentUser, kProduct, L"Check Default Store", REG_BINARY, four, sizeof four);
  EXPECT_EQ(codeOf([&] { getCheckDefaultStore(config); }), kInvalidData) << "four bytes, but no DWORD";
}

TEST_F(RegistryConfigTest, ConfigRegKeyRaisesTheSystemErrors) {
  RegistryConfig config(roots_);
  EXPECT_EQ(codeOf([&] { zelvo::config::details::ConfigRegKey key(false, config); }), kNotFound);
  EXPECT_EQ(codeOf([&] { zelvo::config::details::ConfigRegKey key(true, config); }), kNotFound);
  setDword(roots_.currentUser, kProduct, L"Zero", 0);
  const char16_t text[] = u"1";
  setRaw(roots_.currentUser, kProduct, L"Text", REG_SZ, text, sizeof text);

  zelvo::config::details::ConfigRegKey key(false, config);
  bool value = true;
  key.getValue(L"Zero", value);
  EXPECT_FALSE(value);
  value = true;
  EXPECT_EQ(codeOf([&] { key.getValue(L"Missing", value); }), kNotFound);
  EXPECT_EQ(codeOf([&] { key.getValue(L"Text", value); }), kInvalidData);
  EXPECT_TRUE(value) << "a failed read leaves the boolean alone";

  zelvo::config::details::ConfigRegKey writer(true, config);
  writer.setValue(L"Text", true);
  bool back = false;
  writer.getValue(L"Text", back);
  EXPECT_TRUE(back) << "a write replaces a value of another type";
}

TEST_F(RegistryConfigTest, ToolbarSubKeysAreMadeOnWrite) {
  RegistryConfig config(roots_);
  makeKey(roots_.currentUser, kProduct);
  EXPECT_EQ(readToolbarValue(Toolbar::Inspector, ConfigName::RowIndex, 7, config), 7u);
  EXPECT_FALSE(keyExists(roots_.currentUser, kProduct + L"\\Inspector Toolbar")) << "reading makes nothing";
  writeToolbarValue(Toolbar::Inspector, ConfigName::RowIndex, 3, config);
  writeToolbarValue(Toolbar::Explorer, ConfigName::Show, 0, config);
  EXPECT_EQ(rawDword(roots_.currentUser, kProduct + L"\\Inspector Toolbar", L"RowIndex"), 3u);
  EXPECT_EQ(readToolbarValue(Toolbar::Inspector, ConfigName::RowIndex, 7, config), 3u);
  EXPECT_EQ(readToolbarValue(Toolbar::Explorer, ConfigName::Show, 1, config), 0u);
  EXPECT_EQ(readToolbarValue(Toolbar::Explorer, ConfigName::Top, 11, config), 11u);
}

TEST_F(RegistryConfigTest, StoreServiceValuesAndTheirDefaults) {
  RegistryConfig config(roots_);
  EXPECT_FALSE(getAdvancedOutOfOffice(config));
  EXPECT_EQ(getSuppressSyncObject(config), 0u);
  EXPECT_FALSE(getUseStandardGuids(config));
  EXPECT_EQ(getDontInformRulesNotWorking(config), 0u);
  EXPECT_EQ(codeOf([&] { setDontInformRulesNotWorking(config); }), kNotFound);

  setDword(roots_.currentUser, kProduct, L"AdvancedOutOfOffice", 2);
  setDword(roots_.currentUser, kProduct, L"SuppressSyncObject", 4);
  const char16_t text[] = u"1";
  setRaw(roots_.currentUser, kProduct, L"UseStandardGuids", REG_SZ, text, sizeof text);
  setDontInformRulesNotWorking(config);
  EXPECT_TRUE(getAdvancedOutOfOffice(config));
  EXPECT_EQ(getSuppressSyncObject(config), 4u);
  EXPECT_FALSE(getUseStandardGuids(config)) << "a text is no DWORD: the default";
  EXPECT_EQ(getDontInformRulesNotWorking(config), 1u);
}

TEST_F(RegistryConfigTest, FreeFunctions) {
  const std::wstring key = kProduct;
  EXPECT_EQ(writeRegistryDWORD(roots_.currentUser, key, L"N", 1), kNotFound) << "the key must exist";
  makeKey(roots_.currentUser, key);
  EXPECT_EQ(writeRegistryDWORD(roots_.currentUser, key, L"N", 0xFFFFFFFF), S_OK);
  EXPECT_EQ(readRegistryDWORD(roots_.currentUser, key, L"N", 3), 0xFFFFFFFFu);
  EXPECT_EQ(readRegistryDWORD(roots_.currentUser, key, L"Missing", 3), 3u);
  EXPECT_EQ(codeOf([&] { readRegistryString(roots_.currentUser, key, L"N"); }), kInvalidData);
  EXPECT_EQ(codeOf([&] { readRegistryString(roots_.currentUser, key, L"Missing"); }), kNotFound);
}

}  // namespace
