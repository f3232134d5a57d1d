#include <gtest/gtest.h>

#include <functional>

#include "store/EntryId.h"
#include "store/MapiAlloc.h"
#include "store/StoreConfig.h"
#include "store/reference/ReferenceStore.h"
#include "StoreTestSupport.h"

using namespace ReferenceStore;

namespace {

Mailbox smallMailbox() {
  Mailbox m;
  m.script = L"#!1 keep all\r\nkeep;\r\n";
  m.rootName = L"Mailbox - Jane";
  m.sender.defaultName = L"Jane";
  m.sender.defaultAddress = L"jane@example.com";
  m.sender.senderName = L"Jane D.";
  m.users = {{L"tom@example.com", L"Tom", L"lrswi"}};
  m.senderAddresses = {L"sales@example.com"};
  m.delegates = {{1, L"tom@example.com", L"Tom", true}, {2, L"", L"Nobody", false}};
  m.nextDelegateId = 3;
  MailboxFolder inbox;
  inbox.path = L"INBOX";
  inbox.displayPath = L"Inbox";
  inbox.entryId = "inbox-id";
  inbox.features = {0, 1, 2};
  inbox.access = {{1, L"jane", L"lrswicda"}, {0x8000, L"staff", L"lr"}};
  MailboxFolder sub = inbox;
  sub.path = L"INBOX/Sub";
  sub.displayPath = L"Inbox/Sub";
  sub.entryId = "sub-id";
  sub.flags = 0;
  sub.access.clear();
  MailboxFolder other = sub;
  other.path = L"INBOXES";
  other.entryId = "";
  m.folders = {inbox, sub, other};
  return m;
}

class ReferenceStoreTest : public storetest::StoreTest {
 protected:
  Store store{smallMailbox()};
  ComRef<IGlobalConfig> config{store.globalConfig()};
  MapiAlloc alloc = ReferenceAllocator::functions();
};

std::wstring text(LPCWSTR s) { return s ? s : L"<null>"; }

TEST_F(ReferenceStoreTest, FolderListComesInOneBlockWithTheRootName) {
  ULONG count = 0;
  MapiBuffer<FolderListEntry> entries(alloc.freeBuffer);
  Bstr root;
  ASSERT_EQ(config->getFolderList(&count, entries.receive(), root.put()), S_OK);
  ASSERT_EQ(count, 3u);
  EXPECT_EQ(root.text(), L"Mailbox - Jane");
  EXPECT_EQ(text(entries->path), L"INBOX");
  EXPECT_EQ(text(entries.get()[1].displayPath), L"Inbox/Sub");
  EXPECT_EQ(entries.get()[1].flags, 0u);
  EXPECT_EQ(ReferenceAllocator::liveBlocks(), 7u) << "one root and six chained strings";
}

TEST_F(ReferenceStoreTest, ScriptRoundTripKeepsEveryCharacter) {
  const std::wstring script = L"#!1 a\r\nif true\r\n{\r\n  fileinto \"Gr\u00fc\u00dfe\";\r\n}\r\n\0tail";
  Bstr in(std::wstring(script.data(), script.size()));
  ASSERT_EQ(config->setSieveScript(in.get()), S_OK);
  Bstr out;
  ASSERT_EQ(config->getSieveScript(out.put()), S_OK);
  EXPECT_EQ(out.text(), script);
  EXPECT_EQ(store.mailbox().script, script);
  ASSERT_EQ(config->setSieveScript(nullptr), S_OK);
  EXPECT_EQ(store.mailbox().script, L"") << "a null script is the empty script";
}

TEST_F(ReferenceStoreTest, SenderRecordWritesOnlyTheUsersChoices) {
  MapiBuffer<SenderRecord> record(alloc.freeBuffer);
  ASSERT_EQ(config->getSenderRecord(record.receive()), S_OK);
  EXPECT_EQ(text(record->defaultAddress), L"jane@example.com");
  EXPECT_EQ(record->replyAddress, nullptr) << "empty strings go out as null";

  MapiBuffer<SenderRecord> in(alloc.freeBuffer);
  in.reset(static_cast<SenderRecord*>(detail::rawAllocBytes(sizeof(SenderRecord), nullptr, alloc)));
  InternalMapiAlloc::copyStringW(L"changed@example.com", alloc, in.get(), &in->defaultAddress);
  InternalMapiAlloc::copyStringW(L"reply@example.com", alloc, in.get(), &in->replyAddress);
  ASSERT_EQ(config->setSenderRecord(in.get()), S_OK);
  const Sender sender = store.mailbox().sender;
  EXPECT_EQ(sender.defaultAddress, L"jane@example.com");
  EXPECT_EQ(sender.replyAddress, L"reply@example.com");
  EXPECT_EQ(sender.senderName, L"") << "a null string is stored as empty";
}

TEST_F(ReferenceStoreTest, DelegatesRoundTripThroughRecords) {
  ULONG count = 0;
  MapiBuffer<DelegateRecord> records(alloc.freeBuffer);
  ASSERT_EQ(config->getDelegates(1, &count, records.receive()), S_OK);
  ASSERT_EQ(count, 2u);
  EXPECT_EQ(records->grantFlag, 1u);
  EXPECT_EQ(records.get()[1].address, nullptr);
  ULONG id = 0;
  ASSERT_EQ(config->newDelegateId(&id), S_OK);
  EXPECT_EQ(id, 3u);
  records.get()[1].grantFlag = 7;
  ASSERT_EQ(config->setDelegates(count, records.get()), S_OK);
  EXPECT_TRUE(store.mailbox().delegates[1].grant) << "any non-zero flag grants";
  ASSERT_EQ(config->setDelegates(0, nullptr), S_OK);
  ASSERT_EQ(config->getDelegates(0, &count, records.receive()), S_OK);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(records.get(), nullptr) << "an empty list is a null array";
  EXPECT_EQ(config->setDelegates(2, nullptr), E_INVALIDARG);
}

TEST_F(ReferenceStoreTest, DirectoryAnswersAsTheServerWould) {
  struct Case {
    const wchar_t* address;
    HRESULT resolve;
    std::wstring name;
    HRESULT check;
  } cases[] = {
      {L"tom@example.com", S_OK, L"Tom", E_ACCESSDENIED},
      {L"TOM@Example.com", S_OK, L"Tom", E_ACCESSDENIED},
      {L"nobody@example.com", MAPI_E_NOT_FOUND, L"", E_ACCESSDENIED},
      {L"jane@example.com", MAPI_E_NOT_FOUND, L"", S_OK},
      {L"Sales@example.com", MAPI_E_NOT_FOUND, L"", S_OK},
      {nullptr, MAPI_E_NOT_FOUND, L"", E_ACCESSDENIED},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.address ? std::string(c.address, c.address + wcslen(c.address)) : "null");
    Bstr name;
    EXPECT_EQ(config->resolveAddress(c.address, name.put()), c.resolve);
    EXPECT_EQ(name.text(), c.name);
    EXPECT_EQ(config->checkSenderAddress(c.address), c.check);
  }
  Bstr rights;
  EXPECT_EQ(config->getDelegateRights(L"tom@example.com", rights.put()), S_OK);
  EXPECT_EQ(rights.text(), L"lrswi");
}

