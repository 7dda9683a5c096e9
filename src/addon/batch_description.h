// Description (see result.h) of what a batch says of one title.
#pragma once

#include "addon/shared_descriptions.h"
#include "batch/scene_intent_batch.h"

namespace corvenda {

/// The place of the primary code.
struct PrimaryHitOfCode {
  PrimaryLocationHit hit;
  std::string_view code;
};

// Slots of putFirst, beside those of shared_descriptions.h.
constexpr unsigned kShortLabelSlot = 2;
constexpr unsigned kPlaceSlot = 3;
constexpr unsigned kCodeSlot = 4;

template <typename Out>
void describe(Out& out, const PrimaryHitOfCode& primary) {
  // The alias is the label, not the term that was found: what is shown is the name of the place.
  putFirst(out, "alias", kPlaceSlot, primary.hit.label);
  putAgain(out, "code", kCodeSlot, primary.code);
  put(out, "index", primary.hit.index);
  putAgain(out, "label", kPlaceSlot, primary.hit.label);
  put(out, "len", primary.hit.len);
  put(out, "source", primary.hit.source);
  put(out, "weight", primary.hit.weight);
}

template <typename Out>
void describe(Out& out, const LocationMeta& meta) {
  std::optional<PrimaryHitOfCode> primary;
  if (meta.primaryHit) primary = {*meta.primaryHit, meta.countryCode};
  putGroup(out, meta.identity, [&] {
    putFirst(out, "countryCode", kCodeSlot, meta.countryCode);
    putLastList(out, "countryCodes");  // the very array of "locationCodes"
    put(out, "countryLabel", meta.countryLabel);
    put(out, "locationLabel", meta.locationLabel);
    putFirst(out, "shortLabel", kShortLabelSlot, meta.shortLabel);
  });
  putAgain(out, "fullLabel", kShortLabelSlot, meta.shortLabel);
  put(out, "primaryHit", primary);
}

template <typename Out>
void describe(Out& out, const BatchAnswer& answer) {
  putConstant(out, "ok", true);
  putConstant(out, "sceneContract", kSceneContract);
  put(out, "locationCodes", answer.location.codes);
  put(out, "locationMeta", answer.location.meta);
  describe(out, answer.scene);
}

}  // namespace corvenda
