#include "win32/ModuleSetup.h"

#include <memory>
#include <mutex>

#include "addin/HostCommandDialogs.h"
#include "addin/UserInterface.h"
#include "config/RegistryConfig.h"
#include "win32/Win32DialogHost.h"

namespace zelvo {
namespace win32 {

void installModuleSetup() {
  static std::once_flag once;
  std::call_once(once, [] {
    // The junk commands are the object's own; the dialogs of the commands come from the
    // module's templates.
    addin::setUserInterfaceSetup([](addin::UserInterface& addIn) {
      addIn.setCommandDialogs(std::make_shared<addin::HostCommandDialogs>(std::make_shared<Win32DialogHost>(),
                                                                          config::RegistryConfig::instance()));
    });
  });
}

}  // namespace win32
}  // namespace zelvo
