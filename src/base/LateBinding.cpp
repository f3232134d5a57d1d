#include "base/LateBinding.h"

#include <vector>

#include "base/Bstr.h"
#include "base/HResultException.h"

namespace zelvo {

namespace details {

// What Invoke left in the exception record, freed here; its code replaces
// DISP_E_EXCEPTION when it has one.
struct ExceptionRecord {
  EXCEPINFO info{};
  ~ExceptionRecord() {
    SysFreeString(info.bstrSource);
    SysFreeString(info.bstrDescription);
    SysFreeString(info.bstrHelpFile);
  }
  HRESULT code(HRESULT invoked) {
    if (invoked != DISP_E_EXCEPTION) return invoked;
    if (info.pfnDeferredFillIn) info.pfnDeferredFillIn(&info);
    return FAILED(info.scode) ? info.scode : invoked;
  }
  std::wstring description() const {
    return info.bstrDescription ? std::wstring(info.bstrDescription, SysStringLen(info.bstrDescription))
                                : std::wstring();
  }
};

const char* kindText(WORD kind) {
  switch (kind) {
    case DISPATCH_PROPERTYGET: return "get";
    case DISPATCH_PROPERTYPUT: return "put";
    default: return "call";
  }
}

Variant invoke(IDispatch* object, const std::wstring& name, WORD kind, std::vector<VARIANT> reversed) {
  const DISPID id = dispatchIdOf(object, name);
  DISPID putId = DISPID_PROPERTYPUT;
  DISPPARAMS params{};
  params.rgvarg = reversed.empty() ? nullptr : reversed.data();
  params.cArgs = static_cast<UINT>(reversed.size());
  if (kind == DISPATCH_PROPERTYPUT) {
    params.rgdispidNamedArgs = &putId;
    params.cNamedArgs = 1;
  }
  Variant result;
  ExceptionRecord exception;
  UINT argumentError = 0;
  const HRESULT hr = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, kind, &params,
                                    kind == DISPATCH_PROPERTYPUT ? nullptr : result.put(), &exception.info,
                                    &argumentError);
  if (FAILED(hr)) {
    const std::wstring description = exception.description();
    if (description.empty())
      ZEL_HERE.raiseFormatted(exception.code(hr), "Failed to %s %s", kindText(kind), name);
    ZEL_HERE.raiseFormatted(exception.code(hr), "Failed to %s %s: %s", kindText(kind), name, description);
  }
  return result;
}

// DISPPARAMS holds the arguments last first. The VARIANTs stay owned by the caller's list.
std::vector<VARIANT> reversedArguments(std::initializer_list<Variant> arguments) {
  std::vector<VARIANT> reversed;
  reversed.reserve(arguments.size() + 1);
  for (auto it = arguments.end(); it != arguments.begin();) reversed.push_back((--it)->get());
  return reversed;
}

}  // namespace details

DISPID dispatchIdOf(IDispatch* object, const std::wstring& name) {
  if (!object) ZEL_HERE.raiseFormatted(E_INVALIDARG, "No object for %s", name);
  Bstr member(name);
  LPOLESTR names[] = {member.get()};
  DISPID id = DISPID_UNKNOWN;
  const HRESULT hr = object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
  if (FAILED(hr)) ZEL_HERE.raiseFormatted(hr, "Unknown member %s", name);
  return id;
}

Variant getProperty(IDispatch* object, const std::wstring& name, std::initializer_list<Variant> arguments) {
  return details::invoke(object, name, DISPATCH_PROPERTYGET, details::reversedArguments(arguments));
}

void putProperty(IDispatch* object, const std::wstring& name, const Variant& value) {
  // The value is the one named argument, and as the first of rgvarg it comes before
  // any positional ones.
  details::invoke(object, name, DISPATCH_PROPERTYPUT, {value.get()});
}

Variant callMethod(IDispatch* object, const std::wstring& name, std::initializer_list<Variant> arguments) {
  return details::invoke(object, name, DISPATCH_METHOD, details::reversedArguments(arguments));
}

}  // namespace zelvo
