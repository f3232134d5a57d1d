// An owning BSTR: freed on destruction, copied as a new string. A null BSTR reads as the
// empty text, as COM has it.
#pragma once

#include <string>
#include <utility>

#include "base/HResultException.h"
#include "platform/Win32.h"

class Bstr {
 public:
  Bstr() = default;
  // Raises E_OUTOFMEMORY when the string cannot be made.
  explicit Bstr(const std::wstring& text) : s_(allocate(text.data(), text.size())) {}
  Bstr(const Bstr& other) : s_(other.s_ ? allocate(other.s_, SysStringLen(other.s_)) : nullptr) {}
  Bstr(Bstr&& other) noexcept : s_(std::exchange(other.s_, nullptr)) {}
  Bstr& operator=(Bstr other) noexcept {
    std::swap(s_, other.s_);
    return *this;
  }
  ~Bstr() { reset(); }

  // Takes over a string that the caller owned.
  static Bstr adopt(BSTR s) {
    Bstr result;
    result.s_ = s;
    return result;
  }

  BSTR get() const { return s_; }
  UINT length() const { return s_ ? SysStringLen(s_) : 0; }
  std::wstring text() const { return s_ ? std::wstring(s_, SysStringLen(s_)) : std::wstring(); }

  void reset() { SysFreeString(std::exchange(s_, nullptr)); }
  // Gives up the string to the caller.
  BSTR detach() { return std::exchange(s_, nullptr); }
  // For out parameters: frees what is held and gives the slot.
  BSTR* put() {
    reset();
    return &s_;
  }

 private:
  static BSTR allocate(const OLECHAR* text, size_t length) {
    BSTR s = SysAllocStringLen(text, static_cast<UINT>(length));
    if (!s) ZEL_HERE.raise(E_OUTOFMEMORY);
    return s;
  }

  BSTR s_ = nullptr;
};
