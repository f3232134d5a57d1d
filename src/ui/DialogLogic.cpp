#include "ui/DialogLogic.h"

#include <new>
#include <string>

#include "base/HResultException.h"

namespace zelvo::ui {

namespace details {
std::wstring widen(const char* text) {
  std::wstring wide;
  for (const char* p = text ? text : ""; *p; ++p) wide.push_back(static_cast<wchar_t>(static_cast<unsigned char>(*p)));
  return wide;
}
}  // namespace details

bool runHandler(DialogView& view, const std::function<void()>& handler) noexcept {
  // Reporting may itself fail (a string that cannot be copied); then the failure is
  // dropped unreported rather than let out of the frame.
  try {
    try {
      handler();
      return true;
    } catch (const HResultException& e) {
      view.handlerFailed(e.getHResult(), e.text());
    } catch (const std::bad_alloc&) {
      view.handlerFailed(E_OUTOFMEMORY, L"");
    } catch (const std::exception& e) {
      view.handlerFailed(E_FAIL, details::widen(e.what()));
    } catch (...) {
      view.handlerFailed(E_UNEXPECTED, L"");
    }
  } catch (...) {
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
