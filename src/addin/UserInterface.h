// The add-in's one COM object: what the host creates, the owner of every host object the
// add-in holds, and the switchboard for commands and events. The host calls it as an
// add-in (connection and shutdown), as the provider of the ribbon's documents, and by name
// for the ribbon's callbacks.
//
// A profile without a store of the product leaves it loaded and idle: no ribbon, no
// menu, no event.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "addin/AddInUtils.h"
#include "addin/EventSink.h"
#include "addin/HostInterfaces.h"
#include "addin/ribbon/Ribbon.h"
#include "base/CLock.h"
#include "base/ComRef.h"
#include "base/Dispatcher.h"
#include "base/Iui.h"
#include "config/AbConfig.h"
#include "config/RegistryConfig.h"
#include "store/StoreInterfaces.h"

namespace zelvo {
namespace addin {

class UserInterface;

// The commands whose dialogs belong to other pieces: the dialog work fills this in. Each
// gets the add-in, for its namespace, its stores and the window in front. Without an
// object put in place (setCommandDialogs) these commands do nothing.
class CommandDialogs {
 public:
  virtual ~CommandDialogs() = default;
  // The options dialog on the store in front, modal over parent; the button that closed it.
  virtual int options(UserInterface& addIn, IGlobalConfig* config, HWND parent) = 0;
  virtual int delegation(UserInterface& addIn, IGlobalConfig* config, HWND parent) = 0;
  virtual void about(UserInterface& addIn, HWND parent) = 0;
  virtual void outOfOffice(UserInterface& addIn) = 0;
  virtual void help(UserInterface& addIn) = 0;
  // The host's own rules commands, taken over: set cancelDefault to keep the host's away.
  virtual void rulesAndAlerts(UserInterface& addIn, bool& cancelDefault) = 0;
  virtual void createMailRule(UserInterface& addIn, IDispatch* control, bool& cancelDefault) = 0;
};

// The steps of start-up, shutdown and the ribbon that belong to the pieces of command bars,
// synchronisation, the address book and the out-of-office state. Start-up calls them in
// their places, so the order is kept while they are filled in; without an object put in
// place (setHostSteps) they do nothing, and the out-of-office state reads as off.
class HostSteps {
 public:
  virtual ~HostSteps() = default;
  // Follow the active explorer and build menus and toolbars.
  virtual void configureActiveExplorer(UserInterface& addIn) = 0;
  // Tell each private store whether the host is offline.
  virtual void updateOfflineState(UserInterface& addIn) = 0;
  virtual void adviseSyncObjectEvents(UserInterface& addIn) = 0;
  // Address-book changes; called with the address-book lock held.
  virtual void showContactsInAddressBook(IDispatch* nameSpace) = 0;
  virtual void addFolderToAddressBook(IDispatch* nameSpace, const SBinary* folderId, ULONG flags) = 0;
  virtual void removeFolderFromAddressBook(IDispatch* nameSpace, const SBinary* folderId, const SBinary* storeId,
                                           ULONG flags) = 0;
  // The reminder of a running out-of-office reply, last of start-up.
  virtual void remindOutOfOffice(UserInterface& addIn) = 0;
  virtual bool getOutOfOfficeEnabled(IDispatch* nameSpace) = 0;
  // The host's send/receive and offline commands, taken over.
  virtual void toggleOnline(UserInterface& addIn, bool pressed, bool& cancelDefault) = 0;
  virtual void sendReceiveAll(UserInterface& addIn, bool& cancelDefault) = 0;
};

// The junk commands and the state of their buttons.
class SpamActions {
 public:
  virtual ~SpamActions() = default;
  // True when the command reached the store.
  virtual bool markAsJunkEmail(UserInterface& addIn, bool junk) = 0;
  // The folder test of an explorer.
  virtual bool explorerSpamControlsAllowed(UserInterface& addIn, IDispatch* explorer) = 0;
  // The state from an explorer's selection; false when the selection can't be read.
  virtual bool explorerSpamControlsState(UserInterface& addIn, IDispatch* explorer, bool& isSpam, bool& notSpam) = 0;
  // The state in a read inspector, from the control's window.
  virtual void inspectorSpamControlsState(UserInterface& addIn, IDispatch* ribbonControl, bool& isSpam,
                                          bool& notSpam) = 0;
};

// The three IDispatch faces of the object, each over a table of its own.
namespace details {
class ExtensibilityFace : public DispatchImpl<ExtensibilityFace, IDTExtensibility2> {
 public:
  static const DispatchTable<ExtensibilityFace>& dispatchTable();
};
class RibbonExtensibilityFace : public DispatchImpl<RibbonExtensibilityFace, IRibbonExtensibility> {
 public:
  static const DispatchTable<RibbonExtensibilityFace>& dispatchTable();
};
// The callbacks' names are matched as the ribbon's table has them, without regard to case;
// a getter called without a place for its answer is refused.
class RibbonCallbackFace : public DispatchImpl<RibbonCallbackFace, IRibbonCallback> {
 public:
  static const DispatchTable<RibbonCallbackFace>& dispatchTable();
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID, DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID riid, LCID locale, WORD flags, DISPPARAMS* params, VARIANT* result,
                                   EXCEPINFO* exception, UINT* argumentError) override;
};
}  // namespace details
}  // namespace addin
}  // namespace zelvo

