#include "text/text_primitives.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <numeric>

#include "base/short_text.h"

namespace corvenda {
namespace {

constexpr bool isPlainByte(char byte) { return (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9'); }

// Eight bytes are handled at once, the first lowest. Masks have the top bit of each byte that is meant.
constexpr std::uint64_t kOnes = 0x0101010101010101U;
constexpr std::uint64_t kTopBits = 0x80 * kOnes;

/// The letters A to Z. Bytes from 128 up are none, and the sums never carry into the next byte.
std::uint64_t capitalLetters(std::uint64_t bytes) {
  const std::uint64_t low = bytes & ~kTopBits;
  return (low + (128 - 'A') * kOnes) & ~(low + (127 - 'Z') * kOnes) & ~bytes & kTopBits;
}

/// How many bytes come before the first that is below 33; 8 if none is. The subtraction borrows only across a byte that
/// is below 33 itself, so the lowest bit is right.
std::size_t bytesBeforeBlank(std::uint64_t bytes) {
  return static_cast<std::size_t>(std::countr_zero((bytes - 33 * kOnes) & ~bytes & kTopBits)) / 8;
}

}  // namespace

void compactTerm(std::string_view text, std::string* compact) {
  compact->resize(text.size());
  char* out = compact->data();
  while (!text.empty()) {
    const std::uint64_t bytes = loadFront(text);
    const std::uint64_t folded = bytes | capitalLetters(bytes) >> 2U;  // 0x20 is what makes a letter small
    const std::size_t kept = bytesBeforeBlank(bytes);
    if (text.size() >= sizeof folded) {
      // All eight have room; what follows the kept ones is written over.
      std::memcpy(out, &folded, sizeof folded);
    } else {
      for (std::size_t i = 0; i < kept; ++i) out[i] = static_cast<char>(folded >> (8 * i));
    }
    out += kept;
    text.remove_prefix(std::min(kept < 8 ? kept + 1 : 8, text.size()));
  }
  compact->resize(static_cast<std::size_t>(out - compact->data()));
}

std::string compactTerm(std::string_view text) {
  std::string compact;
  compactTerm(text, &compact);
  return compact;
}

bool isSameFold(std::string_view a, std::string_view b) {
  const auto next = [](std::string_view* text) {
    while (!text->empty() && static_cast<unsigned char>(text->front()) < 33) text->remove_prefix(1);
    if (text->empty()) return '\0';
    const char byte = text->front();
    text->remove_prefix(1);
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
  };
  // A zero is the end of a text: as a byte of a text it is dropped.
  for (;;) {
    const char byte = next(&a);
    if (byte != next(&b)) return false;
    if (byte == '\0') return true;
  }
}

bool isPlainToken(std::string_view text) { return std::all_of(text.begin(), text.end(), isPlainByte); }

bool isPlainPhrase(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char byte) { return byte == ' ' || isPlainByte(byte); });
}

bool hasNonAscii(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) >= 128; });
}

std::uint64_t countCharacters(std::string_view text, std::uint64_t enough) {
  // A continuation byte has its top bit set and the next one clear. The multiplication sums those bits into the top
  // byte.
  const auto continuations = [](std::uint64_t bytes) {
    return ((bytes & ~(bytes << 1U) & kTopBits) >> 7U) * kOnes >> 56U;
  };
  std::uint64_t count = 0;
  for (; text.size() > 8 && count < enough; text.remove_prefix(8)) count += 8 - continuations(loadWord(text.data()));
  if (count < enough) count += std::min<std::size_t>(text.size(), 8) - continuations(loadFront(text));
  return std::min(count, enough);
}

std::uint64_t countCharacters(std::string_view text) {
  return countCharacters(text, std::numeric_limits<std::uint64_t>::max());
}

std::vector<std::uint64_t> countCharactersBefore(std::string_view text, const std::vector<std::uint32_t>& positions) {
  std::vector<std::size_t> order(positions.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return positions[a] < positions[b]; });
  std::vector<std::uint64_t> counts(positions.size());
  std::uint64_t count = 0;
  std::size_t counted = 0;
  for (const std::size_t i : order) {
    count += countCharacters(text.substr(counted, positions[i] - counted));
    counted = positions[i];
    counts[i] = count;
  }
  return counts;
}

std::optional<std::size_t> containsTerm(std::string_view text, std::string_view term) {
  const std::size_t position = text.find(term);
  if (position == std::string_view::npos) return std::nullopt;
  return position;
}

bool matchesWordRun(std::string_view text, std::string_view term) {
  if (text.empty() || term.empty()) return false;
  for (std::size_t start = 0; start < text.size(); ++start) {
    const bool wordBegins = text[start] != ' ' && (start == 0 || text[start - 1] == ' ');
    if (!wordBegins) continue;
    // Walk text and term together: the run matches if the term is used up exactly where a word ends.
    std::size_t used = 0;
    std::size_t i = start;
    for (; i < text.size() && used < term.size(); ++i) {
      if (text[i] == ' ') continue;
      if (text[i] != term[used]) break;
      ++used;
    }
    if (used == term.size() && (i == text.size() || text[i] == ' ')) return true;
  }
  return false;
}

}  // namespace corvenda
