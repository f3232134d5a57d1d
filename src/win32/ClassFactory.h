// The module's class factory: one per request of DllGetClassObject, creating its objects
// through a creation function. It holds the module while it lives and while the host
// locks the server, so that a factory never outlives the code behind it.
#pragma once

#include "base/ComRef.h"
#include "base/Iui.h"
#include "platform/Win32.h"

ZEL_IUI_INTERFACE(IClassFactory, IID_IClassFactory)

namespace zelvo {
namespace win32 {

// Makes a new object and answers riid on it, as CoCreateInstance expects.
using CreateObjectFunction = HRESULT (*)(REFIID riid, void** object) noexcept;

class ClassFactory : public iui_::IUnknownImpl<IClassFactory> {
 public:
  static ComRef<IClassFactory> create(CreateObjectFunction createObject);

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** object) override;
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

 private:
  explicit ClassFactory(CreateObjectFunction createObject);
  ~ClassFactory() override;

  CreateObjectFunction createObject_;
};

}  // namespace win32
}  // namespace zelvo
