// The rule set's two trips to the store: fetching the script and handing it back.
#include "base/HResultException.h"
#include "sieve/SieveRules.h"
#include "store/StoreInterfaces.h"

namespace Sieve {
namespace details {

// Frees the string when it goes out of scope.
class ScopedBstr {
 public:
  ScopedBstr() = default;
  explicit ScopedBstr(const std::wstring& text) : value_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {
    if (!value_) ZEL_HERE.raise(E_OUTOFMEMORY);
  }
  ScopedBstr(const ScopedBstr&) = delete;
  ScopedBstr& operator=(const ScopedBstr&) = delete;
  ~ScopedBstr() { SysFreeString(value_); }
  BSTR* out() { return &value_; }
  BSTR get() const { return value_; }
  std::wstring text() const { return value_ ? std::wstring(value_, SysStringLen(value_)) : std::wstring(); }

 private:
  BSTR value_ = nullptr;
};

}  // namespace details

void SieveRules::loadSieveScript(IGlobalConfig* config, bool allowFix, HWND parent) {
  if (!config) ZEL_HERE.raise(E_INVALIDARG);
  clear();
  details::ScopedBstr script;
  ZEL_CHECK(config->getSieveScript(script.out()));
  parseSieveScript(script.text(), allowFix, parent);
}

void SieveRules::saveSieveScript(IGlobalConfig* config) {
  if (!config) ZEL_HERE.raise(E_INVALIDARG);
  // A set that was never changed, or that failed to load, never touches the server.
  if (status_ == SieveStatus::NotLoaded || status_ == SieveStatus::Loaded) return;
  std::wstring text;
  writeSieveScript(text);
  details::ScopedBstr script(text);
  ZEL_CHECK(config->setSieveScript(script.get()));
  status_ = SieveStatus::Loaded;
}

}  // namespace Sieve
