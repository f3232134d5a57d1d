#include "ui/FilterRulesSelectionDialog.h"

#include "strings/Localization.h"

namespace zelvo::ui {

FilterRulesSelectionDialog::FilterRulesSelectionDialog(DialogView& view, bool useServerRules)
    : DialogLogic(view), useServerRules_(useServerRules) {}

void FilterRulesSelectionDialog::onInitDialog() {
  view().setText(kLabel, Localization::getString(IDS_FILTER_RULES_INTRO) + L" " +
                             Localization::getString(IDS_FILTER_RULES_QUESTION));
  view().checkRadio(kServerRules, kClientRules, useServerRules_ ? kServerRules : kClientRules);
}

void FilterRulesSelectionDialog::onCommand(ControlId id, int notification) {
  if (notification != notify::buttonClicked) return;
  if (id == kServerRules) useServerRules_ = true;
  if (id == kClientRules) useServerRules_ = false;
}

}  // namespace zelvo::ui
