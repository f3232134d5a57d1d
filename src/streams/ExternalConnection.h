// Watching the outside clients of a stream: an IExternalConnection that counts strong
// connections, and the watcher thread that cuts every watched object off when the last
// client process has died, so that a crashed client cannot keep a stream alive for ever.
#pragma once

#include <map>

#include <boost/noncopyable.hpp>

#include "base/CLock.h"
#include "base/HResultException.h"
#include "base/ComRef.h"
#include "base/Iui.h"
#include "streams/Thread.h"

extern "C" const IID IID_IClientManip;

// An object that can cut off its outside clients.
struct IClientManip : IUnknown {
  virtual HRESULT STDMETHODCALLTYPE disconnect() = 0;

 protected:
  ~IClientManip() = default;
};
ZEL_IUI_INTERFACE(IClientManip, IID_IClientManip)

namespace detail {

class ClientWatcherBase : boost::noncopyable, public Thread, public CLock {
 public:
  ClientWatcherBase();
  ~ClientWatcherBase() override;

  // S_FALSE for a process that is known already. Without a handle the process is opened
  // for waiting; the handle belongs to the watcher from here on.
  HRESULT registerClient(DWORD processId, HANDLE process = nullptr);
  void registerObject(IClientManip* object);
  void unregisterObject(IClientManip* object);
  // Disconnects every watched object, outside the lock: disconnect comes back here and
  // goes into COM.
  void disconnectAll();

  size_t clientCount();
  size_t objectCount();

 protected:
  void execute() override;

 private:
  std::map<DWORD, HANDLE> clients_;
  std::map<IClientManip*, ComRef<IClientManip>> objects_;
  HANDLE wake_;
};

// One watcher per template value; each lives to the end of the process.
template <bool Which>
class ClientWatcher : public ClientWatcherBase {
 public:
  static ClientWatcher& instance() {
    // Never destroyed: the thread must not be joined while the process is being torn down.
    static ClientWatcher* watcher = new ClientWatcher;
    return *watcher;
  }
};

}  // namespace detail

// The external connection object that a wrapper aggregates.
template <bool Which>
class CExternalConnection : public iui_::IUnknownImpl<IExternalConnection, IClientManip, iui_::AggregationSupport>,
                            public CLock {
  using Unknown = iui_::IUnknownImpl<IExternalConnection, IClientManip, iui_::AggregationSupport>;

 public:
  // Gives the non-delegating IUnknown of a new object aggregated by outer.
  static HRESULT create(IUnknown* outer, IUnknown** inner) {
    if (!inner) return E_POINTER;
    try {
      *inner = (new CExternalConnection(outer))->nondelegatingUnknown();
      return S_OK;
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
  }

  HRESULT STDMETHODCALLTYPE NondelegatingQueryInterface(REFIID riid, void** ppv) override {
    if (!ppv) return E_INVALIDARG;
    return Unknown::NondelegatingQueryInterface(riid, ppv);
  }

  // Only strong connections count.
  DWORD STDMETHODCALLTYPE AddConnection(DWORD extconn, DWORD) override {
    if (!(extconn & EXTCONN_STRONG)) return 0;
    CLockGuard guard(this);
    if (count_ == 0) {
      detail::ClientWatcher<Which>::instance().registerObject(this);
      watched_ = true;
    }
    return ++count_;
  }

  DWORD STDMETHODCALLTYPE ReleaseConnection(DWORD extconn, DWORD, BOOL fLastReleaseCloses) override {
    if (!(extconn & EXTCONN_STRONG)) return 0;
    DWORD left;
    {
      CLockGuard guard(this);
      if (count_ > 0) --count_;
      left = count_;
    }
    if (left == 0 && fLastReleaseCloses) disconnect();
    return left;
  }

  HRESULT STDMETHODCALLTYPE disconnect() override {
    // The watcher may hold the last reference on the outer object.
    ComRef<IUnknown> keep(this->outerUnknown());
    detail::ClientWatcher<Which>::instance().unregisterObject(this);
    {
      CLockGuard guard(this);
      count_ = 0;
      watched_ = false;
    }
    return CoDisconnectObject(this->outerUnknown(), 0);
  }

  DWORD connections() {
    CLockGuard guard(this);
    return count_;
  }
  bool watched() {
    CLockGuard guard(this);
    return watched_;
  }

 private:
  explicit CExternalConnection(IUnknown* outer) : Unknown(outer) {}

  DWORD count_ = 0;
  bool watched_ = false;
};
