// The call-back object the add-in hands to each private store, through which the store
// service asks for address-book changes on threads of its own. It forwards to its owner
// under the lock the owner shares with it, and once detached it answers every call
// without reaching the owner, so it may outlive the add-in's interest in it.
#pragma once

#include "base/CLock.h"
#include "base/ComRef.h"
#include "base/Iui.h"
#include "store/StoreInterfaces.h"

namespace zelvo {
namespace config {

// What the call-back asks of the add-in. Each operation is called with the shared lock
// held; failures should end inside it (anything that escapes is dropped).
class IAbConfigOwner {
 public:
  virtual void addFolderToAddressBook(const SBinary* folderId, ULONG flags) = 0;
  virtual void showContactsInAddressBook() = 0;
  virtual void removeFolderFromAddressBook(const SBinary* folderId, const SBinary* storeId, ULONG flags) = 0;
  // The store of this key is going away.
  virtual void storeClosed(const GUID& storeKey) = 0;

 protected:
  ~IAbConfigOwner() = default;
};

class AbConfigImpl final : public iui_::IUnknownImpl<iui_::Aggreg<IMarshal>, IAbConfig> {
 public:
  // A new object for owner, sharing lock, given out as IAbConfig. Raises E_INVALIDARG for
  // a null owner or out, and any failure of the set-up; nothing is left behind then.
  static void create(IAbConfigOwner* owner, const CLock& lock, IAbConfig** out);

  // Every operation answers S_OK, whether an owner is there or not.
  HRESULT STDMETHODCALLTYPE addFolder(const SBinary* folderId, ULONG flags) override;
  HRESULT STDMETHODCALLTYPE showContacts() override;
  HRESULT STDMETHODCALLTYPE removeFolder(const SBinary* folderId, const SBinary* storeId, ULONG flags) override;
  HRESULT STDMETHODCALLTYPE storeClosed(GUID storeKey) override;
  // Forgets the owner. Waits for a call in flight, which holds the lock; after it returns
  // no call reaches the owner.
  HRESULT STDMETHODCALLTYPE detach() override;

 private:
  explicit AbConfigImpl(const CLock& lock) : lock_(lock) {}
  ~AbConfigImpl() override = default;

  // Aggregates the free-threaded marshaler, so that the service's threads call us without
  // a proxy, then takes the owner.
  void init(IAbConfigOwner* owner);
  IUnknown* aggregateFor(REFIID riid) override;

  template <class Call>
  HRESULT forward(Call&& call);

  CLock lock_;  // shares the owner's record
  ComRef<IUnknown> marshaler_;
  IAbConfigOwner* owner_ = nullptr;  // not a reference; read and written under lock_
};

}  // namespace config
}  // namespace zelvo
