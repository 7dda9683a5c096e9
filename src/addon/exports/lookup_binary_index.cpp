#include "addon/border.h"
#include "addon/exports/exports.h"
#include "addon/lookup_options.h"
#include "cache/rule_pack_loader.h"
#include "lookup/index_lookup.h"
#include "rows/lexicon_rows.h"

namespace corvenda {
namespace {

struct LookupOptions {
  std::string packPath;
  std::string allowedRoot;
  std::string sectionName;
  std::string term;
  std::string mode;
  Section section = Section::kScene;
};

bool readRequiredOptions(napi_env env, napi_value object, LookupOptions* options, SemanticError* error) {
  return requireStringOption(env, object, "packPath", &options->packPath, error) &&
         requireStringOption(env, object, "allowedRoot", &options->allowedRoot, error) &&
         requireStringOption(env, object, "section", &options->sectionName, error) &&
         requireStringOption(env, object, "term", &options->term, error);
}

/// Reads all options; throws at the first that is not allowed. The section comes before the mode, whose getter is not
/// run for a section that does not exist.
bool readOptions(napi_env env, napi_value object, LookupOptions* options) {
  constexpr std::string_view kModeMessage = "lookupBinaryIndex mode must be exact or contains";
  const auto turnDown = [env](ErrorKind kind, std::string_view message) {
    refuse(env, kind, message);
    return false;
  };
  SemanticError error;
  if (!readRequiredOptions(env, object, options, &error)) return turnDown(ErrorKind::kTypeError, error.message);
  const auto section = sectionFromName(options->sectionName);
  if (!section) return turnDown(ErrorKind::kRangeError, "lookupBinaryIndex section is unsupported");
  options->section = *section;
  if (!readLookupMode(env, object, &options->mode)) return turnDown(ErrorKind::kTypeError, kModeMessage);
  if (!isLookupMode(options->mode)) return turnDown(ErrorKind::kRangeError, kModeMessage);
  return true;
}

napi_value makeMatch(napi_env env, const LookupMatch& match) {
  const napi_value object = makeObject(env);
  setText(env, object, "section", match.record->section);
  setText(env, object, "term", match.record->term);
  setValue(env, object, "fields", makeTextArray(env, match.record->fields));
  setNumber(env, object, "candidateRank", match.rank);
  setText(env, object, "candidateType", fieldOrEmpty(*match.record, scene_field::kKind));
  setNumber(env, object, "candidateScore", match.score);
  setNumber(env, object, "detailScore", match.detailScore);
  return object;
}

napi_value makeCandidate(napi_env env, const LookupCandidate& candidate) {
  const napi_value object = makeObject(env);
  setText(env, object, "sceneKey", candidate.sceneKey);
  setText(env, object, "detailLabel", candidate.detailLabel);
  setNumber(env, object, "bestRank", candidate.bestRank);
  setNumber(env, object, "candidateCount", candidate.candidateCount);
  setNumber(env, object, "bestDetailScore", candidate.bestDetailScore);
  setValue(env, object, "candidateTypes", makeList(env, candidate.candidateTypes, makeString));
  return object;
}

}  // namespace

Napi::Value exports::lookupBinaryIndex(const Napi::CallbackInfo& info) {
  const napi_env env = info.Env();
  if (!requireOneOptionsObject(info, "lookupBinaryIndex requires one options object")) return info.Env().Null();
  LookupOptions options;
  if (!readOptions(env, info[0], &options)) return info.Env().Null();
  std::shared_ptr<const LoadedPack> loaded;
  SemanticError error;
  if (!RulePackLoader(options.packPath, options.allowedRoot, semanticCache().baseSlot, &loaded, &error)) {
    return refuse(env, ErrorKind::kError, error.message);
  }
  const std::vector<LookupMatch> matches =
      lookupRows(loaded->table, options.section, options.term, options.mode == kContainsMode);
  std::vector<LookupCandidate> candidates;
  if (options.section == Section::kScene) candidates = foldCandidates(matches);

  const napi_value result = makeObject(env);
  setBoolean(env, result, "ok", true);
  setText(env, result, "section", options.sectionName);
  setText(env, result, "term", options.term);
  setText(env, result, "mode", options.mode);
  setValue(env, result, "matches", makeList(env, matches, makeMatch));
  setText(env, result, "scoreContract", "native-candidate-v1");
  setValue(env, result, "sceneCandidates", makeList(env, candidates, makeCandidate));
  return {env, result};
}

}  // namespace corvenda
