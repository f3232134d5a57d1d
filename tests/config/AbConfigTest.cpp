#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

#include "base/HResultException.h"
#include "config/AbConfig.h"
#include "store/reference/ReferenceStore.h"
#include "streams/DataStream.h"
#include "streams/StreamUtils.h"
#include "tests/store/StoreTestSupport.h"

using namespace zelvo::config;

namespace {

// One request as the owner saw it: the operation, the caller's thread number and its
// call number, carried in the arguments.
struct Request {
  char operation;
  ULONG thread;
  ULONG call;
  bool operator==(const Request& o) const { return operation == o.operation && thread == o.thread && call == o.call; }
};

// What outlives the owner: the requests it received and anything that reached it late.
struct Log {
  std::vector<Request> requests;
  std::atomic<int> inside{0};       // owners running at this moment
  std::atomic<int> overlaps{0};     // times two ran at once
  std::atomic<bool> detached{false};  // set once detach has returned
  std::atomic<int> lateCalls{0};
};

ULONG numberIn(const SBinary* id) {
  ULONG n = 0;
  if (id && id->cb == sizeof(n)) std::memcpy(&n, id->lpb, sizeof(n));
  return n;
}

// Plays the add-in: records each request under the shared lock, which it also takes
// itself, as the add-in does around its address-book work.
class RecordingOwner final : public IAbConfigOwner {
 public:
  RecordingOwner(Log& log, const CLock& lock) : log_(log), lock_(lock) {}

  void addFolderToAddressBook(const SBinary* folderId, ULONG flags) override {
    record({'a', numberIn(folderId), flags});
  }
  void showContactsInAddressBook() override { record({'s', 0, 0}); }
  void removeFolderFromAddressBook(const SBinary* folderId, const SBinary* storeId, ULONG flags) override {
    record({'r', numberIn(folderId), flags + numberIn(storeId)});
  }
  void storeClosed(const GUID& storeKey) override {
    ULONG call = 0;
    std::memcpy(&call, storeKey.Data4, sizeof(call));
    record({'c', storeKey.Data1, call});
  }

  std::function<void()> during;  // runs inside each request

 private:
  void record(const Request& request) {
    CLockGuard guard(&lock_);  // recursive: the call-back holds it already
    if (log_.detached) ++log_.lateCalls;
    if (++log_.inside > 1) ++log_.overlaps;
    log_.requests.push_back(request);
    if (during) during();
    --log_.inside;
  }

  Log& log_;
  CLock lock_;
};

class AbConfigTest : public ::testing::Test {
 protected:
  CLock lock;
  Log log;
  RecordingOwner owner{log, lock};

