#include "addon/caller_overlays.h"

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <string_view>

#include "addon/border.h"
#include "base/number_text.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

// --- Tolerant reading ----------------------------------------------------------------------------------------------
// What fails is absent: a null handle stands for its value, and only here may reading go on.

/// An exception that was pending before is not ours to drop, and nothing could be read past it.
bool canRead(napi_env env) { return !isExceptionPending(env); }

napi_value readProperty(napi_env env, napi_value object, const char* name) {
  napi_value value = nullptr;
  if (napi_get_named_property(env, object, name, &value) != napi_ok) dropException(env);
  return value;
}

std::string readText(napi_env env, napi_value object, const char* name) {
  const napi_value value = readProperty(env, object, name);
  return isString(env, value) ? readString(env, value) : std::string();
}

/// A number as rows carry it, or nothing for a value that is none.
bool readNumberText(napi_env env, napi_value value, std::string* text) {
  double number = 0;
  if (value == nullptr || napi_get_value_double(env, value, &number) != napi_ok) return false;
  *text = formatNumber(number);
  return true;
}

/// "priority": a string as it stands, a number as text, else empty.
std::string readPriority(napi_env env, napi_value object) {
  const napi_value value = readProperty(env, object, "priority");
  std::string text;
  if (isString(env, value)) return readString(env, value);
  readNumberText(env, value, &text);
  return text;
}

/// Calls `read(element)` for each element, if the value is an array. Elements that can't be read are passed over.
template <typename Read>
void forEachElement(napi_env env, napi_value array, Read read) {
  if (!isArray(env, array)) return;
  for (std::uint32_t i = 0; i < arrayLength(env, array); ++i) {
    const HandleScope scope(env);
    napi_value element = nullptr;
    if (napi_get_element(env, array, i, &element) == napi_ok) {
      read(element);
    } else if (!dropException(env)) {
      return;
    }
  }
}

/// Calls `read(name, value)` for each property in for-in order: integer-like names first, inherited enumerable names
/// too. Values are read by the name as a value, because a NUL would cut a C string.
template <typename Read>
void forEachProperty(napi_env env, napi_value object, Read read) {
  napi_value names = nullptr;
  if (napi_get_property_names(env, object, &names) != napi_ok) {
    dropException(env);
    return;
  }
  forEachElement(env, names, [&](napi_value name) {
    if (!isString(env, name)) return;
    napi_value value = nullptr;
    if (napi_get_property(env, object, name, &value) == napi_ok) {
      read(name, value);
    } else {
      dropException(env);
    }
  });
}

// --- Scenes --------------------------------------------------------------------------------------------------------

using SceneFields = std::array<std::string, scene_field::kCount>;

/// What is read of a "sceneOverlay".
struct SceneReader {
  napi_env env;
  const RecordTable& base;
  RecordTable* rows;
  std::map<std::string, SceneFields> categories;  ///< that have a row, by key: of several with one key the first
};

template <std::size_t kFields>
void writeFields(RecordTable* rows, std::string_view term, const std::array<std::string, kFields>& fields) {
  std::array<std::string_view, kFields> views;
  std::copy(fields.begin(), fields.end(), views.begin());
  writeRow(rows, term, views);
}

/// Adds a row for each alias in the array property `name`. `fields` are complete but for the language.
void addSceneAliases(const SceneReader& reader, napi_value object, const char* name, std::string_view lang,
                     SceneFields* fields) {
  (*fields)[scene_field::kLang] = lang;
  forEachElement(reader.env, readProperty(reader.env, object, name), [&](napi_value alias) {
    if (!isString(reader.env, alias)) return;
    const std::string term = compactTerm(readString(reader.env, alias));
    if (!term.empty()) writeFields(reader.rows, term, *fields);
  });
}

void readSceneDetail(const SceneReader& reader, napi_value element, SceneFields fields) {
  if (!isPlainObject(reader.env, element)) return;
  fields[scene_field::kDetail] = readText(reader.env, element, "label");
  fields[scene_field::kKind] = "detail";
  addSceneAliases(reader, element, "zh", "zh", &fields);
  addSceneAliases(reader, element, "en", "en", &fields);
}

