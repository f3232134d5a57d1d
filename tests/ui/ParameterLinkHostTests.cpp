// A link of the rule editor's description, clicked, opens the parameter dialog of its kind
// over the window in front at the time of the click and writes the value into the rule.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "sieve/SieveModel.h"
#include "testing/RecordingDialogHost.h"
#include "testing/RecordingDialogView.h"
#include "ui/ParameterDialogs.h"
#include "ui/ParameterLinkHost.h"
#include "ui/RuleEditorDialog.h"
#include "ui/RuleParameterDialogs.h"

namespace {

namespace ui = zelvo::ui;
using zelvo::testing::RecordingDialogHost;
using zelvo::testing::RecordingDialogView;

TEST(ParameterLinkHostTest, ALinkOfTheEditorOpensItsDialogOverTheEditorAndRewordsTheRule) {
  RecordingDialogHost host;
  ui::ParameterDialogs dialogs(host, nullptr, nullptr, nullptr);
  ui::ParameterLinkHost links(dialogs);

  Sieve::SieveRule* head = nullptr;
  Sieve::SieveRule::parseScript(L"if size :over 2048 {\r\n  discard;\r\n}\r\n", &head);
  Sieve::RulePtr rule(head);
  ASSERT_TRUE(rule);
  RecordingDialogView view;
  ui::RuleEditorDialog editor(view, *rule, &links, nullptr);
  view.attach(editor);
  editor.initDialog();

  const auto clickSizeLink = [&] {
    const auto marked = view.richEditLinks(ui::RuleEditorDialog::kDescription);
    ASSERT_FALSE(marked.empty());
    view.userClickLink(ui::RuleEditorDialog::kDescription, marked.back().start);
  };
  host.script(ui::RuleHasSizeDialog::kTemplateId, [](RecordingDialogView& v, ui::DialogLogic& logic) {
    EXPECT_EQ(v.getText(ui::RuleHasSizeDialog::kEdit), L"2048");
    v.setText(ui::RuleHasSizeDialog::kEdit, L"5");
    v.comboSelect(ui::RuleHasSizeDialog::kUnit, 2);
    logic.command(ui::kIdOk, ui::notify::buttonClicked);
  });
  clickSizeLink();
  const std::wstring described = view.richEditText(ui::RuleEditorDialog::kDescription);

  host.script(ui::RuleHasSizeDialog::kTemplateId, [](RecordingDialogView& v, ui::DialogLogic& logic) {
    v.setText(ui::RuleHasSizeDialog::kEdit, L"9");
    logic.command(ui::kIdCancel, ui::notify::buttonClicked);
  });
  clickSizeLink();

  ASSERT_EQ(host.shown().size(), 2u);
  EXPECT_EQ(host.shown()[0].parent, view.window()) << "the editor that shows the description owns the dialog";
  EXPECT_EQ(host.shown()[1].parent, view.window());
  const Sieve::SieveTest* size = rule->test;
  while (size && size->subTests) size = size->subTests;
  ASSERT_TRUE(size);
  EXPECT_EQ(size->sizeLimit, 5u * 1048576u) << "Cancel keeps what OK wrote";
  EXPECT_EQ(described.find(L"2048"), std::wstring::npos) << described;
  EXPECT_NE(described.find(L"5"), std::wstring::npos) << described;
  EXPECT_EQ(view.richEditText(ui::RuleEditorDialog::kDescription), described);
  EXPECT_TRUE(view.failures().empty());
}

}  // namespace
