#include "addon/title_reader.h"

#include <algorithm>

#include "addon/environment.h"
#include "addon/options.h"
#include "text/utf16.h"

namespace corvenda {
namespace {

/// From here on the function pays for its call.
constexpr std::size_t kWorthScript = 8;

/// Titles of a part, and bytes after which a part ends.
constexpr std::size_t kMostTitles = 256;
constexpr std::size_t kEnoughBytes = 65536;

/// The memory of a long title is not kept, since others may take its place.
void dropLongTitle(TitleReader* reader) {
  if (reader->longPlace > 0) reader->titles[reader->longPlace - 1] = CaseTitle();
  reader->longPlace = 0;
}

/// The next place of the part.
CaseTitle* addTitle(TitleReader* reader) {
  if (reader->count == reader->titles.size()) reader->titles.emplace_back();
  return &reader->titles[reader->count++];
}

// --- Step by step --------------------------------------------------------------------------------------------------

bool failNoObject(Failure* failure) {
  return failAs(failure, ErrorKind::kTypeError, "each batch case must be an object");
}

bool readScene(napi_env env, napi_value element, CaseTitle* title, Failure* failure) {
  if (!isPlainObject(env, element)) return failNoObject(failure);
  title->english.clear();
  return requireStringOption(env, element, "raw", &title->raw, failure) &&
         readNormalizedEnglish(env, element, &title->english, failure);
}

void readPerson(napi_env env, napi_value element, CaseTitle* title) {
  const bool plain = isPlainObject(env, element);
  title->raw = plain ? readStringOrEmpty(env, element, "raw") : std::string();
  title->english = plain ? readStringOrEmpty(env, element, "normalizedEnglish") : std::string();
  title->photo = plain && readStringOrEmpty(env, element, "mediaType") == "photo";
}

/// The length is read anew for each case, since a getter may change it.
bool readStepByStep(TitleReader* reader, std::size_t most, Failure* failure) {
  const napi_env env = reader->env;
  dropLongTitle(reader);
  std::size_t bytes = 0;
  while (reader->count < most && bytes < kEnoughBytes && reader->next < arrayLength(env, reader->cases)) {
    const HandleScope scope(env);
    napi_value element = nullptr;
    if (!settled(env, napi_get_element(env, reader->cases, reader->next++, &element))) return false;
    CaseTitle* const title = addTitle(reader);
    if (reader->kind == CaseKind::kScene) {
      if (!readScene(env, element, title, failure)) return false;
    } else {
      readPerson(env, element, title);
      if (isExceptionPending(env)) return true;
    }
    bytes += title->raw.size() + title->english.size();
  }
  if (bytes >= kEnoughBytes) reader->longPlace = reader->count;
  return true;
}

// --- By the function -----------------------------------------------------------------------------------------------

constexpr std::size_t kHead = 2;  ///< numbers in front of the lengths

/// In the place of a fault: the part is the title before once more.
constexpr std::int32_t kRepeated = 5;

std::size_t placesOf(CaseKind kind) { return kind == CaseKind::kScene ? 2 : 3; }

/// What was wrong with the case after the last that was read; the numbers of functions.js.
bool checkFault(std::int32_t fault, Failure* failure) {
  switch (fault) {
    case 1: return failNoObject(failure);
    case 2: return failMissing("raw", failure);
    case 3: return failEmpty("raw", failure);
    case 4: return failAs(failure, ErrorKind::kTypeError, kEnglishMessage);
    default: return true;
  }
}

bool readUnits(napi_env env, napi_value text, std::u16string* units) {
  std::size_t length = 0;
  if (!settled(env, napi_get_value_string_utf16(env, text, nullptr, 0, &length))) return false;
  units->resize(length);
  return settled(env, napi_get_value_string_utf16(env, text, units->data(), length + 1, &length));
}

/// Cuts the joined texts into titles. Those of a long last one are not among them.
void cutTitles(TitleReader* reader, std::size_t joined) {
  const std::size_t places = placesOf(reader->kind);
  std::u16string_view left = reader->units;
  const auto next = [&left](std::int32_t length) {
    const std::u16string_view text = left.substr(0, static_cast<std::size_t>(length));
    left.remove_prefix(text.size());
    return text;
  };
  for (std::size_t i = 0; i < joined; ++i) {
    const std::int32_t* const lengths = reader->lengthData + kHead + i * places;
    CaseTitle* const title = addTitle(reader);
    convertToUtf8(next(lengths[0]), &title->raw);
    convertToUtf8(next(lengths[1]), &title->english);
    title->photo = places == 3 && lengths[2] != 0;
  }
}

/// The texts of a long title stand apart, after the joined ones.
void readLongTitle(TitleReader* reader, napi_value raw, napi_value english, std::size_t number) {
  CaseTitle* const title = addTitle(reader);
  title->raw = readString(reader->env, raw);
  title->english = readString(reader->env, english);
  title->photo = reader->kind == CaseKind::kPerson && reader->lengthData[kHead + number * 3 + 2] != 0;
  reader->longPlace = reader->count;
}

bool readByFunction(TitleReader* reader, std::size_t most, Failure* failure) {
  const napi_env env = reader->env;
  const HandleScope scope(env);
  const napi_value part = callFunction(
      env, reader->readPart,
      {reader->cases, makeNumber(env, reader->next), makeNumber(env, most), reader->lengths, reader->last});
  if (part == nullptr) return false;
  const auto count = static_cast<std::size_t>(reader->lengthData[0]);
  reader->next += static_cast<std::uint32_t>(count);
  reader->repeated = reader->lengthData[1] == kRepeated;
  if (reader->repeated) {
    reader->count = 1;
    return true;
  }
  dropLongTitle(reader);
  napi_value texts[3] = {};  // the joined ones, and the two of a long title or null
  for (std::uint32_t i = 0; i < 3; ++i) {
    if (!settled(env, napi_get_element(env, part, i, &texts[i]))) return false;
  }
  const bool hasLong = isString(env, texts[1]);
  if (!checkFault(reader->lengthData[1], failure) || !readUnits(env, texts[0], &reader->units)) return false;
  cutTitles(reader, hasLong ? count - 1 : count);
  if (hasLong) readLongTitle(reader, texts[1], texts[2], count - 1);
  return true;
}

}  // namespace

TitleReader beginTitles(napi_env env, napi_value cases, CaseKind kind, std::size_t length) {
  TitleReader reader;
  reader.env = env;
  reader.cases = cases;
  reader.kind = kind;
  if (length < kWorthScript) return reader;
  reader.readPart =
      scriptFunction(env, kind == CaseKind::kScene ? ScriptFunction::kReadScenes : ScriptFunction::kReadPeople);
  if (reader.readPart == nullptr) return reader;
  void* data = nullptr;
  napi_value buffer = nullptr;
  const std::size_t places = kHead + kMostTitles * placesOf(kind);
  const napi_value null = makeNull(env);
  reader.last = callFunction(env, scriptFunction(env, ScriptFunction::kCollect), {null, null, null});
  if (reader.last == nullptr ||
      !settled(env, napi_create_arraybuffer(env, places * sizeof(std::int32_t), &data, &buffer)) ||
      !settled(env, napi_create_typedarray(env, napi_int32_array, places, buffer, 0, &reader.lengths))) {
    reader.readPart = nullptr;
  }
  reader.lengthData = static_cast<std::int32_t*>(data);
  return reader;
}

bool readTitles(TitleReader* reader, std::size_t most, Failure* failure) {
  reader->count = 0;
  reader->repeated = false;
  most = std::min(most, kMostTitles);
  return reader->readPart != nullptr && most > 1 ? readByFunction(reader, most, failure)
                                                 : readStepByStep(reader, most, failure);
}

}  // namespace corvenda
