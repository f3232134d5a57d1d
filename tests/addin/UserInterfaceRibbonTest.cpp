// The ribbon as the host reaches it: documents by ribbon id and version, callbacks by name
// in any case, texts, the enabled and pressed rules on what the host shows, the commands
// behind the buttons and the invalidations after them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cwctype>

#include "addin/AddInUtils.h"
#include "store/reference/ReferenceStore.h"
#include "strings/Localization.h"
#include "strings/StringIds.h"
#include "tests/addin/UserInterfaceSupport.h"

namespace {

using namespace lifecycle_test;
using OutlookStandIn::StandIn;
using zelvo::addin::UserInterface;

VARIANT borrowed(IDispatch* object) {
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_DISPATCH;
  v.pdispVal = object;
  return v;
}

VARIANT boolean(bool value) {
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_BOOL;
  v.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
  return v;
}

class RibbonCallbacks : public ::testing::Test {
 protected:
  // A started add-in on a profile with one store of ours and a foreign one, its explorer
  // on our Inbox, with the explorer ribbon and one inspector ribbon loaded.
  void start(const std::string& version = "16.0.4266.1001", bool ownJunkCommands = false) {
    host_ = std::make_unique<StandIn>(
        OutlookStandIn::parseProfile("version " + version + "\n" + privateStore(1, true) + foreignStore(9)));
    host_->openExplorer(host_->folder(0, L"Inbox").get());
    ui_ = UserInterface::create(registry_.config());
    ui_->setHostSteps(steps_);
    ui_->setCommandDialogs(dialogs_);
    if (!ownJunkCommands) ui_->setSpamActions(spam_);
    ui_->setCommandLineSource([] { return std::wstring(L"OUTLOOK.EXE"); });
    const ComRef<IDispatch> comAddIn = host_->comAddIn(L"DravAddIn.UserInterface", L"");
    ASSERT_EQ(ui_->OnConnection(host_->application().get(), 0, comAddIn.get(), nullptr), S_OK);
    // The host asks the object for IDispatch and calls the callbacks by name there.
    callbacks_ = ui_.as<IDispatch>(IID_IDispatch);
  }
  void loadRibbons(bool explorer = true, size_t inspectors = 1) {
    if (explorer) {
      ASSERT_EQ(call(L"explorerOnLoad", {borrowed(host_->ribbonUI().get())}), S_OK);
    }
    for (size_t i = 0; i < inspectors; ++i)
      ASSERT_EQ(call(L"inspectorOnLoad", {borrowed(host_->ribbonUI().get())}), S_OK);
  }
  ComRef<IDispatch> activeExplorer() {
    VARIANT result;
    VariantInit(&result);
    EXPECT_EQ(invokeByName(host_->application().get(), L"ActiveExplorer", {}, &result), S_OK);
    return ComRef<IDispatch>::adopt(result.pdispVal);
  }
  ComRef<IDispatch> control(const std::wstring& id, IDispatch* context) {
    return host_->ribbonControl(id, L"", context);
  }
  HRESULT call(const std::wstring& name, std::vector<VARIANT> arguments, Variant* result = nullptr) {
    Variant local;
    return invokeByName(callbacks_.get(), name, std::move(arguments), result ? result->put() : local.put());
  }
  // A getter's answer for a control in the explorer.
  Variant ask(const std::wstring& callback, const std::wstring& controlId) {
    const ComRef<IDispatch> c = control(controlId, activeExplorer().get());
    Variant result;
    EXPECT_EQ(call(callback, {borrowed(c.get())}, &result), S_OK) << zelvo::testing::utf8(callback);
    return result;
  }
  std::vector<std::wstring> invalidationsAfter(const std::function<void()>& action) {
    const size_t before = host_->ribbonInvalidations().size();
    action();
    const auto all = host_->ribbonInvalidations();
    return std::vector<std::wstring>(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
  }

  std::shared_ptr<Log> log_ = std::make_shared<Log>();
  ScopedRegistry registry_;
  AnsweringMessageBox box_{log_};
  std::shared_ptr<RecordingSteps> steps_ = std::make_shared<RecordingSteps>(log_);
  std::shared_ptr<RecordingDialogs> dialogs_ = std::make_shared<RecordingDialogs>(log_);
  std::shared_ptr<ChosenSpam> spam_ = std::make_shared<ChosenSpam>(log_);
  std::unique_ptr<StandIn> host_;
  ComRef<UserInterface> ui_;
  ComRef<IDispatch> callbacks_;
};

// ---- Documents -------------------------------------------------------------------------

TEST_F(RibbonCallbacks, DocumentsGoByRibbonIdAndForReadInspectorsByVersion) {
  const struct {
    const char* version;
    const wchar_t* ribbonId;
    int resource;  // 0: none
  } cases[] = {
      {"16.0.1.2", L"Microsoft.Outlook.Explorer", 15000},        {"12.0.6.1", L"Microsoft.Outlook.Explorer", 15000},
      {"14.0.4760.1000", L"Microsoft.Outlook.Mail.Read", 15001}, {"16.0.1.2", L"Microsoft.Outlook.Post.Read", 15001},
      {"12.0.6.1", L"Microsoft.Outlook.Mail.Read", 15002},       {"16.0.1.2", L"Microsoft.Outlook.Read", 0},
      {"16.0.1.2", L"Microsoft.Outlook.Mail.Compose", 0},        {"16.0.1.2", L"microsoft.outlook.explorer", 0},
  };
  for (const auto& c : cases) {
    start(c.version);
    host_->clearCalls();
    const Variant id = Variant::fromText(c.ribbonId);
    BSTR xml = nullptr;
    ASSERT_EQ(ui_->GetCustomUI(id.get().bstrVal, &xml), S_OK) << zelvo::testing::utf8(c.ribbonId);
    const Variant owned = xml ? Variant::fromText(std::wstring(xml, SysStringLen(xml))) : Variant();
    SysFreeString(xml);
    if (c.resource == 0) {
      EXPECT_EQ(xml, nullptr) << zelvo::testing::utf8(c.ribbonId);
      continue;
    }
    const std::string_view expected = zelvo::addin::getRibbonXml(c.resource);
    EXPECT_EQ(owned.toText(), std::wstring(expected.begin(), expected.end())) << c.resource << " " << c.version;
    const auto calls = host_->calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), L"Application.Version"), c.resource == 15000 ? 0 : 1)
        << "the version is read where it decides, and anew each time";
  }
  BSTR* none = nullptr;
  EXPECT_EQ(ui_->GetCustomUI(nullptr, none), E_POINTER);
}

