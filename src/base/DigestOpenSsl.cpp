// MD5 through OpenSSL's EVP digest interface.
#include <openssl/err.h>
#include <openssl/evp.h>

#include <stdexcept>

#include "base/StreamDigest.h"

namespace zelvo {
namespace crypto {
namespace details {
namespace {

[[noreturn]] void throwCryptoError(const char* what) {
  char text[256];
  ERR_error_string_n(ERR_get_error(), text, sizeof text);
  throw std::runtime_error(std::string(what) + ": " + text);
}

class EvpEngine : public DigestEngine {
 public:
  explicit EvpEngine(const EVP_MD* md) : md_(md), context_(EVP_MD_CTX_new()) {
    if (!context_) throwCryptoError("EVP_MD_CTX_new");
  }
  ~EvpEngine() override { EVP_MD_CTX_free(context_); }

  void init() override {
    if (EVP_DigestInit_ex(context_, md_, nullptr) != 1) throwCryptoError("EVP_DigestInit_ex");
  }
  void update(const unsigned char* data, size_t size) override {
    if (EVP_DigestUpdate(context_, data, size) != 1) throwCryptoError("EVP_DigestUpdate");
  }
  std::string final() override {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(context_, digest, &length) != 1) throwCryptoError("EVP_DigestFinal_ex");
    return std::string(reinterpret_cast<const char*>(digest), length);
  }

 private:
  const EVP_MD* md_;
  EVP_MD_CTX* context_;
};

}  // namespace

std::unique_ptr<DigestEngine> createMD5Engine() { return std::make_unique<EvpEngine>(EVP_md5()); }

}  // namespace details
}  // namespace crypto
}  // namespace zelvo
