// MD5 through the system's crypto API; OpenSSL is not part of the Windows build.
#include <windows.h>
#include <wincrypt.h>

#include <cstdio>
#include <stdexcept>

#include "base/StreamDigest.h"

namespace zelvo {
namespace crypto {
namespace details {
namespace {

[[noreturn]] void throwCryptoError(const char* what) {
  char text[64];
  std::snprintf(text, sizeof text, "%s failed, error %lu", what, static_cast<unsigned long>(GetLastError()));
  throw std::runtime_error(text);
}

class WinCryptEngine : public DigestEngine {
 public:
  ~WinCryptEngine() override { reset(); }

  void init() override {
    reset();
    if (!CryptAcquireContextW(&provider_, nullptr, nullptr, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT))
      throwCryptoError("CryptAcquireContext");
    if (!CryptCreateHash(provider_, CALG_MD5, 0, 0, &hash_)) throwCryptoError("CryptCreateHash");
  }
  void update(const unsigned char* data, size_t size) override {
    if (!hash_) throw std::runtime_error("Digest context is not initialised");
    while (size > 0) {
      const DWORD chunk = size > 0x40000000 ? 0x40000000 : static_cast<DWORD>(size);
      if (!CryptHashData(hash_, data, chunk, 0)) throwCryptoError("CryptHashData");
      data += chunk;
      size -= chunk;
    }
  }
  std::string final() override {
    if (!hash_) throw std::runtime_error("Digest context is not initialised");
    BYTE digest[64];
    DWORD length = sizeof digest;
    if (!CryptGetHashParam(hash_, HP_HASHVAL, digest, &length, 0)) throwCryptoError("CryptGetHashParam");
    reset();
    return std::string(reinterpret_cast<const char*>(digest), length);
  }

 private:
  void reset() {
    if (hash_) CryptDestroyHash(hash_);
    if (provider_) CryptReleaseContext(provider_, 0);
    hash_ = 0;
    provider_ = 0;
  }

  HCRYPTPROV provider_ = 0;
  HCRYPTHASH hash_ = 0;
};

}  // namespace

std::unique_ptr<DigestEngine> createMD5Engine() { return std::make_unique<WinCryptEngine>(); }

}  // namespace details
}  // namespace crypto
}  // namespace zelvo
