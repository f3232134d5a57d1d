// The interfaces through which the host calls the add-in: the add-in's life cycle, the
// ribbon's documents and the ribbon's callbacks. The first two are dual: the host calls
// them through their vtables, scripts through IDispatch. The callbacks are reached by name
// only, through IDispatch.
#pragma once

#include "base/Iui.h"
#include "platform/Win32.h"

namespace zelvo {
namespace addin {

extern const IID IID_IDTExtensibility2;
extern const IID IID_IRibbonExtensibility;
// Declared in the add-in's own type library.
extern const IID IID_IRibbonCallback;
// The host's ribbon objects, asked for by the callbacks.
extern const IID IID_IRibbonControl;
extern const IID IID_IRibbonUI;

// How the host connected the add-in.
enum ConnectMode : int {
  kConnectAfterStartup = 0,  // the user switched the add-in on in a running host
  kConnectStartup = 1,       // the host loads it while it starts
  kConnectExternal = 2,
  kConnectCommandLine = 3,
};

struct IDTExtensibility2 : public IDispatch {
  virtual HRESULT STDMETHODCALLTYPE OnConnection(IDispatch* application, int connectMode, IDispatch* addInInstance,
                                                 SAFEARRAY** custom) = 0;
  virtual HRESULT STDMETHODCALLTYPE OnDisconnection(int removeMode, SAFEARRAY** custom) = 0;
  virtual HRESULT STDMETHODCALLTYPE OnAddInsUpdate(SAFEARRAY** custom) = 0;
  virtual HRESULT STDMETHODCALLTYPE OnStartupComplete(SAFEARRAY** custom) = 0;
  virtual HRESULT STDMETHODCALLTYPE OnBeginShutdown(SAFEARRAY** custom) = 0;

 protected:
  ~IDTExtensibility2() = default;
};

struct IRibbonExtensibility : public IDispatch {
  virtual HRESULT STDMETHODCALLTYPE GetCustomUI(BSTR ribbonId, BSTR* xml) = 0;

 protected:
  ~IRibbonExtensibility() = default;
};

// The callbacks have no vtable slots of their own: a plain IDispatch under its own IID.
struct IRibbonCallback : public IDispatch {
 protected:
  ~IRibbonCallback() = default;
};

}  // namespace addin
}  // namespace zelvo

ZEL_IUI_INTERFACE(zelvo::addin::IDTExtensibility2, zelvo::addin::IID_IDTExtensibility2)
ZEL_IUI_INTERFACE(zelvo::addin::IRibbonExtensibility, zelvo::addin::IID_IRibbonExtensibility)
ZEL_IUI_INTERFACE(zelvo::addin::IRibbonCallback, zelvo::addin::IID_IRibbonCallback)
