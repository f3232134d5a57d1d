// The in-memory mailbox behind the reference store, and its form on disk: a folder
// holding script.sieve (the Sieve script as UTF-8, line ends as they are) and
// mailbox.json (everything else). samples/mailbox/README.md describes the JSON fields.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "base/Guid.h"

namespace ReferenceStore {

struct AccessEntry {
  uint32_t flags = 0;  // 0x8000 group, 0x1 locked; other bits carried through
  std::wstring name;
  std::wstring rights;
  bool operator==(const AccessEntry& o) const { return flags == o.flags && name == o.name && rights == o.rights; }
};

struct MailboxFolder {
  std::wstring path;         // slash-separated; the key of the folder
  std::wstring displayPath;  // slash-separated; its last part is the folder's text
  uint32_t flags = 1;        // FolderListEntry flags
  std::string entryId;       // bytes; empty when the folder has none
  uint32_t synchronization = 0;
  std::vector<uint32_t> features;  // features of isFeatureAvailable
  uint32_t folderFlags = 0;        // bit 0: spam commands allowed
  std::vector<AccessEntry> access;
  bool operator==(const MailboxFolder& o) const {
    return path == o.path && displayPath == o.displayPath && flags == o.flags && entryId == o.entryId &&
           synchronization == o.synchronization && features == o.features && folderFlags == o.folderFlags &&
           access == o.access;
  }
};

struct Delegate {
  uint32_t id = 0;
  std::wstring address;
  std::wstring displayName;
  bool grant = false;
  bool operator==(const Delegate& o) const {
    return id == o.id && address == o.address && displayName == o.displayName && grant == o.grant;
  }
};

struct Sender {
  std::wstring defaultName, defaultAddress, senderName, senderAddress, replyAddress, extraText;
  bool operator==(const Sender& o) const {
    return defaultName == o.defaultName && defaultAddress == o.defaultAddress && senderName == o.senderName &&
           senderAddress == o.senderAddress && replyAddress == o.replyAddress && extraText == o.extraText;
  }
};

// A user of the server, as resolveAddress and getDelegateRights see them.
struct DirectoryUser {
  std::wstring address;
  std::wstring displayName;
  std::wstring rights;  // the rights letters this user holds on the mailbox
  bool operator==(const DirectoryUser& o) const {
    return address == o.address && displayName == o.displayName && rights == o.rights;
  }
};

// A property value: its type is the type part of the tag (PT_BOOLEAN, PT_LONG, PT_UNICODE).
using PropertyValue = std::variant<bool, uint32_t, std::wstring>;

struct Message {
  std::string entryId;  // bytes; a 40- or 44-byte identifier of the product
  std::map<uint32_t, PropertyValue> properties;
  bool operator==(const Message& o) const { return entryId == o.entryId && properties == o.properties; }
};

enum class StoreClass { Private = 1, Public = 2, Delegate = 3 };

struct Mailbox {
  std::wstring script;
  std::wstring rootName;
  std::wstring domain;
  Guid serviceUid;
  StoreClass storeClass = StoreClass::Private;
  bool addressBookReady = true;
  bool addressBookDone = false;
  std::map<uint32_t, std::wstring> accountTexts;
  std::map<uint32_t, std::wstring> folderNames;  // translateFolderName by number
  Sender sender;
  uint32_t nextDelegateId = 1;
  std::vector<Delegate> delegates;
  std::vector<Delegate> delegators;
  std::vector<DirectoryUser> users;
  std::vector<std::wstring> senderAddresses;  // addresses checkSenderAddress allows
  std::vector<MailboxFolder> folders;
  std::vector<Message> messages;

  bool operator==(const Mailbox& o) const {
    return script == o.script && rootName == o.rootName && domain == o.domain && serviceUid == o.serviceUid &&
           storeClass == o.storeClass && addressBookReady == o.addressBookReady &&
           addressBookDone == o.addressBookDone && accountTexts == o.accountTexts &&
           folderNames == o.folderNames && sender == o.sender && nextDelegateId == o.nextDelegateId &&
           delegates == o.delegates && delegators == o.delegators && users == o.users &&
           senderAddresses == o.senderAddresses && folders == o.folders && messages == o.messages;
  }
  bool operator!=(const Mailbox& o) const { return !(*this == o); }

  MailboxFolder* findFolder(const std::wstring& path);
  MailboxFolder* findFolderByEntryId(const std::string& entryId);
};

// The file names inside a mailbox folder.
extern const char* const kScriptFileName;   // "script.sieve"
extern const char* const kMailboxFileName;  // "mailbox.json"

// Reads a mailbox folder. A file that cannot be read raises STG_E_FILENOTFOUND with its
// path; malformed content raises MAPI_E_CORRUPT_DATA naming the file, the place and the
// problem. Nothing is written.
Mailbox loadMailbox(const std::string& folder);
// The same over the two texts; a missing script is the empty script.
Mailbox parseMailbox(const std::string& scriptBytes, const std::string& jsonText);

// Writes both files (each first to a temporary file, then renamed over the old one).
void saveMailbox(const Mailbox& mailbox, const std::string& folder);
// The JSON text that saveMailbox writes: two-space indented, fields in a fixed order.
std::string mailboxToJson(const Mailbox& mailbox);

}  // namespace ReferenceStore
