#include "batch/travel_inference.h"

#include <algorithm>
#include <initializer_list>

#include "text/text_primitives.h"

namespace corvenda {
namespace {

bool endsWithAny(std::string_view text, std::initializer_list<std::string_view> endings) {
  return std::any_of(endings.begin(), endings.end(), [&](std::string_view ending) { return text.ends_with(ending); });
}

}  // namespace

TravelInference inferTravelDetail(bool locationHit, std::string_view raw) {
  if (!locationHit) return {};
  if (endsWithAny(raw, {"玩", "玩一下", "玩几天", "玩一天", "玩两天", "玩三天"})) return {"travel", "travel diary"};
  if (raw.ends_with("随拍") && containsTerm(raw, "旅行")) return {"travel", "travel diary"};
  if (endsWithAny(raw, {"随拍", "逛", "逛一下", "逛一逛"}) && !containsTerm(raw, "街头")) return {"city", "city walk"};
  return {};
}

}  // namespace corvenda