  ComRef<IAbConfig> make() {
    ComRef<IAbConfig> ab;
    AbConfigImpl::create(&owner, lock, ab.put());
    return ab;
  }
};

// The four requests, each with the numbers it carries.
HRESULT sendRequest(IAbConfig* ab, int which, ULONG thread, ULONG call) {
  SBinary folder{sizeof(thread), reinterpret_cast<LPBYTE>(&thread)};
  ULONG zero = 0;
  SBinary store{sizeof(zero), reinterpret_cast<LPBYTE>(&zero)};
  GUID key{};
  key.Data1 = thread;
  std::memcpy(key.Data4, &call, sizeof(call));
  switch (which % 4) {
    case 0: return ab->addFolder(&folder, call);
    case 1: return ab->removeFolder(&folder, &store, call);
    case 2: return ab->storeClosed(key);
    default: return ab->showContacts();
  }
}

TEST_F(AbConfigTest, EachRequestReachesTheOwnerWithItsArgumentsAndAnswersOk) {
  ComRef<IAbConfig> ab = make();
  for (int which = 0; which < 4; ++which) EXPECT_EQ(sendRequest(ab.get(), which, 7, 9), S_OK);
  const std::vector<Request> expected = {{'a', 7, 9}, {'r', 7, 9}, {'c', 7, 9}, {'s', 0, 0}};
  EXPECT_EQ(log.requests, expected);
}

TEST_F(AbConfigTest, AfterDetachEveryRequestDoesNothingAndAnswersOk) {
  ComRef<IAbConfig> ab = make();
  EXPECT_EQ(ab->detach(), S_OK);
  for (int which = 0; which < 4; ++which) {
    SCOPED_TRACE(which);
    EXPECT_EQ(sendRequest(ab.get(), which, 1, 1), S_OK);
  }
  EXPECT_EQ(ab->detach(), S_OK) << "a second detach is harmless";
  EXPECT_TRUE(log.requests.empty());
}

TEST_F(AbConfigTest, FailuresOfTheOwnerNeverReachTheService) {
  ComRef<IAbConfig> ab = make();
  const std::function<void()> failures[] = {
      [] { ZEL_HERE.raise(MAPI_E_CALL_FAILED); },
      [] { throw std::runtime_error("host object gone"); },
      [] { throw 42; },
  };
  for (const auto& failure : failures) {
    owner.during = failure;
    EXPECT_EQ(ab->showContacts(), S_OK);
  }
  owner.during = nullptr;
  EXPECT_EQ(log.requests.size(), 3u);
}

TEST_F(AbConfigTest, CreationRefusesANullOwnerOrOut) {
  ComRef<IAbConfig> ab;
  EXPECT_THROW(AbConfigImpl::create(nullptr, lock, ab.put()), HResultException);
  EXPECT_FALSE(ab);
  try {
    AbConfigImpl::create(&owner, lock, nullptr);
    ADD_FAILURE() << "no raise";
  } catch (const HResultException& e) {
    EXPECT_EQ(e.getHResult(), E_INVALIDARG);
  }
}

TEST_F(AbConfigTest, AnswersForItselfAndHandsMarshalingToTheFreeThreadedMarshaler) {
  ComRef<IAbConfig> ab = make();
  ComRef<IUnknown> identity;
  ASSERT_EQ(ab->QueryInterface(IID_IUnknown, identity.putVoid()), S_OK);
  ComRef<IAbConfig> again;
  EXPECT_EQ(identity->QueryInterface(IID_IAbConfig, again.putVoid()), S_OK);
  EXPECT_EQ(again.get(), ab.get());

  ComRef<IMarshal> marshal;
  ASSERT_EQ(ab->QueryInterface(IID_IMarshal, marshal.putVoid()), S_OK);
  ComRef<IUnknown> throughMarshal;
  ASSERT_EQ(marshal->QueryInterface(IID_IUnknown, throughMarshal.putVoid()), S_OK);
  EXPECT_EQ(throughMarshal.get(), identity.get()) << "the marshaler speaks for the object";

  // Marshaled in the process, the object travels as itself: another thread calls it
  // without a proxy.
  ComRef<IStream> carrier;
  ASSERT_EQ(createDataStream(0, carrier.put(), false, false, false), S_OK);
  ASSERT_EQ(marshal->MarshalInterface(carrier.get(), IID_IAbConfig, ab.get(), MSHCTX_INPROC, nullptr, MSHLFLAGS_NORMAL),
            S_OK);
  streamUtils::rewind(carrier.get());
  IAbConfig* received = nullptr;
  std::thread service([&] {
    if (SUCCEEDED(marshal->UnmarshalInterface(carrier.get(), IID_IAbConfig, reinterpret_cast<void**>(&received))))
      received->showContacts();
  });
  service.join();
  ASSERT_NE(received, nullptr);
  EXPECT_EQ(received, ab.get());
  received->Release();
  EXPECT_EQ(log.requests.size(), 1u);

  ComRef<IStream> stream;
  EXPECT_EQ(ab->QueryInterface(IID_IStream, stream.putVoid()), E_NOINTERFACE);
}

TEST_F(AbConfigTest, TheOwnerRunsUnderTheSharedLock) {
  ComRef<IAbConfig> ab = make();
  int heldElsewhere = 0;
  owner.during = [&] {
    // Another thread must find the shared lock taken while the owner works.
    std::thread other([&] {
      CLock shared(lock);
      if (shared.tryEnter()) shared.leave();
      else ++heldElsewhere;
    });
    other.join();
  };
  ab->showContacts();
  ab->storeClosed(GUID{});
  EXPECT_EQ(heldElsewhere, 2);
}

TEST_F(AbConfigTest, TheOwnerMayDetachAndLetGoFromInsideARequest) {
  // As the add-in does when the last private store closes.
  IAbConfig* held = nullptr;
  AbConfigImpl::create(&owner, lock, &held);
  held->AddRef();  // the service's own reference
  owner.during = [&] {
    held->detach();
    held->Release();  // the add-in's reference
  };
  EXPECT_EQ(held->storeClosed(GUID{}), S_OK);
  owner.during = nullptr;
  EXPECT_EQ(held->showContacts(), S_OK);
  EXPECT_EQ(log.requests.size(), 1u);
  held->Release();
}

// The store service calls from its own threads while the add-in detaches and goes away:
// every request made before the detach arrives, none made after reaches the owner, and
// the object stays callable through the references the threads still hold.
TEST_F(AbConfigTest, ServiceThreadsCallingWhileTheAddInDetaches) {
  constexpr ULONG kThreads = 4;
  constexpr ULONG kBefore = 200;  // requests each thread makes before the detach starts
  constexpr ULONG kAfter = 100;   // and at least this many after it has returned

  ReferenceStore::Store store;
  ComRef<IGlobalConfig> config(store.globalConfig());
  auto addIn = std::make_unique<RecordingOwner>(log, lock);
  {
    ComRef<IAbConfig> ab;
    AbConfigImpl::create(addIn.get(), lock, ab.put());
    ASSERT_EQ(config->setAbConfig(ab.get()), S_OK);
  }

  std::atomic<int> failures{0};
  std::atomic<bool> stop{false};
  std::vector<std::atomic<ULONG>> started(kThreads + 1);
  std::vector<std::atomic<ULONG>> made(kThreads + 1);
  std::vector<std::thread> threads;
  for (ULONG t = 1; t <= kThreads; ++t)
    threads.emplace_back([&, t] {
      ComRef<IAbConfig> ab = store.abConfig();
      if (!ab) {
        ++failures;
        made[t] = kBefore;
        return;
      }
      for (ULONG call = 0; !stop; ++call) {
        started[t] = call + 1;
        if (sendRequest(ab.get(), static_cast<int>(call % 3), t, call) != S_OK) ++failures;
        made[t] = call + 1;
        std::this_thread::yield();  // give the detaching thread a chance at the lock
      }
    });
  auto waitForCalls = [&](const std::vector<ULONG>& least) {
    for (ULONG t = 1; t <= kThreads; ++t)
      while (made[t] < least[t] && failures == 0) std::this_thread::yield();
  };
  waitForCalls(std::vector<ULONG>(kThreads + 1, kBefore));

  // The add-in's detaching: under the lock, detach, withdraw it from the store, forget it.
  // Every thread is in the middle of a request meanwhile, held up by the lock.
  {
    CLockGuard guard(&lock);
    for (ULONG t = 1; t <= kThreads; ++t)
      while (started[t] == made[t] && failures == 0) std::this_thread::yield();
    ComRef<IAbConfig> ab = store.abConfig();
    ASSERT_TRUE(ab);
    ab->detach();
    log.detached = true;
    config->clearAbConfig();
  }
  addIn.reset();
  std::vector<ULONG> atDetach(kThreads + 1, 0);
  for (ULONG t = 1; t <= kThreads; ++t) atDetach[t] = made[t] + kAfter;
  waitForCalls(atDetach);
  stop = true;

  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(log.lateCalls, 0);
  EXPECT_EQ(log.overlaps, 0) << "requests ran one at a time";

  // Per thread, what arrived is exactly its first calls, in order: nothing lost before
  // the detach, nothing through after it.
  std::vector<ULONG> next(kThreads + 1, 0);
  for (const Request& request : log.requests) {
    ASSERT_GE(request.thread, 1u);
    ASSERT_LE(request.thread, kThreads);
    EXPECT_EQ(request.call, next[request.thread]) << "thread " << request.thread;
    EXPECT_EQ(request.operation, "arc"[request.call % 3]);
    next[request.thread] = request.call + 1;
  }
  for (ULONG t = 1; t <= kThreads; ++t) {
    EXPECT_GE(next[t], kBefore) << "thread " << t;
    EXPECT_GE(made[t] - next[t], kAfter) << "thread " << t << " kept calling after the detach";
  }
}

}  // namespace
