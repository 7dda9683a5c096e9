#include <windows.h>

#include "base/system_memory.h"

namespace corvenda {
namespace {

std::size_t pageSize() {
  static const std::size_t size = [] {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return static_cast<std::size_t>(info.dwPageSize);
  }();
  return size;
}

}  // namespace

// No large pages: here they are a privilege that a process has to ask for, and are never given back by parts.
std::uint8_t* mapPages(std::size_t size) {
  return static_cast<std::uint8_t*>(VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
}

void unmapPages(std::uint8_t* pages, [[maybe_unused]] std::size_t size) { VirtualFree(pages, 0, MEM_RELEASE); }

void discardPages(std::uint8_t* begin, std::uint8_t* end) {
  const std::uintptr_t mask = pageSize() - 1;
  const auto address = reinterpret_cast<std::uintptr_t>(begin);
  const std::uintptr_t first = (address + mask) & ~mask;
  const std::uintptr_t last = reinterpret_cast<std::uintptr_t>(end) & ~mask;
  if (first >= last) return;
  std::uint8_t* const pages = begin + (first - address);
  // The first call says that the content is of no use, so that it is never written to the page file; the second takes
  // pages that are not locked out of memory.
  VirtualAlloc(pages, last - first, MEM_RESET, PAGE_READWRITE);
  VirtualUnlock(pages, last - first);
}

}  // namespace corvenda
