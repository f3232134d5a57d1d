#include "addin/MapiLoader.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <cwctype>

namespace zelvo {
namespace addin {

const wchar_t kMailClientsKey[] = L"Software\\Clients\\Mail";
const wchar_t kOutlookClientName[] = L"Microsoft Outlook";

namespace details {

using Root = MapiEnvironment::Root;

const wchar_t kAppPathsKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE";
const wchar_t kWindowsKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion";
const wchar_t kClickToRunDirectory[] = L"..\\VFS\\ProgramFilesCommonX86\\Microsoft Shared\\OFFICE16\\";

std::wstring lower(std::wstring text) {
  std::transform(text.begin(), text.end(), text.begin(), [](wchar_t c) { return static_cast<wchar_t>(std::towlower(c)); });
  return text;
}

std::wstring outlookClientKey() { return std::wstring(kMailClientsKey) + L"\\" + kOutlookClientName; }

// The library next to the host's program: olmapi32.dll, found through App Paths, under the
// shared directory of a click-to-run installation.
void* loadFromHostDirectory(MapiEnvironment& env) {
  std::wstring program;
  if (!env.readString(Root::LocalMachine, kAppPathsKey, L"", program)) return nullptr;
  program = lower(program);
  if (program.find(L"outlook.exe") == std::wstring::npos) return nullptr;
  // The value may be quoted; the directory ends at the last separator.
  program.erase(std::remove(program.begin(), program.end(), L'"'), program.end());
  const auto slash = program.find_last_of(L'\\');
  std::wstring directory = slash == std::wstring::npos ? std::wstring() : program.substr(0, slash + 1);
  if (directory.find(L"\\office16") != std::wstring::npos) directory += kClickToRunDirectory;
  const std::wstring path = directory + L"olmapi32.dll";
  if (!env.fileExists(path)) return nullptr;
  return env.loadLibrary(path);
}

// An LCID named by a value that holds a key below Software and the values that may carry
// it: the first one found, per user first (where the host keeps its language), then the
// machine's.
bool readNamedLcid(MapiEnvironment& env, const std::wstring& name, unsigned long& lcid) {
  std::wstring key;
  std::vector<std::wstring> valueNames;
  if (!env.readKeyAndNames(Root::LocalMachine, outlookClientKey(), name, key, valueNames)) return false;
  key = L"Software\\" + key;
  for (const auto& valueName : valueNames)
    if (env.readNumber(Root::CurrentUser, key, valueName, lcid) || env.readNumber(Root::LocalMachine, key, valueName, lcid))
      return true;
  return false;
}

std::vector<unsigned long> candidateLcids(MapiEnvironment& env) {
  std::vector<unsigned long> lcids;
  auto add = [&lcids](unsigned long lcid) {
    if (lcid && std::find(lcids.begin(), lcids.end(), lcid) == lcids.end()) lcids.push_back(lcid);
  };
  unsigned long lcid = 0;
  if (readNamedLcid(env, L"MSIApplicationLCID", lcid)) add(lcid);
  if (readNamedLcid(env, L"MSIOfficeLCID", lcid)) add(lcid);
  add(env.userDefaultLcid());
  add(env.systemDefaultLcid());
  return lcids;
}

std::string narrow(const std::wstring& text) {
  std::string out;
  for (wchar_t c : text) out += static_cast<char>(c < 0x80 ? c : '?');
  return out;
}

// The installer's record of the component, asked through the stub library's FGetComponentPath.
void* loadByComponent(MapiEnvironment& env, const std::vector<unsigned long>& lcids) {
  std::wstring component;
  if (!env.readString(Root::LocalMachine, outlookClientKey(), L"MSIComponentID", component) || component.empty())
    return nullptr;
  void* stub = env.loadLibrary(L"mapistub.dll");
  if (!stub) stub = env.loadLibrary(L"mapi32.dll");
  if (!stub) return nullptr;
  void* found = nullptr;
  if (void* getComponentPath = env.getProcAddress(stub, "FGetComponentPath")) {
    for (unsigned long lcid : lcids) {
      for (const char* format : {"%lu\\NT", "%lu"}) {
        char qualifier[32];
        std::snprintf(qualifier, sizeof qualifier, format, lcid);
        std::wstring path;
        if (env.callGetComponentPath(getComponentPath, narrow(component), qualifier, path) && !path.empty())
          found = env.loadLibrary(path);
        if (found) break;
      }
      if (found) break;
    }
  }
  env.freeLibrary(stub);
  return found;
}

// The shared MAPI of older installations, by language, under the common files.
void* loadFromCommonFiles(MapiEnvironment& env, const std::vector<unsigned long>& lcids) {
  std::wstring common;
  if (!env.readString(Root::LocalMachine, kWindowsKey, L"CommonFilesDir", common) || common.empty()) return nullptr;
  for (unsigned long lcid : lcids) {
    wchar_t tail[64];
    std::swprintf(tail, sizeof tail / sizeof *tail, L"System\\MSMAPI\\%d\\%ls", static_cast<int>(lcid), L"MSMAPI32.DLL");
    const std::wstring path = common + L"\\" + tail;
    if (env.fileExists(path))
      if (void* module = env.loadLibrary(path)) return module;
  }
  return nullptr;
}

void* loadFromDllPathEx(MapiEnvironment& env) {
  std::wstring path;
  if (!env.readString(Root::LocalMachine, outlookClientKey(), L"DllPathEx", path) || path.empty()) return nullptr;
  if (!env.fileExists(path)) return nullptr;
  return env.loadLibrary(path);
}

}  // namespace details

void* findMapiLibrary(MapiEnvironment& env) {
  std::wstring client;
  const bool hostIsClient = env.readString(MapiEnvironment::Root::LocalMachine, kMailClientsKey, L"", client) &&
                            client == kOutlookClientName;
  if (hostIsClient)
    if (void* module = details::loadFromHostDirectory(env)) return module;
  const auto lcids = details::candidateLcids(env);
  if (void* module = details::loadByComponent(env, lcids)) return module;
  if (void* module = details::loadFromCommonFiles(env, lcids)) return module;
  if (void* module = details::loadFromDllPathEx(env)) return module;
  wchar_t path[1024];
  std::swprintf(path, sizeof path / sizeof *path, L"%ls\\%ls", env.systemDirectory().c_str(), L"mapi32.dll");
  return env.loadLibrary(path);
}

MapiLoader::~MapiLoader() { unload(); }

void* MapiLoader::resolve(const std::vector<const char*>& names, Cache& cache) {
  std::lock_guard<std::mutex> guard(lock_);
  if (!module_) {
    module_ = findMapiLibrary(env_);
    if (!module_) return nullptr;
    ++load_;
  }
  if (cache.load != load_) {
    cache.address = nullptr;
    for (const char* name : names)
      if ((cache.address = env_.getProcAddress(module_, name))) break;
    cache.load = load_;
  }
  return cache.address;
}

void MapiLoader::unload() {
  std::lock_guard<std::mutex> guard(lock_);
  if (module_) env_.freeLibrary(module_);
  module_ = nullptr;
}

unsigned long MapiLoader::loadNumber() const {
  std::lock_guard<std::mutex> guard(lock_);
  return load_;
}

}  // namespace addin
}  // namespace zelvo
