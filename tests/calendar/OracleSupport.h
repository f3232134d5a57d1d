// Runs a python3 script of this folder that writes what an outside implementation computes.
#pragma once

#include <string>
#include <vector>

namespace zelvo::testing {

// Runs "python3 tests/calendar/<script> --output <file> <arguments>" and gives the lines of
// the file. An empty reason means it ran; otherwise the reason it could not run, for a skip.
std::string runOracle(const std::string& script, const std::string& arguments, std::vector<std::string>& lines);
// The same for a script anywhere in the repository, named by its path from the root.
std::string runScript(const std::string& script, const std::string& arguments, std::vector<std::string>& lines);
std::vector<std::string> splitText(const std::string& text, char separator);

}  // namespace zelvo::testing
