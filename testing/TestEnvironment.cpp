#include "testing/TestEnvironment.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "platform/Utf8.h"

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

std::string utf8(const std::wstring& text) { return platform::toUtf8(text); }

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  std::stringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

}  // namespace testing
}  // namespace zelvo
