// The host as the add-in sees it, for tests: the object model objects that store
// discovery reads (Application, NameSpace, Explorer, Inspector, MAPIFolder, MailItem),
// IDispatch objects answering by name, and behind NameSpace.MAPIOBJECT a MAPI session
// whose store table lists the profile's stores. Each store of the product is a reference
// store, whose OpenProperty of the configuration property hands out its IGlobalConfig;
// foreign stores refuse that property.
//
// Every call, of the object model and of the MAPI objects, is recorded as
// "Object.Member", and any of them can be told to fail once with a chosen code by its
// member name.
//
// Application, NameSpace, Explorers, Inspectors and each Explorer and Inspector fire their events
// through connection points to the IDispatch sinks advised there; a run of host actions
// read from a file (Actions.h) moves the windows and fires what the host fires.
//
// Each window has command bars of its own (Explorer.CommandBars, Inspector.CommandBars):
// bars of buttons that the add-in builds, and whose Click the host fires to the sinks
// advised on a button. NameSpace.SyncObjects lists the send/receive groups added here, which
// fire SyncStart when the add-in starts them and SyncEnd (after OnError for a failed run)
// when the test ends the run or the add-in stops it. The add-in's COMAddIn and the
// PropertyPages of a dialog, the ribbon (IRibbonUI) and the controls its callbacks are
// called for (IRibbonControl) are handed out as the host hands them.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/ComRef.h"
#include "platform/Mapi.h"
#include "store/reference/ReferenceStore.h"
#include "testing/outlook/Actions.h"
#include "testing/outlook/Profile.h"

namespace OutlookStandIn {

// The host's dispinterfaces that its windows answer besides IDispatch.
extern const IID IID_OutlookExplorer;
extern const IID IID_OutlookInspector;
// _MailItem and MAPIFolder, which a mail item and a folder answer.
extern const IID IID_OutlookMailItem;
extern const IID IID_OutlookFolder;
// Of the shared office type library: _CommandBarButton, and the ribbon's dispinterfaces.
extern const IID IID_CommandBarButton;
extern const IID IID_IRibbonUI;
extern const IID IID_IRibbonControl;
// The event dispinterfaces that the stand-in fires.
extern const IID IID_ApplicationEvents;
extern const IID IID_ApplicationEvents_11;
extern const IID IID_ExplorerEvents_10;
extern const IID IID_InspectorEvents_10;
extern const IID IID_ExplorersEvents;
extern const IID IID_InspectorsEvents;
extern const IID IID_NameSpaceEvents;
extern const IID IID_CommandBarButtonEvents;
extern const IID IID_SyncObjectEvents;

// The dispatch ids of the events fired, as the host's type library has them.
namespace EventId {
// ApplicationEvents(_11)
constexpr DISPID ItemSend = 0xF002;  // (Item, Cancel by reference)
constexpr DISPID Startup = 0xF006;
constexpr DISPID Quit = 0xF007;
// ExplorerEvents_10
constexpr DISPID FolderSwitch = 0xF002;
constexpr DISPID SelectionChange = 0xF007;
// ExplorerEvents_10 and InspectorEvents_10
constexpr DISPID Close = 0xF008;
// ExplorersEvents, InspectorsEvents: (the new window)
constexpr DISPID NewExplorer = 0xF001;
constexpr DISPID NewInspector = 0xF001;
// _CommandBarButtonEvents: (the button, CancelDefault by reference)
constexpr DISPID Click = 1;
// SyncObjectEvents
constexpr DISPID SyncStart = 0xF001;
constexpr DISPID OnError = 0xF003;  // (Code, Description)
constexpr DISPID SyncEnd = 0xF004;
}  // namespace EventId

struct HostState;
struct Window;

// An item of the host's making: mail, sent unless it is a draft, or an item of another kind
// (an appointment) that answers no _MailItem. Its MAPIOBJECT answers PR_ENTRYID with the
// bytes of the entry id text (hexadecimal); a text that isn't, or an empty one, leaves the
// property missing. Parent is the folder given, or nothing.
struct ItemSetup {
  std::wstring entryId;
  bool mail = true;
  bool sent = true;
  ComRef<IDispatch> parent;
};

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
  ComRef<IDispatch> item(const ItemSetup& setup);
  // The host's DefaultItemType of a folder (0 mail, 1 appointments, 2 contacts...); 0
  // unless set here.
  void setDefaultItemType(size_t storeIndex, const std::wstring& path, LONG type);

  // The reference store behind store storeIndex of the profile; raises E_INVALIDARG for a
  // foreign store.
  ReferenceStore::Store& store(size_t storeIndex);

  // A new window in front, announced by NewExplorer or NewInspector: an explorer on folder
  // (null: no current folder), an inspector on item (null: no current item). Closing
  // takes the window in front away and fires its Close; raises E_INVALIDARG with none.
  void openExplorer(IDispatch* folder);
  void closeExplorer();
  void openInspector(IDispatch* item, bool compose = false);
  void closeInspector();
  // The explorer in front selects these items, and fires SelectionChange; raises
  // E_INVALIDARG with no explorer open. Application.ActiveWindow is the inspector in front,
  // else the explorer in front.
  void select(std::vector<ComRef<IDispatch>> items);

  // Applies each action in turn and fires what the host fires for it; the add-in's
  // actions go to addIn. Raises E_INVALIDARG "actions line N: ..." for an action that
  // the state does not allow (no such store or window, nothing to select in), and
  // E_NOTIMPL for an add-in action without addIn.
  void play(const std::vector<HostAction>& actions,
            const std::function<void(const HostAction&)>& addIn = nullptr);

  // The COMAddIn object that the host hands the add-in at connection, as the add-in of
  // this ProgID; each call gives a new object over the same add-in.
  ComRef<IDispatch> comAddIn(const std::wstring& progId, const std::wstring& description);
  // The PropertyPages of a new options or folder dialog, and the titles of the pages added
  // to the last one, in order (E_INVALIDARG before any dialog).
  ComRef<IDispatch> openPropertyDialog();
  std::vector<std::wstring> pageTitles() const;

  // The ribbon handed to the add-in's onLoad callback, and the control a callback is called
  // for, used in the window context (null: none).
  ComRef<IDispatch> ribbonUI();
  ComRef<IDispatch> ribbonControl(const std::wstring& id, const std::wstring& tag, IDispatch* context);
  // The control ids the add-in invalidated through any ribbon object, in order; the whole
  // ribbon's Invalidate as an empty id.
  std::vector<std::wstring> ribbonInvalidations() const;

  // A send/receive group, listed last in NameSpace.SyncObjects.
  void addSyncObject(const std::wstring& name);
  // Ends the run of the group named, firing OnError(code, description) first for a failed
  // run; raises E_INVALIDARG when no such group is running.
  void endSync(const std::wstring& name, std::optional<std::pair<LONG, std::wstring>> error = std::nullopt);

  // Clicks every button with this tag on the bars of the open windows, as the host fires
  // Click to each button that shares a tag. True when a sink set CancelDefault; raises
  // E_INVALIDARG when no button has the tag.
  bool clickButton(const std::wstring& tag);

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
  void closeWindow(std::vector<std::shared_ptr<Window>>& windows, size_t index);

  std::shared_ptr<HostState> state_;
};

}  // namespace OutlookStandIn
