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

/// From this size up a block is the system's own. What the C library keeps of freed blocks stays with the process, a
/// heap a thread, and a pack that is replaced leaves hundreds of megabytes of them.
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
  /// Numbers are left as they are until they are written: who asks for a place for each row need not fill them all.
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
