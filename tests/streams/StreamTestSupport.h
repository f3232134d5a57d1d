// Shared pieces of the stream tests: a recording listener, byte patterns, a private
// folder for temporary files.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/ComRef.h"
#include "streams/StreamData.h"

namespace streamtest {

struct Event {
  enum Kind { Commit, Size } kind;
  IStreamData* source;
  ULONGLONG size;
  DWORD listener;
  bool operator==(const Event& o) const {
    return kind == o.kind && source == o.source && size == o.size && listener == o.listener;
  }
};

// Records what it hears into a shared log, tagged with its own number.
class RecordingListener : public iui_::IUnknownImpl<IStreamDataCallbacks> {
 public:
  RecordingListener(std::vector<Event>& log, DWORD tag) : log_(log), tag_(tag) {}
  void STDMETHODCALLTYPE onCommit(IStreamData* source) override { log_.push_back({Event::Commit, source, 0, tag_}); }
  void STDMETHODCALLTYPE onSizeChanged(IStreamData* source, ULONGLONG size) override {
    log_.push_back({Event::Size, source, size, tag_});
  }

 private:
  std::vector<Event>& log_;
  DWORD tag_;
};

inline ComRef<RecordingListener> makeListener(std::vector<Event>& log, DWORD tag) {
  return ComRef<RecordingListener>::adopt(new RecordingListener(log, tag));
}

// Bytes that tell their own offset apart.
inline std::vector<BYTE> pattern(size_t size, unsigned seed = 7) {
  std::vector<BYTE> bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<BYTE>((i * 31 + seed + (i >> 8)) & 0xFF);
  return bytes;
}

inline std::vector<BYTE> readAll(IStreamData* data) {
  ULONGLONG size = 0;
  EXPECT_EQ(data->getSize(&size), S_OK);
  std::vector<BYTE> bytes(static_cast<size_t>(size));
  ULONG got = 0;
  if (size) {
    EXPECT_EQ(data->read(bytes.data(), static_cast<ULONG>(size), 0, &got), S_OK);
  }
  bytes.resize(got);
  return bytes;
}

// A fresh folder that the temporary-file override points at for the test's lifetime.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  const std::filesystem::path& path() const { return path_; }
  // The names in the folder right now.
  std::vector<std::string> entries() const;

 private:
  std::filesystem::path path_;
};

}  // namespace streamtest
