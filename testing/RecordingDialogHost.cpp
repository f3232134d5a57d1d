#include "testing/RecordingDialogHost.h"

#include <gtest/gtest.h>

namespace zelvo::testing {

void RecordingDialogHost::script(int templateId, Script act) { scripts_[templateId].push_back(std::move(act)); }

std::size_t RecordingDialogHost::pendingScripts() const {
  std::size_t count = 0;
  for (const auto& [id, queue] : scripts_) count += queue.size();
  return count;
}

std::vector<int> RecordingDialogHost::shownIds() const {
  std::vector<int> ids;
  for (const Shown& shown : shown_) ids.push_back(shown.templateId);
  return ids;
}

int RecordingDialogHost::runModal(int templateId, HWND parent, const LogicFactory& make) {
  shown_.push_back({templateId, parent, nullptr, ui::kIdCancel, {}, {}});
  const std::size_t index = shown_.size() - 1;
  auto queue = scripts_.find(templateId);
  if (queue == scripts_.end() || queue->second.empty()) {
    ADD_FAILURE() << "dialog " << templateId << " was shown, and no script plays it";
    return ui::kIdCancel;
  }
  const Script act = std::move(queue->second.front());
  queue->second.pop_front();

  RecordingDialogView view;
  shown_[index].window = view.window();
  const std::unique_ptr<ui::DialogLogic> logic = make(view);
  if (!logic) {
    ADD_FAILURE() << "dialog " << templateId << " got no logic";
    return ui::kIdCancel;
  }
  view.attach(*logic);
  logic->initDialog();
  // A dialog may end while it opens; the user then has nothing left to do.
  if (!view.result()) act(view, *logic);
  int result = ui::kIdCancel;
  if (view.result()) {
    result = *view.result();
  } else {
    ADD_FAILURE() << "dialog " << templateId << " was left open by its script";
  }
  // The script may have shown further dialogs: this one's record is found by index.
  Shown& record = shown_[index];
  record.result = result;
  record.messages = view.messages();
  record.failures = view.failures();
  return result;
}

int RecordingDialogHost::messageBox(HWND parent, const std::wstring& text, const std::wstring& caption, UINT style) {
  boxes_.push_back({parent, {text, caption, style}});
  if ((style & ui::mb::buttonMask) == ui::mb::ok) return ui::kIdOk;
  if (answers_.empty()) {
    ADD_FAILURE() << "a message box that nobody answers was shown (style " << style << ")";
    return ui::kIdCancel;
  }
  const int answer = answers_.front();
  answers_.pop_front();
  return answer;
}

}  // namespace zelvo::testing
