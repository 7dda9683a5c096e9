#include "location/location_resolver.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <tuple>

#include "location/location_trace.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

/// Results report at most three places of a title.
constexpr std::size_t kMaxCodes = 3;

/// The hits of one code.
struct LocationGroup {
  std::string_view code;
  double totalScore = 0;  ///< sum of the values of `labelScores`
  double bestScore = 0;
  std::uint64_t firstIndex = kNotFoundIndex;
  std::uint64_t maxLabelChars = 0;
  std::map<std::string_view, double> labelScores;  ///< label to the highest score of its hits
};

/// A sort that stays within bounds and ends whatever the comparator says. The rules below compare scores, which can be
/// NaN because weights in a pack can. No such rule is a strict weak ordering, and std::sort may then leave its range.
template <typename Item, typename Before>
void mergeSort(std::vector<Item>* items, const Before& before) {
  std::vector<Item> merged;
  for (std::size_t width = 1; width < items->size(); width *= 2) {
    merged.clear();
    for (std::size_t begin = 0; begin < items->size(); begin += 2 * width) {
      const std::size_t middle = std::min(begin + width, items->size());
      const std::size_t end = std::min(begin + 2 * width, items->size());
      std::size_t left = begin;
      std::size_t right = middle;
      while (left < middle || right < end) {
        const bool takeRight = left == middle || (right < end && before((*items)[right], (*items)[left]));
        merged.push_back(std::move((*items)[takeRight ? right++ : left++]));
      }
    }
    items->swap(merged);
  }
}

void addToGroup(const LocationHit& hit, LocationGroup* group) {
  const auto [entry, added] = group->labelScores.emplace(hit.row.label, hit.score);
  if (added) {
    group->totalScore += hit.score;
  } else if (entry->second < hit.score) {
    group->totalScore -= entry->second;
    entry->second = hit.score;
    group->totalScore += hit.score;
  }
  group->bestScore = std::max(group->bestScore, hit.score);
  group->firstIndex = std::min(group->firstIndex, hit.firstIndex);
  group->maxLabelChars = std::max(group->maxLabelChars, hit.labelChars);
}

bool groupBefore(const LocationGroup& a, const LocationGroup& b) {
  if (a.totalScore != b.totalScore) return a.totalScore > b.totalScore;
  if (a.labelScores.size() != b.labelScores.size()) return a.labelScores.size() > b.labelScores.size();
  if (a.bestScore != b.bestScore) return a.bestScore > b.bestScore;
  if (a.firstIndex != b.firstIndex) return a.firstIndex < b.firstIndex;
  return a.maxLabelChars > b.maxLabelChars;
}

std::vector<LocationGroup> groupHits(const std::vector<LocationHit>& hits) {
  std::vector<LocationGroup> groups;
  std::map<std::string_view, std::size_t> positions;
  for (const LocationHit& hit : hits) {
    const auto [position, added] = positions.emplace(hit.row.code, groups.size());
    if (added) groups.emplace_back().code = hit.row.code;
    addToGroup(hit, &groups[position->second]);
  }
  mergeSort(&groups, groupBefore);
  return groups;
}

using Codes = std::vector<std::string_view>;

/// Adds the code unless it is already there or three are.
void addCode(std::string_view code, Codes* codes) {
  const bool known = std::find(codes->begin(), codes->end(), code) != codes->end();
  if (!known && codes->size() < kMaxCodes) codes->push_back(code);
}

// What share of the best total another group needs, and how many points at least, to be reported beside it. With two
// labels or more a smaller share will do, but more points; with one, its label must have four characters. Smaller
// values report doubtful places, larger ones lose real ones. They are part of the contract.
constexpr double kSingleShare = 0.82;
constexpr double kSingleLeast = 18.0;
constexpr std::uint64_t kSingleLabelChars = 4;
constexpr double kSeveralShare = 0.72;
constexpr double kSeveralLeast = 26.0;

/// Whether a group is strong enough to be reported beside the first one.
bool isStrongGroup(const LocationGroup& group, double top) {
  const double total = group.totalScore;
  if (total >= std::max(top * kSingleShare, kSingleLeast) && group.maxLabelChars >= kSingleLabelChars) return true;
  return total >= std::max(top * kSeveralShare, kSeveralLeast) && group.labelScores.size() >= 2;
}

/// Groups consist of database hits only: if there is a single hit of a country, a famous place or a curated one, the
/// codes are taken from such hits (see selectCodes). So no rule here is about those classes.
void codesFromGroups(const std::vector<LocationGroup>& groups, LocationTrace* trace, Codes* codes) {
  for (const LocationGroup& group : groups) {
    if (trace != nullptr) trace->totals.push_back({group.code, group.totalScore, group.labelScores.size()});
    const bool first = &group == &groups.front();
    if (first || isStrongGroup(group, groups.front().totalScore)) addCode(group.code, codes);
  }
}

using Hits = std::vector<const LocationHit*>;

