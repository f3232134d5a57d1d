// What a click on a description link does to the rule: the dialog of the link's kind opens on the
// node's present values, OK with a change writes them back and reports a change, and anything else
// leaves the node alone.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "sieve/SieveModel.h"
#include "sieve/SieveTables.h"
#include "store/reference/ReferenceStore.h"
#include "testing/RecordingDialogHost.h"
#include "testing/RecordingDialogView.h"
#include "ui/ParameterDialogs.h"
#include "ui/RuleMoveToDialog.h"
#include "ui/RuleParameterDialogs.h"

namespace {

using Sieve::LinkKind;
using zelvo::testing::RecordingDialogHost;
using zelvo::testing::RecordingDialogView;
using zelvo::ui::DialogLogic;
using zelvo::ui::ParameterDialogs;
namespace notify = zelvo::ui::notify;
namespace ui = zelvo::ui;
using Strings = std::vector<std::wstring>;

const HWND kParent = reinterpret_cast<HWND>(0x1234);

void click(DialogLogic& logic, ui::ControlId id) { logic.command(id, notify::buttonClicked); }

// One store of the account, with two folders to choose from.
class OneStore : public ui::MessageStoreSession {
 public:
  OneStore() {
    ReferenceStore::Mailbox mailbox;
    for (const wchar_t* path : {L"INBOX", L"Archive"}) {
      ReferenceStore::MailboxFolder f;
      f.path = f.displayPath = path;
      f.flags = 3;
      mailbox.folders.push_back(f);
    }
    store_ = std::make_unique<ReferenceStore::Store>(mailbox);
  }
  ComRef<IGlobalConfig> config() { return store_->globalConfig(); }
  std::vector<Store> messageStores() override { return {{store_->mapiStore(), L"Mailbox"}}; }

 private:
  std::unique_ptr<ReferenceStore::Store> store_;
};

class ParameterDialogsTest : public ::testing::Test {
 protected:
  RecordingDialogHost host;
  OneStore stores;
  ComRef<IGlobalConfig> config = stores.config();
  ParameterDialogs dialogs{host, nullptr, &stores, config.get()};

