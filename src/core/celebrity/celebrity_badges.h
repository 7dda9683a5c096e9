// The people that a title names, and the badge for what the first of them is doing in it.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cache/semantic_cache.h"

namespace corvenda {

/// A title and its folds. The English reading is needed as a fold only.
struct CelebrityTitle {
  std::string raw;             ///< as the library has it
  std::string compactRaw;      ///< compactTerm of it
  std::string compactEnglish;  ///< compactTerm of the caller's "normalizedEnglish"
  bool photo = false;          ///< else a video
};

CelebrityTitle makeCelebrityTitle(std::string raw, std::string_view english, bool photo);

/// True if there is no text in which a pack's row could be found: such a title doesn't need the pack.
bool isBlankTitle(const CelebrityTitle& title);

/// The rows that are looked at before those of the pack, in this order.
struct CelebrityOverlay {
  std::vector<IndexRecord> rows;           ///< of the caller's option
  std::shared_ptr<const LoadedPack> pack;  ///< the overlay pack, or null
  TermIndex index;                         ///< over `rows`; by `buildTermIndex`
};

/// The rows of the people in the title, each person once under the longest alias, the longest alias first. `pack` may
/// be null for a blank title. The rows live as long as the overlay and the pack.
std::vector<const IndexRecord*> findCelebrities(const CelebrityTitle& title, const CelebrityOverlay& overlay,
                                                const RecordTable* pack);

struct BadgeCandidate {
  std::string label;
  int score = 0;
  std::string_view reason;  ///< a constant
};

/// Made empty for a title that names nobody.
struct CelebrityBadge {
  std::string rawLabel;
  std::string mediumFallbackLabel;         ///< a more general activity
  std::string fallbackLabel;               ///< the badge of the person's kind alone
  std::vector<BadgeCandidate> candidates;  ///< in a fixed order, not by score; two at least
  double confidence = 0;
  std::string_view confidenceLevel;  ///< "high", "medium" or "low"
};

/// The badge of a person by kind alone.
std::string defaultCelebrityLabel(std::string_view kind, std::string_view region);

/// `primary` has all fields of a celebrity row.
CelebrityBadge proposeCelebrityBadge(const IndexRecord& primary, const CelebrityTitle& title);

}  // namespace corvenda
