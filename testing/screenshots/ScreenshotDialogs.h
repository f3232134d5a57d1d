// The dialogs that the screenshot program opens on the sample mailbox, one row each.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "config/ConfigProperties.h"
#include "store/AddInInterfaces.h"
#include "store/reference/ReferenceStore.h"
#include "ui/DialogHost.h"
#include "ui/RuleMoveToStruct.h"

namespace zelvo::testing {

// What a dialog can be opened on: the sample mailbox's data object with its rules, sender
// settings and delegates loaded, its store seen as the session's one message store, and the
// host that runs nested dialogs.
struct ScreenshotContext {
  config::ConfigProperties& config;
  AddIn::IMailServerOptions& options;
  IGlobalConfig* globalConfig;
  ui::MessageStoreSession& stores;
  ui::DialogHost& host;
};

struct ScreenshotDialog {
  const char* name;  // the dialog's class name, with the state when it has several: NAME.png
  int templateId;
  std::function<std::unique_ptr<ui::DialogLogic>(ui::DialogView&, ScreenshotContext&)> make;
  // What a user would have done before the picture is taken (unfold a panel, open a tree);
  // may be empty.
  std::function<void(HWND)> arrange;
};

const std::vector<ScreenshotDialog>& screenshotDialogs();

}  // namespace zelvo::testing
