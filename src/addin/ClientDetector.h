// The name of the host client by its major version.
#pragma once

#include <string>

namespace zelvo {
namespace addin {

class ClientDetector {
 public:
  // "Outlook 2000" for 9 up to "New Outlook Version" for 17; "Unknown" for any other.
  static std::wstring getClientName(unsigned majorVersion);
};

}  // namespace addin
}  // namespace zelvo
