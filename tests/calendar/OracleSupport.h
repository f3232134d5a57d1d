// Runs a python3 script of the repository that writes what an outside implementation
// computes, or what a generator writes.
#pragma once

#include <string>
#include <vector>

namespace zelvo::testing {

// Natively the scripts run; the Windows build under Wine has no python3 to run them with.
bool scriptsCanRun();
// Runs "python3 tests/calendar/<script> --output <file> <arguments>" and gives the lines of
// the file. The python3 is the first of PATH's and the system's that can import every one
// of the modules (space-separated). Empty when it ran; otherwise what went wrong, which
// fails the calling test: setup.sh installs all that the scripts need.
std::string runOracle(const std::string& script, const std::string& modules, const std::string& arguments,
                      std::vector<std::string>& lines);
// The same for a script anywhere in the repository, named by its path from the root.
std::string runScript(const std::string& script, const std::string& modules, const std::string& arguments,
                      std::vector<std::string>& lines);
std::vector<std::string> splitText(const std::string& text, char separator);

}  // namespace zelvo::testing
