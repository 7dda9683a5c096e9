#include "celebrity/celebrity_badges.h"

#include <algorithm>
#include <bitset>
#include <string>
#include <utility>

#include "base/keyed_hash.h"
#include "base/short_text.h"
#include "rows/table_indexes.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

using Words = std::span<const std::string_view>;

// --- Finding people ------------------------------------------------------------------------------------------------

/// No editor has checked a caller's aliases, and a single letter inside a title is hardly a name. A Chinese character
/// has three bytes and passes. Rows of packs have no such limit.
constexpr std::size_t kMinOverlayTermBytes = 2;

std::string keyOf(const CelebrityRow& row) { return std::string(row.term).append("\x1F").append(row.id); }

/// Adds a row unless one with its key was added before. The key counts even if the row is malformed, so an overlay row
/// with too few fields hides the pack's row with the same key.
void addMatch(const RecordTable& table, std::uint32_t number, CelebrityScratch* scratch) {
  auto& [hits, rows, matches, seenKeys, people] = *scratch;
  const CelebrityRow row = celebrityRowAt(table, number);
  // Most titles name one person at the most: keys are made from the second row on.
  if (matches.size() == 1 && seenKeys.empty()) seenKeys.insert(keyOf(matches.front().row));
  if (matches.empty() || seenKeys.insert(keyOf(row)).second) matches.push_back({row, &table, number});
}

/// Appends the rows whose terms stand in the text.
void collectRows(const RecordTable& table, std::string_view text, CelebrityScratch* scratch) {
  const TermIndex& index = celebrityIndex(table);
  findContainedTerms(table, index, text, &scratch->hits);
  for (const TermHit& hit : scratch->hits.terms) {
    forEachRow(index, hit.lastRow, [&](std::uint32_t row) { scratch->rows.push_back(row); });
  }
}

/// False for an English title: its reading folds to the same and holds nobody else.
bool isReadTwice(const TitleTexts& title) { return !isSameText(title.compactRaw, title.compactEnglish); }

void addOverlayMatches(const RecordTable& table, const TitleTexts& title, CelebrityScratch* scratch) {
  std::vector<std::uint32_t>& rows = scratch->rows;
  rows.clear();
  collectRows(table, title.compactRaw, scratch);
  if (isReadTwice(title)) collectRows(table, title.compactEnglish, scratch);
  std::sort(rows.begin(), rows.end());
  rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
  for (const std::uint32_t row : rows) {
    const std::string_view term = termOf(table, row);
    if (term.size() >= kMinOverlayTermBytes || term == title.compactRaw || term == title.compactEnglish) {
      addMatch(table, row, scratch);
    }
  }
}

void addPackMatches(const RecordTable& pack, std::string_view text, CelebrityScratch* scratch) {
  scratch->rows.clear();
  collectRows(pack, text, scratch);
  std::sort(scratch->rows.begin(), scratch->rows.end());
  for (const std::uint32_t row : scratch->rows) addMatch(pack, row, scratch);
}

std::vector<std::string_view> fieldsOf(const CelebrityMatch& match) {
  TextArena arena;  // stays empty: celebrity rows contain all of their texts
  return recordAt(*match.table, match.number, &arena).fields;
}

bool celebrityRowBefore(const CelebrityMatch& a, const CelebrityMatch& b) {
  if (a.row.term.size() != b.row.term.size()) return a.row.term.size() > b.row.term.size();
  return fieldsOf(a) < fieldsOf(b);
}

// --- What the title says of the person -----------------------------------------------------------------------------

constexpr std::string_view kConcertWords[] = {"演唱会", "音乐会"};
constexpr std::string_view kAirportWords[] = {"机场", "接机", "送机", "候机", "出发", "返程"};
constexpr std::string_view kRoadshowWords[] = {"路演"};
constexpr std::string_view kFanWords[] = {"见面会", "粉丝见面会", "签售会", "签名会", "应援", "打call"};
constexpr std::string_view kVarietyWords[] = {"综艺录制", "节目录制", "录综艺", "录节目"};
constexpr std::string_view kBrandWords[] = {"品牌", "代言活动", "品牌站台", "品牌快闪"};
constexpr std::string_view kFashionWords[] = {"时装周", "秀场", "时尚活动", "看秀"};
constexpr std::string_view kCityWords[] = {"巡城活动", "快闪活动", "见面活动", "扫街", "商场活动"};
constexpr std::string_view kPosterWords[] = {"大片", "海报"};

