#include "rows/sections.h"

namespace corvenda {
namespace {

/// In the order of `Section`.
constexpr std::string_view kNames[kSectionCount] = {"scene", "human", "celebrity", "location", "facet"};

}  // namespace

std::optional<Section> sectionFromName(std::string_view name) {
  for (std::size_t i = 0; i < kSectionCount; ++i) {
    if (kNames[i] == name) return static_cast<Section>(i);
  }
  return std::nullopt;
}

std::optional<Section> sectionOfRows(std::string_view name) {
  if (name.starts_with("location-")) return Section::kLocation;
  return sectionFromName(name);
}

}  // namespace corvenda
