#include "ui/RuleParameterDialogs.h"

#include <algorithm>
#include <boost/algorithm/string/trim.hpp>
#include <boost/tokenizer.hpp>

#include "base/SizeCast.h"
#include "sieve/SieveTables.h"
#include "strings/Localization.h"

namespace zelvo::ui {

namespace details {
namespace {

// MB_DEFBUTTON2: the question about a value already in the list defaults to No.
constexpr UINT kSecondButtonDefault = 0x00000100;

std::wstring trimmed(const std::wstring& text) { return boost::algorithm::trim_copy(text); }

// The condition's label with the way it compares in the range of its marks. A label of values and
// comparison holds two ranges, the values' first; the comparison takes the last, and the marks of
// the other are dropped. With no range the label is appended.
std::wstring conditionText(const Sieve::SieveTest& test) {
  std::wstring label = Sieve::conditionLabel(Sieve::conditionIdOfTest(&test));
  const std::wstring compared = Sieve::matchLabel(test.matchType, test.negated);
  const std::size_t open = label.rfind(L'[');
  const std::size_t close = open == std::wstring::npos ? std::wstring::npos : label.find(L']', open);
  if (close == std::wstring::npos) {
    if (!label.empty()) label += L' ';
    return label + compared;
  }
  label.replace(open, close - open + 1, compared);
  const std::size_t valuesOpen = label.rfind(L'[', open);
  const std::size_t valuesClose = valuesOpen == std::wstring::npos ? std::wstring::npos : label.find(L']', valuesOpen);
  if (valuesClose != std::wstring::npos && valuesClose < open) {
    label.erase(valuesClose, 1);
    label.erase(valuesOpen, 1);
  }
  return label;
}

// The combo rows of the condition dialog: each match type plain, then negated.
int conditionRow(Sieve::MatchType type, bool negated) { return static_cast<int>(type) * 2 + (negated ? 1 : 0); }

}  // namespace
}  // namespace details

// --- values of a test ----------------------------------------------------------------------------

RuleValueListDialog::RuleValueListDialog(DialogView& view, Sieve::SieveTest& test, DialogHost& host)
    : DialogLogic(view), test_(test), host_(host) {}

void RuleValueListDialog::onInitDialog() {
  values_ = Sieve::stringListToVector(test_.values);
  std::sort(values_.begin(), values_.end());
  showValues(values_.empty() ? kNoItem : 0);
  showCondition();
  updateControls();
}

void RuleValueListDialog::showValues(int select) {
  view().setRedraw(kList, false);
  view().listBoxClear(kList);
  for (const std::wstring& value : values_) view().listBoxAdd(kList, value);
  view().listBoxSelect(kList, select);
  view().setRedraw(kList, true);
}

void RuleValueListDialog::showCondition() { view().setText(kConditionLabel, details::conditionText(test_)); }

void RuleValueListDialog::updateControls() {
  if (!view().getText(kEdit).empty()) {
    view().enable(kAdd, true);
    view().setDefaultButton(kAdd);
  } else {
    view().enable(kAdd, false);
    view().setDefaultButton(kIdOk);
  }
  view().enable(kRemove, view().listBoxSelection(kList) != kNoItem);
  view().enable(kIdOk, !values_.empty());
}

void RuleValueListDialog::addValue(const std::wstring& text) {
  const std::wstring value = details::trimmed(text);
  view().setText(kEdit, std::wstring());
  if (value.empty()) {
    view().setFocus(kEdit);
    return;
  }
  if (std::find(values_.begin(), values_.end(), value) != values_.end()) {
    const int answer =
        view().messageBox(Localization::getString(IDS_VALUE_ALREADY_LISTED), Localization::getString(IDS_MESSAGE_TITLE),
                          mb::yesNo | mb::iconQuestion | details::kSecondButtonDefault);
    if (answer != kIdYes) {
      view().setFocus(kEdit);
      return;
    }
  }
  // Behind any equal ones, so that the row of the new value is the one selected.
  const auto at = values_.insert(std::upper_bound(values_.begin(), values_.end(), value), value);
  showValues(size_cast<int>(at - values_.begin()));
}

void RuleValueListDialog::removeValue() {
  const int selected = view().listBoxSelection(kList);
  if (selected == kNoItem || static_cast<std::size_t>(selected) >= values_.size()) return;
  values_.erase(values_.begin() + selected);
  if (values_.empty()) {
    view().listBoxClear(kList);
    view().setFocus(kEdit);
    return;
  }
  showValues(std::min(selected, size_cast<int>(values_.size()) - 1));
}

void RuleValueListDialog::editCondition() {
  Sieve::MatchType type = test_.matchType;
  bool negated = test_.negated;
  if (RuleConditionDialog::run(host_, view().window(), type, negated) != kIdOk) return;
  test_.matchType = type;
  test_.negated = negated;
  showCondition();
}

void RuleValueListDialog::onOk() {
  if (values_.empty()) return;  // OK is disabled then
  Sieve::StringListPtr fresh(Sieve::makeStringList(values_));
  Sieve::deleteStringList(test_.values);
  test_.values = fresh.release();
  view().endDialog(kIdOk);
}

void RuleValueListDialog::onCommand(ControlId id, int notification) {
  switch (id) {
    case kEdit:
      if (notification == notify::editChange) updateControls();
      break;
    case kList:
      if (notification == notify::listSelChange) updateControls();
      break;
    case kAdd:
      if (notification == notify::buttonClicked) {
        addValue(view().getText(kEdit));
        updateControls();
      }
      break;
    case kRemove:
      if (notification == notify::buttonClicked) {
        removeValue();
        updateControls();
      }
      break;
    case kCondition:
      if (notification == notify::buttonClicked) editCondition();
      break;
    default:
      break;
  }
}

void RulePeopleDialog::onInitDialog() {
  view().enable(kAddressBook, picker_ != nullptr);
  RuleValueListDialog::onInitDialog();
}

void RulePeopleDialog::onCommand(ControlId id, int notification) {
  if (id != kAddressBook) {
    RuleValueListDialog::onCommand(id, notification);
    return;
  }
  if (notification != notify::buttonClicked || !picker_) return;
  std::wstring chosen;
  if (!picker_->pick(kRuleAddressBookKind, chosen)) return;
  // The address book hands several addresses as one text.
  const boost::char_separator<wchar_t> separators(L";,");
  for (const std::wstring& address :
       boost::tokenizer<boost::char_separator<wchar_t>, std::wstring::const_iterator, std::wstring>(chosen,
                                                                                                    separators)) {
    if (!details::trimmed(address).empty()) addValue(address);
  }
  updateControls();
}

// --- one text ------------------------------------------------------------------------------------

void RuleMessageDialog::onInitDialog() {
  // A long text wants room: the field grows with the window, the buttons keep to its corner.
  view().enableResizing(0, 0);
  view().setAnchor(kEdit, anchor::all);
  view().setAnchor(kIdOk, anchor::right | anchor::bottom);
  view().setAnchor(kIdCancel, anchor::right | anchor::bottom);
  view().setText(kEdit, text_);
}

void RuleMessageDialog::onOk() {
  text_ = view().getText(kEdit);
  view().endDialog(kIdOk);
}

void RuleAddressDialog::onInitDialog() {
  view().enable(kAddressBook, picker_ != nullptr);
  view().setText(kEdit, address_);
  updateControls();
}

void RuleAddressDialog::updateControls() { view().enable(kIdOk, !view().getText(kEdit).empty()); }

void RuleAddressDialog::onOk() {
  const std::wstring text = view().getText(kEdit);
  if (text.empty()) return;  // OK is disabled then
  address_ = details::trimmed(text);
  view().endDialog(kIdOk);
}

void RuleAddressDialog::onCommand(ControlId id, int notification) {
  if (id == kEdit && notification == notify::editChange) {
    updateControls();
  } else if (id == kAddressBook && notification == notify::buttonClicked && picker_) {
    std::wstring chosen;
    if (!picker_->pick(kRuleAddressBookKind, chosen)) return;
    view().setText(kEdit, chosen);
    updateControls();
  }
}

// --- size ----------------------------------------------------------------------------------------

std::pair<std::uint32_t, int> RuleHasSizeDialog::displayedSize(std::uint32_t bytes) {
  int unit = 0;
  while (unit < 2 && bytes > 10240) {
    bytes >>= 10;
    ++unit;
  }
  return {bytes, unit};
}

void RuleHasSizeDialog::onInitDialog() {
  view().comboClear(kMode);
  view().comboAdd(kMode, Localization::getString(IDS_SIZE_OVER), 0);
  view().comboAdd(kMode, Localization::getString(IDS_SIZE_UNDER), 0);
  const int mode = static_cast<int>(mode_);
  view().comboSelect(kMode, mode == 0 || mode == 1 ? mode : kNoItem);

  view().comboClear(kUnit);
  for (unsigned id : {IDS_SIZE_UNIT_BYTES, IDS_SIZE_UNIT_KILOBYTES, IDS_SIZE_UNIT_MEGABYTES}) {
    view().comboAdd(kUnit, Localization::getString(id), 0);
  }
  const auto [number, unit] = displayedSize(bytes_);
  view().comboSelect(kUnit, unit);
  view().setTextLimit(kEdit, kEditLimit);
  view().setText(kEdit, std::to_wstring(number));
}

void RuleHasSizeDialog::onOk() {
  const int mode = view().comboSelection(kMode);
  if (mode == kNoItem) {
    view().beep(Beep::Default);
    view().setFocus(kMode);
    return;
  }
  const std::wstring text = view().getText(kEdit);
  std::size_t digits = 0;
  std::uint64_t number = 0;
  while (digits < text.size() && text[digits] >= L'0' && text[digits] <= L'9') {
    number = number * 10 + static_cast<unsigned>(text[digits] - L'0');
    if (number > 0xFFFFFFFFu) break;
    ++digits;
  }
  if (digits == 0 || digits != text.size()) {
    view().beep(Beep::Default);
    view().setFocus(kEdit);
    view().selectText(kEdit, 0, size_cast<int>(text.size()));
    return;
  }
  int unit = view().comboSelection(kUnit);
  if (unit < 0 || unit > 2) unit = 0;
  if (unit == 2 && number > kMaxMegabytes) {
    view().beep(Beep::Default);
    number = kMaxMegabytes;
    view().setText(kEdit, std::to_wstring(number));
  }
  const std::uint64_t bytes = number << (10 * unit);
  if (bytes > 0xFFFFFFFFu) {
    view().beep(Beep::Default);
    view().setFocus(kEdit);
    return;
  }
  mode_ = static_cast<Sieve::SizeMode>(mode);
  bytes_ = static_cast<std::uint32_t>(bytes);
  view().endDialog(kIdOk);
}

// --- all or any ----------------------------------------------------------------------------------

void RuleMatchDialog::onInitDialog() { view().checkRadio(kAllOf, kAnyOf, allOf_ ? kAllOf : kAnyOf); }

void RuleMatchDialog::onOk() {
  allOf_ = view().isChecked(kAllOf);
  view().endDialog(kIdOk);
}

// --- match type ----------------------------------------------------------------------------------

void RuleConditionDialog::onInitDialog() {
  view().comboClear(kCombo);
  for (const auto& [type, row] : Sieve::matchTable()) {
    view().comboAdd(kCombo, row.plain, 0);
    view().comboAdd(kCombo, row.negated, 0);
  }
  const int present = details::conditionRow(type_, negated_);
  view().comboSelect(kCombo, present < view().comboCount(kCombo) && present >= 0 ? present : kNoItem);
  showExplanation();
}

void RuleConditionDialog::showExplanation() {
  const int row = view().comboSelection(kCombo);
  view().setText(kExplanation,
                 row == kNoItem ? std::wstring() : Sieve::matchExplanation(static_cast<Sieve::MatchType>(row / 2)));
}

void RuleConditionDialog::onOk() {
  const int row = view().comboSelection(kCombo);
  if (row == kNoItem) {
    view().beep(Beep::Default);
    return;
  }
  type_ = static_cast<Sieve::MatchType>(row / 2);
  negated_ = row % 2 != 0;
  view().endDialog(kIdOk);
}

void RuleConditionDialog::onCommand(ControlId id, int notification) {
  if (id == kCombo && notification == notify::comboSelChange) showExplanation();
}

}  // namespace zelvo::ui
