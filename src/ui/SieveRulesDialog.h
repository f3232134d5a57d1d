// The user's server-side rules as one list: the junk e-mail filter and the out-of-office
// reply in rows of their own at the top, shown but edited only in their own dialogs, then
// the user's rules in the order the server runs them. The dialog works on a copy of the
// rules; OK hands the whole chain back to the mail server options, Cancel drops it.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "base/ComRef.h"
#include "config/PropertyData.h"
#include "sieve/RuleDescription.h"
#include "sieve/SieveModel.h"
#include "store/AddInInterfaces.h"
#include "store/StoreInterfaces.h"
#include "ui/DialogHost.h"
#include "ui/DialogLogic.h"
#include "ui/RuleDescriptionCtrl.h"
#include "ui/RuleDescriptionHost.h"
#include "ui/RuleEditorDialog.h"

namespace zelvo::ui {

class SieveRulesDialog : public DialogLogic {
 public:
  static constexpr int kTemplateId = 5006;
  static constexpr ControlId kAdd = 10004;
  static constexpr ControlId kEdit = 10003;
  static constexpr ControlId kDelete = 1031;
  static constexpr ControlId kCopy = 10010;
  static constexpr ControlId kMoveUp = 10006;
  static constexpr ControlId kMoveDown = 10007;
  static constexpr ControlId kEditAsScript = 10011;
  static constexpr ControlId kDescription = 10019;
  static constexpr ControlId kDescriptionLabel = 10020;  // moves with the description
  static constexpr ControlId kList = 10015;
  // The template of the rule editor that Add and Edit open.
  static constexpr int kRuleEditorTemplateId = RuleEditorDialog::kTemplateId;
  // Copies of one rule are numbered up to this; after it no name is left.
  static constexpr int kMaxCopyNumber = 127;

  // Builds the rule editor's logic on its view, for the rule it edits. The caller keeps
  // the rule; the editor changes it in place.
  using RuleEditorFactory = std::function<std::unique_ptr<DialogLogic>(DialogView& view, Sieve::SieveRule& rule)>;

  // The product's rule editor, whose description links open through links; links and
  // folders may be null (see RuleEditorDialog) and must outlive the factory's use.
  static RuleEditorFactory ruleEditor(RuleDescriptionHost* links, const Sieve::FolderNameTranslator* folders);

  // config's mail server options are taken here; a config without a store configuration
  // or a failing query is raised. host runs the nested dialogs; both outlive the dialog.
  // folders words the folder paths of the description, and may be null.
  SieveRulesDialog(DialogView& view, _ConfigProperties* config, DialogHost& host, RuleEditorFactory editor,
                   const Sieve::FolderNameTranslator* folders = nullptr);
  ~SieveRulesDialog() override;


 protected:
  void onInitDialog() override;
  void onOk() override;
  void onCommand(ControlId id, int notification) override;
  bool onNotify(ControlId id, const Notification& notification) override;
  void onSize(int width, int height) override;

 private:
  // Loads the list anew from the mail server options.
  void refresh();
  void showRows();
  // The buttons and the description for row (-1: the selected row).
  void updateButtons(int row);
  void showDescription(Sieve::SieveRule* rule, bool severalSelected);
  // The one selected row, or kNoItem when none or several are selected.
  int selectedRow() const;
  void selectOnly(int row);
  // A rule of the user's chain: the rows that may be edited, deleted and moved.
  bool isEditable(const Sieve::SieveRule* rule) const;
  int runEditor(Sieve::SieveRule& rule);
  void replaceRow(int row, Sieve::SieveRule* rule);

  void toggle(int row);
  void createListEntry();
  void modifyListEntry(int row);
  void editAsScript(int row);
  void editAsScriptSteps(int row);
  void deleteListEntry(int row);
  void copyListEntry(int row);
  void moveListEntry(int row, int delta);

  ComRef<_ConfigProperties> config_;
  ComRef<AddIn::IMailServerOptions> options_;
  DialogHost& host_;
  RuleEditorFactory editor_;
  // Shows the selected rule for reading; its values are edited in the rule editor.
  RuleDescriptionCtrl description_;
  // Both chains are the dialog's own copies, freed with it.
  Sieve::SieveRule* rules_ = nullptr;
  Sieve::SieveRule* reservedRules_ = nullptr;
  // One rule for each row: the reserved rules first, then the user's in chain order.
  std::vector<Sieve::SieveRule*> entries_;
};

}  // namespace zelvo::ui
