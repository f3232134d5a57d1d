// The message stores of the host's session as the folder picker of the rules walks them: the
// product's stores, each opened with its display name. Foreign stores have no folder list of the
// server and are left out.
#pragma once

#include <vector>

#include "base/ComRef.h"
#include "platform/Mapi.h"
#include "ui/RuleMoveToStruct.h"

namespace AddIn {
namespace Utils {

class SessionMessageStores : public zelvo::ui::MessageStoreSession {
 public:
  // The session is taken from the namespace at each walk, so that the object can be made before the
  // host is asked for anything.
  explicit SessionMessageStores(IDispatch* nameSpace) : nameSpace_(nameSpace) {}

  // Raises what the session, its store table and opening a store raise.
  std::vector<Store> messageStores() override;

 private:
  ComRef<IDispatch> nameSpace_;
};

}  // namespace Utils
}  // namespace AddIn
