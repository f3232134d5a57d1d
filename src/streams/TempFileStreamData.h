// Stream data in a temporary file that the system deletes when its handle closes.
#pragma once

#include <memory>

#include "base/HResultException.h"
#include "streams/StreamData.h"

namespace detail {

// One open temporary file, "ZEL" in its name, in the folder of Stream::Init::getTempPath.
class TemporaryFile {
 public:
  TemporaryFile() = default;
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  // Closing is all that removes the file.
  ~TemporaryFile();

  void open();
  HANDLE handle() const { return handle_; }

  // Raises the calling thread's last Win32 error as a result code.
  [[noreturn]] static void raiseFromWin32(const RaisePoint& at);

 private:
  HANDLE handle_ = INVALID_HANDLE_VALUE;
};

}  // namespace detail

class TempFileStreamData : public BaseStreamData {
 public:
  // Opens the file at once, then applies the flags.
  static HRESULT create(DWORD flags, const CLock* sharedLock, IStreamData** out);

  // An object without a file until open() succeeds; every operation fails before that.
  explicit TempFileStreamData(const CLock* sharedLock);
  ~TempFileStreamData() override;

  void open();

  HRESULT STDMETHODCALLTYPE read(void* buffer, ULONG count, ULONGLONG offset, ULONG* bytesRead) override;
  HRESULT STDMETHODCALLTYPE write(const void* buffer, ULONG count, ULONGLONG offset, ULONG* bytesWritten) override;
  // Unlike the memory back end this sends no onSizeChanged, here or in write.
  HRESULT STDMETHODCALLTYPE setSize(ULONGLONG newSize) override;
  HRESULT STDMETHODCALLTYPE commit(DWORD flags) override;
  HRESULT STDMETHODCALLTYPE revert() override;
  HRESULT STDMETHODCALLTYPE lockRegion(ULONGLONG offset, ULONGLONG length, DWORD lockType) override;
  HRESULT STDMETHODCALLTYPE unlockRegion(ULONGLONG offset, ULONGLONG length, DWORD lockType) override;
  HRESULT STDMETHODCALLTYPE _stat64(STATSTG* stat, DWORD statFlag) override;
  HRESULT STDMETHODCALLTYPE getSize(ULONGLONG* size) override;

 private:
  // The way every operation reaches the file: no file raises E_HANDLE.
  class ValidatedFilePtr {
   public:
    explicit ValidatedFilePtr(std::unique_ptr<detail::TemporaryFile>& file) : file_(file) {}
    detail::TemporaryFile* operator->() const;

   private:
    std::unique_ptr<detail::TemporaryFile>& file_;
  };
  ValidatedFilePtr file() { return ValidatedFilePtr(file_); }
  void seek(ULONGLONG offset);

  bool dirty_ = false;
  std::unique_ptr<detail::TemporaryFile> file_;
};
