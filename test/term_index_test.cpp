// The index compared with the loop over all rows that it replaces.
#include "rows/term_index.h"

#include <array>
#include <map>
#include <numeric>
#include <random>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "support/term_search.h"

namespace corvenda {
namespace {

/// Compares all searches in one text with the loop. Returns the number of rows found.
std::size_t compareAll(const RecordTable& table, const std::string& text) {
  static TermHits* const hits = new TermHits;
  const SearchCheck check = checkSearches(table, text, hits);
  EXPECT_EQ(check.difference, nullptr) << check.difference << " in " << text;
  return check.rows;
}

TEST(TermIndex, EveryLengthAroundItsLimits) {
  // Terms of one to five bytes, of six to 52, and longer ones are found in different ways.
  std::string text;
  for (int i = 0; i < 300; ++i) text += static_cast<char>('a' + (i * i + i / 7) % 26);
  std::vector<std::string> terms = {"é", "\xFF", "\x80\xFF", std::string("\0", 1), " ", "zzz", "zzzz"};
  for (std::size_t length = 1; length <= text.size(); ++length) {
    if (length > 8 && length < 50) continue;
    if (length > 56 && length < 120) continue;
    if (length > 125 && length < 299) continue;
    terms.push_back(text.substr(0, length));                           // at the start
    terms.push_back(text.substr(text.size() - length));                // at the end
    terms.push_back(text.substr((text.size() - length) / 2, length));  // in between
    terms.push_back(text.substr(0, length) + '!');                     // nowhere
  }
  const RecordTable table = tableOfTerms(terms);
  for (const std::size_t cut : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 51U, 52U, 53U, 54U, 121U, 299U, 300U}) {
    compareAll(table, text.substr(0, cut));
    compareAll(table, text.substr(text.size() - cut));
  }
  for (const char* other : {"é", "\xFF", "\x80\xFF\x80", "a\xC3", " ", "zzzzz"}) compareAll(table, other);
}

TEST(TermIndex, SeedsWithWhichHashesOfTermsThatCountUpLieTogether) {
  std::vector<std::string> terms(3000, "0000aaaa");
  for (std::size_t i = 0; i < terms.size(); ++i) {
    terms[i][0] = static_cast<char>(i);
    terms[i][1] = static_cast<char>(i >> 8U);
  }
  const RecordTable table = tableOfTerms(terms);
  std::vector<std::uint32_t> rows(terms.size());
  std::iota(rows.begin(), rows.end(), 0U);
  constexpr std::uint64_t kThird = 0x5555555555555555U;
  const HashSeed seeds[] = {{0, 0},
                            {7, 1},
                            {0, std::uint64_t{1} << 63U},
                            {9, kThird},
                            {1, kThird + (1U << 30U)},
                            {3, 0xFFFFFFFFFFFFFFFFU},
                            {5, std::uint64_t{1} << 32U}};
  for (const HashSeed& seed : seeds) {
    SystemVector<std::uint32_t> ring(terms.size());
    TermIndex index;
    buildTermIndex(table, rows, &ring, seed, &index);
    TermHits hits;
    for (const std::uint32_t row : rows) {
      findContainedTerms(table, index, terms[row], &hits);
      ASSERT_EQ(hits.terms.size(), 1U) << row << " with " << seed.second;
      ASSERT_EQ(hits.terms.front().lastRow, row);
    }
  }
}

TEST(TermIndex, RandomTermsInRandomTexts) {
  // Small alphabets, so that terms are found, overlap, nest, repeat and collide: one of bytes, one of characters, one
  // of words whose joints fall everywhere, one that makes long nested runs.
  const std::vector<std::vector<std::string>> alphabets = {
      {"a", "b"},
      {"a", "b", "c", " "},
      {"火", "锅", "店", "a"},
      {"\x80", "\xFF", "\xC3", std::string("\0", 1)},
      {"ab", "ba ", " a", "b", "  "},
      {"a", "a", "a", "a ", "aa "},
  };
  std::mt19937 random(20);  // NOLINT(cert-msc51-cpp): the same texts at every run
  const auto below = [&](std::size_t limit) { return random() % limit; };
  std::size_t hits = 0;
  for (int round = 0; round < 600; ++round) {
    const auto& alphabet = alphabets[static_cast<std::size_t>(round) % alphabets.size()];
    const auto make = [&](std::size_t most) {
      std::string text;
      for (std::size_t i = below(most + 1); i > 0; --i) text += alphabet[below(alphabet.size())];
      return text;
    };
    std::vector<std::string> terms;
    const std::size_t longest = round % 5 == 0 ? 80 : 8;
    for (std::size_t i = below(200); i > 0; --i) terms.push_back(make(longest));
    const RecordTable table = tableOfTerms(terms);
    for (int i = 0; i < 10; ++i) {
      std::string text = make(longest + 40);
      if (i % 4 == 0 && !terms.empty()) text += terms[below(terms.size())] + make(5);
      hits += compareAll(table, text);
      if (HasFailure()) return;
    }
  }
  EXPECT_GT(hits, 10000U) << "the texts hold too few terms for the test to mean something";
}

TEST(TermIndex, WithoutRows) {
  const RecordTable table = tableOfTerms({});
  for (const char* text : {"", "a", "火锅 店"}) compareAll(table, text);
}

TEST(RecordTable, FiltersBySectionAndTerm) {
  const std::vector<std::string> master = {"food", "", "1", "category", "zh", "", "", "", "", "", ""};
  auto shorter = master;
  shorter.pop_back();
  auto detail = master;
  detail[3] = "detail";
  const RecordTable table = makeTable({
      {"scene", "锅", shorter},
      {"location", "北京", {}},
      {"scene", "火", detail},
      {"location-cn", "北", {}},
      {"scene", "火锅", master},
      {"location-overlay", "火锅", {}},
      {"scene", "火锅", {"x"}},
      {"locations", "北京", {}},
      {"scene", "火锅店", master},
      {"human", "火锅", {}},
      {"celebrity-overlay", "火锅", {}},
      {"celebrity", "火锅", {}},
      {"scene", "hotpot", {"x", "", "", "", "en"}},
      {"human", "hotpot", {}},
  });
  const struct {
    Section section;
    const char* text;
    bool contains;
    RowNumbers expected;
  } rows[] = {
      {Section::kScene, "火锅", true, {0, 2, 4, 6}},
      {Section::kScene, "火锅", false, {4, 6}},
      {Section::kScene, "吃火hotpot", true, {2, 10}},
      {Section::kScene, "火", true, {2}},
      {Section::kScene, "", true, {}},
      {Section::kHuman, "火锅店hotpot", true, {8, 11}},
      {Section::kCelebrity, "火锅", true, {9}},
      {Section::kFacet, "火锅", true, {}},
      {Section::kLocation, "北京火锅", true, {1, 3, 5}},
      {Section::kLocation, "北京", false, {1}},
  };
  for (const auto& row : rows) {
    RowNumbers numbers;
    for (const FoundRow& found : filterRecords(table, row.section, row.text, row.contains))
      numbers.push_back(found.row);
    EXPECT_EQ(numbers, row.expected) << row.text;
  }
  EXPECT_EQ(findMasterRow(table, "food"), std::optional<std::uint32_t>(4)) << "the first whole category row";
  EXPECT_FALSE(findMasterRow(table, "x"));
}

TEST(RecordTable, TellsRepeatedRows) {
  const RecordTable table = makeTable({
      {"scene", "火", {"a", "b"}},
      {"human", "火", {"a", "b"}},
      {"scene", "火", {"a", "b"}},
      {"scene",
       "火",
       {"a\x1F"
        "b"}},
      {"scene", "火", {"a", "c"}},
      {"scene", "火锅", {"a", "b"}},
  });
  nativeIndex(table);
  RowNumbers repeated;
  for (std::uint32_t row = 0; row < table.rows.size(); ++row) {
    if (isRepeated(table, row)) repeated.push_back(row);
  }
  EXPECT_EQ(repeated, (RowNumbers{2, 3})) << "of scene rows, by term and joined fields";
}

/// Rows of all sections, of which each tenth repeats another; of many numbers.
std::vector<TestRow> manyRows() {
  std::mt19937 random(11);  // NOLINT(cert-msc51-cpp): the same rows at every run
  const auto below = [&](std::size_t limit) { return random() % limit; };
  const std::string letters[] = {"a", "b", "火", "锅", "\xFF", "\xC3"};
  std::vector<TestRow> rows;
  for (const char* section : {"scene", "location", "human", "facet", "celebrity"}) {
    for (std::size_t i = 0; i < 8000; ++i) {
      std::string term;
      for (std::size_t length = 1 + below(8); length > 0; --length) term += letters[below(std::size(letters))];
      std::vector<std::string> fields = {"key" + std::to_string(below(300)), std::to_string(below(2)),
                                         std::to_string(below(i % 2 == 0 ? 3 : 4000)), "category",
                                         below(2) == 0 ? "en" : "zh"};
      fields.resize(below(3) == 0 ? 11 : 5);
      if (i % 10 == 9) {
        rows.push_back(rows[rows.size() - 1 - below(9)]);
      } else {
        rows.push_back({section, term, std::move(fields)});
      }
    }
  }
  return rows;
}

RowNumbers filter(const RecordTable& table, Section section, const std::string& text) {
  RowNumbers numbers;
  for (const FoundRow& found : filterRecords(table, section, text, true)) numbers.push_back(found.row);
  return numbers;
}

TEST(RecordTable, ManyRowsAsByLoopsAndFirstUsedByManyThreads) {
  const std::vector<TestRow> rows = manyRows();
  const RecordTable table = makeTable(rows);
  const std::string text =
      "ab火锅\xFF\xC3\x62"
      "a锅火火ab\xC3锅b火aabbab";
  std::array<std::array<RowNumbers, kSectionCount>, 4> found;
  std::vector<std::thread> threads;
  for (std::size_t number = 0; number < found.size(); ++number) {
    threads.emplace_back([&, number] {
      for (std::size_t i = 0; i < kSectionCount; ++i) {
        const std::size_t section = (i + number) % kSectionCount;
        found[number][section] = filter(table, static_cast<Section>(section), text);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  std::array<RowNumbers, kSectionCount> expected;
  std::set<std::string> identities;
  std::map<std::string, std::uint32_t> masters;
  for (std::uint32_t row = 0; row < rows.size(); ++row) {
    const Section section = *sectionFromName(rows[row].section);
    const std::vector<std::string>& fields = rows[row].fields;
    if (text.find(rows[row].term) != std::string::npos) expected[static_cast<std::size_t>(section)].push_back(row);
    if (section != Section::kScene) continue;
    std::string identity = rows[row].term;
    for (const std::string& field : fields) identity += '\x1F' + field;
    EXPECT_EQ(isRepeated(table, row), !identities.insert(identity).second) << row;
    EXPECT_EQ(sceneEvidenceAt(table, row).priority, std::stod(fields[2])) << row;
    if (fields.size() == 11) masters.try_emplace(fields[0], row);
  }
  for (const auto& numbers : found) EXPECT_EQ(numbers, expected);
  for (const RowNumbers& numbers : expected) EXPECT_GT(numbers.size(), 100U);
  EXPECT_LT(identities.size(), 7500U) << "too few repeated rows";
  for (const auto& [key, row] : masters) EXPECT_EQ(findMasterRow(table, key), std::optional(row)) << key;
}

TEST(Sections, Names) {
  for (const char* name : {"scene", "human", "celebrity", "location", "facet"}) {
    ASSERT_TRUE(sectionFromName(name));
    EXPECT_EQ(sectionOfRows(name), sectionFromName(name));
  }
  for (const char* name : {"", "Scene", "scenes", "location-", "location-cn", "celebrity-overlay"})
    EXPECT_FALSE(sectionFromName(name)) << name;
  EXPECT_EQ(sectionOfRows("location-"), std::optional(Section::kLocation));
  EXPECT_FALSE(sectionOfRows("location_cn"));
  EXPECT_FALSE(sectionOfRows("scene-cn"));
}

}  // namespace
}  // namespace corvenda
