// The mail server options of a mailbox as the dialogs see them, over a rule set, for the
// tests of the dialogs until the data objects of the pages take this place.
#pragma once

#include "base/HResultException.h"
#include "sieve/SieveRules.h"
#include "store/AddInInterfaces.h"

namespace zelvo::ui::test {

// Lives on the stack of a test: the reference count is not kept. Changes forward as the
// data object of the pages forwards them: the rule set refuses the move to Modified when it
// is Modified already, after making the change, and that refusal is dropped so that a
// second change before a save takes effect; everything else raises on.
class RulesMailServerOptions : public AddIn::IMailServerOptions {
 public:
  explicit RulesMailServerOptions(Sieve::SieveRules& rules) : rules_(rules) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (!object) return E_POINTER;
    if (iid == IID_IUnknown || iid == AddIn::IID_IMailServerOptions) {
      *object = static_cast<AddIn::IMailServerOptions*>(this);
      return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }

  void STDMETHODCALLTYPE setOutOfOfficeEnabled(bool enabled) override {
    change([&] { rules_.setOutOfOfficeEnabled(enabled); });
  }
  bool STDMETHODCALLTYPE getOutOfOfficeEnabled() override { return rules_.getOutOfOfficeEnabled(); }
  void STDMETHODCALLTYPE setOutOfOffice(const Sieve::OutOfOfficeParams& params) override {
    change([&] { rules_.setOutOfOffice(params); });
  }
  void STDMETHODCALLTYPE getOutOfOffice(Sieve::OutOfOfficeParams& params) override { rules_.getOutOfOffice(params); }
  void STDMETHODCALLTYPE setOutOfOfficeControl(IDispatch*) override {}
  void STDMETHODCALLTYPE setJunkEmailEnabled(bool enabled) override {
    change([&] { rules_.setJunkEmailEnabled(enabled); });
  }
  bool STDMETHODCALLTYPE getJunkEmailEnabled() override { return rules_.getJunkEmailEnabled(); }
  void STDMETHODCALLTYPE setJunkEmailTrustContacts(bool trust) override {
    change([&] { rules_.setJunkEmailTrustContacts(trust); });
  }
  bool STDMETHODCALLTYPE getJunkEmailTrustContacts() override { return rules_.getJunkEmailTrustContacts(); }
  void STDMETHODCALLTYPE setJunkEmailTrustedSenders(const std::vector<std::wstring>& senders) override {
    change([&] { rules_.setJunkEmailTrustedSenders(senders); });
  }
  std::vector<std::wstring> STDMETHODCALLTYPE getJunkEmailTrustedSenders() override {
    return rules_.getJunkEmailTrustedSenders();
  }
  void STDMETHODCALLTYPE setRules(Sieve::SieveRule* first) override {
    change([&] { rules_.setRules(first); });
  }
  Sieve::SieveRule* STDMETHODCALLTYPE getRules(bool copy) override { return rules_.getRules(copy); }
  HRESULT STDMETHODCALLTYPE getSenderSettings(AddIn::ISenderSettings** settings) override {
    if (settings) *settings = nullptr;
    return E_NOTIMPL;
  }
  void STDMETHODCALLTYPE setConfirmMarkAsSpam(bool confirm) override { confirmMarkAsSpam_ = confirm; }
  bool STDMETHODCALLTYPE getConfirmMarkAsSpam() override { return confirmMarkAsSpam_; }
  void STDMETHODCALLTYPE setCheckDefaultStore(bool check) override { checkDefaultStore_ = check; }
  bool STDMETHODCALLTYPE getCheckDefaultStore() override { return checkDefaultStore_; }

 private:
  template <class Change>
  void change(const Change& body) {
    const Sieve::SieveStatus before = rules_.getSieveStatus();
    try {
      body();
    } catch (const HResultException&) {
      if (before != Sieve::SieveStatus::Modified && before != Sieve::SieveStatus::Repaired) throw;
    }
  }

  Sieve::SieveRules& rules_;
  bool confirmMarkAsSpam_ = true;
  bool checkDefaultStore_ = true;
};

}  // namespace zelvo::ui::test
