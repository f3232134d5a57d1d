// The vtable slot of a virtual member, for the layout tests that hold our interface
// declarations to the binary order of the published ones (on Windows the SDK's own).
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

namespace zelvo {
namespace testing {

// Our two compilers follow the Itanium C++ ABI: a pointer to a virtual member holds one
// more than the byte offset of its vtable slot. -1 for a member that is not virtual.
template <class Pmf>
long slotOf(Pmf member) {
  static_assert(sizeof(member) == 2 * sizeof(std::ptrdiff_t), "Itanium member pointer");
  std::ptrdiff_t raw[2];
  std::memcpy(raw, &member, sizeof raw);
  if ((raw[0] & 1) == 0) return -1;
  return static_cast<long>((raw[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*)));
}

// The members in declared order occupy the slots from first on.
inline void expectSlotsFrom(long first, const std::vector<long>& slots) {
  for (size_t i = 0; i < slots.size(); ++i) {
    SCOPED_TRACE("declared order " + std::to_string(i + 1));
    EXPECT_EQ(slots[i], first + static_cast<long>(i));
  }
}

}  // namespace testing
}  // namespace zelvo
