#include "tests/calendar/OracleSupport.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#ifndef _WIN32
#include <unistd.h>
#endif

#include "testing/TestEnvironment.h"

namespace zelvo::testing {

std::string runOracle(const std::string& script, const std::string& arguments, std::vector<std::string>& lines) {
  return runScript("tests/calendar/" + script, arguments, lines);
}

std::string runScript(const std::string& script, const std::string& arguments, std::vector<std::string>& lines) {
#ifdef _WIN32
  // Under Wine there is no python3 to ask.
  return "the oracle scripts run natively only";
#else
  if (std::system("python3 -c 'import dateutil, zoneinfo' >/dev/null 2>&1") != 0) {
    return "python3 with dateutil and zoneinfo is not installed";
  }
  const std::string path = sourcePath(script);
  if (path.empty()) return "ZELVO_SOURCE_DIR is not set";
  const std::filesystem::path output = std::filesystem::temp_directory_path() /
                                       ("zelvo-" + std::filesystem::path(script).filename().string() + "-" +
                                        std::to_string(getpid()) + ".txt");
  const std::string command = "python3 '" + path + "' --output '" + output.string() + "' " + arguments;
  if (std::system(command.c_str()) != 0) {
    std::filesystem::remove(output);
    return "";  // an oracle that fails leaves no lines, and the caller's checks fail
  }
  std::ifstream in(output);
  for (std::string line; std::getline(in, line);) {
    if (!line.empty()) lines.push_back(line);
  }
  std::filesystem::remove(output);
  return "";
#endif
}

std::vector<std::string> splitText(const std::string& text, char separator) {
  std::vector<std::string> parts;
  size_t start = 0;
  while (true) {
    const size_t end = text.find(separator, start);
    parts.push_back(text.substr(start, end - start));
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return parts;
}

}  // namespace zelvo::testing
