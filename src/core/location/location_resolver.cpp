#include "location/location_resolver.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <tuple>

#include "base/number_text.h"
#include "location/location_hits.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

constexpr std::size_t kMaxCodes = 3;

/// The hits of one code.
struct LocationGroup {
  std::string_view code;
  double totalScore = 0;  ///< sum of the values of `labelScores`
  double bestScore = 0;
  std::uint64_t firstIndex = kNotFoundIndex;
  std::uint64_t maxLabelChars = 0;
  bool hasCountry = false;
  bool hasFamous = false;
  bool hasCurated = false;
  bool hasDatabase = false;
  std::map<std::string_view, double> labelScores;  ///< label to the highest score of its hits
};

/// Stays within bounds and ends for every comparator. The rules below compare scores, and a pack's weights can be NaN,
/// for which no rule is a strict weak ordering: std::sort may then run out of its range.
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
  const auto [entry, added] = group->labelScores.emplace(labelOf(hit), hit.score);
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
  group->hasCountry |= hit.source == LocationSource::kCountry;
  group->hasFamous |= hit.source == LocationSource::kFamous;
  group->hasCurated |= hit.source == LocationSource::kCurated;
  group->hasDatabase |= isDatabase(hit);
}

bool groupBefore(const LocationGroup& a, const LocationGroup& b) {
  if (a.hasCountry != b.hasCountry) return a.hasCountry;
  if (a.hasFamous != b.hasFamous) return a.hasFamous;
  if (a.hasCurated != b.hasCurated) return a.hasCurated;
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
    const auto [position, added] = positions.emplace(codeOf(hit), groups.size());
    if (added) groups.emplace_back().code = codeOf(hit);
    addToGroup(hit, &groups[position->second]);
  }
  mergeSort(&groups, groupBefore);
  return groups;
}

using Codes = std::vector<std::string_view>;

/// Adds the code unless it is there or three are.
void addCode(std::string_view code, Codes* codes) {
  const bool known = std::find(codes->begin(), codes->end(), code) != codes->end();
  if (!known && codes->size() < kMaxCodes) codes->push_back(code);
}

/// Sights whose names are common words; a title that names them beside a famous place means them.
bool hasSightLabel(const LocationGroup& group) {
  return group.labelScores.contains("Trip") || group.labelScores.contains("Street") ||
         group.labelScores.contains("Opéra");
}

/// Whether a group is strong enough beside the first one.
bool isStrongGroup(const LocationGroup& group, double top, bool anyCountry) {
  const double total = group.totalScore;
  if (group.hasCountry) return true;
  if (group.hasCurated && total >= std::max(top * 0.65, 22.0)) return true;
  if (group.hasDatabase && anyCountry && total >= std::max(top * 0.55, 18.0)) return true;
  if (!anyCountry && total >= std::max(top * 0.82, 18.0) && group.maxLabelChars >= 4) return true;
  return total >= std::max(top * 0.72, 26.0) && group.labelScores.size() >= 2;
}

Codes codesFromGroups(const std::vector<LocationGroup>& groups) {
  const bool anyCountry = std::any_of(groups.begin(), groups.end(), [](const auto& group) { return group.hasCountry; });
  const bool anyFamous = std::any_of(groups.begin(), groups.end(), [](const auto& group) { return group.hasFamous; });
  Codes codes;
  if (!anyCountry && anyFamous) {
    for (const LocationGroup& group : groups) {
      if (group.hasFamous) addCode(group.code, &codes);
    }
    for (const LocationGroup& group : groups) {
      if (group.hasDatabase && hasSightLabel(group)) addCode(group.code, &codes);
    }
    return codes;
  }
  for (const LocationGroup& group : groups) {
    const bool first = &group == &groups.front();
    if (first || isStrongGroup(group, groups.front().totalScore, anyCountry)) addCode(group.code, &codes);
  }
  return codes;
}

/// The hits that lie inside no longer one. A hit is inside another exactly if the other one's span covers its own and
/// is not the same span; so with the spans sorted by begin, the longer first, only the farthest end so far matters.
std::vector<LocationHit> dropNestedHits(std::vector<LocationHit> hits) {
  const auto end = [](const LocationHit& hit) { return hit.firstIndex + hit.matchChars; };
  std::stable_sort(hits.begin(), hits.end(), [&](const LocationHit& a, const LocationHit& b) {
    return a.firstIndex != b.firstIndex ? a.firstIndex < b.firstIndex : end(a) > end(b);
  });
  std::vector<LocationHit> kept;
  std::uint64_t farthest = 0;  // of all spans before the current one
  for (std::size_t i = 0; i < hits.size();) {
    std::size_t same = i;
    while (same < hits.size() && hits[same].firstIndex == hits[i].firstIndex && end(hits[same]) == end(hits[i])) ++same;
    const bool nested = i > 0 && farthest >= end(hits[i]);
    const auto span = [&](std::size_t position) { return hits.begin() + static_cast<std::ptrdiff_t>(position); };
    if (!nested) kept.insert(kept.end(), span(i), span(same));
    farthest = std::max(farthest, end(hits[i]));
    i = same;
  }
  return kept;
}

