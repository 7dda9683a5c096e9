// Location shards, byte by byte, and the rows that they become.
#include "pack/location_shard.h"

#include <bit>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace corvenda {
namespace {

std::string little(std::uint64_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i) & 255);
  return text;
}

std::string counted(const std::string& text) { return little(text.size(), 2) + text; }

std::string record(const std::string& code, int flag, float weight, const std::string& label, const std::string& country) {
  return counted(code) + little(static_cast<std::uint64_t>(flag), 1) + little(std::bit_cast<std::uint32_t>(weight), 4) +
         counted(label) + counted(country);
}

std::string entry(const std::string& alias, const std::vector<std::string>& records) {
  std::string text = counted(alias) + little(records.size(), 2);
  for (const std::string& one : records) text += one;
  return text;
}

std::string shard(const std::vector<std::string>& entries) {
  std::string text = "LDB1" + little(1, 2) + "??" + little(entries.size(), 4);  // the reserved bytes are not read
  for (const std::string& one : entries) text += one;
  return text;
}

RulePackDocument document(const std::string& data) { return {"location-xx", SecureBytes(data.begin(), data.end())}; }

std::string parseMessage(const std::string& data) {
  std::vector<LocationShardRow> rows;
  SemanticError error;
  const RulePackDocument bytes = document(data);
  const bool parsed = parseLocationShard(bytes.data, &rows, &error);
  EXPECT_EQ(parsed, error.message.empty());
  return error.message;
}

TEST(LocationShard, RecordsBecomeRowsInFileOrder) {
  const std::string data = shard({
      entry("paris", {record("FR-75", 1, 0.5F, "Paris", "France"), record("US-TX", 1, 1, "Paris", "")}),
      entry("", {}),
      entry("巴黎", {record("FR-75", 0, -2, "", "法国")}),
  });
  std::vector<IndexRecord> rows = {{"scene", "before", {}}};
  SemanticError error;
  ASSERT_TRUE(appendLocationShard(document(data), &rows, &error)) << error.message;
  const std::vector<std::vector<std::string>> expected = {
      {"location-xx", "paris", "FR-75", "location-db-en", "0.500000", "Paris", "en", "France"},
      {"location-xx", "paris", "US-TX", "location-db-en", "1.000000", "Paris", "en", ""},
      {"location-xx", "巴黎", "FR-75", "location-db-native", "-2.000000", "", "zh", "法国"},
  };
  ASSERT_EQ(rows.size(), 4U);
  for (std::size_t i = 0; i < expected.size(); ++i) {
    std::vector<std::string> row = {rows[i + 1].section, rows[i + 1].term};
    row.insert(row.end(), rows[i + 1].fields.begin(), rows[i + 1].fields.end());
    EXPECT_EQ(row, expected[i]) << i;
  }
  EXPECT_EQ(parseMessage(shard({})), "") << "no aliases: twelve bytes";
}

TEST(LocationShard, WeightsAsTheCLibraryPrintsThem) {
  using Limits = std::numeric_limits<float>;
  const struct {
    float weight;
    const char* text;
  } rows[] = {
      {0.1F, "0.100000"},  // 0.100000001490116…
      {0.0000005F, "0.000000"},  // the nearest single lies below the tie
      {1234567.75F, "1234567.750000"},
      {Limits::max(), "340282346638528859811704183484516925440.000000"},
      {-Limits::infinity(), "-inf"},
      {Limits::quiet_NaN(), "nan"},
      {-Limits::quiet_NaN(), "-nan"},
      {-0.0F, "-0.000000"},
  };
  for (const auto& row : rows) {
    std::vector<IndexRecord> records;
    ASSERT_TRUE(appendLocationShard(document(shard({entry("a", {record("c", 0, row.weight, "", "")})})), &records, nullptr));
    EXPECT_EQ(records[0].fields[2], row.text);
  }
}

TEST(LocationShard, CutOffAnywhereNamesThePlace) {
  const std::string data = shard({entry("ab", {record("cde", 1, 1, "lab", "coun")})});
  // Up to which length each message holds: header, then each length and text in turn.
  const struct {
    std::size_t below;
    const char* message;
  } rows[] = {
      {12, "native location shard magic is invalid"},
      {14, "native location shard alias length is invalid"},
      {16, "native location shard alias is truncated"},
      {18, "native location shard record count is invalid"},
      {20, "native location shard code length is invalid"},
      {23, "native location shard code is truncated"},
      {28, "native location shard fixed record is truncated"},
      {30, "native location shard label length is invalid"},
      {33, "native location shard label is truncated"},
      {35, "native location shard country label length is invalid"},
      {39, "native location shard country label is truncated"},
      {40, ""},
  };
  ASSERT_EQ(data.size(), 39U);
  std::size_t length = 0;
  for (const auto& row : rows) {
    for (; length < row.below; ++length) EXPECT_EQ(parseMessage(data.substr(0, length)), row.message) << length;
  }
}

TEST(LocationShard, Faults) {
  const std::string good = shard({entry("a", {record("c", 0, 1, "l", "n")})});
  const std::string badFlag = shard({entry("a", {record("c", 2, 1, "label", "n")})});
  const std::string record12 = record("c", 0, 1, "", "");
  const struct {
    const char* name;
    std::string data;
    const char* message;
  } rows[] = {
      {"another magic", "LDB2" + good.substr(4), "native location shard magic is invalid"},
      {"version 2", good.substr(0, 4) + little(2, 2) + good.substr(6), "native location shard header is invalid"},
      {"flag 2", badFlag, "native location shard record is invalid"},
      {"flag 2, cut off in the label", badFlag.substr(0, badFlag.size() - 6), "native location shard label is truncated"},
      {"no code", shard({entry("a", {record("", 0, 1, "l", "n")})}), "native location shard record is invalid"},
      {"a record without alias", shard({entry("", {record12})}), "native location shard record is invalid"},
      {"one byte behind", good + "!", "native location shard has trailing bytes"},
      {"more aliases claimed than bytes", "LDB1" + little(1, 2) + "??" + little(0xFFFFFFFF, 4),
       "native location shard alias length is invalid"},
      {"more records claimed than bytes", shard({counted("a") + little(0xFFFF, 2) + record12}),
       "native location shard code length is invalid"},
      {"fewer aliases claimed than there are", "LDB1" + little(1, 2) + "??" + little(0, 4) + entry("a", {}),
       "native location shard has trailing bytes"},
  };
  for (const auto& row : rows) EXPECT_EQ(parseMessage(row.data), row.message) << row.name;
  SemanticError error;
  EXPECT_FALSE(parseLocationShard(document(good).data, nullptr, &error));
  EXPECT_EQ(error.message, "native location shard magic is invalid");
}

}  // namespace
}  // namespace corvenda
