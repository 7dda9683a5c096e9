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

/// A parsed pack: what a load gives its caller.
struct LoadedPack {
  RulePack pack;
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
