// The location resolver held against the plain walk that it stands for: an index of first characters, two lookups at each
// character of the title and one for each word, hits in the order in which the lookups give them, every step written out.
#include "location/location_resolver.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "scene/text_matching.h"

namespace corvenda {
namespace {

using Texts = std::vector<std::string>;

Texts charactersOf(const std::string& text) {
  Texts characters;
  for (std::size_t at = 0; at < text.size(); at += characters.back().size()) {
    const auto lead = static_cast<unsigned char>(text[at]);
    characters.push_back(text.substr(at, lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF8 ? 4 : 1));
  }
  return characters;
}

struct PlainHit {
  IndexRecord row;
  std::uint64_t firstIndex = 9999, labelChars = 0, matchChars = 0;
  double score = 0;
  const std::string& field(std::size_t i) const { return row.fields[i]; }
  bool isDatabase() const { return field(1) == "location-db-native" || field(1) == "location-db-en"; }
  bool isCountry() const { return field(1) == "country"; }
};

struct PlainView {
  std::vector<IndexRecord> records;
  std::map<std::string, std::vector<std::size_t>> index;
  std::map<std::string, std::set<std::string>> codesByTerm;
};

PlainView makePlainView(const std::vector<IndexRecord>& base, const std::vector<IndexRecord>& overlay) {
  PlainView view;
  for (const IndexRecord& row : base) {
    if (row.section != "location" && !row.section.starts_with("location-")) continue;
    view.records.push_back(row);
    if (row.section == "location" && !row.fields.empty()) view.codesByTerm[row.term].insert(row.fields[0]);
  }
  view.records.insert(view.records.end(), overlay.begin(), overlay.end());
  for (std::size_t i = 0; i < view.records.size(); ++i) {
    const IndexRecord& row = view.records[i];
    if (row.fields.size() < 6) continue;
    const bool english = row.fields[4] == "en";
    const bool database = row.fields[1] == "location-db-native" || row.fields[1] == "location-db-en";
    const std::string text = english && database ? row.term : row.fields[3];
    if (text.empty()) continue;
    if (english) {
      view.index["en:" + compactTerm(text.substr(0, text.find(' ')))].push_back(i);
    } else {
      const Texts characters = charactersOf(text);
      view.index["zh:" + characters[0]].push_back(i);
      if (characters.size() > 1) view.index["zh:" + characters[0] + characters[1]].push_back(i);
    }
  }
  return view;
}

/// Only the hints that titles here can hold; all of them are tested through the addon.
bool regionAllowed(const std::string& section, const TitleTexts& title) {
  static const std::map<std::string, Texts> hints = {
      {"location-cn", {"hong kong", "china"}}, {"location-us", {"new york", "usa"}},
      {"location-eu", {"rome", "trip"}},       {"location-asia", {"kuala lumpur", "bali"}}};
  if (!hints.contains(section) || (section == "location-cn" && hasNonAscii(title.raw))) return true;
  std::string lowered = title.english;
  for (char& byte : lowered) byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte;
  for (const std::string& hint : hints.at(section)) {
    if (title.compactRaw.find(hint) != std::string::npos || lowered.find(hint) != std::string::npos) return true;
  }
  return false;
}

std::vector<PlainHit> plainHits(const PlainView& view, const TitleTexts& title) {
  std::vector<std::size_t> candidates;
  std::set<std::size_t> seen;
  const auto lookUp = [&](const std::string& key) {
    const auto found = view.index.find(key);
    if (found == view.index.end()) return;
    for (const std::size_t i : found->second) {
      if (seen.insert(i).second) candidates.push_back(i);
    }
  };
  const Texts characters = charactersOf(title.compactRaw);
  for (std::size_t i = 0; i < characters.size(); ++i) {
    lookUp("zh:" + characters[i]);
    if (i + 1 < characters.size()) lookUp("zh:" + characters[i] + characters[i + 1]);
  }
  std::string word;
  for (const char byte : title.english + " ") {
    if (byte != ' ') { word += byte; continue; }
    if (!word.empty()) lookUp("en:" + compactTerm(word));
    word.clear();
  }
  std::vector<PlainHit> hits;
  for (const std::size_t i : candidates) {
    PlainHit hit{view.records[i]};
    const std::string& term = hit.row.term;
    const bool english = hit.field(4) == "en";
    if (hit.row.section == "location-base" && english) continue;
    const auto codes = view.codesByTerm.find(term);
    if (hit.isDatabase() && codes != view.codesByTerm.end() && codes->second.contains(hit.field(0))) continue;
    if (hit.row.section != "location" && !regionAllowed(hit.row.section, title)) continue;
    if (english && (term == "home" || term == "list")) continue;
    if (english ? !matchesWordRun(title.english, term) : title.compactRaw.find(term) == std::string::npos) continue;
    const std::string& text = english ? title.compactEnglish : title.compactRaw;
    if (text.find(term) != std::string::npos) hit.firstIndex = countCharacters(text.substr(0, text.find(term)));
    char* end = nullptr;
    const double weight = std::strtod(hit.field(2).c_str(), &end);
    const double weightScore = end == hit.field(2).c_str() + hit.field(2).size() ? 6.0 * weight : 0.0;
    static const std::map<std::string, double> baseScores = {{"country", 34}, {"location-famous", 32}, {"location", 24},
                                                            {"location-db-native", 18}, {"location-db-en", 14}};
    const double base = baseScores.contains(hit.field(1)) ? baseScores.at(hit.field(1)) : 10.0;
    const double factor = hit.field(1) == "location-db-native" ? 2.2 : 1.4;
    hit.score = weightScore + base + std::min(12.0, static_cast<double>(countCharacters(term)) * factor) +
                (8.0 - std::min(static_cast<double>(hit.firstIndex), 8.0));
    hit.labelChars = countCharacters(hit.field(3));
    hit.matchChars = hit.isDatabase() ? countCharacters(term) : hit.labelChars;
    hits.push_back(hit);
  }
  return hits;
}

struct PlainGroup {
  std::string code;
  double totalScore = 0, bestScore = 0;
  std::uint64_t firstIndex = 9999, maxLabelChars = 0;
  bool hasCountry = false, hasFamous = false, hasCurated = false, hasDatabase = false;
  std::map<std::string, double> labelScores;
};

bool groupBefore(const PlainGroup& a, const PlainGroup& b) {
  if (a.hasCountry != b.hasCountry) return a.hasCountry;
  if (a.hasFamous != b.hasFamous) return a.hasFamous;
  if (a.hasCurated != b.hasCurated) return a.hasCurated;
  if (a.totalScore != b.totalScore) return a.totalScore > b.totalScore;
  if (a.labelScores.size() != b.labelScores.size()) return a.labelScores.size() > b.labelScores.size();
  if (a.bestScore != b.bestScore) return a.bestScore > b.bestScore;
  if (a.firstIndex != b.firstIndex) return a.firstIndex < b.firstIndex;
  return a.maxLabelChars > b.maxLabelChars;
}

bool placeBefore(const PlainHit& a, const PlainHit& b) {
  if (a.firstIndex != b.firstIndex) return a.firstIndex < b.firstIndex;
  if (a.labelChars != b.labelChars) return a.labelChars > b.labelChars;
  return a.score > b.score;
}

bool hitBefore(const PlainHit& a, const PlainHit& b) {
  if (a.score != b.score) return a.score > b.score;
  if (a.firstIndex != b.firstIndex) return a.firstIndex < b.firstIndex;
  return a.labelChars > b.labelChars;
}

const std::string& codeOf(const PlainGroup& group) { return group.code; }
const std::string& codeOf(const PlainHit& hit) { return hit.row.fields[0]; }

/// Sorts. False if two items of different codes have no order between them: then the answer is free.
template <typename Item, typename Before>
bool sortPlainly(std::vector<Item>* items, Before before) {
  for (const Item& a : *items) {
    for (const Item& b : *items) {
      if (codeOf(a) != codeOf(b) && !before(a, b) && !before(b, a)) return false;
    }
  }
  std::sort(items->begin(), items->end(), before);
  return true;
}

/// Adds the code if there is room and it isn't there.
void add(const std::string& code, Texts* codes) {
  if (codes->size() < 3 && std::find(codes->begin(), codes->end(), code) == codes->end()) codes->push_back(code);
}

/// The codes, step by step. False if the answer is free.
bool selectPlainly(const std::vector<PlainHit>& hits, const std::string& raw, Texts* selected) {
  std::map<std::string, PlainGroup> byCode;
  bool anyNan = false;
  for (const PlainHit& hit : hits) {
    PlainGroup& group = byCode[codeOf(hit)];
    group.code = codeOf(hit);
    const auto [entry, added] = group.labelScores.emplace(hit.field(3), hit.score);
    if (!added && entry->second < hit.score) group.totalScore -= entry->second;
    if (added || entry->second < hit.score) group.totalScore += entry->second = hit.score;
    group.bestScore = std::max(group.bestScore, hit.score);
    group.firstIndex = std::min(group.firstIndex, hit.firstIndex);
    group.maxLabelChars = std::max(group.maxLabelChars, hit.labelChars);
    group.hasCountry |= hit.isCountry();
    group.hasFamous |= hit.field(1) == "location-famous";
    group.hasCurated |= hit.field(1) == "location";
    group.hasDatabase |= hit.isDatabase();
    anyNan |= hit.score != hit.score;
  }
  std::vector<PlainGroup> groups;
  for (const auto& entry : byCode) groups.push_back(entry.second);
  bool settled = !anyNan && sortPlainly(&groups, groupBefore);
  const auto any = [&](bool PlainGroup::*flag) { return std::any_of(groups.begin(), groups.end(), [&](auto& g) { return g.*flag; }); };
  const bool anyCountry = any(&PlainGroup::hasCountry);
  if (!anyCountry && any(&PlainGroup::hasFamous)) {
    for (const PlainGroup& group : groups) if (group.hasFamous) add(group.code, selected);
    for (const PlainGroup& group : groups) {
      const bool sight = group.labelScores.contains("Trip") || group.labelScores.contains("Street") || group.labelScores.contains("Opéra");
      if (group.hasDatabase && sight) add(group.code, selected);
    }
  } else if (groups.size() == 1) {
    add(groups[0].code, selected);
  }
  const bool nothingYet = selected->empty();
  for (std::size_t i = 0; nothingYet && i < groups.size(); ++i) {
    const PlainGroup& group = groups[i];
    const double top = groups[0].totalScore;
    const double total = group.totalScore;
    if (i == 0 || group.hasCountry || (group.hasCurated && total >= std::max(top * 0.65, 22.0)) ||
        (group.hasDatabase && anyCountry && total >= std::max(top * 0.55, 18.0)) ||
        (!anyCountry && total >= std::max(top * 0.82, 18.0) && group.maxLabelChars >= 4) ||
        (total >= std::max(top * 0.72, 26.0) && group.labelScores.size() >= 2)) {
      add(group.code, selected);
    }
  }
  if (hasNonAscii(raw)) {
    std::vector<PlainHit> kept;
    for (const PlainHit& h : hits) {
      const bool inside = std::any_of(hits.begin(), hits.end(), [&](const PlainHit& o) {
        return h.matchChars < o.matchChars && o.firstIndex <= h.firstIndex &&
               h.firstIndex + h.matchChars <= o.firstIndex + o.matchChars;
      });
      if (!inside) kept.push_back(h);
    }
    settled = !anyNan && sortPlainly(&kept, placeBefore);
    Texts codes;
    for (const PlainHit& hit : kept) add(codeOf(hit), &codes);
    if (!codes.empty()) *selected = codes;
  }
  Texts curated;
  for (const PlainHit& hit : hits) if (!hit.isDatabase()) add(codeOf(hit), &curated);
  if (!curated.empty()) *selected = curated;
  return settled || !curated.empty();
}

/// The hits that may be shown as the best of a code: no other one is before them.
std::vector<PlainHit> bestHits(const std::vector<PlainHit>& hits, const std::string& code, bool country) {
  std::vector<PlainHit> of, best;
  for (const PlainHit& hit : hits) if (codeOf(hit) == code && hit.isCountry() == country) of.push_back(hit);
  for (const PlainHit& hit : of) {
    if (std::none_of(of.begin(), of.end(), [&](const PlainHit& other) { return hitBefore(other, hit); })) best.push_back(hit);
  }
  return best;
}

std::string describe(const std::string& code, const std::string& country, const PlainHit* place) {
  std::string label = place == nullptr ? "" : place->field(3);
  for (std::size_t i = 0; i < label.size() && !hasNonAscii(label); ++i) {
    if ((i == 0 || label[i - 1] == ' ') && label[i] >= 'a' && label[i] <= 'z') label[i] = static_cast<char>(label[i] - 32);
  }
  const bool same = !country.empty() && compactTerm(label) == compactTerm(country);
  std::string text = code + "|" + country + "|" + label + "|" + (label.empty() || same ? country : country + " · " + label);
  if (place == nullptr) return text + "|null";
  return text + "|" + place->field(3) + "|" + place->field(1) + "|" + std::to_string(place->firstIndex) + "|" +
         std::to_string(place->labelChars) + "|" + std::to_string(std::strtod(place->field(2).c_str(), nullptr));
}

/// Every description that the rules allow; more than one only if hits tie.
std::set<std::string> plainDescriptions(const std::vector<PlainHit>& hits, const std::string& code) {
  const std::vector<PlainHit> places = bestHits(hits, code, false);
  std::vector<PlainHit> countries = bestHits(hits, code, true);
  if (countries.empty()) countries = places;
  std::set<std::string> told;
  for (const PlainHit& country : countries) {
    if (places.empty()) told.insert(describe(code, country.field(5), nullptr));
    for (const PlainHit& place : places) told.insert(describe(code, country.field(5), &place));
  }
  return told;
}

std::string described(const LocationMeta& meta) {
  std::string text = std::string(meta.countryCode) + "|" + std::string(meta.countryLabel) + "|" + meta.locationLabel + "|" + meta.shortLabel;
  if (!meta.primaryHit) return text + "|null";
  const PrimaryLocationHit& hit = *meta.primaryHit;
  return text + "|" + std::string(hit.label) + "|" + std::string(hit.source) + "|" + std::to_string(hit.index) + "|" +
         std::to_string(hit.len) + "|" + std::to_string(hit.weight);
}

struct Generator {
  std::mt19937 random;
  bool onlyDatabase = false, onlyAscii = false;

