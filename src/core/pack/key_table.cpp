#include "pack/key_table.h"

#include <algorithm>

#include "pack/crypto.h"
#include "trust_table.h"

namespace corvenda {

// Neither key exists in one piece in the binary. The pieces are volatile, so the compiler can't join them ahead of
// time.
bool resolvePackKey(std::string_view keyId, std::uint8_t* key, SemanticError* error) {
  const volatile trust::KeyPieces& pieces = trust::keyPieces;
  if (keyId == "test-v1") {
    key = std::copy(std::begin(pieces.testBlock), std::end(pieces.testBlock), key);
    key = std::copy(std::begin(pieces.testValue0), std::end(pieces.testValue0), key);
    std::copy(std::begin(pieces.testValue1), std::end(pieces.testValue1), key);
    return true;
  }
  if (keyId == "release-v1") {
    for (std::size_t i = 0; i < kPackKeySize; ++i) {
      const std::uint8_t first = pieces.releaseTable0[i];
      const std::uint8_t second = pieces.releaseTable1[i];
      key[i] = static_cast<std::uint8_t>(first ^ second);
    }
    return true;
  }
  return fail(error, "semantic rule-pack key id is unsupported");
}

}  // namespace corvenda
