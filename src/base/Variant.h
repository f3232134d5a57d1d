// An owning VARIANT: cleared on destruction, copied with VariantCopy. Values go in
// through the named makers and come out converted by VariantChangeType, so that a
// reader accepts what automation itself would convert; a value that does not convert
// raises the conversion's code (DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW).
#pragma once

#include <string>
#include <utility>

#include "base/Bstr.h"
#include "base/ComRef.h"
#include "base/HResultException.h"
#include "platform/Win32.h"

class Variant {
 public:
  Variant() { VariantInit(&v_); }
  Variant(const Variant& other) : Variant() { ZEL_CHECK(VariantCopy(&v_, source(other.v_))); }
  Variant(Variant&& other) noexcept : v_(other.v_) { VariantInit(&other.v_); }
  Variant& operator=(Variant other) noexcept {
    std::swap(v_, other.v_);
    return *this;
  }
  ~Variant() { VariantClear(&v_); }

  static Variant fromBool(bool value) {
    Variant result;
    result.v_.vt = VT_BOOL;
    result.v_.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    return result;
  }
  static Variant fromInt32(LONG value) {
    Variant result;
    result.v_.vt = VT_I4;
    result.v_.lVal = value;
    return result;
  }
  static Variant fromUInt32(ULONG value) {
    Variant result;
    result.v_.vt = VT_UI4;
    result.v_.ulVal = value;
    return result;
  }
  static Variant fromText(const std::wstring& text) {
    Variant result;
    result.v_.bstrVal = Bstr(text).detach();
    result.v_.vt = VT_BSTR;
    return result;
  }
  // Takes a new reference; a null object is a null VT_UNKNOWN / VT_DISPATCH.
  static Variant fromUnknown(IUnknown* object) {
    Variant result;
    result.v_.vt = VT_UNKNOWN;
    result.v_.punkVal = ComRef<IUnknown>(object).detach();
    return result;
  }
  static Variant fromDispatch(IDispatch* object) {
    Variant result;
    result.v_.vt = VT_DISPATCH;
    result.v_.pdispVal = ComRef<IDispatch>(object).detach();
    return result;
  }
  // Takes over a VARIANT that the caller owned; the caller's is left empty.
  static Variant adopt(VARIANT& owned) {
    Variant result;
    result.v_ = owned;
    VariantInit(&owned);
    return result;
  }
  // A copy of any VARIANT, references followed.
  static Variant copyOf(const VARIANT& value) {
    Variant result;
    ZEL_CHECK(VariantCopy(&result.v_, source(value)));
    return result;
  }

  VARTYPE type() const { return v_.vt; }
  bool empty() const { return v_.vt == VT_EMPTY; }
  const VARIANT& get() const { return v_; }
  // For out parameters: clears what is held and gives the slot.
  VARIANT* put() {
    ZEL_CHECK(VariantClear(&v_));
    return &v_;
  }
  // Gives up the value to the caller, who clears it.
  VARIANT detach() {
    VARIANT out = v_;
    VariantInit(&v_);
    return out;
  }

  // The value converted to type, or the conversion's failure raised.
  Variant changedTo(VARTYPE type) const {
    Variant result;
    ZEL_CHECK(VariantChangeType(&result.v_, source(v_), 0, type));
    return result;
  }
  bool toBool() const { return changedTo(VT_BOOL).v_.boolVal != VARIANT_FALSE; }
  LONG toInt32() const { return changedTo(VT_I4).v_.lVal; }
  ULONG toUInt32() const { return changedTo(VT_UI4).v_.ulVal; }
  std::wstring toText() const {
    const Variant text = changedTo(VT_BSTR);
    return text.v_.bstrVal ? std::wstring(text.v_.bstrVal, SysStringLen(text.v_.bstrVal)) : std::wstring();
  }
  // Null when the value is a null object.
  ComRef<IUnknown> toUnknown() const { return ComRef<IUnknown>(changedTo(VT_UNKNOWN).v_.punkVal); }
  ComRef<IDispatch> toDispatch() const { return ComRef<IDispatch>(changedTo(VT_DISPATCH).v_.pdispVal); }

 private:
  // Some SDK headers declare the source of a copy or conversion without const; it is only read.
  static VARIANTARG* source(const VARIANT& value) { return const_cast<VARIANTARG*>(&value); }

  VARIANT v_;
};
