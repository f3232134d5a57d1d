#include "win32/ModuleSetup.h"

#include <memory>
#include <mutex>

#include "addin/SpamCommands.h"
#include "addin/UserInterface.h"

namespace zelvo {
namespace win32 {

namespace details {

// The junk commands over the object's host and stores, made anew for each call: they keep
// nothing, and the object's host objects change with connection and shutdown.
class ModuleSpamActions : public addin::SpamActions {
 public:
  bool markAsJunkEmail(addin::UserInterface& addIn, bool junk) override {
    return commands(addIn).markAsJunkEmail(junk);
  }
  bool explorerSpamControlsAllowed(addin::UserInterface& addIn, IDispatch* explorer) override {
    return commands(addIn).determineExplorerSpamControlsStateAllowed(explorer);
  }
  bool explorerSpamControlsState(addin::UserInterface& addIn, IDispatch* explorer, bool& isSpam,
                                 bool& notSpam) override {
    return commands(addIn).determineExplorerSpamControlsStateSimple(explorer, isSpam, notSpam);
  }
  void inspectorSpamControlsState(addin::UserInterface& addIn, IDispatch* ribbonControl, bool& isSpam,
                                  bool& notSpam) override {
    commands(addIn).getSpamControlStateFromButton(ribbonControl, isSpam, notSpam);
  }

 private:
  static addin::SpamCommands commands(addin::UserInterface& addIn) {
    return addin::SpamCommands(addIn.application(), addIn.nameSpace(), addIn.configs());
  }
};

}  // namespace details

void installModuleSetup() {
  static std::once_flag once;
  std::call_once(once, [] {
    addin::setUserInterfaceSetup(
        [](addin::UserInterface& addIn) { addIn.setSpamActions(std::make_shared<details::ModuleSpamActions>()); });
  });
}

}  // namespace win32
}  // namespace zelvo
