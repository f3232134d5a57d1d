#include "base/SizeCast.h"

#include <gtest/gtest.h>

#include "base/HResultException.h"

namespace {

template <class Target, class Source>
std::string overflowText(Source value) {
  try {
    (void)size_cast<Target>(value);
  } catch (const std::overflow_error& e) {
    return e.what();
  }
  return "no overflow";
}

TEST(SizeCast, IntBoundary) {
  EXPECT_EQ(size_cast<int>(size_t{0x7FFFFFFF}), 0x7FFFFFFF);
  EXPECT_EQ(size_cast<int>(size_t{0}), 0);
  EXPECT_EQ(overflowText<int>(size_t{0x80000000}),
            "size_cast overflow occurred. Source type: " + details::typeDisplayName(typeid(size_t)) +
                ", target type: int, source value: 0x80000000.");
  EXPECT_THROW(size_cast<int>(size_t{0xFFFFFFFF}), std::overflow_error);
}

TEST(SizeCast, UnsignedTargets) {
  EXPECT_EQ(size_cast<uint32_t>(size_t{0xFFFFFFFF}), 0xFFFFFFFFu);
  if (sizeof(size_t) > 4) {
    EXPECT_EQ(overflowText<uint32_t>(static_cast<size_t>(0x100000000ull)),
              "size_cast overflow occurred. Source type: " + details::typeDisplayName(typeid(size_t)) +
                  ", target type: unsigned int, source value: 0x100000000.");
  }
  // A type to itself never overflows.
  EXPECT_EQ(size_cast<unsigned long>(static_cast<unsigned long>(-1)), static_cast<unsigned long>(-1));
}

TEST(SizeCast, NegativeSignedSourceIsSignExtended) {
  EXPECT_EQ(overflowText<unsigned int>(-1L),
            "size_cast overflow occurred. Source type: long, target type: unsigned int, source value: "
            "0xffffffffffffffff.");
  EXPECT_EQ(size_cast<int>(42L), 42);
}

TEST(SizeCast, IsNotAnHResultException) {
  bool sawHResult = false, sawOverflow = false;
  try {
    (void)size_cast<short>(100000);
  } catch (const HResultException&) {
    sawHResult = true;
  } catch (const std::overflow_error&) {
    sawOverflow = true;
  }
  EXPECT_FALSE(sawHResult);
  EXPECT_TRUE(sawOverflow);
}

}  // namespace
