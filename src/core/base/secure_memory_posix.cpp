#include "base/secure_memory.h"

#include <cstring>

namespace corvenda {

void secureWipe(void* data, std::size_t size) {
  if (size == 0) return;
  std::memset(data, 0, size);
  // The compiler must assume that this reads the block, so the stores before it stay.
  __asm__ __volatile__("" : : "r"(data) : "memory");
}

}  // namespace corvenda
