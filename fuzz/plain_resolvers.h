// The resolvers in their plain form: loops over rows of strings, each row tested against each title. Slow and without
// any cleverness, so that a fast wrong answer has something to differ from. Nothing of the resolvers is used here but
// the records of their answers.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "support/tables.h"

namespace corvenda::plain {

using Rows = std::vector<TestRow>;
using Texts = std::vector<std::string>;

// --- Texts and numbers ---------------------------------------------------------------------------------------------

inline std::string lower(std::string text) {
  for (char& byte : text) byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte;
  return text;
}

inline std::string fold(std::string text) {
  text.erase(std::remove_if(text.begin(), text.end(), [](unsigned char byte) { return byte < 33; }), text.end());
  return lower(text);
}

inline std::uint64_t characters(const std::string& text) {
  return static_cast<std::uint64_t>(
      std::count_if(text.begin(), text.end(), [](unsigned char byte) { return byte < 0x80 || byte >= 0xC0; }));
}

inline bool isAscii(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](unsigned char byte) { return byte < 0x80; });
}

inline bool isToken(const std::string& text) {
  return text.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789") == std::string::npos;
}

inline Texts split(const std::string& text, char separator) {
  Texts parts(1);
  for (const char byte : text) byte == separator ? parts.emplace_back() : parts.back() += byte;
  return parts;
}

inline bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

/// The number at the front of a text, and whether that is the whole text.
inline std::pair<double, bool> numberOf(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  return {value, end == text.c_str() + text.size()};
}

inline std::string field(const TestRow& row, std::size_t i) { return i < row.fields.size() ? row.fields[i] : ""; }

struct Title {
  std::string raw, english, compactRaw, compactEnglish;
  Texts words;
  std::set<std::string> runs;  ///< of whole words, joined
  bool ascii = true;
};

inline Title makeTitle(const std::string& raw, const std::string& english) {
  Title title{raw, english, fold(raw), fold(english), {}, {}, isAscii(raw)};
  for (const std::string& word : split(english, ' ')) {
    if (!word.empty()) title.words.push_back(word);
  }
  for (std::size_t from = 0; from < title.words.size(); ++from) {
    std::string run;
    for (std::size_t to = from; to < title.words.size(); ++to) title.runs.insert(run += title.words[to]);
  }
  return title;
}

/// 10 or 8 less the characters before `position` in `text`; the length of the term, up to a cap.
inline double early(double full, const std::string& text, std::size_t position) {
  const std::size_t before = position == std::string::npos ? 0 : position;
  return std::max(full - static_cast<double>(characters(text.substr(0, std::min(before, text.size())))), 0.0);
}
inline double length(const std::string& term, double factor, double cap) {
  return std::min(static_cast<double>(characters(term)) * factor, cap);
}

// --- Scenes --------------------------------------------------------------------------------------------------------

inline int rankOf(const TestRow& row) {
  const std::map<std::string, int> ranks = {
      {"short", 500}, {"conflict", 400}, {"compound", 300}, {"detail", 200}, {"category", 100}};
  const auto rank = ranks.find(field(row, 3));
  return rank == ranks.end() ? 0 : rank->second;
}

inline bool isEnglish(const TestRow& row) { return field(row, 4) == "en"; }
inline bool isTagged(const TestRow& row) { return row.fields.size() >= 5; }
inline const std::string& textOf(const TestRow& row, const Title& title) {
  return isEnglish(row) ? title.compactEnglish : title.compactRaw;
}

inline double sceneScore(const TestRow& row, const Title& title, const std::string& positionText) {
  const auto [priority, whole] = numberOf(field(row, 2));
  if (!isTagged(row) || !whole) return 0;
  const double terms = length(row.term, field(row, 4) == "zh" ? 1.2 : 0.9, 12);
  return early(10, positionText, title.compactRaw.find(row.term)) + (terms + priority);
}

struct Scene {
  std::string key, detail, alias, type;
  Texts entry;  ///< key, default detail, priority, label, archive label, archive code, icon; empty without a hit
  int rank = 0;
  double score = 0;
};