void readSceneCategory(SceneReader* reader, napi_value element) {
  const napi_env env = reader->env;
  if (!isPlainObject(env, element)) return;
  SceneFields fields;
  fields[scene_field::kKey] = readText(env, element, "key");
  if (fields[scene_field::kKey].empty()) return;
  fields[scene_field::kKind] = "category";
  fields[scene_field::kLabel] = readText(env, element, "label");
  fields[scene_field::kArchiveLabel] = readText(env, element, "archiveLabel");
  fields[scene_field::kArchiveCode] = readText(env, element, "archiveCode");
  fields[scene_field::kIcon] = readText(env, element, "icon");
  fields[scene_field::kDefaultDetail] = readText(env, element, "defaultDetail");
  fields[scene_field::kPriority] = readPriority(env, element);
  fields[scene_field::kDetail] = fields[scene_field::kDefaultDetail];
  fields[scene_field::kRowPriority] = fields[scene_field::kPriority];
  const std::size_t rowsBefore = reader->rows->rows.size();
  // The property decides the language, whatever script an alias is in.
  for (const char* name : {"zh", "aliases", "keywords"}) addSceneAliases(*reader, element, name, "zh", &fields);
  addSceneAliases(*reader, element, "en", "en", &fields);
  // A category without an alias has no row that an override could find.
  if (reader->rows->rows.size() > rowsBefore) reader->categories.try_emplace(fields[scene_field::kKey], fields);
  forEachElement(env, readProperty(env, element, "details"),
                 [&](napi_value detail) { readSceneDetail(*reader, detail, fields); });
}

/// Fills in the scene's own data, from the pack or else from the caller's categories. Without either they stay empty.
void takeSceneData(const SceneReader& reader, SceneFields* fields) {
  const std::string& key = (*fields)[scene_field::kKey];
  if (const auto number = findMasterRow(reader.base, key)) {
    const SceneRow master = sceneRowAt(reader.base, *number);
    (*fields)[scene_field::kLabel] = master.label;
    (*fields)[scene_field::kArchiveLabel] = master.archiveLabel;
    (*fields)[scene_field::kArchiveCode] = master.archiveCode;
    (*fields)[scene_field::kIcon] = master.icon;
    (*fields)[scene_field::kDefaultDetail] = master.defaultDetail;
    (*fields)[scene_field::kPriority] = master.priority;
  } else if (const auto category = reader.categories.find(key); category != reader.categories.end()) {
    std::copy(category->second.begin() + scene_field::kLabel, category->second.end(),
              fields->begin() + scene_field::kLabel);
  }
}

void readSceneOverride(const SceneReader& reader, napi_value element, std::string_view kind) {
  if (!isPlainObject(reader.env, element)) return;
  SceneFields fields;
  fields[scene_field::kKey] = readText(reader.env, element, "sceneKey");
  if (fields[scene_field::kKey].empty()) return;
  takeSceneData(reader, &fields);
  fields[scene_field::kDetail] = readText(reader.env, element, "detailLabel");
  fields[scene_field::kRowPriority] = "0";
  fields[scene_field::kKind] = kind;
  addSceneAliases(reader, element, "zh", "zh", &fields);
  addSceneAliases(reader, element, "en", "en", &fields);
}

// --- Locations -----------------------------------------------------------------------------------------------------

/// The element at a position that the array has, else null.
napi_value readPosition(napi_env env, napi_value array, std::uint32_t position) {
  napi_value value = nullptr;
  if (position < arrayLength(env, array) && napi_get_element(env, array, position, &value) != napi_ok) {
    dropException(env);
  }
  return value;
}

/// An entry: [code, …, weight at 4, label at 5].
void readLocationEntry(napi_env env, napi_value entry, const std::string& alias, std::string_view lang,
                       RecordTable* rows) {
  if (!isArray(env, entry)) return;
  const napi_value first = readPosition(env, entry, 0);
  if (!isString(env, first)) return;
  const std::string code = readString(env, first);
  if (alias.empty() || code.empty()) return;
  const napi_value labelValue = readPosition(env, entry, 5);
  // A label that is the empty string stays empty.
  std::string label = isString(env, labelValue) ? readString(env, labelValue) : alias;
  std::string weight = "0";
  readNumberText(env, readPosition(env, entry, 4), &weight);
  // The code stands in for the country's label.
  const std::string_view fields[] = {code, "location-overlay", weight, label, lang, code};
  writeRow(rows, alias, fields);
}

