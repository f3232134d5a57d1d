#include "config/FolderProperties.h"

#include "base/HResultException.h"
#include "base/LateBinding.h"

namespace zelvo {
namespace config {

const DispatchTable<FolderProperties>& FolderProperties::dispatchTable() {
  using Call = DispatchCall;
  static const DispatchTable<FolderProperties> table({
      {L"Dirty", MsoPropertyData::kDirty, DISPATCH_PROPERTYGET, 0,
       [](FolderProperties& o, Call& call) { call.result = Variant::fromBool(o.Dirty()); }},
      // The host passes the folder first; the other two arguments mean nothing here.
      {L"Initialize", MsoPropertyData::kInitialize, DISPATCH_METHOD, 3,
       [](FolderProperties& o, Call& call) { call.answer = o.Initialize(call.unknown(0).get()); }},
      {L"Reset", MsoPropertyData::kReset, DISPATCH_METHOD, 0,
       [](FolderProperties& o, Call& call) { call.answer = o.Reset(); }},
      {L"Apply", MsoPropertyData::kApply, DISPATCH_METHOD, 0,
       [](FolderProperties& o, Call& call) { call.answer = o.Apply(); }},
      {L"globalConfig", MsoPropertyData::kGlobalConfig, DISPATCH_PROPERTYGET, 0,
       [](FolderProperties& o, Call& call) { call.result = Variant::fromUnknown(o.globalConfig().get()); }},
      {L"FolderConfig", _FolderProperties::kFolderConfig, DISPATCH_PROPERTYGET, 0,
       [](FolderProperties& o, Call& call) { call.result = Variant::fromUnknown(o.folderConfig()); }},
      {L"AccessRights", _FolderProperties::kAccessRights, DISPATCH_PROPERTYGET, 0,
       [](FolderProperties& o, Call& call) { call.result = Variant::fromUnknown(o.accessRights()); }},
      {L"CheckNames", _FolderProperties::kCheckNames, DISPATCH_PROPERTYGET, 0,
       [](FolderProperties&, Call&) { ZEL_HERE.raise(E_NOTIMPL); }},
      {L"Synchronization", _FolderProperties::kSynchronization, DISPATCH_PROPERTYGET | DISPATCH_PROPERTYPUT, 0,
       [](FolderProperties& o, Call& call) {
         if (call.isPut()) o.putSynchronization(call.value().toInt32());
         else call.result = Variant::fromInt32(o.getSynchronization());
       }},
      {L"FolderType", _FolderProperties::kFolderType, DISPATCH_PROPERTYGET, 0,
       [](FolderProperties& o, Call& call) { call.result = Variant::fromInt32(o.folderType()); }},
      {L"ResynchronizeContents", _FolderProperties::kResynchronizeContents, DISPATCH_METHOD, 0,
       [](FolderProperties& o, Call&) { o.resynchronizeContents(); }},
  });
  return table;
}

HRESULT FolderProperties::Initialize(IUnknown* folder) {
  ComRef<IDispatch> asFolder;
  if (!folder || FAILED(folder->QueryInterface(IID_IDispatch, asFolder.putVoid())) || !asFolder) return E_INVALIDARG;
  folder_ = asFolder;
  folderType_ = getProperty(folder_.get(), L"DefaultItemType").toInt32();
  if (!folderConfigs_) ZEL_HERE.raise(MAPI_E_NOT_FOUND, L"The folder has no configuration of the product");
  config_ = folderConfigs_(folder_.get());
  if (!config_) ZEL_HERE.raise(MAPI_E_NOT_FOUND, L"The folder has no configuration of the product");
  settings_.readFeatures(config_.get());
  // A folder whose data could not be read still gets its pages; they show it as empty.
  const HRESULT result = comBoundary([this] { return Reset(); });
  resetSucceeded_ = SUCCEEDED(result);
  return result;
}

IFolderConfig* FolderProperties::requireConfig() const {
  if (!config_) ZEL_HERE.raise(E_UNEXPECTED, L"The folder properties were not initialised");
  return config_.get();
}

HRESULT FolderProperties::Reset() {
  settings_.reset(requireConfig());
  return S_OK;
}

HRESULT FolderProperties::Apply() {
  settings_.apply(requireConfig());
  return S_OK;
}

ComRef<IGlobalConfig> FolderProperties::globalConfig() const {
  ComRef<IGlobalConfig> config;
  ZEL_CHECK(requireConfig()->getGlobalConfig(config.put()));
  return config;
}

void FolderProperties::resynchronizeContents() { ZEL_CHECK(requireConfig()->resynchronizeContents()); }

}  // namespace config
}  // namespace zelvo
