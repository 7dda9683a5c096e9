#include "lookup/index_lookup.h"
#include "text/term_score.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "base/number_text.h"
#include "rows/lexicon_rows.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

struct GenericTerm {
  std::string_view term;
  int penalty;
};

/// English words so common in titles that they say little.
constexpr GenericTerm kGenericEnglishTerms[] = {
    {"life", 26}, {"record", 24}, {"daily", 22}, {"event", 18}, {"show", 18}, {"social", 16},
    {"city", 14}, {"travel", 12}, {"trip", 12},  {"sport", 12}, {"mood", 12}, {"pet", 10},
    {"food", 10}, {"walk", 8},    {"chat", 8},   {"talk", 8},   {"meal", 8},  {"shopping", 8},
};

/// No Chinese word is penalised. What stands here is two question marks: a title that was damaged on its way. They are
/// escaped so as not to read as the beginning of a trigraph.
constexpr GenericTerm kGenericOtherTerms[] = {{"\?\?", 26}};

/// Without the field, a row counts as Chinese.
std::string_view languageOf(const IndexRecord& record) {
  return record.fields.size() > scene_field::kLang ? std::string_view(record.fields[scene_field::kLang]) : "zh";
}

/// Characters in front of the term; 0 if the text does not hold it.
std::uint64_t prefixCharacters(std::string_view text, std::string_view term) {
  return countCharacters(text.substr(0, containsTerm(text, term).value_or(0)));
}

/// The strict order of matches: integers and bytes only, so no row can break it.
bool lookupRowBefore(const LookupMatch& a, const LookupMatch& b) {
  if (a.rank != b.rank) return a.rank > b.rank;
  if (a.record->term.size() != b.record->term.size()) return a.record->term.size() > b.record->term.size();
  return fieldOrEmpty(*a.record, scene_field::kKey) < fieldOrEmpty(*b.record, scene_field::kKey);
}

void addType(LookupCandidate* candidate, std::string_view type) {
  auto& types = candidate->candidateTypes;
  if (!type.empty() && std::find(types.begin(), types.end(), type) == types.end()) types.push_back(type);
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

double lookupRowScore(const IndexRecord& record, std::string_view text) {
  double rowWeight = 0;
  if (!parseNumber(fieldOrEmpty(record, scene_field::kRowPriority), &rowWeight)) rowWeight = 0;
  const std::string_view lang = languageOf(record);
  const double length = lengthScore(record.term, lang == "zh" ? 1.2 : 0.9, 12.0);
  const double early = earlyScore(10.0, prefixCharacters(text, record.term));
  return early + (length + rowWeight) - genericTermPenalty(record.term, lang);
}

double lookupDetailScore(const IndexRecord& record, std::string_view text) {
  if (fieldOrEmpty(record, scene_field::kKind) != "detail") return 0.0;
  const double length = lengthScore(record.term, languageOf(record) == "zh" ? 0.9 : 0.7, 10.0);
  return earlyScore(8.0, prefixCharacters(text, record.term)) + length + 6.0;
}

std::vector<LookupMatch> lookupRows(const RecordTable& table, Section section, std::string_view text, bool contains) {
  const std::vector<const IndexRecord*> records = filterRecords(table, section, text, contains);
  std::vector<LookupMatch> matches;
  matches.reserve(records.size());
  for (const IndexRecord* record : records) {
    matches.push_back({record, sceneRowRank(*record), lookupRowScore(*record, text), lookupDetailScore(*record, text)});
  }
  std::sort(matches.begin(), matches.end(), lookupRowBefore);
  return matches;
}

std::vector<LookupCandidate> foldCandidates(const std::vector<LookupMatch>& matches) {
  std::vector<LookupCandidate> candidates;
  std::map<std::string_view, std::size_t> positions;
  for (const LookupMatch& match : matches) {
    const auto& fields = match.record->fields;
    if (fields.size() <= scene_field::kDetail) continue;
    const std::string_view sceneKey = fields[scene_field::kKey];
    const auto [position, added] = positions.emplace(sceneKey, candidates.size());
    if (added) {
      // The matches come best first, so the row that opens a candidate has its rank, its length and its label.
      candidates.push_back({sceneKey, fields[scene_field::kDetail], match.rank, match.record->term.size(), 0, 0.0, {}});
    }
    LookupCandidate& candidate = candidates[position->second];
    ++candidate.candidateCount;
    candidate.bestDetailScore = std::max(candidate.bestDetailScore, match.detailScore);
    addType(&candidate, fieldOrEmpty(*match.record, scene_field::kKind));
  }
  std::sort(candidates.begin(), candidates.end(), [](const LookupCandidate& a, const LookupCandidate& b) {
    if (a.bestRank != b.bestRank) return a.bestRank > b.bestRank;
    if (a.bestTermLength != b.bestTermLength) return a.bestTermLength > b.bestTermLength;
    return a.sceneKey < b.sceneKey;
  });
  return candidates;
}

}  // namespace corvenda
