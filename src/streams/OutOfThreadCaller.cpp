#include "streams/OutOfThreadCaller.h"

#include "base/ComBoundary.h"
#include "base/HResultException.h"
#include "base/Win32Error.h"

CallingThread::CallingThread()
    : Thread(false, "CallingThread"),
      request_(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      done_(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {
  if (!request_ || !done_) {
    result_ = lastErrorToHResult();
    return;
  }
  if (!run()) {
    result_ = E_OUTOFMEMORY;
    return;
  }
  // The body signals done once its apartment is ready (or has failed).
  WaitForSingleObject(done_, INFINITE);
}

CallingThread::~CallingThread() {
  shutDown();
  if (request_) CloseHandle(request_);
  if (done_) CloseHandle(done_);
}

HRESULT CallingThread::call(ICallee* callee) {
  if (!callee) return E_INVALIDARG;
  ICallee* none = nullptr;
  if (!callee_.compare_exchange_strong(none, callee)) return win32ErrorToHResult(ERROR_BUSY);
  SetEvent(request_);
  WaitForSingleObject(done_, INFINITE);
  return result_;
}

void CallingThread::execute() {
  HRESULT hr = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  if (hr == RPC_E_CHANGED_MODE) hr = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  if (FAILED(hr)) {
    result_ = hr;
    SetEvent(done_);
    return;
  }
  SetEvent(done_);
  const HANDLE handles[2] = {getTerminationEvent(), request_};
  while (!isTerminated()) {
    const DWORD index = WaitForMultipleObjects(2, handles, FALSE, INFINITE);
    if (index != WAIT_OBJECT_0 + 1) continue;
    // The events order the hand-over of callee and result between the two threads.
    result_ = callee_.load()->call();
    callee_ = nullptr;
    SetEvent(done_);
  }
  CoUninitialize();
}

std::shared_ptr<CallingThread> CallingThreadPool::acquireThread() {
  CLockGuard guard(&lock_);
  for (auto& thread : threads_) {
    if (thread->free) {
      thread->free = false;
      return thread;
    }
  }
  auto thread = std::make_shared<CallingThread>();
  if (thread->result() != 0) ZEL_HERE.raise(thread->result(), "Can't create new thread for outofthread calls");
  threads_.push_back(thread);
  thread->free = false;
  return thread;
}

HRESULT CallingThreadPool::call(ICallee& callee) {
  return zelvo::comBoundary([&] {
    std::shared_ptr<CallingThread> thread = acquireThread();
    struct Release {
      CallingThreadPool& pool;
      CallingThread& thread;
      ~Release() {
        CLockGuard guard(&pool.lock_);
        thread.free = true;
      }
    } release{*this, *thread};
    return thread->call(&callee);
  });
}

size_t CallingThreadPool::threadCount() {
  CLockGuard guard(&lock_);
  return threads_.size();
}

namespace {
// Makes the instance from outside the protected constructor.
class OutOfThreadCallerCreator : public OutOfThreadCaller {};

std::weak_ptr<OutOfThreadCaller> instance;
std::atomic<int> instanceFlag{0};
}  // namespace

std::shared_ptr<OutOfThreadCaller> OutOfThreadCaller::getInstance(bool createLocked) {
  if (createLocked) {
    int expected = 0;
    while (!instanceFlag.compare_exchange_weak(expected, 1)) {
      expected = 0;
      Sleep(0);
    }
  }
  std::shared_ptr<OutOfThreadCaller> caller = instance.lock();
  if (!caller) {
    try {
      caller = std::make_shared<OutOfThreadCallerCreator>();
      instance = caller;
    } catch (...) {
      if (createLocked) instanceFlag = 0;
      throw;
    }
  }
  if (createLocked) instanceFlag = 0;
  return caller;
}

HRESULT OutOfThreadCaller::call(const boost::function<HRESULT()>& function, bool forceDirect, bool directIfMyThread) {
  if (forceDirect) return function();
  // Pool threads, and threads that stand outside the caller's apartment already, need no detour.
  if (directIfMyThread && threadLocalStorageHelper().isMyThread()) return function();
  detail::Callee callee(function);
  return pool_.call(callee);
}
