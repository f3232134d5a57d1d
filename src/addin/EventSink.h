// A sink for one event dispinterface of a host object: an IDispatch that the host calls
// through a connection point, with one handler slot per event it takes. Events without a
// handler are answered and ignored. A handler's failure is dropped: the host always sees
// success, and the user sees nothing.
#pragma once

#include <functional>
#include <map>

#include "base/ComRef.h"
#include "base/Iui.h"
#include "platform/Win32.h"

namespace zelvo {
namespace addin {

class HostEventSink final : public iui_::IUnknownImpl<IDispatch> {
 public:
  // The cookie of a sink that is not advised.
  static constexpr DWORD kNotAdvised = 0xFEFEFEFE;
  using Handler = std::function<void(const DISPPARAMS& arguments)>;

  // A sink for the dispinterface events, not advised, with no handler.
  static ComRef<HostEventSink> create(const IID& events);

  // Binds (or with an empty handler clears) the slot of an event.
  void on(DISPID event, Handler handler);

  // Advises the sink on source's connection point for its events. A sink that is advised
  // already raises E_FAIL; a failure of the host raises.
  void advise(IDispatch* source);
  // Unadvises it from source and marks it not advised; a failure raises, and the sink
  // stays marked as advised then.
  void unadvise(IDispatch* source);
  // Empties every slot: for an owner that goes while the host may still hold the sink.
  void clearHandlers() { handlers_.clear(); }
  // Marks it not advised without asking the host, for a source that has gone.
  void forget() { cookie_ = kNotAdvised; }

  DWORD cookie() const { return cookie_; }
  bool advised() const { return cookie_ != kNotAdvised; }
  const IID& events() const { return events_; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT count, LCID, DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT* result, EXCEPINFO*,
                                   UINT*) override;

 private:
  explicit HostEventSink(const IID& events) : events_(events) {}

  IID events_;
  DWORD cookie_ = kNotAdvised;
  std::map<DISPID, Handler> handlers_;
};

}  // namespace addin
}  // namespace zelvo
