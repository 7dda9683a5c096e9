// The scanners that read pack metadata and delta manifests. Deliberately not a JSON parser: what is sealed and signed
// is compact text, and a scanner that accepts a single spelling leaves nothing to interpretation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace corvenda {

/// Finds the first `"key":"` anywhere in the text, also inside another value and without tolerating a blank, and copies
/// up to the next double quote. False, with `out` unchanged, if there is none, or if a backslash, a byte below 32 or
/// the end of the text comes first. An empty value is a success.
bool readJsonStringField(std::string_view text, std::string_view key, std::string* out);

/// Finds the first `"key":` and reads the decimal digits after it, up to the first other byte: 1.5 reads as 1. False,
/// with `out` unchanged, if no digit follows directly or the value is above 4294967295.
bool readJsonUintField(std::string_view text, std::string_view key, std::uint32_t* out);

/// Finds the first `"key":` and, if "[" follows directly, takes the raw text from there to the first "]", both
/// included: a nested array is cut at its first closing bracket. False, with `out` unchanged, otherwise.
bool readJsonArrayField(std::string_view text, std::string_view key, std::string* out);

/// True for 1 to `maxLength` bytes that are ASCII letters, digits, "-", "." or "_".
bool isSafeId(std::string_view text, std::size_t maxLength);

/// True if every byte may stand in a safe id; true for the empty text.
bool hasOnlySafeIdBytes(std::string_view text);

}  // namespace corvenda
