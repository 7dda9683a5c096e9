// All resolvers over any rows and any title, held against the plain loops of plain_resolvers.h. The batch runs as the
// addon runs it, with a base pack, a caller's rows and an overlay pack.
//
// The input is lines: the title, its English reading, and rows. A row is a letter for its table ("c" the caller's, "o"
// the overlay pack's, else the base pack's), a letter for its section, its term, and a tab before each field. In a
// field "!" and a letter stand for a word that means something to a resolver.
#include "plain_resolvers.h"

#include <array>

#include "batch/scene_intent_batch.h"
#include "celebrity/celebrity_badges.h"
#include "facet/facet_extraction.h"
#include "fuzz_target.h"
#include "lookup/index_lookup.h"
#include "lookup/overlay_lookup.h"
#include "scene/scene_intent.h"
#include "workflow/workflow_policy.h"

using namespace corvenda;

namespace {

/// More words make more runs than a test has time for.
constexpr std::size_t kMostTitleBytes = 160;
constexpr std::size_t kMostRows = 60;

/// In the order of the letters from "A" on.
constexpr const char* kWords[] = {
    "category",
    "detail",
    "short",
    "compound",
    "conflict",
    "zh",
    "en",
    "identity",
    "streamer",
    "food_creator",
    "food",
    "travel",
    "city",
    "travel diary",
    "show",
    "country",
    "location-famous",
    "location",
    "1.5",
    "location-db-en",
    "nan",
    "paris",
    "location-db-native",
    "1e999",
    "0x1p3",
    "北京",
};

constexpr std::pair<char, const char*> kSections[] = {
    {'s', "scene"},       {'h', "human"},         {'c', "celebrity"},   {'f', "facet"},
    {'l', "location"},    {'b', "location-base"}, {'n', "location-cn"}, {'u', "location-us"},
    {'e', "location-eu"}, {'a', "location-asia"}, {'x', "location-x"},
};

struct Case {
  std::string raw, english;
  std::vector<plain::Rows> tables{3};  ///< base, caller, overlay
};

std::string fieldOf(const std::string& text) {
  if (text.size() != 2 || text[0] != '!' || text[1] < 'A' || text[1] > 'Z') return text;
  return kWords[text[1] - 'A'];
}

void addRow(const std::string& line, Case* input) {
  const auto* const section = std::find_if(std::begin(kSections), std::end(kSections),
                                           [&](const auto& each) { return line.size() > 2 && each.first == line[1]; });
  if (section == std::end(kSections)) return;
  plain::Texts texts = plain::split(line.substr(2), '\t');
  if (texts[0].empty()) return;
  TestRow row{section->second, texts[0], {}};
  for (std::size_t i = 1; i < texts.size(); ++i) row.fields.push_back(fieldOf(texts[i]));
  input->tables[line[0] == 'c' ? 1 : line[0] == 'o' ? 2 : 0].push_back(row);
}

Case readCase(std::string_view text) {
  const plain::Texts lines = plain::split(std::string(text), '\n');
  Case input;
  input.raw = lines[0].substr(0, kMostTitleBytes);
  if (lines.size() > 1) input.english = lines[1].substr(0, kMostTitleBytes);
  for (std::size_t i = 2; i < lines.size() && i < kMostRows; ++i) addRow(lines[i], &input);
  return input;
}

// --- Comparing -----------------------------------------------------------------------------------------------------

bool same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

template <typename Views>
bool same(const Views& views, const plain::Texts& texts) {
  return std::equal(views.begin(), views.end(), texts.begin(), texts.end());
}

void compare(const SceneAnswer& answer, const plain::Scene& scene) {
  mustHold(answer.sceneKey == scene.key && answer.sceneDetail == scene.detail);
  mustHold(answer.hit.has_value() == !scene.entry.empty());
  if (!answer.hit) return;
  const IntentHit& hit = *answer.hit;
  mustHold(hit.alias == scene.alias && hit.type == scene.type && hit.rank == scene.rank &&
           same(hit.score, scene.score));
  const SceneEntry& entry = hit.entry;
  const std::string_view texts[] = {entry.key,          entry.defaultDetail, entry.priority, entry.label,
                                    entry.archiveLabel, entry.archiveCode,   entry.icon};
  mustHold(same(std::span(texts), scene.entry));
}

void compare(const LocationAnswer& answer, const plain::Location& location) {
  mustHold(answer.found == answer.meta.has_value() && answer.found == !answer.codes.empty() &&
           answer.codes.size() <= 3);
  if (!location.finite) return;
  mustHold(same(answer.codes, location.codes));
  if (!answer.meta) return;
  const LocationMeta& meta = *answer.meta;
  mustHold(meta.countryCode == location.codes[0] && meta.countryLabel == location.countryLabel);
  mustHold(meta.locationLabel == location.label && meta.shortLabel == location.shortLabel);
  mustHold(meta.primaryHit.has_value() == location.primary.has_value());
  if (!meta.primaryHit) return;
  const PrimaryLocationHit& hit = *meta.primaryHit;
  const plain::Place& place = *location.primary;
  mustHold(hit.label == place.row.fields[3] && hit.source == place.row.fields[1] && hit.index == place.first);
  mustHold(hit.len == place.labelLength && same(hit.weight, plain::numberOf(place.row.fields[2]).first));
}

bool sameRow(const IndexRecord& record, const TestRow& row) {
  return record.section == row.section && record.term == row.term && same(record.fields, row.fields);
}

// --- The functions -------------------------------------------------------------------------------------------------

std::shared_ptr<LoadedPack> packOf(const plain::Rows& rows) {
  auto pack = std::make_shared<LoadedPack>();
  pack->table = makeTable(rows);
  return pack;
}

/// The titles of one batch: the case's, its readings exchanged, twice the rear of it, nothing.
std::vector<std::pair<std::string, std::string>> titlesOf(const Case& input) {
  const auto rear = [](const std::string& text) { return text.substr(text.size() / 2); };
  const std::pair<std::string, std::string> half{rear(input.raw), rear(input.english)};
  return {{input.raw, input.english}, half, {input.english, input.raw}, half, {}};
}

/// Titles that are resolved together, and each once more alone.
void resolveBatch(const Case& input, const std::vector<std::shared_ptr<LoadedPack>>& packs) {
  BatchLexicon lexicon;
  lexicon.sceneBase = lexicon.base = packs[0];
  lexicon.caller = makeTable(input.tables[1]);
  lexicon.parts = {{&packs[0]->table, true, true, true}};
  if (!input.tables[1].empty()) lexicon.parts.push_back({&lexicon.caller, true, true, false});
  if (!input.tables[2].empty()) lexicon.parts.push_back({&packs[2]->table, true, true, false});
  plain::Rows sceneRows;
  for (const plain::Rows& rows : input.tables) {
    for (const TestRow& row : plain::select(rows, "scene")) sceneRows.push_back(row);
  }
  static BatchScratch* const scratch = new BatchScratch;
  const auto texts = titlesOf(input);
  std::vector<BatchTitle> titles(texts.size());
  mustHold(titles.size() <= kTitlesTogether);
  for (std::size_t i = 0; i < titles.size(); ++i) fillTitle(texts[i].first, texts[i].second, &titles[i].texts);
  beginBatchTitles(lexicon, titles);
  for (std::size_t i = 0; i < titles.size(); ++i) {
    const plain::Title plain = plain::makeTitle(texts[i].first, texts[i].second);
    const plain::Location location = plain::resolveLocation(input.tables, plain);
    const BatchAnswer together = resolveBegunTitle(lexicon, &titles[i], scratch);
    const bool found = together.location.found;
    const plain::Scene scene = plain::resolveSceneInBatch(input.tables[0], sceneRows, plain, found);
    compare(together.location, location);
    compare(together.scene, scene);
    const BatchAnswer alone = resolveBatchTitle(lexicon, titles[i].texts, scratch);
    mustHold(alone.location.found == found);
    compare(alone.location, location);
    compare(alone.scene, scene);
  }
}

void foldPlainly(const plain::Rows& matches, const std::string& text, const std::vector<LookupCandidate>& candidates) {
  for (const LookupCandidate& candidate : candidates) {
    plain::Rows rows;
    plain::Texts types;
    double detailScore = 0;
    for (const TestRow& row : matches) {
      if (row.fields.size() < 2 || row.fields[0] != candidate.sceneKey) continue;
      const std::string type = plain::field(row, 3);
      if (!type.empty() && std::find(types.begin(), types.end(), type) == types.end()) types.push_back(type);
      detailScore = std::max(detailScore, plain::lookupDetailScore(row, text));
      rows.push_back(row);
    }
    mustHold(!rows.empty() && candidate.candidateCount == rows.size() && same(candidate.candidateTypes, types));
    mustHold(candidate.bestRank == plain::rankOf(rows[0]) && candidate.detailLabel == rows[0].fields[1]);
    mustHold(candidate.bestDetailScore == detailScore && candidate.bestTermLength == rows[0].term.size());
  }
  const auto orderOf = [](const LookupCandidate& of, std::string_view key) {
    return std::tuple(of.bestRank, of.bestTermLength, key);
  };
  mustHold(std::is_sorted(candidates.begin(), candidates.end(), [&](const auto& a, const auto& b) {
    return orderOf(a, b.sceneKey) > orderOf(b, a.sceneKey);
  }));
  std::set<std::string> keys;
  for (const TestRow& row : matches) {
    if (row.fields.size() >= 2) keys.insert(row.fields[0]);
  }
  mustHold(keys.size() == candidates.size());
}

void lookUp(const plain::Rows& rows, const RecordTable& table, const std::string& text) {
  for (const char* name : {"scene", "human", "celebrity", "location", "facet"}) {
    for (const bool contains : {false, true}) {
      TextArena arena;
      plain::Rows expected = plain::lookup(rows, name, text, contains);
      const std::vector<LookupMatch> matches = lookupRows(table, *sectionFromName(name), text, contains, &arena);
      plain::sortMatches(&expected);
      mustHold(matches.size() == expected.size());
      for (std::size_t i = 0; i < matches.size(); ++i) {
        mustHold(sameRow(matches[i].record, expected[i]) && matches[i].rank == plain::rankOf(expected[i]));
        mustHold(matches[i].type == plain::field(expected[i], 3));
        mustHold(same(matches[i].score, plain::lookupScore(expected[i], text)));
        mustHold(same(matches[i].detailScore, plain::lookupDetailScore(expected[i], text)));
      }
      foldPlainly(expected, text, foldCandidates(matches));
    }
  }
}

void lookUpOverlay(const Case& input, const std::vector<std::shared_ptr<LoadedPack>>& packs, const std::string& text) {
  TextArena arena;
  const auto found = [&](std::size_t i) {
    return lookupRecords(packs[i]->table, Section::kLocation, text, true, &arena);
  };
  const std::vector<OverlayMatch> matches = mergeOverlayRows(found(2), found(0));
  std::size_t next = 0;
  std::set<std::string> seen;
  for (const std::size_t i : {2U, 0U}) {
    for (const TestRow& row : plain::lookup(input.tables[i], "location", text, true)) {
      std::string key = row.term + '\x1F';
      for (const std::string& field : row.fields) key += field + '\x1E';
      if (!seen.insert(key).second) continue;
      mustHold(next < matches.size() && sameRow(matches[next].record, row) && matches[next].fromOverlay == (i == 2));
      ++next;
    }
  }
  mustHold(next == matches.size());
}

void extractFacets(const plain::Rows& rows, const RecordTable& table, const plain::Title& title) {
  const SemanticFacets facets = extractSemanticFacets(table, title.raw, title.english);
  const std::vector<plain::Facet> expected = plain::findFacets(rows, title);
  mustHold(facets.hits.size() == expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const FacetHit& hit = facets.hits[i];
    const TestRow& row = expected[i].row;
    mustHold(hit.alias == row.term && hit.dimension == row.fields[0] && hit.facetKey == row.fields[1]);
    mustHold(hit.type == row.fields[3] && hit.index == expected[i].index && same(hit.score, expected[i].score));
    mustHold(hit.len == plain::characters(row.term));
  }
  std::uint32_t hits = 0;
  for (const FacetGroup& group : facets.groups) {
    double score = 0;
    std::uint64_t first = ~std::uint64_t{0};
    std::uint32_t count = 0;
    for (const FacetHit& hit : facets.hits) {
      const std::string joint = "\\x1f";
      if (std::string(hit.dimension).append(joint).append(hit.facetKey) !=
          std::string(group.dimension).append(joint).append(group.facetKey)) {
        continue;
      }
      score = count++ == 0 ? hit.score : score + hit.score;
      first = std::min(first, hit.index);
    }
    mustHold(count == group.count && same(score, group.score) && first == group.firstIndex);
    hits += count;
  }
  mustHold(hits == facets.hits.size());
}

void findPeople(const Case& input, const std::vector<std::shared_ptr<LoadedPack>>& packs, const plain::Title& plain,
                const TitleTexts& title) {
  const RecordTable* const overlays[] = {&packs[1]->table, &packs[2]->table};
  CelebrityScratch scratch;
  const std::span<const CelebrityRow> people = findCelebrities(title, overlays, &packs[0]->table, &scratch);
  CelebrityBadge badge;
  const plain::Rows expected = plain::findPeople({input.tables[1], input.tables[2]}, input.tables[0], plain);
  mustHold(people.size() == expected.size());
  for (std::size_t i = 0; i < people.size(); ++i) {
    const CelebrityRow& row = people[i];
    const std::string_view texts[] = {row.id, row.name, row.kind, row.region, row.photoKey, row.tags};
    const plain::Texts& fields = expected[i].fields;
    mustHold(row.term == expected[i].term);
    mustHold(
        same(std::span(texts), {fields[0], fields[1], fields[2], fields[3], fields[5], plain::field(expected[i], 6)}));
    proposeCelebrityBadge(row, title, i % 2 == 0, &badge);
    const auto isRaw = [&](const BadgeCandidate& candidate) { return candidate.label == badge.rawLabel; };
    mustHold(std::any_of(badge.candidates.begin(), badge.candidates.end(), isRaw) && badge.candidates.size() >= 2);
    mustHold(badge.confidence >= 0.52 && badge.confidence < 1);
  }
}

/// A title in which no word of an activity begins is not searched for them. With such a beginning it is, and says the
/// same.
void readActivities(const Case& input, const TitleTexts& title) {
  const std::string longer = input.raw + "\n演";
  TitleTexts searched;
  fillTitle(longer, input.english, &searched);
  const auto wordsOf = [](const ActivitySignals& says) {
    return std::array{says.concert, says.airport, says.roadshow, says.fan,       says.variety,
                      says.brand,   says.fashion, says.city,     says.posterWord};
  };
  mustHold(wordsOf(readActivitySignals(title)) == wordsOf(readActivitySignals(searched)));
}

/// The scenes that have rules of their own, and an alias to which these apply.
constexpr std::pair<const char*, const char*> kJudgedScenes[] = {
    {"home", "整理"}, {"health", "检查"}, {"sport", "训练"}, {"food", "打包"}, {"business", "客户"}, {"music", ""},
};

/// The words that decide are the title's, and a title to which words are added keeps the context that it had.
void judgeWorkflow(const plain::Title& title, const std::string& more) {
  const auto isInTitle = [&](std::string_view word) {
    return title.raw.find(word) != std::string::npos || title.english.find(word) != std::string::npos;
  };
  for (const auto& [scene, alias] : kJudgedScenes) {
    const WorkflowDecision decision = evaluateWorkflowPolicy({title.raw, title.english, scene, alias, "", ""});
    const WorkflowDecision longer =
        evaluateWorkflowPolicy({title.raw + more, more + title.english, scene, alias, "", more});
    const bool context = !decision.assetWord.empty() || !decision.hardWord.empty();
    mustHold(!decision.reason.empty() && (context || !decision.suppressed));
    mustHold(isInTitle(decision.assetWord) && isInTitle(decision.hardWord) && isInTitle(decision.sceneWord));
    mustHold(decision.assetWord.empty() || !longer.assetWord.empty());
    mustHold(decision.hardWord.empty() || !longer.hardWord.empty());
    mustHold(more.empty() || !longer.suppressed);
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Case input = readCase({reinterpret_cast<const char*>(data), size});
  const plain::Title plain = plain::makeTitle(input.raw, input.english);
  TitleTexts title;
  fillTitle(input.raw, input.english, &title);
  mustHold(title.compactRaw == plain.compactRaw && title.nonAscii == !plain.ascii);
  std::vector<std::shared_ptr<LoadedPack>> packs;
  for (const plain::Rows& rows : input.tables) packs.push_back(packOf(rows));
  const RecordTable& base = packs[0]->table;
  compare(resolveSceneIntent(base, title), plain::resolveScene(input.tables[0], plain));
  resolveBatch(input, packs);
  for (const std::string& text : {input.raw, plain.compactEnglish}) {
    lookUp(input.tables[0], base, text);
    lookUpOverlay(input, packs, text);
  }
  extractFacets(input.tables[0], base, plain);
  findPeople(input, packs, plain, title);
  readActivities(input, title);
  judgeWorkflow(plain, input.tables[0].empty() ? "" : input.tables[0][0].term);
  return 0;
}
