#include "sieve/RuleDescriptionCtrl.h"

#include <cwchar>

#include "base/HResultException.h"
#include "sieve/SieveTables.h"
#include "streams/RichTextConvertor.h"
#include "strings/Localization.h"

namespace Sieve {

namespace details {

const wchar_t kLinkOpen[] = L"<a href=#";
const wchar_t kLinkOpenCapital[] = L"<A HREF=#";
const wchar_t kLinkClose[] = L"</a>";
const LONG kLinkOpenSize = 9;
const LONG kLinkCloseSize = 4;
// FR_DOWN, which the Windows headers keep with the common dialogs.
const WPARAM kFindDown = 0x00000001;

bool isTestLink(LinkKind kind) {
  return kind == LinkKind::AndOr || kind == LinkKind::Address || kind == LinkKind::Match || kind == LinkKind::Size ||
         kind == LinkKind::Word;
}

LONG find(HWND window, LONG from, const wchar_t* what) {
  FINDTEXTEXW find{};
  find.chrg.cpMin = from;
  find.chrg.cpMax = -1;
  find.lpstrText = what;
  return static_cast<LONG>(SendMessageW(window, EM_FINDTEXTEXW, kFindDown, reinterpret_cast<LPARAM>(&find)));
}

}  // namespace details

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

RuleDescriptionCtrl::RuleDescriptionCtrl(HWND window, HWND parent, RuleDescriptionHost* host,
                                         const FolderNameTranslator* folders)
    : window_(window), parent_(parent), host_(host), folders_(folders) {
  if (window_) {
    const LRESULT mask = SendMessageW(window_, EM_GETEVENTMASK, 0, 0);
    SendMessageW(window_, EM_SETEVENTMASK, 0, static_cast<LPARAM>(mask | ENM_LINK));
  }
}

bool RuleDescriptionCtrl::showRule(SieveRule* rule, bool severalSelected) {
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
  if (asSave) {
    if (host_) host_->showMessage(IDS_DESCRIPTION_INCOMPLETE_SAVE);
    return false;
  }
  return host_ ? host_->askYesNo(IDS_DESCRIPTION_INCOMPLETE_ASK) : false;
}

void RuleDescriptionCtrl::rebuild() {
  const bool markup = window_ != nullptr;
  text_ = describeRuleForDisplay(rule_, markup, showMissing_, severalSelected_, folders_, &complete_);
  links_.clear();
  if (markup) putMarkup(text_);
}

void RuleDescriptionCtrl::putMarkup(const std::wstring& markup) {
  SendMessageW(window_, WM_SETREDRAW, FALSE, 0);
  const HRESULT hr = RichTextConvertor::streamIn(window_, markupToRtf(markup, GetACP()), SF_RTF);
  if (SUCCEEDED(hr)) findLinks();
  CHARRANGE start{0, 0};
  SendMessageW(window_, EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&start));
  SendMessageW(window_, WM_SETREDRAW, TRUE, 0);
  InvalidateRect(window_, nullptr, TRUE);
  ZEL_CHECK(hr);
}

std::wstring RuleDescriptionCtrl::textRange(LONG start, LONG end) const {
  std::wstring text(static_cast<std::size_t>(end - start) + 1, L'\0');
  TEXTRANGEW range{};
  range.chrg.cpMin = start;
  range.chrg.cpMax = end;
  range.lpstrText = &text[0];
  const LRESULT count = SendMessageW(window_, EM_GETTEXTRANGE, 0, reinterpret_cast<LPARAM>(&range));
  text.resize(static_cast<std::size_t>(count > 0 ? count : 0));
  return text;
}

void RuleDescriptionCtrl::deleteRange(LONG start, LONG end) {
  CHARRANGE range{start, end};
  SendMessageW(window_, EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&range));
  SendMessageW(window_, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(L""));
}

void RuleDescriptionCtrl::findLinks() {
  links_.clear();
  LONG from = 0;
  for (;;) {
    const LONG open = details::find(window_, from, details::kLinkOpen);
    if (open < 0) break;
    const LONG tagEnd = details::find(window_, open, L">");
    if (tagEnd < 0) break;
    const std::wstring tag = textRange(open, tagEnd);
    RuleLink link;
    // The capital form is the one for a missing value.
    link.missing = tag.compare(0, details::kLinkOpenSize, details::kLinkOpenCapital) == 0;
    const std::wstring target = tag.substr(static_cast<std::size_t>(details::kLinkOpenSize));
    const std::size_t underscore = target.find(L'_');
    link.kind = linkKindOfWord(target.substr(0, underscore));
    if (link.kind != LinkKind::None && link.kind != LinkKind::AndOr && underscore != std::wstring::npos) {
      const std::wstring number = target.substr(underscore + 1);
      link.node = reinterpret_cast<void*>(static_cast<std::uintptr_t>(std::wcstoull(number.c_str(), nullptr, 10)));
    } else if (link.kind == LinkKind::AndOr && rule_) {
      link.node = rule_->test;
    }
    deleteRange(open, tagEnd + 1);
    LONG close = details::find(window_, open, details::kLinkClose);
    if (close < 0) close = open;  // a tag without its end: nothing shown to mark
    else deleteRange(close, close + details::kLinkCloseSize);
    link.start = open;
    link.end = close;
    from = close;
    if (link.kind == LinkKind::None) continue;

    CHARRANGE range{link.start, link.end};
    SendMessageW(window_, EM_EXSETSEL, 0, reinterpret_cast<LPARAM>(&range));
    CHARFORMAT2W format{};
    format.cbSize = sizeof format;
    format.dwMask = CFM_LINK | CFM_COLOR;
    format.dwEffects = CFE_LINK;
    format.crTextColor = link.missing ? kMissingLinkColor : kLinkColor;
    SendMessageW(window_, EM_SETCHARFORMAT, SCF_SELECTION, reinterpret_cast<LPARAM>(&format));
    links_.push_back(link);
  }
}

bool RuleDescriptionCtrl::onNotify(const NMHDR* header) {
  if (!header || header->code != EN_LINK) return false;
  const ENLINK* link = reinterpret_cast<const ENLINK*>(header);
  if (link->msg != WM_LBUTTONUP) return link->msg == WM_SETCURSOR;
  clickAt(link->chrg.cpMin);
  return true;
}

bool RuleDescriptionCtrl::clickAt(LONG position) {
  for (const RuleLink& link : links_) {
    if (position < link.start || position >= link.end) continue;
    if (!host_ || !link.node) return false;
    SieveTest* test = details::isTestLink(link.kind) ? static_cast<SieveTest*>(link.node) : nullptr;
    SieveRule* rule = test ? nullptr : static_cast<SieveRule*>(link.node);
    // A notification without a message starts from the one the server sends by default.
    if (link.kind == LinkKind::NotifyMessage && rule->argument.empty()) rule->argument = kDefaultNotifyMessage;
    if (!host_->editLink(link.kind, test, rule)) return false;
    rebuild();
    if (parent_) {
      NMHDR changed{};
      changed.hwndFrom = window_;
      changed.code = kDescriptionChanged;
      SendMessageW(parent_, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&changed));
    }
    return true;
  }
  return false;
}

}  // namespace Sieve
