// The process-wide cache of parsed packs.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>

#include "cache/record_table.h"
#include "pack/pack_records.h"

namespace corvenda {

struct LocationView;

/// A parsed pack: what a load gives its caller.
struct LoadedPack {
  RulePack pack;
  RecordTable table;
};

struct LocationView;

/// For which overlay a location view was built. The base pack is no part of it: a fill of the slot drops the view.
struct LocationViewKey {
  std::string viewOverlayPath;  ///< the caller's own text, empty without an overlay pack
  std::uint64_t viewOverlaySize = 0;
  std::int64_t viewOverlayWriteTime = 0;
  std::string viewOverlayFingerprint;  ///< of the overlay's rows
  bool operator==(const LocationViewKey&) const = default;
};

/// One parsed pack under the file it came from. A load of another file replaces the whole slot; a failed load leaves it
/// as it was.
struct SemanticCacheSlot {
  bool valid = false;
  std::filesystem::path path;          ///< canonical; with size and time, the key
  std::uint64_t fileSize = 0;          ///< bytes, as queried before the lock was taken
  std::int64_t lastWriteTime = 0;      ///< platform ticks, compared for equality only
  std::shared_ptr<const LoadedPack> loaded;
  std::shared_ptr<const LocationView> view;  ///< of the base slot only; null until asked for, and again after a fill
};

/// One mutex guards everything. It is not recursive: a holder must not call the loader.
struct SemanticCache {
  SemanticCacheSlot baseSlot;     ///< the pack named by "packPath" or "basePackPath"
  SemanticCacheSlot overlaySlot;  ///< the pack named by "overlayPackPath", or a manifest's delta pack
  std::mutex semanticCacheMutex;
};

/// The one cache of the process, shared by all JavaScript environments and the warm-up's worker threads.
SemanticCache& semanticCache();

}  // namespace corvenda
