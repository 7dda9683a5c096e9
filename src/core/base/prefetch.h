// Asking for memory ahead of its use.
#pragma once

#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#endif

namespace corvenda {

/// A hint: the line of `place` will be used soon.
inline void prefetch(const void* place) {
#if defined(_MSC_VER) && !defined(__clang__)
  _mm_prefetch(static_cast<const char*>(place), _MM_HINT_T0);
#else
  __builtin_prefetch(place);
#endif
}

}  // namespace corvenda
