// show ROW [--rtf]: the description of one rule as the rules dialog words it.
#pragma once

#include <string>

#include "Commands.h"
#include "sieve/SieveModel.h"

namespace zelvo {
namespace rules {

// The description of rule as the dialog's description control shows it: plain text, or
// with rtf the rich text that the control receives. A rule whose conditions the rule
// editor does not know is described as not editable, as the dialog does.
std::wstring describeForTool(Sieve::SieveRule* rule, bool rtf);

int runShow(const CommandLine& line, ToolIo& io);

}  // namespace rules
}  // namespace zelvo
