// Nested dialogs in tests: each is played by the script given for its template id, in the
// order the dialogs open.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <memory>

#include "testing/RecordingDialogHost.h"

namespace {

using zelvo::testing::RecordingDialogHost;
using zelvo::testing::RecordingDialogView;
using namespace zelvo::ui;

constexpr int kOuter = 5006;
constexpr int kInner = 5021;
constexpr ControlId kEdit = 10014;
constexpr ControlId kOpenInner = 10013;

// A dialog that copies its edit into a shared answer on OK and opens the inner dialog from
// a button.
class Chain : public DialogLogic {
 public:
  Chain(DialogView& view, DialogHost& host, std::wstring& answer) : DialogLogic(view), host_(host), answer_(answer) {}
  int innerResult = -1;

 protected:
  void onInitDialog() override { view().setText(kEdit, L"start"); }
  void onOk() override {
    answer_ = view().getText(kEdit);
    DialogLogic::onOk();
  }
  void onCommand(ControlId id, int) override {
    if (id != kOpenInner) return;
    innerResult =
        host_.runModal(kInner, nullptr, [this](DialogView& v) { return std::make_unique<Chain>(v, host_, answer_); });
  }

 private:
  DialogHost& host_;
  std::wstring& answer_;
};

TEST(RecordingDialogHost, ScriptsPlayNestedDialogsInOrder) {
  RecordingDialogHost host;
  std::wstring answer;
  int inner = -1;
  host.script(kOuter, [&](RecordingDialogView& view, DialogLogic& logic) {
    EXPECT_EQ(view.getText(kEdit), L"start") << "the script runs after initDialog";
    logic.command(kOpenInner, notify::buttonClicked);
    inner = static_cast<Chain&>(logic).innerResult;
    logic.command(kIdCancel, notify::buttonClicked);
  });
  host.script(kInner, [](RecordingDialogView& view, DialogLogic& logic) {
    view.setText(kEdit, L"typed");
    logic.command(kIdOk, notify::buttonClicked);
  });
  const int result =
      host.runModal(kOuter, nullptr, [&](DialogView& v) { return std::make_unique<Chain>(v, host, answer); });
  EXPECT_EQ(result, kIdCancel);
  EXPECT_EQ(inner, kIdOk);
  EXPECT_EQ(answer, L"typed");
  EXPECT_EQ(host.shownIds(), (std::vector<int>{kOuter, kInner}));
  EXPECT_EQ(host.shown()[0].result, kIdCancel) << "the outer record survives the nested one";
  EXPECT_EQ(host.pendingScripts(), 0u);
}

TEST(RecordingDialogHost, AnUnscriptedDialogFailsAndAnswersCancel) {
  RecordingDialogHost host;
  std::wstring answer;
  bool made = false;
  int result = 0;
  EXPECT_NONFATAL_FAILURE(result = host.runModal(kInner, nullptr,
                                                 [&](DialogView& v) {
                                                   made = true;
                                                   return std::make_unique<Chain>(v, host, answer);
                                                 }),
                          "no script plays it");
  EXPECT_EQ(result, kIdCancel);
  EXPECT_FALSE(made);
  EXPECT_EQ(host.shownIds(), std::vector<int>{kInner});
}

TEST(RecordingDialogHost, ADialogLeftOpenFailsTheTest) {
  RecordingDialogHost host;
  std::wstring answer;
  host.script(kOuter, [](RecordingDialogView&, DialogLogic&) {});
  EXPECT_NONFATAL_FAILURE(
      host.runModal(kOuter, nullptr, [&](DialogView& v) { return std::make_unique<Chain>(v, host, answer); }),
      "left open");
}

}  // namespace
