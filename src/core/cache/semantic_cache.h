// The process-wide cache of parsed packs.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>

#include "base/secure_block.h"
#include "pack/pack_records.h"
#include "rows/record_table.h"

namespace corvenda {

struct LocationView;

/// A parsed pack: what a load gives its caller.
struct LoadedPack {
  RulePack pack;
  SecureBlock payload;  ///< what the rows point into
  RecordTable table;
};

/// One parsed pack under the file it came from. A load of another file replaces the whole slot; a failed load leaves it
/// as it was.
struct SemanticCacheSlot {
  bool valid = false;
  std::filesystem::path path;      ///< canonical; with size and time, the key
  std::uint64_t fileSize = 0;      ///< bytes, as queried before the lock was taken
  std::int64_t lastWriteTime = 0;  ///< platform ticks, compared for equality only
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
