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
  // Absent, or written with a blank: a plain payload, no error.
  readJsonStringField(text, "compression", &metadata->compression);
  if (!metadata->compression.empty() && metadata->compression != "lz4-block-v1") {
    return fail(error, "semantic rule-pack compression is unsupported");
  }
  return true;
}

/// Decrypts the file image where it lies, and keeps nothing of it but the stored payload.
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

/// The payload's own digest has the first word: what was parsed of a payload that isn't the sealed one is dropped,
/// whatever it was.
bool readProvedPayload(SecureBlock payload, LoadedPack* loaded, SemanticError* error) {
  SemanticError fault;
  std::string digest;
  const bool read = readPayloadRows(std::move(payload), loaded, &digest, &fault);
  if (!digest.empty() && digest != loaded->pack.metadata.payloadSha256) {
    return fail(error, "semantic rule-pack payload digest is invalid");
  }
  return read || (!fault.message.empty() && fail(error, fault.message));
}

bool slotHolds(const SemanticCacheSlot& slot, const fs::path& path, const FileStamp& stamp) {
  return slot.valid && slot.path == path && slot.fileSize == stamp.size && slot.lastWriteTime == stamp.lastWriteTime;
}

/// Confines the path and identifies the file: everything that comes before the lock.
bool locatePack(const std::string& packPath, const std::string& allowedRoot, fs::path* path, FileStamp* stamp,
                SemanticError* error) {
  fs::path root;
  if (!canonicalizePackPath(packPath, path, error) || !canonicalizePackPath(allowedRoot, &root, error)) return false;
  if (!isInsideApprovedRoot(*path, root)) return fail(error, "semantic rule-pack path is outside the approved root");
  if (path->extension() != ".klrx") return fail(error, "semantic rule-pack extension is invalid");
  if (!queryFileStamp(*path, stamp) || stamp->size < kMinPackSize || stamp->size > kMaxPackSize) {
    return fail(error, "semantic rule-pack file stat is invalid");
  }
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
  loaded->pack.packBytes = file.size;
  if (!splitPackFile(bytesOf(file), &sealed, error) || !readMetadata(sealed.metadata, &metadata, error) ||
      !decryptPayload(sealed, metadata, &file, error)) {
    return false;
  }
  if (!metadata.compression.empty() && !decodeLz4Block(&file, error)) return false;
  if (!readProvedPayload(std::move(file), loaded, error)) return false;
  return true;
}

bool RulePackLoader(const std::string& packPath, const std::string& allowedRoot, SemanticCacheSlot& slot,
                    std::shared_ptr<const LoadedPack>* loaded, SemanticError* error) {
  fs::path path;
  FileStamp stamp;
  if (!locatePack(packPath, allowedRoot, &path, &stamp, error)) return false;
  // What the slot held before; released behind the lock, because freeing a million rows takes its time.
  SemanticCacheSlot replaced;
  const std::lock_guard lock(semanticCache().semanticCacheMutex);
  if (!slotHolds(slot, path, stamp)) {
    SecureBlock file;
    if (!readPackFile(path, &file, error)) return false;
    const auto opened = std::make_shared<LoadedPack>();
    if (!openRulePack(std::move(file), opened.get(), error)) return false;
    replaced = std::exchange(slot, {true, path, stamp.size, stamp.lastWriteTime, opened});
  }
  *loaded = slot.loaded;
  return true;
}

}  // namespace corvenda
