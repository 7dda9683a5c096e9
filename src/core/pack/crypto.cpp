// The parts that need no provider.
#include "pack/crypto.h"

namespace corvenda {

std::string digestHex(const Sha256Digest& digest) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * digest.size());
  for (const std::uint8_t byte : digest) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

std::string sha256Hex(ByteSpan bytes, SemanticError* error) {
  Sha256Digest digest;
  return sha256(bytes, &digest, error) ? digestHex(digest) : std::string();
}

}  // namespace corvenda
