#include "addin/AddInUtils.h"

#include <cstring>
#include <exception>
#include <new>
#include <stdexcept>
#include <tuple>

#include "base/LateBinding.h"
#include "base/Variant.h"
#include "store/EntryId.h"

namespace AddIn {
namespace Utils {

// {00063003-0000-0000-C000-000000000046} and {00063005-...}, as the host's type library has them.
const IID IID__Explorer = {0x00063003, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
const IID IID__Inspector = {0x00063005, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

const wchar_t* const kPrivateStoreProvider =
    L"Zelvo Mail Bridge (Offline Edition) - Private Message Store Service";
const wchar_t* const kPublicStoreProvider = L"Zelvo Mail Bridge (Offline Edition) - Public Message Store Service";
const wchar_t* const kDelegateStoreProvider =
    L"Zelvo Mail Bridge (Offline Edition) - Delegate Message Store Service";

namespace {

constexpr ULONG kMsgStoresBatch = 50;

// A tag array of fixed size with the layout of SPropTagArray.
template <ULONG N>
struct TagArray {
  ULONG cValues = N;
  ULONG aulPropTag[N];
};

bool sameText(const wchar_t* text, size_t length, const wchar_t* expected) {
  const size_t expectedLength = std::wcslen(expected);
  return length == expectedLength && std::wmemcmp(text, expected, length) == 0;
}

Guid guidOf(const SPropValue& value) {
  Guid guid;
  guid.setData(value.Value.bin.lpb, value.Value.bin.cb);
  return guid;
}

ComRef<IMAPISession> sessionOf(IDispatch* nameSpace) {
  ComRef<IMAPISession> session;
  getMAPIObjectFor(nameSpace, session);
  return session;
}

template <class Wanted>
void mapiObjectFor(IDispatch* object, ComRef<Wanted>& out, REFIID iid) {
  if (!object || out) ZEL_HERE.raise(E_INVALIDARG);
  const ComRef<IDispatch> dispatch = ComRef<IUnknown>(object).template as<IDispatch>(IID_IDispatch);
  const Variant value = zelvo::getProperty(dispatch.get(), L"MAPIOBJECT");
  const VARIANT& raw = value.get();
  IUnknown* unknown = nullptr;
  if (raw.vt == VT_UNKNOWN) unknown = raw.punkVal;
  else if (raw.vt == VT_DISPATCH) unknown = raw.pdispVal;
  if (!unknown) ZEL_HERE.raise(E_FAIL, L"Failed to get MAPIOBJECT");
  out = ComRef<IUnknown>(unknown).template as<Wanted>(iid);
}

template <class Config>
void configForObject(IMAPIProp* object, ComRef<Config>& out, REFIID iid) {
  if (!object || out) ZEL_HERE.raise(E_INVALIDARG);
  ComRef<IUnknown> unknown;
  ZEL_CHECK(object->OpenProperty(kConfigPropertyTag, &IID_IUnknown, 0, 0, unknown.put()));
  out = unknown.template as<Config>(iid);
}

template <class Config>
void allocatorFromConfig(Config* config, ComRef<IStoreAllocator>& out) {
  if (!config) ZEL_HERE.raise(E_INVALIDARG);
  ComRef<IUnknown> allocator;
  ZEL_CHECK(config->getAllocator(allocator.put()));
  out = allocator.template as<IStoreAllocator>(IID_IStoreAllocator);
}

ComRef<IDispatch> objectOf(const Variant& value) {
  if (value.type() != VT_DISPATCH && value.type() != VT_UNKNOWN) return ComRef<IDispatch>();
  return value.toDispatch();
}

// A host object read by name, or null when the host answered nothing.
ComRef<IDispatch> objectProperty(IDispatch* object, const wchar_t* name) {
  return objectOf(zelvo::getProperty(object, name));
}

// The same from a method without arguments; the active windows are methods of the host.
ComRef<IDispatch> objectFromMethod(IDispatch* object, const wchar_t* name) {
  return objectOf(zelvo::callMethod(object, name));
}

int hexDigit(wchar_t c) {
  if (c >= L'0' && c <= L'9') return c - L'0';
  if (c >= L'A' && c <= L'F') return c - L'A' + 10;
  return -1;
}

}  // namespace

StoreKind storeKindOfProvider(const wchar_t* providerName, size_t length) {
  if (!providerName) return kStoreForeign;
  if (sameText(providerName, length, kPrivateStoreProvider)) return kStorePrivate;
  if (sameText(providerName, length, kPublicStoreProvider)) return kStorePublic;
  if (sameText(providerName, length, kDelegateStoreProvider)) return kStoreDelegate;
  return kStoreForeign;
}

namespace details {

bool getMsgStoresMap(IMAPISession* session, MsgStoresMap& map) {
  if (!session) ZEL_HERE.raise(E_INVALIDARG);
  try {
    map.clear();
    struct Joined {
      Guid recordKey;
      Guid serviceUid;
      StoreKind kind;
    };
    std::map<Guid, ComRef<IMsgStore>> privateByService;
    std::vector<Joined> toJoin;
    {
      ComRef<IMAPITable> table;
      ZEL_CHECK(session->GetMsgStoresTable(0, table.put()));
      TagArray<4> columns;
      const ULONG tags[4] = {PR_PROVIDER_DISPLAY_W, PR_ENTRYID, PR_RECORD_KEY, PR_SERVICE_UID};
      std::memcpy(columns.aulPropTag, tags, sizeof tags);
      ZEL_CHECK(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0));
      for (;;) {
        RowSet rows;
        ZEL_CHECK(table->QueryRows(static_cast<LONG>(kMsgStoresBatch), 0, rows.put()));
        if (rows.count() == 0) break;
        for (ULONG i = 0; i < rows.count(); ++i) {
          const SRow& row = rows[i];
          if (row.cValues != 4 || !row.lpProps) ZEL_HERE.raise(E_INVALIDARG);
          for (ULONG c = 0; c < 4; ++c)
            if (row.lpProps[c].ulPropTag != tags[c]) ZEL_HERE.raise(E_INVALIDARG);
          const SPropValue* props = row.lpProps;
          const wchar_t* name = props[0].Value.lpszW;
          const StoreKind kind = storeKindOfProvider(name, name ? std::wcslen(name) : 0);
          if (kind == kStoreForeign) continue;
          const Guid recordKey = guidOf(props[2]);
          const Guid serviceUid = guidOf(props[3]);
          if (kind != kStorePrivate) {
            toJoin.push_back({recordKey, serviceUid, kind});
            continue;
          }
          // The provider may keep the id it was given; the store gets its own copy.
          std::string entryId(reinterpret_cast<const char*>(props[1].Value.bin.lpb), props[1].Value.bin.cb);
          ComRef<IMsgStore> store;
          ZEL_CHECK(session->OpenMsgStore(0, static_cast<ULONG>(entryId.size()),
                                          reinterpret_cast<LPENTRYID>(entryId.data()), &IID_IMsgStore,
                                          MAPI_BEST_ACCESS, store.put()));
          if (!store) ZEL_HERE.raise(E_FAIL);
          map[recordKey] = MsgStoreEntry{store, kStorePrivate};
          privateByService[serviceUid] = store;
        }
      }
    }
    for (const Joined& entry : toJoin) {
      const auto found = privateByService.find(entry.serviceUid);
      if (found != privateByService.end()) map[entry.recordKey] = MsgStoreEntry{found->second, entry.kind};
    }
    return !map.empty();
  } catch (const HResultException&) {
    throw;
  } catch (const std::bad_alloc&) {
    ZEL_HERE.raise(E_OUTOFMEMORY);
  } catch (const std::exception&) {
    ZEL_HERE.raise(E_FAIL);
  }
}

std::vector<ComRef<IMsgStore>> getMsgStores(IDispatch* nameSpace) {
  if (!nameSpace) ZEL_HERE.raise(E_INVALIDARG);
  const ComRef<IMAPISession> session = sessionOf(nameSpace);
  ComRef<IMAPITable> table;
  ZEL_CHECK(session->GetMsgStoresTable(0, table.put()));
  TagArray<1> columns;
  columns.aulPropTag[0] = PR_ENTRYID;
  ZEL_CHECK(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0));
  std::vector<ComRef<IMsgStore>> stores;
  for (;;) {
    RowSet rows;
    ZEL_CHECK(table->QueryRows(static_cast<LONG>(kMsgStoresBatch), 0, rows.put()));
    if (rows.count() == 0) return stores;
    for (ULONG i = 0; i < rows.count(); ++i) {
      const SRow& row = rows[i];
      if (row.cValues != 1 || !row.lpProps || row.lpProps[0].ulPropTag != PR_ENTRYID) ZEL_HERE.raise(E_INVALIDARG);
      std::string entryId(reinterpret_cast<const char*>(row.lpProps[0].Value.bin.lpb), row.lpProps[0].Value.bin.cb);
      ComRef<IMsgStore> store;
      ZEL_CHECK(session->OpenMsgStore(0, static_cast<ULONG>(entryId.size()),
                                      reinterpret_cast<LPENTRYID>(entryId.data()), &IID_IMsgStore,
                                      MAPI_BEST_ACCESS, store.put()));
      if (!store) ZEL_HERE.raise(E_FAIL);
      stores.push_back(store);
    }
  }
}

void getConfigForObject(IMAPIProp* object, ComRef<IGlobalConfig>& out) {
  configForObject(object, out, IID_IGlobalConfig);
}

void getConfigForObject(IMAPIProp* object, ComRef<IFolderConfig>& out) {
  configForObject(object, out, IID_IFolderConfig);
}

MsoVersion queryMsoApplicationVersion(IDispatch* application) {
  if (!application) ZEL_HERE.raise(E_INVALIDARG);
  MsoVersion version;
  version.text = zelvo::getProperty(application, L"Version").toText();
  ULONG* const parts[4] = {&version.major, &version.minor, &version.build, &version.revision};
  size_t at = 0;
  for (ULONG* part : parts) {
    unsigned long long value = 0;
    bool digits = false;
    while (at < version.text.size() && version.text[at] >= L'0' && version.text[at] <= L'9') {
      value = value * 10 + static_cast<unsigned>(version.text[at] - L'0');
      if (value > 0xFFFFFFFFull) value = 0xFFFFFFFFull;
      digits = true;
      ++at;
    }
    if (!digits) break;
    *part = static_cast<ULONG>(value);
    if (at >= version.text.size() || version.text[at] != L'.') break;
    ++at;
  }
  return version;
}

}  // namespace details

void getMsoGlobalConfigs(IDispatch* nameSpace, StoreConfigs& configs) {
  if (!nameSpace) ZEL_HERE.raise(E_INVALIDARG);
  const ComRef<IMAPISession> session = sessionOf(nameSpace);
  MsgStoresMap stores;
  if (!details::getMsgStoresMap(session.get(), stores)) ZEL_HERE.raise(MAPI_E_NOT_FOUND, L"No private store found");
  configs.clear();
  for (const auto& [key, entry] : stores) {
    if (entry.kind == kStoreForeign) continue;
    ComRef<IGlobalConfig> config;
    details::getConfigForObject(entry.store.get(), config);
    configs[key] = StoreConfigEntry{config, entry.kind, false};
  }
}

int getMsoMsgStoreStatus(IDispatch* nameSpace, const StoreConfigs& configs) {
  if (!nameSpace) ZEL_HERE.raise(E_INVALIDARG);
  const ComRef<IMAPISession> session = sessionOf(nameSpace);
  ComRef<IMAPITable> table;
  ZEL_CHECK(session->GetMsgStoresTable(0, table.put()));
  TagArray<1> columns;
  columns.aulPropTag[0] = PR_RECORD_KEY;
  ZEL_CHECK(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0));
  SPropValue isDefault{};
  isDefault.ulPropTag = PR_DEFAULT_STORE;
  isDefault.Value.b = 1;
  SRestriction restriction{};
  restriction.rt = RES_PROPERTY;
  restriction.res.resProperty.relop = RELOP_EQ;
  restriction.res.resProperty.ulPropTag = PR_DEFAULT_STORE;
  restriction.res.resProperty.lpProp = &isDefault;
  ZEL_CHECK(table->Restrict(&restriction, 0));
  for (;;) {
    RowSet rows;
    ZEL_CHECK(table->QueryRows(1, 0, rows.put()));
    if (rows.count() == 0) return 0;
    const SRow& row = rows[0];
    if (row.cValues != 1 || !row.lpProps || row.lpProps[0].ulPropTag != PR_RECORD_KEY ||
        row.lpProps[0].Value.bin.cb != 16)
      continue;
    if (configs.count(guidOf(row.lpProps[0]))) return 2;
  }
}

void getMsoFolderConfig(IDispatch* folder, ComRef<IFolderConfig>& out) {
  if (!folder || out) ZEL_HERE.raise(E_INVALIDARG);
  ComRef<IMAPIFolder> mapiFolder;
  getMAPIObjectFor(folder, mapiFolder);
  details::getConfigForObject(mapiFolder.get(), out);
}

void getAllocatorFromConfig(IGlobalConfig* config, ComRef<IStoreAllocator>& out) { allocatorFromConfig(config, out); }
void getAllocatorFromConfig(IFolderConfig* config, ComRef<IStoreAllocator>& out) { allocatorFromConfig(config, out); }

void getMAPIObjectFor(IDispatch* object, ComRef<IMAPISession>& out) { mapiObjectFor(object, out, IID_IMAPISession); }
void getMAPIObjectFor(IDispatch* object, ComRef<IMAPIProp>& out) { mapiObjectFor(object, out, IID_IMAPIProp); }
void getMAPIObjectFor(IDispatch* object, ComRef<IMAPIFolder>& out) { mapiObjectFor(object, out, IID_IMAPIFolder); }

bool isMsoDefaultFolder(IDispatch* nameSpace, IDispatch* folder, LONG folderType) {
  if (!nameSpace || !folder) ZEL_HERE.raise(E_INVALIDARG);
  const Variant defaultFolder = zelvo::callMethod(nameSpace, L"GetDefaultFolder", {Variant::fromInt32(folderType)});
  const ComRef<IDispatch> defaultObject = defaultFolder.toDispatch();
  if (!defaultObject) ZEL_HERE.raise(E_FAIL);
  // Two folders are the same when their entry-id texts are, compared as the user's locale
  // compares texts.
  const Variant defaultId = zelvo::getProperty(defaultObject.get(), L"EntryID").changedTo(VT_BSTR);
  const Variant folderId = zelvo::getProperty(folder, L"EntryID").changedTo(VT_BSTR);
  const HRESULT order = VarBstrCmp(defaultId.get().bstrVal, folderId.get().bstrVal, LOCALE_USER_DEFAULT, 0);
  if (FAILED(order)) ZEL_HERE.raise(order);
  return order == VARCMP_EQ;
}

std::string strHex2Bin(const std::wstring& text) {
  if (text.size() % 2 != 0) ZEL_HERE.raise(E_INVALIDARG);
  std::string bytes;
  bytes.reserve(text.size() / 2);
  for (size_t i = 0; i < text.size(); i += 2) {
    const int high = hexDigit(text[i]);
    const int low = hexDigit(text[i + 1]);
    if (high < 0 || low < 0) ZEL_HERE.raise(E_INVALIDARG);
    bytes.push_back(static_cast<char>(high * 16 + low));
  }
  return bytes;
}

int getStoreGuid(const std::wstring& entryIdText, Guid& out) {
  const std::string bytes = strHex2Bin(entryIdText);
  if (bytes.empty()) return 0;
  // Entry ids of other providers do not take apart; that is how they are told apart.
  try {
    Guid provider;
    Guid object;
    uint32_t type = 0;
    EntryId(bytes).getComponents(provider, object, type);
    out = object;
    return 1;
  } catch (const std::exception&) {
    return 2;
  }
}

int getStoreGuid(Explorer explorer, Guid& out) {
  if (!explorer.object) return 0;
  const ComRef<IDispatch> folder = objectProperty(explorer.object, L"CurrentFolder");
  if (!folder) return 0;
  const Variant entryId = zelvo::getProperty(folder.get(), L"EntryID");
  return getStoreGuid(entryId.type() == VT_BSTR ? entryId.toText() : std::wstring(), out);
}

int getStoreGuid(Inspector inspector, Guid& out) {
  if (!inspector.object) return 0;
  const ComRef<IDispatch> item = objectProperty(inspector.object, L"CurrentItem");
  if (!item) return 0;
  const Variant entryId = zelvo::getProperty(item.get(), L"EntryID");
  if (entryId.type() != VT_BSTR || !entryId.get().bstrVal) return 0;
  return getStoreGuid(entryId.toText(), out);
}

int getStoreGuid(NameSpace nameSpace, Guid& out) {
  if (!nameSpace.object) return 0;
  const ComRef<IDispatch> application = objectProperty(nameSpace.object, L"Application");
  if (!application) return 0;
  const ComRef<IDispatch> explorer = objectFromMethod(application.get(), L"ActiveExplorer");
  const int status = getStoreGuid(Explorer{explorer.get()}, out);
  if (status != 0) return status;
  const ComRef<IDispatch> inspector = objectFromMethod(application.get(), L"ActiveInspector");
  return getStoreGuid(Inspector{inspector.get()}, out);
}

int getStoreGuid(Window window, Guid& out) {
  if (!window.object) return 0;
  ComRef<IDispatch> explorer;
  if (SUCCEEDED(window.object->QueryInterface(IID__Explorer, explorer.putVoid())) && explorer) {
    const int status = getStoreGuid(Explorer{explorer.get()}, out);
    if (status != 0) return status;
  }
  ComRef<IDispatch> inspector;
  if (SUCCEEDED(window.object->QueryInterface(IID__Inspector, inspector.putVoid())) && inspector)
    return getStoreGuid(Inspector{inspector.get()}, out);
  return 0;
}

std::wstring translateFolderName(IGlobalConfig* config, const std::wstring& name, ULONG number) {
  if (!config) ZEL_HERE.raise(E_INVALIDARG);
  const Bstr given(name);
  Bstr translated;
  // A store that cannot translate keeps the host's name.
  if (FAILED(config->translateFolderName(number, given.get(), translated.put()))) return name;
  return translated.text();
}

}  // namespace Utils
}  // namespace AddIn
