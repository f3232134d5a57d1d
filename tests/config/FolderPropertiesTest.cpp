// A folder's data object as the host and the folder pages use it: through IDispatch,
// against the reference store and its injected failures.
#include <gtest/gtest.h>

#include "config/FolderProperties.h"
#include "store/reference/ReferenceStore.h"
#include "tests/config/DataObjectsSupport.h"
#include "tests/store/StoreTestSupport.h"

using namespace zelvo::config;
using datatest::call;
using datatest::get;
using datatest::HostObject;
using datatest::invoke;
using ReferenceStore::Operation;

namespace {

ReferenceStore::Mailbox folderMailbox() {
  ReferenceStore::Mailbox m;
  ReferenceStore::MailboxFolder inbox;
  inbox.path = L"INBOX";
  inbox.displayPath = L"Inbox";
  inbox.features = {0, 1, 2};
  inbox.synchronization = 1;
  inbox.access = {{0, L"bob", L"lr"}};
  ReferenceStore::MailboxFolder sub = inbox;
  sub.path = L"INBOX/Sub";
  sub.synchronization = 0;
  sub.access.clear();
  m.folders = {inbox, sub};
  return m;
}

// The store's folder configuration, with the features asked for noted in their order.
class FeatureRecorder : public iui_::IUnknownImpl<IFolderConfig> {
 public:
  explicit FeatureRecorder(ComRef<IFolderConfig> inner) : inner_(std::move(inner)) {}
  std::vector<ULONG> asked;

  HRESULT STDMETHODCALLTYPE getAccessRights(ULONG* count, AccessInfo** entries) override {
    return inner_->getAccessRights(count, entries);
  }
  HRESULT STDMETHODCALLTYPE setAccessRights(ULONG count, AccessInfo* entries, bool recursive) override {
    return inner_->setAccessRights(count, entries, recursive);
  }
  HRESULT STDMETHODCALLTYPE getSynchronization(ULONG* mode) override { return inner_->getSynchronization(mode); }
  HRESULT STDMETHODCALLTYPE setSynchronization(ULONG mode, bool recursive) override {
    return inner_->setSynchronization(mode, recursive);
  }
  HRESULT STDMETHODCALLTYPE getAllocator(IUnknown** allocator) override { return inner_->getAllocator(allocator); }
  HRESULT STDMETHODCALLTYPE getGlobalConfig(IGlobalConfig** config) override { return inner_->getGlobalConfig(config); }
  HRESULT STDMETHODCALLTYPE isFeatureAvailable(ULONG feature) override {
    asked.push_back(feature);
    return inner_->isFeatureAvailable(feature);
  }
  HRESULT STDMETHODCALLTYPE getFolderFlags(ULONG* flags, ULONG reserved) override {
    return inner_->getFolderFlags(flags, reserved);
  }
  HRESULT STDMETHODCALLTYPE resynchronizeContents() override { return inner_->resynchronizeContents(); }

 private:
  ComRef<IFolderConfig> inner_;
};

class FolderPropertiesTest : public storetest::StoreTest {
 protected:
  ReferenceStore::Store store{folderMailbox()};
  ComRef<FeatureRecorder> recorder = ComRef<FeatureRecorder>::adopt(new FeatureRecorder(store.folderConfig(L"INBOX")));
  ComRef<HostObject> folder = hostFolder(0);
  IDispatch* askedFolder = nullptr;
  ComRef<FolderProperties> object = make();

