// Digest, cipher and keys against published vectors: FIPS 180-4 examples, and test cases 13 and 16 (additional data, a
// text that doesn't fill its last block) of the GCM paper by McGrew and Viega, which NIST SP 800-38D refers to.
#include "pack/crypto.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "pack/digest_batch.h"
#include "pack/key_table.h"

namespace corvenda {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes unhex(std::string_view hex) {
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
  return bytes;
}

TEST(Sha256, PublishedDigests) {
  EXPECT_EQ(sha256Hex({}, nullptr), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  const Bytes million(1000000, 'a');
  EXPECT_EQ(sha256Hex(million, nullptr), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(AesGcm, PublishedVectorsAndNoChangedBit) {
  constexpr char kPlain[] =
      "d9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a721c3c0c95956809532fcf0e2449a6b525b16aedf5aa0de657"
      "ba637b39";
  constexpr char kCipher[] =
      "522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa8cb08e48590dbb3da7b08b1056828838c5f61e6393ba7a0a"
      "bcc9f662";
  struct Sealed {
    Bytes key, nonce, additional, ciphertext, tag;
  };
  const auto open = [](const Sealed& in, Bytes* bytes, SemanticError* error) {
    *bytes = in.ciphertext;
    return decryptAesGcm(*bytes, in.additional, in.nonce.data(), in.tag.data(), in.key.data(), error);
  };
  Bytes bytes;
  SemanticError error;
  EXPECT_TRUE(open({Bytes(32), Bytes(12), {}, {}, unhex("530f8afbc74536b9a963b4f1c4cb738b")}, &bytes, &error));
  const Sealed good = {unhex("feffe9928665731c6d6a8f9467308308feffe9928665731c6d6a8f9467308308"),
                       unhex("cafebabefacedbaddecaf888"), unhex("feedfacedeadbeeffeedfacedeadbeefabaddad2"),
                       unhex(kCipher), unhex("76fc6ece0f4e1768cddf8853bb2d551b")};
  ASSERT_TRUE(open(good, &bytes, &error)) << error.message;
  EXPECT_EQ(bytes, unhex(kPlain));
  for (Bytes Sealed::*part : {&Sealed::key, &Sealed::nonce, &Sealed::additional, &Sealed::ciphertext, &Sealed::tag}) {
    for (std::size_t bit = 0; bit < 8 * (good.*part).size(); ++bit) {
      Sealed changed = good;
      (changed.*part)[bit / 8] = static_cast<std::uint8_t>((changed.*part)[bit / 8] ^ (1U << (bit % 8)));
      ASSERT_FALSE(open(changed, &bytes, &error)) << bit;
      EXPECT_EQ(error.message, "semantic rule-pack authentication or decryption failed");
      EXPECT_EQ(bytes, Bytes(good.ciphertext.size())) << "wiped";
    }
  }
}

TEST(DigestBatch, EachByWhoeverComesFirst) {
  const Bytes large(5 << 20, 'a');
  const Bytes million(1000000, 'a');
  for (const Bytes& second : {large, Bytes{}}) {
    DigestBatch batch;
    batch.jobs = {{million}, {second}, {{}}};
    startDigests(&batch);
    ASSERT_TRUE(finishDigests(&batch, nullptr));
    for (const DigestJob& job : batch.jobs) EXPECT_EQ(digestHex(job.digest), sha256Hex(job.bytes, nullptr));
  }
  DigestBatch left;
  left.jobs = {{large}};
  startDigests(&left);  // and only the destructor waits
}

TEST(KeyTable, NoKeyUnderAnyOtherName) {
  std::uint8_t key[kPackKeySize] = {};
  for (const char* id : {"", "test-v", "test-v10", "TEST-V1", "release-v2"}) {
    SemanticError error;
    EXPECT_FALSE(resolvePackKey(id, key, &error)) << id;
    EXPECT_EQ(error.message, "semantic rule-pack key id is unsupported");
  }
  EXPECT_TRUE(std::all_of(std::begin(key), std::end(key), [](std::uint8_t byte) { return byte == 0; }));
}

}  // namespace
}  // namespace corvenda