void readLocationAliases(napi_env env, napi_value value, std::string_view lang, RecordTable* rows) {
  if (!isPlainObject(env, value)) return;
  forEachProperty(env, value, [&](napi_value name, napi_value entries) {
    const std::string alias = compactTerm(readString(env, name));
    forEachElement(env, entries, [&](napi_value entry) { readLocationEntry(env, entry, alias, lang, rows); });
  });
}

// --- Celebrities ---------------------------------------------------------------------------------------------------

std::string readTags(napi_env env, napi_value person) {
  std::string joined;
  bool first = true;
  forEachElement(env, readProperty(env, person, "tags"), [&](napi_value tag) {
    if (!isString(env, tag)) return;
    if (!first) joined += kTagSeparator;
    first = false;
    joined += readString(env, tag);
  });
  return joined;
}

using CelebrityFields = std::array<std::string, celebrity_field::kTags + 1>;

void addCelebrityAlias(RecordTable* rows, std::string_view text, const CelebrityFields& fields) {
  const std::string term = compactTerm(text);
  if (!term.empty()) writeFields(rows, term, fields);
}

void readCelebrity(napi_env env, napi_value person, RecordTable* rows) {
  if (!isPlainObject(env, person)) return;
  CelebrityFields fields;
  fields[celebrity_field::kId] = readText(env, person, "id");
  fields[celebrity_field::kName] = readText(env, person, "name");
  fields[celebrity_field::kKind] = readText(env, person, "kind");
  fields[celebrity_field::kRegion] = readText(env, person, "region");
  fields[celebrity_field::kPhotoKey] = readText(env, person, "photoKey");
  fields[celebrity_field::kPriority] = readPriority(env, person);
  fields[celebrity_field::kTags] = readTags(env, person);
  if (fields[celebrity_field::kId].empty() || fields[celebrity_field::kName].empty()) return;
  addCelebrityAlias(rows, fields[celebrity_field::kName], fields);
  const napi_value aliases = readProperty(env, person, "aliases");
  if (!isPlainObject(env, aliases)) return;
  forEachProperty(env, aliases, [&](napi_value, napi_value list) {
    forEachElement(env, list, [&](napi_value alias) {
      if (isString(env, alias)) addCelebrityAlias(rows, readString(env, alias), fields);
    });
  });
}

}  // namespace

void readSceneLexicon(napi_env env, napi_value value, const RecordTable& base, RecordTable* rows) {
  if (!canRead(env) || !isPlainObject(env, value)) return;
  beginSegment(rows, "scene", Section::kScene, RowLayout::kWritten, nullptr);
  SceneReader reader{env, base, rows, {}};
  forEachElement(env, readProperty(env, value, "categories"),
                 [&](napi_value category) { readSceneCategory(&reader, category); });
  const auto readOverrides = [&](const char* property, std::string_view kind) {
    forEachElement(env, readProperty(env, value, property),
                   [&](napi_value element) { readSceneOverride(reader, element, kind); });
  };
  readOverrides("shortTitleOverrides", "short");
  readOverrides("compoundOverrides", "compound");
  readOverrides("conflictOverrides", "conflict");
}

void readLocationOverlay(napi_env env, napi_value value, RecordTable* rows) {
  if (!canRead(env) || !isPlainObject(env, value)) return;
  beginSegment(rows, "location-overlay", Section::kLocation, RowLayout::kWritten, nullptr);
  readLocationAliases(env, readProperty(env, value, "aliasesZh"), "zh", rows);
  readLocationAliases(env, readProperty(env, value, "aliasesEn"), "en", rows);
}

void readCelebrityOverlay(napi_env env, napi_value value, RecordTable* rows) {
  if (!canRead(env) || !isArray(env, value)) return;
  beginSegment(rows, "celebrity-overlay", Section::kCelebrity, RowLayout::kWritten, nullptr);
  forEachElement(env, value, [&](napi_value person) { readCelebrity(env, person, rows); });
}

}  // namespace corvenda
