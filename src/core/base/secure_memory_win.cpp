#include <windows.h>

#include "base/secure_memory.h"

namespace corvenda {

void secureWipe(void* data, std::size_t size) { SecureZeroMemory(data, size); }

}  // namespace corvenda