// Searched in the English reading without its blanks, so the five keywords with a blank never match: those activities
// are recognised by their Chinese words alone. Results depend on that; mending it would change badges.
constexpr std::string_view kConcertWordsEn[] = {"concert"};
constexpr std::string_view kAirportWordsEn[] = {"airport", "departure", "arrival", "boarding"};
constexpr std::string_view kRoadshowWordsEn[] = {"roadshow"};
constexpr std::string_view kFanWordsEn[] = {"fan meeting"};
constexpr std::string_view kVarietyWordsEn[] = {"variety recording"};
constexpr std::string_view kBrandWordsEn[] = {"brand event"};
constexpr std::string_view kFashionWordsEn[] = {"fashion week"};
constexpr std::string_view kCityWordsEn[] = {"city event"};

/// The first of the words that the text contains, or null.
const std::string_view* findAny(std::string_view text, Words words) {
  const auto found = std::find_if(words.begin(), words.end(),
                                  [&](std::string_view word) { return containsTerm(text, word).has_value(); });
  return found == words.end() ? nullptr : &*found;
}

// --- Badges --------------------------------------------------------------------------------------------------------

constexpr std::string_view kActorRoadshow = "演员路演";
constexpr std::string_view kFilmEvent = "明星影视活动";
constexpr std::string_view kConcert = "明星演唱会";
constexpr std::string_view kIdolFans = "偶像应援活动";
constexpr std::string_view kFanMeeting = "明星见面会";
constexpr std::string_view kIdolVariety = "明星综艺录制";
constexpr std::string_view kBrandPoster = "明星品牌大片";
constexpr std::string_view kBrandEvent = "明星品牌活动";
constexpr std::string_view kFashionEvent = "明星时尚活动";
constexpr std::string_view kAirportPhoto = "明星机场街拍";
constexpr std::string_view kAirportTrip = "明星机场出行";
constexpr std::string_view kCityEvent = "明星城市活动";
constexpr std::string_view kArtist = "明星艺人";

struct KindLabel {
  std::string_view kind;
  std::string_view label;
  bool candidate;  ///< the label competes as a candidate of its own
};

// clang-format off: one row a line
constexpr KindLabel kKindLabels[] = {
    {"creator", "网红达人", false}, {"influencer", "网红达人", false}, {"model", "明星模特", true},
    {"athlete", "体育明星", false}, {"singer", "明星歌手", true},      {"actor", "明星演员", true},
    {"idol", "明星偶像", true},
};
// clang-format on

const KindLabel* findKindLabel(std::string_view kind) {
  for (const KindLabel& row : kKindLabels) {
    if (row.kind == kind) return &row;
  }
  return nullptr;
}

/// The badge that a person's kind alone gives.
std::string_view defaultLabel(const CelebrityRow& person, std::shared_ptr<const std::string>* memory) {
  if (person.kind == "adult") {
    *memory =
        std::make_shared<const std::string>(std::string(person.region == "JP" ? "日本" : person.region) + "AV明星");
    return **memory;
  }
  const KindLabel* row = findKindLabel(person.kind);
  return row != nullptr ? row->label : kArtist;
}

/// What the steps below need to know of the person and the title.
struct BadgeSubject {
  std::string_view kind;
  std::string_view defaultLabel;
  bool photo;
  ActivitySignals says;
};

std::string_view chooseRawLabel(const BadgeSubject& subject) {
  const auto& [kind, defaultLabel, photo, says] = subject;
  if (kind == "adult") return defaultLabel;
  if (kind == "actor" && says.roadshow) return kActorRoadshow;
  if (says.concert) return kConcert;
  if (says.fan) return kind == "idol" ? kIdolFans : kFanMeeting;
  if (kind == "idol" && says.variety) return kIdolVariety;
  if (says.brand) return photo && says.posterWord ? kBrandPoster : kBrandEvent;
  if (kind == "model" && says.fashion) return kFashionEvent;
  if (says.airport) return photo ? kAirportPhoto : kAirportTrip;
  if (says.city) return kCityEvent;
  return defaultLabel;
}

std::string_view mediumFallbackLabel(std::string_view rawLabel) {
  if (rawLabel == kActorRoadshow) return kFilmEvent;
  if (rawLabel == kIdolFans) return kFanMeeting;
  if (rawLabel == kAirportPhoto) return kAirportTrip;
  if (rawLabel == kBrandPoster) return kBrandEvent;
  return rawLabel;
}

