// Manifests as files, verified with a sound pack. A second reader, which searches and copies byte by byte, foretells
// the verdict: it holds the fields against those of the one manifest that is signed. What fails at the signature alone
// is signed anew, over the text as that reader would write it.
#include <sodium.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

#include "delta/delta_manifest.h"
#include "delta/signed_text.h"
#include "fuzz_target.h"
#include "pack/metadata_scanner.h"

using namespace corvenda;
namespace fs = std::filesystem;

namespace {

constexpr std::string_view kPack = "a_patch_is_accepted.klrx";

std::string readFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The text after the first `"key":` and `first`; nothing if there is none.
std::optional<std::string_view> after(std::string_view text, std::string_view key, std::string_view first = "") {
  for (std::size_t at = 0; at < text.size(); ++at) {
    std::string_view rest = text.substr(at);
    const bool named = rest.starts_with('"') && rest.substr(1).starts_with(key);
    if (!named || !rest.substr(1 + key.size()).starts_with("\":")) continue;
    rest.remove_prefix(3 + key.size());
    if (rest.starts_with(first)) return rest.substr(first.size());
  }
  return std::nullopt;
}

std::optional<std::string> plainString(std::string_view text, std::string_view key) {
  const auto rest = after(text, key, "\"");
  if (!rest) return std::nullopt;
  std::string value;
  for (const char byte : *rest) {
    if (byte == '"') return value;
    if (byte == '\\' || static_cast<unsigned char>(byte) < ' ') return std::nullopt;
    value += byte;
  }
  return std::nullopt;
}

std::optional<std::uint64_t> plainNumber(std::string_view text, std::string_view key) {
  std::optional<std::uint64_t> value;
  for (const char byte : after(text, key).value_or("")) {
    if (byte < '0' || byte > '9') break;
    value = value.value_or(0) * 10 + static_cast<std::uint64_t>(byte - '0');
    if (*value > 0xFFFFFFFF) return std::nullopt;
  }
  return value;
}

std::optional<std::string> plainArray(std::string_view text, std::string_view key) {
  const auto rest = after(text, key);
  if (!rest || !rest->starts_with('[')) return std::nullopt;
  std::string value;
  for (const char byte : *rest) {
    value += byte;
    if (byte == ']') return value;
  }
  return std::nullopt;
}

/// By a table of all digits, and bit by bit.
std::optional<std::string> plainBase64(std::string_view text) {
  std::string bits;
  if (text.size() % 4 != 0) return std::nullopt;
  for (const char digit : text) {
    if (digit == '=') break;
    int value = -1;
    if (digit >= 'A' && digit <= 'Z') value = digit - 'A';
    if (digit >= 'a' && digit <= 'z') value = 26 + digit - 'a';
    if (digit >= '0' && digit <= '9') value = 52 + digit - '0';
    if (digit == '+') value = 62;
    if (digit == '/') value = 63;
    if (value < 0) return std::nullopt;
    for (int bit = 32; bit > 0; bit /= 2) bits += (value & bit) != 0 ? '1' : '0';
  }
  std::string bytes;
  for (std::size_t at = 0; at + 8 <= bits.size(); at += 8) {
    bytes += static_cast<char>(std::stoi(bits.substr(at, 8), nullptr, 2));
  }
  if (bytes.empty()) return std::nullopt;
  return bytes;
}

std::string plainQuote(std::string_view text) {
  std::string quoted = "\"";
  for (const char byte : text) {
    switch (byte) {
      case '\\': quoted += "\\\\"; break;
      case '"': quoted += "\\\""; break;
      case '\n': quoted += "\\n"; break;
      case '\r': quoted += "\\r"; break;
      case '\t': quoted += "\\t"; break;
      default: quoted += byte;
    }
  }
  return quoted + '"';
}

/// The folder with the pack and the manifest, and the manifest that was signed.
struct Place {
  fs::path folder = fs::canonical(fs::temp_directory_path()) / ("corvenda-manifest-fuzz-" + std::to_string(getpid()));
  std::string good = readFile(fs::path(CORVENDA_VECTORS) / "a_manifest_vouches_for_its_patch.manifest");

