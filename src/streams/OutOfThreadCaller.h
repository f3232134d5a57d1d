// Runs a function on a pool thread with a COM apartment of its own, while the calling
// thread waits. The pool keeps its threads, so repeated calls do not pay for thread
// creation and COM initialisation again.
#pragma once

#include <atomic>
#include <list>
#include <memory>

#include <boost/function.hpp>

#include "base/CLock.h"
#include "streams/Thread.h"

class ICallee {
 public:
  virtual ~ICallee() = default;
  virtual HRESULT call() = 0;
};

namespace detail {
class Callee : public ICallee {
 public:
  explicit Callee(boost::function<HRESULT()> function) : function_(std::move(function)) {}
  // An empty function throws boost::bad_function_call; nothing is caught here.
  HRESULT call() override { return function_(); }

 private:
  boost::function<HRESULT()> function_;
};
}  // namespace detail

class CallingThread : public Thread {
 public:
  // Starts the thread and waits until its apartment is set up; a failure stays in result().
  CallingThread();
  ~CallingThread() override;

  // Hands one call over and waits for it. E_INVALIDARG for null; 0x800700AA when a call
  // is already set, which is left untouched.
  HRESULT call(ICallee* callee);
  HRESULT result() const { return result_; }

  // Taken or free; changed only under the pool's lock.
  bool free = true;

 protected:
  void execute() override;

 private:
  std::atomic<ICallee*> callee_{nullptr};
  HANDLE request_;
  HANDLE done_;
  HRESULT result_ = 0;
};

class CallingThreadPool {
 public:
  CallingThreadPool() = default;
  CallingThreadPool(const CallingThreadPool&) = delete;
  CallingThreadPool& operator=(const CallingThreadPool&) = delete;

  HRESULT call(ICallee& callee);
  // The first free thread in the list, or a new one at its end; marked taken.
  std::shared_ptr<CallingThread> acquireThread();
  size_t threadCount();

 private:
  std::list<std::shared_ptr<CallingThread>> threads_;
  CLock lock_;
};

class OutOfThreadCaller {
 public:
  virtual ~OutOfThreadCaller() = default;

  // The process-wide instance: it lives while some caller holds it, and a later call after
  // the last one let go makes a new one. createLocked guards the access with a spin flag.
  static std::shared_ptr<OutOfThreadCaller> getInstance(bool createLocked = true);

  // forceDirect, or directIfMyThread on a thread of our thread library, runs the function
  // right here; otherwise it runs on a pool thread. Its code is the result.
  HRESULT call(const boost::function<HRESULT()>& function, bool forceDirect, bool directIfMyThread);

  CallingThreadPool& pool() { return pool_; }

 protected:
  OutOfThreadCaller() = default;

 private:
  CallingThreadPool pool_;
};
