// A whole session of the add-in, with each host call of it failing in turn: one run per
// call. Whatever fails, no exception leaves the add-in, the host gets only the codes it
// may get, the session still ends with everything released, and the store keeps its data.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "store/reference/ReferenceStore.h"
#include "tests/addin/UserInterfaceSupport.h"

namespace {

using namespace lifecycle_test;
using OutlookStandIn::StandIn;
using zelvo::addin::UserInterface;

constexpr HRESULT kInjected = static_cast<HRESULT>(0x8004DEAD);

VARIANT borrowed(IDispatch* object) {
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_DISPATCH;
  v.pdispVal = object;
  return v;
}

struct Outcome {
  std::vector<HRESULT> results;
  std::vector<std::wstring> calls;
  bool released = false;
  bool storeKept = false;
  bool callBackWithdrawn = false;
};

class FailingHost : public ::testing::Test {
 protected:
  // Connects at start-up, loads the ribbon, asks for a button's state, clicks Options, and
  // shuts down as the host does, both ways. Before the session the failure is queued:
  // member fails at its occurrence-th call (from 1), or nothing fails for occurrence 0.
  Outcome session(const std::wstring& member, size_t occurrence) {
    log_->clear();
    StandIn host(OutlookStandIn::parseProfile("version 16.0.4266.1001\n" + privateStore(1, true) + foreignStore(9)));
    const ReferenceStore::Mailbox before = host.store(0).mailbox();
    host.openExplorer(host.folder(0, L"Inbox").get());
    VARIANT explorer;
    VariantInit(&explorer);
    EXPECT_EQ(invokeByName(host.application().get(), L"ActiveExplorer", {}, &explorer), S_OK);
    const ComRef<IDispatch> window = ComRef<IDispatch>::adopt(explorer.pdispVal);
    const ComRef<IDispatch> comAddIn = host.comAddIn(L"DravAddIn.UserInterface", L"");
    const ComRef<IDispatch> application = host.application();
    const ComRef<IDispatch> ribbon = host.ribbonUI();
    const ComRef<IDispatch> options = host.ribbonControl(L"btnOptions", L"", window.get());
    ComRef<UserInterface> ui = UserInterface::create(registry_.config());
    ui->setHostSteps(std::make_shared<RecordingSteps>(log_));
    ui->setCommandDialogs(std::make_shared<RecordingDialogs>(log_));
    ui->setSpamActions(std::make_shared<ChosenSpam>(log_));
    ui->setCommandLineSource([] { return std::wstring(L"OUTLOOK.EXE"); });
    const ComRef<IDispatch> callbacks = ui.as<IDispatch>(IID_IDispatch);
    host.clearCalls();
    if (occurrence > 0) {
      for (size_t i = 1; i < occurrence; ++i) host.failNext(member, S_OK);
      host.failNext(member, kInjected);
    }

    Outcome outcome;
    Variant ignored;
    outcome.results.push_back(ui->OnConnection(application.get(), 1, comAddIn.get(), nullptr));
    outcome.results.push_back(ui->OnStartupComplete(nullptr));
    outcome.results.push_back(
        invokeByName(callbacks.get(), L"explorerOnLoad", {borrowed(ribbon.get())}, ignored.put()));
    outcome.results.push_back(
        invokeByName(callbacks.get(), L"explorerOnGetButtonEnabled", {borrowed(options.get())}, ignored.put()));
    outcome.results.push_back(
        invokeByName(callbacks.get(), L"explorerOnButtonAction", {borrowed(options.get())}, ignored.put()));
    outcome.results.push_back(ui->OnBeginShutdown(nullptr));
    outcome.results.push_back(ui->OnDisconnection(1, nullptr));

    outcome.calls = host.calls();
    outcome.released = !ui->nameSpace() && !ui->application() && !ui->applicationSink().advised() &&
                       !ui->namespaceSink().advised() && !ui->explorersSink().advised() &&
                       !ui->inspectorsSink().advised() && !ui->abConfigAttached();
    outcome.storeKept = host.store(0).mailbox() == before;
    outcome.callBackWithdrawn = !host.store(0).abConfig();
    return outcome;
  }

  std::shared_ptr<Log> log_ = std::make_shared<Log>();
  ScopedRegistry registry_;
  AnsweringMessageBox box_{log_};
};

TEST_F(FailingHost, EveryHostCallOfASessionMayFailWithoutHarm) {
  const Outcome clean = session(L"", 0);
  ASSERT_EQ(clean.results, (std::vector<HRESULT>{S_FALSE, S_OK, S_OK, S_OK, S_OK, S_OK, S_OK}));
  ASSERT_TRUE(clean.released && clean.storeKept && clean.callBackWithdrawn);
  ASSERT_GT(clean.calls.size(), 20u);
  RecordProperty("hostCalls", static_cast<int>(clean.calls.size()));

  std::map<std::wstring, size_t> seen;
  std::set<std::wstring> failedSomewhere;
  for (const std::wstring& call : clean.calls) {
    const std::wstring member = call.substr(call.find(L'.') + 1);
    const size_t occurrence = ++seen[member];
    SCOPED_TRACE(zelvo::testing::utf8(call) + " #" + std::to_string(occurrence));
    const Outcome run = session(member, occurrence);
    for (HRESULT result : run.results)
      EXPECT_TRUE(result == S_OK || result == S_FALSE || result == kInjected) << std::hex << result;
    const bool reported = std::count(run.results.begin(), run.results.end(), kInjected) > 0;
    if (reported) failedSomewhere.insert(call);
    EXPECT_TRUE(run.released) << "the session ends with nothing held";
    EXPECT_TRUE(run.storeKept) << "the store lost nothing";
    EXPECT_TRUE(run.callBackWithdrawn) << "no store keeps a call-back into a gone add-in";
  }
  // Failures of the first start-up steps and of the callbacks' own reads reach the host.
  EXPECT_TRUE(failedSomewhere.count(L"Application.FindConnectionPoint"));
  EXPECT_TRUE(failedSomewhere.count(L"IRibbonControl.Id"));
  // A profile that can't be read is no error the host sees.
  EXPECT_FALSE(failedSomewhere.count(L"Application.GetNamespace"));
  EXPECT_FALSE(failedSomewhere.count(L"IMAPISession.GetMsgStoresTable"));
}

}  // namespace
