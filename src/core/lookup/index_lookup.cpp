#include "lookup/index_lookup.h"
#include "text/term_score.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "base/number_text.h"
#include "rows/lexicon_rows.h"

namespace corvenda {
namespace {

struct GenericTerm {
  std::string_view term;
  int penalty;
};

/// English words so common in titles that they say little, and what each costs a match. Part of the contract.
constexpr GenericTerm kGenericEnglishTerms[] = {
    {"life", 26}, {"record", 24}, {"daily", 22}, {"event", 18}, {"show", 18}, {"social", 16},
    {"city", 14}, {"travel", 12}, {"trip", 12},  {"sport", 12}, {"mood", 12}, {"pet", 10},
    {"food", 10}, {"walk", 8},    {"chat", 8},   {"talk", 8},   {"meal", 8},  {"shopping", 8},
};

/// No Chinese word is penalised. The only entry is two question marks, what a title becomes in the wrong encoding. They
/// are escaped because ?? can begin a trigraph.
constexpr GenericTerm kGenericOtherTerms[] = {{"\?\?", 26}};

std::string_view fieldOrEmpty(const IndexRecord& record, std::size_t field) {
  return field < record.fields.size() ? record.fields[field] : std::string_view();
}

/// Without the field, a row counts as Chinese.
std::string_view languageOf(const IndexRecord& record) {
  return record.fields.size() > scene_field::kLang ? record.fields[scene_field::kLang] : "zh";
}

/// The strict order of matches: integers and bytes only, so no row can break it.
bool lookupRowBefore(const LookupMatch& a, const LookupMatch& b) {
  if (a.rank != b.rank) return a.rank > b.rank;
  if (a.record.term.size() != b.record.term.size()) return a.record.term.size() > b.record.term.size();
  return fieldOrEmpty(a.record, scene_field::kKey) < fieldOrEmpty(b.record, scene_field::kKey);
}

}  // namespace

int genericTermPenalty(std::string_view term, std::string_view lang) {
  const auto find = [term](const auto& table) {
    const auto row =
        std::find_if(std::begin(table), std::end(table), [term](auto& entry) { return entry.term == term; });
    return row == std::end(table) ? 0 : row->penalty;
  };
  return lang == "en" ? find(kGenericEnglishTerms) : find(kGenericOtherTerms);
}

double lookupRowScore(const IndexRecord& record, std::string_view prefix) {
  double rowWeight = 0;
  if (!parseNumber(fieldOrEmpty(record, scene_field::kRowPriority), &rowWeight)) rowWeight = 0;
  const std::string_view lang = languageOf(record);
  const double length = lengthScore(record.term, lang == "zh" ? 1.2 : 0.9, 12.0);
  return earlyScore(10.0, prefix) + (length + rowWeight) - genericTermPenalty(record.term, lang);
}

double lookupDetailScore(const IndexRecord& record, std::string_view prefix) {
  if (fieldOrEmpty(record, scene_field::kKind) != "detail") return 0.0;
  const double length = lengthScore(record.term, languageOf(record) == "zh" ? 0.9 : 0.7, 10.0);
  return earlyScore(8.0, prefix) + length + 6.0;
}

std::vector<LookupMatch> lookupRows(const RecordTable& table, Section section, std::string_view text, bool contains,
                                    TextArena* arena) {
  std::vector<LookupMatch> matches;
  for (const FoundRow& found : filterRecords(table, section, text, contains)) {
    LookupMatch& match = matches.emplace_back();
    match.record = recordAt(table, found.row, arena);
    match.type = fieldOrEmpty(match.record, scene_field::kKind);
    match.rank = rankOf(sceneKindFromName(match.type));
    const std::string_view prefix = text.substr(0, found.position);
    match.score = lookupRowScore(match.record, prefix);
    match.detailScore = lookupDetailScore(match.record, prefix);
  }
  std::stable_sort(matches.begin(), matches.end(), lookupRowBefore);
  return matches;
}

std::vector<LookupCandidate> foldCandidates(const std::vector<LookupMatch>& matches) {
  std::vector<LookupCandidate> candidates;
  std::map<std::string_view, std::size_t> positions;
  std::set<std::pair<std::size_t, std::string_view>> seenTypes;  // by candidate
  for (const LookupMatch& match : matches) {
    const auto& fields = match.record.fields;
    if (fields.size() <= scene_field::kDetail) continue;
    const std::string_view sceneKey = fields[scene_field::kKey];
    const auto [position, added] = positions.emplace(sceneKey, candidates.size());
    if (added) {
      // The best match of a scene comes first, so it supplies the candidate's rank, length and label.
      candidates.push_back({sceneKey, fields[scene_field::kDetail], match.rank, match.record.term.size(), 0, 0.0, {}});
    }
    LookupCandidate& candidate = candidates[position->second];
    ++candidate.candidateCount;
    candidate.bestDetailScore = std::max(candidate.bestDetailScore, match.detailScore);
    if (!match.type.empty() && seenTypes.emplace(position->second, match.type).second) {
      candidate.candidateTypes.push_back(match.type);
    }
  }
  std::sort(candidates.begin(), candidates.end(), [](const LookupCandidate& a, const LookupCandidate& b) {
    if (a.bestRank != b.bestRank) return a.bestRank > b.bestRank;
    if (a.bestTermLength != b.bestTermLength) return a.bestTermLength > b.bestTermLength;
    return a.sceneKey < b.sceneKey;
  });
  return candidates;
}

}  // namespace corvenda
