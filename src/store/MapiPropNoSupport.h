// The IMAPIProp members of an object that answers only OpenProperty: every other member is
// MAPI_E_NO_SUPPORT, with its out-parameters cleared. The reference store's MAPI objects and
// the host stand-in's stores and folders are such objects.
#pragma once

#include "base/Iui.h"
#include "platform/Mapi.h"

template <class Interface>
class MapiPropNoSupport : public Interface {
 public:
  HRESULT STDMETHODCALLTYPE GetLastError(HRESULT, ULONG, LPMAPIERROR* error) override {
    if (error) *error = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE SaveChanges(ULONG) override { return MAPI_E_NO_SUPPORT; }
  HRESULT STDMETHODCALLTYPE GetProps(LPSPropTagArray, ULONG, ULONG* count, LPSPropValue* values) override {
    if (count) *count = 0;
    if (values) *values = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE GetPropList(ULONG, LPSPropTagArray* tags) override {
    if (tags) *tags = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE SetProps(ULONG, LPSPropValue, LPSPropProblemArray* problems) override {
    if (problems) *problems = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE DeleteProps(LPSPropTagArray, LPSPropProblemArray* problems) override {
    if (problems) *problems = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE CopyTo(ULONG, LPCIID, LPSPropTagArray, ULONG, LPMAPIPROGRESS, LPCIID, LPVOID, ULONG,
                                   LPSPropProblemArray* problems) override {
    if (problems) *problems = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE CopyProps(LPSPropTagArray, ULONG, LPMAPIPROGRESS, LPCIID, LPVOID, ULONG,
                                      LPSPropProblemArray* problems) override {
    if (problems) *problems = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE GetNamesFromIDs(LPSPropTagArray*, LPGUID, ULONG, ULONG* count,
                                            LPMAPINAMEID** names) override {
    if (count) *count = 0;
    if (names) *names = nullptr;
    return MAPI_E_NO_SUPPORT;
  }
  HRESULT STDMETHODCALLTYPE GetIDsFromNames(ULONG, LPMAPINAMEID*, ULONG, LPSPropTagArray* tags) override {
    if (tags) *tags = nullptr;
    return MAPI_E_NO_SUPPORT;
  }

 protected:
  ~MapiPropNoSupport() = default;
};

namespace iui_ {
// The object answers for the interface it completes.
template <class I>
struct InterfaceId<MapiPropNoSupport<I>> : InterfaceId<I> {};
}  // namespace iui_
