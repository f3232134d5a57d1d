// The main of every test program.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "platform/SettingsStore.h"
#include "testing/TestEnvironment.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
#ifndef _WIN32
  // Tests never touch the user's own settings file.
  platform::setSettingsBackend(std::make_shared<platform::MemorySettings>());
  // Nor anything else of the user's: the home folder is one that can hold nothing, and the
  // user's own folder and mailbox settings are gone. A test that needs them sets its own.
  setenv("HOME", "/dev/null/no-home", 1);
  for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "ZELVO_DEFAULT_MAILBOX"}) unsetenv(name);
  // Every test starts on a UTC machine, whatever zone this machine is in, and a zone that a
  // test names in TZ comes from the pinned database, whatever tzdata this machine has.
  if (!zelvo::testing::usePinnedZoneinfo()) {
    std::fprintf(stderr, "the pinned time zone database %s is missing; build the zelvo_zoneinfo target\n",
                 zelvo::testing::pinnedZoneinfoDir().c_str());
    return 1;
  }
#endif
  return RUN_ALL_TESTS();
}
