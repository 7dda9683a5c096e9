// The batch's scene held against plain loops over all rows, every step written out.
#include "scene/scene_intent_batch.h"

#include <algorithm>
#include <random>
#include <set>

#include <gtest/gtest.h>

namespace corvenda {
namespace {

using Texts = std::vector<std::string>;
using Rows = std::vector<IndexRecord>;

struct Plain {
  Rows sceneRows, humanRows, facetRows;
};

const IndexRecord* masterOf(const Plain& plain, const std::string& key) {
  for (const IndexRecord& m : plain.sceneRows) {
    if (m.fields.size() >= 11 && m.fields[0] == key && m.fields[3] == "category") return &m;
  }
  return nullptr;
}

void makeUp(const std::string& term, Texts fields, const IndexRecord& master, Rows* candidates) {
  fields.insert(fields.end(), master.fields.begin() + 5, master.fields.begin() + 11);
  candidates->push_back({"", term, fields});
}

Rows gatherPlainly(const Plain& plain, const TitleTexts& title) {
  Rows candidates;
  std::set<std::string> seenRows;
  const auto contains = [&](const std::string& term) { return title.compactRaw.find(term) != std::string::npos; };
  for (const IndexRecord& r : plain.sceneRows) {
    const bool english = r.fields.size() >= 5 && r.fields[4] == "en";
    if (r.fields.size() >= 4 && r.fields[3] == "short") {
      if (english && (hasNonAscii(title.raw) || title.compactEnglish != r.term)) continue;
      if (!english && title.compactRaw != r.term) continue;
    }
    const bool part = !hasNonAscii(title.raw) && isPlainToken(r.term) && r.term != title.compactRaw;
    if (english ? !matchesWordRun(title.english, r.term) : part || !contains(r.term)) continue;
    if (seenRows.insert(recordIdentityKey(r)).second) candidates.push_back(r);
  }
  bool clearCandidates = false;
  for (const IndexRecord& h : plain.humanRows) {
    const bool rawHit = !isPlainToken(h.term) && contains(h.term);
    const bool englishHit = isPlainToken(h.term) && matchesWordRun(title.english, h.term);
    if (h.fields.size() < 2) continue;
    if (!rawHit && !englishHit && h.term != title.compactRaw && h.term != title.compactEnglish) continue;
    if (h.fields[0].empty()) { clearCandidates = true; continue; }
    const bool exactHit = (rawHit && h.term == title.compactRaw) || (englishHit && h.term == title.compactEnglish);
    if (const IndexRecord* m = masterOf(plain, h.fields[0])) {
      makeUp(rawHit ? title.compactRaw : title.compactEnglish,
             {h.fields[0], h.fields[1], "0", exactHit ? "short" : "conflict", isPlainToken(h.term) ? "en" : "zh"}, *m, &candidates);
    }
  }
  if (clearCandidates) candidates.clear();
  for (const IndexRecord& g : plain.facetRows) {
    if (g.fields.size() < 4 || g.fields[0] != "identity" || g.fields[3] != "en" || !matchesWordRun(title.english, g.term)) continue;
    const bool food = g.fields[1] == "food_creator";
    if (!food && g.fields[1] != "travel_creator") continue;
    const std::string key = food ? "food" : "travel";
    if (const IndexRecord* m = masterOf(plain, key)) {
      makeUp(g.term, {key, food ? "restaurant dining" : "travel diary", "0", "compound", "en"}, *m, &candidates);
    }
  }
  return candidates;
}

const std::string& textOf(const IndexRecord& row, const TitleTexts& title) {
  return row.fields.size() >= 5 && row.fields[4] == "en" ? title.compactEnglish : title.compactRaw;
}

std::string at(const IndexRecord& row, std::size_t i) { return i < row.fields.size() ? row.fields[i] : ""; }

/// The answer as one text; nothing where different candidates tie in all four orders, whose order is free.
std::optional<std::string> resolvePlainly(const Plain& plain, const TitleTexts& title, bool locationHit) {
  Rows candidates = gatherPlainly(plain, title);
  const auto rank = [](const IndexRecord& row) {
    const std::string kind = at(row, 3);
    return kind == "short" ? 500 : kind == "conflict" ? 400 : kind == "compound" ? 300 : kind == "detail" ? 200 : kind == "category" ? 100 : 0;
  };
  const auto score = [&](const IndexRecord& row) { return sceneRowScore(row, title.compactRaw, title.compactRaw); };
  const auto before = [&](const IndexRecord& a, const IndexRecord& b) {
    if (rank(a) != rank(b)) return rank(a) > rank(b);
    if (a.term.size() != b.term.size()) return a.term.size() > b.term.size();
    return score(a) != score(b) ? score(a) > score(b) : a.term < b.term;
  };
  std::sort(candidates.begin(), candidates.end(), before);
  for (std::size_t i = 1; i < candidates.size(); ++i) {
    if (!before(candidates[i - 1], candidates[i]) && candidates[i - 1].fields != candidates[i].fields) return std::nullopt;
  }
  std::size_t best = candidates.size();
  int bestRank = -1;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    const IndexRecord& row = candidates[i];
    if (row.fields.size() < 5 || rank(row) == 0 || row.term != textOf(row, title)) continue;
    if (rank(row) < bestRank || (rank(row) == bestRank && row.term.size() <= candidates[best].term.size())) continue;
    best = i;
    bestRank = rank(row);
  }
  if (best < candidates.size()) std::swap(candidates[0], candidates[best]);

