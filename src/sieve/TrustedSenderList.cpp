#include "sieve/TrustedSenderList.h"

#include <algorithm>

namespace Sieve {

namespace details {

// Blanks, tabs, line breaks, and the no-break space that pasted addresses often bring.
bool isEntrySpace(wchar_t ch) {
  return ch == L' ' || ch == L'\t' || ch == L'\r' || ch == L'\n' || ch == L'\v' || ch == L'\f' || ch == 0x00A0;
}

// Lower case without the C library's locale, so that the same entries match on every
// machine: Latin letters with those of Latin-1, Greek and Cyrillic, the scripts whose
// capitals lie in plain ranges.
wchar_t foldCase(wchar_t ch) {
  const unsigned long c = static_cast<unsigned long>(ch);
  if (c >= L'A' && c <= L'Z') return static_cast<wchar_t>(c + 0x20);
  if (c < 0xC0) return ch;
  if ((c <= 0xDE && c != 0xD7) || (c >= 0x391 && c <= 0x3AB && c != 0x3A2) || (c >= 0x410 && c <= 0x42F))
    return static_cast<wchar_t>(c + 0x20);
  if (c >= 0x400 && c <= 0x40F) return static_cast<wchar_t>(c + 0x50);
  return ch;
}

std::pair<std::size_t, std::size_t> trimmedRange(const std::wstring& text) {
  std::size_t begin = 0;
  std::size_t end = text.size();
  while (begin < end && isEntrySpace(text[begin])) ++begin;
  while (end > begin && isEntrySpace(text[end - 1])) --end;
  return {begin, end};
}

}  // namespace details

std::wstring TrustedSenderList::entryOf(const std::wstring& text) {
  const auto range = details::trimmedRange(text);
  return text.substr(range.first, range.second - range.first);
}

bool TrustedSenderList::sameEntry(const std::wstring& a, const std::wstring& b) {
  const auto ra = details::trimmedRange(a);
  const auto rb = details::trimmedRange(b);
  if (ra.second - ra.first != rb.second - rb.first) return false;
  return std::equal(a.begin() + static_cast<std::ptrdiff_t>(ra.first), a.begin() + static_cast<std::ptrdiff_t>(ra.second),
                    b.begin() + static_cast<std::ptrdiff_t>(rb.first),
                    [](wchar_t x, wchar_t y) { return details::foldCase(x) == details::foldCase(y); });
}

std::size_t TrustedSenderList::find(const std::wstring& text) const {
  for (std::size_t i = 0; i < entries_.size(); ++i)
    if (sameEntry(entries_[i], text)) return i;
  return npos;
}

bool TrustedSenderList::canAdd(const std::wstring& text) const {
  return !entryOf(text).empty() && find(text) == npos;
}

TrustedSenderList::AddResult TrustedSenderList::add(const std::wstring& text, std::size_t* position) {
  std::wstring entry = entryOf(text);
  if (entry.empty()) {
    if (position) *position = npos;
    return AddResult::Empty;
  }
  const std::size_t found = find(entry);
  if (found != npos) {
    if (position) *position = found;
    return AddResult::Duplicate;
  }
  entries_.push_back(std::move(entry));
  if (position) *position = entries_.size() - 1;
  return AddResult::Added;
}

bool TrustedSenderList::remove(const std::wstring& text) {
  const std::size_t found = find(text);
  if (found == npos) return false;
  entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(found));
  return true;
}

std::size_t TrustedSenderList::removeAt(std::size_t index) {
  if (index >= entries_.size()) return npos;
  entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(index));
  if (entries_.empty()) return npos;
  return std::min(index, entries_.size() - 1);
}

}  // namespace Sieve
