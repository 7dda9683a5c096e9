#pragma once

#include <napi.h>

#include "location/location_resolver.h"

namespace corvenda {

/// Sets "locationCodes" and "locationMeta", in this order. False at the first step that fails.
bool setLocation(napi_env env, napi_value result, const LocationAnswer& answer);

}  // namespace corvenda
