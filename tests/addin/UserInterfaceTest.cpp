// The add-in's life cycle against the host stand-in and reference stores: connection
// modes, start-up in order, a host run as an automation server, profiles without our
// stores, the default-store warning, the address-book call-back, shutdown run twice, and
// the module's object count.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "addin/AddInModule.h"
#include "store/reference/ReferenceStore.h"
#include "strings/Localization.h"
#include "strings/StringIds.h"
#include "tests/addin/UserInterfaceSupport.h"

namespace {

using namespace lifecycle_test;
using OutlookStandIn::StandIn;
using zelvo::addin::UserInterface;

size_t countCalls(const StandIn& host, const std::wstring& call) {
  const auto calls = host.calls();
  return static_cast<size_t>(std::count(calls.begin(), calls.end(), call));
}

class Lifecycle : public ::testing::Test {
 protected:
  StandIn& host(const std::string& profileText) {
    host_ = std::make_unique<StandIn>(OutlookStandIn::parseProfile("version 16.0.4266.1001\n" + profileText));
    return *host_;
  }
  // A new add-in with every seam recorded, run on the command line given.
  UserInterface& addIn(const std::wstring& commandLine = L"OUTLOOK.EXE /profile Work") {
    ui_ = UserInterface::create(registry_.config());
    ui_->setHostSteps(steps_);
    ui_->setCommandDialogs(dialogs_);
    ui_->setSpamActions(spam_);
    ui_->setCommandLineSource([commandLine] { return commandLine; });
    return *ui_.get();
  }
  HRESULT connect(int mode) {
    const ComRef<IDispatch> comAddIn = host_->comAddIn(L"DravAddIn.UserInterface", L"Zelvo Mail Bridge");
    return ui_->OnConnection(host_->application().get(), mode, comAddIn.get(), nullptr);
  }
  bool messageShown() const { return std::count(log_->begin(), log_->end(), "message") > 0; }

