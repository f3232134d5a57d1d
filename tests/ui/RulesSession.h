// One session of a user with the rules, shared by the run over the recording view and the
// run over the real dialogs: the sample mailbox behind the store's data object, what the
// user does in each dialog as it shows, and what the stored script must hold afterwards.
// Both runs act through a User of their own, so the steps and the checks cannot drift.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/ComRef.h"
#include "config/ConfigProperties.h"
#include "sieve/SieveModel.h"
#include "sieve/SieveTables.h"
#include "store/reference/ReferenceStore.h"
#include "testing/TestEnvironment.h"
#include "tests/config/DataObjectsSupport.h"
#include "ui/ParameterDialogs.h"
#include "ui/ParameterLinkHost.h"
#include "ui/RuleEditorDialog.h"
#include "ui/RuleMoveToDialog.h"
#include "ui/RuleParameterDialogs.h"
#include "ui/SieveRulesDialog.h"

namespace zelvo::ui::session {

// What the user does to the dialog in front, as the run's controls take it.
class User {
 public:
  virtual ~User() = default;
  // A button; it must be enabled.
  virtual void click(ControlId button) = 0;
  // The check box of a row of inserted rows, to the state asked for.
  virtual void setCheck(ControlId list, int row, bool checked) = 0;
  // A click on the check box of a virtual list's row.
  virtual void clickCheckBox(ControlId list, int row) = 0;
  virtual void selectRow(ControlId list, int row) = 0;
  virtual void type(ControlId edit, const std::wstring& text) = 0;
  virtual void selectCombo(ControlId combo, int index) = 0;
  // The item at path below the tree's first top item, by the texts shown.
  virtual void selectTreeItem(ControlId tree, const std::vector<std::wstring>& path) = 0;
  // A click on the link of a rich edit that shows text.
  virtual void clickLink(ControlId richEdit, const std::wstring& text) = 0;
  // The texts of a list view's rows.
  virtual std::vector<std::wstring> rows(ControlId list) = 0;
};

// What the user does in one dialog, in the order the dialogs show.
struct Step {
  int templateId;
  std::function<void(User&)> act;
};

inline const std::wstring kNewRuleName = L"Large invoices";
inline const std::wstring kSwitchedOffRule = L"Mailing lists";
inline const std::vector<std::wstring> kWords = {L"statement", L"invoice"};
inline const std::wstring kFolder = L"Finance/Invoices";
constexpr std::uint32_t kSizeLimit = 5u * 1048576u;

inline int rowOf(const std::vector<std::wstring>& rows, const std::wstring& text) {
  for (std::size_t row = 0; row < rows.size(); ++row) {
    if (rows[row] == text) return static_cast<int>(row);
  }
  ADD_FAILURE() << "no row " << testing::utf8(text);
  return 0;
}

// Adds a rule of two conditions and a folder through the editor and the links of its
// description, moves it up one place, switches another rule off, OK.
inline std::vector<Step> sessionSteps() {
  std::vector<Step> steps;
  steps.push_back({SieveRulesDialog::kTemplateId, [](User& user) {
                     user.click(SieveRulesDialog::kAdd);
                     user.click(SieveRulesDialog::kMoveUp);
                     const int off = rowOf(user.rows(SieveRulesDialog::kList), kSwitchedOffRule);
                     user.clickCheckBox(SieveRulesDialog::kList, off);
                     user.click(kIdOk);
                   }});
  steps.push_back({RuleEditorDialog::kTemplateId, [](User& user) {
                     // The lists hold the conditions and actions in the order of their ids.
                     user.setCheck(RuleEditorDialog::kConditions, Sieve::ConditionSize - 1, true);
                     user.setCheck(RuleEditorDialog::kConditions, Sieve::ConditionSubject - 1, true);
                     user.setCheck(RuleEditorDialog::kActions, Sieve::ActionFileInto - 1, true);
                     user.clickLink(RuleEditorDialog::kDescription, L"specific words");
                     user.clickLink(RuleEditorDialog::kDescription, L"in a specified range");
                     // Unique once the size is set.
                     user.clickLink(RuleEditorDialog::kDescription, L"specified");
                     user.type(RuleEditorDialog::kName, L"  " + kNewRuleName + L" ");
                     user.click(kIdOk);
                   }});
  steps.push_back({RuleContainsDialog::kTemplateId, [](User& user) {
                     for (const std::wstring& word : kWords) {
                       user.type(RuleValueListDialog::kEdit, word);
                       user.click(RuleValueListDialog::kAdd);
                     }
                     user.click(kIdOk);
                   }});
  steps.push_back({RuleHasSizeDialog::kTemplateId, [](User& user) {
                     user.selectCombo(RuleHasSizeDialog::kMode, 0);  // over
                     user.type(RuleHasSizeDialog::kEdit, L"5");
                     user.selectCombo(RuleHasSizeDialog::kUnit, 2);  // MB
                     user.click(kIdOk);
                   }});
  steps.push_back({RuleMoveToDialog::kTemplateId, [](User& user) {
                     user.selectTreeItem(RuleMoveToDialog::kTree, {L"Finance", L"Invoices"});
                     user.click(kIdOk);
                   }});
  return steps;
}

// The dialogs of the session in the order they show: the steps' templates.
inline std::vector<int> sessionDialogs() {
  std::vector<int> ids;
  for (const Step& step : sessionSteps()) ids.push_back(step.templateId);
  return ids;
}

// The sample mailbox in a reference store, behind the store's data object as the rules
// command opens it. The folder the session files into must be one a rule may choose, and
// the store is the account's own mailbox, whose folder list has no namespace root above
// it; the sample's folder list says neither.
class SampleMailbox {
 public:
  SampleMailbox() {
    const std::string folder = testing::sourcePath("samples/mailbox");
    if (folder.empty()) {
      ADD_FAILURE() << "ZELVO_SOURCE_DIR is not set";
      store = std::make_unique<ReferenceStore::Store>();
      return;
    }
    store = ReferenceStore::Store::load(folder);
    ReferenceStore::Mailbox mailbox = store->mailbox();
    mailbox.rootName.clear();
    for (ReferenceStore::MailboxFolder& f : mailbox.folders) {
      if (f.path == kFolder) f.flags |= 0x3;  // selectable, takes messages
    }
    store->setMailbox(mailbox);
    original = mailbox.script;
    loaded = mailbox;
  }

