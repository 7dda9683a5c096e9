// The titles of a batch, read in parts: what they hold stays small, however long a batch is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "addon/border.h"

namespace corvenda {

/// A title as the caller gives it.
struct CaseTitle {
  std::string raw;
  std::string english;
  bool photo = false;  ///< of a photo, else of a video; people only
};

enum class CaseKind : std::uint8_t {
  kScene,   ///< an object with "raw" and perhaps "normalizedEnglish"; whatever else fails the batch
  kPerson,  ///< whatever is no text counts as empty
};

/// Reads the cases of a batch in order. A case can have getters, which run the caller's own code: they may change the
/// array, and call the addon again.
struct TitleReader {
  napi_env env = nullptr;
  napi_value cases = nullptr;
  CaseKind kind = CaseKind::kScene;
  std::uint32_t next = 0;         ///< the first case that is not read yet
  std::vector<CaseTitle> titles;  ///< the current part, then what is left of longer ones, for its memory
  std::size_t count = 0;          ///< titles of the current part
  bool repeated = false;          ///< the part is the last title once more, and `titles` is as it was
  std::size_t longPlace = 0;      ///< after the place of the last title in `titles` if it is long, else 0
  napi_value readPart = nullptr;  ///< the function that reads a part, or null
  napi_value lengths = nullptr;   ///< see functions.js, as for `last`
  napi_value last = nullptr;
  std::int32_t* lengthData = nullptr;
  std::u16string units;
};

/// A reader of an array that is foreseen to have `length` cases.
TitleReader beginTitles(napi_env env, napi_value cases, CaseKind kind, std::size_t length);

/// Reads the next part, of at most `most` titles; it is empty after the last case. A long title that stands in many
/// cases in a row may come as `repeated` parts: its answer is that of the title before. False if a case is refused or
/// can't be read. Errors, for scenes: "each batch case must be an object", those of requireStringOption for "raw",
/// those of readNormalizedEnglish.
///
/// A part of one title is read step by step, so that all of the caller's code that runs belongs to that title. If it
/// throws while a person's case is read, the part ends there, and the exception is pending.
bool readTitles(TitleReader* reader, std::size_t most, Failure* failure);

}  // namespace corvenda
