#include "testing/screenshots/ScreenshotDialogs.h"

#include "ui/TrustedSendersDialog.h"

namespace zelvo::testing {

using ui::DialogView;
using Context = ScreenshotContext;

// One line a dialog: its name, its template and how its logic is made.
const std::vector<ScreenshotDialog>& screenshotDialogs() {
  static const std::vector<ScreenshotDialog> dialogs{
      {"TrustedSendersDialog", ui::TrustedSendersDialog::kTemplateId,
       [](DialogView& v, Context& c) { return std::make_unique<ui::TrustedSendersDialog>(v, c.options, nullptr); }},
  };
  return dialogs;
}

}  // namespace zelvo::testing
