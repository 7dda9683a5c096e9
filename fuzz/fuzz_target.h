// What the fuzz targets share.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "base/secure_block.h"

/// The entry that libFuzzer calls, and replay.cpp in ordinary builds. The bytes are exactly `size` long.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace corvenda {

/// A property that must hold for every input; checked whether or not NDEBUG is set.
inline void mustHold(bool holds) {
  if (!holds) std::abort();
}

/// The bytes in a block, whose last page may continue after them.
inline SecureBlock blockOf(ByteSpan bytes) {
  SecureBlock block = allocateBlock(bytes.size());
  std::copy(bytes.begin(), bytes.end(), block.data);
  return block;
}

}  // namespace corvenda
