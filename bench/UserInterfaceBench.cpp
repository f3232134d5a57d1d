// The host times an add-in's start-up and its handlers and turns slow ones off: start-up
// with many stores of ours, and the state of a ribbon button over a large selection, both
// against the host stand-in and reference stores.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "addin/UserInterface.h"
#include "base/LateBinding.h"
#include "platform/SettingsStore.h"
#include "store/reference/ReferenceStore.h"
#include "testing/outlook/StandIn.h"

namespace {

using namespace zelvo;

// The user's settings in memory: the bench never reads or writes the machine's.
struct Settings {
  Settings() : previous(platform::setSettingsBackend(std::make_shared<platform::MemorySettings>())) {}
  ~Settings() { platform::setSettingsBackend(previous); }
  std::shared_ptr<platform::SettingsBackend> previous;
};

std::string hexOf(const std::string& bytes) {
  static const char digits[] = "0123456789ABCDEF";
  std::string text;
  for (unsigned char b : bytes) {
    text.push_back(digits[b >> 4]);
    text.push_back(digits[b & 15]);
  }
  return text;
}

std::string guidText(unsigned group, unsigned n) {
  char text[40];
  std::snprintf(text, sizeof text, "{%02X000000-0000-0000-0000-%012X}", group, n);
  return text;
}

// An id of store n of the product: flags, provider, type, the store's key.
std::string entryId(unsigned store, unsigned type, unsigned object) {
  GUID provider{0x0A000000u, 0, 0, {0, 0, 0, 0, 0, 0, 0, static_cast<unsigned char>(store)}};
  GUID key{
      0x0B000000u, 0, 0, {0, 0, 0, 0, 0, 0, static_cast<unsigned char>(store >> 8), static_cast<unsigned char>(store)}};
  if (object) key.Data2 = static_cast<unsigned short>(object);
  std::string bytes(4, '\0');
  bytes.append(reinterpret_cast<const char*>(&provider), 16);
  bytes.push_back(static_cast<char>(type));
  bytes.append(3, '\0');
  bytes.append(reinterpret_cast<const char*>(&key), 16);
  return bytes;
}

// stores accounts of the product, the first the default store, each with its Inbox and Outbox.
OutlookStandIn::Profile profileOf(unsigned stores) {
  std::string text = "version 16.0.4266.1001\n";
  for (unsigned n = 1; n <= stores; ++n) {
    text += "store private name=Account" + std::to_string(n) + " service=" + guidText(0x0A, n) +
            " key=" + guidText(0x0B, n) + (n == 1 ? " default" : "") + "\n";
    text += "folder Inbox " + hexOf(entryId(n, 1, 0)) + (n == 1 ? " default=6" : "") + "\n";
    text += "folder Outbox " + hexOf(entryId(n, 1, 1)) + (n == 1 ? " default=4" : "") + "\n";
  }
  return OutlookStandIn::parseProfile(text);
}

// OnConnection at the host's start to the end of OnStartupComplete; shutdown is not timed.
void BM_StartUp(benchmark::State& state) {
  Settings settings;
  OutlookStandIn::StandIn host(profileOf(static_cast<unsigned>(state.range(0))));
  host.openExplorer(host.folder(0, L"Inbox").get());
  const ComRef<IDispatch> application = host.application();
  const ComRef<IDispatch> comAddIn = host.comAddIn(L"DravAddIn.UserInterface", L"");
  for (auto _ : state) {
    ComRef<addin::UserInterface> ui = addin::UserInterface::create();
    ui->setCommandLineSource([] { return std::wstring(L"OUTLOOK.EXE"); });
    const auto begin = std::chrono::steady_clock::now();
    const HRESULT connected = ui->OnConnection(application.get(), addin::kConnectStartup, comAddIn.get(), nullptr);
    const HRESULT completed = ui->OnStartupComplete(nullptr);
    const auto end = std::chrono::steady_clock::now();
    if (connected != S_FALSE || completed != S_OK || !ui->started()) state.SkipWithError("the add-in did not start");
    state.SetIterationTime(std::chrono::duration<double>(end - begin).count());
    ui->OnBeginShutdown(nullptr);
    ui->OnDisconnection(1, nullptr);
    host.clearCalls();
  }
}
BENCHMARK(BM_StartUp)->Arg(20)->UseManualTime()->Unit(benchmark::kMicrosecond);

// The host asks getEnabled of the junk button after each selection change.
void BM_SpamButtonEnabled(benchmark::State& state) {
  Settings settings;
  OutlookStandIn::StandIn host(profileOf(1));
  ReferenceStore::Mailbox mailbox = host.store(0).mailbox();
  mailbox.findFolder(L"Inbox")->folderFlags = 1;
  host.store(0).setMailbox(mailbox);
  host.openExplorer(host.folder(0, L"Inbox").get());
  std::string select = "select";
  for (unsigned i = 1; i <= static_cast<unsigned>(state.range(0)); ++i) select += " " + hexOf(entryId(1, 5, i));
  host.play(OutlookStandIn::parseActions(select + "\n"));

  const ComRef<addin::UserInterface> ui = addin::UserInterface::create();
  ui->setCommandLineSource([] { return std::wstring(L"OUTLOOK.EXE"); });
  const ComRef<IDispatch> comAddIn = host.comAddIn(L"DravAddIn.UserInterface", L"");
  ui->OnConnection(host.application().get(), addin::kConnectAfterStartup, comAddIn.get(), nullptr);
  const ComRef<IDispatch> explorer = callMethod(host.application().get(), L"ActiveExplorer").toDispatch();
  const ComRef<IDispatch> control = host.ribbonControl(L"btnIsSpam", L"", explorer.get());
  const ComRef<IDispatch> callbacks = ui.as<IDispatch>(IID_IDispatch);
  std::wstring name = L"explorerOnGetButtonEnabled";
  LPOLESTR names[] = {&name[0]};
  DISPID id = 0;
  callbacks->GetIDsOfNames(IID_NULL, names, 1, 0, &id);
  VARIANT argument;
  VariantInit(&argument);
  argument.vt = VT_DISPATCH;
  argument.pdispVal = control.get();
  DISPPARAMS params = {&argument, nullptr, 1, 0};
  for (auto _ : state) {
    Variant enabled;
    const HRESULT hr = callbacks->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &params, enabled.put(), nullptr, nullptr);
    if (hr != S_OK || !enabled.toBool()) state.SkipWithError("the button is not enabled");
    host.clearCalls();
  }
  ui->OnBeginShutdown(nullptr);
  ui->OnDisconnection(1, nullptr);
}
BENCHMARK(BM_SpamButtonEnabled)->Arg(100)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
