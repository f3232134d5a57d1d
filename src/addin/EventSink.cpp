#include "addin/EventSink.h"

#include "base/ComBoundary.h"
#include "base/HResultException.h"

namespace zelvo {
namespace addin {

namespace details {

ComRef<IConnectionPoint> connectionPointOf(IDispatch* source, const IID& events) {
  if (!source) ZEL_HERE.raise(E_POINTER);
  const ComRef<IConnectionPointContainer> container =
      ComRef<IDispatch>(source).as<IConnectionPointContainer>(IID_IConnectionPointContainer);
  ComRef<IConnectionPoint> point;
  ZEL_CHECK(container->FindConnectionPoint(events, point.put()));
  if (!point) ZEL_HERE.raise(E_POINTER);
  return point;
}

}  // namespace details

ComRef<HostEventSink> HostEventSink::create(const IID& events) {
  return ComRef<HostEventSink>::adopt(new HostEventSink(events));
}

void HostEventSink::on(DISPID event, Handler handler) {
  if (handler)
    handlers_[event] = std::move(handler);
  else
    handlers_.erase(event);
}

void HostEventSink::advise(IDispatch* source) {
  if (advised()) ZEL_HERE.raise(E_FAIL);
  const ComRef<IConnectionPoint> point = details::connectionPointOf(source, events_);
  DWORD cookie = 0;
  ZEL_CHECK(point->Advise(static_cast<IDispatch*>(this), &cookie));
  cookie_ = cookie;
}

void HostEventSink::unadvise(IDispatch* source) {
  const ComRef<IConnectionPoint> point = details::connectionPointOf(source, events_);
  ZEL_CHECK(point->Unadvise(cookie_));
  cookie_ = kNotAdvised;
}

HRESULT HostEventSink::QueryInterface(REFIID riid, void** ppv) {
  // The host may ask a sink for the dispinterface it is advised for.
  if (ppv && IsEqualIID(riid, events_)) {
    *ppv = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  return IUnknownImpl::QueryInterface(riid, ppv);
}

HRESULT HostEventSink::GetTypeInfoCount(UINT* count) {
  if (!count) return E_POINTER;
  *count = 0;
  return S_OK;
}

HRESULT HostEventSink::GetTypeInfo(UINT, LCID, ITypeInfo** info) {
  if (info) *info = nullptr;
  return E_NOTIMPL;
}

HRESULT HostEventSink::GetIDsOfNames(REFIID, LPOLESTR*, UINT count, LCID, DISPID* ids) {
  // The host calls sinks by dispatch id only.
  if (ids)
    for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
  return DISP_E_UNKNOWNNAME;
}

HRESULT HostEventSink::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT* result, EXCEPINFO*, UINT*) {
  if (result) VariantInit(result);
  const auto found = handlers_.find(id);
  if (found == handlers_.end() || !params) return S_OK;
  // The handler may clear its own slot while it runs.
  const Handler handler = found->second;
  (void)comBoundary([&] { handler(*params); });
  return S_OK;
}

}  // namespace addin
}  // namespace zelvo
