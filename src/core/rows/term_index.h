// Finding the rows whose terms occur in a title, at a cost that depends on the title and not on the number of rows.
//
// The truth that this is tested against is a loop over all rows:
//
//     for (row : rows) if (containsTerm(text, row.term)) found.push_back(row);
//
// The index gives the same rows. At each byte of the text it narrows down which terms could begin there:
//
// 1. A byte with which no term begins is skipped. In a Chinese text that leaves the first bytes of characters.
// 2. The first three bytes (one Chinese character in UTF-8) lead to a byte of flags: whether terms of three, four or
//    five bytes begin with them, or longer ones. For longer terms a bit by the first six bytes says whether any begins
//    with these, give or take one in eight.
// 3. The first six bytes lead to the set of the lengths of terms that begin with them. Its entries carry a tag of the
//    prefix's hash, so that another prefix rarely passes. If one does, it costs a look-up that finds nothing, never a
//    missed row.
// 4. Each possible length, the longest first, is one look-up in a hash table of eight bytes a term (a tag and a row);
//    if the tag matches, the term itself is compared. A term that was already found in this text ends the search at
//    this byte: its own prefixes were found with it. So a text full of nested terms costs no more than the loop.
// 5. Terms of 53 bytes and more, rare in titles, are kept in sorted order, where a binary search finds those with which
//    the text begins, however many lengths they have.
//
// Steps 4 and 5 wait for memory: the slot, the row's entry, the term. A search can therefore be made in steps, each of
// which asks for what the next one reads, and a batch takes each step for several titles before the next.
//
// A search for runs of whole words is the same search in the text without its blanks: it begins only where a word does,
// and tries only the lengths that end where a word does.
//
// Hashes are seeded (base/keyed_hash.h), so whoever writes the terms can't choose where they fall.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/keyed_hash.h"
#include "base/system_vector.h"

namespace corvenda {

struct RecordTable;

/// Plain data; built once by `buildTermIndex` and only read afterwards. Rows with equal terms form a ring: each points
/// to the next, the last to the first, and the hash table holds the last. So a row is appended, and the first found, in
/// one step.
struct TermIndex {
  HashSeed seed = {};
  SystemVector<std::uint64_t> slots;  ///< 32 bits of tag, 32 of row; or kEmptySlot
  SystemVector<std::uint64_t> gate;  ///< 16 bits of tag, 48 of lengths: bit n for 6 + n bytes, the last for longer ones
  SystemVector<std::uint64_t> prefixBits;  ///< a bit for each prefix in `gate`, about eight times as many as there are
  std::vector<std::uint8_t> shortGate;     ///< flags by the first three bytes; see kThreeBytes
  std::vector<std::uint64_t> pairs;        ///< a bit for each term of two bytes; empty if there is none
  std::uint8_t firstBytes[256] = {};       ///< whether terms of one byte, of two, or longer ones begin with the byte
  std::vector<std::uint32_t> longTerms;    ///< last rows of the terms of 53 bytes and more, by the bytes of the term
  std::uint64_t phraseLengths = 0;         ///< of human phrases: bit n for n bytes, the last for 63 and more
  const SystemVector<std::uint32_t>* ring = nullptr;  ///< next row with the same term
  SystemVector<std::uint32_t> ownRing;                ///< holds `ring` if it isn't shared with other indexes
};

/// A term that occurs in a text.
struct TermHit {
  std::uint32_t lastRow = 0;   ///< see `forEachRow`
  std::uint32_t position = 0;  ///< first byte of its first occurrence; for a run, in the text without its blanks
};

/// What one search has found, each term once. Kept from title to title to reuse its memory.
struct TermHits {
  std::vector<TermHit> terms;
  std::vector<std::uint32_t> places;  ///< hash table over `terms`, used once there are many
  std::string words;                  ///< for runs: the text without its blanks
  std::vector<std::uint32_t> ends;    ///< for runs: where words end in `words`, ascending
  /// For a long term that was found as a run: its prefixes of up to this length may still be new.
  std::unordered_map<std::uint32_t, std::size_t> newRunLimits;
};

/// Indexes these rows of `table`, which ascend. The ring has a place for each row of the table. `seed` is that of the
/// process.
void buildTermIndex(const RecordTable& table, std::span<const std::uint32_t> rows, SystemVector<std::uint32_t>* ring,
                    const HashSeed& seed, TermIndex* index);

/// Terms that are substrings of `text`.
void findContainedTerms(const RecordTable& table, const TermIndex& index, std::string_view text, TermHits* hits);

/// Terms that are runs of whole words of `text` joined without blanks (see `matchesWordRun`).
void findWordRuns(const RecordTable& table, const TermIndex& index, std::string_view text, TermHits* hits);

/// The same for the text of the last `findWordRuns` or `beginWordRuns`: `hits` still has its words.
void findWordRunsAgain(const RecordTable& table, const TermIndex& index, TermHits* hits);

// --- The same in steps ---------------------------------------------------------------------------------------------

/// A part of a text that may be a term. Not initialised, because a search has room for many and needs few.
struct TermProbe {
  std::uint64_t hash;
  std::uint32_t position;
  std::uint32_t length;
  std::uint32_t row;  ///< of the slot with the hash's tag
};

/// The probes of one text, by position, at each the longest first.
struct TermProbes {
  /// A text that needs more is searched at once when the search is finished, and so is one with a long term: there it
  /// matters that a known term ends the search at its byte.
  static constexpr std::size_t kMost = 48;

