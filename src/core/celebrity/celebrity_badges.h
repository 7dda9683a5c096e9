// The people that a title names, and the badge for what the first of them is doing in it.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "base/keyed_hash.h"
#include "rows/record_table.h"
#include "text/title.h"

namespace corvenda {

/// True if the title has no text in which a pack's row could be found. Such a title doesn't need the pack.
bool isBlankTitle(const TitleTexts& title);

/// A row whose alias stands in the title.
struct CelebrityMatch {
  CelebrityRow row;
  const RecordTable* table = nullptr;
  std::uint32_t number = 0;
};

/// What finding people needs. Kept from title to title to reuse its memory.
struct CelebrityScratch {
  TermHits hits;
  std::vector<std::uint32_t> rows;
  std::vector<CelebrityMatch> matches;  ///< each alias with an id once
  std::unordered_set<std::string, KeyedHash> seenKeys;
  std::vector<CelebrityRow> people;
};

/// The rows of the people in the title, each person once under the longest alias, the longest alias first. Of rows with
/// the same alias and id the first counts: those of `overlays`, in order, then those of `pack`, which may be null for a
/// blank title. The rows live as long as the tables, their list until the scratch is used again.
std::span<const CelebrityRow> findCelebrities(const TitleTexts& title, std::span<const RecordTable* const> overlays,
                                              const RecordTable* pack, CelebrityScratch* scratch);

/// What a title says of the person's activity: for each, the first of its words that the title has, or null. The words
/// are constants.
struct ActivitySignals {
  const std::string_view* concert;
  const std::string_view* airport;
  const std::string_view* roadshow;
  const std::string_view* fan;
  const std::string_view* variety;
  const std::string_view* brand;
  const std::string_view* fashion;
  const std::string_view* city;
  const std::string_view* posterWord;
};

ActivitySignals readActivitySignals(const TitleTexts& title);

struct BadgeCandidate {
  std::string_view label;
  int score = 0;
  std::string_view reason;  ///< a constant
};

/// Stays empty for a title that names nobody. The labels are constants, but for one that names a region.
struct CelebrityBadge {
  std::string_view rawLabel;
  std::string_view mediumFallbackLabel;    ///< a more general activity
  std::string_view fallbackLabel;          ///< the badge of the person's kind alone
  std::vector<BadgeCandidate> candidates;  ///< in a fixed order, not by score; at least two
  double confidence = 0;
  std::string_view confidenceLevel;                ///< "high", "medium" or "low"
  std::shared_ptr<const std::string> regionLabel;  ///< memory of the one that is no constant
};

/// `photo`: the title is that of a photo, else of a video. The badge's memory is used again.
void proposeCelebrityBadge(const CelebrityRow& primary, const TitleTexts& title, bool photo, CelebrityBadge* badge);

void clearBadge(CelebrityBadge* badge);

}  // namespace corvenda
