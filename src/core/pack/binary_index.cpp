#include "pack/binary_index.h"

#include <string_view>
#include <utility>

#include "base/byte_reader.h"

namespace corvenda {
namespace {

constexpr std::uint16_t kIndexVersion = 3;
constexpr std::uint16_t kSectionFormat = 1;

/// By the section type in the file, which counts from 1.
constexpr std::string_view kSectionNames[] = {"scene", "human", "celebrity", "location", "facet"};
constexpr std::uint16_t kSectionCount = std::size(kSectionNames);

bool takeLengthAndText(ByteReader& reader, std::string_view* text) {
  std::uint16_t length = 0;
  return takeU16(reader, &length) && takeText(reader, length, text);
}

bool readRow(ByteReader& body, IndexRowSource* row, SemanticError* error) {
  row->begin = body.data;
  if (!takeLengthAndText(body, &row->term) || row->term.empty()) {
    return fail(error, "semantic binary index term is invalid");
  }
  if (!takeU16(body, &row->fieldCount)) return fail(error, "semantic binary index field header is invalid");
  row->fields = {};
  for (std::uint16_t i = 0; i < row->fieldCount; ++i) {
    std::string_view field;
    if (!takeLengthAndText(body, &field)) return fail(error, "semantic binary index field is invalid");
    if (i < kNamedFields) row->fields[i] = field;
  }
  return true;
}

bool readSection(ByteReader& document, std::map<std::string, std::uint32_t>* counts, SemanticError* error,
                 const IndexRowSink* sink) {
  ByteReader header;
  if (!takeReader(document, 16, &header)) return fail(error, "semantic binary index section header is truncated");
  std::uint8_t type = 0;
  std::uint8_t reserved = 0;
  std::uint16_t format = 0;
  std::uint32_t termCount = 0;
  std::uint32_t bodyLength = 0;
  takeU8(header, &type);
  takeU8(header, &reserved);
  takeU16(header, &format);
  takeU32(header, &termCount);
  takeU32(header, &bodyLength);
  ByteReader body;
  if (format != kSectionFormat || !takeReader(document, bodyLength, &body)) {
    return fail(error, "semantic binary index section header is invalid");
  }
  if (type < 1 || type > kSectionCount || counts->contains(std::string(kSectionNames[type - 1]))) {
    return fail(error, "semantic binary index section type is invalid");
  }
  const std::string_view name = kSectionNames[type - 1];
  if (sink != nullptr) sink->beginSection(name, body.data);
  IndexRowSource row;
  for (std::uint32_t i = 0; i < termCount; ++i) {
    if (!readRow(body, &row, error)) return false;
    if (sink != nullptr) sink->addRow(row);
  }
  if (body.size != 0) return fail(error, "semantic binary index section has trailing bytes");
  counts->emplace(name, termCount);
  return true;
}

}  // namespace

bool parseBinaryIndex(ByteSpan document, RulePack* pack, SemanticError* error, const IndexRowSink* sink) {
  ByteReader reader{document.data(), document.size()};
  if (reader.size < 16 || !takeMagic(reader, "SIX1")) return fail(error, "semantic binary index magic is invalid");
  std::uint16_t version = 0;
  std::uint16_t sectionCount = 0;
  std::uint32_t sourceDocumentCount = 0;
  std::uint32_t reserved = 0;
  takeU16(reader, &version);
  takeU16(reader, &sectionCount);
  takeU32(reader, &sourceDocumentCount);
  takeU32(reader, &reserved);
  if (version != kIndexVersion || sectionCount != kSectionCount || sourceDocumentCount == 0) {
    return fail(error, "semantic binary index header is invalid");
  }
  std::map<std::string, std::uint32_t> counts;
  for (std::uint16_t i = 0; i < kSectionCount; ++i) {
    if (!readSection(reader, &counts, error, sink)) return false;
  }
  if (reader.size != 0) return fail(error, "semantic binary index has trailing bytes");
  pack->indexVersion = version;
  pack->indexSectionCount = sectionCount;
  pack->sourceDocumentCount = sourceDocumentCount;
  pack->indexBytes = static_cast<std::uint32_t>(document.size());
  pack->sectionCounts = std::move(counts);
  return true;
}

}  // namespace corvenda
