#include "testing/outlook/Actions.h"

#include <fstream>
#include <sstream>

#include "base/HResultException.h"
#include "platform/Utf8.h"

namespace OutlookStandIn {

namespace {

[[noreturn]] void fail(unsigned line, const std::wstring& what) {
  ZEL_HERE.raise(E_INVALIDARG, L"actions line " + std::to_wstring(line) + L": " + what);
}

std::vector<std::wstring> words(const std::wstring& text) {
  std::wistringstream in(text);
  std::vector<std::wstring> out;
  std::wstring word;
  while (in >> word) out.push_back(word);
  return out;
}

// A number of digits only, so that "-1" or "2x" do not pass as numbers.
size_t number(unsigned line, const std::wstring& text, const wchar_t* what) {
  if (text.empty() || text.size() > 6 || text.find_first_not_of(L"0123456789") != std::wstring::npos)
    fail(line, std::wstring(L"expected ") + what + L", not " + text);
  return static_cast<size_t>(std::stoul(text));
}

const std::wstring& entryId(unsigned line, const std::wstring& text) {
  if (text.empty() || text.size() % 2 || text.find_first_not_of(L"0123456789ABCDEFabcdef") != std::wstring::npos)
    fail(line, L"expected an entry id in hex, not " + text);
  return text;
}

void expectCount(unsigned line, const std::vector<std::wstring>& w, size_t count, const wchar_t* usage) {
  if (w.size() != count) fail(line, std::wstring(L"expected ") + usage);
}

}  // namespace

std::vector<HostAction> parseActions(const std::string& text) {
  std::vector<HostAction> actions;
  std::istringstream lines(text);
  std::string raw;
  unsigned n = 0;
  while (std::getline(lines, raw)) {
    ++n;
    if (!raw.empty() && raw.back() == '\r') raw.pop_back();
    const auto wide = platform::fromUtf8(raw);
    if (!wide) fail(n, L"not UTF-8");
    const std::vector<std::wstring> w = words(*wide);
    if (w.empty() || w[0][0] == L'#') continue;
    HostAction action;
    action.line = n;
    const std::wstring& verb = w[0];
    if (verb == L"startup") {
      expectCount(n, w, 1, L"startup alone");
      action.verb = HostAction::Verb::Startup;
    } else if (verb == L"open-folder") {
      if (w.size() < 3) fail(n, L"expected open-folder STORE PATH");
      action.verb = HostAction::Verb::OpenFolder;
      action.store = number(n, w[1], L"a store number");
      // The path is the rest of the line, so that it may hold spaces.
      const size_t at = wide->find(w[1], wide->find(verb) + verb.size()) + w[1].size();
      const size_t first = wide->find_first_not_of(L" \t", at);
      const size_t last = wide->find_last_not_of(L" \t");
      action.text = wide->substr(first, last - first + 1);
    } else if (verb == L"select") {
      action.verb = HostAction::Verb::Select;
      for (size_t i = 1; i < w.size(); ++i) action.entryIds.push_back(entryId(n, w[i]));
    } else if (verb == L"open-inspector") {
      expectCount(n, w, 3, L"open-inspector ENTRYID read|compose");
      action.verb = HostAction::Verb::OpenInspector;
      action.entryIds.push_back(entryId(n, w[1]));
      if (w[2] != L"read" && w[2] != L"compose") fail(n, L"expected read or compose, not " + w[2]);
      action.compose = w[2] == L"compose";
    } else if (verb == L"send" || verb == L"close-inspector") {
      expectCount(n, w, 2, verb == L"send" ? L"send N" : L"close-inspector N");
      action.verb = verb == L"send" ? HostAction::Verb::Send : HostAction::Verb::CloseInspector;
      action.window = number(n, w[1], L"an inspector number");
      if (action.window == 0) fail(n, L"inspectors are numbered from 1");
    } else if (verb == L"quit") {
      expectCount(n, w, 1, L"quit alone");
      action.verb = HostAction::Verb::Quit;
    } else if (verb == L"connect") {
      expectCount(n, w, 1, L"connect alone");
      action.verb = HostAction::Verb::Connect;
    } else if (verb == L"click") {
      expectCount(n, w, 2, L"click CONTROLID");
      action.verb = HostAction::Verb::Click;
      action.text = w[1];
    } else {
      fail(n, L"expected an action, not " + verb);
    }
    actions.push_back(std::move(action));
  }
  return actions;
}

std::vector<HostAction> loadActions(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) ZEL_HERE.raise(STG_E_FILENOTFOUND, L"cannot read actions " + platform::fromUtf8Lenient(path));
  std::ostringstream text;
  text << file.rdbuf();
  return parseActions(text.str());
}

}  // namespace OutlookStandIn