TEST_F(RibbonCallbacks, DocumentsAreAlsoReachedByNameOnTheirOwnFace) {
  start();
  const ComRef<IDispatch> documents = ui_.as<IDispatch>(zelvo::addin::IID_IRibbonExtensibility);
  Variant xml;
  ASSERT_EQ(invokeByName(documents.get(), L"getcustomui", {Variant::fromText(L"Microsoft.Outlook.Explorer").get()},
                         xml.put()),
            S_OK);
  EXPECT_EQ(xml.toText().size(), zelvo::addin::getRibbonXml(15000).size());
  DISPID id = 0;
  std::wstring name = L"GetCustomUI";
  LPOLESTR names[] = {&name[0]};
  EXPECT_EQ(callbacks_->GetIDsOfNames(IID_NULL, names, 1, 0, &id), DISP_E_UNKNOWNNAME)
      << "the callbacks' face has only the callbacks";
}

// ---- Names ----------------------------------------------------------------------------

TEST_F(RibbonCallbacks, EveryCallbackIsFoundByNameInAnyCase) {
  start();
  auto dispidOf = [&](std::wstring name) {
    LPOLESTR names[] = {&name[0]};
    DISPID id = 0;
    const HRESULT hr = callbacks_->GetIDsOfNames(IID_NULL, names, 1, 0, &id);
    return hr == S_OK ? id : static_cast<DISPID>(hr);
  };
  for (int dispid = 1; dispid <= zelvo::addin::kRibbonCallbackCount; ++dispid) {
    const std::wstring name = zelvo::addin::getRibbonCallbackName(dispid);
    std::wstring upper = name, lower = name;
    for (auto& c : upper) c = static_cast<wchar_t>(std::towupper(c));
    for (auto& c : lower) c = static_cast<wchar_t>(std::towlower(c));
    EXPECT_EQ(dispidOf(name), dispid);
    EXPECT_EQ(dispidOf(upper), dispid);
    EXPECT_EQ(dispidOf(lower), dispid);
  }
  // The XML's spellings.
  EXPECT_EQ(dispidOf(L"explorerOnGetButtonScreenTip"), 12);
  EXPECT_EQ(dispidOf(L"inspectorOnGetButtonSuperTip"), 15);
  EXPECT_EQ(dispidOf(L"explorerOnGetButtonTip"), static_cast<DISPID>(DISP_E_UNKNOWNNAME));
  EXPECT_EQ(dispidOf(L"OnConnection"), static_cast<DISPID>(DISP_E_UNKNOWNNAME));
}

