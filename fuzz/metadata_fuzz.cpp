// The metadata scanners, on a text by itself and on the metadata of a pack.
#include "cache/rule_pack_loader.h"
#include "fuzz_target.h"
#include "pack/metadata_scanner.h"

using namespace corvenda;

namespace {

constexpr std::string_view kKeys[] = {"schema",        "kind",          "keyId",   "ruleSetId",
                                      "baseRuleSetId", "payloadSha256", "version", "compression"};

void scan(std::string_view text) {
  for (const std::string_view key : kKeys) {
    std::string value = "unchanged\n";
    if (readJsonStringField(text, key, &value)) {
      const std::string written = '"' + std::string(key) + "\":\"" + value + '"';
      mustHold(text.find(written) != std::string_view::npos);
      for (const char byte : value) mustHold(byte != '\\' && static_cast<unsigned char>(byte) >= 32);
    } else {
      mustHold(value == "unchanged\n");
    }
    std::uint32_t number = 7;
    const bool read = readJsonUintField(text, key, &number);
    mustHold(read ? text.find('"' + std::string(key) + "\":") != std::string_view::npos : number == 7);
  }
}

/// A pack of one byte of ciphertext that no key opens: the metadata are all that can be refused before the seal.
void openAsMetadata(std::string_view text) {
  if (text.empty() || text.size() > 0xFFFF) return;
  std::string image("KLRX\1\0", 6);
  image += static_cast<char>(text.size() & 0xFF);
  image += static_cast<char>(text.size() >> 8);
  image += std::string(12, 'n') + std::string("\1\0\0\0", 4) + std::string(text) + 'c' + std::string(16, 't');
  LoadedPack loaded;
  SemanticError error;
  mustHold(
      !openRulePack(blockOf({reinterpret_cast<const std::uint8_t*>(image.data()), image.size()}), &loaded, &error));
  mustHold(error.message == "semantic rule-pack metadata is invalid" ||
           error.message == "semantic rule-pack compression is unsupported" ||
           error.message == "semantic rule-pack authentication or decryption failed");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  scan(text);
  openAsMetadata(text);
  return 0;
}
