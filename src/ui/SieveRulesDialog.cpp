#include "ui/SieveRulesDialog.h"

#include <algorithm>
#include <new>
#include <utility>

#include "base/HResultException.h"
#include "base/LateBinding.h"
#include "base/SizeCast.h"
#include "sieve/JunkEmailRule.h"
#include "sieve/OutOfOfficeRule.h"
#include "sieve/RuleList.h"
#include "strings/Localization.h"
#include "ui/SieveScriptDialog.h"

namespace zelvo::ui {

namespace details {

template <class Interface>
ComRef<Interface> queryProperty(IDispatch* object, const wchar_t* name, REFIID iid) {
  return getProperty(object, name).toUnknown().as<Interface>(iid);
}

// The name of the n-th copy of a row: the prefix of its number, ending in a blank, and the
// row's text.
std::wstring copyName(int n, const std::wstring& rowText) {
  std::wstring prefix = n == 1 ? Localization::getString(IDS_RULE_COPY_PREFIX)
                               : Localization::formatString(IDS_RULE_COPY_PREFIX_COUNT, n);
  if (prefix.empty() || prefix.back() != L' ') prefix += L' ';
  return prefix + rowText;
}

}  // namespace details

SieveRulesDialog::RuleEditorFactory SieveRulesDialog::ruleEditor(RuleDescriptionHost* links,
                                                                 const Sieve::FolderNameTranslator* folders) {
  return [links, folders](DialogView& view, Sieve::SieveRule& rule) {
    return std::make_unique<RuleEditorDialog>(view, rule, links, folders);
  };
}

SieveRulesDialog::SieveRulesDialog(DialogView& view, _ConfigProperties* config, DialogHost& host,
                                   RuleEditorFactory editor, const Sieve::FolderNameTranslator* folders)
    : DialogLogic(view),
      config_(config),
      host_(host),
      editor_(std::move(editor)),
      description_(view, kDescription, nullptr, folders) {
  if (!config_) ZEL_HERE.raise(E_INVALIDARG);
  // A data object that was never opened on a store has no store configuration: it is
  // refused here rather than when the rules load.
  (void)details::queryProperty<IGlobalConfig>(config_.get(), L"globalConfig", IID_IGlobalConfig);
  options_ = details::queryProperty<AddIn::IMailServerOptions>(config_.get(), L"MailServerOptions",
                                                               AddIn::IID_IMailServerOptions);
}

SieveRulesDialog::~SieveRulesDialog() {
  Sieve::deleteRules(rules_);
  Sieve::deleteRules(reservedRules_);
}

void SieveRulesDialog::onInitDialog() {
  view().listViewSetExtendedStyle(kList, lvx::checkBoxes | lvx::fullRowSelect, lvx::checkBoxes | lvx::fullRowSelect);
  view().listViewAddColumn(kList, std::wstring(), kColumnFill);
  view().enableResizing(0, 0);
  view().setAnchor(kList, anchor::all);
  for (ControlId button : {kAdd, kEdit, kEditAsScript, kCopy, kDelete, kMoveUp, kMoveDown}) {
    view().setAnchor(button, anchor::top | anchor::right);
  }
  view().setAnchor(kDescriptionLabel, anchor::left | anchor::bottom);
  view().setAnchor(kDescription, anchor::left | anchor::right | anchor::bottom);
  view().setAnchor(kIdOk, anchor::right | anchor::bottom);
  view().setAnchor(kIdCancel, anchor::right | anchor::bottom);
  description_.attach();
  try {
    refresh();
  } catch (const HResultException&) {
    // A rule set that did not load leaves nothing to show or add to; the user can only leave.
    view().beep(Beep::Stop);
    view().enable(kList, false);
    view().enable(kAdd, false);
  }
  updateButtons(-1);
}

void SieveRulesDialog::refresh() {
  view().setRedraw(kList, false);
  Sieve::deleteRules(rules_);
  Sieve::deleteRules(reservedRules_);
  rules_ = nullptr;
  reservedRules_ = nullptr;
  entries_.clear();
  try {
    rules_ = options_->getRules(true);
    Sieve::removeRepeatedKeepDiscard(rules_);
    // The reserved rows are found by their names alone; the shape is not looked at here.
    for (const wchar_t* name : {Sieve::kJunkEmailRuleName, Sieve::kOutOfOfficeRuleName}) {
      if (Sieve::SieveRule* rule = Sieve::findRule(rules_, name)) {
        Sieve::unlinkRule(rules_, rule);
        rule->reserved = true;
        Sieve::appendRule(reservedRules_, rule);
        entries_.push_back(rule);
      }
    }
    for (Sieve::SieveRule* rule = rules_; rule; rule = rule->next) entries_.push_back(rule);
  } catch (...) {
    showRows();
    view().setRedraw(kList, true);
    throw;
  }
  showRows();
  if (!entries_.empty()) selectOnly(0);
  view().setRedraw(kList, true);
}

void SieveRulesDialog::showRows() {
  VirtualRows rows;
  rows.text = [this](int row, int) {
    return row >= 0 && static_cast<std::size_t>(row) < entries_.size() ? Sieve::rowName(entries_[row]) : std::wstring();
  };
  rows.stateImage = [this](int row) {
    const bool enabled = row >= 0 && static_cast<std::size_t>(row) < entries_.size() && entries_[row]->enabled;
    return enabled ? stateImage::checked : stateImage::unchecked;
  };
  view().listViewSetVirtualRows(kList, size_cast<int>(entries_.size()), std::move(rows));
}

int SieveRulesDialog::selectedRow() const {
  const std::vector<int> selected = view().listViewSelectedRows(kList);
  return selected.size() == 1 ? selected.front() : kNoItem;
}

void SieveRulesDialog::selectOnly(int row) {
  view().listViewSetSelected(kList, kNoItem, false);
  view().listViewSetSelected(kList, row, true);
  view().listViewSetFocusedRow(kList, row);
  view().listViewEnsureVisible(kList, row);
}

bool SieveRulesDialog::isEditable(const Sieve::SieveRule* rule) const {
  return rule && !rule->reserved && Sieve::containsRule(rules_, rule);
}

void SieveRulesDialog::updateButtons(int row) {
  const std::vector<int> selected = view().listViewSelectedRows(kList);
  Sieve::SieveRule* rule = nullptr;
  if (selected.size() == 1) {
    const int index = row < 0 ? selected.front() : row;
    if (index >= 0 && static_cast<std::size_t>(index) < entries_.size()) rule = entries_[index];
  }
  // Reserved rows stay on top: they do not move, and no row moves above them.
  const bool movable = isEditable(rule);
  view().enable(kMoveUp, movable && Sieve::previousRule(rules_, rule) != nullptr);
  view().enable(kMoveDown, movable && rule->next != nullptr);
  // Whether the rule editor can show the rule has no part here: the editor opens anyway.
  const bool editable = rule && !rule->reserved;
  view().enable(kEdit, editable);
  view().enable(kDelete, editable);
  view().enable(kEditAsScript, editable);
  // Any rule copies; a reserved one's copy is one of the user's own.
  view().enable(kCopy, rule != nullptr);
  view().enable(kDescription, editable);
  showDescription(rule, selected.size() > 1);
}

void SieveRulesDialog::showDescription(Sieve::SieveRule* rule, bool severalSelected) {
  description_.showRule(rule, severalSelected);
}

int SieveRulesDialog::runEditor(Sieve::SieveRule& rule) {
  if (!editor_) ZEL_HERE.raise(E_NOTIMPL, L"No rule editor");
  return host_.runModal(kRuleEditorTemplateId, view().window(), [&](DialogView& view) { return editor_(view, rule); });
}

void SieveRulesDialog::replaceRow(int row, Sieve::SieveRule* rule) {
  Sieve::SieveRule* old = entries_[row];
  Sieve::replaceRule(rules_, old, rule);
  entries_[row] = rule;
  Sieve::deleteRules(old);
  view().listViewRedrawRows(kList, row, row);
}

void SieveRulesDialog::toggle(int row) {
  if (row < 0 || static_cast<std::size_t>(row) >= entries_.size()) return;
  Sieve::SieveRule* rule = entries_[row];
  // The reserved rules are switched in their own dialogs.
  if (!isEditable(rule)) return;
  rule->enabled = !rule->enabled;
  view().listViewRedrawRows(kList, row, row);
  selectOnly(row);
}

void SieveRulesDialog::createListEntry() {
  Sieve::RulePtr rule(new (std::nothrow) Sieve::SieveRule(Sieve::RuleKind::If, nullptr));
  if (!rule) ZEL_HERE.raise(E_OUTOFMEMORY, L"Can't create sieve rule");
  rule->enabled = true;
  if (runEditor(*rule) != kIdOk) return;
  Sieve::SieveRule* added = rule.release();
  Sieve::appendRule(rules_, added);
  entries_.push_back(added);
  showRows();
  selectOnly(size_cast<int>(entries_.size()) - 1);
}

void SieveRulesDialog::modifyListEntry(int row) {
  Sieve::SieveRule* rule = entries_[row];
  if (!isEditable(rule)) return;
  Sieve::RulePtr copy(Sieve::cloneRule(rule, Sieve::CloneWithBlock));
  if (!copy) ZEL_HERE.raise(E_OUTOFMEMORY, L"Failed to clone sieve rule");
  if (runEditor(*copy) != kIdOk) return;
  Sieve::removeRepeatedKeepDiscard(copy.get());
  replaceRow(row, copy.release());
}

void SieveRulesDialog::editAsScript(int row) {
  try {
    editAsScriptSteps(row);
  } catch (const HResultException&) {
    // A rule that cannot be written or copied stays as it is, and so does the list.
  }
}

void SieveRulesDialog::editAsScriptSteps(int row) {
  Sieve::SieveRule* rule = entries_[row];
  if (!isEditable(rule)) return;
  std::wstring text;
  Sieve::SieveRule::writeScript(rule, text, true);
  SieveScriptDialog::Result result;
  const int ended = host_.runModal(SieveScriptDialog::kTemplateId, view().window(), [&](DialogView& view) {
    return std::make_unique<SieveScriptDialog>(view, text, true, true, &result);
  });
  if (ended != kIdOk) return;
  if (!result.rules) {
    // The text was emptied: the rule goes as a deleted one goes.
    deleteListEntry(row);
    return;
  }
  Sieve::SieveRule* parsed = result.rules.release();
  Sieve::removeRepeatedKeepDiscard(parsed);
  parsed->name = rule->name;
  parsed->enabled = rule->enabled;
  replaceRow(row, parsed);
}

void SieveRulesDialog::deleteListEntry(int row) {
  if (view().messageBox(Localization::getString(IDS_RULE_DELETE_QUESTION), Localization::getString(IDS_MESSAGE_TITLE),
                        mb::yesNo | mb::iconQuestion) != kIdYes) {
    return;
  }
  Sieve::SieveRule* rule = entries_[row];
  if (!Sieve::containsRule(rules_, rule)) return;
  entries_.erase(entries_.begin() + row);
  Sieve::unlinkRule(rules_, rule);
  Sieve::deleteRules(rule);
  showRows();
  if (!entries_.empty()) selectOnly(std::min(row, size_cast<int>(entries_.size()) - 1));
}

void SieveRulesDialog::copyListEntry(int row) {
  Sieve::SieveRule* rule = entries_[row];
  const std::wstring rowText = Sieve::rowName(rule);
  std::wstring name;
  for (int n = 1; n <= kMaxCopyNumber && name.empty(); ++n) {
    std::wstring candidate = details::copyName(n, rowText);
    if (!Sieve::findRule(rules_, candidate)) name = std::move(candidate);
  }
  if (name.empty()) {
    view().messageBox(Localization::getString(IDS_RULE_COPY_NO_NAME_LEFT), Localization::getString(IDS_MESSAGE_TITLE),
                      mb::ok | mb::iconExclamation);
    return;
  }
  Sieve::SieveRule* copy = Sieve::cloneRule(rule, Sieve::CloneWithBlock);
  if (!copy) ZEL_HERE.raise(E_OUTOFMEMORY, L"Failed to clone sieve rule");
  copy->reserved = false;
  copy->name = std::move(name);
  int newRow = row + 1;
  if (Sieve::containsRule(reservedRules_, rule)) {
    // In front of the user's rules, the first row after the reserved ones.
    copy->next = rules_;
    rules_ = copy;
    newRow = 0;
    for (const Sieve::SieveRule* reserved = reservedRules_; reserved; reserved = reserved->next) ++newRow;
  } else {
    copy->next = rule->next;
    rule->next = copy;
  }
  entries_.insert(entries_.begin() + newRow, copy);
  showRows();
  selectOnly(newRow);
}

void SieveRulesDialog::moveListEntry(int row, int delta) {
  Sieve::SieveRule* rule = entries_[row];
  if (!isEditable(rule)) return;
  if (delta < 0 ? Sieve::previousRule(rules_, rule) == nullptr : rule->next == nullptr) return;
  Sieve::moveRule(rules_, rule, delta);
  const int other = row + delta;
  std::swap(entries_[row], entries_[other]);
  view().listViewRedrawRows(kList, std::min(row, other), std::max(row, other));
  selectOnly(other);
}

void SieveRulesDialog::onOk() {
  // The reserved rules go in front for the moment of the hand-over: junk e-mail first,
  // out of office second, then the user's rules.
  Sieve::SieveRule* last = reservedRules_;
  while (last && last->next) last = last->next;
  if (last) last->next = rules_;
  try {
    options_->setRules(last ? reservedRules_ : rules_);
  } catch (...) {
    if (last) last->next = nullptr;
    throw;
  }
  if (last) last->next = nullptr;
  view().endDialog(kIdOk);
}

void SieveRulesDialog::onCommand(ControlId id, int notification) {
  if (notification != notify::buttonClicked) return;
  if (id == kAdd) {
    createListEntry();
    updateButtons(-1);
    return;
  }
  const int row = selectedRow();
  if (row == kNoItem) return;
  switch (id) {
    case kEdit:
      modifyListEntry(row);
      break;
    case kEditAsScript:
      editAsScript(row);
      break;
    case kDelete:
      deleteListEntry(row);
      break;
    case kCopy:
      copyListEntry(row);
      break;
    case kMoveUp:
      moveListEntry(row, -1);
      break;
    case kMoveDown:
      moveListEntry(row, 1);
      break;
    default:
      return;
  }
  updateButtons(-1);
}

bool SieveRulesDialog::onNotify(ControlId id, const Notification& notification) {
  if (id != kList) return false;
  switch (notification.code) {
    case notify::listItemChanged:
      if ((notification.changed & kListItemStateChanged) &&
          ((notification.oldState ^ notification.newState) & lvis::selected)) {
        updateButtons(-1);
      }
      break;
    case notify::click:
      if (notification.onStateImage) {
        toggle(notification.item);
        updateButtons(-1);
      }
      break;
    case notify::listKeyDown:
      if (notification.key == vk::space) {
        toggle(selectedRow());
        updateButtons(-1);
      }
      break;
    default:
      break;
  }
  return false;
}

void SieveRulesDialog::onSize(int, int) { view().listViewSetColumnWidth(kList, 0, kColumnFill); }

}  // namespace zelvo::ui
