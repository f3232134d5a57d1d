// The thread class of our thread library: a body that runs on a thread of its own until it
// sees its termination event.
#pragma once

#include <mutex>
#include <string>
#include <thread>

#include "platform/Win32.h"

class Thread {
 public:
  // With shutDownOnDestroy the destructor shuts a running thread down; derived classes
  // whose body uses their own members must call shutDown in their own destructor.
  Thread(bool shutDownOnDestroy, std::string name);
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;
  virtual ~Thread();

  // Starts the body on a new thread. False when it was started already or could not start.
  bool run();
  // Signals the termination event and waits for the body to end. From the thread itself it
  // only signals.
  void shutDown();
  // Manual-reset; signalled once shutDown has been asked for.
  HANDLE getTerminationEvent() const { return termination_; }
  bool isTerminated() const;
  const std::string& name() const { return name_; }

 protected:
  // The body. An exception that leaves it ends the thread and nothing more.
  virtual void execute() = 0;

 private:
  void entry();

  bool shutDownOnDestroy_;
  std::string name_;
  HANDLE termination_;
  std::mutex mutex_;
  std::thread thread_;
};

// Tells the threads that this library started from all others.
class ThreadLocalStorageHelper {
 public:
  static bool isMyThread();
  static void markMyThread();
};
ThreadLocalStorageHelper& threadLocalStorageHelper();
