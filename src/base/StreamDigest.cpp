#include "base/StreamDigest.h"

#include <cstdio>

namespace zelvo {
namespace crypto {

StreamDigest::BufDigest::BufDigest(std::unique_ptr<details::DigestEngine> engine, bool convertUtf8)
    : engine_(std::move(engine)), convertUtf8_(convertUtf8) {
  setp(staging_, staging_ + sizeof staging_);
}

void StreamDigest::BufDigest::feed(const unsigned char* data, size_t size) {
  if (size == 0) return;
  if (convertUtf8_) {
    details::feedFoldingUtf8(data, size, [this](const unsigned char* d, size_t n) { engine_->update(d, n); });
  } else {
    engine_->update(data, size);
  }
}

// The one moving part: set the context up on first use, pass on what is staged, then the
// character itself, and start the staging area anew.
StreamDigest::BufDigest::int_type StreamDigest::BufDigest::overflow(int_type ch) {
  if (finished_) {
    // The digest is final; later bytes change nothing.
    setp(staging_, staging_ + sizeof staging_);
    return traits_type::not_eof(ch);
  }
  if (uninitialised_) {
    engine_->init();
    uninitialised_ = false;
  }
  feed(reinterpret_cast<const unsigned char*>(pbase()), static_cast<size_t>(pptr() - pbase()));
  if (!traits_type::eq_int_type(ch, traits_type::eof())) {
    const auto byte = static_cast<unsigned char>(traits_type::to_char_type(ch));
    feed(&byte, 1);
  }
  setp(staging_, staging_ + sizeof staging_);
  return traits_type::not_eof(ch);
}

int StreamDigest::BufDigest::sync() {
  if (pptr() != pbase()) overflow(traits_type::eof());
  return 0;
}

std::string StreamDigest::BufDigest::finish() {
  sync();
  finished_ = true;
  if (uninitialised_) throw std::runtime_error("Digest context is not initialised");
  return engine_->final();
}

StreamDigest::StreamDigest(std::unique_ptr<details::DigestEngine> engine, bool convertUtf8)
    : std::ostream(nullptr), buffer_(std::move(engine), convertUtf8) {
  rdbuf(&buffer_);
}

StreamDigest::~StreamDigest() = default;

std::string StreamDigest::getDigest(bool flushIfEmpty) {
  if (flushIfEmpty && digest_.empty()) buffer_.overflow(std::char_traits<char>::eof());
  if (!finished_) {
    flush();
    digest_ = buffer_.finish();
    finished_ = true;
  }
  return digest_;
}

std::string StreamDigest::getDigestHex(bool flushIfEmpty) {
  const std::string digest = getDigest(flushIfEmpty);
  std::string hex;
  char pair[3];
  for (unsigned char c : digest) {
    std::snprintf(pair, sizeof pair, "%02x", c);
    hex += pair;
  }
  return hex;
}

StreamDigestMD5::StreamDigestMD5(bool convertUtf8) : StreamDigest(details::createMD5Engine(), convertUtf8) {}

}  // namespace crypto
}  // namespace zelvo
