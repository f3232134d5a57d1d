// The reference store service: IGlobalConfig, IFolderConfig and the store allocator over
// an in-memory Mailbox, with MAPI objects that hand them out as a store of the product
// does. It serves the command-line tool, the tests and the host stand-in.
//
// Every operation can be told to fail once with a chosen code (failNext), or to do its
// work and answer a warning (warnNext), so that the error paths of callers run against
// the real service. What the service was asked to do
// beyond changing the mailbox (synchronisations, junk marks...) is kept in Activity.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/ComRef.h"
#include "store/StoreInterfaces.h"
#include "store/reference/Mailbox.h"

namespace ReferenceStore {

enum class Operation {
  // IGlobalConfig
  GetFolderList, SetSieveScript, GetSieveScript, TranslateFolderName, GetAllocator, MarkAsJunk,
  GetAccountText, GetDomainName, GetSenderRecord, SetSenderRecord, SynchronizeAll, SetConnectionMode,
  RequestSynchronization, GetServiceUid, GetStoreClass, IsAddressBookReady, SetAddressBookDone,
  IsAddressBookDone, SetAbConfig, ClearAbConfig, GetMessageProperties, NewDelegateId, GetDelegates,
  SetDelegates, GetDelegators, ResolveAddress, CheckSenderAddress, SendSenderRequest, GetDelegateRights,
  // IFolderConfig
  GetAccessRights, SetAccessRights, GetSynchronization, SetSynchronization, FolderGetAllocator,
  GetGlobalConfig, IsFeatureAvailable, GetFolderFlags, ResynchronizeContents,
  // IMAPIProp of the store and folder objects
  OpenProperty,
};

struct JunkMark {
  std::vector<std::string> entryIds;
  bool junk = false;
};

struct Activity {
  unsigned synchronizeAllCalls = 0;
  unsigned senderRequests = 0;
  unsigned long connectionMode = 0;  // 0 until setConnectionMode
  // One element per requestSynchronization: the folder's path, or none for "everything".
  std::vector<std::optional<std::wstring>> synchronizationRequests;
  std::vector<std::wstring> resynchronizedFolders;
  std::vector<JunkMark> junkMarks;
  bool abConfigSet = false;
};

struct StoreState;

class Store {
 public:
  explicit Store(Mailbox mailbox = Mailbox());
  ~Store();
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  // Raises as loadMailbox does.
  static std::unique_ptr<Store> load(const std::string& folder);
  void save(const std::string& folder) const;

  Mailbox mailbox() const;
  void setMailbox(Mailbox mailbox);
  Activity activity() const;
  // Every call the service answered, injected failures included, in order.
  std::vector<Operation> calls() const;
  void clearCalls();

  // The next call of operation answers code and changes nothing. Several calls queue.
  void failNext(Operation operation, HRESULT code);
  // The next call of operation runs as usual; queued before failNext, it makes a later call
  // of the same operation the one that fails.
  void passNext(Operation operation);
  // The next call of operation that succeeds answers code (a warning, above 0) instead of
  // S_OK, with its out-parameters filled as usual. Several calls queue.
  void warnNext(Operation operation, HRESULT code);
  // Failures and warnings queued and not yet answered.
  size_t pendingFailures() const;

  // New references. The store's one IGlobalConfig; a folder's IFolderConfig (raises
  // MAPI_E_NOT_FOUND for an unknown path); MAPI objects whose OpenProperty of
  // kConfigPropertyTag gives those.
  ComRef<IGlobalConfig> globalConfig();
  ComRef<IFolderConfig> folderConfig(const std::wstring& path);
  ComRef<IMAPIProp> mapiStore();
  ComRef<IMAPIProp> mapiFolder(const std::wstring& path);

  // A new reference to the call-back that setAbConfig handed over, or null: what the
  // service calls, on threads of its own, to have the address book changed.
  ComRef<IAbConfig> abConfig();

 private:
  std::shared_ptr<StoreState> state_;
};

}  // namespace ReferenceStore
