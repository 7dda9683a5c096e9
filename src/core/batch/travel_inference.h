// Trips that the ending of a title suggests.
#pragma once

#include <string_view>

namespace corvenda {

/// A scene and its detail; both empty if the title suggests no trip.
struct TravelInference {
  std::string_view sceneKey;
  std::string_view sceneDetail;
};

/// A place name followed by a word of visiting is a trip. Works on the title unchanged: a trailing blank defeats it.
TravelInference inferTravelDetail(bool locationHit, std::string_view raw);

}  // namespace corvenda
