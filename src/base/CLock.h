// A recursive lock that objects share by copying: one record, counted, for a whole graph
// of objects. The process-wide record is never counted and never freed.
#pragma once

#include <atomic>

#include "platform/Win32.h"

class CLock {
 public:
  // true: a record of its own; false: the process-wide record.
  explicit CLock(bool isPrivate = true);
  CLock(const CLock& other);
  CLock& operator=(const CLock& other);
  virtual ~CLock();

  void enter();
  bool tryEnter();
  void leave();

  // True when both share one record.
  bool sharesWith(const CLock& other) const { return record_ == other.record_; }

 private:
  struct Record {
    std::atomic<long> count;
    CRITICAL_SECTION section;
  };
  static Record& staticRecord();
  void release();

  Record* record_;
};

// Enters the lock for the guard's lifetime. A method of a lockable class makes one on
// itself as its first act.
class CLockGuard {
 public:
  explicit CLockGuard(CLock* lock) : lock_(lock) { lock_->enter(); }
  CLockGuard(const CLockGuard&) = delete;
  CLockGuard& operator=(const CLockGuard&) = delete;
  ~CLockGuard() { lock_->leave(); }

 private:
  CLock* lock_;
};