inline Texts entryOf(const TestRow& row, const std::string& key, const std::string& detail) {
  return {key,
          row.fields.size() >= 10 ? row.fields[9] : detail,
          field(row, row.fields.size() >= 11 ? 10 : 2),
          field(row, 5),
          field(row, 6),
          field(row, 7),
          field(row, 8)};
}

/// Rows that speak for a title, and the identities of those that were taken from tables.
struct Candidates {
  Rows rows;
  std::set<std::string> seen;

  void take(const TestRow& row) {
    std::string identity = row.term;
    for (const std::string& text : row.fields) identity += '\x1F' + text;
    if (seen.insert(identity).second) rows.push_back(row);
  }
};

inline const TestRow* masterOf(const Rows& sceneRows, const std::string& key) {
  for (const TestRow& row : sceneRows) {
    if (row.fields.size() >= 11 && row.fields[0] == key && row.fields[3] == "category") return &row;
  }
  return nullptr;
}

inline TestRow implied(const std::string& term, Texts front, const TestRow& master) {
  front.insert(front.end(), master.fields.begin() + 5, master.fields.begin() + 11);
  return {"", term, front};
}

struct Phrase {
  bool raw, english, any;
};
inline Phrase matchPhrase(const TestRow& human, const Title& title) {
  const bool token = isToken(human.term);
  const bool raw = !token && has(title.compactRaw, human.term);
  const bool english = token && title.runs.count(human.term) > 0;
  const bool equal = human.term == title.compactRaw || human.term == title.compactEnglish;
  return {raw, english, human.fields.size() >= 2 && (raw || english || equal)};
}

/// Best first: sorted, and then the best of those that equal their whole text swapped to the front.
inline void order(Rows* rows, const Title& title, const std::string& positionText) {
  std::stable_sort(rows->begin(), rows->end(), [&](const TestRow& a, const TestRow& b) {
    if (rankOf(a) != rankOf(b)) return rankOf(a) > rankOf(b);
    if (a.term.size() != b.term.size()) return a.term.size() > b.term.size();
    const double scores[] = {sceneScore(a, title, positionText), sceneScore(b, title, positionText)};
    if (std::isnan(scores[0]) != std::isnan(scores[1])) return std::isnan(scores[1]);
    if (!std::isnan(scores[0]) && scores[0] != scores[1]) return scores[0] > scores[1];
    return a.term < b.term;
  });
  TestRow* best = nullptr;
  for (TestRow& row : *rows) {
    if (!isTagged(row) || rankOf(row) == 0 || row.term != textOf(row, title)) continue;
    const auto strength = [](const TestRow& of) { return std::pair(rankOf(of), of.term.size()); };
    if (best == nullptr || strength(row) > strength(*best)) best = &row;
  }
  if (best != nullptr) std::swap(*best, rows->front());
}

inline std::string detailOf(const Rows& rows, const Title& title, const std::string& key, std::string detail) {
  int bestRank = -1;
  double bestScore = -1;
  std::size_t bestLength = 0;
  std::optional<std::string> override;
  for (const TestRow& row : rows) {
    if (!isTagged(row) || row.fields[0] != key) continue;
    const std::string& text = textOf(row, title);
    if (rankOf(row) >= 300 && row.term == text && rankOf(row) > bestRank)
      bestRank = rankOf(row), override = row.fields[1];
    if (row.fields[3] != "detail" || !has(text, row.term)) continue;
    const double score =
        early(8, text, text.find(row.term)) + (length(row.term, row.fields[4] == "zh" ? 0.9 : 0.7, 10) + 6);
    if (score < bestScore || (score == bestScore && row.term.size() <= bestLength)) continue;
    bestScore = score, bestLength = row.term.size(), detail = row.fields[1];
  }
  return override.value_or(detail);
}

inline Scene sceneOf(const Rows& rows, const Title& title, const std::string& positionText) {
  if (rows.empty()) return {};
  const TestRow& top = rows.front();
  const std::string key = field(top, 0);
  const std::string detail = detailOf(rows, title, key, field(top, 1));
  return {key,
          detail,
          top.term,
          field(top, 4),
          entryOf(top, key, detail),
          rankOf(top),
          sceneScore(top, title, positionText)};
}

