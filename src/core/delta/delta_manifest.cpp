#include "delta/delta_manifest.h"

#include <utility>

#include "cache/rule_pack_loader.h"
#include "delta/signed_text.h"
#include "pack/crypto.h"
#include "pack/metadata_scanner.h"
#include "pack/pack_file.h"
#include "trust_table.h"

namespace fs = std::filesystem;

namespace corvenda {
namespace {

constexpr SizeLimits kManifestSize = {1, 131072};  // bytes
constexpr std::string_view kManifestSchema = "corvenda.semantic-delta-manifest.v1";
constexpr std::string_view kManifestKeyId = "corvenda-intl-manifest-ed25519-v1";
constexpr std::uint32_t kManifestVersion = 1;
constexpr std::size_t kSha256HexLength = 64;

bool readManifestFile(const fs::path& path, const fs::path& root, FileImage* image, SemanticError* error) {
  static constexpr const char* kOutside = "semantic delta manifest is outside the approved root";
  static constexpr FileReadMessages kMessages = {
      "semantic delta manifest is not a regular file",
      "semantic delta manifest size is invalid",
      "semantic delta manifest cannot be opened",
      "semantic delta manifest cannot be read",
  };
  if (!isInsideApprovedRoot(path, root)) return fail(error, kOutside);
  if (!readFileWhole(path, kManifestSize, kMessages, image, error)) return false;
  // Names may have been exchanged since they were checked. What counts is where the opened file lies.
  return isInsideApprovedRoot(image->openPath, root) || fail(error, kOutside);
}

bool readManifest(std::string_view text, DeltaManifest* manifest, SemanticError* error) {
  std::string signatureEncoding;
  const bool readable = readJsonStringField(text, "schema", &manifest->schema) && manifest->schema == kManifestSchema &&
                        readJsonUintField(text, "version", &manifest->version) &&
                        manifest->version == kManifestVersion && readJsonStringField(text, "pack", &manifest->pack) &&
                        readJsonStringField(text, "packSha256", &manifest->packSha256) &&
                        readJsonUintField(text, "packBytes", &manifest->packBytes) &&
                        readJsonStringField(text, "keyId", &manifest->keyId) && manifest->keyId == kManifestKeyId &&
                        readJsonStringField(text, "baseRuleSetId", &manifest->baseRuleSetId) &&
                        readJsonStringField(text, "ruleSetId", &manifest->ruleSetId) &&
                        readJsonArrayField(text, "modules", &manifest->modules) &&
                        readJsonStringField(text, "publicKeySha256", &manifest->publicKeySha256) &&
                        readJsonStringField(text, "publicKeyDerBase64", &manifest->publicKeyDerBase64) &&
                        readJsonStringField(text, "signatureEncoding", &signatureEncoding) &&
                        signatureEncoding == "base64" && readJsonStringField(text, "signature", &manifest->signature);
  return readable || fail(error, "semantic delta manifest contract is invalid");
}

/// Trust comes from the pins alone. Key and hash are pinned separately: neither is computed from the other.
bool isExpectedAndPinned(const DeltaManifest& manifest, const fs::path& packPath, const DeltaExpectation& expected) {
  return manifest.baseRuleSetId == expected.baseRuleSetId && manifest.ruleSetId == expected.ruleSetId &&
         manifest.baseRuleSetId != manifest.ruleSetId && manifest.pack == utf8FromPath(packPath.filename()) &&
         manifest.publicKeySha256 == trust::pinnedPublicKeySha256 &&
         manifest.publicKeyDerBase64 == trust::pinnedPublicKeyDerBase64 &&
         manifest.packSha256.size() == kSha256HexLength;
}

/// Reads the sealed file and compares its size and digest. Whether it lies below the root is checked later, by
/// loadHashedPack.
bool readHashedPack(const DeltaManifest& manifest, HashedPack* pack, SemanticError* error) {
  if (!readPackFile(pack->path, &pack->image, error)) return false;
  const bool hashed = sha256(bytesOf(pack->image.bytes), &pack->sha256, nullptr);
  if (!hashed || pack->image.bytes.size != manifest.packBytes || digestHex(pack->sha256) != manifest.packSha256) {
    return fail(error, "semantic delta manifest pack digest or size mismatch");
  }
  return true;
}

/// The text that the signature covers, rebuilt from the fields as read, so that what is verified is what was read.
std::string buildSignedText(const DeltaManifest& manifest) {
  std::string text;
  text.append("{\"baseRuleSetId\":").append(quoteJsonString(manifest.baseRuleSetId));
  text.append(",\"keyId\":").append(quoteJsonString(manifest.keyId));
  text.append(",\"modules\":").append(manifest.modules);
  text.append(",\"pack\":").append(quoteJsonString(manifest.pack));
  text.append(",\"packBytes\":").append(std::to_string(manifest.packBytes));
  text.append(",\"packSha256\":").append(quoteJsonString(manifest.packSha256));
  text.append(",\"publicKeyDerBase64\":").append(quoteJsonString(manifest.publicKeyDerBase64));
  text.append(",\"publicKeySha256\":").append(quoteJsonString(manifest.publicKeySha256));
  text.append(",\"ruleSetId\":").append(quoteJsonString(manifest.ruleSetId));
  text.append(",\"schema\":").append(quoteJsonString(manifest.schema));
  text.append(",\"version\":").append(std::to_string(manifest.version)).append("}");
  return text;
}

bool checkSignature(const DeltaManifest& manifest, SemanticError* error) {
  std::vector<std::uint8_t> publicKeyDer;
  std::vector<std::uint8_t> signature;
  if (!decodeBase64(manifest.publicKeyDerBase64, &publicKeyDer) || !decodeBase64(manifest.signature, &signature) ||
      !verifyEd25519(publicKeyDer, buildSignedText(manifest), signature)) {
    return fail(error, "semantic delta manifest Ed25519 signature verification failed");
  }
  return true;
}

/// Opens the bytes that were hashed. The manifest states the rule sets, but the pack's own metadata must agree.
bool checkPackMetadata(const DeltaExpectation& expected, HashedPack pack, SemanticError* error) {
  constexpr std::string_view kMismatch = "semantic delta pack metadata does not match manifest";
  std::shared_ptr<const LoadedPack> loaded;
  SemanticError loadError;
  if (!loadHashedPack(std::move(pack), semanticCache().overlaySlot, &loaded, &loadError)) {
    // One failure of a load has no message of its own.
    return fail(error, loadError.message.empty() ? kMismatch : loadError.message);
  }
  const RulePackMetadata& metadata = loaded->pack.metadata;
  const bool matches = metadata.kind == "patch" && metadata.baseRuleSetId == expected.baseRuleSetId &&
                       metadata.ruleSetId == expected.ruleSetId;
  return matches || fail(error, kMismatch);
}

}  // namespace

bool verifySemanticDeltaManifest(const std::string& manifestPath, const DeltaExpectation& expected,
                                 DeltaManifest* manifest, SemanticError* error) {
  fs::path manifestFile;
  HashedPack pack;
  if (!canonicalizePackPath(manifestPath, &manifestFile, error) ||
      !canonicalizePackPath(expected.packPath, &pack.path, error) ||
      !canonicalizePackPath(expected.allowedRoot, &pack.root, error)) {
    return false;
  }
  FileImage text;
  if (!readManifestFile(manifestFile, pack.root, &text, error)) return false;
  if (!readManifest({reinterpret_cast<const char*>(text.bytes.data), text.bytes.size}, manifest, error)) return false;
  if (!isExpectedAndPinned(*manifest, pack.path, expected)) {
    return fail(error, "semantic delta manifest trust or identity check failed");
  }
  return readHashedPack(*manifest, &pack, error) && checkSignature(*manifest, error) &&
         checkPackMetadata(expected, std::move(pack), error);
}

}  // namespace corvenda
