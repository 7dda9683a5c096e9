#include "pack/payload.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "base/byte_reader.h"
#include "pack/binary_index.h"
#include "pack/crypto.h"
#include "pack/metadata_scanner.h"

namespace corvenda {
namespace {

constexpr std::uint16_t kPayloadVersion = 1;
constexpr std::uint16_t kMaxDocuments = 512;
constexpr std::uint16_t kMaxNameLength = 128;
constexpr std::size_t kDocumentHeaderSize = 40;
constexpr std::uint8_t kBinaryEncoding = 2;
constexpr std::uint8_t kLocationShardType = 6;
constexpr std::uint8_t kSemanticIndexType = 8;
constexpr std::string_view kSemanticIndexName = "semantic-binary-index-v1";

/// In the order of `documentType`, which counts from 1.
constexpr std::string_view kDocumentTypeNames[] = {
    "scene-lexicon", "human-language", "star-manifest",          "star-shard", "location-meta", "location-shard",
    "bundled-patch", "semantic-index", "semantic-facet-lexicon",
};

struct Document {
  std::uint8_t type = 0;
  std::uint8_t encoding = 0;
  std::uint16_t nameLength = 0;
  std::uint32_t dataLength = 0;
  const std::uint8_t* digest = nullptr;
  std::string_view name;
  ByteReader data;
};

/// Reads one document up to its data. The header is whole before a field is read, so the three messages about single
/// fields can't be met; they name what would be wrong if the header's size ever changed.
bool readDocument(ByteReader& payload, Document* document, SemanticError* error) {
  ByteReader header;
  if (!takeReader(payload, kDocumentHeaderSize, &header)) {
    return fail(error, "semantic rule-pack document header is truncated");
  }
  if (!takeU8(header, &document->type) || !takeU8(header, &document->encoding)) {
    return fail(error, "semantic rule-pack document type is invalid");
  }
  if (!takeU16(header, &document->nameLength)) return fail(error, "semantic rule-pack name length is invalid");
  if (!takeU32(header, &document->dataLength)) return fail(error, "semantic rule-pack data length is invalid");
  document->digest = header.data;
  if (document->type < 1 || document->type > std::size(kDocumentTypeNames) || document->encoding < 1 ||
      document->encoding > kBinaryEncoding || document->nameLength < 1 || document->nameLength > kMaxNameLength ||
      document->dataLength == 0) {
    return fail(error, "semantic rule-pack document descriptor is invalid");
  }
  if (!takeText(payload, document->nameLength, &document->name) ||
      !takeReader(payload, document->dataLength, &document->data)) {
    return fail(error, "semantic rule-pack document bounds are invalid");
  }
  if (!hasOnlySafeIdBytes(document->name)) return fail(error, "semantic rule-pack document name is invalid");
  return true;
}

bool digestMatches(const Document& document, SemanticError* error) {
  Sha256Digest digest;
  if (!sha256({document.data.data, document.data.size}, &digest, error)) return false;
  if (!std::equal(digest.begin(), digest.end(), document.digest)) {
    return fail(error, "semantic rule-pack document digest is invalid");
  }
  return true;
}

}  // namespace

bool parseRulePackPayload(ByteSpan payload, RulePack* pack, SemanticError* error,
                          std::vector<RulePackDocument>* shardDocuments, std::vector<IndexRecord>* records) {
  ByteReader reader{payload.data(), payload.size()};
  if (reader.size < 8 || !takeMagic(reader, "SRP1")) return fail(error, "semantic rule-pack payload magic is invalid");
  std::uint16_t version = 0;
  std::uint16_t documentCount = 0;
  takeU16(reader, &version);
  takeU16(reader, &documentCount);
  if (version != kPayloadVersion || documentCount == 0 || documentCount > kMaxDocuments) {
    return fail(error, "semantic rule-pack payload header is invalid");
  }
  std::map<std::string, std::uint32_t> counts;
  for (std::uint16_t i = 0; i < documentCount; ++i) {
    Document document;
    if (!readDocument(reader, &document, error)) return false;
    const ByteSpan data{document.data.data, document.data.size};
    // The index is parsed, and a shard kept, before the digest is compared: a malformed index with a wrong digest
    // reports the malformation.
    if (document.type == kSemanticIndexType) {
      // Fails without a message. Callers tell such a pack from all others by that.
      if (document.encoding != kBinaryEncoding || document.name != kSemanticIndexName) return false;
      if (!parseBinaryIndex(data, pack, error, records)) return false;
    }
    if (document.type == kLocationShardType && document.encoding == kBinaryEncoding && shardDocuments != nullptr) {
      shardDocuments->push_back({std::string(document.name), SecureBytes(data.begin(), data.end())});
    }
    if (!digestMatches(document, error)) return false;
    ++counts[std::string(kDocumentTypeNames[document.type - 1])];
  }
  if (reader.size != 0) return fail(error, "semantic rule-pack payload has trailing bytes");
  pack->documentCount = documentCount;
  pack->documentCounts = std::move(counts);
  return true;
}

}  // namespace corvenda
