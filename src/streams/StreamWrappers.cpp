#include "streams/StreamWrappers.h"

HRESULT wrapStream(IStream* stream, DWORD flag, IStream** out) {
  try {
    if (!stream) ZEL_HERE.raise(E_INVALIDARG);
    ComRef<IStream> held(stream);
    ComRef<IStreamManager> manager;
    if (held->QueryInterface(IID_IStreamManager, manager.putVoid()) == S_OK)
      return DravDataStreamWrapper::createWrapper(held.get(), flag, out);
    return DravGenericStreamWrapper::createWrapper(held.get(), flag, out);
  } catch (const std::exception&) {
    return E_FAIL;
  }
}
