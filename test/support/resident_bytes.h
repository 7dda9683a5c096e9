// Which pages of a process take memory; one source file a platform.
#pragma once

#include <cstddef>
#include <cstdint>

namespace corvenda {

/// How many of `size` bytes from the page at `pages` on take memory; none if nothing is mapped there.
std::size_t residentBytes(const std::uint8_t* pages, std::size_t size);

}  // namespace corvenda
