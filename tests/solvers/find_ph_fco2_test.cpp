// Solver entry points that compute their own constants with CO2_Constants.
#include <gtest/gtest.h>

#include "constants/co2_constants.h"
#include "constants/process_values.h"
#include "log/log.h"
#include "solvers/case1_partials.h"
#include "solvers/pair_solvers.h"

namespace brinora {
namespace {

// Constants of one call of the constants routine.
struct Constants {
    ConstantsArray K{};
    TotalsArray T{};
    float K0 = 0.0f, fH = 0.0f, FugFac = 0.0f, VPFac = 0.0f;
};

Constants ConstantsFor(int pHScale, int whichKs, int whichKSO4, float Sal, float TempC,
                       float PdBar, float TP, float TSi) {
    Constants c;
    c.T[t::TP] = TP;
    c.T[t::TSi] = TSi;
    CO2_Constants(pHScale, whichKs, whichKSO4, Sal, TempC, PdBar, c.K0, c.K, c.T, c.fH, c.FugFac,
                  c.VPFac);
    return c;
}

constexpr float kTA = 2300e-6f, kTC = 2000e-6f, kTP = 5e-6f, kTSi = 10e-6f;

TEST(FindpHfCO2fromTATC, EqualsConstantsThenTheTATCSolver) {
    const Constants c = ConstantsFor(1, 10, 1, 35.0f, 25.0f, 0.0f, kTP, kTSi);
    ConstantsArray K{};
    TotalsArray T{};
    T[t::TP] = kTP;
    T[t::TSi] = kTSi;
    ProcessValues values;
    float pH = 0.0f, fCO2 = 0.0f, pCO2 = 0.0f;
    FindpHfCO2fromTATC(1, 10, 1, kTA, kTC, 35.0f, K, T, 25.0f, 0.0f, pH, fCO2, pCO2, values);

    float pHc = 0.0f, fCO2c = 0.0f;
    CalculatepHfromTATC(kTA, kTC, c.K, c.T, pHc);
    CalculatefCO2fromTCpH(kTC, pHc, c.K0, c.K[k::K1], c.K[k::K2], fCO2c);
    EXPECT_EQ(K, c.K);
    EXPECT_EQ(T, c.T);
    EXPECT_EQ(values.K0, c.K0);
    EXPECT_EQ(values.FugFac, c.FugFac);
    EXPECT_EQ(pH, pHc);
    EXPECT_EQ(fCO2, fCO2c);
    EXPECT_EQ(pCO2, fCO2c / c.FugFac);
    // Surface seawater of TA 2300 and TC 2000 micromol/kg.
    EXPECT_GT(pH, 7.9f);
    EXPECT_LT(pH, 8.2f);
    EXPECT_GT(fCO2, 250e-6f);
    EXPECT_LT(fCO2, 550e-6f);
}

TEST(FindpHfCO2fromTATC, Set7SolvesWithTAMinusTP) {
    log::ScopedSink quiet([](std::string_view) {});
    const Constants c = ConstantsFor(1, 7, 1, 35.0f, 25.0f, 0.0f, kTP, kTSi);
    ConstantsArray K{};
    TotalsArray T{};
    T[t::TP] = kTP;
    T[t::TSi] = kTSi;
    ProcessValues values;
    float pH = 0.0f, fCO2 = 0.0f, pCO2 = 0.0f;
    FindpHfCO2fromTATC(1, 7, 1, kTA, kTC, 35.0f, K, T, 25.0f, 0.0f, pH, fCO2, pCO2, values);

    float pHless = 0.0f, pHfull = 0.0f, fCO2less = 0.0f;
    CalculatepHfromTATC(kTA - kTP, kTC, c.K, c.T, pHless);
    CalculatepHfromTATC(kTA, kTC, c.K, c.T, pHfull);
    CalculatefCO2fromTCpH(kTC, pHless, c.K0, c.K[k::K1], c.K[k::K2], fCO2less);
    EXPECT_EQ(pH, pHless);
    EXPECT_NE(pH, pHfull);
    EXPECT_LT(pH, pHfull);
    EXPECT_EQ(fCO2, fCO2less);
    EXPECT_EQ(values.FugFac, 1.0f);  // sets 6 and 7 work with pCO2 directly
    EXPECT_EQ(pCO2, fCO2);
}

TEST(FindpHfCO2fromTATC, WithoutProcessValuesWritesTheGlobals) {
    const Constants c = ConstantsFor(1, 10, 1, 35.0f, 2.0f, 4000.0f, kTP, kTSi);
    ConstantsArray K{};
    TotalsArray T{};
    T[t::TP] = kTP;
    T[t::TSi] = kTSi;
    K0 = -1.0f;
    FugFac = -1.0f;
    float pH = 0.0f, fCO2 = 0.0f, pCO2 = 0.0f;
    FindpHfCO2fromTATC(1, 10, 1, kTA, kTC, 35.0f, K, T, 2.0f, 4000.0f, pH, fCO2, pCO2);
    EXPECT_EQ(K0, c.K0);
    EXPECT_EQ(FugFac, c.FugFac);
    EXPECT_EQ(pCO2, fCO2 / c.FugFac);
}

TEST(GetConstantsforCase1Partials, TruncatesThepHScaleAndReturnsK1K2) {
    const Constants c = ConstantsFor(1, 10, 1, 35.0f, 25.0f, 1000.0f, kTP, kTSi);
    ConstantsArray K{};
    TotalsArray T{};
    T[t::TP] = kTP;
    T[t::TSi] = kTSi;
    const float K0caller = 0.5f, fHcaller = 0.25f;
    float FugFacOut = 0.0f, VPFac = 0.0f, K1 = 0.0f, K2 = 0.0f;
    GetConstantsforCase1Partials(1.9f, 10, 1, 35.0f, 25.0f, 1000.0f, K0caller, K, T, fHcaller,
                                 FugFacOut, VPFac, K1, K2);
    EXPECT_EQ(K, c.K);
    EXPECT_EQ(T, c.T);
    EXPECT_EQ(FugFacOut, c.FugFac);
    EXPECT_EQ(VPFac, c.VPFac);
    EXPECT_EQ(K1, c.K[k::K1]);
    EXPECT_EQ(K2, c.K[k::K2]);

    const Constants seawater = ConstantsFor(2, 10, 1, 35.0f, 25.0f, 1000.0f, kTP, kTSi);
    GetConstantsforCase1Partials(2.0f, 10, 1, 35.0f, 25.0f, 1000.0f, K0caller, K, T, fHcaller,
                                 FugFacOut, VPFac, K1, K2);
    EXPECT_EQ(K1, seawater.K[k::K1]);
    EXPECT_NE(K1, c.K[k::K1]);
}

}  // namespace
}  // namespace brinora
