#include "solvers/revelle.h"

#include <gtest/gtest.h>

#include "seawater_fixture.h"
#include "solvers/pair_solvers.h"

namespace brinora {
namespace {

// The Revelle factor as the centred difference of fCO2 over TC +- 1
// micromol/kg, built from the public solvers with the given TA.
float RevelleByHand(float TAplus, float TAminus, float TC, float K0, const ConstantsArray& K,
                    const TotalsArray& T) {
    const float dTC = 1e-6f;
    const float TCplus = TC + dTC;
    const float TCminus = TC - dTC;
    float pH = 0.0f, fCO2plus = 0.0f, fCO2minus = 0.0f;
    CalculatepHfromTATC(TAplus, TCplus, K, T, pH);
    CalculatefCO2fromTCpH(TCplus, pH, K0, K[k::K1], K[k::K2], fCO2plus);
    CalculatepHfromTATC(TAminus, TCminus, K, T, pH);
    CalculatefCO2fromTCpH(TCminus, pH, K0, K[k::K1], K[k::K2], fCO2minus);
    const float Revelle = ((fCO2plus - fCO2minus) / dTC) / ((fCO2plus + fCO2minus) / TCminus);
    return Revelle;
}

TEST(RevelleFactor, ZeroCarbonGivesExactlyZero) {
    float Revelle = -1.0f;
    RevelleFactor(10, test::kTA, 0.0f, test::kSurfaceK0, test::SurfaceConstants(),
                  test::SurfaceTotals(), Revelle);
    EXPECT_EQ(Revelle, 0.0f);
}

TEST(RevelleFactor, SurfaceSeawater) {
    // Analytical value in double for these constants: 9.5653. The float
    // finite difference over 2 micromol/kg agrees to about 0.01.
    const ConstantsArray K = test::SurfaceConstants();
    const TotalsArray T = test::SurfaceTotals();
    float Revelle = 0.0f;
    RevelleFactor(10, test::kTA, test::kTC, test::kSurfaceK0, K, T, Revelle);
    EXPECT_NEAR(Revelle, 9.565327389983008, 0.03);
    EXPECT_EQ(Revelle, RevelleByHand(test::kTA, test::kTA, test::kTC, test::kSurfaceK0, K, T));
}

TEST(RevelleFactor, Set7SolvesWithTAMinusTPInBothSolves) {
    const ConstantsArray K = test::SurfaceConstants();
    TotalsArray T = test::SurfaceTotals();
    T[t::TP] = 50e-6f;  // large enough to move the result
    // TP is taken off, put back and taken off again, each in float.
    const float TAplus = test::kTA - T[t::TP];
    const float TArestored = TAplus + T[t::TP];
    const float TAminus = TArestored - T[t::TP];
    float Revelle7 = 0.0f, Revelle1 = 0.0f;
    RevelleFactor(7, test::kTA, test::kTC, test::kSurfaceK0, K, T, Revelle7);
    RevelleFactor(1, test::kTA, test::kTC, test::kSurfaceK0, K, T, Revelle1);
    EXPECT_EQ(Revelle7, RevelleByHand(TAplus, TAminus, test::kTC, test::kSurfaceK0, K, T));
    EXPECT_NE(Revelle7, Revelle1);
    EXPECT_GT(Revelle7, Revelle1);  // less alkalinity, weaker buffer
}

}  // namespace
}  // namespace brinora