  std::shared_ptr<Log> log_ = std::make_shared<Log>();
  ScopedRegistry registry_;
  AnsweringMessageBox box_{log_};
  std::shared_ptr<RecordingSteps> steps_ = std::make_shared<RecordingSteps>(log_);
  std::shared_ptr<RecordingDialogs> dialogs_ = std::make_shared<RecordingDialogs>(log_);
  std::shared_ptr<ChosenSpam> spam_ = std::make_shared<ChosenSpam>(log_);
  std::unique_ptr<StandIn> host_;
  ComRef<UserInterface> ui_;
};

// ---- Connection modes -------------------------------------------------------------

struct ModeCase {
  int mode;
  HRESULT connectResult;
  bool startedAtConnection;
  bool startedAtStartupComplete;
};

void PrintTo(const ModeCase& c, std::ostream* os) { *os << "mode " << c.mode; }

class ConnectModes : public Lifecycle, public ::testing::WithParamInterface<ModeCase> {};

TEST_P(ConnectModes, StartHappensOnceInTheStepOfItsMode) {
  const ModeCase& c = GetParam();
  host(privateStore(1, true));
  UserInterface& ui = addIn();
  EXPECT_EQ(connect(c.mode), c.connectResult);
  EXPECT_TRUE(ui.ribbonAllowed());
  EXPECT_EQ(ui.started(), c.startedAtConnection);
  EXPECT_TRUE(ui.addInInstance()) << "the host's record of the add-in is kept";
  EXPECT_EQ(ui.OnStartupComplete(nullptr), S_OK);
  EXPECT_EQ(ui.started(), c.startedAtStartupComplete);
  EXPECT_EQ(std::count(log_->begin(), log_->end(), "configureActiveExplorer"), c.startedAtStartupComplete ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(Modes, ConnectModes,
                         ::testing::Values(ModeCase{0, S_OK, true, true}, ModeCase{1, S_FALSE, false, true},
                                           ModeCase{2, S_FALSE, false, false}, ModeCase{3, S_FALSE, false, false}),
                         [](const auto& info) { return "Mode" + std::to_string(info.param.mode); });

// ---- Profiles without a store of the product -----------------------------------------

struct EmptyProfileCase {
  const char* name;
  std::string profile;
};

void PrintTo(const EmptyProfileCase& c, std::ostream* os) { *os << c.name; }

class ProfilesWithoutOurStores : public Lifecycle, public ::testing::WithParamInterface<EmptyProfileCase> {};

TEST_P(ProfilesWithoutOurStores, LeaveTheAddInLoadedAndSilent) {
  host(GetParam().profile);
  UserInterface& ui = addIn();
  EXPECT_EQ(connect(1), S_FALSE);
  EXPECT_EQ(ui.OnStartupComplete(nullptr), S_OK);
  EXPECT_FALSE(ui.ribbonAllowed());
  EXPECT_FALSE(ui.started());
  EXPECT_FALSE(ui.nameSpace());
  BSTR xml = reinterpret_cast<BSTR>(1);
  EXPECT_EQ(ui.GetCustomUI(Variant::fromText(L"Microsoft.Outlook.Explorer").get().bstrVal, &xml), S_OK);
  EXPECT_EQ(xml, nullptr) << "no ribbon at all";
  EXPECT_FALSE(messageShown());
  EXPECT_EQ(countCalls(*host_, L"ConnectionPoint.Advise"), 0u) << "no event is advised";
  EXPECT_TRUE(log_->empty());
  EXPECT_EQ(ui.OnBeginShutdown(nullptr), S_OK);
  EXPECT_EQ(ui.OnDisconnection(1, nullptr), S_OK);
}

INSTANTIATE_TEST_SUITE_P(Profiles, ProfilesWithoutOurStores,
                         ::testing::Values(EmptyProfileCase{"Empty", ""},
                                           EmptyProfileCase{"ForeignOnly", foreignStore(9, true)},
                                           EmptyProfileCase{"PublicWithoutPrivate", publicStore(1, 2)}),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- The automation server ----------------------------------------------------------

TEST(CommandLine, EmbeddingIsFoundInAnyCaseAnywhere) {
  const struct {
    const wchar_t* line;
    bool embedded;
  } cases[] = {
      {L"\"C:\\Office\\OUTLOOK.EXE\" -Embedding", true},
      {L"OUTLOOK.EXE -EMBEDDING", true},
      {L"outlook.exe -embeddingX /profile A", true},
      {L"OUTLOOK.EXE /embedding", false},
      {L"OUTLOOK.EXE -embed", false},
      {L"", false},
  };
  for (const auto& c : cases)
    EXPECT_EQ(zelvo::addin::commandLineRunsEmbedded(c.line), c.embedded) << zelvo::testing::utf8(c.line);
}

TEST_F(Lifecycle, AnAutomationServerBindsTheNamespaceButNeverStarts) {
  host(privateStore(1, true));
  UserInterface& ui = addIn(L"\"C:\\Office\\OUTLOOK.EXE\" -Embedding");
  EXPECT_EQ(connect(1), S_FALSE);
  EXPECT_TRUE(ui.ribbonAllowed());
  EXPECT_TRUE(ui.nameSpace());
  EXPECT_EQ(ui.OnStartupComplete(nullptr), S_OK);
  EXPECT_FALSE(ui.started());
  EXPECT_EQ(countCalls(*host_, L"ConnectionPoint.Advise"), 0u);
  EXPECT_FALSE(host_->store(0).abConfig()) << "no address book change";
  EXPECT_TRUE(log_->empty());
  EXPECT_EQ(ui.OnBeginShutdown(nullptr), S_OK);
  EXPECT_EQ(ui.OnDisconnection(1, nullptr), S_OK);
  EXPECT_FALSE(ui.nameSpace());
}

// ---- Start-up -----------------------------------------------------------------------

TEST_F(Lifecycle, StartUpRunsItsStepsInOrder) {
  host(privateStore(1) + foreignStore(9, true));
  UserInterface& ui = addIn();
  ASSERT_EQ(connect(1), S_FALSE);
  host_->clearCalls();
  ASSERT_EQ(ui.OnStartupComplete(nullptr), S_OK);

  // The four sinks are advised first, on the application, namespace and collections.
  std::vector<std::wstring> finds;
  for (const auto& call : host_->calls())
    if (call.find(L".FindConnectionPoint") != std::wstring::npos) finds.push_back(call);
  EXPECT_EQ(finds, (std::vector<std::wstring>{L"Application.FindConnectionPoint", L"NameSpace.FindConnectionPoint",
                                              L"Explorers.FindConnectionPoint", L"Inspectors.FindConnectionPoint"}));
  for (const auto* sink : {&ui.applicationSink(), &ui.namespaceSink(), &ui.explorersSink(), &ui.inspectorsSink()})
    EXPECT_TRUE(sink->advised());

  const Log expected = {
      "configureActiveExplorer", "updateOfflineState", "adviseSyncObjectEvents", "showContactsInAddressBook", "message",
      "remindOutOfOffice"};
  EXPECT_EQ(*log_, expected);
  EXPECT_TRUE(host_->store(0).abConfig()) << "the call-back is handed to the private store";
  EXPECT_TRUE(ui.started());
}

TEST_F(Lifecycle, TheLifeCycleIsAlsoReachedByNameOnItsOwnFace) {
  host(privateStore(1, true));
  UserInterface& ui = addIn();
  const ComRef<IDispatch> lifeCycle = ui_.as<IDispatch>(zelvo::addin::IID_IDTExtensibility2);
  const ComRef<IDispatch> application = host_->application();
  VARIANT app, mode, instance, custom;
  for (VARIANT* v : {&app, &mode, &instance, &custom}) VariantInit(v);
  app.vt = VT_DISPATCH;
  app.pdispVal = application.get();
  mode.vt = VT_I4;
  mode.lVal = 1;
  instance.vt = VT_DISPATCH;
  instance.pdispVal = nullptr;
  Variant result;
  EXPECT_EQ(invokeByName(lifeCycle.get(), L"onconnection", {app, mode, instance, custom}, result.put()), S_FALSE)
      << "the answer of the vtable call, success codes included";
  EXPECT_EQ(invokeByName(lifeCycle.get(), L"OnStartupComplete", {custom}, result.put()), S_OK);
  EXPECT_TRUE(ui.started());
  EXPECT_EQ(invokeByName(lifeCycle.get(), L"OnAddInsUpdate", {custom}, result.put()), S_OK);
  EXPECT_EQ(invokeByName(lifeCycle.get(), L"OnBeginShutdown", {custom}, result.put()), S_OK);
  EXPECT_FALSE(ui.nameSpace());
  EXPECT_EQ(invokeByName(lifeCycle.get(), L"explorerOnLoad", {app}, result.put()), DISP_E_UNKNOWNNAME)
      << "the callbacks have a face of their own";
}

TEST_F(Lifecycle, ASecondNamespaceBindingDoesNotTouchTheHost) {
  host(privateStore(1, true));
  UserInterface& ui = addIn();
  ASSERT_EQ(connect(1), S_FALSE);
  host_->clearCalls();
  EXPECT_TRUE(ui.useValidNamespaceOnly());
  EXPECT_TRUE(host_->calls().empty());
}

TEST_F(Lifecycle, AFailingFirstStepLeavesTheAddInUnstartedAndReachesTheHost) {
  host(privateStore(1, true));
  UserInterface& ui = addIn();
  host_->failNext(L"Advise", CONNECT_E_ADVISELIMIT);
  EXPECT_EQ(connect(0), CONNECT_E_ADVISELIMIT);
  EXPECT_FALSE(ui.started());
  EXPECT_TRUE(ui.ribbonAllowed());
  EXPECT_TRUE(log_->empty()) << "nothing after the failed step ran";
}

// ---- The default-store warning ------------------------------------------------------

struct WarningCase {
  const char* name;
  bool productStoreIsDefault;
  int storedCheck;  // -1: no value
  bool tick;
  bool warned;
  bool checkAfter;
};

void PrintTo(const WarningCase& c, std::ostream* os) { *os << c.name; }

class DefaultStoreWarning : public Lifecycle, public ::testing::WithParamInterface<WarningCase> {};

TEST_P(DefaultStoreWarning, ShowsOnceUnlessToldNotTo) {
  const WarningCase& c = GetParam();
  host(privateStore(1, c.productStoreIsDefault) + foreignStore(9, !c.productStoreIsDefault));
  if (c.storedCheck >= 0) zelvo::config::setCheckDefaultStore(c.storedCheck != 0, registry_.config());
  box_.tick = c.tick;
  UserInterface& ui = addIn();
  ASSERT_EQ(connect(1), S_FALSE);
  host_->clearCalls();
  ASSERT_EQ(ui.OnStartupComplete(nullptr), S_OK);
  ASSERT_EQ(box_.shown.size(), c.warned ? 1u : 0u);
  if (c.warned) {
    EXPECT_EQ(box_.shown[0].text, Localization::getString(IDS_DEFAULT_STORE_WARNING) + L"\n\n\n");
    EXPECT_EQ(box_.shown[0].caption, Localization::getString(IDS_MESSAGE_TITLE));
    EXPECT_EQ(box_.shown[0].checkText, Localization::getString(IDS_DEFAULT_STORE_DONT_WARN));
    EXPECT_EQ(box_.shown[0].style, static_cast<UINT>(MB_OK | MB_ICONEXCLAMATION));
  }
  EXPECT_EQ(zelvo::config::getCheckDefaultStore(registry_.config()), c.checkAfter);
  // Told not to check, the add-in doesn't even look for the default store.
  if (c.storedCheck == 0) {
    EXPECT_EQ(countCalls(*host_, L"IMAPITable.Restrict"), 0u);
  }
  EXPECT_TRUE(ui.started());
}

INSTANTIATE_TEST_SUITE_P(Cases, DefaultStoreWarning,
                         ::testing::Values(WarningCase{"OursIsDefault", true, -1, false, false, true},
                                           WarningCase{"ForeignDefault", false, -1, false, true, true},
                                           WarningCase{"ForeignDefaultTicked", false, -1, true, true, false},
                                           WarningCase{"ForeignDefaultCheckOn", false, 1, false, true, true},
                                           WarningCase{"ToldNotToCheck", false, 0, false, false, false}),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- The address-book call-back -----------------------------------------------------

TEST_F(Lifecycle, TheCallBackGoesToEachPrivateStoreAndLeavesWithTheLast) {
  // Two accounts; the public store of the first shares its config and is not attached.
  host(privateStore(1, true) + publicStore(1, 3) + privateStore(2));
  UserInterface& ui = addIn();
  ASSERT_EQ(connect(0), S_OK);
  const ComRef<IAbConfig> first = host_->store(0).abConfig();
  const ComRef<IAbConfig> second = host_->store(2).abConfig();
  ASSERT_TRUE(first && second);
  EXPECT_EQ(first.get(), second.get()) << "one call-back for all stores";
  EXPECT_FALSE(host_->store(1).abConfig()) << "public stores get none";

  // The store's requests reach the address book through the add-in.
  log_->clear();
  EXPECT_EQ(first->showContacts(), S_OK);
  EXPECT_EQ(first->addFolder(nullptr, 0), S_OK);
  EXPECT_EQ(first->removeFolder(nullptr, nullptr, 0), S_OK);
  EXPECT_EQ(*log_, (Log{"showContactsInAddressBook", "addFolderToAddressBook", "removeFolderFromAddressBook"}));

  GUID key1 = {};
  std::memcpy(&key1, guidOf(storeKey(1)).bytes(), sizeof key1);
  GUID key2 = {};
  std::memcpy(&key2, guidOf(storeKey(2)).bytes(), sizeof key2);
  EXPECT_EQ(first->storeClosed(key1), S_OK);
  EXPECT_TRUE(ui.abConfigAttached()) << "the second store still holds it";
  EXPECT_EQ(first->storeClosed(key2), S_OK);
  EXPECT_FALSE(ui.abConfigAttached()) << "gone with the last store";
  log_->clear();
  EXPECT_EQ(first->showContacts(), S_OK);
  EXPECT_TRUE(log_->empty()) << "a detached call-back reaches nobody";

  // A folder switch attaches again, with a new object.
  ui.attachAbConfig(false);
  EXPECT_TRUE(ui.abConfigAttached());
  EXPECT_NE(host_->store(0).abConfig().get(), first.get());
}

// ---- Shutdown ------------------------------------------------------------------------

TEST_F(Lifecycle, ShutdownTwiceReleasesOnceAndLeavesNothingAdvised) {
  host(privateStore(1, true));
  UserInterface& ui = addIn();
  ASSERT_EQ(connect(0), S_OK);
  const ComRef<IAbConfig> callBack = host_->store(0).abConfig();
  ASSERT_TRUE(callBack);
  host_->clearCalls();
  EXPECT_EQ(ui.OnBeginShutdown(nullptr), S_OK);
  EXPECT_FALSE(ui.nameSpace());
  EXPECT_FALSE(ui.application());
  EXPECT_EQ(countCalls(*host_, L"ConnectionPoint.Unadvise"), 4u);
  EXPECT_FALSE(host_->store(0).abConfig()) << "the store has been told to let go";
  host_->clearCalls();
  EXPECT_EQ(ui.OnDisconnection(1, nullptr), S_OK);
  EXPECT_TRUE(host_->calls().empty()) << "the second run finds nothing to release";
  EXPECT_FALSE(ui.addInInstance());
  for (const auto* sink : {&ui.applicationSink(), &ui.namespaceSink(), &ui.explorersSink(), &ui.inspectorsSink()})
    EXPECT_EQ(sink->cookie(), zelvo::addin::HostEventSink::kNotAdvised);
  log_->clear();
  EXPECT_EQ(callBack->showContacts(), S_OK);
  EXPECT_TRUE(log_->empty());
}

TEST_F(Lifecycle, AShutdownStoppedByTheNamespaceIsFinishedByTheNextRun) {
  host(privateStore(1, true));
  UserInterface& ui = addIn();
  ASSERT_EQ(connect(0), S_OK);
  // No window is followed: the collections are unadvised first, then the namespace.
  host_->failNext(L"Unadvise", S_OK);
  host_->failNext(L"Unadvise", S_OK);
  host_->failNext(L"Unadvise", RPC_E_DISCONNECTED);
  EXPECT_EQ(ui.OnBeginShutdown(nullptr), RPC_E_DISCONNECTED);
  EXPECT_TRUE(ui.nameSpace()) << "the core stopped at the namespace";
  EXPECT_TRUE(ui.namespaceSink().advised());
  EXPECT_EQ(ui.OnDisconnection(1, nullptr), S_OK);
  EXPECT_FALSE(ui.nameSpace());
  EXPECT_FALSE(ui.namespaceSink().advised());
}

// ---- Event sinks ---------------------------------------------------------------------

TEST_F(Lifecycle, ASinkRunsItsHandlersDropsTheirFailuresAndAdvisesOnce) {
  host(privateStore(1, true));
  const ComRef<IDispatch> application = host_->application();
  const ComRef<zelvo::addin::HostEventSink> sink =
      zelvo::addin::HostEventSink::create(OutlookStandIn::IID_ApplicationEvents);
  int startups = 0;
  sink->on(OutlookStandIn::EventId::Startup, [&](const DISPPARAMS&) {
    ++startups;
    ZEL_HERE.raise(E_UNEXPECTED);
  });
  sink->advise(application.get());
  EXPECT_TRUE(sink->advised());
  try {
    sink->advise(application.get());
    ADD_FAILURE() << "a second advise is refused";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), E_FAIL);
  }
  host_->play(OutlookStandIn::parseActions("startup\nquit\n"));
  EXPECT_EQ(startups, 1) << "Quit has no handler and is ignored";
  DISPPARAMS none = {nullptr, nullptr, 0, 0};
  EXPECT_EQ(
      sink->Invoke(OutlookStandIn::EventId::Startup, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr),
      S_OK)
      << "the host never sees the handler's failure";
  sink->on(OutlookStandIn::EventId::Startup, nullptr);
  sink->unadvise(application.get());
  EXPECT_EQ(sink->cookie(), zelvo::addin::HostEventSink::kNotAdvised);
  host_->play(OutlookStandIn::parseActions("startup\n"));
  EXPECT_EQ(startups, 2);
}

// ---- Version decisions ---------------------------------------------------------------

TEST(VersionDecisions, FollowTheHostsMajorVersion) {
  const struct {
    ULONG major;
    bool inspectorBar, ownMenus, optionsPages, suppressible;
  } cases[] = {
      {9, true, true, true, false},     {11, true, true, true, false},   {12, false, true, true, false},
      {14, false, false, false, false}, {15, false, false, false, true}, {16, false, false, false, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(zelvo::addin::inspectorGetsCommandBar(c.major), c.inspectorBar) << c.major;
    EXPECT_EQ(zelvo::addin::explorerGetsOwnMenus(c.major), c.ownMenus) << c.major;
    EXPECT_EQ(zelvo::addin::optionsDialogTakesPages(c.major), c.optionsPages) << c.major;
    EXPECT_EQ(zelvo::addin::syncObjectMayBeSuppressed(c.major), c.suppressible) << c.major;
  }
}

// ---- The module ----------------------------------------------------------------------

TEST(Module, LocationIsThePathUpToTheLastBackslash) {
  EXPECT_EQ(zelvo::addin::moduleLocationOf(L"C:\\Program Files\\Zelvo\\DravAddIn.dll"), L"C:\\Program Files\\Zelvo\\");
  EXPECT_EQ(zelvo::addin::moduleLocationOf(L"\\\\server\\share\\a.dll"), L"\\\\server\\share\\");
  EXPECT_EQ(zelvo::addin::moduleLocationOf(L"C:\\"), L"C:\\");
  try {
    zelvo::addin::moduleLocationOf(L"DravAddIn.dll");
    ADD_FAILURE() << "a path without a backslash has no location";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), E_UNEXPECTED);
  }
}

TEST(Module, CountsEveryLiveObjectItHandsOut) {
  auto& module = zelvo::addin::AddInModule::instance();
  const long before = module.lockCount();
  const struct {
    const IID* iid;
    HRESULT result;
  } cases[] = {
      {&IID_IUnknown, S_OK},
      {&IID_IDispatch, S_OK},
      {&zelvo::addin::IID_IDTExtensibility2, S_OK},
      {&zelvo::addin::IID_IRibbonExtensibility, S_OK},
      {&zelvo::addin::IID_IRibbonCallback, S_OK},
      {&IID_IStream, E_NOINTERFACE},
  };
  for (const auto& c : cases) {
    IUnknown* object = reinterpret_cast<IUnknown*>(1);
    EXPECT_EQ(zelvo::addin::createUserInterface(*c.iid, reinterpret_cast<void**>(&object)), c.result);
    if (FAILED(c.result)) {
      EXPECT_EQ(object, nullptr);
      EXPECT_EQ(module.lockCount(), before) << "a refused object is gone at once";
      continue;
    }
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(module.lockCount(), before + 1);
    ComRef<IUnknown>::adopt(object).reset();
    EXPECT_EQ(module.lockCount(), before);
  }
  EXPECT_EQ(zelvo::addin::createUserInterface(IID_IUnknown, nullptr), E_POINTER);
}

}  // namespace
