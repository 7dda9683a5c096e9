// The records that the stages of loading a pack fill.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace corvenda {

/// The metadata of a pack as read. The "version" is checked but not kept.
struct RulePackMetadata {
  std::string schema;
  std::string kind;           ///< "base" or "patch"
  std::string keyId;          ///< "test-v1" or "release-v1"
  std::string ruleSetId;      ///< safe id, 1 to 96 bytes
  std::string baseRuleSetId;  ///< safe id, 1 to 96 bytes, also in a base pack
  std::string payloadSha256;  ///< 64 bytes
  std::string compression;    ///< empty or "lz4-block-v1"
};

/// What a load finds out about a pack. The maps are ordered by the bytes of their keys, and so are the JavaScript
/// objects made from them.
struct RulePack {
  RulePackMetadata metadata;
  std::map<std::string, std::uint32_t> documentCounts;  ///< documents by type name
  std::map<std::string, std::uint32_t> sectionCounts;   ///< declared terms by section of the binary index
  std::uint16_t indexVersion = 0;                       ///< 0 without a binary index, as are the next three
  std::uint16_t indexSectionCount = 0;
  std::uint32_t sourceDocumentCount = 0;
  std::uint32_t indexBytes = 0;
  std::uint32_t documentCount = 0;
  std::uint64_t packBytes = 0;  ///< length of the file in bytes
};

/// The number of fields that readers know by position: those of a scene row. A row may have more.
constexpr std::size_t kNamedFields = 11;

/// A row of a binary index while its document is being read. Everything points into the document.
struct IndexRowSource {
  std::string_view term;
  std::array<std::string_view, kNamedFields> fields;  ///< the first ones; fields that the row lacks are empty
  std::uint16_t fieldCount = 0;
  const std::uint8_t* begin = nullptr;  ///< where the row begins: at the term's length
};

/// A record of a location shard while its document is being read. Everything points into the document.
struct ShardRowSource {
  std::string_view alias;
  std::string_view code;
  std::string_view label;                    ///< may be empty
  std::string_view countryLabel;             ///< may be empty
  std::uint8_t englishFlag = 0;              ///< 0: the alias is in the native language, 1: English
  double weight = 0;                         ///< widened from a single; not validated, so it may be negative or NaN
  const std::uint8_t* aliasBegin = nullptr;  ///< where the alias begins: at its length
  const std::uint8_t* begin = nullptr;       ///< where the record begins: at the code's length
};

}  // namespace corvenda
