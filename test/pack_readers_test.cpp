// The readers of decrypted data, called directly: truncation at every length, limits, scanners.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <utility>

#include <gtest/gtest.h>

#include "cache/rule_pack_loader.h"
#include "pack/binary_index.h"
#include "pack/crypto.h"
#include "pack/metadata_scanner.h"
#include "pack/pack_file.h"
#include "pack/payload.h"

namespace corvenda {
namespace {

namespace fs = std::filesystem;

/// Bytes as a vector of exactly that size: sanitizers see a read past its end.
std::vector<std::uint8_t> bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

std::string le(std::uint64_t value, int size) {
  std::string bytes;
  for (; size > 0; --size, value >>= 8) bytes += static_cast<char>(value & 0xFF);
  return bytes;
}

std::string sized(std::string_view text) { return le(text.size(), 2).append(text); }

/// The reserved bytes are not 0, and nobody may read them.
std::string section(unsigned type, std::uint64_t terms, const std::string& body = "") {
  return le(0xFF00 | type, 2) + le(1, 2) + le(terms, 4) + le(body.size(), 4) + le(0xDEADBEEF, 4) + body;
}

std::string indexOf(const std::string& humans) {
  return "SIX1" + le(3, 2) + le(5, 2) + le(9, 4) + le(0xDEADBEEF, 4) + section(5, 0) +
         section(4, 1, sized("x") + le(0, 2)) + section(3, 0) + section(2, 1, humans) +
         section(1, 2, sized("火锅") + le(2, 2) + sized("food") + sized("") + sized("火锅") + le(0, 2));
}

std::string document(int type, int encoding, const std::string& name, const std::string& data) {
  Sha256Digest digest{};
  EXPECT_TRUE(sha256(bytesOf(data), &digest, nullptr));
  return le(static_cast<unsigned>(type | encoding << 8), 2) + le(name.size(), 2) + le(data.size(), 4) +
         std::string(digest.begin(), digest.end()) + name + data;
}

const std::string kIndex = indexOf(sized("movienight") + le(1, 2) + sized("show"));
const std::string kPayload = "SRP1" + le(1, 2) + le(4, 2) + document(6, 2, "location-b", "bbb") +
                             document(8, 2, "semantic-binary-index-v1", kIndex) + document(6, 1, "unread", "plain") +
                             document(6, 2, "location-a", "a");

/// The rows as text: section:term,field,field;
struct ToldRows {
  std::string told;
  std::vector<IndexRowSource> rows;
  IndexRowSink sink{[this](std::string_view section, const std::uint8_t*) { name = section; },
                    [this](const IndexRowSource& row) {
                      rows.push_back(row);
                      told.append(name).append(":").append(row.term);
                      for (std::size_t i = 0; i < row.fieldCount && i < kNamedFields; ++i) {
                        told.append(",").append(row.fields[i]);
                      }
                      told += ";";
                    }};
  std::string name;
};

TEST(BinaryIndex, RowsInFileOrderUpToTheLimits) {
  RulePack pack;
  ToldRows told;
  ASSERT_TRUE(parseBinaryIndex(bytesOf(kIndex), &pack, nullptr, &told.sink));
  EXPECT_EQ(told.told, "location:x;human:movienight,show;scene:火锅,food,;scene:火锅;");
  const std::string longest(65535, 'a');
  const auto index = bytesOf(indexOf(sized(longest) + le(65535, 2) + sized(longest) + std::string(65534UL * 2, '\0')));
  ToldRows limits;
  ASSERT_TRUE(parseBinaryIndex(index, &pack, nullptr, &limits.sink));
  EXPECT_EQ(limits.rows[1].term, longest);
  EXPECT_EQ(limits.rows[1].fieldCount, 65535U);
  EXPECT_EQ(limits.rows[1].fields[0], longest);
}

TEST(BinaryIndex, TruncatedAnywhere) {
  for (std::size_t size = 0; size < kIndex.size(); ++size) {
    RulePack pack;
    SemanticError error;
    ASSERT_FALSE(parseBinaryIndex(bytesOf(kIndex.substr(0, size)), &pack, &error, nullptr)) << size;
    // Every section declares its length, so a cut shows at a section's header, never inside a term.
    std::size_t at = 16;
    const auto end = [&] { return at + 16 + static_cast<unsigned char>(kIndex[at + 8]); };
    while (at + 16 <= size && end() <= size) at = end();
    EXPECT_EQ(error.message, size < 16        ? "semantic binary index magic is invalid"
                             : at + 16 > size ? "semantic binary index section header is truncated"
                                              : "semantic binary index section header is invalid")
        << size;
    EXPECT_TRUE(pack.indexVersion == 0 && pack.sectionCounts.empty()) << "a failed parse stores nothing";
  }
}

bool parsePayload(const std::string& payload, RulePack* pack, SemanticError* error) {
  DigestBatch digests;
  return parseRulePackPayload(bytesOf(payload), pack, error, nullptr, nullptr, &digests);
}

TEST(Payload, ShardsInFileOrderAndNoChangedByte) {
  RulePack pack;
  PayloadDocuments documents;
  DigestBatch digests;
  const auto payload = bytesOf(kPayload);
  ASSERT_TRUE(parseRulePackPayload(payload, &pack, nullptr, &documents, nullptr, &digests));
  std::string told;
  for (const RulePackDocument& shard : documents.shards) {
    told.append(shard.name).append(":").append(shard.data.begin(), shard.data.end()).append(";");
  }
  EXPECT_EQ(told, "location-b:bbb;location-a:a;") << "only encoding 2 is kept";
  ASSERT_EQ(documents.unread.size(), 1U);
  EXPECT_EQ(std::string(documents.unread[0].begin(), documents.unread[0].end()), "plain");
  // The first document's digest and data.
  for (std::size_t at = 16; at < 61; at = at == 47 ? 58 : at + 1) {
    std::string changed = kPayload;
    changed[at] = static_cast<char>(changed[at] ^ 1);
    EXPECT_FALSE(parsePayload(changed, &pack, nullptr)) << at;
  }
}

TEST(Payload, TruncatedAnywhere) {
  for (std::size_t size = 0; size < kPayload.size(); ++size) {
    RulePack pack;
    SemanticError error;
    ASSERT_FALSE(parsePayload(kPayload.substr(0, size), &pack, &error)) << size;
    std::size_t at = 8;
    const auto byte = [&](std::size_t offset) { return static_cast<unsigned char>(kPayload[at + offset]); };
    while (at + 40 <= size && at + 40 + byte(2) + byte(4) <= size) at += 40U + byte(2) + byte(4);
    EXPECT_EQ(error.message, size < 8         ? "semantic rule-pack payload magic is invalid"
                             : at + 40 > size ? "semantic rule-pack document header is truncated"
                                              : "semantic rule-pack document bounds are invalid")
        << size;
    EXPECT_TRUE(pack.documentCount == 0 && pack.documentCounts.empty());
  }
}

TEST(PackImage, ShorterThanAnyFile) {
  const std::string header = "KLRX" + le(1, 2) + le(1, 2) + std::string(12, 'n') + le(1, 4);
  const std::pair<std::string, std::string> rows[] = {
      {"", "magic is invalid"},
      {"KLR", "magic is invalid"},
      {"KLRX", "fixed header is invalid"},
      {header.substr(0, 23), "fixed header is invalid"},
      {header, "length fields are invalid"},
      {header + "mctttttttttttttttt", "metadata is invalid"},
  };
  for (const auto& [image, end] : rows) {
    LoadedPack loaded;
    SemanticError error;
    SecureBlock file = allocateBlock(image.size());
    std::copy(image.begin(), image.end(), file.data);
    EXPECT_FALSE(openRulePack(std::move(file), &loaded, &error));
    EXPECT_EQ(error.message, "semantic rule-pack " + end);
  }
}

TEST(MetadataScanner, FirstMatchDecides) {
  const struct {
    std::string text;
    std::string string;  // "-": no such field
    std::uint32_t number = 77;
  } rows[] = {
      {R"("k":"")", ""},
      {R"({"kk":1,"kk":"v"})", "-"},
      {R"({"k": "v","k" :1})", "-"},
      {R"({"k":"v)", "-"},
      {R"({"k":"a\n"})", "-"},
      {"\"k\":\"a\x1F\"", "-"},
      {"\"k\":\"a \x7F\xC3\"", "a \x7F\xC3"},
      {R"("x":"\"k":"in","k":"out")", "in"},
      {R"("k":"a\"b","k":"c")", "-"},
      {R"("k":"k":"v")", "k"},
      {R"({"k":0})", "-", 0},
      {R"("k":4294967295)", "-", 4294967295},
      {R"("k":4294967296)", "-"},
      {R"("k":18446744073709551617)", "-"},
      {R"("k":0000000000000000000000000007)", "-", 7},
      {R"("k":1.5)", "-", 1},
      {R"("k":-1)", "-"},
      {R"("k": 1)", "-"},
      {R"("k":)", "-"},
      {R"("k":"1","k":2)", "1"},
      {R"("k":3,"k":"4")", "4", 3},
  };
  for (const auto& row : rows) {
    std::string string = "-";
    std::uint32_t number = 77;
    EXPECT_EQ(readJsonStringField(row.text, "k", &string), row.string != "-") << row.text;
    EXPECT_EQ(readJsonUintField(row.text, "k", &number), row.number != 77) << row.text;
    EXPECT_TRUE(string == row.string && number == row.number) << row.text << string << number;
  }
}

TEST(MetadataScanner, SafeIds) {
  std::string safe;
  for (int byte = 0; byte < 256; ++byte)
    if (isSafeId(std::string(1, static_cast<char>(byte)), 1)) safe += static_cast<char>(byte);
  EXPECT_EQ(safe, "-.0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz");
}

TEST(PackFile, ReadsOnlyRegularFilesWithinTheLimits) {
  const fs::path folder = fs::path(testing::TempDir()) / "corvenda-pack-file";
  fs::remove_all(folder);
  fs::create_directories(folder);
  const auto write = [&](const char* name, std::uintmax_t size) {
    std::ofstream(folder / name) << "0123456789";
    fs::resize_file(folder / name, size);
    return folder / name;
  };
  std::error_code noLinks;
  fs::create_symlink(write("40", 40), folder / "link", noLinks);  // where there are none, nothing has the name
  const std::pair<fs::path, std::string> rows[] = {
      {folder / "40", ""},
      {folder, "semantic rule-pack file is not a regular file"},
      {folder / "gone", "semantic rule-pack file is not a regular file"},
      {folder / "link", "semantic rule-pack file is not a regular file"},
      {write("39", 39), "semantic rule-pack file size is invalid"},
      {write("too-large", 134217729), "semantic rule-pack file size is invalid"},
      // Such a file claims to have a page and delivers less.
      {"/sys/kernel/mm/transparent_hugepage/enabled", "semantic rule-pack file cannot be read"},
  };
  for (const auto& [path, message] : rows) {
    if (path.string().starts_with("/sys") && !fs::exists(path)) continue;
    FileImage image;
    SemanticError error;
    EXPECT_EQ(readPackFile(path, &image, &error), message.empty()) << path;
    EXPECT_EQ(error.message, message) << path;
    EXPECT_EQ(image.bytes.size, message.empty() ? 40U : 0U) << path;
  }
  fs::remove_all(folder);
}

}  // namespace
}  // namespace corvenda
