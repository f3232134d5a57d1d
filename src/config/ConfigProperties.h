// The data object behind the options pages of a store and their dialogs. One object
// serves several pages: each edits it in memory, and the first Apply of the host writes
// everything once, after which Dirty is false for the other pages.
#pragma once

#include <functional>
#include <vector>

#include "base/ComRef.h"
#include "base/Dispatcher.h"
#include "config/DelegationList.h"
#include "config/PropertyData.h"
#include "config/RegistryConfig.h"
#include "config/SenderSettings.h"
#include "sieve/SieveRules.h"
#include "store/AddInInterfaces.h"
#include "store/StoreInterfaces.h"

namespace zelvo {
namespace config {

// Store kind of a store's entry in discovery: 1 is the private store.
constexpr ULONG kPrivateStoreKind = 1;

// One store of the profile as store discovery finds it.
struct StoreConfigChoice {
  ComRef<IGlobalConfig> config;
  ULONG kind = 0;
};
// Store discovery over the host's namespace: every store of the product with its kind.
// Raises MAPI_E_NOT_FOUND when the profile has no private store of the product.
using GlobalConfigsSource = std::function<std::vector<StoreConfigChoice>(IDispatch* nameSpace)>;

class ConfigProperties final
    : public iui_::IUnknownImpl<DispatchImpl<ConfigProperties, _ConfigProperties>, iui_::QI<MsoPropertyData>,
                                iui_::QI<IDispatch>, AddIn::IMailServerOptions>,
      public Sieve::SieveRules,
      public SenderSettingsImpl,
      public DelegationListImpl {
  using Root = iui_::IUnknownImpl<DispatchImpl<ConfigProperties, _ConfigProperties>, iui_::QI<MsoPropertyData>,
                                  iui_::QI<IDispatch>, AddIn::IMailServerOptions>;

 public:
  enum InitFlag : ULONG { kLoadSender = 0x1, kLoadRules = 0x2, kLoadDelegates = 0x4 };
  enum State : ULONG { kClean = 1, kModified = 2 };

  // Store discovery for a null config; until one is given, a null config is refused as
  // a profile without a private store.
  explicit ConfigProperties(GlobalConfigsSource discovery = {},
                            const RegistryConfig* registry = nullptr);

  static const DispatchTable<ConfigProperties>& dispatchTable();

  // One IUnknown for the whole object, the bases that leave it to us included.
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
  ULONG STDMETHODCALLTYPE AddRef() override { return Root::AddRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return Root::Release(); }

  // The automation members. Failures are raised; the results are the success codes.
  HRESULT Initialize(IUnknown* session, IUnknown* globalConfig, ULONG initFlags);
  HRESULT Reset();
  HRESULT Apply();
  bool Dirty() const;
  HRESULT ValidateSieveScript(HWND parent);
  IGlobalConfig* globalConfig() const { return config_.get(); }
  IDispatch* session() const { return session_.get(); }

  // AddIn::IMailServerOptions: the rule set and the two local options.
  void STDMETHODCALLTYPE setOutOfOfficeEnabled(bool enabled) override {
    changeRules([&] { SieveRules::setOutOfOfficeEnabled(enabled); });
  }
  bool STDMETHODCALLTYPE getOutOfOfficeEnabled() override { return SieveRules::getOutOfOfficeEnabled(); }
  void STDMETHODCALLTYPE setOutOfOffice(const Sieve::OutOfOfficeParams& params) override {
    changeRules([&] { SieveRules::setOutOfOffice(params); });
  }
  void STDMETHODCALLTYPE getOutOfOffice(Sieve::OutOfOfficeParams& params) override {
    SieveRules::getOutOfOffice(params);
  }
  void STDMETHODCALLTYPE setOutOfOfficeControl(IDispatch* control) override {
    outOfOfficeControl_ = ComRef<IDispatch>(control);
  }
  void STDMETHODCALLTYPE setJunkEmailEnabled(bool enabled) override {
    changeRules([&] { SieveRules::setJunkEmailEnabled(enabled); });
  }
  bool STDMETHODCALLTYPE getJunkEmailEnabled() override { return SieveRules::getJunkEmailEnabled(); }
  void STDMETHODCALLTYPE setJunkEmailTrustContacts(bool trust) override {
    changeRules([&] { SieveRules::setJunkEmailTrustContacts(trust); });
  }
  bool STDMETHODCALLTYPE getJunkEmailTrustContacts() override { return SieveRules::getJunkEmailTrustContacts(); }
  void STDMETHODCALLTYPE setJunkEmailTrustedSenders(const std::vector<std::wstring>& senders) override {
    changeRules([&] { SieveRules::setJunkEmailTrustedSenders(senders); });
  }
  std::vector<std::wstring> STDMETHODCALLTYPE getJunkEmailTrustedSenders() override {
    return SieveRules::getJunkEmailTrustedSenders();
  }
  void STDMETHODCALLTYPE setRules(Sieve::SieveRule* first) override {
    changeRules([&] { SieveRules::setRules(first); });
  }
  Sieve::SieveRule* STDMETHODCALLTYPE getRules(bool copy) override { return SieveRules::getRules(copy); }
  HRESULT STDMETHODCALLTYPE getSenderSettings(AddIn::ISenderSettings** settings) override;
  // The local options have no state of their own; without marking the object, a page
  // whose only change is one of them would never get its Apply.
  void STDMETHODCALLTYPE setConfirmMarkAsSpam(bool confirm) override {
    confirmMarkAsSpam_ = confirm;
    state_ = kModified;
  }
  bool STDMETHODCALLTYPE getConfirmMarkAsSpam() override { return confirmMarkAsSpam_; }
  void STDMETHODCALLTYPE setCheckDefaultStore(bool check) override {
    checkDefaultStore_ = check;
    state_ = kModified;
  }
  bool STDMETHODCALLTYPE getCheckDefaultStore() override { return checkDefaultStore_; }

 protected:
  // A change of the delegates is a change of the object.
  void onChanged() override { state_ = kModified; }

 private:
  ~ConfigProperties() override = default;

  const RegistryConfig& registry() const { return registry_ ? *registry_ : RegistryConfig::instance(); }
  // A change of the rule set through the mail server options. The rule set refuses the
  // move to Modified when it is Modified or Repaired already, after making the change: that
  // refusal is dropped, so that a second change before a save takes effect. The object is
  // marked as modified either way.
  template <class Change>
  void changeRules(const Change& change) {
    const Sieve::SieveStatus before = getSieveStatus();
    try {
      change();
    } catch (const HResultException&) {
      if (before != Sieve::SieveStatus::Modified && before != Sieve::SieveStatus::Repaired) throw;
    }
    state_ = kModified;
  }
  void applySteps();
  void showOutOfOfficeState();

  GlobalConfigsSource discovery_;
  const RegistryConfig* registry_;
  ComRef<IDispatch> session_;
  ComRef<IGlobalConfig> config_;
  ULONG state_ = kClean;
  ComRef<IDispatch> outOfOfficeControl_;
  bool confirmMarkAsSpam_ = true;
  bool checkDefaultStore_ = true;
  ULONG initFlags_ = 0;
};

}  // namespace config
}  // namespace zelvo
