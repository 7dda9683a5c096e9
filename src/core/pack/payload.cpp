#include "pack/payload.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "base/byte_reader.h"
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

/// By the document type in the file, which counts from 1.
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

/// Reads one document. The whole header is there before a field is read, so the three messages about single fields
/// can't occur; they would if the header's size ever changed.
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

bool readHeader(ByteReader& payload, std::uint16_t* documentCount, SemanticError* error) {
  if (payload.size < 8 || !takeMagic(payload, "SRP1"))
    return fail(error, "semantic rule-pack payload magic is invalid");
  std::uint16_t version = 0;
  takeU16(payload, &version);
  takeU16(payload, documentCount);
  if (version != kPayloadVersion || *documentCount == 0 || *documentCount > kMaxDocuments) {
    return fail(error, "semantic rule-pack payload header is invalid");
  }
  return true;
}

/// Lists the documents up to the first that can't be read.
bool listDocuments(ByteReader& payload, std::uint16_t count, std::vector<Document>* documents, SemanticError* error) {
  documents->reserve(count);
  for (std::uint16_t i = 0; i < count; ++i) {
    Document document;
    if (!readDocument(payload, &document, error)) return false;
    documents->push_back(document);
  }
  return payload.size == 0 || fail(error, "semantic rule-pack payload has trailing bytes");
}

ByteSpan dataOf(const Document& document) { return {document.data.data, document.data.size}; }

/// Parses the binary indexes, up to the first that is malformed. Returns how many documents passed.
std::size_t parseIndexes(const std::vector<Document>& documents, RulePack* pack, SemanticError* error,
                         const IndexRowSink* sink) {
  for (std::size_t i = 0; i < documents.size(); ++i) {
    if (documents[i].type != kSemanticIndexType) continue;
    // Fails without a message: callers recognise such a pack by that.
    if (documents[i].encoding != kBinaryEncoding || documents[i].name != kSemanticIndexName) return i;
    if (!parseBinaryIndex(dataOf(documents[i]), pack, error, sink)) return i;
  }
  return documents.size();
}

void listDocument(const Document& document, ByteSpan data, PayloadDocuments* documents) {
  if (document.type == kSemanticIndexType) return;
  if (document.type == kLocationShardType && document.encoding == kBinaryEncoding) {
    documents->shards.push_back({document.name, data});
  } else {
    documents->unread.push_back(data);
  }
}

/// Compares the digests of the first `count` documents. The documents' jobs are the last ones of `digests`.
bool digestsMatch(const std::vector<Document>& documents, std::size_t count, const DigestBatch& digests,
                  SemanticError* error) {
  const DigestJob* const jobs = digests.jobs.data() + (digests.jobs.size() - documents.size());
  for (std::size_t i = 0; i < count; ++i) {
    if (!std::equal(jobs[i].digest.begin(), jobs[i].digest.end(), documents[i].digest)) {
      return fail(error, "semantic rule-pack document digest is invalid");
    }
  }
  return true;
}

}  // namespace

bool parseRulePackPayload(ByteSpan payload, RulePack* pack, SemanticError* error, PayloadDocuments* others,
                          const IndexRowSink* sink, DigestBatch* digests) {
  // Digests are computed while the indexes are parsed, but faults are reported in the order of the documents: for each
  // its header, then its content, then its digest. A malformed index with a wrong digest reports the malformation.
  ByteReader reader{payload.data(), payload.size()};
  std::vector<Document> documents;
  std::uint16_t documentCount = 0;
  SemanticError listFault;
  SemanticError parseFault;
  const bool listed =
      readHeader(reader, &documentCount, &listFault) && listDocuments(reader, documentCount, &documents, &listFault);
  for (const Document& document : documents) digests->jobs.push_back({dataOf(document)});
  startDigests(digests);
  const std::size_t parsed = parseIndexes(documents, pack, &parseFault, sink);
  if (!finishDigests(digests, error) || !digestsMatch(documents, parsed, *digests, error)) return false;
  if (parsed < documents.size()) return !parseFault.message.empty() && fail(error, parseFault.message);
  if (!listed) return fail(error, listFault.message);
  pack->documentCount = documentCount;
  for (const Document& document : documents) {
    ++pack->documentCounts[std::string(kDocumentTypeNames[document.type - 1])];
    if (others != nullptr) listDocument(document, dataOf(document), others);
  }
  return true;
}

}  // namespace corvenda
