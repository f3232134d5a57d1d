#include "config/DelegationList.h"

#include <algorithm>

#include "base/HResultException.h"
#include "base/SizeCast.h"
#include "config/StoreAllocators.h"

namespace zelvo {
namespace config {
namespace {

LPWSTR copyField(const std::wstring& text, const MapiAlloc& allocators, void* root) {
  if (text.empty()) return nullptr;
  wchar_t* copy = nullptr;
  InternalMapiAlloc::copyStringWLen(text.c_str(), text.size(), allocators, root, &copy);
  return copy;
}

}  // namespace

void DelegationListImpl::loadDelegationList(IGlobalConfig* config) {
  if (config && config != config_.get()) config_ = ComRef<IGlobalConfig>(config);
  if (!config_) return;
  modified_ = false;
  iterators_[0].reset();
  iterators_[1].reset();
  const MapiAlloc allocators = storeAllocators(config_.get());
  loadDelegationListInner(config_.get(), allocators, 0);
  loadDelegationListInner(config_.get(), allocators, 1);
}

void DelegationListImpl::loadDelegationListInner(IGlobalConfig* config, const MapiAlloc& allocators, ULONG kind) {
  std::vector<Entry>& list = listOf(kind);
  list.clear();
  ULONG count = 0;
  MapiBuffer<DelegateRecord> records(allocators.freeBuffer);
  const HRESULT hr = kind == 0 ? config->getDelegates(1, &count, records.receive())
                               : config->getDelegators(&count, records.receive());
  ZEL_CHECK(hr);
  // A warning hands over nothing usable; the block, if any, still goes back.
  if (hr != S_OK || !records) return;
  for (ULONG i = 0; i < count; ++i) {
    const DelegateRecord& record = records.get()[i];
    if (!record.address && !record.displayName) continue;
    Entry entry;
    entry.id = record.id;
    entry.address = record.address ? record.address : L"";
    entry.displayName = record.displayName ? record.displayName : L"";
    entry.grantFlag = record.grantFlag != 0;
    list.push_back(std::move(entry));
  }
}

void DelegationListImpl::saveDelegationList() {
  if (config_ && modified_) {
    const MapiAlloc allocators = storeAllocators(config_.get());
    MapiBuffer<DelegateRecord> block(allocators.freeBuffer);
    const ULONG count = size_cast<ULONG>(delegates_.size());
    if (count) {
      block.reset(static_cast<DelegateRecord*>(
          detail::rawAllocBytes(static_cast<size_t>(count) * sizeof(DelegateRecord), nullptr, allocators)));
      for (ULONG i = 0; i < count; ++i) {
        DelegateRecord& record = block.get()[i];
        record.id = delegates_[i].id;
        record.address = copyField(delegates_[i].address, allocators, block.get());
        record.displayName = copyField(delegates_[i].displayName, allocators, block.get());
        record.grantFlag = delegates_[i].grantFlag ? 1 : 0;
      }
    }
    ZEL_CHECK(config_->setDelegates(count, block.get()));
  }
  modified_ = false;
  iterators_[0].reset();
}

DelegationListImpl::Entry* DelegationListImpl::findDelegate(ULONG id) {
  for (auto& entry : delegates_)
    if (entry.id == id) return &entry;
  return nullptr;
}

HRESULT DelegationListImpl::getCount(ULONG kind, ULONG* count) {
  if (!count) return E_POINTER;
  *count = static_cast<ULONG>(listOf(kind).size());
  return S_OK;
}

HRESULT DelegationListImpl::getFirst(ULONG kind, ULONG* id) {
  if (!id) return E_POINTER;
  const std::vector<Entry>& list = listOf(kind);
  if (list.empty()) {
    *id = 0;
    return AddIn::kDelegateNotFound;
  }
  *id = list.front().id;
  iteratorOf(kind) = *id;
  return S_OK;
}

HRESULT DelegationListImpl::getNext(ULONG kind, ULONG* id) {
  if (!id) return E_POINTER;
  const std::vector<Entry>& list = listOf(kind);
  std::optional<ULONG>& iterator = iteratorOf(kind);
  *id = 0;
  if (!iterator) return AddIn::kDelegateNotFound;
  auto at = std::find_if(list.begin(), list.end(), [&](const Entry& e) { return e.id == *iterator; });
  if (at == list.end() || ++at == list.end()) return AddIn::kDelegateNotFound;
  *id = at->id;
  iterator = *id;
  return S_OK;
}

HRESULT DelegationListImpl::getDelegate(ULONG kind, ULONG id, std::wstring& address, std::wstring& displayName,
                                        bool& grant) {
  for (const auto& entry : listOf(kind))
    if (entry.id == id) {
      address = entry.address;
      displayName = entry.displayName;
      grant = entry.grantFlag;
      return S_OK;
    }
  address.clear();
  displayName.clear();
  grant = false;
  return AddIn::kDelegateNotFound;
}

HRESULT DelegationListImpl::addDelegate(const std::wstring& address, const std::wstring& displayName, bool grant,
                                        ULONG* id) {
  if (address.empty()) return E_INVALIDARG;
  for (const auto& entry : delegates_)
    if (entry.address == address) return kDelegateExists;
  if (!config_) return MAPI_E_NOT_INITIALIZED;
  if (!id) return E_POINTER;
  ULONG fresh = 0;
  const HRESULT hr = config_->newDelegateId(&fresh);
  if (hr != S_OK) return hr;
  delegates_.push_back(Entry{fresh, address, displayName, grant});
  *id = fresh;
  modified_ = true;
  onChanged();
  return S_OK;
}

HRESULT DelegationListImpl::removeDelegate(ULONG id) {
  auto at = std::find_if(delegates_.begin(), delegates_.end(), [&](const Entry& e) { return e.id == id; });
  if (at == delegates_.end()) return AddIn::kDelegateNotFound;
  delegates_.erase(at);
  modified_ = true;
  onChanged();
  return S_OK;
}

HRESULT DelegationListImpl::toggleDelegate(ULONG id, bool* grant) {
  Entry* entry = findDelegate(id);
  if (!entry) return AddIn::kDelegateNotFound;
  entry->grantFlag = !entry->grantFlag;
  if (grant) *grant = entry->grantFlag;
  modified_ = true;
  onChanged();
  return S_OK;
}

}  // namespace config
}  // namespace zelvo
