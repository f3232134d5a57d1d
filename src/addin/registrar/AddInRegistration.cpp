#include "addin/registrar/AddInRegistration.h"

namespace zelvo {
namespace addin {

RegistrarReplacements addInRegistrarReplacements(const std::wstring& modulePath, bool moduleIsProcessImage) {
  return {
      {L"APPID", L""},
      {L"APPCLASSIID", kAddInClassId},
      {L"APPCLASSNAME", kAddInClassName},
      {L"MODULE", moduleIsProcessImage ? modulePath : L"\"" + modulePath + L"\""},
  };
}

}  // namespace addin
}  // namespace zelvo
