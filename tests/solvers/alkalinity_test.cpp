#include "solvers/alkalinity.h"

#include <gtest/gtest.h>

#include <cmath>

#include "seawater_fixture.h"

namespace brinora {
namespace {

struct Parts {
    float HCO3, CO3, BAlk, OH, PAlk, SiAlk, Hfree, HSO4, HF;
};

Parts AlkParts(float pH, float TC, const ConstantsArray& K, const TotalsArray& T) {
    Parts p{};
    CalculateAlkParts(pH, TC, K, T, p.HCO3, p.CO3, p.BAlk, p.OH, p.PAlk, p.SiAlk, p.Hfree, p.HSO4,
                      p.HF);
    return p;
}

// Reference values evaluated in double from the defining formulas at pH 8,
// TC 2000 micromol/kg and the fixture constants; the float results agree to
// a few parts in 10^7.
TEST(CalculateAlkParts, SurfaceSeawaterAtpH8) {
    const Parts p = AlkParts(8.0f, test::kTC, test::SurfaceConstants(), test::SurfaceTotals());
    const double rel = 2e-6;
    EXPECT_NEAR(p.HCO3, 1.7758925776633597e-03, 1.7758925776633597e-03 * rel);
    EXPECT_NEAR(p.CO3, 2.1133121674193984e-04, 2.1133121674193984e-04 * rel);
    EXPECT_NEAR(p.BAlk, 8.32e-05, 8.32e-05 * rel);
    EXPECT_NEAR(p.OH, 6.0e-06, 6.0e-06 * rel);
    EXPECT_NEAR(p.PAlk, 2.243137241035499e-06, 2.243137241035499e-06 * rel);
    EXPECT_NEAR(p.SiAlk, 5.769230769230769e-07, 5.769230769230769e-07 * rel);
    EXPECT_NEAR(p.Hfree, 7.8003120124805e-09, 7.8003120124805e-09 * rel);
    EXPECT_NEAR(p.HSO4, 2.1996878159369878e-09, 2.1996878159369878e-09 * rel);
    EXPECT_NEAR(p.HF, 2.3061713824480014e-10, 2.3061713824480014e-10 * rel);
}

TEST(CalculateAlkParts, NoPhosphateOrSilicateGivesExactlyZeroTerms) {
    TotalsArray T = test::SurfaceTotals();
    T[t::TP] = 0.0f;
    T[t::TSi] = 0.0f;
    for (float pH : {4.0f, 7.0f, 8.0f, 10.0f}) {
        const Parts p = AlkParts(pH, test::kTC, test::SurfaceConstants(), T);
        EXPECT_EQ(p.PAlk, 0.0f) << "pH " << pH;
        EXPECT_EQ(p.SiAlk, 0.0f) << "pH " << pH;
    }
}

TEST(CalculateAlkParts, NoSulfateGivesHfreeEqualToHAndNoBisulfate) {
    TotalsArray T = test::SurfaceTotals();
    T[t::TS] = 0.0f;
    const Parts p = AlkParts(8.0f, test::kTC, test::SurfaceConstants(), T);
    const float H = std::pow(10.0, -8.0);
    EXPECT_EQ(p.Hfree, H);
    EXPECT_EQ(p.HSO4, 0.0f);
}

TEST(CalculateAlkParts, NoCarbonGivesNoCarbonateSpecies) {
    const Parts p = AlkParts(8.0f, 0.0f, test::SurfaceConstants(), test::SurfaceTotals());
    EXPECT_EQ(p.HCO3, 0.0f);
    EXPECT_EQ(p.CO3, 0.0f);
    EXPECT_NEAR(p.BAlk, 8.32e-05, 8.32e-05 * 2e-6);
}

}  // namespace
}  // namespace brinora
