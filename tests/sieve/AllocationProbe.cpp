// Replaces the global operator new and delete of the test program.
#include "tests/sieve/AllocationProbe.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<long long> live{0};
std::atomic<long long> remaining{-1};  // -1: no failures

void* allocate(std::size_t size) {
  long long left = remaining.load();
  while (left >= 0) {
    // The one allocation that fails; the ones after it succeed again.
    if (remaining.compare_exchange_weak(left, left - 1)) {
      if (left == 0) throw std::bad_alloc();
      break;
    }
  }
  void* memory = std::malloc(size ? size : 1);
  if (!memory) throw std::bad_alloc();
  ++live;
  return memory;
}

void release(void* memory) noexcept {
  if (!memory) return;
  --live;
  std::free(memory);
}
}  // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return allocate(size);
  } catch (...) {
    return nullptr;
  }
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return allocate(size);
  } catch (...) {
    return nullptr;
  }
}
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { release(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { release(memory); }

namespace sievetest {

long long liveAllocations() { return live.load(); }

AllocationFailure::AllocationFailure(long long allowed) { remaining = allowed; }
AllocationFailure::~AllocationFailure() { remaining = -1; }

}  // namespace sievetest
