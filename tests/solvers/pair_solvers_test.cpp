#include "solvers/pair_solvers.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "seawater_fixture.h"
#include "solvers/newton_step.h"

namespace brinora {
namespace {

// pH of TA 2300, TC 2000 micromol/kg with the fixture constants, found by
// bisection in double on the defining alkalinity equation.
constexpr double kRootpH = 8.01459027229918;
// fCO2 [atm] of the same sample with K0 = 0.0284, evaluated in double.
constexpr double kRootfCO2 = 4.3353040298450715e-04;

TEST(HalveNewtonStep, HalvesUntilAtMostOnepHUnit) {
    EXPECT_EQ(detail::HalveNewtonStep(3.5f), 0.875f);
    EXPECT_EQ(detail::HalveNewtonStep(-3.5f), -0.875f);
    EXPECT_EQ(detail::HalveNewtonStep(2.0f), 1.0f);
    EXPECT_EQ(detail::HalveNewtonStep(1.0f), 1.0f);  // the test is strict
    EXPECT_EQ(detail::HalveNewtonStep(0.3f), 0.3f);
    EXPECT_EQ(detail::HalveNewtonStep(13.0f), 0.8125f);
    EXPECT_EQ(detail::HalveNewtonStep(3.0e38f), std::ldexp(3.0e38f, -128));
}

TEST(HalveNewtonStep, InfiniteStepBecomesNotANumber) {
    // Halving an infinity never reaches 1: the step would loop for ever.
    EXPECT_TRUE(std::isnan(detail::HalveNewtonStep(INFINITY)));
    EXPECT_TRUE(std::isnan(detail::HalveNewtonStep(-INFINITY)));
}

TEST(CalculatepHfromTATC, InfiniteTAStopsAfterOneStep) {
    // TA beyond the float range (a field of 1e39 micromol/kg) makes the first
    // raw step infinite.
    const ConstantsArray K = test::SurfaceConstants();
    const TotalsArray T = test::SurfaceTotals();
    float pH = 0.0f;
    CalculatepHfromTATC(INFINITY, test::kTC, K, T, pH);
    EXPECT_EQ(lastNewtonSteps(), 1);
    EXPECT_TRUE(std::isnan(pH));
    CalculatepHfromTAfCO2(-INFINITY, static_cast<float>(kRootfCO2), test::kSurfaceK0, K, T, pH);
    EXPECT_EQ(lastNewtonSteps(), 1);
    EXPECT_TRUE(std::isnan(pH));
}

TEST(CalculatepHfromTATC, FirstStepAboveOnepHUnitIsHalved) {
    // Carbon-free water of TA 2300: from pH 8 the raw Newton step is about
    // +13.6, applied as 13.6/16 = 0.85.
    const ConstantsArray K = test::SurfaceConstants();
    const TotalsArray T = test::SurfaceTotals();
    const float raw = detail::NewtonStepFromTATC(8.0f, test::kTA, 0.0f, K, T);
    EXPECT_GT(raw, 8.0f);
    EXPECT_LT(raw, 16.0f);
    float pH = -1.0f;
    detail::SolvepHfromTATC(test::kTA, 0.0f, K, T, pH, 1);
    EXPECT_EQ(lastNewtonSteps(), 1);
    EXPECT_EQ(detail::HalveNewtonStep(raw), raw / 16.0f);
    EXPECT_EQ(pH, 8.0f + raw / 16.0f);
}

TEST(CalculatepHfromTATC, SurfaceSeawaterConvergesInAHandfulOfSteps) {
    const ConstantsArray K = test::SurfaceConstants();
    const TotalsArray T = test::SurfaceTotals();
    float pH = 0.0f;
    CalculatepHfromTATC(test::kTA, test::kTC, K, T, pH);
    const int steps = lastNewtonSteps();
    EXPECT_GE(steps, 2);
    EXPECT_LE(steps, 5);
    EXPECT_NEAR(pH, kRootpH, 1e-5);

    // The last change is at most the tolerance, the one before it is not.
    float before = 0.0f, twoBefore = 0.0f;
    detail::SolvepHfromTATC(test::kTA, test::kTC, K, T, before, steps - 1);
    detail::SolvepHfromTATC(test::kTA, test::kTC, K, T, twoBefore, steps - 2);
    EXPECT_LE(std::fabs(pH - before), 0.0001f);
    EXPECT_GT(std::fabs(before - twoBefore), 0.0001f);
}

TEST(CalculatepHfromTATC, AppliedStepsAddUpFrompH8) {
    const ConstantsArray K = test::SurfaceConstants();
    const TotalsArray T = test::SurfaceTotals();
    float expected = 8.0f;
    for (int n = 1; n <= 4; ++n) {
        expected = expected +
                   detail::HalveNewtonStep(detail::NewtonStepFromTATC(expected, test::kTA,
                                                                      test::kTC, K, T));
        float pH = 0.0f;
        detail::SolvepHfromTATC(test::kTA, test::kTC, K, T, pH, n);
        EXPECT_EQ(pH, expected) << "after " << n << " steps";
    }
}

TEST(CalculatepHfromTATC, NonConvergingPairStopsAtTheStepCap) {
    // TF 1 mol/kg with KF 1e-7 makes HF, which the slope leaves out, dominate
    // the residual: every Newton step overshoots many times over and the
    // iteration bounces between pH values for ever.
    ConstantsArray K = test::SurfaceConstants();
    K[k::KF] = 1e-7f;
    TotalsArray T = test::SurfaceTotals();
    T[t::TF] = 1.0f;
    float pH = 0.0f;
    CalculatepHfromTATC(test::kTA, test::kTC, K, T, pH);
    EXPECT_EQ(lastNewtonSteps(), kMaxNewtonSteps);
    EXPECT_TRUE(std::isfinite(pH));
}

TEST(CalculatepHfromTATC, NotANumberStopsAfterOneStep) {
    ConstantsArray K = test::SurfaceConstants();
    K[k::KS] = 0.0f;  // no bisulfate constant: TS/KS is infinite
    const TotalsArray T = test::SurfaceTotals();
    float pH = 0.0f;
    CalculatepHfromTATC(test::kTA, test::kTC, K, T, pH);
    EXPECT_EQ(lastNewtonSteps(), 1);
    EXPECT_TRUE(std::isnan(pH));
}

TEST(CalculatepHfromTAfCO2, SurfaceSeawaterMatchesTheTATCRoot) {
    const ConstantsArray K = test::SurfaceConstants();
    const TotalsArray T = test::SurfaceTotals();
    float pH = 0.0f;
    CalculatepHfromTAfCO2(test::kTA, static_cast<float>(kRootfCO2), test::kSurfaceK0, K, T, pH);
    EXPECT_LE(lastNewtonSteps(), 5);
    EXPECT_NEAR(pH, kRootpH, 1e-5);

    float before = 0.0f;
    detail::SolvepHfromTAfCO2(test::kTA, static_cast<float>(kRootfCO2), test::kSurfaceK0, K, T,
                              before, lastNewtonSteps() - 1);
    EXPECT_LE(std::fabs(pH - before), 0.0001f);
}

TEST(CalculatepHfromTAfCO2, FirstStepAboveOnepHUnitIsHalved) {
    const ConstantsArray K = test::SurfaceConstants();
    const TotalsArray T = test::SurfaceTotals();
    const float fCO2 = 10e-6f;  // 10 microatm
    const float raw = detail::NewtonStepFromTAfCO2(8.0f, test::kTA, fCO2, test::kSurfaceK0, K, T);
    EXPECT_GT(raw, 1.0f);
    float pH = 0.0f;
    detail::SolvepHfromTAfCO2(test::kTA, fCO2, test::kSurfaceK0, K, T, pH, 1);
    EXPECT_EQ(pH, 8.0f + detail::HalveNewtonStep(raw));
    EXPECT_LE(pH - 8.0f, 1.0f);
    EXPECT_GT(pH - 8.0f, 0.5f);
}

TEST(CalculatepHfromTCfCO2, RecoversThepHOfAGivenfCO2) {
    const ConstantsArray K = test::SurfaceConstants();
    float fCO2 = 0.0f;
    CalculatefCO2fromTCpH(test::kTC, 8.1f, test::kSurfaceK0, K[k::K1], K[k::K2], fCO2);
    float pH = 0.0f;
    CalculatepHfromTCfCO2(test::kTC, fCO2, test::kSurfaceK0, K[k::K1], K[k::K2], pH);
    EXPECT_NEAR(pH, 8.1f, 2e-6);
}

TEST(CalculatepHfromTCfCO2, NoSolutionWhenDissolvedCO2ReachesTC) {
    const ConstantsArray K = test::SurfaceConstants();
    const float K0 = 0.03125f;
    const float fCO2 = 0.064f;
    float pH = 0.0f;

    // K0 fCO2 = TC exactly: X = 1.
    CalculatepHfromTCfCO2(K0 * fCO2, fCO2, K0, K[k::K1], K[k::K2], pH);
    EXPECT_EQ(pH, -999.0f);
    // K0 fCO2 > TC.
    CalculatepHfromTCfCO2(1e-3f, fCO2, K0, K[k::K1], K[k::K2], pH);
    EXPECT_EQ(pH, -999.0f);
    // TC = 0: X is infinite.
    CalculatepHfromTCfCO2(0.0f, fCO2, K0, K[k::K1], K[k::K2], pH);
    EXPECT_EQ(pH, -999.0f);
}

TEST(CalculatepHfromTCfCO2, NoCarbonateSystemGivesNoSolutionAtNonPositiveH) {
    // K1 = 0 makes H = 0: no positive root.
    float pH = 0.0f;
    CalculatepHfromTCfCO2(test::kTC, 400e-6f, test::kSurfaceK0, 0.0f, 0.0f, pH);
    EXPECT_EQ(pH, -999.0f);
}

TEST(CalculateTCfromTApH, IsTheInverseOfCalculateTAfromTCpH) {
    const ConstantsArray K = test::SurfaceConstants();
    const TotalsArray T = test::SurfaceTotals();
    for (float pH : {7.2f, 7.8f, 8.05f, 8.4f}) {
        float TA = 0.0f, TC = 0.0f;
        CalculateTAfromTCpH(test::kTC, pH, K, T, TA);
        CalculateTCfromTApH(TA, pH, K, T, TC);
        EXPECT_NEAR(TC, test::kTC, test::kTC * 1e-6) << "pH " << pH;

        CalculateTCfromTApH(test::kTA, pH, K, T, TC);
        CalculateTAfromTCpH(TC, pH, K, T, TA);
        EXPECT_NEAR(TA, test::kTA, test::kTA * 1e-6) << "pH " << pH;
    }
}

TEST(CalculateTAfromTCpH, AtTheTATCRootGivesTA) {
    const ConstantsArray K = test::SurfaceConstants();
    const TotalsArray T = test::SurfaceTotals();
    float TA = 0.0f;
    CalculateTAfromTCpH(test::kTC, static_cast<float>(kRootpH), K, T, TA);
    EXPECT_NEAR(TA, 2300e-6, 0.01e-6);
}

TEST(CalculateTCfrompHfCO2, IsTheInverseOfCalculatefCO2fromTCpH) {
    const ConstantsArray K = test::SurfaceConstants();
    float fCO2 = 0.0f, TC = 0.0f;
    CalculatefCO2fromTCpH(test::kTC, static_cast<float>(kRootpH), test::kSurfaceK0, K[k::K1],
                          K[k::K2], fCO2);
    EXPECT_NEAR(fCO2, kRootfCO2, kRootfCO2 * 2e-6);
    CalculateTCfrompHfCO2(static_cast<float>(kRootpH), fCO2, test::kSurfaceK0, K[k::K1], K[k::K2],
                          TC);
    EXPECT_NEAR(TC, test::kTC, test::kTC * 1e-6);
}

}  // namespace
}  // namespace brinora

