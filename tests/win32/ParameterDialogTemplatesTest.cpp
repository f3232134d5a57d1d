// The templates of the rule parameter dialogs, opened by the modal base with their real
// logic: every control the logic addresses is there and of the kind it expects, and what
// the logic puts into the controls on opening arrives in them.
#include <gtest/gtest.h>

#include <cwctype>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "sieve/SieveModel.h"
#include "sieve/SieveTables.h"
#include "store/reference/ReferenceStore.h"
#include "ui/RuleMoveToDialog.h"
#include "ui/RuleParameterDialogs.h"
#include "win32/Win32DialogHost.h"

namespace {

using namespace zelvo::ui;
using zelvo::win32::Win32DialogHost;
using zelvo::win32::Win32DialogView;

struct Control {
  ControlId id;
  const wchar_t* windowClass;
};

std::wstring lower(std::wstring text) {
  for (wchar_t& c : text) c = static_cast<wchar_t>(std::towlower(c));
  return text;
}

std::wstring classOf(HWND window) {
  wchar_t name[64] = {};
  GetClassNameW(window, name, 64);
  return lower(name);
}

// Opens templateId with the logic that make builds, lets check look at the shown dialog,
// and closes it with Cancel. Gives the failures the dialog's handlers dropped.
std::vector<HRESULT> showDialog(int templateId, const DialogHost::LogicFactory& make,
                                const std::function<void(HWND)>& check) {
  std::vector<HRESULT> failures;
  Win32DialogHost host;
  host.setFailureSink([&](HRESULT code, const std::wstring&) { failures.push_back(code); });
  bool shown = false;
  host.onShown([&](HWND dialog, Win32DialogView& view, DialogLogic&) {
    shown = true;
    check(dialog);
    if (IsWindow(dialog)) view.endDialog(kIdCancel);
  });
  EXPECT_EQ(host.runModal(templateId, nullptr, make), kIdCancel);
  EXPECT_TRUE(shown) << "template " << templateId << " did not open";
  return failures;
}

void expectControls(HWND dialog, const std::vector<Control>& controls) {
  for (const Control& c : controls) {
    const HWND control = GetDlgItem(dialog, c.id);
    ASSERT_NE(control, nullptr) << "control " << c.id;
    EXPECT_EQ(classOf(control), lower(c.windowClass)) << "control " << c.id;
  }
}

struct Nothing : AddressBookPicker {
  bool pick(unsigned, std::wstring&) override { return false; }
};

TEST(ParameterDialogTemplates, EachTemplateHoldsTheControlsOfItsLogic) {
  Sieve::TestPtr header(Sieve::createTestForCondition(Sieve::ConditionSubject));
  header->values = Sieve::makeStringList({L"b", L"a"});
  Sieve::TestPtr address(Sieve::createTestForCondition(Sieve::ConditionFrom));
  address->values = Sieve::makeStringList({L"x@example.com"});
  Nothing picker;
  Win32DialogHost nested;
  std::wstring text = L"text";
  Sieve::SizeMode mode = Sieve::SizeMode::Over;
  std::uint32_t bytes = 102400;
  bool allOf = true;
  Sieve::MatchType type = Sieve::MatchType::Contains;
  bool negated = false;

  struct Case {
    int templateId;
    DialogHost::LogicFactory make;
    std::vector<Control> controls;
  };
  const std::vector<Control> valueList = {{RuleValueListDialog::kEdit, L"Edit"},
                                          {RuleValueListDialog::kList, L"ListBox"},
                                          {RuleValueListDialog::kAdd, L"Button"},
                                          {RuleValueListDialog::kRemove, L"Button"},
                                          {RuleValueListDialog::kCondition, L"Button"},
                                          {RuleValueListDialog::kConditionLabel, L"Static"},
                                          {kIdOk, L"Button"},
                                          {kIdCancel, L"Button"}};
  std::vector<Control> people = valueList;
  people.push_back({RulePeopleDialog::kAddressBook, L"Button"});
  const std::vector<Case> cases = {
      {RuleContainsDialog::kTemplateId,
       [&](DialogView& v) { return std::make_unique<RuleContainsDialog>(v, *header, nested); }, valueList},
      {RulePeopleDialog::kTemplateId,
       [&](DialogView& v) { return std::make_unique<RulePeopleDialog>(v, *address, nested, &picker); },
       people},
      {RuleMessageDialog::kTemplateId,
       [&](DialogView& v) { return std::make_unique<RuleMessageDialog>(v, text); },
       {{RuleMessageDialog::kEdit, L"Edit"}, {kIdOk, L"Button"}, {kIdCancel, L"Button"}}},
      {RuleAddressDialog::kTemplateId,
       [&](DialogView& v) { return std::make_unique<RuleAddressDialog>(v, text, &picker); },
       {{RuleAddressDialog::kEdit, L"Edit"}, {RuleAddressDialog::kAddressBook, L"Button"}, {kIdOk, L"Button"}}},
      {RuleHasSizeDialog::kTemplateId,
       [&](DialogView& v) { return std::make_unique<RuleHasSizeDialog>(v, mode, bytes); },
       {{RuleHasSizeDialog::kEdit, L"Edit"},
        {RuleHasSizeDialog::kUnit, L"ComboBox"},
        {RuleHasSizeDialog::kMode, L"ComboBox"},
        {kIdOk, L"Button"}}},
      {RuleMatchDialog::kTemplateId,
       [&](DialogView& v) { return std::make_unique<RuleMatchDialog>(v, allOf); },
       {{RuleMatchDialog::kAllOf, L"Button"}, {RuleMatchDialog::kAnyOf, L"Button"}, {kIdOk, L"Button"}}},
      {RuleConditionDialog::kTemplateId,
       [&](DialogView& v) { return std::make_unique<RuleConditionDialog>(v, type, negated); },
       {{RuleConditionDialog::kCombo, L"ComboBox"}, {RuleConditionDialog::kExplanation, L"Static"}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.templateId);
    const auto failures = showDialog(c.templateId, c.make, [&](HWND dialog) { expectControls(dialog, c.controls); });
    EXPECT_TRUE(failures.empty());
  }
}

TEST(ParameterDialogTemplates, WhatTheLogicShowsArrivesInTheRealControls) {
  Sieve::SizeMode mode = Sieve::SizeMode::Over;
  std::uint32_t bytes = 102400;
  showDialog(
      RuleHasSizeDialog::kTemplateId,
      [&](DialogView& v) { return std::make_unique<RuleHasSizeDialog>(v, mode, bytes); },
      [](HWND dialog) {
        EXPECT_EQ(SendDlgItemMessageW(dialog, RuleHasSizeDialog::kMode, CB_GETCOUNT, 0, 0), 2);
        EXPECT_EQ(SendDlgItemMessageW(dialog, RuleHasSizeDialog::kUnit, CB_GETCURSEL, 0, 0), 1);
        wchar_t number[16] = {};
        GetDlgItemTextW(dialog, RuleHasSizeDialog::kEdit, number, 16);
        EXPECT_STREQ(number, L"100");
        EXPECT_EQ(SendDlgItemMessageW(dialog, RuleHasSizeDialog::kEdit, EM_GETLIMITTEXT, 0, 0), 6);
      });

  std::wstring text = L"first\r\nsecond";
  showDialog(
      RuleMessageDialog::kTemplateId, [&](DialogView& v) { return std::make_unique<RuleMessageDialog>(v, text); },
      [](HWND dialog) {
        EXPECT_TRUE(GetWindowLongPtrW(dialog, GWL_STYLE) & WS_THICKFRAME) << "the message dialog is resizable";
        EXPECT_TRUE(GetWindowLongPtrW(GetDlgItem(dialog, RuleMessageDialog::kEdit), GWL_STYLE) & ES_MULTILINE);
      });
}

TEST(ParameterDialogTemplates, TheConditionDialogIsOwnedByTheWordsDialogThatOpensIt) {
  Sieve::TestPtr header(Sieve::createTestForCondition(Sieve::ConditionSubject));
  header->values = Sieve::makeStringList({L"offer"});
  Win32DialogHost host;
  std::vector<HRESULT> failures;
  host.setFailureSink([&](HRESULT code, const std::wstring&) { failures.push_back(code); });
  HWND words = nullptr, condition = nullptr, conditionOwner = nullptr;
  host.onShown([&](HWND dialog, Win32DialogView& view, DialogLogic& logic) {
    if (dynamic_cast<RuleConditionDialog*>(&logic)) {
      condition = dialog;
      conditionOwner = GetWindow(dialog, GW_OWNER);
      view.endDialog(kIdCancel);
      return;
    }
    words = dialog;
    // The condition dialog runs its modal loop inside this click.
    SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(RuleValueListDialog::kCondition, BN_CLICKED),
                 reinterpret_cast<LPARAM>(GetDlgItem(dialog, RuleValueListDialog::kCondition)));
    view.endDialog(kIdCancel);
  });
  EXPECT_EQ(host.runModal(RuleContainsDialog::kTemplateId, nullptr,
                          [&](DialogView& v) { return std::make_unique<RuleContainsDialog>(v, *header, host); }),
            kIdCancel);
  ASSERT_NE(words, nullptr);
  ASSERT_NE(condition, nullptr) << "the condition dialog did not open";
  EXPECT_EQ(conditionOwner, words);
  EXPECT_TRUE(failures.empty());
}

// One store of the account for the folder picker.
class OneStore : public MessageStoreSession {
 public:
  OneStore() {
    ReferenceStore::Mailbox mailbox;
    for (const wchar_t* path : {L"INBOX", L"INBOX/Lists"}) {
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

TEST(ParameterDialogTemplates, TheFolderPickerFillsARealTreeWithItsIcons) {
  for (int icon = RuleMoveToDialog::kFolderIcon; icon <= RuleMoveToDialog::kNotChosenIcon; ++icon) {
    EXPECT_NE(FindResourceW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(icon), MAKEINTRESOURCEW(14)), nullptr)
        << "icon " << icon;  // RT_GROUP_ICON
  }
  OneStore stores;
  const ComRef<IGlobalConfig> config = stores.config();
  std::wstring path = L"INBOX/Lists";
  const auto failures = showDialog(
      RuleMoveToDialog::kTemplateId,
      [&](DialogView& v) { return std::make_unique<RuleMoveToDialog>(v, stores, config.get(), path); },
      [](HWND dialog) {
        expectControls(
            dialog,
            {{RuleMoveToDialog::kTree, L"SysTreeView32"}, {RuleMoveToDialog::kRefresh, L"Button"}, {kIdOk, L"Button"}});
        const HWND tree = GetDlgItem(dialog, RuleMoveToDialog::kTree);
        EXPECT_EQ(SendMessageW(tree, TVM_GETCOUNT, 0, 0), 3);
        EXPECT_NE(SendMessageW(tree, TVM_GETIMAGELIST, TVSIL_NORMAL, 0), 0);
        EXPECT_NE(SendMessageW(tree, TVM_GETNEXTITEM, TVGN_CARET, 0), 0);
        EXPECT_TRUE(IsWindowEnabled(GetDlgItem(dialog, kIdOk)));
      });
  EXPECT_TRUE(failures.empty());
  EXPECT_EQ(path, L"INBOX/Lists") << "Cancel keeps the path";
}

}  // namespace
