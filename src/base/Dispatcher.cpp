#include "base/Dispatcher.h"

namespace zelvo {

namespace details {

namespace {

// Member names are plain ASCII; folding only those keeps the match free of the locale.
wchar_t folded(wchar_t c) { return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c; }

bool sameName(const wchar_t* a, const wchar_t* b) {
  for (; *a && *b; ++a, ++b)
    if (folded(*a) != folded(*b)) return false;
  return *a == *b;
}

}  // namespace

HRESULT idsOfNames(const std::vector<DispatchRow>& rows, REFIID riid, LPOLESTR* names, UINT count, DISPID* ids) {
  if (!IsEqualIID(riid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
  if (!names || !ids || count == 0) return E_INVALIDARG;
  for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
  if (!names[0]) return DISP_E_UNKNOWNNAME;
  for (const auto& row : rows) {
    if (!sameName(row.name, names[0])) continue;
    ids[0] = row.id;
    // Our members have no named parameters.
    return count == 1 ? S_OK : DISP_E_UNKNOWNNAME;
  }
  return DISP_E_UNKNOWNNAME;
}

HRESULT resolveCall(const std::vector<DispatchRow>& rows, DISPID id, REFIID riid, WORD flags,
                    const DISPPARAMS* params, size_t& row, WORD& kind) {
  if (!IsEqualIID(riid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
  size_t found = rows.size();
  for (size_t i = 0; i < rows.size(); ++i)
    if (rows[i].id == id) found = i;
  if (found == rows.size()) return DISP_E_MEMBERNOTFOUND;
  const DispatchRow& member = rows[found];
  // Script hosts ask for a method or a get at once; a method wins where the row has both.
  if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) kind = DISPATCH_PROPERTYPUT;
  else if ((flags & DISPATCH_METHOD) && (member.kinds & DISPATCH_METHOD)) kind = DISPATCH_METHOD;
  else if ((flags & DISPATCH_PROPERTYGET) && (member.kinds & DISPATCH_PROPERTYGET)) kind = DISPATCH_PROPERTYGET;
  else return DISP_E_MEMBERNOTFOUND;
  if (!(member.kinds & kind)) return DISP_E_MEMBERNOTFOUND;
  if (!params) return E_INVALIDARG;
  if (params->cArgs < params->cNamedArgs || (params->cArgs && !params->rgvarg)) return E_INVALIDARG;
  if (kind == DISPATCH_PROPERTYPUT) {
    if (params->cNamedArgs != 1 || !params->rgdispidNamedArgs ||
        params->rgdispidNamedArgs[0] != DISPID_PROPERTYPUT)
      return DISP_E_PARAMNOTFOUND;
  } else if (params->cNamedArgs != 0) {
    return DISP_E_NONAMEDARGS;
  }
  if (params->cArgs - params->cNamedArgs != member.argumentCount) return DISP_E_BADPARAMCOUNT;
  row = found;
  return S_OK;
}

}  // namespace details

// Named arguments stand first in rgvarg; the positional ones follow, last first.
UINT DispatchCall::slotOf(UINT i) const {
  if (i >= count()) ZEL_HERE.raise(DISP_E_BADPARAMCOUNT);
  return params_.cArgs - 1 - i;
}

Variant DispatchCall::converted(UINT slot, VARTYPE type) const {
  Variant result;
  const HRESULT hr = VariantChangeType(result.put(), &params_.rgvarg[slot], 0, type);
  if (FAILED(hr)) {
    argumentError = slot;
    // An object where a value is wanted, or the other way round, is a type mismatch
    // whatever the conversion said.
    ZEL_HERE.raiseFormatted(hr == DISP_E_OVERFLOW ? hr : DISP_E_TYPEMISMATCH, "Argument %u does not convert",
                            params_.cArgs - 1 - slot);
  }
  return result;
}

}  // namespace zelvo
