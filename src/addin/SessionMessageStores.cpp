#include "addin/SessionMessageStores.h"

#include <string>

#include "addin/AddInUtils.h"
#include "base/HResultException.h"

namespace AddIn {
namespace Utils {

namespace details {
namespace {

constexpr ULONG kStoreRowsBatch = 50;

struct StoreColumns {
  ULONG cValues = 3;
  ULONG aulPropTag[3] = {PR_PROVIDER_DISPLAY_W, PR_ENTRYID, PR_DISPLAY_NAME_W};
};

bool hasTag(const SRow& row, ULONG index, ULONG tag) {
  return row.lpProps && row.cValues > index && row.lpProps[index].ulPropTag == tag;
}

}  // namespace
}  // namespace details

std::vector<zelvo::ui::MessageStoreSession::Store> SessionMessageStores::messageStores() {
  if (!nameSpace_) ZEL_HERE.raise(E_INVALIDARG);
  ComRef<IMAPISession> session;
  getMAPIObjectFor(nameSpace_.get(), session);
  ComRef<IMAPITable> table;
  ZEL_CHECK(session->GetMsgStoresTable(0, table.put()));
  details::StoreColumns columns;
  ZEL_CHECK(table->SetColumns(reinterpret_cast<LPSPropTagArray>(&columns), 0));

  std::vector<Store> stores;
  for (;;) {
    RowSet rows;
    ZEL_CHECK(table->QueryRows(static_cast<LONG>(details::kStoreRowsBatch), 0, rows.put()));
    if (rows.count() == 0) return stores;
    for (ULONG i = 0; i < rows.count(); ++i) {
      const SRow& row = rows[i];
      // A row without a provider name or an entry id is no store the product knows.
      if (!details::hasTag(row, 0, PR_PROVIDER_DISPLAY_W) || !details::hasTag(row, 1, PR_ENTRYID)) continue;
      const wchar_t* provider = row.lpProps[0].Value.lpszW;
      if (!provider || storeKindOfProvider(provider, std::wcslen(provider)) == kStoreForeign) continue;
      const SBinary& entryId = row.lpProps[1].Value.bin;
      std::string id(reinterpret_cast<const char*>(entryId.lpb), entryId.cb);
      ComRef<IMsgStore> store;
      ZEL_CHECK(session->OpenMsgStore(0, static_cast<ULONG>(id.size()), reinterpret_cast<LPENTRYID>(id.data()),
                                      &IID_IMsgStore, MAPI_BEST_ACCESS, store.put()));
      if (!store) ZEL_HERE.raise(E_FAIL);
      Store entry;
      entry.object = ComRef<IMAPIProp>(store.get());
      if (details::hasTag(row, 2, PR_DISPLAY_NAME_W) && row.lpProps[2].Value.lpszW) {
        entry.name = row.lpProps[2].Value.lpszW;
      }
      stores.push_back(std::move(entry));
    }
  }
}

}  // namespace Utils
}  // namespace AddIn
