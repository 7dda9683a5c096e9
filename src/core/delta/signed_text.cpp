#include "delta/signed_text.h"

#include <algorithm>
#include <optional>

#include <sodium.h>

namespace corvenda {
namespace {

/// The DER bytes before the key: SEQUENCE { SEQUENCE { OID 1.3.101.112 }, BIT STRING of 32 bytes } (RFC 8410, section
/// 4).
constexpr std::uint8_t kEd25519DerPrefix[] = {0x30, 0x2A, 0x30, 0x05, 0x06, 0x03, 0x2B, 0x65, 0x70, 0x03, 0x21, 0x00};
constexpr std::size_t kEd25519DerSize = sizeof kEd25519DerPrefix + crypto_sign_ed25519_PUBLICKEYBYTES;
static_assert(kEd25519DerSize == 44);

std::optional<std::uint32_t> sextet(char digit) {
  constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const std::size_t position = kAlphabet.find(digit);
  if (position == std::string_view::npos) return std::nullopt;
  return static_cast<std::uint32_t>(position);
}

}  // namespace

std::string quoteJsonString(std::string_view text) {
  constexpr std::string_view kEscaped = "\\\"\n\r\t";
  constexpr std::string_view kLetters = "\\\"nrt";
  std::string quoted = "\"";
  for (const char byte : text) {
    const std::size_t escape = kEscaped.find(byte);
    if (escape == std::string_view::npos) {
      quoted += byte;
    } else {
      quoted.append("\\").append(1, kLetters[escape]);
    }
  }
  quoted += '"';
  return quoted;
}

bool decodeBase64(std::string_view text, std::vector<std::uint8_t>* out) {
  out->clear();
  if (text.size() % 4 != 0) return false;
  std::uint32_t bits = 0;
  int bitCount = 0;
  for (const char digit : text.substr(0, text.find('='))) {
    const auto value = sextet(digit);
    if (!value) return false;
    bits = bits << 6 | *value;
    bitCount += 6;
    if (bitCount < 8) continue;
    bitCount -= 8;
    out->push_back(static_cast<std::uint8_t>(bits >> bitCount & 0xFF));
  }
  return !out->empty();
}

bool verifyEd25519(const std::vector<std::uint8_t>& publicKeyDer, std::string_view message,
                   const std::vector<std::uint8_t>& signature) {
  const bool formed = publicKeyDer.size() == kEd25519DerSize && signature.size() == crypto_sign_BYTES &&
                      std::equal(std::begin(kEd25519DerPrefix), std::end(kEd25519DerPrefix), publicKeyDer.begin());
  if (!formed || sodium_init() < 0) return false;
  return crypto_sign_verify_detached(signature.data(), reinterpret_cast<const unsigned char*>(message.data()),
                                     message.size(), publicKeyDer.data() + sizeof kEd25519DerPrefix) == 0;
}

}  // namespace corvenda
