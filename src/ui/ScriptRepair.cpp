#include "ui/ScriptRepair.h"

#include <memory>

#include "base/HResultException.h"
#include "ui/ParseFailureMessage.h"
#include "ui/SieveScriptDialog.h"

namespace zelvo::ui {

ScriptRepair::ScriptRepair(DialogHost& host) : host_(host) {}

bool ScriptRepair::showParseFailure(HWND parent, const Sieve::SieveParseStatus& status, bool askFix) {
  return ui::showParseFailure(
      [&](const std::wstring& text, const std::wstring& caption, UINT style) {
        return host_.messageBox(parent, text, caption, style);
      },
      status, askFix);
}

bool ScriptRepair::editScript(HWND parent, const std::wstring& text, Sieve::SieveRule** rules) {
  if (!rules) ZEL_HERE.raise(E_POINTER);
  *rules = nullptr;
  SieveScriptDialog::Result result;
  const int ended = host_.runModal(SieveScriptDialog::kTemplateId, parent, [&](DialogView& view) {
    return std::make_unique<SieveScriptDialog>(view, text, true, false, &result);
  });
  if (ended != kIdOk) return false;
  *rules = result.rules.release();
  return true;
}

}  // namespace zelvo::ui
