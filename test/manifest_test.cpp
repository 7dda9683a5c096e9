// What the addon can't be brought to do with a manifest: quote what no field may hold, verify with a key it doesn't pin.
#include <gtest/gtest.h>

#include "delta/signed_text.h"

namespace corvenda {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes fromHex(const std::string& hex) {
  Bytes bytes(hex.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = std::uint8_t(std::stoi(hex.substr(2 * i, 2), nullptr, 16));
  return bytes;
}

/// One bit flipped in each byte, and every size up to one byte more.
std::vector<Bytes> spoiled(const Bytes& good) {
  std::vector<Bytes> all(2 * good.size() + 1, good);
  for (std::size_t i = 0; i < good.size(); ++i) {
    all[i][i] ^= 1;
    all[good.size() + i].resize(i);
  }
  all.back().resize(good.size() + 1);
  return all;
}

TEST(Manifest, QuoteJsonString) {
  EXPECT_EQ(quoteJsonString(""), R"("")");
  const std::string verbatim("/\b\f\0\x1F\x7F城\xFF", 10);
  EXPECT_EQ(quoteJsonString("\\\"\n\r\t" + verbatim), R"("\\\"\n\r\t)" + verbatim + '"');
}

TEST(Manifest, VerifyEd25519) {
  // RFC 8032, section 7.1, tests 1 and 2; the keys behind the prefix of RFC 8410, section 4.
  const std::string rows[][3] = {
      {"302a300506032b6570032100d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a", "",
       "e5564300c360ac729086e2cc806e828a84877f1eb8e5d974d873e06522490155"
       "5fb8821590a33bacc61e39701cf9b46bd25bf5f0595bbe24655141438e7a100b"},
      {"302a300506032b65700321003d4017c3e843895a92b70aa74d1b7ebc9c982ccf2ec4968cc0cd55f12af4660c", "\x72",
       "92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da"
       "085ac1e43e15996e458f3613d0f11d8c387b2eaeb4302aeeb00d291612bb0c00"},
  };
  for (const auto& [keyHex, message, signatureHex] : rows) {
    const Bytes key = fromHex(keyHex);
    const Bytes signature = fromHex(signatureHex);
    EXPECT_TRUE(verifyEd25519(key, message, signature));
    EXPECT_FALSE(verifyEd25519(key, message + "x", signature));
    for (const Bytes& bad : spoiled(key)) EXPECT_FALSE(verifyEd25519(bad, message, signature)) << bad.size();
    for (const Bytes& bad : spoiled(signature)) EXPECT_FALSE(verifyEd25519(key, message, bad)) << bad.size();
  }
}

}  // namespace
}  // namespace corvenda
