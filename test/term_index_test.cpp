// The index held against the loop over all rows that it stands for.
#include "rows/term_index.h"

#include <random>

#include <gtest/gtest.h>

#include "rows/record_table.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

using Numbers = std::vector<std::uint32_t>;

struct Indexed {
  std::vector<IndexRecord> records;
  Numbers numbers;
  TermIndex index;
};

/// Every `step`th record is indexed, so that row numbers are not positions.
void indexTerms(const std::vector<std::string>& terms, std::uint32_t step, Indexed* made) {
  for (const std::string& term : terms) made->records.push_back({"scene", term, {}});
  for (std::uint32_t i = 0; i < terms.size(); i += step) made->numbers.push_back(i);
  buildTermIndex(made->records, made->numbers, &made->index);
}

template <typename Test>
Numbers naive(const Indexed& in, Test matches) {
  Numbers found;
  for (const std::uint32_t number : in.numbers) {
    if (matches(in.records[number].term)) found.push_back(number);
  }
  return found;
}

using Append = void (*)(const TermIndex&, std::string_view, Numbers*);

/// What the index appends, in order; each row must come once, and what was there before must stay.
Numbers asked(Append append, const Indexed& in, std::string_view text) {
  Numbers found = {7, 7, 1};
  append(in.index, text, &found);
  EXPECT_EQ(Numbers(found.begin(), found.begin() + 3), (Numbers{7, 7, 1}));
  found.erase(found.begin(), found.begin() + 3);
  const std::size_t count = found.size();
  sortUnique(&found);
  EXPECT_EQ(found.size(), count) << "a row twice";
  return found;
}

void compareAll(const Indexed& in, const std::string& text) {
  EXPECT_EQ(asked(appendContainedRows, in, text),
            naive(in, [&](const std::string& term) { return containsTerm(text, term).has_value(); }))
      << text;
  EXPECT_EQ(asked(appendEqualRows, in, text), naive(in, [&](const std::string& term) { return term == text; })) << text;
  EXPECT_EQ(asked(appendWordRunRows, in, text),
            naive(in, [&](const std::string& term) { return matchesWordRun(text, term); }))
      << text;
}

TEST(TermIndex, EveryLengthAroundItsLimits) {
  // Terms of one, two and three bytes go different ways, as do those of 62, 63 and more.
  std::string text;
  for (int i = 0; i < 300; ++i) text += static_cast<char>('a' + (i * i + i / 7) % 26);
  std::vector<std::string> terms = {"", "", "é", "\xFF", "\x80\xFF", std::string("\0", 1), " ", "zzz", "zzzz"};
  for (std::size_t length = 0; length <= text.size(); ++length) {
    if (length > 4 && length < 60) continue;
    if (length > 70 && length < 120) continue;
    if (length > 135 && length < 299) continue;
    terms.push_back(text.substr(0, length));                           // at the start
    terms.push_back(text.substr(text.size() - length));                // at the end
    terms.push_back(text.substr((text.size() - length) / 2, length));  // in between
    terms.push_back(text.substr(0, length) + '!');                     // nowhere
  }
  for (const std::uint32_t step : {1U, 2U, 3U}) {
    Indexed in;
    indexTerms(terms, step, &in);
    for (const std::size_t cut : {0U, 1U, 2U, 3U, 4U, 61U, 62U, 63U, 64U, 65U, 128U, 299U, 300U}) {
      compareAll(in, text.substr(0, cut));
      compareAll(in, text.substr(text.size() - cut));
    }
    for (const char* other : {"é", "\xFF", "\x80\xFF\x80", "a\xC3", " ", "zzzzz"}) compareAll(in, other);
  }
}