  Place() {
    fs::create_directories(folder);
    fs::copy_file(fs::path(CORVENDA_VECTORS) / kPack, folder / kPack, fs::copy_options::overwrite_existing);
  }
  ~Place() { fs::remove_all(folder); }
};

bool sameString(std::string_view text, std::string_view good, std::string_view key) {
  return plainString(text, key) == plainString(good, key);
}

/// The message that the manifest must meet; empty if it must be accepted.
std::string foretell(std::string_view text, std::string_view good) {
  const std::string kind = "semantic delta manifest ";
  if (text.empty() || text.size() > 131072) return kind + "size is invalid";
  for (const char* key : {"schema", "keyId", "signatureEncoding"}) {
    if (!sameString(text, good, key)) return kind + "contract is invalid";
  }
  for (const char* key :
       {"pack", "packSha256", "baseRuleSetId", "ruleSetId", "publicKeySha256", "publicKeyDerBase64", "signature"}) {
    if (!plainString(text, key)) return kind + "contract is invalid";
  }
  if (plainNumber(text, "version") != 1U || !plainNumber(text, "packBytes") || !plainArray(text, "modules")) {
    return kind + "contract is invalid";
  }
  for (const char* key : {"pack", "baseRuleSetId", "ruleSetId", "publicKeySha256", "publicKeyDerBase64"}) {
    if (!sameString(text, good, key)) return kind + "trust or identity check failed";
  }
  if (plainString(text, "packSha256")->size() != 64) return kind + "trust or identity check failed";
  if (!sameString(text, good, "packSha256") || plainNumber(text, "packBytes") != plainNumber(good, "packBytes")) {
    return kind + "pack digest or size mismatch";
  }
  // Of what is signed only this has not been held against the good one yet.
  const bool covered = plainArray(text, "modules") == plainArray(good, "modules") &&
                       plainBase64(*plainString(text, "signature")) == plainBase64(*plainString(good, "signature"));
  return covered ? "" : kind + "Ed25519 signature verification failed";
}

/// The message that the manifest meets; empty if it is accepted.
std::string verify(const Place& place, std::string_view text) {
  const fs::path path = place.folder / "m";
  // Some file systems write a file that was overwritten to the disk at once, and a new one later.
  fs::remove(path);
  std::ofstream(path, std::ios::binary) << text;
  const DeltaExpectation expected{(place.folder / kPack).string(), place.folder.string(), "vectors-1", "vectors-2"};
  DeltaManifest manifest;
  SemanticError error;
  mustHold(verifySemanticDeltaManifest(path.string(), expected, &manifest, &error) == error.message.empty());
  return error.message;
}

/// The text that a signature covers, of a manifest that has all fields.
std::string plainSignedText(std::string_view text) {
  const auto quoted = [&](std::string_view key) { return plainQuote(*plainString(text, key)); };
  const auto number = [&](std::string_view key) { return std::to_string(*plainNumber(text, key)); };
  return "{\"baseRuleSetId\":" + quoted("baseRuleSetId") + ",\"keyId\":" + quoted("keyId") +
         ",\"modules\":" + *plainArray(text, "modules") + ",\"pack\":" + quoted("pack") +
         ",\"packBytes\":" + number("packBytes") + ",\"packSha256\":" + quoted("packSha256") +
         ",\"publicKeyDerBase64\":" + quoted("publicKeyDerBase64") +
         ",\"publicKeySha256\":" + quoted("publicKeySha256") + ",\"ruleSetId\":" + quoted("ruleSetId") +
         ",\"schema\":" + quoted("schema") + ",\"version\":" + number("version") + "}";
}

/// The development key, whose 32 bytes follow the prefix of RFC 8410, in base64.
std::string sign(std::string_view message) {
  constexpr std::size_t kPrefix = 16;
  std::vector<std::uint8_t> key;
  mustHold(sodium_init() >= 0 && decodeBase64(CORVENDA_SIGNING_KEY, &key) &&
           key.size() == kPrefix + crypto_sign_SEEDBYTES);
  std::array<std::uint8_t, crypto_sign_PUBLICKEYBYTES> publicKey{};
  std::array<std::uint8_t, crypto_sign_SECRETKEYBYTES> secretKey{};
  std::array<std::uint8_t, crypto_sign_BYTES> signature{};
  crypto_sign_seed_keypair(publicKey.data(), secretKey.data(), key.data() + kPrefix);
  crypto_sign_detached(signature.data(), nullptr, reinterpret_cast<const std::uint8_t*>(message.data()), message.size(),
                       secretKey.data());
  constexpr int kVariant = sodium_base64_VARIANT_ORIGINAL;
  std::string text(sodium_base64_ENCODED_LEN(signature.size(), kVariant), '\0');
  sodium_bin2base64(text.data(), text.size(), signature.data(), signature.size(), kVariant);
  text.pop_back();  // the NUL
  return text;
}

/// The manifest with another signature. That may stand inside what is signed, which it then changes.
std::string signAnew(std::string_view text) {
  const auto value = static_cast<std::size_t>(after(text, "signature", "\"")->data() - text.data());
  const std::size_t size = plainString(text, "signature")->size();
  return std::string(text.substr(0, value)) + sign(plainSignedText(text)) + std::string(text.substr(value + size));
}

void verifySignedAnew(const Place& place, std::string_view text) {
  const std::string anew = signAnew(text);
  // The old signature may have held the end of the modules.
  if (anew.size() <= 131072 && plainArray(anew, "modules") && plainSignedText(anew) == plainSignedText(text))
    mustHold(verify(place, anew).empty());
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  static const Place place;
  const std::string message = foretell(text, place.good);
  mustHold(verify(place, text) == message);
  if (message == "semantic delta manifest Ed25519 signature verification failed") verifySignedAnew(place, text);
  std::string modules = "unchanged";
  const bool read = readJsonArrayField(text, "modules", &modules);
  mustHold(read ? modules == plainArray(text, "modules") : !plainArray(text, "modules") && modules == "unchanged");
  std::vector<std::uint8_t> bytes;
  const auto plain = plainBase64(text);
  mustHold(decodeBase64(text, &bytes) == plain.has_value());
  mustHold(!plain || std::string(bytes.begin(), bytes.end()) == *plain);
  mustHold(quoteJsonString(text) == plainQuote(text));
  return 0;
}
