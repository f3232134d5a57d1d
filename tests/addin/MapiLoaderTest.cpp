#include "addin/MapiLoader.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <set>

namespace {

using zelvo::addin::findMapiLibrary;
using zelvo::addin::MapiEnvironment;
using zelvo::addin::MapiLoader;
using Root = MapiEnvironment::Root;

const wchar_t kAppPaths[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE";
const wchar_t kClients[] = L"Software\\Clients\\Mail";
const wchar_t kOutlookClient[] = L"Software\\Clients\\Mail\\Microsoft Outlook";
const wchar_t kWindows[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion";
const wchar_t kSystemMapi[] = L"C:\\Windows\\system32\\mapi32.dll";

// A machine written by the test: values, files, loadable libraries and their exports, and
// what the installer knows. Every load and component lookup is recorded.
class ScriptedMachine : public MapiEnvironment {
 public:
  std::map<std::tuple<Root, std::wstring, std::wstring>, std::wstring> strings;
  std::map<std::tuple<Root, std::wstring, std::wstring>, std::pair<std::wstring, std::vector<std::wstring>>> keyNames;
  std::set<std::wstring> files;
  std::set<std::wstring> libraries;  // paths or plain names that load
  std::map<std::wstring, std::set<std::string>> exports;
  std::map<std::string, void*> addresses;  // exports that are real functions
  std::map<std::pair<std::string, std::string>, std::wstring> components;
  unsigned long userLcid = 1031, systemLcid = 1033;

  std::vector<std::wstring> loads, frees;
  std::vector<std::string> qualifiers, lookups;

  bool readString(Root root, const std::wstring& key, const std::wstring& name, std::wstring& value) override {
    const auto it = strings.find({root, key, name});
    if (it == strings.end()) return false;
    value = it->second;
    return true;
  }
  bool readNumber(Root root, const std::wstring& key, const std::wstring& name, unsigned long& value) override {
    std::wstring text;
    if (!readString(root, key, name, text)) return false;
    value = std::stoul(text);
    return true;
  }
  bool readKeyAndNames(Root root, const std::wstring& key, const std::wstring& name, std::wstring& subKey,
                       std::vector<std::wstring>& valueNames) override {
    const auto it = keyNames.find({root, key, name});
    if (it == keyNames.end()) return false;
    subKey = it->second.first;
    valueNames = it->second.second;
    return true;
  }
  bool fileExists(const std::wstring& path) override { return files.count(path) != 0; }
  void* loadLibrary(const std::wstring& path) override {
    loads.push_back(path);
    if (!libraries.count(path)) return nullptr;
    return const_cast<std::wstring*>(&*libraries.find(path));
  }
  void freeLibrary(void* module) override { frees.push_back(nameOf(module)); }
  void* getProcAddress(void* module, const char* name) override {
    lookups.push_back(name);
    const auto it = exports.find(nameOf(module));
    if (it == exports.end() || !it->second.count(name)) return nullptr;
    if (addresses.count(name)) return addresses[name];
    return const_cast<std::string*>(&*it->second.find(name));
  }
  std::wstring systemDirectory() override { return L"C:\\Windows\\system32"; }
  unsigned long userDefaultLcid() override { return userLcid; }
  unsigned long systemDefaultLcid() override { return systemLcid; }
  bool callGetComponentPath(void* function, const std::string& component, const std::string& qualifier,
                            std::wstring& path) override {
    EXPECT_EQ(*static_cast<std::string*>(function), "FGetComponentPath");
    qualifiers.push_back(qualifier);
    const auto it = components.find({component, qualifier});
    if (it == components.end()) return false;
    path = it->second;
    return true;
  }

  static std::wstring nameOf(void* module) { return module ? *static_cast<std::wstring*>(module) : L"(null)"; }
  void library(const std::wstring& path, bool onDisk = true) {
    libraries.insert(path);
    if (onDisk) files.insert(path);
  }
  void hostIsClient() { strings[{Root::LocalMachine, kClients, L""}] = L"Microsoft Outlook"; }
  void installer(const char* component = "{COMPONENT}") {
    strings[{Root::LocalMachine, kOutlookClient, L"MSIComponentID"}] = std::wstring(component, component + strlen(component));
    library(L"mapistub.dll", false);
    exports[L"mapistub.dll"].insert("FGetComponentPath");
  }
};

struct SearchCase {
  const char* name;
  std::function<void(ScriptedMachine&)> script;
  const wchar_t* expected;                 // the library loaded, or null
  std::vector<std::string> qualifiers;     // the installer lookups, in order
};

TEST(MapiLoader, SearchTakesEachWayInOrder) {
  const std::wstring c2rDir = L"c:\\program files\\microsoft office\\root\\office16\\";
  const std::wstring c2rMapi = c2rDir + L"..\\VFS\\ProgramFilesCommonX86\\Microsoft Shared\\OFFICE16\\olmapi32.dll";
  const SearchCase cases[] = {
      {"nothing installed: the system directory",
       [](ScriptedMachine& m) { m.library(kSystemMapi); }, kSystemMapi, {}},
      {"host is the default client: olmapi32 next to it, the path lower-cased",
       [](ScriptedMachine& m) {
         m.hostIsClient();
         m.strings[{Root::LocalMachine, kAppPaths, L""}] = L"C:\\Office12\\OUTLOOK.EXE";
         m.library(L"c:\\office12\\olmapi32.dll");
         m.library(kSystemMapi);
       },
       L"c:\\office12\\olmapi32.dll", {}},
      {"click-to-run layout",
       [c2rDir, c2rMapi](ScriptedMachine& m) {
         m.hostIsClient();
         m.strings[{Root::LocalMachine, kAppPaths, L""}] = c2rDir + L"OUTLOOK.EXE";
         m.library(c2rMapi);
         m.library(kSystemMapi);
       },
       c2rMapi.c_str(), {}},
      {"another default client: the host directory is not tried",
       [](ScriptedMachine& m) {
         m.strings[{Root::LocalMachine, kClients, L""}] = L"Other Mail";
         m.strings[{Root::LocalMachine, kAppPaths, L""}] = L"C:\\Office12\\OUTLOOK.EXE";
         m.library(L"c:\\office12\\olmapi32.dll");
         m.library(kSystemMapi);
       },
       kSystemMapi, {}},
      {"App Paths missing",
       [](ScriptedMachine& m) {
         m.hostIsClient();
         m.library(L"olmapi32.dll");
         m.library(kSystemMapi);
       },
       kSystemMapi, {}},
      {"App Paths not naming outlook.exe",
       [](ScriptedMachine& m) {
         m.hostIsClient();
         m.strings[{Root::LocalMachine, kAppPaths, L""}] = L"C:\\Office12\\other.exe";
         m.library(L"c:\\office12\\olmapi32.dll");
         m.library(kSystemMapi);
       },
       kSystemMapi, {}},
      {"olmapi32 absent: loaded only when the file is there",
       [](ScriptedMachine& m) {
         m.hostIsClient();
         m.strings[{Root::LocalMachine, kAppPaths, L""}] = L"C:\\Office12\\OUTLOOK.EXE";
         m.library(L"c:\\office12\\olmapi32.dll", false);
         m.library(kSystemMapi);
       },
       kSystemMapi, {}},
      {"installer: application LCID, NT qualifier first",
       [](ScriptedMachine& m) {
         m.installer();
         m.keyNames[{Root::LocalMachine, kOutlookClient, L"MSIApplicationLCID"}] = {L"App", {L"Lang"}};
         m.strings[{Root::CurrentUser, L"Software\\App", L"Lang"}] = L"1049";
         m.components[{"{COMPONENT}", "1049\\NT"}] = L"d:\\msi\\msmapi32.dll";
         m.library(L"d:\\msi\\msmapi32.dll");
         m.library(kSystemMapi);
       },
       L"d:\\msi\\msmapi32.dll", {"1049\\NT"}},
      {"installer: every LCID, NT then plain, application, office, user, system",
       [](ScriptedMachine& m) {
         m.installer();
         m.keyNames[{Root::LocalMachine, kOutlookClient, L"MSIApplicationLCID"}] = {L"App", {L"Lang"}};
         m.strings[{Root::LocalMachine, L"Software\\App", L"Lang"}] = L"1049";
         m.keyNames[{Root::LocalMachine, kOutlookClient, L"MSIOfficeLCID"}] = {L"Office", {L"Old", L"Lang"}};
         m.strings[{Root::CurrentUser, L"Software\\Office", L"Lang"}] = L"1036";
         m.components[{"{COMPONENT}", "1033"}] = L"d:\\msi\\msmapi32.dll";
         m.library(L"d:\\msi\\msmapi32.dll");
         m.library(kSystemMapi);
       },
       L"d:\\msi\\msmapi32.dll", {"1049\\NT", "1049", "1036\\NT", "1036", "1031\\NT", "1031", "1033\\NT", "1033"}},
      {"installer: a named LCID that is missing is passed over",
       [](ScriptedMachine& m) {
         m.installer();
         m.keyNames[{Root::LocalMachine, kOutlookClient, L"MSIApplicationLCID"}] = {L"App", {L"Lang"}};
         m.systemLcid = 1031;
         m.library(kSystemMapi);
       },
       kSystemMapi, {"1031\\NT", "1031"}},
      {"installer through mapi32 when there is no mapistub",
       [](ScriptedMachine& m) {
         m.strings[{Root::LocalMachine, kOutlookClient, L"MSIComponentID"}] = L"{C}";
         m.library(L"mapi32.dll", false);
         m.exports[L"mapi32.dll"].insert("FGetComponentPath");
         m.components[{"{C}", "1031"}] = L"d:\\msi\\msmapi32.dll";
         m.library(L"d:\\msi\\msmapi32.dll");
       },
       L"d:\\msi\\msmapi32.dll", {"1031\\NT", "1031"}},
      {"installer without an answer: the common files by language",
       [](ScriptedMachine& m) {
         m.installer();
         m.strings[{Root::LocalMachine, kWindows, L"CommonFilesDir"}] = L"C:\\Common";
         m.library(L"C:\\Common\\System\\MSMAPI\\1033\\MSMAPI32.DLL");
         m.library(kSystemMapi);
       },
       L"C:\\Common\\System\\MSMAPI\\1033\\MSMAPI32.DLL", {"1031\\NT", "1031", "1033\\NT", "1033"}},
      {"DllPathEx after the common files",
       [](ScriptedMachine& m) {
         m.strings[{Root::LocalMachine, kOutlookClient, L"DllPathEx"}] = L"e:\\x\\mapi.dll";
         m.strings[{Root::LocalMachine, kWindows, L"CommonFilesDir"}] = L"C:\\Common";
         m.library(L"e:\\x\\mapi.dll");
         m.library(kSystemMapi);
       },
       L"e:\\x\\mapi.dll", {}},
      {"nothing anywhere", [](ScriptedMachine&) {}, nullptr, {}},
  };
  for (const auto& c : cases) {
    ScriptedMachine machine;
    c.script(machine);
    void* module = findMapiLibrary(machine);
    EXPECT_EQ(ScriptedMachine::nameOf(module), c.expected ? c.expected : L"(null)") << c.name;
    EXPECT_EQ(machine.qualifiers, c.qualifiers) << c.name;
    // The stub library used for the installer is let go; the found one is kept.
    for (const auto& freed : machine.frees) EXPECT_NE(freed, ScriptedMachine::nameOf(module)) << c.name;
  }
}

TEST(MapiLoader, StubLibraryIsFreedAfterTheInstallerLookup) {
  ScriptedMachine machine;
  machine.installer();
  machine.library(kSystemMapi);
  EXPECT_EQ(ScriptedMachine::nameOf(findMapiLibrary(machine)), kSystemMapi);
  EXPECT_EQ(machine.frees, std::vector<std::wstring>{L"mapistub.dll"});
}

TEST(MapiLoader, ExportsAreResolvedOncePerLoad) {
  ScriptedMachine machine;
  machine.library(kSystemMapi);
  machine.exports[kSystemMapi] = {"HrGetOneProp", "MAPIFreeBuffer"};
  MapiLoader loader(machine);
  MapiLoader::Cache getOneProp, freeBuffer;
  const std::vector<const char*> getOnePropNames = {"HrGetOneProp@12", "HrGetOneProp"};

  void* first = loader.resolve(getOnePropNames, getOneProp);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(*static_cast<std::string*>(first), "HrGetOneProp");
  EXPECT_EQ(loader.resolve(getOnePropNames, getOneProp), first);
  EXPECT_NE(loader.resolve({"MAPIFreeBuffer"}, freeBuffer), nullptr);
  EXPECT_EQ(machine.loads.size(), 1u);
  EXPECT_EQ(machine.lookups, (std::vector<std::string>{"HrGetOneProp@12", "HrGetOneProp", "MAPIFreeBuffer"}));

  // A new load of the library: the addresses are taken again.
  loader.unload();
  EXPECT_EQ(machine.frees, std::vector<std::wstring>{kSystemMapi});
  EXPECT_EQ(loader.resolve(getOnePropNames, getOneProp), first);
  EXPECT_EQ(machine.loads.size(), 2u);
  EXPECT_EQ(machine.lookups.size(), 5u);
  EXPECT_EQ(loader.loadNumber(), 2u);
}

TEST(MapiLoader, MissingExportOrLibraryGivesNoAddress) {
  ScriptedMachine machine;
  MapiLoader loader(machine);
  MapiLoader::Cache cache;
  EXPECT_EQ(loader.resolve({"MAPIFreeBuffer"}, cache), nullptr);  // no library at all
  EXPECT_EQ(loader.loadNumber(), 0u);
  machine.library(kSystemMapi);
  EXPECT_EQ(loader.resolve({"MAPIFreeBuffer"}, cache), nullptr);  // loaded, export missing
  EXPECT_EQ(loader.resolve({"MAPIFreeBuffer"}, cache), nullptr);
  EXPECT_EQ(machine.lookups, std::vector<std::string>{"MAPIFreeBuffer"});
}

long gotTag = 0;
long fakeGetOneProp(void* object, unsigned long tag, void** value) {
  gotTag = static_cast<long>(tag);
  *value = object;
  return tag == 0 ? -2147467259L + 1 : 0;  // a code the caller passes through unchanged
}

TEST(MapiLoader, ExportCallsPassThroughOrFailWithTheFailureForm) {
  using Function = long(void*, unsigned long, void**);
  const long eFail = static_cast<long>(0x80004005UL);
  const struct {
    const char* name;
    bool exported;
    unsigned long tag;
    long expected;
  } cases[] = {
      {"exported: the export's own result", true, 0x30010102UL, 0},
      {"exported: a failure of the export passes unchanged", true, 0, -2147467259L + 1},
      {"export missing: the failure form", false, 0x30010102UL, eFail},
  };
  for (const auto& c : cases) {
    ScriptedMachine machine;
    machine.library(kSystemMapi);
    if (c.exported) {
      machine.exports[kSystemMapi] = {"HrGetOneProp"};
      machine.addresses["HrGetOneProp"] = reinterpret_cast<void*>(&fakeGetOneProp);
    }
    MapiLoader loader(machine);
    MapiLoader::Cache cache;
    gotTag = -1;
    int object = 0;
    void* value = nullptr;
    const long result = zelvo::addin::callMapiExport<Function>(loader, {"HrGetOneProp@12", "HrGetOneProp"}, cache,
                                                               eFail, static_cast<void*>(&object), c.tag, &value);
    EXPECT_EQ(result, c.expected) << c.name;
    EXPECT_EQ(gotTag, c.exported ? static_cast<long>(c.tag) : -1) << c.name;
    EXPECT_EQ(value, c.exported ? static_cast<void*>(&object) : nullptr) << c.name;
  }
}

}  // namespace
