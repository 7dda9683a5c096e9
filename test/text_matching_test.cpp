// The text tests and scores, a row a line.
#include "scene/text_matching.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "pack/number_text.h"

namespace corvenda {
namespace {

IndexRecord sceneRow(std::string term, std::string priority, std::string kind, std::string lang) {
  return {"scene", std::move(term), {"food", "", std::move(priority), std::move(kind), std::move(lang)}};
}

TEST(TextMatching, CompactTermDropsControlBytesAndLowersAscii) {
  const struct {
    std::string text, expected;
  } rows[] = {
      {"  Ab\tC\n", "abc"}, {" A b ", "ab"}, {"Street Food", "streetfood"}, {"我 们\u3000火锅", "我们\u3000火锅"},
      {"   ", ""},          {"", ""},        {"!\x7F\x80\xFF", "!\x7F\x80\xFF"}, {std::string("a\0b", 3), "ab"},
  };
  for (const auto& row : rows) EXPECT_EQ(compactTerm(row.text), row.expected) << row.text;
}

TEST(TextMatching, Alphabets) {
  const struct {
    std::string text;
    bool token, phrase, nonAscii;
    std::uint64_t characters;
  } rows[] = {
      {"", true, true, false, 0},         {"vlog2", true, true, false, 5},       {"Vlog", false, false, false, 4},
      {"a b", false, true, false, 3},     {"street_food", false, false, false, 11}, {"a火", false, false, true, 2},
      {"\xBF", false, false, true, 0},    {"az09", true, true, false, 4},        {"`{/:", false, false, false, 4},
      {"\xFF\xC0\x80", false, false, true, 2},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(isPlainToken(row.text), row.token) << row.text;
    EXPECT_EQ(isPlainPhrase(row.text), row.phrase) << row.text;
    EXPECT_EQ(hasNonAscii(row.text), row.nonAscii) << row.text;
    EXPECT_EQ(countCharacters(row.text), row.characters) << row.text;
  }
}

TEST(TextMatching, WordRuns) {
  const struct {
    const char* text;
    const char* term;
    bool matches;
  } rows[] = {
      {"street food market", "street", true},
      {"street food market", "streetfood", true},
      {"street food market", "foodmarket", true},
      {"street food market", "streetfoodmarket", true},
      {"street food market", "treet", false},
      {"street food market", "streetmarket", false},
      {"street food market", "streetfoo", false},
      {"street food market", "street food", false},
      {"Street food", "streetfood", false},
      {"  a  b ", "ab", true},
      {"a\tb c", "bc", false},
      {"a\tb c", "a\tbc", true},
      {"   ", "a", false},
      {"", "a", false},
      {"a", "", false},
      {"aa a", "aaa", true},
      {"a aa b", "aab", true},
      {"ab", "abc", false},
  };
  for (const auto& row : rows) EXPECT_EQ(matchesWordRun(row.text, row.term), row.matches) << row.text << "|" << row.term;
}

TEST(TextMatching, IdentityKeySeparatesEachField) {
  EXPECT_EQ(recordIdentityKey({"scene", "t", {"a", "", "b"}}), "t\x1F" "a\x1F\x1F" "b");
  EXPECT_EQ(recordIdentityKey({"human", "t", {}}), recordIdentityKey({"scene", "t", {}}));
}

TEST(TextMatching, RankByKind) {
  const struct {
    const char* kind;
    int rank;
  } rows[] = {{"short", 500}, {"conflict", 400}, {"compound", 300}, {"detail", 200}, {"category", 100}, {"Short", 0}};
  for (const auto& row : rows) EXPECT_EQ(sceneRowRank(sceneRow("t", "0", row.kind, "zh")), row.rank) << row.kind;
  EXPECT_EQ(sceneRowRank({"scene", "t", {"food", "", "0"}}), 0);
}

TEST(TextMatching, SceneRowScore) {
  const std::string twenty(60, '\xE7');
  const struct {
    const char* why;
    IndexRecord row;
    std::string searchText, positionText;
    double expected;
  } rows[] = {
      {"priority + two characters + start", sceneRow("火锅", "3.5", "category", "zh"), "火锅店", "火锅店", 15.9},
      {"no number at the end: nothing", sceneRow("火锅", "3.5x", "category", "zh"), "火锅", "火锅", 0.0},
      {"an empty priority is 0", sceneRow("火锅", "", "category", "zh"), "火锅", "火锅", 12.4},
      {"four fields only", {"scene", "火锅", {"food", "", "1", "category"}}, "火锅", "火锅", 0.0},
      {"not found counts as the start", sceneRow("hotpot", "1", "category", "en"), "火锅", "火锅", 10.0 + (6 * 0.9 + 1)},
      {"length capped at 12", sceneRow(twenty, "0", "category", "zh"), twenty, twenty, 22.0},
      {"character 12", sceneRow("x", "0", "category", "en"), "一二三四五六七八九十一二x", "一二三四五六七八九十一二x", 0.9},
      {"another language tag counts as not zh", sceneRow("火", "0", "category", "ja"), "火", "火", 10.9},
      {"a position in the compact text, counted in the spaced one", sceneRow("火锅", "0", "category", "zh"), "我们火锅",
       "我 们火锅", 7.0 + 2.4},
      {"leading white space and hexadecimal convert", sceneRow("火", " 0x10", "category", "zh"), "火", "火", 10.0 + (1.2 + 16)},
      {"a blank alone does not", sceneRow("火", " ", "category", "zh"), "火", "火", 0.0},
  };
  for (const auto& row : rows) EXPECT_DOUBLE_EQ(sceneRowScore(row.row, row.searchText, row.positionText), row.expected) << row.why;
}

TEST(TextMatching, DetailRowScore) {
  EXPECT_EQ(detailRowScore(sceneRow("火锅", "0", "detail", "zh"), "烤肉"), std::nullopt);
  EXPECT_DOUBLE_EQ(*detailRowScore(sceneRow("火锅", "x", "detail", "zh"), "吃火锅"), 7.0 + (1.8 + 6.0));
  EXPECT_DOUBLE_EQ(*detailRowScore(sceneRow("hotpot", "0", "detail", "en"), "hotpot"), 8.0 + (6 * 0.7 + 6.0));
  const std::string twenty(20, 'a');
  EXPECT_DOUBLE_EQ(*detailRowScore(sceneRow(twenty, "0", "detail", "zh"), "123456789" + twenty), 16.0);
}

TEST(TextMatching, OrderOfCandidates) {
  // Each row goes before the next, by the rule named.
  const struct {
    const char* rule;
    IndexRecord row;
  } rows[] = {
      {"rank", sceneRow("bb", "0", "short", "zh")},       {"rank", sceneRow("bbbb", "9", "category", "zh")},
      {"length", sceneRow("bbb", "9", "category", "zh")}, {"score", sceneRow("bbb", "8", "category", "zh")},
      {"term", sceneRow("aaa", "x", "category", "zh")},   {"term", sceneRow("ccc", "x", "category", "zh")},
      {"NaN last", sceneRow("aaa", "nan", "category", "zh")},
  };
  std::vector<SceneRowOrder> orders;
  for (const auto& row : rows) orders.push_back(sceneRowOrder(row.row, "", ""));
  for (std::size_t i = 0; i < orders.size(); ++i) {
    for (std::size_t j = 0; j < orders.size(); ++j) {
      EXPECT_EQ(sceneRowBefore(orders[i], orders[j]), i < j) << rows[i].rule << " " << i << " " << j;
    }
  }
}

TEST(NumberText, ConvertsLikeTheCLibrary) {
  const struct {
    std::string text;
    bool whole;
    double value;
  } rows[] = {
      {"", true, 0},        {"3.5", true, 3.5},   {"+7", true, 7},   {"-0", true, -0.0},      {"1e400", true, HUGE_VAL},
      {" 1", true, 1},      {"1 ", false, 1},     {"0x1p4", true, 16}, {"inf", true, HUGE_VAL}, {"3,5", false, 3},
      {"abc", false, 0},    {std::string("1\0", 2), false, 1}, {"\t", false, 0},
  };
  for (const auto& row : rows) {
    double value = -1;
    EXPECT_EQ(parseNumber(row.text, &value), row.whole) << row.text;
    EXPECT_EQ(value, row.value) << row.text;
  }
  double nan = 0;
  EXPECT_TRUE(parseNumber("nan(1)", &nan));
  EXPECT_TRUE(std::isnan(nan));
}

TEST(NumberText, PrintsLikePercentF) {
  const double values[] = {0.0,   -0.0,     0.5,      1.0,      2.5e-7,   1.5e-6, 0.0000005, 1234567.1234565, 1e22, -1e300,
                           std::numeric_limits<double>::max(),   std::numeric_limits<double>::denorm_min(),
                           std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
                           std::numeric_limits<double>::quiet_NaN(), -std::numeric_limits<double>::quiet_NaN()};
  for (const double value : values) {
    char expected[400];
    std::snprintf(expected, sizeof expected, "%f", value);
    EXPECT_EQ(formatNumber(value), expected);
  }
}

}  // namespace
}  // namespace corvenda
