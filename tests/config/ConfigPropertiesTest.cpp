// The store's data object as the host and the options pages use it: through IDispatch,
// against the reference store and its injected failures.
#include <gtest/gtest.h>

#include <functional>

#include "config/ConfigProperties.h"
#include "store/reference/ReferenceStore.h"
#include "tests/config/DataObjectsSupport.h"
#include "tests/store/StoreTestSupport.h"

using namespace zelvo::config;
using datatest::call;
using datatest::get;
using datatest::HostObject;
using ReferenceStore::Operation;

namespace {

const std::wstring kScript = L"#!1 Mine\r\nif true \r\n{\r\n  keep;\r\n}\r\n";

ReferenceStore::Mailbox optionsMailbox() {
  ReferenceStore::Mailbox m;
  m.script = kScript;
  m.sender = {L"Default", L"me@example.com", L"Me", L"me@example.com", L"", L""};
  m.delegates = {{4, L"tom@example.com", L"Tom", true}};
  m.nextDelegateId = 10;
  return m;
}

class ConfigPropertiesTest : public storetest::StoreTest {
 protected:
  ReferenceStore::Store store{optionsMailbox()};
  datatest::ScopedRegistry registry;
  ComRef<HostObject> nameSpace = ComRef<HostObject>::adopt(new HostObject);
  ComRef<ConfigProperties> object = make();

