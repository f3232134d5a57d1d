// The version block of a module: its translations and named strings.
#pragma once

#include <string>
#include <vector>

#include "platform/Win32.h"

class ModuleVersion {
 public:
  struct Translation {
    WORD language;
    WORD codePage;
  };

  // Null stands for the program itself.
  explicit ModuleVersion(HMODULE module = nullptr) : module_(module) {}

  std::wstring getModulePath() const;
  // Reads the block once; later calls do nothing. Failures raise and leave it empty.
  void initialize();
  std::vector<Translation> getTranslations();
  // The string under "\StringFileInfo\<language><code page>\<key>".
  std::wstring getFileInfoString(const std::wstring& key, const Translation& translation);

 private:
  HMODULE module_;
  std::vector<BYTE> block_;
};