inline Rows select(const Rows& rows, const std::string& section) {
  Rows selected;
  for (const TestRow& row : rows) {
    if (row.section == section) selected.push_back(row);
  }
  return selected;
}

inline Scene resolveScene(const Rows& rows, const Title& title) {
  Candidates candidates;
  const Rows sceneRows = select(rows, "scene");
  for (const std::string& text : {title.compactRaw, title.compactEnglish}) {
    for (const TestRow& row : sceneRows) {
      if (has(text, row.term)) candidates.take(row);
    }
  }
  for (const TestRow& human : select(rows, "human")) {
    const Phrase phrase = matchPhrase(human, title);
    const TestRow* const master = phrase.any ? masterOf(sceneRows, human.fields[0]) : nullptr;
    if (master == nullptr) continue;
    const std::string lang = human.fields.size() >= 3 && isToken(human.term) ? "en" : "zh";
    candidates.rows.push_back(implied(phrase.raw ? title.compactRaw : title.compactEnglish,
                                      {human.fields[0], human.fields[1], "0", "conflict", lang}, *master));
  }
  const auto isPart = [&](const TestRow& row) { return isEnglish(row) && title.runs.count(row.term) == 0; };
  candidates.rows.erase(std::remove_if(candidates.rows.begin(), candidates.rows.end(), isPart), candidates.rows.end());
  order(&candidates.rows, title, title.raw);
  return sceneOf(candidates.rows, title, title.raw);
}

// --- The batch -----------------------------------------------------------------------------------------------------

inline bool speaksInBatch(const TestRow& row, const Title& title) {
  if (field(row, 3) == "short" && (row.term != textOf(row, title) || (isEnglish(row) && !title.ascii))) return false;
  if (isEnglish(row)) return title.runs.count(row.term) > 0;
  if (title.ascii && isToken(row.term) && row.term != title.compactRaw) return false;
  return has(title.compactRaw, row.term);
}

inline void takeHumans(const Rows& rows, const Rows& sceneRows, const Title& title, Candidates* candidates) {
  bool veto = false;
  for (const TestRow& human : select(rows, "human")) {
    const Phrase phrase = matchPhrase(human, title);
    if (!phrase.any) continue;
    veto = veto || human.fields[0].empty();
    const TestRow* const master = human.fields[0].empty() ? nullptr : masterOf(sceneRows, human.fields[0]);
    if (master == nullptr) continue;
    const bool exact =
        (phrase.raw && human.term == title.compactRaw) || (phrase.english && human.term == title.compactEnglish);
    candidates->rows.push_back(implied(
        phrase.raw ? title.compactRaw : title.compactEnglish,
        {human.fields[0], human.fields[1], "0", exact ? "short" : "conflict", isToken(human.term) ? "en" : "zh"},
        *master));
  }
  if (veto) candidates->rows.clear();
}

inline void takeIdentities(const Rows& rows, const Rows& sceneRows, const Title& title, Candidates* candidates) {
  const std::map<std::string, std::pair<const char*, const char*>> scenes = {
      {"food_creator", {"food", "restaurant dining"}},  {"travel_creator", {"travel", "travel diary"}},
      {"beauty_creator", {"beauty", "outfit styling"}}, {"fashion_creator", {"beauty", "outfit styling"}},
      {"gaming_creator", {"show", "gaming creator"}},   {"streamer", {"show", "creator spotlight"}}};
  for (const TestRow& facet : select(rows, "facet")) {
    if (field(facet, 0) != "identity" || field(facet, 3) != "en" || title.runs.count(facet.term) == 0) continue;
    const auto scene = scenes.find(facet.fields[1]);
    const TestRow* const master = scene == scenes.end() ? nullptr : masterOf(sceneRows, scene->second.first);
    if (master == nullptr) continue;
    candidates->rows.push_back(
        implied(facet.term, {scene->second.first, scene->second.second, "0", "compound", "en"}, *master));
  }
}