TEST_F(ReferenceStoreTest, FolderAccessRightsReplaceRecursivelyOnlyBelowThePath) {
  ComRef<IFolderConfig> folder(store.folderConfig(L"INBOX"));
  ULONG count = 0;
  MapiBuffer<AccessInfo> entries(alloc.freeBuffer);
  ASSERT_EQ(folder->getAccessRights(&count, entries.receive()), S_OK);
  ASSERT_EQ(count, 2u);
  EXPECT_EQ(entries.get()[1].flags, 0x8000u);
  EXPECT_EQ(text(entries.get()[1].rights), L"lr");
  ASSERT_EQ(folder->setAccessRights(1, entries.get(), true), S_OK);
  const Mailbox m = store.mailbox();
  EXPECT_EQ(m.folders[0].access.size(), 1u);
  EXPECT_EQ(m.folders[1].access.size(), 1u) << "INBOX/Sub is below INBOX";
  EXPECT_EQ(m.folders[2].access.size(), 0u) << "INBOXES is not";
  ASSERT_EQ(folder->setSynchronization(2, false), S_OK);
  ULONG mode = 0;
  ComRef<IFolderConfig> sub(store.folderConfig(L"INBOX/Sub"));
  ASSERT_EQ(sub->getSynchronization(&mode), S_OK);
  EXPECT_EQ(mode, 0u);
}

