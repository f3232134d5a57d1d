// The description of one rule in a read-only rich edit control of the rule dialogs: the
// sentences of RuleDescriber, with each value a blue link, or a red one when it is still
// missing and the dialog asked for missing values. A click on a link hands the value to the
// parameter dialog of its kind, shows the result at once and tells the dialog that the rule
// changed.
#pragma once

#include <string>
#include <vector>

#include "sieve/RuleDescription.h"
#include "sieve/SieveModel.h"
#include "ui/DialogView.h"
#include "ui/RuleDescriptionHost.h"

namespace zelvo::ui {

struct RuleLink {
  Sieve::LinkKind kind = Sieve::LinkKind::None;
  LONG start = 0;  // character range in the control
  LONG end = 0;
  void* node = nullptr;  // the SieveTest or SieveRule that the link edits
  bool missing = false;  // drawn red: the value is not set yet
};

class RuleDescriptionCtrl {
 public:
  static constexpr COLORREF kLinkColor = RGB(0, 0, 204);
  static constexpr COLORREF kMissingLinkColor = RGB(204, 0, 0);
  static constexpr const wchar_t* kFontFace = L"Tahoma";
  static constexpr int kFontPoints = 8;

  // The control id of the dialog's rich edit; kNoControl keeps the description as plain
  // text only. host and folders may be null: links then open nothing, and folder paths show
  // as stored.
  RuleDescriptionCtrl(DialogView& view, ControlId id, RuleDescriptionHost* host,
                      const Sieve::FolderNameTranslator* folders);
  RuleDescriptionCtrl(const RuleDescriptionCtrl&) = delete;
  RuleDescriptionCtrl& operator=(const RuleDescriptionCtrl&) = delete;

  // Sets the control up when the dialog opens: read-only, its font, and link events.
  void attach();
  // Shows rule, or the text for no rule, for a rule that is not editable, or for several
  // selected rules. The rule is not owned and must outlive its display. True when every
  // value of the rule is set.
  bool showRule(Sieve::SieveRule* rule, bool severalSelected = false);
  // With a rule shown: from now on missing values are shown red, and the description is
  // rebuilt. When a value is missing and not quiet, tells the user (asSave) or asks whether
  // to go on. True when the caller may go on.
  bool validate(bool quiet, bool asSave);
  // A notification of the control, which the dialog hands on and whose answer it gives back:
  // a click on a link opens its dialog, and true keeps the control from handling it too. The
  // pointer over a link is the view's to show.
  bool notify(const Notification& notification);
  // Opens the dialog of the link at position, as a click does. True when the rule changed.
  bool clickAt(LONG position);

  ControlId id() const { return id_; }
  const std::vector<RuleLink>& links() const { return links_; }
  // The description as built last: mark-up with a control, plain text without one.
  const std::wstring& text() const { return text_; }
  bool complete() const { return complete_; }

 private:
  void rebuild();
  void putMarkup();
  void findLinks();
  // The next link mark-up at or after from, either form; -1 when none is left.
  LONG findOpening(LONG from) const;

  DialogView& view_;
  ControlId id_;
  RuleDescriptionHost* host_;
  const Sieve::FolderNameTranslator* folders_;
  Sieve::SieveRule* rule_ = nullptr;
  bool severalSelected_ = false;
  bool showMissing_ = false;
  bool complete_ = true;
  std::wstring text_;
  std::vector<RuleLink> links_;
};

}  // namespace zelvo::ui
