#include "rows/term_index.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>
#include <string>

namespace corvenda {
namespace {

constexpr std::size_t kGatePrefix = 3;
constexpr unsigned kLongBit = 63;

std::uint64_t mix(std::uint64_t value) {
  value *= 0x9E3779B97F4A7C15U;
  return value ^ (value >> 29);
}

std::uint64_t hashText(std::string_view text) {
  std::uint64_t hash = text.size();
  while (text.size() >= 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data(), 8);
    hash = mix(hash ^ word);
    text.remove_prefix(8);
  }
  std::uint64_t rest = 0;
  if (!text.empty()) std::memcpy(&rest, text.data(), text.size());
  return mix(mix(hash ^ rest));
}

std::uint64_t prefixHash(const char* text) {
  std::uint32_t word = 0;
  std::memcpy(&word, text, kGatePrefix);
  return mix(word) >> 16;
}

unsigned lengthBit(std::size_t length) { return length < kLongBit ? static_cast<unsigned>(length) : kLongBit; }

/// The slot of `text`, or the empty slot where it would go. The table is never full.
std::size_t findSlot(const TermIndex& index, std::string_view text) {
  const std::size_t mask = index.slots.size() - 1;
  std::size_t slot = hashText(text) & mask;
  while (index.slots[slot] != 0 && index.terms[index.slots[slot] - 1].text != text) slot = (slot + 1) & mask;
  return slot;
}

void registerLength(TermIndex* index, std::string_view term) {
  index->maxLength = std::max(index->maxLength, term.size());
  if (term.size() < kGatePrefix) {
    index->hasShort[term.size()] = true;
    return;
  }
  const unsigned bit = lengthBit(term.size());
  index->gate[prefixHash(term.data()) & (index->gate.size() - 1)] |= std::uint64_t{1} << bit;
  if (bit == kLongBit) index->longTerms.push_back(term.size());
}

/// The lengths that terms beginning like `text` can have; `text` has at least three bytes.
std::uint64_t possibleLengths(const TermIndex& index, std::string_view text) {
  return index.gate[prefixHash(text.data()) & (index.gate.size() - 1)];
}

/// Rows whose term is a prefix of `text`.
void appendPrefixRows(const TermIndex& index, std::string_view text, std::vector<std::uint32_t>* found) {
  for (std::size_t length = 1; length < kGatePrefix && length <= text.size(); ++length) {
    if (index.hasShort[length]) appendEqualRows(index, text.substr(0, length), found);
  }
  if (text.size() < kGatePrefix) return;
  std::uint64_t lengths = possibleLengths(index, text);
  for (; lengths != 0; lengths &= lengths - 1) {
    const auto bit = static_cast<unsigned>(std::countr_zero(lengths));
    if (bit == kLongBit) break;
    if (bit > text.size()) return;
    appendEqualRows(index, text.substr(0, bit), found);
  }
  if (lengths == 0) return;
  for (const std::size_t length : index.longTerms) {
    if (length > text.size()) return;
    appendEqualRows(index, text.substr(0, length), found);
  }
}

bool runIsPossible(const TermIndex& index, std::string_view run) {
  if (run.size() < kGatePrefix) return index.hasShort[run.size()];
  return (possibleLengths(index, run) >> lengthBit(run.size()) & 1) != 0;
}

}  // namespace

