// zelvo-screenshots MAILBOX OUTPUT [NAME...]: opens each dialog of the table on the mailbox
// folder, lets it paint, and writes what the screen shows of it to OUTPUT/NAME.png. Runs
// under Wine's X11 driver on a virtual X server; see cmake/screenshots-run.sh.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "base/ComRef.h"
#include "base/HResultException.h"
#include "base/Iui.h"
#include "store/reference/ReferenceStore.h"
#include "testing/screenshots/ScreenCapture.h"
#include "testing/screenshots/ScreenshotDialogs.h"
#include "win32/Win32DialogHost.h"

namespace {

using namespace zelvo;

// The client's session as the data object wants one; the dialogs here ask it nothing.
class NoSession : public iui_::IUnknownImpl<IDispatch> {
 public:
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return DISP_E_UNKNOWNNAME;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
    return DISP_E_MEMBERNOTFOUND;
  }
};

// The session's message stores as the folder picker walks them: the sample mailbox alone,
// under the name the client gives a user's own mailbox.
class SampleStores : public ui::MessageStoreSession {
 public:
  explicit SampleStores(ReferenceStore::Store& store) : store_(store) {}
  std::vector<Store> messageStores() override { return {{store_.mapiStore(), L"Mailbox - Jane Doe"}}; }

 private:
  ReferenceStore::Store& store_;
};

bool wanted(const char* name, const std::vector<std::string>& names) {
  if (names.empty()) return true;
  for (const std::string& n : names)
    if (n == name) return true;
  return false;
}

int run(const std::string& mailbox, const std::string& output, const std::vector<std::string>& names) {
  const std::unique_ptr<ReferenceStore::Store> store = ReferenceStore::Store::load(mailbox);
  const ComRef<IGlobalConfig> globalConfig = store->globalConfig();
  const auto config = ComRef<config::ConfigProperties>::adopt(new config::ConfigProperties());
  const auto session = ComRef<NoSession>::adopt(new NoSession);
  ZEL_CHECK(config->Initialize(session.get(), globalConfig.get(),
                               config::ConfigProperties::kLoadRules | config::ConfigProperties::kLoadSender |
                                   config::ConfigProperties::kLoadDelegates));

  win32::Win32DialogHost host;
  SampleStores stores(*store);
  testing::ScreenshotContext context{*config.get(), *config.get(), globalConfig.get(), stores, host};
  int failures = 0;
  for (const testing::ScreenshotDialog& dialog : testing::screenshotDialogs()) {
    if (!wanted(dialog.name, names)) continue;
    const std::string path = output + "\\" + dialog.name + ".png";
    bool written = false;
    host.setFailureSink([&](HRESULT code, const std::wstring&) {
      std::fprintf(stderr, "%s: a handler failed with 0x%08lX\n", dialog.name, static_cast<unsigned long>(code));
    });
    host.onShown([&](HWND window, win32::Win32DialogView& view, ui::DialogLogic&) {
      // Arranged as a user would leave it, on top, painted, and then taken from the screen.
      if (dialog.arrange) dialog.arrange(window);
      SetForegroundWindow(window);
      RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
      testing::pumpMessages(400);
      written = testing::writePng(testing::captureWindow(window), path);
      view.endDialog(ui::kIdCancel);
    });
    host.runModal(dialog.templateId, nullptr, [&](ui::DialogView& view) { return dialog.make(view, context); });
    std::printf("%s %s\n", written ? "wrote" : "FAILED", path.c_str());
    if (!written) ++failures;
  }
  return failures ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: zelvo-screenshots MAILBOX OUTPUT [NAME...]\n");
    return 2;
  }
  std::vector<std::string> names(argv + 3, argv + argc);
  try {
    return run(argv[1], argv[2], names);
  } catch (const HResultException& e) {
    std::fprintf(stderr, "zelvo-screenshots: 0x%08lX\n", static_cast<unsigned long>(e.getHResult()));
    return 1;
  }
}
