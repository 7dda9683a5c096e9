// The provider for Windows: Cryptography API: Next Generation. Every call opens the provider and closes it again, so
// that no state is kept and any thread may come here.
#include <limits>
#include <memory>
#include <type_traits>

#include <windows.h>

#include <bcrypt.h>  // after windows.h, which it needs

#include "pack/crypto.h"

namespace corvenda {
namespace {

struct CloseProvider {
  void operator()(BCRYPT_ALG_HANDLE handle) const { BCryptCloseAlgorithmProvider(handle, 0); }
};
struct DestroyHash {
  void operator()(BCRYPT_HASH_HANDLE handle) const { BCryptDestroyHash(handle); }
};
struct DestroyKey {
  void operator()(BCRYPT_KEY_HANDLE handle) const { BCryptDestroyKey(handle); }
};
using Provider = std::unique_ptr<std::remove_pointer_t<BCRYPT_ALG_HANDLE>, CloseProvider>;
using Hash = std::unique_ptr<std::remove_pointer_t<BCRYPT_HASH_HANDLE>, DestroyHash>;
using Key = std::unique_ptr<std::remove_pointer_t<BCRYPT_KEY_HANDLE>, DestroyKey>;

Provider openProvider(const wchar_t* algorithm) {
  BCRYPT_ALG_HANDLE handle = nullptr;
  return Provider(BCRYPT_SUCCESS(BCryptOpenAlgorithmProvider(&handle, algorithm, nullptr, 0)) ? handle : nullptr);
}

/// The bytes that the provider wants for a hash or key object; 0 if it doesn't say.
ULONG objectLength(const Provider& provider) {
  DWORD length = 0;
  ULONG written = 0;
  const NTSTATUS status = BCryptGetProperty(provider.get(), BCRYPT_OBJECT_LENGTH, reinterpret_cast<PUCHAR>(&length),
                                            sizeof length, &written, 0);
  return BCRYPT_SUCCESS(status) ? length : 0;
}

/// The functions take what they only read through pointers to non-const, and no length over 32 bits.
PUCHAR inputOf(const std::uint8_t* bytes) { return const_cast<PUCHAR>(bytes); }
PUCHAR inputOf(ByteSpan bytes) { return bytes.empty() ? nullptr : inputOf(bytes.data()); }
bool fitsUlong(std::size_t size) { return size <= std::numeric_limits<ULONG>::max(); }

bool runHash(const Provider& provider, SecureBytes* object, ByteSpan bytes, Sha256Digest* digest) {
  BCRYPT_HASH_HANDLE handle = nullptr;
  const auto length = static_cast<ULONG>(object->size());
  if (!fitsUlong(bytes.size()) ||
      !BCRYPT_SUCCESS(BCryptCreateHash(provider.get(), &handle, object->data(), length, nullptr, 0, 0))) {
    return false;
  }
  const Hash hash(handle);
  return BCRYPT_SUCCESS(BCryptHashData(handle, inputOf(bytes), static_cast<ULONG>(bytes.size()), 0)) &&
         BCRYPT_SUCCESS(BCryptFinishHash(handle, digest->data(), static_cast<ULONG>(digest->size()), 0));
}

bool selectGcm(const Provider& provider) {
  wchar_t mode[] = BCRYPT_CHAIN_MODE_GCM;
  return BCRYPT_SUCCESS(
      BCryptSetProperty(provider.get(), BCRYPT_CHAINING_MODE, reinterpret_cast<PUCHAR>(mode), sizeof mode, 0));
}

/// The provider may decrypt a buffer into itself.
bool runDecryption(const Key& key, std::span<std::uint8_t> bytes, ByteSpan additionalData, const std::uint8_t* nonce,
                   const std::uint8_t* tag) {
  if (!fitsUlong(bytes.size()) || !fitsUlong(additionalData.size())) return false;
  BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO info;
  BCRYPT_INIT_AUTH_MODE_INFO(info);
  info.pbNonce = inputOf(nonce);
  info.cbNonce = static_cast<ULONG>(kGcmNonceSize);
  info.pbAuthData = inputOf(additionalData);
  info.cbAuthData = static_cast<ULONG>(additionalData.size());
  info.pbTag = inputOf(tag);
  info.cbTag = static_cast<ULONG>(kGcmTagSize);
  const auto size = static_cast<ULONG>(bytes.size());
  ULONG written = 0;
  const NTSTATUS status =
      BCryptDecrypt(key.get(), inputOf(bytes), size, &info, nullptr, 0, bytes.data(), size, &written, 0);
  return BCRYPT_SUCCESS(status) && written == size;
}

}  // namespace

bool sha256(ByteSpan bytes, Sha256Digest* digest, SemanticError* error) {
  SecureBytes object;  // in front of the provider, so that it is wiped after both handles are closed
  const Provider provider = openProvider(BCRYPT_SHA256_ALGORITHM);
  if (provider == nullptr) return fail(error, "native SHA-256 provider cannot be opened");
  object.resize(objectLength(provider));
  if (object.empty()) return fail(error, "native SHA-256 object length is invalid");
  return runHash(provider, &object, bytes, digest) || fail(error, "native SHA-256 calculation failed");
}

bool decryptAesGcm(std::span<std::uint8_t> bytes, ByteSpan additionalData, const std::uint8_t* nonce,
                   const std::uint8_t* tag, const std::uint8_t* key, SemanticError* error) {
  SecureBytes object;
  const Provider provider = openProvider(BCRYPT_AES_ALGORITHM);
  if (provider == nullptr) return fail(error, "native AES provider cannot be opened");
  if (selectGcm(provider)) object.resize(objectLength(provider));
  if (object.empty()) return fail(error, "native AES object length is invalid");
  BCRYPT_KEY_HANDLE handle = nullptr;
  if (!BCRYPT_SUCCESS(BCryptGenerateSymmetricKey(provider.get(), &handle, object.data(),
                                                 static_cast<ULONG>(object.size()), inputOf(key),
                                                 static_cast<ULONG>(kPackKeySize), 0))) {
    return fail(error, "native AES key cannot be initialized");
  }
  const Key keyHandle(handle);
  if (!runDecryption(keyHandle, bytes, additionalData, nonce, tag)) {
    secureWipe(bytes.data(), bytes.size());
    return fail(error, "semantic rule-pack authentication or decryption failed");
  }
  return true;
}

}  // namespace corvenda
