#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "support/resident_bytes.h"

namespace corvenda {

std::size_t residentBytes(const std::uint8_t* pages, std::size_t size) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  std::vector<unsigned char> present(size / page);
  if (mincore(const_cast<std::uint8_t*>(pages), size, present.data()) != 0) return 0;
  return page * static_cast<std::size_t>(std::count(present.begin(), present.end(), 1));
}

}  // namespace corvenda
