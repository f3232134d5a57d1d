// The user's part in loading a script that does not parse: the message that says so and
// asks whether to correct it, and the script dialog in which it is corrected. Put into a
// rule set with setScriptRepair, it lets a load with a user present end as Repaired.
#pragma once

#include <string>

#include "sieve/SieveRules.h"
#include "ui/DialogHost.h"

namespace zelvo::ui {

class ScriptRepair : public Sieve::IScriptRepair {
 public:
  // The caller keeps host alive while the repair is in use; the host shows the message
  // and the script dialog over the parent window that the rule set hands in.
  explicit ScriptRepair(DialogHost& host);

  bool showParseFailure(HWND parent, const Sieve::SieveParseStatus& status, bool askFix) override;
  // The whole script in the script dialog, parsed on OK, several rules allowed.
  bool editScript(HWND parent, const std::wstring& text, Sieve::SieveRule** rules) override;

 private:
  DialogHost& host_;
};

}  // namespace zelvo::ui
