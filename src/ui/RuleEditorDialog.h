// The editor of one rule: a name, a check list of conditions, a check list of actions and
// the live description below them. Each check changes the rule at once, and the values of
// the conditions and actions are filled in through the description's links.
//
// The dialog edits the rule that the caller hands over, a fresh one or a copy: the caller
// keeps it either way and throws it away on Cancel, so Cancel needs no undo here.
#pragma once

#include "sieve/RuleDescription.h"
#include "sieve/SieveModel.h"
#include "ui/DialogLogic.h"
#include "ui/RuleDescriptionCtrl.h"
#include "ui/RuleDescriptionHost.h"

namespace zelvo::ui {

class RuleEditorDialog : public DialogLogic {
 public:
  static constexpr int kTemplateId = 5016;
  static constexpr ControlId kName = 10071;
  static constexpr ControlId kConditions = 10072;  // list view, report mode, check boxes
  static constexpr ControlId kActions = 10073;     // likewise
  static constexpr ControlId kDescription = 10019;
  // Longer than any name a script keeps when it is read back, which is cut to 127.
  static constexpr int kNameLimit = 2047;

  // The state images of a list item: its check box, or none for an item that cannot be
  // toggled.
  static constexpr int kUnchecked = 1;
  static constexpr int kChecked = 2;
  static constexpr int kDisabled = 4;

  // links opens the parameter dialogs of the description's links; it holds the session and
  // the store's configuration for them. folders words folder paths in the user's language.
  // Both may be null: the links then open nothing, and paths show as stored.
  RuleEditorDialog(DialogView& view, Sieve::SieveRule& rule, RuleDescriptionHost* links,
                   const Sieve::FolderNameTranslator* folders);

 protected:
  void onInitDialog() override;
  void onOk() override;
  bool onNotify(ControlId id, const Notification& notification) override;
  void onSize(int width, int height) override;

 private:
  void fillLists();
  // The one column of each list as wide as the list leaves it.
  void fitColumns();
  // The item of a condition or action id, or kNoItem.
  int itemOf(ControlId list, unsigned id) const;
  void checkRuleConditions();
  void checkRuleActions();
  // A checked Keep disables Discard, and a checked Discard disables Keep.
  void excludeKeepAndDiscard();
  // A check box of a list changed from oldImage to newImage.
  void itemChanged(ControlId list, int index, int oldImage, int newImage);
  void updateConditions(int index, bool checked);
  void updateActions(int index, bool checked);
  void setItemImage(ControlId list, int index, int image);
  int itemImage(ControlId list, int index) const;
  int countChecked(ControlId list) const;

  Sieve::SieveRule& rule_;
  RuleDescriptionCtrl description_;
  int allMessagesItem_ = kNoItem;  // the item of condition 10
  int keepItem_ = kNoItem;
  int discardItem_ = kNoItem;
  // False while the lists are filled, and the check handlers stay quiet.
  bool listsReady_ = false;
  // True while a change is handled: the states it sets are no changes of the user's.
  bool handlingChange_ = false;
};

}  // namespace zelvo::ui
