// A small question that warns before something is lost, with button texts of its own: OK
// confirms, Cancel keeps things as they are. Without a confirm text only Cancel shows, and it is the default button.
#pragma once

#include <string>

#include "ui/DialogLogic.h"

namespace zelvo::ui {

class WarningQuestionDialog : public DialogLogic {
 public:
  static constexpr int kTemplateId = 5013;
  static constexpr ControlId kMessage = 0x2771;
  static constexpr int kIconId = 251;

  // An empty title gives the product's.
  WarningQuestionDialog(DialogView& view, std::wstring title, std::wstring message, std::wstring confirmText,
                        std::wstring cancelText);

 protected:
  void onInitDialog() override;
  void onOk() override;

 private:
  std::wstring title_;
  std::wstring message_;
  std::wstring confirmText_;
  std::wstring cancelText_;
};

}  // namespace zelvo::ui
