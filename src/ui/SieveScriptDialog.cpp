#include "ui/SieveScriptDialog.h"

#include <utility>

#include "base/HResultException.h"
#include "sieve/SieveParser.h"
#include "sieve/SieveTables.h"
#include "strings/Localization.h"
#include "ui/ParseFailureMessage.h"

namespace zelvo::ui {

std::wstring editLineBreaks(const std::wstring& text) {
  std::wstring result;
  result.reserve(text.size() + text.size() / 16);
  wchar_t previous = L'\0';
  for (const wchar_t ch : text) {
    const wchar_t before = previous;
    previous = ch;
    if (ch == L'\r') continue;
    if (ch == L'\n' && before != L'\n') result += L'\r';
    result += ch;
  }
  return result;
}

SieveScriptDialog::SieveScriptDialog(DialogView& view, std::wstring text, bool parseOnOk, bool singleRule,
                                     Result* result)
    : DialogLogic(view), text_(std::move(text)), parseOnOk_(parseOnOk), singleRule_(singleRule), result_(result) {}

Sieve::SieveRule* SieveScriptDialog::getRules(bool copy) const {
  if (!copy || !rules_) return rules_.get();
  Sieve::SieveRule* clone = Sieve::cloneRule(rules_.get(), 2);
  if (!clone) ZEL_HERE.raise(E_OUTOFMEMORY, L"Failed to clone sieve rule");
  return clone;
}

void SieveScriptDialog::onInitDialog() {
  view().enableResizing(0, 0);
  view().setAnchor(kEdit, anchor::all);
  view().setAnchor(kIdOk, anchor::right | anchor::bottom);
  view().setAnchor(kIdCancel, anchor::right | anchor::bottom);
  // Sieve is read by its indentation and brackets: a fixed-pitch font keeps them in line.
  view().setFont(kEdit, L"Courier New", 9);
  view().setText(kEdit, editLineBreaks(text_));
  view().setFocus(kEdit);
  view().selectText(kEdit, 0, 0);
  view().scrollCaret(kEdit);
}

void SieveScriptDialog::onOk() {
  if (!parseOnOk_) {
    accept(view().getText(kEdit));
    return;
  }
  const std::wstring text = view().getText(kEdit);
  rules_.reset();
  Sieve::SieveRule* head = nullptr;
  Sieve::SieveParseStatus status;
  const bool parsed = Sieve::parseRules(text, head, true, &status);
  rules_.reset(head);
  if (!parsed) {
    showParseFailure(view(), status, false);
    return;
  }
  if (!acceptParsed()) {
    rules_.reset();
    return;
  }
  accept(text);
}

void SieveScriptDialog::accept(std::wstring text) {
  text_ = std::move(text);
  if (result_) {
    result_->text = text_;
    result_->rules.reset(getRules(true));
  }
  view().endDialog(kIdOk);
}

bool SieveScriptDialog::acceptParsed() {
  const std::wstring caption = Localization::getString(IDS_MESSAGE_TITLE);
  if (!rules_) {
    return view().messageBox(Localization::getString(IDS_SCRIPT_EMPTY), caption, mb::yesNo) == kIdYes;
  }
  if (singleRule_ && rules_->next) {
    view().messageBox(Localization::getString(IDS_SCRIPT_ONE_RULE_ONLY), caption, mb::ok | mb::iconError);
    return false;
  }
  // The rule editor shows only conditions of its table; the others are edited as text.
  for (Sieve::SieveRule* rule = rules_.get(); rule; rule = rule->next) {
    rule->editable = Sieve::allConditionsKnown(rule);
  }
  return true;
}

}  // namespace zelvo::ui
