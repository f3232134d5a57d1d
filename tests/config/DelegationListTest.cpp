#include <gtest/gtest.h>

#include <functional>

#include "config/DelegationList.h"
#include "store/reference/ReferenceAllocator.h"
#include "store/reference/ReferenceStore.h"
#include "testing/TestEnvironment.h"
#include "tests/store/StoreTestSupport.h"

using namespace zelvo::config;
using AddIn::kDelegateNotFound;
using ReferenceStore::Delegate;
using ReferenceStore::Operation;

namespace {

// Stands in for the configuration properties object: IUnknown, and a count of changes.
class Delegation final : public DelegationListImpl {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** out) override {
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  int changes = 0;

 protected:
  void onChanged() override { ++changes; }
};

ReferenceStore::Mailbox delegationMailbox() {
  ReferenceStore::Mailbox m;
  m.delegates = {{4, L"tom@example.com", L"Tom", true},
                 {5, L"", L"No address", false},  // comes as a null address
                 {6, L"", L"", true},             // both null: skipped
                 {7, L"ann@example.com", L"", false}};
  m.delegators = {{1, L"boss@example.com", L"The Boss", false}};
  m.nextDelegateId = 10;
  return m;
}

class DelegationListTest : public storetest::StoreTest {
 protected:
  ReferenceStore::Store store{delegationMailbox()};
  ComRef<IGlobalConfig> config{store.globalConfig()};
  Delegation list;

