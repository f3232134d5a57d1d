// The Sieve script writer: the tree back into the server's dialect, with
// CRLF line ends and the exact spacing that the reader and the server's web client expect.
#pragma once

#include <ostream>
#include <sstream>
#include <string>

#include "sieve/SieveModel.h"

namespace Sieve {

// Writes one command and, for an If, everything inside it; sets the parent pointers of the
// commands it writes inside a block. False when a kind cannot be written (Empty included).
bool writeRule(std::wostream& out, SieveRule* rule, int depth, bool withComments, bool asElsif);
// Writes one test; a null test is `void `. False on an unknown kind.
bool writeTest(std::wostream& out, const SieveTest* test, int depth);
// `""` for null, the quoted string for one, `[..., ...]` for more; each with a blank after.
void writeStringList(std::wostream& out, const SieveStringList* list);
// The text in double quotes with ' " \ CR LF TAB escaped.
void writeQuoted(std::wostream& out, const std::wstring& text);

// The form for saving a rule set: the chain without else branches, one redirect per
// address, each rule with comments, and a zero character at the end; the chain itself is
// left as it is. Stops at the first rule that cannot be written and returns false. An
// empty chain writes the zero character alone.
bool writeRules(std::wostream& out, const SieveRule* head);

// The text a stream holds, up to its first zero character.
std::wstring textOfStream(const std::wostringstream& stream);

// The saved form as text: what textOfStream gives after writeRules, put in place of what
// text held. Its storage is kept and grown only when too small, so that saving a large
// rule set does not regrow a fresh stream buffer and copy it out each time. On false,
// text holds what was written up to the failure.
bool writeRulesInto(std::wstring& text, const SieveRule* head);

}  // namespace Sieve
