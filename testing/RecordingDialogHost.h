// A DialogHost for tests: each nested dialog is played by a script that the test gave for
// its template id, on a recording view. The host keeps the order of the dialogs shown. A
// dialog that no script waits for fails the test and answers kIdCancel.
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
    HWND parent = nullptr;
    int result = ui::kIdCancel;
    std::vector<RecordingDialogView::Message> messages;  // the message boxes it showed
    std::vector<RecordingDialogView::Failure> failures;  // its handlers' dropped failures
  };

  // The next showing of templateId runs script; scripts of one id run in the order given.
  void script(int templateId, Script act);
  // The scripts not yet used.
  std::size_t pendingScripts() const;
  const std::vector<Shown>& shown() const { return shown_; }
  std::vector<int> shownIds() const;

  int runModal(int templateId, HWND parent, const LogicFactory& make) override;

 private:
  std::map<int, std::deque<Script>> scripts_;
  std::vector<Shown> shown_;
};

}  // namespace zelvo::testing
