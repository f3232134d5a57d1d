#include "platform/SettingsStore.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "platform/Utf8.h"

namespace {

using platform::SettingsValue;

SettingsValue dword(DWORD d) {
  return {REG_DWORD, {static_cast<BYTE>(d), static_cast<BYTE>(d >> 8), static_cast<BYTE>(d >> 16),
                      static_cast<BYTE>(d >> 24)}};
}

const std::wstring kKey = L"HKEY_CURRENT_USER\\Software\\Zelvo\\Mail Bridge (Offline Edition)";

TEST(MemorySettings, KeysAndNamesIgnoreCaseAndAncestorsExist) {
  platform::MemorySettings s;
  EXPECT_FALSE(s.setValue(kKey, L"X", dword(1))) << "no value without its key";
  s.createKey(kKey);
  EXPECT_TRUE(s.keyExists(L"hkey_current_user\\software\\ZELVO"));
  EXPECT_TRUE(s.setValue(kKey, L"Level", dword(7)));
  EXPECT_EQ(s.getValue(kKey + L"\\", L"LEVEL"), dword(7));
  EXPECT_FALSE(s.getValue(kKey, L"Other").has_value());
  EXPECT_TRUE(s.deleteValue(kKey, L"level"));
  EXPECT_FALSE(s.deleteValue(kKey, L"level"));
  EXPECT_TRUE(s.deleteTree(L"HKEY_CURRENT_USER\\Software\\Zelvo"));
  EXPECT_FALSE(s.keyExists(kKey)) << "a tree goes with its children";
  EXPECT_TRUE(s.keyExists(L"HKEY_CURRENT_USER\\Software"));
}

TEST(MemorySettings, TextFormRoundTripsEveryType) {
  platform::MemorySettings s;
  s.createKey(kKey);
  s.createKey(kKey + L"\\Empty");
  const SettingsValue text{REG_SZ, {'a', 0, 0xE9, 0, 0x22, 0, 0x5C, 0, 0, 0}};  // a é " \ and terminator
  const SettingsValue binary{REG_BINARY, {0, 1, 0xFE, 0xFF}};
  const SettingsValue expand{REG_EXPAND_SZ, {'%', 0, 0, 0}};
  s.setValue(kKey, L"Number", dword(0xDEADBEEF));
  s.setValue(kKey, L"Text", text);
  s.setValue(kKey, L"Binary", binary);
  s.setValue(kKey, L"Expand", expand);
  s.setValue(kKey, L"Quote \"name\"", dword(1));
  const std::string form = s.serialize();
  EXPECT_NE(form.find("\"Number\"=dword:deadbeef"), std::string::npos) << form;
  platform::MemorySettings back;
  ASSERT_TRUE(back.parse(form)) << form;
  EXPECT_EQ(back.getValue(kKey, L"Number"), dword(0xDEADBEEF));
  EXPECT_EQ(back.getValue(kKey, L"Text"), text);
  EXPECT_EQ(back.getValue(kKey, L"Binary"), binary);
  EXPECT_EQ(back.getValue(kKey, L"Expand"), expand);
  EXPECT_EQ(back.getValue(kKey, L"quote \"NAME\""), dword(1));
  EXPECT_TRUE(back.keyExists(kKey + L"\\Empty"));
  EXPECT_EQ(back.serialize(), form);
}

TEST(MemorySettings, MalformedTextIsRefusedAndTheContentKept) {
  platform::MemorySettings s;
  s.createKey(kKey);
  s.setValue(kKey, L"Keep", dword(3));
  const char* bad[] = {
      "\"Orphan\"=dword:00000001\n",  // value before any key
      "[HKEY_CURRENT_USER\\A]\n\"N\"=dword:zz\n",
      "[HKEY_CURRENT_USER\\A]\n\"N\"=dword:1ffffffff\n",
      "[HKEY_CURRENT_USER\\A]\n\"N\"=hex(3):1,2,xyz\n",
      "[HKEY_CURRENT_USER\\A]\n\"N\"=\"unterminated\n",
      "[HKEY_CURRENT_USER\\A\n",
      "[HKEY_CURRENT_USER\\A]\nN=dword:00000001\n",
  };
  for (const char* text : bad) {
    EXPECT_FALSE(s.parse(text)) << text;
    EXPECT_EQ(s.getValue(kKey, L"Keep"), dword(3));
  }
}

#ifndef _WIN32
TEST(FileSettings, PersistsAcrossInstancesAndMakesItsFolder) {
  const auto dir = std::filesystem::temp_directory_path() / ("zelvo-settings-" + std::to_string(::getpid()));
  std::filesystem::remove_all(dir);
  const std::string path = (dir / "zelvo" / "settings.reg").string();
  {
    platform::FileSettings s(path);
    s.createKey(kKey);
    s.setValue(kKey, L"Level", dword(9));
  }
  platform::FileSettings again(path);
  EXPECT_EQ(again.getValue(kKey, L"level"), dword(9));
  std::filesystem::remove_all(dir);
}

TEST(FileSettings, DefaultPathFollowsXdgConfigHome) {
  const char* oldXdg = std::getenv("XDG_CONFIG_HOME");
  const char* oldHome = std::getenv("HOME");
  const std::optional<std::string> savedXdg = oldXdg ? std::optional<std::string>(oldXdg) : std::nullopt;
  const std::optional<std::string> savedHome = oldHome ? std::optional<std::string>(oldHome) : std::nullopt;
  setenv("XDG_CONFIG_HOME", "/tmp/xdg-test", 1);
  EXPECT_EQ(platform::defaultSettingsPath(), "/tmp/xdg-test/zelvo/settings.reg");
  unsetenv("XDG_CONFIG_HOME");
  setenv("HOME", "/home/someone", 1);
  EXPECT_EQ(platform::defaultSettingsPath(), "/home/someone/.config/zelvo/settings.reg");
  // The later tests of this process see the environment as it was.
  if (savedXdg) setenv("XDG_CONFIG_HOME", savedXdg->c_str(), 1);
  if (savedHome) setenv("HOME", savedHome->c_str(), 1);
  else unsetenv("HOME");
}

TEST(RegistryCalls, WorkOnTheInstalledBackend) {
  auto memory = std::make_shared<platform::MemorySettings>();
  auto previous = platform::setSettingsBackend(memory);
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Nothing", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
  ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\T", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
            ERROR_SUCCESS);
  const DWORD v = 5;
  EXPECT_EQ(RegSetValueExW(key, L"V", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&v), 4), ERROR_SUCCESS);
  DWORD type = 0, size = 2;
  BYTE small[2];
  EXPECT_EQ(RegQueryValueExW(key, L"V", nullptr, &type, small, &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 4u);
  EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
  RegCloseKey(key);
  EXPECT_TRUE(memory->getValue(L"HKEY_CURRENT_USER\\Software\\T", L"v").has_value());
  platform::setSettingsBackend(previous);
}
#endif

}  // namespace
