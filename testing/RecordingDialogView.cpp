#include "testing/RecordingDialogView.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <ostream>

namespace zelvo::testing {

namespace {
bool sameIgnoringCase(const std::wstring& a, const std::wstring& b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::towlower(static_cast<wint_t>(a[i])) != std::towlower(static_cast<wint_t>(b[i]))) return false;
  }
  return true;
}
}  // namespace

const RecordingDialogView::Control& RecordingDialogView::control(ui::ControlId id) const {
  static const Control fresh;
  const auto found = controls_.find(id);
  return found == controls_.end() ? fresh : found->second;
}

void RecordingDialogView::checkRadio(ui::ControlId first, ui::ControlId last, ui::ControlId checked) {
  for (ui::ControlId id = first; id <= last; ++id) at(id).checked = id == checked;
}

void RecordingDialogView::setDefaultButton(ui::ControlId id) {
  defaultButton_ = id;
  ++defaultButtonChanges_;
}

void RecordingDialogView::setRedraw(ui::ControlId id, bool redraw) {
  Control& c = at(id);
  if (redraw) ++c.redrawsOn;
  c.redraw = redraw;
}

void RecordingDialogView::selectText(ui::ControlId id, int start, int end) {
  Control& c = at(id);
  c.selectionStart = start;
  c.selectionEnd = end;
}

bool RecordingDialogView::validItem(ui::ControlId id, int index, const char* operation) const {
  const auto count = static_cast<int>(control(id).items.size());
  if (index >= 0 && index < count) return true;
  ADD_FAILURE() << operation << " of item " << index << " in list " << id << " of " << count << " items";
  return false;
}

void RecordingDialogView::listBoxClear(ui::ControlId id) {
  Control& c = at(id);
  c.items.clear();
  c.selection = ui::kNoItem;
}

int RecordingDialogView::listBoxAdd(ui::ControlId id, const std::wstring& text) {
  // The recording list has no sort style: an added item goes to the end.
  Control& c = at(id);
  c.items.push_back(text);
  return static_cast<int>(c.items.size()) - 1;
}

int RecordingDialogView::listBoxInsert(ui::ControlId id, int index, const std::wstring& text) {
  Control& c = at(id);
  const auto count = static_cast<int>(c.items.size());
  if (index < 0 || index > count) index = count;  // as LB_INSERTSTRING with -1
  c.items.insert(c.items.begin() + index, text);
  if (c.selection >= index) ++c.selection;
  return index;
}

void RecordingDialogView::listBoxDelete(ui::ControlId id, int index) {
  if (!validItem(id, index, "delete")) return;
  Control& c = at(id);
  c.items.erase(c.items.begin() + index);
  // A list box forgets the selection of a deleted item and shifts the one behind it.
  if (c.selection == index) {
    c.selection = ui::kNoItem;
  } else if (c.selection > index) {
    --c.selection;
  }
}

int RecordingDialogView::listBoxCount(ui::ControlId id) const { return static_cast<int>(control(id).items.size()); }

std::wstring RecordingDialogView::listBoxText(ui::ControlId id, int index) const {
  if (!validItem(id, index, "text")) return std::wstring();
  return control(id).items[static_cast<std::size_t>(index)];
}

void RecordingDialogView::listBoxSelect(ui::ControlId id, int index) {
  if (index != ui::kNoItem && !validItem(id, index, "select")) return;
  at(id).selection = index;
}

int RecordingDialogView::listBoxFindExact(ui::ControlId id, const std::wstring& text) const {
  const std::vector<std::wstring>& items = control(id).items;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (sameIgnoringCase(items[i], text)) return static_cast<int>(i);
  }
  return ui::kNoItem;
}

int RecordingDialogView::messageBox(const std::wstring& text, const std::wstring& caption, UINT style) {
  messages_.push_back({text, caption, style});
  if ((style & ui::mb::buttonMask) == ui::mb::ok) return ui::kIdOk;
  if (answers_.empty()) {
    ADD_FAILURE() << "a message box that nobody answers was shown (style " << style << ")";
    return ui::kIdCancel;
  }
  const int answer = answers_.front();
  answers_.pop_front();
  return answer;
}

void RecordingDialogView::endDialog(int result) {
  if (result_) ADD_FAILURE() << "the dialog ended twice, with " << *result_ << " and " << result;
  result_ = result;
}

const char* beepName(ui::Beep kind) {
  switch (kind) {
    case ui::Beep::Default:
      return "Default";
    case ui::Beep::Stop:
      return "Stop";
    case ui::Beep::Question:
      return "Question";
    case ui::Beep::Exclamation:
      return "Exclamation";
    case ui::Beep::Asterisk:
      return "Asterisk";
    case ui::Beep::Simple:
      return "Simple";
  }
  return "?";
}

}  // namespace zelvo::testing

namespace zelvo::ui {
void PrintTo(Beep kind, std::ostream* out) { *out << testing::beepName(kind); }
}  // namespace zelvo::ui
