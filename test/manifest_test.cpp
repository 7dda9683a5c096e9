// What can't be reached through the addon: quoting bytes that no field may hold, verifying with a key that isn't
// pinned.
#include <gtest/gtest.h>

#include "delta/signed_text.h"

namespace corvenda {
namespace {

TEST(Manifest, QuoteJsonString) {
  const std::string verbatim("/\b\f\0\x1F\x7F城\xFF", 10);
  EXPECT_EQ(quoteJsonString("\\\"\n\r\t" + verbatim), R"("\\\"\n\r\t)" + verbatim + '"');
}

// RFC 8032, section 7.1, test 2; the key follows the prefix of RFC 8410, section 4.
TEST(Manifest, VerifyEd25519) {
  std::vector<std::uint8_t> key;
  std::vector<std::uint8_t> signature;
  ASSERT_TRUE(decodeBase64("MCowBQYDK2VwAyEAPUAXw+hDiVqStwqnTRt+vJyYLM8uxJaMwM1V8Sr0Zgw=", &key) &&
              decodeBase64("kqAJqfDUyrhyDoILX2QlQKKye1QWUD+Ps3YiI+vbadoIWsHkPhWZbkWPNhPQ8R2MOHsurrQwKu6wDSkWErsMAA==",
                           &signature));
  EXPECT_TRUE(verifyEd25519(key, "\x72", signature));
  for (std::size_t i = 0; i < key.size(); ++i) {
    auto flipped = key;
    flipped[i] ^= 1;
    EXPECT_FALSE(verifyEd25519(flipped, "\x72", signature)) << i;
    EXPECT_FALSE(verifyEd25519({key.begin(), key.begin() + static_cast<std::ptrdiff_t>(i)}, "\x72", signature)) << i;
  }
  key.push_back(0);
  EXPECT_FALSE(verifyEd25519(key, "\x72", signature));
}

}  // namespace
}  // namespace corvenda
