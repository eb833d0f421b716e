// TenToTheAsFloat against the float of the C library's pow(10, x), bit for bit.
#include "constants/power_of_ten.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace brinora {
namespace {

float viaPow(double x) { return static_cast<float>(std::pow(10.0, x)); }

// Floats from `from` up to (not including) `to`, each as -pH and as +x;
// returns how many of them differ.
long differencesOverFloats(float from, float to) {
    long differing = 0;
    for (float v = from; v < to; v = std::nextafter(v, to)) {
        const double x = v;
        if (std::bit_cast<std::uint32_t>(TenToTheAsFloat(-x)) != std::bit_cast<std::uint32_t>(viaPow(-x))) ++differing;
        if (std::bit_cast<std::uint32_t>(TenToTheAsFloat(x)) != std::bit_cast<std::uint32_t>(viaPow(x))) ++differing;
    }
    return differing;
}

TEST(TenToTheAsFloat, HandValues) {
    EXPECT_EQ(TenToTheAsFloat(0.0), 1.0f);
    EXPECT_EQ(TenToTheAsFloat(-0.0), 1.0f);
    EXPECT_EQ(TenToTheAsFloat(3.0), 1000.0f);
    EXPECT_EQ(TenToTheAsFloat(-8.0), 1e-8f);
    EXPECT_EQ(TenToTheAsFloat(-2.0), 0.01f);
}

TEST(TenToTheAsFloat, EveryFloatOfSeawaterpHIsTheFloatOfPow) {
    // pH 6.5 to 9: about 4 million floats, H = 10^-pH.
    EXPECT_EQ(differencesOverFloats(6.5f, 9.0f), 0);
}

TEST(TenToTheAsFloat, RandomArgumentsAndTheEdgesAreTheFloatOfPow) {
    std::uint64_t state = 5;
    long differing = 0;
    for (int i = 0; i < 2000000; ++i) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        // Every float bit pattern with a magnitude up to 2^6 (and beyond, for the fallback).
        const auto bits = static_cast<std::uint32_t>(state >> 32) & 0xC2FFFFFFu;
        const double x = std::bit_cast<float>(bits);
        if (std::bit_cast<std::uint32_t>(TenToTheAsFloat(x)) != std::bit_cast<std::uint32_t>(viaPow(x))) ++differing;
    }
    EXPECT_EQ(differing, 0);
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double x : {37.0, -37.0, std::nextafter(37.0, 0.0), std::nextafter(-37.0, 0.0), 38.5, -38.5, -44.0,
                           -45.9, 40.0, inf, -inf, nan, -nan, 1e-300, -1e-300, 4.9e-324}) {
        EXPECT_EQ(std::bit_cast<std::uint32_t>(TenToTheAsFloat(x)), std::bit_cast<std::uint32_t>(viaPow(x))) << x;
    }
}

// Every float from -37 to 37 (about 2.1 x 10^9 arguments, two minutes); run
// with --gtest_also_run_disabled_tests.
TEST(TenToTheAsFloat, DISABLED_EveryFloatInTheFastRangeIsTheFloatOfPow) {
    EXPECT_EQ(differencesOverFloats(0.0f, 37.0f), 0);
}

}  // namespace
}  // namespace brinora
