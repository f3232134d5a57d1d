// The lower layer of a stream: an addressable store of bytes without a position, its
// listeners, and the base that every back end shares.
#pragma once

#include <map>
#include <new>
#include <string>

#include "base/CLock.h"
#include "base/HResultException.h"
#include "platform/Win32.h"
#include "base/ComRef.h"
#include "base/Iui.h"

extern "C" const IID IID_IStreamData;
extern "C" const IID IID_IStreamDataCallbacks;

struct IStreamData;

struct IStreamDataCallbacks : IUnknown {
  virtual void STDMETHODCALLTYPE onCommit(IStreamData* source) = 0;
  virtual void STDMETHODCALLTYPE onSizeChanged(IStreamData* source, ULONGLONG newSize) = 0;

 protected:
  ~IStreamDataCallbacks() = default;
};

// The slot order is part of the interface: objects cross module boundaries by it.
struct IStreamData : IUnknown {
  // Reads at most count bytes at offset; past the end that is 0 bytes and a success.
  virtual HRESULT STDMETHODCALLTYPE read(void* buffer, ULONG count, ULONGLONG offset, ULONG* bytesRead) = 0;
  // Writes at offset; the data grows as needed.
  virtual HRESULT STDMETHODCALLTYPE write(const void* buffer, ULONG count, ULONGLONG offset, ULONG* bytesWritten) = 0;
  virtual HRESULT STDMETHODCALLTYPE setSize(ULONGLONG newSize) = 0;
  // Makes pending changes final and tells the listeners; the flags are not interpreted.
  virtual HRESULT STDMETHODCALLTYPE commit(DWORD flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE revert() = 0;
  virtual HRESULT STDMETHODCALLTYPE lockRegion(ULONGLONG offset, ULONGLONG length, DWORD lockType) = 0;
  virtual HRESULT STDMETHODCALLTYPE unlockRegion(ULONGLONG offset, ULONGLONG length, DWORD lockType) = 0;
  virtual HRESULT STDMETHODCALLTYPE _stat64(STATSTG* stat, DWORD statFlag) = 0;
  virtual HRESULT STDMETHODCALLTYPE getSize(ULONGLONG* size) = 0;
  virtual HRESULT STDMETHODCALLTYPE registerCallback(IStreamDataCallbacks* callbacks, DWORD* cookie) = 0;
  virtual HRESULT STDMETHODCALLTYPE unregisterCallback(DWORD cookie) = 0;
  // Copies the whole content, from offset 0, to the same offsets in the destination.
  virtual HRESULT STDMETHODCALLTYPE copyTo(IStreamData* destination) = 0;
  virtual HRESULT STDMETHODCALLTYPE setFlags(DWORD newFlags, DWORD* oldFlags) = 0;
  virtual HRESULT STDMETHODCALLTYPE getFlags(DWORD* flags) = 0;
  virtual HRESULT STDMETHODCALLTYPE suspendCallbacks() = 0;
  virtual HRESULT STDMETHODCALLTYPE resumeCallbacks() = 0;

 protected:
  ~IStreamData() = default;
};

ZEL_IUI_INTERFACE(IStreamData, IID_IStreamData)
ZEL_IUI_INTERFACE(IStreamDataCallbacks, IID_IStreamDataCallbacks)

// The flag word of a stream data object.
// write and setSize fail with STG_E_ACCESSDENIED, commit does nothing.
constexpr DWORD STREAMDATA_READONLY = 1;
// Every successful write or setSize is followed by commit(0).
constexpr DWORD STREAMDATA_AUTOCOMMIT = 2;

// The listeners of one data object, in the order of their cookies.
class StreamDataCallbackManager {
 public:
  StreamDataCallbackManager() = default;
  StreamDataCallbackManager(const StreamDataCallbackManager&) = delete;
  StreamDataCallbackManager& operator=(const StreamDataCallbackManager&) = delete;

  // Cookies start at 1 and are never given out twice.
  HRESULT registerCallback(IStreamDataCallbacks* callbacks, DWORD* cookie);
  HRESULT unregisterCallback(DWORD cookie);
  void suspend() { ++suspended_; }
  void resume() {
    if (suspended_ > 0) --suspended_;
  }
  bool suspended() const { return suspended_ > 0; }
  // While suspended, notifications are dropped, not queued.
  void notifyCommit(IStreamData* source);
  void notifySizeChanged(IStreamData* source, ULONGLONG newSize);

 private:
  DWORD nextCookie_ = 1;
  std::map<DWORD, ComRef<IStreamDataCallbacks>> callbacks_;
  DWORD suspended_ = 0;
};

// What the back ends share: the lock, the listeners and the flag word.
class BaseStreamData : public iui_::IUnknownImpl<IStreamData>, public CLock {
 public:
  HRESULT STDMETHODCALLTYPE registerCallback(IStreamDataCallbacks* callbacks, DWORD* cookie) override;
  HRESULT STDMETHODCALLTYPE unregisterCallback(DWORD cookie) override;
  HRESULT STDMETHODCALLTYPE copyTo(IStreamData* destination) override;
  HRESULT STDMETHODCALLTYPE setFlags(DWORD newFlags, DWORD* oldFlags) override;
  HRESULT STDMETHODCALLTYPE getFlags(DWORD* flags) override;
  HRESULT STDMETHODCALLTYPE suspendCallbacks() override;
  HRESULT STDMETHODCALLTYPE resumeCallbacks() override;

 protected:
  // Shares sharedLock when given, else makes a lock of its own.
  explicit BaseStreamData(const CLock* sharedLock);

  DWORD flags() const { return flags_; }
  bool readOnly() const { return (flags_ & STREAMDATA_READONLY) != 0; }
  // After a successful change: commit when the flags ask for it, raising its failure.
  void autoCommit();

  StreamDataCallbackManager callbacks_;

 private:
  DWORD flags_ = 0;
};

// A listener that hands the two notifications of a data object to its owner, which it
// does not own. T provides dataCommitted(source) and dataSizeChanged(source, size).
template <class T>
class StreamCallbacksImpl : public iui_::IUnknownImpl<IStreamDataCallbacks> {
 public:
  // Raises E_OUTOFMEMORY rather than letting std::bad_alloc through.
  static ComRef<StreamCallbacksImpl> create(T* owner) {
    try {
      return ComRef<StreamCallbacksImpl>::adopt(new StreamCallbacksImpl(owner));
    } catch (const std::bad_alloc&) {
      ZEL_HERE.raise(E_OUTOFMEMORY);
    }
  }

  void STDMETHODCALLTYPE onCommit(IStreamData* source) override {
    if (owner_) owner_->dataCommitted(source);
  }
  void STDMETHODCALLTYPE onSizeChanged(IStreamData* source, ULONGLONG newSize) override {
    if (owner_) owner_->dataSizeChanged(source, newSize);
  }
  // The owner is going away; later notifications are dropped.
  void detach() { owner_ = nullptr; }

 private:
  explicit StreamCallbacksImpl(T* owner) : owner_(owner) {}
  T* owner_;
};

// Copies source into destination; the caller holds the source's lock.
HRESULT doCopyTo(IStreamData* source, IStreamData* destination);

namespace Stream {
namespace Init {
// The folder of temporary files: the override when it is set, else the system's.
std::wstring getTempPath();
// The process-wide override; an empty text turns it off. The product leaves it empty.
void setTempPathOverride(const std::wstring& path);
}  // namespace Init
}  // namespace Stream
