#include "testing/screenshots/ScreenshotDialogs.h"

#include <commctrl.h>

#include <memory>
#include <string>
#include <utility>

#include "base/Bstr.h"
#include "base/HResultException.h"
#include "calendar/TimeZone.h"
#include "ui/FilterRulesSelectionDialog.h"
#include "ui/OutOfOfficeDialog.h"
#include "ui/RuleEditorDialog.h"
#include "ui/RuleMoveToDialog.h"
#include "ui/RuleParameterDialogs.h"
#include "ui/SieveRulesDialog.h"
#include "ui/SieveScriptDialog.h"
#include "ui/TrustedSendersDialog.h"

namespace zelvo::testing {

using ui::DialogView;
using Context = ScreenshotContext;

namespace details {

// The sample's rule of that name, taken out of a copy of the chain; it raises when the
// sample has no such rule, so that a renamed rule cannot leave a picture empty.
Sieve::RulePtr sampleRule(AddIn::IMailServerOptions& options, const std::wstring& name) {
  Sieve::RulePtr chain(options.getRules(true));
  Sieve::SieveRule* before = nullptr;
  for (Sieve::SieveRule* rule = chain.get(); rule; before = rule, rule = rule->next) {
    if (rule->name != name) continue;
    if (before) {
      before->next = rule->next;
    } else {
      (void)chain.release();
      chain.reset(rule->next);
    }
    rule->next = nullptr;
    return Sieve::RulePtr(rule);
  }
  ZEL_HERE.raise(E_UNEXPECTED, "The sample mailbox has no rule of that name.");
}

// A dialog's logic that keeps alive what it edits in place: the keeper is a base of its
// own, so that it is built before the dialog and goes after it.
struct Keeper {
  std::shared_ptr<void> kept;
};

template <class Dialog>
class Keeping : private Keeper, public Dialog {
 public:
  template <class... Args>
  explicit Keeping(std::shared_ptr<void> kept, Args&&... args)
      : Keeper{std::move(kept)}, Dialog(std::forward<Args>(args)...) {}
};

std::shared_ptr<Sieve::SieveRule> shared(Sieve::RulePtr rule) {
  return {rule.release(), Sieve::RuleChainDeleter{}};
}

// Every item of a tree view open, as a user who looked through the folders leaves it.
void expandAll(HWND tree, HTREEITEM item) {
  for (; item; item = TreeView_GetNextSibling(tree, item)) {
    TreeView_Expand(tree, item, TVE_EXPAND);
    expandAll(tree, TreeView_GetChild(tree, item));
  }
}

void click(HWND dialog, int id) {
  SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), reinterpret_cast<LPARAM>(GetDlgItem(dialog, id)));
}

std::wstring sampleScript(IGlobalConfig* config) {
  Bstr script;
  ZEL_CHECK(config->getSieveScript(script.put()));
  return script.text();
}

// The sample's reply switched on, in advanced mode, in a zone and a time format of our
// choosing rather than the machine's.
std::unique_ptr<ui::DialogLogic> outOfOffice(DialogView& v, Context& c) {
  const auto record = std::make_shared<Sieve::OutOfOfficeParams>();
  c.options.getOutOfOffice(*record);
  record->enabled = true;
  ui::OutOfOfficeDialog::Settings settings{
      std::make_shared<const timezone::ZTimeZone>(timezone::findTimeZone(std::string("Europe/Berlin"))), true,
      {L"h:mm tt", false}};
  return std::make_unique<Keeping<ui::OutOfOfficeDialog>>(record, v, c.globalConfig, *record, c.host,
                                                          std::move(settings));
}

}  // namespace details

// One line a dialog: its name, its template, how its logic is made, and what is done on it
// before the picture.
const std::vector<ScreenshotDialog>& screenshotDialogs() {
  using details::Keeping;
  static const std::vector<ScreenshotDialog> dialogs{
      {"TrustedSendersDialog", ui::TrustedSendersDialog::kTemplateId,
       [](DialogView& v, Context& c) { return std::make_unique<ui::TrustedSendersDialog>(v, c.options, nullptr); },
       nullptr},
      {"SieveRulesDialog", ui::SieveRulesDialog::kTemplateId,
       [](DialogView& v, Context& c) {
         return std::make_unique<ui::SieveRulesDialog>(v, &c.config, c.host,
                                                       ui::SieveRulesDialog::ruleEditor(nullptr, nullptr));
       },
       nullptr},
      {"RuleEditorDialog", ui::RuleEditorDialog::kTemplateId,
       [](DialogView& v, Context& c) {
         const auto rule = details::shared(details::sampleRule(c.options, L"Invoices"));
         return std::make_unique<Keeping<ui::RuleEditorDialog>>(rule, v, *rule, nullptr, nullptr);
       },
       nullptr},
      {"RuleContainsDialog", ui::RuleContainsDialog::kTemplateId,
       [](DialogView& v, Context& c) {
         // The words of the Invoices rule's subject condition, the first of its any-of.
         const auto rule = details::shared(details::sampleRule(c.options, L"Invoices"));
         if (!rule->test || !rule->test->subTests) ZEL_HERE.raise(E_UNEXPECTED, "The Invoices rule has no any-of.");
         return std::make_unique<Keeping<ui::RuleContainsDialog>>(rule, v, *rule->test->subTests, c.host);
       },
       nullptr},
      {"RuleMoveToDialog", ui::RuleMoveToDialog::kTemplateId,
       [](DialogView& v, Context& c) {
         const auto path = std::make_shared<std::wstring>(L"INBOX/Projects/2026");
         return std::make_unique<Keeping<ui::RuleMoveToDialog>>(path, v, c.stores, c.globalConfig, *path);
       },
       [](HWND dialog) {
         const HWND tree = GetDlgItem(dialog, ui::RuleMoveToDialog::kTree);
         details::expandAll(tree, TreeView_GetRoot(tree));
         TreeView_EnsureVisible(tree, TreeView_GetSelection(tree));
       }},
      {"OutOfOfficeDialog", ui::OutOfOfficeDialog::kTemplateId, details::outOfOffice,
       [](HWND dialog) { details::click(dialog, ui::OutOfOfficeDialog::kFold); }},
      {"OutOfOfficeDialogFolded", ui::OutOfOfficeDialog::kTemplateId, details::outOfOffice, nullptr},
      {"SieveScriptDialog", ui::SieveScriptDialog::kTemplateId,
       [](DialogView& v, Context& c) {
         return std::make_unique<ui::SieveScriptDialog>(v, details::sampleScript(c.globalConfig), true, false);
       },
       nullptr},
      {"FilterRulesSelectionDialog", ui::FilterRulesSelectionDialog::kTemplateId,
       [](DialogView& v, Context&) { return std::make_unique<ui::FilterRulesSelectionDialog>(v, true); }, nullptr},
  };
  return dialogs;
}

}  // namespace zelvo::testing
