// Shared by the store tests: a fixture that proves every block of the reference
// allocator was released.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "base/Bstr.h"
#include "base/ComRef.h"
#include "base/HResultException.h"
#include "store/reference/ReferenceAllocator.h"

namespace storetest {

class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override { ReferenceStore::ReferenceAllocator::resetDiagnostics(); }
  void TearDown() override {
    EXPECT_EQ(ReferenceStore::ReferenceAllocator::liveBlocks(), 0u) << "allocator blocks left after the test";
    EXPECT_EQ(ReferenceStore::ReferenceAllocator::misuses(), 0u) << "chained or unknown blocks freed";
    ReferenceStore::ReferenceAllocator::resetDiagnostics();
  }
};

// The message part of a raise's text (after the code's name), or the whole text.
inline std::string messageOf(const HResultException& e) {
  const std::string text = e.what();
  const auto newline = text.find('\n');
  const std::string codeLine = newline == std::string::npos ? text : text.substr(newline + 1);
  const auto colon = codeLine.find(": ");
  return colon == std::string::npos ? std::string() : codeLine.substr(colon + 2);
}

}  // namespace storetest
