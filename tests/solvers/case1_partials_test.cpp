#include "solvers/case1_partials.h"

#include <gtest/gtest.h>

#include "seawater_fixture.h"
#include "solvers/pair_solvers.h"

namespace brinora {
namespace {

TEST(CalculateStuffForCase1Partials, GivespCO2AtTheTATCpH) {
    const ConstantsArray K = test::SurfaceConstants();
    const TotalsArray T = test::SurfaceTotals();
    const float FugFacValue = 0.9966f;
    float TA = test::kTA;
    float pCO2 = 0.0f;
    CalculateStuffForCase1Partials(TA, test::kTC, K, T, -5.0f, test::kSurfaceK0, K[k::K1],
                                   K[k::K2], -5.0f, FugFacValue, 10, pCO2);
    float pH = 0.0f, fCO2 = 0.0f;
    CalculatepHfromTATC(test::kTA, test::kTC, K, T, pH);
    CalculatefCO2fromTCpH(test::kTC, pH, test::kSurfaceK0, K[k::K1], K[k::K2], fCO2);
    EXPECT_EQ(pCO2, fCO2 / FugFacValue);
    EXPECT_EQ(TA, test::kTA);
    // fCO2 433.53 microatm (double reference) over the fugacity factor.
    EXPECT_NEAR(pCO2, 4.3353040298450715e-04 / 0.9966, 0.01e-6);
}

TEST(CalculateStuffForCase1Partials, Set7SolvesWithTAMinusTPAndRestoresTA) {
    const ConstantsArray K = test::SurfaceConstants();
    TotalsArray T = test::SurfaceTotals();
    T[t::TP] = 50e-6f;
    float TA = test::kTA;
    float pCO2 = 0.0f;
    CalculateStuffForCase1Partials(TA, test::kTC, K, T, 0.0f, test::kSurfaceK0, K[k::K1],
                                   K[k::K2], 0.0f, 1.0f, 7, pCO2);
    float pH = 0.0f, fCO2 = 0.0f;
    CalculatepHfromTATC(test::kTA - T[t::TP], test::kTC, K, T, pH);
    CalculatefCO2fromTCpH(test::kTC, pH, test::kSurfaceK0, K[k::K1], K[k::K2], fCO2);
    EXPECT_EQ(pCO2, fCO2);
    EXPECT_EQ(TA, (test::kTA - T[t::TP]) + T[t::TP]);
    EXPECT_NEAR(TA, test::kTA, 1e-12);
}

}  // namespace
}  // namespace brinora
