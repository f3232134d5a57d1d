#include "testing/outlook/StandIn.h"

#include <cstddef>
#include <cstring>
#include <cwctype>
#include <deque>
#include <functional>
#include <map>
#include <optional>

#include "base/Dispatcher.h"
#include "base/Iui.h"
#include "base/Variant.h"
#include "store/MapiPropNoSupport.h"

ZEL_IUI_INTERFACE(IMAPISession, IID_IMAPISession)
ZEL_IUI_INTERFACE(IMAPITable, IID_IMAPITable)
ZEL_IUI_INTERFACE(IMsgStore, IID_IMsgStore)
ZEL_IUI_INTERFACE(IMAPIContainer, IID_IMAPIContainer)
ZEL_IUI_INTERFACE(IMAPIFolder, IID_IMAPIFolder)

namespace OutlookStandIn {

// _Explorer and _Inspector of the host's type library.
const IID IID_OutlookExplorer = {0x00063003, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_OutlookInspector = {0x00063005, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_OutlookMailItem = {0x00063034, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_OutlookFolder = {0x00063006, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_ApplicationEvents = {0x0006304E, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_ApplicationEvents_11 = {0x0006302C, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_ExplorerEvents_10 = {0x0006300F, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_InspectorEvents_10 = {0x0006302A, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_ExplorersEvents = {0x00063078, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_InspectorsEvents = {0x00063079, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_NameSpaceEvents = {0x0006308C, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_SyncObjectEvents = {0x00063085, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_IRibbonUI = {0x000C03A7, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_IRibbonControl = {0x000C0395, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_CommandBarButton = {0x000C030E, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID_CommandBarButtonEvents = {0x000C0351, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

namespace {

const wchar_t* providerName(StoreKind kind) {
  switch (kind) {
    case StoreKind::Private: return L"Zelvo Mail Bridge (Offline Edition) - Private Message Store Service";
    case StoreKind::Public: return L"Zelvo Mail Bridge (Offline Edition) - Public Message Store Service";
    case StoreKind::Delegate: return L"Zelvo Mail Bridge (Offline Edition) - Delegate Message Store Service";
    case StoreKind::Foreign: break;
  }
  return L"Personal Folders";
}

ReferenceStore::StoreClass storeClassOf(StoreKind kind) {
  if (kind == StoreKind::Public) return ReferenceStore::StoreClass::Public;
  if (kind == StoreKind::Delegate) return ReferenceStore::StoreClass::Delegate;
  return ReferenceStore::StoreClass::Private;
}

std::wstring hexText(const std::string& bytes) {
  static const wchar_t digits[] = L"0123456789ABCDEF";
  std::wstring text;
  for (unsigned char byte : bytes) {
    text.push_back(digits[byte >> 4]);
    text.push_back(digits[byte & 15]);
  }
  return text;
}

const std::vector<ULONG>& defaultColumns() {
  static const std::vector<ULONG> columns = {PR_DISPLAY_NAME_W, PR_PROVIDER_DISPLAY_W, PR_ENTRYID,
                                             PR_RECORD_KEY,     PR_SERVICE_UID,        PR_DEFAULT_STORE};
  return columns;
}

}  // namespace

struct StoreSlot {
  ProfileStore profileStore;
  std::unique_ptr<ReferenceStore::Store> store;  // null for a foreign store
  std::string entryId;
};

// The sinks advised on one event dispinterface of one object, by cookie.
struct EventSinks {
  explicit EventSinks(const IID& events) : iid(events) {}
  IID iid;
  std::map<DWORD, ComRef<IDispatch>> sinks;
  DWORD nextCookie = 1;

  // Calls every sink with the arguments in the member's order. The host goes on whatever a
  // sink answers. A snapshot, since a sink may unadvise while it is called.
  void fire(DISPID id, std::vector<VARIANT> arguments) const {
    std::vector<ComRef<IDispatch>> called;
    for (const auto& entry : sinks) called.push_back(entry.second);
    std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
    DISPPARAMS params = {reversed.empty() ? nullptr : reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
    for (const auto& sink : called) sink->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &params, nullptr, nullptr, nullptr);
  }
};

// A button of a command bar. Its objects come and go; what the add-in set stays here.
struct ButtonState {
  ButtonState() : events(std::make_shared<EventSinks>(IID_CommandBarButtonEvents)) {}
  LONG id = 1;
  std::wstring parameter;
  bool temporary = false;
  std::wstring caption;
  std::wstring tag;
  std::wstring tooltipText;
  LONG style = 0;  // msoButtonAutomatic
  LONG buttonState = 0;  // msoButtonUp
  bool enabled = true;
  bool visible = true;
  bool beginGroup = false;
  ComRef<IUnknown> picture;
  ComRef<IUnknown> mask;
  bool deleted = false;
  std::shared_ptr<EventSinks> events;
};

struct BarState {
  std::wstring name;
  LONG position = 1;  // msoBarTop
  bool menuBar = false;
  bool temporary = false;
  bool visible = false;  // a new bar is hidden until shown
  LONG left = 0;
  LONG top = 0;
  LONG rowIndex = 0;
  bool deleted = false;
  std::vector<std::shared_ptr<ButtonState>> controls;
};

// An explorer or inspector window: what it shows, its sinks and the object that stands for
// it while it is open.
struct Window {
  explicit Window(const IID& events) : events(std::make_shared<EventSinks>(events)) {}
  ComRef<IDispatch> folder;  // an explorer's
  std::vector<ComRef<IDispatch>> selection;
  ComRef<IDispatch> item;  // an inspector's
  bool compose = false;
  std::shared_ptr<EventSinks> events;
  ComRef<IDispatch> object;
  std::vector<std::shared_ptr<BarState>> bars;
};

// A send/receive group of the profile: its sinks, and whether a run is under way.
struct SyncState {
  std::wstring name;
  bool running = false;
  std::shared_ptr<EventSinks> events = std::make_shared<EventSinks>(IID_SyncObjectEvents);
};

// The add-in as the host knows it: what its COMAddIn object shows.
struct AddInState {
  std::wstring progId;
  std::wstring description;
  bool connect = true;
  ComRef<IDispatch> object;  // what the add-in hands out to other programs
};

// The pages one options or folder dialog collected: each an object or a ProgID, with its
// title.
struct PagesState {
  std::vector<Variant> pages;
  std::vector<std::wstring> titles;
};

struct HostState {
  Profile profile;
  std::vector<StoreSlot> stores;
  std::vector<std::wstring> calls;
  std::map<std::wstring, std::deque<HRESULT>> failures;
  std::optional<std::vector<ULONG>> answeredColumns;
  size_t liveTables = 0;
  // In the order opened; the last is the one in front.
  std::vector<std::shared_ptr<Window>> explorers;
  std::vector<std::shared_ptr<Window>> inspectors;
  std::shared_ptr<EventSinks> applicationEvents = std::make_shared<EventSinks>(IID_ApplicationEvents);
  std::shared_ptr<EventSinks> applicationEvents11 = std::make_shared<EventSinks>(IID_ApplicationEvents_11);
  std::shared_ptr<EventSinks> explorersEvents = std::make_shared<EventSinks>(IID_ExplorersEvents);
  std::shared_ptr<EventSinks> inspectorsEvents = std::make_shared<EventSinks>(IID_InspectorsEvents);
  std::shared_ptr<EventSinks> nameSpaceEvents = std::make_shared<EventSinks>(IID_NameSpaceEvents);
  std::vector<std::shared_ptr<SyncState>> syncObjects;
  std::shared_ptr<AddInState> addIn = std::make_shared<AddInState>();
  std::shared_ptr<PagesState> lastDialog;
  std::vector<std::wstring> ribbonInvalidations;
  // DefaultItemType of folders by store and path; a folder not listed holds mail.
  std::map<std::pair<size_t, std::wstring>, LONG> itemTypes;

  ComRef<IDispatch> active(const std::vector<std::shared_ptr<Window>>& windows) const {
    return windows.empty() ? ComRef<IDispatch>() : windows.back()->object;
  }
  // Both generations of the application's events carry the members fired here.
  void fireApplication(DISPID id, std::vector<VARIANT> arguments) const {
    applicationEvents->fire(id, arguments);
    applicationEvents11->fire(id, arguments);
  }

  // Records the call; a failure queued for the member is answered instead.
  HRESULT enter(const wchar_t* object, const wchar_t* member) {
    calls.push_back(std::wstring(object) + L"." + member);
    auto found = failures.find(member);
    if (found == failures.end() || found->second.empty()) return S_OK;
    const HRESULT code = found->second.front();
    found->second.pop_front();
    return code;
  }
  // The same for the object model, whose bodies raise.
  void call(const wchar_t* object, const wchar_t* member) {
    const HRESULT hr = enter(object, member);
    if (FAILED(hr)) ZEL_HERE.raise(hr);
  }

  StoreSlot& slot(size_t index) {
    if (index >= stores.size()) ZEL_HERE.raise(E_INVALIDARG, L"no such store");
    return stores[index];
  }
  StoreSlot* slotByEntryId(const void* data, ULONG size) {
    for (auto& s : stores)
      if (s.entryId.size() == size && std::memcmp(s.entryId.data(), data, size) == 0) return &s;
    return nullptr;
  }
};

namespace {

// ---- MAPI ---------------------------------------------------------------------------

// The IMAPIProp slots of a store or folder: OpenProperty goes to the reference store's
// object, the rest is not part of this model.
template <class Interface>
class PropFace : public MapiPropNoSupport<Interface> {
 public:
  HRESULT STDMETHODCALLTYPE OpenProperty(ULONG tag, LPCIID iid, ULONG options, ULONG flags,
                                         LPUNKNOWN* out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    const HRESULT hr = state_->enter(objectName_, L"OpenProperty");
    if (FAILED(hr)) return hr;
    // A foreign store knows nothing of the product's configuration property.
    if (!inner_) return MAPI_E_NOT_FOUND;
    return inner_->OpenProperty(tag, iid, options, flags, out);
  }

 protected:
  std::shared_ptr<HostState> state_;
  ComRef<IMAPIProp> inner_;
  const wchar_t* objectName_ = L"IMAPIProp";
};

}  // namespace
}  // namespace OutlookStandIn

namespace iui_ {
template <class I>
struct InterfaceId<OutlookStandIn::PropFace<I>> : InterfaceId<I> {};
}  // namespace iui_

namespace OutlookStandIn {
namespace {

class MsgStore final : public iui_::IUnknownImpl<PropFace<IMsgStore>, iui_::QI<IMAPIProp>> {
 public:
  MsgStore(std::shared_ptr<HostState> state, ComRef<IMAPIProp> inner) {
    state_ = std::move(state);
    inner_ = std::move(inner);
    objectName_ = L"IMsgStore";
  }
  HRESULT STDMETHODCALLTYPE Advise(ULONG, LPENTRYID, ULONG, LPMAPIADVISESINK, ULONG*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE Unadvise(ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE CompareEntryIDs(ULONG, LPENTRYID, ULONG, LPENTRYID, ULONG, ULONG*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE OpenEntry(ULONG, LPENTRYID, LPCIID, ULONG, ULONG*, LPUNKNOWN* out) override {
    if (out) *out = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE SetReceiveFolder(LPTSTR, ULONG, ULONG, LPENTRYID) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE GetReceiveFolder(LPTSTR, ULONG, ULONG*, LPENTRYID*, LPTSTR*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE GetReceiveFolderTable(ULONG, LPMAPITABLE* table) override {
    if (table) *table = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE StoreLogoff(ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE AbortSubmit(ULONG, LPENTRYID, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE GetOutgoingQueue(ULONG, LPMAPITABLE* table) override {
    if (table) *table = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE SetLockState(LPMESSAGE, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE FinishedMsg(ULONG, ULONG, LPENTRYID) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE NotifyNewMail(LPNOTIFICATION) override { return MAPI_E_NO_SUPPORT; }
};

// The cross compiler's headers declare the folder's window parameters 32 bits wide.
#ifdef _WIN32
using FolderUiParam = ULONG;
#else
using FolderUiParam = ULONG_PTR;
#endif

class MapiFolder final
    : public iui_::IUnknownImpl<PropFace<IMAPIFolder>, iui_::QI<IMAPIContainer>, iui_::QI<IMAPIProp>> {
 public:
  MapiFolder(std::shared_ptr<HostState> state, ComRef<IMAPIProp> inner) {
    state_ = std::move(state);
    inner_ = std::move(inner);
    objectName_ = L"IMAPIFolder";
  }
  HRESULT STDMETHODCALLTYPE GetContentsTable(ULONG, LPMAPITABLE* table) override {
    if (table) *table = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE GetHierarchyTable(ULONG, LPMAPITABLE* table) override {
    if (table) *table = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE OpenEntry(ULONG, LPENTRYID, LPCIID, ULONG, ULONG*, LPUNKNOWN* out) override {
    if (out) *out = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE SetSearchCriteria(LPSRestriction, LPENTRYLIST, ULONG) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE GetSearchCriteria(ULONG, LPSRestriction*, LPENTRYLIST*, ULONG*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE CreateMessage(LPCIID, ULONG, LPMESSAGE* message) override {
    if (message) *message = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE CopyMessages(LPENTRYLIST, LPCIID, LPVOID, FolderUiParam, LPMAPIPROGRESS, ULONG) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE DeleteMessages(LPENTRYLIST, FolderUiParam, LPMAPIPROGRESS, ULONG) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE CreateFolder(ULONG, LPTSTR, LPTSTR, LPCIID, ULONG, LPMAPIFOLDER* folder) override {
    if (folder) *folder = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE CopyFolder(ULONG, LPENTRYID, LPCIID, LPVOID, LPTSTR, FolderUiParam, LPMAPIPROGRESS,
                                       ULONG) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE DeleteFolder(ULONG, LPENTRYID, FolderUiParam, LPMAPIPROGRESS, ULONG) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE SetReadFlags(LPENTRYLIST, FolderUiParam, LPMAPIPROGRESS, ULONG) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE GetMessageStatus(ULONG, LPENTRYID, ULONG, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE SetMessageStatus(ULONG, LPENTRYID, ULONG, ULONG, ULONG*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE SaveContentsSort(LPSSortOrderSet, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE EmptyFolder(FolderUiParam, LPMAPIPROGRESS, ULONG) override { return MAPI_E_NO_SUPPORT; }
};

// The bytes of an entry id text; none when it is not hexadecimal.
std::optional<std::string> bytesOfHex(const std::wstring& text) {
  if (text.size() % 2) return std::nullopt;
  std::string bytes;
  for (size_t i = 0; i < text.size(); i += 2) {
    int digits[2];
    for (int k = 0; k < 2; ++k) {
      const wchar_t c = static_cast<wchar_t>(std::towupper(text[i + k]));
      digits[k] = c >= L'0' && c <= L'9' ? c - L'0' : c >= L'A' && c <= L'F' ? c - L'A' + 10 : -1;
      if (digits[k] < 0) return std::nullopt;
    }
    bytes.push_back(static_cast<char>(digits[0] * 16 + digits[1]));
  }
  return bytes;
}

// The MAPI object behind an item: GetProps answers its entry id, in one block of the MAPI
// allocator as a message store's would; every other tag is missing.
class ItemProp final : public iui_::IUnknownImpl<MapiPropNoSupport<IMAPIProp>> {
 public:
  ItemProp(std::shared_ptr<HostState> state, std::wstring entryId)
      : state_(std::move(state)), entryId_(std::move(entryId)) {}

  HRESULT STDMETHODCALLTYPE GetProps(LPSPropTagArray tags, ULONG, ULONG* count, LPSPropValue* values) override {
    if (!count || !values) return E_POINTER;
    *count = 0;
    *values = nullptr;
    const HRESULT hr = state_->enter(L"IMessage", L"GetProps");
    if (FAILED(hr)) return hr;
    if (!tags || tags->cValues == 0) return E_INVALIDARG;
    const std::optional<std::string> bytes = bytesOfHex(entryId_);
    LPSPropValue block = nullptr;
    if (FAILED(MAPIAllocateBuffer(static_cast<ULONG>(tags->cValues * sizeof(SPropValue)),
                                  reinterpret_cast<LPVOID*>(&block))) ||
        !block)
      return E_OUTOFMEMORY;
    std::memset(block, 0, tags->cValues * sizeof(SPropValue));
    HRESULT result = S_OK;
    for (ULONG i = 0; i < tags->cValues; ++i) {
      const ULONG tag = tags->aulPropTag[i];
      if (tag != PR_ENTRYID || !bytes || bytes->empty()) {
        block[i].ulPropTag = PROP_TAG(PT_ERROR, PROP_ID(tag));
        block[i].Value.err = MAPI_E_NOT_FOUND;
        result = MAPI_W_ERRORS_RETURNED;
        continue;
      }
      LPVOID data = nullptr;
      if (FAILED(MAPIAllocateMore(static_cast<ULONG>(bytes->size()), block, &data)) || !data) {
        MAPIFreeBuffer(block);
        return E_OUTOFMEMORY;
      }
      std::memcpy(data, bytes->data(), bytes->size());
      block[i].ulPropTag = tag;
      block[i].Value.bin.cb = static_cast<ULONG>(bytes->size());
      block[i].Value.bin.lpb = static_cast<LPBYTE>(data);
    }
    *count = tags->cValues;
    *values = block;
    return result;
  }
  HRESULT STDMETHODCALLTYPE OpenProperty(ULONG, LPCIID, ULONG, ULONG, LPUNKNOWN* out) override {
    if (out) *out = nullptr;
    return MAPI_E_NO_SUPPORT;
  }

 private:
  std::shared_ptr<HostState> state_;
  std::wstring entryId_;
};

// The session's store table: a snapshot of the profile's stores when it was made, with
// the columns set, a boolean property restriction and a cursor.
class StoresTable final : public iui_::IUnknownImpl<IMAPITable> {
 public:
  explicit StoresTable(std::shared_ptr<HostState> state) : state_(std::move(state)), columns_(defaultColumns()) {
    ++state_->liveTables;
    for (size_t i = 0; i < state_->stores.size(); ++i) visible_.push_back(i);
  }
  ~StoresTable() override { --state_->liveTables; }

  HRESULT STDMETHODCALLTYPE SetColumns(LPSPropTagArray tags, ULONG) override {
    HRESULT hr = state_->enter(L"IMAPITable", L"SetColumns");
    if (FAILED(hr)) return hr;
    if (!tags || tags->cValues == 0) return MAPI_E_INVALID_PARAMETER;
    columns_.assign(tags->aulPropTag, tags->aulPropTag + tags->cValues);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Restrict(LPSRestriction restriction, ULONG) override {
    HRESULT hr = state_->enter(L"IMAPITable", L"Restrict");
    if (FAILED(hr)) return hr;
    visible_.clear();
    cursor_ = 0;
    if (!restriction) {
      for (size_t i = 0; i < state_->stores.size(); ++i) visible_.push_back(i);
      return S_OK;
    }
    // The one kind this table knows: a boolean property equal or not equal to a value.
    const SPropertyRestriction& p = restriction->res.resProperty;
    if (restriction->rt != RES_PROPERTY || (p.relop != RELOP_EQ && p.relop != RELOP_NE) ||
        PROP_TYPE(p.ulPropTag) != PT_BOOLEAN || !p.lpProp || p.lpProp->ulPropTag != p.ulPropTag ||
        p.ulPropTag != PR_DEFAULT_STORE)
      return MAPI_E_TOO_COMPLEX;
    const bool wanted = p.lpProp->Value.b != 0;
    for (size_t i = 0; i < state_->stores.size(); ++i)
      if ((state_->stores[i].profileStore.isDefault == wanted) == (p.relop == RELOP_EQ)) visible_.push_back(i);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE QueryRows(LONG count, ULONG, LPSRowSet* rows) override {
    if (!rows) return E_POINTER;
    *rows = nullptr;
    HRESULT hr = state_->enter(L"IMAPITable", L"QueryRows");
    if (FAILED(hr)) return hr;
    if (count <= 0) return MAPI_E_INVALID_PARAMETER;
    const size_t n = std::min(static_cast<size_t>(count), visible_.size() - cursor_);
    const std::vector<ULONG>& columns = state_->answeredColumns ? *state_->answeredColumns : columns_;
    LPSRowSet set = nullptr;
    const ULONG setSize = static_cast<ULONG>(offsetof(SRowSet, aRow) + std::max<size_t>(n, 1) * sizeof(SRow));
    hr = MAPIAllocateBuffer(setSize, reinterpret_cast<void**>(&set));
    if (FAILED(hr)) return hr;
    std::memset(set, 0, setSize);
    for (size_t r = 0; r < n; ++r) {
      SRow& row = set->aRow[r];
      hr = MAPIAllocateBuffer(static_cast<ULONG>(columns.size() * sizeof(SPropValue)),
                              reinterpret_cast<void**>(&row.lpProps));
      if (FAILED(hr)) {
        freeRows(set);
        return hr;
      }
      std::memset(row.lpProps, 0, columns.size() * sizeof(SPropValue));
      set->cRows = static_cast<ULONG>(r + 1);
      row.cValues = static_cast<ULONG>(columns.size());
      const StoreSlot& slot = state_->stores[visible_[cursor_ + r]];
      for (size_t c = 0; c < columns.size(); ++c) {
        hr = fill(slot, columns[c], row.lpProps[c], row.lpProps);
        if (FAILED(hr)) {
          freeRows(set);
          return hr;
        }
      }
    }
    cursor_ += n;
    *rows = set;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetRowCount(ULONG, ULONG* count) override {
    if (!count) return E_POINTER;
    *count = static_cast<ULONG>(visible_.size());
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE SeekRow(BOOKMARK origin, LONG rows, LONG* sought) override {
    if (origin != BOOKMARK_BEGINNING || rows < 0) return MAPI_E_NO_SUPPORT;
    cursor_ = std::min(static_cast<size_t>(rows), visible_.size());
    if (sought) *sought = static_cast<LONG>(cursor_);
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE GetLastError(HRESULT, ULONG, LPMAPIERROR* error) override {
    if (error) *error = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE Advise(ULONG, LPMAPIADVISESINK, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE Unadvise(ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE GetStatus(ULONG*, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE QueryColumns(ULONG, LPSPropTagArray* tags) override {
    if (tags) *tags = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE SeekRowApprox(ULONG, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE QueryPosition(ULONG*, ULONG*, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE FindRow(LPSRestriction, BOOKMARK, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE CreateBookmark(BOOKMARK*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE FreeBookmark(BOOKMARK) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE SortTable(LPSSortOrderSet, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE QuerySortOrder(LPSSortOrderSet*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE Abort() override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE ExpandRow(ULONG, LPBYTE, ULONG, ULONG, LPSRowSet*, ULONG*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE CollapseRow(ULONG, LPBYTE, ULONG, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE WaitForCompletion(ULONG, ULONG, ULONG*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE GetCollapseState(ULONG, ULONG, LPBYTE, ULONG*, LPBYTE*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE SetCollapseState(ULONG, ULONG, LPBYTE, BOOKMARK*) override { return MAPI_E_NO_SUPPORT; }

 private:
  // Each row's values, then the set, as a caller frees them.
  static void freeRows(LPSRowSet set) {
    for (ULONG i = 0; i < set->cRows; ++i) MAPIFreeBuffer(set->aRow[i].lpProps);
    MAPIFreeBuffer(set);
  }

  static HRESULT copyBytes(const void* data, size_t size, SPropValue& value, void* parent) {
    value.Value.bin.cb = static_cast<ULONG>(size);
    if (size == 0) return S_OK;
    void* block = nullptr;
    const HRESULT hr = MAPIAllocateMore(static_cast<ULONG>(size), parent, &block);
    if (FAILED(hr)) return hr;
    std::memcpy(block, data, size);
    value.Value.bin.lpb = static_cast<LPBYTE>(block);
    return S_OK;
  }
  static HRESULT copyText(const std::wstring& text, SPropValue& value, void* parent) {
    void* block = nullptr;
    const HRESULT hr = MAPIAllocateMore(static_cast<ULONG>((text.size() + 1) * sizeof(wchar_t)), parent, &block);
    if (FAILED(hr)) return hr;
    std::memcpy(block, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    value.Value.lpszW = static_cast<LPWSTR>(block);
    return S_OK;
  }

  // One column of a store's row; a property the store lacks is an error value.
  static HRESULT fill(const StoreSlot& slot, ULONG tag, SPropValue& value, void* parent) {
    value.ulPropTag = tag;
    switch (tag) {
      case PR_DISPLAY_NAME_W: return copyText(slot.profileStore.displayName, value, parent);
      case PR_PROVIDER_DISPLAY_W: return copyText(providerName(slot.profileStore.kind), value, parent);
      case PR_ENTRYID: return copyBytes(slot.entryId.data(), slot.entryId.size(), value, parent);
      case PR_RECORD_KEY: return copyBytes(slot.profileStore.recordKey.bytes(), 16, value, parent);
      case PR_SERVICE_UID: return copyBytes(slot.profileStore.serviceUid.bytes(), 16, value, parent);
      case PR_DEFAULT_STORE: value.Value.b = slot.profileStore.isDefault ? 1 : 0; return S_OK;
      default:
        value.ulPropTag = PROP_TAG(PT_ERROR, PROP_ID(tag));
        value.Value.err = MAPI_E_NOT_FOUND;
        return S_OK;
    }
  }

  std::shared_ptr<HostState> state_;
  std::vector<ULONG> columns_;
  std::vector<size_t> visible_;
  size_t cursor_ = 0;
};

class Session final : public iui_::IUnknownImpl<IMAPISession> {
 public:
  explicit Session(std::shared_ptr<HostState> state) : state_(std::move(state)) {}

  HRESULT STDMETHODCALLTYPE GetMsgStoresTable(ULONG, LPMAPITABLE* table) override {
    if (!table) return E_POINTER;
    *table = nullptr;
    const HRESULT hr = state_->enter(L"IMAPISession", L"GetMsgStoresTable");
    if (FAILED(hr)) return hr;
    return zelvo::comBoundary([&] { *table = ComRef<IMAPITable>::adopt(new StoresTable(state_)).detach(); });
  }
  HRESULT STDMETHODCALLTYPE OpenMsgStore(ULONG_PTR, ULONG size, LPENTRYID entryId, LPCIID iid, ULONG,
                                         LPMDB* store) override {
    if (!store) return E_POINTER;
    *store = nullptr;
    const HRESULT hr = state_->enter(L"IMAPISession", L"OpenMsgStore");
    if (FAILED(hr)) return hr;
    if (!entryId || size == 0) return MAPI_E_INVALID_PARAMETER;
    if (iid && !IsEqualIID(*iid, IID_IMsgStore)) return MAPI_E_INTERFACE_NOT_SUPPORTED;
    StoreSlot* slot = state_->slotByEntryId(entryId, size);
    if (!slot) return MAPI_E_NOT_FOUND;
    return zelvo::comBoundary([&] {
      ComRef<IMAPIProp> inner = slot->store ? slot->store->mapiStore() : ComRef<IMAPIProp>();
      *store = ComRef<IMsgStore>::adopt(new MsgStore(state_, std::move(inner))).detach();
    });
  }

  HRESULT STDMETHODCALLTYPE GetLastError(HRESULT, ULONG, LPMAPIERROR* error) override {
    if (error) *error = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE OpenAddressBook(ULONG_PTR, LPCIID, ULONG, LPADRBOOK* book) override {
    if (book) *book = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE OpenProfileSection(LPMAPIUID, LPCIID, ULONG, LPPROFSECT* section) override {
    if (section) *section = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE GetStatusTable(ULONG, LPMAPITABLE* table) override {
    if (table) *table = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE OpenEntry(ULONG, LPENTRYID, LPCIID, ULONG, ULONG*, LPUNKNOWN* out) override {
    if (out) *out = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE CompareEntryIDs(ULONG, LPENTRYID, ULONG, LPENTRYID, ULONG, ULONG*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE Advise(ULONG, LPENTRYID, ULONG, LPMAPIADVISESINK, ULONG*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE Unadvise(ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE MessageOptions(ULONG_PTR, ULONG, LPTSTR, LPMESSAGE) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE QueryDefaultMessageOpt(LPTSTR, ULONG, ULONG*, LPSPropValue*) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE EnumAdrTypes(ULONG, ULONG*, LPTSTR**) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE QueryIdentity(ULONG*, LPENTRYID*) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE Logoff(ULONG_PTR, ULONG, ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE SetDefaultStore(ULONG, ULONG, LPENTRYID) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE AdminServices(ULONG, LPSERVICEADMIN* admin) override {
    if (admin) *admin = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE ShowForm(ULONG_PTR, LPMDB, LPMAPIFOLDER, LPCIID, ULONG, LPMESSAGE, ULONG, ULONG, ULONG,
                                     ULONG, LPSTR) override {
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE PrepareForm(LPCIID, LPMESSAGE, ULONG*) override { return MAPI_E_NO_SUPPORT; }

 private:
  std::shared_ptr<HostState> state_;
};

// ---- The object model ---------------------------------------------------------------

// An object of the host's model: answers by name from T's table, and besides IDispatch
// for its own dispinterface when T names one, and for the More interfaces listed.
template <class T, class... More>
class HostObject : public iui_::IUnknownImpl<zelvo::DispatchImpl<T>, More...> {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override {
    const IID* own = T::ownInterface();
    if (ppv && own && IsEqualIID(riid, *own)) {
      *ppv = static_cast<IDispatch*>(this);
      this->AddRef();
      return S_OK;
    }
    return iui_::IUnknownImpl<zelvo::DispatchImpl<T>, More...>::QueryInterface(riid, ppv);
  }

 protected:
  explicit HostObject(std::shared_ptr<HostState> state) : state_(std::move(state)) {}
  static const IID* ownInterface() { return nullptr; }

  std::shared_ptr<HostState> state_;
};

template <class T, class... Args>
ComRef<IDispatch> make(Args&&... args) {
  return ComRef<IDispatch>::adopt(new T(std::forward<Args>(args)...));
}

// One event dispinterface of an object. Advise takes any sink that answers IDispatch, as
// the host calls its sinks through Invoke only.
class ConnectionPoint final : public iui_::IUnknownImpl<IConnectionPoint> {
 public:
  ConnectionPoint(std::shared_ptr<HostState> state, std::shared_ptr<EventSinks> sinks,
                  ComRef<IConnectionPointContainer> container)
      : state_(std::move(state)), sinks_(std::move(sinks)), container_(std::move(container)) {}

  HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) override {
    if (!iid) return E_POINTER;
    *iid = sinks_->iid;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** out) override {
    if (!out) return E_POINTER;
    *out = ComRef<IConnectionPointContainer>(container_).detach();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override {
    return zelvo::comBoundary([&] {
      if (!cookie) ZEL_HERE.raise(E_POINTER);
      *cookie = 0;
      state_->call(L"ConnectionPoint", L"Advise");
      if (!sink) ZEL_HERE.raise(E_POINTER);
      ComRef<IDispatch> dispatch;
      if (FAILED(sink->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(dispatch.put()))) || !dispatch)
        ZEL_HERE.raise(CONNECT_E_CANNOTCONNECT);
      const DWORD given = sinks_->nextCookie++;
      sinks_->sinks.emplace(given, std::move(dispatch));
      *cookie = given;
    });
  }
  HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override {
    return zelvo::comBoundary([&] {
      state_->call(L"ConnectionPoint", L"Unadvise");
      if (sinks_->sinks.erase(cookie) == 0) ZEL_HERE.raise(CONNECT_E_NOCONNECTION);
    });
  }
  // Not needed by any caller yet.
  HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** out) override {
    if (out) *out = nullptr;
    return E_NOTIMPL;
  }

 private:
  std::shared_ptr<HostState> state_;
  std::shared_ptr<EventSinks> sinks_;
  ComRef<IConnectionPointContainer> container_;
};

// A host object that fires events: one connection point per dispinterface that T lists in
// eventSinks().
template <class T>
class EventSource : public HostObject<T, IConnectionPointContainer> {
 public:
  HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** out) override {
    if (out) *out = nullptr;
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID riid, IConnectionPoint** out) override {
    return zelvo::comBoundary([&]() -> HRESULT {
      if (!out) ZEL_HERE.raise(E_POINTER);
      *out = nullptr;
      this->state_->call(T::objectName(), L"FindConnectionPoint");
      for (const auto& sinks : static_cast<T*>(this)->eventSinks()) {
        if (!IsEqualIID(riid, sinks->iid)) continue;
        *out = ComRef<IConnectionPoint>::adopt(
                   new ConnectionPoint(this->state_, sinks, ComRef<IConnectionPointContainer>(this)))
                   .detach();
        return S_OK;
      }
      return CONNECT_E_NOCONNECTION;
    });
  }

 protected:
  using HostObject<T, IConnectionPointContainer>::HostObject;
};

// A VARIANT that lends an object to a sink for the length of a call.
VARIANT borrowed(IDispatch* object) {
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_DISPATCH;
  v.pdispVal = object;
  return v;
}

// Default folders by the host's folder type, from the profile.
ComRef<IDispatch> defaultFolder(const std::shared_ptr<HostState>& state, LONG type);

// An item of a folder: mail, which answers _MailItem, or an appointment, which doesn't.
template <bool Mail>
class Item final : public HostObject<Item<Mail>> {
 public:
  Item(std::shared_ptr<HostState> state, ItemSetup setup) : HostObject<Item>(std::move(state)), setup_(std::move(setup)) {}
  Item(std::shared_ptr<HostState> state, std::wstring entryId) : Item(std::move(state), ItemSetup{std::move(entryId)}) {}
  static const IID* ownInterface() { return Mail ? &IID_OutlookMailItem : nullptr; }
  static const wchar_t* objectName() { return Mail ? L"MailItem" : L"AppointmentItem"; }
  static const zelvo::DispatchTable<Item>& dispatchTable() {
    static const zelvo::DispatchTable<Item> table({
        {L"EntryID", 0xF01E, DISPATCH_PROPERTYGET, 0,
         [](Item& m, zelvo::DispatchCall& c) {
           m.state_->call(objectName(), L"EntryID");
           c.result = Variant::fromText(m.setup_.entryId);
         }},
        {L"MAPIOBJECT", 0xF061, DISPATCH_PROPERTYGET, 0,
         [](Item& m, zelvo::DispatchCall& c) {
           m.state_->call(objectName(), L"MAPIOBJECT");
           const ComRef<IMAPIProp> prop = ComRef<IMAPIProp>::adopt(new ItemProp(m.state_, m.setup_.entryId));
           c.result = Variant::fromUnknown(prop.get());
         }},
        {L"Sent", 0xF022, DISPATCH_PROPERTYGET, 0,
         [](Item& m, zelvo::DispatchCall& c) {
           m.state_->call(objectName(), L"Sent");
           c.result = Variant::fromBool(m.setup_.sent);
         }},
        {L"Parent", 0xF001, DISPATCH_PROPERTYGET, 0,
         [](Item& m, zelvo::DispatchCall& c) {
           m.state_->call(objectName(), L"Parent");
           c.result = Variant::fromDispatch(m.setup_.parent.get());
         }},
    });
    return table;
  }

 private:
  ItemSetup setup_;
};
using MailItem = Item<true>;
using AppointmentItem = Item<false>;

class Folder final : public HostObject<Folder> {
 public:
  Folder(std::shared_ptr<HostState> state, size_t store, std::wstring path, std::string entryId)
      : HostObject(std::move(state)), store_(store), path_(std::move(path)), entryId_(std::move(entryId)) {}
  static const IID* ownInterface() { return &IID_OutlookFolder; }
  static const zelvo::DispatchTable<Folder>& dispatchTable() {
    static const zelvo::DispatchTable<Folder> table({
        {L"EntryID", 0xF01E, DISPATCH_PROPERTYGET, 0,
         [](Folder& f, zelvo::DispatchCall& c) {
           f.state_->call(L"MAPIFolder", L"EntryID");
           c.result = Variant::fromText(hexText(f.entryId_));
         }},
        {L"MAPIOBJECT", 0xF061, DISPATCH_PROPERTYGET, 0,
         [](Folder& f, zelvo::DispatchCall& c) {
           f.state_->call(L"MAPIFolder", L"MAPIOBJECT");
           StoreSlot& slot = f.state_->slot(f.store_);
           ComRef<IMAPIProp> inner = slot.store ? slot.store->mapiFolder(f.path_) : ComRef<IMAPIProp>();
           const ComRef<IMAPIFolder> folder = ComRef<IMAPIFolder>::adopt(new MapiFolder(f.state_, inner));
           c.result = Variant::fromUnknown(folder.get());
         }},
        {L"DefaultItemType", 0x3106, DISPATCH_PROPERTYGET, 0,
         [](Folder& f, zelvo::DispatchCall& c) {
           f.state_->call(L"MAPIFolder", L"DefaultItemType");
           const auto found = f.state_->itemTypes.find({f.store_, f.path_});
           c.result = Variant::fromInt32(found == f.state_->itemTypes.end() ? 0 : found->second);  // 0: olMailItem
         }},
        {L"Name", 0x3001, DISPATCH_PROPERTYGET, 0,
         [](Folder& f, zelvo::DispatchCall& c) {
           f.state_->call(L"MAPIFolder", L"Name");
           const size_t slash = f.path_.find_last_of(L'/');
           c.result = Variant::fromText(slash == std::wstring::npos ? f.path_ : f.path_.substr(slash + 1));
         }},
    });
    return table;
  }

 private:
  size_t store_;
  std::wstring path_;
  std::string entryId_;
};

// The selected items of an explorer, as they were when asked for.
class Selection final : public HostObject<Selection> {
 public:
  Selection(std::shared_ptr<HostState> state, std::vector<ComRef<IDispatch>> items)
      : HostObject(std::move(state)), items_(std::move(items)) {}
  static const zelvo::DispatchTable<Selection>& dispatchTable() {
    static const zelvo::DispatchTable<Selection> table({
        {L"Count", 0x50, DISPATCH_PROPERTYGET, 0,
         [](Selection& s, zelvo::DispatchCall& c) {
           s.state_->call(L"Selection", L"Count");
           c.result = Variant::fromInt32(static_cast<LONG>(s.items_.size()));
         }},
        {L"Item", 0x51, DISPATCH_METHOD | DISPATCH_PROPERTYGET, 1,
         [](Selection& s, zelvo::DispatchCall& c) {
           s.state_->call(L"Selection", L"Item");
           const LONG i = c.int32(0);
           if (i < 1 || static_cast<size_t>(i) > s.items_.size()) ZEL_HERE.raise(E_INVALIDARG, L"no such item");
           c.result = Variant::fromDispatch(s.items_[i - 1].get());
         }},
    });
    return table;
  }

 private:
  std::vector<ComRef<IDispatch>> items_;
};

// ---- Command bars -------------------------------------------------------------------

// The host finds bars and controls by name without regard to case.
bool sameName(const std::wstring& a, const std::wstring& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (std::towlower(a[i]) != std::towlower(b[i])) return false;
  return true;
}

// A bar or button the add-in deleted answers nothing more, as the host's objects do.
void requireAlive(bool deleted) {
  if (deleted) ZEL_HERE.raise(E_FAIL, L"the object was deleted");
}

class Button final : public EventSource<Button> {
 public:
  Button(std::shared_ptr<HostState> state, std::shared_ptr<BarState> bar, std::shared_ptr<ButtonState> button)
      : EventSource(std::move(state)), bar_(std::move(bar)), button_(std::move(button)) {}
  static const IID* ownInterface() { return &IID_CommandBarButton; }
  static const wchar_t* objectName() { return L"CommandBarButton"; }
  std::vector<std::shared_ptr<EventSinks>> eventSinks() const { return {button_->events}; }
  static const zelvo::DispatchTable<Button>& dispatchTable();

 private:
  // The call recorded, then a get or put of one field.
  void enter(const wchar_t* member) {
    state_->call(L"CommandBarButton", member);
    requireAlive(button_->deleted);
  }
  static void text(Button& b, zelvo::DispatchCall& c, const wchar_t* member, std::wstring ButtonState::*field) {
    b.enter(member);
    if (c.isPut()) (*b.button_).*field = c.value().toText();
    else c.result = Variant::fromText((*b.button_).*field);
  }
  static void flag(Button& b, zelvo::DispatchCall& c, const wchar_t* member, bool ButtonState::*field) {
    b.enter(member);
    if (c.isPut()) (*b.button_).*field = c.value().toBool();
    else c.result = Variant::fromBool((*b.button_).*field);
  }
  static void number(Button& b, zelvo::DispatchCall& c, const wchar_t* member, LONG ButtonState::*field) {
    b.enter(member);
    if (c.isPut()) (*b.button_).*field = c.value().toInt32();
    else c.result = Variant::fromInt32((*b.button_).*field);
  }
  static void object(Button& b, zelvo::DispatchCall& c, const wchar_t* member, ComRef<IUnknown> ButtonState::*field) {
    b.enter(member);
    if (c.isPut()) (*b.button_).*field = c.value().toUnknown();
    else c.result = Variant::fromUnknown(((*b.button_).*field).get());
  }

  std::shared_ptr<BarState> bar_;
  std::shared_ptr<ButtonState> button_;
};

constexpr WORD kProperty = DISPATCH_PROPERTYGET | DISPATCH_PROPERTYPUT;

const zelvo::DispatchTable<Button>& Button::dispatchTable() {
  static const zelvo::DispatchTable<Button> table({
      {L"Caption", 0x60030000, kProperty, 0,
       [](Button& b, zelvo::DispatchCall& c) { text(b, c, L"Caption", &ButtonState::caption); }},
      {L"Tag", 0x60030001, kProperty, 0,
       [](Button& b, zelvo::DispatchCall& c) { text(b, c, L"Tag", &ButtonState::tag); }},
      {L"TooltipText", 0x60030002, kProperty, 0,
       [](Button& b, zelvo::DispatchCall& c) { text(b, c, L"TooltipText", &ButtonState::tooltipText); }},
      {L"Style", 0x60030003, kProperty, 0,
       [](Button& b, zelvo::DispatchCall& c) { number(b, c, L"Style", &ButtonState::style); }},
      {L"State", 0x60030004, kProperty, 0,
       [](Button& b, zelvo::DispatchCall& c) { number(b, c, L"State", &ButtonState::buttonState); }},
      {L"Enabled", 0x60030005, kProperty, 0,
       [](Button& b, zelvo::DispatchCall& c) { flag(b, c, L"Enabled", &ButtonState::enabled); }},
      {L"Visible", 0x60030006, kProperty, 0,
       [](Button& b, zelvo::DispatchCall& c) { flag(b, c, L"Visible", &ButtonState::visible); }},
      {L"BeginGroup", 0x60030007, kProperty, 0,
       [](Button& b, zelvo::DispatchCall& c) { flag(b, c, L"BeginGroup", &ButtonState::beginGroup); }},
      {L"Picture", 0x60030008, kProperty, 0,
       [](Button& b, zelvo::DispatchCall& c) { object(b, c, L"Picture", &ButtonState::picture); }},
      {L"Mask", 0x60030009, kProperty, 0,
       [](Button& b, zelvo::DispatchCall& c) { object(b, c, L"Mask", &ButtonState::mask); }},
      {L"Id", 0x6003000A, DISPATCH_PROPERTYGET, 0,
       [](Button& b, zelvo::DispatchCall& c) {
         b.enter(L"Id");
         c.result = Variant::fromInt32(b.button_->id);
       }},
      {L"Parameter", 0x6003000B, kProperty, 0,
       [](Button& b, zelvo::DispatchCall& c) { text(b, c, L"Parameter", &ButtonState::parameter); }},
      {L"Delete", 0x6003000C, DISPATCH_METHOD, 0,
       [](Button& b, zelvo::DispatchCall&) {
         b.enter(L"Delete");
         auto& controls = b.bar_->controls;
         for (auto it = controls.begin(); it != controls.end(); ++it)
           if (*it == b.button_) {
             controls.erase(it);
             break;
           }
         b.button_->deleted = true;
       }},
  });
  return table;
}

// Finds by a 1-based index or by the text given: a name that no member has and that is a
// number is taken as an index, as the host's collections take either.
template <class Entry, class Named>
std::shared_ptr<Entry> findEntry(const std::vector<std::shared_ptr<Entry>>& entries, const std::wstring& key,
                                 Named name) {
  for (const auto& entry : entries)
    if (sameName(name(*entry), key)) return entry;
  if (!key.empty() && key.find_first_not_of(L"0123456789") == std::wstring::npos && key.size() < 9) {
    const size_t index = std::stoul(key);
    if (index >= 1 && index <= entries.size()) return entries[index - 1];
  }
  ZEL_HERE.raise(E_INVALIDARG, L"no such member: " + key);
}

class Controls final : public HostObject<Controls> {
 public:
  Controls(std::shared_ptr<HostState> state, std::shared_ptr<BarState> bar)
      : HostObject(std::move(state)), bar_(std::move(bar)) {}
  static const zelvo::DispatchTable<Controls>& dispatchTable() {
    static const zelvo::DispatchTable<Controls> table({
        {L"Add", 0x60030000, DISPATCH_METHOD, 5,
         [](Controls& s, zelvo::DispatchCall& c) {
           s.enter(L"Add");
           // msoControlButton is the one kind of control the add-in builds.
           if (c.int32(0) != 1) ZEL_HERE.raise(E_INVALIDARG, L"only buttons can be added");
           auto button = std::make_shared<ButtonState>();
           button->id = c.int32(1);
           button->parameter = c.text(2);
           const LONG before = c.int32(3);
           button->temporary = c.boolean(4);
           auto& controls = s.bar_->controls;
           if (before < 0 || static_cast<size_t>(before) > controls.size() + 1)
             ZEL_HERE.raise(E_INVALIDARG, L"no such place");
           // Before 0 (or past the last) appends.
           const size_t at = before == 0 ? controls.size() : static_cast<size_t>(before) - 1;
           controls.insert(controls.begin() + static_cast<std::ptrdiff_t>(at), button);
           c.result = Variant::fromDispatch(make<Button>(s.state_, s.bar_, button).get());
         }},
        {L"Count", 0x60030001, DISPATCH_PROPERTYGET, 0,
         [](Controls& s, zelvo::DispatchCall& c) {
           s.enter(L"Count");
           c.result = Variant::fromInt32(static_cast<LONG>(s.bar_->controls.size()));
         }},
        {L"Item", 0, DISPATCH_METHOD | DISPATCH_PROPERTYGET, 1,
         [](Controls& s, zelvo::DispatchCall& c) {
           s.enter(L"Item");
           const auto button =
               findEntry(s.bar_->controls, c.text(0), [](const ButtonState& b) -> const std::wstring& { return b.caption; });
           c.result = Variant::fromDispatch(make<Button>(s.state_, s.bar_, button).get());
         }},
    });
    return table;
  }

 private:
  void enter(const wchar_t* member) {
    state_->call(L"CommandBarControls", member);
    requireAlive(bar_->deleted);
  }
  std::shared_ptr<BarState> bar_;
};

class Bar final : public HostObject<Bar> {
 public:
  Bar(std::shared_ptr<HostState> state, std::shared_ptr<Window> window, std::shared_ptr<BarState> bar)
      : HostObject(std::move(state)), window_(std::move(window)), bar_(std::move(bar)) {}
  static const zelvo::DispatchTable<Bar>& dispatchTable();

 private:
  void enter(const wchar_t* member) {
    state_->call(L"CommandBar", member);
    requireAlive(bar_->deleted);
  }
  static void number(Bar& b, zelvo::DispatchCall& c, const wchar_t* member, LONG BarState::*field) {
    b.enter(member);
    if (c.isPut()) (*b.bar_).*field = c.value().toInt32();
    else c.result = Variant::fromInt32((*b.bar_).*field);
  }

  std::shared_ptr<Window> window_;
  std::shared_ptr<BarState> bar_;
};

const zelvo::DispatchTable<Bar>& Bar::dispatchTable() {
  static const zelvo::DispatchTable<Bar> table({
      {L"Controls", 0x60030000, DISPATCH_PROPERTYGET, 0,
       [](Bar& b, zelvo::DispatchCall& c) {
         b.enter(L"Controls");
         c.result = Variant::fromDispatch(make<Controls>(b.state_, b.bar_).get());
       }},
      {L"Name", 0x60030001, kProperty, 0,
       [](Bar& b, zelvo::DispatchCall& c) {
         b.enter(L"Name");
         if (c.isPut()) b.bar_->name = c.value().toText();
         else c.result = Variant::fromText(b.bar_->name);
       }},
      {L"Visible", 0x60030002, kProperty, 0,
       [](Bar& b, zelvo::DispatchCall& c) {
         b.enter(L"Visible");
         if (c.isPut()) b.bar_->visible = c.value().toBool();
         else c.result = Variant::fromBool(b.bar_->visible);
       }},
      {L"Position", 0x60030003, kProperty, 0,
       [](Bar& b, zelvo::DispatchCall& c) { number(b, c, L"Position", &BarState::position); }},
      {L"Left", 0x60030004, kProperty, 0,
       [](Bar& b, zelvo::DispatchCall& c) { number(b, c, L"Left", &BarState::left); }},
      {L"Top", 0x60030005, kProperty, 0,
       [](Bar& b, zelvo::DispatchCall& c) { number(b, c, L"Top", &BarState::top); }},
      {L"RowIndex", 0x60030006, kProperty, 0,
       [](Bar& b, zelvo::DispatchCall& c) { number(b, c, L"RowIndex", &BarState::rowIndex); }},
      {L"Delete", 0x60030007, DISPATCH_METHOD, 0,
       [](Bar& b, zelvo::DispatchCall&) {
         b.enter(L"Delete");
         auto& bars = b.window_->bars;
         for (auto it = bars.begin(); it != bars.end(); ++it)
           if (*it == b.bar_) {
             bars.erase(it);
             break;
           }
         b.bar_->deleted = true;
         for (auto& button : b.bar_->controls) button->deleted = true;
       }},
  });
  return table;
}

class Bars final : public HostObject<Bars> {
 public:
  Bars(std::shared_ptr<HostState> state, std::shared_ptr<Window> window)
      : HostObject(std::move(state)), window_(std::move(window)) {}
  static const zelvo::DispatchTable<Bars>& dispatchTable() {
    static const zelvo::DispatchTable<Bars> table({
        {L"Add", 0x60030000, DISPATCH_METHOD, 4,
         [](Bars& s, zelvo::DispatchCall& c) {
           s.state_->call(L"CommandBars", L"Add");
           auto bar = std::make_shared<BarState>();
           bar->name = c.text(0);
           bar->position = c.int32(1);
           bar->menuBar = c.boolean(2);
           bar->temporary = c.boolean(3);
           for (const auto& other : s.window_->bars)
             if (sameName(other->name, bar->name))
               ZEL_HERE.raise(E_INVALIDARG, L"a command bar of this name exists: " + bar->name);
           s.window_->bars.push_back(bar);
           c.result = Variant::fromDispatch(make<Bar>(s.state_, s.window_, bar).get());
         }},
        {L"Count", 0x60030001, DISPATCH_PROPERTYGET, 0,
         [](Bars& s, zelvo::DispatchCall& c) {
           s.state_->call(L"CommandBars", L"Count");
           c.result = Variant::fromInt32(static_cast<LONG>(s.window_->bars.size()));
         }},
        {L"Item", 0, DISPATCH_METHOD | DISPATCH_PROPERTYGET, 1,
         [](Bars& s, zelvo::DispatchCall& c) {
           s.state_->call(L"CommandBars", L"Item");
           const auto bar =
               findEntry(s.window_->bars, c.text(0), [](const BarState& b) -> const std::wstring& { return b.name; });
           c.result = Variant::fromDispatch(make<Bar>(s.state_, s.window_, bar).get());
         }},
    });
    return table;
  }

 private:
  std::shared_ptr<Window> window_;
};

class Explorer final : public EventSource<Explorer> {
 public:
  Explorer(std::shared_ptr<HostState> state, std::shared_ptr<Window> window)
      : EventSource(std::move(state)), window_(std::move(window)) {}
  static const IID* ownInterface() { return &IID_OutlookExplorer; }
  static const wchar_t* objectName() { return L"Explorer"; }
  std::vector<std::shared_ptr<EventSinks>> eventSinks() const { return {window_->events}; }
  static const zelvo::DispatchTable<Explorer>& dispatchTable() {
    static const zelvo::DispatchTable<Explorer> table({
        {L"CurrentFolder", 0x2101, DISPATCH_PROPERTYGET, 0,
         [](Explorer& e, zelvo::DispatchCall& c) {
           e.state_->call(L"Explorer", L"CurrentFolder");
           c.result = Variant::fromDispatch(e.window_->folder.get());
         }},
        {L"CommandBars", 0x2100, DISPATCH_PROPERTYGET, 0,
         [](Explorer& e, zelvo::DispatchCall& c) {
           e.state_->call(L"Explorer", L"CommandBars");
           c.result = Variant::fromDispatch(make<Bars>(e.state_, e.window_).get());
         }},
        {L"Selection", 0x2202, DISPATCH_PROPERTYGET, 0,
         [](Explorer& e, zelvo::DispatchCall& c) {
           e.state_->call(L"Explorer", L"Selection");
           c.result = Variant::fromDispatch(make<Selection>(e.state_, e.window_->selection).get());
         }},
    });
    return table;
  }

 private:
  std::shared_ptr<Window> window_;
};

class Inspector final : public EventSource<Inspector> {
 public:
  Inspector(std::shared_ptr<HostState> state, std::shared_ptr<Window> window)
      : EventSource(std::move(state)), window_(std::move(window)) {}
  static const IID* ownInterface() { return &IID_OutlookInspector; }
  static const wchar_t* objectName() { return L"Inspector"; }
  std::vector<std::shared_ptr<EventSinks>> eventSinks() const { return {window_->events}; }
  static const zelvo::DispatchTable<Inspector>& dispatchTable() {
    static const zelvo::DispatchTable<Inspector> table({
        {L"CommandBars", 0x2100, DISPATCH_PROPERTYGET, 0,
         [](Inspector& i, zelvo::DispatchCall& c) {
           i.state_->call(L"Inspector", L"CommandBars");
           c.result = Variant::fromDispatch(make<Bars>(i.state_, i.window_).get());
         }},
        {L"CurrentItem", 0x2102, DISPATCH_PROPERTYGET, 0,
         [](Inspector& i, zelvo::DispatchCall& c) {
           i.state_->call(L"Inspector", L"CurrentItem");
           c.result = Variant::fromDispatch(i.window_->item.get());
         }},
    });
    return table;
  }

 private:
  std::shared_ptr<Window> window_;
};

// Explorers and Inspectors: the open windows of a kind, numbered from 1 in the order opened.
template <bool Explorers>
class Windows final : public EventSource<Windows<Explorers>> {
 public:
  explicit Windows(std::shared_ptr<HostState> state) : EventSource<Windows>(std::move(state)) {}
  static const wchar_t* objectName() { return Explorers ? L"Explorers" : L"Inspectors"; }
  std::vector<std::shared_ptr<EventSinks>> eventSinks() const {
    return {Explorers ? this->state_->explorersEvents : this->state_->inspectorsEvents};
  }
  const std::vector<std::shared_ptr<Window>>& windows() const {
    return Explorers ? this->state_->explorers : this->state_->inspectors;
  }
  static const zelvo::DispatchTable<Windows>& dispatchTable() {
    static const zelvo::DispatchTable<Windows> table({
        {L"Count", 0x50, DISPATCH_PROPERTYGET, 0,
         [](Windows& w, zelvo::DispatchCall& c) {
           w.state_->call(objectName(), L"Count");
           c.result = Variant::fromInt32(static_cast<LONG>(w.windows().size()));
         }},
        {L"Item", 0x51, DISPATCH_METHOD | DISPATCH_PROPERTYGET, 1,
         [](Windows& w, zelvo::DispatchCall& c) {
           w.state_->call(objectName(), L"Item");
           const LONG i = c.int32(0);
           if (i < 1 || static_cast<size_t>(i) > w.windows().size()) ZEL_HERE.raise(E_INVALIDARG, L"no such window");
           c.result = Variant::fromDispatch(w.windows()[i - 1]->object.get());
         }},
    });
    return table;
  }
};

class SyncObject final : public EventSource<SyncObject> {
 public:
  SyncObject(std::shared_ptr<HostState> state, std::shared_ptr<SyncState> sync)
      : EventSource(std::move(state)), sync_(std::move(sync)) {}
  static const wchar_t* objectName() { return L"SyncObject"; }
  std::vector<std::shared_ptr<EventSinks>> eventSinks() const { return {sync_->events}; }
  static const zelvo::DispatchTable<SyncObject>& dispatchTable() {
    static const zelvo::DispatchTable<SyncObject> table({
        {L"Name", 0x2100, DISPATCH_PROPERTYGET, 0,
         [](SyncObject& o, zelvo::DispatchCall& c) {
           o.state_->call(L"SyncObject", L"Name");
           c.result = Variant::fromText(o.sync_->name);
         }},
        // A run starts at once and lasts until the test ends it (StandIn::endSync) or the
        // add-in stops it; starting a running group does nothing, as in the host.
        {L"Start", 0x2101, DISPATCH_METHOD, 0,
         [](SyncObject& o, zelvo::DispatchCall&) {
           o.state_->call(L"SyncObject", L"Start");
           if (o.sync_->running) return;
           o.sync_->running = true;
           o.sync_->events->fire(EventId::SyncStart, {});
         }},
        {L"Stop", 0x2102, DISPATCH_METHOD, 0,
         [](SyncObject& o, zelvo::DispatchCall&) {
           o.state_->call(L"SyncObject", L"Stop");
           if (!o.sync_->running) return;
           o.sync_->running = false;
           o.sync_->events->fire(EventId::SyncEnd, {});
         }},
    });
    return table;
  }

 private:
  std::shared_ptr<SyncState> sync_;
};

// The profile's send/receive groups, numbered from 1 or found by name.
class SyncObjects final : public HostObject<SyncObjects> {
 public:
  explicit SyncObjects(std::shared_ptr<HostState> state) : HostObject(std::move(state)) {}
  static const zelvo::DispatchTable<SyncObjects>& dispatchTable() {
    static const zelvo::DispatchTable<SyncObjects> table({
        {L"Count", 0x50, DISPATCH_PROPERTYGET, 0,
         [](SyncObjects& s, zelvo::DispatchCall& c) {
           s.state_->call(L"SyncObjects", L"Count");
           c.result = Variant::fromInt32(static_cast<LONG>(s.state_->syncObjects.size()));
         }},
        {L"Item", 0x51, DISPATCH_METHOD | DISPATCH_PROPERTYGET, 1,
         [](SyncObjects& s, zelvo::DispatchCall& c) {
           s.state_->call(L"SyncObjects", L"Item");
           const auto sync = findEntry(s.state_->syncObjects, c.text(0),
                                       [](const SyncState& o) -> const std::wstring& { return o.name; });
           c.result = Variant::fromDispatch(make<SyncObject>(s.state_, sync).get());
         }},
    });
    return table;
  }
};

// The object the host hands the add-in at connection.
class ComAddIn final : public HostObject<ComAddIn> {
 public:
  explicit ComAddIn(std::shared_ptr<HostState> state) : HostObject(std::move(state)) {}
  static const zelvo::DispatchTable<ComAddIn>& dispatchTable() {
    static const zelvo::DispatchTable<ComAddIn> table({
        {L"Description", 0, kProperty, 0,
         [](ComAddIn& a, zelvo::DispatchCall& c) {
           a.state_->call(L"COMAddIn", L"Description");
           if (c.isPut()) a.state_->addIn->description = c.value().toText();
           else c.result = Variant::fromText(a.state_->addIn->description);
         }},
        {L"ProgId", 3, DISPATCH_PROPERTYGET, 0,
         [](ComAddIn& a, zelvo::DispatchCall& c) {
           a.state_->call(L"COMAddIn", L"ProgId");
           c.result = Variant::fromText(a.state_->addIn->progId);
         }},
        {L"Connect", 6, kProperty, 0,
         [](ComAddIn& a, zelvo::DispatchCall& c) {
           a.state_->call(L"COMAddIn", L"Connect");
           if (c.isPut()) a.state_->addIn->connect = c.value().toBool();
           else c.result = Variant::fromBool(a.state_->addIn->connect);
         }},
        {L"Object", 7, kProperty, 0,
         [](ComAddIn& a, zelvo::DispatchCall& c) {
           a.state_->call(L"COMAddIn", L"Object");
           if (c.isPut()) a.state_->addIn->object = c.value().toDispatch();
           else c.result = Variant::fromDispatch(a.state_->addIn->object.get());
         }},
    });
    return table;
  }
};

// The pages of one dialog, numbered from 1 in the order added.
class PropertyPages final : public HostObject<PropertyPages> {
 public:
  PropertyPages(std::shared_ptr<HostState> state, std::shared_ptr<PagesState> pages)
      : HostObject(std::move(state)), pages_(std::move(pages)) {}
  static const zelvo::DispatchTable<PropertyPages>& dispatchTable() {
    static const zelvo::DispatchTable<PropertyPages> table({
        {L"Add", 0x5F, DISPATCH_METHOD, 2,
         [](PropertyPages& p, zelvo::DispatchCall& c) {
           p.state_->call(L"PropertyPages", L"Add");
           Variant page = c.argument(0);
           // A page is a control the add-in made or the ProgID of one.
           if (page.type() != VT_DISPATCH && page.type() != VT_UNKNOWN && page.type() != VT_BSTR)
             ZEL_HERE.raise(DISP_E_TYPEMISMATCH, L"a page is an object or a ProgID");
           if (page.type() == VT_BSTR && page.toText().empty()) ZEL_HERE.raise(E_INVALIDARG, L"an empty ProgID");
           const std::wstring title = c.text(1);
           p.pages_->pages.push_back(std::move(page));
           p.pages_->titles.push_back(title);
         }},
        {L"Count", 0x50, DISPATCH_PROPERTYGET, 0,
         [](PropertyPages& p, zelvo::DispatchCall& c) {
           p.state_->call(L"PropertyPages", L"Count");
           c.result = Variant::fromInt32(static_cast<LONG>(p.pages_->pages.size()));
         }},
        {L"Item", 0, DISPATCH_METHOD | DISPATCH_PROPERTYGET, 1,
         [](PropertyPages& p, zelvo::DispatchCall& c) {
           p.state_->call(L"PropertyPages", L"Item");
           c.result = Variant::copyOf(p.pages_->pages.at(p.index(c.int32(0))).get());
         }},
        {L"Remove", 0x54, DISPATCH_METHOD, 1,
         [](PropertyPages& p, zelvo::DispatchCall& c) {
           p.state_->call(L"PropertyPages", L"Remove");
           const size_t i = p.index(c.int32(0));
           p.pages_->pages.erase(p.pages_->pages.begin() + static_cast<std::ptrdiff_t>(i));
           p.pages_->titles.erase(p.pages_->titles.begin() + static_cast<std::ptrdiff_t>(i));
         }},
    });
    return table;
  }

 private:
  size_t index(LONG place) const {
    if (place < 1 || static_cast<size_t>(place) > pages_->pages.size()) ZEL_HERE.raise(E_INVALIDARG, L"no such page");
    return static_cast<size_t>(place) - 1;
  }
  std::shared_ptr<PagesState> pages_;
};

// The ribbon as the host hands it to the add-in's onLoad callback.
class RibbonUI final : public HostObject<RibbonUI> {
 public:
  explicit RibbonUI(std::shared_ptr<HostState> state) : HostObject(std::move(state)) {}
  static const IID* ownInterface() { return &IID_IRibbonUI; }
  static const zelvo::DispatchTable<RibbonUI>& dispatchTable() {
    static const zelvo::DispatchTable<RibbonUI> table({
        {L"Invalidate", 1, DISPATCH_METHOD, 0,
         [](RibbonUI& r, zelvo::DispatchCall&) {
           r.state_->call(L"IRibbonUI", L"Invalidate");
           r.state_->ribbonInvalidations.emplace_back();
         }},
        {L"InvalidateControl", 2, DISPATCH_METHOD, 1,
         [](RibbonUI& r, zelvo::DispatchCall& c) {
           r.state_->call(L"IRibbonUI", L"InvalidateControl");
           const std::wstring id = c.text(0);
           if (id.empty()) ZEL_HERE.raise(E_INVALIDARG, L"no control id");
           r.state_->ribbonInvalidations.push_back(id);
         }},
    });
    return table;
  }
};

// The control that a ribbon callback is called for, in the window it was used in.
class RibbonControl final : public HostObject<RibbonControl> {
 public:
  RibbonControl(std::shared_ptr<HostState> state, std::wstring id, std::wstring tag, ComRef<IDispatch> context)
      : HostObject(std::move(state)), id_(std::move(id)), tag_(std::move(tag)), context_(std::move(context)) {}
  static const IID* ownInterface() { return &IID_IRibbonControl; }
  static const zelvo::DispatchTable<RibbonControl>& dispatchTable() {
    static const zelvo::DispatchTable<RibbonControl> table({
        {L"Id", 1, DISPATCH_PROPERTYGET, 0,
         [](RibbonControl& r, zelvo::DispatchCall& c) {
           r.state_->call(L"IRibbonControl", L"Id");
           c.result = Variant::fromText(r.id_);
         }},
        {L"Context", 2, DISPATCH_PROPERTYGET, 0,
         [](RibbonControl& r, zelvo::DispatchCall& c) {
           r.state_->call(L"IRibbonControl", L"Context");
           c.result = Variant::fromDispatch(r.context_.get());
         }},
        {L"Tag", 3, DISPATCH_PROPERTYGET, 0,
         [](RibbonControl& r, zelvo::DispatchCall& c) {
           r.state_->call(L"IRibbonControl", L"Tag");
           c.result = Variant::fromText(r.tag_);
         }},
    });
    return table;
  }

 private:
  std::wstring id_;
  std::wstring tag_;
  ComRef<IDispatch> context_;
};

class NameSpace;

class Application final : public EventSource<Application> {
 public:
  explicit Application(std::shared_ptr<HostState> state) : EventSource(std::move(state)) {}
  static const wchar_t* objectName() { return L"Application"; }
  std::vector<std::shared_ptr<EventSinks>> eventSinks() const {
    return {state_->applicationEvents, state_->applicationEvents11};
  }
  static const zelvo::DispatchTable<Application>& dispatchTable();
};

class NameSpace final : public EventSource<NameSpace> {
 public:
  explicit NameSpace(std::shared_ptr<HostState> state) : EventSource(std::move(state)) {}
  static const wchar_t* objectName() { return L"NameSpace"; }
  std::vector<std::shared_ptr<EventSinks>> eventSinks() const { return {state_->nameSpaceEvents}; }
  static const zelvo::DispatchTable<NameSpace>& dispatchTable() {
    static const zelvo::DispatchTable<NameSpace> table({
        {L"MAPIOBJECT", 0xF061, DISPATCH_PROPERTYGET, 0,
         [](NameSpace& n, zelvo::DispatchCall& c) {
           n.state_->call(L"NameSpace", L"MAPIOBJECT");
           const ComRef<IMAPISession> session = ComRef<IMAPISession>::adopt(new Session(n.state_));
           c.result = Variant::fromUnknown(session.get());
         }},
        {L"SyncObjects", 0x2108, DISPATCH_PROPERTYGET, 0,
         [](NameSpace& n, zelvo::DispatchCall& c) {
           n.state_->call(L"NameSpace", L"SyncObjects");
           c.result = Variant::fromDispatch(make<SyncObjects>(n.state_).get());
         }},
        {L"GetDefaultFolder", 0x210B, DISPATCH_METHOD, 1,
         [](NameSpace& n, zelvo::DispatchCall& c) {
           n.state_->call(L"NameSpace", L"GetDefaultFolder");
           c.result = Variant::fromDispatch(defaultFolder(n.state_, c.int32(0)).get());
         }},
        {L"Application", 0xF000, DISPATCH_PROPERTYGET, 0,
         [](NameSpace& n, zelvo::DispatchCall& c) {
           n.state_->call(L"NameSpace", L"Application");
           c.result = Variant::fromDispatch(make<Application>(n.state_).get());
         }},
    });
    return table;
  }
};

const zelvo::DispatchTable<Application>& Application::dispatchTable() {
  static const zelvo::DispatchTable<Application> table({
      {L"ActiveExplorer", 0x111, DISPATCH_METHOD, 0,
       [](Application& a, zelvo::DispatchCall& c) {
         a.state_->call(L"Application", L"ActiveExplorer");
         c.result = Variant::fromDispatch(a.state_->active(a.state_->explorers).get());
       }},
      {L"ActiveInspector", 0x112, DISPATCH_METHOD, 0,
       [](Application& a, zelvo::DispatchCall& c) {
         a.state_->call(L"Application", L"ActiveInspector");
         c.result = Variant::fromDispatch(a.state_->active(a.state_->inspectors).get());
       }},
      {L"ActiveWindow", 0x114, DISPATCH_METHOD, 0,
       [](Application& a, zelvo::DispatchCall& c) {
         a.state_->call(L"Application", L"ActiveWindow");
         // A read or compose window opens above the explorers.
         const ComRef<IDispatch> inspector = a.state_->active(a.state_->inspectors);
         c.result = Variant::fromDispatch(inspector ? inspector.get() : a.state_->active(a.state_->explorers).get());
       }},
      {L"Explorers", 0x119, DISPATCH_PROPERTYGET, 0,
       [](Application& a, zelvo::DispatchCall& c) {
         a.state_->call(L"Application", L"Explorers");
         c.result = Variant::fromDispatch(make<Windows<true>>(a.state_).get());
       }},
      {L"Inspectors", 0x11A, DISPATCH_PROPERTYGET, 0,
       [](Application& a, zelvo::DispatchCall& c) {
         a.state_->call(L"Application", L"Inspectors");
         c.result = Variant::fromDispatch(make<Windows<false>>(a.state_).get());
       }},
      {L"Version", 0x116, DISPATCH_PROPERTYGET, 0,
       [](Application& a, zelvo::DispatchCall& c) {
         a.state_->call(L"Application", L"Version");
         c.result = Variant::fromText(a.state_->profile.version);
       }},
      {L"Session", 0x3D1, DISPATCH_PROPERTYGET, 0,
       [](Application& a, zelvo::DispatchCall& c) {
         a.state_->call(L"Application", L"Session");
         c.result = Variant::fromDispatch(make<NameSpace>(a.state_).get());
       }},
      {L"GetNamespace", 0x110, DISPATCH_METHOD, 1,
       [](Application& a, zelvo::DispatchCall& c) {
         a.state_->call(L"Application", L"GetNamespace");
         if (c.text(0) != L"MAPI") ZEL_HERE.raise(E_INVALIDARG);
         c.result = Variant::fromDispatch(make<NameSpace>(a.state_).get());
       }},
  });
  return table;
}

ComRef<IDispatch> folderObject(const std::shared_ptr<HostState>& state, size_t store, const std::wstring& path) {
  for (const auto& f : state->slot(store).profileStore.folders)
    if (f.path == path) return make<Folder>(state, store, path, f.entryId);
  // A folder the profile does not list: no entry id of its own.
  return make<Folder>(state, store, path, std::string());
}

ComRef<IDispatch> defaultFolder(const std::shared_ptr<HostState>& state, LONG type) {
  for (size_t s = 0; s < state->stores.size(); ++s) {
    if (!state->stores[s].profileStore.isDefault) continue;
    for (const auto& f : state->stores[s].profileStore.folders)
      if (f.defaultType && *f.defaultType == type) return folderObject(state, s, f.path);
  }
  ZEL_HERE.raiseFormatted(MAPI_E_NOT_FOUND, "no default folder of type %d", type);
}

}  // namespace

StandIn::StandIn(const Profile& profile) : state_(std::make_shared<HostState>()) {
  state_->profile = profile;
  for (const ProfileStore& profileStore : profile.stores) {
    StoreSlot slot;
    slot.profileStore = profileStore;
    if (profileStore.kind == StoreKind::Foreign) {
      // Another provider's id: not of the product's layout.
      slot.entryId = std::string("FRGN", 4) + std::string(reinterpret_cast<const char*>(profileStore.recordKey.bytes()), 16);
    } else {
      ReferenceStore::Mailbox mailbox =
          profileStore.mailboxFolder ? ReferenceStore::loadMailbox(*profileStore.mailboxFolder) : ReferenceStore::Mailbox();
      mailbox.serviceUid = profileStore.serviceUid;
      mailbox.storeClass = storeClassOf(profileStore.kind);
      for (const auto& folder : profileStore.folders) {
        if (ReferenceStore::MailboxFolder* known = mailbox.findFolder(folder.path)) {
          known->entryId = folder.entryId;
          continue;
        }
        ReferenceStore::MailboxFolder added;
        added.path = folder.path;
        added.displayPath = folder.path;
        added.entryId = folder.entryId;
        mailbox.folders.push_back(added);
      }
      slot.store = std::make_unique<ReferenceStore::Store>(std::move(mailbox));
      // The product's store id: flags, the store's key, type 0.
      slot.entryId.assign(4, '\0');
      slot.entryId.append(reinterpret_cast<const char*>(profileStore.recordKey.bytes()), 16);
      slot.entryId.append(4, '\0');
    }
    state_->stores.push_back(std::move(slot));
  }
}

StandIn::~StandIn() {
  // The windows hold objects (the window's own, its folder, selection and item) that hold
  // the state, and so do the sinks a test may have left advised: let go of all of them so
  // that the state goes with the stand-in.
  for (auto* windows : {&state_->explorers, &state_->inspectors}) {
    for (auto& window : *windows) {
      window->object.reset();
      window->folder.reset();
      window->selection.clear();
      window->item.reset();
      window->events->sinks.clear();
      window->bars.clear();
    }
    windows->clear();
  }
  for (const auto& events : {state_->applicationEvents, state_->applicationEvents11, state_->explorersEvents,
                             state_->inspectorsEvents, state_->nameSpaceEvents})
    events->sinks.clear();
  for (const auto& sync : state_->syncObjects) sync->events->sinks.clear();
  // So may what the add-in handed the host.
  state_->addIn->object.reset();
  state_->lastDialog.reset();
}

std::unique_ptr<StandIn> StandIn::load(const std::string& profilePath) {
  return std::make_unique<StandIn>(loadProfile(profilePath));
}

const Profile& StandIn::profile() const { return state_->profile; }

ComRef<IDispatch> StandIn::application() { return make<Application>(state_); }
ComRef<IDispatch> StandIn::nameSpace() { return make<NameSpace>(state_); }
ComRef<IMAPISession> StandIn::session() { return ComRef<IMAPISession>::adopt(new Session(state_)); }

ComRef<IDispatch> StandIn::folder(size_t storeIndex, const std::wstring& path) {
  return folderObject(state_, storeIndex, path);
}

ComRef<IDispatch> StandIn::mailItem(const std::wstring& entryIdText) { return make<MailItem>(state_, entryIdText); }

ComRef<IDispatch> StandIn::item(const ItemSetup& setup) {
  return setup.mail ? make<MailItem>(state_, setup) : make<AppointmentItem>(state_, setup);
}

void StandIn::setDefaultItemType(size_t storeIndex, const std::wstring& path, LONG type) {
  state_->slot(storeIndex);
  state_->itemTypes[{storeIndex, path}] = type;
}

void StandIn::select(std::vector<ComRef<IDispatch>> items) {
  if (state_->explorers.empty()) ZEL_HERE.raise(E_INVALIDARG, L"no explorer to select in");
  Window& explorer = *state_->explorers.back();
  explorer.selection = std::move(items);
  explorer.events->fire(EventId::SelectionChange, {});
}

ReferenceStore::Store& StandIn::store(size_t storeIndex) {
  StoreSlot& slot = state_->slot(storeIndex);
  if (!slot.store) ZEL_HERE.raise(E_INVALIDARG, L"a foreign store has no reference store");
  return *slot.store;
}

void StandIn::openExplorer(IDispatch* folder) {
  auto window = std::make_shared<Window>(IID_ExplorerEvents_10);
  window->folder = ComRef<IDispatch>(folder);
  window->object = make<Explorer>(state_, window);
  state_->explorers.push_back(window);
  state_->explorersEvents->fire(EventId::NewExplorer, {borrowed(window->object.get())});
}
void StandIn::closeExplorer() {
  if (state_->explorers.empty()) ZEL_HERE.raise(E_INVALIDARG, L"no explorer open");
  closeWindow(state_->explorers, state_->explorers.size() - 1);
}
void StandIn::openInspector(IDispatch* item, bool compose) {
  auto window = std::make_shared<Window>(IID_InspectorEvents_10);
  window->item = ComRef<IDispatch>(item);
  window->compose = compose;
  window->object = make<Inspector>(state_, window);
  state_->inspectors.push_back(window);
  state_->inspectorsEvents->fire(EventId::NewInspector, {borrowed(window->object.get())});
}
void StandIn::closeInspector() {
  if (state_->inspectors.empty()) ZEL_HERE.raise(E_INVALIDARG, L"no inspector open");
  closeWindow(state_->inspectors, state_->inspectors.size() - 1);
}

void StandIn::closeWindow(std::vector<std::shared_ptr<Window>>& windows, size_t index) {
  // The window is gone from the collection before its Close reaches the sinks, whose
  // object stays alive for the call.
  const std::shared_ptr<Window> window = windows.at(index);
  windows.erase(windows.begin() + static_cast<std::ptrdiff_t>(index));
  const ComRef<IDispatch> object = window->object;
  window->object.reset();
  window->events->fire(EventId::Close, {});
}

ComRef<IDispatch> StandIn::comAddIn(const std::wstring& progId, const std::wstring& description) {
  state_->addIn->progId = progId;
  state_->addIn->description = description;
  return make<ComAddIn>(state_);
}

ComRef<IDispatch> StandIn::openPropertyDialog() {
  state_->lastDialog = std::make_shared<PagesState>();
  return make<PropertyPages>(state_, state_->lastDialog);
}

std::vector<std::wstring> StandIn::pageTitles() const {
  if (!state_->lastDialog) ZEL_HERE.raise(E_INVALIDARG, L"no dialog opened");
  return state_->lastDialog->titles;
}

ComRef<IDispatch> StandIn::ribbonUI() { return make<RibbonUI>(state_); }

ComRef<IDispatch> StandIn::ribbonControl(const std::wstring& id, const std::wstring& tag, IDispatch* context) {
  return make<RibbonControl>(state_, id, tag, ComRef<IDispatch>(context));
}

std::vector<std::wstring> StandIn::ribbonInvalidations() const { return state_->ribbonInvalidations; }

void StandIn::addSyncObject(const std::wstring& name) {
  auto sync = std::make_shared<SyncState>();
  sync->name = name;
  state_->syncObjects.push_back(std::move(sync));
}

void StandIn::endSync(const std::wstring& name, std::optional<std::pair<LONG, std::wstring>> error) {
  std::shared_ptr<SyncState> sync;
  for (const auto& candidate : state_->syncObjects)
    if (candidate->name == name) sync = candidate;
  if (!sync || !sync->running) ZEL_HERE.raise(E_INVALIDARG, L"no send/receive running for " + name);
  sync->running = false;
  if (error) {
    VARIANT code;
    VariantInit(&code);
    code.vt = VT_I4;
    code.lVal = error->first;
    // The description is lent for the call, as the objects are.
    const Variant description = Variant::fromText(error->second);
    sync->events->fire(EventId::OnError, {code, description.get()});
  }
  sync->events->fire(EventId::SyncEnd, {});
}

bool StandIn::clickButton(const std::wstring& tag) {
  // Each button's object lives for its call, as the host hands out a new one per event.
  std::vector<std::pair<std::shared_ptr<BarState>, std::shared_ptr<ButtonState>>> tagged;
  for (auto* windows : {&state_->explorers, &state_->inspectors})
    for (const auto& window : *windows)
      for (const auto& bar : window->bars)
        for (const auto& button : bar->controls)
          if (button->tag == tag) tagged.emplace_back(bar, button);
  if (tagged.empty()) ZEL_HERE.raise(E_INVALIDARG, L"no button tagged " + tag);
  VARIANT_BOOL cancel = VARIANT_FALSE;
  for (const auto& [bar, button] : tagged) {
    const ComRef<IDispatch> object = make<Button>(state_, bar, button);
    VARIANT cancelArgument;
    VariantInit(&cancelArgument);
    cancelArgument.vt = VT_BOOL | VT_BYREF;
    cancelArgument.pboolVal = &cancel;
    button->events->fire(EventId::Click, {borrowed(object.get()), cancelArgument});
  }
  return cancel != VARIANT_FALSE;
}

void StandIn::failNext(const std::wstring& member, HRESULT code) { state_->failures[member].push_back(code); }
void StandIn::answerColumns(std::vector<ULONG> tags) { state_->answeredColumns = std::move(tags); }
std::vector<std::wstring> StandIn::calls() const { return state_->calls; }
void StandIn::clearCalls() { state_->calls.clear(); }
size_t StandIn::liveTables() const { return state_->liveTables; }

}  // namespace OutlookStandIn

namespace OutlookStandIn {

namespace {
[[noreturn]] void refuse(const HostAction& action, HRESULT code, const std::wstring& what) {
  ZEL_HERE.raise(code, L"actions line " + std::to_wstring(action.line) + L": " + what);
}
}  // namespace

void StandIn::play(const std::vector<HostAction>& actions, const std::function<void(const HostAction&)>& addIn) {
  using Verb = HostAction::Verb;
  for (const HostAction& action : actions) {
    switch (action.verb) {
      case Verb::Startup:
        state_->fireApplication(EventId::Startup, {});
        break;
      case Verb::OpenFolder: {
        if (action.store >= state_->stores.size())
          refuse(action, E_INVALIDARG, L"no store " + std::to_wstring(action.store));
        const ComRef<IDispatch> folder = folderObject(state_, action.store, action.text);
        if (state_->explorers.empty()) {
          openExplorer(folder.get());
          break;
        }
        // A folder switch drops the selection, as the host's does.
        Window& explorer = *state_->explorers.back();
        explorer.folder = folder;
        explorer.selection.clear();
        explorer.events->fire(EventId::FolderSwitch, {});
        break;
      }
      case Verb::Select: {
        if (state_->explorers.empty()) refuse(action, E_INVALIDARG, L"no explorer to select in");
        Window& explorer = *state_->explorers.back();
        explorer.selection.clear();
        for (const auto& id : action.entryIds) explorer.selection.push_back(make<MailItem>(state_, id));
        explorer.events->fire(EventId::SelectionChange, {});
        break;
      }
      case Verb::OpenInspector:
        openInspector(make<MailItem>(state_, action.entryIds.at(0)).get(), action.compose);
        break;
      case Verb::Send:
      case Verb::CloseInspector: {
        if (action.window > state_->inspectors.size())
          refuse(action, E_INVALIDARG, L"no inspector " + std::to_wstring(action.window));
        const size_t index = action.window - 1;
        if (action.verb == Verb::Send) {
          const std::shared_ptr<Window> inspector = state_->inspectors[index];
          if (!inspector->compose) refuse(action, E_INVALIDARG, L"inspector " + std::to_wstring(action.window) + L" is not composing");
          VARIANT_BOOL cancel = VARIANT_FALSE;
          VARIANT cancelArgument;
          VariantInit(&cancelArgument);
          cancelArgument.vt = VT_BOOL | VT_BYREF;
          cancelArgument.pboolVal = &cancel;
          state_->fireApplication(EventId::ItemSend, {borrowed(inspector->item.get()), cancelArgument});
          // A cancelled send leaves the item open to be edited.
          if (cancel != VARIANT_FALSE) break;
        }
        closeWindow(state_->inspectors, index);
        break;
      }
      case Verb::Quit:
        while (!state_->inspectors.empty()) closeWindow(state_->inspectors, state_->inspectors.size() - 1);
        while (!state_->explorers.empty()) closeWindow(state_->explorers, state_->explorers.size() - 1);
        state_->fireApplication(EventId::Quit, {});
        break;
      case Verb::Connect:
      case Verb::Click:
        if (!addIn) refuse(action, E_NOTIMPL, L"no add-in to play this action");
        addIn(action);
        break;
    }
  }
}

}  // namespace OutlookStandIn
