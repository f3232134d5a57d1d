#include "store/reference/ReferenceStore.h"

#include <atomic>
#include <cwctype>
#include <deque>
#include <map>
#include <mutex>
#include <new>

#include "base/ComBoundary.h"
#include "base/ComRef.h"
#include "base/HResultException.h"
#include "base/Iui.h"
#include "store/EntryId.h"
#include "store/MapiAlloc.h"
#include "store/MapiPropNoSupport.h"
#include "store/reference/ReferenceAllocator.h"

namespace ReferenceStore {

class GlobalConfigObject;

struct StoreState {
  mutable std::recursive_mutex mutex;
  Mailbox mailbox;
  Activity activity;
  // An empty entry lets its call through.
  std::map<Operation, std::deque<std::optional<HRESULT>>> failures;
  std::vector<Operation> calls;
  std::map<Operation, std::deque<HRESULT>> warnings;
  ComRef<IAbConfig> abConfig;
  GlobalConfigObject* global = nullptr;  // the live IGlobalConfig, not a reference; cleared by its last release

  // An injected result for this call, if one is queued.
  std::optional<HRESULT> takeFailure(Operation operation) {
    std::lock_guard<std::recursive_mutex> lock(mutex);
    calls.push_back(operation);
    auto found = failures.find(operation);
    if (found == failures.end() || found->second.empty()) return std::nullopt;
    const std::optional<HRESULT> code = found->second.front();
    found->second.pop_front();
    return code;
  }

  // What a successful call answers: a queued warning, or S_OK.
  HRESULT succeeded(Operation operation, HRESULT result) {
    if (result != S_OK) return result;
    std::lock_guard<std::recursive_mutex> lock(mutex);
    auto found = warnings.find(operation);
    if (found == warnings.end() || found->second.empty()) return result;
    const HRESULT code = found->second.front();
    found->second.pop_front();
    return code;
  }
};

namespace {

std::wstring textOf(LPCWSTR text) { return text ? std::wstring(text) : std::wstring(); }
std::wstring textOf(BSTR text, bool) { return text ? std::wstring(text, SysStringLen(text)) : std::wstring(); }

// An empty string goes out as a null pointer.
LPWSTR copyText(const std::wstring& text, void* parent) {
  if (text.empty()) return nullptr;
  wchar_t* copy = nullptr;
  InternalMapiAlloc::copyStringWLen(text.data(), text.size(), ReferenceAllocator::functions(), parent, &copy);
  return copy;
}

BSTR newBstr(const std::wstring& text) {
  BSTR result = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (!result) ZEL_HERE.raise(E_OUTOFMEMORY);
  return result;
}

// A root block of count records, released on a raise unless handed out.
template <class T>
class RecordBlock {
 public:
  explicit RecordBlock(size_t count) : buffer_(&ReferenceAllocator::freeBuffer) {
    if (count) buffer_.reset(static_cast<T*>(detail::rawAllocBytes(count * sizeof(T), nullptr, ReferenceAllocator::functions())));
  }
  T* get() const { return buffer_.get(); }
  T* release() { return buffer_.release(); }

 private:
  MapiBuffer<T> buffer_;
};

bool sameAddress(const std::wstring& a, const std::wstring& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (std::towlower(a[i]) != std::towlower(b[i])) return false;
  return true;
}

HRESULT delegatesOut(const std::vector<Delegate>& list, ULONG* count, DelegateRecord** records) {
  RecordBlock<DelegateRecord> block(list.size());
  for (size_t i = 0; i < list.size(); ++i) {
    DelegateRecord& r = block.get()[i];
    r.id = list[i].id;
    r.address = copyText(list[i].address, block.get());
    r.displayName = copyText(list[i].displayName, block.get());
    r.grantFlag = list[i].grant ? 1 : 0;
  }
  *count = static_cast<ULONG>(list.size());
  *records = block.release();
  return S_OK;
}

}  // namespace

class GlobalConfigObject final : public iui_::IUnknownImpl<IGlobalConfig> {
 public:
  explicit GlobalConfigObject(std::shared_ptr<StoreState> state) : state_(std::move(state)) {}

