#include "testing/TestEnvironment.h"

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <random>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "platform/Utf8.h"

#ifdef _WIN32
#include <process.h>
#define ZELVO_PROCESS_ID _getpid()
#else
#include <unistd.h>
#define ZELVO_PROCESS_ID getpid()
#endif

namespace zelvo {
namespace testing {

std::string sourceDir() {
  const char* dir = std::getenv("ZELVO_SOURCE_DIR");
  if (!dir || !*dir) return std::string();
  std::string path(dir);
#ifdef _WIN32
  // Under Wine a Unix path is reached through the Z: drive.
  if (!path.empty() && path[0] == '/') path = "Z:" + path;
#endif
  return path;
}

std::string sourcePath(const std::string& relative) {
  const std::string root = sourceDir();
  return root.empty() ? std::string() : root + "/" + relative;
}

std::filesystem::path uniqueTempPath(const std::string& stem) {
  static std::atomic<unsigned> counter{0};
  static const unsigned salt = std::random_device()();
  return std::filesystem::temp_directory_path() /
         (stem + "-" + std::to_string(ZELVO_PROCESS_ID) + "-" + std::to_string(salt) + "-" + std::to_string(counter++));
}

std::string utf8(const std::wstring& text) { return platform::toUtf8(text); }

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  std::stringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

#ifndef _WIN32
std::string pinnedZoneinfoDir() { return ZELVO_PINNED_TZDIR; }

bool usePinnedZoneinfo() {
  const std::string dir = pinnedZoneinfoDir();
  if (!std::filesystem::exists(dir + "/tzdata.zi") || !std::filesystem::exists(dir + "/Europe/Berlin")) return false;
  setenv("TZDIR", dir.c_str(), 1);
  setenv("TZ", "UTC", 1);
  tzset();
  return true;
}
#endif

}  // namespace testing
}  // namespace zelvo
