// The process-wide cache of parsed packs.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>

#include "base/secure_block.h"
#include "pack/crypto.h"
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
  std::filesystem::path path;              ///< canonical; with size and time, the key
  std::uint64_t fileSize = 0;              ///< bytes of the very file that was read
  std::int64_t lastWriteTime = 0;          ///< of that file, in platform ticks, compared for equality only
  std::optional<Sha256Digest> fileSha256;  ///< of that file's bytes, if they were hashed: a load alone has no need to
  std::shared_ptr<const LoadedPack> loaded;
};

/// The mutex guards the slots and is held for the length of a load, so that loads come one at a time. What is in a slot
/// is immutable and shared: a call takes its pointer and goes on without the mutex. It is not recursive: a holder must
/// not call the loader.
struct SemanticCache {
  SemanticCacheSlot baseSlot;     ///< the pack named by "packPath" or "basePackPath"
  SemanticCacheSlot overlaySlot;  ///< the pack named by "overlayPackPath", or a manifest's delta pack
  std::mutex semanticCacheMutex;
};

/// The one cache of the process, shared by all JavaScript environments and the warm-up's worker threads.
SemanticCache& semanticCache();

}  // namespace corvenda
