// The provider on platforms with OpenSSL 3, which is linked statically with its symbols hidden.
#include <limits>
#include <memory>

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include "pack/crypto.h"

namespace corvenda {
namespace {

/// A library context of our own: the default one would read the machine's OpenSSL configuration at its first use.
/// Algorithms are fetched once, because fetching costs as much as hashing a small document. Nothing is ever freed,
/// because a worker may still be loading a pack while the process exits.
struct Algorithms {
  OSSL_LIB_CTX* context = nullptr;
  EVP_MD* sha256 = nullptr;
  EVP_CIPHER* aesGcm = nullptr;
};

const Algorithms& algorithms() {
  static const Algorithms fetched = [] {
    Algorithms made;
    OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_NO_ATEXIT, nullptr);
    made.context = OSSL_LIB_CTX_new();
    if (made.context == nullptr) return made;
    made.sha256 = EVP_MD_fetch(made.context, "SHA256", nullptr);
    made.aesGcm = EVP_CIPHER_fetch(made.context, "AES-256-GCM", nullptr);
    return made;
  }();
  return fetched;
}

struct FreeDigestContext {
  void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};
struct FreeCipherContext {
  void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};

/// EVP takes lengths as int; a file has at most 128 MiB, so one call is enough.
bool fitsInt(std::size_t size) { return size <= static_cast<std::size_t>(std::numeric_limits<int>::max()); }

/// OpenSSL may decrypt a buffer into itself.
bool runDecryption(EVP_CIPHER_CTX* context, std::span<std::uint8_t> bytes, ByteSpan additionalData,
                   const std::uint8_t* tag) {
  int written = 0;
  int total = 0;
  if (!fitsInt(bytes.size()) || !fitsInt(additionalData.size())) return false;
  if (!additionalData.empty() && EVP_DecryptUpdate(context, nullptr, &written, additionalData.data(),
                                                   static_cast<int>(additionalData.size())) != 1) {
    return false;
  }
  if (!bytes.empty() &&
      EVP_DecryptUpdate(context, bytes.data(), &total, bytes.data(), static_cast<int>(bytes.size())) != 1) {
    return false;
  }
  // The library takes the tag through a non-const pointer but does not write to it.
  if (EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_AEAD_SET_TAG, static_cast<int>(kGcmTagSize),
                          const_cast<std::uint8_t*>(tag)) != 1) {
    return false;
  }
  std::uint8_t none[kGcmTagSize];
  if (EVP_DecryptFinal_ex(context, none, &written) != 1) return false;
  return static_cast<std::size_t>(total) + static_cast<std::size_t>(written) == bytes.size();
}

}  // namespace

bool sha256(ByteSpan bytes, Sha256Digest* digest, SemanticError* error) {
  if (algorithms().sha256 == nullptr) return fail(error, "native SHA-256 provider cannot be opened");
  const std::unique_ptr<EVP_MD_CTX, FreeDigestContext> context(EVP_MD_CTX_new());
  if (context == nullptr) return fail(error, "native SHA-256 object length is invalid");
  unsigned int length = 0;
  if (EVP_DigestInit_ex2(context.get(), algorithms().sha256, nullptr) != 1 ||
      EVP_DigestUpdate(context.get(), bytes.data(), bytes.size()) != 1 ||
      EVP_DigestFinal_ex(context.get(), digest->data(), &length) != 1 || length != digest->size()) {
    return fail(error, "native SHA-256 calculation failed");
  }
  return true;
}

bool decryptAesGcm(std::span<std::uint8_t> bytes, ByteSpan additionalData, const std::uint8_t* nonce,
                   const std::uint8_t* tag, const std::uint8_t* key, SemanticError* error) {
  if (algorithms().aesGcm == nullptr) return fail(error, "native AES provider cannot be opened");
  const std::unique_ptr<EVP_CIPHER_CTX, FreeCipherContext> context(EVP_CIPHER_CTX_new());
  if (context == nullptr) return fail(error, "native AES object length is invalid");
  if (EVP_DecryptInit_ex2(context.get(), algorithms().aesGcm, key, nonce, nullptr) != 1) {
    return fail(error, "native AES key cannot be initialized");
  }
  if (!runDecryption(context.get(), bytes, additionalData, tag)) {
    secureWipe(bytes.data(), bytes.size());
    return fail(error, "semantic rule-pack authentication or decryption failed");
  }
  return true;
}

}  // namespace corvenda
