#include "tests/sieve/SieveTestSupport.h"

#include <sstream>

#include <gtest/gtest.h>

#include "platform/Utf8.h"
#include "testing/TestEnvironment.h"

namespace sievetest {

using namespace Sieve;

Parsed parse(std::wstring_view text) {
  Parsed parsed;
  parsed.status = std::make_unique<SieveParseStatus>();
  SieveRule* head = reinterpret_cast<SieveRule*>(1);  // must be overwritten
  parsed.ok = parseRules(text, head, true, parsed.status.get());
  parsed.head.reset(head);
  return parsed;
}

std::wstring crlf(std::initializer_list<std::wstring_view> lines) {
  std::wstring text;
  for (std::wstring_view line : lines) {
    text += line;
    text += L"\r\n";
  }
  return text;
}

std::wstring writeScript(SieveRule* rule, bool single) {
  std::wstring text;
  SieveRule::writeScript(rule, text, single);
  return text;
}

std::wstring writeRulesText(const SieveRule* head, bool* ok) {
  std::wostringstream out;
  const bool written = writeRules(out, head);
  if (ok) *ok = written;
  return textOfStream(out);
}

std::wstring dataScript(const std::string& name) {
  const std::string path = zelvo::testing::sourcePath("tests/sieve/data/" + name);
  if (path.empty()) ADD_FAILURE() << "ZELVO_SOURCE_DIR is not set";
  const auto text = platform::fromUtf8(zelvo::testing::readFile(path));
  if (!text) ADD_FAILURE() << path << " is not UTF-8";
  return text.value_or(L"");
}

TestPtr parseTestText(std::wstring_view test) {
  std::wstring text = L"if ";
  text += test;
  text += L" { keep; }";
  Parsed parsed = parse(text);
  EXPECT_TRUE(parsed.ok) << zelvo::testing::utf8(text) << ": " << zelvo::testing::utf8(parsed.message());
  if (!parsed.head) return nullptr;
  TestPtr result(parsed.head->test);
  parsed.head->test = nullptr;
  return result;
}

std::wstring writeTestText(const SieveTest* test, bool* ok) {
  std::wostringstream out;
  const bool written = writeTest(out, test, 0);
  if (ok) *ok = written;
  return out.str();
}

namespace {
const wchar_t* kindName(RuleKind kind) {
  switch (kind) {
    case RuleKind::Empty: return L"Empty";
    case RuleKind::Keep: return L"Keep";
    case RuleKind::Reject: return L"Reject";
    case RuleKind::Discard: return L"Discard";
    case RuleKind::FileInto: return L"FileInto";
    case RuleKind::Stop: return L"Stop";
    case RuleKind::Redirect: return L"Redirect";
    case RuleKind::Notify: return L"Notify";
    case RuleKind::Vacation: return L"Vacation";
    case RuleKind::If: return L"If";
    case RuleKind::SetReadFlag: return L"SetReadFlag";
  }
  return L"?";
}
}  // namespace

std::wstring outline(const SieveRule* head) {
  std::wstring text;
  for (const SieveRule* rule = head; rule; rule = rule->next) {
    if (rule != head) text += L' ';
    text += kindName(rule->kind);
    if (rule->kind == RuleKind::Redirect || rule->kind == RuleKind::FileInto || rule->kind == RuleKind::Reject)
      text += L"[" + rule->argument + L"]";
    if (rule->kind == RuleKind::If) {
      text += L"(" + outline(rule->thenBlock) + L")";
      if (rule->elseBlock) text += L"else(" + outline(rule->elseBlock) + L")";
    }
  }
  return text;
}

}  // namespace sievetest
