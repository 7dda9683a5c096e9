// The payload and everything parsed in it: documents, indexes, shards. Changed data would already fail at its digest,
// so each input is also read with its digests corrected.
#include <algorithm>
#include <utility>

#if __has_include(<sanitizer/asan_interface.h>)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) static_cast<void>(address)
#define ASAN_UNPOISON_MEMORY_REGION(address, size) static_cast<void>(address)
#endif

#include "base/byte_reader.h"
#include "cache/rule_pack_loader.h"
#include "fuzz_target.h"
#include "pack/crypto.h"

using namespace corvenda;

namespace {

void putDigestsRight(std::vector<std::uint8_t>& payload) {
  ByteReader reader{payload.data(), payload.size()};
  ByteReader skipped;
  if (!takeReader(reader, 8, &skipped)) return;
  ByteReader header;
  while (takeReader(reader, 40, &header)) {
    std::uint8_t* const digestPlace = payload.data() + (header.data - payload.data()) + 8;
    std::uint16_t nameLength = 0;
    std::uint32_t dataLength = 0;
    ByteReader document;
    Sha256Digest digest;
    takeReader(header, 2, &skipped);
    takeU16(header, &nameLength);
    takeU32(header, &dataLength);
    if (!takeReader(reader, nameLength, &skipped) || !takeReader(reader, dataLength, &document)) return;
    mustHold(sha256({document.data, document.size}, &digest, nullptr));
    std::copy(digest.begin(), digest.end(), digestPlace);
  }
}

/// Each row can be read as its type and is found by its own term.
void askForRow(const RecordTable& table, std::uint32_t row) {
  TextArena arena;
  const IndexRecord record = recordAt(table, row, &arena);
  mustHold(record.term == termOf(table, row) && record.fields.size() == table.rows[row].fieldCount);
  const auto fieldOrEmpty = [&](std::size_t i) {
    return i < record.fields.size() ? record.fields[i] : std::string_view();
  };
  const Section section = sectionOf(table, row);
  if (section == Section::kScene) {
    const SceneRow scene = sceneRowAt(table, row);
    mustHold(scene.priority == fieldOrEmpty(scene_field::kPriority) && scene.key == firstFieldOf(table, row));
  } else if (section == Section::kLocation) {
    mustHold(placeRowAt(table, row).countryLabel == fieldOrEmpty(location_field::kCountryLabel));
    mustHold(placeRowAt(table, row).english == (fieldOrEmpty(location_field::kLang) == "en"));
  }
  const auto found = filterRecords(table, section, record.term, true);
  mustHold(std::any_of(found.begin(), found.end(), [row](const FoundRow& hit) { return hit.row == row; }));
}

void check(const LoadedPack& loaded) {
  std::size_t documents = 0;
  for (const auto& [name, count] : loaded.pack.documentCounts) documents += count;
  mustHold(documents == loaded.pack.documentCount && documents >= 1 && documents <= 512);
  for (std::uint32_t row = 0; row < loaded.table.rows.size(); ++row) askForRow(loaded.table, row);
}

/// In a block whose last page continues after the bytes: the rest must not be read.
void read(ByteSpan payload) {
  constexpr std::size_t kBeyond = 64;
  SecureBlock block = allocateBlock(payload.size() + kBeyond);
  std::copy(payload.begin(), payload.end(), block.data);
  trimBlock(&block, payload.size());
  const std::uint8_t* const beyond = block.data + block.size;
  ASAN_POISON_MEMORY_REGION(beyond, kBeyond);
  LoadedPack loaded;
  std::string digest;
  if (readPayloadRows(std::move(block), &loaded, &digest, nullptr)) check(loaded);
  ASAN_UNPOISON_MEMORY_REGION(beyond, kBeyond);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  read({data, size});
  std::vector<std::uint8_t> payload(data, data + size);
  putDigestsRight(payload);
  read(payload);
  return 0;
}
