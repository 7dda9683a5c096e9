#include "batch/travel_inference.h"

#include "text/text_primitives.h"

namespace corvenda {
namespace {

using namespace std::string_view_literals;

/// Each ending is a literal, so that comparing it is a matter of a few instructions: every title with a place is asked.
template <typename... Ending>
bool endsWithAny(std::string_view text, Ending... endings) {
  return (text.ends_with(endings) || ...);
}

}  // namespace

TravelInference inferTravelDetail(bool locationHit, std::string_view raw) {
  if (!locationHit) return {};
  if (endsWithAny(raw, "玩"sv, "玩一下"sv, "玩几天"sv, "玩一天"sv, "玩两天"sv, "玩三天"sv))
    return {"travel", "travel diary"};
  if (raw.ends_with("随拍") && containsTerm(raw, "旅行")) return {"travel", "travel diary"};
  if (endsWithAny(raw, "随拍"sv, "逛"sv, "逛一下"sv, "逛一逛"sv) && !containsTerm(raw, "街头"))
    return {"city", "city walk"};
  return {};
}

}  // namespace corvenda
