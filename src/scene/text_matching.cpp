#include "scene/text_matching.h"

#include <algorithm>
#include <cmath>

#include "pack/number_text.h"
#include "scene/lexicon_rows.h"

namespace corvenda {
namespace {

constexpr bool isPlainByte(char byte) { return (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9'); }

}  // namespace

std::string compactTerm(std::string_view text) {
  std::string compact;
  compact.reserve(text.size());
  for (const char byte : text) {
    if (static_cast<unsigned char>(byte) < 33) continue;
    compact += byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
  }
  return compact;
}

bool isPlainToken(std::string_view text) { return std::all_of(text.begin(), text.end(), isPlainByte); }

bool isPlainPhrase(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char byte) { return byte == ' ' || isPlainByte(byte); });
}

bool hasNonAscii(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) >= 128; });
}

std::uint64_t countCharacters(std::string_view text) {
  return static_cast<std::uint64_t>(std::count_if(
      text.begin(), text.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
}

std::optional<std::size_t> containsTerm(std::string_view text, std::string_view term) {
  const std::size_t position = text.find(term);
  if (position == std::string_view::npos) return std::nullopt;
  return position;
}

bool matchesWordRun(std::string_view text, std::string_view term) {
  if (text.empty() || term.empty()) return false;
  for (std::size_t start = 0; start < text.size(); ++start) {
    const bool wordBegins = text[start] != ' ' && (start == 0 || text[start - 1] == ' ');
    if (!wordBegins) continue;
    // Walk text and term together: the run matches if the term is used up exactly where a word ends.
    std::size_t used = 0;
    std::size_t i = start;
    for (; i < text.size() && used < term.size(); ++i) {
      if (text[i] == ' ') continue;
      if (text[i] != term[used]) break;
      ++used;
    }
    if (used == term.size() && (i == text.size() || text[i] == ' ')) return true;
  }
  return false;
}

std::string recordIdentityKey(const IndexRecord& record) {
  std::string key = record.term;
  for (const std::string& field : record.fields) {
    key += '\x1F';
    key += field;
  }
  return key;
}

std::int32_t sceneRowRank(const IndexRecord& record) {
  const std::string& kind = fieldOrEmpty(record, scene_field::kKind);
  if (kind == "short") return kShortRank;
  if (kind == "conflict") return kConflictRank;
  if (kind == "compound") return kCompoundRank;
  if (kind == "detail") return kDetailRank;
  if (kind == "category") return kCategoryRank;
  return 0;
}

double earlyScore(double full, std::uint64_t prefixCharacters) {
  return std::max(full - std::min(static_cast<double>(prefixCharacters), full), 0.0);
}

double lengthScore(std::string_view term, double factor, double cap) {
  return std::min(static_cast<double>(countCharacters(term)) * factor, cap);
}

double sceneRowScore(const IndexRecord& record, std::string_view searchText, std::string_view positionText) {
  if (record.fields.size() <= scene_field::kLang) return 0.0;
  double rowWeight = 0;
  if (!parseNumber(record.fields[scene_field::kRowPriority], &rowWeight)) return 0.0;
  const double factor = record.fields[scene_field::kLang] == "zh" ? 1.2 : 0.9;
  const double length = lengthScore(record.term, factor, 12.0);
  // A term that is not there (an English row found in the English reading) counts as standing at the very start.
  const auto position = containsTerm(searchText, record.term);
  const double early = earlyScore(10.0, countCharacters(positionText.substr(0, position.value_or(0))));
  return early + (length + rowWeight);
}

std::optional<double> detailRowScore(const IndexRecord& record, std::string_view text) {
  const auto position = containsTerm(text, record.term);
  if (!position) return std::nullopt;
  const double factor = fieldOrEmpty(record, scene_field::kLang) == "zh" ? 0.9 : 0.7;
  const double early = earlyScore(8.0, countCharacters(text.substr(0, *position)));
  return early + (lengthScore(record.term, factor, 10.0) + 6.0);
}

SceneRowOrder sceneRowOrder(const IndexRecord& record, std::string_view searchText, std::string_view positionText) {
  return {sceneRowRank(record), sceneRowScore(record, searchText, positionText), record.term};
}

bool sceneRowBefore(const SceneRowOrder& a, const SceneRowOrder& b) {
  if (a.rank != b.rank) return a.rank > b.rank;
  if (a.term.size() != b.term.size()) return a.term.size() > b.term.size();
  if (std::isnan(a.score) != std::isnan(b.score)) return std::isnan(b.score);
  if (!std::isnan(a.score) && a.score != b.score) return a.score > b.score;
  // string_view compares as unsigned bytes.
  return a.term < b.term;
}

}  // namespace corvenda
