// What inspections tell of a pack, property by property.
#pragma once

#include <napi.h>

#include "pack/pack_records.h"

namespace corvenda {

/// Sets "documentCount", "packBytes", "documentCounts" and "binaryIndex", in this order.
void setPackSummary(napi_env env, napi_value result, const RulePack& pack);

}  // namespace corvenda
