// The dialogs that the screenshot program opens on the sample mailbox, one row each.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "config/ConfigProperties.h"
#include "store/AddInInterfaces.h"
#include "ui/DialogHost.h"

namespace zelvo::testing {

// What a dialog can be opened on: the sample mailbox's data object with its rules, sender
// settings and delegates loaded, and the host that runs nested dialogs.
struct ScreenshotContext {
  config::ConfigProperties& config;
  AddIn::IMailServerOptions& options;
  IGlobalConfig* globalConfig;
  ui::DialogHost& host;
};

struct ScreenshotDialog {
  const char* name;  // the dialog's class name: the picture is NAME.png
  int templateId;
  std::function<std::unique_ptr<ui::DialogLogic>(ui::DialogView&, ScreenshotContext&)> make;
};

const std::vector<ScreenshotDialog>& screenshotDialogs();

}  // namespace zelvo::testing