/// Callers see the scores, and the confidence below depends on them: none may change.
int rawLabelScore(const BadgeSubject& subject, std::string_view rawLabel) {
  if (subject.kind == "adult") return 100;
  if (rawLabel == subject.defaultLabel) return 60;
  if (rawLabel == kAirportPhoto) return 95;
  if (rawLabel == kBrandPoster) return 94;
  if (rawLabel == kIdolFans) return 98;
  if (rawLabel == kBrandEvent) return subject.says.posterWord ? 85 : 100;
  return 100;
}

/// The candidates without their reasons. They are neither sorted nor merged: a label may occur twice, and the first
/// need not be the raw label.
void listCandidates(const BadgeSubject& subject, std::string_view rawLabel, std::vector<BadgeCandidate>* candidates) {
  const auto add = [&](std::string_view label, int score) { candidates->push_back({label, score, {}}); };
  if (rawLabel == kAirportPhoto) add(kAirportTrip, 100);
  add(rawLabel, rawLabelScore(subject, rawLabel));
  if (rawLabel == kBrandPoster) add(kBrandEvent, 85);
  if (subject.says.brand && subject.says.posterWord) add(kFashionEvent, 84);
  // Only idols are given this label, so the next candidate is always that of their kind.
  if (rawLabel == kIdolFans) add(kFanMeeting, 83);
  const KindLabel* kindLabel = findKindLabel(subject.kind);
  if (kindLabel != nullptr && kindLabel->candidate) add(kindLabel->label, 60);
  add(kArtist, 54);
}

struct PositionReasons {
  std::string_view rawLabel;
  std::string_view reasons[3];  ///< of the first candidates; empty: the base reason
};

constexpr PositionReasons kPositionReasons[] = {
    {kIdolFans, {"idol-fan", "fan", {}}},
    {kAirportPhoto, {"explicit", "photo-airport", {}}},
    {kBrandPoster, {"photo-brand", "brand", "fashion"}},
    {kBrandEvent, {"brand", "fashion", {}}},
};

constexpr PositionReasons kAdultReasons = {{}, {"adult", {}, {}}};

/// Special reasons belong to positions, whatever label is there.
void giveReasons(const BadgeSubject& subject, std::string_view rawLabel, std::vector<BadgeCandidate>* candidates) {
  const PositionReasons* special = subject.kind == "adult" ? &kAdultReasons : nullptr;
  for (const PositionReasons& row : kPositionReasons) {
    if (special == nullptr && row.rawLabel == rawLabel) special = &row;
  }
  for (std::size_t i = 0; i < candidates->size(); ++i) {
    BadgeCandidate& candidate = (*candidates)[i];
    candidate.reason = candidate.label == subject.defaultLabel ? "default-kind" : "default";
    if (special != nullptr && i < std::size(special->reasons) && !special->reasons[i].empty()) {
      candidate.reason = special->reasons[i];
    }
  }
}

struct ConfidenceRow {
  int top;     ///< the least score of the first candidate
  int margin;  ///< the least lead over the second
  double confidence;
  std::string_view level;
};

constexpr int kAnyMargin = -100;  // scores are 54 to 100, so every lead is larger

// clang-format off: one row a line
constexpr ConfidenceRow kConfidenceRows[] = {
    {100, 8, 0.99, "high"},           {96, 6, 0.96, "high"},        {90, 4, 0.9, "high"}, {78, 2, 0.78, "medium"},
    {64, kAnyMargin, 0.64, "medium"}, {0, kAnyMargin, 0.52, "low"},
};
// clang-format on

void rateConfidence(CelebrityBadge* badge) {
  const int top = badge->candidates[0].score;
  const int margin = top - badge->candidates[1].score;
  for (const ConfidenceRow& row : kConfidenceRows) {
    if (top < row.top || margin < row.margin) continue;
    badge->confidence = row.confidence;
    badge->confidenceLevel = row.level;
    return;
  }
}

}  // namespace

bool isBlankTitle(const TitleTexts& title) { return title.compactRaw.empty() && title.compactEnglish.empty(); }

