#include "cache/location_view.h"

#include <mutex>
#include <string_view>
#include <utility>

namespace corvenda {
namespace {

void appendSized(std::string* text, std::string_view item) {
  text->append(std::to_string(item.size())).append(":").append(item);
}

bool isViewOf(const LocationView& view, const LocationView& key) {
  return view.overlayPath == key.overlayPath && view.overlaySize == key.overlaySize &&
         view.overlayWriteTime == key.overlayWriteTime && view.overlayFingerprint == key.overlayFingerprint;
}

}  // namespace

std::string overlayFingerprint(const std::vector<const IndexRecord*>& records) {
  std::string text;
  for (const IndexRecord* record : records) {
    appendSized(&text, record->section);
    appendSized(&text, record->term);
    text.append(std::to_string(record->fields.size())).append(":");
    for (const std::string& field : record->fields) appendSized(&text, field);
  }
  return text;
}

bool ensureLocationView(const std::string& overlayPackPath, const std::vector<const IndexRecord*>& overlayRecords,
                        SemanticError* error) {
  const auto view = std::make_shared<LocationView>();
  view->overlayPath = overlayPackPath;
  view->overlayFingerprint = overlayFingerprint(overlayRecords);
  // What the new view replaces is released behind the lock.
  std::shared_ptr<const LocationView> replaced;
  const std::lock_guard lock(semanticCache().semanticCacheMutex);
  SemanticCacheSlot& slot = semanticCache().baseSlot;
  if (!slot.valid) return fail(error, "semantic rule-pack cache is unavailable");
  if (!overlayPackPath.empty()) {
    view->overlaySize = semanticCache().overlaySlot.fileSize;
    view->overlayWriteTime = semanticCache().overlaySlot.lastWriteTime;
  }
  // The base pack is no part of the key: a fill of its slot drops the view.
  if (slot.view != nullptr && isViewOf(*slot.view, *view)) return true;
  view->base = slot.loaded;
  // Built here and now, so that a warm-up takes the cost and not the first batch.
  sectionTermIndex(view->base->table, Section::kLocation);
  view->overlayRecords.reserve(overlayRecords.size());
  for (const IndexRecord* record : overlayRecords) view->overlayRecords.push_back(*record);
  buildTermIndex(view->overlayRecords, &view->overlayIndex);
  replaced = std::exchange(slot.view, view);
  return true;
}

}  // namespace corvenda
