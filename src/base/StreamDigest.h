// An output stream whose bytes flow into a message digest.
#pragma once

#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

namespace zelvo {
namespace crypto {

namespace details {
// One digest computation of the platform's crypto library (OpenSSL's EVP interface on
// Linux, the system's crypto API on Windows). Failures throw std::runtime_error with the
// library's own text.
class DigestEngine {
 public:
  virtual ~DigestEngine() = default;
  virtual void init() = 0;
  virtual void update(const unsigned char* data, size_t size) = 0;
  virtual std::string final() = 0;
};
std::unique_ptr<DigestEngine> createMD5Engine();

// Feeds a block to sink, folding UTF-8 of code points up to U+00FF to single bytes when
// the block allows it (see StreamDigestMD5); otherwise the block goes as it stands.
template <class Sink>
void feedFoldingUtf8(const unsigned char* data, size_t size, Sink&& sink);
}  // namespace details

class StreamDigest : public std::ostream {
 public:
  ~StreamDigest() override;

  // Ends the digest on the first call and gives the same bytes each time after. With
  // flushIfEmpty the digest of no bytes can be taken as well.
  virtual std::string getDigest(bool flushIfEmpty = true);
  // Two lower-case hexadecimal digits per byte.
  virtual std::string getDigestHex(bool flushIfEmpty = true);

 protected:
  StreamDigest(std::unique_ptr<details::DigestEngine> engine, bool convertUtf8);

  class BufDigest : public std::streambuf {
   public:
    BufDigest(std::unique_ptr<details::DigestEngine> engine, bool convertUtf8);
    int_type overflow(int_type ch) override;
    int sync() override;
    std::string finish();
    bool finished() const { return finished_; }

   private:
    void feed(const unsigned char* data, size_t size);

    std::unique_ptr<details::DigestEngine> engine_;
    bool convertUtf8_;
    bool uninitialised_ = true;
    bool finished_ = false;
    char staging_[256];
  };

 private:
  BufDigest buffer_;
  bool finished_ = false;
  std::string digest_;
};

// MD5. With convertUtf8 a block that is valid UTF-8 of code points up to U+00FF is hashed
// as its ISO 8859-1 form, so that a text hashes alike in both encodings.
class StreamDigestMD5 : public StreamDigest {
 public:
  explicit StreamDigestMD5(bool convertUtf8 = false);
};

namespace details {

template <class Sink>
void feedFoldingUtf8(const unsigned char* data, size_t size, Sink&& sink) {
  // First a scan: leads above 0xC3 or a lead without its continuation mean the block is
  // not of that form, and it goes unchanged. A lead at the very end ends the scan.
  bool fold = true;
  for (size_t i = 0; i < size; ++i) {
    const unsigned char b = data[i];
    if (b > 0xC3) {
      fold = false;
      break;
    }
    if (b >= 0xC0) {
      if (i + 1 == size) break;
      if (data[i + 1] < 0x80 || data[i + 1] > 0xBF) {
        fold = false;
        break;
      }
      ++i;
    }
  }
  if (!fold) {
    sink(data, size);
    return;
  }
  size_t run = 0;
  for (size_t i = 0; i < size;) {
    if (data[i] >= 0xC0 && i + 1 < size) {
      if (i > run) sink(data + run, i - run);
      const unsigned char folded = static_cast<unsigned char>((data[i] << 6) | (data[i + 1] & 0x3F));
      sink(&folded, 1);
      i += 2;
      run = i;
    } else {
      ++i;
    }
  }
  if (size > run) sink(data + run, size - run);
}

}  // namespace details
}  // namespace crypto
}  // namespace zelvo
