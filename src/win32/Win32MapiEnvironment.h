// The machine as the MAPI search sees it: the registry, files, the loader and the installer.
#pragma once

#include "addin/MapiLoader.h"

namespace zelvo {
namespace win32 {

class Win32MapiEnvironment : public addin::MapiEnvironment {
 public:
  bool readString(Root root, const std::wstring& key, const std::wstring& name, std::wstring& value) override;
  bool readNumber(Root root, const std::wstring& key, const std::wstring& name, unsigned long& value) override;
  bool readKeyAndNames(Root root, const std::wstring& key, const std::wstring& name, std::wstring& subKey,
                       std::vector<std::wstring>& valueNames) override;
  bool fileExists(const std::wstring& path) override;
  void* loadLibrary(const std::wstring& path) override;
  void freeLibrary(void* module) override;
  void* getProcAddress(void* module, const char* name) override;
  std::wstring systemDirectory() override;
  unsigned long userDefaultLcid() override;
  unsigned long systemDefaultLcid() override;
  bool callGetComponentPath(void* function, const std::string& component, const std::string& qualifier,
                            std::wstring& path) override;
};

// The loader of the process, over the real machine; the MAPI stubs go through it.
addin::MapiLoader& processMapiLoader();

}  // namespace win32
}  // namespace zelvo
