// Folder sharing: the server's rights letters, the four access levels a user chooses
// from, and the editable access list of a folder that its sharing page works on.
//
// The level table is the only bridge between letters and levels: a set of letters reads
// as the highest level whose letters are all present, and a level writes back as exactly
// its own letters, so letters outside the table are not kept.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "store/AddInInterfaces.h"
#include "store/MapiAlloc.h"
#include "store/StoreInterfaces.h"

namespace zelvo {
namespace config {

// One bit per rights letter, in the letters' order; "O" is the owner.
struct RightsLetter {
  wchar_t letter;
  ULONG bit;
};
extern const RightsLetter kRightsLetters[9];

constexpr ULONG kLevelNone = 0;  // no known level
constexpr ULONG kLevelRead = 0x03;
constexpr ULONG kLevelReadWrite = 0x5F;
constexpr ULONG kLevelFull = 0xFF;
constexpr ULONG kLevelOwner = 0x80FF;
// As an argument of setLevel: keep the level as it is.
constexpr ULONG kLevelKeep = 0x8000;
// Never stored: what getLevel answers for a delegate's entry.
constexpr ULONG kLevelDelegate = 0x8100;

struct AccessLevelRow {
  ULONG level;
  const wchar_t* letters;
  UINT textId;
};
// Read, read and write, full access, owner: in this order, which the reading relies on.
extern const AccessLevelRow kAccessLevels[4];
// The levels a user may pick, in the order the page offers them.
extern const ULONG kSelectableLevels[3];

// The text id of a level's name; unknown levels share the one of level 0.
UINT accessLevelTextId(ULONG level);

// The level of a set of letters (case-sensitive; null reads as empty).
ULONG levelFromRights(const wchar_t* rights);
// The letters of a level; empty for any level outside the table, 0 included.
std::wstring rightsFromLevel(ULONG level);

enum GranteeType : ULONG {
  kGranteeSpecial = 0,  // anyone, authuser, authuser@<domain>
  kGranteeUser = 1,
  kGranteeGroup = 2,
  kGranteeOwner = 3,
};

struct GranteeTypeRow {
  ULONG type;
  UINT textId;
  UINT icon;
};
extern const GranteeTypeRow kGranteeTypes[4];

// anyone, authuser, or anything that begins with authuser@ (even with nothing after it).
bool isSpecialGrantee(const std::wstring& name);
// The type of a record as the server sends it.
ULONG granteeTypeOf(ULONG flags, const std::wstring& name, ULONG level);

// Delegate addresses are compared in this form: A to Z made lower case, then every
// character cut to its low byte, sign-extended to 16 bits. Characters above 0xFF lose
// their high byte; both sides of every comparison go through this.
std::wstring foldDelegateAddress(const std::wstring& address);

namespace details {

// One entry of a folder's access list.
struct FolderAccess {
  ULONG type = kGranteeUser;
  std::wstring name;
  ULONG level = kLevelNone;
  ULONG flags = 0;  // as the record came; carried through on writing
  bool isDelegate = false;

  // Fills a record of a root block; the strings are chained to root.
  void writeAccessInfo(AccessInfo& record, const MapiAlloc& allocators, void* root) const;
};

}  // namespace details

// What a folder's store service offers for its sharing page.
struct AccessFeatures {
  bool canReadRights = false;   // feature 1
  bool canWriteRights = false;  // feature 0
  bool hideRecursive = false;   // feature 4
  bool checkDelegates = false;  // feature 6
};

// The access list of a folder in memory. Its operations are those of the add-in's
// folder access interface and change only the memory; loadAccessData and saveAccessData
// meet the store. Items are the addresses of the entries; they stay valid until the entry
// is removed or the list loaded again.
class FolderAccessList {
 public:
  FolderAccessList() = default;
  FolderAccessList(const FolderAccessList&) = delete;
  FolderAccessList& operator=(const FolderAccessList&) = delete;

  void setFeatures(const AccessFeatures& features) { features_ = features; }
  const AccessFeatures& features() const { return features_; }

  // Replaces the list with the folder's, marking delegates' entries when the service
  // asks for it (a failure to read the delegates only leaves them unmarked). A store
  // failure passes through; any other failure is raised as E_OUTOFMEMORY.
  void loadAccessData(IFolderConfig* config);
  // Writes the whole list with the recursive flag. Failures as for loading. The dirty
  // mark is left alone: the owner clears it once everything it applies is written.
  void saveAccessData(IFolderConfig* config) const;

  HRESULT getCount(ULONG* count) const;
  // Throws std::out_of_range for an index outside the list.
  HRESULT getItem(ULONG index, AddIn::AccessItem* item) const;
  // With -1, whether the whole list is read-only.
  HRESULT isLocked(AddIn::AccessItem item) const;
  // 0 added, 1 the name is there already and item is that entry.
  HRESULT addAccess(ULONG type, const std::wstring& name, ULONG level, AddIn::AccessItem* item);
  // 0 when the stored level is the asked one, else 1. Marks the list dirty in any case.
  HRESULT setLevel(AddIn::AccessItem item, ULONG level);
  HRESULT removeAccess(AddIn::AccessItem item);
  HRESULT getLevel(AddIn::AccessItem item, ULONG* level) const;
  HRESULT getType(AddIn::AccessItem item, ULONG* type) const;
  HRESULT getName(AddIn::AccessItem item, std::wstring& name) const;
  // Only a checked box makes the list dirty.
  HRESULT setRecursive(bool recursive);
  // 0 when the box for subfolders is hidden, 1 when it is shown.
  HRESULT isRecursiveHidden() const;
  bool isDelegate(const std::wstring& name) const;

  bool recursive() const { return recursive_; }
  bool dirty() const { return dirty_; }
  void clearDirty() { dirty_ = false; }

 private:
  details::FolderAccess* find(AddIn::AccessItem item) const;
  void loadDelegates(IFolderConfig* config, const MapiAlloc& allocators);
  void loadEntries(IFolderConfig* config, const MapiAlloc& allocators);

  AccessFeatures features_;
  std::vector<std::unique_ptr<details::FolderAccess>> entries_;
  std::set<std::wstring> delegates_;  // folded addresses
  bool recursive_ = false;
  bool dirty_ = false;
};

}  // namespace config
}  // namespace zelvo
