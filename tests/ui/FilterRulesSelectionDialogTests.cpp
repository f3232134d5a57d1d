// The choice between the server's rules and the client's own: what the dialog opens with,
// and what the caller reads back after each way of closing it.
#include <gtest/gtest.h>

#include "testing/RecordingDialogView.h"
#include "ui/FilterRulesSelectionDialog.h"

namespace {

using zelvo::testing::RecordingDialogView;
using zelvo::ui::FilterRulesSelectionDialog;
namespace notify = zelvo::ui::notify;

constexpr auto kServer = FilterRulesSelectionDialog::kServerRules;
constexpr auto kClient = FilterRulesSelectionDialog::kClientRules;

TEST(FilterRulesSelection, TheLabelJoinsTheTwoTextsWithABlank) {
  RecordingDialogView view;
  FilterRulesSelectionDialog dialog(view, true);
  dialog.initDialog();
  EXPECT_EQ(view.getText(FilterRulesSelectionDialog::kLabel),
            L"Server rules run on the Zelvo Hub server, even while Outlook is closed; Outlook's own rules run only "
            L"while it is open. Choose which rules you want to manage.");
}

struct ChoiceCase {
  bool remembered;
  zelvo::ui::ControlId clicked;  // kNoControl: the user changes nothing
  zelvo::ui::ControlId closeWith;
  bool chosen;
  int result;
};

class FilterRulesSelectionChoice : public ::testing::TestWithParam<ChoiceCase> {};

TEST_P(FilterRulesSelectionChoice, TheRadioButtonsShowAndSetTheChoice) {
  const ChoiceCase& c = GetParam();
  RecordingDialogView view;
  FilterRulesSelectionDialog dialog(view, c.remembered);
  dialog.initDialog();
  EXPECT_EQ(view.isChecked(kServer), c.remembered);
  EXPECT_EQ(view.isChecked(kClient), !c.remembered);
  if (c.clicked != zelvo::ui::kNoControl) {
    view.checkRadio(kServer, kClient, c.clicked);
    dialog.command(c.clicked, notify::buttonClicked);
  }
  dialog.command(c.closeWith, notify::buttonClicked);
  EXPECT_EQ(view.result(), c.result);
  EXPECT_EQ(dialog.useServerRules(), c.chosen);
}

INSTANTIATE_TEST_SUITE_P(Clicks, FilterRulesSelectionChoice,
                         ::testing::Values(ChoiceCase{true, zelvo::ui::kNoControl, zelvo::ui::kIdOk, true, 1},
                                           ChoiceCase{false, zelvo::ui::kNoControl, zelvo::ui::kIdOk, false, 1},
                                           ChoiceCase{true, kClient, zelvo::ui::kIdOk, false, 1},
                                           ChoiceCase{false, kServer, zelvo::ui::kIdOk, true, 1},
                                           ChoiceCase{false, kServer, zelvo::ui::kIdCancel, true,
                                                      zelvo::ui::kIdCancel}));

}  // namespace
