#include "cache/rule_pack_loader.h"

#include <algorithm>
#include <utility>

#include "base/byte_reader.h"
#include "pack/crypto.h"
#include "pack/digest_batch.h"
#include "pack/key_table.h"
#include "pack/lz4_block.h"
#include "pack/metadata_scanner.h"
#include "pack/pack_file.h"

namespace fs = std::filesystem;

namespace corvenda {
namespace {

constexpr std::size_t kFixedHeaderSize = 24;
constexpr std::uint16_t kFormatVersion = 1;
constexpr std::uint32_t kPackVersion = 1;
constexpr std::string_view kPackSchema = "corvenda.semantic-rule-pack.v1";
constexpr std::size_t kMaxIdLength = 96;
constexpr std::size_t kSha256HexLength = 64;

/// The pieces of a pack file, pointing into its image.
struct SealedPack {
  const std::uint8_t* nonce = nullptr;
  ByteReader metadata;
  ByteReader ciphertext;
  const std::uint8_t* tag = nullptr;
};

bool splitPackFile(ByteSpan file, SealedPack* sealed, SemanticError* error) {
  ByteReader reader{file.data(), file.size()};
  if (!takeMagic(reader, "KLRX")) return fail(error, "semantic rule-pack magic is invalid");
  std::uint16_t formatVersion = 0;
  std::uint16_t metadataLength = 0;
  std::uint32_t ciphertextLength = 0;
  if (file.size() < kFixedHeaderSize || !takeU16(reader, &formatVersion) || !takeU16(reader, &metadataLength) ||
      !takeBytes(reader, kGcmNonceSize, &sealed->nonce) || !takeU32(reader, &ciphertextLength) ||
      formatVersion != kFormatVersion || metadataLength == 0) {
    return fail(error, "semantic rule-pack fixed header is invalid");
  }
  if (ciphertextLength == 0 || !takeReader(reader, metadataLength, &sealed->metadata) ||
      !takeReader(reader, ciphertextLength, &sealed->ciphertext) || !takeBytes(reader, kGcmTagSize, &sealed->tag) ||
      reader.size != 0) {
    return fail(error, "semantic rule-pack length fields are invalid");
  }
  return true;
}

bool readMetadata(ByteReader bytes, RulePackMetadata* metadata, SemanticError* error) {
  std::string_view text;
  takeText(bytes, bytes.size, &text);
  std::uint32_t version = 0;
  const bool readable = readJsonStringField(text, "schema", &metadata->schema) &&
                        readJsonStringField(text, "kind", &metadata->kind) &&
                        readJsonStringField(text, "keyId", &metadata->keyId) &&
                        readJsonStringField(text, "ruleSetId", &metadata->ruleSetId) &&
                        readJsonStringField(text, "baseRuleSetId", &metadata->baseRuleSetId) &&
                        readJsonStringField(text, "payloadSha256", &metadata->payloadSha256) &&
                        readJsonUintField(text, "version", &version);
  const bool valid = readable && metadata->schema == kPackSchema && version == kPackVersion &&
                     (metadata->kind == "base" || metadata->kind == "patch") &&
                     (metadata->keyId == "test-v1" || metadata->keyId == "release-v1") &&
                     isSafeId(metadata->ruleSetId, kMaxIdLength) && isSafeId(metadata->baseRuleSetId, kMaxIdLength) &&
                     metadata->payloadSha256.size() == kSha256HexLength;
  if (!valid) return fail(error, "semantic rule-pack metadata is invalid");
  // Optional. Written with a blank it isn't found either: the payload counts as plain.
  readJsonStringField(text, "compression", &metadata->compression);
  if (!metadata->compression.empty() && metadata->compression != "lz4-block-v1") {
    return fail(error, "semantic rule-pack compression is unsupported");
  }
  return true;
}

/// Decrypts the file image in place, and keeps only the stored payload of it.
bool decryptPayload(const SealedPack& sealed, const RulePackMetadata& metadata, SecureBlock* file,
                    SemanticError* error) {
  std::uint8_t key[kPackKeySize];
  if (!resolvePackKey(metadata.keyId, key, error)) return false;
  const auto offset = static_cast<std::size_t>(sealed.ciphertext.data - file->data);
  const bool decrypted =
      decryptAesGcm({file->data + offset, sealed.ciphertext.size}, {sealed.metadata.data, sealed.metadata.size},
                    sealed.nonce, sealed.tag, key, error);
  secureWipe(key, sizeof key);
  if (decrypted) keepRange(file, offset, sealed.ciphertext.size);
  return decrypted;
}

/// A wrong digest of the payload comes before any other fault: whatever was parsed of it is dropped.
bool readProvedPayload(LoadedPack* loaded, SemanticError* error) {
  SemanticError fault;
  std::string digest;
  const bool read = readPayloadRows(std::move(loaded->table.payload), loaded, &digest, &fault);
  if (!digest.empty() && digest != loaded->pack.metadata.payloadSha256) {
    return fail(error, "semantic rule-pack payload digest is invalid");
  }
  return read || (!fault.message.empty() && fail(error, fault.message));
}

bool slotHolds(const SemanticCacheSlot& slot, const fs::path& path, const FileStatus& status) {
  return slot.valid && slot.path.native() == path.native() && slot.status == status;
}

/// The hit of a path that is canonical as written, without a look at its parts: the slot's own path has been checked.
bool takeHeldPack(const std::string& packPath, const std::string& allowedRoot, const SemanticCacheSlot& slot,
                  std::shared_ptr<const LoadedPack>* loaded) {
  FileStatus status;
  if (!queryPlainPath(packPath, allowedRoot, &status)) return false;
  const std::lock_guard lock(semanticCache().semanticCacheMutex);
  const bool held = slot.valid && slot.pathText == packPath && slot.status == status;
  if (held) *loaded = slot.loaded;
  return held;
}

/// What a load leaves over: the slot's old content, or a pack that failed. Declared before the lock, so that it is
/// freed after unlocking: freeing a million rows takes time.
struct Released {
  SemanticCacheSlot replaced;
  std::shared_ptr<LoadedPack> failed;
};

/// Opens the image and fills the slot, with the size and time of the file that was read as part of its key.
bool fillSlot(const fs::path& path, FileImage image, const std::optional<Sha256Digest>& sha256, SemanticCacheSlot* slot,
              Released* released, SemanticError* error) {
  auto opened = std::make_shared<LoadedPack>();
  if (!openRulePack(std::move(image.bytes), opened.get(), error)) {
    released->failed = std::move(opened);
    return false;
  }
  released->replaced = std::exchange(*slot, {true, path, utf8FromPath(path), image.status, sha256, std::move(opened)});
  return true;
}

}  // namespace

bool readPayloadRows(SecureBlock payload, LoadedPack* loaded, std::string* digest, SemanticError* error) {
  DigestBatch digests;
  digests.jobs.push_back({bytesOf(payload)});
  std::vector<ByteSpan> unread;
  SecureBlock* const block = &loaded->table.payload;
  const bool read = readPayloadTable(std::move(payload), &loaded->pack, &loaded->table, &unread, &digests, error);
  if (!finishDigests(&digests, error)) return false;
  *digest = digestHex(digests.jobs[0].digest);
  for (const ByteSpan range : unread) {
    releaseRange(block, static_cast<std::size_t>(range.data() - block->data), range.size());
  }
  return read;
}

bool openRulePack(SecureBlock file, LoadedPack* loaded, SemanticError* error) {
  SealedPack sealed;
  RulePackMetadata& metadata = loaded->pack.metadata;
  // The image turns into the payload in the place where that stays. After a failure it is released with `loaded`.
  SecureBlock* const image = &loaded->table.payload;
  *image = std::move(file);
  loaded->pack.packBytes = image->size;
  if (!splitPackFile(bytesOf(*image), &sealed, error) || !readMetadata(sealed.metadata, &metadata, error) ||
      !decryptPayload(sealed, metadata, image, error)) {
    return false;
  }
  if (!metadata.compression.empty() && !decodeLz4Block(image, error)) return false;
  return readProvedPayload(loaded, error);
}

bool RulePackLoader(const std::string& packPath, const std::string& allowedRoot, SemanticCacheSlot& slot,
                    std::shared_ptr<const LoadedPack>* loaded, SemanticError* error) {
  if (takeHeldPack(packPath, allowedRoot, slot, loaded)) return true;
  PackLocation location;
  if (!locatePack(packPath, allowedRoot, &location, error)) return false;
  Released released;
  const std::lock_guard lock(semanticCache().semanticCacheMutex);
  if (!slotHolds(slot, location.path, location.status)) {
    FileImage image;
    if (!readPackFile(location.path, &image, error)) return false;
    // Names may have been exchanged since they were checked. What counts is where the opened file lies.
    if (!checkPackRoot(image.openPath, location.root, error)) return false;
    if (!fillSlot(location.path, std::move(image), std::nullopt, &slot, &released, error)) return false;
  }
  *loaded = slot.loaded;
  return true;
}

bool loadHashedPack(HashedPack pack, SemanticCacheSlot& slot, std::shared_ptr<const LoadedPack>* loaded,
                    SemanticError* error) {
  if (!checkPackRoot(pack.path, pack.root, error) || !checkPackExtension(pack.path, error) ||
      !checkPackRoot(pack.image.openPath, pack.root, error)) {
    return false;
  }
  // It appeared only while the path was being resolved (see locatePack).
  if (pack.path.is_relative()) return fail(error, "semantic rule-pack file stat is invalid");
  Released released;
  const std::lock_guard lock(semanticCache().semanticCacheMutex);
  const bool held = slotHolds(slot, pack.path, pack.image.status) && slot.fileSha256 == pack.sha256;
  if (!held && !fillSlot(pack.path, std::move(pack.image), pack.sha256, &slot, &released, error)) return false;
  *loaded = slot.loaded;
  return true;
}

}  // namespace corvenda
