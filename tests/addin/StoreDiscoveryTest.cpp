// Store discovery against the host stand-in and reference stores: which stores join which
// account, what the window in front names, and that every row and buffer goes back.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "addin/AddInUtils.h"
#include "base/Dispatcher.h"
#include "base/HResultException.h"
#include "base/LateBinding.h"
#include "store/reference/ReferenceAllocator.h"
#include "testing/TestEnvironment.h"
#include "testing/outlook/StandIn.h"

namespace {

using namespace AddIn::Utils;
using OutlookStandIn::StandIn;
using zelvo::testing::utf8;

Guid guid(const wchar_t* text) {
  const auto parsed = OutlookStandIn::parseGuid(text);
  EXPECT_TRUE(parsed) << utf8(text);
  return parsed ? *parsed : Guid();
}

// Service n and store key n of the profiles below.
std::wstring service(int n) { return L"{0A000000-0000-0000-0000-00000000000" + std::to_wstring(n) + L"}"; }
std::wstring key(int n) { return L"{0B000000-0000-0000-0000-0000000000" + (n < 10 ? L"0" + std::to_wstring(n) : std::to_wstring(n)) + L"}"; }

std::string storeLine(const wchar_t* kind, int serviceNumber, int keyNumber, const char* extra = "") {
  std::wstring line = L"store " + std::wstring(kind);
  if (serviceNumber) line += L" service=" + service(serviceNumber);
  line += L" key=" + key(keyNumber);
  return utf8(line) + extra + "\n";
}

std::string hexOf(const std::string& bytes) {
  static const char digits[] = "0123456789ABCDEF";
  std::string text;
  for (unsigned char b : bytes) {
    text.push_back(digits[b >> 4]);
    text.push_back(digits[b & 15]);
  }
  return text;
}

// A folder id of the product: flags, provider, type 1, object.
std::string folderEntryId(const Guid& provider, const Guid& object) {
  std::string bytes(4, '\0');
  bytes.append(reinterpret_cast<const char*>(provider.bytes()), 16);
  bytes.append("\x01\0\0\0", 4);
  bytes.append(reinterpret_cast<const char*>(object.bytes()), 16);
  return bytes;
}

template <class Body>
HResultException raised(Body&& body) {
  try {
    body();
  } catch (const HResultException& e) {
    return e;
  }
  ADD_FAILURE() << "nothing was raised";
  return HResultException(S_OK, nullptr, 0, nullptr, nullptr);
}

bool mentions(const HResultException& e, const wchar_t* text) { return e.text().find(text) != std::wstring::npos; }

size_t countCalls(const StandIn& host, const std::wstring& call) {
  size_t n = 0;
  for (const auto& c : host.calls()) n += c == call;
  return n;
}

class StoreDiscovery : public ::testing::Test {
 protected:
  void SetUp() override { blocksBefore_ = ReferenceStore::ReferenceAllocator::liveBlocks(); }
  void TearDown() override {
#ifndef _WIN32
    // On Windows the rows come from the system's MAPI memory, which the reference
    // allocator does not count.
    EXPECT_EQ(ReferenceStore::ReferenceAllocator::liveBlocks(), blocksBefore_) << "a MAPI block was not released";
#endif
    if (host_) {
      EXPECT_EQ(host_->liveTables(), 0u) << "a store table was not released";
    }
  }

  StandIn& host(const std::string& profileText) {
    host_ = std::make_unique<StandIn>(OutlookStandIn::parseProfile(profileText));
    return *host_;
  }

