#include "solvers/saturation.h"

#include <gtest/gtest.h>

#include <cmath>

#include "seawater_fixture.h"
#include "solvers/solubility_products.h"

namespace brinora {
namespace {

using detail::CalciumCarbonateSolubilityProducts;

// CO3 [mol/kg-SW] at TC 2000 micromol/kg and pH 8 with the fixture K1, K2,
// computed as the saturation routine does.
float CarbonateAtpH8() {
    const ConstantsArray K = test::SurfaceConstants();
    const float K1 = K[k::K1], K2 = K[k::K2];
    const float H = std::pow(10.0, -8.0);
    const float CO3 = test::kTC * K1 * K2 / (K1 * H + H * H + K1 * K2);
    return CO3;
}

TEST(CaSolubility, SurfaceSeawaterIsSupersaturated) {
    // Reference in double: CO3 2.1133e-4, Ca 0.0102846, pKsp 6.369333 and
    // 6.188307 (Mucci 1983) give Omega 5.08725 and 3.35318.
    const ConstantsArray K = test::SurfaceConstants();
    float OmegaCa = 0.0f, OmegaAr = 0.0f;
    CaSolubility(10, 35.0f, 25.0f, 0.0f, test::kTC, 8.0f, K[k::K1], K[k::K2], OmegaCa, OmegaAr);
    EXPECT_NEAR(OmegaCa, 5.0872474317909395, 5.09 * 1e-4);
    EXPECT_NEAR(OmegaAr, 3.3531802181201464, 3.35 * 1e-4);
}

TEST(CaSolubility, OmegaIsCarbonateTimesCalciumOverSolubilityProduct) {
    const ConstantsArray K = test::SurfaceConstants();
    for (short whichKs : {1, 6, 7, 10}) {
        float OmegaCa = 0.0f, OmegaAr = 0.0f;
        CaSolubility(whichKs, 35.0f, 25.0f, 2000.0f, test::kTC, 8.0f, K[k::K1], K[k::K2], OmegaCa,
                     OmegaAr);
        const auto s = CalciumCarbonateSolubilityProducts(whichKs, 35.0f, 25.0f, 2000.0f);
        const float CO3 = CarbonateAtpH8();
        EXPECT_EQ(OmegaCa, CO3 * s.Ca / s.KCa) << "set " << whichKs;
        EXPECT_EQ(OmegaAr, CO3 * s.Ca / s.KAr) << "set " << whichKs;
    }
}

TEST(CalciumCarbonateSolubilityProducts, MucciAtSalinity35And25Degrees) {
    // Mucci (1983): pKsp 6.3693 (calcite), 6.1883 (aragonite); Riley and
    // Tongudai (1967) calcium 0.0102846 mol/kg.
    const auto s = CalciumCarbonateSolubilityProducts(10, 35.0f, 25.0f, 0.0f);
    EXPECT_NEAR(-std::log10(s.KCa), 6.3693, 1e-4);
    EXPECT_NEAR(-std::log10(s.KAr), 6.1883, 1e-4);
    EXPECT_NEAR(s.Ca, 0.010284569700849724, 1e-9);
    EXPECT_EQ(s.Ca, static_cast<float>(0.0005308454112305734 * (35.0f / 1.80655)));
}

TEST(CalciumCarbonateSolubilityProducts, SurfacePressureFactorIsExactlyOne) {
    // At PdBar 0 no factor is applied: the value at 1000 dbar is the surface
    // value times the Millero (1995) factor, to the last bit.
    for (float TempC : {0.0f, 12.5f, 25.0f}) {
        const float R = 83.1451f;
        const float TempK = TempC + 273.15;
        const float RT = R * TempK;
        const float Pbar = 1000.0f / 10.0;
        const float deltaV = -48.76 + 0.5304 * TempC;
        const float Kappa = (-11.76 + 0.3692 * TempC) / 1000.0;
        const float deltaVAr = deltaV + 2.8;

        const auto surface = CalciumCarbonateSolubilityProducts(10, 35.0f, TempC, 0.0f);
        const auto deep = CalciumCarbonateSolubilityProducts(10, 35.0f, TempC, 1000.0f);
        const float KCa = surface.KCa * std::exp((-deltaV + 0.5 * Kappa * Pbar) * Pbar / RT);
        const float KAr = surface.KAr * std::exp((-deltaVAr + 0.5 * Kappa * Pbar) * Pbar / RT);
        EXPECT_EQ(deep.KCa, KCa) << TempC;
        EXPECT_EQ(deep.KAr, KAr) << TempC;
        EXPECT_EQ(deep.Ca, surface.Ca);
        EXPECT_GT(deep.KCa, surface.KCa);  // more soluble at depth
    }
}

TEST(CalciumCarbonateSolubilityProducts, GeosecsSetsUseTheirOwnForms) {
    // Sets 6 and 7: Ca = 0.01026 Sal/35, KCa of Ingle (1975), KAr = 1.45 KCa,
    // whatever the Mucci forms gave.
    const float Sal = 35.0f, TempC = 25.0f;
    const float TempK = TempC + 273.15;
    const float KCa =
        1e-7 * (-34.452 - 39.866 * std::pow(35.0, 0.3333333333333333) +
                110.21 * std::log(35.0) / std::log(10.0) - 7.5752e-6 * TempK * TempK);
    for (short whichKs : {6, 7}) {
        const auto s = CalciumCarbonateSolubilityProducts(whichKs, Sal, TempC, 0.0f);
        EXPECT_EQ(s.Ca, static_cast<float>(0.01026 * Sal / 35.0));
        EXPECT_EQ(s.KCa, KCa);
        EXPECT_EQ(s.KAr, static_cast<float>(1.45 * s.KCa));
        EXPECT_NEAR(s.KCa, 4.642024191743543e-07, 1e-13);
    }
    const auto mucci = CalciumCarbonateSolubilityProducts(5, Sal, TempC, 0.0f);
    EXPECT_NE(mucci.Ca, static_cast<float>(0.01026 * Sal / 35.0));
}

TEST(CalciumCarbonateSolubilityProducts, GeosecsPressureFactors) {
    const float TempC = 2.0f, PdBar = 4000.0f;
    const float TempK = TempC + 273.15;
    const float RT = 83.1451f * TempK;
    const float Pbar = PdBar / 10.0;
    const auto surface = CalciumCarbonateSolubilityProducts(7, 35.0f, TempC, 0.0f);
    const auto deep = CalciumCarbonateSolubilityProducts(7, 35.0f, TempC, PdBar);
    const float KCa = surface.KCa * std::exp((36.0 - 0.2 * TempC) * Pbar / RT);
    const float KAr = surface.KAr * std::exp((33.3 - 0.22 * TempC) * Pbar / RT);
    EXPECT_EQ(deep.KCa, KCa);
    EXPECT_EQ(deep.KAr, KAr);
}

}  // namespace
}  // namespace brinora
