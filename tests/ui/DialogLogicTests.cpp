// The handler frame: whatever a handler raises ends there, reported to the view, and the
// dialog goes on.
#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <stdexcept>

#include "base/HResultException.h"
#include "testing/RecordingDialogView.h"
#include "ui/DialogLogic.h"

namespace {

using zelvo::testing::RecordingDialogView;
using namespace zelvo::ui;

struct FrameCase {
  const char* name;
  std::function<void()> handler;
  HRESULT code;
  std::wstring textPart;  // a part of the reported text
};

class HandlerFrame : public ::testing::TestWithParam<FrameCase> {};

TEST_P(HandlerFrame, FailureEndsInTheFrameAndIsReported) {
  RecordingDialogView view;
  bool ran = false;
  EXPECT_FALSE(runHandler(view, [&] {
    ran = true;
    GetParam().handler();
  }));
  EXPECT_TRUE(ran);
  ASSERT_EQ(view.failures().size(), 1u);
  EXPECT_EQ(view.failures()[0].code, GetParam().code);
  EXPECT_NE(view.failures()[0].text.find(GetParam().textPart), std::wstring::npos) << view.failures()[0].text;
}

INSTANTIATE_TEST_SUITE_P(
    Raised, HandlerFrame,
    ::testing::Values(
        FrameCase{"HResult", [] { ZEL_HERE.raise(E_ACCESSDENIED, L"no entry here"); }, E_ACCESSDENIED, L"no entry here"},
        FrameCase{"OutOfMemory", [] { throw std::bad_alloc(); }, E_OUTOFMEMORY, L""},
        FrameCase{"StdException", [] { throw std::runtime_error("bad state"); }, E_FAIL, L"bad state"},
        FrameCase{"Foreign", [] { throw 42; }, E_UNEXPECTED, L""}),
    [](const ::testing::TestParamInfo<FrameCase>& info) { return std::string(info.param.name); });

TEST(HandlerFrame, AHandlerThatReturnsReportsNothing) {
  RecordingDialogView view;
  EXPECT_TRUE(runHandler(view, [] {}));
  EXPECT_TRUE(view.failures().empty());
}

// A dialog whose OK fails the first time, as a store that refuses a value would.
class RefusingDialog : public DialogLogic {
 public:
  using DialogLogic::DialogLogic;
  int commands = 0;

 protected:
  void onOk() override {
    if (refusals_++ == 0) ZEL_HERE.raise(E_INVALIDARG);
    DialogLogic::onOk();
  }
  void onCommand(ControlId, int) override { ++commands; }

 private:
  int refusals_ = 0;
};

TEST(DialogLogic, AFailedOkLeavesTheDialogOpenAndTheNextOkEndsIt) {
  RecordingDialogView view;
  RefusingDialog dialog(view);
  dialog.initDialog();
  dialog.command(kIdOk, notify::buttonClicked);
  EXPECT_FALSE(view.result().has_value());
  ASSERT_EQ(view.failures().size(), 1u);
  EXPECT_EQ(view.failures()[0].code, E_INVALIDARG);
  dialog.command(kIdOk, notify::buttonClicked);
  EXPECT_EQ(view.result(), kIdOk);
  EXPECT_EQ(dialog.commands, 0) << "OK is not handed on as a plain command";
}

TEST(DialogLogic, CancelEndsWithCancelAndOtherControlsReachTheDialog) {
  RecordingDialogView view;
  RefusingDialog dialog(view);
  dialog.command(1234, notify::buttonClicked);
  dialog.command(kIdOk, notify::editChange);  // not a click: an id like any other
  EXPECT_EQ(dialog.commands, 2);
  EXPECT_FALSE(view.result().has_value());
  dialog.command(kIdCancel, notify::buttonClicked);
  EXPECT_EQ(view.result(), kIdCancel);
}

}  // namespace
