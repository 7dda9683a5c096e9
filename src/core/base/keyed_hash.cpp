#include "base/keyed_hash.h"

#include <random>

namespace corvenda {

const HashSeed& hashSeed() {
  static const HashSeed seed = [] {
    std::random_device device;
    const auto draw = [&] { return static_cast<std::uint64_t>(device()) << 32 | device(); };
    return HashSeed{draw(), draw()};
  }();
  return seed;
}

}  // namespace corvenda
