#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include <boost/bind/bind.hpp>

#include "base/Win32Error.h"
#include "streams/OutOfThreadCaller.h"

namespace {

// A manual-reset event that a test opens once.
class Gate {
 public:
  Gate() : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
  ~Gate() { CloseHandle(event_); }
  void open() { SetEvent(event_); }
  void wait() { WaitForSingleObject(event_, INFINITE); }

 private:
  HANDLE event_;
};

HRESULT recordThread(DWORD* id, HRESULT result) {
  *id = GetCurrentThreadId();
  return result;
}

TEST(OutOfThreadCaller, ForcedDirectCallsStayOnTheCallingThread) {
  auto caller = OutOfThreadCaller::getInstance();
  DWORD ran = 0;
  const struct {
    bool forceDirect;
    bool directIfMyThread;
  } cases[] = {{true, false}, {true, true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.directIfMyThread);
    EXPECT_EQ(caller->call(boost::bind(&recordThread, &ran, S_FALSE), c.forceDirect, c.directIfMyThread), S_FALSE);
    EXPECT_EQ(ran, GetCurrentThreadId());
  }
  EXPECT_EQ(caller->pool().threadCount(), 0u);
}

TEST(OutOfThreadCaller, OtherCallsRunOnAPoolThreadWithItsOwnApartment) {
  auto caller = OutOfThreadCaller::getInstance();
  DWORD ran = 0;
  bool ours = false;
  HRESULT apartment = E_FAIL;
  const HRESULT hr = caller->call(
      [&]() -> HRESULT {
        ran = GetCurrentThreadId();
        ours = threadLocalStorageHelper().isMyThread();
        // The thread has its apartment already: a second entry of the same kind says so.
        apartment = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        if (SUCCEEDED(apartment)) CoUninitialize();
        return E_ABORT;
      },
      false, true);
  EXPECT_EQ(hr, E_ABORT);
  EXPECT_NE(ran, GetCurrentThreadId());
  EXPECT_TRUE(ours);
  EXPECT_EQ(apartment, S_FALSE);
  EXPECT_FALSE(threadLocalStorageHelper().isMyThread());
}

TEST(OutOfThreadCaller, ThePoolGrowsWithConcurrentCallsAndReusesTheFirstThread) {
  auto caller = OutOfThreadCaller::getInstance();
  Gate started, release;
  DWORD first = 0, second = 0, third = 0;
  std::thread busy([&] {
    caller->call(
        [&]() -> HRESULT {
          first = GetCurrentThreadId();
          started.open();
          release.wait();
          return S_OK;
        },
        false, true);
  });
  started.wait();
  EXPECT_EQ(caller->pool().threadCount(), 1u);
  std::thread([&] { caller->call(boost::bind(&recordThread, &second, S_OK), false, true); }).join();
  EXPECT_EQ(caller->pool().threadCount(), 2u);
  EXPECT_NE(second, first);
  release.open();
  busy.join();
  EXPECT_EQ(caller->call(boost::bind(&recordThread, &third, S_OK), false, true), S_OK);
  EXPECT_EQ(third, first);
  EXPECT_EQ(caller->pool().threadCount(), 2u);
}

TEST(OutOfThreadCaller, PoolThreadsCallDirectlyUnlessTold) {
  auto caller = OutOfThreadCaller::getInstance();
  const struct {
    bool directIfMyThread;
    bool sameThread;
    size_t threads;
  } cases[] = {{true, true, 1}, {false, false, 2}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.directIfMyThread);
    DWORD outer = 0, inner = 0;
    ASSERT_EQ(caller->call(
                  [&]() -> HRESULT {
                    outer = GetCurrentThreadId();
                    return caller->call(boost::bind(&recordThread, &inner, S_OK), false, c.directIfMyThread);
                  },
                  false, true),
              S_OK);
    EXPECT_EQ(inner == outer, c.sameThread);
    EXPECT_EQ(caller->pool().threadCount(), c.threads);
  }
}

TEST(OutOfThreadCaller, TheInstanceLivesWhileHeldAndEndsItsThreads) {
  std::weak_ptr<CallingThread> thread;
  {
    auto caller = OutOfThreadCaller::getInstance(true);
    EXPECT_EQ(OutOfThreadCaller::getInstance(false), caller);
    DWORD ran = 0;
    ASSERT_EQ(caller->call(boost::bind(&recordThread, &ran, S_OK), false, true), S_OK);
    auto taken = caller->pool().acquireThread();
    thread = taken;
    taken->free = true;
    taken.reset();
    EXPECT_EQ(caller->pool().threadCount(), 1u);
#ifndef _WIN32
    EXPECT_TRUE(std::filesystem::exists("/proc/self/task/" + std::to_string(ran)));
    caller.reset();
    EXPECT_FALSE(std::filesystem::exists("/proc/self/task/" + std::to_string(ran)));
#endif
  }
  EXPECT_TRUE(thread.expired());
  EXPECT_EQ(OutOfThreadCaller::getInstance()->pool().threadCount(), 0u);
}

TEST(OutOfThreadCaller, AnEmptyFunctionThrowsOnTheThreadItRunsOn) {
  auto caller = OutOfThreadCaller::getInstance();
  try {
    caller->call(boost::function<HRESULT()>(), true, true);
    ADD_FAILURE() << "no exception";
  } catch (const boost::bad_function_call& e) {
    EXPECT_STREQ(e.what(), "call to empty boost::function");
  }
}

class Blocking : public ICallee {
 public:
  HRESULT call() override {
    started.open();
    release.wait();
    return S_OK;
  }
  Gate started, release;
};

class Counting : public ICallee {
 public:
  HRESULT call() override {
    ++calls;
    return S_FALSE;
  }
  std::atomic<int> calls{0};
};

TEST(CallingThread, ABusyThreadRefusesASecondCallAndLeavesTheFirst) {
  CallingThread thread;
  ASSERT_EQ(thread.result(), S_OK);
  Blocking blocking;
  Counting counting;
  EXPECT_EQ(thread.call(nullptr), E_INVALIDARG);
  HRESULT first = E_FAIL;
  std::thread runner([&] { first = thread.call(&blocking); });
  blocking.started.wait();
  EXPECT_EQ(thread.call(&counting), static_cast<HRESULT>(0x800700AAu));
  EXPECT_EQ(thread.call(&counting), win32ErrorToHResult(ERROR_BUSY));
  blocking.release.open();
  runner.join();
  EXPECT_EQ(first, S_OK);
  EXPECT_EQ(counting.calls, 0);
  EXPECT_EQ(thread.call(&counting), S_FALSE);
  EXPECT_EQ(counting.calls, 1);
}

}  // namespace
