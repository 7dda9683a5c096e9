#include "addon/exports/exports.h"
#include "addon/options.h"
#include "addon/result.h"
#include "cache/rule_pack_loader.h"
#include "lookup/index_lookup.h"

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

/// The section comes before the mode, whose getter is not run for a section that does not exist.
bool readOptions(napi_env env, napi_value object, LookupOptions* options, Failure* failure) {
  constexpr std::string_view kModeMessage = "lookupBinaryIndex mode must be exact or contains";
  return requireStringOption(env, object, "packPath", &options->packPath, failure) &&
         requireStringOption(env, object, "allowedRoot", &options->allowedRoot, failure) &&
         requireStringOption(env, object, "section", &options->sectionName, failure) &&
         requireStringOption(env, object, "term", &options->term, failure) &&
         parseSection(options->sectionName, "lookupBinaryIndex section is unsupported", &options->section, failure) &&
         readLookupMode(env, object, kModeMessage, &options->mode, failure) &&
         checkLookupMode(options->mode, kModeMessage, failure);
}

}  // namespace

struct LookupAnswer {
  const LookupOptions& options;
  const std::vector<LookupMatch>& matches;
  const std::vector<LookupCandidate>& candidates;
};

template <typename Out>
void describe(Out& out, const LookupMatch& match) {
  put(out, "section", match.record.section);
  put(out, "term", match.record.term);
  put(out, "fields", match.record.fields);
  put(out, "candidateRank", match.rank);
  put(out, "candidateType", match.type);
  put(out, "candidateScore", match.score);
  put(out, "detailScore", match.detailScore);
}

template <typename Out>
void describe(Out& out, const LookupCandidate& candidate) {
  put(out, "sceneKey", candidate.sceneKey);
  put(out, "detailLabel", candidate.detailLabel);
  put(out, "bestRank", candidate.bestRank);
  put(out, "candidateCount", candidate.candidateCount);
  put(out, "bestDetailScore", candidate.bestDetailScore);
  put(out, "candidateTypes", candidate.candidateTypes);
}

template <typename Out>
void describe(Out& out, const LookupAnswer& answer) {
  putConstant(out, "ok", true);
  put(out, "section", answer.options.sectionName);
  put(out, "term", answer.options.term);
  put(out, "mode", answer.options.mode);
  put(out, "matches", answer.matches);
  putConstant(out, "scoreContract", "native-candidate-v1");
  put(out, "sceneCandidates", answer.candidates);
}

napi_value exports::lookupBinaryIndex(napi_env env, napi_value object, Failure* failure) {
  LookupOptions options;
  std::shared_ptr<const LoadedPack> loaded;
  if (!readOptions(env, object, &options, failure) ||
      !RulePackLoader(options.packPath, options.allowedRoot, semanticCache().baseSlot, &loaded, failure)) {
    return nullptr;
  }
  TextArena arena;
  const std::vector<LookupMatch> matches =
      lookupRows(loaded->table, options.section, options.term, options.mode == kContainsMode, &arena);
  std::vector<LookupCandidate> candidates;
  if (options.section == Section::kScene) candidates = foldCandidates(matches);
  return makeObject(env, LookupAnswer{options, matches, candidates});
}

}  // namespace corvenda