// ---- Texts ------------------------------------------------------------------------------

TEST_F(RibbonCallbacks, LabelsAndTipsComeFromTheTablesAndLeaveUnknownsEmpty) {
  start();
  const struct {
    const wchar_t* control;
    unsigned label, screenTip, superTip;  // 0: no text
  } cases[] = {
      {L"tabZelvoHub", IDS_RIBBON_TAB, 0, 0},
      {L"grpInspectorSpam", IDS_RIBBON_GROUP_SPAM, 0, 0},
      {L"btnIsSpam", IDS_RIBBON_IS_SPAM, IDS_RIBBON_IS_SPAM, IDS_RIBBON_IS_SPAM_TIP},
      {L"btnOptionsLauncher", IDS_RIBBON_OPTIONS, IDS_RIBBON_OPTIONS, IDS_RIBBON_OPTIONS_TIP},
      {L"btnHelp", IDS_RIBBON_HELP, IDS_RIBBON_HELP, IDS_RIBBON_HELP_TIP},
      {L"box", 0, 0, 0},
      {L"BTNISSPAM", 0, 0, 0},
  };
  for (const auto& c : cases) {
    const std::pair<const wchar_t*, unsigned> asks[] = {
        {L"explorerOnGetLabel", c.label},
        {L"inspectorOnGetLabel", c.label},
        {L"explorerOnGetButtonScreentip", c.screenTip},
        {L"inspectorOnGetButtonScreenTip", c.screenTip},
        {L"explorerOnGetButtonSupertip", c.superTip},
        {L"inspectorOnGetButtonSupertip", c.superTip},
    };
    for (const auto& [callback, id] : asks) {
      const Variant text = ask(callback, c.control);
      if (id == 0)
        EXPECT_EQ(text.type(), VT_EMPTY) << zelvo::testing::utf8(c.control);
      else
        EXPECT_EQ(text.toText(), Localization::getString(id)) << zelvo::testing::utf8(callback);
    }
  }
}

