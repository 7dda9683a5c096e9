// The places of a title, on rows made by hand. Scores are written as the sums that they are: 6 × weight + base of the
// source + length + position.
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cache/location_view.h"
#include "location/location_hits.h"
#include "location/location_resolver.h"
#include "scene/text_matching.h"

namespace corvenda {
namespace {

using Rows = std::vector<IndexRecord>;

IndexRecord row(std::string section, std::string term, std::string code, std::string source, std::string weight,
                std::string label, std::string lang = "zh", std::string country = "land") {
  return {std::move(section), std::move(term),
          {std::move(code), std::move(source), std::move(weight), std::move(label), std::move(lang), std::move(country)}};
}

/// Rows of the section "location": curated by default, or of a source.
IndexRecord native(const std::string& name, std::string code, std::string weight = "1", std::string source = "location") {
  return row("location", name, std::move(code), std::move(source), std::move(weight), name);
}
IndexRecord english(const std::string& term, const std::string& label) {
  return row("location", term, "X", "location", "0", label, "en");
}
/// Rows of a shard.
IndexRecord db(const std::string& term, std::string code, std::string weight = "1", std::string section = "location-db") {
  return row(std::move(section), term, std::move(code), "location-db-native", std::move(weight), term);
}
IndexRecord dbEnglish(const std::string& term, std::string code, std::string weight = "1", std::string label = "Label") {
  return row("location-db", term, std::move(code), "location-db-en", std::move(weight), std::move(label), "en");
}

std::shared_ptr<LocationView> makeView(Rows baseRows, Rows overlayRows = {}) {
  const auto pack = std::make_shared<LoadedPack>();
  pack->table.records = std::move(baseRows);
  auto view = std::make_shared<LocationView>();
  view->base = pack;
  view->overlayRecords = std::move(overlayRows);
  std::vector<std::uint32_t> numbers;
  for (std::size_t i = 0; i < view->overlayRecords.size(); ++i) numbers.push_back(static_cast<std::uint32_t>(i));
  buildTermIndex(view->overlayRecords, numbers, &view->overlayIndex);
  return view;
}

TEST(LocationTables, ScoresOfHits) {
  const struct {
    const char* why;
    IndexRecord record;
    const char *raw, *english;
    std::uint64_t firstIndex, labelChars, matchChars;
    double score;
  } rows[] = {
      {"curated, two characters in front", native("上海", "SH"), "我在上海", "", 2, 2, 2, 6.0 + 24.0 + 2 * 1.4 + 6.0},
      {"country", native("日本", "JP", "0.5", "country"), "日本", "", 0, 2, 2, 3.0 + 34.0 + 2 * 1.4 + 8.0},
      {"famous, character 3", native("故宫", "BJ", "1", "location-famous"), "我们逛故宫", "", 3, 2, 2, 6.0 + 32.0 + 2 * 1.4 + 5.0},
      {"database, native: 2.2 a character", db("东京", "JP-13", "0.5"), "东京", "", 0, 2, 2, 3.0 + 18.0 + 2 * 2.2 + 8.0},
      {"database, English: covers its term", dbEnglish("paris", "FR", "1", "La Ville"), "x", "in paris", 2, 8, 5, 6.0 + 14.0 + 5 * 1.4 + 6.0},
      {"any other source", native("老城", "X", "1", "location-overlay"), "老城", "", 0, 2, 2, 6.0 + 10.0 + 2 * 1.4 + 8.0},
      {"a longer label covers itself", row("location", "京都", "X", "location", "0", "京都府立大学"), "京都", "", 0, 6, 6, 0.0 + 24.0 + 2 * 1.4 + 8.0},
      {"length capped at 12: 9 × 1.4", native("一二三四五六七八九", "X", "0"), "一二三四五六七八九", "", 0, 9, 9, 24.0 + 12.0 + 8.0},
      {"length capped at 12: 6 × 2.2", db("一二三四五六", "X", "0"), "一二三四五六", "", 0, 6, 6, 18.0 + 12.0 + 8.0},
      {"character 7", native("上海", "SH", "0"), "一二三四五六七上海", "", 7, 2, 2, 24.0 + 2 * 1.4 + 1.0},
      {"character 8 and later: nothing", native("上海", "SH", "0"), "一二三四五六七八上海", "", 8, 2, 2, 24.0 + 2 * 1.4 + 0.0},
      {"blanks don't count", native("上海", "SH", "0"), "我 在 上 海", "", 2, 2, 2, 24.0 + 2 * 1.4 + 6.0},
      {"a weight with something behind", native("上海", "SH", "1x"), "上海", "", 0, 2, 2, 0.0 + 24.0 + 2 * 1.4 + 8.0},
      {"no weight", native("上海", "SH", ""), "上海", "", 0, 2, 2, 0.0 + 24.0 + 2 * 1.4 + 8.0},
      {"a weight as the C library reads it", native("上海", "SH", " 0x10"), "上海", "", 0, 2, 2, 96.0 + 24.0 + 2 * 1.4 + 8.0},
      {"a weight below 0", native("上海", "SH", "-10"), "上海", "", 0, 2, 2, -60.0 + 24.0 + 2 * 1.4 + 8.0},
      {"the first place anywhere counts", english("rome", "Rome"), "x", "romeo rome", 0, 4, 4, 24.0 + 4 * 1.4 + 8.0},
      {"words joined", english("newyork", "New York"), "x", "my new york", 2, 8, 8, 24.0 + 7 * 1.4 + 6.0},
      {"matches as written, but is nowhere in the folded text", english("Rome", "Rome"), "x", "Rome trip", 9999, 4, 4, 24.0 + 4 * 1.4 + 0.0},
      {"another language tag is native", row("location", "roma", "X", "location", "0", "roma", "it"), "Roma", "", 0, 4, 4, 24.0 + 4 * 1.4 + 8.0},
      {"a label that begins with a blank is found by a word that folds to nothing", english("rome", " Rome"), "x", "rome \t", 0, 5, 5, 24.0 + 4 * 1.4 + 8.0},
  };
  for (const auto& expected : rows) {
    const auto view = makeView({expected.record});
    const auto hits = findLocationHits(*view, makeTitleTexts(expected.raw, expected.english));
    ASSERT_EQ(hits.size(), 1U) << expected.why;
    EXPECT_EQ(hits[0].firstIndex, expected.firstIndex) << expected.why;
    EXPECT_EQ(hits[0].labelChars, expected.labelChars) << expected.why;
    EXPECT_EQ(hits[0].matchChars, expected.matchChars) << expected.why;
    EXPECT_EQ(hits[0].score, expected.score) << expected.why;
  }
}

TEST(LocationTables, WhatAdmitsARow) {
  const IndexRecord newYork = dbEnglish("newyork", "US-NY", "1", "New York");
  const IndexRecord bigApple = english("bigapple", "New York");
  const IndexRecord sight = row("location", "魔都", "SH", "x", "1", "都市");
  const IndexRecord us = row("location-us", "miami", "US-FL", "x", "1", "Miami", "en");
  const IndexRecord la = row("location-us", "la", "US", "x", "1", "la");
  const IndexRecord cn = row("location-cn", "ningbo", "CN-ZJ", "x", "1", "ningbo");
  const IndexRecord eu = row("location-eu", "里昂", "FR", "x", "1", "里昂");
  const IndexRecord asia = row("location-asia", "pj", "MY", "x", "1", "PJ", "en");
  const struct {
    const char* why;
    IndexRecord record;
    const char *raw, *english;
    bool hit;
  } rows[] = {
      {"the label's first character and the term", sight, "魔都", "", true},
      {"the label alone", sight, "都市", "", false},
      {"the term alone", row("location", "魔都", "SH", "x", "1", "上海"), "魔都", "", false},
      {"no label", row("location", "魔都", "SH", "x", "1", ""), "魔都", "", false},
      {"an English database row needs its alias as one word", newYork, "x", "new york", false},
      {"and has it here", newYork, "x", "newyork", true},
      {"it needs no label", dbEnglish("paris", "FR", "1", ""), "x", "paris", true},
      {"a curated English row needs its label's first word", bigApple, "x", "big apple", false},
      {"which may stand anywhere, in any case", bigApple, "x", "big apple NEW", true},
      {"English is no part of a word", dbEnglish("rome", "IT"), "rome", "romeo", false},
      {"native rows don't read the English", native("rome", "IT"), "x", "rome", false},
      {"English rows don't read the title", dbEnglish("rome", "IT"), "rome", "", false},
      {"a common word", english("nice", "Nice"), "x", "nice", false},
      {"a common word, database", dbEnglish("final", "X", "9", "Final"), "x", "final", false},
      {"a common word in a native row", native("nice", "FR"), "nice", "", true},
      {"an English row of the section location-base", row("location-base", "lima", "PE", "x", "1", "Lima", "en"), "x", "lima", false},
      {"a native one", row("location-base", "利马", "PE", "x", "1", "利马"), "利马", "", true},
      {"five fields", {"location", "上海", {"SH", "location", "1", "上海", "zh"}}, "上海", "", false},
      {"seven fields", {"location", "上海", {"SH", "location", "1", "上海", "zh", "中国", "?"}}, "上海", "", true},
      {"its own name can be the sign of its region", us, "x", "miami", true},
      {"a region without a sign", la, "la la", "land", false},
      {"a sign in the title", la, "la HAWAII", "", true},
      {"a sign across words: the compacted title has no blanks", la, "u sa la", "", true},
      {"a sign of two words in the title", la, "New York la", "", false},
      {"the same in the English reading, lowered", la, "la", "New York", true},
      {"a Chinese title is no sign of Europe", eu, "里昂", "", false},
      {"opera is", eu, "里昂", "opera", true},
      {"street is", eu, "里昂Street", "", true},
      {"China: any byte beyond ASCII", cn, "Ningbo é", "", true},
      {"China: an ASCII title needs a sign", cn, "ningbo", "", false},
      {"China: a sign", cn, "ningbo", "near Shanghai", true},
      {"Asia: a sign of two words", asia, "x", "pj kuala lumpur", true},
      {"amsterdam is no sign of Asia", asia, "x", "pj amsterdam", false},
      {"but of the United States", la, "la", "amsterdam", true},
      {"any other section", row("location-africa", "开罗", "EG", "x", "1", "开罗"), "开罗", "", true},
  };
  for (const auto& expected : rows) {
    const TitleTexts title = makeTitleTexts(expected.raw, expected.english);
    EXPECT_EQ(findLocationHits(*makeView({expected.record}), title).size(), expected.hit ? 1U : 0U) << expected.why;
    EXPECT_EQ(findLocationHits(*makeView({}, {expected.record}), title).size(), expected.hit ? 1U : 0U) << expected.why;
  }
}

TEST(LocationTables, ADatabaseRowGivesWayToACuratedOne) {
  const struct {
    const char* why;
    Rows base, overlay;
    std::size_t hits;
  } rows[] = {
      {"same term and code", {db("上海", "SH"), native("上海", "SH")}, {}, 1},
      {"another code", {db("上海", "SH"), native("上海", "CN-SH")}, {}, 2},
      {"another term, not in the title", {db("上海", "SH"), native("上海市", "SH")}, {}, 1},
      {"a row of another section curates nothing", {db("上海", "SH"), row("location-base", "上海", "SH", "x", "1", "上海")}, {}, 2},
      {"nor does one of the overlay", {db("上海", "SH")}, {native("上海", "SH")}, 2},
      {"a database row of the overlay gives way, too", {native("上海", "SH")}, {db("上海", "SH")}, 1},
      {"one field is enough to curate", {db("上海", "SH"), {"location", "上海", {"SH"}}}, {}, 0},
      {"no field curates nothing", {db("上海", "SH"), {"location", "上海", {}}}, {}, 1},
      {"a database row in the section location suppresses itself", {db("上海", "SH", "1", "location")}, {}, 0},
  };
  for (const auto& expected : rows) {
    const auto view = makeView(expected.base, expected.overlay);
    EXPECT_EQ(findLocationHits(*view, makeTitleTexts("上海", "")).size(), expected.hits) << expected.why;
  }
}

TEST(LocationTables, Codes) {
  // paris, at the start: 6 × weight + 14 + 7 + 8, so 35. london, at character 5: 6 × weight + 14 + 8.4 + 3, so 31.4.
  const auto paris = [](const char* label) { return dbEnglish("paris", "FR", "1", label); };
  const auto london = [](const char* weight, const char* label) { return dbEnglish("london", "GB", weight, label); };
  const struct {
    const char* why;
    Rows rows;
    const char *raw, *english;
    std::vector<std::string> codes;
  } rows[] = {
      {"nothing", {paris("Paris")}, "x", "", {}},
      {"one", {paris("Paris")}, "x", "paris london", {"FR"}},
      {"31.4 is above 0.82 of 35, enough for a label of four characters", {paris("Paris"), london("1", "Lond")}, "x", "paris london", {"FR", "GB"}},
      {"not for one of three", {paris("Paris"), london("1", "Lon")}, "x", "paris london", {"FR"}},
      {"28.4 is below 0.82 of 35", {paris("Paris"), london("0.5", "London")}, "x", "paris london", {"FR"}},
      {"two labels of 43.4 are above 0.72 of three of 35", {paris("P"), paris("Q"), paris("R"), london("3", "L"), london("3", "M")}, "x", "paris london", {"FR", "GB"}},
      {"two of 31.4 are not", {paris("P"), paris("Q"), paris("R"), london("1", "L"), london("1", "M")}, "x", "paris london", {"FR"}},
      {"labels add up: 62.8 goes before 35", {paris("Paris"), london("1", "L"), london("1", "M")}, "x", "paris london", {"GB"}},
      {"aliases of one label count once", {paris("Paris"), london("1", "L"), london("0.9", "L")}, "x", "paris london", {"FR"}},
      {"the better of them: 43.4 against 30.8", {dbEnglish("paris", "FR", "0.3", "Paris"), london("1", "L"), london("3", "L")}, "x", "paris london", {"GB"}},
      {"18 is the least: 7.4 is above 0.82 of 8", {dbEnglish("paris", "FR", "-3.5", "Paris"), london("-3", "London")}, "x", "paris london", {"FR"}},
      {"at most three", {dbEnglish("aa", "A"), dbEnglish("bb", "B"), dbEnglish("cc", "C"), dbEnglish("dd", "D")}, "x", "aa bb cc dd", {"A", "B", "C"}},

      {"Chinese: the longest at the earliest place, whatever the score", {db("南京", "CN-NJ", "99"), db("南京路", "CN-SHR", "0")}, "逛南京路", "", {"CN-SHR"}},
      {"a name that sticks out behind stays", {db("南京", "CN-NJ"), db("京都", "JP-26")}, "南京都", "", {"CN-NJ", "JP-26"}},
      {"names inside, at the end", {db("新南京", "A"), db("南京", "B"), db("京", "C")}, "新南京", "", {"A"}},
      {"equal spans: neither is inside, the score decides", {db("南京", "A", "1"), db("南京", "B", "2")}, "南京", "", {"B", "A"}},
      {"earlier first, not by score", {db("上海", "SH", "9"), db("东京", "JP")}, "东京上海", "", {"JP", "SH"}},
      {"each code once, three at most", {db("一一", "A"), db("二二", "A"), db("三三", "C"), db("四四", "D"), db("五五", "E")}, "一一二二三三四四五五", "", {"A", "C", "D"}},
      {"an English hit has its place in the English reading", {paris("Paris"), db("上海", "SH")}, "我很想去上海", "paris", {"FR", "SH"}},
      {"and covers what lies inside its five characters", {paris("Paris"), db("上海", "SH")}, "我在上海", "paris", {"FR"}},

      {"one curated row silences the database", {db("东京", "JP", "99"), native("上海", "SH", "-99")}, "东京上海", "", {"SH"}},
      {"a caller's row does, too", {db("东京", "JP", "99"), native("上海", "X", "0", "location-overlay")}, "东京上海", "", {"X"}},
      {"in the order of the title, not by score or class", {native("伦敦", "GB", "99", "country"), native("上海", "SH"), native("东京", "JP"), native("巴黎", "FR")}, "巴黎东京上海伦敦", "", {"FR", "JP", "SH"}},
      {"rows behind one character in the order of the rows", {native("上海市", "B"), native("上海", "A")}, "上海市", "", {"B", "A"}},
      {"native rows before English ones", {english("paris", "Paris"), native("上海", "SH")}, "x上海", "paris", {"SH", "X"}},
      {"weights that are no numbers", {native("上海", "SH", "nan"), native("东京", "JP", "nan")}, "东京上海", "", {"JP", "SH"}},
  };
  for (const auto& expected : rows) {
    const auto view = makeView(expected.rows);
    const LocationAnswer answer = resolveLocation(*view, makeTitleTexts(expected.raw, expected.english));
    EXPECT_EQ(std::vector<std::string>(answer.codes.begin(), answer.codes.end()), expected.codes) << expected.why;
    EXPECT_EQ(answer.found, !expected.codes.empty()) << expected.why;
    EXPECT_EQ(answer.meta.has_value(), answer.found) << expected.why;
  }
}

TEST(LocationTables, Descriptions) {
  const auto place = [](const char* term, const char* label, const char* country, const char* weight = "1") {
    return row("location", term, "C", "location", weight, label, "zh", country);
  };
  const IndexRecord japan = row("location", "日本", "C", "country", "0", "日本", "zh", "Japan");
  const struct {
    const char* why;
    Rows rows;
    const char *raw, *countryLabel, *locationLabel, *shortLabel;
    int hit;  ///< number of the primary hit's row; -1 for none
  } rows[] = {
      {"a country alone", {japan}, "日本", "Japan", "", "Japan", -1},
      {"a place", {place("东京", "东京", "日本国")}, "东京", "日本国", "东京", "日本国 · 东京", 0},
      {"the country's own row names the country", {place("东京", "东京", "日本国", "9"), japan}, "日本东京", "Japan", "东京", "Japan · 东京", 0},
      {"the better score", {place("东京", "东京", "a", "1"), place("东", "东区", "b", "9")}, "东京", "b", "东区", "b · 东区", 1},
      {"then the earlier place: 1 + 24 + 7 + 7 = 0 + 24 + 7 + 8", {place("二三四五六", "二", "a", "0.16666666666666666"), place("一二三四五", "一", "b", "0")}, "一二三四五六", "b", "一", "b · 一", 1},
      {"then the longer label", {place("东京", "东京", "a"), place("东京", "东京都", "b")}, "东京", "b", "东京都", "b · 东京都", 1},
      {"ASCII words are capitalised", {place("ny", "new york McCITY", "usa")}, "ny", "usa", "New York McCITY", "usa · New York McCITY", 0},
      {"others are not", {place("café", "café tour", "fr")}, "café", "fr", "café tour", "fr · café tour", 0},
      {"only the blank begins a word", {place("a", "a-b\tc  d1e", "x")}, "a", "x", "A-b\tc  D1e", "x · A-b\tc  D1e", 0},
      {"the same when folded: once", {place("s", "sin gapore", "SINGAPORE")}, "s", "SINGAPORE", "Sin Gapore", "SINGAPORE", 0},
      {"no country", {place("东京", "东京", "")}, "东京", "", "东京", " · 东京", 0},
  };
  for (const auto& expected : rows) {
    const auto view = makeView(expected.rows);
    const LocationAnswer answer = resolveLocation(*view, makeTitleTexts(expected.raw, ""));
    ASSERT_TRUE(answer.meta.has_value()) << expected.why;
    const LocationMeta& meta = *answer.meta;
    EXPECT_EQ(meta.countryCode, "C") << expected.why;
    EXPECT_EQ(meta.countryLabel, expected.countryLabel) << expected.why;
    EXPECT_EQ(meta.locationLabel, expected.locationLabel) << expected.why;
    EXPECT_EQ(meta.shortLabel, expected.shortLabel) << expected.why;
    ASSERT_EQ(meta.primaryHit.has_value(), expected.hit >= 0) << expected.why;
    if (expected.hit < 0) continue;
    const IndexRecord& record = expected.rows[static_cast<std::size_t>(expected.hit)];
    EXPECT_EQ(meta.primaryHit->label, record.fields[3]) << expected.why;
    EXPECT_EQ(meta.primaryHit->source, record.fields[1]) << expected.why;
    EXPECT_EQ(meta.primaryHit->len, countCharacters(record.fields[3])) << expected.why;
  }
  // The weight as far as it converts, unlike in the score.
  const auto view = makeView({place("东京", "东京", "a", "2.5x")});
  const LocationAnswer answer = resolveLocation(*view, makeTitleTexts("去东京", ""));
  EXPECT_EQ(answer.meta->primaryHit->weight, 2.5);
  EXPECT_EQ(answer.meta->primaryHit->index, 1U);
}

TEST(LocationTables, ScoresThatNoRuleOrders) {
  // NaN, infinities and their difference among thousands of hits of one name: the answer is some answer, within bounds.
  const char* const weights[] = {"nan", "inf", "-inf", "-nan", "1", "1e308"};
  Rows rows;
  std::mt19937 random(3);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same in every run
  for (int i = 0; i < 500; ++i) {
    const std::string code = std::to_string(random() % 40);
    rows.push_back(dbEnglish("rome", code, weights[random() % 6], "Rome" + std::to_string(random() % 5)));
    rows.push_back(db("罗马", code, weights[random() % 6]));
  }
  const auto view = makeView(rows);
  for (const char* raw : {"rome", "罗马"}) {
    const LocationAnswer answer = resolveLocation(*view, makeTitleTexts(raw, "rome"));
    ASSERT_TRUE(answer.found);
    EXPECT_LE(answer.codes.size(), 3U);
    EXPECT_EQ(answer.meta->countryCode, answer.codes.front());
  }
}

TEST(LocationTables, FingerprintsTellOverlaysApart) {
  const IndexRecord a = row("s", "东", "c", "", "1", "l");
  const IndexRecord b = {"s", "t", {}};
  EXPECT_EQ(overlayFingerprint({}), "");
  // Lengths in bytes, nothing between the items.
  EXPECT_EQ(overlayFingerprint({&a, &b}), "1:s3:东6:1:c0:1:11:l2:zh4:land1:s1:t0:");
  EXPECT_NE(overlayFingerprint({&a, &b}), overlayFingerprint({&b, &a}));
}

}  // namespace
}  // namespace corvenda
