#include "store/StoreConfig.h"

#include "base/ComRef.h"
#include "base/HResultException.h"

namespace {

template <class Config>
void openConfig(IMAPIProp* object, const IID& iid, Config** out) {
  if (!object || !out || *out) ZEL_HERE.raise(E_INVALIDARG);
  ComRef<IUnknown> unknown;
  ZEL_CHECK(object->OpenProperty(kConfigPropertyTag, &IID_IUnknown, 0, 0, unknown.put()));
  if (!unknown) ZEL_HERE.raise(E_UNEXPECTED);
  *out = unknown.as<Config>(iid).detach();
}

template <class Config>
void allocatorFrom(Config* config, IStoreAllocator** out) {
  if (!config || !out) ZEL_HERE.raise(E_INVALIDARG);
  ComRef<IUnknown> unknown;
  ZEL_CHECK(config->getAllocator(unknown.put()));
  if (!unknown) ZEL_HERE.raise(E_UNEXPECTED);
  ComRef<IStoreAllocator> allocator = unknown.as<IStoreAllocator>(IID_IStoreAllocator);
  // What the out held before is given up only once the new one is there.
  const ComRef<IStoreAllocator> previous = ComRef<IStoreAllocator>::adopt(*out);
  *out = allocator.detach();
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
