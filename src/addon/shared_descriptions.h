// Descriptions (see result.h) of what more than one export gives back.
#pragma once

#include "addon/result.h"
#include "celebrity/celebrity_badges.h"
#include "pack/pack_records.h"
#include "scene/scene_answer.h"

namespace corvenda {

// --- Scenes --------------------------------------------------------------------------------------------------------

constexpr std::string_view kSceneContract = "native-scene-v1";

// Slots of putFirst.
constexpr unsigned kSceneKeySlot = 0;
constexpr unsigned kSceneDetailSlot = 1;

template <typename Out>
void describe(Out& out, const SceneEntry& entry) {
  putAgain(out, "key", kSceneKeySlot, entry.key);
  putGroup(out, entry.identity, [&] {
    put(out, "defaultDetail", entry.defaultDetail);
    put(out, "priority", entry.priority);
    put(out, "label", entry.label);
    put(out, "archiveLabel", entry.archiveLabel);
    put(out, "archiveCode", entry.archiveCode);
    put(out, "icon", entry.icon);
  });
}

/// A hit tells again what its title was resolved to.
struct IntentHitOfTitle {
  IntentHit hit;
  std::string_view sceneKey;
  std::string_view sceneDetail;
};

template <typename Out>
void describe(Out& out, const IntentHitOfTitle& title) {
  put(out, "alias", title.hit.alias);
  put(out, "type", title.hit.type);
  putAgain(out, "sceneKey", kSceneKeySlot, title.sceneKey);
  putAgain(out, "detail", kSceneDetailSlot, title.sceneDetail);
  put(out, "rank", title.hit.rank);
  put(out, "score", title.hit.score);
  put(out, "entry", title.hit.entry);
}

/// The last properties of a title's result, in the single call and the batch.
template <typename Out>
void describe(Out& out, const SceneAnswer& answer) {
  std::optional<IntentHitOfTitle> hit;
  if (answer.hit) hit = {*answer.hit, answer.sceneKey, answer.sceneDetail};
  putFirst(out, "sceneKey", kSceneKeySlot, answer.sceneKey);
  putFirst(out, "sceneDetail", kSceneDetailSlot, answer.sceneDetail);
  put(out, "intentHit", hit);
}

// --- People -------------------------------------------------------------------------------------------------------

template <typename Out>
void describe(Out& out, const BadgeCandidate& candidate) {
  put(out, "label", candidate.label);
  put(out, "score", candidate.score);
  put(out, "reason", candidate.reason);
}

// --- Packs ---------------------------------------------------------------------------------------------------------

/// The binary index of a pack.
struct IndexSummary {
  const RulePack* pack = nullptr;
};

template <typename Out>
void describe(Out& out, const IndexSummary& index) {
  put(out, "version", index.pack->indexVersion);
  put(out, "sectionCount", index.pack->indexSectionCount);
  put(out, "sourceDocumentCount", index.pack->sourceDocumentCount);
  put(out, "bytes", index.pack->indexBytes);
  put(out, "sectionCounts", index.pack->sectionCounts);
}

/// The last properties of both inspections.
template <typename Out>
void describe(Out& out, const RulePack& pack) {
  put(out, "documentCount", pack.documentCount);
  put(out, "packBytes", pack.packBytes);
  put(out, "documentCounts", pack.documentCounts);
  put(out, "binaryIndex", IndexSummary{&pack});
}

}  // namespace corvenda
