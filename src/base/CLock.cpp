#include "base/CLock.h"

CLock::Record& CLock::staticRecord() {
  // Made on first use and never destroyed, so that it outlives every static user.
  static Record* record = [] {
    auto* r = new Record;
    r->count = 0;
    InitializeCriticalSection(&r->section);
    return r;
  }();
  return *record;
}

CLock::CLock(bool isPrivate) {
  if (isPrivate) {
    record_ = new Record;
    record_->count = 1;
    InitializeCriticalSection(&record_->section);
  } else {
    record_ = &staticRecord();
  }
}

CLock::CLock(const CLock& other) : record_(other.record_) {
  if (record_ != &staticRecord()) ++record_->count;
}

CLock& CLock::operator=(const CLock& other) {
  if (record_ != other.record_) {
    Record* incoming = other.record_;
    if (incoming != &staticRecord()) ++incoming->count;
    release();
    record_ = incoming;
  }
  return *this;
}

CLock::~CLock() { release(); }

void CLock::release() {
  if (record_ == &staticRecord()) return;
  if (--record_->count == 0) {
    DeleteCriticalSection(&record_->section);
    delete record_;
  }
  record_ = nullptr;
}

void CLock::enter() { EnterCriticalSection(&record_->section); }
bool CLock::tryEnter() { return TryEnterCriticalSection(&record_->section) != FALSE; }
void CLock::leave() { LeaveCriticalSection(&record_->section); }