  const std::string& pick(const Texts& from) { return from[random() % from.size()]; }
  /// The alphabet holds characters of one to three bytes, leads without followers, and followers without a lead.
  std::string text(std::size_t most, const char* more = "") {
    static const Texts wide = {"a", "b", "c", "东", "京", "é", "\xE4", "\xC3", "\x80", "\xF0", "\xFF"};
    static const Texts plain = {"a", "b", "c"};
    Texts alphabet = onlyAscii ? plain : wide;
    for (; *more != 0; ++more) alphabet.emplace_back(1, *more);
    std::string made;
    for (std::size_t count = random() % most + 1; count > 0; --count) made += pick(alphabet);
    return made;
  }
  IndexRecord row() {
    static const Texts sections = {"location", "location", "location", "location-base", "location-cn", "location-us",
                                   "location-eu", "location-asia", "location-overlay", "location-x", "elsewhere"};
    static const Texts sources = {"location-db-native", "location-db-en", "country", "location-famous", "location", "x"};
    static const Texts weights = {"0.5", "1", "-1", "0.25", "2x", "", " 0x1p1", "3.75", "-1.75", "0.0625", "1.5", "nan"};
    static const Texts labels = {"", " a", "\ta b", "Trip", "a b", "aabb cc", "home"};
    static const Texts terms = {"home", "list", "A", "abab"};
    const std::string term = random() % 12 == 0 ? pick(terms) : text(2);
    const std::string label = random() % 3 == 0 ? pick(labels) : random() % 2 == 0 ? term + text(2) : text(3, " A");
    const std::string weight = random() % 2 == 0 ? pick(weights) : std::to_string(static_cast<double>(random() % 4000) / 977);
    static const Texts codes = {"A", "B", "C", "D", "E", "F"};
    static const Texts countries = {"a", "A  B", "", "东国"};
    IndexRecord made{onlyDatabase && random() % 2 == 0 ? "location-x" : pick(sections), term,
                     {pick(codes), onlyDatabase ? sources[random() % 2] : pick(sources), weight, label,
                      random() % 2 == 0 ? "en" : random() % 8 == 0 ? "" : "zh", pick(countries)}};
    if (random() % 20 == 0) made.fields.resize(random() % 6);
    return made;
  }
  TitleTexts title() {
    static const Texts hints = {" Hong Kong", " china", " NEW  YORK", " new york", "usa", " Rome", "trip", " bali", "kualalumpur", "home", " list "};
    std::string raw = text(9, " A\t");
    std::string english = random() % 4 == 0 ? "" : text(9, "  \tA");
    for (std::string* to : {&raw, &english}) if (random() % 3 == 0) *to += pick(hints);
    return makeTitleTexts(raw, english);
  }
};

TEST(LocationResolver, SameAsThePlainWalk) {
  int found = 0, byPlace = 0, byScore = 0, severalByScore = 0;
  for (unsigned round = 0; round < 4000; ++round) {
    Generator generator{std::mt19937(round), round % 2 == 0, round % 4 < 2};
    const auto loaded = std::make_shared<LoadedPack>();
    std::vector<IndexRecord> overlay;
    for (std::size_t count = generator.random() % 40; count > 0; --count) loaded->table.records.push_back(generator.row());
    for (std::size_t count = generator.random() % 8; count > 0; --count) overlay.push_back(generator.row());
    std::vector<const IndexRecord*> overlayRows;
    for (const IndexRecord& row : overlay) overlayRows.push_back(&row);
    SemanticCacheSlot& slot = semanticCache().baseSlot;
    slot = {true, {}, 0, 0, loaded, nullptr};
    ASSERT_TRUE(ensureLocationView("", overlayRows, nullptr));
    const std::shared_ptr<const LocationView> view = slot.view;
    const PlainView plainView = makePlainView(loaded->table.records, overlay);
    for (int i = 0; i < 12; ++i) {
      const TitleTexts title = generator.title();
      const std::vector<PlainHit> hits = plainHits(plainView, title);
      const LocationAnswer answer = resolveLocation(*view, title);
      const std::string where = "round " + std::to_string(round) + ": " + title.raw + " | " + title.english;
      ASSERT_EQ(answer.found, !hits.empty()) << where;
      ASSERT_EQ(answer.meta.has_value(), answer.found) << where;
      if (!answer.found) { ASSERT_TRUE(answer.codes.empty()); continue; }
      Texts selected;
      const Texts codes(answer.codes.begin(), answer.codes.end());
      const bool settled = selectPlainly(hits, title.raw, &selected);
      if (settled) { ASSERT_EQ(codes, selected) << where; }
      ASSERT_TRUE(plainDescriptions(hits, codes[0]).contains(described(*answer.meta))) << where << described(*answer.meta);
      const bool onlyDatabase = std::all_of(hits.begin(), hits.end(), [](const PlainHit& hit) { return hit.isDatabase(); });
      ++found;
      if (settled && onlyDatabase && hits.size() > 1) ++(hasNonAscii(title.raw) ? byPlace : byScore);
      if (settled && onlyDatabase && !hasNonAscii(title.raw)) severalByScore += codes.size() > 1;
    }
  }
  semanticCache().baseSlot = {};
  // The generator is worth something only if each way of choosing is taken often.
  EXPECT_GT(found, 5000);
  EXPECT_GT(byPlace, 500);
  EXPECT_GT(byScore, 500);
  EXPECT_GT(severalByScore, 200);
}

TEST(LocationView, IsMadeAnewForAnotherKey) {
  SemanticError error;
  semanticCache().baseSlot = {};
  EXPECT_FALSE(ensureLocationView("", {}, &error));
  EXPECT_EQ(error.message, "semantic rule-pack cache is unavailable");
  semanticCache().baseSlot = {true, {}, 0, 0, std::make_shared<LoadedPack>(), nullptr};
  const IndexRecord a{"location-overlay", "a", {}};
  const IndexRecord b{"location-overlay", "b", {}};
  SemanticCacheSlot& overlaySlot = semanticCache().overlaySlot;
  std::shared_ptr<const LocationView> last;
  const auto isMadeAnew = [&](const std::string& path, const std::vector<const IndexRecord*>& rows) {
    EXPECT_TRUE(ensureLocationView(path, rows, nullptr));
    const std::shared_ptr<const LocationView> before = last;
    last = semanticCache().baseSlot.view;
    return last != before;
  };
  EXPECT_TRUE(isMadeAnew("", {}));
  EXPECT_FALSE(isMadeAnew("", {}));
  EXPECT_TRUE(isMadeAnew("", {&a, &b}));
  EXPECT_TRUE(isMadeAnew("", {&b, &a}));
  EXPECT_TRUE(isMadeAnew("p", {&b, &a}));
  EXPECT_TRUE(isMadeAnew("./p", {&b, &a})) << "the path is the caller's text";
  overlaySlot.fileSize = 1;
  EXPECT_TRUE(isMadeAnew("./p", {&b, &a}));
  overlaySlot.lastWriteTime = 1;
  EXPECT_TRUE(isMadeAnew("./p", {&b, &a}));
  EXPECT_FALSE(isMadeAnew("./p", {&b, &a}));
  EXPECT_TRUE(isMadeAnew("", {&b, &a}));
  overlaySlot.fileSize = 2;
  EXPECT_FALSE(isMadeAnew("", {&b, &a})) << "without a path the overlay's slot doesn't count";
  overlaySlot = {};
  semanticCache().baseSlot = {};
}

}  // namespace
}  // namespace corvenda
