// The two MAPI utility functions the add-in calls, for the Linux build, where the
// reference store service stands in for the MAPI subsystem as it does for the memory
// functions. On Windows they come from the MAPI library.
#include "platform/Mapi.h"

#ifndef _WIN32

void STDMETHODCALLTYPE FreeProws(LPSRowSet lpRows) {
  if (!lpRows) return;
  for (ULONG i = 0; i < lpRows->cRows; ++i) MAPIFreeBuffer(lpRows->aRow[i].lpProps);
  MAPIFreeBuffer(lpRows);
}

HRESULT STDMETHODCALLTYPE HrGetOneProp(LPMAPIPROP lpMapiProp, ULONG ulPropTag, LPSPropValue* lppProp) {
  if (!lpMapiProp || !lppProp) return E_INVALIDARG;
  *lppProp = nullptr;
  SPropTagArray tags = {1, {ulPropTag}};
  ULONG count = 0;
  LPSPropValue values = nullptr;
  const HRESULT hr = lpMapiProp->GetProps(&tags, 0, &count, &values);
  if (FAILED(hr)) return hr;
  // A warning with an error value in place of the property means the object lacks it.
  if (!values || count != 1 || PROP_TYPE(values->ulPropTag) == PT_ERROR) {
    const HRESULT missing = values && count == 1 ? values->Value.err : MAPI_E_NOT_FOUND;
    MAPIFreeBuffer(values);
    return FAILED(missing) ? missing : MAPI_E_NOT_FOUND;
  }
  *lppProp = values;
  return S_OK;
}

#endif
