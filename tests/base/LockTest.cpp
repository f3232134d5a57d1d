#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "base/CLock.h"
#include "base/ZMutex.h"

namespace {

// Runs f on another thread and gives its result.
template <class F>
auto onOtherThread(F f) -> decltype(f()) {
  decltype(f()) result{};
  std::thread t([&] { result = f(); });
  t.join();
  return result;
}

TEST(CLock, CopiesShareOneRecordThatOutlivesTheOriginal) {
  auto original = std::make_unique<CLock>();
  CLock copy(*original);
  EXPECT_TRUE(copy.sharesWith(*original));
  original.reset();
  // The record lives on in the copy: it still locks and excludes other threads.
  CLockGuard guard(&copy);
  EXPECT_FALSE(onOtherThread([&] {
    const bool got = copy.tryEnter();
    if (got) copy.leave();
    return got;
  }));
}

TEST(CLock, PrivateLocksAreIndependentAndTheStaticOneIsShared) {
  CLock a, b;
  EXPECT_FALSE(a.sharesWith(b));
  CLock s1(false), s2(false);
  EXPECT_TRUE(s1.sharesWith(s2));
  CLock assigned;
  assigned = a;
  EXPECT_TRUE(assigned.sharesWith(a));
  assigned = s1;
  EXPECT_TRUE(assigned.sharesWith(s2));
}

TEST(CLock, IsRecursive) {
  CLock lock;
  CLockGuard outer(&lock);
  {
    CLockGuard inner(&lock);
    EXPECT_TRUE(lock.tryEnter());
    lock.leave();
  }
  EXPECT_FALSE(onOtherThread([&] { return lock.tryEnter(); }));
}

TEST(CLock, TwoObjectsSharingALockExcludeEachOther) {
  // Two holders of one record, each used by its own thread, guard one plain counter.
  CLock first;
  CLock second(first);
  long counter = 0;
  constexpr int kRounds = 200000;
  auto work = [&counter](CLock* lock) {
    for (int i = 0; i < kRounds; ++i) {
      CLockGuard guard(lock);
      const long seen = counter;
      counter = seen + 1;
    }
  };
  std::thread t1(work, &first), t2(work, &second);
  t1.join();
  t2.join();
  EXPECT_EQ(counter, 2L * kRounds);
}

TEST(ZMutex, TryLockFailsAtOnceWhileAnotherThreadHoldsIt) {
  zelvo::tiny::ZMutex mutex;
  std::atomic<bool> held{false}, release{false};
  std::thread holder([&] {
    mutex.lock();
    held = true;
    while (!release) std::this_thread::yield();
    mutex.unlock();
  });
  while (!held) std::this_thread::yield();
  EXPECT_FALSE(mutex.tryLock());
  EXPECT_FALSE(mutex.tryLockRead()) << "a reader is excluded like a writer";
  release = true;
  holder.join();
  EXPECT_TRUE(mutex.tryLock());
  mutex.unlock();
}

TEST(ZMutex, TryLockByTheHolderSucceeds) {
  zelvo::tiny::ZMutex mutex;
  mutex.lock();
  EXPECT_TRUE(mutex.tryLock());
  EXPECT_TRUE(mutex.tryLockWrite());
  mutex.unlock();
  mutex.unlock();
  EXPECT_FALSE(onOtherThread([&] { return mutex.tryLock(); })) << "still held once";
  mutex.unlock();
  EXPECT_TRUE(onOtherThread([&] {
    const bool got = mutex.tryLock();
    if (got) mutex.unlock();
    return got;
  }));
}

TEST(ZMutex, ReadersDoNotShare) {
  zelvo::tiny::ZMutex mutex;
  mutex.lockRead();
  EXPECT_FALSE(onOtherThread([&] { return mutex.tryLockRead(); }));
  mutex.unlock();
}

}  // namespace
