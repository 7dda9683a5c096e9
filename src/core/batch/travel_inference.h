// Trips that the ending of a title suggests.
#pragma once

#include <string_view>

namespace corvenda {

/// A scene and its detail; both empty if the title suggests no trip.
struct TravelInference {
  std::string_view sceneKey;
  std::string_view sceneDetail;
};

/// A title that names a place and ends with a word of visiting is a trip. The title is taken unchanged, so a blank at
/// its end prevents a match.
TravelInference inferTravelDetail(bool locationHit, std::string_view raw);

}  // namespace corvenda
