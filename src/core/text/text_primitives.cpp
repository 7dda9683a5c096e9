#include "text/text_primitives.h"

#include <algorithm>

namespace corvenda {
namespace {

constexpr bool isPlainByte(char byte) { return (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9'); }

}  // namespace

std::string compactTerm(std::string_view text) {
  std::string compact;
  compact.reserve(text.size());
  for (const char byte : text) {
    if (static_cast<unsigned char>(byte) < 33) continue;
    compact += byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
  }
  return compact;
}

bool isPlainToken(std::string_view text) { return std::all_of(text.begin(), text.end(), isPlainByte); }

bool isPlainPhrase(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char byte) { return byte == ' ' || isPlainByte(byte); });
}

bool hasNonAscii(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) >= 128; });
}

std::uint64_t countCharacters(std::string_view text) {
  return static_cast<std::uint64_t>(std::count_if(
      text.begin(), text.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
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