TEST_F(ReferenceStoreTest, FeaturesAndGlobalConfigOfAFolder) {
  ComRef<IFolderConfig> folder(store.folderConfig(L"INBOX"));
  for (ULONG feature = 0; feature <= 6; ++feature) {
    SCOPED_TRACE(feature);
    EXPECT_EQ(folder->isFeatureAvailable(feature), feature <= 2 ? S_OK : S_FALSE);
  }
  ComRef<IGlobalConfig> global;
  ASSERT_EQ(folder->getGlobalConfig(global.put()), S_OK);
  EXPECT_EQ(global.get(), config.get()) << "one configuration object per store";
}

TEST_F(ReferenceStoreTest, SynchronisationRequestsNameTheirFolder) {
  SBinary id{6, reinterpret_cast<LPBYTE>(const_cast<char*>("sub-id"))};
  SBinary unknown{3, reinterpret_cast<LPBYTE>(const_cast<char*>("xyz"))};
  EXPECT_EQ(config->requestSynchronization(&id), S_OK);
  EXPECT_EQ(config->requestSynchronization(nullptr), S_OK);
  EXPECT_EQ(config->requestSynchronization(&unknown), MAPI_E_NOT_FOUND);
  const Activity a = store.activity();
  ASSERT_EQ(a.synchronizationRequests.size(), 2u);
  EXPECT_EQ(a.synchronizationRequests[0].value_or(L"all"), L"INBOX/Sub");
  EXPECT_FALSE(a.synchronizationRequests[1].has_value());
}

TEST_F(ReferenceStoreTest, MessagePropertiesAreFoundByTheComponentsOfTheEntryId) {
  const GUID provider = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  const GUID object = {0xFFEEDDCC, 2, 3, {4, 5, 6, 7, 8, 9, 10, 12}};
  std::string id(40, '\0');
  std::memcpy(&id[4], &provider, 16);
  id[20] = 5;
  std::memcpy(&id[24], &object, 16);
  Mailbox m = store.mailbox();
  m.messages.push_back(Message{id, {{kJunkMarkPropertyTag, PropertyValue(true)}}});
  store.setMailbox(m);

  SPropTagArray tags{1, {kJunkMarkPropertyTag}};
  MapiBuffer<MessagePropertyBlock> values(alloc.freeBuffer);
  ASSERT_EQ(config->getMessageProperties(provider, object, 5, &tags, values.receive()), S_OK);
  ASSERT_EQ(values->count, 1u);
  EXPECT_EQ(values->values[0].ulPropTag, kJunkMarkPropertyTag);
  EXPECT_EQ(values->values[0].Value.b, 1);

  SBinary bin{static_cast<ULONG>(id.size()), reinterpret_cast<LPBYTE>(&id[0])};
  SBinaryArray ids{1, &bin};
  ASSERT_EQ(config->markAsJunk(&ids, false), S_OK);
  ASSERT_EQ(config->getMessageProperties(provider, object, 5, &tags, values.receive()), S_OK);
  EXPECT_EQ(values->values[0].Value.b, 0) << "marking changes the server's flag";

  const ULONG missing = PROP_TAG(PT_LONG, 0x1234);
  SPropTagArray other{1, {missing}};
  ASSERT_EQ(config->getMessageProperties(provider, object, 5, &other, values.receive()), MAPI_W_ERRORS_RETURNED);
  EXPECT_EQ(values->values[0].ulPropTag, PROP_TAG(PT_ERROR, 0x1234));
  EXPECT_EQ(config->getMessageProperties(provider, object, 1, &tags, values.receive()), MAPI_E_NOT_FOUND);
  EXPECT_EQ(values.get(), nullptr);
}

