// Runs zelvo-rules as a function: the exit code and the exact bytes of both streams.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "Commands.h"

namespace tooltest {

struct Outcome {
  int code;
  std::string out;
  std::string err;
};

inline Outcome run(const std::vector<std::string>& args, const std::string& input = std::string()) {
  std::istringstream in(input);
  std::ostringstream out;
  std::ostringstream err;
  zelvo::rules::ToolIo io{in, out, err};
  const int code = zelvo::rules::runTool(args, io);
  return {code, out.str(), err.str()};
}

}  // namespace tooltest
