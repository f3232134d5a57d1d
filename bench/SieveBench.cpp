// Reading and saving a mailbox's rules: parse and writeRules (into reused text, as the rule
// set saves, and into a fresh string stream) over generated scripts of
// 100, 1,000 and 10,000 rules of the kinds people keep (address and header conditions,
// folders, forwards to several addresses, disabled rules, names).
#include <benchmark/benchmark.h>

#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "sieve/SieveParser.h"
#include "sieve/SieveWriter.h"

namespace {

using namespace Sieve;

SieveTest* addressTest(const wchar_t* header, MatchType match, std::wstring value) {
  auto* test = new SieveTest(TestKind::Address);
  test->matchType = match;
  test->keys = makeStringList({header});
  test->values = makeStringList({std::move(value)});
  return test;
}

SieveTest* headerTest(const wchar_t* header, std::vector<std::wstring> values) {
  auto* test = new SieveTest(TestKind::Header);
  test->matchType = MatchType::Contains;
  test->keys = makeStringList({header});
  test->values = makeStringList(values);
  return test;
}

SieveRule* command(RuleKind kind, SieveRule* parent, std::wstring argument = std::wstring()) {
  auto* rule = new SieveRule(kind, parent);
  rule->argument = std::move(argument);
  return rule;
}

// Rule i of a generated mailbox; the mix repeats every eight rules.
SieveRule* makeRule(int i) {
  const std::wstring n = std::to_wstring(i);
  auto* rule = new SieveRule(L"Rule " + n + L" - project " + std::to_wstring(i % 37), i % 5 != 0, nullptr);
  rule->kind = RuleKind::If;
  switch (i % 8) {
    case 0:
    case 1:
      rule->test = addressTest(L"From", MatchType::Is, L"sender" + n + L"@example.com");
      break;
    case 2:
    case 3: {
      auto* all = new SieveTest(TestKind::AllOf);
      all->subTests = addressTest(L"From", MatchType::Contains, L"@partner" + n + L".example.org");
      all->subTests->next = headerTest(L"Subject", {L"invoice " + n, L"order", L"receipt"});
      rule->test = all;
      break;
    }
    case 4: {
      auto* any = new SieveTest(TestKind::AnyOf);
      any->subTests = addressTest(L"To", MatchType::Contains, L"list" + n + L"@lists.example.net");
      any->subTests->next = addressTest(L"Cc", MatchType::Contains, L"list" + n + L"@lists.example.net");
      any->subTests->next->next = headerTest(L"List-Id", {L"<news" + n + L".example.net>"});
      rule->test = any;
      break;
    }
    case 5: {
      auto* size = new SieveTest(TestKind::Size);
      size->sizeMode = SizeMode::Over;
      size->sizeLimit = 1048576u * static_cast<unsigned>(1 + i % 20);
      rule->test = size;
      break;
    }
    case 6:
      rule->test = headerTest(L"Subject", {L"[ticket #" + n + L"]"});
      rule->test->negated = true;
      break;
    default:
      rule->test = addressTest(L"Sender", MatchType::Matches, L"*@dept" + n + L".example.com");
      break;
  }
  // The block: a folder, sometimes a forward to several people, often a stop.
  SieveRule* block = command(RuleKind::FileInto, rule, L"Projects/Project " + std::to_wstring(i % 37) + L"/Inbox " + n);
  SieveRule* last = block;
  if (i % 3 == 0) {
    last->next = command(RuleKind::Redirect, rule, L"boss" + n + L"@example.com; deputy" + n + L"@example.com");
    last = last->next;
  }
  if (i % 4 == 1) {
    last->next = command(RuleKind::SetReadFlag, rule);
    last = last->next;
  }
  if (i % 2 == 0) last->next = command(RuleKind::Stop, rule);
  rule->thenBlock = block;
  return rule;
}

// The script text of a mailbox with count rules, as the add-in saves it.
const std::wstring& scriptOf(int count) {
  static std::map<int, std::wstring> scripts;
  auto it = scripts.find(count);
  if (it != scripts.end()) return it->second;
  SieveRule* head = nullptr;
  for (int i = 0; i < count; ++i) appendRule(head, makeRule(i));
  RulePtr rules(head);
  std::wostringstream out;
  if (!writeRules(out, rules.get())) throw std::runtime_error("generated rules cannot be written");
  return scripts[count] = textOfStream(out);
}

RulePtr parsed(const std::wstring& text) {
  SieveRule* head = nullptr;
  SieveParseStatus status;
  if (!parseRules(text, head, true, &status)) throw std::runtime_error("generated script does not parse");
  return RulePtr(head);
}

void BM_ParseScript(benchmark::State& state) {
  const std::wstring& text = scriptOf(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    SieveRule* head = nullptr;
    SieveParseStatus status;
    const bool ok = parseRules(text, head, true, &status);
    benchmark::DoNotOptimize(ok);
    deleteRules(head);
  }
  // The text is ASCII, so its characters are its UTF-8 bytes.
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
  state.counters["rules"] = static_cast<double>(state.range(0));
}

// Saving as the rule set saves: into the text that the last save left, whose storage is
// reused.
void BM_WriteRules(benchmark::State& state) {
  const std::wstring& text = scriptOf(static_cast<int>(state.range(0)));
  RulePtr rules = parsed(text);
  std::wstring written;
  for (auto _ : state) {
    const bool ok = writeRulesInto(written, rules.get());
    benchmark::DoNotOptimize(ok);
    benchmark::DoNotOptimize(written.data());
  }
  if (written != text) state.SkipWithError("writing the parsed script changed it");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
  state.counters["rules"] = static_cast<double>(state.range(0));
}

// Into a fresh string stream, and the text copied out of it: the stream's buffer is regrown
// from nothing and copied each time, which costs more per character once it outgrows the
// caches and the C library hands the memory back between saves.
void BM_WriteRulesToStream(benchmark::State& state) {
  const std::wstring& text = scriptOf(static_cast<int>(state.range(0)));
  RulePtr rules = parsed(text);
  std::wstring written;
  for (auto _ : state) {
    std::wostringstream out;
    const bool ok = writeRules(out, rules.get());
    benchmark::DoNotOptimize(ok);
    written = textOfStream(out);
    benchmark::DoNotOptimize(written.data());
  }
  if (written != text) state.SkipWithError("writing the parsed script changed it");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
  state.counters["rules"] = static_cast<double>(state.range(0));
}

BENCHMARK(BM_ParseScript)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteRules)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteRulesToStream)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
