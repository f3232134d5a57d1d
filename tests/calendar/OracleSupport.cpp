#include "tests/calendar/OracleSupport.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "testing/TestEnvironment.h"

namespace zelvo::testing {

namespace {
#ifndef _WIN32
// python3 on PATH may be a private build without the system's packages; the system's own
// python3 is the one that setup.sh gives them to.
std::string pythonWith(const std::string& modules) {
  std::string imports = "pass";
  for (const std::string& module : splitText(modules, ' ')) {
    if (!module.empty()) imports += "; import " + module;
  }
  for (const char* candidate : {"python3", "/usr/bin/python3"}) {
    const std::string check = std::string(candidate) + " -c '" + imports + "' >/dev/null 2>&1";
    if (std::system(check.c_str()) == 0) return candidate;
  }
  return std::string();
}
#endif
}  // namespace

bool scriptsCanRun() {
#ifdef _WIN32
  return false;
#else
  return true;
#endif
}

std::string runOracle(const std::string& script, const std::string& modules, const std::string& arguments,
                      std::vector<std::string>& lines) {
  return runScript("tests/calendar/" + script, modules, arguments, lines);
}

std::string runScript(const std::string& script, const std::string& modules, const std::string& arguments,
                      std::vector<std::string>& lines) {
#ifdef _WIN32
  (void)script, (void)modules, (void)arguments, (void)lines;
  return "the scripts run natively only";
#else
  const std::string python = pythonWith(modules);
  if (python.empty()) return "no python3 can import " + modules + "; scripts/setup.sh installs them";
  const std::string path = sourcePath(script);
  if (path.empty()) return "ZELVO_SOURCE_DIR is not set";
  const std::filesystem::path output = uniqueTempPath("zelvo-" + std::filesystem::path(script).filename().string());
  const std::string command = python + " '" + path + "' --output '" + output.string() + "' " + arguments;
  const int status = std::system(command.c_str());
  if (status != 0) {
    std::filesystem::remove(output);
    return command + " failed with status " + std::to_string(status);
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
