// Counts the allocations of the test program and makes them fail on demand, to show that
// copies give null and free what they made when memory runs out.
#pragma once

namespace sievetest {

// Allocations made and not yet freed through operator new / delete.
long long liveAllocations();

// While alive, the first `allowed` allocations succeed, the next one throws std::bad_alloc,
// and the ones after it succeed again (so that the failure can still be reported).
class AllocationFailure {
 public:
  explicit AllocationFailure(long long allowed);
  ~AllocationFailure();
  AllocationFailure(const AllocationFailure&) = delete;
  AllocationFailure& operator=(const AllocationFailure&) = delete;
};

}  // namespace sievetest
