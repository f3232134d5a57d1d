#include "streams/AdaptiveStreamData.h"

#include "base/ComBoundary.h"
#include "streams/MemoryStreamData.h"
#include "streams/TempFileStreamData.h"

HRESULT AdaptiveStreamData::create(DWORD flags, const CLock* sharedLock, IStreamData** out, DWORD threshold) {
  return zelvo::comBoundary([&] {
    if (!out) ZEL_HERE.raise(E_POINTER);
    auto data = ComRef<AdaptiveStreamData>::adopt(new AdaptiveStreamData(sharedLock, threshold));
    ZEL_CHECK(data->setFlags(flags, nullptr));
    *out = data.detach();
    return S_OK;
  });
}

AdaptiveStreamData::AdaptiveStreamData(const CLock* sharedLock, DWORD threshold)
    : BaseStreamData(sharedLock), threshold_(threshold), listener_(StreamCallbacksImpl<AdaptiveStreamData>::create(this)) {}

AdaptiveStreamData::~AdaptiveStreamData() {
  if (inner_) inner_->unregisterCallback(cookie_);
  listener_->detach();
}

void AdaptiveStreamData::dataCommitted(IStreamData*) { callbacks_.notifyCommit(this); }

void AdaptiveStreamData::dataSizeChanged(IStreamData*, ULONGLONG newSize) { callbacks_.notifySizeChanged(this, newSize); }

void AdaptiveStreamData::createData(Kind target, bool copy) {
  if (copy && kind_ == target) return;
  const CLock* lock = this;
  ComRef<IStreamData> fresh;
  if (target == KindMemory) ZEL_CHECK(MemoryStreamData::create(0, lock, fresh.put()));
  else ZEL_CHECK(TempFileStreamData::create(0, lock, fresh.put()));
  if (copy && inner_) ZEL_CHECK(inner_->copyTo(fresh.get()));
  DWORD cookie = 0;
  ZEL_CHECK(fresh->registerCallback(listener_.get(), &cookie));
  // After the copy: the copy must write even into a read-only object.
  ZEL_CHECK(fresh->setFlags(flags(), nullptr));
  if (inner_) inner_->unregisterCallback(cookie_);
  inner_ = std::move(fresh);
  cookie_ = cookie;
  kind_ = target;
}

void AdaptiveStreamData::ensureInner() {
  if (!inner_) createData(KindMemory, false);
}

void AdaptiveStreamData::prepareForEnd(ULONGLONG end) {
  if (!inner_) createData(end >= threshold_ ? KindTempFile : KindMemory, false);
  else if (kind_ == KindMemory && end >= threshold_) createData(KindTempFile, true);
}

// Each passed-on failure is raised again here and returned as the same code.
#define ZEL_FORWARD(call)         \
  do {                            \
    const HRESULT hr_ = (call);   \
    ZEL_CHECK(hr_);               \
    return hr_;                   \
  } while (false)

HRESULT AdaptiveStreamData::read(void* buffer, ULONG count, ULONGLONG offset, ULONG* bytesRead) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    ensureInner();
    ZEL_FORWARD(inner_->read(buffer, count, offset, bytesRead));
  });
}

HRESULT AdaptiveStreamData::write(const void* buffer, ULONG count, ULONGLONG offset, ULONG* bytesWritten) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    prepareForEnd(offset + count);
    ZEL_FORWARD(inner_->write(buffer, count, offset, bytesWritten));
  });
}

HRESULT AdaptiveStreamData::lockRegion(ULONGLONG offset, ULONGLONG length, DWORD lockType) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    prepareForEnd(offset + length);
    ZEL_FORWARD(inner_->lockRegion(offset, length, lockType));
  });
}

HRESULT AdaptiveStreamData::setSize(ULONGLONG newSize) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    if (!inner_) {
      createData(newSize >= threshold_ ? KindTempFile : KindMemory, false);
    } else {
      if (newSize >= threshold_ && kind_ == KindMemory) createData(KindTempFile, true);
      // The band between half the threshold and the threshold keeps the data from going
      // back and forth. The whole file comes back before it is cut.
      if (newSize < threshold_ / 2 && kind_ == KindTempFile) createData(KindMemory, true);
    }
    ZEL_FORWARD(inner_->setSize(newSize));
  });
}

HRESULT AdaptiveStreamData::commit(DWORD flags) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    ensureInner();
    ZEL_FORWARD(inner_->commit(flags));
  });
}

HRESULT AdaptiveStreamData::revert() {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    ensureInner();
    ZEL_FORWARD(inner_->revert());
  });
}

HRESULT AdaptiveStreamData::unlockRegion(ULONGLONG offset, ULONGLONG length, DWORD lockType) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    ensureInner();
    ZEL_FORWARD(inner_->unlockRegion(offset, length, lockType));
  });
}

HRESULT AdaptiveStreamData::_stat64(STATSTG* stat, DWORD statFlag) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    ensureInner();
    ZEL_FORWARD(inner_->_stat64(stat, statFlag));
  });
}

HRESULT AdaptiveStreamData::getSize(ULONGLONG* size) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    ensureInner();
    ZEL_FORWARD(inner_->getSize(size));
  });
}

HRESULT AdaptiveStreamData::setFlags(DWORD newFlags, DWORD* oldFlags) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    ZEL_CHECK(BaseStreamData::setFlags(newFlags, oldFlags));
    if (inner_) ZEL_CHECK(inner_->setFlags(newFlags, nullptr));
    return S_OK;
  });
}
