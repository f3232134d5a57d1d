#include "streams/Thread.h"

#include <system_error>

namespace {
thread_local bool startedByUs = false;
}  // namespace

bool ThreadLocalStorageHelper::isMyThread() { return startedByUs; }
void ThreadLocalStorageHelper::markMyThread() { startedByUs = true; }

ThreadLocalStorageHelper& threadLocalStorageHelper() {
  static ThreadLocalStorageHelper helper;
  return helper;
}

Thread::Thread(bool shutDownOnDestroy, std::string name)
    : shutDownOnDestroy_(shutDownOnDestroy), name_(std::move(name)), termination_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}

Thread::~Thread() {
  if (shutDownOnDestroy_) shutDown();
  std::lock_guard<std::mutex> lock(mutex_);
  // A thread that was never shut down is left to end on its own.
  if (thread_.joinable()) thread_.detach();
  if (termination_) CloseHandle(termination_);
}

bool Thread::run() {
  std::lock_guard<std::mutex> lock(mutex_);
  if (thread_.joinable() || !termination_) return false;
  try {
    thread_ = std::thread(&Thread::entry, this);
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

void Thread::entry() {
  ThreadLocalStorageHelper::markMyThread();
  try {
    execute();
  } catch (...) {
    // Nothing to hand it to: the thread just ends.
  }
}

void Thread::shutDown() {
  if (termination_) SetEvent(termination_);
  std::lock_guard<std::mutex> lock(mutex_);
  if (thread_.joinable() && thread_.get_id() != std::this_thread::get_id()) thread_.join();
}

bool Thread::isTerminated() const { return !termination_ || WaitForSingleObject(termination_, 0) == WAIT_OBJECT_0; }
