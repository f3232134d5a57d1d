// The sender identity of a store: the account's defaults, read-only, and the four fields
// the user may change. A base of the configuration properties object, which supplies
// IUnknown for it.
#pragma once

#include <string>

#include "store/AddInInterfaces.h"
#include "store/StoreInterfaces.h"
#include "base/ComRef.h"

namespace zelvo {
namespace config {

// The question put to the user when the server can neither confirm nor refuse a sender
// address: text 0x3AAC with the address, caption 5000, Yes and No. The dialogs supply it.
class ISenderAddressQuestion {
 public:
  static constexpr UINT kTextId = 0x3AAC;
  static constexpr UINT kCaptionId = 5000;

  virtual ~ISenderAddressQuestion() = default;
  // True for Yes: use the address all the same.
  virtual bool useUncheckedAddress(const std::wstring& address) = 0;
};

class SenderSettingsImpl : public AddIn::ISenderSettings {
 public:
  enum State : ULONG { kNotLoaded = 0, kClean = 1, kModified = 2 };

  SenderSettingsImpl(const SenderSettingsImpl&) = delete;
  SenderSettingsImpl& operator=(const SenderSettingsImpl&) = delete;

  // Without a question, a doubtful address is refused as if the user had said No.
  void setSenderAddressQuestion(ISenderAddressQuestion* question) { question_ = question; }

  // Holds the config and reads the six fields. On failure all fields are emptied, the
  // state is kNotLoaded and the failure raised.
  void loadSenderSettings(IGlobalConfig* config);
  // Writes the six fields when modified; empty fields go as null strings. On failure as
  // for loading.
  void saveSenderSettings(IGlobalConfig* config);
  ULONG senderState() const { return state_; }

  std::wstring STDMETHODCALLTYPE getDefaultName() override { return defaultName_; }
  std::wstring STDMETHODCALLTYPE getDefaultAddress() override { return defaultAddress_; }
  std::wstring STDMETHODCALLTYPE getSenderName() override { return senderName_; }
  void STDMETHODCALLTYPE setSenderName(const std::wstring& name) override;
  std::wstring STDMETHODCALLTYPE getSenderAddress() override { return senderAddress_; }
  // Checks the form, then asks the server; a refusal, or No to a doubt (E_ABORT), puts
  // the old address back and is raised.
  void STDMETHODCALLTYPE setSenderAddr(const std::wstring& address) override;
  std::wstring STDMETHODCALLTYPE getReplyAddress() override { return replyAddress_; }
  void STDMETHODCALLTYPE setReplyAddress(const std::wstring& address) override;
  std::wstring STDMETHODCALLTYPE getExtraText() override { return extraText_; }
  void STDMETHODCALLTYPE setExtraText(const std::wstring& text) override;
  // A one-shot request to the store; its answer is not looked at.
  void STDMETHODCALLTYPE sendSenderRequest() override;

 protected:
  SenderSettingsImpl() = default;
  virtual ~SenderSettingsImpl() = default;

  // An empty value is stored as it is; any other must pass the address check, else
  // E_INVALIDARG "This is not an email address." and the target stays as it was.
  void setEmailAddr(std::wstring& target, const std::wstring& value);

 private:
  void forget();

  ULONG state_ = kNotLoaded;
  std::wstring defaultName_, defaultAddress_, senderName_, senderAddress_, replyAddress_, extraText_;
  ComRef<IGlobalConfig> config_;
  ISenderAddressQuestion* question_ = nullptr;
};

}  // namespace config
}  // namespace zelvo
