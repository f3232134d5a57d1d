#include "ui/RuleEditorDialog.h"

#include <algorithm>
#include <locale>
#include <new>
#include <string>
#include <vector>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/trim.hpp>

#include "base/HResultException.h"
#include "sieve/JunkEmailRule.h"
#include "sieve/OutOfOfficeRule.h"
#include "sieve/SieveTables.h"
#include "strings/Localization.h"

namespace zelvo::ui {

namespace details {

const char kConditionFailed[] = "Failed to create sieve test for condition";
const char kJoinFailed[] = "Failed to create sieve test to join more tests";
const char kActionFailed[] = "Failed to create sieve rule for action";

bool isGroup(const Sieve::SieveTest* test) {
  return test && (test->kind == Sieve::TestKind::AllOf || test->kind == Sieve::TestKind::AnyOf);
}

// Frees one test without the siblings that follow it.
void freeTest(Sieve::SieveTest* test) {
  if (!test) return;
  test->next = nullptr;
  Sieve::deleteTests(test);
}

// Sorts the children of a group by condition id; equal ids keep their order, and tests
// without a row (id 0) go to the front.
void sortChildren(Sieve::SieveTest& group) {
  std::vector<Sieve::SieveTest*> children;
  for (Sieve::SieveTest* t = group.subTests; t; t = t->next) children.push_back(t);
  std::stable_sort(children.begin(), children.end(), [](const Sieve::SieveTest* a, const Sieve::SieveTest* b) {
    return Sieve::conditionIdOfTest(a) < Sieve::conditionIdOfTest(b);
  });
  Sieve::SieveTest** link = &group.subTests;
  for (Sieve::SieveTest* t : children) {
    *link = t;
    link = &t->next;
  }
  *link = nullptr;
}

// Sorts a chain of commands by action id, keeping the order of equal ids.
void sortCommands(Sieve::SieveRule*& head) {
  std::vector<Sieve::SieveRule*> commands;
  for (Sieve::SieveRule* r = head; r; r = r->next) commands.push_back(r);
  std::stable_sort(commands.begin(), commands.end(), [](const Sieve::SieveRule* a, const Sieve::SieveRule* b) {
    return Sieve::actionIdOfRule(a) < Sieve::actionIdOfRule(b);
  });
  Sieve::SieveRule** link = &head;
  for (Sieve::SieveRule* r : commands) {
    *link = r;
    link = &r->next;
  }
  *link = nullptr;
}

// A new test of the condition; running out of memory is told with what was being made.
Sieve::SieveTest* newConditionTest(unsigned id) {
  Sieve::SieveTest* test = nullptr;
  try {
    test = Sieve::createTestForCondition(id);
  } catch (const std::bad_alloc&) {
  }
  if (!test) ZEL_HERE.raise(E_OUTOFMEMORY, kConditionFailed);
  return test;
}

void addCondition(Sieve::SieveRule& rule, unsigned id) {
  Sieve::SieveTest* test = newConditionTest(id);
  if (!rule.test) {
    rule.test = test;
    return;
  }
  if (!isGroup(rule.test)) {
    Sieve::SieveTest* group = new (std::nothrow) Sieve::SieveTest(Sieve::TestKind::AllOf);
    if (!group) {
      freeTest(test);
      ZEL_HERE.raise(E_OUTOFMEMORY, kJoinFailed);
    }
    group->subTests = rule.test;
    rule.test = group;
  }
  test->next = rule.test->subTests;
  rule.test->subTests = test;
  sortChildren(*rule.test);
}

void removeCondition(Sieve::SieveRule& rule, unsigned id) {
  Sieve::SieveTest* group = rule.test;
  if (!isGroup(group)) {
    freeTest(rule.test);
    rule.test = nullptr;
    return;
  }
  for (Sieve::SieveTest** link = &group->subTests; *link; link = &(*link)->next) {
    Sieve::SieveTest* child = *link;
    if (Sieve::conditionIdOfTest(child) != id) continue;
    *link = child->next;
    freeTest(child);
    break;
  }
  // A group of one is that one test; a group of none, which only a script can make, is no test.
  Sieve::SieveTest* first = group->subTests;
  if (first && first->next) return;
  group->subTests = nullptr;
  rule.test = first;
  freeTest(group);
}

void removeAllConditions(Sieve::SieveRule& rule) {
  Sieve::deleteTests(rule.test);
  rule.test = nullptr;
}

void addAction(Sieve::SieveRule& rule, unsigned id) {
  // Owned here until it is in the block: setting the parent may run out of memory too.
  Sieve::RulePtr command(Sieve::createRuleForAction(id));
  if (!command) ZEL_HERE.raise(E_OUTOFMEMORY, kActionFailed);
  Sieve::setParent(command.get(), &rule);
  Sieve::appendRule(rule.thenBlock, command.release());
  sortCommands(rule.thenBlock);
}

void removeAction(Sieve::SieveRule& rule, unsigned id) {
  for (Sieve::SieveRule* command = rule.thenBlock; command; command = command->next) {
    if (Sieve::actionIdOfRule(command) != id) continue;
    Sieve::unlinkRule(rule.thenBlock, command);
    Sieve::deleteRules(command);
    return;
  }
}

bool isReservedName(const std::wstring& name) {
  const std::locale& classic = std::locale::classic();
  return boost::algorithm::iequals(name, Sieve::kJunkEmailRuleName, classic) ||
         boost::algorithm::iequals(name, Sieve::kOutOfOfficeRuleName, classic);
}

}  // namespace details

RuleEditorDialog::RuleEditorDialog(DialogView& view, Sieve::SieveRule& rule, RuleDescriptionHost* links,
                                   const Sieve::FolderNameTranslator* folders)
    : DialogLogic(view), rule_(rule), description_(view, kDescription, links, folders) {}

void RuleEditorDialog::onInitDialog() {
  view().setTextLimit(kName, kNameLimit);
  for (ControlId list : {kConditions, kActions}) {
    view().listViewSetExtendedStyle(list, lvx::checkBoxes | lvx::fullRowSelect, lvx::checkBoxes | lvx::fullRowSelect);
    view().listViewAddColumn(list, std::wstring(), 0);
  }
  view().enableResizing(0, 0);
  view().setAnchor(kName, anchor::left | anchor::top | anchor::right);
  view().setAnchor(kConditions, anchor::left | anchor::top | anchor::right);
  view().setAnchor(kActions, anchor::left | anchor::top | anchor::right);
  view().setAnchor(kDescription, anchor::all);
  view().setAnchor(kIdOk, anchor::right | anchor::bottom);
  view().setAnchor(kIdCancel, anchor::right | anchor::bottom);

  description_.attach();

  listsReady_ = false;
  fillLists();
  checkRuleConditions();
  checkRuleActions();
  view().setText(kName, rule_.name);
  // The column fills the list once its items are in, so that it leaves room for a
  // scroll bar that they bring and the list does not scroll sideways.
  fitColumns();
  listsReady_ = true;
  description_.showRule(&rule_);
}

void RuleEditorDialog::onSize(int width, int height) {
  (void)width;
  (void)height;
  fitColumns();
}

void RuleEditorDialog::fitColumns() {
  for (ControlId list : {kConditions, kActions}) view().listViewSetColumnWidth(list, 0, kColumnFill);
}

void RuleEditorDialog::fillLists() {
  view().listViewClear(kConditions);
  for (const auto& entry : Sieve::conditionTable()) {
    const Sieve::ConditionRow& row = entry.second;
    const int item = view().listViewInsert(kConditions, view().listViewCount(kConditions),
                                           Sieve::withoutLinkMarks(row.label), static_cast<ItemData>(row.id));
    setItemImage(kConditions, item, kUnchecked);
    if (row.id == Sieve::ConditionAll) allMessagesItem_ = item;
  }
  view().listViewClear(kActions);
  for (const auto& entry : Sieve::actionTable()) {
    const Sieve::ActionRow& row = entry.second;
    const int item = view().listViewInsert(kActions, view().listViewCount(kActions),
                                           Sieve::withoutLinkMarks(row.firstLabel), static_cast<ItemData>(row.id));
    setItemImage(kActions, item, kUnchecked);
    if (row.id == Sieve::ActionKeep) keepItem_ = item;
    if (row.id == Sieve::ActionDiscard) discardItem_ = item;
  }
}

int RuleEditorDialog::itemOf(ControlId list, unsigned id) const {
  const int count = view().listViewCount(list);
  for (int item = 0; item < count; ++item) {
    if (view().listViewItemData(list, item) == static_cast<ItemData>(id)) return item;
  }
  return kNoItem;
}

void RuleEditorDialog::checkRuleConditions() {
  // A group stands for its children; a condition outside the table has no item to check.
  std::vector<Sieve::SieveTest*> tests;
  if (details::isGroup(rule_.test)) {
    for (Sieve::SieveTest* child = rule_.test->subTests; child; child = child->next) tests.push_back(child);
  } else if (rule_.test) {
    tests.push_back(rule_.test);
  }
  bool first = true;
  for (Sieve::SieveTest* test : tests) {
    const int item = itemOf(kConditions, Sieve::conditionIdOfTest(test));
    if (item == kNoItem) continue;
    setItemImage(kConditions, item, kChecked);
    if (first) view().listViewSetSelected(kConditions, item, true);
    first = false;
  }
  // All messages rules out every other condition, as checking it does.
  if (allMessagesItem_ != kNoItem && itemImage(kConditions, allMessagesItem_) == kChecked) {
    const int count = view().listViewCount(kConditions);
    for (int item = 0; item < count; ++item) {
      if (item != allMessagesItem_) setItemImage(kConditions, item, kDisabled);
    }
  }
}

void RuleEditorDialog::checkRuleActions() {
  for (Sieve::SieveRule* command = rule_.thenBlock; command; command = command->next) {
    const int item = itemOf(kActions, Sieve::actionIdOfRule(command));
    if (item != kNoItem) setItemImage(kActions, item, kChecked);
  }
  excludeKeepAndDiscard();
}

void RuleEditorDialog::excludeKeepAndDiscard() {
  if (keepItem_ == kNoItem || discardItem_ == kNoItem) return;
  if (itemImage(kActions, keepItem_) == kChecked) setItemImage(kActions, discardItem_, kDisabled);
  if (itemImage(kActions, discardItem_) == kChecked) setItemImage(kActions, keepItem_, kDisabled);
}

bool RuleEditorDialog::onNotify(ControlId id, const Notification& notification) {
  if (id == kDescription) return description_.notify(notification);
  if (id != kConditions && id != kActions) return false;
  if (notification.code != notify::listItemChanged || !(notification.changed & kListItemStateChanged)) return false;
  const int oldImage = lvis::stateImageOf(notification.oldState);
  const int newImage = lvis::stateImageOf(notification.newState);
  if (oldImage != newImage) itemChanged(id, notification.item, oldImage, newImage);
  return false;
}

void RuleEditorDialog::itemChanged(ControlId list, int item, int oldImage, int newImage) {
  if (!listsReady_ || handlingChange_ || item < 0) return;
  handlingChange_ = true;
  struct Done {
    bool& flag;
    ~Done() { flag = false; }
  } done{handlingChange_};
  if (oldImage == kDisabled) {
    // A disabled item cannot be toggled: whatever the control did goes back.
    setItemImage(list, item, kDisabled);
    return;
  }
  const bool checked = newImage == kChecked;
  if (list == kConditions) {
    updateConditions(item, checked);
  } else {
    updateActions(item, checked);
  }
}

void RuleEditorDialog::updateConditions(int item, bool checked) {
  const auto id = static_cast<unsigned>(view().listViewItemData(kConditions, item));
  if (item == allMessagesItem_) {
    const int count = view().listViewCount(kConditions);
    for (int other = 0; other < count; ++other) {
      if (other != item) setItemImage(kConditions, other, checked ? kDisabled : kUnchecked);
    }
    details::removeAllConditions(rule_);
    if (checked) rule_.test = details::newConditionTest(id);
  } else if (checked) {
    details::addCondition(rule_, id);
  } else {
    details::removeCondition(rule_, id);
  }
  description_.showRule(&rule_);
}

void RuleEditorDialog::updateActions(int item, bool checked) {
  const auto id = static_cast<unsigned>(view().listViewItemData(kActions, item));
  if (item == keepItem_ || item == discardItem_) {
    // Keep and Discard exclude each other; unchecking one frees the other.
    setItemImage(kActions, item == keepItem_ ? discardItem_ : keepItem_, kUnchecked);
    excludeKeepAndDiscard();
  }
  try {
    if (checked) {
      details::addAction(rule_, id);
    } else {
      details::removeAction(rule_, id);
    }
  } catch (const std::exception&) {
    // The list shows the check all the same; the description shows what the rule holds.
  }
  description_.showRule(&rule_);
}

void RuleEditorDialog::setItemImage(ControlId list, int item, int image) {
  view().listViewSetStateImage(list, item, image);
}

int RuleEditorDialog::itemImage(ControlId list, int item) const { return view().listViewStateImage(list, item); }

int RuleEditorDialog::countChecked(ControlId list) const {
  int checked = 0;
  const int count = view().listViewCount(list);
  for (int item = 0; item < count; ++item) {
    if (itemImage(list, item) == kChecked) ++checked;
  }
  return checked;
}

void RuleEditorDialog::onOk() {
  const std::wstring caption = Localization::getString(IDS_MESSAGE_TITLE);
  if (countChecked(kConditions) == 0) {
    view().messageBox(Localization::getString(IDS_RULE_EDITOR_NO_CONDITION), caption, mb::ok | mb::iconExclamation);
    return;
  }
  if (countChecked(kActions) == 0) {
    view().messageBox(Localization::getString(IDS_RULE_EDITOR_NO_ACTION), caption, mb::ok);
    return;
  }
  if (!description_.validate(false, true)) return;
  const std::wstring name = boost::algorithm::trim_copy(view().getText(kName), std::locale::classic());
  // Only the out-of-office and junk e-mail dialogs make the rules of these names.
  if (details::isReservedName(name)) {
    view().messageBox(Localization::getString(IDS_RULE_EDITOR_RESERVED_NAME), caption, mb::ok | mb::iconExclamation);
    view().setFocus(kName);
    return;
  }
  rule_.name = name;
  view().endDialog(kIdOk);
}

}  // namespace zelvo::ui
