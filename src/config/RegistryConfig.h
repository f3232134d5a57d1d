// The client's own settings in the registry: the product key in force for this process,
// the table of value names shared with the other programs of the product, and the local
// options of the add-in.
#pragma once

#include <string>

#include "base/RegistryUtils.h"
#include "platform/Win32.h"

namespace zelvo {
namespace config {

// The value names shared with the store service and the installer, in the order of the
// product's table. The add-in reads only a few of them.
enum class ConfigName {
  InstallPath,
  UpdateDisabled,
  UpdateLastDirectory,
  SilentAssist,
  ExplorerToolbar,
  InspectorToolbar,
  Show,
  Left,
  Top,
  RowIndex,
  LogMaxSize,
  LogSeverity,
  LogFacilities,
  LogWarning,
  LogDebug,
  LogInfo,
  ProfileConversionDone,
  SynchronizationReadyClients,
  DatabaseOptimizationsDisabled,
  EnableDiag,
  EnablePerfCounters,
  ProfileSubkeyPart,
  JustUpdated,
  UseStandardGuids,
  RestrictedGal,
  CacheRootPath,
  UseRoamingProfile,
  TimeZonesLastModTime,
  ProfileSectionName,
  StoreIdentifiers,
  MigrationRunning,
  CacheDisabled,
  CacheSize,
  AdvancedOutOfOffice,
  IdentityEid,
  ServiceUid,
  ServiceName,
  DeliveryStoreEntryId,
  DeliveryFolderEntryId,
  SkipVersion,
  SkipVersionAfterRestart,
  RequireSameVersion,
  UpgradePolicy,
  DowngradePolicy,
  MaxAttachmentAge,
  DeleteOldAttachments,
  AttachmentCleanupInterval,
  SuppressSyncObject,
  RequireTrusted,
  LastFingerprint,
  LastCommonName,
  NewCommonName,
  RejectedCommonName,
  DontInformRulesNotWorking,
  UseDefaultFrom,
  NextAccountNumber,
  AccountDeleted,
  Count
};

// The registry text of a name of the table.
const wchar_t* configName(ConfigName name);

// The add-in's own options, not in the shared table.
extern const wchar_t* const kConfirmMarkAsSpam;
extern const wchar_t* const kCheckDefaultStore;

enum class ConfigRoot { LocalMachine, CurrentUser, ClassesRoot };
enum class Toolbar { Explorer, Inspector };

class RegistryConfig {
 public:
  static const wchar_t* const kProductKey;        // the normal product key
  static const wchar_t* const kSecondProductKey;  // in force when the second product is installed
  static const wchar_t* const kUpgradeCodesKey;
  static const wchar_t* const kSearchPreferencesKey;

  // The keys that stand for the three roots. Tests give keys of their own; the object
  // never closes them.
  struct Roots {
    HKEY localMachine;
    HKEY currentUser;
    HKEY classesRoot;
  };
  static Roots systemRoots();

  // The object of this process, over the system's roots: made once, on first use.
  static const RegistryConfig& instance();

  // Chooses the product key. When the second product is installed for the machine and
  // the user has no key of it yet, the user's settings are copied into it, once.
  explicit RegistryConfig(const Roots& roots);

  HKEY root(ConfigRoot which) const;
  // The product key in force, below the user's root.
  const std::wstring& productKey() const { return productKey_; }
  // The product key, a backslash and the toolbar's sub-key.
  std::wstring toolbarKey(Toolbar toolbar) const;

  // Where the host keeps its mail profiles, by its major version.
  static std::wstring profilesPath(unsigned hostMajorVersion);

 private:
  Roots roots_;
  std::wstring productKey_;
};

namespace details {

// The product key under the user's root, open for reading or with all rights. Failing to
// open it raises the system error as a result code.
class ConfigRegKey {
 public:
  explicit ConfigRegKey(bool forWriting, const RegistryConfig& config = RegistryConfig::instance());
  ConfigRegKey(const ConfigRegKey&) = delete;
  ConfigRegKey& operator=(const ConfigRegKey&) = delete;

  // A DWORD, true when not 0. Another type raises the invalid-data code; a missing value
  // raises the file-not-found code, which the callers catch to keep their default.
  void getValue(const wchar_t* name, bool& value) const;
  // Writes 1 or 0 as a DWORD; a failure raises.
  void setValue(const wchar_t* name, bool value);

 private:
  RegistryUtils::ScopedKey key_;
};

}  // namespace details

// Free functions on single values. The read gives the default on any failure; the write
// opens an existing key with all rights and gives the failure as a result code.
DWORD readRegistryDWORD(HKEY root, const std::wstring& key, const std::wstring& name, DWORD defaultValue);
HRESULT writeRegistryDWORD(HKEY root, const std::wstring& key, const std::wstring& name, DWORD value);
// Raises when the key or the value is missing or the value is no text.
std::wstring readRegistryString(HKEY root, const std::wstring& key, const std::wstring& name);

// A boolean option of the product key. A missing key or value gives the default; a value
// that is no DWORD raises.
bool readLocalOption(const wchar_t* name, bool defaultValue, const RegistryConfig& config = RegistryConfig::instance());
// Raises when the key cannot be opened for writing or the value cannot be written.
void writeLocalOption(const wchar_t* name, bool value, const RegistryConfig& config = RegistryConfig::instance());

bool getConfirmMarkAsSpam(const RegistryConfig& config = RegistryConfig::instance());
void setConfirmMarkAsSpam(bool value, const RegistryConfig& config = RegistryConfig::instance());
bool getCheckDefaultStore(const RegistryConfig& config = RegistryConfig::instance());
void setCheckDefaultStore(bool value, const RegistryConfig& config = RegistryConfig::instance());

// DWORD values of the product key that the store service or the user set; 0 or false
// when missing or unreadable.
bool getAdvancedOutOfOffice(const RegistryConfig& config = RegistryConfig::instance());
DWORD getSuppressSyncObject(const RegistryConfig& config = RegistryConfig::instance());
bool getUseStandardGuids(const RegistryConfig& config = RegistryConfig::instance());
DWORD getDontInformRulesNotWorking(const RegistryConfig& config = RegistryConfig::instance());
// Remembers that the user was told; a failure raises.
void setDontInformRulesNotWorking(const RegistryConfig& config = RegistryConfig::instance());

// "Left", "Top", "RowIndex" and "Show" of a toolbar. Reading opens the sub-key for reading
// and gives the default on any failure; writing creates the sub-key when it is missing
// and raises on failure.
DWORD readToolbarValue(Toolbar toolbar, ConfigName name, DWORD defaultValue,
                       const RegistryConfig& config = RegistryConfig::instance());
void writeToolbarValue(Toolbar toolbar, ConfigName name, DWORD value,
                       const RegistryConfig& config = RegistryConfig::instance());

}  // namespace config
}  // namespace zelvo
