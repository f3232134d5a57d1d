// The host as the add-in sees it, for tests: the object model objects that store
// discovery reads (Application, NameSpace, Explorer, Inspector, MAPIFolder, MailItem),
// IDispatch objects answering by name, and behind NameSpace.MAPIOBJECT a MAPI session
// whose store table lists the profile's stores. Each store of the product is a reference
// store, whose OpenProperty of the configuration property hands out its IGlobalConfig;
// foreign stores refuse that property.
//
// Every call, of the object model and of the MAPI objects, is recorded as
// "Object.Member", and any of them can be told to fail once with a chosen code by its
// member name. Not here yet: events and connection points, the Explorers and Inspectors
// collections, command bars, ribbon objects and scripted host actions.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/ComRef.h"
#include "platform/Mapi.h"
#include "store/reference/ReferenceStore.h"
#include "testing/outlook/Profile.h"

namespace OutlookStandIn {

// The host's dispinterfaces that its windows answer besides IDispatch.
extern const IID IID_OutlookExplorer;
extern const IID IID_OutlookInspector;

struct HostState;

class StandIn {
 public:
  explicit StandIn(const Profile& profile);
  ~StandIn();
  StandIn(const StandIn&) = delete;
  StandIn& operator=(const StandIn&) = delete;

  // Raises as loadProfile and the mailbox loader do.
  static std::unique_ptr<StandIn> load(const std::string& profilePath);

  const Profile& profile() const;

  // New references.
  ComRef<IDispatch> application();
  ComRef<IDispatch> nameSpace();
  ComRef<IMAPISession> session();
  // A MAPIFolder object for a folder of a store of the product.
  ComRef<IDispatch> folder(size_t storeIndex, const std::wstring& path);
  // A MailItem object with this entry id text.
  ComRef<IDispatch> mailItem(const std::wstring& entryIdText);

  // The reference store behind store storeIndex of the profile; raises E_INVALIDARG for a
  // foreign store.
  ReferenceStore::Store& store(size_t storeIndex);

  // The windows in front: an explorer on folder (null: no current folder) and an
  // inspector on item (null: no current item).
  void openExplorer(IDispatch* folder);
  void closeExplorer();
  void openInspector(IDispatch* item);
  void closeInspector();

  // The next call of member (by name, any object) answers code.
  void failNext(const std::wstring& member, HRESULT code);
  // From now on the store table answers rows with these columns, whatever it was set to.
  void answerColumns(std::vector<ULONG> tags);
  // "Object.Member" per call, in order.
  std::vector<std::wstring> calls() const;
  void clearCalls();
  // Store tables not yet released.
  size_t liveTables() const;

 private:
  std::shared_ptr<HostState> state_;
};

}  // namespace OutlookStandIn