  const auto endsWith = [&](const Texts& endings) {
    return std::any_of(endings.begin(), endings.end(), [&](const std::string& ending) { return title.raw.ends_with(ending); });
  };
  std::string travelKey, travelDetail;
  if (locationHit && endsWith({"玩", "玩一下", "玩几天", "玩一天", "玩两天", "玩三天"})) {
    travelKey = "travel", travelDetail = "travel diary";
  } else if (locationHit && title.raw.find("旅行") != std::string::npos && endsWith({"随拍"})) {
    travelKey = "travel", travelDetail = "travel diary";
  } else if (locationHit && endsWith({"随拍", "逛", "逛一下", "逛一逛"}) && title.raw.find("街头") == std::string::npos) {
    travelKey = "city", travelDetail = "city walk";
  }
  const auto tell = [](const std::string& alias, const std::string& type, int hitRank, double hitScore, const Texts& texts) {
    std::string told = alias + "|" + type + "|" + std::to_string(hitRank) + "|" + std::to_string(hitScore);
    for (const std::string& text : texts) told += "|" + text;
    return told;
  };
  if (candidates.empty()) {
    if (travelKey.empty()) return "null||";
    const IndexRecord none, *m = masterOf(plain, travelKey);
    const IndexRecord& e = m == nullptr ? none : *m;
    return tell(title.raw, "zh", 0, 52,
                {travelKey, travelDetail, m == nullptr ? travelDetail : at(e, 9), at(e, 10), at(e, 5), at(e, 6), at(e, 7), at(e, 8)});
  }
  const IndexRecord& top = candidates[0];
  std::string sceneKey = at(top, 0), sceneDetail = at(top, 1);
  bestRank = -1;
  double bestScore = -1.0;
  std::size_t bestLength = 0;
  for (const IndexRecord& row : candidates) {
    if (row.fields.size() < 5 || row.fields[0] != sceneKey || rank(row) < 300) continue;
    if (row.term == textOf(row, title) && rank(row) > bestRank) bestRank = rank(row), sceneDetail = row.fields[1];
  }
  for (const IndexRecord& row : candidates) {
    if (bestRank >= 0 || row.fields.size() < 5 || row.fields[0] != sceneKey || row.fields[3] != "detail") continue;
    const auto detail = detailRowScore(row, textOf(row, title));
    if (!detail || *detail < bestScore || (*detail == bestScore && row.term.size() <= bestLength)) continue;
    bestScore = *detail, bestLength = row.term.size(), sceneDetail = row.fields[1];
  }
  if (sceneKey == "travel" && title.compactRaw.find("vlog") != std::string::npos) {
    for (const IndexRecord& row : candidates) {
      if (row.fields.size() < 5 || row.fields[0] != "travel" || row.fields[1] != "travel diary" || rank(row) < 300) continue;
      if (textOf(row, title).find(row.term) != std::string::npos) { sceneDetail = "travel diary"; break; }
    }
  }
  if (!travelKey.empty()) sceneKey = travelKey, sceneDetail = travelDetail;
  const IndexRecord* e = &top;
  if (top.fields.empty() || top.fields[0] != sceneKey) {
    if (const IndexRecord* m = masterOf(plain, sceneKey)) e = m;
  }
  const std::size_t count = e->fields.size();
  return tell(top.term, at(top, 4), rank(top), score(top),
              {sceneKey, sceneDetail, count >= 10 ? e->fields[9] : sceneDetail, count >= 11 ? e->fields[10] : at(*e, 2), at(*e, 5),
               at(*e, 6), at(*e, 7), at(*e, 8)});
}

std::string told(const SceneAnswer& answer) {
  if (!answer.hit) return "null|" + std::string(answer.sceneKey) + "|" + std::string(answer.sceneDetail);
  const SceneEntry& entry = answer.hit->entry;
  EXPECT_EQ(entry.key, answer.sceneKey);
  std::string text = std::string(answer.hit->alias) + "|" + std::string(answer.hit->type) + "|" + std::to_string(answer.hit->rank) +
                     "|" + std::to_string(answer.hit->score);
  for (const std::string_view part : {answer.sceneKey, answer.sceneDetail, entry.defaultDetail, entry.priority, entry.label,
                                      entry.archiveLabel, entry.archiveCode, entry.icon}) {
    text.append("|").append(part);
  }
  return text;
}

struct Generator {
  std::mt19937 random;
  unsigned serial = 0;

