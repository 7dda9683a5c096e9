// What goes into a manifest's signature and out of it: quoting, base64, Ed25519.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvenda {

/// The text in double quotes, with backslash, double quote, line feed, carriage return and tab escaped and all else as
/// it is.
std::string quoteJsonString(std::string_view text);

/// Decodes the standard alphabet (RFC 4648) up to the first "="; what follows that is not looked at, and spare bits are
/// dropped. False for a length that is no multiple of 4, a byte outside the alphabet, or nothing decoded.
bool decodeBase64(std::string_view text, std::vector<std::uint8_t>* out);

/// Verifies a detached Ed25519 signature (RFC 8032) of 64 bytes; the key comes as X.509 SubjectPublicKeyInfo (RFC
/// 8410), 44 bytes. A key or signature of another form is a signature that does not verify.
bool verifyEd25519(const std::vector<std::uint8_t>& publicKeyDer, std::string_view message,
                   const std::vector<std::uint8_t>& signature);

}  // namespace corvenda
