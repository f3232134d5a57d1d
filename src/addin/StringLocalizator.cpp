#include "addin/StringLocalizator.h"

#include <array>

#include "addin/ModuleInfo.h"
#include "base/HResultException.h"
#include "base/RegistryUtils.h"

namespace zelvo {
namespace addin {
namespace details {

enum Library { kOutllibr, kMapir, kMapi32, kEmsmdb32, kEmsui32 };

struct StringRow {
  unsigned key;
  Library library;
  UINT id;
  unsigned fromMajor;  // the row holds for host versions from this one
  unsigned toMajor;    // up to this one
};

constexpr unsigned kAny = 0xFFFF;

// English defaults stand when a library or a text is missing.
constexpr std::pair<unsigned, const wchar_t*> kDefaults[] = {
    {kInboxFolder, L"Inbox"},
    {kOutboxFolder, L"Outbox"},
    {kSentItemsFolder, L"Sent Items"},
    {kDeletedItemsFolder, L"Deleted Items"},
    {kCalendarFolder, L"Calendar"},
    {kContactsFolder, L"Contacts"},
    {kDraftsFolder, L"Drafts"},
    {kJournalFolder, L"Journal"},
    {kNotesFolder, L"Notes"},
    {kTasksFolder, L"Tasks"},
    {kJunkEmailFolder, L"Junk E-mail"},
    {kConflictsFolder, L"Conflicts"},
    {kLocalFailuresFolder, L"Local Failures"},
    {kIpmRootFolder, L"__zelvomapi__IPM_ROOT"},
    {kResourcesFolder, L"Resources"},
    {kPublicFoldersFolder, L"Public Folders"},
    {kPublicFoldersUnavailable, L"Public Folders - unavailable"},
    {kMailboxPrefix, L"Mailbox - "},
};

// Where a key finds its text. A key with two rows takes the later one only when that
// row found a text, so a newer library wins over an older one where it has the name.
constexpr StringRow kRows[] = {
    {kInboxFolder, kOutllibr, 12038, 0, kAny},
    {kOutboxFolder, kOutllibr, 12039, 0, kAny},
    {kSentItemsFolder, kOutllibr, 12040, 0, kAny},
    {kSentItemsFolder, kMapir, 3146, 0, kAny},
    {kDeletedItemsFolder, kOutllibr, 12041, 0, 13},
    {kDeletedItemsFolder, kMapir, 3147, 14, kAny},
    {kCalendarFolder, kOutllibr, 12005, 0, kAny},
    {kContactsFolder, kOutllibr, 12002, 0, kAny},
    {kDraftsFolder, kOutllibr, 7352, 0, kAny},
    {kDraftsFolder, kMapir, 3174, 0, kAny},
    {kJournalFolder, kOutllibr, 12021, 0, kAny},
    {kNotesFolder, kOutllibr, 12004, 0, kAny},
    {kTasksFolder, kOutllibr, 12007, 0, kAny},
    {kJunkEmailFolder, kOutllibr, 7342, 0, 13},
    {kJunkEmailFolder, kOutllibr, 7343, 14, kAny},
    {kConflictsFolder, kEmsmdb32, 1123, 0, kAny},
    {kLocalFailuresFolder, kEmsmdb32, 1125, 0, kAny},
    {kIpmRootFolder, kMapi32, 12, 0, kAny},
    {kPublicFoldersFolder, kEmsui32, 1002, 0, kAny},
    {kMailboxPrefix, kEmsui32, 5207, 0, kAny},
};

const wchar_t* const kAppPathsKey = L"Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE";

// The libraries that were found, released together.
class LoadedLibraries {
 public:
  explicit LoadedLibraries(ResourceLibraries& libraries) : libraries_(libraries) { handles_.fill(nullptr); }
  LoadedLibraries(const LoadedLibraries&) = delete;
  LoadedLibraries& operator=(const LoadedLibraries&) = delete;
  ~LoadedLibraries() {
    for (HMODULE handle : handles_)
      if (handle) libraries_.release(handle);
  }
  HMODULE& operator[](size_t index) { return handles_[index]; }