  ComRef<ConfigProperties> make(GlobalConfigsSource discovery = {}) {
    return ComRef<ConfigProperties>::adopt(new ConfigProperties(std::move(discovery), &registry.config()));
  }
  IDispatch* data() const { return static_cast<IDispatch*>(static_cast<_ConfigProperties*>(object.get())); }
  HRESULT initialize(ULONG flags) {
    return call(data(), L"Initialize", {Variant::fromUnknown(nameSpace.get()),
                                        Variant::fromUnknown(store.globalConfig().get()), Variant::fromUInt32(flags)});
  }
  bool dirty() { return get(data(), L"dirty").toBool(); }
  ComRef<AddIn::IMailServerOptions> options() {
    return get(data(), L"MailServerOptions").toUnknown().as<AddIn::IMailServerOptions>(AddIn::IID_IMailServerOptions);
  }
  ComRef<AddIn::ISenderSettings> sender() {
    ComRef<AddIn::ISenderSettings> settings;
    EXPECT_EQ(options()->getSenderSettings(settings.put()), S_OK);
    return settings;
  }
};

TEST_F(ConfigPropertiesTest, MembersAnswerTheirIdsWithoutRegardToCase) {
  const struct {
    const wchar_t* name;
    DISPID id;
  } rows[] = {{L"DIRTY", 0x1000},           {L"initialize", 0x1001},       {L"Reset", 0x1002},
              {L"apply", 0x1003},           {L"GlobalConfig", 0x1100},     {L"mailserveroptions", 0x1111},
              {L"Session", 0x1112},         {L"delegationLIST", 0x1113},   {L"validateSieveScript", 0x1201}};
  for (const auto& row : rows) {
    std::wstring name = row.name;
    LPOLESTR names[] = {&name[0]};
    DISPID id = 0;
    EXPECT_EQ(data()->GetIDsOfNames(IID_NULL, names, 1, 0, &id), S_OK) << name;
    EXPECT_EQ(id, row.id) << name;
  }
  // The faces a page asks for all lead to the one object.
  for (const IID* iid : {&IID_MsoPropertyData, &IID__ConfigProperties, &IID_IDispatch, &AddIn::IID_IMailServerOptions,
                         &AddIn::IID_ISenderSettings, &AddIn::IID_IDelegationList}) {
    ComRef<IUnknown> face;
    ASSERT_EQ(object->QueryInterface(*iid, face.putVoid()), S_OK);
    ComRef<IUnknown> identity;
    ASSERT_EQ(face->QueryInterface(IID_IUnknown, identity.putVoid()), S_OK);
    ComRef<IUnknown> own;
    ASSERT_EQ(object->QueryInterface(IID_IUnknown, own.putVoid()), S_OK);
    EXPECT_EQ(identity.get(), own.get());
  }
}

TEST_F(ConfigPropertiesTest, ApplyWithoutAChangeWritesNothingAndSucceeds) {
  ASSERT_EQ(initialize(7), S_OK);
  EXPECT_FALSE(dirty());
  const auto before = store.mailbox();
  EXPECT_EQ(call(data(), L"Apply"), S_OK);
  EXPECT_EQ(store.mailbox(), before);
  EXPECT_FALSE(dirty());
  EXPECT_EQ(store.activity().synchronizationRequests.size(), 1u) << "the service is told to take up changes";
  EXPECT_EQ(get(data(), L"globalConfig").toUnknown().get(),
            ComRef<IUnknown>(store.globalConfig().get()).get());
  EXPECT_EQ(get(data(), L"session").toDispatch().get(), static_cast<IDispatch*>(nameSpace.get()));
}

TEST_F(ConfigPropertiesTest, TwoPagesOnOneObjectApplyOnce) {
  ASSERT_EQ(initialize(7), S_OK);
  options()->setJunkEmailEnabled(true);
  sender()->setSenderName(L"Someone else");
  ComRef<AddIn::IDelegationList> delegates =
      get(data(), L"DelegationList").toUnknown().as<AddIn::IDelegationList>(AddIn::IID_IDelegationList);
  ULONG id = 0;
  ASSERT_EQ(delegates->addDelegate(L"ann@example.com", L"Ann", false, &id), S_OK);
  // Each page applies only when the data reports a change.
  int applied = 0;
  for (int page = 0; page < 2; ++page)
    if (dirty()) {
      EXPECT_EQ(call(data(), L"Apply"), S_OK);
      ++applied;
    }
  EXPECT_EQ(applied, 1);
  const auto mailbox = store.mailbox();
  EXPECT_NE(mailbox.script, kScript);
  EXPECT_EQ(mailbox.sender.senderName, L"Someone else");
  EXPECT_EQ(mailbox.delegates.size(), 2u);
  EXPECT_EQ(store.activity().synchronizationRequests.size(), 1u);
}

// Each load fails by itself: the others still load and stay usable.
TEST_F(ConfigPropertiesTest, PartialResetGivesSFalseWithTheLoadedPartsUsable) {
  const Operation loads[] = {Operation::GetSenderRecord, Operation::GetSieveScript, Operation::GetDelegates};
  for (Operation failing : loads) {
    SCOPED_TRACE(static_cast<int>(failing));
    object = make();
    store.failNext(failing, MAPI_E_NETWORK_ERROR);
    EXPECT_EQ(initialize(7), S_FALSE);
    EXPECT_EQ(store.pendingFailures(), 0u);
    EXPECT_EQ(object->senderState() == SenderSettingsImpl::kClean, failing != Operation::GetSenderRecord);
    EXPECT_EQ(sender()->getSenderName(), failing == Operation::GetSenderRecord ? L"" : L"Me");
    EXPECT_EQ(object->getSieveStatus() == Sieve::SieveStatus::Loaded, failing != Operation::GetSieveScript);
    ULONG count = 0;
    object->getCount(0, &count);
    EXPECT_EQ(count, failing == Operation::GetDelegates ? 0u : 1u);
    EXPECT_FALSE(dirty());
  }
}

TEST_F(ConfigPropertiesTest, PartialApplyKeepsDirtyAndTheHostSeesSuccess) {
  ASSERT_EQ(initialize(7), S_OK);
  sender()->setSenderName(L"Written");
  options()->setJunkEmailEnabled(true);
  store.failNext(Operation::SetSieveScript, MAPI_E_NETWORK_ERROR);
  EXPECT_EQ(call(data(), L"Apply"), S_OK);
  EXPECT_TRUE(dirty());
  EXPECT_EQ(store.mailbox().sender.senderName, L"Written") << "the step before the failure stays written";
  EXPECT_EQ(store.mailbox().script, kScript);
  EXPECT_TRUE(store.activity().synchronizationRequests.empty());
  // The next Apply writes the rest.
  EXPECT_EQ(call(data(), L"Apply"), S_OK);
  EXPECT_FALSE(dirty());
  EXPECT_NE(store.mailbox().script, kScript);
}

TEST_F(ConfigPropertiesTest, RuleSetFlagAloneLoadsAndWritesOnlyTheRules) {
  store.failNext(Operation::GetSenderRecord, E_FAIL);
  store.failNext(Operation::GetDelegates, E_FAIL);
  store.failNext(Operation::GetDelegators, E_FAIL);
  ASSERT_EQ(initialize(2), S_OK);
  EXPECT_EQ(store.pendingFailures(), 3u) << "neither the sender nor the delegates were asked for";
  EXPECT_EQ(object->senderState(), SenderSettingsImpl::kNotLoaded);
  options()->setOutOfOfficeEnabled(true);
  EXPECT_TRUE(dirty());
  EXPECT_EQ(call(data(), L"Apply"), S_OK);
  EXPECT_FALSE(dirty());
  EXPECT_NE(store.mailbox().script, kScript);
  EXPECT_EQ(store.pendingFailures(), 3u);
}

TEST_F(ConfigPropertiesTest, InitializeRefusesANullSessionAndAProfileWithoutPrivateStore) {
  EXPECT_EQ(call(data(), L"Initialize", {Variant::fromUnknown(nullptr), Variant::fromUnknown(store.globalConfig().get()),
                                         Variant::fromUInt32(7)}),
            E_INVALIDARG);
  object = make([](IDispatch*) -> std::vector<StoreConfigChoice> {
    ZEL_HERE.raise(MAPI_E_NOT_FOUND, L"No private store found");
  });
  EXPECT_EQ(call(data(), L"Initialize",
                 {Variant::fromUnknown(nameSpace.get()), Variant::fromUnknown(nullptr), Variant::fromUInt32(7)}),
            MAPI_E_NOT_FOUND);
}

TEST_F(ConfigPropertiesTest, NullConfigTakesThePrivateStoreOfDiscovery) {
  ReferenceStore::Store publicStore;
  IDispatch* asked = nullptr;
  object = make([&](IDispatch* ns) {
    asked = ns;
    return std::vector<StoreConfigChoice>{{publicStore.globalConfig(), 2}, {store.globalConfig(), kPrivateStoreKind}};
  });
  ASSERT_EQ(call(data(), L"Initialize",
                 {Variant::fromUnknown(nameSpace.get()), Variant::fromUnknown(nullptr), Variant::fromUInt32(4)}),
            S_OK);
  EXPECT_EQ(asked, static_cast<IDispatch*>(nameSpace.get()));
  EXPECT_EQ(get(data(), L"globalConfig").toUnknown().get(), ComRef<IUnknown>(store.globalConfig().get()).get());
}

TEST_F(ConfigPropertiesTest, LocalOptionsReadWithDefaultTrueAndWrittenOnApply) {
  ASSERT_EQ(initialize(0), S_OK);
  EXPECT_TRUE(options()->getConfirmMarkAsSpam());
  EXPECT_TRUE(options()->getCheckDefaultStore());
  options()->setConfirmMarkAsSpam(false);
  EXPECT_EQ(call(data(), L"Apply"), S_OK);
  EXPECT_FALSE(readLocalOption(kConfirmMarkAsSpam, true, registry.config()));
  EXPECT_TRUE(readLocalOption(kCheckDefaultStore, false, registry.config()));
  object = make();
  ASSERT_EQ(initialize(0), S_OK);
  EXPECT_FALSE(options()->getConfirmMarkAsSpam());
}

TEST_F(ConfigPropertiesTest, ApplyShowsTheOutOfOfficeStateOnceAndSurvivesAFailingButton) {
  ASSERT_EQ(initialize(2), S_OK);
  auto button = ComRef<HostObject>::adopt(new HostObject);
  button->properties = {{L"State", Variant::fromInt32(0)}};
  for (bool enabled : {true, false}) {
    options()->setOutOfOfficeControl(button.get());
    options()->setOutOfOfficeEnabled(enabled);
    EXPECT_EQ(call(data(), L"Apply"), S_OK);
    ASSERT_FALSE(button->puts.empty());
    EXPECT_EQ(button->puts.back().second, enabled ? -1 : 0);
  }
  EXPECT_EQ(call(data(), L"Apply"), S_OK);
  EXPECT_EQ(button->puts.size(), 2u) << "the button is released after one Apply";
  button->failing = {L"State"};
  options()->setOutOfOfficeControl(button.get());
  EXPECT_EQ(call(data(), L"Apply"), S_OK);
}

// Every kind of change alone is enough for the pages to apply, and Apply ends it.
TEST_F(ConfigPropertiesTest, EachKindOfChangeMakesTheObjectDirtyUntilApplied) {
  const struct {
    const char* change;
    std::function<void()> make;
  } changes[] = {
      {"junk e-mail", [this] { options()->setJunkEmailEnabled(true); }},
      {"sender", [this] { sender()->setExtraText(L"text"); }},
      {"delegate", [this] {
         ComRef<AddIn::IDelegationList> list;
         ASSERT_EQ(object->QueryInterface(AddIn::IID_IDelegationList, list.putVoid()), S_OK);
         bool grant = false;
         EXPECT_EQ(list->toggleDelegate(4, &grant), S_OK);
       }},
      {"confirm option", [this] { options()->setConfirmMarkAsSpam(false); }},
      {"store check option", [this] { options()->setCheckDefaultStore(false); }},
  };
  for (const auto& c : changes) {
    SCOPED_TRACE(c.change);
    store.setMailbox(optionsMailbox());
    object = make();
    ASSERT_EQ(initialize(7), S_OK);
    ASSERT_FALSE(dirty());
    c.make();
    EXPECT_TRUE(dirty());
    EXPECT_EQ(call(data(), L"Apply"), S_OK);
    EXPECT_FALSE(dirty());
  }
}

TEST_F(ConfigPropertiesTest, ValidateSieveScriptLoadsTheRulesOnlyWhenNotYetRead) {
  ASSERT_EQ(initialize(7), S_OK);
  store.failNext(Operation::GetSieveScript, MAPI_E_NETWORK_ERROR);
  EXPECT_EQ(call(data(), L"ValidateSieveScript", {Variant::fromInt32(0)}), S_OK);
  EXPECT_EQ(store.pendingFailures(), 1u) << "rules read already are not read again";

  object = make();
  ASSERT_EQ(initialize(1), S_OK);
  EXPECT_EQ(call(data(), L"ValidateSieveScript", {Variant::fromInt32(0)}), MAPI_E_NETWORK_ERROR);
  EXPECT_EQ(call(data(), L"ValidateSieveScript", {Variant::fromInt32(0)}), S_OK);
  EXPECT_EQ(object->getSieveStatus(), Sieve::SieveStatus::Loaded);
}

}  // namespace
