#include "addin/UserInterface.h"

#include "addin/AddInModule.h"
#include "addin/GUI.h"
#include "addin/SpamCommands.h"
#include "base/ComBoundary.h"
#include "base/HResultException.h"
#include "base/LateBinding.h"
#include "base/Variant.h"
#include "strings/StringIds.h"

namespace zelvo {
namespace addin {

namespace details {

// The host's event dispinterfaces that the add-in's own sinks take.
const IID IID_ApplicationEvents = {0x0006304E, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_NameSpaceEvents = {0x0006308C, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_ExplorersEvents = {0x00063078, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_InspectorsEvents = {0x00063079, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

std::wstring systemCommandLine() {
  const wchar_t* line = GetCommandLineW();
  return line ? std::wstring(line) : std::wstring();
}

std::function<void(UserInterface&)>& userInterfaceSetup() {
  static std::function<void(UserInterface&)> setup;
  return setup;
}

// Unadvises a sink of a list entry whatever the host says: the window may be gone.
void dropFollowed(UserInterface::FollowedObjects& list) {
  for (auto& entry : list) {
    if (!entry.sink) continue;
    if (entry.sink->advised() && entry.object) {
      try {
        entry.sink->unadvise(entry.object.get());
      } catch (const HResultException&) {
      }
    }
    entry.sink->forget();
  }
  list.clear();
}

// The junk commands over the add-in's own host objects and stores, as they are at the call.
class HostSpamActions final : public SpamActions {
 public:
  explicit HostSpamActions(const config::RegistryConfig& registry) : registry_(registry) {}
  bool markAsJunkEmail(UserInterface& addIn, bool junk) override { return commands(addIn).markAsJunkEmail(junk); }
  bool explorerSpamControlsAllowed(UserInterface& addIn, IDispatch* explorer) override {
    return commands(addIn).determineExplorerSpamControlsStateAllowed(explorer);
  }
  bool explorerSpamControlsState(UserInterface& addIn, IDispatch* explorer, bool& isSpam, bool& notSpam) override {
    return commands(addIn).determineExplorerSpamControlsStateSimple(explorer, isSpam, notSpam);
  }
  void inspectorSpamControlsState(UserInterface& addIn, IDispatch* ribbonControl, bool& isSpam,
                                  bool& notSpam) override {
    commands(addIn).getSpamControlStateFromButton(ribbonControl, isSpam, notSpam);
  }

 private:
  SpamCommands commands(UserInterface& addIn) const {
    return SpamCommands(addIn.application(), addIn.nameSpace(), addIn.configs(), registry_);
  }
  const config::RegistryConfig& registry_;
};

}  // namespace details

bool commandLineRunsEmbedded(const std::wstring& commandLine) {
  std::wstring folded(commandLine);
  for (wchar_t& c : folded)
    if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
  return folded.find(L"-embedding") != std::wstring::npos;
}

bool inspectorGetsCommandBar(ULONG major) { return major < 12; }
bool explorerGetsOwnMenus(ULONG major) { return major < 14; }
bool optionsDialogTakesPages(ULONG major) { return major < 14; }
bool syncObjectMayBeSuppressed(ULONG major) { return major == 15; }

void setUserInterfaceSetup(std::function<void(UserInterface&)> setup) {
  details::userInterfaceSetup() = std::move(setup);
}

ComRef<UserInterface> UserInterface::create(const config::RegistryConfig& registry) {
  return ComRef<UserInterface>::adopt(new UserInterface(registry));
}

UserInterface::UserInterface(const config::RegistryConfig& registry)
    : applicationEvents_(HostEventSink::create(details::IID_ApplicationEvents)),
      namespaceEvents_(HostEventSink::create(details::IID_NameSpaceEvents)),
      explorersEvents_(HostEventSink::create(details::IID_ExplorersEvents)),
      inspectorsEvents_(HostEventSink::create(details::IID_InspectorsEvents)),
      registry_(registry),
      spam_(std::make_shared<details::HostSpamActions>(registry)),
      commandLine_(details::systemCommandLine) {
  AddInModule::instance().lock();
}

UserInterface::~UserInterface() {
  // The host may keep a sink that was never unadvised, and a store the call-back: neither
  // may reach us any more.
  for (const auto* sink : {&applicationEvents_, &namespaceEvents_, &explorersEvents_, &inspectorsEvents_})
    (*sink)->clearHandlers();
  for (FollowedObjects* list : {&builtInButtons_, &inspectors_, &explorers_, &syncObjects_})
    for (auto& entry : *list)
      if (entry.sink) entry.sink->clearHandlers();
  for (auto* windows : {&explorerButtons_, &inspectorButtons_})
    for (auto& window : *windows)
      for (auto& entry : window.second)
        if (entry.sink) entry.sink->clearHandlers();
  if (abConfig_) {
    CLockGuard guard(&abLock_);
    abConfig_->detach();
  }
  AddInModule::instance().unlock();
}

HRESULT UserInterface::QueryInterface(REFIID riid, void** ppv) {
  if (ppv && IsEqualIID(riid, IID_IDispatch)) {
    *ppv = static_cast<IDispatch*>(static_cast<details::RibbonCallbackFace*>(this));
    AddRef();
    return S_OK;
  }
  return IUnknownImpl::QueryInterface(riid, ppv);
}

// ---- Connection and start-up -------------------------------------------------------

HRESULT UserInterface::OnConnection(IDispatch* application, int connectMode, IDispatch* addInInstance, SAFEARRAY**) {
  const HRESULT result = comBoundary([&]() -> HRESULT {
    connectMode_ = connectMode;
    const RaisePoint here{::details::sourceFileName(__FILE__), __LINE__, "UserInterface::OnConnection"};
    if (!application) here.raise(E_POINTER);
    ComRef<IDispatch> host;
    const HRESULT hr = application->QueryInterface(IID_IDispatch, host.putVoid());
    if (FAILED(hr)) here.raise(hr);
    if (!host) here.raise(E_NOINTERFACE);
    application_ = host;
    if (!useValidNamespaceOnly()) return S_FALSE;
    ribbonAllowed_ = true;
    // Switched on in a running host: nothing else will start it.
    if (connectMode_ != kConnectAfterStartup) return S_FALSE;
    initOnStartup();
    return S_OK;
  });
  // The host's record of us is taken whatever happened before; its failure doesn't count.
  if (addInInstance) {
    ComRef<IDispatch> instance;
    if (SUCCEEDED(addInInstance->QueryInterface(IID_IDispatch, instance.putVoid())) && instance)
      addInInstance_ = instance;
  }
  return result;
}

HRESULT UserInterface::OnStartupComplete(SAFEARRAY**) {
  return comBoundary([&] {
    // Started as an automation server there is no user: stay idle.
    if (commandLineRunsEmbedded(commandLine_ ? commandLine_() : std::wstring())) return;
    if (!useValidNamespaceOnly()) return;
    ribbonAllowed_ = true;
    if (connectMode_ == kConnectStartup) initOnStartup();
  });
}

HRESULT UserInterface::OnAddInsUpdate(SAFEARRAY**) { return S_OK; }

HRESULT UserInterface::OnBeginShutdown(SAFEARRAY**) {
  return comBoundary([&] { releaseHostObjects(); });
}

HRESULT UserInterface::OnDisconnection(int, SAFEARRAY**) {
  return comBoundary([&] {
    releaseHostObjects();
    addInInstance_.reset();
  });
}

bool UserInterface::useValidNamespaceOnly() {
  if (nameSpace_ && !configs_.empty() && allocator_) return true;
  try {
    if (!application_) ZEL_HERE.raise(E_POINTER);
    const Variant answer = callMethod(application_.get(), L"GetNamespace", {Variant::fromText(L"MAPI")});
    const ComRef<IDispatch> nameSpace =
        answer.type() == VT_EMPTY || answer.type() == VT_NULL ? ComRef<IDispatch>() : answer.toDispatch();
    if (!nameSpace) ZEL_HERE.raise(E_UNEXPECTED, L"No MAPI namespace found.");
    AddIn::Utils::StoreConfigs configs;
    AddIn::Utils::getMsoGlobalConfigs(nameSpace.get(), configs);
    if (configs.empty()) ZEL_HERE.raise(E_UNEXPECTED, L"No compatible namespace found.");
    ComRef<IStoreAllocator> allocator;
    AddIn::Utils::getAllocatorFromConfig(configs.begin()->second.config.get(), allocator);
    allocator_ = std::move(allocator);
    configs_ = std::move(configs);
    nameSpace_ = nameSpace;
    return true;
  } catch (const HResultException&) {
    // A profile without our stores: the add-in stays loaded and silent.
    return false;
  }
}

void UserInterface::initOnStartup() {
  // Each step needs the one before. A failure of the first four leaves started false and
  // reaches the host as a result code; the shutdown core releases what was taken.
  applicationEvents_->advise(application_.get());
  adviseNamespaceEvents(true);
  adviseExplorersEvents(true);
  adviseInspectorsEvents(true);
  if (hostSteps_) hostSteps_->configureActiveExplorer(*this);
  try {
    if (hostSteps_) {
      hostSteps_->updateOfflineState(*this);
      hostSteps_->adviseSyncObjectEvents(*this);
      CLockGuard guard(&abLock_);
      if (nameSpace_) hostSteps_->showContactsInAddressBook(nameSpace_.get());
    }
    attachAbConfig(true);
  } catch (const HResultException&) {
    // The stores and the address book catch up at the next folder switch.
  }
  started_ = true;
  warnAboutDefaultStore();
  if (hostSteps_) hostSteps_->remindOutOfOffice(*this);
}

void UserInterface::warnAboutDefaultStore() {
  try {
    if (!config::getCheckDefaultStore(registry_) || configs_.empty()) return;
    if (AddIn::Utils::getMsoMsgStoreStatus(nameSpace_.get(), configs_) == 2) return;
    bool ticked = false;
    GUI::showOptionalMessage(IDS_DEFAULT_STORE_WARNING, IDS_MESSAGE_TITLE, IDS_DEFAULT_STORE_DONT_WARN, ticked,
                             MB_OK | MB_ICONEXCLAMATION);
    if (ticked) config::setCheckDefaultStore(false, registry_);
  } catch (const HResultException&) {
    // A warning that can't be given is no reason to stop.
  }
}

bool UserInterface::adviseNamespaceEvents(bool connect) {
  if (!nameSpace_) return false;
  if (connect) namespaceEvents_->advise(nameSpace_.get());
  // A sink that was never advised has nothing to undo.
  else if (namespaceEvents_->advised())
    namespaceEvents_->unadvise(nameSpace_.get());
  return true;
}

namespace details {

bool adviseCollection(IDispatch* application, const wchar_t* collection, const wchar_t* noApplication,
                      HostEventSink& sink, bool connect) {
  if (!application) ZEL_HERE.raise(E_POINTER, noApplication);
  if (!connect && !sink.advised()) return true;
  const Variant answer = getProperty(application, collection);
  const ComRef<IDispatch> windows =
      answer.type() == VT_EMPTY || answer.type() == VT_NULL ? ComRef<IDispatch>() : answer.toDispatch();
  if (!windows) return false;
  if (connect)
    sink.advise(windows.get());
  else
    sink.unadvise(windows.get());
  return true;
}

}  // namespace details

bool UserInterface::adviseExplorersEvents(bool connect) {
  return details::adviseCollection(application_.get(), L"Explorers", L"No application to get explorers collection.",
                                   *explorersEvents_.get(), connect);
}

bool UserInterface::adviseInspectorsEvents(bool connect) {
  return details::adviseCollection(application_.get(), L"Inspectors", L"No application to get inspectors collection.",
                                   *inspectorsEvents_.get(), connect);
}

// ---- Shutdown ----------------------------------------------------------------------

void UserInterface::releaseHostObjects() {
  if (nameSpace_) {
    detachAbConfig();
    for (FollowedObjects* list : {&builtInButtons_, &inspectors_, &explorers_, &syncObjects_})
      details::dropFollowed(*list);
    adviseInspectorsEvents(false);
    adviseExplorersEvents(false);
    // A failure here stops the core; the next run tries again.
    adviseNamespaceEvents(false);
    nameSpace_.reset();
    if (applicationEvents_->advised()) {
      try {
        applicationEvents_->unadvise(application_.get());
      } catch (const HResultException&) {
      }
    }
    applicationEvents_->forget();
    inspectorRibbons_.clear();
    explorerRibbon_.reset();
  }
  // Toolbars of windows still open stay until the object goes or their window closes.
  application_.reset();
}

// ---- Stores and the address book ---------------------------------------------------

ComRef<IGlobalConfig> UserInterface::getActualGlobalConfig(IDispatch* window) {
  Guid store;
  int status = 0;
  if (window)
    status = AddIn::Utils::getStoreGuid(AddIn::Utils::Window{window}, store);
  else if (nameSpace_)
    status = AddIn::Utils::getStoreGuid(AddIn::Utils::NameSpace{nameSpace_.get()}, store);
  if (status != 1) return {};
  const auto found = configs_.find(store);
  if (found == configs_.end() || !found->second.config) return {};
  return found->second.config.as<IGlobalConfig>(IID_IGlobalConfig);
}

void UserInterface::attachAbConfig(bool reset) {
  CLockGuard guard(&abLock_);
  if (reset) detachAbConfig();
  if (!abConfig_) config::AbConfigImpl::create(this, abLock_, abConfig_.put());
  for (auto& entry : configs_) {
    AddIn::Utils::StoreConfigEntry& store = entry.second;
    if (store.kind != AddIn::Utils::kStorePrivate || store.abAttached || !store.config) continue;
    ZEL_CHECK(store.config->setAbConfig(abConfig_.get()));
    store.abAttached = true;
  }
}

void UserInterface::detachAbConfig() {
  CLockGuard guard(&abLock_);
  if (!abConfig_) return;
  abConfig_->detach();
  for (auto& entry : configs_) {
    AddIn::Utils::StoreConfigEntry& store = entry.second;
    if (store.kind != AddIn::Utils::kStorePrivate || !store.abAttached || !store.config) continue;
    ZEL_CHECK(store.config->clearAbConfig());
    store.abAttached = false;
  }
  abConfig_.reset();
}

void UserInterface::addFolderToAddressBook(const SBinary* folderId, ULONG flags) {
  CLockGuard guard(&abLock_);
  if (nameSpace_ && hostSteps_) hostSteps_->addFolderToAddressBook(nameSpace_.get(), folderId, flags);
}

void UserInterface::showContactsInAddressBook() {
  CLockGuard guard(&abLock_);
  if (nameSpace_ && hostSteps_) hostSteps_->showContactsInAddressBook(nameSpace_.get());
}

void UserInterface::removeFolderFromAddressBook(const SBinary* folderId, const SBinary* storeId, ULONG flags) {
  CLockGuard guard(&abLock_);
  if (nameSpace_ && hostSteps_) hostSteps_->removeFolderFromAddressBook(nameSpace_.get(), folderId, storeId, flags);
}

void UserInterface::storeClosed(const GUID& storeKey) {
  CLockGuard guard(&abLock_);
  if (!abConfig_) return;
  const auto found = configs_.find(Guid(storeKey));
  if (found != configs_.end()) found->second.abAttached = false;
  for (const auto& entry : configs_)
    if (entry.second.kind == AddIn::Utils::kStorePrivate && entry.second.abAttached) return;
  // The last store has gone: a new call-back is made when one comes back.
  abConfig_->detach();
  abConfig_.reset();
}

AddIn::Utils::MsoVersion UserInterface::queryMsoApplicationVersion() const {
  if (!application_) ZEL_HERE.raise(E_POINTER);
  return AddIn::Utils::details::queryMsoApplicationVersion(application_.get());
}

HRESULT createUserInterface(REFIID riid, void** object) noexcept {
  if (!object) return E_POINTER;
  *object = nullptr;
  return comBoundary([&]() -> HRESULT {
    const ComRef<UserInterface> made = UserInterface::create();
    if (const auto& setup = details::userInterfaceSetup()) setup(*made.get());
    return made->QueryInterface(riid, object);
  });
}

}  // namespace addin
}  // namespace zelvo
