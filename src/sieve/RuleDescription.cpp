#include "sieve/RuleDescription.h"

#include <cstdio>
#include <memory>
#include <vector>

#include <boost/tokenizer.hpp>

#include "base/AddressCheck.h"
#include "sieve/SieveTables.h"
#include "strings/Localization.h"

namespace Sieve {

namespace details {

struct LinkWordRow {
  LinkKind kind;
  const wchar_t* word;
};

const LinkWordRow kLinkWords[] = {
    {LinkKind::AndOr, L"andor"},       {LinkKind::Address, L"addr"},       {LinkKind::Match, L"match"},
    {LinkKind::Size, L"size"},         {LinkKind::Word, L"word"},          {LinkKind::FileInto, L"fileinto"},
    {LinkKind::Reject, L"reject"},     {LinkKind::Redirect, L"redirect"},  {LinkKind::NotifyAddress, L"notifya"},
    {LinkKind::NotifyMessage, L"notifym"}, {LinkKind::Vacation, L"vacation"},
};

void replaceAll(std::wstring& text, const std::wstring& what, const std::wstring& with) {
  if (what.empty()) return;
  std::size_t at = 0;
  while ((at = text.find(what, at)) != std::wstring::npos) {
    text.replace(at, what.size(), with);
    at += with.size();
  }
}

// A reject or vacation text shows its first line only; the rest is hinted at.
std::wstring firstLine(const std::wstring& text) {
  const std::size_t end = text.find_first_of(L"\r\n");
  return end == std::wstring::npos ? text : text.substr(0, end) + L"...";
}

std::vector<std::wstring> addressTokens(const std::wstring& argument) {
  using Separator = boost::char_separator<wchar_t>;
  boost::tokenizer<Separator, std::wstring::const_iterator, std::wstring> tokens(argument, Separator(L",; "));
  return std::vector<std::wstring>(tokens.begin(), tokens.end());
}

}  // namespace details

std::wstring linkWord(LinkKind kind) {
  for (const auto& row : details::kLinkWords)
    if (row.kind == kind) return row.word;
  return std::wstring();
}

bool isTestLink(LinkKind kind) {
  switch (kind) {
    case LinkKind::AndOr:
    case LinkKind::Address:
    case LinkKind::Match:
    case LinkKind::Size:
    case LinkKind::Word:
      return true;
    default:
      return false;
  }
}

LinkKind linkKindOfWord(const std::wstring& word) {
  for (const auto& row : details::kLinkWords)
    if (word == row.word) return row.kind;
  return LinkKind::None;
}

void splitFolderPath(const std::wstring& path, std::wstring& owner, std::wstring& rest) {
  owner.clear();
  rest = path;
  const std::size_t slash = path.find(L'/');
  if (slash == std::wstring::npos) return;
  const bool publicFolder = path.compare(0, 7, L"#public") == 0;
  const std::size_t at = path.find(L'@');
  const bool otherUser = !path.empty() && path[0] == L'~' && at != std::wstring::npos && at < slash;
  if (publicFolder || otherUser) {
    owner = path.substr(0, slash);
    rest = path.substr(slash + 1);
  }
}

std::wstring folderDisplayPath(const std::wstring& path, const FolderNameTranslator* translator) {
  std::wstring owner, rest;
  splitFolderPath(path, owner, rest);
  std::wstring shown;
  if (translator) {
    std::size_t begin = 0;
    for (;;) {
      const std::size_t slash = rest.find(L'/', begin);
      shown += translator->translateFolderName(rest.substr(begin, slash - begin));
      if (slash == std::wstring::npos) break;
      shown += L'/';
      begin = slash + 1;
    }
  } else {
    shown = rest;
  }
  if (owner.empty()) return shown;
  if (owner == L"#public" && translator) owner = translator->publicFoldersName();
  return owner + L"/" + shown;
}

std::wstring sizeText(std::uint32_t bytes) {
  static const wchar_t* const units[] = {L"B", L"kB", L"MB"};
  unsigned long value = bytes;
  int divisions = 0;
  while (divisions < 2 && value > 10240) {
    value >>= 10;
    ++divisions;
  }
  return std::to_wstring(value) + L" " + units[divisions];
}

std::string markupToRtf(const std::wstring& markup, unsigned codePage) {
  std::wstring text = markup;
  using details::replaceAll;
  replaceAll(text, L"\\", L"\\\\");
  replaceAll(text, L"'", L"\\'27");
  replaceAll(text, L"\r", L"");
  replaceAll(text, L"\n", L"");
  replaceAll(text, L"<br>", L"\\par ");
  replaceAll(text, L"<b>", L"\\b ");
  replaceAll(text, L"</b>", L"\\b0 ");
  replaceAll(text, L"<u>", L"\\ul ");
  replaceAll(text, L"</u>", L"\\ul0 ");
  replaceAll(text, L"<i>", L"\\i ");
  replaceAll(text, L"</i>", L"\\i0 ");
  replaceAll(text, L"<nobr>", L"");
  replaceAll(text, L"</nobr>", L"");
  replaceAll(text, L"&nbsp;", L"");
  // The two escaped brackets become characters that the link search cannot take for mark-up.
  replaceAll(text, L"&gt;", L"\\'15");
  replaceAll(text, L"&lt;", L"\\'16");
  replaceAll(text, L"&amp;", L"&");
  replaceAll(text, L"<font color=red>", L"");
  replaceAll(text, L"</font>", L"");

  char header[64];
  std::snprintf(header, sizeof header, "{\\rtf1\\ansi\\ansicpg%d\\deff0", static_cast<int>(codePage));
  std::string rtf = header;
  rtf += "{\\fonttbl{\\f0\\fswiss{\\*\\fname Arial;}Arial Unicode MS;}}";
  rtf += "{\\colortbl ;\\red0\\green0\\blue204;\\red204\\green0\\blue0;\\red0\\green204\\blue0;\\red51\\green51\\blue51;}";
  rtf += "\\uc0\\pard\\f0\\fs16";
  for (std::size_t i = 0; i < text.size(); ++i) {
    const unsigned long c = static_cast<unsigned long>(text[i]);
    if (c < 128) {
      rtf += static_cast<char>(c);
      continue;
    }
    char escaped[24];
    if (c < 256)
      std::snprintf(escaped, sizeof escaped, "\\'%02x", static_cast<unsigned>(c));
    else
      std::snprintf(escaped, sizeof escaped, "\\u%d", static_cast<int>(c));
    rtf += escaped;
    // The control swallows a blank after an escape: give it one to swallow.
    if (i + 1 < text.size() && text[i + 1] == L' ') rtf += ' ';
  }
  rtf += '}';
  return rtf;
}

// --- sentences -------------------------------------------------------------------------------

std::wstring RuleDescriber::lineStart() const {
  return markup_ ? L"<br><nobr> &nbsp; </nobr>" : L"\n  ";
}

std::wstring RuleDescriber::escape(const std::wstring& text) const {
  if (!markup_) return text;
  std::wstring escaped;
  escaped.reserve(text.size());
  for (wchar_t c : text) {
    switch (c) {
      case L'&': escaped += L"&amp;"; break;
      case L'<': escaped += L"&lt;"; break;
      case L'>': escaped += L"&gt;"; break;
      default: escaped += c;
    }
  }
  return escaped;
}

std::wstring RuleDescriber::quotedList(const SieveStringList* values) const {
  const std::wstring separator = L" " + Localization::getString(IDS_DESCRIPTION_OR) + L" ";
  std::wstring joined;
  for (const SieveStringList* v = values; v; v = v->next) {
    if (v != values) joined += separator;
    joined += L"'" + escape(v->text) + L"'";
  }
  return joined;
}

void RuleDescriber::putLink(std::wstring& text, std::size_t& from, LinkKind kind, const void* node,
                            const std::wstring& value, const wchar_t* fallback) {
  const bool missing = value.empty();
  if (missing) complete_ = false;
  const std::size_t open = text.find(L'[', from);
  const std::size_t close = open == std::wstring::npos ? std::wstring::npos : text.find(L']', open + 1);
  std::wstring shown = value;
  if (missing) {
    if (close != std::wstring::npos)
      shown = text.substr(open + 1, close - open - 1);
    else
      shown = fallback ? fallback : L"???";
  }
  std::wstring link = shown;
  if (markup_) {
    const bool capital = missing && showMissing_;
    link = (capital ? L"<A HREF=#" : L"<a href=#") + linkWord(kind) + L"_" +
           std::to_wstring(reinterpret_cast<std::uintptr_t>(node)) + L">" + shown + (capital ? L"</A>" : L"</a>");
  }
  if (close != std::wstring::npos) {
    text.replace(open, close - open + 1, link);
    from = open + link.size();
  } else {
    text += L" " + link;
    from = text.size();
  }
}

std::wstring RuleDescriber::describeTest(SieveTest* test) {
  std::wstring text;
  for (SieveTest* t = test; t; t = t->next) {
    if (t->kind == TestKind::AllOf || t->kind == TestKind::AnyOf) {
      SieveTest* first = t->subTests;
      if (!first) continue;
      SieveTest* rest = first->next;
      first->next = nullptr;  // the first child alone carries the connecting word
      std::wstring sentence;
      try {
        sentence = testSentence(first);
      } catch (...) {
        first->next = rest;
        throw;
      }
      first->next = rest;
      text += sentence;
      if (rest) {
        const unsigned word = t->kind == TestKind::AllOf ? IDS_DESCRIPTION_AND : IDS_DESCRIPTION_OR;
        std::wstring connector = L"[" + Localization::getString(word) + L"]";
        std::size_t from = 0;
        // Never missing: the word is the link's own text.
        putLink(connector, from, LinkKind::AndOr, t, Localization::getString(word), nullptr);
        text += L" " + connector + describeTest(rest);
      }
    } else {
      text += testSentence(t);
    }
  }
  return text;
}

std::wstring RuleDescriber::testSentence(SieveTest* test) {
  const unsigned id = conditionIdOfTest(test);
  if (id == 0) return std::wstring();
  std::wstring sentence = conditionLabel(id);
  std::size_t from = 0;
  switch (test->kind) {
    case TestKind::Address:
      putLink(sentence, from, LinkKind::Address, test, quotedList(test->values), L"address");
      putLink(sentence, from, LinkKind::Match, test, escape(matchLabel(test->matchType, test->negated)), L"???");
      break;
    case TestKind::Header:
      if (id == ConditionSubject) {
        putLink(sentence, from, LinkKind::Word, test, quotedList(test->values), L"words");
        putLink(sentence, from, LinkKind::Match, test, escape(matchLabel(test->matchType, test->negated)), L"???");
      }
      break;
    case TestKind::Size: {
      std::wstring value;
      if (test->sizeLimit != 0) {
        const unsigned word = test->sizeMode == SizeMode::Under ? IDS_SIZE_UNDER : IDS_SIZE_OVER;
        value = Localization::getString(word) + L" " + sizeText(test->sizeLimit);
      }
      putLink(sentence, from, LinkKind::Size, test, value, L"msgsize compare");
      break;
    }
    default:
      break;
  }
  return lineStart() + sentence;
}

std::wstring RuleDescriber::describeRule(SieveRule* rule) {
  std::wstring text;
  for (SieveRule* r = rule; r; r = r->next) {
    const std::wstring sentence = ruleSentence(r);
    if (sentence.empty()) continue;
    if (!text.empty()) text += L"; ";
    text += lineStart() + sentence;
  }
  return text;
}

std::wstring RuleDescriber::ruleSentence(SieveRule* rule) {
  const unsigned id = actionIdOfRule(rule);
  if (id == 0) return std::wstring();
  std::wstring sentence = actionSecondLabel(id);
  if (sentence.empty()) sentence = actionFirstLabel(id);
  std::size_t from = 0;
  switch (rule->kind) {
    case RuleKind::Reject:
      putLink(sentence, from, LinkKind::Reject, rule, escape(details::firstLine(rule->argument)), L"message");
      break;
    case RuleKind::Vacation:
      putLink(sentence, from, LinkKind::Vacation, rule, escape(details::firstLine(rule->argument)), L"message");
      break;
    case RuleKind::FileInto:
      putLink(sentence, from, LinkKind::FileInto, rule,
              rule->argument.empty() ? std::wstring() : escape(folderDisplayPath(rule->argument, folders_)), L"folder");
      break;
    case RuleKind::Redirect: {
      std::wstring joined;
      for (const std::wstring& token : details::addressTokens(rule->argument)) {
        if (zelvo::checkEmailAddress(token) != S_OK) continue;
        if (!joined.empty()) joined += L"; ";
        joined += token;
      }
      rule->argument = joined;
      putLink(sentence, from, LinkKind::Redirect, rule, escape(joined), L"forwardTo");
      break;
    }
    case RuleKind::Notify:
      // The notification is short and its default spans two lines, so it is shown whole.
      putLink(sentence, from, LinkKind::NotifyMessage, rule, escape(rule->argument), L"message");
      putLink(sentence, from, LinkKind::NotifyAddress, rule, escape(rule->name), L"address");
      break;
    default:
      break;
  }
  return sentence;
}

std::wstring RuleDescriber::describe(SieveRule* rule) {
  const unsigned head = rule->enabled ? IDS_DESCRIPTION_ENABLED : IDS_DESCRIPTION_DISABLED;
  return escape(Localization::getString(head)) + describeTest(rule->test) + describeRule(rule->thenBlock);
}

std::wstring describeRuleForDisplay(SieveRule* rule, bool markup, bool showMissing, bool severalSelected,
                                    const FolderNameTranslator* folders, bool* complete) {
  if (complete) *complete = true;
  if (!rule || !rule->editable || severalSelected) {
    const unsigned id = severalSelected ? IDS_DESCRIPTION_SEVERAL
                        : rule          ? IDS_DESCRIPTION_NOT_EDITABLE
                                        : IDS_DESCRIPTION_NONE;
    return Localization::getString(id);
  }
  RuleDescriber describer(markup, showMissing, folders);
  const std::wstring text = describer.describe(rule);
  if (complete) *complete = describer.complete();
  return text;
}

}  // namespace Sieve
