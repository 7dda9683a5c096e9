// Whether a delta may be trusted: checks its signed manifest, and the pack against it. See
// docs/format/delta-manifest.md.
#pragma once

#include <cstdint>
#include <string>

#include "base/semantic_error.h"
#include "delta/delta_inspection.h"

namespace corvenda {

/// The fields of a manifest as read. "signatureEncoding" is checked but not kept.
struct DeltaManifest {
  std::string schema;
  std::uint32_t version = 0;
  std::string pack;  ///< file name, without a directory
  std::string packSha256;
  std::uint32_t packBytes = 0;
  std::string keyId;
  std::string baseRuleSetId;
  std::string ruleSetId;
  std::string modules;  ///< raw text, brackets included
  std::string publicKeySha256;
  std::string publicKeyDerBase64;
  std::string signature;  ///< base64
};

/// Verifies manifest, signature and pack, in an order that is part of the contract: the pack is opened only once the
/// signature holds. It is then loaded into `overlaySlot`, and stays there even if its metadata are not as expected.
///
/// Errors: those of the path checks, of `readPackFile` and of the loader, "semantic delta manifest is outside the
/// approved root", "… is not a regular file", "… size is invalid", "… cannot be opened", "… cannot be read", "…
/// contract is invalid", "… trust or identity check failed", "… pack digest or size mismatch", "… Ed25519 signature
/// verification failed", "semantic delta pack metadata does not match manifest".
bool verifySemanticDeltaManifest(const std::string& manifestPath, const DeltaExpectation& expected,
                                 DeltaManifest* manifest, SemanticError* error);

}  // namespace corvenda
