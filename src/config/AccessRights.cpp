#include "config/AccessRights.h"

#include <stdexcept>

#include "base/HResultException.h"
#include "base/SizeCast.h"
#include "config/StoreAllocators.h"

namespace zelvo {
namespace config {

const RightsLetter kRightsLetters[9] = {{L'l', 0x01}, {L'r', 0x02}, {L's', 0x04}, {L'w', 0x08},  {L'i', 0x10},
                                        {L'c', 0x20}, {L'd', 0x40}, {L'a', 0x80}, {L'O', 0x8000}};

const AccessLevelRow kAccessLevels[4] = {{kLevelRead, L"lr", 0x2B14},
                                         {kLevelReadWrite, L"lrswid", 0x2B13},
                                         {kLevelFull, L"lrswicda", 0x2B12},
                                         {kLevelOwner, L"lrswicdaO", 0x2B11}};

const ULONG kSelectableLevels[3] = {kLevelFull, kLevelReadWrite, kLevelRead};

const GranteeTypeRow kGranteeTypes[4] = {
    {kGranteeSpecial, 0x2B05, 257}, {kGranteeUser, 0x2B00, 258}, {kGranteeGroup, 0x2B01, 259}, {kGranteeOwner, 0x2B02, 260}};

namespace {

constexpr UINT kNoLevelTextId = 0x2AFF;
constexpr UINT kDelegateLevelTextId = 0x2B66;

constexpr ULONG bitOf(wchar_t letter) {
  switch (letter) {
    case L'l': return 0x01;
    case L'r': return 0x02;
    case L's': return 0x04;
    case L'w': return 0x08;
    case L'i': return 0x10;
    case L'c': return 0x20;
    case L'd': return 0x40;
    case L'a': return 0x80;
    case L'O': return 0x8000;
    default: return 0;
  }
}

constexpr ULONG maskOf(const wchar_t* letters) {
  ULONG mask = 0;
  for (; *letters; ++letters) mask |= bitOf(*letters);
  return mask;
}

// Each level is the mask of its letters in the bit table.
static_assert(maskOf(L"lr") == kLevelRead, "read");
static_assert(maskOf(L"lrswid") == kLevelReadWrite, "read and write");
static_assert(maskOf(L"lrswicda") == kLevelFull, "full access");
static_assert(maskOf(L"lrswicdaO") == kLevelOwner, "owner");

const wchar_t kAuthUserPrefix[] = L"authuser@";

}  // namespace

UINT accessLevelTextId(ULONG level) {
  if (level == kLevelDelegate) return kDelegateLevelTextId;
  for (const auto& row : kAccessLevels)
    if (row.level == level) return row.textId;
  return kNoLevelTextId;
}

ULONG levelFromRights(const wchar_t* rights) {
  const std::wstring have = rights ? rights : L"";
  ULONG level = kLevelNone;
  for (const auto& row : kAccessLevels) {
    for (const wchar_t* letter = row.letters; *letter; ++letter)
      if (have.find(*letter) == std::wstring::npos) return level;
    level = row.level;
  }
  return level;
}

std::wstring rightsFromLevel(ULONG level) {
  for (const auto& row : kAccessLevels)
    if (row.level == level) return row.letters;
  return std::wstring();
}

bool isSpecialGrantee(const std::wstring& name) {
  return name == L"anyone" || name == L"authuser" || name.compare(0, sizeof(kAuthUserPrefix) / sizeof(wchar_t) - 1,
                                                                  kAuthUserPrefix) == 0;
}

ULONG granteeTypeOf(ULONG flags, const std::wstring& name, ULONG level) {
  if (flags & kAccessGroupFlag) return kGranteeGroup;
  if (level == kLevelOwner) return kGranteeOwner;
  if (isSpecialGrantee(name)) return kGranteeSpecial;
  return kGranteeUser;
}

std::wstring foldDelegateAddress(const std::wstring& address) {
  std::wstring folded;
  folded.reserve(address.size());
  for (wchar_t c : address) {
    unsigned long code = static_cast<unsigned long>(c);
    if (code >= L'A' && code <= L'Z') code += 0x20;
    const auto low = static_cast<signed char>(static_cast<unsigned char>(code & 0xFF));
    folded += static_cast<wchar_t>(static_cast<unsigned short>(static_cast<short>(low)));
  }
  return folded;
}

void details::FolderAccess::writeAccessInfo(AccessInfo& record, const MapiAlloc& allocators, void* root) const {
  record.flags = flags | (type == kGranteeGroup ? kAccessGroupFlag : 0);
  // Both strings go out even when empty: an empty rights string is what level 0 writes.
  InternalMapiAlloc::copyStringWLen(name.c_str(), name.size(), allocators, root, &record.name);
  const std::wstring rights = rightsFromLevel(level);
  InternalMapiAlloc::copyStringWLen(rights.c_str(), rights.size(), allocators, root, &record.rights);
}

// --- the store side --------------------------------------------------------------------

void FolderAccessList::loadAccessData(IFolderConfig* config) {
  try {
    if (!config) ZEL_HERE.raise(E_INVALIDARG);
    entries_.clear();
    delegates_.clear();
    dirty_ = false;
    const MapiAlloc allocators = storeAllocators(config);
    if (features_.checkDelegates) loadDelegates(config, allocators);
    loadEntries(config, allocators);
  } catch (const HResultException&) {
    throw;
  } catch (const std::exception& e) {
    ZEL_HERE.raiseFormatted(E_OUTOFMEMORY, "Failed to load access rights (%s)", e.what());
  }
}

void FolderAccessList::loadDelegates(IFolderConfig* config, const MapiAlloc& allocators) {
  // Without the delegates the entries are only left unmarked; the list itself still loads.
  try {
    ComRef<IGlobalConfig> global;
    ZEL_CHECK(config->getGlobalConfig(global.put()));
    if (!global) return;
    ULONG count = 0;
    MapiBuffer<DelegateRecord> records(allocators.freeBuffer);
    ZEL_CHECK(global->getDelegates(0, &count, records.receive()));
    for (ULONG i = 0; records && i < count; ++i)
      if (records.get()[i].address) delegates_.insert(foldDelegateAddress(records.get()[i].address));
  } catch (const HResultException&) {
  }
}

void FolderAccessList::loadEntries(IFolderConfig* config, const MapiAlloc& allocators) {
  ULONG count = 0;
  MapiBuffer<AccessInfo> records(allocators.freeBuffer);
  ZEL_CHECK(config->getAccessRights(&count, records.receive()));
  for (ULONG i = 0; records && i < count; ++i) {
    const AccessInfo& record = records.get()[i];
    auto entry = std::make_unique<details::FolderAccess>();
    entry->name = record.name ? record.name : L"";
    entry->level = levelFromRights(record.rights);
    entry->flags = record.flags;
    entry->type = granteeTypeOf(record.flags, entry->name, entry->level);
    entry->isDelegate = features_.checkDelegates && isDelegate(entry->name);
    entries_.push_back(std::move(entry));
  }
}

void FolderAccessList::saveAccessData(IFolderConfig* config) const {
  try {
    if (!config) ZEL_HERE.raise(E_INVALIDARG);
    const MapiAlloc allocators = storeAllocators(config);
    const ULONG count = size_cast<ULONG>(entries_.size());
    MapiBuffer<AccessInfo> block(allocators.freeBuffer);
    if (count) {
      block.reset(static_cast<AccessInfo*>(detail::rawAllocBytes(count * sizeof(AccessInfo), nullptr, allocators)));
      for (ULONG i = 0; i < count; ++i) entries_[i]->writeAccessInfo(block.get()[i], allocators, block.get());
    }
    ZEL_CHECK(config->setAccessRights(count, block.get(), recursive_));
  } catch (const HResultException&) {
    throw;
  } catch (const std::exception& e) {
    ZEL_HERE.raiseFormatted(E_OUTOFMEMORY, "Failed to save access rights (%s)", e.what());
  }
}

// --- the list in memory ----------------------------------------------------------------

details::FolderAccess* FolderAccessList::find(AddIn::AccessItem item) const {
  if (item == 0) return nullptr;
  for (const auto& entry : entries_)
    if (reinterpret_cast<AddIn::AccessItem>(entry.get()) == item) return entry.get();
  return nullptr;
}

HRESULT FolderAccessList::getCount(ULONG* count) const {
  if (!count) return E_POINTER;
  *count = static_cast<ULONG>(entries_.size());
  return S_OK;
}

HRESULT FolderAccessList::getItem(ULONG index, AddIn::AccessItem* item) const {
  if (!item) return E_POINTER;
  if (index >= entries_.size()) throw std::out_of_range("invalid vector<T> subscript");
  *item = reinterpret_cast<AddIn::AccessItem>(entries_[index].get());
  return S_OK;
}

HRESULT FolderAccessList::isLocked(AddIn::AccessItem item) const {
  if (item == -1) return features_.canWriteRights ? 0 : 1;
  const details::FolderAccess* entry = find(item);
  if (!entry) return E_INVALIDARG;
  return (entry->flags & kAccessLockedFlag) || entry->type == kGranteeOwner || entry->level == kLevelOwner ? 1 : 0;
}

HRESULT FolderAccessList::addAccess(ULONG type, const std::wstring& name, ULONG level, AddIn::AccessItem* item) {
  if (!item) return E_POINTER;
  for (const auto& entry : entries_)
    if (entry->name == name) {
      *item = reinterpret_cast<AddIn::AccessItem>(entry.get());
      return 1;
    }
  auto entry = std::make_unique<details::FolderAccess>();
  entry->name = name;
  entry->level = level;
  entry->isDelegate = features_.checkDelegates && isDelegate(name);
  if (type == kGranteeUser && level == kLevelOwner) type = kGranteeOwner;
  if (type == kGranteeUser && isSpecialGrantee(name)) type = kGranteeSpecial;
  if (type == kGranteeOwner) entry->level = kLevelOwner;
  entry->type = type;
  *item = reinterpret_cast<AddIn::AccessItem>(entry.get());
  entries_.push_back(std::move(entry));
  dirty_ = true;
  return 0;
}

HRESULT FolderAccessList::setLevel(AddIn::AccessItem item, ULONG level) {
  details::FolderAccess* entry = find(item);
  if (!entry) return E_INVALIDARG;
  if (level != kLevelKeep) entry->level = level;
  dirty_ = true;
  return entry->level == level ? 0 : 1;
}

HRESULT FolderAccessList::removeAccess(AddIn::AccessItem item) {
  for (auto it = entries_.begin(); it != entries_.end(); ++it)
    if (item != 0 && reinterpret_cast<AddIn::AccessItem>(it->get()) == item) {
      entries_.erase(it);
      dirty_ = true;
      return 0;
    }
  return E_INVALIDARG;
}

HRESULT FolderAccessList::getLevel(AddIn::AccessItem item, ULONG* level) const {
  const details::FolderAccess* entry = find(item);
  if (!entry) return E_INVALIDARG;
  if (!level) return E_POINTER;
  *level = entry->isDelegate ? kLevelDelegate : entry->level;
  return 0;
}

HRESULT FolderAccessList::getType(AddIn::AccessItem item, ULONG* type) const {
  const details::FolderAccess* entry = find(item);
  if (!entry) return E_INVALIDARG;
  if (!type) return E_POINTER;
  *type = entry->type;
  return 0;
}

HRESULT FolderAccessList::getName(AddIn::AccessItem item, std::wstring& name) const {
  const details::FolderAccess* entry = find(item);
  if (!entry) return E_INVALIDARG;
  name = entry->name;
  return 0;
}

HRESULT FolderAccessList::setRecursive(bool recursive) {
  recursive_ = recursive;
  if (recursive) dirty_ = true;
  return 0;
}

HRESULT FolderAccessList::isRecursiveHidden() const { return features_.hideRecursive ? 0 : 1; }

bool FolderAccessList::isDelegate(const std::wstring& name) const {
  if (name.empty()) return false;
  return delegates_.count(foldDelegateAddress(name)) != 0;
}

}  // namespace config
}  // namespace zelvo
