// The main of every test program.
#include <gtest/gtest.h>

#include <memory>

#include "platform/SettingsStore.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
#ifndef _WIN32
  // Tests never touch the user's own settings file.
  platform::setSettingsBackend(std::make_shared<platform::MemorySettings>());
#endif
  return RUN_ALL_TESTS();
}
