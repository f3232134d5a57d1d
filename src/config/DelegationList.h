// The delegates of a mailbox, editable in memory until applied, and the mailboxes its
// user is a delegate of, read-only. A base of the configuration properties object, which
// supplies IUnknown and learns of each change through onChanged.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "store/AddInInterfaces.h"
#include "store/MapiAlloc.h"
#include "store/StoreInterfaces.h"
#include "base/ComRef.h"

namespace zelvo {
namespace config {

// addDelegate: the address is in the list already.
constexpr HRESULT kDelegateExists = static_cast<HRESULT>(0x00041008u);

class DelegationListImpl : public AddIn::IDelegationList {
 public:
  struct Entry {
    ULONG id = 0;
    std::wstring address;  // the key
    std::wstring displayName;
    bool grantFlag = false;
  };

  DelegationListImpl(const DelegationListImpl&) = delete;
  DelegationListImpl& operator=(const DelegationListImpl&) = delete;

  // A new non-null config replaces the held one; null keeps it. Without any config
  // nothing happens. Reads both lists; a store failure is raised.
  void loadDelegationList(IGlobalConfig* config);
  // Writes the delegates when they were changed; a failure is raised and the list stays
  // modified. The delegators are never written.
  void saveDelegationList();
  bool isDelegationModified() const { return modified_; }

  // Kind 0 is the delegates, any other kind the delegators.
  HRESULT STDMETHODCALLTYPE getCount(ULONG kind, ULONG* count) override;
  HRESULT STDMETHODCALLTYPE getFirst(ULONG kind, ULONG* id) override;
  HRESULT STDMETHODCALLTYPE getNext(ULONG kind, ULONG* id) override;
  HRESULT STDMETHODCALLTYPE getDelegate(ULONG kind, ULONG id, std::wstring& address, std::wstring& displayName,
                                        bool& grant) override;
  // The id comes from the store at once; the entry reaches the store only when saved.
  HRESULT STDMETHODCALLTYPE addDelegate(const std::wstring& address, const std::wstring& displayName, bool grant,
                                        ULONG* id) override;
  HRESULT STDMETHODCALLTYPE removeDelegate(ULONG id) override;
  HRESULT STDMETHODCALLTYPE toggleDelegate(ULONG id, bool* grant) override;

 protected:
  DelegationListImpl() = default;
  virtual ~DelegationListImpl() = default;

  // After each change of the delegates.
  virtual void onChanged() = 0;

 private:
  void loadDelegationListInner(IGlobalConfig* config, const MapiAlloc& allocators, ULONG kind);
  std::vector<Entry>& listOf(ULONG kind) { return kind == 0 ? delegates_ : delegators_; }
  std::optional<ULONG>& iteratorOf(ULONG kind) { return iterators_[kind == 0 ? 0 : 1]; }
  Entry* findDelegate(ULONG id);

  ComRef<IGlobalConfig> config_;
  bool modified_ = false;
  std::optional<ULONG> iterators_[2];  // the id last given out, per list
  std::vector<Entry> delegates_;
  std::vector<Entry> delegators_;
};

}  // namespace config
}  // namespace zelvo