TEST_F(ReferenceStoreTest, InjectedFailuresAnswerOnceAndChangeNothing) {
  ComRef<IFolderConfig> folder(store.folderConfig(L"INBOX"));
  struct Case {
    Operation operation;
    HRESULT code;
    std::function<HRESULT()> call;
  } cases[] = {
      {Operation::SetSieveScript, E_ACCESSDENIED, [&] { Bstr s(L"discard;"); return config->setSieveScript(s.get()); }},
      {Operation::GetSieveScript, MAPI_E_NETWORK_ERROR, [&] { Bstr s; return config->getSieveScript(s.put()); }},
      {Operation::GetDelegates, static_cast<HRESULT>(0x00042001), [&] {
         ULONG n = 0;
         MapiBuffer<DelegateRecord> r(alloc.freeBuffer);
         const HRESULT hr = config->getDelegates(1, &n, r.receive());
         return hr != S_OK && (n || r) ? E_UNEXPECTED : hr;  // a warning hands out nothing
       }},
      {Operation::SetDelegates, E_FAIL, [&] { return config->setDelegates(0, nullptr); }},
      {Operation::GetFolderList, MAPI_E_NOT_ENOUGH_MEMORY, [&] {
         ULONG n = 0;
         MapiBuffer<FolderListEntry> e(alloc.freeBuffer);
         Bstr root;
         return config->getFolderList(&n, e.receive(), root.put());
       }},
      {Operation::SetAccessRights, E_ACCESSDENIED, [&] { return folder->setAccessRights(0, nullptr, false); }},
      {Operation::IsFeatureAvailable, E_FAIL, [&] { return folder->isFeatureAvailable(0); }},
      {Operation::GetAllocator, E_OUTOFMEMORY, [&] {
         ComRef<IUnknown> a;
         return config->getAllocator(a.put());
       }},
  };
  const Mailbox before = store.mailbox();
  for (auto& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.operation));
    store.failNext(c.operation, c.code);
    EXPECT_EQ(c.call(), c.code);
    EXPECT_EQ(store.pendingFailures(), 0u);
    EXPECT_EQ(c.call(), S_OK) << "only the next call fails";
  }
  Mailbox after = store.mailbox();
  EXPECT_EQ(after.script, L"discard;") << "the second, unfailed call went through";
  after.script = before.script;
  after.folders[0].access.clear();
  Mailbox expected = before;
  expected.folders[0].access.clear();
  expected.delegates.clear();
  EXPECT_EQ(after, expected);
}

