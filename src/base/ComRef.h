// An owning COM interface pointer: one reference, released on destruction.
#pragma once

#include <utility>

#include "base/HResultException.h"
#include "platform/Win32.h"

template <class T>
class ComRef {
 public:
  ComRef() = default;
  // Takes a new reference on p.
  explicit ComRef(T* p) : p_(p) {
    if (p_) p_->AddRef();
  }
  ComRef(const ComRef& other) : ComRef(other.p_) {}
  ComRef(ComRef&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
  ComRef& operator=(ComRef other) noexcept {
    std::swap(p_, other.p_);
    return *this;
  }
  ~ComRef() { reset(); }

  // Takes over a reference that the caller owned.
  static ComRef adopt(T* p) {
    ComRef ref;
    ref.p_ = p;
    return ref;
  }

  T* get() const { return p_; }
  T* operator->() const { return p_; }
  explicit operator bool() const { return p_ != nullptr; }

  void reset() {
    if (T* p = std::exchange(p_, nullptr)) p->Release();
  }
  // Gives up the reference to the caller.
  T* detach() { return std::exchange(p_, nullptr); }
  // For out parameters: drops what is held and gives the slot.
  T** put() {
    reset();
    return &p_;
  }
  void** putVoid() { return reinterpret_cast<void**>(put()); }

  // QueryInterface for iid. Raises the query's failure, and E_NOINTERFACE for a null
  // answer or a null pointer held.
  template <class U>
  ComRef<U> as(REFIID iid) const {
    if (!p_) ZEL_HERE.raise(E_NOINTERFACE);
    ComRef<U> result;
    ZEL_CHECK(p_->QueryInterface(iid, result.putVoid()));
    if (!result) ZEL_HERE.raise(E_NOINTERFACE);
    return result;
  }

 private:
  T* p_ = nullptr;
};