  std::unique_ptr<StandIn> host_;
  size_t blocksBefore_ = 0;
};

// ---- Which stores join which account ----------------------------------------------------

struct JoinCase {
  const char* name;
  std::string profile;
  // Store key number -> (kind, key number of the private store whose config it gets).
  std::map<int, std::pair<StoreKind, int>> expected;
};

void PrintTo(const JoinCase& c, std::ostream* os) { *os << c.name; }

class StoreJoining : public StoreDiscovery, public ::testing::WithParamInterface<JoinCase> {};

TEST_P(StoreJoining, EachStoreGetsItsKindAndTheConfigOfItsServicesPrivateStore) {
  const JoinCase& c = GetParam();
  StandIn& h = host(c.profile);
  // The index of each key in the profile, to reach its reference store.
  std::map<int, size_t> indexOfKey;
  for (size_t i = 0; i < h.profile().stores.size(); ++i)
    for (int n = 1; n < 99; ++n)
      if (h.profile().stores[i].recordKey == guid(key(n).c_str())) indexOfKey[n] = i;

  StoreConfigs configs;
  getMsoGlobalConfigs(h.nameSpace().get(), configs);

  ASSERT_EQ(configs.size(), c.expected.size());
  for (const auto& [keyNumber, want] : c.expected) {
    SCOPED_TRACE("store key " + std::to_string(keyNumber));
    const auto found = configs.find(guid(key(keyNumber).c_str()));
    ASSERT_NE(found, configs.end());
    EXPECT_EQ(found->second.kind, want.first);
    EXPECT_FALSE(found->second.abAttached);
    const ComRef<IGlobalConfig> own = h.store(indexOfKey.at(want.second)).globalConfig();
    EXPECT_EQ(found->second.config.get(), own.get());
  }
  // Only private stores are opened, each once.
  size_t privates = 0;
  for (const auto& s : h.profile().stores) privates += s.kind == OutlookStandIn::StoreKind::Private;
  EXPECT_EQ(countCalls(h, L"IMAPISession.OpenMsgStore"), privates);
}

std::string manyPrivateStores(int count) {
  std::string text;
  for (int i = 1; i <= count; ++i) text += storeLine(L"private", 1 + i % 9, i);
  return text;
}

std::map<int, std::pair<StoreKind, int>> eachItsOwnPrivate(int count) {
  std::map<int, std::pair<StoreKind, int>> expected;
  for (int i = 1; i <= count; ++i) expected[i] = {kStorePrivate, i};
  return expected;
}

INSTANTIATE_TEST_SUITE_P(
    Profiles, StoreJoining,
    ::testing::Values(
        JoinCase{"PublicRowBeforeItsPrivateRow",
                 storeLine(L"public", 1, 2) + storeLine(L"private", 1, 1),
                 {{1, {kStorePrivate, 1}}, {2, {kStorePublic, 1}}}},
        JoinCase{"DelegateWithoutPrivateStoreLeftOut",
                 storeLine(L"private", 1, 1) + storeLine(L"delegate", 2, 2),
                 {{1, {kStorePrivate, 1}}}},
        JoinCase{"TwoAccountsEachPublicJoinsItsOwn",
                 storeLine(L"public", 2, 3) + storeLine(L"private", 1, 1) + storeLine(L"public", 1, 2) +
                     storeLine(L"private", 2, 4) + storeLine(L"delegate", 1, 5),
                 {{1, {kStorePrivate, 1}},
                  {2, {kStorePublic, 1}},
                  {3, {kStorePublic, 4}},
                  {4, {kStorePrivate, 4}},
                  {5, {kStoreDelegate, 1}}}},
        JoinCase{"ForeignStoresSkipped",
                 storeLine(L"foreign", 0, 7) + storeLine(L"private", 1, 1) + storeLine(L"foreign", 0, 8),
                 {{1, {kStorePrivate, 1}}}},
        JoinCase{"MoreStoresThanOneBatch", manyPrivateStores(51), eachItsOwnPrivate(51)}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(StoreDiscovery, StoreTableIsReadFiftyRowsAtATimeUntilEmpty) {
  StandIn& h = host(manyPrivateStores(51));
  MsgStoresMap stores;
  EXPECT_TRUE(AddIn::Utils::details::getMsgStoresMap(h.session().get(), stores));
  // 50, then 1, then none.
  EXPECT_EQ(countCalls(h, L"IMAPITable.QueryRows"), 3u);
}

struct NoPrivateCase {
  const char* name;
  std::string profile;
};

void PrintTo(const NoPrivateCase& c, std::ostream* os) { *os << c.name; }

class NoPrivateStore : public StoreDiscovery, public ::testing::WithParamInterface<NoPrivateCase> {};

TEST_P(NoPrivateStore, RaisesNotFoundWithItsMessage) {
  StandIn& h = host(GetParam().profile);
  StoreConfigs configs;
  const HResultException e = raised([&] { getMsoGlobalConfigs(h.nameSpace().get(), configs); });
  EXPECT_EQ(e.getHResult(), MAPI_E_NOT_FOUND);
  EXPECT_TRUE(mentions(e, L"No private store found")) << utf8(e.text());
}

INSTANTIATE_TEST_SUITE_P(Profiles, NoPrivateStore,
                         ::testing::Values(NoPrivateCase{"DelegateAlone", storeLine(L"delegate", 1, 1)},
                                           NoPrivateCase{"PublicOfAnotherService",
                                                         storeLine(L"public", 2, 2) + storeLine(L"foreign", 0, 3)},
                                           NoPrivateCase{"OnlyForeign", storeLine(L"foreign", 0, 1)},
                                           NoPrivateCase{"Empty", ""}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(StoreDiscovery, ProviderNamesMatchWholeAndWithCase) {
  const std::wstring name = kPrivateStoreProvider;
  EXPECT_EQ(storeKindOfProvider(name.c_str(), name.size()), kStorePrivate);
  std::wstring lower = name;
  lower[0] = L'z';
  EXPECT_EQ(storeKindOfProvider(lower.c_str(), lower.size()), kStoreForeign);
  EXPECT_EQ(storeKindOfProvider(name.c_str(), name.size() - 1), kStoreForeign);
  const std::wstring longer = name + L" ";
  EXPECT_EQ(storeKindOfProvider(longer.c_str(), longer.size()), kStoreForeign);
  EXPECT_EQ(storeKindOfProvider(kDelegateStoreProvider, std::wcslen(kDelegateStoreProvider)), kStoreDelegate);
  EXPECT_EQ(storeKindOfProvider(nullptr, 0), kStoreForeign);
}

// ---- Rows of the wrong shape, and failures of the session ------------------------------

class WrongColumns : public StoreDiscovery, public ::testing::WithParamInterface<std::vector<ULONG>> {};

TEST_P(WrongColumns, RaiseInvalidArgAndReleaseTheRows) {
  StandIn& h = host(storeLine(L"private", 1, 1));
  h.answerColumns(GetParam());
  MsgStoresMap stores;
  EXPECT_EQ(raised([&] { AddIn::Utils::details::getMsgStoresMap(h.session().get(), stores); }).getHResult(), E_INVALIDARG);
  EXPECT_TRUE(stores.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, WrongColumns,
    ::testing::Values(std::vector<ULONG>{PR_PROVIDER_DISPLAY_W, PR_ENTRYID, PR_RECORD_KEY},
                      std::vector<ULONG>{PR_PROVIDER_DISPLAY_W, PR_RECORD_KEY, PR_ENTRYID, PR_SERVICE_UID},
                      std::vector<ULONG>{PR_PROVIDER_DISPLAY_W, PR_ENTRYID, PR_RECORD_KEY, PR_SERVICE_UID,
                                         PR_DEFAULT_STORE},
                      // A column the store lacks comes back as an error value.
                      std::vector<ULONG>{PR_PROVIDER_DISPLAY_W, PR_ENTRYID, PR_RECORD_KEY, PR_RESOURCE_FLAGS}));

struct InjectedFailure {
  const wchar_t* member;
  HRESULT code;
};

void PrintTo(const InjectedFailure& c, std::ostream* os) { *os << utf8(c.member); }

class InjectedFailures : public StoreDiscovery, public ::testing::WithParamInterface<InjectedFailure> {};

TEST_P(InjectedFailures, RaiseTheirCodeAndLeakNothing) {
  StandIn& h = host(storeLine(L"public", 1, 2) + storeLine(L"private", 1, 1) + storeLine(L"private", 2, 3));
  h.failNext(GetParam().member, GetParam().code);
  StoreConfigs configs;
  EXPECT_EQ(raised([&] { getMsoGlobalConfigs(h.nameSpace().get(), configs); }).getHResult(), GetParam().code);
  EXPECT_TRUE(configs.empty());
}

INSTANTIATE_TEST_SUITE_P(Members, InjectedFailures,
                         ::testing::Values(InjectedFailure{L"QueryRows", MAPI_E_CALL_FAILED},
                                           InjectedFailure{L"OpenMsgStore", MAPI_E_NOT_FOUND},
                                           InjectedFailure{L"OpenProperty", MAPI_E_NO_ACCESS},
                                           InjectedFailure{L"GetMsgStoresTable", E_OUTOFMEMORY},
                                           InjectedFailure{L"SetColumns", MAPI_E_BUSY},
                                           InjectedFailure{L"MAPIOBJECT", E_ACCESSDENIED}),
                         [](const auto& info) { return utf8(info.param.member); });

TEST_F(StoreDiscovery, EveryStoreOfTheProfileIsOpenedAndOnlyTheProductsHaveConfigs) {
  StandIn& h = host(storeLine(L"foreign", 0, 9) + storeLine(L"public", 1, 2) + storeLine(L"private", 1, 1));
  const auto stores = AddIn::Utils::details::getMsgStores(h.nameSpace().get());
  ASSERT_EQ(stores.size(), 3u);
  EXPECT_EQ(countCalls(h, L"IMAPISession.OpenMsgStore"), 3u);
  bool configs[3] = {};
  for (size_t i = 0; i < stores.size(); ++i) {
    ComRef<IUnknown> config;
    configs[i] = SUCCEEDED(stores[i]->OpenProperty(kConfigPropertyTag, &IID_IUnknown, 0, 0, config.put()));
  }
  EXPECT_FALSE(configs[0]);
  EXPECT_TRUE(configs[1]);
  EXPECT_TRUE(configs[2]);
  h.failNext(L"OpenMsgStore", MAPI_E_FAILONEPROVIDER);
  EXPECT_EQ(raised([&] { AddIn::Utils::details::getMsgStores(h.nameSpace().get()); }).getHResult(),
            MAPI_E_FAILONEPROVIDER);
}

TEST_F(StoreDiscovery, ForeignStoreRefusesTheConfigProperty) {
  StandIn& h = host(storeLine(L"foreign", 0, 1));
  ComRef<IMAPITable> table;
  ASSERT_EQ(h.session()->GetMsgStoresTable(0, table.put()), S_OK);
  table.reset();
  const std::string entryId = std::string("FRGN", 4) + std::string(reinterpret_cast<const char*>(guid(key(1).c_str()).bytes()), 16);
  ComRef<IMsgStore> store;
  ASSERT_EQ(h.session()->OpenMsgStore(0, static_cast<ULONG>(entryId.size()),
                                      reinterpret_cast<LPENTRYID>(const_cast<char*>(entryId.data())), &IID_IMsgStore,
                                      MAPI_BEST_ACCESS, store.put()),
            S_OK);
  ComRef<IGlobalConfig> config;
  EXPECT_EQ(raised([&] { AddIn::Utils::details::getConfigForObject(store.get(), config); }).getHResult(), MAPI_E_NOT_FOUND);
  EXPECT_FALSE(config);
}

TEST_F(StoreDiscovery, ConfigForObjectRejectsNullAndFilledOut) {
  StandIn& h = host(storeLine(L"private", 1, 1));
  ComRef<IGlobalConfig> config;
  EXPECT_EQ(raised([&] { AddIn::Utils::details::getConfigForObject(nullptr, config); }).getHResult(), E_INVALIDARG);
  ComRef<IGlobalConfig> filled = h.store(0).globalConfig();
  EXPECT_EQ(raised([&] { AddIn::Utils::details::getConfigForObject(h.store(0).mapiStore().get(), filled); }).getHResult(),
            E_INVALIDARG);
}

// ---- The default store ------------------------------------------------------------------

struct StatusCase {
  const char* name;
  std::string profile;
  int expected;
};

void PrintTo(const StatusCase& c, std::ostream* os) { *os << c.name; }

class DefaultStoreStatus : public StoreDiscovery, public ::testing::WithParamInterface<StatusCase> {};

TEST_P(DefaultStoreStatus, IsTwoOnlyWhenTheDefaultStoreIsOneOfTheConfigs) {
  StandIn& h = host(GetParam().profile);
  StoreConfigs configs;
  getMsoGlobalConfigs(h.nameSpace().get(), configs);
  EXPECT_EQ(getMsoMsgStoreStatus(h.nameSpace().get(), configs), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Profiles, DefaultStoreStatus,
    ::testing::Values(
        StatusCase{"PrivateDefault", storeLine(L"foreign", 0, 9) + storeLine(L"private", 1, 1, " default"), 2},
        StatusCase{"PublicDefault", storeLine(L"private", 1, 1) + storeLine(L"public", 1, 2, " default"), 2},
        StatusCase{"ForeignDefault", storeLine(L"private", 1, 1) + storeLine(L"foreign", 0, 9, " default"), 0},
        StatusCase{"DelegateLeftOutDefault",
                   storeLine(L"private", 1, 1) + storeLine(L"delegate", 2, 2, " default"), 0},
        StatusCase{"NoDefault", storeLine(L"private", 1, 1), 0}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(StoreDiscovery, DefaultStoreStatusFindsTheStoreByRestrictionNotByScanning) {
  StandIn& h = host(manyPrivateStores(20) + storeLine(L"private", 1, 21, " default"));
  StoreConfigs configs;
  getMsoGlobalConfigs(h.nameSpace().get(), configs);
  h.clearCalls();
  EXPECT_EQ(getMsoMsgStoreStatus(h.nameSpace().get(), configs), 2);
  EXPECT_EQ(countCalls(h, L"IMAPITable.Restrict"), 1u);
  EXPECT_EQ(countCalls(h, L"IMAPITable.QueryRows"), 1u);
}

TEST_F(StoreDiscovery, DefaultStoreStatusRaisesAFailedRestriction) {
  StandIn& h = host(storeLine(L"private", 1, 1, " default"));
  StoreConfigs configs;
  getMsoGlobalConfigs(h.nameSpace().get(), configs);
  h.failNext(L"Restrict", MAPI_E_TOO_COMPLEX);
  EXPECT_EQ(raised([&] { getMsoMsgStoreStatus(h.nameSpace().get(), configs); }).getHResult(), MAPI_E_TOO_COMPLEX);
}

// ---- MAPI objects behind host objects ----------------------------------------------------

// A host object whose MAPIOBJECT is whatever the test puts there.
class OddHostObject final : public iui_::IUnknownImpl<zelvo::DispatchImpl<OddHostObject>> {
 public:
  explicit OddHostObject(Variant value) : value_(std::move(value)) {}
  static const zelvo::DispatchTable<OddHostObject>& dispatchTable() {
    static const zelvo::DispatchTable<OddHostObject> table({
        {L"MAPIOBJECT", 1, DISPATCH_PROPERTYGET, 0,
         [](OddHostObject& o, zelvo::DispatchCall& c) { c.result = o.value_; }},
    });
    return table;
  }

 private:
  Variant value_;
};

class NotAMapiObject : public StoreDiscovery, public ::testing::WithParamInterface<int> {};

TEST_P(NotAMapiObject, RaisesFailedToGetMapiObject) {
  const Variant values[] = {Variant(), Variant::fromText(L"session"), Variant::fromUnknown(nullptr),
                            Variant::fromDispatch(nullptr), Variant::fromInt32(1)};
  const ComRef<IDispatch> object =
      ComRef<IDispatch>::adopt(new OddHostObject(values[GetParam()]));
  ComRef<IMAPISession> session;
  const HResultException e = raised([&] { getMAPIObjectFor(object.get(), session); });
  EXPECT_EQ(e.getHResult(), E_FAIL);
  EXPECT_TRUE(mentions(e, L"Failed to get MAPIOBJECT")) << utf8(e.text());
}

INSTANTIATE_TEST_SUITE_P(Values, NotAMapiObject, ::testing::Range(0, 5));

TEST_F(StoreDiscovery, MapiObjectOfTheWrongTypeIsNoInterface) {
  StandIn& h = host(storeLine(L"private", 1, 1));
  ComRef<IMAPIFolder> folder;
  EXPECT_EQ(raised([&] { getMAPIObjectFor(h.nameSpace().get(), folder); }).getHResult(), E_NOINTERFACE);
  ComRef<IMAPISession> session;
  EXPECT_EQ(raised([&] { getMAPIObjectFor(nullptr, session); }).getHResult(), E_INVALIDARG);
  session = h.session();
  EXPECT_EQ(raised([&] { getMAPIObjectFor(h.nameSpace().get(), session); }).getHResult(), E_INVALIDARG);
}

TEST_F(StoreDiscovery, FolderConfigBelongsToItsStoreAndGivesTheStoreAllocator) {
  StandIn& h = host(storeLine(L"private", 1, 1) + "folder Inbox 00 default=6\n");
  ComRef<IFolderConfig> folderConfig;
  getMsoFolderConfig(h.folder(0, L"Inbox").get(), folderConfig);
  ASSERT_TRUE(folderConfig);
  ComRef<IGlobalConfig> owner;
  ASSERT_EQ(folderConfig->getGlobalConfig(owner.put()), S_OK);
  EXPECT_EQ(owner.get(), h.store(0).globalConfig().get());

  ComRef<IStoreAllocator> allocator;
  getAllocatorFromConfig(folderConfig.get(), allocator);
  MapiAlloc functions;
  MapiAlloc::getAlloc(functions, allocator.get());
  EXPECT_TRUE(functions.isSet());
  ComRef<IStoreAllocator> fromStore;
  getAllocatorFromConfig(owner.get(), fromStore);
  EXPECT_TRUE(fromStore);

  EXPECT_EQ(raised([&] { getMsoFolderConfig(h.folder(0, L"Inbox").get(), folderConfig); }).getHResult(),
            E_INVALIDARG);
  ComRef<IFolderConfig> none;
  EXPECT_EQ(raised([&] { getMsoFolderConfig(h.folder(0, L"Nowhere").get(), none); }).getHResult(),
            MAPI_E_NOT_FOUND);
}

TEST_F(StoreDiscovery, DefaultFolderIsToldByItsEntryIdText) {
  StandIn& h = host(storeLine(L"private", 1, 1, " default") + "folder Inbox 0102 default=6\nfolder Sent 0304 default=5\n");
  EXPECT_TRUE(isMsoDefaultFolder(h.nameSpace().get(), h.folder(0, L"Inbox").get(), 6));
  EXPECT_FALSE(isMsoDefaultFolder(h.nameSpace().get(), h.folder(0, L"Sent").get(), 6));
  EXPECT_TRUE(isMsoDefaultFolder(h.nameSpace().get(), h.folder(0, L"Sent").get(), 5));
  EXPECT_EQ(raised([&] { isMsoDefaultFolder(h.nameSpace().get(), h.folder(0, L"Inbox").get(), 9); }).getHResult(),
            MAPI_E_NOT_FOUND);
  EXPECT_EQ(raised([&] { isMsoDefaultFolder(nullptr, h.folder(0, L"Inbox").get(), 6); }).getHResult(), E_INVALIDARG);
}

// ---- Entry ids and the window in front ----------------------------------------------------

struct HexCase {
  const wchar_t* text;
  const char* bytes;  // null: raises E_INVALIDARG
  size_t size;
};

void PrintTo(const HexCase& c, std::ostream* os) { *os << utf8(c.text); }

class HexText : public ::testing::TestWithParam<HexCase> {};

TEST_P(HexText, DecodesUpperCaseDigitPairsOnly) {
  const HexCase& c = GetParam();
  if (!c.bytes) {
    EXPECT_EQ(raised([&] { strHex2Bin(c.text); }).getHResult(), E_INVALIDARG);
    return;
  }
  EXPECT_EQ(strHex2Bin(c.text), std::string(c.bytes, c.size));
}

INSTANTIATE_TEST_SUITE_P(Texts, HexText,
                         ::testing::Values(HexCase{L"", "", 0}, HexCase{L"00FF10", "\x00\xFF\x10", 3},
                                           HexCase{L"9A", "\x9A", 1}, HexCase{L"0a", nullptr, 0},
                                           HexCase{L"ABC", nullptr, 0}, HexCase{L"0G", nullptr, 0},
                                           HexCase{L" 0", nullptr, 0}, HexCase{L"0x", nullptr, 0}));

TEST(StoreGuid, FromEntryIdText) {
  const Guid provider = guid(service(1).c_str());
  const Guid store = guid(key(1).c_str());
  Guid out;
  EXPECT_EQ(getStoreGuid(std::wstring(), out), 0);
  const std::string hex = hexOf(folderEntryId(provider, store));
  EXPECT_EQ(getStoreGuid(std::wstring(hex.begin(), hex.end()), out), 1);
  EXPECT_EQ(out, store);
  // Another provider's id does not take apart.
  Guid untouched = provider;
  EXPECT_EQ(getStoreGuid(L"00000000DEADBEEF", untouched), 2);
  EXPECT_EQ(untouched, provider);
}

class WindowInFront : public StoreDiscovery {
 protected:
  void SetUp() override {
    StoreDiscovery::SetUp();
    const std::string own = hexOf(folderEntryId(guid(service(1).c_str()), guid(key(1).c_str())));
    ownId_ = std::wstring(own.begin(), own.end());
    host(storeLine(L"private", 1, 1, " default") + "folder Inbox " + own + " default=6\n" +
         "folder Other 00000000AABBCCDD\n");
  }
  std::wstring ownId_;
};

TEST_F(WindowInFront, NoWindowOpenGivesZero) {
  Guid out;
  EXPECT_EQ(getStoreGuid(NameSpace{host_->nameSpace().get()}, out), 0);
  EXPECT_EQ(countCalls(*host_, L"Application.ActiveInspector"), 1u);
}

TEST_F(WindowInFront, ExplorerOnAFolderOfTheProduct) {
  host_->openExplorer(host_->folder(0, L"Inbox").get());
  Guid out;
  EXPECT_EQ(getStoreGuid(NameSpace{host_->nameSpace().get()}, out), 1);
  EXPECT_EQ(out, guid(key(1).c_str()));
  EXPECT_EQ(countCalls(*host_, L"Application.ActiveInspector"), 0u);
}

TEST_F(WindowInFront, ExplorerOnAnotherProvidersFolderIsTwoAndEndsTheSearch) {
  host_->openExplorer(host_->folder(0, L"Other").get());
  host_->openInspector(host_->mailItem(ownId_).get());
  Guid out;
  EXPECT_EQ(getStoreGuid(NameSpace{host_->nameSpace().get()}, out), 2);
  EXPECT_EQ(countCalls(*host_, L"Application.ActiveInspector"), 0u);
}

TEST_F(WindowInFront, ExplorerWithoutFolderFallsBackToTheInspector) {
  host_->openExplorer(nullptr);
  host_->openInspector(host_->mailItem(ownId_).get());
  Guid out;
  EXPECT_EQ(getStoreGuid(NameSpace{host_->nameSpace().get()}, out), 1);
  EXPECT_EQ(out, guid(key(1).c_str()));
}

TEST_F(WindowInFront, InspectorWithoutItemOrWithEmptyIdGivesZero) {
  host_->openInspector(nullptr);
  Guid out;
  EXPECT_EQ(getStoreGuid(NameSpace{host_->nameSpace().get()}, out), 0);
  host_->openInspector(host_->mailItem(L"").get());
  EXPECT_EQ(getStoreGuid(NameSpace{host_->nameSpace().get()}, out), 0);
}

TEST_F(WindowInFront, WindowFormAsksForTheExplorerThenTheInspector) {
  Guid out;
  host_->openExplorer(host_->folder(0, L"Inbox").get());
  const ComRef<IDispatch> explorer = zelvo::callMethod(host_->application().get(), L"ActiveExplorer").toDispatch();
  EXPECT_EQ(getStoreGuid(Window{explorer.get()}, out), 1);
  host_->openInspector(host_->mailItem(ownId_).get());
  const ComRef<IDispatch> inspector = zelvo::callMethod(host_->application().get(), L"ActiveInspector").toDispatch();
  out = Guid();
  EXPECT_EQ(getStoreGuid(Window{inspector.get()}, out), 1);
  EXPECT_EQ(out, guid(key(1).c_str()));
  // A mail item is neither window.
  EXPECT_EQ(getStoreGuid(Window{host_->mailItem(ownId_).get()}, out), 0);
  EXPECT_EQ(getStoreGuid(Window{nullptr}, out), 0);
}

TEST_F(WindowInFront, AFailingHostCallIsRaised) {
  host_->failNext(L"ActiveExplorer", MAPI_E_BUSY);
  Guid out;
  EXPECT_EQ(raised([&] { getStoreGuid(NameSpace{host_->nameSpace().get()}, out); }).getHResult(),
            MAPI_E_BUSY);
}

// ---- Folder names and the host's version -------------------------------------------------

TEST_F(StoreDiscovery, FolderNameTranslatedByTheStoreOrKeptWhenItFails) {
  StandIn& h = host(storeLine(L"private", 1, 1));
  ReferenceStore::Mailbox mailbox = h.store(0).mailbox();
  mailbox.folderNames[6] = L"Posteingang";
  h.store(0).setMailbox(mailbox);
  const ComRef<IGlobalConfig> config = h.store(0).globalConfig();
  EXPECT_EQ(translateFolderName(config.get(), L"Inbox", 6), L"Posteingang");
  h.store(0).failNext(ReferenceStore::Operation::TranslateFolderName, MAPI_E_CALL_FAILED);
  EXPECT_EQ(translateFolderName(config.get(), L"Inbox", 6), L"Inbox");
  EXPECT_EQ(raised([&] { translateFolderName(nullptr, L"Inbox", 6); }).getHResult(), E_INVALIDARG);
}

struct VersionCase {
  const wchar_t* text;
  ULONG major, minor, build, revision;
};

void PrintTo(const VersionCase& c, std::ostream* os) { *os << utf8(c.text); }

class HostVersion : public StoreDiscovery, public ::testing::WithParamInterface<VersionCase> {};

TEST_P(HostVersion, IsScannedFromTheVersionText) {
  const VersionCase& c = GetParam();
  StandIn& h = host("version " + utf8(c.text) + "\n");
  const MsoVersion v = AddIn::Utils::details::queryMsoApplicationVersion(h.application().get());
  EXPECT_EQ(v.text, c.text);
  EXPECT_EQ(v.major, c.major);
  EXPECT_EQ(v.minor, c.minor);
  EXPECT_EQ(v.build, c.build);
  EXPECT_EQ(v.revision, c.revision);
}

INSTANTIATE_TEST_SUITE_P(Texts, HostVersion,
                         ::testing::Values(VersionCase{L"16.0.5095.1000", 16, 0, 5095, 1000},
                                           VersionCase{L"11.0.8169", 11, 0, 8169, 0},
                                           VersionCase{L"12", 12, 0, 0, 0},
                                           VersionCase{L"15.0.x.7", 15, 0, 0, 0}));

// ---- Profiles read from files ----------------------------------------------------------

TEST_F(StoreDiscovery, ProfileFileWithSeveralStoresIsFound) {
  const std::string path = zelvo::testing::sourcePath("tests/addin/data/profile-discovery.txt");
  ASSERT_FALSE(path.empty()) << "ZELVO_SOURCE_DIR is not set";
  host_ = StandIn::load(path);
  StandIn& h = *host_;
  EXPECT_EQ(h.profile().version, L"16.0.5095.1000");
  EXPECT_EQ(h.profile().commandLine, L"\"C:\\Program Files\\Office\\OUTLOOK.EXE\" /profile Work");

  StoreConfigs configs;
  getMsoGlobalConfigs(h.nameSpace().get(), configs);
  const std::map<int, StoreKind> expected = {
      {1, kStorePrivate}, {2, kStorePublic}, {3, kStorePrivate}, {4, kStoreDelegate}};
  ASSERT_EQ(configs.size(), expected.size());
  for (const auto& [n, kind] : expected) EXPECT_EQ(configs.at(guid(key(n).c_str())).kind, kind) << n;
  EXPECT_EQ(getMsoMsgStoreStatus(h.nameSpace().get(), configs), 2);

  // The default inbox of the file names the work account's private store.
  h.openExplorer(zelvo::callMethod(h.nameSpace().get(), L"GetDefaultFolder", {Variant::fromInt32(6)}).toDispatch().get());
  Guid store;
  ASSERT_EQ(getStoreGuid(NameSpace{h.nameSpace().get()}, store), 1);
  EXPECT_EQ(configs.at(store).config.get(), configs.at(guid(key(1).c_str())).config.get());
}

TEST_F(StoreDiscovery, ProfileStoreReadsItsSavedMailbox) {
  const auto folder = zelvo::testing::uniqueTempPath("standin-profile");
  std::filesystem::create_directories(folder / "work");
  ReferenceStore::Mailbox mailbox;
  mailbox.folderNames[6] = L"Posteingang";
  ReferenceStore::saveMailbox(mailbox, (folder / "work").string());
  {
    std::ofstream profile(folder / "profile.txt", std::ios::binary);
    profile << storeLine(L"private", 1, 1, " mailbox=work");
  }
  host_ = StandIn::load((folder / "profile.txt").string());
  StoreConfigs configs;
  getMsoGlobalConfigs(host_->nameSpace().get(), configs);
  const ComRef<IGlobalConfig> config = configs.at(guid(key(1).c_str())).config;
  EXPECT_EQ(translateFolderName(config.get(), L"Inbox", 6), L"Posteingang");
  // The profile's service wins over what the saved mailbox says.
  EXPECT_EQ(host_->store(0).mailbox().serviceUid, guid(service(1).c_str()));
  std::filesystem::remove_all(folder);
}

struct BadProfile {
  const char* text;
  const wchar_t* message;
};

void PrintTo(const BadProfile& c, std::ostream* os) { *os << c.text; }

class ProfileErrors : public ::testing::TestWithParam<BadProfile> {};

TEST_P(ProfileErrors, NameTheLineAndTheProblem) {
  const HResultException e = raised([&] { OutlookStandIn::parseProfile(GetParam().text); });
  EXPECT_EQ(e.getHResult(), E_INVALIDARG);
  EXPECT_TRUE(mentions(e, GetParam().message)) << utf8(e.text());
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ProfileErrors,
    ::testing::Values(
        BadProfile{"# fine\nstores private\n", L"profile line 2: unknown keyword stores"},
        BadProfile{"store private key={0B000000-0000-0000-0000-000000000001}\n",
                   L"profile line 1: store of the product without service"},
        BadProfile{"store shared key={0B000000-0000-0000-0000-000000000001}\n",
                   L"profile line 1: unknown store kind shared"},
        BadProfile{"store foreign key=0B000000\n", L"profile line 1: key is not a {GUID}: 0B000000"},
        BadProfile{"store foreign name=\"Personal key={0B000000-0000-0000-0000-000000000001}\n",
                   L"profile line 1: unterminated quote"},
        BadProfile{"store foreign key={0B000000-0000-0000-0000-000000000001}\nfolder Inbox 00\n",
                   L"profile line 2: folder without a store of the product before it"},
        BadProfile{"store foreign key={0B000000-0000-0000-0000-000000000001}\n"
                   "store foreign key={0B000000-0000-0000-0000-000000000001}\n",
                   L"profile line 2: key of an earlier store"},
        BadProfile{"store delegate service={0A000000-0000-0000-0000-000000000001} "
                   "key={0B000000-0000-0000-0000-000000000001} colour=red\n",
                   L"profile line 1: unknown field colour"}));

TEST(ProfileFile, MissingFileIsNamed) {
  const auto path = zelvo::testing::uniqueTempPath("no-profile").string();
  const HResultException e = raised([&] { OutlookStandIn::loadProfile(path); });
  EXPECT_EQ(e.getHResult(), STG_E_FILENOTFOUND);
}

}  // namespace
