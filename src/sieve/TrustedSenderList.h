// The trusted senders of the junk e-mail rule as a user edits them, in the trusted senders
// dialog or with the command-line tool: one set of list rules for both.
//
// An entry is the text cut of white space at both ends; an empty text adds nothing. Two
// entries are the same when the whole of them is equal without regard to case, as a list
// box compares. No address check is made: domains and partial addresses are entries too.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Sieve {

class TrustedSenderList {
 public:
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  enum class AddResult {
    Added,      // appended at the end
    Empty,      // nothing left after trimming; nothing added
    Duplicate,  // already there; the position is the existing entry's
  };

  TrustedSenderList() = default;
  // Entries as stored, in their order; they are kept as they are.
  explicit TrustedSenderList(std::vector<std::wstring> entries) : entries_(std::move(entries)) {}

  // The text as an entry: white space cut at both ends.
  static std::wstring entryOf(const std::wstring& text);
  // Whether two texts are the same entry: equal after trimming, without regard to case.
  static bool sameEntry(const std::wstring& a, const std::wstring& b);

  // The position of the entry that text names, or npos.
  std::size_t find(const std::wstring& text) const;
  // Whether add would add: not empty, and not there yet.
  bool canAdd(const std::wstring& text) const;
  // Adds the trimmed text at the end. position, when given, receives where the entry is
  // (the new one, or the one already there), or npos for an empty text.
  AddResult add(const std::wstring& text, std::size_t* position = nullptr);
  // Removes the entry that text names; false when there is none.
  bool remove(const std::wstring& text);
  // Removes the entry at index and returns the index to select next: the entry that took its
  // place, or the last one when it was the last, or npos when the list is now empty. An
  // index past the end removes nothing and gives npos.
  std::size_t removeAt(std::size_t index);

  const std::vector<std::wstring>& entries() const { return entries_; }
  std::size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }

 private:
  std::vector<std::wstring> entries_;
};

}  // namespace Sieve
