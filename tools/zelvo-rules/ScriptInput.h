// Reading a script the way the tool takes it in: a file or standard input, as UTF-8.
#pragma once

#include <istream>
#include <string>

namespace zelvo {
namespace rules {

struct ScriptInput {
  std::wstring name;  // as messages show it: the operand, or the name of standard input
  std::wstring text;
};

// Reads operand ("-" for in) whole and decodes it as UTF-8, skipping a leading byte order
// mark. False with a one-line message in error when the file cannot be read or is not
// valid UTF-8.
bool readScriptInput(const std::string& operand, std::istream& in, ScriptInput& input, std::wstring& error);

}  // namespace rules
}  // namespace zelvo
