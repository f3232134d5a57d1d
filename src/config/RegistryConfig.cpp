#include "config/RegistryConfig.h"

#include <array>
#include <optional>

#include "base/HResultException.h"
#include "base/Win32Error.h"

namespace zelvo {
namespace config {
namespace details {

constexpr std::array<const wchar_t*, static_cast<size_t>(ConfigName::Count)> kNames = {
    L"InstallPath",
    L"Update Disabled",
    L"Update Last Directory",
    L"SilentAssist",
    L"Explorer Toolbar",
    L"Inspector Toolbar",
    L"Show",
    L"Left",
    L"Top",
    L"RowIndex",
    L"LogMaxSize",
    L"LogSeverity",
    L"LogFacilities",
    L"LogWarning",
    L"LogDebug",
    L"LogInfo",
    L"Profile Conversion Done",
    L"Synchronization Ready Clients",
    L"Database Optimizations Disabled",
    L"EnableDiag",
    L"EnablePerfCounters",
    L"\\9375CFF0413111d3B88A00104B2A6676",
    L"JustUpdated",
    L"UseStandardGuids",
    L"RestrictedGal",
    L"Cache Root Path",
    L"Use Roaming Profile",
    L"TimeZonesLastModTime",
    L"95e4783807057d44ae842880c947f009",
    L"StoreIdentifiers",
    L"MigrationRunning",
    L"Cache Disabled",
    L"Cache Size",
    L"AdvancedOutOfOffice",
    L"Identity Eid",
    L"Service UID",
    L"Service Name",
    L"Delivery Store EntryID",
    L"Delivery Folder EntryID",
    L"SkipVersion",
    L"SkipVersionAfterRestart",
    L"RequireSameVersion",
    L"UpgradePolicy",
    L"DowngradePolicy",
    L"MaxAttachmentAge",
    L"DeleteOldAttachments",
    L"AttachmentCleanupInterval",
    L"SuppressSyncObject",
    L"RequireTrusted",
    L"LastFngrprnt",
    L"LastCommonName",
    L"NewCommonName",
    L"RejectedCommonName",
    L"DontInformRulesNotWorking",
    L"UseDefaultFrom",
    L"NextAccountNumber",
    L"AccountDeleted",
};

bool canOpen(HKEY root, const wchar_t* key) {
  RegistryUtils::ScopedKey opened;
  return opened.open(root, key, KEY_READ) == ERROR_SUCCESS;
}

// The second product takes over the user's settings the first time it is seen. Nothing
// here may stop the add-in from starting, so failures are dropped.
void moveToSecondProductKey(HKEY currentUser) {
  if (canOpen(currentUser, RegistryConfig::kSecondProductKey) || !canOpen(currentUser, RegistryConfig::kProductKey))
    return;
  RegistryUtils::ScopedKey created;
  if (RegCreateKeyExW(currentUser, RegistryConfig::kSecondProductKey, 0, nullptr, REG_OPTION_NON_VOLATILE,
                      KEY_ALL_ACCESS, nullptr, created.out(), nullptr) != ERROR_SUCCESS)
    return;
  SHCopyKeyW(currentUser, RegistryConfig::kProductKey, created.get(), 0);
}

DWORD readProductDWORD(const RegistryConfig& config, ConfigName name, DWORD defaultValue) {
  return readRegistryDWORD(config.root(ConfigRoot::CurrentUser), config.productKey(), configName(name), defaultValue);
}

ConfigRegKey::ConfigRegKey(bool forWriting, const RegistryConfig& config) {
  const LONG error =
      key_.open(config.root(ConfigRoot::CurrentUser), config.productKey(), forWriting ? KEY_ALL_ACCESS : KEY_READ);
  if (error != ERROR_SUCCESS) ZEL_HERE.raise(win32ErrorToHResult(error));
}

void ConfigRegKey::getValue(const wchar_t* name, bool& value) const {
  DWORD type = 0, data = 0, size = sizeof data;
  const LONG error = RegQueryValueExW(key_.get(), name, nullptr, &type, reinterpret_cast<BYTE*>(&data), &size);
  if (error == ERROR_SUCCESS && type != REG_DWORD) ZEL_HERE.raise(win32ErrorToHResult(ERROR_INVALID_DATA));
  // A longer value of another type reports only that it does not fit.
  if (error == ERROR_MORE_DATA) ZEL_HERE.raise(win32ErrorToHResult(ERROR_INVALID_DATA));
  if (error != ERROR_SUCCESS) ZEL_HERE.raise(win32ErrorToHResult(error));
  value = data != 0;
}

void ConfigRegKey::setValue(const wchar_t* name, bool value) {
  const DWORD data = value ? 1 : 0;
  const LONG error = RegSetValueExW(key_.get(), name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&data), sizeof data);
  if (error != ERROR_SUCCESS) ZEL_HERE.raise(win32ErrorToHResult(error));
}

}  // namespace details

const wchar_t* const kConfirmMarkAsSpam = L"Confirm Mark As Spam";
const wchar_t* const kCheckDefaultStore = L"Check Default Store";

const wchar_t* const RegistryConfig::kProductKey = L"Software\\Zelvo\\Mail Bridge (Offline Edition)";
const wchar_t* const RegistryConfig::kSecondProductKey = L"Software\\Zelvo\\Handset Bridge";
const wchar_t* const RegistryConfig::kUpgradeCodesKey = L"Software\\Microsoft\\Windows\\CurrentVersion\\Installer\\UpgradeCodes";
const wchar_t* const RegistryConfig::kSearchPreferencesKey = L"Software\\Microsoft\\Windows\\Windows Search\\Preferences";

const wchar_t* configName(ConfigName name) {
  const auto index = static_cast<size_t>(name);
  if (index >= details::kNames.size()) ZEL_HERE.raise(E_INVALIDARG);
  return details::kNames[index];
}

RegistryConfig::Roots RegistryConfig::systemRoots() { return {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER, HKEY_CLASSES_ROOT}; }

const RegistryConfig& RegistryConfig::instance() {
  // Made once under the guard of the local static, and read-only afterwards.
  static const RegistryConfig config(systemRoots());
  return config;
}

RegistryConfig::RegistryConfig(const Roots& roots) : roots_(roots), productKey_(kProductKey) {
  if (details::canOpen(roots_.localMachine, kSecondProductKey)) {
    productKey_ = kSecondProductKey;
    details::moveToSecondProductKey(roots_.currentUser);
  }
}

HKEY RegistryConfig::root(ConfigRoot which) const {
  switch (which) {
    case ConfigRoot::LocalMachine:
      return roots_.localMachine;
    case ConfigRoot::CurrentUser:
      return roots_.currentUser;
    case ConfigRoot::ClassesRoot:
      return roots_.classesRoot;
  }
  ZEL_HERE.raise(E_INVALIDARG);
}

std::wstring RegistryConfig::toolbarKey(Toolbar toolbar) const {
  return productKey_ + L"\\" +
         configName(toolbar == Toolbar::Explorer ? ConfigName::ExplorerToolbar : ConfigName::InspectorToolbar);
}

std::wstring RegistryConfig::profilesPath(unsigned hostMajorVersion) {
  if (hostMajorVersion >= 15 && hostMajorVersion <= 17)
    return L"Software\\Microsoft\\Office\\" + std::to_wstring(hostMajorVersion) + L".0\\Outlook\\Profiles";
  return L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Windows Messaging Subsystem\\Profiles";
}

DWORD readRegistryDWORD(HKEY root, const std::wstring& key, const std::wstring& name, DWORD defaultValue) {
  return RegistryUtils::getDWORDFromRegistry(root, key, name, defaultValue);
}

HRESULT writeRegistryDWORD(HKEY root, const std::wstring& key, const std::wstring& name, DWORD value) {
  RegistryUtils::ScopedKey opened;
  LONG error = opened.open(root, key, KEY_ALL_ACCESS);
  if (error == ERROR_SUCCESS)
    error = RegSetValueExW(opened.get(), name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                           sizeof value);
  return win32ErrorToHResult(error);
}

std::wstring readRegistryString(HKEY root, const std::wstring& key, const std::wstring& name) {
  return RegistryUtils::getStringFromRegistry(root, key, name);
}

bool readLocalOption(const wchar_t* name, bool defaultValue, const RegistryConfig& config) {
  std::optional<details::ConfigRegKey> key;
  try {
    key.emplace(false, config);
  } catch (const HResultException&) {
    return defaultValue;
  }
  bool value = defaultValue;
  try {
    key->getValue(name, value);
  } catch (const HResultException& e) {
    // Only a missing value keeps the default; a value of the wrong type is the caller's.
    if (e.getHResult() != win32ErrorToHResult(ERROR_FILE_NOT_FOUND)) throw;
  }
  return value;
}

void writeLocalOption(const wchar_t* name, bool value, const RegistryConfig& config) {
  details::ConfigRegKey key(true, config);
  key.setValue(name, value);
}

bool getConfirmMarkAsSpam(const RegistryConfig& config) { return readLocalOption(kConfirmMarkAsSpam, true, config); }
void setConfirmMarkAsSpam(bool value, const RegistryConfig& config) { writeLocalOption(kConfirmMarkAsSpam, value, config); }
bool getCheckDefaultStore(const RegistryConfig& config) { return readLocalOption(kCheckDefaultStore, true, config); }
void setCheckDefaultStore(bool value, const RegistryConfig& config) { writeLocalOption(kCheckDefaultStore, value, config); }

bool getAdvancedOutOfOffice(const RegistryConfig& config) {
  return details::readProductDWORD(config, ConfigName::AdvancedOutOfOffice, 0) != 0;
}
DWORD getSuppressSyncObject(const RegistryConfig& config) {
  return details::readProductDWORD(config, ConfigName::SuppressSyncObject, 0);
}
bool getUseStandardGuids(const RegistryConfig& config) {
  return details::readProductDWORD(config, ConfigName::UseStandardGuids, 0) != 0;
}
DWORD getDontInformRulesNotWorking(const RegistryConfig& config) {
  return details::readProductDWORD(config, ConfigName::DontInformRulesNotWorking, 0);
}
void setDontInformRulesNotWorking(const RegistryConfig& config) {
  ZEL_CHECK(writeRegistryDWORD(config.root(ConfigRoot::CurrentUser), config.productKey(),
                               configName(ConfigName::DontInformRulesNotWorking), 1));
}

DWORD readToolbarValue(Toolbar toolbar, ConfigName name, DWORD defaultValue, const RegistryConfig& config) {
  return readRegistryDWORD(config.root(ConfigRoot::CurrentUser), config.toolbarKey(toolbar), configName(name),
                           defaultValue);
}

void writeToolbarValue(Toolbar toolbar, ConfigName name, DWORD value, const RegistryConfig& config) {
  RegistryUtils::ScopedKey key;
  LONG error = RegCreateKeyExW(config.root(ConfigRoot::CurrentUser), config.toolbarKey(toolbar).c_str(), 0, nullptr,
                               REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr, key.out(), nullptr);
  if (error == ERROR_SUCCESS)
    error = RegSetValueExW(key.get(), configName(name), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                           sizeof value);
  if (error != ERROR_SUCCESS) ZEL_HERE.raise(win32ErrorToHResult(error));
}

}  // namespace config
}  // namespace zelvo