TEST_F(ReferenceStoreTest, AllocationFailureInsideAnOperationLeavesNoBlocks) {
  for (size_t skip = 0; skip < 7; ++skip) {
    SCOPED_TRACE(skip);
    ReferenceAllocator::failAllocation(MAPI_E_NOT_ENOUGH_MEMORY, skip);
    ULONG n = 99;
    FolderListEntry* entries = nullptr;
    Bstr root;
    EXPECT_EQ(config->getFolderList(&n, &entries, root.put()), MAPI_E_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(entries, nullptr);
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(ReferenceAllocator::liveBlocks(), 0u);
  }
  ReferenceAllocator::resetDiagnostics();
}

TEST_F(ReferenceStoreTest, ConfigForObjectOpensTheConfigurationProperty) {
  ComRef<IMAPIProp> mapiStore(store.mapiStore());
  ComRef<IMAPIProp> mapiFolder(store.mapiFolder(L"INBOX/Sub"));
  ComRef<IGlobalConfig> global;
  details::getConfigForObject(mapiStore.get(), global.put());
  EXPECT_EQ(global.get(), config.get());
  ComRef<IFolderConfig> folder;
  details::getConfigForObject(mapiFolder.get(), folder.put());
  ASSERT_NE(folder.get(), nullptr);
  ULONG flags = 1;
  EXPECT_EQ(folder->getFolderFlags(&flags, 0), S_OK);

  ComRef<IStoreAllocator> allocator;
  AddIn::Utils::getAllocatorFromConfig(folder.get(), allocator.put());
  MapiAlloc functions;
  MapiAlloc::getAlloc(functions, allocator.get());
  EXPECT_EQ(functions.freeBuffer, &ReferenceAllocator::freeBuffer);

  struct Case {
    const char* name;
    std::function<void()> call;
    HRESULT code;
  } cases[] = {
      {"null object", [&] { ComRef<IGlobalConfig> c; details::getConfigForObject(nullptr, c.put()); }, E_INVALIDARG},
      {"null out", [&] { details::getConfigForObject(mapiStore.get(), static_cast<IGlobalConfig**>(nullptr)); }, E_INVALIDARG},
      {"out already set", [&] { IGlobalConfig* held = config.get(); details::getConfigForObject(mapiStore.get(), &held); }, E_INVALIDARG},
      {"foreign store refuses", [&] {
         store.failNext(Operation::OpenProperty, MAPI_E_NOT_FOUND);
         ComRef<IGlobalConfig> c;
         details::getConfigForObject(mapiStore.get(), c.put());
       }, MAPI_E_NOT_FOUND},
      {"a store is no folder", [&] { ComRef<IFolderConfig> c; details::getConfigForObject(mapiStore.get(), c.put()); }, E_NOINTERFACE},
      {"getAllocator fails", [&] {
         store.failNext(Operation::GetAllocator, MAPI_E_CALL_FAILED);
         ComRef<IStoreAllocator> a;
         AddIn::Utils::getAllocatorFromConfig(config.get(), a.put());
       }, MAPI_E_CALL_FAILED},
  };
  for (auto& c : cases) {
    SCOPED_TRACE(c.name);
    try {
      c.call();
      ADD_FAILURE() << "no raise";
    } catch (const HResultException& e) {
      EXPECT_EQ(e.getHResult(), c.code);
    }
  }
}

TEST_F(ReferenceStoreTest, AddressBookStateAndCallBack) {
  EXPECT_EQ(config->isAddressBookReady(), 1);
  EXPECT_EQ(config->isAddressBookDone(), 0);
  EXPECT_EQ(config->setAddressBookDone(), S_OK);
  EXPECT_EQ(config->isAddressBookDone(), 1);
  EXPECT_EQ(config->setAbConfig(nullptr), E_INVALIDARG);
  GUID storeClass{};
  ASSERT_EQ(config->getStoreClass(&storeClass), S_OK);
  EXPECT_EQ(Guid(storeClass), Guid(kPrivateStoreClass));
  EXPECT_EQ(config->setConnectionMode(3), E_INVALIDARG);
  EXPECT_EQ(config->setConnectionMode(1), S_OK);
  EXPECT_EQ(store.activity().connectionMode, 1u);
}

TEST_F(ReferenceStoreTest, UnknownFolderIsNotFound) {
  try {
    store.folderConfig(L"Nope");
    ADD_FAILURE() << "no raise";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), MAPI_E_NOT_FOUND);
  }
  ComRef<IFolderConfig> folder(store.folderConfig(L"INBOX"));
  Mailbox m = store.mailbox();
  m.folders.clear();
  store.setMailbox(m);
  ULONG mode = 0;
  EXPECT_EQ(folder->getSynchronization(&mode), MAPI_E_NOT_FOUND) << "a folder that went away";
}

}  // namespace

