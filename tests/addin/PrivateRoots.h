// Registry roots of a test's own: keys below HKEY_CURRENT_USER that stand for the
// machine's and the user's root, removed when the test ends.
#pragma once

#include <string>

#include "base/Guid.h"
#include "config/RegistryConfig.h"

namespace zelvo {
namespace testing {

class PrivateRoots {
 public:
  PrivateRoots() : base_(L"Software\\Zelvo Tests\\" + Guid::create().toString()) {
    roots_.localMachine = create(base_ + L"\\Machine");
    roots_.currentUser = create(base_ + L"\\User");
    roots_.classesRoot = create(base_ + L"\\Classes");
  }
  PrivateRoots(const PrivateRoots&) = delete;
  PrivateRoots& operator=(const PrivateRoots&) = delete;
  ~PrivateRoots() {
    for (HKEY key : {roots_.localMachine, roots_.currentUser, roots_.classesRoot})
      if (key) RegCloseKey(key);
    RegDeleteTreeW(HKEY_CURRENT_USER, base_.c_str());
  }

  const config::RegistryConfig::Roots& roots() const { return roots_; }

 private:
  static HKEY create(const std::wstring& path) {
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    return key;
  }

  std::wstring base_;
  config::RegistryConfig::Roots roots_{};
};

}  // namespace testing
}  // namespace zelvo
