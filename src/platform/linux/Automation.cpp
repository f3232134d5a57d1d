#include "platform/linux/Automation.h"

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cwctype>
#include <string>

#include "platform/linux/ResultCodes.h"

extern "C" const IID IID_NULL = {0x00000000, 0x0000, 0x0000, {0, 0, 0, 0, 0, 0, 0, 0}};
extern "C" const IID IID_IDispatch = {0x00020400, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
extern "C" const IID IID_IConnectionPointContainer = {0xB196B284, 0xBAB4, 0x101A,
                                                      {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
extern "C" const IID IID_IEnumConnectionPoints = {0xB196B285, 0xBAB4, 0x101A,
                                                  {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
extern "C" const IID IID_IConnectionPoint = {0xB196B286, 0xBAB4, 0x101A,
                                             {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
extern "C" const IID IID_IEnumConnections = {0xB196B287, 0xBAB4, 0x101A,
                                             {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
extern "C" const IID IID_IPictureDisp = {0x7BF80981, 0xBF32, 0x101A, {0x8B, 0xBB, 0x00, 0xAA, 0x00, 0x30, 0x0C, 0xAB}};

namespace {

bool plainType(VARTYPE vt) {
  switch (vt) {
    case VT_EMPTY:
    case VT_NULL:
    case VT_I1:
    case VT_I2:
    case VT_I4:
    case VT_I8:
    case VT_UI1:
    case VT_UI2:
    case VT_UI4:
    case VT_UI8:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_R8:
    case VT_BOOL:
    case VT_ERROR:
    case VT_BSTR:
    case VT_UNKNOWN:
    case VT_DISPATCH:
      return true;
    default:
      return false;
  }
}

bool knownType(VARTYPE vt) {
  if (vt & VT_ARRAY) return false;
  if (vt & VT_BYREF) {
    const VARTYPE target = vt & VT_TYPEMASK;
    return target == VT_VARIANT || (plainType(target) && target != VT_EMPTY && target != VT_NULL);
  }
  return plainType(vt);
}

// The value a reference points at, as a plain VARIANT that owns nothing.
HRESULT dereference(const VARIANT& source, VARIANT& out) {
  if (!(source.vt & VT_BYREF)) {
    out = source;
    return S_OK;
  }
  if (!source.byref) return E_INVALIDARG;
  const VARTYPE target = source.vt & VT_TYPEMASK;
  if (target == VT_VARIANT) return dereference(*source.pvarVal, out);
  VariantInit(&out);
  out.vt = target;
  switch (target) {
    case VT_I1: out.cVal = *static_cast<CHAR*>(source.byref); break;
    case VT_UI1: out.bVal = *source.pbVal; break;
    case VT_I2: out.iVal = *source.piVal; break;
    case VT_UI2: out.uiVal = *static_cast<USHORT*>(source.byref); break;
    case VT_I4: out.lVal = *source.plVal; break;
    case VT_UI4: out.ulVal = *source.pulVal; break;
    case VT_INT: out.intVal = *source.pintVal; break;
    case VT_UINT: out.uintVal = *source.puintVal; break;
    case VT_I8: out.llVal = *source.pllVal; break;
    case VT_UI8: out.ullVal = *static_cast<ULONGLONG*>(source.byref); break;
    case VT_R4: out.fltVal = *source.pfltVal; break;
    case VT_R8: out.dblVal = *source.pdblVal; break;
    case VT_BOOL: out.boolVal = *source.pboolVal; break;
    case VT_ERROR: out.scode = *source.pscode; break;
    case VT_BSTR: out.bstrVal = *source.pbstrVal; break;
    case VT_UNKNOWN: out.punkVal = *source.ppunkVal; break;
    case VT_DISPATCH: out.pdispVal = *source.ppdispVal; break;
    default: return DISP_E_BADVARTYPE;
  }
  return S_OK;
}

// Bytes of an integer type; 0 for the others.
unsigned integerWidth(VARTYPE vt) {
  switch (vt) {
    case VT_I1: case VT_UI1: return 1;
    case VT_I2: case VT_UI2: return 2;
    case VT_I4: case VT_UI4: case VT_INT: case VT_UINT: return 4;
    case VT_I8: case VT_UI8: return 8;
    default: return 0;
  }
}

// A number read from any numeric source; false for a value out of the 64-bit range.
bool numberOf(const VARIANT& v, long double& out) {
  switch (v.vt) {
    case VT_EMPTY: out = 0; return true;
    case VT_I1: out = v.cVal; return true;
    case VT_UI1: out = v.bVal; return true;
    case VT_I2: out = v.iVal; return true;
    case VT_UI2: out = v.uiVal; return true;
    case VT_I4: out = v.lVal; return true;
    case VT_UI4: out = v.ulVal; return true;
    case VT_INT: out = v.intVal; return true;
    case VT_UINT: out = v.uintVal; return true;
    case VT_I8: out = static_cast<long double>(v.llVal); return true;
    case VT_UI8: out = static_cast<long double>(v.ullVal); return true;
    case VT_R4: out = v.fltVal; return true;
    case VT_R8: out = v.dblVal; return true;
    case VT_BOOL: out = v.boolVal ? -1 : 0; return true;
    default: return false;
  }
}

// A text as a number: blanks around it allowed, decimal only. Booleans in words too.
HRESULT parseNumber(BSTR text, long double& out) {
  std::wstring s = text ? std::wstring(text, SysStringLen(text)) : std::wstring();
  while (!s.empty() && std::iswspace(s.back())) s.pop_back();
  size_t start = 0;
  while (start < s.size() && std::iswspace(s[start])) ++start;
  s = s.substr(start);
  if (s.empty()) return DISP_E_TYPEMISMATCH;
  std::wstring lower;
  for (wchar_t c : s) lower.push_back(static_cast<wchar_t>(std::towlower(c)));
  if (lower == L"true") {
    out = -1;
    return S_OK;
  }
  if (lower == L"false") {
    out = 0;
    return S_OK;
  }
  wchar_t* end = nullptr;
  errno = 0;
  const long double value = std::wcstold(s.c_str(), &end);
  if (end != s.c_str() + s.size()) return DISP_E_TYPEMISMATCH;
  if (errno == ERANGE) return DISP_E_OVERFLOW;
  out = value;
  return S_OK;
}

HRESULT storeNumber(long double value, VARTYPE target, VARIANT& out) {
  // Integers round half to even, as automation does (the default rounding mode).
  if (target != VT_R4 && target != VT_R8) value = std::nearbyintl(value);
  auto fits = [&](long double low, long double high) { return value >= low && value <= high; };
  out.vt = target;
  switch (target) {
    case VT_I1: if (!fits(SCHAR_MIN, SCHAR_MAX)) return DISP_E_OVERFLOW; out.cVal = static_cast<CHAR>(value); break;
    case VT_UI1: if (!fits(0, UCHAR_MAX)) return DISP_E_OVERFLOW; out.bVal = static_cast<BYTE>(value); break;
    case VT_I2: if (!fits(SHRT_MIN, SHRT_MAX)) return DISP_E_OVERFLOW; out.iVal = static_cast<SHORT>(value); break;
    case VT_UI2: if (!fits(0, USHRT_MAX)) return DISP_E_OVERFLOW; out.uiVal = static_cast<USHORT>(value); break;
    case VT_I4: case VT_INT:
      if (!fits(INT32_MIN, INT32_MAX)) return DISP_E_OVERFLOW;
      out.lVal = static_cast<LONG>(value);
      break;
    case VT_UI4: case VT_UINT:
      if (!fits(0, UINT32_MAX)) return DISP_E_OVERFLOW;
      out.ulVal = static_cast<ULONG>(value);
      break;
    case VT_I8: if (!fits(INT64_MIN, INT64_MAX)) return DISP_E_OVERFLOW; out.llVal = static_cast<LONGLONG>(value); break;
    case VT_UI8: if (!fits(0, UINT64_MAX)) return DISP_E_OVERFLOW; out.ullVal = static_cast<ULONGLONG>(value); break;
    case VT_R4: out.fltVal = static_cast<FLOAT>(value); break;
    case VT_R8: out.dblVal = static_cast<DOUBLE>(value); break;
    case VT_BOOL: out.boolVal = value != 0 ? VARIANT_TRUE : VARIANT_FALSE; break;
    default: return DISP_E_TYPEMISMATCH;
  }
  return S_OK;
}

HRESULT textOf(const VARIANT& v, USHORT flags, std::wstring& out) {
  switch (v.vt) {
    case VT_EMPTY: out.clear(); return S_OK;
    case VT_BOOL:
      if (flags & VARIANT_ALPHABOOL) out = v.boolVal ? L"True" : L"False";
      else out = v.boolVal ? L"-1" : L"0";
      return S_OK;
    case VT_I1: out = std::to_wstring(static_cast<int>(v.cVal)); return S_OK;
    case VT_UI1: out = std::to_wstring(v.bVal); return S_OK;
    case VT_I2: out = std::to_wstring(v.iVal); return S_OK;
    case VT_UI2: out = std::to_wstring(v.uiVal); return S_OK;
    case VT_I4: out = std::to_wstring(v.lVal); return S_OK;
    case VT_UI4: out = std::to_wstring(v.ulVal); return S_OK;
    case VT_INT: out = std::to_wstring(v.intVal); return S_OK;
    case VT_UINT: out = std::to_wstring(v.uintVal); return S_OK;
    case VT_I8: out = std::to_wstring(v.llVal); return S_OK;
    case VT_UI8: out = std::to_wstring(v.ullVal); return S_OK;
    default: return DISP_E_TYPEMISMATCH;
  }
}

// The object's default value is not asked for: an object converts to an interface only.
HRESULT interfaceOf(const VARIANT& v, VARTYPE target, VARIANT& out) {
  IUnknown* unknown = v.vt == VT_UNKNOWN ? v.punkVal : reinterpret_cast<IUnknown*>(v.pdispVal);
  out.vt = target;
  if (!unknown) {
    out.punkVal = nullptr;
    return S_OK;
  }
  if (target == VT_UNKNOWN) {
    // A dispatch pointer is an IUnknown already.
    unknown->AddRef();
    out.punkVal = unknown;
    return S_OK;
  }
  void* dispatch = nullptr;
  const HRESULT hr = unknown->QueryInterface(IID_IDispatch, &dispatch);
  if (FAILED(hr)) return DISP_E_TYPEMISMATCH;
  out.pdispVal = static_cast<IDispatch*>(dispatch);
  return S_OK;
}

}  // namespace

void VariantInit(VARIANTARG* pvarg) {
  if (!pvarg) return;
  pvarg->vt = VT_EMPTY;
  pvarg->wReserved1 = pvarg->wReserved2 = pvarg->wReserved3 = 0;
  pvarg->llVal = 0;
}

HRESULT VariantClear(VARIANTARG* pvarg) {
  if (!pvarg) return E_INVALIDARG;
  if (!knownType(pvarg->vt)) return DISP_E_BADVARTYPE;
  if (!(pvarg->vt & VT_BYREF)) {
    if (pvarg->vt == VT_BSTR) SysFreeString(pvarg->bstrVal);
    else if ((pvarg->vt == VT_UNKNOWN || pvarg->vt == VT_DISPATCH) && pvarg->punkVal) pvarg->punkVal->Release();
  }
  VariantInit(pvarg);
  return S_OK;
}

HRESULT VariantCopy(VARIANTARG* pvargDest, VARIANTARG* pvargSrc) {
  if (!pvargDest || !pvargSrc) return E_INVALIDARG;
  if (!knownType(pvargSrc->vt)) return DISP_E_BADVARTYPE;
  if (pvargDest == pvargSrc) return S_OK;
  VARIANT copy = *pvargSrc;
  if (copy.vt == VT_BSTR && copy.bstrVal) {
    copy.bstrVal = SysAllocStringLen(pvargSrc->bstrVal, SysStringLen(pvargSrc->bstrVal));
    if (!copy.bstrVal) return E_OUTOFMEMORY;
  } else if ((copy.vt == VT_UNKNOWN || copy.vt == VT_DISPATCH) && copy.punkVal) {
    copy.punkVal->AddRef();
  }
  const HRESULT hr = VariantClear(pvargDest);
  if (FAILED(hr)) {
    VariantClear(&copy);
    return hr;
  }
  *pvargDest = copy;
  return S_OK;
}

HRESULT VariantChangeType(VARIANTARG* pvargDest, VARIANTARG* pvarSrc, USHORT wFlags, VARTYPE vt) {
  if (!pvargDest || !pvarSrc) return E_INVALIDARG;
  if (!knownType(pvarSrc->vt) || (vt & (VT_BYREF | VT_ARRAY)) || !plainType(vt)) return DISP_E_BADVARTYPE;
  VARIANT source;
  HRESULT hr = dereference(*pvarSrc, source);
  if (FAILED(hr)) return hr;
  VARIANT result;
  VariantInit(&result);
  const unsigned width = integerWidth(source.vt);
  if (source.vt == vt) {
    hr = VariantCopy(&result, &source);
  } else if (width != 0 && width == integerWidth(vt)) {
    // Between the signed and unsigned integers of one width automation keeps the bits.
    result = source;
    result.vt = vt;
  } else if (vt == VT_EMPTY) {
    hr = S_OK;
  } else if (source.vt == VT_NULL || vt == VT_NULL || vt == VT_ERROR || source.vt == VT_ERROR) {
    hr = DISP_E_TYPEMISMATCH;
  } else if (vt == VT_BSTR) {
    std::wstring text;
    hr = textOf(source, wFlags, text);
    if (SUCCEEDED(hr)) {
      result.vt = VT_BSTR;
      result.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
      if (!result.bstrVal) hr = E_OUTOFMEMORY;
    }
  } else if (vt == VT_UNKNOWN || vt == VT_DISPATCH) {
    hr = source.vt == VT_UNKNOWN || source.vt == VT_DISPATCH ? interfaceOf(source, vt, result) : DISP_E_TYPEMISMATCH;
  } else {
    long double number = 0;
    if (source.vt == VT_BSTR) hr = parseNumber(source.bstrVal, number);
    else hr = numberOf(source, number) ? S_OK : DISP_E_TYPEMISMATCH;
    if (SUCCEEDED(hr)) hr = storeNumber(number, vt, result);
    if (FAILED(hr)) VariantInit(&result);
  }
  if (FAILED(hr)) return hr;
  // The source may be the destination: it is read in full before the destination goes.
  hr = VariantClear(pvargDest);
  if (FAILED(hr)) {
    VariantClear(&result);
    return hr;
  }
  *pvargDest = result;
  return S_OK;
}

HRESULT VarBstrCmp(BSTR bstrLeft, BSTR bstrRight, LCID, ULONG dwFlags) {
  const UINT leftLength = bstrLeft ? SysStringLen(bstrLeft) : 0;
  const UINT rightLength = bstrRight ? SysStringLen(bstrRight) : 0;
  const bool ignoreCase = (dwFlags & NORM_IGNORECASE) != 0;
  for (UINT i = 0; i < leftLength && i < rightLength; ++i) {
    wint_t left = static_cast<wint_t>(bstrLeft[i]);
    wint_t right = static_cast<wint_t>(bstrRight[i]);
    if (ignoreCase) {
      left = std::towlower(left);
      right = std::towlower(right);
    }
    if (left != right) return left < right ? VARCMP_LT : VARCMP_GT;
  }
  if (leftLength == rightLength) return VARCMP_EQ;
  return leftLength < rightLength ? VARCMP_LT : VARCMP_GT;
}
