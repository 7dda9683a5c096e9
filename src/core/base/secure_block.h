// One block of memory for what must not stay behind: file images, decrypted data, and tables that lie beside them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/secure_memory.h"

namespace corvenda {

/// Bytes in memory of their own from the system, one page at least, so that a release wipes them as one and gives them
/// back at once: an allocator would keep freed blocks in the arenas of whatever thread made them. Move-only; wiped and
/// given back by scope. An empty block has no memory.
struct SecureBlock {
  std::uint8_t* data = nullptr;   ///< the first byte in use; stays where it is when the block is moved
  std::size_t size = 0;           ///< bytes in use
  std::uint8_t* pages = nullptr;  ///< what the system gave; the bytes in use are a part of it
  std::size_t pagesSize = 0;

  SecureBlock() = default;
  SecureBlock(SecureBlock&& other) noexcept;
  SecureBlock& operator=(SecureBlock&& other) noexcept;
  ~SecureBlock();
};

/// A block of `size` zeroed bytes. Memory that is never written is never taken, so a caller who knows an upper bound
/// may ask for that and call `trimBlock` later. Without memory the process ends.
SecureBlock allocateBlock(std::size_t size);

/// Keeps `size` bytes from `offset` on in use, where they are. All others are wiped, and their whole pages given back.
void keepRange(SecureBlock* block, std::size_t offset, std::size_t size);

/// Cuts the end off that was never written, so that nothing has to be wiped there: only the first `size` bytes stay.
void trimBlock(SecureBlock* block, std::size_t size);

/// Wipes `size` bytes from `offset` on and gives their whole pages back. The block stays one: the bytes remain in use,
/// and nobody may read them any more.
void releaseRange(SecureBlock* block, std::size_t offset, std::size_t size);

inline ByteSpan bytesOf(const SecureBlock& block) { return {block.data, block.size}; }

}  // namespace corvenda