  // Makes the data object; the result of Initialize.
  HRESULT open() {
    object = ComRef<config::ConfigProperties>::adopt(new config::ConfigProperties({}, &registry.config()));
    return datatest::call(data(), L"Initialize",
                          {Variant::fromUnknown(nameSpace.get()), Variant::fromUnknown(store->globalConfig().get()),
                           Variant::fromUInt32(config::ConfigProperties::kLoadRules)});
  }
  _ConfigProperties* properties() const { return static_cast<_ConfigProperties*>(object.get()); }
  IDispatch* data() const { return static_cast<IDispatch*>(properties()); }
  // What the rules command does after its dialog: Apply when the object is dirty.
  HRESULT applyWhenDirty() const {
    if (!datatest::get(data(), L"Dirty").toBool()) return S_FALSE;
    return datatest::call(data(), L"Apply");
  }
  std::wstring script() const { return store->mailbox().script; }
  // Whether everything but the script is as it was loaded.
  bool restKept() const {
    ReferenceStore::Mailbox now = store->mailbox();
    now.script = loaded.script;
    return now == loaded;
  }

  std::unique_ptr<ReferenceStore::Store> store;
  std::wstring original;
  ReferenceStore::Mailbox loaded;
  datatest::ScopedRegistry registry;
  ComRef<datatest::HostObject> nameSpace = ComRef<datatest::HostObject>::adopt(new datatest::HostObject);
  ComRef<config::ConfigProperties> object;
};

// The picker's stores: the mailbox alone.
class MailboxStores : public MessageStoreSession {
 public:
  explicit MailboxStores(ReferenceStore::Store& store) : store_(store) {}
  std::vector<Store> messageStores() override { return {{store_.mapiStore(), L"Mailbox"}}; }