  static ComRef<HostObject> hostFolder(LONG type) {
    auto f = ComRef<HostObject>::adopt(new HostObject);
    f->properties = {{L"DefaultItemType", Variant::fromInt32(type)}};
    return f;
  }
  ComRef<FolderProperties> make() {
    return ComRef<FolderProperties>::adopt(new FolderProperties([this](IDispatch* f) {
      askedFolder = f;
      return ComRef<IFolderConfig>(recorder.get());
    }));
  }
  IDispatch* data() const { return static_cast<IDispatch*>(static_cast<_FolderProperties*>(object.get())); }
  HRESULT initialize(IUnknown* target) {
    return call(data(), L"Initialize",
                {Variant::fromUnknown(target), Variant::fromUnknown(nullptr), Variant::fromUInt32(0)});
  }
  bool dirty() { return get(data(), L"Dirty").toBool(); }
  ComRef<AddIn::IFolderAccessRights> rights() {
    return get(data(), L"AccessRights").toUnknown().as<AddIn::IFolderAccessRights>(AddIn::IID_IFolderAccessRights);
  }
  ReferenceStore::MailboxFolder stored(const std::wstring& path) { return *store.mailbox().findFolder(path); }
};

TEST_F(FolderPropertiesTest, MembersAnswerTheirIdsWithoutRegardToCase) {
  const struct {
    const wchar_t* name;
    DISPID id;
  } rows[] = {{L"dirty", 0x1000},          {L"INITIALIZE", 0x1001},     {L"reset", 0x1002},
              {L"Apply", 0x1003},          {L"globalconfig", 0x1100},   {L"folderConfig", 0x1101},
              {L"accessrights", 0x1111},   {L"CheckNames", 0x1112},     {L"SYNCHRONIZATION", 0x1113},
              {L"foldertype", 0x1114},     {L"ResynchronizeContents", 0x1201}};
  for (const auto& row : rows) {
    std::wstring name = row.name;
    LPOLESTR names[] = {&name[0]};
    DISPID id = 0;
    EXPECT_EQ(data()->GetIDsOfNames(IID_NULL, names, 1, 0, &id), S_OK) << name;
    EXPECT_EQ(id, row.id) << name;
  }
}

TEST_F(FolderPropertiesTest, InitializeReadsTheFeaturesInOrderAndLoads) {
  ASSERT_EQ(initialize(folder.get()), S_OK);
  EXPECT_EQ(recorder->asked, (std::vector<ULONG>{1, 0, 2, 4, 6}));
  EXPECT_EQ(askedFolder, static_cast<IDispatch*>(folder.get()));
  EXPECT_TRUE(object->resetSucceeded());
  EXPECT_FALSE(dirty());
  EXPECT_EQ(get(data(), L"Synchronization").toInt32(), 1);
  ULONG count = 0;
  EXPECT_EQ(rights()->getCount(&count), S_OK);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(get(data(), L"FolderConfig").toUnknown().get(), ComRef<IUnknown>(recorder.get()).get());
  EXPECT_EQ(get(data(), L"globalConfig").toUnknown().get(), ComRef<IUnknown>(store.globalConfig().get()).get());
  // The access rights are the object itself.
  ComRef<IUnknown> own;
  ASSERT_EQ(object->QueryInterface(IID_IUnknown, own.putVoid()), S_OK);
  EXPECT_EQ(get(data(), L"AccessRights").toUnknown().get(), own.get());
  EXPECT_EQ(invoke(data(), L"CheckNames", DISPATCH_PROPERTYGET), E_NOTIMPL);
}

TEST_F(FolderPropertiesTest, FolderTypeIsTheHostsAndANonFolderIsRefused) {
  for (LONG type : {0, 2, 6}) {
    object = make();
    folder = hostFolder(type);
    ASSERT_EQ(initialize(folder.get()), S_OK);
    EXPECT_EQ(get(data(), L"FolderType").toInt32(), type);
  }
  object = make();
  askedFolder = nullptr;
  EXPECT_EQ(initialize(nullptr), E_INVALIDARG);
  auto noType = ComRef<HostObject>::adopt(new HostObject);
  EXPECT_EQ(initialize(noType.get()), DISP_E_UNKNOWNNAME) << "a folder without a type raises";
  EXPECT_EQ(askedFolder, nullptr) << "the configuration is not looked for";
}

TEST_F(FolderPropertiesTest, AFailedLoadIsInitializesResultAndRemembered) {
  store.failNext(Operation::GetAccessRights, MAPI_E_NETWORK_ERROR);
  EXPECT_EQ(initialize(folder.get()), MAPI_E_NETWORK_ERROR);
  EXPECT_FALSE(object->resetSucceeded());
  EXPECT_EQ(call(data(), L"Reset"), S_OK);
}

TEST_F(FolderPropertiesTest, SynchronizationPutsTheModeAndBit31ReachesTheSubfolders) {
  const struct {
    ULONG value;
    HRESULT put;
    uint32_t inbox, sub;
  } cases[] = {
      {2, S_OK, 2, 0},
      {0x80000002u, S_OK, 2, 2},
      {0x80000000u, S_OK, 0, 0},
      {3, E_INVALIDARG, 1, 0},
      {0x80000003u, E_INVALIDARG, 1, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    store.setMailbox(folderMailbox());
    object = make();
    ASSERT_EQ(initialize(folder.get()), S_OK);
    EXPECT_EQ(invoke(data(), L"Synchronization", DISPATCH_PROPERTYPUT, {Variant::fromInt32(static_cast<LONG>(c.value))}),
              c.put);
    EXPECT_EQ(dirty(), c.put == S_OK);
    if (dirty()) EXPECT_EQ(call(data(), L"Apply"), S_OK);
    EXPECT_FALSE(dirty());
    EXPECT_EQ(stored(L"INBOX").synchronization, c.inbox);
    EXPECT_EQ(stored(L"INBOX/Sub").synchronization, c.sub);
  }
}

TEST_F(FolderPropertiesTest, TwoPagesApplyOnceAndAFailedApplyStaysDirty) {
  ASSERT_EQ(initialize(folder.get()), S_OK);
  AddIn::AccessItem item = 0;
  ASSERT_EQ(rights()->addAccess(kGranteeUser, L"carol", kLevelReadWrite, &item), S_OK);
  ASSERT_EQ(invoke(data(), L"Synchronization", DISPATCH_PROPERTYPUT, {Variant::fromInt32(2)}), S_OK);

  store.failNext(Operation::SetSynchronization, MAPI_E_NETWORK_ERROR);
  EXPECT_EQ(call(data(), L"Apply"), MAPI_E_NETWORK_ERROR);
  EXPECT_TRUE(dirty());
  EXPECT_EQ(stored(L"INBOX").access.size(), 2u) << "the rights went out before the mode failed";

  int applied = 0;
  for (int page = 0; page < 2; ++page)
    if (dirty()) {
      EXPECT_EQ(call(data(), L"Apply"), S_OK);
      ++applied;
    }
  EXPECT_EQ(applied, 1);
  EXPECT_EQ(stored(L"INBOX").synchronization, 2u);
  EXPECT_EQ(stored(L"INBOX").access.back(), (ReferenceStore::AccessEntry{0, L"carol", rightsFromLevel(kLevelReadWrite)}));
}

TEST_F(FolderPropertiesTest, ResynchronizeGoesOutAtOnce) {
  ASSERT_EQ(initialize(folder.get()), S_OK);
  EXPECT_EQ(call(data(), L"ResynchronizeContents"), S_OK);
  EXPECT_EQ(store.activity().resynchronizedFolders, (std::vector<std::wstring>{L"INBOX"}));
  store.failNext(Operation::ResynchronizeContents, MAPI_E_NETWORK_ERROR);
  EXPECT_EQ(call(data(), L"ResynchronizeContents"), MAPI_E_NETWORK_ERROR);
  EXPECT_FALSE(dirty());
}

}  // namespace
