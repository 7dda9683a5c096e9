#include "addon/location_result.h"

#include "addon/border.h"

namespace corvenda {
namespace {

bool setPrimaryHit(napi_env env, napi_value object, const LocationMeta& meta) {
  if (!meta.primaryHit) return setNull(env, object, "primaryHit");
  const PrimaryLocationHit& hit = *meta.primaryHit;
  const napi_value primary = makeObject(env);
  // The alias is the label, not the term that was found: what is shown is the name of the place.
  return setText(env, primary, "alias", hit.label) && setText(env, primary, "code", meta.countryCode) &&
         setNumber(env, primary, "index", hit.index) && setText(env, primary, "label", hit.label) &&
         setNumber(env, primary, "len", hit.len) && setText(env, primary, "source", hit.source) &&
         setNumber(env, primary, "weight", hit.weight) && setValue(env, object, "primaryHit", primary);
}

}  // namespace

bool setLocation(napi_env env, napi_value result, const LocationAnswer& answer) {
  const napi_value codes = makeList(env, answer.codes, makeString);
  if (!setValue(env, result, "locationCodes", codes)) return false;
  if (!answer.meta) return setNull(env, result, "locationMeta");
  const LocationMeta& meta = *answer.meta;
  const napi_value object = makeObject(env);
  // "countryCodes" is the very array of "locationCodes".
  return setText(env, object, "countryCode", meta.countryCode) && setValue(env, object, "countryCodes", codes) &&
         setText(env, object, "countryLabel", meta.countryLabel) &&
         setText(env, object, "locationLabel", meta.locationLabel) &&
         setText(env, object, "shortLabel", meta.shortLabel) && setText(env, object, "fullLabel", meta.shortLabel) &&
         setPrimaryHit(env, object, meta) && setValue(env, result, "locationMeta", object);
}

}  // namespace corvenda
