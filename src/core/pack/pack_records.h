// The records that every stage of the rule-pack container fills. No behaviour of their own.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "base/secure_memory.h"

namespace corvenda {

/// The metadata of a pack as read. Its "version" is checked and not kept.
struct RulePackMetadata {
  std::string schema;
  std::string kind;           ///< "base" or "patch"
  std::string keyId;          ///< "test-v1" or "release-v1"
  std::string ruleSetId;      ///< safe id, 1 to 96 bytes
  std::string baseRuleSetId;  ///< safe id, 1 to 96 bytes, also in a base pack
  std::string payloadSha256;  ///< 64 bytes
  std::string compression;    ///< empty or "lz4-block-v1"
};

/// What a load tells of a pack. The maps are ordered by the bytes of the key, and so are the objects made from them.
struct RulePack {
  RulePackMetadata metadata;
  std::map<std::string, std::uint32_t> documentCounts;  ///< documents by type name
  std::map<std::string, std::uint32_t> sectionCounts;   ///< declared terms by section of the binary index
  std::uint16_t indexVersion = 0;                       ///< 0 without a binary index, as the next three
  std::uint16_t indexSectionCount = 0;
  std::uint32_t sourceDocumentCount = 0;
  std::uint32_t indexBytes = 0;
  std::uint32_t documentCount = 0;
  std::uint64_t packBytes = 0;  ///< length of the file in bytes
};

/// A document that outlives the parse of the payload; only location shards do.
struct RulePackDocument {
  std::string name;
  SecureBytes data;
};

/// The row of all semantic data. What the fields mean depends on the section (see scene/lexicon_rows.h); every number
/// in a row is text.
struct IndexRecord {
  std::string section;  ///< "scene", "human", "celebrity", "location", "facet", a shard's document name, or "…-overlay"
  std::string term;     ///< the text that is searched for
  std::vector<std::string> fields;
};

}  // namespace corvenda
