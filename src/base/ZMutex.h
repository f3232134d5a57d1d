// A plain recursive mutex with a virtual interface, for process-wide tables.
#pragma once

#include "platform/Win32.h"

namespace zelvo {
namespace tiny {

class ZMutex {
 public:
  // Throws std::runtime_error when the system has no memory for the lock.
  ZMutex();
  ZMutex(const ZMutex&) = delete;
  ZMutex& operator=(const ZMutex&) = delete;
  virtual ~ZMutex();

  virtual void lock();
  virtual bool tryLock();
  virtual void unlock();

  // A reader-writer shape over the same single mutex: a reader excludes writers and
  // every other reader alike.
  virtual void lockRead() { lock(); }
  virtual void lockWrite() { lock(); }
  virtual bool tryLockRead() { return tryLock(); }
  virtual bool tryLockWrite() { return tryLock(); }
  virtual void lockShared() { lock(); }
  virtual void unlockShared() { unlock(); }

 private:
  CRITICAL_SECTION section_;
};

}  // namespace tiny
}  // namespace zelvo
