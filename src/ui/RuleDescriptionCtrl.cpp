#include "ui/RuleDescriptionCtrl.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>

#include "strings/Localization.h"

namespace zelvo::ui {

namespace details {

const wchar_t kLinkOpen[] = L"<a href=#";
const wchar_t kLinkOpenCapital[] = L"<A HREF=#";
const wchar_t kLinkClose[] = L"</a>";
const wchar_t kLinkCloseCapital[] = L"</A>";
const std::size_t kLinkOpenSize = 9;
const LONG kLinkCloseSize = 4;

}  // namespace details

RuleDescriptionCtrl::RuleDescriptionCtrl(DialogView& view, ControlId id, RuleDescriptionHost* host,
                                         const Sieve::FolderNameTranslator* folders)
    : view_(view), id_(id), host_(host), folders_(folders) {}

void RuleDescriptionCtrl::attach() {
  if (id_ == kNoControl) return;
  view_.richEditSetReadOnly(id_, true);
  view_.richEditSetFont(id_, kFontFace, kFontPoints);
  view_.richEditSetLinkEvents(id_, true);
}

bool RuleDescriptionCtrl::showRule(Sieve::SieveRule* rule, bool severalSelected) {
  rule_ = rule;
  severalSelected_ = severalSelected;
  rebuild();
  return complete_;
}

bool RuleDescriptionCtrl::validate(bool quiet, bool asSave) {
  if (!rule_) return true;
  showMissing_ = true;
  rebuild();
  if (complete_ || quiet) return complete_;
  const std::wstring caption = Localization::getString(IDS_MESSAGE_TITLE);
  if (asSave) {
    view_.messageBox(Localization::getString(IDS_DESCRIPTION_INCOMPLETE_SAVE), caption, mb::ok | mb::iconExclamation);
    return false;
  }
  return view_.messageBox(Localization::getString(IDS_DESCRIPTION_INCOMPLETE_ASK), caption,
                          mb::yesNo | mb::iconQuestion) == kIdYes;
}

void RuleDescriptionCtrl::rebuild() {
  const bool markup = id_ != kNoControl;
  text_ = Sieve::describeRuleForDisplay(rule_, markup, showMissing_, severalSelected_, folders_, &complete_);
  links_.clear();
  if (markup) putMarkup();
}

void RuleDescriptionCtrl::putMarkup() {
  {
    RedrawOff quiet(view_, id_);
    view_.richEditStreamIn(id_, Sieve::markupToRtf(text_, GetACP()), sf::rtf);
    findLinks();
    view_.selectText(id_, 0, 0);
  }
}

LONG RuleDescriptionCtrl::findOpening(LONG from) const {
  // Either form: a search that ignores case finds both at the first, one that keeps it
  // finds each where it stands.
  const LONG plain = view_.richEditFind(id_, from, details::kLinkOpen);
  const LONG missing = view_.richEditFind(id_, from, details::kLinkOpenCapital);
  if (plain < 0) return missing;
  return missing < 0 ? plain : std::min(plain, missing);
}

void RuleDescriptionCtrl::findLinks() {
  links_.clear();
  LONG from = 0;
  for (;;) {
    const LONG open = findOpening(from);
    if (open < 0) break;
    const LONG tagEnd = view_.richEditFind(id_, open, L">");
    if (tagEnd < 0) break;
    const std::wstring tag = view_.richEditTextRange(id_, open, tagEnd);
    RuleLink link;
    // The capital form is the one of a missing value.
    link.missing = tag.compare(0, details::kLinkOpenSize, details::kLinkOpenCapital) == 0;
    const std::wstring target = tag.substr(details::kLinkOpenSize);
    const std::size_t underscore = target.find(L'_');
    link.kind = Sieve::linkKindOfWord(target.substr(0, underscore));
    if (link.kind == Sieve::LinkKind::AndOr) {
      // The connecting word always edits the rule's top test.
      link.node = rule_ ? rule_->test : nullptr;
    } else if (link.kind != Sieve::LinkKind::None && underscore != std::wstring::npos) {
      const std::wstring number = target.substr(underscore + 1);
      link.node = reinterpret_cast<void*>(static_cast<std::uintptr_t>(std::wcstoull(number.c_str(), nullptr, 10)));
    }
    view_.richEditReplace(id_, open, tagEnd + 1, std::wstring());
    LONG close = view_.richEditFind(id_, open, link.missing ? details::kLinkCloseCapital : details::kLinkClose);
    if (close < 0) {
      close = open;  // a tag without its end: nothing shown to mark
    } else {
      view_.richEditReplace(id_, close, close + details::kLinkCloseSize, std::wstring());
    }
    link.start = open;
    link.end = close;
    from = close;
    if (link.kind == Sieve::LinkKind::None) continue;
    view_.richEditSetLink(id_, link.start, link.end, link.missing ? kMissingLinkColor : kLinkColor);
    links_.push_back(link);
  }
}

bool RuleDescriptionCtrl::notify(const Notification& notification) {
  if (notification.code != notify::richEditLink || notification.message != kLinkClickMessage) return false;
  clickAt(notification.start);
  return true;
}

bool RuleDescriptionCtrl::clickAt(LONG position) {
  for (const RuleLink& link : links_) {
    if (position < link.start || position >= link.end) continue;
    if (!host_ || !link.node) return false;
    Sieve::SieveTest* test = Sieve::isTestLink(link.kind) ? static_cast<Sieve::SieveTest*>(link.node) : nullptr;
    Sieve::SieveRule* rule = test ? nullptr : static_cast<Sieve::SieveRule*>(link.node);
    if (!host_->editLink(link.kind, test, rule, view_.window())) return false;
    rebuild();
    view_.sendNotification(id_, notify::descriptionChanged);
    return true;
  }
  return false;
}

}  // namespace zelvo::ui