inline std::pair<std::string, std::string> travelOf(bool place, const std::string& raw) {
  const auto endsWith = [&](const char* list) {
    const Texts ends = split(list, '|');
    return std::any_of(ends.begin(), ends.end(), [&](const std::string& end) { return raw.ends_with(end); });
  };
  if (!place) return {};
  if (endsWith("玩|玩一下|玩几天|玩一天|玩两天|玩三天")) return {"travel", "travel diary"};
  if (has(raw, "旅行") && endsWith("随拍")) return {"travel", "travel diary"};
  if (endsWith("随拍|逛|逛一下|逛一逛") && !has(raw, "街头")) return {"city", "city walk"};
  return {};
}

inline bool isDiary(const Rows& rows, const Title& title) {
  return std::any_of(rows.begin(), rows.end(), [&](const TestRow& row) {
    return isTagged(row) && row.fields[0] == "travel" && row.fields[1] == "travel diary" && rankOf(row) >= 300 &&
           has(textOf(row, title), row.term);
  });
}

/// `rows` are those of the base pack; `sceneRows` those of all tables in order.
inline Scene resolveSceneInBatch(const Rows& rows, const Rows& sceneRows, const Title& title, bool place) {
  Candidates candidates;
  for (const TestRow& row : sceneRows) {
    if (speaksInBatch(row, title)) candidates.take(row);
  }
  takeHumans(rows, sceneRows, title, &candidates);
  takeIdentities(rows, sceneRows, title, &candidates);
  order(&candidates.rows, title, title.compactRaw);
  const auto [key, detail] = travelOf(place, title.raw);
  Scene scene = sceneOf(candidates.rows, title, title.compactRaw);
  const bool any = !candidates.rows.empty();
  if (!any && key.empty()) return scene;
  if (!any) scene = {key, detail, title.raw, "zh", {key, detail, "", "", "", "", ""}, 0, 52};
  const bool diary = any && scene.key == "travel" && has(title.compactRaw, "vlog") && isDiary(candidates.rows, title);
  if (diary) scene.detail = "travel diary";
  if (!key.empty()) scene.key = key, scene.detail = detail;
  if (any) scene.entry = entryOf(candidates.rows.front(), scene.key, scene.detail);
  const bool own = any && !candidates.rows.front().fields.empty() && candidates.rows.front().fields[0] == scene.key;
  const TestRow* const master = own ? nullptr : masterOf(sceneRows, scene.key);
  if (master != nullptr) scene.entry = entryOf(*master, scene.key, scene.detail);
  return scene;
}

// --- Places --------------------------------------------------------------------------------------------------------

struct Place {
  TestRow row;
  bool english = false, database = false, country = false;
  std::size_t at = 0;  ///< of the row's key in the title
  std::uint64_t first = 9999, labelLength = 0, matchLength = 0;
  double score = 0;
};

/// Where the row's key stands in the title; nothing if it doesn't.
inline std::optional<std::size_t> keyPlace(const Title& title, const std::string& name, bool english) {
  if (name.empty()) return std::nullopt;
  if (english) {
    const std::string wanted = fold(split(name, ' ')[0]);
    for (std::size_t begin = 0; begin < title.english.size(); ++begin) {
      if (title.english[begin] == ' ' || (begin > 0 && title.english[begin - 1] != ' ')) continue;
      if (fold(split(title.english.substr(begin), ' ')[0]) == wanted) return begin;
    }
    return std::nullopt;
  }
  const auto firstOf = [](const std::string& text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    return text.substr(0, lead >= 0xF8 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1);
  };
  const std::string& text = title.compactRaw;
  for (std::size_t at = 0; at < text.size(); at += firstOf(text.substr(at)).size()) {
    if (firstOf(text.substr(at)) == firstOf(name)) return at;
  }
  return std::nullopt;
}

inline bool regionAllows(const Title& title, const std::string& section) {
  const std::map<std::string, std::string> hints = {
      {"location-cn", "china|beijing|shanghai|guangzhou|shenzhen|hong kong|macau|macao|taiwan"},
      {"location-us", "united states|usa|america|new york|los angeles|san francisco|miami|seattle|hawaii|amsterdam"},
      {"location-eu",
       "europe|france|paris|london|england|united kingdom|germany|berlin|italy|rome|spain|greece|"
       "santorini|trip|street|opera"},
      {"location-asia",
       "japan|tokyo|korea|seoul|busan|thailand|bangkok|bali|singapore|malaysia|kuala lumpur|vietnam|"
       "dubai"}};
  const auto region = hints.find(section);
  if (region == hints.end() || (section == "location-cn" && !title.ascii)) return true;
  const Texts words = split(region->second, '|');
  return std::any_of(words.begin(), words.end(), [&](const std::string& word) {
    return has(title.compactRaw, word) || has(lower(title.english), word);
  });
}

