// The readers behind the seal, met directly: bounds, limits, truncation at every length.
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "pack/binary_index.h"
#include "pack/byte_reader.h"
#include "pack/crypto.h"
#include "pack/metadata_scanner.h"
#include "pack/pack_file.h"
#include "pack/payload.h"
#include "pack/rule_pack_loader.h"

namespace corvenda {
namespace {

namespace fs = std::filesystem;

/// Bytes as a vector of exactly that size: a read behind its end is one behind the allocation, and sanitizers see it.
using Bytes = std::vector<std::uint8_t>;

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

void putUint(Bytes* bytes, std::uint64_t value, int size) {
  for (int i = 0; i < size; ++i) bytes->push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

void putText(Bytes* bytes, std::string_view text) { bytes->insert(bytes->end(), text.begin(), text.end()); }

Bytes term(std::string_view text, const std::vector<std::string>& fields) {
  Bytes bytes;
  putUint(&bytes, text.size(), 2);
  putText(&bytes, text);
  putUint(&bytes, fields.size(), 2);
  for (const std::string& field : fields) {
    putUint(&bytes, field.size(), 2);
    putText(&bytes, field);
  }
  return bytes;
}

Bytes indexOf(const std::vector<std::pair<std::uint8_t, std::vector<Bytes>>>& sections) {
  Bytes bytes = bytesOf("SIX1");
  putUint(&bytes, 3, 2);
  putUint(&bytes, 5, 2);
  putUint(&bytes, 9, 4);
  putUint(&bytes, 0xDEADBEEF, 4);  // reserved: not read
  for (const auto& [type, terms] : sections) {
    Bytes body;
    for (const Bytes& each : terms) body.insert(body.end(), each.begin(), each.end());
    putUint(&bytes, type, 1);
    putUint(&bytes, 0xFF, 1);  // reserved
    putUint(&bytes, 1, 2);
    putUint(&bytes, terms.size(), 4);
    putUint(&bytes, body.size(), 4);
    putUint(&bytes, 0xDEADBEEF, 4);  // reserved
    bytes.insert(bytes.end(), body.begin(), body.end());
  }
  return bytes;
}

void putDocument(Bytes* payload, std::uint8_t type, std::uint8_t encoding, std::string_view name, const Bytes& data) {
  Sha256Digest digest;
  ASSERT_TRUE(sha256(data, &digest, nullptr));
  putUint(payload, type, 1);
  putUint(payload, encoding, 1);
  putUint(payload, name.size(), 2);
  putUint(payload, data.size(), 4);
  payload->insert(payload->end(), digest.begin(), digest.end());
  putText(payload, name);
  payload->insert(payload->end(), data.begin(), data.end());
}

const Bytes kIndex = indexOf({{5, {}},
                              {4, {term("x", {})}},
                              {3, {}},
                              {2, {term("movienight", {"show", ""})}},
                              {1, {term("火锅", {"food", "", "1"}), term("b", {"", ""}), term("火锅", {})}}});

Bytes goodPayload() {
  Bytes payload = bytesOf("SRP1");
  putUint(&payload, 1, 2);
  putUint(&payload, 3, 2);
  putDocument(&payload, 1, 1, "scenes", bytesOf("x"));
  putDocument(&payload, 8, 2, "semantic-binary-index-v1", kIndex);
  putDocument(&payload, 6, 1, "location-xx", bytesOf("plain"));
  return payload;
}

TEST(ByteReader, GivesNothingBehindItsEnd) {
  const Bytes bytes = {1, 2, 3, 4, 5, 6, 7};
  for (std::size_t size = 0; size <= bytes.size(); ++size) {
    const Bytes exact(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
    std::uint8_t u8 = 0;
    std::uint16_t u16 = 0;
    std::uint32_t u32 = 0;
    ByteReader reader{exact.data(), size};
    EXPECT_EQ(takeU8(reader, &u8) && takeU16(reader, &u16) && takeU32(reader, &u32), size == 7) << size;
    if (size == 7) {
      EXPECT_EQ(u8, 1);
      EXPECT_EQ(u16, 0x0302);
      EXPECT_EQ(u32, 0x07060504U);
      EXPECT_EQ(reader.size, 0U);
    }
  }
}

TEST(ByteReader, AFailedTakeChangesNothing) {
  const Bytes bytes = bytesOf("SIX2");
  ByteReader reader{bytes.data(), bytes.size()};
  std::string_view text = "kept";
  ByteReader child;
  for (const std::uint64_t count : {std::uint64_t{5}, std::uint64_t{1} << 32, ~std::uint64_t{0}}) {
    EXPECT_FALSE(takeText(reader, count, &text));
    EXPECT_FALSE(takeReader(reader, count, &child));
  }
  EXPECT_FALSE(takeMagic(reader, "SIX1"));
  EXPECT_FALSE(takeMagic(reader, "SIX2 "));
  EXPECT_EQ(text, "kept");
  EXPECT_EQ(child.data, nullptr);
  EXPECT_EQ(reader.size, 4U);
  EXPECT_TRUE(takeText(reader, 0, &text) && text.empty());
  EXPECT_TRUE(takeReader(reader, 3, &child) && child.size == 3 && reader.size == 1);
}

TEST(BinaryIndex, RowsInFileOrder) {
  RulePack pack;
  SemanticError error;
  std::vector<IndexRecord> records = {{"kept", "kept", {}}};
  ASSERT_TRUE(parseBinaryIndex(kIndex, &pack, &error, &records)) << error.message;
  const std::map<std::string, std::uint32_t> counts = {
      {"celebrity", 0}, {"facet", 0}, {"human", 1}, {"location", 1}, {"scene", 3}};
  EXPECT_EQ(pack.sectionCounts, counts);
  EXPECT_EQ(pack.indexVersion, 3);
  EXPECT_EQ(pack.indexSectionCount, 5);
  EXPECT_EQ(pack.sourceDocumentCount, 9U);
  EXPECT_EQ(pack.indexBytes, kIndex.size());
  std::string told;
  for (const IndexRecord& record : records) {
    told += record.section + ":" + record.term;
    for (const std::string& field : record.fields) told += "," + field;
    told += ";";
  }
  EXPECT_EQ(told, "kept:kept;location:x;human:movienight,show,;scene:火锅,food,,1;scene:b,,;scene:火锅;");
  EXPECT_TRUE(parseBinaryIndex(kIndex, &pack, nullptr, nullptr)) << "rows and words are optional";
}

TEST(BinaryIndex, LengthsAtTheirLimits) {
  const std::string longest(65535, 'a');
  const Bytes index = indexOf({{1, {term(longest, {longest, ""}), term("b", std::vector<std::string>(65535))}},
                               {2, {}},
                               {3, {}},
                               {4, {}},
                               {5, {}}});
  RulePack pack;
  std::vector<IndexRecord> records;
  ASSERT_TRUE(parseBinaryIndex(index, &pack, nullptr, &records));
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0].term, longest);
  EXPECT_EQ(records[0].fields, (std::vector<std::string>{longest, ""}));
  EXPECT_EQ(records[1].fields.size(), 65535U);
}

TEST(BinaryIndex, TruncatedAnywhere) {
  for (std::size_t size = 0; size < kIndex.size(); ++size) {
    const Bytes cut(kIndex.begin(), kIndex.begin() + static_cast<std::ptrdiff_t>(size));
    RulePack pack;
    SemanticError error;
    std::vector<IndexRecord> records;
    ASSERT_FALSE(parseBinaryIndex(cut, &pack, &error, &records)) << size;
    // Every section declares its length, so a cut is met at a section's header, never inside a term.
    std::size_t section = 16;
    while (section + 16 <= size && section + 16 + kIndex[section + 8] <= size) section += 16U + kIndex[section + 8];
    EXPECT_EQ(error.message, size < 16             ? "semantic binary index magic is invalid"
                             : section + 16 > size ? "semantic binary index section header is truncated"
                                                   : "semantic binary index section header is invalid")
        << size;
    EXPECT_EQ(pack.indexVersion, 0) << "a failed parse stores nothing";
    EXPECT_TRUE(pack.sectionCounts.empty());
  }
}

TEST(Payload, WalksEveryDocument) {
  RulePack pack;
  SemanticError error;
  std::vector<RulePackDocument> shards;
  std::vector<IndexRecord> records;
  Bytes payload = goodPayload();
  ASSERT_TRUE(parseRulePackPayload(payload, &pack, &error, &shards, &records)) << error.message;
  EXPECT_EQ(pack.documentCount, 3U);
  const std::map<std::string, std::uint32_t> counts = {
      {"location-shard", 1}, {"scene-lexicon", 1}, {"semantic-index", 1}};
  EXPECT_EQ(pack.documentCounts, counts);
  EXPECT_EQ(records.size(), 5U);
  EXPECT_TRUE(shards.empty()) << "only encoding 2 is kept";

  payload[6] = 5;
  putDocument(&payload, 6, 2, "location-b", bytesOf("bbb"));
  putDocument(&payload, 6, 2, "location-a", bytesOf("a"));
  ASSERT_TRUE(parseRulePackPayload(payload, &pack, &error, &shards, &records)) << error.message;
  ASSERT_EQ(shards.size(), 2U);
  EXPECT_EQ(shards[0].name, "location-b");
  EXPECT_EQ(Bytes(shards[0].data.begin(), shards[0].data.end()), bytesOf("bbb"));
  EXPECT_EQ(shards[1].name, "location-a");
  EXPECT_TRUE(parseRulePackPayload(payload, &pack, nullptr, nullptr, nullptr)) << "without anything to fill";
}

TEST(Payload, TruncatedAnywhere) {
  const Bytes payload = goodPayload();
  for (std::size_t size = 0; size < payload.size(); ++size) {
    const Bytes cut(payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(size));
    RulePack pack;
    SemanticError error;
    ASSERT_FALSE(parseRulePackPayload(cut, &pack, &error, nullptr, nullptr)) << size;
    std::size_t document = 8;
    const auto length = [&] { return 40U + payload[document + 2] + payload[document + 4]; };
    while (document + 40 <= size && document + length() <= size) document += length();
    EXPECT_EQ(error.message, size < 8               ? "semantic rule-pack payload magic is invalid"
                             : document + 40 > size ? "semantic rule-pack document header is truncated"
                                                    : "semantic rule-pack document bounds are invalid")
        << size;
    EXPECT_EQ(pack.documentCount, 0U);
    EXPECT_TRUE(pack.documentCounts.empty());
  }
}

TEST(Payload, NoByteOfADocumentsDataChangesUnseen) {
  const Bytes payload = goodPayload();
  // What no digest covers: the types, and encoding and name of the two plain documents (the index's are fixed).
  const std::size_t third = payload.size() - 40 - 11 - 5;
  const auto isFree = [&](std::size_t at) {
    return at == 8 || at == 9 || (at >= 48 && at < 54) || at == 55 || at == third || at == third + 1 ||
           (at >= third + 40 && at < third + 51);
  };
  for (std::size_t at = 0; at < payload.size(); ++at) {
    for (const int change : {0x01, 0x02, 0x80, 0xFF}) {
      Bytes changed = payload;
      changed[at] = static_cast<std::uint8_t>(changed[at] ^ change);
      RulePack pack;
      std::vector<IndexRecord> records;
      const bool parsed = parseRulePackPayload(changed, &pack, nullptr, nullptr, &records);
      EXPECT_FALSE(parsed && !isFree(at)) << at;
    }
  }
}

TEST(PackImage, ShorterThanAnyFile) {
  const struct {
    std::string_view image, expected;
  } rows[] = {
      {"", "semantic rule-pack magic is invalid"},
      {"KLR", "semantic rule-pack magic is invalid"},
      {"klrx", "semantic rule-pack magic is invalid"},
      {"KLRX", "semantic rule-pack fixed header is invalid"},
      {{"KLRX\1\0\1\0nnnnnnnnnnnn\1\0\0", 23}, "semantic rule-pack fixed header is invalid"},
      {{"KLRX\1\0\1\0nnnnnnnnnnnn\1\0\0\0", 24}, "semantic rule-pack length fields are invalid"},
      {{"KLRX\1\0\1\0nnnnnnnnnnnn\1\0\0\0mctttttttttttttttt", 42}, "semantic rule-pack metadata is invalid"},
  };
  for (const auto& row : rows) {
    LoadedPack loaded;
    SemanticError error;
    EXPECT_FALSE(openRulePack(bytesOf(row.image), &loaded, &error));
    EXPECT_EQ(error.message, row.expected);
  }
}

TEST(MetadataScanner, StringFields) {
  const struct {
    std::string text;
    const char* expected;  // null: no field
  } rows[] = {
      {R"({"k":"v"})", "v"},
      {R"("k":"")", ""},
      {R"({"k": "v"})", nullptr},
      {R"({"k" :"v"})", nullptr},
      {R"({"k":1})", nullptr},
      {R"({"k":"v)", nullptr},
      {R"("k":")", nullptr},
      {R"({"kk":"v"})", nullptr},
      {R"({"k":"a\n"})", nullptr},
      {"\"k\":\"a\x1F\"", nullptr},
      {"\"k\":\"a \x7F\xC3\"", "a \x7F\xC3"},
      {R"("x":"\"k":"in","k":"out")", "in"},
      {R"("k":"a\"b","k":"c")", nullptr},
      {R"("k":"first","k":"second")", "first"},
      {R"("k":"k":"v")", "k"},
      {"", nullptr},
      {std::string("\"k\":\"a\0\"", 8), nullptr},
  };
  for (const auto& row : rows) {
    std::string value = "unchanged";
    EXPECT_EQ(readJsonStringField(row.text, "k", &value), row.expected != nullptr) << row.text;
    EXPECT_EQ(value, row.expected == nullptr ? "unchanged" : row.expected) << row.text;
  }
}

TEST(MetadataScanner, UintFields) {
  const struct {
    const char* text;
    std::int64_t expected;  // -1: no field
  } rows[] = {
      {R"({"k":0})", 0},
      {R"("k":4294967295)", 4294967295},
      {R"("k":4294967296)", -1},
      {R"("k":18446744073709551617)", -1},
      {R"("k":99999999999999999999999999999)", -1},
      {R"("k":0000000000000000000000000007)", 7},
      {R"("k":1.5)", 1},
      {R"("k":1e9)", 1},
      {R"("k":-1)", -1},
      {R"("k":+1)", -1},
      {R"("k": 1)", -1},
      {R"("k":"1")", -1},
      {R"("k":)", -1},
      {R"("k":a)", -1},
      {R"("k":"1","k":2)", -1},
      {R"("k":3,"k":4)", 3},
      {R"("k":12)", 12},
      {R"("kk":1)", -1},
  };
  for (const auto& row : rows) {
    std::uint32_t value = 77;
    EXPECT_EQ(readJsonUintField(row.text, "k", &value), row.expected >= 0) << row.text;
    EXPECT_EQ(value, row.expected >= 0 ? row.expected : 77) << row.text;
  }
}

TEST(MetadataScanner, SafeIds) {
  std::string safe;
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    if (isSafeId(text, 1)) safe += text;
  }
  EXPECT_EQ(safe, "-.0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz");
  EXPECT_FALSE(isSafeId("", 96));
  EXPECT_TRUE(isSafeId(std::string(96, 'a'), 96));
  EXPECT_FALSE(isSafeId(std::string(97, 'a'), 96));
}

TEST(PackFile, ReadsOnlyRegularFilesWithinTheLimits) {
  const fs::path folder = fs::path(testing::TempDir()) / "corvenda-pack-file";
  fs::remove_all(folder);
  fs::create_directories(folder / "directory.klrx");
  const auto write = [&](const char* name, std::uintmax_t size) {
    std::ofstream(folder / name, std::ios::binary) << "0123456789";
    fs::resize_file(folder / name, size);
    return folder / name;
  };
  write("40", 40);
  fs::create_symlink(folder / "40", folder / "link");
  const struct {
    fs::path path;
    const char* expected;  // null: read
  } rows[] = {
      {folder / "40", nullptr},
      {folder / "directory.klrx", "semantic rule-pack file is not a regular file"},
      {folder / "gone", "semantic rule-pack file is not a regular file"},
      {folder / "link", "semantic rule-pack file is not a regular file"},
      {"/dev/null", "semantic rule-pack file is not a regular file"},
      {write("39", 39), "semantic rule-pack file size is invalid"},
      {write("too-large", 134217729), "semantic rule-pack file size is invalid"},
      {"/proc/self/status", "semantic rule-pack file size is invalid"},
      // Such a file says that it holds a page, and gives less.
      {"/sys/kernel/mm/transparent_hugepage/enabled", "semantic rule-pack file cannot be read"},
  };
  for (const auto& row : rows) {
    if (row.path.native().starts_with("/sys") && !fs::exists(row.path)) continue;
    SecureBytes bytes(3, 1);
    SemanticError error;
    EXPECT_EQ(readPackFile(row.path, &bytes, &error), row.expected == nullptr) << row.path;
    EXPECT_EQ(error.message, row.expected == nullptr ? "" : row.expected) << row.path;
    EXPECT_EQ(bytes.size(), row.expected == nullptr ? 40U : 0U) << row.path;
  }
  fs::remove_all(folder);
}

}  // namespace
}  // namespace corvenda