  // The next dialog of templateId: check sees it as it opened, then OK or Cancel.
  void expect(int templateId, std::function<void(RecordingDialogView&)> act, ui::ControlId end = ui::kIdOk) {
    host.script(templateId, [act, end](RecordingDialogView& view, DialogLogic& logic) {
      act(view);
      click(logic, end);
    });
  }
  void TearDown() override {
    EXPECT_EQ(host.pendingScripts(), 0u);
    // Each dialog opens over the window handed in, or over the dialog that opened it.
    const auto& shown = host.shown();
    for (std::size_t i = 0; i < shown.size(); ++i) {
      const bool nested = i > 0 && shown[i].parent == shown[i - 1].window;
      EXPECT_TRUE(shown[i].parent == kParent || nested) << shown[i].templateId;
      EXPECT_TRUE(shown[i].failures.empty()) << shown[i].templateId;
    }
  }
};

TEST_F(ParameterDialogsTest, AllOrAnySwitchesTheKindOfTheTopTest) {
  Sieve::TestPtr test(new Sieve::SieveTest(Sieve::TestKind::AllOf));
  expect(ui::RuleMatchDialog::kTemplateId, [](RecordingDialogView& v) {
    EXPECT_TRUE(v.isChecked(ui::RuleMatchDialog::kAllOf));
    v.checkRadio(ui::RuleMatchDialog::kAllOf, ui::RuleMatchDialog::kAnyOf, ui::RuleMatchDialog::kAnyOf);
  });
  EXPECT_TRUE(dialogs.edit(LinkKind::AndOr, test.get(), nullptr, kParent));
  EXPECT_EQ(test->kind, Sieve::TestKind::AnyOf);

  expect(ui::RuleMatchDialog::kTemplateId, [](RecordingDialogView&) {});  // OK on the same choice
  EXPECT_FALSE(dialogs.edit(LinkKind::AndOr, test.get(), nullptr, kParent));
  EXPECT_EQ(test->kind, Sieve::TestKind::AnyOf);
}

TEST_F(ParameterDialogsTest, SizeAndMatchWriteBackOnlyOnOkWithAChange) {
  Sieve::TestPtr size(Sieve::createTestForCondition(Sieve::ConditionSize));
  size->sizeLimit = 2048;
  expect(ui::RuleHasSizeDialog::kTemplateId, [](RecordingDialogView& v) {
    EXPECT_EQ(v.getText(ui::RuleHasSizeDialog::kEdit), L"2048");
    EXPECT_EQ(v.comboSelection(ui::RuleHasSizeDialog::kMode), 1);
    v.setText(ui::RuleHasSizeDialog::kEdit, L"5");
    v.comboSelect(ui::RuleHasSizeDialog::kUnit, 2);
    v.comboSelect(ui::RuleHasSizeDialog::kMode, 0);
  });
  EXPECT_TRUE(dialogs.edit(LinkKind::Size, size.get(), nullptr, kParent));
  EXPECT_EQ(size->sizeLimit, 5u * 1048576u);
  EXPECT_EQ(size->sizeMode, Sieve::SizeMode::Over);

  expect(
      ui::RuleHasSizeDialog::kTemplateId, [](RecordingDialogView& v) { v.setText(ui::RuleHasSizeDialog::kEdit, L"7"); },
      ui::kIdCancel);
  EXPECT_FALSE(dialogs.edit(LinkKind::Size, size.get(), nullptr, kParent));
  EXPECT_EQ(size->sizeLimit, 5u * 1048576u);

  Sieve::TestPtr header(Sieve::createTestForCondition(Sieve::ConditionSubject));
  expect(ui::RuleConditionDialog::kTemplateId,
         [](RecordingDialogView& v) { v.userSelectCombo(ui::RuleConditionDialog::kCombo, 5); });
  EXPECT_TRUE(dialogs.edit(LinkKind::Match, header.get(), nullptr, kParent));
  EXPECT_EQ(header->matchType, Sieve::MatchType::Matches);
  EXPECT_TRUE(header->negated);
}

TEST_F(ParameterDialogsTest, ValuesOfAHeaderOrAnAddressTestGoToTheirOwnDialog) {
  struct Case {
    LinkKind kind;
    unsigned condition;
    int templateId;
  };
  const Case cases[] = {{LinkKind::Word, Sieve::ConditionSubject, ui::RuleContainsDialog::kTemplateId},
                        {LinkKind::Address, Sieve::ConditionFrom, ui::RulePeopleDialog::kTemplateId}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.templateId);
    Sieve::TestPtr test(Sieve::createTestForCondition(c.condition));
    test->values = Sieve::makeStringList({L"b", L"a"});
    expect(c.templateId, [](RecordingDialogView& v) {
      EXPECT_EQ(v.items(ui::RuleValueListDialog::kList), (Strings{L"a", L"b"}));
    });
    EXPECT_TRUE(dialogs.edit(c.kind, test.get(), nullptr, kParent)) << "OK stores the values sorted";
    EXPECT_EQ(Sieve::stringListToVector(test->values), (Strings{L"a", L"b"}));
    expect(c.templateId, [](RecordingDialogView&) {});
    EXPECT_FALSE(dialogs.edit(c.kind, test.get(), nullptr, kParent));

    host.script(c.templateId, [](RecordingDialogView& v, DialogLogic& logic) {
      v.setText(ui::RuleValueListDialog::kEdit, L"c");
      logic.command(ui::RuleValueListDialog::kEdit, notify::editChange);
      click(logic, ui::RuleValueListDialog::kAdd);
      click(logic, ui::kIdOk);
    });
    EXPECT_TRUE(dialogs.edit(c.kind, test.get(), nullptr, kParent));
    EXPECT_EQ(Sieve::stringListToVector(test->values), (Strings{L"a", L"b", L"c"}));
  }
}

TEST_F(ParameterDialogsTest, AComparisonChangedInsideACancelledValuesDialogStillCounts) {
  Sieve::TestPtr test(Sieve::createTestForCondition(Sieve::ConditionSubject));
  test->values = Sieve::makeStringList({L"x"});
  host.script(ui::RuleContainsDialog::kTemplateId, [this](RecordingDialogView&, DialogLogic& logic) {
    expect(ui::RuleConditionDialog::kTemplateId,
           [](RecordingDialogView& v) { v.userSelectCombo(ui::RuleConditionDialog::kCombo, 0); });
    click(logic, ui::RuleValueListDialog::kCondition);
    click(logic, ui::kIdCancel);
  });
  EXPECT_TRUE(dialogs.edit(LinkKind::Word, test.get(), nullptr, kParent));
  EXPECT_EQ(test->matchType, Sieve::MatchType::Is);
  EXPECT_EQ(host.shownIds(),
            (std::vector<int>{ui::RuleContainsDialog::kTemplateId, ui::RuleConditionDialog::kTemplateId}));
  EXPECT_EQ(host.shown()[1].parent, host.shown()[0].window) << "the condition belongs to the words dialog";
}

