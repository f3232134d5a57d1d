// The Sieve script writer. The spacing is the server's: tests end in a blank
// (but size), string lists too, and every line ends in CRLF.
#include "sieve/SieveWriter.h"

#include <algorithm>
#include <string>

namespace Sieve {

namespace details {
namespace {

const wchar_t* const kLineEnd = L"\r\n";

void writeIndent(std::wostream& out, int depth) {
  for (int i = 0; i < depth; ++i) out << L"  ";
}

const wchar_t* addressPartTag(AddressPart part) {
  switch (part) {
    case AddressPart::LocalPart: return L":localpart";
    case AddressPart::Domain: return L":domain";
    default: return L":all";
  }
}

const wchar_t* matchTypeTag(MatchType type) {
  switch (type) {
    case MatchType::Contains: return L":contains";
    case MatchType::Matches: return L":matches";
    default: return L":is";
  }
}

// Looked up without inserting: writing must not change the rule.
const std::wstring& parameterOf(const SieveRule& rule, VacationParameter id) {
  static const std::wstring empty;
  const auto found = rule.parameters.find(
      SieveRule::ParameterKey(static_cast<std::uint32_t>(rule.kind), static_cast<std::uint32_t>(id)));
  return found == rule.parameters.end() ? empty : found->second;
}

void writeVacation(std::wostream& out, const SieveRule& rule) {
  out << L"vacation";
  if (!rule.name.empty()) {
    out << L" :subject ";
    writeQuoted(out, rule.name);
  }
  const std::wstring& days = parameterOf(rule, VacationParameter::Days);
  out << L" :days " << (days.empty() ? std::wstring(L"7") : days);
  struct Option {
    VacationParameter id;
    const wchar_t* tag;
    bool quoted;
  };
  static const Option kOptions[] = {
      {VacationParameter::RangeEnabled, L" :rangeEnabled ", false},
      {VacationParameter::RangeStart, L" :rangeStart ", false},
      {VacationParameter::RangeEnd, L" :rangeEnd ", false},
      {VacationParameter::ExternalMessageEnabled, L" :externalMessageEnabled ", false},
      {VacationParameter::ExternalMessageSubject, L" :externalMessageSubject ", true},
      {VacationParameter::ExternalMessageBody, L" :externalMessageBody ", true},
      {VacationParameter::ExternalMessageKnownContactsOnly, L" :externalMessageKnownContactsOnly ", false},
  };
  for (const Option& option : kOptions) {
    const std::wstring& value = parameterOf(rule, option.id);
    if (value.empty()) continue;
    out << option.tag;
    if (option.quoted)
      writeQuoted(out, value);
    else
      out << value;
  }
  out << L' ';
  writeQuoted(out, rule.argument);
  out << L';';
}

void writeNotify(std::wostream& out, const SieveRule& rule) {
  out << L"notify";
  if (!rule.name.empty()) {
    out << L" :options ";
    writeQuoted(out, rule.name);
  }
  if (!rule.argument.empty()) {
    out << L" :message ";
    writeQuoted(out, rule.argument);
  }
  out << L';';
}

bool writeBlock(std::wostream& out, SieveRule* rule, SieveRule* block, int depth, bool withComments) {
  for (SieveRule* command = block; command; command = command->next) {
    command->parent = rule;
    if (!writeRule(out, command, depth + 1, withComments, false)) return false;
  }
  return true;
}

// Writes an If; returns whether it is complete without the common line end.
bool writeIf(std::wostream& out, SieveRule* rule, int depth, bool withComments, bool asElsif, bool& lineEndDue) {
  // The prefix of an If's own lines comes from its own flag.
  const wchar_t* prefix = withComments && !rule->enabled ? L"# " : L"";
  out << (asElsif ? L"elsif " : L"if ");
  if (!writeTest(out, rule->test, depth)) return false;
  out << kLineEnd;
  if (withComments) {
    out << prefix;
    writeIndent(out, depth);
  }
  out << L'{' << kLineEnd;
  if (!writeBlock(out, rule, rule->thenBlock, depth, withComments)) return false;
  out << prefix;
  writeIndent(out, depth);
  out << L'}' << kLineEnd;
  lineEndDue = false;
  if (!rule->elseBlock) return true;
  if (rule->elseBlock->kind == RuleKind::If && !rule->elseBlock->next) {
    rule->elseBlock->parent = rule;
    return writeRule(out, rule->elseBlock, depth, withComments, true);
  }
  out << prefix;
  writeIndent(out, depth);
  out << L"else {" << kLineEnd;
  if (!writeBlock(out, rule, rule->elseBlock, depth, withComments)) return false;
  out << prefix;
  writeIndent(out, depth);
  out << L'}';
  lineEndDue = true;
  return true;
}

// A stream buffer that appends to a string.
class AppendToText : public std::wstreambuf {
 public:
  explicit AppendToText(std::wstring& text) : text_(text) {}

