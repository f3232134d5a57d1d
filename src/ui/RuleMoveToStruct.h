// What the folder picker of a fileinto shows: the server's folder list of each message store of the
// mailbox account, as the store service reports it. The string of a fileinto is a server path, so
// client folders are never looked at.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/ComRef.h"
#include "platform/Mapi.h"
#include "store/StoreInterfaces.h"

namespace zelvo::ui {

// One folder of a store's folder list, with flags in the picker's own form: any of the low
// seventeen bits set means that the folder cannot be chosen.
struct RuleFolder {
  // Set unless the entry's bit 1 says that the folder may take messages.
  static constexpr std::uint32_t kNotChosenMask = 0x7FFF;
  static constexpr std::uint32_t kHidden = 0x8000;
  // The entry's bit 0 was clear.
  static constexpr std::uint32_t kNoSelect = 0x10000;
  // The path was put below the store's root name: a folder of another namespace.
  static constexpr std::uint32_t kForeignNamespace = 0x1000000;
  static constexpr std::uint32_t kBlockingBits = kNotChosenMask | kHidden | kNoSelect;

  std::uint32_t flags = 0;
  std::wstring displayPath;
  std::wstring path;

  static RuleFolder fromEntry(const FolderListEntry& entry);
  bool canChoose() const { return (flags & kBlockingBits) == 0; }
};

// The message stores of the session as the picker walks them. Each store offered must be one of the
// product's, so that it hands out its configuration object; name is the store's display name in the
// client.
class MessageStoreSession {
 public:
  struct Store {
    ComRef<IMAPIProp> object;
    std::wstring name;
  };
  virtual ~MessageStoreSession() = default;
  virtual std::vector<Store> messageStores() = 0;
};

namespace details {

// One message store in the picker's tree.
struct MsgStore {
  std::vector<RuleFolder> folders;
  // Empty for the account's own mailbox; otherwise the namespace the paths are below.
  std::wstring rootName;
  std::wstring storeName;

  // Reads the store's folder list. False, with nothing read, when the store belongs to another
  // account than mailbox. Every store call that fails is raised.
  bool initialize(const MessageStoreSession::Store& store, const GUID& mailbox);
};

}  // namespace details
}  // namespace zelvo::ui
