// What a title costs in instructions: runs one kind of work over the titles of a file, for callgrind to count.
//
//   title_instructions WORK PACK ROOT TITLES
//
// TITLES has a title a line, its English reading after a tab. Everything that is made once, indexes and scratch, is
// made by a first pass over the titles; only `measuredPass` is counted. Prints the number of answers, by which a run is
// checked.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "batch/scene_intent_batch.h"
#include "cache/rule_pack_loader.h"
#include "cache/warm_up.h"
#include "celebrity/celebrity_badges.h"
#include "facet/facet_extraction.h"
#include "lookup/index_lookup.h"
#include "scene/scene_intent.h"

using namespace corvenda;

namespace {

struct Title {
  std::string raw;
  std::string english;
};

/// Works on one title and gives the number of its answers.
using Work = std::function<std::uint64_t(const Title& title)>;

struct Pack {
  std::string path;
  std::string root;
};

[[noreturn]] void refuse(std::string_view message) {
  std::fprintf(stderr, "title_instructions: %.*s\n", static_cast<int>(message.size()), message.data());
  std::exit(2);
}

std::vector<Title> readTitles(const char* path) {
  std::vector<Title> titles;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const std::size_t tab = line.find('\t');
    if (tab == std::string::npos) refuse("a title has no tab");
    titles.push_back({line.substr(0, tab), line.substr(tab + 1)});
  }
  return titles;
}

std::shared_ptr<const LoadedPack> load(const Pack& pack) {
  SemanticError error;
  std::shared_ptr<const LoadedPack> loaded;
  if (!RulePackLoader(pack.path, pack.root, semanticCache().baseSlot, &loaded, &error)) refuse(error.message);
  return loaded;
}

Work sceneBatch(const Pack& pack) {
  const BatchCaller nobody = {
      false,
      [](const RecordTable&, RecordTable*) {},
      [](std::string*, std::string*) { return true; },
      [](RecordTable*) {},
  };
  SemanticError error;
  auto lexicon = std::make_shared<BatchLexicon>();
  if (!openBatchLexicon(pack.path, pack.root, nobody, lexicon.get(), &error)) refuse(error.message);
  return [lexicon, texts = TitleTexts(), scratch = std::make_shared<BatchScratch>()](const Title& title) mutable {
    fillTitle(title.raw, title.english, &texts);
    const BatchAnswer answer = resolveBatchTitle(*lexicon, texts, scratch.get());
    return std::uint64_t{answer.scene.hit.has_value()} + answer.location.codes.size();
  };
}

Work celebrityBatch(const Pack& pack) {
  return [loaded = load(pack), texts = TitleTexts(), scratch = CelebrityScratch(),
          badge = CelebrityBadge()](const Title& title) mutable {
    fillTitle(title.raw, title.english, &texts);
    const std::span<const CelebrityRow> people = findCelebrities(texts, {}, &loaded->table, &scratch);
    if (people.empty()) return std::uint64_t{0};
    proposeCelebrityBadge(people.front(), texts, false, &badge);
    return people.size() + badge.candidates.size();
  };
}

Work sceneOfOne(const Pack& pack) {
  return [loaded = load(pack)](const Title& title) {
    TitleTexts texts;
    fillTitle(title.raw, title.english, &texts);
    return std::uint64_t{resolveSceneIntent(loaded->table, texts).hit.has_value()};
  };
}

Work facets(const Pack& pack) {
  return [loaded = load(pack)](const Title& title) {
    return std::uint64_t{extractSemanticFacets(loaded->table, title.raw, title.english).hits.size()};
  };
}

Work lookUp(const Pack& pack) {
  return [loaded = load(pack)](const Title& title) {
    TextArena arena;
    return std::uint64_t{lookupRows(loaded->table, Section::kScene, title.raw, true, &arena).size()};
  };
}

/// The same for a pack as a whole: once for the file, whatever the titles are.
Work firstLoad(const Pack& pack) {
  return [pack](const Title&) {
    semanticCache().baseSlot = {};
    SemanticError error;
    if (!warmUp({pack.path, pack.root, "", ""}, &error)) refuse(error.message);
    return std::uint64_t{load(pack)->table.rows.size()};
  };
}

Work makeWork(std::string_view name, const Pack& pack) {
  if (name == "scene-batch") return sceneBatch(pack);
  if (name == "celebrity-batch") return celebrityBatch(pack);
  if (name == "scene-intent") return sceneOfOne(pack);
  if (name == "facets") return facets(pack);
  if (name == "lookup") return lookUp(pack);
  if (name == "load") return firstLoad(pack);
  refuse("unknown work");
}

}  // namespace

/// Callgrind is told to count while this function runs, and finds it by its name.
extern "C" [[gnu::noinline]] std::uint64_t measuredPass(Work* work, const std::vector<Title>* titles) {
  std::uint64_t answers = 0;
  for (const Title& title : *titles) answers += (*work)(title);
  return answers;
}

int main(int argc, char** argv) {
  if (argc != 5) refuse("usage: title_instructions WORK PACK ROOT TITLES");
  const std::vector<Title> titles = readTitles(argv[4]);
  Work work = makeWork(argv[1], {argv[2], argv[3]});
  std::uint64_t first = 0;
  for (const Title& title : titles) first += work(title);
  const std::uint64_t answers = measuredPass(&work, &titles);
  if (answers != first) refuse("the second pass gives other answers than the first");
  std::printf("%llu\n", static_cast<unsigned long long>(answers));
  return 0;
}
