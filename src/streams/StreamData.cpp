#include "streams/StreamData.h"

#include <algorithm>
#include <memory>
#include <mutex>

#include "base/ComBoundary.h"
#include "base/Win32Error.h"

extern "C" const IID IID_IStreamData = {0x97162CEC, 0x9C4F, 0x477A, {0x94, 0xF3, 0x63, 0xA2, 0x80, 0xCD, 0x69, 0x81}};
extern "C" const IID IID_IStreamDataCallbacks = {0xD1403CF2, 0x6F64, 0x41D9,
                                                 {0xA1, 0xA3, 0x29, 0x85, 0xC9, 0x14, 0x91, 0xB7}};

HRESULT StreamDataCallbackManager::registerCallback(IStreamDataCallbacks* callbacks, DWORD* cookie) {
  return zelvo::comBoundary([&] {
    if (!callbacks) ZEL_HERE.raise(E_INVALIDARG);
    if (!cookie) ZEL_HERE.raise(E_POINTER);
    callbacks_.emplace(nextCookie_, ComRef<IStreamDataCallbacks>(callbacks));
    *cookie = nextCookie_++;
    return S_OK;
  });
}

HRESULT StreamDataCallbackManager::unregisterCallback(DWORD cookie) {
  auto it = callbacks_.find(cookie);
  if (it == callbacks_.end()) return E_INVALIDARG;
  // Released after the entry is gone, in case the listener's end calls back into us.
  ComRef<IStreamDataCallbacks> released = std::move(it->second);
  callbacks_.erase(it);
  return S_OK;
}

void StreamDataCallbackManager::notifyCommit(IStreamData* source) {
  if (suspended()) return;
  for (auto& entry : callbacks_) entry.second->onCommit(source);
}

void StreamDataCallbackManager::notifySizeChanged(IStreamData* source, ULONGLONG newSize) {
  if (suspended()) return;
  for (auto& entry : callbacks_) entry.second->onSizeChanged(source, newSize);
}

BaseStreamData::BaseStreamData(const CLock* sharedLock) : CLock(sharedLock ? CLock(*sharedLock) : CLock(true)) {}

HRESULT BaseStreamData::registerCallback(IStreamDataCallbacks* callbacks, DWORD* cookie) {
  CLockGuard guard(this);
  return callbacks_.registerCallback(callbacks, cookie);
}

HRESULT BaseStreamData::unregisterCallback(DWORD cookie) {
  CLockGuard guard(this);
  return callbacks_.unregisterCallback(cookie);
}

HRESULT BaseStreamData::copyTo(IStreamData* destination) {
  CLockGuard guard(this);
  return doCopyTo(this, destination);
}

HRESULT BaseStreamData::setFlags(DWORD newFlags, DWORD* oldFlags) {
  CLockGuard guard(this);
  if (oldFlags) *oldFlags = flags_;
  flags_ = newFlags;
  return S_OK;
}

HRESULT BaseStreamData::getFlags(DWORD* flags) {
  CLockGuard guard(this);
  if (!flags) return E_POINTER;
  *flags = flags_;
  return S_OK;
}

HRESULT BaseStreamData::suspendCallbacks() {
  CLockGuard guard(this);
  callbacks_.suspend();
  return S_OK;
}

HRESULT BaseStreamData::resumeCallbacks() {
  CLockGuard guard(this);
  callbacks_.resume();
  return S_OK;
}

void BaseStreamData::autoCommit() {
  if (flags_ & STREAMDATA_AUTOCOMMIT) ZEL_CHECK(commit(0));
}

namespace {
// Less than the adaptive threshold, so that moving a just-filled memory block takes a
// handful of turns.
constexpr ULONG kTransferSize = 1000000;
}  // namespace

HRESULT doCopyTo(IStreamData* source, IStreamData* destination) {
  return zelvo::comBoundary([&] {
    if (!source || !destination) ZEL_HERE.raise(E_INVALIDARG);
    ULONGLONG size = 0;
    ZEL_CHECK(source->getSize(&size));
    ZEL_CHECK(destination->setSize(size));
    std::unique_ptr<BYTE[]> buffer(new BYTE[kTransferSize]);
    ULONGLONG position = 0;
    while (position < size) {
      const ULONG want = static_cast<ULONG>(std::min<ULONGLONG>(size - position, kTransferSize));
      ULONG got = 0;
      ZEL_CHECK(source->read(buffer.get(), want, position, &got));
      if (got == 0) break;
      ULONG written = 0;
      ZEL_CHECK(destination->write(buffer.get(), got, position, &written));
      if (written == 0) ZEL_HERE.raise(STG_E_MEDIUMFULL);
      position += std::min(got, written);
    }
    return S_OK;
  });
}

namespace Stream {
namespace Init {
namespace {
std::mutex& overrideMutex() {
  static std::mutex mutex;
  return mutex;
}
std::wstring& overridePath() {
  static std::wstring path;
  return path;
}
}  // namespace

std::wstring getTempPath() {
  {
    std::lock_guard<std::mutex> lock(overrideMutex());
    if (!overridePath().empty()) return overridePath();
  }
  WCHAR buffer[MAX_PATH];
  const DWORD length = GetTempPathW(MAX_PATH, buffer);
  if (length == 0) ZEL_HERE.raise(lastErrorToHResult());
  return std::wstring(buffer, std::min<DWORD>(length, MAX_PATH - 1));
}

void setTempPathOverride(const std::wstring& path) {
  std::lock_guard<std::mutex> lock(overrideMutex());
  overridePath() = path;
}
}  // namespace Init
}  // namespace Stream
