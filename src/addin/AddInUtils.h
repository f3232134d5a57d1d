// Finding the product's stores in the host's profile, and the bridge from the host's
// object model to MAPI: which IGlobalConfig belongs to what the user has selected.
//
// Host objects go in as IDispatch and are read by name; MAPI objects as their interfaces.
// Every operation raises HResultException on failure unless its comment says otherwise.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "base/ComRef.h"
#include "base/Guid.h"
#include "platform/Mapi.h"
#include "store/StoreInterfaces.h"

namespace AddIn {
namespace Utils {

// The host's dispinterfaces that a window is asked for.
extern const IID IID__Explorer;
extern const IID IID__Inspector;

// What a store of the profile is to the product, by its provider's display name.
enum StoreKind : int {
  kStoreForeign = 0,
  kStorePrivate = 1,
  kStorePublic = 2,
  kStoreDelegate = 3,
};

// The provider names of the three store kinds, compared whole and with regard to case.
extern const wchar_t* const kPrivateStoreProvider;
extern const wchar_t* const kPublicStoreProvider;
extern const wchar_t* const kDelegateStoreProvider;

StoreKind storeKindOfProvider(const wchar_t* providerName, size_t length);

// One store of the product: the opened private store of its service and the kind of the
// store that the key names. All stores of one service share the private store.
struct MsgStoreEntry {
  ComRef<IMsgStore> store;
  StoreKind kind = kStoreForeign;
};

struct StoreConfigEntry {
  ComRef<IGlobalConfig> config;
  StoreKind kind = kStoreForeign;
  bool abAttached = false;
};

using MsgStoresMap = std::map<Guid, MsgStoreEntry>;
using StoreConfigs = std::map<Guid, StoreConfigEntry>;

// A row set of a MAPI table, freed as FreeProws does: each row's values, then the set,
// through MAPIFreeBuffer. Done here rather than by FreeProws, which not every MAPI
// library in the field provides.
class RowSet {
 public:
  RowSet() = default;
  RowSet(const RowSet&) = delete;
  RowSet& operator=(const RowSet&) = delete;
  ~RowSet() { reset(); }

  LPSRowSet* put() {
    reset();
    return &rows_;
  }
  void reset() {
    if (!rows_) return;
    for (ULONG i = 0; i < rows_->cRows; ++i) MAPIFreeBuffer(rows_->aRow[i].lpProps);
    MAPIFreeBuffer(rows_);
    rows_ = nullptr;
  }
  ULONG count() const { return rows_ ? rows_->cRows : 0; }
  const SRow& operator[](ULONG i) const { return rows_->aRow[i]; }

 private:
  LPSRowSet rows_ = nullptr;
};

// The host's version, scanned from its text "major.minor.build.revision"; missing parts
// are 0.
struct MsoVersion {
  std::wstring text;
  ULONG major = 0;
  ULONG minor = 0;
  ULONG build = 0;
  ULONG revision = 0;
};

namespace details {

// One pass over the session's store table; public and delegate stores join the private
// store of their service after the last row. True when the map is not empty.
bool getMsgStoresMap(IMAPISession* session, MsgStoresMap& map);

// The store's or folder's configuration object, by OpenProperty of the configuration
// property; a foreign object refuses it, and that refusal is raised.
// Every message store of the profile, the product's and foreign ones, opened in table order.
std::vector<ComRef<IMsgStore>> getMsgStores(IDispatch* nameSpace);

void getConfigForObject(IMAPIProp* object, ComRef<IGlobalConfig>& out);
void getConfigForObject(IMAPIProp* object, ComRef<IFolderConfig>& out);

MsoVersion queryMsoApplicationVersion(IDispatch* application);

}  // namespace details

// Raises MAPI_E_NOT_FOUND "No private store found" when the profile has no store of the
// product.
void getMsoGlobalConfigs(IDispatch* nameSpace, StoreConfigs& configs);

// 2 when the profile's default store is one of configs, else 0.
int getMsoMsgStoreStatus(IDispatch* nameSpace, const StoreConfigs& configs);

void getMsoFolderConfig(IDispatch* folder, ComRef<IFolderConfig>& out);

void getAllocatorFromConfig(IGlobalConfig* config, ComRef<IStoreAllocator>& out);
void getAllocatorFromConfig(IFolderConfig* config, ComRef<IStoreAllocator>& out);

// The MAPI object behind a host object's MAPIOBJECT property; anything else than a
// non-null object raises E_FAIL "Failed to get MAPIOBJECT".
void getMAPIObjectFor(IDispatch* object, ComRef<IMAPISession>& out);
void getMAPIObjectFor(IDispatch* object, ComRef<IMAPIProp>& out);
void getMAPIObjectFor(IDispatch* object, ComRef<IMAPIFolder>& out);

// Whether folder is the default folder of folderType, by the text of their entry ids.
bool isMsoDefaultFolder(IDispatch* nameSpace, IDispatch* folder, LONG folderType);

// Upper-case hexadecimal text to bytes; odd length or any other character raises
// E_INVALIDARG.
std::string strHex2Bin(const std::wstring& text);

// The host objects that getStoreGuid tells apart; all of them are reached by name.
struct Explorer {
  IDispatch* object;
};
struct Inspector {
  IDispatch* object;
};
struct NameSpace {
  IDispatch* object;
};
// A window of either kind.
struct Window {
  IDispatch* object;
};

// The Guid of the store that a window shows: 0 nothing found, 1 found, 2 an entry id that
// is not the product's.
int getStoreGuid(const std::wstring& entryIdText, Guid& out);
int getStoreGuid(Explorer explorer, Guid& out);
int getStoreGuid(Inspector inspector, Guid& out);
// The window in front: the active explorer, else the active inspector.
int getStoreGuid(NameSpace nameSpace, Guid& out);
int getStoreGuid(Window window, Guid& out);

// The server-side name of a folder in the store's language; the name unchanged when the
// store fails to answer.
std::wstring translateFolderName(IGlobalConfig* config, const std::wstring& name, ULONG number);

}  // namespace Utils
}  // namespace AddIn
