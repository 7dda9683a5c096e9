// Digest, cipher and keys against published vectors: FIPS 180-4 examples, and the AES-256-GCM cases of the GCM paper by
// McGrew and Viega (test cases 13 to 16), which NIST SP 800-38D refers to.
#include "pack/crypto.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "pack/key_table.h"

namespace corvenda {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

Bytes unhex(std::string_view hex) {
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
  return bytes;
}

TEST(Sha256, PublishedDigests) {
  const struct {
    Bytes input;
    const char* digest;
  } rows[] = {
      {{}, "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {bytesOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {bytesOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
      {Bytes(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
  };
  for (const auto& row : rows) {
    SemanticError error;
    EXPECT_EQ(sha256Hex(row.input, &error), row.digest);
    EXPECT_EQ(error.message, "");
    Sha256Digest digest;
    ASSERT_TRUE(sha256(row.input, &digest, nullptr));
    EXPECT_EQ(Bytes(digest.begin(), digest.end()), unhex(row.digest));
  }
}

struct GcmCase {
  const char* key;
  const char* nonce;
  const char* additional;
  const char* plaintext;
  const char* ciphertext;
  const char* tag;
};

constexpr char kZeroKey[] = "0000000000000000000000000000000000000000000000000000000000000000";
constexpr char kKey[] = "feffe9928665731c6d6a8f9467308308feffe9928665731c6d6a8f9467308308";
constexpr char kNonce[] = "cafebabefacedbaddecaf888";
constexpr char kPlain[] =
    "d9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a721c3c0c95956809532fcf0e2449a6b525b16aedf5aa0de657ba"
    "637b391aafd255";
constexpr char kCipher[] =
    "522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa8cb08e48590dbb3da7b08b1056828838c5f61e6393ba7a0abc"
    "c9f662898015ad";

const GcmCase kCases[] = {
    {kZeroKey, "000000000000000000000000", "", "", "", "530f8afbc74536b9a963b4f1c4cb738b"},
    {kZeroKey, "000000000000000000000000", "", "00000000000000000000000000000000", "cea7403d4d606b6e074ec5d3baf39d18",
     "d0d1c8a799996bf0265b98b5d48ab919"},
    {kKey, kNonce, "", kPlain, kCipher, "b094dac5d93471bdec1a502270e3cc6c"},
};

struct Sealed {
  Bytes key, nonce, additional, ciphertext, tag;
};

Sealed sealed(const GcmCase& in) {
  return {unhex(in.key), unhex(in.nonce), unhex(in.additional), unhex(in.ciphertext), unhex(in.tag)};
}

bool open(const Sealed& in, SecureBytes* plaintext, SemanticError* error) {
  return decryptAesGcm(in.ciphertext, in.additional, in.nonce.data(), in.tag.data(), in.key.data(), plaintext, error);
}

/// Test case 16: additional data, and a text that is no whole number of blocks.
GcmCase withAdditionalData() {
  static const std::string plain = std::string(kPlain).substr(0, 120);
  static const std::string cipher = std::string(kCipher).substr(0, 120);
  return {kKey,          kNonce,         "feedfacedeadbeeffeedfacedeadbeefabaddad2",
          plain.c_str(), cipher.c_str(), "76fc6ece0f4e1768cddf8853bb2d551b"};
}

TEST(AesGcm, PublishedVectors) {
  std::vector<GcmCase> cases(std::begin(kCases), std::end(kCases));
  cases.push_back(withAdditionalData());
  for (const GcmCase& each : cases) {
    SecureBytes plaintext(5, 1);
    SemanticError error;
    ASSERT_TRUE(open(sealed(each), &plaintext, &error)) << error.message;
    EXPECT_EQ(Bytes(plaintext.begin(), plaintext.end()), unhex(each.plaintext));
  }
}

TEST(AesGcm, AnyChangedBitIsRefusedInTheSameWords) {
  const Sealed good = sealed(withAdditionalData());
  for (Bytes Sealed::*part : {&Sealed::key, &Sealed::nonce, &Sealed::additional, &Sealed::ciphertext, &Sealed::tag}) {
    for (std::size_t bit = 0; bit < 8 * (good.*part).size(); ++bit) {
      Sealed changed = good;
      (changed.*part)[bit / 8] = static_cast<std::uint8_t>((changed.*part)[bit / 8] ^ (1U << (bit % 8)));
      SecureBytes plaintext(5, 1);
      SemanticError error;
      ASSERT_FALSE(open(changed, &plaintext, &error)) << bit;
      EXPECT_EQ(error.message, "semantic rule-pack authentication or decryption failed");
      EXPECT_TRUE(plaintext.empty());
    }
  }
  Sealed shorter = good;
  shorter.ciphertext.pop_back();
  SecureBytes plaintext;
  EXPECT_FALSE(open(shorter, &plaintext, nullptr)) << "the words are optional";
}

TEST(KeyTable, TwoKeysAndNoOther) {
  std::uint8_t keys[3][kPackKeySize] = {};
  SemanticError error;
  ASSERT_TRUE(resolvePackKey("test-v1", keys[0], &error));
  ASSERT_TRUE(resolvePackKey("release-v1", keys[1], &error));
  EXPECT_FALSE(std::equal(std::begin(keys[0]), std::end(keys[0]), keys[1]));
  for (const char* id : {"", "test-v", "test-v10", "TEST-V1", "release-v2"}) {
    EXPECT_FALSE(resolvePackKey(id, keys[2], &error)) << id;
    EXPECT_EQ(error.message, "semantic rule-pack key id is unsupported");
  }
  EXPECT_TRUE(std::all_of(std::begin(keys[2]), std::end(keys[2]), [](std::uint8_t byte) { return byte == 0; }));
}

}  // namespace
}  // namespace corvenda