/// The row as a hit, if it passes all the tests; `at` and the order of rows decide where it comes.
inline std::optional<Place> placeOf(const TestRow& row, const Rows& base, const Title& title) {
  static const std::map<std::string, double> kBaseScores = {
      {"country", 34}, {"location-famous", 32}, {"location", 24}, {"location-db-native", 18}, {"location-db-en", 14}};
  static const Texts kCommon = split(
      "nice|mobile|holiday|wedding|reading|orange|spring|fall|normal|home|office|coffee|list|backup|project|version|"
      "final",
      '|');
  if (!row.section.starts_with("location") || row.fields.size() < 6) return std::nullopt;
  const std::string& source = row.fields[1];
  Place place{row, isEnglish(row), source.starts_with("location-db-"), source == "country", 0, 9999, 0, 0, 0};
  place.database = place.database && kBaseScores.count(source) > 0;
  const bool stands = place.english ? title.runs.count(row.term) > 0 : has(title.compactRaw, row.term);
  const bool common = std::find(kCommon.begin(), kCommon.end(), row.term) != kCommon.end();
  if (!stands || (place.english && (row.section == "location-base" || common))) return std::nullopt;
  const auto at = keyPlace(title, place.english && place.database ? row.term : row.fields[3], place.english);
  if (!at || !regionAllows(title, row.section)) return std::nullopt;
  const bool curated = std::any_of(base.begin(), base.end(), [&](const TestRow& other) {
    return other.section == "location" && !other.fields.empty() && other.term == row.term &&
           other.fields[0] == row.fields[0];
  });
  if (place.database && curated) return std::nullopt;
  const std::string& text = textOf(row, title);
  place.at = *at;
  if (has(text, row.term)) place.first = characters(text.substr(0, text.find(row.term)));
  place.labelLength = characters(row.fields[3]);
  place.matchLength = place.database ? characters(row.term) : place.labelLength;
  const auto [weight, whole] = numberOf(row.fields[2]);
  const auto score = kBaseScores.find(source);
  // An empty weight is a number, 0.
  place.score = (whole ? 6 * weight : 0) + (score == kBaseScores.end() ? 10 : score->second) +
                length(row.term, source == "location-db-native" ? 2.2 : 1.4, 12) +
                (8 - std::min(static_cast<double>(place.first), 8.0));
  return place;
}

inline void addOnce(const std::string& code, Texts* codes) {
  if (codes->size() < 3 && std::find(codes->begin(), codes->end(), code) == codes->end()) codes->push_back(code);
}

struct PlaceGroup {
  std::string code;
  std::map<std::string, double> labels;
  double total = 0, best = 0;
  std::uint64_t first = 9999, longest = 0;
};

inline Texts codesByScore(const std::vector<Place>& places) {
  std::vector<PlaceGroup> groups;
  for (const Place& place : places) {
    auto group =
        std::find_if(groups.begin(), groups.end(), [&](auto& each) { return each.code == place.row.fields[0]; });
    if (group == groups.end()) group = groups.insert(group, PlaceGroup{place.row.fields[0], {}, 0, 0, 9999, 0});
    const auto label = group->labels.find(place.row.fields[3]);
    if (label == group->labels.end()) {
      group->total += place.score;
      group->labels[place.row.fields[3]] = place.score;
    } else if (label->second < place.score) {
      group->total -= label->second;
      group->total += label->second = place.score;
    }
    group->best = std::max(group->best, place.score);
    group->first = std::min(group->first, place.first);
    group->longest = std::max(group->longest, place.labelLength);
  }
  std::stable_sort(groups.begin(), groups.end(), [](const PlaceGroup& a, const PlaceGroup& b) {
    const auto keyOf = [](const PlaceGroup& of, std::uint64_t first) {
      return std::tuple(of.total, of.labels.size(), of.best, first, of.longest);
    };
    return keyOf(a, b.first) > keyOf(b, a.first);
  });
  Texts codes;
  for (const PlaceGroup& group : groups) {
    const double top = groups.front().total;
    const bool strong = group.total >= std::max(top * 0.82, 18.0) && group.longest >= 4;
    const bool several = group.total >= std::max(top * 0.72, 26.0) && group.labels.size() >= 2;
    if (&group == &groups.front() || strong || several) addOnce(group.code, &codes);
  }
  return codes;
}

