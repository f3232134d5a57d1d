#include "ui/RuleMoveToStruct.h"

#include <cstring>

#include "base/Bstr.h"
#include "base/HResultException.h"
#include "config/StoreAllocators.h"
#include "store/MapiAlloc.h"
#include "store/StoreConfig.h"

namespace zelvo::ui {

RuleFolder RuleFolder::fromEntry(const FolderListEntry& entry) {
  RuleFolder folder;
  folder.flags = (entry.flags & 0x2u) ? 0u : kNotChosenMask;
  if (!(entry.flags & 0x1u)) folder.flags |= kNoSelect;
  folder.displayPath = entry.displayPath ? entry.displayPath : L"";
  folder.path = entry.path ? entry.path : L"";
  return folder;
}

namespace details {

bool MsgStore::initialize(const MessageStoreSession::Store& store, const GUID& mailbox) {
  ComRef<IGlobalConfig> config;
  ::details::getConfigForObject(store.object.get(), config.put());

  GUID service{};
  ZEL_CHECK(config->getServiceUid(&service));
  if (std::memcmp(&service, &mailbox, sizeof service) != 0) return false;

  const MapiAlloc allocators = config::storeAllocators(config.get());
  ULONG count = 0;
  MapiBuffer<FolderListEntry> entries(allocators.freeBuffer);
  Bstr root;
  ZEL_CHECK(config->getFolderList(&count, entries.receive(), root.put()));

  folders.clear();
  if (entries) {
    folders.reserve(count);
    for (ULONG i = 0; i < count; ++i) folders.push_back(RuleFolder::fromEntry(entries.get()[i]));
  }
  rootName = root.text();
  storeName = store.name;
  return true;
}

}  // namespace details
}  // namespace zelvo::ui