namespace {

TEST_F(ReferenceStoreTest, WarningsAnswerAfterTheWorkIsDoneAndWaitForASuccess) {
  const HRESULT warning = static_cast<HRESULT>(0x00040380);
  store.warnNext(Operation::GetDelegates, warning);
  store.failNext(Operation::GetDelegates, E_FAIL);
  EXPECT_EQ(store.pendingFailures(), 2u);
  ULONG count = 0;
  MapiBuffer<DelegateRecord> records(alloc.freeBuffer);
  EXPECT_EQ(config->getDelegates(1, &count, records.receive()), E_FAIL) << "the failure comes first";
  EXPECT_EQ(config->getDelegates(1, &count, records.receive()), warning);
  EXPECT_EQ(count, 2u) << "a warned call still hands out its records";
  EXPECT_NE(records.get(), nullptr);
  EXPECT_EQ(config->getDelegates(1, &count, records.receive()), S_OK);
  EXPECT_EQ(store.pendingFailures(), 0u);

  ComRef<IFolderConfig> folder(store.folderConfig(L"INBOX"));
  store.warnNext(Operation::SetSynchronization, S_FALSE);
  EXPECT_EQ(folder->setSynchronization(2, false), S_FALSE);
  EXPECT_EQ(store.mailbox().folders[0].synchronization, 2u);
}

// Counts what the service asks of the add-in.
class CountingAbConfig final : public IAbConfig {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override {
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++refs; }
  ULONG STDMETHODCALLTYPE Release() override { return --refs; }
  HRESULT STDMETHODCALLTYPE addFolder(const SBinary*, ULONG) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE showContacts() override {
    ++shows;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE removeFolder(const SBinary*, const SBinary*, ULONG) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE storeClosed(GUID) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE detach() override { return S_OK; }
  ULONG refs = 1;
  int shows = 0;
};

TEST_F(ReferenceStoreTest, TheServiceCallsTheCallBackItWasGiven) {
  CountingAbConfig callBack;
  EXPECT_FALSE(store.abConfig());
  ASSERT_EQ(config->setAbConfig(&callBack), S_OK);
  {
    ComRef<IAbConfig> held(store.abConfig());
    ASSERT_EQ(held.get(), &callBack);
    EXPECT_EQ(held->showContacts(), S_OK);
    EXPECT_EQ(callBack.refs, 3u) << "the store's reference and this one";
  }
  EXPECT_EQ(callBack.shows, 1);
  ASSERT_EQ(config->clearAbConfig(), S_OK);
  EXPECT_FALSE(store.abConfig());
  EXPECT_EQ(callBack.refs, 1u);
}

TEST_F(ReferenceStoreTest, JunkMarksAreRecordedInOrderAndMoveOnlyTheMessagesNamed) {
  Mailbox m = store.mailbox();
  m.messages = {{"message-1", {}}, {"message-2", {{kJunkMarkPropertyTag, PropertyValue(true)}}}};
  store.setMailbox(m);
  std::string ids[] = {"message-1", "unknown", "message-2"};
  SBinary bins[3];
  for (int i = 0; i < 3; ++i) bins[i] = {static_cast<ULONG>(ids[i].size()), reinterpret_cast<LPBYTE>(&ids[i][0])};
  SBinaryArray array{3, bins};
  store.failNext(Operation::MarkAsJunk, MAPI_E_NETWORK_ERROR);
  EXPECT_EQ(config->markAsJunk(&array, true), MAPI_E_NETWORK_ERROR);
  SBinary broken{4, nullptr};
  SBinaryArray brokenArray{1, &broken};
  EXPECT_EQ(config->markAsJunk(&brokenArray, true), E_INVALIDARG);
  EXPECT_EQ(config->markAsJunk(nullptr, true), E_INVALIDARG);
  EXPECT_TRUE(store.activity().junkMarks.empty()) << "a refused call records nothing";
  EXPECT_EQ(store.mailbox(), m);

  ASSERT_EQ(config->markAsJunk(&array, true), S_OK);
  SBinaryArray second{1, &bins[1]};
  ASSERT_EQ(config->markAsJunk(&second, false), S_OK);
  const Activity activity = store.activity();
  ASSERT_EQ(activity.junkMarks.size(), 2u);
  EXPECT_EQ(activity.junkMarks[0].entryIds, (std::vector<std::string>{"message-1", "unknown", "message-2"}));
  EXPECT_TRUE(activity.junkMarks[0].junk);
  EXPECT_FALSE(activity.junkMarks[1].junk);
  const Mailbox after = store.mailbox();
  ASSERT_EQ(after.messages.size(), 2u) << "an unknown id adds no message";
  for (const auto& message : after.messages)
    EXPECT_EQ(message.properties.at(kJunkMarkPropertyTag), PropertyValue(true)) << message.entryId;
}

}  // namespace

TEST_F(ReferenceStoreTest, PassedCallsRunSoThatALaterCallOfTheSameOperationFails) {
  store.clearCalls();
  store.passNext(Operation::SetSieveScript);
  store.failNext(Operation::SetSieveScript, E_FAIL);
  EXPECT_EQ(store.pendingFailures(), 2u);
  const auto set = [&](const wchar_t* text) {
    Bstr script{std::wstring(text)};
    return config->setSieveScript(script.get());
  };
  EXPECT_EQ(set(L"keep;"), S_OK);
  EXPECT_EQ(store.mailbox().script, L"keep;") << "the passed call did its work";
  EXPECT_EQ(set(L"discard;"), E_FAIL);
  EXPECT_EQ(store.mailbox().script, L"keep;");
  EXPECT_EQ(store.pendingFailures(), 0u);
  Bstr read;
  EXPECT_EQ(config->getSieveScript(read.put()), S_OK);
  EXPECT_EQ(store.calls(), (std::vector<Operation>{Operation::SetSieveScript, Operation::SetSieveScript,
                                                   Operation::GetSieveScript}))
      << "failed calls are in the log too";
}
