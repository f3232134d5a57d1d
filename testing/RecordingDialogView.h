// A DialogView that keeps every control's state in memory and records what the user would
// have seen and heard, for tests of dialog logic. Controls spring into being on first use,
// enabled and visible. Misuse that a real control would refuse (an index past the end of a
// list) is reported as a test failure.
#pragma once

#include <deque>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ui/DialogView.h"

namespace zelvo::testing {

class RecordingDialogView : public ui::DialogView {
 public:
  struct Message {
    std::wstring text;
    std::wstring caption;
    UINT style = 0;
  };
  struct Failure {
    HRESULT code = S_OK;
    std::wstring text;
  };
  struct Control {
    std::wstring text;
    bool checked = false;
    bool enabled = true;
    bool visible = true;
    bool redraw = true;
    int redrawsOn = 0;  // how often drawing was turned back on
    std::vector<std::wstring> items;
    int selection = ui::kNoItem;
    int selectionStart = 0;
    int selectionEnd = 0;
    int caretScrolls = 0;
  };

  // --- what a test sets up or reads -----------------------------------------------------
  // The answer of the next message box that is not a plain OK box. Without one queued such
  // a box fails the test and answers Cancel.
  void queueAnswer(int buttonId) { answers_.push_back(buttonId); }
  std::size_t pendingAnswers() const { return answers_.size(); }

  const std::vector<Message>& messages() const { return messages_; }
  const std::vector<ui::Beep>& beeps() const { return beeps_; }
  const std::vector<Failure>& failures() const { return failures_; }
  // The result the dialog ended with, once it ended.
  std::optional<int> result() const { return result_; }

  // The state of a control; a control never touched reads as a fresh one.
  const Control& control(ui::ControlId id) const;
  std::vector<std::wstring> items(ui::ControlId id) const { return control(id).items; }

  // --- DialogView -----------------------------------------------------------------------
  std::wstring getText(ui::ControlId id) const override { return control(id).text; }
  void setText(ui::ControlId id, const std::wstring& text) override { at(id).text = text; }
  bool isChecked(ui::ControlId id) const override { return control(id).checked; }
  void setChecked(ui::ControlId id, bool checked) override { at(id).checked = checked; }
  void checkRadio(ui::ControlId first, ui::ControlId last, ui::ControlId checked) override;
  bool isEnabled(ui::ControlId id) const override { return control(id).enabled; }
  void enable(ui::ControlId id, bool enabled) override { at(id).enabled = enabled; }
  bool isVisible(ui::ControlId id) const override { return control(id).visible; }
  void show(ui::ControlId id, bool visible) override { at(id).visible = visible; }
  ui::ControlId focus() const override { return focus_; }
  void setFocus(ui::ControlId id) override { focus_ = id; }
  ui::ControlId defaultButton() const override { return defaultButton_; }
  void setDefaultButton(ui::ControlId id) override;
  int defaultButtonChanges() const { return defaultButtonChanges_; }
  void setRedraw(ui::ControlId id, bool redraw) override;

  void selectText(ui::ControlId id, int start, int end) override;
  void scrollCaret(ui::ControlId id) override { ++at(id).caretScrolls; }

  void listBoxClear(ui::ControlId id) override;
  int listBoxAdd(ui::ControlId id, const std::wstring& text) override;
  int listBoxInsert(ui::ControlId id, int index, const std::wstring& text) override;
  void listBoxDelete(ui::ControlId id, int index) override;
  int listBoxCount(ui::ControlId id) const override;
  std::wstring listBoxText(ui::ControlId id, int index) const override;
  int listBoxSelection(ui::ControlId id) const override { return control(id).selection; }
  void listBoxSelect(ui::ControlId id, int index) override;
  int listBoxFindExact(ui::ControlId id, const std::wstring& text) const override;

  int messageBox(const std::wstring& text, const std::wstring& caption, UINT style) override;
  void beep(ui::Beep kind) override { beeps_.push_back(kind); }
  void endDialog(int result) override;
  void handlerFailed(HRESULT code, const std::wstring& text) override { failures_.push_back({code, text}); }

 private:
  Control& at(ui::ControlId id) { return controls_[id]; }
  bool validItem(ui::ControlId id, int index, const char* operation) const;

  std::map<ui::ControlId, Control> controls_;
  ui::ControlId focus_ = ui::kNoControl;
  ui::ControlId defaultButton_ = ui::kIdOk;
  int defaultButtonChanges_ = 0;
  std::deque<int> answers_;
  std::vector<Message> messages_;
  std::vector<ui::Beep> beeps_;
  std::vector<Failure> failures_;
  std::optional<int> result_;
};

const char* beepName(ui::Beep kind);

}  // namespace zelvo::testing

namespace zelvo::ui {
// Beeps by name in test output.
void PrintTo(Beep kind, std::ostream* out);
}  // namespace zelvo::ui