 private:
  ReferenceStore::Store& store_;
};

// The rules dialog with the product's editor and links, over host.
struct RulesDialogParts {
  RulesDialogParts(SampleMailbox& mailbox, DialogHost& host)
      : stores(*mailbox.store), config(mailbox.store->globalConfig()), dialogs(host, nullptr, &stores, config.get()),
        links(dialogs) {}
  std::unique_ptr<DialogLogic> make(DialogView& view, SampleMailbox& mailbox, DialogHost& host) {
    return std::make_unique<SieveRulesDialog>(view, mailbox.properties(), host,
                                              SieveRulesDialog::ruleEditor(&links, nullptr));
  }
  MailboxStores stores;
  ComRef<IGlobalConfig> config;
  ParameterDialogs dialogs;
  ParameterLinkHost links;
};

namespace details {

struct RuleRow {
  std::wstring name;
  bool enabled;
  bool operator==(const RuleRow& other) const { return name == other.name && enabled == other.enabled; }
};

inline std::vector<RuleRow> rowsOf(const Sieve::SieveRule* head) {
  std::vector<RuleRow> rows;
  for (const Sieve::SieveRule* rule = head; rule; rule = rule->next) rows.push_back({rule->name, rule->enabled});
  return rows;
}

inline std::wstring singleText(Sieve::SieveRule* rule) {
  std::wstring text;
  Sieve::SieveRule::writeScript(rule, text, true);
  return text;
}

inline Sieve::SieveRule* find(Sieve::SieveRule* head, const std::wstring& name) {
  for (Sieve::SieveRule* rule = head; rule; rule = rule->next) {
    if (rule->name == name) return rule;
  }
  return nullptr;
}

}  // namespace details

// The rule the session added, as the script reader gives it back.
inline void expectNewRule(const Sieve::SieveRule& rule) {
  EXPECT_TRUE(rule.enabled);
  ASSERT_NE(rule.test, nullptr);
  EXPECT_EQ(rule.test->kind, Sieve::TestKind::AllOf);
  const Sieve::SieveTest* subject = rule.test->subTests;
  ASSERT_NE(subject, nullptr);
  EXPECT_EQ(subject->kind, Sieve::TestKind::Header);
  EXPECT_EQ(Sieve::stringListToVector(subject->keys), std::vector<std::wstring>{L"Subject"});
  EXPECT_EQ(subject->matchType, Sieve::MatchType::Contains);
  EXPECT_FALSE(subject->negated);
  EXPECT_EQ(Sieve::stringListToVector(subject->values), (std::vector<std::wstring>{L"invoice", L"statement"}))
      << "the dialog keeps its values sorted";
  const Sieve::SieveTest* size = subject->next;
  ASSERT_NE(size, nullptr);
  EXPECT_EQ(size->kind, Sieve::TestKind::Size);
  EXPECT_EQ(size->sizeMode, Sieve::SizeMode::Over);
  EXPECT_EQ(size->sizeLimit, kSizeLimit);
  EXPECT_EQ(size->next, nullptr);
  const Sieve::SieveRule* action = rule.thenBlock;
  ASSERT_NE(action, nullptr);
  EXPECT_EQ(action->kind, Sieve::RuleKind::FileInto);
  EXPECT_EQ(action->argument, kFolder);
  EXPECT_EQ(action->next, nullptr);
}

// The script after the session, read back, against the one before it: the new rule one
// place above the last, the switched-off rule off, every other rule as it was and where it
// was.
inline void expectSessionScript(const std::wstring& before, const std::wstring& after) {
  Sieve::SieveRule* head = nullptr;
  Sieve::SieveRule::parseScript(before, &head);
  Sieve::RulePtr old(head);
  head = nullptr;
  Sieve::SieveRule::parseScript(after, &head);
  Sieve::RulePtr now(head);
  ASSERT_TRUE(old && now) << "both scripts read back";

  std::vector<details::RuleRow> expected = details::rowsOf(old.get());
  ASSERT_GE(expected.size(), 3u);
  expected.insert(expected.end() - 1, {kNewRuleName, true});
  for (details::RuleRow& row : expected) {
    if (row.name == kSwitchedOffRule) {
      EXPECT_TRUE(row.enabled) << "the sample's rule starts on";
      row.enabled = false;
    }
  }
  const std::vector<details::RuleRow> got = details::rowsOf(now.get());
  ASSERT_EQ(got.size(), expected.size());
  for (std::size_t i = 0; i < got.size(); ++i) {
    EXPECT_TRUE(got[i] == expected[i]) << "row " << i << ": " << testing::utf8(got[i].name) << " "
                                       << got[i].enabled << ", expected " << testing::utf8(expected[i].name) << " "
                                       << expected[i].enabled;
  }

  for (Sieve::SieveRule* rule = old.get(); rule; rule = rule->next) {
    Sieve::SieveRule* kept = details::find(now.get(), rule->name);
    ASSERT_NE(kept, nullptr) << testing::utf8(rule->name);
    if (rule->name == kSwitchedOffRule) kept->enabled = true;
    EXPECT_EQ(details::singleText(kept), details::singleText(rule)) << testing::utf8(rule->name);
  }
  Sieve::SieveRule* added = details::find(now.get(), kNewRuleName);
  ASSERT_NE(added, nullptr);
  expectNewRule(*added);
}

}  // namespace zelvo::ui::session
