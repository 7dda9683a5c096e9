// Memory straight from the operating system; one source file a platform.
#pragma once

#include <cstddef>
#include <cstdint>

namespace corvenda {

/// A mapping of zeroed pages that holds `size` bytes, which must not be 0; null if there is no memory. Large mappings
/// are aligned to large pages and ask for them: faulting in small pages costs as much as decoding a payload into them.
std::uint8_t* mapPages(std::size_t size);

/// Ends a whole mapping; `size` is the one it was made with.
void unmapPages(std::uint8_t* pages, std::size_t size);

/// Tells the system that the whole pages between `begin` and `end`, which lie in one mapping, are not needed any more.
/// They stay addressable, with unspecified content. Pages that are only partly in the range are left alone.
void discardPages(std::uint8_t* begin, std::uint8_t* end);

}  // namespace corvenda
