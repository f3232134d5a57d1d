// Which rules the client's own rules command manages: the server's rules, kept in the
// mailbox's script, or the client's own. The caller remembers the choice for next time.
#pragma once

#include "ui/DialogLogic.h"

namespace zelvo::ui {

class FilterRulesSelectionDialog : public DialogLogic {
 public:
  static constexpr int kTemplateId = 5029;
  static constexpr ControlId kServerRules = 10101;
  static constexpr ControlId kClientRules = 10102;
  static constexpr ControlId kLabel = 10028;

  // useServerRules: the choice remembered from the last time.
  FilterRulesSelectionDialog(DialogView& view, bool useServerRules);

  bool useServerRules() const { return useServerRules_; }

 protected:
  void onInitDialog() override;
  void onCommand(ControlId id, int notification) override;

 private:
  bool useServerRules_;
};

}  // namespace zelvo::ui
