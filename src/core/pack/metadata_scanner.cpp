#include "pack/metadata_scanner.h"

#include <algorithm>
#include <limits>

namespace corvenda {
namespace {

/// The position after the first `"key":` followed by `tail`, or npos.
std::size_t findAfterKey(std::string_view text, std::string_view key, std::string_view tail) {
  std::string pattern;
  pattern.append("\"").append(key).append("\":").append(tail);
  const std::size_t position = text.find(pattern);
  return position == std::string_view::npos ? position : position + pattern.size();
}

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

}  // namespace

bool readJsonStringField(std::string_view text, std::string_view key, std::string* out) {
  const std::size_t begin = findAfterKey(text, key, "\"");
  if (begin == std::string_view::npos) return false;
  for (std::size_t i = begin; i < text.size(); ++i) {
    if (text[i] == '"') {
      *out = text.substr(begin, i - begin);
      return true;
    }
    if (text[i] == '\\' || static_cast<unsigned char>(text[i]) < 32) return false;
  }
  return false;
}

bool readJsonUintField(std::string_view text, std::string_view key, std::uint32_t* out) {
  std::size_t i = findAfterKey(text, key, "");
  if (i == std::string_view::npos || i == text.size() || !isDigit(text[i])) return false;
  std::uint64_t value = 0;
  for (; i < text.size() && isDigit(text[i]); ++i) {
    value = value * 10 + static_cast<std::uint64_t>(text[i] - '0');
    // Tested at each digit: twenty digits would wrap even 64 bits.
    if (value > std::numeric_limits<std::uint32_t>::max()) return false;
  }
  *out = static_cast<std::uint32_t>(value);
  return true;
}

bool readJsonArrayField(std::string_view text, std::string_view key, std::string* out) {
  const std::size_t begin = findAfterKey(text, key, "");
  if (begin == std::string_view::npos || !text.substr(begin).starts_with('[')) return false;
  const std::size_t end = text.find(']', begin);
  if (end == std::string_view::npos) return false;
  *out = text.substr(begin, end + 1 - begin);
  return true;
}

bool hasOnlySafeIdBytes(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char byte) {
    return isDigit(byte) || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '-' ||
           byte == '.' || byte == '_';
  });
}

bool isSafeId(std::string_view text, std::size_t maxLength) {
  return !text.empty() && text.size() <= maxLength && hasOnlySafeIdBytes(text);
}

}  // namespace corvenda
