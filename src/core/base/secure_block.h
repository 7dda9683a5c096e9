// One block of memory whose content must not outlive it: file images, decrypted data, and tables that lie beside them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/secure_memory.h"

namespace corvenda {

/// Bytes in pages of their own, straight from the system, so that a release wipes them and returns them at once: an
/// allocator would keep freed blocks in the arena of the thread that made them. Move-only; wiped and returned by scope.
/// An empty block has no memory.
struct SecureBlock {
  std::uint8_t* data = nullptr;   ///< the first byte in use; stays where it is when the block is moved
  std::size_t size = 0;           ///< bytes in use
  std::uint8_t* pages = nullptr;  ///< the whole mapping; the bytes in use are a part of it
  std::size_t pagesSize = 0;

  SecureBlock() = default;
  SecureBlock(SecureBlock&& other) noexcept;
  SecureBlock& operator=(SecureBlock&& other) noexcept;
  ~SecureBlock();
};

/// A block of `size` zeroed bytes. Pages that are never written take no memory, so a caller who knows only an upper
/// bound may allocate that and call `trimBlock` later. If there is no memory, the process ends.
SecureBlock allocateBlock(std::size_t size);

/// Keeps the `size` bytes from `offset` on, where they are. All others are wiped, and their whole pages given back.
void keepRange(SecureBlock* block, std::size_t offset, std::size_t size);

/// Keeps the first `size` bytes and cuts off the rest, which was never written and so needs no wiping.
void trimBlock(SecureBlock* block, std::size_t size);

/// Wipes `size` bytes from `offset` on and gives their whole pages back. The block keeps its size and its address, but
/// those bytes must not be read any more.
void releaseRange(SecureBlock* block, std::size_t offset, std::size_t size);

inline ByteSpan bytesOf(const SecureBlock& block) { return {block.data, block.size}; }

}  // namespace corvenda
