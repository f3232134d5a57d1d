// The host's profile as data: the message stores a session shows (the product's private,
// public and delegate stores by service, and foreign ones), the host's version and its
// command line. Read from a small line-based text:
//
//   # a comment
//   version 16.0.5095.1000
//   commandline C:\Office\OUTLOOK.EXE /profile Work
//   store private name=Mailbox service={GUID} key={GUID} default mailbox=dir
//   folder Inbox 00000000... default=6  (a folder of the store above: path, entry id in hex,
//                                        and the host's folder type it is the default of)
//   store public service={GUID} key={GUID}
//   store foreign name="Personal Folders" key={GUID}
//
// A store line takes a kind (private, public, delegate, foreign) and key=value fields;
// "default" marks the profile's default store. "mailbox" is a saved reference mailbox,
// relative to the profile's folder. Values with spaces go in double quotes.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Guid.h"

namespace OutlookStandIn {

enum class StoreKind { Private, Public, Delegate, Foreign };

struct ProfileFolder {
  std::wstring path;
  std::string entryId;  // bytes
  std::optional<long> defaultType;  // the host's folder type it is the default folder of
};

struct ProfileStore {
  StoreKind kind = StoreKind::Foreign;
  std::wstring displayName;
  Guid serviceUid;  // nil for a foreign store
  Guid recordKey;
  bool isDefault = false;
  std::optional<std::string> mailboxFolder;
  std::vector<ProfileFolder> folders;
};

struct Profile {
  std::wstring version = L"16.0.0.0";
  std::wstring commandLine;
  std::vector<ProfileStore> stores;
};

// Raises E_INVALIDARG with "profile line N: ..." for anything it does not know; a mailbox
// folder is made absolute against baseFolder.
Profile parseProfile(const std::string& text, const std::string& baseFolder = std::string());
// Raises STG_E_FILENOTFOUND naming the file when it cannot be read.
Profile loadProfile(const std::string& path);

// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}"; nullopt for anything else.
std::optional<Guid> parseGuid(const std::wstring& text);

}  // namespace OutlookStandIn
