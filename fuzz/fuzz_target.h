// What the fuzz targets share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// The entry that libFuzzer calls, and replay.cpp in ordinary builds. The bytes are exactly `size` long.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace corvenda {

/// A property that must hold for every input; in effect whatever NDEBUG says.
inline void mustHold(bool holds) {
  if (!holds) std::abort();
}

}  // namespace corvenda
