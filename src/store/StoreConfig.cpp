#include "store/StoreConfig.h"

#include "base/HResultException.h"

namespace {

template <class Config>
void openConfig(IMAPIProp* object, const IID& iid, Config** out) {
  if (!object || !out || *out) ZEL_HERE.raise(E_INVALIDARG);
  IUnknown* unknown = nullptr;
  ZEL_CHECK(object->OpenProperty(kConfigPropertyTag, &IID_IUnknown, 0, 0, &unknown));
  if (!unknown) ZEL_HERE.raise(E_UNEXPECTED);
  void* config = nullptr;
  const HRESULT hr = unknown->QueryInterface(iid, &config);
  unknown->Release();
  ZEL_CHECK(hr);
  if (!config) ZEL_HERE.raise(E_NOINTERFACE);
  *out = static_cast<Config*>(config);
}

template <class Config>
void allocatorFrom(Config* config, IStoreAllocator** out) {
  if (!config || !out) ZEL_HERE.raise(E_INVALIDARG);
  IUnknown* unknown = nullptr;
  ZEL_CHECK(config->getAllocator(&unknown));
  if (!unknown) ZEL_HERE.raise(E_UNEXPECTED);
  void* allocator = nullptr;
  const HRESULT hr = unknown->QueryInterface(IID_IStoreAllocator, &allocator);
  unknown->Release();
  ZEL_CHECK(hr);
  if (!allocator) ZEL_HERE.raise(E_NOINTERFACE);
  if (*out) (*out)->Release();
  *out = static_cast<IStoreAllocator*>(allocator);
}

}  // namespace

void details::getConfigForObject(IMAPIProp* object, IGlobalConfig** out) {
  openConfig(object, IID_IGlobalConfig, out);
}

void details::getConfigForObject(IMAPIProp* object, IFolderConfig** out) {
  openConfig(object, IID_IFolderConfig, out);
}

void AddIn::Utils::getAllocatorFromConfig(IGlobalConfig* config, IStoreAllocator** out) {
  allocatorFrom(config, out);
}

void AddIn::Utils::getAllocatorFromConfig(IFolderConfig* config, IStoreAllocator** out) {
  allocatorFrom(config, out);
}
