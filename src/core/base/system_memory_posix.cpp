#include <sys/mman.h>
#include <unistd.h>

#include "base/system_memory.h"

namespace corvenda {
namespace {

/// The size on x86-64, and on arm64 with 4 KiB pages. Where it differs, a mapping is merely less well aligned.
constexpr std::size_t kLargePage = std::size_t{2} << 20;

std::size_t pageSize() {
  static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return size;
}

std::uintptr_t roundUp(std::uintptr_t value, std::size_t unit) {
  return (value + unit - 1) & ~std::uintptr_t{unit - 1};
}

std::uint8_t* mapAnonymous(std::size_t size) {
  void* const pages = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return pages == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(pages);
}

void unmapRange(std::uint8_t* begin, const std::uint8_t* end) {
  if (begin != end) munmap(begin, static_cast<std::size_t>(end - begin));
}

/// Maps more than is needed, then cuts off what lies before the first large-page boundary and after the end.
std::uint8_t* mapLargePages(std::size_t size) {
  if (size > SIZE_MAX - kLargePage) return nullptr;
  std::uint8_t* const pages = mapAnonymous(size + kLargePage);
  if (pages == nullptr) return nullptr;
  const auto address = reinterpret_cast<std::uintptr_t>(pages);
  std::uint8_t* const begin = pages + (roundUp(address, kLargePage) - address);
  unmapRange(pages, begin);
  unmapRange(begin + size, pages + size + kLargePage);
#ifdef MADV_HUGEPAGE
  madvise(begin, size, MADV_HUGEPAGE);  // a kernel without large pages refuses; small ones will do
#endif
  return begin;
}

}  // namespace

std::uint8_t* mapPages(std::size_t size) {
  if (size > SIZE_MAX - pageSize()) return nullptr;
  const std::size_t rounded = roundUp(size, pageSize());
  return rounded < kLargePage ? mapAnonymous(rounded) : mapLargePages(rounded);
}

void unmapPages(std::uint8_t* pages, std::size_t size) { munmap(pages, roundUp(size, pageSize())); }

void discardPages(std::uint8_t* begin, std::uint8_t* end) {
  const std::uintptr_t first = roundUp(reinterpret_cast<std::uintptr_t>(begin), pageSize());
  const std::uintptr_t last = reinterpret_cast<std::uintptr_t>(end) & ~std::uintptr_t{pageSize() - 1};
  if (first < last) madvise(begin + (first - reinterpret_cast<std::uintptr_t>(begin)), last - first, MADV_DONTNEED);
}

}  // namespace corvenda
