// The names that the host gives its default folders, in the host's language: read from
// the host's language libraries, with English where a library or a text is missing.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "config/RegistryConfig.h"
#include "platform/Win32.h"

namespace zelvo {
namespace addin {

enum FolderKey : unsigned {
  kInboxFolder = 0,
  kOutboxFolder = 1,
  kSentItemsFolder = 2,
  kDeletedItemsFolder = 3,
  kCalendarFolder = 4,
  kContactsFolder = 5,
  kDraftsFolder = 6,
  kJournalFolder = 7,
  kNotesFolder = 8,
  kTasksFolder = 9,
  kJunkEmailFolder = 10,
  kConflictsFolder = 11,
  kLocalFailuresFolder = 12,
  kIpmRootFolder = 13,
  kResourcesFolder = 14,
  kPublicFoldersFolder = 15,
  kPublicFoldersUnavailable = 16,
  kMailboxPrefix = 17,
};

// How the host's libraries are reached; tests give libraries of their own.
class ResourceLibraries {
 public:
  virtual ~ResourceLibraries() = default;
  // The library loaded as a data file, or null when it is not there.
  virtual HMODULE load(const std::wstring& path) = 0;
  // The text of a string id, or nothing when the library has none.
  virtual std::optional<std::wstring> loadString(HMODULE library, UINT id) = 0;
  virtual void release(HMODULE library) = 0;
};

// LoadLibraryExW as a data file, LoadStringW and FreeLibrary.
class SystemResourceLibraries : public ResourceLibraries {
 public:
  HMODULE load(const std::wstring& path) override;
  std::optional<std::wstring> loadString(HMODULE library, UINT id) override;
  void release(HMODULE library) override;
};

class StringLocalizator {
 public:
  // The texts depend on the host's major version; the registry is read below roots, the
  // libraries through libraries (the system's when null).
  explicit StringLocalizator(unsigned hostMajorVersion,
                             const config::RegistryConfig::Roots& roots = config::RegistryConfig::systemRoots(),
                             std::shared_ptr<ResourceLibraries> libraries = nullptr);

  // Fills the table on first use. A key that is not in it raises E_UNEXPECTED.
  void getStrings(unsigned key, std::wstring& text);
  // The folder of the host's language libraries: its program folder and the number of
  // its interface language. Raises when the host or its language setting can't be found.
  std::wstring getOutlookLanguageDirectory() const;

  // The library names, in the order they are loaded.
  static const wchar_t* const kLibraryNames[5];

 private:
  void fill();

  unsigned hostMajorVersion_;
  config::RegistryConfig::Roots roots_;
  std::shared_ptr<ResourceLibraries> libraries_;
  std::mutex mutex_;
  std::map<unsigned, std::wstring> strings_;
};

}  // namespace addin
}  // namespace zelvo
