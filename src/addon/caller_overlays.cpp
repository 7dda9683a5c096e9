#include "addon/caller_overlays.h"

#include <map>
#include <string>
#include <string_view>

#include "addon/border.h"
#include "base/number_text.h"
#include "rows/lexicon_rows.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

using Records = std::vector<IndexRecord>;
using Fields = std::vector<std::string>;

// --- Tolerant reading -----------------------------------------------------------------------------------------------
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

// --- Scenes ---------------------------------------------------------------------------------------------------------

/// Where an override finds the data of its scene. Made once the categories are read: later rows are no master rows.
struct SceneMasters {
  const RecordTable* base = nullptr;
  std::map<std::string, Fields> fieldsOfKey;
};

SceneMasters findSceneMasters(const RecordTable* base, const Records& records) {
  SceneMasters masters{base, {}};
  for (const IndexRecord& record : records) {
    if (isMasterRow(record)) masters.fieldsOfKey.try_emplace(record.fields[scene_field::kKey], record.fields);
  }
  return masters;
}

/// The fields of the scene's first master row, or null.
const Fields* sceneMasterFields(const SceneMasters& masters, const std::string& key) {
  if (masters.base != nullptr) {
    const auto& rows = sceneMasterRows(*masters.base);
    const auto row = rows.find(key);
    if (row != rows.end()) return &masters.base->records[row->second].fields;
  }
  const auto fields = masters.fieldsOfKey.find(key);
  return fields == masters.fieldsOfKey.end() ? nullptr : &fields->second;
}

void addSceneAlias(napi_env env, napi_value value, const Fields& fields, Records* records) {
  if (!isString(env, value)) return;
  std::string term = compactTerm(readString(env, value));
  if (!term.empty()) records->push_back({"scene", std::move(term), fields});
}

/// Adds a row for each alias in the array property `name`. `fields` are complete but for the language.
void addSceneAliases(napi_env env, napi_value object, const char* name, std::string_view lang, Fields fields,
                     Records* records) {
  fields[scene_field::kLang] = lang;
  forEachElement(env, readProperty(env, object, name),
                 [&](napi_value alias) { addSceneAlias(env, alias, fields, records); });
}

void readSceneDetail(napi_env env, napi_value element, Fields fields, Records* records) {
  if (!isPlainObject(env, element)) return;
  fields[scene_field::kDetail] = readText(env, element, "label");
  fields[scene_field::kKind] = "detail";
  addSceneAliases(env, element, "zh", "zh", fields, records);
  addSceneAliases(env, element, "en", "en", std::move(fields), records);
}

void readSceneCategory(napi_env env, napi_value element, Records* records) {
  if (!isPlainObject(env, element)) return;
  Fields fields(scene_field::kCount);
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
  // The property decides the language, whatever script an alias is in.
  for (const char* name : {"zh", "aliases", "keywords"}) addSceneAliases(env, element, name, "zh", fields, records);
  addSceneAliases(env, element, "en", "en", fields, records);
  forEachElement(env, readProperty(env, element, "details"),
                 [&](napi_value detail) { readSceneDetail(env, detail, fields, records); });
}

void readSceneOverride(napi_env env, napi_value element, std::string_view kind, const SceneMasters& masters,
                       Records* records) {
  if (!isPlainObject(env, element)) return;
  Fields fields(scene_field::kCount);
  std::string& key = fields[scene_field::kKey];
  key = readText(env, element, "sceneKey");
  if (key.empty()) return;
  // Without a master row the override stays, and the scene's data are empty.
  if (const Fields* master = sceneMasterFields(masters, key); master != nullptr) {
    for (std::size_t i = scene_field::kLabel; i < scene_field::kCount; ++i) fields[i] = (*master)[i];
  }
  fields[scene_field::kDetail] = readText(env, element, "detailLabel");
  fields[scene_field::kRowPriority] = "0";
  fields[scene_field::kKind] = kind;
  addSceneAliases(env, element, "zh", "zh", fields, records);
  addSceneAliases(env, element, "en", "en", std::move(fields), records);
}

// --- Locations ------------------------------------------------------------------------------------------------------

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
                       Records* records) {
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
  records->push_back({"location-overlay",
                      alias,
                      {code, "location-overlay", std::move(weight), std::move(label), std::string(lang), code}});
}

void readLocationAliases(napi_env env, napi_value value, std::string_view lang, Records* records) {
  if (!isPlainObject(env, value)) return;
  forEachProperty(env, value, [&](napi_value name, napi_value entries) {
    const std::string alias = compactTerm(readString(env, name));
    forEachElement(env, entries, [&](napi_value entry) { readLocationEntry(env, entry, alias, lang, records); });
  });
}

// --- Celebrities ----------------------------------------------------------------------------------------------------

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

void addCelebrityAlias(Records* records, std::string_view text, const Fields& fields) {
  std::string term = compactTerm(text);
  if (!term.empty()) records->push_back({"celebrity-overlay", std::move(term), fields});
}

void readCelebrity(napi_env env, napi_value person, Records* records) {
  if (!isPlainObject(env, person)) return;
  Fields fields(celebrity_field::kTags + 1);
  fields[celebrity_field::kId] = readText(env, person, "id");
  fields[celebrity_field::kName] = readText(env, person, "name");
  fields[celebrity_field::kKind] = readText(env, person, "kind");
  fields[celebrity_field::kRegion] = readText(env, person, "region");
  fields[celebrity_field::kPhotoKey] = readText(env, person, "photoKey");
  fields[celebrity_field::kPriority] = readPriority(env, person);
  fields[celebrity_field::kTags] = readTags(env, person);
  if (fields[celebrity_field::kId].empty() || fields[celebrity_field::kName].empty()) return;
  addCelebrityAlias(records, fields[celebrity_field::kName], fields);
  const napi_value aliases = readProperty(env, person, "aliases");
  if (!isPlainObject(env, aliases)) return;
  forEachProperty(env, aliases, [&](napi_value, napi_value list) {
    forEachElement(env, list, [&](napi_value alias) {
      if (isString(env, alias)) addCelebrityAlias(records, readString(env, alias), fields);
    });
  });
}

}  // namespace

void readSceneLexicon(napi_env env, napi_value value, const RecordTable* base, Records* records) {
  if (!canRead(env) || !isPlainObject(env, value)) return;
  forEachElement(env, readProperty(env, value, "categories"),
                 [&](napi_value category) { readSceneCategory(env, category, records); });
  const SceneMasters masters = findSceneMasters(base, *records);
  const auto readOverrides = [&](const char* property, std::string_view kind) {
    forEachElement(env, readProperty(env, value, property),
                   [&](napi_value element) { readSceneOverride(env, element, kind, masters, records); });
  };
  readOverrides("shortTitleOverrides", "short");
  readOverrides("compoundOverrides", "compound");
  readOverrides("conflictOverrides", "conflict");
}

void readLocationOverlay(napi_env env, napi_value value, Records* records) {
  if (!canRead(env) || !isPlainObject(env, value)) return;
  readLocationAliases(env, readProperty(env, value, "aliasesZh"), "zh", records);
  readLocationAliases(env, readProperty(env, value, "aliasesEn"), "en", records);
}

void readCelebrityOverlay(napi_env env, napi_value value, Records* records) {
  if (!canRead(env) || !isArray(env, value)) return;
  forEachElement(env, value, [&](napi_value person) { readCelebrity(env, person, records); });
}

}  // namespace corvenda
