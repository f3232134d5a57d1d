#include "streams/TempFileStreamData.h"

#include "base/ComBoundary.h"
#include "base/Win32Error.h"
#include "streams/StatFill.h"

namespace detail {

TemporaryFile::~TemporaryFile() {
  if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
}

void TemporaryFile::raiseFromWin32(const RaisePoint& at) { at.raise(lastErrorToHResult()); }

void TemporaryFile::open() {
  const std::wstring folder = Stream::Init::getTempPath();
  WCHAR name[MAX_PATH];
  if (!GetTempFileNameW(folder.c_str(), L"ZEL", 0, name)) raiseFromWin32(ZEL_HERE);
  // Private, and gone with the handle; temporary, so that the system may keep it in its cache.
  const HANDLE handle = CreateFileW(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_FLAG_DELETE_ON_CLOSE | FILE_ATTRIBUTE_TEMPORARY, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    const DWORD error = GetLastError();
    DeleteFileW(name);
    SetLastError(error);
    raiseFromWin32(ZEL_HERE);
  }
  handle_ = handle;
}

}  // namespace detail

detail::TemporaryFile* TempFileStreamData::ValidatedFilePtr::operator->() const {
  if (!file_) ZEL_HERE.raise(E_HANDLE, "Temporary file is not initialized");
  return file_.get();
}

HRESULT TempFileStreamData::create(DWORD flags, const CLock* sharedLock, IStreamData** out) {
  return zelvo::comBoundary([&] {
    if (!out) ZEL_HERE.raise(E_POINTER);
    auto data = ComRef<TempFileStreamData>::adopt(new TempFileStreamData(sharedLock));
    data->open();
    ZEL_CHECK(data->setFlags(flags, nullptr));
    *out = data.detach();
    return S_OK;
  });
}

TempFileStreamData::TempFileStreamData(const CLock* sharedLock) : BaseStreamData(sharedLock) {}

TempFileStreamData::~TempFileStreamData() = default;

void TempFileStreamData::open() {
  CLockGuard guard(this);
  auto file = std::make_unique<detail::TemporaryFile>();
  file->open();
  file_ = std::move(file);
}

void TempFileStreamData::seek(ULONGLONG offset) {
  LARGE_INTEGER to;
  to.QuadPart = static_cast<LONGLONG>(offset);
  if (!SetFilePointerEx(file()->handle(), to, nullptr, FILE_BEGIN)) detail::TemporaryFile::raiseFromWin32(ZEL_HERE);
}

HRESULT TempFileStreamData::read(void* buffer, ULONG count, ULONGLONG offset, ULONG* bytesRead) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    if (!buffer) ZEL_HERE.raise(STG_E_INVALIDPOINTER);
    seek(offset);
    DWORD done = 0;
    // A short read at the end of the file is a success.
    if (!ReadFile(file()->handle(), buffer, count, &done, nullptr)) detail::TemporaryFile::raiseFromWin32(ZEL_HERE);
    if (bytesRead) *bytesRead = done;
    return S_OK;
  });
}

HRESULT TempFileStreamData::write(const void* buffer, ULONG count, ULONGLONG offset, ULONG* bytesWritten) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    if (!buffer) ZEL_HERE.raise(STG_E_INVALIDPOINTER);
    if (readOnly()) ZEL_HERE.raise(STG_E_ACCESSDENIED);
    seek(offset);
    DWORD done = 0;
    if (!WriteFile(file()->handle(), buffer, count, &done, nullptr)) detail::TemporaryFile::raiseFromWin32(ZEL_HERE);
    dirty_ = true;
    if (bytesWritten) *bytesWritten = done;
    autoCommit();
    return S_OK;
  });
}

HRESULT TempFileStreamData::setSize(ULONGLONG newSize) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    if (readOnly()) ZEL_HERE.raise(STG_E_ACCESSDENIED);
    seek(newSize);
    if (!SetEndOfFile(file()->handle())) detail::TemporaryFile::raiseFromWin32(ZEL_HERE);
    dirty_ = true;
    autoCommit();
    return S_OK;
  });
}

HRESULT TempFileStreamData::commit(DWORD) {
  CLockGuard guard(this);
  if (dirty_ && !readOnly()) {
    callbacks_.notifyCommit(this);
    dirty_ = false;
  }
  return S_OK;
}

HRESULT TempFileStreamData::revert() { return S_OK; }

HRESULT TempFileStreamData::lockRegion(ULONGLONG, ULONGLONG, DWORD) { return STG_E_INVALIDFUNCTION; }

HRESULT TempFileStreamData::unlockRegion(ULONGLONG, ULONGLONG, DWORD) { return STG_E_INVALIDFUNCTION; }

HRESULT TempFileStreamData::_stat64(STATSTG* stat, DWORD statFlag) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    if (!stat) ZEL_HERE.raise(STG_E_INVALIDPOINTER);
    if (statFlag != STATFLAG_DEFAULT && statFlag != STATFLAG_NONAME) ZEL_HERE.raise(STG_E_INVALIDFLAG);
    BY_HANDLE_FILE_INFORMATION info;
    if (!GetFileInformationByHandle(file()->handle(), &info)) detail::TemporaryFile::raiseFromWin32(ZEL_HERE);
    const ULONGLONG size = (static_cast<ULONGLONG>(info.nFileSizeHigh) << 32) | info.nFileSizeLow;
    details::fillStat(stat, statFlag, size, details::fromFileTime(info.ftLastWriteTime),
                      details::fromFileTime(info.ftCreationTime), details::fromFileTime(info.ftLastAccessTime));
    return S_OK;
  });
}

HRESULT TempFileStreamData::getSize(ULONGLONG* size) {
  CLockGuard guard(this);
  return zelvo::comBoundary([&] {
    if (!size) ZEL_HERE.raise(E_POINTER);
    LARGE_INTEGER bytes;
    if (!GetFileSizeEx(file()->handle(), &bytes)) detail::TemporaryFile::raiseFromWin32(ZEL_HERE);
    *size = static_cast<ULONGLONG>(bytes.QuadPart);
    return S_OK;
  });
}