/// In a title that isn't English the longest name at the earliest place decides.
Codes codesFromPlaces(const std::vector<LocationHit>& hits) {
  std::vector<LocationHit> kept = dropNestedHits(hits);
  mergeSort(&kept, [](const LocationHit& a, const LocationHit& b) {
    if (a.firstIndex != b.firstIndex) return a.firstIndex < b.firstIndex;
    if (a.labelChars != b.labelChars) return a.labelChars > b.labelChars;
    return a.score > b.score;
  });
  Codes codes;
  for (const LocationHit& hit : kept) addCode(codeOf(hit), &codes);
  return codes;
}

/// One hit of any other class silences the database, and with it all that was chosen by score.
Codes selectCodes(const std::vector<LocationHit>& hits, const std::vector<LocationGroup>& groups,
                  std::string_view raw) {
  Codes curated;
  for (const LocationHit& hit : hits) {
    if (!isDatabase(hit)) addCode(codeOf(hit), &curated);
  }
  if (!curated.empty()) return curated;
  if (hasNonAscii(raw)) return codesFromPlaces(hits);
  return codesFromGroups(groups);
}

/// The order of hits of one code, countries apart: better score, earlier place, longer label.
bool hitBefore(const LocationHit& a, const LocationHit& b) {
  if (a.score != b.score) return a.score > b.score;
  if (a.firstIndex != b.firstIndex) return a.firstIndex < b.firstIndex;
  return a.labelChars > b.labelChars;
}

/// The best hit of the code among countries, or among all else; null if there is none.
const LocationHit* bestHit(const std::vector<LocationHit>& hits, std::string_view code, bool country) {
  const LocationHit* best = nullptr;
  for (const LocationHit& hit : hits) {
    if (codeOf(hit) != code || (hit.source == LocationSource::kCountry) != country) continue;
    if (best == nullptr || hitBefore(hit, *best)) best = &hit;
  }
  return best;
}

/// Puts a pure ASCII label into title case: letters at the start or behind a blank. All others stay as they are.
std::string displayLabel(std::string_view label) {
  std::string text(label);
  if (hasNonAscii(text)) return text;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool begins = i == 0 || text[i - 1] == ' ';
    if (begins && text[i] >= 'a' && text[i] <= 'z') text[i] = static_cast<char>(text[i] - 'a' + 'A');
  }
  return text;
}

std::string joinLabels(std::string_view country, const std::string& place) {
  std::string label(country);
  if (place.empty() || (!country.empty() && compactTerm(country) == compactTerm(place))) return label;
  return label.append(" · ").append(place);
}

/// Hits of the primary code are all that is shown, and among them countries come behind all else: so it takes the best
/// of either, and no order of the whole list.
LocationMeta describe(const std::vector<LocationHit>& hits, std::string_view primaryCode) {
  const LocationHit* placeHit = bestHit(hits, primaryCode, false);
  const LocationHit* countryHit = bestHit(hits, primaryCode, true);
  if (countryHit == nullptr) countryHit = placeHit;
  LocationMeta meta;
  meta.countryCode = primaryCode;
  meta.countryLabel = countryHit->record->fields[location_field::kCountryLabel];
  if (placeHit != nullptr) {
    meta.locationLabel = displayLabel(labelOf(*placeHit));
    PrimaryLocationHit primary{labelOf(*placeHit), placeHit->record->fields[location_field::kSource],
                               placeHit->firstIndex, placeHit->labelChars, 0};
    parseNumber(placeHit->record->fields[location_field::kWeight], &primary.weight);
    meta.primaryHit = primary;
  }
  meta.shortLabel = joinLabels(meta.countryLabel, meta.locationLabel);
  return meta;
}

}  // namespace

LocationAnswer resolveLocation(const LocationView& view, const TitleTexts& title) {
  LocationAnswer answer;
  const std::vector<LocationHit> hits = findLocationHits(view, title);
  if (hits.empty()) return answer;
  answer.codes = selectCodes(hits, groupHits(hits), title.raw);
  answer.found = true;
  answer.meta = describe(hits, answer.codes.front());
  return answer;
}

}  // namespace corvenda
