// Helpers shared by the tests of the Sieve engine core.
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "sieve/Sieve.h"

namespace sievetest {

struct Parsed {
  bool ok = false;
  Sieve::RulePtr head;
  std::unique_ptr<Sieve::SieveParseStatus> status;

  std::wstring message() const { return status->errorMessage; }
};

// parseRules over a text, keeping the status record.
Parsed parse(std::wstring_view text);
// Each line followed by CR LF.
std::wstring crlf(std::initializer_list<std::wstring_view> lines);
// Sieve::SieveRule::writeScript into a fresh text.
std::wstring writeScript(Sieve::SieveRule* rule, bool single = false);
// writeRules, cut at its closing zero character; ok receives the result.
std::wstring writeRulesText(const Sieve::SieveRule* head, bool* ok = nullptr);
// A script of tests/sieve/data, read as UTF-8.
std::wstring dataScript(const std::string& name);
// The test of `if <test> { keep; }`, parsed; null when the text has no test.
Sieve::TestPtr parseTestText(std::wstring_view test);
// writeTest into a fresh text; ok receives the result.
std::wstring writeTestText(const Sieve::SieveTest* test, bool* ok = nullptr);
// The rule chain as a short outline, e.g. "If(Keep,Stop) Redirect[a; b]", for structure checks.
std::wstring outline(const Sieve::SieveRule* head);

}  // namespace sievetest
