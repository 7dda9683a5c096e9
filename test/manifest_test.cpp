// What the addon can't be brought to do with a manifest: quote what no field may hold, verify with a key it didn't pin.
#include <gtest/gtest.h>

#include "delta/signed_text.h"

namespace corvenda {
namespace {

TEST(Manifest, QuoteJsonString) {
  const std::string verbatim("/\b\f\0\x1F\x7F城\xFF", 10);
  EXPECT_EQ(quoteJsonString("\\\"\n\r\t" + verbatim), R"("\\\"\n\r\t)" + verbatim + '"');
}

// RFC 8032, section 7.1, test 2; the key behind the prefix of RFC 8410, section 4.
TEST(Manifest, VerifyEd25519) {
  std::vector<std::uint8_t> key;
  std::vector<std::uint8_t> signature;
  ASSERT_TRUE(decodeBase64("MCowBQYDK2VwAyEAPUAXw+hDiVqStwqnTRt+vJyYLM8uxJaMwM1V8Sr0Zgw=", &key));
  ASSERT_TRUE(decodeBase64("kqAJqfDUyrhyDoILX2QlQKKye1QWUD+Ps3YiI+vbadoIWsHkPhWZbkWPNhPQ8R2MOHsurrQwKu6wDSkWErsMAA==",
                           &signature));
  EXPECT_TRUE(verifyEd25519(key, "\x72", signature));
  EXPECT_FALSE(verifyEd25519(key, "\x72\x72", signature));
  for (std::size_t i = 0; i < 64; ++i) {
    auto [badKey, badSignature] = std::pair(key, signature);
    badKey[i % key.size()] ^= 1;
    badSignature[i] ^= 1;
    EXPECT_FALSE(verifyEd25519(badKey, "\x72", signature)) << i;
    EXPECT_FALSE(verifyEd25519(key, "\x72", badSignature)) << i;
    badKey = key;
    badKey.resize(i < key.size() ? i : i + 1);
    badSignature.resize(i);
    EXPECT_FALSE(verifyEd25519(badKey, "\x72", signature)) << i;
    EXPECT_FALSE(verifyEd25519(key, "\x72", badSignature)) << i;
  }
}

}  // namespace
}  // namespace corvenda
