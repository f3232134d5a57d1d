// libFuzzer target of the Sieve reader. Input bytes are taken as UTF-8 (bad sequences
// become U+FFFD), parsed as a mailbox's script is when it loads, and written in the form
// that saving stores. Beyond the sanitizers' own checks:
//   - a text that parses and writes gives a text that parses again;
//   - writing is stable from the second round on: write(parse(write(parse(x)))) equals
//     write(parse(x)).
// The one documented loss that changes a written text is modelled before the first write:
// a notify with an empty message is written without :message and reads back with the
// default message. Texts that hit a known limit of the format are still parsed and
// written, but not held to the invariants; each limit is named where it is tested.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "platform/Utf8.h"
#include "sieve/SieveParser.h"
#include "sieve/SieveWriter.h"

namespace {

using namespace Sieve;

[[noreturn]] void fail(const char* what, const std::wstring& a, const std::wstring& b = std::wstring()) {
  std::fprintf(stderr, "Invariant broken: %s\n--- first ---\n%s\n--- second ---\n%s\n", what,
               platform::toUtf8(a).c_str(), platform::toUtf8(b).c_str());
  std::abort();
}

void giveEmptyNotifiesTheDefaultMessage(SieveRule* rule) {
  for (; rule; rule = rule->next) {
    if (rule->kind == RuleKind::Notify && rule->argument.empty()) rule->argument = kDefaultNotifyMessage;
    if (rule->kind == RuleKind::If) {
      giveEmptyNotifiesTheDefaultMessage(rule->thenBlock);
      giveEmptyNotifiesTheDefaultMessage(rule->elseBlock);
    }
  }
}

// A top-level rule's name goes unquoted into its header line, and the name field also
// holds a notify's :options and a vacation's :subject: a line break in it breaks the
// line structure of the written script, and a trailing carriage return is cut off when the
// header is read.
bool nameBreaksHeaderLine(const SieveRule* rules) {
  for (; rules; rules = rules->next)
    if (rules->name.find_first_of(L"\r\n") != std::wstring::npos) return true;
  return false;
}

// Reported, not yet mended: after the reader joins redirects (and the writer splits them
// again) a top-level rule's parent points at the redirect before it, and the writer takes
// the rule's state from there. An enabled command behind a disabled redirect is commented
// out without a header line and comes back disabled; an If whose state differs from the
// redirect's is written half commented and does not read back.
bool followsRedirectOfOtherState(const SieveRule* rules) {
  for (; rules && rules->next; rules = rules->next)
    if (rules->kind == RuleKind::Redirect && rules->enabled != rules->next->enabled) return true;
  return false;
}

// Reported, not yet mended: a number of 2^31 or more reads as its signed 32-bit text, and
// vacation options keep that text and write it unquoted, with a minus the reader cannot
// take (a date range ending after January 2038 is enough).
bool hasNegativeVacationOption(const SieveRule* rule) {
  for (; rule; rule = rule->next) {
    if (rule->kind == RuleKind::Vacation)
      for (const auto& [key, value] : rule->parameters)
        if (!value.empty() && value[0] == L'-') return true;
    if (rule->kind == RuleKind::If && hasNegativeVacationOption(rule->thenBlock)) return true;
  }
  return false;
}

// A known limit of the format: an If's braces take the comment mark from its own flag,
// every other line from the top of the tree. The rule editor never nests an If, but a
// `#!0` header inside a block makes the reader build a disabled If under an enabled rule
// (or the other way round), and that is written half commented.
bool hasNestedIfOfOtherState(const SieveRule* rule, bool topEnabled, int depth = 0) {
  for (; rule; rule = rule->next) {
    if (rule->kind != RuleKind::If) continue;
    const bool top = depth == 0 ? rule->enabled : topEnabled;
    if (depth > 0 && rule->enabled != topEnabled) return true;
    if (hasNestedIfOfOtherState(rule->thenBlock, top, depth + 1)) return true;
  }
  return false;
}

// A known limit of the format: the reader keeps 2048 characters of a string and stops one
// early when the last one comes escaped, so a string that fills the limit with a
// character the writer escapes (a line break read raw, say) does not read back whole.
constexpr std::size_t kLongString = kTokenTextSize - 2;

bool hasLongString(const SieveStringList* list) {
  for (; list; list = list->next)
    if (list->text.size() >= kLongString) return true;
  return false;
}

bool hasLongString(const SieveTest* test) {
  for (; test; test = test->next)
    if (hasLongString(test->keys) || hasLongString(test->values) || hasLongString(test->subTests)) return true;
  return false;
}

bool hasLongString(const SieveRule* rule) {
  for (; rule; rule = rule->next) {
    if (rule->argument.size() >= kLongString || rule->name.size() >= kLongString) return true;
    for (const auto& [key, value] : rule->parameters)
      if (value.size() >= kLongString) return true;
    if (rule->kind == RuleKind::If && (hasLongString(rule->test) || hasLongString(rule->thenBlock))) return true;
  }
  return false;
}

// False when the rules cannot be written (an empty block); text is then untouched.
bool write(const SieveRule* rules, std::wstring& text) {
  std::wostringstream stream;
  if (!writeRules(stream, rules)) return false;
  text = textOfStream(stream);
  return true;
}

RulePtr parse(const std::wstring& text, SieveParseStatus& status, bool& ok) {
  SieveRule* head = nullptr;
  ok = parseRules(text, head, true, &status);
  if (ok != (status.errorFlag == 0)) fail("the result and the error flag disagree", text);
  if (!ok && head) fail("a failed parse handed out rules", text);
  return RulePtr(head);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::wstring input =
      platform::fromUtf8Lenient(std::string_view(reinterpret_cast<const char*>(data), size));

  SieveParseStatus status;
  bool ok = false;
  RulePtr rules = parse(input, status, ok);
  if (!ok) return 0;

  // The form a script is saved in, once as it stands (which must not crash) and once with
  // the documented notify loss applied.
  std::wstring asSaved;
  const bool writable = write(rules.get(), asSaved);
  giveEmptyNotifiesTheDefaultMessage(rules.get());
  std::wstring first;
  if (write(rules.get(), first) != writable) fail("a notify message decided whether rules can be written", input);
  if (!writable || nameBreaksHeaderLine(rules.get()) || followsRedirectOfOtherState(rules.get()) ||
      hasNegativeVacationOption(rules.get()) || hasNestedIfOfOtherState(rules.get(), true) ||
      hasLongString(rules.get()))
    return 0;

  RulePtr again = parse(first, status, ok);
  if (!ok) fail("a written text does not parse again", first, std::wstring(status.errorMessage) + L" at line " + std::to_wstring(status.line));
  std::wstring second;
  if (!write(again.get(), second)) fail("a written text parses to rules that cannot be written", first);
  if (second != first) fail("writing is not stable", first, second);
  return 0;
}
