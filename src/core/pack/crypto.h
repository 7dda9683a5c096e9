// SHA-256 and AES-256-GCM; one source file a provider, chosen at configure time.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "base/secure_memory.h"
#include "base/semantic_error.h"

namespace corvenda {

constexpr std::size_t kSha256Size = 32;
constexpr std::size_t kPackKeySize = 32;
constexpr std::size_t kGcmNonceSize = 12;
constexpr std::size_t kGcmTagSize = 16;

using Sha256Digest = std::array<std::uint8_t, kSha256Size>;

/// SHA-256 (FIPS 180-4) of a byte range, which may be empty.
/// Errors: "native SHA-256 provider cannot be opened", "native SHA-256 object length is invalid",
/// "native SHA-256 calculation failed".
bool sha256(ByteSpan bytes, Sha256Digest* digest, SemanticError* error);

/// 64 lower-case hexadecimal digits.
std::string digestHex(const Sha256Digest& digest);

/// The digest of a byte range as 64 lower-case hexadecimal digits; the empty string, with `error` set, if it fails.
std::string sha256Hex(ByteSpan bytes, SemanticError* error);

/// AES-256-GCM (NIST SP 800-38D) in place: `bytes` holds the ciphertext before and the plaintext, of the same length,
/// after. `nonce` has 12 bytes, `tag` 16, `key` 32. If decryption fails, `bytes` is wiped. A wrong key, tag, ciphertext
/// or additional data give the same error: "semantic rule-pack authentication or decryption failed". Provider errors:
/// "native AES provider cannot be opened", "native AES object length is invalid", "native AES key cannot be
/// initialized".
bool decryptAesGcm(std::span<std::uint8_t> bytes, ByteSpan additionalData, const std::uint8_t* nonce,
                   const std::uint8_t* tag, const std::uint8_t* key, SemanticError* error);

}  // namespace corvenda
