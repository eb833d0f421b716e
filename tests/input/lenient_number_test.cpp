#include "input/lenient_number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace brinora {
namespace {

TEST(LenientNumber, PlainNumbers) {
    EXPECT_FLOAT_EQ(lenientFloat("35"), 35.0f);
    EXPECT_FLOAT_EQ(lenientFloat("12.5"), 12.5f);
    EXPECT_FLOAT_EQ(lenientFloat("-1.75"), -1.75f);
    EXPECT_FLOAT_EQ(lenientFloat("+2"), 2.0f);
    EXPECT_FLOAT_EQ(lenientFloat(".5"), 0.5f);
    EXPECT_FLOAT_EQ(lenientFloat("5."), 5.0f);
}

TEST(LenientNumber, LeadingBlanksAreSkipped) {
    EXPECT_FLOAT_EQ(lenientFloat("   8.1"), 8.1f);
    EXPECT_FLOAT_EQ(lenientFloat("\t 2300"), 2300.0f);
}

TEST(LenientNumber, TrailingTextIsIgnored) {
    EXPECT_FLOAT_EQ(lenientFloat("12.5abc"), 12.5f);
    EXPECT_FLOAT_EQ(lenientFloat("34.9 psu"), 34.9f);
    EXPECT_FLOAT_EQ(lenientFloat("1.2.3"), 1.2f);
    EXPECT_FLOAT_EQ(lenientFloat("7-"), 7.0f);
}

TEST(LenientNumber, NoNumberIsZero) {
    EXPECT_EQ(lenientFloat(""), 0.0f);
    EXPECT_EQ(lenientFloat("abc"), 0.0f);
    EXPECT_EQ(lenientFloat("   "), 0.0f);
    EXPECT_EQ(lenientFloat("-"), 0.0f);
    EXPECT_EQ(lenientFloat("."), 0.0f);
    EXPECT_EQ(lenientFloat("+.e5"), 0.0f);
    EXPECT_EQ(lenientFloat("x12"), 0.0f);
    EXPECT_EQ(lenientFloat("nan"), 0.0f);
    EXPECT_EQ(lenientFloat("inf"), 0.0f);
}

TEST(LenientNumber, Exponents) {
    EXPECT_FLOAT_EQ(lenientFloat("1e3"), 1000.0f);
    EXPECT_FLOAT_EQ(lenientFloat("2.5E-2"), 0.025f);
    EXPECT_FLOAT_EQ(lenientFloat("-4e+1"), -40.0f);
    // An exponent mark without digits is not part of the number.
    EXPECT_FLOAT_EQ(lenientFloat("3e"), 3.0f);
    EXPECT_FLOAT_EQ(lenientFloat("3e+"), 3.0f);
    EXPECT_FLOAT_EQ(lenientFloat("3ex"), 3.0f);
}

TEST(LenientNumber, HexadecimalIsNotRead) {
    EXPECT_EQ(lenientFloat("0x1A"), 0.0f);
}

TEST(LenientNumber, NarrowedToFloat) {
    EXPECT_EQ(lenientFloat("0.1"), 0.1f);
    EXPECT_EQ(lenientDouble("0.1"), 0.1);
    EXPECT_TRUE(std::isinf(lenientFloat("1e39")));
    EXPECT_TRUE(std::isinf(lenientDouble("1e400")));
    EXPECT_EQ(lenientFloat("1e-50"), 0.0f);
}

TEST(LenientNumber, Integers) {
    EXPECT_EQ(lenientInteger("5"), 5);
    EXPECT_EQ(lenientInteger(" 12rows"), 12);
    EXPECT_EQ(lenientInteger("-3"), -3);
    EXPECT_EQ(lenientInteger("2.9"), 2);
    EXPECT_EQ(lenientInteger(""), 0);
    EXPECT_EQ(lenientInteger("abc"), 0);
    EXPECT_EQ(lenientInteger("99999999999"), std::numeric_limits<int>::max());
    EXPECT_EQ(lenientInteger("-99999999999"), std::numeric_limits<int>::min());
}

}  // namespace
}  // namespace brinora