 protected:
  std::streamsize xsputn(const wchar_t* chars, std::streamsize count) override {
    text_.append(chars, static_cast<std::size_t>(count));
    return count;
  }
  int_type overflow(int_type ch) override {
    if (!traits_type::eq_int_type(ch, traits_type::eof())) text_.push_back(traits_type::to_char_type(ch));
    return traits_type::not_eof(ch);
  }

 private:
  std::wstring& text_;
};

}  // namespace
}  // namespace details

void writeQuoted(std::wostream& out, const std::wstring& text) {
  std::wstring quoted;
  quoted.reserve(text.size() + 2);
  quoted += L'"';
  for (const wchar_t ch : text) {
    switch (ch) {
      case L'\'': quoted += L"\\'"; break;  // not needed by the reader; the server's writer does it
      case L'"': quoted += L"\\\""; break;
      case L'\\': quoted += L"\\\\"; break;
      case L'\r': quoted += L"\\r"; break;
      case L'\n': quoted += L"\\n"; break;
      case L'\t': quoted += L"\\t"; break;
      default: quoted += ch; break;
    }
  }
  quoted += L'"';
  out << quoted;
}

void writeStringList(std::wostream& out, const SieveStringList* list) {
  if (!list) {
    out << L"\"\" ";
    return;
  }
  if (!list->next) {
    writeQuoted(out, list->text);
    out << L' ';
    return;
  }
  out << L'[';
  for (const SieveStringList* node = list; node; node = node->next) {
    if (node != list) out << L", ";
    writeQuoted(out, node->text);
  }
  out << L"] ";
}

bool writeTest(std::wostream& out, const SieveTest* test, int depth) {
  if (!test) {
    out << L"void ";
    return true;
  }
  if (test->negated) out << L"not ";
  switch (test->kind) {
    case TestKind::AllOf:
    case TestKind::AnyOf: {
      out << (test->kind == TestKind::AllOf ? L"allof (" : L"anyof (");
      bool ok = true;
      for (const SieveTest* child = test->subTests; child; child = child->next) {
        if (child != test->subTests) out << L", ";
        if (!writeTest(out, child, depth)) {
          ok = false;
          break;
        }
      }
      out << L") ";
      return ok;
    }
    case TestKind::Exists:
      out << L"exists ";
      writeStringList(out, test->keys);
      return true;
    case TestKind::False:
      out << L"false ";
      return true;
    case TestKind::True:
      out << L"true ";
      return true;
    case TestKind::Address:
      out << L"address " << details::addressPartTag(test->addressPart) << L' '
          << details::matchTypeTag(test->matchType) << L' ';
      if (test->isContact) out << L":iscontact ";
      writeStringList(out, test->keys);
      writeStringList(out, test->values);
      return true;
    case TestKind::Header:
      out << L"header " << details::matchTypeTag(test->matchType) << L' ';
      writeStringList(out, test->keys);
      writeStringList(out, test->values);
      return true;
    case TestKind::Size:
      out << L"size :" << (test->sizeMode == SizeMode::Under ? L"under" : L"over") << L' '
          << std::to_wstring(test->sizeLimit);
      return true;
    case TestKind::SpamTest:
      out << L"spamtest ";
      return true;
    default:
      return false;
  }
}

bool writeRule(std::wostream& out, SieveRule* rule, int depth, bool withComments, bool asElsif) {
  if (!rule) return false;
  if (withComments) {
    if (depth == 0 && (!rule->enabled || !rule->name.empty()))
      out << L"#!" << (rule->enabled ? L'1' : L'0') << L' ' << rule->name << details::kLineEnd;
    if (!isEnabledAtTop(rule)) out << L"# ";
  }
  details::writeIndent(out, depth);
  bool lineEndDue = true;
  switch (rule->kind) {
    case RuleKind::Keep: out << L"keep;"; break;
    case RuleKind::Reject:
      out << L"reject ";
      writeQuoted(out, rule->argument);
      out << L';';
      break;
    case RuleKind::Discard: out << L"discard;"; break;
    case RuleKind::FileInto:
      out << L"fileinto ";
      writeQuoted(out, rule->argument);
      out << L';';
      break;
    case RuleKind::Stop: out << L"stop;"; break;
    case RuleKind::Redirect:
      out << L"redirect ";
      writeQuoted(out, rule->argument);
      out << L';';
      break;
    case RuleKind::Notify: details::writeNotify(out, *rule); break;
    case RuleKind::Vacation: details::writeVacation(out, *rule); break;
    case RuleKind::If:
      if (!details::writeIf(out, rule, depth, withComments, asElsif, lineEndDue)) return false;
      break;
    case RuleKind::SetReadFlag: out << L"setreadflag;"; break;
    default:
      // Empty included: a tree with an empty block cannot be written.
      return false;
  }
  if (lineEndDue) out << details::kLineEnd;
  return true;
}

namespace details {
namespace {

// The head of a command's line in the saved form: the rule line of a top-level rule, and
// the comment mark when the rule's top is off.
void writeSavedLineHead(std::wostream& out, const SieveRule& rule, int depth, bool topEnabled) {
  if (depth == 0 && (!rule.enabled || !rule.name.empty()))
    out << L"#!" << (rule.enabled ? L'1' : L'0') << L' ' << rule.name << kLineEnd;
  if (!topEnabled) out << L"# ";
  writeIndent(out, depth);
}

// A redirect's addresses as splitRules cuts them: the runs between commas, semicolons
// and blanks. Returns how many there were.
std::size_t writeSavedRedirects(std::wostream& out, const SieveRule& rule, int depth, bool topEnabled) {
  static const wchar_t* const kSeparators = L",; ";
  const std::wstring& text = rule.argument;
  std::size_t count = 0;
  std::size_t begin = text.find_first_not_of(kSeparators);
  while (begin != std::wstring::npos) {
    const std::size_t end = text.find_first_of(kSeparators, begin);
    writeSavedLineHead(out, rule, depth, topEnabled);
    out << L"redirect ";
    writeQuoted(out, text.substr(begin, end == std::wstring::npos ? std::wstring::npos : end - begin));
    out << L';' << kLineEnd;
    ++count;
    begin = end == std::wstring::npos ? end : text.find_first_not_of(kSeparators, end);
  }
  return count;
}

bool writeSaved(std::wostream& out, const SieveRule& rule, int depth, bool topEnabled, bool& split);

// An If in the saved form: no else branch, and its braces marked by its own flag.
bool writeSavedIf(std::wostream& out, const SieveRule& rule, int depth, bool topEnabled) {
  const wchar_t* prefix = rule.enabled ? L"" : L"# ";
  out << L"if ";
  if (!writeTest(out, rule.test, depth)) return false;
  out << kLineEnd << prefix;
  writeIndent(out, depth);
  out << L'{' << kLineEnd;
  bool split = false;
  for (const SieveRule* command = rule.thenBlock; command; command = command->next)
    if (!writeSaved(out, *command, depth + 1, topEnabled, split)) return false;
  out << prefix;
  writeIndent(out, depth);
  out << L'}' << kLineEnd;
  return true;
}

// One command of a chain in the saved form, with everything inside it: what writeRule
// writes for the command's copy after splitRules, with the top's flag given instead of
// found through parents. split tells whether a redirect became several.
bool writeSaved(std::wostream& out, const SieveRule& rule, int depth, bool topEnabled, bool& split) {
  split = false;
  if (rule.kind == RuleKind::Redirect) {
    const std::size_t count = writeSavedRedirects(out, rule, depth, topEnabled);
    split = count > 1;
    if (count > 0) return true;
  }
  writeSavedLineHead(out, rule, depth, topEnabled);
  switch (rule.kind) {
    case RuleKind::If: return writeSavedIf(out, rule, depth, topEnabled);
    case RuleKind::Keep: out << L"keep;"; break;
    case RuleKind::Reject:
      out << L"reject ";
      writeQuoted(out, rule.argument);
      out << L';';
      break;
    case RuleKind::Discard: out << L"discard;"; break;
    case RuleKind::FileInto:
      out << L"fileinto ";
      writeQuoted(out, rule.argument);
      out << L';';
      break;
    case RuleKind::Stop: out << L"stop;"; break;
    case RuleKind::Redirect:
      out << L"redirect ";
      writeQuoted(out, rule.argument);
      out << L';';
      break;
    case RuleKind::Notify: writeNotify(out, rule); break;
    case RuleKind::Vacation: writeVacation(out, rule); break;
    case RuleKind::SetReadFlag: out << L"setreadflag;"; break;
    default: return false;
  }
  out << kLineEnd;
  return true;
}

}  // namespace
}  // namespace details

bool writeRules(std::wostream& out, const SieveRule* head) {
  // Written straight from the chain, as its copy would be written after splitRules: a copy
  // made for writing cost more per rule the longer the script was, and its allocations
  // mixed with the growing output.
  //
  // splitRules links the copies of a top-level redirect each to the one before, and the
  // rule after them to the last; a top-level rule's `# `, and that of every command inside
  // it, comes from the top of that chain: the first of a run of split redirects.
  bool inRun = false;
  bool runEnabled = false;
  bool ok = true;
  for (const SieveRule* rule = head; rule; rule = rule->next) {
    bool split = false;
    ok = details::writeSaved(out, *rule, 0, inRun ? runEnabled : rule->enabled, split);
    if (!ok) break;
    if (split && !inRun) runEnabled = rule->enabled;
    inRun = split;
  }
  out << L'\0';
  return ok;
}

std::wstring textOfStream(const std::wostringstream& stream) {
  std::wstring text = stream.str();
  const std::size_t end = text.find(L'\0');
  if (end != std::wstring::npos) text.resize(end);
  return text;
}

bool writeRulesInto(std::wstring& text, const SieveRule* head) {
  text.clear();
  details::AppendToText buffer(text);
  std::wostream out(&buffer);
  const bool ok = writeRules(out, head);
  text.resize(std::min(text.find(L'\0'), text.size()));
  return ok;
}

}  // namespace Sieve
