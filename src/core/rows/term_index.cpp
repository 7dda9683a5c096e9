#include "rows/term_index.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "base/prefetch.h"
#include "base/short_text.h"
#include "rows/record_table.h"

namespace corvenda {
namespace {

// Flags of `firstBytes` and `shortGate`: how long the terms are that begin with the byte, or the three bytes. The flag
// for n bytes is bit n - 1. In `firstBytes` kThreeBytes means three or more; in `shortGate` kSixBytes means six or
// more.
constexpr std::uint8_t kOneByte = 1;
constexpr std::uint8_t kTwoBytes = 2;
constexpr std::uint8_t kThreeBytes = 4;
constexpr std::uint8_t kThreeToFive = kThreeBytes | kThreeBytes << 1U | kThreeBytes << 2U;
constexpr std::uint8_t kSixBytes = 32;

/// The bytes of the prefix that leads to the set of lengths: two Chinese characters. With a shorter prefix more terms
/// share one, and more lengths have to be tried; with a longer one more terms are too short to have it.
constexpr std::size_t kGatePrefix = 6;
/// An entry of the gate has 64 bits: 16 of tag, one each for the lengths 6 to 52, and kLongBit for all longer ones,
/// which are found through `longTerms`.
constexpr std::size_t kLongLength = kGatePrefix + 47;
constexpr std::uint64_t kLongBit = std::uint64_t{1} << 47U;
constexpr std::uint64_t kLengthBits = 2 * kLongBit - 1;

/// Sets of lengths of all terms: bit n for n bytes, up to kLongLength for that and more.
constexpr std::uint64_t lengthBit(std::size_t length) { return std::uint64_t{1} << length; }
std::size_t longestOf(std::uint64_t lengths) { return static_cast<std::size_t>(std::bit_width(lengths)) - 1; }

/// At most two thirds full, so that probes stay short.
std::size_t tableCapacity(std::size_t count) { return count + count / 2 + 8; }

/// About four sevenths full, for a count of bits of which some stand for two prefixes. If more than few do, the table
/// is made anew, see fillGate.
std::size_t gateCapacity(std::size_t prefixes) { return prefixes + prefixes / 4 * 3 + 64; }

/// A place in a table of `capacity`, from the upper half of the hash. Tags come from the lower half, so that terms in
/// one place still differ in them.
std::size_t placeOf(std::uint64_t hash, std::size_t capacity) {
  return static_cast<std::size_t>(((hash >> 32U) * capacity) >> 32U);
}

std::uint32_t tagOf(std::uint64_t hash) { return static_cast<std::uint32_t>(hash); }

std::size_t nextPlace(std::size_t place, std::size_t capacity) { return ++place == capacity ? 0 : place; }

// A `front` is the first eight bytes of a term or text, see loadFront.

std::uint8_t firstByte(std::uint64_t front) { return static_cast<std::uint8_t>(front); }

std::size_t pairOf(std::uint64_t front) { return front & 0xFFFFU; }

std::size_t shortPlace(const TermIndex& index, std::uint64_t front) {
  const std::uint64_t mixed = ((front & 0xFFFFFFU) ^ index.seed.first) * (index.seed.second | 1U);
  return static_cast<std::size_t>(mixed >> 40U) & (index.shortGate.size() - 1);
}

/// The upper half of a single product says too little: with one seed in fifty, prefixes that count up lie in a few
/// places. The second factor is 2^64 divided by the golden ratio; it makes the upper half depend on all bits.
std::uint64_t gateHash(const TermIndex& index, std::uint64_t front) {
  return foldedProduct((front & 0xFFFFFFFFFFFFU) ^ index.seed.first, index.seed.second) * 0x9E3779B97F4A7C15U;
}

/// Whether the bit of a prefix is set. Neighbouring bits and entries of the gate belong together: both are found by the
/// upper half of the hash.
bool mayBeGated(const TermIndex& index, std::uint64_t hash) {
  const std::size_t bit = placeOf(hash, 64 * index.prefixBits.size());
  return (index.prefixBits[bit / 64] >> (bit % 64) & 1U) != 0;
}

/// An entry of the gate without its lengths. The tag's lowest bit is always set: an entry of 0 is an empty place.
std::uint64_t gateTag(std::uint64_t hash) { return (hash << 48U) | std::uint64_t{1} << 48U; }

/// The row of the first slot with the tag of the hash.
std::optional<std::uint32_t> findTag(const TermIndex& index, std::uint64_t hash) {
  const std::size_t capacity = index.slots.size();
  for (std::size_t place = placeOf(hash, capacity); index.slots[place] != kEmptySlot;
       place = nextPlace(place, capacity)) {
    if (index.slots[place] >> 32U == tagOf(hash)) return static_cast<std::uint32_t>(index.slots[place]);
  }
  return std::nullopt;
}

/// The last row of the term that equals `text`, whose hash is known.
std::optional<std::uint32_t> lookUp(const RecordTable& table, const TermIndex& index, std::string_view text,
                                    std::uint64_t hash) {
  const std::size_t capacity = index.slots.size();
  for (std::size_t place = placeOf(hash, capacity); index.slots[place] != kEmptySlot;
       place = nextPlace(place, capacity)) {
    if (index.slots[place] >> 32U != tagOf(hash)) continue;
    const auto row = static_cast<std::uint32_t>(index.slots[place]);
    if (isSameText(termOf(table, row), text)) return row;
  }
  return std::nullopt;
}

// --- Building ------------------------------------------------------------------------------------------------------

/// Rows that are added together: the places of all of them are asked for before the first is used, because a table of
/// many terms lies in no cache.
constexpr std::size_t kTogether = 32;

struct Hashed {
  std::uint32_t row = 0;
  std::uint64_t hash = 0;
};

/// Calls `use(hashed)` for each row that `choose` takes, in order; `choose` gives its hash. The place that the hash has
/// in `slots` is on its way by then.
template <typename Choose, typename Use>
void forEachHashed(std::span<const std::uint32_t> rows, const SystemVector<std::uint64_t>& slots, Choose choose,
                   Use use) {
  std::array<Hashed, kTogether> together;
  std::size_t count = 0;
  for (const std::uint32_t row : rows) {
    if (!choose(row, &together[count].hash)) continue;
    prefetch(&slots[placeOf(together[count].hash, slots.size())]);
    together[count++].row = row;
    if (count < kTogether) continue;
    for (const Hashed& hashed : together) use(hashed);
    count = 0;
  }
  std::for_each_n(together.begin(), count, use);
}

/// Adds a row, which comes after all rows that were added before.
void addRow(const RecordTable& table, const Hashed& added, SystemVector<std::uint32_t>* ring, TermIndex* index) {
  const std::size_t capacity = index->slots.size();
  const std::uint64_t slot = static_cast<std::uint64_t>(tagOf(added.hash)) << 32U | added.row;
  std::size_t place = placeOf(added.hash, capacity);
  for (; index->slots[place] != kEmptySlot; place = nextPlace(place, capacity)) {
    const auto last = static_cast<std::uint32_t>(index->slots[place]);
    if (index->slots[place] >> 32U != tagOf(added.hash) || termOf(table, last) != termOf(table, added.row)) continue;
    (*ring)[added.row] = (*ring)[last];
    (*ring)[last] = added.row;
    index->slots[place] = slot;
    return;
  }
  index->slots[place] = slot;
  (*ring)[added.row] = added.row;
}

/// Sets the bit of a prefix; true if it wasn't set.
bool registerPrefix(TermIndex* index, std::uint64_t hash) {
  const std::size_t bit = placeOf(hash, 64 * index->prefixBits.size());
  std::uint64_t& word = index->prefixBits[bit / 64];
  const std::uint64_t before = word;
  word |= std::uint64_t{1} << (bit % 64);
  return word != before;
}

/// Registers what is known of a term's first bytes and of short terms. True if its prefix is new to the gate.
bool registerFront(TermIndex* index, std::string_view term) {
  const std::uint64_t front = loadFront(term);
  std::uint8_t& first = index->firstBytes[firstByte(front)];
  if (term.size() == 1) {
    first |= kOneByte;
  } else if (term.size() == 2) {
    first |= kTwoBytes;
    if (index->pairs.empty()) index->pairs.assign(65536 / 64, 0);
    index->pairs[pairOf(front) / 64] |= std::uint64_t{1} << (pairOf(front) % 64);
  } else {
    const bool gated = term.size() >= kGatePrefix;
    first |= kThreeBytes;
    index->shortGate[shortPlace(*index, front)] |=
        gated ? kSixBytes : static_cast<std::uint8_t>(kThreeBytes << (term.size() - 3));
    return gated && registerPrefix(index, gateHash(*index, front));
  }
  return false;
}

/// True if the prefix is new.
bool addAtGate(TermIndex* index, std::string_view term, std::uint64_t hash) {
  const std::size_t capacity = index->gate.size();
  std::size_t place = placeOf(hash, capacity);
  while (index->gate[place] != 0 && (index->gate[place] & ~kLengthBits) != gateTag(hash)) {
    place = nextPlace(place, capacity);
  }
  const bool isNew = index->gate[place] == 0;
  const std::uint64_t length = term.size() < kLongLength ? std::uint64_t{1} << (term.size() - kGatePrefix) : kLongBit;
  index->gate[place] |= gateTag(hash) | length;
  return isNew;
}

/// False if there are too many prefixes for the capacity: then places are short, and a search for an empty one long.
bool fillGate(const RecordTable& table, std::span<const std::uint32_t> rows, std::size_t capacity, TermIndex* index) {
  index->gate.assign(capacity, 0);
  std::size_t free = capacity / 8 * 7;
  forEachHashed(
      rows, index->gate,
      [&](std::uint32_t row, std::uint64_t* hash) {
        const std::string_view term = termOf(table, row);
        if (term.size() < kGatePrefix || !isLastOfTerm(*index, row)) return false;
        *hash = gateHash(*index, loadFront(term));
        return true;
      },
      [&](const Hashed& added) {
        if (free > 0 && addAtGate(index, termOf(table, added.row), added.hash)) --free;
      });
  return free > 0;
}

void collectLongTerms(const RecordTable& table, TermIndex* index) {
  forEachTerm(*index, [&](std::uint32_t row) {
    if (termOf(table, row).size() >= kLongLength) index->longTerms.push_back(row);
  });
  std::sort(index->longTerms.begin(), index->longTerms.end(),
            [&](std::uint32_t a, std::uint32_t b) { return termOf(table, a) < termOf(table, b); });
}

// --- Searching -----------------------------------------------------------------------------------------------------

/// Up to this many hits are searched one by one, more through a hash table. 16 hits are two cache lines; most titles
/// have fewer and never pay for the table.
constexpr std::size_t kFewHits = 16;

std::size_t hitPlace(const TermHits& hits, std::uint32_t row) {
  // 2^64 divided by the golden ratio: spreads consecutive numbers evenly.
  const std::uint64_t mixed = row * std::uint64_t{0x9E3779B97F4A7C15U};
  return static_cast<std::size_t>(mixed >> 32U) & (hits.places.size() - 1);
}

void putHitPlace(TermHits* hits, std::size_t position) {
  std::size_t place = hitPlace(*hits, hits->terms[position].lastRow);
  while (hits->places[place] != 0) place = (place + 1) & (hits->places.size() - 1);
  hits->places[place] = static_cast<std::uint32_t>(position + 1);
}

bool isFound(const TermHits& hits, std::uint32_t lastRow) {
  if (hits.terms.size() <= kFewHits) {
    return std::any_of(hits.terms.begin(), hits.terms.end(),
                       [&](const TermHit& hit) { return hit.lastRow == lastRow; });
  }
  for (std::size_t place = hitPlace(hits, lastRow); hits.places[place] != 0;) {
    if (hits.terms[hits.places[place] - 1].lastRow == lastRow) return true;
    place = (place + 1) & (hits.places.size() - 1);
  }
  return false;
}

/// Adds a term that was not found before.
void addHit(TermHits* hits, std::uint32_t lastRow, std::size_t position) {
  hits->terms.push_back({lastRow, static_cast<std::uint32_t>(position)});
  const std::size_t count = hits->terms.size();
  if (count <= kFewHits) return;
  if (count == kFewHits + 1 || 2 * count > hits->places.size()) {
    hits->places.assign(4 * std::bit_ceil(count), 0);
    for (std::size_t i = 0; i < count; ++i) putHitPlace(hits, i);
  } else {
    putHitPlace(hits, count - 1);
  }
}

/// The entry of a prefix in the gate without its tag; 0 if there is none.
std::uint64_t gatedLengths(const TermIndex& index, std::uint64_t hash) {
  const std::size_t capacity = index.gate.size();
  for (std::size_t place = placeOf(hash, capacity); index.gate[place] != 0; place = nextPlace(place, capacity)) {
    if ((index.gate[place] & ~kLengthBits) == gateTag(hash)) return index.gate[place] & kLengthBits;
  }
  return 0;
}

/// The set of lengths of terms that may begin like a text with this front.
std::uint64_t possibleLengths(const TermIndex& index, std::uint64_t front) {
  const std::uint8_t kinds = index.firstBytes[firstByte(front)];
  if (kinds == 0) return 0;
  const std::uint8_t flags = index.shortGate[shortPlace(index, front)];
  const std::uint64_t hash = gateHash(index, front);
  // One test for the two: each alone says yes and no in turns, which processors can't foresee.
  const bool gated = ((flags / kSixBytes) & (mayBeGated(index, hash) ? 1U : 0U)) != 0;
  std::uint64_t lengths = static_cast<std::uint64_t>((flags & kThreeToFive) | (kinds & kOneByte)) << 1U;
  if (gated) lengths |= gatedLengths(index, hash) << kGatePrefix;
  if ((kinds & kTwoBytes) != 0) lengths |= (index.pairs[pairOf(front) / 64] >> (pairOf(front) % 64) & 1U) << 2U;
  return lengths;
}

/// The longest long term of at most `limit` bytes that `text` begins with.
std::optional<std::uint32_t> longestLongTerm(const RecordTable& table, const TermIndex& index, std::string_view text,
                                             std::size_t limit) {
  while (limit >= kLongLength) {
    const std::string_view front = text.substr(0, limit);
    const auto next =
        std::upper_bound(index.longTerms.begin(), index.longTerms.end(), front,
                         [&](std::string_view key, std::uint32_t row) { return key < termOf(table, row); });
    if (next == index.longTerms.begin()) return std::nullopt;
    const std::string_view term = termOf(table, *(next - 1));
    if (front.starts_with(term)) return *(next - 1);
    // Every prefix of `front` that is a term sorts before this one and is a prefix of it too, so it can't be longer
    // than what the two have in common.
    limit = static_cast<std::size_t>(std::mismatch(front.begin(), front.end(), term.begin(), term.end()).first -
                                     front.begin());
  }
  return std::nullopt;
}

/// Searches at one byte of a text for terms that begin there.
struct Searcher {
  const RecordTable& table;
  const TermIndex& index;
  TermHits* hits;
};

/// True if the search at this byte is over: the term was found before, and its prefixes with it.
bool addContained(const Searcher& searcher, std::uint32_t lastRow, std::size_t position) {
  if (isFound(*searcher.hits, lastRow)) return true;
  addHit(searcher.hits, lastRow, position);
  return false;
}

/// Adds the long terms that `text` begins with, longest first; see addContained.
bool addLongContained(const Searcher& searcher, std::string_view text, std::size_t position) {
  for (std::size_t limit = text.size();;) {
    const auto term = longestLongTerm(searcher.table, searcher.index, text, limit);
    if (!term) return false;
    if (addContained(searcher, *term, position)) return true;
    limit = termOf(searcher.table, *term).size() - 1;
  }
}

/// Adds the terms that `text` begins with, longest first. `lengths` are those that they can have.
void addContainedAt(const Searcher& searcher, std::uint64_t lengths, std::string_view text, std::size_t position) {
  if ((lengths & lengthBit(kLongLength)) != 0) {
    if (addLongContained(searcher, text, position)) return;
    lengths ^= lengthBit(kLongLength);
  }
  while (lengths != 0) {
    const std::size_t length = longestOf(lengths);
    lengths ^= lengthBit(length);
    if (length > text.size()) continue;
    const std::string_view front = text.substr(0, length);
    const auto term = lookUp(searcher.table, searcher.index, front, keyedHash(front, searcher.index.seed));
    if (term && addContained(searcher, *term, position)) return;
  }
}

/// The text without its blanks in `words`, and where its words end in it.
void joinWords(std::string_view text, TermHits* hits) {
  hits->words.resize(text.size() + sizeof(std::uint64_t));
  hits->ends.clear();
  char* const begin = hits->words.data();
  char* out = begin;
  const auto endWord = [&] {
    const auto end = static_cast<std::uint32_t>(out - begin);
    if (end > (hits->ends.empty() ? 0 : hits->ends.back())) hits->ends.push_back(end);
  };
  while (!text.empty()) {
    const std::uint64_t bytes = loadFront(text);
    const std::size_t left = std::min(text.size(), sizeof bytes);
    const std::size_t kept = std::min(bytesBefore(bytes, ' '), left);
    // There is room for all eight; what follows the kept ones is written over.
    std::memcpy(out, &bytes, sizeof bytes);
    out += kept;
    text.remove_prefix(kept < left ? kept + 1 : left);
    if (kept < left) endWord();
  }
  endWord();
  hits->words.resize(static_cast<std::size_t>(out - begin));
}

void addRun(const Searcher& searcher, std::uint32_t lastRow, std::size_t position) {
  if (!isFound(*searcher.hits, lastRow)) addHit(searcher.hits, lastRow, position);
}

/// Adds the long terms that begin at `position`, where a word does, and end where one does. A term that was found at an
/// earlier word is skipped together with those of its prefixes that were tried then.
void addLongRuns(const Searcher& searcher, std::size_t position) {
  const std::string_view text = std::string_view(searcher.hits->words).substr(position);
  const std::vector<std::uint32_t>& ends = searcher.hits->ends;
  auto& newRunLimits = searcher.hits->newRunLimits;
  std::size_t* known = nullptr;  // stored with the first of several known terms in sequence; lowered to skip them all
  for (std::size_t limit = text.size();;) {
    const auto term = longestLongTerm(searcher.table, searcher.index, text, limit);
    if (known != nullptr) *known = limit;
    if (!term) return;
    const std::size_t length = termOf(searcher.table, *term).size();
    limit = length - 1;
    if (const auto found = newRunLimits.find(*term); found != newRunLimits.end()) {
      limit = found->second;
      if (known == nullptr) known = &found->second;
      continue;
    }
    known = nullptr;
    if (!std::binary_search(ends.begin(), ends.end(), static_cast<std::uint32_t>(position + length))) continue;
    addHit(searcher.hits, *term, position);
    newRunLimits.emplace(*term, limit);
  }
}

/// Adds the terms that begin at word number `first`, whose first byte is at `position`.
void addRunsAt(const Searcher& searcher, std::size_t first, std::size_t position) {
  const TermIndex& index = searcher.index;
  const std::string_view text = std::string_view(searcher.hits->words).substr(position);
  const std::uint64_t lengths = possibleLengths(index, loadFront(text));
  if (lengths == 0) return;
  if ((lengths & lengthBit(kLongLength)) != 0) addLongRuns(searcher, position);
  for (std::size_t word = first; word < searcher.hits->ends.size(); ++word) {
    const std::size_t length = searcher.hits->ends[word] - position;
    if (length >= kLongLength) return;
    if ((lengths & lengthBit(length)) == 0) continue;
    const std::string_view run = text.substr(0, length);
    const auto term = lookUp(searcher.table, index, run, keyedHash(run, index.seed));
    if (term) addRun(searcher, *term, position);
  }
}

void findContainedAtOnce(const Searcher& searcher, std::string_view text) {
  for (std::size_t position = 0; position < text.size(); ++position) {
    if (searcher.index.firstBytes[static_cast<std::uint8_t>(text[position])] == 0) continue;
    const std::string_view rest = text.substr(position);
    const std::uint64_t lengths = possibleLengths(searcher.index, loadFront(rest));
    if (lengths != 0) addContainedAt(searcher, lengths, rest, position);
  }
}

void findWordRunsAtOnce(const Searcher& searcher) {
  TermHits* const hits = searcher.hits;
  if (!hits->newRunLimits.empty()) hits->newRunLimits.clear();
  std::size_t position = 0;
  for (std::size_t word = 0; word < hits->ends.size(); ++word) {
    addRunsAt(searcher, word, position);
    position = hits->ends[word];
  }
}

// --- In steps ------------------------------------------------------------------------------------------------------

/// Adds a probe and asks for its slot. False if the text is to be searched at once.
bool addProbe(const TermIndex& index, std::string_view part, std::size_t position, TermProbes* probes) {
  probes->complete = part.size() < kLongLength && probes->count < TermProbes::kMost;
  if (!probes->complete) return false;
  const std::uint64_t hash = keyedHash(part, index.seed);
  prefetch(&index.slots[placeOf(hash, index.slots.size())]);
  probes->probes[probes->count++] = {hash, static_cast<std::uint32_t>(position),
                                     static_cast<std::uint32_t>(part.size()), 0};
  return true;
}

/// The last row of the term that the probe has found. That its tag is another term's is as rare as it is unlikely.
std::optional<std::uint32_t> termOfProbe(const Searcher& searcher, const TermProbe& probe, std::string_view text) {
  const std::string_view part = text.substr(probe.position, probe.length);
  if (isSameText(termOf(searcher.table, probe.row), part)) return probe.row;
  return lookUp(searcher.table, searcher.index, part, probe.hash);
}

}  // namespace

void buildTermIndex(const RecordTable& table, std::span<const std::uint32_t> rows, SystemVector<std::uint32_t>* ring,
                    const HashSeed& seed, TermIndex* index) {
  index->seed = seed;
  index->ring = ring;
  if (rows.empty()) return;
  index->slots.assign(tableCapacity(rows.size()), kEmptySlot);
  index->shortGate.assign(std::clamp<std::size_t>(std::bit_ceil(16 * rows.size()), 256, 65536), 0);
  index->prefixBits.assign(rows.size() / 8 + 1, 0);
  std::size_t prefixes = 0;
  bool anyLong = false;
  forEachHashed(
      rows, index->slots,
      [&](std::uint32_t row, std::uint64_t* hash) {
        const std::string_view term = termOf(table, row);
        *hash = keyedHash(term, index->seed);
        const std::uint64_t prefixHash = gateHash(*index, loadFront(term));
        prefetch(&index->prefixBits[placeOf(prefixHash, index->prefixBits.size())]);
        return true;
      },
      [&](const Hashed& added) {
        const std::string_view term = termOf(table, added.row);
        prefixes += registerFront(index, term) ? 1U : 0U;
        anyLong |= term.size() >= kLongLength;
        addRow(table, added, ring, index);
      });

  std::size_t capacity = gateCapacity(prefixes);
  while (!fillGate(table, rows, capacity, index)) capacity *= 2;
  if (anyLong) collectLongTerms(table, index);
}

void beginContainedTerms(const TermIndex& index, std::string_view text, TermProbes* probes) {
  probes->count = 0;
  probes->complete = true;
  if (index.slots.empty()) return;
  for (std::size_t position = 0; position < text.size(); ++position) {
    if (index.firstBytes[static_cast<std::uint8_t>(text[position])] == 0) continue;
    const std::string_view rest = text.substr(position);
    for (std::uint64_t lengths = possibleLengths(index, loadFront(rest)); lengths != 0;) {
      const std::size_t length = longestOf(lengths);
      lengths ^= lengthBit(length);
      if (length <= rest.size() && !addProbe(index, rest.substr(0, length), position, probes)) return;
    }
  }
}

void beginWordRuns(const TermIndex& index, std::string_view text, TermHits* hits, TermProbes* probes) {
  joinWords(text, hits);
  probes->count = 0;
  probes->complete = true;
  if (index.slots.empty()) return;
  const std::vector<std::uint32_t>& ends = hits->ends;
  std::size_t position = 0;
  for (std::size_t first = 0; first < ends.size(); position = ends[first++]) {
    const std::string_view rest = std::string_view(hits->words).substr(position);
    const std::uint64_t lengths = possibleLengths(index, loadFront(rest));
    if (lengths == 0) continue;
    for (std::size_t word = first; word < ends.size(); ++word) {
      const std::size_t length = std::min(ends[word] - position, kLongLength);
      if ((lengths & lengthBit(length)) == 0) continue;
      if (!addProbe(index, rest.substr(0, length), position, probes)) return;
    }
  }
}

void askForRows(const RecordTable& table, const TermIndex& index, TermProbes* probes) {
  if (!probes->complete) return;
  std::size_t kept = 0;
  for (std::size_t i = 0; i < probes->count; ++i) {
    const auto row = findTag(index, probes->probes[i].hash);
    if (!row) continue;
    prefetch(&table.rows[*row]);
    prefetch(&(*index.ring)[*row]);
    probes->probes[kept] = probes->probes[i];
    probes->probes[kept++].row = *row;
  }
  probes->count = kept;
}

void askForTerms(const RecordTable& table, const TermProbes& probes) {
  if (!probes.complete) return;
  for (std::size_t i = 0; i < probes.count; ++i) prefetchRow(table, probes.probes[i].row);
}

void finishContainedTerms(const RecordTable& table, const TermIndex& index, std::string_view text,
                          const TermProbes& probes, TermHits* hits) {
  hits->terms.clear();
  const Searcher searcher{table, index, hits};
  if (!probes.complete) return findContainedAtOnce(searcher, text);
  std::size_t over = text.size();  // a position at which the search is over
  for (std::size_t i = 0; i < probes.count; ++i) {
    const TermProbe& probe = probes.probes[i];
    if (probe.position == over) continue;
    const auto term = termOfProbe(searcher, probe, text);
    if (term && addContained(searcher, *term, probe.position)) over = probe.position;
  }
}

void finishWordRuns(const RecordTable& table, const TermIndex& index, const TermProbes& probes, TermHits* hits) {
  hits->terms.clear();
  const Searcher searcher{table, index, hits};
  if (!probes.complete) return findWordRunsAtOnce(searcher);
  for (std::size_t i = 0; i < probes.count; ++i) {
    const auto term = termOfProbe(searcher, probes.probes[i], hits->words);
    if (term) addRun(searcher, *term, probes.probes[i].position);
  }
}

void findContainedTerms(const RecordTable& table, const TermIndex& index, std::string_view text, TermHits* hits) {
  TermProbes probes;
  beginContainedTerms(index, text, &probes);
  askForRows(table, index, &probes);
  askForTerms(table, probes);
  finishContainedTerms(table, index, text, probes, hits);
}

void findWordRuns(const RecordTable& table, const TermIndex& index, std::string_view text, TermHits* hits) {
  TermProbes probes;
  beginWordRuns(index, text, hits, &probes);
  askForRows(table, index, &probes);
  askForTerms(table, probes);
  finishWordRuns(table, index, probes, hits);
}

void findWordRunsAgain(const RecordTable& table, const TermIndex& index, TermHits* hits) {
  hits->terms.clear();
  if (!index.slots.empty()) findWordRunsAtOnce({table, index, hits});
}

std::optional<std::uint32_t> findTerm(const RecordTable& table, const TermIndex& index, std::string_view text) {
  if (index.slots.empty()) return std::nullopt;
  return lookUp(table, index, text, keyedHash(text, index.seed));
}

std::optional<std::uint32_t> findWholeTerm(const RecordTable& table, const TermIndex& index, std::string_view text) {
  if (index.slots.empty() || text.empty()) return std::nullopt;
  const std::uint64_t lengths = possibleLengths(index, loadFront(text));
  if ((lengths & lengthBit(std::min(text.size(), kLongLength))) == 0) return std::nullopt;
  return findTerm(table, index, text);
}

}  // namespace corvenda
