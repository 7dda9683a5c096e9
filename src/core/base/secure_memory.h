// Memory that is zero-filled before it is given back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace corvenda {

/// Zero-fills `size` bytes; no optimiser may remove it.
void secureWipe(void* data, std::size_t size);

/// Wipes every block on release, also the old storage of a vector that grows: otherwise copies of decrypted bytes would
/// remain in freed blocks.
template <typename T>
struct WipingAllocator {
  using value_type = T;

  WipingAllocator() = default;
  template <typename U>
  WipingAllocator(const WipingAllocator<U>&) {}  // NOLINT(google-explicit-constructor): allocators convert

  T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
  void deallocate(T* block, std::size_t count) {
    secureWipe(block, count * sizeof(T));
    std::allocator<T>().deallocate(block, count);
  }
  template <typename U>
  bool operator==(const WipingAllocator<U>&) const {
    return true;
  }
};

/// For decrypted data and key material; whole files and payloads lie in a SecureBlock.
using SecureBytes = std::vector<std::uint8_t, WipingAllocator<std::uint8_t>>;

/// For text that is cut out of decrypted data.
using SecureText = std::basic_string<char, std::char_traits<char>, WipingAllocator<char>>;

using ByteSpan = std::span<const std::uint8_t>;

}  // namespace corvenda