  // Under the store's lock, so that sharedGlobalConfig never hands out an object whose
  // last reference is going. The state is kept alive past the lock's end.
  ULONG STDMETHODCALLTYPE Release() override {
    const std::shared_ptr<StoreState> state = state_;
    std::lock_guard<std::recursive_mutex> lock(state->mutex);
    return IUnknownImpl::Release();
  }

  // Positions whose meaning this product does not know.
  HRESULT STDMETHODCALLTYPE reserved01() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE reserved08() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE reserved11() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE reserved12() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE reserved25() override { return E_NOTIMPL; }

  HRESULT STDMETHODCALLTYPE getFolderList(ULONG* count, FolderListEntry** entries, BSTR* rootName) override {
    if (!count || !entries || !rootName) return E_POINTER;
    *count = 0;
    *entries = nullptr;
    *rootName = nullptr;
    return run(Operation::GetFolderList, [&](Mailbox& m) {
      RecordBlock<FolderListEntry> block(m.folders.size());
      for (size_t i = 0; i < m.folders.size(); ++i) {
        FolderListEntry& e = block.get()[i];
        e.flags = m.folders[i].flags;
        e.path = copyText(m.folders[i].path, block.get());
        e.displayPath = copyText(m.folders[i].displayPath, block.get());
      }
      *rootName = newBstr(m.rootName);
      *count = static_cast<ULONG>(m.folders.size());
      *entries = block.release();
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE setSieveScript(BSTR script) override {
    return run(Operation::SetSieveScript, [&](Mailbox& m) {
      m.script = textOf(script, true);
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE getSieveScript(BSTR* script) override {
    if (!script) return E_POINTER;
    *script = nullptr;
    return run(Operation::GetSieveScript, [&](Mailbox& m) {
      *script = newBstr(m.script);
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE translateFolderName(ULONG number, BSTR name, BSTR* translated) override {
    if (!translated) return E_POINTER;
    *translated = nullptr;
    return run(Operation::TranslateFolderName, [&](Mailbox& m) {
      auto found = m.folderNames.find(number);
      *translated = newBstr(found != m.folderNames.end() ? found->second : textOf(name, true));
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE getAllocator(IUnknown** allocator) override {
    if (!allocator) return E_POINTER;
    *allocator = nullptr;
    return run(Operation::GetAllocator, [&](Mailbox&) {
      *allocator = createAllocatorObject().detach();
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE markAsJunk(SBinaryArray* entryIds, bool junk) override {
    return run(Operation::MarkAsJunk, [&](Mailbox& m) {
      if (!entryIds || (entryIds->cValues && !entryIds->lpbin)) return E_INVALIDARG;
      JunkMark mark;
      mark.junk = junk;
      for (ULONG i = 0; i < entryIds->cValues; ++i) {
        const SBinary& id = entryIds->lpbin[i];
        if (id.cb && !id.lpb) return E_INVALIDARG;
        mark.entryIds.emplace_back(reinterpret_cast<const char*>(id.lpb), id.cb);
      }
      for (const auto& id : mark.entryIds)
        for (auto& message : m.messages)
          if (message.entryId == id) message.properties[kJunkMarkPropertyTag] = junk;
      state_->activity.junkMarks.push_back(std::move(mark));
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE getAccountText(ULONG kind, BSTR* text) override {
    if (!text) return E_POINTER;
    *text = nullptr;
    return run(Operation::GetAccountText, [&](Mailbox& m) {
      auto found = m.accountTexts.find(kind);
      if (found == m.accountTexts.end()) return MAPI_E_NOT_FOUND;
      *text = newBstr(found->second);
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE getDomainName(BSTR* domain) override {
    if (!domain) return E_POINTER;
    *domain = nullptr;
    return run(Operation::GetDomainName, [&](Mailbox& m) {
      *domain = newBstr(m.domain);
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE getSenderRecord(SenderRecord** record) override {
    if (!record) return E_POINTER;
    *record = nullptr;
    return run(Operation::GetSenderRecord, [&](Mailbox& m) {
      RecordBlock<SenderRecord> block(1);
      SenderRecord& r = *block.get();
      r.defaultName = copyText(m.sender.defaultName, block.get());
      r.defaultAddress = copyText(m.sender.defaultAddress, block.get());
      r.senderName = copyText(m.sender.senderName, block.get());
      r.senderAddress = copyText(m.sender.senderAddress, block.get());
      r.replyAddress = copyText(m.sender.replyAddress, block.get());
      r.extraText = copyText(m.sender.extraText, block.get());
      *record = block.release();
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE setSenderRecord(SenderRecord* record) override {
    return run(Operation::SetSenderRecord, [&](Mailbox& m) {
      if (!record) return E_INVALIDARG;
      // The defaults belong to the account; only the user's choices are written.
      m.sender.senderName = textOf(record->senderName);
      m.sender.senderAddress = textOf(record->senderAddress);
      m.sender.replyAddress = textOf(record->replyAddress);
      m.sender.extraText = textOf(record->extraText);
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE synchronizeAll() override {
    return run(Operation::SynchronizeAll, [&](Mailbox&) {
      ++state_->activity.synchronizeAllCalls;
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE setConnectionMode(ULONG mode) override {
    return run(Operation::SetConnectionMode, [&](Mailbox&) {
      if (mode != 1 && mode != 2) return E_INVALIDARG;
      state_->activity.connectionMode = mode;
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE requestSynchronization(SBinary* folderId) override {
    return run(Operation::RequestSynchronization, [&](Mailbox& m) {
      if (!folderId) {
        state_->activity.synchronizationRequests.emplace_back(std::nullopt);
        return S_OK;
      }
      if (folderId->cb && !folderId->lpb) return E_INVALIDARG;
      const std::string id(reinterpret_cast<const char*>(folderId->lpb), folderId->cb);
      const MailboxFolder* folder = m.findFolderByEntryId(id);
      if (!folder) return MAPI_E_NOT_FOUND;
      state_->activity.synchronizationRequests.emplace_back(folder->path);
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE getServiceUid(GUID* uid) override {
    if (!uid) return E_POINTER;
    return run(Operation::GetServiceUid, [&](Mailbox& m) {
      *uid = m.serviceUid.get();
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE getStoreClass(GUID* storeClass) override {
    if (!storeClass) return E_POINTER;
    return run(Operation::GetStoreClass, [&](Mailbox& m) {
      *storeClass = m.storeClass == StoreClass::Private  ? kPrivateStoreClass
                    : m.storeClass == StoreClass::Public ? kPublicStoreClass
                                                         : kDelegateStoreClass;
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE isAddressBookReady() override {
    return run(Operation::IsAddressBookReady, [&](Mailbox& m) { return m.addressBookReady ? 1 : 0; });
  }

  HRESULT STDMETHODCALLTYPE setAddressBookDone() override {
    return run(Operation::SetAddressBookDone, [&](Mailbox& m) {
      m.addressBookDone = true;
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE isAddressBookDone() override {
    return run(Operation::IsAddressBookDone, [&](Mailbox& m) { return m.addressBookDone ? 1 : 0; });
  }

  HRESULT STDMETHODCALLTYPE setAbConfig(IAbConfig* abConfig) override {
    return run(Operation::SetAbConfig, [&](Mailbox&) {
      if (!abConfig) return E_INVALIDARG;
      state_->abConfig = ComRef<IAbConfig>(abConfig);
      state_->activity.abConfigSet = true;
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE clearAbConfig() override {
    return run(Operation::ClearAbConfig, [&](Mailbox&) {
      state_->abConfig.reset();
      state_->activity.abConfigSet = false;
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE getMessageProperties(GUID provider, GUID object, ULONG type, SPropTagArray* tags,
                                                 MessagePropertyBlock** values) override {
    if (!values) return E_POINTER;
    *values = nullptr;
    return run(Operation::GetMessageProperties, [&](Mailbox& m) {
      if (!tags) return E_INVALIDARG;
      const Message* message = findMessage(m, Guid(provider), Guid(object), type);
      if (!message) return MAPI_E_NOT_FOUND;
      RecordBlock<MessagePropertyBlock> block(1);
      MessagePropertyBlock& result = *block.get();
      result.count = tags->cValues;
      HRESULT hr = S_OK;
      if (tags->cValues) {
        auto* props = static_cast<SPropValue*>(
            detail::rawAllocBytes(tags->cValues * sizeof(SPropValue), block.get(), ReferenceAllocator::functions()));
        result.values = props;
        for (ULONG i = 0; i < tags->cValues; ++i) {
          const ULONG tag = tags->aulPropTag[i];
          auto found = message->properties.find(tag);
          if (found == message->properties.end()) {
            // As MAPI does for a property the object lacks.
            props[i].ulPropTag = PROP_TAG(PT_ERROR, PROP_ID(tag));
            props[i].Value.err = MAPI_E_NOT_FOUND;
            hr = MAPI_W_ERRORS_RETURNED;
            continue;
          }
          props[i].ulPropTag = tag;
          if (const bool* b = std::get_if<bool>(&found->second)) props[i].Value.b = *b ? 1 : 0;
          else if (const uint32_t* n = std::get_if<uint32_t>(&found->second)) props[i].Value.ul = *n;
          else props[i].Value.lpszW = copyText(std::get<std::wstring>(found->second), block.get());
        }
      }
      *values = block.release();
      return hr;
    });
  }

  HRESULT STDMETHODCALLTYPE newDelegateId(ULONG* id) override {
    if (!id) return E_POINTER;
    *id = 0;
    return run(Operation::NewDelegateId, [&](Mailbox& m) {
      *id = m.nextDelegateId++;
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE getDelegates(ULONG mode, ULONG* count, DelegateRecord** records) override {
    if (!count || !records) return E_POINTER;
    *count = 0;
    *records = nullptr;
    // Both modes read the one list this store keeps.
    return run(Operation::GetDelegates, [&](Mailbox& m) { return delegatesOut(m.delegates, count, records); });
  }

  HRESULT STDMETHODCALLTYPE setDelegates(ULONG count, DelegateRecord* records) override {
    return run(Operation::SetDelegates, [&](Mailbox& m) {
      if (count && !records) return E_INVALIDARG;
      std::vector<Delegate> list;
      for (ULONG i = 0; i < count; ++i)
        list.push_back(Delegate{records[i].id, textOf(records[i].address), textOf(records[i].displayName),
                                records[i].grantFlag != 0});
      m.delegates = std::move(list);
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE getDelegators(ULONG* count, DelegateRecord** records) override {
    if (!count || !records) return E_POINTER;
    *count = 0;
    *records = nullptr;
    return run(Operation::GetDelegators, [&](Mailbox& m) { return delegatesOut(m.delegators, count, records); });
  }

  HRESULT STDMETHODCALLTYPE resolveAddress(LPCWSTR address, BSTR* displayName) override {
    if (!displayName) return E_POINTER;
    *displayName = nullptr;
    return run(Operation::ResolveAddress, [&](Mailbox& m) {
      const DirectoryUser* user = findUser(m, textOf(address));
      if (!user) return MAPI_E_NOT_FOUND;
      *displayName = newBstr(user->displayName);
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE checkSenderAddress(LPCWSTR address) override {
    return run(Operation::CheckSenderAddress, [&](Mailbox& m) {
      const std::wstring wanted = textOf(address);
      if (!wanted.empty() && sameAddress(wanted, m.sender.defaultAddress)) return S_OK;
      for (const auto& allowed : m.senderAddresses)
        if (sameAddress(wanted, allowed)) return S_OK;
      return E_ACCESSDENIED;
    });
  }

  HRESULT STDMETHODCALLTYPE sendSenderRequest() override {
    return run(Operation::SendSenderRequest, [&](Mailbox&) {
      ++state_->activity.senderRequests;
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE getDelegateRights(LPCWSTR address, BSTR* rights) override {
    if (!rights) return E_POINTER;
    *rights = nullptr;
    return run(Operation::GetDelegateRights, [&](Mailbox& m) {
      const DirectoryUser* user = findUser(m, textOf(address));
      if (!user) return MAPI_E_NOT_FOUND;
      *rights = newBstr(user->rights);
      return S_OK;
    });
  }

  // Runs one operation under the store's lock, unless a failure was queued for it.
  template <class Body>
  HRESULT run(Operation operation, Body&& body) {
    if (auto injected = state_->takeFailure(operation)) return *injected;
    return state_->succeeded(operation, zelvo::comBoundary([&]() -> HRESULT {
      std::lock_guard<std::recursive_mutex> lock(state_->mutex);
      return body(state_->mailbox);
    }));
  }

 private:
  static const DirectoryUser* findUser(const Mailbox& m, const std::wstring& address) {
    for (const auto& user : m.users)
      if (sameAddress(user.address, address)) return &user;
    return nullptr;
  }

  static const Message* findMessage(const Mailbox& m, const Guid& provider, const Guid& object, ULONG type) {
    for (const auto& message : m.messages) {
      Guid p, o;
      uint32_t t = 0;
      try {
        EntryId(message.entryId).getComponents(p, o, t);
      } catch (const HResultException&) {
        continue;  // an identifier of another layout names no message here
      }
      if (p == provider && o == object && t == type) return &message;
    }
    return nullptr;
  }

  void finalRelease() override {
    if (state_->global == this) state_->global = nullptr;
  }

  std::shared_ptr<StoreState> state_;
};

namespace {

// The store's one IGlobalConfig: the live one while it has references, else a new one.
ComRef<IGlobalConfig> sharedGlobalConfig(const std::shared_ptr<StoreState>& state) {
  std::lock_guard<std::recursive_mutex> lock(state->mutex);
  if (state->global) return ComRef<IGlobalConfig>(state->global);
  auto fresh = ComRef<IGlobalConfig>::adopt(new GlobalConfigObject(state));
  state->global = static_cast<GlobalConfigObject*>(fresh.get());
  return fresh;
}

class FolderConfigObject final : public iui_::IUnknownImpl<IFolderConfig> {
 public:
  FolderConfigObject(std::shared_ptr<StoreState> state, std::wstring path)
      : state_(std::move(state)), path_(std::move(path)) {}

  HRESULT STDMETHODCALLTYPE getAccessRights(ULONG* count, AccessInfo** entries) override {
    if (!count || !entries) return E_POINTER;
    *count = 0;
    *entries = nullptr;
    return run(Operation::GetAccessRights, [&](Mailbox&, MailboxFolder& f) {
      RecordBlock<AccessInfo> block(f.access.size());
      for (size_t i = 0; i < f.access.size(); ++i) {
        AccessInfo& a = block.get()[i];
        a.flags = f.access[i].flags;
        a.name = copyText(f.access[i].name, block.get());
        a.rights = copyText(f.access[i].rights, block.get());
      }
      *count = static_cast<ULONG>(f.access.size());
      *entries = block.release();
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE setAccessRights(ULONG count, AccessInfo* entries, bool recursive) override {
    return run(Operation::SetAccessRights, [&](Mailbox& m, MailboxFolder& f) {
      if (count && !entries) return E_INVALIDARG;
      std::vector<AccessEntry> list;
      for (ULONG i = 0; i < count; ++i)
        list.push_back(AccessEntry{entries[i].flags, textOf(entries[i].name), textOf(entries[i].rights)});
      forFolderAndBelow(m, f, recursive, [&](MailboxFolder& target) { target.access = list; });
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE getSynchronization(ULONG* mode) override {
    if (!mode) return E_POINTER;
    *mode = 0;
    return run(Operation::GetSynchronization, [&](Mailbox&, MailboxFolder& f) {
      *mode = f.synchronization;
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE setSynchronization(ULONG mode, bool recursive) override {
    return run(Operation::SetSynchronization, [&](Mailbox& m, MailboxFolder& f) {
      forFolderAndBelow(m, f, recursive, [&](MailboxFolder& target) { target.synchronization = mode; });
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE getAllocator(IUnknown** allocator) override {
    if (!allocator) return E_POINTER;
    *allocator = nullptr;
    return run(Operation::FolderGetAllocator, [&](Mailbox&, MailboxFolder&) {
      *allocator = createAllocatorObject().detach();
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE getGlobalConfig(IGlobalConfig** config) override {
    if (!config) return E_POINTER;
    *config = nullptr;
    return run(Operation::GetGlobalConfig, [&](Mailbox&, MailboxFolder&) {
      *config = sharedGlobalConfig(state_).detach();
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE isFeatureAvailable(ULONG feature) override {
    return run(Operation::IsFeatureAvailable, [&](Mailbox&, MailboxFolder& f) {
      for (uint32_t available : f.features)
        if (available == feature) return S_OK;
      return S_FALSE;
    });
  }

  HRESULT STDMETHODCALLTYPE getFolderFlags(ULONG* flags, ULONG reserved) override {
    if (!flags) return E_POINTER;
    *flags = 0;
    return run(Operation::GetFolderFlags, [&](Mailbox&, MailboxFolder& f) {
      *flags = f.folderFlags;
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE resynchronizeContents() override {
    return run(Operation::ResynchronizeContents, [&](Mailbox&, MailboxFolder& f) {
      state_->activity.resynchronizedFolders.push_back(f.path);
      return S_OK;
    });
  }

 private:
  template <class Body>
  HRESULT run(Operation operation, Body&& body) {
    if (auto injected = state_->takeFailure(operation)) return *injected;
    return state_->succeeded(operation, zelvo::comBoundary([&]() -> HRESULT {
      std::lock_guard<std::recursive_mutex> lock(state_->mutex);
      MailboxFolder* folder = state_->mailbox.findFolder(path_);
      if (!folder) return MAPI_E_NOT_FOUND;  // the mailbox was replaced without it
      return body(state_->mailbox, *folder);
    }));
  }

  template <class Change>
  static void forFolderAndBelow(Mailbox& m, MailboxFolder& folder, bool recursive, Change&& change) {
    const std::wstring prefix = folder.path + L"/";
    change(folder);
    if (!recursive) return;
    for (auto& other : m.folders)
      if (other.path.compare(0, prefix.size(), prefix) == 0) change(other);
  }

  std::shared_ptr<StoreState> state_;
  std::wstring path_;
};

// A store or folder as MAPI sees it: only OpenProperty of the configuration property
// does anything; the service's other properties are not part of this model.
class MapiObject final : public iui_::IUnknownImpl<MapiPropNoSupport<IMAPIProp>> {
 public:
  MapiObject(std::shared_ptr<StoreState> state, std::optional<std::wstring> folder)
      : state_(std::move(state)), folder_(std::move(folder)) {}

  HRESULT STDMETHODCALLTYPE OpenProperty(ULONG tag, LPCIID iid, ULONG, ULONG, LPUNKNOWN* out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (auto injected = state_->takeFailure(Operation::OpenProperty)) return *injected;
    if (tag != kConfigPropertyTag) return MAPI_E_NOT_FOUND;
    if (!iid || *iid != IID_IUnknown) return MAPI_E_INTERFACE_NOT_SUPPORTED;
    return zelvo::comBoundary([&]() -> HRESULT {
      if (!folder_) {
        *out = sharedGlobalConfig(state_).detach();
        return S_OK;
      }
      std::lock_guard<std::recursive_mutex> lock(state_->mutex);
      if (!state_->mailbox.findFolder(*folder_)) return MAPI_E_NOT_FOUND;
      *out = ComRef<IFolderConfig>::adopt(new FolderConfigObject(state_, *folder_)).detach();
      return S_OK;
    });
  }

 private:
  std::shared_ptr<StoreState> state_;
  std::optional<std::wstring> folder_;
};

}  // namespace

// --- Store -------------------------------------------------------------------------------

Store::Store(Mailbox mailbox) : state_(std::make_shared<StoreState>()) { state_->mailbox = std::move(mailbox); }

Store::~Store() = default;

std::unique_ptr<Store> Store::load(const std::string& folder) {
  return std::make_unique<Store>(loadMailbox(folder));
}

void Store::save(const std::string& folder) const { saveMailbox(mailbox(), folder); }

Mailbox Store::mailbox() const {
  std::lock_guard<std::recursive_mutex> lock(state_->mutex);
  return state_->mailbox;
}

void Store::setMailbox(Mailbox mailbox) {
  std::lock_guard<std::recursive_mutex> lock(state_->mutex);
  state_->mailbox = std::move(mailbox);
}

Activity Store::activity() const {
  std::lock_guard<std::recursive_mutex> lock(state_->mutex);
  return state_->activity;
}

std::vector<Operation> Store::calls() const {
  std::lock_guard<std::recursive_mutex> lock(state_->mutex);
  return state_->calls;
}

void Store::clearCalls() {
  std::lock_guard<std::recursive_mutex> lock(state_->mutex);
  state_->calls.clear();
}

void Store::failNext(Operation operation, HRESULT code) {
  std::lock_guard<std::recursive_mutex> lock(state_->mutex);
  state_->failures[operation].push_back(code);
}

void Store::passNext(Operation operation) {
  std::lock_guard<std::recursive_mutex> lock(state_->mutex);
  state_->failures[operation].push_back(std::nullopt);
}

void Store::warnNext(Operation operation, HRESULT code) {
  std::lock_guard<std::recursive_mutex> lock(state_->mutex);
  state_->warnings[operation].push_back(code);
}

size_t Store::pendingFailures() const {
  std::lock_guard<std::recursive_mutex> lock(state_->mutex);
  size_t pending = 0;
  for (const auto& entry : state_->failures) pending += entry.second.size();
  for (const auto& entry : state_->warnings) pending += entry.second.size();
  return pending;
}

ComRef<IGlobalConfig> Store::globalConfig() { return sharedGlobalConfig(state_); }

ComRef<IFolderConfig> Store::folderConfig(const std::wstring& path) {
  std::lock_guard<std::recursive_mutex> lock(state_->mutex);
  if (!state_->mailbox.findFolder(path)) ZEL_HERE.raise(MAPI_E_NOT_FOUND, L"No such folder in the mailbox");
  return ComRef<IFolderConfig>::adopt(new FolderConfigObject(state_, path));
}

ComRef<IAbConfig> Store::abConfig() {
  std::lock_guard<std::recursive_mutex> lock(state_->mutex);
  return state_->abConfig;
}

ComRef<IMAPIProp> Store::mapiStore() { return ComRef<IMAPIProp>::adopt(new MapiObject(state_, std::nullopt)); }

ComRef<IMAPIProp> Store::mapiFolder(const std::wstring& path) {
  std::lock_guard<std::recursive_mutex> lock(state_->mutex);
  if (!state_->mailbox.findFolder(path)) ZEL_HERE.raise(MAPI_E_NOT_FOUND, L"No such folder in the mailbox");
  return ComRef<IMAPIProp>::adopt(new MapiObject(state_, path));
}

}  // namespace ReferenceStore