void buildTermIndex(const std::vector<IndexRecord>& records, const std::vector<std::uint32_t>& rowNumbers,
                    TermIndex* index) {
  *index = {};
  if (rowNumbers.empty()) return;
  // At most half full, so that probes stay short.
  const std::size_t capacity = std::bit_ceil(2 * rowNumbers.size());
  index->slots.assign(capacity, 0);
  index->gate.assign(capacity, 0);
  std::vector<std::uint32_t> termOfRow;
  termOfRow.reserve(rowNumbers.size());
  for (const std::uint32_t row : rowNumbers) {
    const std::string_view term = records[row].term;
    const std::size_t slot = findSlot(*index, term);
    if (index->slots[slot] == 0) {
      index->terms.push_back({term, 0, 0});
      index->slots[slot] = static_cast<std::uint32_t>(index->terms.size());
      registerLength(index, term);
    }
    termOfRow.push_back(index->slots[slot] - 1);
    ++index->terms[termOfRow.back()].rowCount;
  }
  std::sort(index->longTerms.begin(), index->longTerms.end());
  index->longTerms.erase(std::unique(index->longTerms.begin(), index->longTerms.end()), index->longTerms.end());

  std::uint32_t begin = 0;
  for (TermIndex::Term& term : index->terms) {
    term.firstRow = begin;
    begin += term.rowCount;
    term.rowCount = 0;
  }
  index->rows.resize(rowNumbers.size());
  for (std::size_t i = 0; i < rowNumbers.size(); ++i) {
    TermIndex::Term& term = index->terms[termOfRow[i]];
    index->rows[term.firstRow + term.rowCount++] = rowNumbers[i];
  }
}

void buildTermIndex(const std::vector<IndexRecord>& records, TermIndex* index) {
  std::vector<std::uint32_t> rowNumbers(records.size());
  std::iota(rowNumbers.begin(), rowNumbers.end(), 0U);
  buildTermIndex(records, rowNumbers, index);
}

void appendEqualRows(const TermIndex& index, std::string_view text, std::vector<std::uint32_t>* found) {
  if (index.terms.empty()) return;
  const std::uint32_t entry = index.slots[findSlot(index, text)];
  if (entry == 0) return;
  const TermIndex::Term& term = index.terms[entry - 1];
  const auto begin = index.rows.begin() + term.firstRow;
  found->insert(found->end(), begin, begin + term.rowCount);
}

void appendContainedRows(const TermIndex& index, std::string_view text, std::vector<std::uint32_t>* found) {
  if (index.terms.empty()) return;
  const std::size_t begin = found->size();
  if (index.hasShort[0]) appendEqualRows(index, {}, found);
  for (std::size_t i = 0; i < text.size(); ++i) appendPrefixRows(index, text.substr(i), found);
  // A term may stand in the text more than once.
  std::sort(found->begin() + static_cast<std::ptrdiff_t>(begin), found->end());
  found->erase(std::unique(found->begin() + static_cast<std::ptrdiff_t>(begin), found->end()), found->end());
}

void appendWordRunRows(const TermIndex& index, std::string_view text, std::vector<std::uint32_t>* found) {
  if (index.terms.empty()) return;
  const std::size_t begin = found->size();
  std::string joined;
  joined.reserve(text.size());
  std::vector<std::size_t> boundaries;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == ' ') continue;
    if (i == 0 || text[i - 1] == ' ') boundaries.push_back(joined.size());
    joined += text[i];
  }
  boundaries.push_back(joined.size());
  const std::string_view words = joined;
  for (std::size_t first = 0; first + 1 < boundaries.size(); ++first) {
    for (std::size_t last = first + 1; last < boundaries.size(); ++last) {
      const std::size_t length = boundaries[last] - boundaries[first];
      if (length > index.maxLength) break;
      const std::string_view run = words.substr(boundaries[first], length);
      if (runIsPossible(index, run)) appendEqualRows(index, run, found);
    }
  }
  std::sort(found->begin() + static_cast<std::ptrdiff_t>(begin), found->end());
  found->erase(std::unique(found->begin() + static_cast<std::ptrdiff_t>(begin), found->end()), found->end());
}

void sortUnique(std::vector<std::uint32_t>* rowNumbers) {
  std::sort(rowNumbers->begin(), rowNumbers->end());
  rowNumbers->erase(std::unique(rowNumbers->begin(), rowNumbers->end()), rowNumbers->end());
}

}  // namespace corvenda
