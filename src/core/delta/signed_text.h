// What a manifest's signature needs: quoting, base64, Ed25519.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvenda {

/// The text in double quotes; backslash, double quote, line feed, carriage return and tab are escaped, nothing else.
std::string quoteJsonString(std::string_view text);

/// Decodes the standard alphabet (RFC 4648) up to the first "="; what follows is ignored, and spare bits are dropped.
/// False if the length is not a multiple of 4, a byte is outside the alphabet, or the result is empty.
bool decodeBase64(std::string_view text, std::vector<std::uint8_t>* out);

/// Verifies a detached Ed25519 signature (RFC 8032) of 64 bytes; the key is an X.509 SubjectPublicKeyInfo (RFC 8410) of
/// 44 bytes. If either has another form, verification fails.
bool verifyEd25519(const std::vector<std::uint8_t>& publicKeyDer, std::string_view message,
                   const std::vector<std::uint8_t>& signature);

}  // namespace corvenda
