// The double-precision calculation against the single-precision one: the
// constants routine on a grid of conditions and every option set, and the
// whole record of the 42 samples of the engine's golden table.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

#include "cases.h"
#include "constants/co2_constants.h"
#include "solvers/solubility_products.h"

namespace brinora::uncertainty::test {
namespace {

double Relative(double a, double b) { return std::fabs(a - b) / std::max(std::fabs(b), 1e-300); }

// Tolerances of the constants: the single-precision routine stores each lnK,
// pK or log10K as a float, which carries about 6e-8 of its magnitude; where
// the formula sums terms of several hundred (Mucci's log10 Ksp, Dickson's
// lnKB, set 14's float sums) this is 1e-5 to 6e-5 of K, and for the GEOSECS
// K2 (sets 6 and 7), whose terms reach 5000 and whose ln TK is itself stored
// as a float, 4e-4. The rest agree to 1e-5 or better.
constexpr double kConstantTolerance[] = {
    1e-6,  // K0
    3e-5, 5e-5, 2e-5, 6e-5,  // K1, K2, KW, KB
    1e-6, 1e-5,  // KF, KS
    1e-5, 1e-5, 1e-5, 1e-5,  // KP1, KP2, KP3, KSi
    1e-7, 1e-7, 1e-7,  // TB, TF, TS
    1e-7, 1e-7, 1e-7,  // FugFac, VPFac, fH
    1e-7, 1e-4, 1e-4,  // Ca, KCa, KAr
};
constexpr double kGeosecsK2Tolerance = 1e-3;

TEST(Agreement, ConstantsMatchTheSinglePrecisionRoutine) {
    const float conditions[][3] = {{35.0f, 25.0f, 0.0f}, {34.7f, 2.0f, 4000.0f}, {10.0f, 20.0f, 0.0f},
                                   {33.8f, -1.5f, 50.0f}, {38.0f, 30.0f, 1000.0f}};
    setConstantsReuse(false);
    for (int set = 1; set <= 14; ++set) {
        for (int khso4 = 1; khso4 <= 2; ++khso4) {
            for (int scale = 1; scale <= 4; ++scale) {
                for (const auto& c : conditions) {
                    float K0 = 0, fH = 0, FugFac = 0, VPFac = 0;
                    ConstantsArray K{};
                    TotalsArray T{};
                    CO2_Constants(scale, set, khso4, c[0], c[1], c[2], K0, K, T, fH, FugFac, VPFac);
                    const ChemistryOptions options{set, khso4, scale, 0};
                    const auto d = ConstantsAt<double>(options, c[0], c[1], c[2]);
                    const auto s = detail::CalciumCarbonateSolubilityProducts(static_cast<short>(set), c[0], c[1], c[2]);
                    const double pairs[][2] = {
                        {d.K0, K0}, {d.K1, K[k::K1]}, {d.K2, K[k::K2]}, {d.KW, K[k::KW]}, {d.KB, K[k::KB]},
                        {d.KF, K[k::KF]}, {d.KS, K[k::KS]}, {d.KP1, K[k::KP1]}, {d.KP2, K[k::KP2]},
                        {d.KP3, K[k::KP3]}, {d.KSi, K[k::KSi]}, {d.TB, T[t::TB]}, {d.TF, T[t::TF]},
                        {d.TS, T[t::TS]}, {d.FugFac, FugFac}, {d.VPFac, VPFac}, {d.fH, fH}, {d.Ca, s.Ca},
                        {d.KCa, s.KCa}, {d.KAr, s.KAr}};
                    for (std::size_t i = 0; i < std::size(pairs); ++i) {
                        const double tolerance = (i == 2 && (set == 6 || set == 7)) ? kGeosecsK2Tolerance
                                                                                     : kConstantTolerance[i];
                        if (pairs[i][1] == 0.0) {
                            EXPECT_EQ(pairs[i][0], 0.0) << "set " << set << " constant " << i;
                        } else {
                            EXPECT_LT(Relative(pairs[i][0], pairs[i][1]), tolerance)
                                << "set " << set << ", KHSO4 " << khso4 << ", scale " << scale << ", S " << c[0]
                                << ", T " << c[1] << ", P " << c[2] << ", constant " << i << ": " << pairs[i][0]
                                << " against " << pairs[i][1];
                        }
                    }
                }
            }
        }
    }
    setConstantsReuse(true);
}

// The record's pH is the single-precision Newton solve's, which stops once a
// step is at most 1e-4 pH units (its slope leaves out some terms, so the
// last step can leave an error of the order of 1e-5 to 1e-4); the double path
// solves to 1e-12. Every quantity that follows from the pH inherits this,
// on top of the constants' rounding above: the record and the double path
// agree to 5e-4 of each quantity. The Revelle factor of the record is a
// centred difference of single-precision solves (noise of some 1e-4); the
// flux is a difference of pCO2 of water and air, so its tolerance is 5e-4
// of the water's term.
constexpr double kRecordTolerance = 5e-4;
constexpr double kRevelleTolerance = 2e-3;

TEST(Agreement, DoublePathMatchesTheRecord) {
    std::array<double, kQuantityCount> worst{};
    for (const Case& c : GoldenCases()) {
        std::array<double, kQuantityCount> record{}, dbl{};
        ASSERT_TRUE(RecordOf(c, record)) << c.name;
        ASSERT_EQ(EvaluateSample(c.options, c.sample, dbl), Outcome::kComputed) << c.name;
        for (std::size_t q = 0; q < kQuantityCount; ++q) {
            if (std::isnan(record[q])) continue;
            double scale = std::fabs(record[q]);
            double tolerance = kRecordTolerance;
            if (q == qRevelle || q == qRevelleOut) tolerance = kRevelleTolerance;
            if (q == qFlux || q == qFluxOut) {
                const double pCO2 = record[q == qFlux ? qpCO2 : qpCO2Out];
                scale *= pCO2 / std::fabs(pCO2 - c.sample.x[kpCO2Air]);
            }
            if (scale == 0.0) {
                EXPECT_EQ(dbl[q], 0.0) << c.name << ": " << kQuantityNames[q];
                continue;
            }
            const double difference = std::fabs(dbl[q] - record[q]) / scale;
            worst[q] = std::max(worst[q], difference);
            EXPECT_LT(difference, tolerance) << c.name << ": " << kQuantityNames[q] << " " << dbl[q]
                                             << " against the record's " << record[q];
        }
    }
    for (std::size_t q = 0; q < kQuantityCount; ++q) {
        std::printf("%-26s worst relative difference %.2e\n", std::string(kQuantityNames[q]).c_str(), worst[q]);
    }
}

}  // namespace
}  // namespace brinora::uncertainty::test
