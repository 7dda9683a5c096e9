// Memory straight from the operating system; one source file a platform.
#pragma once

#include <cstddef>
#include <cstdint>

namespace corvenda {

/// A mapping of zeroed pages that holds `size` bytes, which must not be 0; null if there is no memory. Large mappings
/// begin where a large page can, and ask for large pages: filling fresh small pages costs as much as decoding into
/// them.
std::uint8_t* mapPages(std::size_t size);

/// Ends a whole mapping, with the size that it was made with.
void unmapPages(std::uint8_t* pages, std::size_t size);

/// Tells the system that the whole pages between `begin` and `end`, which lie in one mapping, are not needed any more.
/// They stay addressable, with unspecified content. What the range holds of the pages at its ends is left alone.
void discardPages(std::uint8_t* begin, std::uint8_t* end);

}  // namespace corvenda