  std::array<TermProbe, kMost> probes;
  std::size_t count = 0;
  bool complete = true;  ///< false if the text is to be searched at once
};

void beginContainedTerms(const TermIndex& index, std::string_view text, TermProbes* probes);
/// The words go to `hits`.
void beginWordRuns(const TermIndex& index, std::string_view text, TermHits* hits, TermProbes* probes);

/// Drops the probes that are no terms, but for few, and asks for the rows of the others.
void askForRows(const RecordTable& table, const TermIndex& index, TermProbes* probes);
/// Asks for their terms.
void askForTerms(const RecordTable& table, const TermProbes& probes);

void finishContainedTerms(const RecordTable& table, const TermIndex& index, std::string_view text,
                          const TermProbes& probes, TermHits* hits);
void finishWordRuns(const RecordTable& table, const TermIndex& index, const TermProbes& probes, TermHits* hits);

// --- Single terms --------------------------------------------------------------------------------------------------

/// The last row of the term that equals `text`.
std::optional<std::uint32_t> findTerm(const RecordTable& table, const TermIndex& index, std::string_view text);

/// The same for a text that is rarely a term, such as a whole title: its first bytes are checked before it is hashed.
std::optional<std::uint32_t> findWholeTerm(const RecordTable& table, const TermIndex& index, std::string_view text);

constexpr std::uint64_t kEmptySlot = ~std::uint64_t{0};

/// Calls `use(lastRow)` for each term, in no useful order.
template <typename Use>
void forEachTerm(const TermIndex& index, Use use) {
  for (const std::uint64_t slot : index.slots) {
    if (slot != kEmptySlot) use(static_cast<std::uint32_t>(slot));
  }
}

/// True for one row of each term, the last. Of a term with several rows, the ring leads from there to a lower one.
inline bool isLastOfTerm(const TermIndex& index, std::uint32_t row) { return (*index.ring)[row] <= row; }

/// Calls `use(row)` for each row of a term, ascending.
template <typename Use>
void forEachRow(const TermIndex& index, std::uint32_t lastRow, Use use) {
  for (std::uint32_t row = lastRow;;) {
    row = (*index.ring)[row];
    use(row);
    if (row == lastRow) return;
  }
}

}  // namespace corvenda