TEST_F(RibbonCallbacks, GettersRefuseAMissingAnswerAndObjectsThatAreNoControl) {
  start();
  const ComRef<IDispatch> c = control(L"btnAbout", activeExplorer().get());
  std::vector<VARIANT> arguments = {borrowed(c.get())};
  std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
  DISPPARAMS params = {reversed.data(), nullptr, 1, 0};
  for (DISPID getter = 6; getter <= 16; ++getter)
    EXPECT_EQ(callbacks_->Invoke(getter, IID_NULL, 0, DISPATCH_METHOD, &params, nullptr, nullptr, nullptr),
              E_INVALIDARG)
        << getter;
  const ComRef<IDispatch> notAControl = host_->ribbonUI();
  EXPECT_EQ(call(L"explorerOnGetLabel", {borrowed(notAControl.get())}), E_INVALIDARG);
  EXPECT_EQ(call(L"explorerOnButtonAction", {borrowed(nullptr)}), E_INVALIDARG);
  EXPECT_EQ(call(L"explorerOnGetButtonPressed", {borrowed(notAControl.get())}), E_POINTER);
  Variant image;
  EXPECT_EQ(
      call(L"explorerOnGetButtonImage", {borrowed(control(L"tabZelvoHub", activeExplorer().get()).get())}, &image),
      S_OK);
  EXPECT_EQ(image.type(), VT_EMPTY) << "a control without an image gets none";
}

// ---- Enabled and pressed ------------------------------------------------------------------

struct EnabledCase {
  const char* name;
  bool foreignFolder;
  bool folderAllowed, selectionIsSpam, selectionNotSpam;
  // btnIsSpam, btnNotSpam, btnOutOfOffice, btnOptions, btnDelegation, btnAbout, btnHelp
  std::vector<bool> enabled;
};

void PrintTo(const EnabledCase& c, std::ostream* os) { *os << c.name; }

class EnabledRules : public RibbonCallbacks, public ::testing::WithParamInterface<EnabledCase> {};

TEST_P(EnabledRules, FollowTheFolderAndTheSelection) {
  const EnabledCase& c = GetParam();
  start();
  if (c.foreignFolder) host_->openExplorer(host_->folder(1, L"Inbox").get());
  spam_->folderAllowed = c.folderAllowed;
  spam_->selectionIsSpam = c.selectionIsSpam;
  spam_->selectionNotSpam = c.selectionNotSpam;
  const wchar_t* controls[] = {L"btnIsSpam",     L"btnNotSpam", L"btnOutOfOffice", L"btnOptions",
                               L"btnDelegation", L"btnAbout",   L"btnHelp"};
  for (size_t i = 0; i < std::size(controls); ++i)
    EXPECT_EQ(ask(L"explorerOnGetButtonEnabled", controls[i]).toBool(), c.enabled[i])
        << zelvo::testing::utf8(controls[i]);
}