TEST(TermIndex, RandomTermsInRandomTexts) {
  // Small alphabets, so that terms are found, overlap, nest, repeat and collide: one of bytes, one of characters, one
  // of words whose joints fall everywhere.
  const std::vector<std::vector<std::string>> alphabets = {
      {"a", "b"},
      {"a", "b", "c", " "},
      {"火", "锅", "店", "a"},
      {"\x80", "\xFF", "\xC3", std::string("\0", 1)},
      {"ab", "ba ", " a", "b", "  "},
  };
  std::mt19937 random(20);  // NOLINT(cert-msc51-cpp): the same texts at every run
  const auto below = [&](std::size_t limit) { return random() % limit; };
  std::size_t hits = 0;
  for (int round = 0; round < 400; ++round) {
    const auto& alphabet = alphabets[static_cast<std::size_t>(round) % alphabets.size()];
    const auto make = [&](std::size_t most) {
      std::string text;
      for (std::size_t i = below(most + 1); i > 0; --i) text += alphabet[below(alphabet.size())];
      return text;
    };
    std::vector<std::string> terms;
    const std::size_t longest = round % 10 == 0 ? 80 : 8;
    for (std::size_t i = below(200); i > 0; --i) terms.push_back(make(longest));
    if (round % 2 == 0) std::erase(terms, "");
    Indexed in;
    indexTerms(terms, 1 + static_cast<std::uint32_t>(below(3)), &in);
    for (int i = 0; i < 10; ++i) {
      std::string text = make(40);
      if (i % 4 == 0 && !terms.empty()) text += terms[below(terms.size())] + make(5);
      compareAll(in, text);
      hits += asked(appendContainedRows, in, text).size() + asked(appendWordRunRows, in, text).size();
      if (HasFailure()) return;
    }
  }
  EXPECT_GT(hits, 10000U) << "the texts hold too few terms for the test to mean something";
}

TEST(TermIndex, WithoutRows) {
  Indexed in;
  indexTerms({}, 1, &in);
  for (const char* text : {"", "a", "火锅 店"}) compareAll(in, text);
}

RecordTable& fill(RecordTable& table) {
  const std::vector<std::string> master = {"food", "", "1", "category", "zh", "", "", "", "", "", ""};
  auto shorter = master;
  shorter.pop_back();
  auto detail = master;
  detail[3] = "detail";
  table.records = {
      {"scene", "锅", shorter},  {"location", "北京", {}},          {"scene", "火", detail},
      {"location-cn", "北", {}}, {"scene", "火锅", master},         {"location-overlay", "火锅", {}},
      {"scene", "火锅", {"x"}},  {"locations", "北京", {}},         {"scene", "火锅店", master},
      {"human", "火锅", {}},     {"celebrity-overlay", "火锅", {}}, {"celebrity", "火锅", {}},
  };
  return table;
}

TEST(RecordTable, FiltersBySectionAndTerm) {
  const struct {
    Section section;
    const char* text;
    bool contains;
    Numbers expected;
  } rows[] = {
      {Section::kScene, "火锅", true, {0, 2, 4, 6}},
      {Section::kScene, "火锅", false, {4, 6}},
      {Section::kScene, "吃火", true, {2}},
      {Section::kScene, "火", true, {2}},
      {Section::kScene, "", true, {}},
      {Section::kHuman, "火锅店", true, {9}},
      {Section::kCelebrity, "火锅", true, {11}},
      {Section::kFacet, "火锅", true, {}},
      {Section::kLocation, "北京火锅", true, {1, 3, 5}},
      {Section::kLocation, "北京", false, {1}},
  };
  RecordTable table;
  fill(table);
  const auto numbersOf = [&](const std::vector<const IndexRecord*>& records) {
    Numbers numbers;
    for (const IndexRecord* record : records)
      numbers.push_back(static_cast<std::uint32_t>(record - table.records.data()));
    return numbers;
  };
  for (const auto& row : rows)
    EXPECT_EQ(numbersOf(filterRecords(table, row.section, row.text, row.contains)), row.expected) << row.text;
  EXPECT_EQ(sectionRowNumbers(table, Section::kLocation), (Numbers{1, 3, 5}));
  EXPECT_EQ(numbersOf(sectionRecords(table, Section::kScene)), (Numbers{0, 2, 4, 6, 8}));
  EXPECT_EQ(sceneMasterRows(table), (std::map<std::string_view, std::uint32_t>{{"food", 4}}))
      << "the first whole category row";
}

TEST(RecordTable, SectionNames) {
  for (const char* name : {"scene", "human", "celebrity", "location", "facet"}) {
    ASSERT_TRUE(sectionFromName(name));
    EXPECT_TRUE(isInSection(name, *sectionFromName(name)));
  }
  for (const char* name : {"", "Scene", "scenes", "location-", "location-cn", "celebrity-overlay"})
    EXPECT_FALSE(sectionFromName(name)) << name;
  EXPECT_TRUE(isInSection("location-", Section::kLocation));
  EXPECT_FALSE(isInSection("location_cn", Section::kLocation));
  EXPECT_FALSE(isInSection("scene-cn", Section::kScene));
}

}  // namespace
}  // namespace corvenda