namespace brinora {
namespace {

// Two and three solves stepped together against each solved on its own: the
// same bits for ordinary seawater, for odd values and for not-a-number, and
// the steps of the last one reported.
TEST(CalculateTwopHfromTATC, EachpHIsTheBitsOfItsOwnSolve) {
    const ConstantsArray K = test::SurfaceConstants();
    TotalsArray T = test::SurfaceTotals();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float odd[] = {0.0f, -0.0f, nan, -nan, 1e-30f, std::numeric_limits<float>::infinity(), 0.1f};
    std::uint64_t state = 17;
    const auto uniform = [&] {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<double>(state >> 11) * 0x1.0p-53;
    };
    const auto same = [](float a, float b) { return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b); };
    int differing = 0;
    for (int n = 0; n < 20000; ++n) {
        float values[4];
        for (float& v : values) {
            v = uniform() < 0.02 ? odd[static_cast<int>(uniform() * 7) % 7]
                                 : static_cast<float>(1.8e-3 + 0.7e-3 * uniform());
        }
        T[t::TP] = n % 3 == 0 ? 0.0f : 2e-6f;
        float alone1 = 0, alone2 = 0, together1 = 0, together2 = 0;
        CalculatepHfromTATC(values[0], values[1], K, T, alone1);
        CalculatepHfromTATC(values[2], values[3], K, T, alone2);
        const int steps2 = lastNewtonSteps();
        CalculateTwopHfromTATC(values[0], values[1], values[2], values[3], K, T, together1, together2);
        bool equal = same(alone1, together1) && same(alone2, together2) && steps2 == lastNewtonSteps();
        // Three at once: the two pairs and a third made of their halves.
        float alone3 = 0;
        CalculatepHfromTATC(values[0], values[3], K, T, alone3);
        const int steps3 = lastNewtonSteps();
        const float TA[3] = {values[0], values[2], values[0]};
        const float TC[3] = {values[1], values[3], values[3]};
        float three[3];
        CalculateThreepHfromTATC(TA, TC, K, T, three);
        equal = equal && same(three[0], alone1) && same(three[1], alone2) && same(three[2], alone3) &&
                steps3 == lastNewtonSteps();
        if (!equal && ++differing <= 3) {
            ADD_FAILURE() << "pair " << n << ": " << values[0] << " " << values[1] << ", " << values[2] << " "
                          << values[3];
        }
    }
    EXPECT_EQ(differing, 0);
}

}  // namespace
}  // namespace brinora
