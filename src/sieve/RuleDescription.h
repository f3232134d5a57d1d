// The words of a rule: one sentence for each condition and each action, built from the
// table labels, in which every value the user can set is a link. The text comes in two
// forms: mark-up, which the description control turns into rich text with clickable
// links, and plain text for places without a control.
//
// Nothing here touches a window; the description control of the dialogs puts the text on
// the screen.
#pragma once

#include <cstdint>
#include <string>

#include "sieve/SieveModel.h"

namespace Sieve {

// What a link edits; the number is the one the click handler dispatches on.
enum class LinkKind : std::int32_t {
  None = 0,
  AndOr = 1,          // the top test: all of or any of
  Address = 2,        // the values of an address condition
  Match = 3,          // match type and negation of a condition
  Size = 4,           // size mode and limit
  Word = 5,           // the values of a header condition
  FileInto = 6,       // the folder of a fileinto
  Reject = 7,         // the text of a reject
  Redirect = 8,       // the addresses of a redirect
  NotifyAddress = 9,  // the address of a notify (its name field)
  NotifyMessage = 10, // the message of a notify
  Vacation = 11,      // the reason text of a vacation
};

// The word of a kind in the mark-up ("andor", "addr", ...); empty for None.
std::wstring linkWord(LinkKind kind);
// The kind of a mark-up word, None for a word that is not one.
LinkKind linkKindOfWord(const std::wstring& word);
// Whether a link of this kind edits a test (the top test or a condition); the others edit
// the command of an action.
bool isTestLink(LinkKind kind);

// The translation of folder names for display: a path on the server names the default
// folders in the server's language, the user reads them in the client's.
class FolderNameTranslator {
 public:
  virtual ~FolderNameTranslator() = default;
  // The client's name of the public folders.
  virtual std::wstring publicFoldersName() const = 0;
  // The client's name of one path component; a name that is no default folder unchanged.
  virtual std::wstring translateFolderName(const std::wstring& name) const = 0;
};

// Cuts a server folder path into the namespace owner ("#public", "~user@domain") and the
// rest; a path of the user's own mailbox has an empty owner.
void splitFolderPath(const std::wstring& path, std::wstring& owner, std::wstring& rest);
// The path as the user reads it. Without a translator the components stay as stored.
std::wstring folderDisplayPath(const std::wstring& path, const FolderNameTranslator* translator);

// "%lu %s": bytes, or kB or MB after up to two divisions by 1024 while above 10240.
std::wstring sizeText(std::uint32_t bytes);

// The mark-up of a description as rich text, under the header and colour table that the
// description control expects; codePage goes into the header.
std::string markupToRtf(const std::wstring& markup, unsigned codePage);

// Builds the sentences of one rule. markup chooses the form; showMissing writes values
// that are not set yet in the capital link form that the control paints red, instead of
// the ordinary one. complete() tells afterwards whether every value was set.
class RuleDescriber {
 public:
  RuleDescriber(bool markup, bool showMissing, const FolderNameTranslator* folders = nullptr)
      : markup_(markup), showMissing_(showMissing), folders_(folders) {}

  // The condition sentences of test and its following siblings.
  std::wstring describeTest(SieveTest* test);
  // The action sentences of rule and the commands after it. A redirect keeps only its
  // valid addresses, joined by "; ", in its argument.
  std::wstring describeRule(SieveRule* rule);
  // The whole description: the enabled or disabled line, the conditions and the actions.
  std::wstring describe(SieveRule* rule);

  bool complete() const { return complete_; }
  void resetComplete() { complete_ = true; }

 private:
  std::wstring lineStart() const;
  std::wstring escape(const std::wstring& text) const;
  std::wstring quotedList(const SieveStringList* values) const;
  // Replaces the next bracket range of text from `from` on with a link (or appends it when
  // no range is left). An empty value is a missing one.
  void putLink(std::wstring& text, std::size_t& from, LinkKind kind, const void* node, const std::wstring& value,
               const wchar_t* fallback);
  std::wstring testSentence(SieveTest* test);
  std::wstring ruleSentence(SieveRule* rule);

  bool markup_;
  bool showMissing_;
  const FolderNameTranslator* folders_;
  bool complete_ = true;
};

// The description of a rule as the rule dialogs word it: mark-up for the control, or plain
// text. For no rule, a rule that is not editable or several selected rules, the text that
// says so. complete, when given, tells whether every value was set.
std::wstring describeRuleForDisplay(SieveRule* rule, bool markup, bool showMissing, bool severalSelected,
                                    const FolderNameTranslator* folders, bool* complete = nullptr);

}  // namespace Sieve
