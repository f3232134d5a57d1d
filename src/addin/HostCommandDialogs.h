// The commands of the add-in that open the rule dialogs: the client's rules command taken
// over (the choice between the server's rules and the client's, then the rules list of the
// store in front), the warning that the client's own rules do not work on our stores, and
// the out-of-office reply of the store in front.
//
// Every dialog goes through a DialogHost, so the commands run the same in the module and
// in tests. The options, delegation, about and help commands have no dialogs yet: they do
// nothing here until their pages come.
#pragma once

#include <functional>
#include <memory>

#include "addin/UserInterface.h"
#include "config/RegistryConfig.h"
#include "sieve/OutOfOfficeRule.h"
#include "ui/DialogHost.h"
#include "ui/OutOfOfficeDialog.h"

namespace zelvo {
namespace config {
class ConfigProperties;
}
namespace addin {

class HostCommandDialogs : public CommandDialogs {
 public:
  // What the out-of-office dialog takes from the machine, asked at each showing.
  using OutOfOfficeSettings = std::function<ui::OutOfOfficeDialog::Settings()>;
  // The window the dialogs open over, asked at each showing; the active window by default.
  using ParentSource = std::function<HWND()>;

  // registry outlives this object. settings defaults to the machine's.
  HostCommandDialogs(std::shared_ptr<ui::DialogHost> host, const config::RegistryConfig& registry,
                     OutOfOfficeSettings settings = {}, ParentSource parent = {});

  int options(UserInterface& addIn, IGlobalConfig* config, HWND parent) override;
  int delegation(UserInterface& addIn, IGlobalConfig* config, HWND parent) override;
  void about(UserInterface& addIn, HWND parent) override;
  void help(UserInterface& addIn) override;
  void outOfOffice(UserInterface& addIn) override;
  void rulesAndAlerts(UserInterface& addIn, bool& cancelDefault) override;
  void createMailRule(UserInterface& addIn, IDispatch* control, bool& cancelDefault) override;

  // The rules command: true when the client's own rules dialog is to run.
  bool commandRulesAndAlerts(UserInterface& addIn);
  // The out-of-office command: whether the reply is on after the dialog.
  bool commandOutOfOffice(UserInterface& addIn);
  // The warning that the client's rules do not work for our stores, unless the user asked
  // not to see it again.
  void warnRulesNotWorking();

 private:
  HWND parent() const;
  // The rules dialog on the store's data object, after its script was read (and repaired
  // when the user wants to); the object is applied when the dialog changed it.
  void runServerRules(IDispatch* nameSpace, config::ConfigProperties& properties, HWND parent);

  std::shared_ptr<ui::DialogHost> host_;
  const config::RegistryConfig& registry_;
  OutOfOfficeSettings settings_;
  ParentSource parent_;
};

}  // namespace addin
}  // namespace zelvo
