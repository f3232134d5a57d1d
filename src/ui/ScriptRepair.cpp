#include "ui/ScriptRepair.h"

#include <memory>
#include <utility>

#include "base/HResultException.h"
#include "ui/ParseFailureMessage.h"
#include "ui/SieveScriptDialog.h"

namespace zelvo::ui {

ScriptRepair::ScriptRepair(DialogHost& host, ParentMessageBox messageBox)
    : host_(host), messageBox_(std::move(messageBox)) {}

bool ScriptRepair::showParseFailure(HWND parent, const Sieve::SieveParseStatus& status, bool askFix) {
  return ui::showParseFailure(
      [&](const std::wstring& text, const std::wstring& caption, UINT style) {
        if (messageBox_) return messageBox_(parent, text, caption, style);
        return MessageBoxW(parent, text.c_str(), caption.c_str(), style);
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
