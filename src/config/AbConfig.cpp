#include "config/AbConfig.h"

#include "base/HResultException.h"

namespace zelvo {
namespace config {

void AbConfigImpl::create(IAbConfigOwner* owner, const CLock& lock, IAbConfig** out) {
  if (!out) ZEL_HERE.raise(E_INVALIDARG);
  *out = nullptr;
  ComRef<AbConfigImpl> object = ComRef<AbConfigImpl>::adopt(new AbConfigImpl(lock));
  object->init(owner);
  ZEL_CHECK(object->QueryInterface(IID_IAbConfig, reinterpret_cast<void**>(out)));
}

void AbConfigImpl::init(IAbConfigOwner* owner) {
  if (!owner) ZEL_HERE.raise(E_INVALIDARG);
  ComRef<IUnknown> self;
  ZEL_CHECK(QueryInterface(IID_IUnknown, self.putVoid()));
  ZEL_CHECK(CoCreateFreeThreadedMarshaler(self.get(), marshaler_.put()));
  CLockGuard guard(&lock_);
  owner_ = owner;
}

IUnknown* AbConfigImpl::aggregateFor(REFIID riid) {
  return IsEqualIID(riid, IID_IMarshal) ? marshaler_.get() : nullptr;
}

template <class Call>
HRESULT AbConfigImpl::forward(Call&& call) {
  // A copy of the lock: the owner may let go of this object inside the call.
  CLock lock(lock_);
  CLockGuard guard(&lock);
  if (IAbConfigOwner* owner = owner_) {
    try {
      call(*owner);
    } catch (...) {
      // The service has no use for our failures, and none may cross to it.
    }
  }
  return S_OK;
}

HRESULT AbConfigImpl::addFolder(const SBinary* folderId, ULONG flags) {
  return forward([&](IAbConfigOwner& owner) { owner.addFolderToAddressBook(folderId, flags); });
}

HRESULT AbConfigImpl::showContacts() {
  return forward([](IAbConfigOwner& owner) { owner.showContactsInAddressBook(); });
}

HRESULT AbConfigImpl::removeFolder(const SBinary* folderId, const SBinary* storeId, ULONG flags) {
  return forward([&](IAbConfigOwner& owner) { owner.removeFolderFromAddressBook(folderId, storeId, flags); });
}

HRESULT AbConfigImpl::storeClosed(GUID storeKey) {
  return forward([&](IAbConfigOwner& owner) { owner.storeClosed(storeKey); });
}

HRESULT AbConfigImpl::detach() {
  CLock lock(lock_);
  CLockGuard guard(&lock);
  owner_ = nullptr;
  return S_OK;
}

}  // namespace config
}  // namespace zelvo
