#include "base/ZMutex.h"

#include <stdexcept>

namespace zelvo {
namespace tiny {

ZMutex::ZMutex() {
  // The spin-count form reports a failure instead of raising a structured exception.
  if (!InitializeCriticalSectionAndSpinCount(&section_, 0))
    throw std::runtime_error("Insufficient memory exists to initialize the mutex.");
}

ZMutex::~ZMutex() { DeleteCriticalSection(&section_); }

void ZMutex::lock() { EnterCriticalSection(&section_); }
bool ZMutex::tryLock() { return TryEnterCriticalSection(&section_) != FALSE; }
void ZMutex::unlock() { LeaveCriticalSection(&section_); }

}  // namespace tiny
}  // namespace zelvo