inline Texts codesByPlace(const std::vector<Place>& places) {
  std::vector<Place> kept;
  for (const Place& inner : places) {
    const bool nested = std::any_of(places.begin(), places.end(), [&](const Place& outer) {
      return inner.matchLength < outer.matchLength && outer.first <= inner.first &&
             inner.first + inner.matchLength <= outer.first + outer.matchLength;
    });
    if (!nested) kept.push_back(inner);
  }
  std::stable_sort(kept.begin(), kept.end(), [](const Place& a, const Place& b) {
    return std::tuple(b.first, a.labelLength, a.score) > std::tuple(a.first, b.labelLength, b.score);
  });
  Texts codes;
  for (const Place& place : kept) addOnce(place.row.fields[0], &codes);
  return codes;
}

struct Location {
  Texts codes;
  std::string countryLabel, label, shortLabel;
  std::optional<Place> primary;
  bool finite = true;  ///< else the order of the hits is nobody's promise
};

inline Location describe(std::vector<Place> places, Texts codes) {
  Location location;
  location.codes = std::move(codes);
  std::stable_sort(places.begin(), places.end(), [](const Place& a, const Place& b) {
    return std::tuple(a.score, b.first, a.labelLength) > std::tuple(b.score, a.first, b.labelLength);
  });
  std::optional<Place> country;
  for (const Place& place : places) {
    if (place.row.fields[0] != location.codes[0]) continue;
    std::optional<Place>& best = place.country ? country : location.primary;
    if (!best) best = place;
  }
  location.countryLabel = (country ? country : location.primary)->row.fields[5];
  if (location.primary) location.label = location.primary->row.fields[3];
  for (std::size_t i = 0; isAscii(location.label) && i < location.label.size(); ++i) {
    char& byte = location.label[i];
    const bool begins = i == 0 || location.label[i - 1] == ' ';
    if (begins && byte >= 'a' && byte <= 'z') byte = static_cast<char>(byte - 32);
  }
  const bool same = !location.countryLabel.empty() && fold(location.countryLabel) == fold(location.label);
  location.shortLabel = location.countryLabel;
  if (!location.label.empty() && !same) location.shortLabel += " · " + location.label;
  return location;
}

/// `tables` are base pack, caller and overlay pack.
inline Location resolveLocation(const std::vector<Rows>& tables, const Title& title) {
  std::vector<Place> places;
  Location none;
  for (const Rows& rows : tables) {
    for (const TestRow& row : rows) {
      if (const auto place = placeOf(row, tables.front(), title)) places.push_back(*place);
    }
  }
  for (const Place& place : places) none.finite = none.finite && std::abs(place.score) < 1e300;
  if (places.empty() || !none.finite) return none;
  std::stable_sort(places.begin(), places.end(), [](const Place& a, const Place& b) {
    return std::pair(a.english, a.at) < std::pair(b.english, b.at);
  });
  Texts codes;
  for (const Place& place : places) {
    if (!place.database) addOnce(place.row.fields[0], &codes);
  }
  if (codes.empty()) codes = title.ascii ? codesByScore(places) : codesByPlace(places);
  return describe(std::move(places), codes);
}

// --- Look-ups, facets, people --------------------------------------------------------------------------------------

inline bool belongs(const TestRow& row, const std::string& section) {
  return row.section == section || (section == "location" && row.section.starts_with("location-"));
}

/// The rows whose term equals the text or, with `contains`, occurs in it.
inline Rows lookup(const Rows& rows, const std::string& section, const std::string& text, bool contains) {
  Rows found;
  for (const TestRow& row : rows) {
    if (belongs(row, section) && (contains ? has(text, row.term) : text == row.term)) found.push_back(row);
  }
  return found;
}

