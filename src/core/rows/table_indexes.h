// The indexes over the terms of a table, and the look-ups in them.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/keyed_hash.h"
#include "base/system_vector.h"
#include "rows/sections.h"
#include "rows/term_index.h"

namespace corvenda {

/// Rows that are looked for in the same text share an index, so that a title is walked once for all of them. Each index
/// is made at its first use, by whichever thread comes first.
struct TableIndexes {
  /// `done` spares each title the call into the standard library that `once` costs.
  struct Made {
    std::atomic<bool> done = false;
    std::once_flag once;
  };
  Made ringMade;
  Made nativeMade;
  Made englishMade;
  Made celebrityMade;
  Made facetMade;
  Made identityMade;
  Made mastersMade;
  TermIndex native;     ///< scene and place rows that aren't English, human phrases that aren't plain tokens
  TermIndex english;    ///< scene and place rows that are English, human phrases that are plain tokens
  TermIndex celebrity;  ///< celebrity rows
  TermIndex facet;      ///< facet rows
  TermIndex identity;   ///< those facet rows that are English and of the dimension "identity"
  SystemVector<std::uint32_t> ring;           ///< shared by all but `identity`: a row is in at most one of the others
  std::vector<std::uint32_t> repeatedNative;  ///< see isRepeated; ascending
  std::vector<std::uint32_t> repeatedEnglish;
  std::unordered_map<std::string_view, std::uint32_t, KeyedHash> masters;
};

const TermIndex& nativeIndex(const RecordTable& table);
const TermIndex& englishIndex(const RecordTable& table);
const TermIndex& celebrityIndex(const RecordTable& table);
const TermIndex& facetIndex(const RecordTable& table);
const TermIndex& identityIndex(const RecordTable& table);

/// False if no human phrase of the index has the length of the text: then it is none, without a look-up.
bool mayBePhrase(const TermIndex& index, std::string_view text);

/// Makes all of them, so that no later call has to.
void makeIndexes(const RecordTable& table);

struct FoundRow {
  std::uint32_t row = 0;
  std::uint32_t position = 0;  ///< first byte of the term in the text
};

/// The rows of the section whose term equals `term` or, with `contains`, is a substring of `term`, in order. Note the
/// direction: the given text contains the row's term, not the other way round.
std::vector<FoundRow> filterRecords(const RecordTable& table, Section section, std::string_view term, bool contains);

std::vector<std::uint32_t> positionsOf(const std::vector<FoundRow>& found);

/// The number of the scene's master row: the first row of the section "scene" with 11 fields or more, that key and the
/// kind "category".
std::optional<std::uint32_t> findMasterRow(const RecordTable& table, std::string_view sceneKey);

/// True for a scene row with the term and fields of an earlier scene row of the table: for the scene resolvers the two
/// are one row. Valid once the index that holds the row has been used.
bool isRepeated(const RecordTable& table, std::uint32_t row);

}  // namespace corvenda
