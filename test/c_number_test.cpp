// Numbers as text: what the GNU C library makes of these texts is what every platform must make of them, bit by bit.
#include "base/c_number.h"

#include <bit>
#include <cmath>
#include <cstdint>

#include <gtest/gtest.h>

namespace corvenda {
namespace {

struct Row {
  const char* text;
  double value;
  std::size_t length;
};

constexpr Row kNumbers[] = {
    // white space, a sign and decimal digits
    {"3.5", 0x1.cp+1, 3},
    {"+7", 7, 2},
    {"-0", -0.0, 2},
    {" \t\n\v\f\r1", 1, 7},
    {"\xA0"
     "1",
     0, 0},
    {"5.", 5, 2},
    {".5", 0x1p-1, 2},
    {"-.5e1", -5, 5},
    {"1e3", 1000, 3},
    {"1E-3", 0x1.0624dd2f1a9fcp-10, 4},
    {"1e", 1, 1},
    {"1e+", 1, 1},
    {"1e5x", 0x1.86ap+16, 3},
    {"1,5", 1, 1},
    {"1_0", 1, 1},
    {"\xD9\xA1", 0, 0},
    // no number
    {"", 0, 0},
    {"-", 0, 0},
    {"+-1", 0, 0},
    {"- 1", 0, 0},
    {".", 0, 0},
    {"e5", 0, 0},
    {".e5", 0, 0},
    {"x", 0, 0},
    {"\t", 0, 0},
    // hexadecimal
    {"0x1p4", 16, 5},
    {"0X.8", 0x1p-1, 4},
    {"0x1.8P-1", 0x1.8p-1, 8},
    {"0xAg", 10, 3},
    {"0x", 0, 1},
    {"0x.", 0, 1},
    {"0xg", 0, 1},
    {"-0x10", -16, 5},
    {"0x1p", 1, 3},
    {"0x1p+", 1, 3},
    {"0x-1", 0, 1},
    {"0xinf", 0, 1},
    {"0x1.00000000000008p0", 1, 20},
    {"0x1.00000000000018p0", 0x1.0000000000002p+0, 20},
    {"0x1.000000000000080000000001p0", 0x1.0000000000001p+0, 30},
    {"0x3fffffffffffff", 0x1p+54, 16},
    {"0x1p-1074", 0x1p-1074, 9},
    {"0x0.8p-1074", 0, 11},
    {"0x0.80000001p-1074", 0x1p-1074, 18},
    {"0x1p1024", HUGE_VAL, 8},
    {"0x1.fffffffffffff8p1023", HUGE_VAL, 23},
    {"0x0p99999", 0, 9},
    // words
    {"inf", HUGE_VAL, 3},
    {"-INF", -HUGE_VAL, 4},
    {"infinity", HUGE_VAL, 8},
    {"infinit", HUGE_VAL, 3},
    {"iNFinityx", HUGE_VAL, 8},
    {"in", 0, 0},
    {"info", HUGE_VAL, 3},
    // too large, too small, nearly
    {"1e308", 0x1.1ccf385ebc8ap+1023, 5},
    {"1e309", HUGE_VAL, 5},
    {"-1e400", -HUGE_VAL, 6},
    {"1.7976931348623157e308", 0x1.fffffffffffffp+1023, 22},
    {"1.7976931348623159e308", HUGE_VAL, 22},
    {"2e-324", 0, 6},
    {"3e-324", 0x1p-1074, 6},
    {"2.4703282292062328e-324", 0x1p-1074, 23},
    {"4.9e-324", 0x1p-1074, 8},
    {"1e-400", 0, 6},
    {"1e99999999999999999999", HUGE_VAL, 22},
    {"-1e-99999999999999999999", -0.0, 24},
    {"0e99999999999999999999", 0, 22},
    {"0.0000000000000000000000001e350", HUGE_VAL, 31},
    {"100000000000000000000000000e-351", 0, 32},
    // rounded once, ties to even
    {"0.1", 0x1.999999999999ap-4, 3},
    {"9007199254740993", 0x1p+53, 16},
    {"9007199254740995", 0x1.0000000000002p+53, 16},
    {"9007199254740992.99999999999999999999", 0x1p+53, 37},
    {"2.2250738585072011e-308", 0x0.fffffffffffffp-1022, 23},
    {"1.00000000000000011102230246251565404236316680908203125", 1, 55},
    {"1.00000000000000011102230246251565404236316680908203124", 1, 55},
    {"1.000000000000000111022302462515654042363166809082031251", 0x1.0000000000001p+0, 56},
    {"123456789012345678901234567890", 0x1.8ee90ff6c373ep+96, 30},
    {"8.5", 0x1.1p+3, 3},
};

// Their payload is nobody's business, but the sign is printed.
const Row kNans[] = {
    {"nan", 1, 3},  {"-NaN", -1, 4}, {"nan()", 1, 5},    {"-nan(0x_Zz9)", -1, 12},
    {"nan(", 1, 3}, {"nan(a", 1, 3}, {"nan(a-b)", 1, 3}, {"nan(ind)", 1, 8},
};

TEST(CNumber, AsTheGnuLibraryConverts) {
  for (const auto& [text, value, expectedLength] : kNumbers) {
    std::size_t length = 99;
    const double converted = convertNumber(text, &length);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(converted), std::bit_cast<std::uint64_t>(value))
        << text << ": " << converted;
    EXPECT_EQ(length, expectedLength) << text;
  }
  for (const auto& [text, sign, expectedLength] : kNans) {
    std::size_t length = 99;
    const double converted = convertNumber(text, &length);
    EXPECT_TRUE(std::isnan(converted) && std::signbit(converted) == (sign < 0)) << text;
    EXPECT_EQ(length, expectedLength) << text;
  }
}

TEST(CNumber, EndsAtANul) {
  for (const auto& [text, expectedLength] :
       {std::pair(std::string("1\0002", 3), 1U), {std::string("nan(\0)", 6), 3U}}) {
    std::size_t length = 99;
    convertNumber(text, &length);
    EXPECT_EQ(length, expectedLength);
  }
}

}  // namespace
}  // namespace corvenda