  const std::string& pick(const Texts& from) { return from[random() % from.size()]; }
  std::string text(std::size_t most, const char* blanks = "") {
    static const Texts words = {"a", "b", "ab", "东", "玩", "\xE4", "é"};
    std::string made;
    for (std::size_t count = random() % most + 1; count > 0; --count) {
      made += random() % 2 == 0 ? pick({"a", "b"}) : pick(words);
      if (*blanks != 0 && random() % 3 == 0) made += ' ';
    }
    return made;
  }
  std::string key() { return pick({"food", "travel", "city", "x"}); }
  IndexRecord scene() {
    // Each row has a priority of its own, so that ties are rare.
    const std::string priority = random() % 10 == 0 ? pick({"", "1x"}) : std::to_string(++serial * 0.001);
    IndexRecord row{"scene", random() % 30 == 0 ? "" : random() % 15 == 0 ? "vlog" : text(3),
                    {key(), pick({"travel diary", "d1", "d2", ""}), priority,
                     pick({"short", "conflict", "compound", "detail", "category", "category", "other"}), pick({"zh", "en", "fr"}),
                     "l" + priority, "al", "ac", "i", "dd" + priority, "p"}};
    if (random() % 12 == 0) row.fields.resize(random() % 11);
    return row;
  }
  Rows scenes(std::size_t most) {
    Rows rows;
    for (std::size_t count = random() % most; count > 0; --count) {
      rows.push_back(random() % 8 == 0 && !rows.empty() ? IndexRecord(rows[random() % rows.size()]) : scene());
    }
    return rows;
  }
  TitleTexts title() {
    static const Texts endings = {"玩", "玩一下", "随拍", "逛", "旅行随拍", "街头逛", "玩 ", "vlog"};
    const std::string raw = (random() % 20 == 0 ? " " : text(4, " ")) + (random() % 3 == 0 ? pick(endings) : "");
    // Written in capitals, a word is in the compacted reading and no word of the reading.
    std::string english = random() % 3 == 0 ? "" : text(3, " ");
    if (random() % 4 == 0 && english.starts_with("a")) english[0] = 'A';
    return makeTitleTexts(raw, english);
  }
};

TEST(SceneIntentBatch, SameAsThePlainLoops) {
  int decided = 0, free = 0, withHit = 0;
  for (unsigned round = 0; round < 3000; ++round) {
    Generator generator{std::mt19937(round)};
    const auto base = std::make_shared<LoadedPack>();
    const auto patch = std::make_shared<LoadedPack>();
    Plain plain{generator.scenes(20), {}, {}};
    for (std::size_t count = generator.random() % 5; count > 0; --count) {
      plain.humanRows.push_back({"human", generator.text(3), {generator.random() % 6 == 0 ? "" : generator.key(), "h"}});
      if (generator.random() % 9 == 0) plain.humanRows.back().fields.resize(1);
      plain.facetRows.push_back({"facet", generator.text(2), {generator.pick({"identity", "identity", "content"}),
                                 generator.pick({"food_creator", "travel_creator", "y"}), "1", generator.pick({"en", "en", "zh"})}});
    }
    for (const Rows* rows : {&plain.humanRows, &plain.sceneRows, &plain.facetRows}) {
      base->table.records.insert(base->table.records.end(), rows->begin(), rows->end());
    }
    BatchLexicon lexicon{base, generator.scenes(6), round % 2 == 0 ? nullptr : patch, {}, {}};
    patch->table.records = generator.scenes(6);
    indexOverlayRecords(&lexicon);
    plain.sceneRows.insert(plain.sceneRows.end(), lexicon.overlayRecords.begin(), lexicon.overlayRecords.end());
    if (round % 2 != 0) plain.sceneRows.insert(plain.sceneRows.end(), patch->table.records.begin(), patch->table.records.end());
    SceneCandidates candidates;
    for (int i = 0; i < 12; ++i) {
      const TitleTexts title = generator.title();
      const bool locationHit = generator.random() % 2 == 0;
      const SceneAnswer answer = resolveBatchScene(lexicon, title, locationHit, &candidates);
      const auto expected = resolvePlainly(plain, title, locationHit);
      ++(expected ? decided : free);
      withHit += answer.hit.has_value();
      if (expected) { ASSERT_EQ(told(answer), *expected) << "round " << round << ": " << title.raw << " | " << title.english; }
    }
  }
  EXPECT_GT(decided, 20 * free);
  EXPECT_GT(withHit, decided / 2);
}

}  // namespace
}  // namespace corvenda