inline void sortMatches(Rows* rows) {
  std::stable_sort(rows->begin(), rows->end(), [](const TestRow& a, const TestRow& b) {
    return std::tuple(rankOf(a), a.term.size(), field(b, 0)) > std::tuple(rankOf(b), b.term.size(), field(a, 0));
  });
}

inline double lookupScore(const TestRow& row, const std::string& text) {
  static const std::map<std::string, int> kPenalties = {
      {"life", 26}, {"record", 24}, {"daily", 22}, {"event", 18}, {"show", 18}, {"social", 16},
      {"city", 14}, {"travel", 12}, {"trip", 12},  {"sport", 12}, {"mood", 12}, {"pet", 10},
      {"food", 10}, {"walk", 8},    {"chat", 8},   {"talk", 8},   {"meal", 8},  {"shopping", 8}};
  const std::string lang = isTagged(row) ? row.fields[4] : "zh";
  const auto [weight, whole] = numberOf(field(row, 2));
  const auto penalty = kPenalties.find(row.term);
  int less = row.term == std::string(2, '?') ? 26 : 0;
  if (lang == "en") less = penalty == kPenalties.end() ? 0 : penalty->second;
  return early(10, text, text.find(row.term)) +
         (length(row.term, lang == "zh" ? 1.2 : 0.9, 12) + (whole ? weight : 0)) - less;
}

inline double lookupDetailScore(const TestRow& row, const std::string& text) {
  if (field(row, 3) != "detail") return 0;
  const double factor = !isTagged(row) || row.fields[4] == "zh" ? 0.9 : 0.7;
  return early(8, text, text.find(row.term)) + length(row.term, factor, 10) + 6;
}

struct Facet {
  TestRow row;
  std::uint64_t index;
  double score;
};

inline std::vector<Facet> findFacets(const Rows& rows, const Title& title) {
  std::vector<Facet> facets;
  std::set<std::string> seen;
  for (const std::string& text : {title.raw, title.english}) {
    for (const TestRow& row : lookup(rows, "facet", text, true)) {
      if (row.fields.size() < 4) continue;
      const std::string joint = "\\x1f";
      if (!seen.insert(row.term + joint + row.fields[0] + joint + row.fields[1] + joint + row.fields[3]).second)
        continue;
      const auto [weight, whole] = numberOf(row.fields[2]);
      if (!whole) continue;
      const double score = length(row.term, row.fields[3] == "zh" ? 0.6 : 0.4, 8) + weight;
      facets.push_back({row, characters(text.substr(0, text.find(row.term))), score});
    }
  }
  return facets;
}

/// `overlays` are the caller's rows and the overlay pack's.
inline Rows findPeople(const std::vector<Rows>& overlays, const Rows& pack, const Title& title) {
  Rows found;
  std::set<std::string> seen;
  const auto take = [&](const TestRow& row) {
    if (seen.insert(row.term + '\x1F' + field(row, 0)).second) found.push_back(row);
  };
  for (const Rows& rows : overlays) {
    for (const TestRow& row : select(rows, "celebrity")) {
      const bool whole = row.term == title.compactRaw || row.term == title.compactEnglish;
      const bool stands = has(title.compactRaw, row.term) || has(title.compactEnglish, row.term);
      if (stands && (whole || row.term.size() >= 2)) take(row);
    }
  }
  for (const std::string& text : {title.compactRaw, title.compactEnglish}) {
    for (const TestRow& row : lookup(pack, "celebrity", text, true)) take(row);
  }
  std::stable_sort(found.begin(), found.end(), [](const TestRow& a, const TestRow& b) {
    return a.term.size() != b.term.size() ? a.term.size() > b.term.size() : a.fields < b.fields;
  });
  Rows people;
  std::set<std::string> ids;
  for (const TestRow& row : found) {
    if (row.fields.size() >= 6 && !row.fields[0].empty() && ids.insert(row.fields[0]).second) people.push_back(row);
  }
  return people;
}

}  // namespace corvenda::plain
