// The process-wide cache of parsed packs.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "base/secure_block.h"
#include "pack/crypto.h"
#include "pack/pack_records.h"
#include "pack/system_file.h"
#include "rows/record_table.h"

namespace corvenda {

/// A parsed pack: the result of a load.
struct LoadedPack {
  RulePack pack;
  RecordTable table;
};

/// One parsed pack and the file that it came from. Loading another file replaces the whole slot; a failed load leaves
/// it as it was.
struct SemanticCacheSlot {
  bool valid = false;
  std::filesystem::path path;              ///< canonical; together with the status the key
  std::string pathText;                    ///< the same as UTF-8
  FileStatus status;                       ///< of the very file that was read
  std::optional<Sha256Digest> fileSha256;  ///< of that file's bytes, if a manifest was verified against them
  std::shared_ptr<const LoadedPack> loaded;
};

/// The mutex guards the slots and is held during a load, so that packs are loaded one at a time. The pack in a slot is
/// immutable and shared: a call copies its pointer and goes on without the mutex. The mutex is not recursive: whoever
/// holds it must not call the loader.
struct SemanticCache {
  SemanticCacheSlot baseSlot;     ///< the pack named by "packPath" or "basePackPath"
  SemanticCacheSlot overlaySlot;  ///< the pack named by "overlayPackPath", or a manifest's delta pack
  std::mutex semanticCacheMutex;
};

/// The one cache of the process, shared by all JavaScript environments and the warm-up's worker threads.
SemanticCache& semanticCache();

}  // namespace corvenda
