#include "config/ConfigProperties.h"

#include <exception>

#include "base/HResultException.h"
#include "base/LateBinding.h"

namespace zelvo {
namespace config {

namespace {

// One load of Reset: its failure makes the whole load partial, and the next one still runs.
template <class Step>
void guardedLoad(HRESULT& result, Step step) {
  try {
    step();
  } catch (const HResultException&) {
    result = S_FALSE;
  }
}

}  // namespace

ConfigProperties::ConfigProperties(GlobalConfigsSource discovery, const RegistryConfig* registry)
    : discovery_(std::move(discovery)), registry_(registry) {}

const DispatchTable<ConfigProperties>& ConfigProperties::dispatchTable() {
  using Call = DispatchCall;
  static const DispatchTable<ConfigProperties> table({
      {L"Dirty", MsoPropertyData::kDirty, DISPATCH_PROPERTYGET, 0,
       [](ConfigProperties& o, Call& call) { call.result = Variant::fromBool(o.Dirty()); }},
      {L"Initialize", MsoPropertyData::kInitialize, DISPATCH_METHOD, 3,
       [](ConfigProperties& o, Call& call) {
         call.answer = o.Initialize(call.unknown(0).get(), call.unknown(1).get(), call.uint32(2));
       }},
      {L"Reset", MsoPropertyData::kReset, DISPATCH_METHOD, 0,
       [](ConfigProperties& o, Call& call) { call.answer = o.Reset(); }},
      {L"Apply", MsoPropertyData::kApply, DISPATCH_METHOD, 0,
       [](ConfigProperties& o, Call& call) { call.answer = o.Apply(); }},
      {L"globalConfig", MsoPropertyData::kGlobalConfig, DISPATCH_PROPERTYGET, 0,
       [](ConfigProperties& o, Call& call) { call.result = Variant::fromUnknown(o.globalConfig()); }},
      {L"MailServerOptions", _ConfigProperties::kMailServerOptions, DISPATCH_PROPERTYGET, 0,
       [](ConfigProperties& o, Call& call) {
         call.result = Variant::fromUnknown(static_cast<AddIn::IMailServerOptions*>(&o));
       }},
      {L"session", _ConfigProperties::kSession, DISPATCH_PROPERTYGET, 0,
       [](ConfigProperties& o, Call& call) { call.result = Variant::fromDispatch(o.session()); }},
      {L"DelegationList", _ConfigProperties::kDelegationList, DISPATCH_PROPERTYGET, 0,
       [](ConfigProperties& o, Call& call) {
         call.result = Variant::fromUnknown(static_cast<AddIn::IDelegationList*>(&o));
       }},
      {L"ValidateSieveScript", _ConfigProperties::kValidateSieveScript, DISPATCH_METHOD, 1,
       [](ConfigProperties& o, Call& call) {
         call.answer = o.ValidateSieveScript(reinterpret_cast<HWND>(static_cast<LONG_PTR>(call.int32(0))));
       }},
  });
  return table;
}

HRESULT STDMETHODCALLTYPE ConfigProperties::QueryInterface(REFIID riid, void** ppv) {
  // These two faces come from bases that are not in the list; hand them out here.
  if (ppv && IsEqualIID(riid, AddIn::IID_ISenderSettings)) {
    *ppv = static_cast<AddIn::ISenderSettings*>(this);
    AddRef();
    return S_OK;
  }
  if (ppv && IsEqualIID(riid, AddIn::IID_IDelegationList)) {
    *ppv = static_cast<AddIn::IDelegationList*>(this);
    AddRef();
    return S_OK;
  }
  return Root::QueryInterface(riid, ppv);
}

HRESULT ConfigProperties::Initialize(IUnknown* session, IUnknown* globalConfig, ULONG initFlags) {
  if (!session) ZEL_HERE.raise(E_INVALIDARG);
  session_ = ComRef<IUnknown>(session).as<IDispatch>(IID_IDispatch);
  if (globalConfig) {
    config_ = ComRef<IUnknown>(globalConfig).as<IGlobalConfig>(IID_IGlobalConfig);
  } else {
    if (!discovery_) ZEL_HERE.raise(MAPI_E_NOT_FOUND, L"No private store found");
    config_.reset();
    for (const StoreConfigChoice& store : discovery_(session_.get())) {
      if (store.kind == kPrivateStoreKind && store.config) {
        config_ = store.config;
        break;
      }
    }
    if (!config_) ZEL_HERE.raise(MAPI_E_NOT_FOUND, L"No private store found");
  }
  state_ = kClean;
  initFlags_ = initFlags;
  return Reset();
}

HRESULT ConfigProperties::Reset() {
  // Both hold true even when the registry cannot be read.
  confirmMarkAsSpam_ = true;
  checkDefaultStore_ = true;
  confirmMarkAsSpam_ = readLocalOption(kConfirmMarkAsSpam, true, registry());
  checkDefaultStore_ = readLocalOption(kCheckDefaultStore, true, registry());

  // A part that fails stays unloaded; its pages refuse through their own checks.
  HRESULT result = S_OK;
  if (initFlags_ & kLoadSender) guardedLoad(result, [&] { loadSenderSettings(config_.get()); });
  if (initFlags_ & kLoadRules) guardedLoad(result, [&] { loadSieveScript(config_.get(), false, nullptr); });
  if (initFlags_ & kLoadDelegates) guardedLoad(result, [&] { loadDelegationList(config_.get()); });
  return result;
}

void ConfigProperties::applySteps() {
  if (!config_) ZEL_HERE.raise(E_UNEXPECTED);
  writeLocalOption(kConfirmMarkAsSpam, confirmMarkAsSpam_, registry());
  writeLocalOption(kCheckDefaultStore, checkDefaultStore_, registry());
  if (initFlags_ & kLoadSender) saveSenderSettings(config_.get());
  if (initFlags_ & kLoadRules) saveSieveScript(config_.get());
  if (initFlags_ & kLoadDelegates) saveDelegationList();
  ZEL_CHECK(config_->requestSynchronization(nullptr));
  state_ = kClean;
}

HRESULT ConfigProperties::Apply() {
  try {
    applySteps();
  } catch (const HResultException&) {
    // What was written stays written; the rest stays in memory and keeps the object
    // dirty. The host's dialog must still close as applied.
  }
  showOutOfOfficeState();
  return S_OK;
}

void ConfigProperties::showOutOfOfficeState() {
  // The control is only lent until the next Apply.
  ComRef<IDispatch> control = std::move(outOfOfficeControl_);
  if (!control) return;
  try {
    putProperty(control.get(), L"State", Variant::fromInt32(getOutOfOfficeEnabled() ? -1 : 0));
  } catch (const std::exception&) {
    // The button only mirrors the rule; a stale one must not undo the Apply.
  }
}

bool ConfigProperties::Dirty() const {
  const Sieve::SieveStatus rules = getSieveStatus();
  return state_ != kClean || rules == Sieve::SieveStatus::Modified || rules == Sieve::SieveStatus::Repaired ||
         senderState() == SenderSettingsImpl::kModified;
}

HRESULT ConfigProperties::ValidateSieveScript(HWND parent) {
  if (getSieveStatus() != Sieve::SieveStatus::NotLoaded) return S_OK;
  loadSieveScript(config_.get(), true, parent);
  return S_OK;
}

HRESULT STDMETHODCALLTYPE ConfigProperties::getSenderSettings(AddIn::ISenderSettings** settings) {
  if (!settings) return E_POINTER;
  *settings = static_cast<AddIn::ISenderSettings*>(this);
  AddRef();
  return S_OK;
}

}  // namespace config
}  // namespace zelvo
