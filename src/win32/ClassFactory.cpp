#include "win32/ClassFactory.h"

#include "addin/AddInModule.h"
#include "base/ComBoundary.h"

namespace zelvo {
namespace win32 {

ComRef<IClassFactory> ClassFactory::create(CreateObjectFunction createObject) {
  return ComRef<IClassFactory>::adopt(new ClassFactory(createObject));
}

ClassFactory::ClassFactory(CreateObjectFunction createObject) : createObject_(createObject) {
  addin::AddInModule::instance().lock();
}

ClassFactory::~ClassFactory() { addin::AddInModule::instance().unlock(); }

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID riid, void** object) {
  return comBoundary([&]() -> HRESULT {
    if (!object) return E_POINTER;
    *object = nullptr;
    // The add-in's objects can't be aggregated.
    if (outer) return CLASS_E_NOAGGREGATION;
    return createObject_(riid, object);
  });
}

HRESULT ClassFactory::LockServer(BOOL lock) {
  if (lock) {
    addin::AddInModule::instance().lock();
  } else {
    addin::AddInModule::instance().unlock();
  }
  return S_OK;
}

}  // namespace win32
}  // namespace zelvo