  // The ids of a list as the page walks it.
  std::vector<ULONG> walk(ULONG kind) {
    std::vector<ULONG> ids;
    ULONG id = 0;
    for (HRESULT hr = list.getFirst(kind, &id); hr == S_OK; hr = list.getNext(kind, &id)) ids.push_back(id);
    EXPECT_EQ(id, 0u) << "the end gives id 0";
    return ids;
  }
  std::vector<Delegate> entries(ULONG kind) {
    std::vector<Delegate> result;
    for (ULONG id : walk(kind)) {
      Delegate d;
      d.id = id;
      EXPECT_EQ(list.getDelegate(kind, id, d.address, d.displayName, d.grant), S_OK);
      result.push_back(d);
    }
    return result;
  }
  template <class Call>
  HRESULT raised(Call&& call) {
    try {
      call();
      return S_OK;
    } catch (const HResultException& e) {
      return e.getHResult();
    }
  }
};

TEST_F(DelegationListTest, LoadsBothListsSkippingRecordsWithoutAnyName) {
  list.loadDelegationList(config.get());
  const std::vector<Delegate> delegates = {
      {4, L"tom@example.com", L"Tom", true}, {5, L"", L"No address", false}, {7, L"ann@example.com", L"", false}};
  EXPECT_EQ(entries(0), delegates);
  EXPECT_EQ(entries(1), delegationMailbox().delegators);
  EXPECT_EQ(entries(42), delegationMailbox().delegators) << "any kind but 0 is the delegators";
  ULONG count = 0;
  EXPECT_EQ(list.getCount(0, &count), S_OK);
  EXPECT_EQ(count, 3u);
  EXPECT_FALSE(list.isDelegationModified());
}

TEST_F(DelegationListTest, MissingEntriesAnswerTheNotFoundCode) {
  ULONG id = 99;
  EXPECT_EQ(list.getFirst(0, &id), kDelegateNotFound) << "nothing loaded";
  EXPECT_EQ(id, 0u);
  list.loadDelegationList(config.get());
  id = 99;
  EXPECT_EQ(list.getNext(0, &id), kDelegateNotFound) << "no getFirst yet";
  EXPECT_EQ(id, 0u);
  std::wstring address = L"x", name = L"y";
  bool grant = true;
  EXPECT_EQ(list.getDelegate(0, 1, address, name, grant), kDelegateNotFound) << "1 is a delegator's id";
  EXPECT_EQ(address + name, L"");
  EXPECT_EQ(list.removeDelegate(1), kDelegateNotFound);
  EXPECT_EQ(list.toggleDelegate(1, &grant), kDelegateNotFound);
  EXPECT_EQ(list.changes, 0);
}

TEST_F(DelegationListTest, EditsChangeOnlyMemoryUntilSavedExceptTheNewId) {
  list.loadDelegationList(config.get());
  ULONG id = 0;
  EXPECT_EQ(list.addDelegate(L"new@example.com", L"New", true, &id), S_OK);
  EXPECT_EQ(id, 10u);
  bool grant = true;
  EXPECT_EQ(list.toggleDelegate(4, &grant), S_OK);
  EXPECT_FALSE(grant);
  EXPECT_EQ(list.removeDelegate(5), S_OK);
  EXPECT_EQ(list.changes, 3);
  EXPECT_TRUE(list.isDelegationModified());
  EXPECT_EQ(store.mailbox().delegates, delegationMailbox().delegates);
  EXPECT_EQ(store.mailbox().nextDelegateId, 11u) << "the id is taken from the store at once";

  list.saveDelegationList();
  const std::vector<Delegate> saved = {
      {4, L"tom@example.com", L"Tom", false}, {7, L"ann@example.com", L"", false}, {10, L"new@example.com", L"New", true}};
  EXPECT_EQ(store.mailbox().delegates, saved) << "the gap closed, the order kept";
  EXPECT_EQ(store.mailbox().delegators, delegationMailbox().delegators);
  EXPECT_FALSE(list.isDelegationModified());
}

TEST_F(DelegationListTest, AddDelegateRefusals) {
  Delegation unloaded;
  ULONG id = 77;
  EXPECT_EQ(unloaded.addDelegate(L"a@b", L"", false, &id), MAPI_E_NOT_INITIALIZED);

  list.loadDelegationList(config.get());
  const struct {
    const wchar_t* address;
    Operation failing;
    HRESULT injected;
    HRESULT result;
  } cases[] = {
      {L"", Operation::NewDelegateId, S_OK, E_INVALIDARG},
      {L"tom@example.com", Operation::NewDelegateId, S_OK, kDelegateExists},
      {L"x@example.com", Operation::NewDelegateId, E_FAIL, E_FAIL},
      {L"x@example.com", Operation::NewDelegateId, static_cast<HRESULT>(0x00040001), static_cast<HRESULT>(0x00040001)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(zelvo::testing::utf8(c.address));
    if (c.injected < 0) store.failNext(c.failing, c.injected);
    if (c.injected > 0) store.warnNext(c.failing, c.injected);
    id = 77;
    EXPECT_EQ(list.addDelegate(c.address, L"Name", false, &id), c.result);
    EXPECT_EQ(id, 77u) << "the out-parameter is left alone";
    EXPECT_EQ(walk(0).size(), 3u);
  }
  EXPECT_EQ(list.changes, 0);
  EXPECT_FALSE(list.isDelegationModified());
  EXPECT_EQ(list.addDelegate(L"TOM@example.com", L"Tom again", false, &id), S_OK) << "addresses compare exactly";
}

TEST_F(DelegationListTest, WithoutChangesSavingCallsNothingOnTheStore) {
  list.saveDelegationList();  // no config at all
  list.loadDelegationList(config.get());
  store.failNext(Operation::GetAllocator, E_FAIL);
  store.failNext(Operation::SetDelegates, E_FAIL);
  list.saveDelegationList();
  EXPECT_EQ(store.pendingFailures(), 2u);
}

TEST_F(DelegationListTest, AnEmptiedListIsStoredAsEmptyAndSavingRestartsTheDelegatesWalk) {
  list.loadDelegationList(config.get());
  for (ULONG id : walk(0)) list.removeDelegate(id);
  ULONG id = 0;
  list.saveDelegationList();
  EXPECT_TRUE(store.mailbox().delegates.empty());

  list.loadDelegationList(nullptr);  // the held config reads again
  EXPECT_TRUE(walk(0).empty());
  list.addDelegate(L"a@example.com", L"A", false, &id);
  list.addDelegate(L"b@example.com", L"B", false, &id);
  list.getFirst(0, &id);
  list.saveDelegationList();
  EXPECT_EQ(list.getNext(0, &id), kDelegateNotFound) << "the delegates' walk starts anew after a save";
}

TEST_F(DelegationListTest, AFailedSaveKeepsTheListModifiedAndTheStoreUnchanged) {
  const struct {
    const char* name;
    std::function<void()> inject;
    HRESULT code;
  } cases[] = {
      {"store refuses", [&] { store.failNext(Operation::SetDelegates, MAPI_E_NO_ACCESS); }, MAPI_E_NO_ACCESS},
      {"no allocator", [&] { store.failNext(Operation::GetAllocator, MAPI_E_CALL_FAILED); }, MAPI_E_CALL_FAILED},
      {"a string", [] { ReferenceStore::ReferenceAllocator::failAllocation(MAPI_E_NOT_ENOUGH_MEMORY, 2); },
       MAPI_E_NOT_ENOUGH_MEMORY},
  };
  list.loadDelegationList(config.get());
  list.removeDelegate(4);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    c.inject();
    EXPECT_EQ(raised([&] { list.saveDelegationList(); }), c.code);
    EXPECT_TRUE(list.isDelegationModified());
    EXPECT_EQ(store.mailbox().delegates, delegationMailbox().delegates);
  }
  list.saveDelegationList();
  EXPECT_EQ(store.mailbox().delegates.size(), 2u);
}

TEST_F(DelegationListTest, LoadFailuresAreRaisedAndWarningsGiveEmptyLists) {
  const struct {
    Operation operation;
    HRESULT code;
    size_t delegates;
  } failures[] = {
      {Operation::GetAllocator, MAPI_E_CALL_FAILED, 3},  // nothing was touched yet
      {Operation::GetDelegates, MAPI_E_NETWORK_ERROR, 0},
      {Operation::GetDelegators, MAPI_E_NETWORK_ERROR, 3},
  };
  for (const auto& c : failures) {
    SCOPED_TRACE(static_cast<int>(c.operation));
    list.loadDelegationList(config.get());
    store.failNext(c.operation, c.code);
    EXPECT_EQ(raised([&] { list.loadDelegationList(config.get()); }), c.code);
    EXPECT_EQ(walk(0).size(), c.delegates);
  }

  // A warning still hands over a block, which must go back to the store's allocator.
  store.warnNext(Operation::GetDelegates, static_cast<HRESULT>(0x00040380));
  list.loadDelegationList(config.get());
  EXPECT_TRUE(walk(0).empty());
  EXPECT_EQ(walk(1).size(), 1u);
}

}  // namespace
