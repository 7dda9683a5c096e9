// Vectors whose large blocks come from the system and go back to it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "base/system_memory.h"

namespace corvenda {

/// Blocks from this size (256 KiB) up are mapped from the system and return to it. The C library keeps freed blocks in
/// a heap per thread: replacing a large pack would leave hundreds of megabytes there. A smaller limit would map and
/// unmap what small overlays need for every call.
constexpr std::size_t kSystemBlockSize = std::size_t{1} << 18U;

template <typename T>
struct SystemAllocator {
  using value_type = T;

  SystemAllocator() = default;
  template <typename U>
  SystemAllocator(const SystemAllocator<U>&) {}  // NOLINT(google-explicit-constructor): allocators convert

  T* allocate(std::size_t count) {
    if (count * sizeof(T) < kSystemBlockSize) return std::allocator<T>().allocate(count);
    std::uint8_t* const pages = mapPages(count * sizeof(T));
    if (pages == nullptr) std::abort();
    return reinterpret_cast<T*>(pages);
  }
  void deallocate(T* block, std::size_t count) {
    if (count * sizeof(T) < kSystemBlockSize) {
      std::allocator<T>().deallocate(block, count);
    } else {
      unmapPages(reinterpret_cast<std::uint8_t*>(block), count * sizeof(T));
    }
  }
  /// Numbers are not initialised: a vector with a place for every row need not be filled where no row uses it.
  template <typename U>
  void construct(U* place) {
    ::new (static_cast<void*>(place)) U;
  }
  template <typename U, typename First, typename... More>
  void construct(U* place, First&& first, More&&... more) {
    ::new (static_cast<void*>(place)) U(std::forward<First>(first), std::forward<More>(more)...);
  }
  template <typename U>
  bool operator==(const SystemAllocator<U>&) const {
    return true;
  }
};

template <typename T>
using SystemVector = std::vector<T, SystemAllocator<T>>;

}  // namespace corvenda
