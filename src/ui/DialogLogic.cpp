#include "ui/DialogLogic.h"

#include <string>

#include "base/ComBoundary.h"

namespace zelvo::ui {

bool runHandler(DialogView& view, const std::function<void()>& handler) noexcept {
  try {
    handler();
    return true;
  } catch (...) {
    const CaughtFailure failure = describeCaughtException();
    // Reporting may itself fail; then the failure is dropped unreported rather than let out
    // of the frame.
    try {
      view.handlerFailed(failure.code, failure.text);
    } catch (...) {
    }
  }
  return false;
}

void DialogLogic::initDialog() {
  runHandler(view_, [this] { onInitDialog(); });
}

void DialogLogic::command(ControlId id, int notification) {
  runHandler(view_, [&] {
    if (id == kIdOk && notification == notify::buttonClicked) {
      onOk();
    } else if (id == kIdCancel && notification == notify::buttonClicked) {
      onCancel();
    } else {
      onCommand(id, notification);
    }
  });
}

bool DialogLogic::notify(ControlId id, const Notification& notification) {
  bool answer = false;
  runHandler(view_, [&] { answer = onNotify(id, notification); });
  return answer;
}

void DialogLogic::size(int width, int height) {
  runHandler(view_, [&] { onSize(width, height); });
}

}  // namespace zelvo::ui
