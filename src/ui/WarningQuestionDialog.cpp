#include "ui/WarningQuestionDialog.h"

#include <utility>

#include "strings/Localization.h"

namespace zelvo::ui {

WarningQuestionDialog::WarningQuestionDialog(DialogView& view, std::wstring title, std::wstring message,
                                             std::wstring confirmText, std::wstring cancelText)
    : DialogLogic(view),
      title_(std::move(title)),
      message_(std::move(message)),
      confirmText_(std::move(confirmText)),
      cancelText_(std::move(cancelText)) {}

void WarningQuestionDialog::onInitDialog() {
  view().setIcon(kIconId);
  view().setTitle(title_.empty() ? Localization::getString(IDS_WARNING_QUESTION_TITLE) : title_);
  view().setText(kMessage, message_);
  view().setText(kIdCancel, cancelText_);
  if (confirmText_.empty()) {
    view().show(kIdOk, false);
    view().enable(kIdOk, false);
    view().setDefaultButton(kIdCancel);
  } else {
    view().setText(kIdOk, confirmText_);
  }
}

void WarningQuestionDialog::onOk() {
  // Without a confirm text there is nothing to confirm, whatever sends the command.
  if (!confirmText_.empty()) DialogLogic::onOk();
}

}  // namespace zelvo::ui