std::span<const CelebrityRow> findCelebrities(const TitleTexts& title, std::span<const RecordTable* const> overlays,
                                              const RecordTable* pack, CelebrityScratch* scratch) {
  std::vector<CelebrityMatch>& matches = scratch->matches;
  std::vector<CelebrityRow>& people = scratch->people;
  matches.clear();
  people.clear();
  if (!scratch->seenKeys.empty()) scratch->seenKeys.clear();
  for (const RecordTable* table : overlays) addOverlayMatches(*table, title, scratch);
  if (pack != nullptr) {
    addPackMatches(*pack, title.compactRaw, scratch);
    if (isReadTwice(title)) addPackMatches(*pack, title.compactEnglish, scratch);
  }
  const auto isPerson = [](const CelebrityMatch& match) {
    return match.row.fieldCount >= celebrity_field::kCount && !match.row.id.empty();
  };
  if (matches.size() < 2) {
    for (const CelebrityMatch& match : matches) {
      if (isPerson(match)) people.push_back(match.row);
    }
    return people;
  }
  // Stable, so that a result doesn't depend on the library's sort.
  std::stable_sort(matches.begin(), matches.end(), celebrityRowBefore);
  std::unordered_set<std::string_view, KeyedHash> seenIds;
  for (const CelebrityMatch& match : matches) {
    if (isPerson(match) && seenIds.insert(match.row.id).second) people.push_back(match.row);
  }
  return people;
}

constexpr Words kAllWords[] = {
    kConcertWords, kAirportWords,   kRoadshowWords, kFanWords,       kVarietyWords,   kBrandWords,
    kFashionWords, kCityWords,      kPosterWords,   kConcertWordsEn, kAirportWordsEn, kRoadshowWordsEn,
    kFanWordsEn,   kVarietyWordsEn, kBrandWordsEn,  kFashionWordsEn, kCityWordsEn,
};

/// A bit for what each word begins with, three bytes of it; two of a thousand other beginnings share one.
using Beginnings = std::bitset<16384>;

std::size_t beginningOf(std::uint64_t front) {
  return static_cast<std::size_t>((front & 0xFFFFFFU) * 0x9E3779B97F4A7C15U >> 50U);
}

Beginnings beginningsOfWords() {
  Beginnings beginnings;
  for (const Words words : kAllWords) {
    for (const std::string_view word : words) beginnings.set(beginningOf(loadFront(word)));
  }
  return beginnings;
}

/// False if none of the words is in the text. Most titles speak of no activity, and looking for each of some forty
/// words would cost more than all else.
bool mayHoldWord(std::string_view text) {
  static const Beginnings beginnings = beginningsOfWords();
  std::size_t i = 0;
  for (; i + 4 <= text.size(); ++i) {
    if (beginnings[beginningOf(loadHalf(text.data() + i))]) return true;
  }
  return beginnings[beginningOf(loadFront(text.substr(i)))];
}

ActivitySignals readActivitySignals(const TitleTexts& title) {
  if (!mayHoldWord(title.raw) && !mayHoldWord(title.compactEnglish)) return {};
  const auto says = [&](Words words, Words wordsEn) {
    const std::string_view* const word = findAny(title.raw, words);
    return word != nullptr ? word : findAny(title.compactEnglish, wordsEn);
  };
  return {says(kConcertWords, kConcertWordsEn),   says(kAirportWords, kAirportWordsEn),
          says(kRoadshowWords, kRoadshowWordsEn), says(kFanWords, kFanWordsEn),
          says(kVarietyWords, kVarietyWordsEn),   says(kBrandWords, kBrandWordsEn),
          says(kFashionWords, kFashionWordsEn),   says(kCityWords, kCityWordsEn),
          findAny(title.raw, kPosterWords)};
}

void clearBadge(CelebrityBadge* badge) {
  std::vector<BadgeCandidate> candidates = std::move(badge->candidates);
  candidates.clear();
  *badge = {};
  badge->candidates = std::move(candidates);
}

void proposeCelebrityBadge(const CelebrityRow& primary, const TitleTexts& title, bool photo, CelebrityBadge* badge) {
  clearBadge(badge);
  badge->fallbackLabel = defaultLabel(primary, &badge->regionLabel);
  const BadgeSubject subject{primary.kind, badge->fallbackLabel, photo, readActivitySignals(title)};
  badge->rawLabel = chooseRawLabel(subject);
  badge->mediumFallbackLabel = mediumFallbackLabel(badge->rawLabel);
  listCandidates(subject, badge->rawLabel, &badge->candidates);
  giveReasons(subject, badge->rawLabel, &badge->candidates);
  rateConfidence(badge);
}

}  // namespace corvenda
