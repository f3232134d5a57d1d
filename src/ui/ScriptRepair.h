// The user's part in loading a script that does not parse: the message that says so and
// asks whether to correct it, and the script dialog in which it is corrected. Put into a
// rule set with setScriptRepair, it lets a load with a user present end as Repaired.
#pragma once

#include <functional>
#include <string>

#include "sieve/SieveRules.h"
#include "ui/DialogHost.h"

namespace zelvo::ui {

class ScriptRepair : public Sieve::IScriptRepair {
 public:
  // A message box over a parent window, as MessageBoxW: the button chosen.
  using ParentMessageBox =
      std::function<int(HWND parent, const std::wstring& text, const std::wstring& caption, UINT style)>;

  // The caller keeps host alive while the repair is in use. Without messageBox the
  // system's message box is used.
  explicit ScriptRepair(DialogHost& host, ParentMessageBox messageBox = {});

  bool showParseFailure(HWND parent, const Sieve::SieveParseStatus& status, bool askFix) override;
  // The whole script in the script dialog, parsed on OK, several rules allowed.
  bool editScript(HWND parent, const std::wstring& text, Sieve::SieveRule** rules) override;

 private:
  DialogHost& host_;
  ParentMessageBox messageBox_;
};

}  // namespace zelvo::ui
