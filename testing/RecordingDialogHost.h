// A DialogHost for tests: each nested dialog is played by a script that the test gave for
// its template id, on a recording view. The host keeps the order of the dialogs shown, with
// the owner each was given and the made-up window of its view, and the message boxes shown
// through it. A dialog that no script waits for fails the test and answers kIdCancel.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "testing/RecordingDialogView.h"
#include "ui/DialogHost.h"

namespace zelvo::testing {

class RecordingDialogHost : public ui::DialogHost {
 public:
  // Acts as the user of a dialog that has just opened (after initDialog). The dialog's
  // result is what its logic ended it with.
  using Script = std::function<void(RecordingDialogView& view, ui::DialogLogic& logic)>;

  struct Shown {
    int templateId = 0;
    HWND parent = nullptr;  // the owner it was given
    HWND window = nullptr;  // its own, the owner of what it opens
    int result = ui::kIdCancel;
    std::vector<RecordingDialogView::Message> messages;  // the message boxes it showed
    std::vector<RecordingDialogView::Failure> failures;  // its handlers' dropped failures
  };

  struct Box {
    HWND parent = nullptr;
    RecordingDialogView::Message message;
  };

  // The next showing of templateId runs script; scripts of one id run in the order given.
  void script(int templateId, Script act);
  // The scripts not yet used.
  std::size_t pendingScripts() const;
  const std::vector<Shown>& shown() const { return shown_; }
  std::vector<int> shownIds() const;
  // The answer of the next message box through the host that is not a plain OK box; as with
  // the view, such a box without one fails the test and answers Cancel.
  void queueAnswer(int buttonId) { answers_.push_back(buttonId); }
  const std::vector<Box>& boxes() const { return boxes_; }

  int runModal(int templateId, HWND parent, const LogicFactory& make) override;
  int messageBox(HWND parent, const std::wstring& text, const std::wstring& caption, UINT style) override;

 private:
  std::map<int, std::deque<Script>> scripts_;
  std::vector<Shown> shown_;
  std::deque<int> answers_;
  std::vector<Box> boxes_;
};

}  // namespace zelvo::testing