namespace iui_ {
template <>
struct InterfaceId<zelvo::addin::details::ExtensibilityFace> : InterfaceId<zelvo::addin::IDTExtensibility2> {};
template <>
struct InterfaceId<zelvo::addin::details::RibbonExtensibilityFace> : InterfaceId<zelvo::addin::IRibbonExtensibility> {};
template <>
struct InterfaceId<zelvo::addin::details::RibbonCallbackFace> : InterfaceId<zelvo::addin::IRibbonCallback> {};
}  // namespace iui_

namespace zelvo {
namespace addin {

class UserInterface final : public iui_::IUnknownImpl<details::ExtensibilityFace, details::RibbonExtensibilityFace,
                                                      details::RibbonCallbackFace>,
                            public config::IAbConfigOwner {
 public:
  // A window the add-in follows, with the sink advised on it.
  struct FollowedObject {
    ComRef<IDispatch> object;
    ComRef<HostEventSink> sink;
  };
  using FollowedObjects = std::vector<FollowedObject>;
  // A window's own toolbar, and its own buttons with their sinks.
  using WindowBar = std::pair<ComRef<IDispatch>, ComRef<IDispatch>>;
  using WindowButtons = std::pair<ComRef<IDispatch>, FollowedObjects>;

  // A fresh object, with one reference for the caller; the module counts it while it lives.
  static ComRef<UserInterface> create(const config::RegistryConfig& registry = config::RegistryConfig::instance());

  // Seams for the pieces that come later; null leaves their steps out. The junk commands
  // are the add-in's own by default.
  void setCommandDialogs(std::shared_ptr<CommandDialogs> dialogs) { dialogs_ = std::move(dialogs); }
  void setHostSteps(std::shared_ptr<HostSteps> steps) { hostSteps_ = std::move(steps); }
  void setSpamActions(std::shared_ptr<SpamActions> spam) { spam_ = std::move(spam); }
  // The process command line, read at OnStartupComplete; the system's by default.
  void setCommandLineSource(std::function<std::wstring()> source) { commandLine_ = std::move(source); }

  // IDispatch is the callbacks' face, which the host asks for by name.
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;

  // The life cycle.
  HRESULT STDMETHODCALLTYPE OnConnection(IDispatch* application, int connectMode, IDispatch* addInInstance,
                                         SAFEARRAY** custom) override;
  HRESULT STDMETHODCALLTYPE OnDisconnection(int removeMode, SAFEARRAY** custom) override;
  HRESULT STDMETHODCALLTYPE OnAddInsUpdate(SAFEARRAY** custom) override;
  HRESULT STDMETHODCALLTYPE OnStartupComplete(SAFEARRAY** custom) override;
  HRESULT STDMETHODCALLTYPE OnBeginShutdown(SAFEARRAY** custom) override;
  // The ribbon document of a ribbon id; a null text where it gets none.
  HRESULT STDMETHODCALLTYPE GetCustomUI(BSTR ribbonId, BSTR* xml) override;

  // Binds the namespace and the stores once; false, with nothing shown, in a profile
  // without a store of the product. A standard exception passes.
  bool useValidNamespaceOnly();
  // The rest of start-up, in order; raises on failure of its first steps.
  void initOnStartup();
  // The shutdown core; safe to run again.
  void releaseHostObjects();
  // The IGlobalConfig of the store that the window (explorer, inspector, or null for the
  // window in front) shows; null when it shows none of ours.
  ComRef<IGlobalConfig> getActualGlobalConfig(IDispatch* window = nullptr);
  // The address-book call-back: attached to each private store not yet attached, first
  // detached everywhere when reset.
  void attachAbConfig(bool reset);
  void detachAbConfig();
  // The host's version, read anew.
  AddIn::Utils::MsoVersion queryMsoApplicationVersion() const;

  // The event sinks' advising (the handlers come with the event work).
  bool adviseNamespaceEvents(bool connect);
  bool adviseExplorersEvents(bool connect);
  bool adviseInspectorsEvents(bool connect);

  // Ribbon invalidations; silent without a ribbon.
  void invalidateSpamControls(bool explorerOnly);
  void invalidateOutOfOffice();
  void invalidateStoreControls();

  // The button commands.
  void commandOptions();
  void commandDelegation();
  void commandAbout();
  void commandHelp();
  void commandOutOfOffice();
  bool markAsJunkEmail(bool junk);

  // What other pieces read.
  IDispatch* application() const { return application_.get(); }
  IDispatch* nameSpace() const { return nameSpace_.get(); }
  const AddIn::Utils::StoreConfigs& configs() const { return configs_; }
  IStoreAllocator* allocator() const { return allocator_.get(); }
  IDispatch* addInInstance() const { return addInInstance_.get(); }
  int connectMode() const { return connectMode_; }
  bool started() const { return started_; }
  bool ribbonAllowed() const { return ribbonAllowed_; }
  bool abConfigAttached() const { return static_cast<bool>(abConfig_); }
  IDispatch* explorerRibbon() const { return explorerRibbon_.get(); }
  size_t inspectorRibbonCount() const { return inspectorRibbons_.size(); }
  CLock& abLock() { return abLock_; }
  const HostEventSink& applicationSink() const { return *applicationEvents_.get(); }
  const HostEventSink& namespaceSink() const { return *namespaceEvents_.get(); }
  const HostEventSink& explorersSink() const { return *explorersEvents_.get(); }
  const HostEventSink& inspectorsSink() const { return *inspectorsEvents_.get(); }

  // Lists that the event, command bar and synchronisation work fill; the shutdown core
  // unadvises and empties the first four.
  FollowedObjects& explorers() { return explorers_; }
  FollowedObjects& inspectors() { return inspectors_; }
  FollowedObjects& syncObjects() { return syncObjects_; }
  FollowedObjects& builtInButtons() { return builtInButtons_; }
  std::vector<WindowBar>& explorerBars() { return explorerBars_; }
  std::vector<WindowButtons>& explorerButtons() { return explorerButtons_; }
  std::vector<WindowBar>& inspectorBars() { return inspectorBars_; }
  std::vector<WindowButtons>& inspectorButtons() { return inspectorButtons_; }
  bool syncSuppressed = false;
  bool serverRulesChosen = true;

  // IAbConfigOwner: called by the call-back object with abLock held.
  void addFolderToAddressBook(const SBinary* folderId, ULONG flags) override;
  void showContactsInAddressBook() override;
  void removeFolderFromAddressBook(const SBinary* folderId, const SBinary* storeId, ULONG flags) override;
  void storeClosed(const GUID& storeKey) override;

  // The ribbon callbacks, as the dispatch table calls them.
  void explorerOnLoad(IDispatch* ribbonUi);
  void inspectorOnLoad(IDispatch* ribbonUi);
  void explorerOnButtonAction(IDispatch* control);
  void explorerOnToggleButtonAction(IDispatch* control, bool pressed);
  std::optional<std::wstring> onGetText(IDispatch* control, RibbonText which);
  ComRef<IPictureDisp> getButtonImage(IDispatch* control, bool isExplorer);
  bool explorerOnGetButtonEnabled(IDispatch* control);
  bool inspectorOnGetButtonEnabled(IDispatch* control);
  std::optional<bool> explorerOnGetButtonPressed(IDispatch* control);
  void toggleOnlineCommandOnAction(IDispatch* control, bool pressed, bool& cancelDefault);
  void sendReceiveAllCommandOnAction(IDispatch* control, bool& cancelDefault);
  void rulesAndAlertsCommandOnAction(IDispatch* control, bool& cancelDefault);
  void createMailRuleCommandOnAction(IDispatch* control, bool& cancelDefault);

 private:
  explicit UserInterface(const config::RegistryConfig& registry);
  ~UserInterface() override;

  void warnAboutDefaultStore();
  void invalidate(const std::vector<RibbonInvalidation>& calls);
  // What the host says about the window of a control, for the enabled and image rules.
  RibbonControlState explorerControlState(int number, IDispatch* explorer);
  RibbonControlState inspectorControlState(int number, IDispatch* control);
  bool storeFolderShown(IDispatch* window);

  // Sinks of the host's collections, advised at start and unadvised at shutdown.
  ComRef<HostEventSink> applicationEvents_;
  ComRef<HostEventSink> namespaceEvents_;
  ComRef<HostEventSink> explorersEvents_;
  ComRef<HostEventSink> inspectorsEvents_;
  FollowedObjects explorers_;
  FollowedObjects inspectors_;
  FollowedObjects syncObjects_;
  FollowedObjects builtInButtons_;
  std::vector<WindowBar> explorerBars_;
  std::vector<WindowButtons> explorerButtons_;
  std::vector<WindowBar> inspectorBars_;
  std::vector<WindowButtons> inspectorButtons_;
  int connectMode_ = -1;
  ComRef<IDispatch> addInInstance_;
  ComRef<IDispatch> application_;
  ComRef<IDispatch> nameSpace_;
  AddIn::Utils::StoreConfigs configs_;
  ComRef<IStoreAllocator> allocator_;
  ComRef<IAbConfig> abConfig_;
  CLock abLock_;
  ComRef<IDispatch> outOfOfficeButton_;
  ComRef<IDispatch> explorerRibbon_;
  std::vector<ComRef<IDispatch>> inspectorRibbons_;
  bool started_ = false;
  bool ribbonAllowed_ = false;

  const config::RegistryConfig& registry_;
  std::shared_ptr<CommandDialogs> dialogs_;
  std::shared_ptr<HostSteps> hostSteps_;
  std::shared_ptr<SpamActions> spam_;
  std::function<std::wstring()> commandLine_;
};

// A fresh UserInterface answering riid, as the class factory hands it out.
HRESULT createUserInterface(REFIID riid, void** object) noexcept;
// What each object that createUserInterface makes is given before it goes out: the pieces
// that fill the seams put themselves in place here.
void setUserInterfaceSetup(std::function<void(UserInterface&)> setup);

// Whether the host was started as an automation server ("-embedding", in any case).
bool commandLineRunsEmbedded(const std::wstring& commandLine);

// What hangs on the host's major version, read anew at each decision.
// An inspector gets a command bar of its own; later hosts refresh the inspector ribbons.
bool inspectorGetsCommandBar(ULONG major);
// Our Help menu entries and listeners on the host's own commands.
bool explorerGetsOwnMenus(ULONG major);
// Our pages in the host's Options dialog; later hosts reach them through btnOptions.
bool optionsDialogTakesPages(ULONG major);
// The local value SuppressSyncObject decides whether Send/Receive goes through the ribbon.
bool syncObjectMayBeSuppressed(ULONG major);

}  // namespace addin
}  // namespace zelvo