 private:
  ResourceLibraries& libraries_;
  std::array<HMODULE, 5> handles_;
};

}  // namespace details

const wchar_t* const StringLocalizator::kLibraryNames[5] = {L"outllibr.dll", L"mapir.dll", L"mapi32.dll",
                                                            L"emsmdb32.dll", L"emsui32.dll"};

HMODULE SystemResourceLibraries::load(const std::wstring& path) {
  return LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
}

std::optional<std::wstring> SystemResourceLibraries::loadString(HMODULE library, UINT id) {
  wchar_t buffer[512];
  const int length = LoadStringW(library, id, buffer, 512);
  if (length <= 0) return std::nullopt;
  return std::wstring(buffer, static_cast<size_t>(length));
}

void SystemResourceLibraries::release(HMODULE library) { FreeLibrary(library); }

StringLocalizator::StringLocalizator(unsigned hostMajorVersion, const config::RegistryConfig::Roots& roots,
                                     std::shared_ptr<ResourceLibraries> libraries)
    : hostMajorVersion_(hostMajorVersion),
      roots_(roots),
      libraries_(libraries ? std::move(libraries) : std::make_shared<SystemResourceLibraries>()) {}

void StringLocalizator::getStrings(unsigned key, std::wstring& text) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (strings_.empty()) fill();
  const auto found = strings_.find(key);
  if (found == strings_.end()) ZEL_HERE.raise(E_UNEXPECTED);
  text = found->second;
}

std::wstring StringLocalizator::getOutlookLanguageDirectory() const {
  const char* const failure = "StringLocalizator::getOutlookLanguageDirectory";
  std::wstring folder, program;
  if (FAILED(RegistryUtils::readString(roots_.localMachine, details::kAppPathsKey, L"Path", folder)) ||
      FAILED(RegistryUtils::readString(roots_.localMachine, details::kAppPathsKey, L"", program)))
    ZEL_HERE.raise(E_FAIL, failure);
  const std::array<WORD, 4> version = ModuleInfo::getFileVersions(program);
  const std::wstring languageKey = L"Software\\Microsoft\\Office\\" + std::to_wstring(version[0]) + L"." +
                                   std::to_wstring(version[1]) + L"\\Common\\LanguageResources";
  DWORD language = 0;
  const HRESULT read = RegistryUtils::readDWORD(roots_.currentUser, languageKey, L"UiLanguage", language);
  if (FAILED(read)) ZEL_HERE.raise(read, failure);
  return folder + std::to_wstring(language);
}

void StringLocalizator::fill() {
  std::map<unsigned, std::wstring> strings;
  for (const auto& [key, text] : details::kDefaults) strings[key] = text;

  std::wstring languageFolder;
  bool haveLanguageFolder = true;
  details::LoadedLibraries loaded(*libraries_);
  for (size_t i = 0; i < 5; ++i) {
    loaded[i] = libraries_->load(kLibraryNames[i]);
    if (loaded[i] || !haveLanguageFolder) continue;
    // The language folder is looked for once, and only when a library needs it; without
    // it the names stay English.
    if (languageFolder.empty()) {
      try {
        languageFolder = getOutlookLanguageDirectory();
      } catch (const HResultException&) {
        haveLanguageFolder = false;
        continue;
      }
    }
    loaded[i] = libraries_->load(languageFolder + L"\\" + kLibraryNames[i]);
  }

  for (const auto& row : details::kRows) {
    if (hostMajorVersion_ < row.fromMajor || hostMajorVersion_ > row.toMajor) continue;
    HMODULE library = loaded[row.library];
    if (!library) continue;
    if (auto text = libraries_->loadString(library, row.id)) strings[row.key] = *text;
  }
  strings_.swap(strings);
}

}  // namespace addin
}  // namespace zelvo
