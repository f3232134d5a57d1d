// The description of one rule in a read-only rich edit control of the rule dialogs: the
// sentences of RuleDescriber, with each value a blue link, or a red one when it is still
// missing and the dialog asked for missing values. A click on a link hands the value to
// the parameter dialog of its kind and shows the result at once.
//
// The control is reached through window messages only, so that the same code runs on a
// real rich edit and on the platform layer's in-memory one.
#pragma once

#include <string>
#include <vector>

#include "platform/Win32.h"
#include "sieve/RuleDescription.h"
#include "sieve/SieveModel.h"

namespace Sieve {

// The dialog side of the description: the parameter dialogs and message boxes.
class RuleDescriptionHost {
 public:
  virtual ~RuleDescriptionHost() = default;
  // Opens the parameter dialog of kind on the node (a test for AndOr, Address, Match, Size
  // and Word, the command otherwise) and writes the values back on OK. True when the node
  // was changed.
  virtual bool editLink(LinkKind kind, SieveTest* test, SieveRule* rule) = 0;
  // A message box with the text of id.
  virtual void showMessage(unsigned textId) = 0;
  // A Yes/No box with the text of id; true for Yes.
  virtual bool askYesNo(unsigned textId) = 0;
};

struct RuleLink {
  LinkKind kind = LinkKind::None;
  LONG start = 0;  // character range in the control
  LONG end = 0;
  void* node = nullptr;  // the SieveTest or SieveRule that the link edits
  bool missing = false;  // drawn red: the value is not set yet
};

// The code of the WM_NOTIFY that tells the parent that a link changed the rule.
constexpr UINT kDescriptionChanged = 32768;
constexpr COLORREF kLinkColor = RGB(0, 0, 204);
constexpr COLORREF kMissingLinkColor = RGB(204, 0, 0);

class RuleDescriptionCtrl {
 public:
  // window may be null: the description is then kept as plain text only. The control asks
  // for link events. host and folders may be null (no dialogs, no translation).
  RuleDescriptionCtrl(HWND window, HWND parent, RuleDescriptionHost* host, const FolderNameTranslator* folders);
  RuleDescriptionCtrl(const RuleDescriptionCtrl&) = delete;
  RuleDescriptionCtrl& operator=(const RuleDescriptionCtrl&) = delete;

  // Shows rule, or the text for no rule, for a rule that is not editable, or for several
  // selected rules. The rule is not owned and must outlive its display. True when every
  // value of the rule is set.
  bool showRule(SieveRule* rule, bool severalSelected = false);
  // With a rule shown: from now on missing values are shown red, and the description is
  // rebuilt. When a value is missing and not quiet, tells the user (asSave) or asks whether
  // to go on. True when the caller may go on.
  bool validate(bool quiet, bool asSave);
  // EN_LINK from the control: a click on a link opens its dialog. True when handled.
  bool onNotify(const NMHDR* header);
  // Opens the dialog of the link at position, as a click does. True when the rule changed.
  bool clickAt(LONG position);

  const std::vector<RuleLink>& links() const { return links_; }
  // The description as built last: mark-up with a window, plain text without one.
  const std::wstring& text() const { return text_; }
  bool complete() const { return complete_; }

 private:
  void rebuild();
  void putMarkup(const std::wstring& markup);
  void findLinks();
  std::wstring textRange(LONG start, LONG end) const;
  void deleteRange(LONG start, LONG end);

  HWND window_;
  HWND parent_;
  RuleDescriptionHost* host_;
  const FolderNameTranslator* folders_;
  SieveRule* rule_ = nullptr;
  bool severalSelected_ = false;
  bool showMissing_ = false;
  bool complete_ = true;
  std::wstring text_;
  std::vector<RuleLink> links_;
};

// The description of a rule as text, as the rule dialogs word it: markup for the control,
// or plain text. complete, when given, tells whether every value was set.
std::wstring describeRuleForDisplay(SieveRule* rule, bool markup, bool showMissing, bool severalSelected,
                                    const FolderNameTranslator* folders, bool* complete = nullptr);

}  // namespace Sieve
