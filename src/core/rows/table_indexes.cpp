#include "rows/table_indexes.h"

#include <algorithm>
#include <span>
#include <string>
#include <utility>

#include "base/worker_thread.h"
#include "rows/record_table.h"

namespace corvenda {
namespace {

// --- Members of the indexes ----------------------------------------------------------------------------------------

/// Rows of these sections are looked for either in the title's own text or as words of its English reading.
bool isTwofold(Section section) {
  return section == Section::kScene || section == Section::kLocation || section == Section::kHuman;
}

bool isForWords(const RowEntry& entry, Section section) {
  return section == Section::kHuman ? entry.plain : entry.english;
}

bool isNative(const RecordTable& table, std::uint32_t row) {
  const Section section = sectionOf(table, row);
  return isTwofold(section) && !isForWords(table.rows[row], section);
}

bool isEnglish(const RecordTable& table, std::uint32_t row) {
  const Section section = sectionOf(table, row);
  return isTwofold(section) && isForWords(table.rows[row], section);
}

bool isCelebrity(const RecordTable& table, std::uint32_t row) { return sectionOf(table, row) == Section::kCelebrity; }
bool isFacet(const RecordTable& table, std::uint32_t row) { return sectionOf(table, row) == Section::kFacet; }
bool isIdentity(const RecordTable& table, std::uint32_t row) { return table.rows[row].identity; }

// --- Repeated rows -------------------------------------------------------------------------------------------------

SecureText identityKeyAt(const RecordTable& table, std::uint32_t row) {
  TextArena arena;
  return recordIdentityKey(recordAt(table, row, &arena));
}

/// Among rows with one term, finds those that repeat an earlier one.
void collectRepeated(const RecordTable& table, const std::vector<std::uint32_t>& rows,
                     std::vector<std::uint32_t>* repeated) {
  using Key = std::pair<SecureText, std::uint32_t>;
  std::vector<Key, WipingAllocator<Key>> keys;
  keys.reserve(rows.size());
  for (const std::uint32_t row : rows) keys.emplace_back(identityKeyAt(table, row), row);
  std::sort(keys.begin(), keys.end());
  for (std::size_t i = 1; i < keys.size(); ++i) {
    if (keys[i].first == keys[i - 1].first) repeated->push_back(keys[i].second);
  }
}

/// `rows` are those of the index.
void findRepeated(const RecordTable& table, const TermIndex& index, std::span<const std::uint32_t> rows,
                  std::vector<std::uint32_t>* repeated) {
  std::vector<std::uint32_t> scenes;
  for (const std::uint32_t last : rows) {
    if ((*index.ring)[last] >= last) continue;  // not the last row of its term, or the only one
    scenes.clear();
    forEachRow(index, last, [&](std::uint32_t row) {
      if (sectionOf(table, row) == Section::kScene) scenes.push_back(row);
    });
    if (scenes.size() > 1) collectRepeated(table, scenes, repeated);
  }
  std::sort(repeated->begin(), repeated->end());
}

// --- Phrases -------------------------------------------------------------------------------------------------------

std::uint64_t phraseLengthBit(std::string_view text) {
  return std::uint64_t{1} << std::min<std::size_t>(text.size(), 63);
}

std::uint64_t phraseLengthsOf(const RecordTable& table, std::span<const std::uint32_t> rows) {
  std::uint64_t lengths = 0;
  for (const std::uint32_t row : rows) {
    if (sectionOf(table, row) == Section::kHuman) lengths |= phraseLengthBit(termOf(table, row));
  }
  return lengths;
}

// --- Making --------------------------------------------------------------------------------------------------------

bool isMade(const TableIndexes::Made& made) { return made.done.load(std::memory_order_acquire); }

template <typename Make>
void makeOnce(TableIndexes::Made* made, Make make) {
  if (isMade(*made)) return;
  std::call_once(made->once, make);
  made->done.store(true, std::memory_order_release);
}

using IsMember = bool (*)(const RecordTable&, std::uint32_t);

/// The rows that belong to an index, ascending.
template <IsMember kIsMember>
SystemVector<std::uint32_t> listMembers(const RecordTable& table) {
  SystemVector<std::uint32_t> members(table.rows.size());
  std::size_t count = 0;
  for (std::uint32_t row = 0; row < table.rows.size(); ++row) {
    members[count] = row;
    count += kIsMember(table, row) ? 1U : 0U;
  }
  members.resize(count);
  return members;
}

/// `repeated` is null for indexes without scene rows and phrases.
template <IsMember kIsMember>
void makeIndex(const RecordTable& table, TableIndexes::Made* made, TermIndex* index,
               std::vector<std::uint32_t>* repeated) {
  makeOnce(made, [&] {
    TableIndexes& indexes = *table.indexes;
    makeOnce(&indexes.ringMade, [&] { indexes.ring.resize(table.rows.size()); });
    const SystemVector<std::uint32_t> members = listMembers<kIsMember>(table);
    buildTermIndex(table, members, &indexes.ring, hashSeed(), index);
    if (repeated == nullptr) return;
    findRepeated(table, *index, members, repeated);
    index->phraseLengths = phraseLengthsOf(table, members);
  });
}

/// Starting a thread takes about 30 µs, indexing this many rows about 3 ms.
constexpr std::size_t kWorthThread = 32768;

void makeEnglishIndex(void* table) { englishIndex(*static_cast<const RecordTable*>(table)); }

/// A title is looked for in both indexes, so the one in English is made at the same time.
void makeTitleIndexes(const RecordTable& table) {
  TableIndexes& indexes = *table.indexes;
  WorkerThread thread;
  // It only reads the table. If it can't be started, the index is made at its first use.
  if (table.rows.size() >= kWorthThread) startWorker(makeEnglishIndex, const_cast<RecordTable*>(&table), &thread);
  makeIndex<isNative>(table, &indexes.nativeMade, &indexes.native, &indexes.repeatedNative);
  joinWorker(&thread);
}

// --- Filtering -----------------------------------------------------------------------------------------------------

void addRows(const RecordTable& table, Section section, const TermIndex& index, const TermHit& hit,
             std::vector<FoundRow>* found) {
  forEachRow(index, hit.lastRow, [&](std::uint32_t row) {
    if (sectionOf(table, row) == section) found->push_back({row, hit.position});
  });
}

void filterIndex(const RecordTable& table, Section section, const TermIndex& index, std::string_view text,
                 bool contains, std::vector<FoundRow>* found) {
  if (contains) {
    TermHits hits;
    findContainedTerms(table, index, text, &hits);
    for (const TermHit& hit : hits.terms) addRows(table, section, index, hit, found);
  } else if (const auto lastRow = findTerm(table, index, text)) {
    addRows(table, section, index, {*lastRow, 0}, found);
  }
}

void makeMasters(const RecordTable& table, std::unordered_map<std::string_view, std::uint32_t, KeyedHash>* masters) {
  std::string_view last;
  for (std::uint32_t row = 0; row < table.rows.size(); ++row) {
    if (!table.rows[row].master) continue;
    const std::string_view key = firstFieldOf(table, row);
    // The rows of a scene mostly stand together, so most look-ups are spared.
    if (key == last && !masters->empty()) continue;
    last = masters->emplace(key, row).first->first;
  }
}

}  // namespace

const TermIndex& nativeIndex(const RecordTable& table) {
  TableIndexes& indexes = *table.indexes;
  if (!isMade(indexes.nativeMade)) makeTitleIndexes(table);
  return indexes.native;
}

const TermIndex& englishIndex(const RecordTable& table) {
  TableIndexes& indexes = *table.indexes;
  if (isMade(indexes.englishMade)) return indexes.english;
  makeIndex<isEnglish>(table, &indexes.englishMade, &indexes.english, &indexes.repeatedEnglish);
  return indexes.english;
}

const TermIndex& celebrityIndex(const RecordTable& table) {
  TableIndexes& indexes = *table.indexes;
  if (isMade(indexes.celebrityMade)) return indexes.celebrity;
  makeIndex<isCelebrity>(table, &indexes.celebrityMade, &indexes.celebrity, nullptr);
  return indexes.celebrity;
}

const TermIndex& facetIndex(const RecordTable& table) {
  makeIndex<isFacet>(table, &table.indexes->facetMade, &table.indexes->facet, nullptr);
  return table.indexes->facet;
}

const TermIndex& identityIndex(const RecordTable& table) {
  TableIndexes& indexes = *table.indexes;
  makeOnce(&indexes.identityMade, [&] {
    indexes.identity.ownRing.resize(table.rows.size());
    buildTermIndex(table, listMembers<isIdentity>(table), &indexes.identity.ownRing, hashSeed(), &indexes.identity);
  });
  return indexes.identity;
}

bool mayBePhrase(const TermIndex& index, std::string_view text) {
  return (index.phraseLengths & phraseLengthBit(text)) != 0;
}

void makeIndexes(const RecordTable& table) {
  nativeIndex(table);
  englishIndex(table);
  celebrityIndex(table);
  facetIndex(table);
  identityIndex(table);
  findMasterRow(table, {});
}

std::vector<FoundRow> filterRecords(const RecordTable& table, Section section, std::string_view term, bool contains) {
  std::vector<FoundRow> found;
  if (section == Section::kCelebrity) {
    filterIndex(table, section, celebrityIndex(table), term, contains, &found);
  } else if (section == Section::kFacet) {
    filterIndex(table, section, facetIndex(table), term, contains, &found);
  } else {
    filterIndex(table, section, nativeIndex(table), term, contains, &found);
    filterIndex(table, section, englishIndex(table), term, contains, &found);
  }
  std::sort(found.begin(), found.end(), [](const FoundRow& a, const FoundRow& b) { return a.row < b.row; });
  return found;
}

std::vector<std::uint32_t> positionsOf(const std::vector<FoundRow>& found) {
  std::vector<std::uint32_t> positions;
  positions.reserve(found.size());
  for (const FoundRow& row : found) positions.push_back(row.position);
  return positions;
}

std::optional<std::uint32_t> findMasterRow(const RecordTable& table, std::string_view sceneKey) {
  TableIndexes& indexes = *table.indexes;
  makeOnce(&indexes.mastersMade, [&] { makeMasters(table, &indexes.masters); });
  const auto found = indexes.masters.find(sceneKey);
  if (found == indexes.masters.end()) return std::nullopt;
  return found->second;
}

bool isRepeated(const RecordTable& table, std::uint32_t row) {
  const TableIndexes& indexes = *table.indexes;
  const auto& repeated = table.rows[row].english ? indexes.repeatedEnglish : indexes.repeatedNative;
  return !repeated.empty() && std::binary_search(repeated.begin(), repeated.end(), row);
}

}  // namespace corvenda
