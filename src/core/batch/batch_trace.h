// How the answer for one title of a batch came about. It points into the title, the lexicon and the scratch memory, and
// is void once another title is resolved with these.
#pragma once

#include "batch/travel_inference.h"
#include "location/location_trace.h"
#include "scene/scene_trace.h"

namespace corvenda {

struct BatchTrace {
  LocationTrace location;
  SceneTrace scene;
  TravelInference travel;
  bool travelDiary = false;  ///< the title's "vlog" made the detail a travel diary
};

}  // namespace corvenda
