// The sections that rows belong to and that calls ask for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace corvenda {

/// kLocation stands for "location" and every section whose name begins with "location-".
enum class Section : std::uint8_t { kScene, kHuman, kCelebrity, kLocation, kFacet };
constexpr std::size_t kSectionCount = 5;

/// "scene", "human", "celebrity", "location" or "facet"; nothing for another text.
std::optional<Section> sectionFromName(std::string_view name);

/// The section to which rows belong whose own section has this name; nothing for rows that no call can reach.
std::optional<Section> sectionOfRows(std::string_view name);

}  // namespace corvenda
