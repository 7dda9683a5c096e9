// From a metadata "keyId" to the pack key.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/semantic_error.h"

namespace corvenda {

/// Writes the 32 bytes of the key into `key`; the caller wipes them right after decrypting.
/// Error: "semantic rule-pack key id is unsupported".
bool resolvePackKey(std::string_view keyId, std::uint8_t* key, SemanticError* error);

}  // namespace corvenda
