// The add-in's own in-process interfaces over the data objects behind its pages. Unlike
// the store contract they return plain values and let HResultException pass; only the
// operations that answer a result code return HRESULT. Slot order is kept as declared.
#pragma once

#include <string>
#include <vector>

#include "platform/Mapi.h"

#ifndef _WIN32
struct IDispatch;
#endif

namespace Sieve {
struct SieveRule;
struct OutOfOfficeParams;
}  // namespace Sieve

namespace AddIn {

extern const IID IID_IMailServerOptions;
extern const IID IID_ISenderSettings;
extern const IID IID_IDelegationList;
extern const IID IID_IFolderAccessRights;

// The code of IDelegationList for a missing entry.
constexpr HRESULT kDelegateNotFound = static_cast<HRESULT>(0x0004201Cu);

struct ISenderSettings;

struct IMailServerOptions : public IUnknown {
  virtual void STDMETHODCALLTYPE setOutOfOfficeEnabled(bool enabled) = 0;
  virtual bool STDMETHODCALLTYPE getOutOfOfficeEnabled() = 0;
  virtual void STDMETHODCALLTYPE setOutOfOffice(const Sieve::OutOfOfficeParams& params) = 0;
  virtual void STDMETHODCALLTYPE getOutOfOffice(Sieve::OutOfOfficeParams& params) = 0;
  // The host's command-bar toggle that shows the out-of-office state, or null.
  virtual void STDMETHODCALLTYPE setOutOfOfficeControl(IDispatch* control) = 0;
  virtual void STDMETHODCALLTYPE setJunkEmailEnabled(bool enabled) = 0;
  virtual bool STDMETHODCALLTYPE getJunkEmailEnabled() = 0;
  virtual void STDMETHODCALLTYPE setJunkEmailTrustContacts(bool trust) = 0;
  virtual bool STDMETHODCALLTYPE getJunkEmailTrustContacts() = 0;
  virtual void STDMETHODCALLTYPE setJunkEmailTrustedSenders(const std::vector<std::wstring>& senders) = 0;
  virtual std::vector<std::wstring> STDMETHODCALLTYPE getJunkEmailTrustedSenders() = 0;
  virtual void STDMETHODCALLTYPE setRules(Sieve::SieveRule* first) = 0;
  virtual Sieve::SieveRule* STDMETHODCALLTYPE getRules(bool copy) = 0;
  virtual HRESULT STDMETHODCALLTYPE getSenderSettings(ISenderSettings** settings) = 0;
  virtual void STDMETHODCALLTYPE setConfirmMarkAsSpam(bool confirm) = 0;
  virtual bool STDMETHODCALLTYPE getConfirmMarkAsSpam() = 0;
  virtual void STDMETHODCALLTYPE setCheckDefaultStore(bool check) = 0;
  virtual bool STDMETHODCALLTYPE getCheckDefaultStore() = 0;

 protected:
  ~IMailServerOptions() = default;
};

struct ISenderSettings : public IUnknown {
  virtual std::wstring STDMETHODCALLTYPE getDefaultName() = 0;
  virtual std::wstring STDMETHODCALLTYPE getDefaultAddress() = 0;
  virtual std::wstring STDMETHODCALLTYPE getSenderName() = 0;
  virtual void STDMETHODCALLTYPE setSenderName(const std::wstring& name) = 0;
  virtual std::wstring STDMETHODCALLTYPE getSenderAddress() = 0;
  virtual void STDMETHODCALLTYPE setSenderAddr(const std::wstring& address) = 0;
  virtual std::wstring STDMETHODCALLTYPE getReplyAddress() = 0;
  virtual void STDMETHODCALLTYPE setReplyAddress(const std::wstring& address) = 0;
  virtual std::wstring STDMETHODCALLTYPE getExtraText() = 0;
  virtual void STDMETHODCALLTYPE setExtraText(const std::wstring& text) = 0;
  virtual void STDMETHODCALLTYPE sendSenderRequest() = 0;

 protected:
  ~ISenderSettings() = default;
};

// kind 0 selects the delegates, any other value the delegators.
struct IDelegationList : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE getCount(ULONG kind, ULONG* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE getFirst(ULONG kind, ULONG* id) = 0;
  virtual HRESULT STDMETHODCALLTYPE getNext(ULONG kind, ULONG* id) = 0;
  virtual HRESULT STDMETHODCALLTYPE getDelegate(ULONG kind, ULONG id, std::wstring& address,
                                                std::wstring& displayName, bool& grant) = 0;
  virtual HRESULT STDMETHODCALLTYPE addDelegate(const std::wstring& address, const std::wstring& displayName,
                                                bool grant, ULONG* id) = 0;
  virtual HRESULT STDMETHODCALLTYPE removeDelegate(ULONG id) = 0;
  virtual HRESULT STDMETHODCALLTYPE toggleDelegate(ULONG id, bool* grant) = 0;

 protected:
  ~IDelegationList() = default;
};

// An opaque handle of an access entry; 0 is never valid, -1 stands for the whole list.
typedef LONG_PTR AccessItem;

struct IFolderAccessRights : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE getCount(ULONG* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE getItem(ULONG index, AccessItem* item) = 0;
  virtual HRESULT STDMETHODCALLTYPE isLocked(AccessItem item) = 0;
  virtual HRESULT STDMETHODCALLTYPE addAccess(ULONG type, const std::wstring& name, ULONG level,
                                              AccessItem* item) = 0;
  virtual HRESULT STDMETHODCALLTYPE setLevel(AccessItem item, ULONG level) = 0;
  virtual HRESULT STDMETHODCALLTYPE removeAccess(AccessItem item) = 0;
  virtual HRESULT STDMETHODCALLTYPE getLevel(AccessItem item, ULONG* level) = 0;
  virtual HRESULT STDMETHODCALLTYPE getType(AccessItem item, ULONG* type) = 0;
  virtual HRESULT STDMETHODCALLTYPE getName(AccessItem item, std::wstring& name) = 0;
  virtual HRESULT STDMETHODCALLTYPE setRecursive(bool recursive) = 0;
  virtual HRESULT STDMETHODCALLTYPE isRecursiveHidden() = 0;
  virtual bool STDMETHODCALLTYPE isDelegate(const std::wstring& name) = 0;

 protected:
  ~IFolderAccessRights() = default;
};

}  // namespace AddIn
