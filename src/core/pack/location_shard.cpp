#include "pack/location_shard.h"

#include <bit>

#include "base/byte_reader.h"

namespace corvenda {
namespace {

constexpr std::uint16_t kShardVersion = 1;

/// A text after its two length bytes, with a message for either being cut off.
bool takeSizedText(ByteReader& reader, std::string_view* text, SemanticError* error, const char* lengthMessage,
                   const char* textMessage) {
  std::uint16_t length = 0;
  if (!takeU16(reader, &length)) return fail(error, lengthMessage);
  if (!takeText(reader, length, text)) return fail(error, textMessage);
  return true;
}

bool readRecord(ByteReader& reader, ShardRowSource* row, SemanticError* error) {
  row->begin = reader.data;
  if (!takeSizedText(reader, &row->code, error, "native location shard code length is invalid",
                     "native location shard code is truncated")) {
    return false;
  }
  ByteReader fixed;
  if (!takeReader(reader, 5, &fixed)) return fail(error, "native location shard fixed record is truncated");
  std::uint32_t weight = 0;
  takeU8(fixed, &row->englishFlag);
  takeU32(fixed, &weight);
  row->weight = static_cast<double>(std::bit_cast<float>(weight));
  if (!takeSizedText(reader, &row->label, error, "native location shard label length is invalid",
                     "native location shard label is truncated") ||
      !takeSizedText(reader, &row->countryLabel, error, "native location shard country label length is invalid",
                     "native location shard country label is truncated")) {
    return false;
  }
  // The values are checked once the whole record is read: a record cut off in its label reports that, not a bad flag.
  if (row->englishFlag > 1 || row->code.empty() || row->alias.empty()) {
    return fail(error, "native location shard record is invalid");
  }
  return true;
}

}  // namespace

bool parseLocationShard(ByteSpan document, const ShardRowSink& sink, SemanticError* error) {
  ByteReader reader{document.data(), document.size()};
  if (sink == nullptr || reader.size < 12 || !takeMagic(reader, "LDB1")) {
    return fail(error, "native location shard magic is invalid");
  }
  std::uint16_t version = 0;
  std::uint16_t reserved = 0;
  std::uint32_t aliasCount = 0;
  takeU16(reader, &version);
  takeU16(reader, &reserved);
  takeU32(reader, &aliasCount);
  if (version != kShardVersion) return fail(error, "native location shard header is invalid");
  for (std::uint32_t i = 0; i < aliasCount; ++i) {
    ShardRowSource row;
    row.aliasBegin = reader.data;
    if (!takeSizedText(reader, &row.alias, error, "native location shard alias length is invalid",
                       "native location shard alias is truncated")) {
      return false;
    }
    std::uint16_t recordCount = 0;
    if (!takeU16(reader, &recordCount)) return fail(error, "native location shard record count is invalid");
    for (std::uint16_t j = 0; j < recordCount; ++j) {
      if (!readRecord(reader, &row, error)) return false;
      sink(row);
    }
  }
  if (reader.size != 0) return fail(error, "native location shard has trailing bytes");
  return true;
}

}  // namespace corvenda
