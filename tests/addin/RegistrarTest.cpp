// The registrar against the registry: what registration writes, what unregistration takes
// away and leaves, and where a per-user run puts it. Natively the registry calls work on a
// settings store in memory; cross-built they are the system's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "addin/registrar/AddInRegistration.h"
#include "addin/registrar/Registrar.h"
#include "base/HResultException.h"
#include "base/RegistryUtils.h"
#include "platform/SettingsStore.h"
#include "platform/Utf8.h"
#include "testing/TestEnvironment.h"

using namespace zelvo::addin;
using zelvo::testing::utf8;

namespace {

// Every key below a path as "path" lines and its values as "path|name=value" lines, in a
// sorted map so that the order of enumeration doesn't count.
void dumpKey(HKEY parent, const std::wstring& path, const std::wstring& shown,
             std::map<std::wstring, std::wstring>& out) {
  RegistryUtils::ScopedKey key;
  if (key.open(parent, path, KEY_READ) != ERROR_SUCCESS) return;
  out[shown] = L"";
  for (DWORD index = 0;; ++index) {
    wchar_t name[256];
    DWORD nameLength = 256;
    BYTE data[1024];
    DWORD dataSize = sizeof data;
    DWORD type = 0;
    if (RegEnumValueW(key.get(), index, name, &nameLength, nullptr, &type, data, &dataSize) != ERROR_SUCCESS) break;
    std::wstring value;
    if (type == REG_DWORD) {
      value = L"d:" + std::to_wstring(*reinterpret_cast<const DWORD*>(data));
    } else {
      std::wstring text(reinterpret_cast<const wchar_t*>(data), dataSize / sizeof(wchar_t));
      while (!text.empty() && text.back() == L'\0') text.pop_back();
      value = L"s:" + text;
    }
    out[shown + L"|" + (nameLength ? std::wstring(name, nameLength) : L"@")] = value;
  }
  for (DWORD index = 0;; ++index) {
    wchar_t name[256];
    DWORD nameLength = 256;
    if (RegEnumKeyExW(key.get(), index, name, &nameLength, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    const std::wstring sub(name, nameLength);
    dumpKey(key.get(), sub, shown + L"\\" + sub, out);
  }
}

std::map<std::wstring, std::wstring> dump(HKEY root, const std::wstring& path) {
  std::map<std::wstring, std::wstring> out;
  dumpKey(root, path, path, out);
  return out;
}

std::string describe(const std::map<std::wstring, std::wstring>& tree) {
  std::string text;
  for (const auto& [key, value] : tree) text += utf8(key) + (value.empty() ? "" : " = " + utf8(value)) + "\n";
  return text;
}

constexpr wchar_t kTestRoot[] = L"Software\\ZelvoRegistrarTest";

// Each test works below HKCU\Software\ZelvoRegistrarTest, on a fresh store natively.
class Registrar : public ::testing::Test {
 protected:
  void SetUp() override {
    previous_ = platform::setSettingsBackend(std::make_shared<platform::MemorySettings>());
    RegDeleteTreeW(HKEY_CURRENT_USER, kTestRoot);
  }
  void TearDown() override {
    RegDeleteTreeW(HKEY_CURRENT_USER, kTestRoot);
    platform::setSettingsBackend(previous_);
  }
  std::string tree() const { return describe(dump(HKEY_CURRENT_USER, kTestRoot)); }

  std::shared_ptr<platform::SettingsBackend> previous_;
};

const RegistrarReplacements kNone;

// A script over the test root, the part below it given.
std::wstring underTestRoot(const std::wstring& body) {
  return L"HKCU { NoRemove Software { NoRemove ZelvoRegistrarTest {\n" + body + L"\n} } }";
}

TEST_F(Registrar, RegistrationWritesKeysDefaultsAndTypedValues) {
  registerScript(underTestRoot(L"A = s 'x' { val N = d '0x2A' val E = e '%%PATH%%' B { 'C D' = s 'it''s' } }"), kNone,
                 RegistrarScope::kMachine);
  EXPECT_EQ(
      "Software\\ZelvoRegistrarTest\n"
      "Software\\ZelvoRegistrarTest\\A\n"
      "Software\\ZelvoRegistrarTest\\A\\B\n"
      "Software\\ZelvoRegistrarTest\\A\\B\\C D\n"
      "Software\\ZelvoRegistrarTest\\A\\B\\C D|@ = s:it's\n"
      "Software\\ZelvoRegistrarTest\\A|@ = s:x\n"
      "Software\\ZelvoRegistrarTest\\A|E = s:%PATH%\n"
      "Software\\ZelvoRegistrarTest\\A|N = d:42\n",
      tree());
}

TEST_F(Registrar, ForceRemoveMakesTheKeyAnewAndDeleteRemovesIt) {
  registerScript(underTestRoot(L"F { Old = s 'o' } G { val V = s 'v' } Keep"), kNone, RegistrarScope::kMachine);
  registerScript(underTestRoot(L"ForceRemove F { New } Delete G"), kNone, RegistrarScope::kMachine);
  EXPECT_EQ(
      "Software\\ZelvoRegistrarTest\n"
      "Software\\ZelvoRegistrarTest\\F\n"
      "Software\\ZelvoRegistrarTest\\F\\New\n"
      "Software\\ZelvoRegistrarTest\\Keep\n",
      tree());
}

// Unregistration by flag: ForceRemove takes the whole key with what others put there, a
// plain key goes only when nothing is left under it, NoRemove stays.
TEST_F(Registrar, UnregistrationRemovesWhatTheScriptMarks) {
  const std::wstring script = underTestRoot(
      L"ForceRemove Forced { Sub } Plain = s 'p' { Mine } Shared { val Ours = s 'o' Mine } "
      L"NoRemove Kept { Mine val V = s 'v' }");
  registerScript(script, kNone, RegistrarScope::kMachine);
  // What another program wrote beside ours.
  ASSERT_EQ(S_OK,
            RegistryUtils::writeString(HKEY_CURRENT_USER, std::wstring(kTestRoot) + L"\\Forced\\Foreign", L"", L"f"));
  ASSERT_EQ(S_OK,
            RegistryUtils::writeString(HKEY_CURRENT_USER, std::wstring(kTestRoot) + L"\\Shared\\Foreign", L"", L"f"));
  ASSERT_EQ(S_OK,
            RegistryUtils::writeString(HKEY_CURRENT_USER, std::wstring(kTestRoot) + L"\\Shared", L"Theirs", L"t"));

  unregisterScript(script, kNone, RegistrarScope::kMachine);
  EXPECT_EQ(
      "Software\\ZelvoRegistrarTest\n"
      "Software\\ZelvoRegistrarTest\\Kept\n"
      "Software\\ZelvoRegistrarTest\\Kept|V = s:v\n"
      "Software\\ZelvoRegistrarTest\\Shared\n"
      "Software\\ZelvoRegistrarTest\\Shared\\Foreign\n"
      "Software\\ZelvoRegistrarTest\\Shared\\Foreign|@ = s:f\n"
      "Software\\ZelvoRegistrarTest\\Shared|Theirs = s:t\n",
      tree());
}

TEST_F(Registrar, UnregistrationOfWhatIsntThereIsNoFailure) {
  EXPECT_NO_THROW(unregisterScript(underTestRoot(L"ForceRemove A { B } C { D }"), kNone, RegistrarScope::kMachine));
  EXPECT_NO_THROW(
      unregisterScript(L"HKCR { ForceRemove ZelvoRegistrarNothing { X } }", kNone, RegistrarScope::kPerUser));
}

TEST_F(Registrar, BadScriptRaisesWithItsLineAndWritesNothing) {
  try {
    registerScript(underTestRoot(L"A\nB = s 'x' { val C = q 'y' }"), kNone, RegistrarScope::kMachine);
    FAIL() << "no exception";
  } catch (const HResultException& e) {
    EXPECT_EQ(DISP_E_EXCEPTION, e.getHResult());
    EXPECT_THAT(utf8(e.text()), ::testing::EndsWith("\n0x80020009: line 3: unknown value type 'q'"));
  }
  EXPECT_EQ("", tree());
}

struct TargetCase {
  RegistrarRoot root;
  RegistrarScope scope;
  HKEY key;
  const wchar_t* path;
};

// A per-user run moves only the classes and the machine's keys.
const TargetCase kTargets[] = {
    {RegistrarRoot::kClassesRoot, RegistrarScope::kMachine, HKEY_CLASSES_ROOT, L""},
    {RegistrarRoot::kLocalMachine, RegistrarScope::kMachine, HKEY_LOCAL_MACHINE, L""},
    {RegistrarRoot::kCurrentUser, RegistrarScope::kMachine, HKEY_CURRENT_USER, L""},
    {RegistrarRoot::kUsers, RegistrarScope::kMachine, HKEY_USERS, L""},
    {RegistrarRoot::kClassesRoot, RegistrarScope::kPerUser, HKEY_CURRENT_USER, L"Software\\Classes"},
    {RegistrarRoot::kLocalMachine, RegistrarScope::kPerUser, HKEY_CURRENT_USER, L""},
    {RegistrarRoot::kCurrentUser, RegistrarScope::kPerUser, HKEY_CURRENT_USER, L""},
    {RegistrarRoot::kUsers, RegistrarScope::kPerUser, HKEY_USERS, L""},
};

TEST(RegistrarTarget, PerUserRunsLandBelowTheCurrentUser) {
  for (const auto& c : kTargets) {
    const RegistrarTarget target = registrarTarget(c.root, c.scope);
    EXPECT_EQ(c.key, target.root) << static_cast<int>(c.root) << "/" << static_cast<int>(c.scope);
    EXPECT_EQ(utf8(c.path), utf8(target.path)) << static_cast<int>(c.root) << "/" << static_cast<int>(c.scope);
  }
}

// The module's own script, as a per-user run writes it (the machine run writes the same
// below HKCR and HKLM), and what unregistration leaves.
class AddInScript : public Registrar {
 protected:
  void SetUp() override {
    Registrar::SetUp();
    const std::string bytes = zelvo::testing::readFile(zelvo::testing::sourcePath("src/win32/DravAddIn.rgs"));
    script_ = platform::fromUtf8Lenient(bytes);
    replacements_ = addInRegistrarReplacements(L"C:\\Zelvo Test\\DravAddIn.dll", false);
    cleanUp();
  }
  void TearDown() override {
    cleanUp();
    Registrar::TearDown();
  }
  void cleanUp() {
    for (const wchar_t* key : kOurKeys) RegDeleteTreeW(HKEY_CURRENT_USER, key);
  }
  std::string ours() const {
    std::map<std::wstring, std::wstring> all;
    for (const wchar_t* key : kOurKeys) all.merge(dump(HKEY_CURRENT_USER, key));
    return describe(all);
  }

  static constexpr const wchar_t* kOurKeys[] = {
      L"Software\\Classes\\DravAddIn.UserInterface.1",
      L"Software\\Classes\\DravAddIn.UserInterface",
      L"Software\\Classes\\CLSID\\{BEE5E564-0C5E-4139-B60E-F92077A29CD6}",
      L"Software\\Microsoft\\Office\\Outlook\\AddIns\\DravAddIn.UserInterface",
  };
  std::wstring script_;
  RegistrarReplacements replacements_;
};

TEST_F(AddInScript, WritesTheClassProgIdsAndTheHostsAddInKey) {
  registerScript(script_, replacements_, RegistrarScope::kPerUser);
  EXPECT_EQ(
      "Software\\Classes\\CLSID\\{BEE5E564-0C5E-4139-B60E-F92077A29CD6}\n"
      "Software\\Classes\\CLSID\\{BEE5E564-0C5E-4139-B60E-F92077A29CD6}\\InprocServer32\n"
      "Software\\Classes\\CLSID\\{BEE5E564-0C5E-4139-B60E-F92077A29CD6}\\InprocServer32|@ = s:\"C:\\Zelvo "
      "Test\\DravAddIn.dll\"\n"
      "Software\\Classes\\CLSID\\{BEE5E564-0C5E-4139-B60E-F92077A29CD6}\\InprocServer32|ThreadingModel = s:Apartment\n"
      "Software\\Classes\\CLSID\\{BEE5E564-0C5E-4139-B60E-F92077A29CD6}\\ProgID\n"
      "Software\\Classes\\CLSID\\{BEE5E564-0C5E-4139-B60E-F92077A29CD6}\\ProgID|@ = s:DravAddIn.UserInterface.1\n"
      "Software\\Classes\\CLSID\\{BEE5E564-0C5E-4139-B60E-F92077A29CD6}\\Programmable\n"
      "Software\\Classes\\CLSID\\{BEE5E564-0C5E-4139-B60E-F92077A29CD6}\\TypeLib\n"
      "Software\\Classes\\CLSID\\{BEE5E564-0C5E-4139-B60E-F92077A29CD6}\\TypeLib|@ = "
      "s:{39DC140D-83E8-49CD-8885-134731216CAD}\n"
      "Software\\Classes\\CLSID\\{BEE5E564-0C5E-4139-B60E-F92077A29CD6}\\VersionIndependentProgID\n"
      "Software\\Classes\\CLSID\\{BEE5E564-0C5E-4139-B60E-F92077A29CD6}\\VersionIndependentProgID|@ = "
      "s:DravAddIn.UserInterface\n"
      "Software\\Classes\\CLSID\\{BEE5E564-0C5E-4139-B60E-F92077A29CD6}|@ = s:Zelvo Mail Bridge UI\n"
      "Software\\Classes\\DravAddIn.UserInterface\n"
      "Software\\Classes\\DravAddIn.UserInterface.1\n"
      "Software\\Classes\\DravAddIn.UserInterface.1\\CLSID\n"
      "Software\\Classes\\DravAddIn.UserInterface.1\\CLSID|@ = s:{BEE5E564-0C5E-4139-B60E-F92077A29CD6}\n"
      "Software\\Classes\\DravAddIn.UserInterface.1|@ = s:Zelvo Mail Bridge UI\n"
      "Software\\Classes\\DravAddIn.UserInterface\\CLSID\n"
      "Software\\Classes\\DravAddIn.UserInterface\\CLSID|@ = s:{BEE5E564-0C5E-4139-B60E-F92077A29CD6}\n"
      "Software\\Classes\\DravAddIn.UserInterface\\CurVer\n"
      "Software\\Classes\\DravAddIn.UserInterface\\CurVer|@ = s:DravAddIn.UserInterface.1\n"
      "Software\\Classes\\DravAddIn.UserInterface|@ = s:Zelvo Mail Bridge UI\n"
      "Software\\Microsoft\\Office\\Outlook\\AddIns\\DravAddIn.UserInterface\n"
      "Software\\Microsoft\\Office\\Outlook\\AddIns\\DravAddIn.UserInterface|CommandLineSafe = d:0\n"
      "Software\\Microsoft\\Office\\Outlook\\AddIns\\DravAddIn.UserInterface|Description = s:Zelvo Mail Bridge "
      "Add-in for Zelvo Hub\n"
      "Software\\Microsoft\\Office\\Outlook\\AddIns\\DravAddIn.UserInterface|FriendlyName = s:Zelvo Mail Bridge\n"
      "Software\\Microsoft\\Office\\Outlook\\AddIns\\DravAddIn.UserInterface|LoadBehavior = d:3\n",
      ours());
}

TEST_F(AddInScript, UnregistrationRemovesOursAndKeepsTheSharedKeys) {
  registerScript(script_, replacements_, RegistrarScope::kPerUser);
  ASSERT_EQ(S_OK, RegistryUtils::writeString(HKEY_CURRENT_USER, L"Software\\Microsoft\\Office\\Outlook\\AddIns\\Other",
                                             L"FriendlyName", L"other"));
  unregisterScript(script_, replacements_, RegistrarScope::kPerUser);
  EXPECT_EQ("", ours());
  std::wstring other;
  EXPECT_EQ(S_OK, RegistryUtils::readString(HKEY_CURRENT_USER, L"Software\\Microsoft\\Office\\Outlook\\AddIns\\Other",
                                            L"FriendlyName", other));
  RegistryUtils::ScopedKey classes;
  EXPECT_EQ(ERROR_SUCCESS, classes.open(HKEY_CURRENT_USER, L"Software\\Classes\\CLSID", KEY_READ));
  RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Microsoft\\Office\\Outlook\\AddIns\\Other");
}

TEST(AddInRegistration, ModulePathIsQuotedUnlessTheModuleIsTheProcess) {
  EXPECT_EQ("\"C:\\a b\\DravAddIn.dll\"",
            utf8(addInRegistrarReplacements(L"C:\\a b\\DravAddIn.dll", false).at(L"MODULE")));
  EXPECT_EQ("C:\\a b\\host.exe", utf8(addInRegistrarReplacements(L"C:\\a b\\host.exe", true).at(L"module")));
  EXPECT_EQ("", utf8(addInRegistrarReplacements(L"x", false).at(L"AppId")));
}

}  // namespace
