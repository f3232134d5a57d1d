// Our own IDispatch, from one table per class. A row names a member, its dispatch id, the
// kinds of call it answers (DISPATCH_PROPERTYGET, _PROPERTYPUT, _METHOD, or'ed) and how
// many arguments it takes (a put takes its value besides); its body gets a DispatchCall.
//
//   class Thing : public iui_::IUnknownImpl<zelvo::DispatchImpl<Thing>> {
//    public:
//     static const zelvo::DispatchTable<Thing>& dispatchTable();
//   };
//   const zelvo::DispatchTable<Thing>& Thing::dispatchTable() {
//     static const zelvo::DispatchTable<Thing> table({
//         {L"Name", 1, DISPATCH_PROPERTYGET | DISPATCH_PROPERTYPUT, 0, [](Thing& t, zelvo::DispatchCall& call) {
//            if (call.isPut()) t.name_ = call.value().toText();
//            else call.result = Variant::fromText(t.name_);
//          }},
//     });
//     return table;
//   }
//
// Names are matched without regard to case. Invoke answers as COM has it: an unknown id
// DISP_E_MEMBERNOTFOUND, a kind of call the row does not take DISP_E_MEMBERNOTFOUND, a
// wrong count DISP_E_BADPARAMCOUNT, named arguments other than a put's value
// DISP_E_NONAMEDARGS or DISP_E_PARAMNOTFOUND, an argument that does not convert
// DISP_E_TYPEMISMATCH with its place in puArgErr. Every body runs through comBoundary.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "base/ComBoundary.h"
#include "base/ComRef.h"
#include "base/Iui.h"
#include "base/Variant.h"
#include "platform/Win32.h"

namespace zelvo {

// One call as the body sees it: the kind, the arguments in the member's own order, and
// the result to fill for a get or a method.
class DispatchCall {
 public:
  DispatchCall(WORD kind, const DISPPARAMS& params) : kind_(kind), params_(params) {}

  WORD kind() const { return kind_; }
  bool isPut() const { return kind_ == DISPATCH_PROPERTYPUT; }
  UINT count() const { return params_.cArgs - params_.cNamedArgs; }

  // Positional argument i converted; a failure raises with the argument's place noted.
  bool boolean(UINT i) const { return converted(slotOf(i), VT_BOOL).get().boolVal != VARIANT_FALSE; }
  LONG int32(UINT i) const { return converted(slotOf(i), VT_I4).get().lVal; }
  ULONG uint32(UINT i) const { return converted(slotOf(i), VT_UI4).get().ulVal; }
  std::wstring text(UINT i) const { return converted(slotOf(i), VT_BSTR).toText(); }
  // Null for a null object.
  ComRef<IUnknown> unknown(UINT i) const { return converted(slotOf(i), VT_UNKNOWN).toUnknown(); }
  ComRef<IDispatch> dispatch(UINT i) const { return converted(slotOf(i), VT_DISPATCH).toDispatch(); }
  // Positional argument i as given, for a member that takes more than one type.
  Variant argument(UINT i) const { return Variant::copyOf(params_.rgvarg[slotOf(i)]); }
  // The value of a put, as given.
  Variant value() const { return Variant::copyOf(params_.rgvarg[0]); }

  Variant result;
  // A success code other than S_OK that the member answers (S_FALSE for a partial load);
  // failures are raised instead.
  HRESULT answer = S_OK;
  // The rgvarg index of the argument that failed to convert, for puArgErr.
  mutable UINT argumentError = 0;

 private:
  UINT slotOf(UINT i) const;
  Variant converted(UINT slot, VARTYPE type) const;

  WORD kind_;
  const DISPPARAMS& params_;
};

template <class T>
struct DispatchEntry {
  const wchar_t* name;
  DISPID id;
  WORD kinds;
  UINT argumentCount;
  void (*body)(T& object, DispatchCall& call);
};

namespace details {

struct DispatchRow {
  const wchar_t* name;
  DISPID id;
  WORD kinds;
  UINT argumentCount;
};

// The parts of the two calls that do not depend on the class.
HRESULT idsOfNames(const std::vector<DispatchRow>& rows, REFIID riid, LPOLESTR* names, UINT count, DISPID* ids);
// Checks the call against its row and gives the kind it runs as, or a failure.
HRESULT resolveCall(const std::vector<DispatchRow>& rows, DISPID id, REFIID riid, WORD flags,
                    const DISPPARAMS* params, size_t& row, WORD& kind);

}  // namespace details

template <class T>
class DispatchTable {
 public:
  DispatchTable(std::initializer_list<DispatchEntry<T>> entries) : entries_(entries) {
    for (const auto& e : entries_) rows_.push_back({e.name, e.id, e.kinds, e.argumentCount});
  }

  HRESULT getIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, DISPID* ids) const {
    return details::idsOfNames(rows_, riid, names, count, ids);
  }

  HRESULT invoke(T& object, DISPID id, REFIID riid, WORD flags, DISPPARAMS* params, VARIANT* result,
                 UINT* argumentError) const {
    size_t row = 0;
    WORD kind = 0;
    HRESULT hr = details::resolveCall(rows_, id, riid, flags, params, row, kind);
    if (FAILED(hr)) return hr;
    DispatchCall call(kind, *params);
    hr = comBoundary([&] { entries_[row].body(object, call); });
    if (FAILED(hr)) {
      if (argumentError && (hr == DISP_E_TYPEMISMATCH || hr == DISP_E_OVERFLOW)) *argumentError = call.argumentError;
      return hr;
    }
    if (result && kind != DISPATCH_PROPERTYPUT) {
      VariantInit(result);
      *result = call.result.detach();
    }
    return call.answer;
  }

 private:
  std::vector<DispatchEntry<T>> entries_;
  std::vector<details::DispatchRow> rows_;
};

// The IDispatch face of T over T::dispatchTable(). Type information comes later, with the
// type library.
template <class T, class Interface = IDispatch>
class DispatchImpl : public Interface {
 public:
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    if (!count) return E_POINTER;
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
    if (info) *info = nullptr;
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    return T::dispatchTable().getIDsOfNames(riid, names, count, ids);
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID riid, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                   EXCEPINFO*, UINT* argumentError) override {
    return T::dispatchTable().invoke(static_cast<T&>(*this), id, riid, flags, params, result, argumentError);
  }
};

}  // namespace zelvo

namespace iui_ {
// A class answers for its dispatch face by the IID of the interface it implements.
template <class T, class Interface>
struct InterfaceId<zelvo::DispatchImpl<T, Interface>> : InterfaceId<Interface> {};
}  // namespace iui_