/// Drops each hit that lies inside another one, that is, whose span the other's covers without being equal to it. With
/// the spans sorted by begin, longer ones first, only the farthest end so far has to be compared.
Hits dropNestedHits(const std::vector<LocationHit>& all, LocationTrace* trace) {
  const auto end = [](const LocationHit* hit) { return hit->firstIndex + hit->matchChars; };
  Hits hits;
  for (const LocationHit& hit : all) hits.push_back(&hit);
  // Equal spans stay in the order of the hits.
  std::sort(hits.begin(), hits.end(), [&](const LocationHit* a, const LocationHit* b) {
    if (a->firstIndex != b->firstIndex) return a->firstIndex < b->firstIndex;
    return end(a) != end(b) ? end(a) > end(b) : a < b;
  });
  Hits kept;
  std::uint64_t farthest = 0;  // of all spans before the current one
  for (std::size_t i = 0; i < hits.size();) {
    std::size_t same = i;
    while (same < hits.size() && hits[same]->firstIndex == hits[i]->firstIndex && end(hits[same]) == end(hits[i])) {
      ++same;
    }
    const bool nested = i > 0 && farthest >= end(hits[i]);
    const auto span = [&](std::size_t position) { return hits.begin() + static_cast<std::ptrdiff_t>(position); };
    if (!nested) kept.insert(kept.end(), span(i), span(same));
    if (nested && trace != nullptr) trace->nested.insert(trace->nested.end(), span(i), span(same));
    farthest = std::max(farthest, end(hits[i]));
    i = same;
  }
  return kept;
}

/// In a title that isn't English the longest name at the earliest place decides.
void codesFromPlaces(const std::vector<LocationHit>& hits, LocationTrace* trace, Codes* codes) {
  Hits kept = dropNestedHits(hits, trace);
  mergeSort(&kept, [](const LocationHit* a, const LocationHit* b) {
    if (a->firstIndex != b->firstIndex) return a->firstIndex < b->firstIndex;
    if (a->labelChars != b->labelChars) return a->labelChars > b->labelChars;
    return a->score > b->score;
  });
  for (const LocationHit* hit : kept) addCode(hit->row.code, codes);
}

/// One hit that isn't from a database silences all hits that are, and no score is looked at.
void selectCodes(const std::vector<LocationHit>& hits, const TitleTexts& title, LocationTrace* trace, Codes* codes) {
  codes->clear();
  for (const LocationHit& hit : hits) {
    if (!isDatabase(hit.row.source)) addCode(hit.row.code, codes);
  }
  if (!codes->empty()) return;
  if (trace != nullptr) trace->choice = title.nonAscii ? CodeChoice::kPlaces : CodeChoice::kScores;
  if (hits.size() == 1) {
    codes->push_back(hits.front().row.code);
  } else if (title.nonAscii) {
    codesFromPlaces(hits, trace, codes);
  } else {
    codesFromGroups(groupHits(hits), trace, codes);
  }
}

/// The order of the hits of one code: higher score, earlier place, longer label.
bool hitBefore(const LocationHit& a, const LocationHit& b) {
  if (a.score != b.score) return a.score > b.score;
  if (a.firstIndex != b.firstIndex) return a.firstIndex < b.firstIndex;
  return a.labelChars > b.labelChars;
}

/// The best hit of the code, among countries or among all others; null if there is none.
const LocationHit* bestHit(const std::vector<LocationHit>& hits, std::string_view code, bool country) {
  const LocationHit* best = nullptr;
  for (const LocationHit& hit : hits) {
    if (hit.row.code != code || (hit.row.source == LocationSource::kCountry) != country) continue;
    if (best == nullptr || hitBefore(hit, *best)) best = &hit;
  }
  return best;
}

/// A pure ASCII label in title case: capitals at the start and after blanks. Other labels stay as they are, and so do
/// those that have their capitals; only then `memory` is used.
std::string_view displayLabel(std::string_view label, std::string* memory) {
  const auto isToRaise = [label](std::size_t i) {
    return label[i] >= 'a' && label[i] <= 'z' && (i == 0 || label[i - 1] == ' ');
  };
  std::size_t first = 0;
  while (first < label.size() && !isToRaise(first)) ++first;
  if (first == label.size() || hasNonAscii(label)) return label;
  *memory = label;
  for (std::size_t i = first; i < label.size(); ++i) {
    if (isToRaise(i)) (*memory)[i] = static_cast<char>(label[i] - 'a' + 'A');
  }
  return *memory;
}

std::string_view joinLabels(std::string_view country, std::string_view place, std::string* memory) {
  if (place.empty() || (!country.empty() && isSameFold(country, place))) return country;
  return memory->assign(country).append(" · ").append(place);
}

/// Describes the primary code. Only two hits matter: the best that isn't a country and the best that is.
LocationMeta describe(std::string_view primaryCode, LocationScratch* scratch) {
  const LocationHit* placeHit = bestHit(scratch->hits, primaryCode, false);
  const LocationHit* countryHit = bestHit(scratch->hits, primaryCode, true);
  const bool one = countryHit == nullptr;
  if (one) countryHit = placeHit;
  LocationMeta meta;
  meta.countryCode = primaryCode;
  meta.countryLabel = countryHit->row.countryLabel;
  if (placeHit != nullptr) {
    meta.locationLabel = displayLabel(placeHit->row.label, &scratch->locationLabel);
    meta.primaryHit = PrimaryLocationHit{placeHit->row.label, placeHit->row.sourceName, placeHit->firstIndex,
                                         placeHit->labelChars, placeHit->row.weight};
  }
  if (one) meta.identity = placeHit->row.label.data();
  meta.shortLabel = joinLabels(meta.countryLabel, meta.locationLabel, &scratch->shortLabel);
  return meta;
}

}  // namespace

LocationAnswer resolveLocation(const RecordTable& base, std::span<const PlaceRows> places, const TitleTexts& title,
                               LocationScratch* scratch) {
  findLocationHits(base, places, title, &scratch->hits, scratch->trace);
  if (scratch->hits.empty()) return {};
  selectCodes(scratch->hits, title, scratch->trace, &scratch->codes);
  return {true, scratch->codes, describe(scratch->codes.front(), scratch)};
}

}  // namespace corvenda
