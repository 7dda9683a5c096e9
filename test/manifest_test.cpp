// What goes into a manifest's signature and out of it, a row a line. The order of the checks is tested through the
// addon.
#include <gtest/gtest.h>

#include "delta/signed_text.h"
#include "pack/metadata_scanner.h"

namespace corvenda {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes fromHex(std::string_view hex) {
  Bytes bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
  }
  return bytes;
}

TEST(Manifest, ReadJsonArrayField) {
  const struct {
    std::string text, expected;  // expected "unchanged": the field fails
  } rows[] = {
      {R"({"m":[]})", "[]"},
      {R"({"m":[ ]})", "[ ]"},
      {R"({"m":["a","b"],"n":[]})", R"(["a","b"])"},
      {R"({"m":[["a"],"b"]})", R"([["a"])"},
      {R"({"m":["]"]})", R"(["])"},
      {R"({"x":"\"m":[1]})", "[1]"},
      {R"({"m":[1],"m":[2]})", "[1]"},
      {R"("m":[)"
       "\n\x01]",
       "[\n\x01]"},
      {R"({"m":"x","m":[2]})", "unchanged"},
      {R"({"m": []})", "unchanged"},
      {R"({"m" :[]})", "unchanged"},
      {R"({"m":[1,2)", "unchanged"},
      {R"({"m":)", "unchanged"},
      {R"({"mm":[1]})", "unchanged"},
      {R"({"n":[1]})", "unchanged"},
      {"", "unchanged"},
  };
  for (const auto& row : rows) {
    std::string out = "unchanged";
    EXPECT_EQ(readJsonArrayField(row.text, "m", &out), row.expected != "unchanged") << row.text;
    EXPECT_EQ(out, row.expected) << row.text;
  }
}

TEST(Manifest, QuoteJsonString) {
  const struct {
    std::string text, expected;
  } rows[] = {
      {"", R"("")"},
      {"plain-1.0_x", R"("plain-1.0_x")"},
      {"\\\"\n\r\t", R"("\\\"\n\r\t")"},
      {"a/b\b\f\x7F", "\"a/b\b\f\x7F\""},
      {std::string("\0\x1F", 2), std::string("\"\0\x1F\"", 4)},
      {"城市\xFF", "\"城市\xFF\""},
  };
  for (const auto& row : rows) EXPECT_EQ(quoteJsonString(row.text), row.expected);
}

TEST(Manifest, DecodeBase64) {
  const struct {
    std::string text;
    bool decodes;
    std::string expected;
  } rows[] = {
      // RFC 4648, section 10, but for the empty text.
      {"Zg==", true, "f"},
      {"Zm8=", true, "fo"},
      {"Zm9v", true, "foo"},
      {"Zm9vYg==", true, "foob"},
      {"Zm9vYmE=", true, "fooba"},
      {"Zm9vYmFy", true, "foobar"},
      {"+/+/", true, "\xFB\xFF\xBF"},
      {"", false, ""},
      {"Zm9", false, ""},
      {"Zg=", false, ""},
      {"Zm9vY", false, ""},
      // What follows the first "=" only counts towards the length; spare bits are dropped.
      {"Zg=!", true, "f"},
      {"Zg==Zg==", true, "f"},
      {"Z===", false, ""},
      {"====", false, ""},
      {"Zh==", true, "f"},
      {"Zm9=", true, "fo"},
      {"Zm9vZ===", true, "foo"},
      // Outside the standard alphabet.
      {"Zm-_", false, ""},
      {"Zm 9", false, ""},
      {"Zm9v\n\n\n\n", false, ""},
      {std::string("Zm9\0", 4), false, ""},
      {"Zm9\xC3", false, ""},
  };
  for (const auto& row : rows) {
    Bytes out = {1, 2, 3};
    EXPECT_EQ(decodeBase64(row.text, &out), row.decodes) << row.text;
    const std::string decoded(out.begin(), out.end());
    EXPECT_TRUE(!row.decodes || decoded == row.expected) << row.text << " as " << decoded;
  }
}

constexpr std::string_view kDerPrefix = "302a300506032b6570032100";

TEST(Manifest, VerifyEd25519Vectors) {
  // RFC 8032, section 7.1: tests 1, 2, 3 and SHA(abc).
  const struct {
    std::string_view key, message, signature;
  } rows[] = {
      {"d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a", "",
       "e5564300c360ac729086e2cc806e828a84877f1eb8e5d974d873e065224901555fb8821590a33bacc61e39701cf9b46bd25bf5f0595bbe2"
       "4655"
       "141438e7a100b"},
      {"3d4017c3e843895a92b70aa74d1b7ebc9c982ccf2ec4968cc0cd55f12af4660c", "72",
       "92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da085ac1e43e15996e458f3613d0f11d8c387b2eaeb4302ae"
       "eb00"
       "d291612bb0c00"},
      {"fc51cd8e6218a1a38da47ed00230f0580816ed13ba3303ac5deb911548908025", "af82",
       "6291d657deec24024827e69c3abe01a30ce548a284743a445e3680d7db5ac3ac18ff9b538d16f290ae67f760984dc6594a7c15e9716ed28"
       "dc02"
       "7beceea1ec40a"},
      {"ec172b93ad5e563bf4932c70e1245034c35467ef2efd4d64ebf819683467e2bf",
       "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a2192992a274fc1a836ba3c23a3feebbd454d4423643ce80"
       "e2a9"
       "ac94fa54ca49f",
       "dc2a4459e7369633a52b1bf277839a00201009a3efbf3ecb69bea2186c26b58909351fc9ac90b3ecfdfbc7c66431e0303dca179c138ac17"
       "ad9b"
       "ef1177331a704"},
  };
  for (const auto& row : rows) {
    const Bytes key = fromHex(std::string(kDerPrefix).append(row.key));
    const Bytes bytes = fromHex(row.message);
    const std::string message(bytes.begin(), bytes.end());
    const Bytes signature = fromHex(row.signature);
    EXPECT_TRUE(verifyEd25519(key, message, signature)) << row.key;
    EXPECT_FALSE(verifyEd25519(key, message + "x", signature)) << row.key;
    // One bit in each byte of the signature, and in each byte of the key with its prefix.
    for (std::size_t i = 0; i < signature.size(); ++i) {
      Bytes flipped = signature;
      flipped[i] ^= 1;
      EXPECT_FALSE(verifyEd25519(key, message, flipped)) << row.key << " signature byte " << i;
    }
    for (std::size_t i = 0; i < key.size(); ++i) {
      Bytes flipped = key;
      flipped[i] ^= 1;
      EXPECT_FALSE(verifyEd25519(flipped, message, signature)) << row.key << " key byte " << i;
    }
  }
}

TEST(Manifest, VerifyEd25519RefusesOtherSizes) {
  const Bytes key = fromHex(std::string(kDerPrefix).append(64, '0'));
  for (std::size_t size = 0; size < 66; ++size) EXPECT_FALSE(verifyEd25519(key, "", Bytes(size)));
  for (std::size_t size = 0; size < 46; ++size) {
    Bytes cut = key;
    cut.resize(size);
    EXPECT_FALSE(verifyEd25519(cut, "", Bytes(64)));
  }
}

}  // namespace
}  // namespace corvenda
