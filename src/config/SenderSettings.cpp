#include "config/SenderSettings.h"

#include "base/HResultException.h"
#include "base/AddressCheck.h"
#include "config/StoreAllocators.h"

namespace zelvo {
namespace config {
namespace {

std::wstring textOf(const wchar_t* text) { return text ? std::wstring(text) : std::wstring(); }

// Empty fields go out as null pointers.
LPWSTR copyField(const std::wstring& text, const MapiAlloc& allocators, void* root) {
  if (text.empty()) return nullptr;
  wchar_t* copy = nullptr;
  InternalMapiAlloc::copyStringWLen(text.c_str(), text.size(), allocators, root, &copy);
  return copy;
}

}  // namespace

void SenderSettingsImpl::forget() {
  for (std::wstring* field : {&defaultName_, &defaultAddress_, &senderName_, &senderAddress_, &replyAddress_, &extraText_})
    field->clear();
  state_ = kNotLoaded;
}

void SenderSettingsImpl::loadSenderSettings(IGlobalConfig* config) {
  if (!config) ZEL_HERE.raise(E_INVALIDARG);
  config_ = ComRef<IGlobalConfig>(config);
  try {
    const MapiAlloc allocators = storeAllocators(config);
    MapiBuffer<SenderRecord> record(allocators.freeBuffer);
    ZEL_CHECK(config->getSenderRecord(record.receive()));
    const SenderRecord empty{};
    const SenderRecord& r = record ? *record.get() : empty;
    defaultName_ = textOf(r.defaultName);
    defaultAddress_ = textOf(r.defaultAddress);
    senderName_ = textOf(r.senderName);
    senderAddress_ = textOf(r.senderAddress);
    replyAddress_ = textOf(r.replyAddress);
    extraText_ = textOf(r.extraText);
    state_ = kClean;
  } catch (...) {
    forget();
    throw;
  }
}

void SenderSettingsImpl::saveSenderSettings(IGlobalConfig* config) {
  if (!config) ZEL_HERE.raise(E_INVALIDARG);
  if (state_ != kModified) return;
  try {
    const MapiAlloc allocators = storeAllocators(config);
    MapiBuffer<SenderRecord> record(allocators.freeBuffer);
    record.reset(static_cast<SenderRecord*>(detail::rawAllocBytes(sizeof(SenderRecord), nullptr, allocators)));
    SenderRecord& r = *record.get();
    r.defaultName = copyField(defaultName_, allocators, record.get());
    r.defaultAddress = copyField(defaultAddress_, allocators, record.get());
    r.senderName = copyField(senderName_, allocators, record.get());
    r.senderAddress = copyField(senderAddress_, allocators, record.get());
    r.replyAddress = copyField(replyAddress_, allocators, record.get());
    r.extraText = copyField(extraText_, allocators, record.get());
    ZEL_CHECK(config->setSenderRecord(record.get()));
    state_ = kClean;
  } catch (...) {
    forget();
    throw;
  }
}

void SenderSettingsImpl::setSenderName(const std::wstring& name) {
  senderName_ = name;
  state_ = kModified;
}

void SenderSettingsImpl::setExtraText(const std::wstring& text) {
  extraText_ = text;
  state_ = kModified;
}

void SenderSettingsImpl::setReplyAddress(const std::wstring& address) { setEmailAddr(replyAddress_, address); }

void SenderSettingsImpl::setEmailAddr(std::wstring& target, const std::wstring& value) {
  if (!value.empty()) {
    const HRESULT check = checkEmailAddress(value);
    ZEL_CHECK(check);
    if (check != S_OK) ZEL_HERE.raise(E_INVALIDARG, L"This is not an email address.");
  }
  target = value;
  state_ = kModified;
}

void SenderSettingsImpl::setSenderAddr(const std::wstring& address) {
  const std::wstring previous = senderAddress_;
  setEmailAddr(senderAddress_, address);
  if (!config_ || address.empty()) return;
  HRESULT result = config_->checkSenderAddress(address.c_str());
  if (SUCCEEDED(result)) return;
  if (result != E_ACCESSDENIED) {
    // The server could not tell: the user decides.
    if (question_ && question_->useUncheckedAddress(address)) return;
    result = E_ABORT;
  }
  senderAddress_ = previous;
  ZEL_HERE.raise(result);
}

void SenderSettingsImpl::sendSenderRequest() {
  if (config_) config_->sendSenderRequest();
}

}  // namespace config
}  // namespace zelvo
