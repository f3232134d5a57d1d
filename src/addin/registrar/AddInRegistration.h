// The add-in's own registration: the values its script (resource REGISTRY 5000) is run
// with, and the identities the script writes.
#pragma once

#include <string>

#include "addin/registrar/RegistrarTokenizer.h"

namespace zelvo {
namespace addin {

constexpr int kRegistrationScriptResource = 5000;
constexpr wchar_t kAddInClassId[] = L"{BEE5E564-0C5E-4139-B60E-F92077A29CD6}";
constexpr wchar_t kAddInClassName[] = L"Zelvo Mail Bridge UI";
constexpr wchar_t kAddInProgId[] = L"DravAddIn.UserInterface.1";
constexpr wchar_t kAddInTypeLibraryId[] = L"{39DC140D-83E8-49CD-8885-134731216CAD}";

// %APPID% (empty), %APPCLASSIID%, %APPCLASSNAME% and %MODULE%. The module path is put in
// quotes when the module is not the process image, which is always so for the add-in;
// the host's class loader takes the quotes off.
RegistrarReplacements addInRegistrarReplacements(const std::wstring& modulePath, bool moduleIsProcessImage);

}  // namespace addin
}  // namespace zelvo