INSTANTIATE_TEST_SUITE_P(
    States, EnabledRules,
    ::testing::Values(
        EnabledCase{"OneGoodMessage", false, true, true, false, {true, false, true, true, true, true, true}},
        EnabledCase{"OneJunkMessage", false, true, false, true, {false, true, true, true, true, true, true}},
        EnabledCase{"Several", false, true, true, true, {true, true, true, true, true, true, true}},
        EnabledCase{"FolderRefused", false, false, true, true, {false, false, true, true, true, true, true}},
        EnabledCase{"ForeignFolder", true, false, false, false, {false, false, false, false, false, true, true}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(RibbonCallbacks, InspectorButtonsFollowTheItemWithoutAFolderTest) {
  start();
  host_->openInspector(host_->mailItem(L"00").get());
  VARIANT inspector;
  VariantInit(&inspector);
  ASSERT_EQ(invokeByName(host_->application().get(), L"ActiveInspector", {}, &inspector), S_OK);
  const ComRef<IDispatch> window = ComRef<IDispatch>::adopt(inspector.pdispVal);
  spam_->folderAllowed = false;
  spam_->itemNotSpam = true;
  const std::pair<const wchar_t*, bool> cases[] = {{L"btnIsSpam", false}, {L"btnNotSpam", true}, {L"btnOptions", true}};
  for (const auto& [id, enabled] : cases) {
    Variant result;
    ASSERT_EQ(call(L"inspectorOnGetButtonEnabled", {borrowed(control(id, window.get()).get())}, &result), S_OK);
    EXPECT_EQ(result.toBool(), enabled) << zelvo::testing::utf8(id);
  }
  // The explorer's rule wants an explorer.
  EXPECT_EQ(call(L"explorerOnGetButtonEnabled", {borrowed(control(L"btnAbout", window.get()).get())}), E_INVALIDARG);
}

TEST_F(RibbonCallbacks, TheAddInsOwnJunkCommandsAskTheStoreAboutTheFolder) {
  for (const uint32_t flags : {0u, 1u}) {
    start("16.0.4266.1001", true);
    ReferenceStore::Mailbox mailbox = host_->store(0).mailbox();
    mailbox.findFolder(L"Inbox")->folderFlags = flags;
    host_->store(0).setMailbox(mailbox);
    EXPECT_FALSE(ask(L"explorerOnGetButtonEnabled", L"btnIsSpam").toBool()) << "nothing selected";
    host_->play(
        OutlookStandIn::parseActions("select " + hexOf(entryIdOf(1, 5, 7)) + " " + hexOf(entryIdOf(1, 5, 8)) + "\n"));
    for (const wchar_t* id : {L"btnIsSpam", L"btnNotSpam"})
      EXPECT_EQ(ask(L"explorerOnGetButtonEnabled", id).toBool(), flags == 1) << flags;
  }
}

TEST_F(RibbonCallbacks, TheStoreInFrontIsTheStoreOfTheWindowInFront) {
  start();
  const ComRef<IGlobalConfig> own = ui_->getActualGlobalConfig();
  ASSERT_TRUE(own);
  EXPECT_EQ(own.get(), host_->store(0).globalConfig().get());
  EXPECT_EQ(ui_->getActualGlobalConfig(activeExplorer().get()).get(), own.get());
  host_->openExplorer(host_->folder(1, L"Inbox").get());
  EXPECT_FALSE(ui_->getActualGlobalConfig()) << "a folder of another provider";
  host_->closeExplorer();
  host_->closeExplorer();
  EXPECT_FALSE(ui_->getActualGlobalConfig()) << "no window open";
  log_->clear();
  ui_->commandOptions();
  EXPECT_EQ(*log_, Log{"options without a store"}) << "the dialog gets the null config and copes";
}

TEST_F(RibbonCallbacks, OnlyTheOutOfOfficeToggleIsPressedAndAsTheServerSays) {
  start();
  for (bool on : {false, true}) {
    steps_->outOfOfficeOn = on;
    EXPECT_EQ(ask(L"explorerOnGetButtonPressed", L"btnOutOfOffice").toBool(), on);
    EXPECT_EQ(ask(L"explorerOnGetButtonPressed", L"btnOptions").type(), VT_EMPTY);
  }
}

// ---- Commands and invalidations ---------------------------------------------------------

struct CommandCase {
  const char* name;
  const wchar_t* callback;
  const wchar_t* control;
  bool markSucceeds;
  int dialogAnswer;
  Log log;
  std::vector<std::wstring> invalidations;
};

void PrintTo(const CommandCase& c, std::ostream* os) { *os << c.name; }

class Commands : public RibbonCallbacks, public ::testing::WithParamInterface<CommandCase> {};

TEST_P(Commands, RunTheirCommandAndInvalidateWhatMayHaveChanged) {
  const CommandCase& c = GetParam();
  start();
  loadRibbons();
  spam_->markSucceeds = c.markSucceeds;
  dialogs_->answer = c.dialogAnswer;
  log_->clear();
  const ComRef<IDispatch> ctl = control(c.control, activeExplorer().get());
  const auto invalidated = invalidationsAfter([&] {
    std::vector<VARIANT> arguments = {borrowed(ctl.get())};
    if (std::wstring(c.callback) == L"explorerOnToggleButtonAction") arguments.push_back(boolean(true));
    EXPECT_EQ(call(c.callback, arguments), S_OK);
  });
  EXPECT_EQ(*log_, c.log);
  EXPECT_EQ(invalidated, c.invalidations);
}

const std::vector<std::wstring> kAllSpamButtons = {L"btnNotSpam", L"btnIsSpam", L"btnNotSpam", L"btnIsSpam"};

INSTANTIATE_TEST_SUITE_P(
    Buttons, Commands,
    ::testing::Values(
        CommandCase{"Spam", L"explorerOnButtonAction", L"btnIsSpam", true, IDOK, {"mark as spam"}, kAllSpamButtons},
        CommandCase{"NotSpamFromInspector",
                    L"inspectorOnButtonAction",
                    L"btnNotSpam",
                    true,
                    IDOK,
                    {"mark as not spam"},
                    kAllSpamButtons},
        CommandCase{"SpamRefused", L"explorerOnButtonAction", L"btnIsSpam", false, IDOK, {"mark as spam"}, {}},
        CommandCase{"OptionsOk",
                    L"explorerOnButtonAction",
                    L"btnOptions",
                    true,
                    IDOK,
                    {"options on a store"},
                    {L"btnOutOfOffice"}},
        CommandCase{"LauncherCancelled",
                    L"explorerOnButtonAction",
                    L"btnOptionsLauncher",
                    true,
                    IDCANCEL,
                    {"options on a store"},
                    {}},
        CommandCase{
            "Delegation", L"explorerOnButtonAction", L"btnDelegation", true, IDOK, {"delegation on a store"}, {}},
        CommandCase{"About", L"explorerOnButtonAction", L"btnAbout", true, IDOK, {"about"}, {}},
        CommandCase{"Help", L"explorerOnButtonAction", L"btnHelp", true, IDOK, {"help"}, {}},
        CommandCase{"OutOfOfficeAsButton", L"explorerOnButtonAction", L"btnOutOfOffice", true, IDOK, {}, {}},
        CommandCase{"OutOfOfficeToggle",
                    L"explorerOnToggleButtonAction",
                    L"btnOutOfOffice",
                    true,
                    IDOK,
                    {"outOfOffice"},
                    {L"btnOutOfOffice"}},
        CommandCase{"OtherToggle", L"explorerOnToggleButtonAction", L"btnOptions", true, IDOK, {}, {}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(RibbonCallbacks, SpamInvalidationReachesInspectorRibbonsEvenWithoutAnExplorerRibbon) {
  start();
  loadRibbons(false, 2);
  const ComRef<IDispatch> ctl = control(L"btnIsSpam", activeExplorer().get());
  const auto invalidated =
      invalidationsAfter([&] { EXPECT_EQ(call(L"explorerOnButtonAction", {borrowed(ctl.get())}), S_OK); });
  EXPECT_EQ(invalidated, kAllSpamButtons);
  const auto none = invalidationsAfter([&] { ui_->invalidateStoreControls(); });
  EXPECT_TRUE(none.empty()) << "the store controls live on the explorer ribbon only";
}

TEST_F(RibbonCallbacks, TakenOverHostCommandsSetCancelDefaultThroughTheReference) {
  start();
  const ComRef<IDispatch> ctl = control(L"RulesAndAlerts", activeExplorer().get());
  VARIANT_BOOL cancel = VARIANT_FALSE;
  VARIANT byRef;
  VariantInit(&byRef);
  byRef.vt = VT_BOOL | VT_BYREF;
  byRef.pboolVal = &cancel;
  EXPECT_EQ(call(L"rulesAndAlertsCommandOnAction", {borrowed(ctl.get()), byRef}), S_OK);
  EXPECT_EQ(cancel, VARIANT_TRUE);
  cancel = VARIANT_FALSE;
  EXPECT_EQ(call(L"toggleOnlineCommandOnAction", {borrowed(ctl.get()), boolean(true), byRef}), S_OK);
  EXPECT_EQ(cancel, VARIANT_TRUE);
  EXPECT_EQ(*log_, (Log{"configureActiveExplorer", "updateOfflineState", "adviseSyncObjectEvents",
                        "showContactsInAddressBook", "remindOutOfOffice", "rulesAndAlerts", "toggleOnline on"}));
}

}  // namespace