TEST_F(ParameterDialogsTest, TheTextsOfAnActionGoToTheMessageOrTheAddressDialog) {
  struct Case {
    LinkKind kind;
    Sieve::RuleKind ruleKind;
    int templateId;
    ui::ControlId edit;
    std::wstring Sieve::SieveRule::*field;
  };
  const Case cases[] = {
      {LinkKind::Reject, Sieve::RuleKind::Reject, ui::RuleMessageDialog::kTemplateId, ui::RuleMessageDialog::kEdit,
       &Sieve::SieveRule::argument},
      {LinkKind::Vacation, Sieve::RuleKind::Vacation, ui::RuleMessageDialog::kTemplateId, ui::RuleMessageDialog::kEdit,
       &Sieve::SieveRule::argument},
      {LinkKind::NotifyMessage, Sieve::RuleKind::Notify, ui::RuleMessageDialog::kTemplateId,
       ui::RuleMessageDialog::kEdit, &Sieve::SieveRule::argument},
      {LinkKind::Redirect, Sieve::RuleKind::Redirect, ui::RuleAddressDialog::kTemplateId, ui::RuleAddressDialog::kEdit,
       &Sieve::SieveRule::argument},
      {LinkKind::NotifyAddress, Sieve::RuleKind::Notify, ui::RuleAddressDialog::kTemplateId,
       ui::RuleAddressDialog::kEdit, &Sieve::SieveRule::name},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.kind));
    Sieve::SieveRule rule(c.ruleKind, nullptr);
    rule.*c.field = L"before";
    const ui::ControlId edit = c.edit;
    expect(c.templateId, [edit](RecordingDialogView& v) {
      EXPECT_EQ(v.getText(edit), L"before");
      v.setText(edit, L"after");
    });
    EXPECT_TRUE(dialogs.edit(c.kind, nullptr, &rule, kParent));
    EXPECT_EQ(rule.*c.field, L"after");

    expect(
        c.templateId, [edit](RecordingDialogView& v) { v.setText(edit, L"again"); }, ui::kIdCancel);
    EXPECT_FALSE(dialogs.edit(c.kind, nullptr, &rule, kParent));
    EXPECT_EQ(rule.*c.field, L"after");
  }
}

TEST_F(ParameterDialogsTest, ANotifyWithoutAMessageOpensOnTheDefaultAndKeepsIt) {
  Sieve::SieveRule rule(Sieve::RuleKind::Notify, nullptr);
  expect(
      ui::RuleMessageDialog::kTemplateId,
      [](RecordingDialogView& v) {
        EXPECT_EQ(v.getText(ui::RuleMessageDialog::kEdit), L"$from$: $subject$\r\n$text$");
      },
      ui::kIdCancel);
  EXPECT_TRUE(dialogs.edit(LinkKind::NotifyMessage, nullptr, &rule, kParent));
  EXPECT_EQ(rule.argument, L"$from$: $subject$\r\n$text$");
}

TEST_F(ParameterDialogsTest, TheFolderOfAFileIntoIsChosenFromTheAccountsFolders) {
  Sieve::SieveRule rule(Sieve::RuleKind::FileInto, nullptr);
  rule.argument = L"INBOX";
  expect(ui::RuleMoveToDialog::kTemplateId, [](RecordingDialogView& v) {
    const auto& tree = v.tree(ui::RuleMoveToDialog::kTree);
    ASSERT_EQ(tree.top.size(), 1u);
    const auto& children = v.treeNode(ui::RuleMoveToDialog::kTree, tree.top[0]).children;
    ASSERT_EQ(children.size(), 2u);
    EXPECT_EQ(v.treeSelection(ui::RuleMoveToDialog::kTree), children[0]);
    v.userSelectTreeItem(ui::RuleMoveToDialog::kTree, children[1]);
  });
  EXPECT_TRUE(dialogs.edit(LinkKind::FileInto, nullptr, &rule, kParent));
  EXPECT_EQ(rule.argument, L"Archive");
}

TEST_F(ParameterDialogsTest, ANodeOfTheWrongShapeOpensNothing) {
  Sieve::TestPtr header(Sieve::createTestForCondition(Sieve::ConditionSubject));
  Sieve::SieveRule keep(Sieve::RuleKind::Keep, nullptr);
  EXPECT_FALSE(dialogs.edit(LinkKind::AndOr, header.get(), nullptr, kParent));
  EXPECT_FALSE(dialogs.edit(LinkKind::Size, header.get(), nullptr, kParent));
  EXPECT_FALSE(dialogs.edit(LinkKind::Address, header.get(), nullptr, kParent));
  EXPECT_FALSE(dialogs.edit(LinkKind::Word, nullptr, nullptr, kParent));
  EXPECT_FALSE(dialogs.edit(LinkKind::Reject, nullptr, &keep, kParent));
  EXPECT_FALSE(dialogs.edit(LinkKind::FileInto, nullptr, nullptr, kParent));
  EXPECT_FALSE(dialogs.edit(LinkKind::None, header.get(), &keep, kParent));
  EXPECT_TRUE(host.shown().empty());
}

}  // namespace
