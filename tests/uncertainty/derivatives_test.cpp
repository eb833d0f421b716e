// The exact derivatives of the dual-number calculation against finite
// differences of the double-precision values, extrapolated (Richardson) to a
// truncation error of order h^6, for every pair, constants set, KHSO4 choice
// and pH scale, every quantity and every source.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

#include "cases.h"

namespace brinora::uncertainty::test {
namespace {

// Step of each source for the differences, in its units: large enough that
// the rounding of the values (of some 1e-12 relative where a formula sums
// large terms, as the GEOSECS K2 and the Revelle factor's difference
// quotient do) stays below 1e-7 of the derivative, small enough that the
// extrapolated truncation error (of order h^6) does too.
double StepOf(const Sample& s, std::size_t source) {
    const auto parameterStep = [](int code) { return code == 3 ? 0.01 : code <= 2 ? 4.0 : 4.0; };
    switch (source) {
        case kFirstParameter: return parameterStep(s.first);
        case kSecondParameter: return parameterStep(s.second);
        case kSalinity: case kTemperature: case kTemperatureOut: return 0.5;
        case kPhosphate: return 0.2;
        case kWindSpeed: return 0.5;
        case kSilicate: return 2.0;
        case kPressure: case kPressureOut: return 50.0;
        case kpCO2Air: return 5.0;
        default: return 0.01;  // pK units; total boron, relative
    }
}

// Central difference of every quantity along `source` with step h.
std::array<double, kQuantityCount> Central(const Case& c, std::size_t source, double h) {
    Case plus = c, minus = c;
    plus.sample.x[source] += h;
    minus.sample.x[source] -= h;
    std::array<double, kQuantityCount> up{}, down{}, d{};
    EXPECT_EQ(EvaluateSample(c.options, plus.sample, up), Outcome::kComputed);
    EXPECT_EQ(EvaluateSample(c.options, minus.sample, down), Outcome::kComputed);
    for (std::size_t q = 0; q < kQuantityCount; ++q) d[q] = (up[q] - down[q]) / (2.0 * h);
    return d;
}

// Agreement asked for: 1e-7 of the derivative. A derivative that is 0 or
// nearly so (a quantity that does not depend on a source, such as an input
// quantity on the output pressure, or the phosphate alkalinity of a set
// without phosphate) has nothing to be relative to: there the floor is
// 1e-11 |y|/h, above the rounding of the differences, about
// 3 x 1e-16 |y|/h after extrapolation, and far below any real derivative.
// The worst relative difference over the derivatives above 1e5 times the
// floor (the rounding of the differences, smaller than 1e-5 of these)
// must itself be below 1e-7.
// The flux is a difference of the pCO2 of water and air: its rounding is
// that of the water's term, |flux| pCO2/|pCO2 - pCO2(air)|.
constexpr double kRelative = 1e-7;
constexpr double kFloor = 1e-11;

double RoundingScale(const Case& c, const std::array<double, kQuantityCount>& values, std::size_t q);

double Magnitude(const Case& c, const std::array<double, kQuantityCount>& values, std::size_t q) {
    // The GEOSECS K2 of sets 6 and 7 sums terms of up to 5400 into a log10 K2
    // of about -9: every value that depends on it carries some 1e-12 of
    // rounding, 1e4 times that of the other sets.
    const double geosecs = (c.options.whichKs == 6 || c.options.whichKs == 7) ? 1e4 : 1.0;
    return geosecs * RoundingScale(c, values, q);
}

double RoundingScale(const Case& c, const std::array<double, kQuantityCount>& values, std::size_t q) {
    // The Revelle factor is a difference quotient of fCO2 over +-1 micromol/kg
    // of TCO2: its rounding is that of fCO2 times TCO2/(2 micromol/kg).
    if (q == qRevelle || q == qRevelleOut) return std::fabs(values[q]) * values[qTCO2] / 2.0;
    if (q != qFlux && q != qFluxOut) return std::fabs(values[q]);
    const double pCO2 = values[q == qFlux ? qpCO2 : qpCO2Out];
    return std::fabs(values[q]) * pCO2 / std::fabs(pCO2 - c.sample.x[kpCO2Air]);
}

void CheckCase(const Case& c, double& worst) {
    std::array<Gradient, kQuantityCount> exact;
    std::array<double, kQuantityCount> values{};
    ASSERT_EQ(DifferentiateSample(c.options, c.sample, exact), Outcome::kComputed) << c.name;
    ASSERT_EQ(EvaluateSample(c.options, c.sample, values), Outcome::kComputed) << c.name;
    for (std::size_t source = 0; source < kSourceCount; ++source) {
        // An output condition of 0 means "as at input": not a point a difference can straddle.
        if ((source == kTemperatureOut || source == kPressureOut) && c.sample.x[source] == 0.0) continue;
        const double h = StepOf(c.sample, source);
        const auto d1 = Central(c, source, h);
        const auto d2 = Central(c, source, h / 2.0);
        const auto d4 = Central(c, source, h / 4.0);
        for (std::size_t q = 0; q < kQuantityCount; ++q) {
            // Richardson: remove the h^2 and h^4 terms of the central differences.
            const double r1 = (4.0 * d2[q] - d1[q]) / 3.0;
            const double r2 = (4.0 * d4[q] - d2[q]) / 3.0;
            const double fd = (16.0 * r2 - r1) / 15.0;
            const double ad = exact[q].d[source];
            EXPECT_NEAR(exact[q].v, values[q], 1e-13 * std::fabs(values[q])) << kQuantityNames[q];
            const double floor = kFloor * Magnitude(c, values, q) / h;
            const double tolerance = kRelative * std::fabs(ad) + floor;
            EXPECT_LE(std::fabs(ad - fd), tolerance)
                << c.name << ": d " << kQuantityNames[q] << " / d " << source << " exact " << ad
                << ", differences " << fd;
            // The worst relative difference of the derivatives well above the
            // floor (moving the quantity by more than 1e-6 of itself over h).
            if (std::fabs(ad) > 1e5 * floor) {
                worst = std::max(worst, std::fabs(ad - fd) / std::fabs(ad));
            }
        }
    }
}

TEST(Derivatives, GoldenSamplesAgainstExtrapolatedDifferences) {
    double worst = 0.0;
    for (const Case& c : GoldenCases()) CheckCase(c, worst);
    std::printf("worst relative difference of the derivatives above 1e5 times the floor: %.2e\n", worst);
    EXPECT_LT(worst, kRelative);
}

TEST(Derivatives, EveryPairSetKHSO4AndScale) {
    constexpr int kPairs[][2] = {{1, 2}, {1, 3}, {1, 4}, {1, 5}, {2, 3}, {2, 4}, {2, 5}, {3, 4}, {3, 5}};
    double worst = 0.0;
    int index = 0;
    for (const auto& pair : kPairs) {
        for (int set = 1; set <= 14; ++set) {
            for (int khso4 = 1; khso4 <= 2; ++khso4) {
                for (int scale = 1; scale <= 4; ++scale) {
                    Case c = WithPair(index++ % 6, pair[0], pair[1]);
                    c.options = {set, khso4, scale, (set + scale) % 3};
                    c.name += " as set " + std::to_string(set) + ", KHSO4 " + std::to_string(khso4) + ", scale " +
                              std::to_string(scale);
                    std::array<double, kQuantityCount> values{};
                    // A pair of TCO2 and fCO2 with more CO2 than TCO2 has no solution.
                    if (EvaluateSample(c.options, c.sample, values) != Outcome::kComputed) continue;
                    CheckCase(c, worst);
                }
            }
        }
    }
    std::printf("worst relative difference of the derivatives above 1e5 times the floor: %.2e\n", worst);
    EXPECT_LT(worst, kRelative);
}

}  // namespace
}  // namespace brinora::uncertainty::test
