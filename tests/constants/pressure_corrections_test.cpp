// Pressure corrections of the ten constants.
#include "constants/pressure_corrections.h"

#include <gtest/gtest.h>

#include <cmath>

#include "constants/co2_constants.h"
#include "tests/constants/constants_support.h"

namespace brinora {
namespace {

using namespace brinora::constants_test;
namespace ci = brinora::constants_internal;

const log::ScopedSink kQuietLog{[](std::string_view) {}};

float RTOf(float TempC) { return 83.1451f * static_cast<float>(TempC + 273.15); }

float FactorOf(const ci::PressureFactors& f, int i) {
    const float all[] = {0.0f, f.K1, f.K2, f.KW, f.KB, f.KF, f.KS, f.KP1, f.KP2, f.KP3, f.KSi};
    return all[i];
}

TEST(PressureCorrections, SurfaceGivesEveryFactorExactlyOne) {
    for (int whichKs = -1; whichKs <= 15; ++whichKs) {
        for (float TempC : {-2.0f, 0.0f, 25.0f, 40.0f}) {
            const ci::PressureFactors f = ci::PressureCorrectionFactors(whichKs, TempC, 0.0f, RTOf(TempC));
            for (int i = 1; i <= 10; ++i) {
                EXPECT_EQ(FactorOf(f, i), 1.0f) << "set " << whichKs << " t " << TempC << " " << ConstantName(i);
            }
        }
    }
}

TEST(PressureCorrections, BoricAcidFactorByHand) {
    // t 25, 100 bar: deltaV = -29.48 + 0.1622*25 - 0.002608*625 = -27.055 cm3/mol, Kappa = -0.00284;
    // RT = 83.1451*298.15 = 24789.71; lnKfac = (27.055 - 0.5*0.00284*100)*100/24789.71 = 0.1085652;
    // Kfac = exp(0.1085652) = 1.1146775
    const ci::PressureFactors f = ci::PressureCorrectionFactors(1, 25.0f, 100.0f, RTOf(25.0f));
    EXPECT_FLOAT_EQ(f.KB, 1.1146775f);
}

TEST(PressureCorrections, FactorIsAppliedAsFloatProduct) {
    const float TempC = 25.0f, Pdbar = 1000.0f;
    const ci::PressureFactors f = ci::PressureCorrectionFactors(1, TempC, Pdbar / 10.0f, RTOf(TempC));
    const Outputs surface = Compute(ph_scale::kSeawater, 1, khso4::kDickson, 35.0f, TempC, 0.0f);
    const Outputs deep = Compute(ph_scale::kSeawater, 1, khso4::kDickson, 35.0f, TempC, Pdbar);
    for (int i = 1; i <= 10; ++i) {
        EXPECT_EQ(deep.K[i], surface.K[i] * FactorOf(f, i)) << ConstantName(i);
    }
}

TEST(PressureCorrections, Set8UsesFreshwaterRowsAndLeavesKB) {
    const float TempC = 10.0f, Pbar = 200.0f;
    const float RT = RTOf(TempC);
    const double t = TempC;
    const ci::PressureFactors fresh = ci::PressureCorrectionFactors(8, TempC, Pbar, RT);
    const ci::PressureFactors sea = ci::PressureCorrectionFactors(1, TempC, Pbar, RT);
    EXPECT_EQ(fresh.KB, 1.0f);
    EXPECT_EQ(fresh.K1, ci::PressureFactor(static_cast<float>(-30.54 + 0.1849 * t - 0.0023366 * t * t),
                                           static_cast<float>((-6.22 + 0.1368 * t - 0.001233 * t * t) / 1000.0),
                                           Pbar, RT));
    EXPECT_EQ(fresh.K2, ci::PressureFactor(static_cast<float>(-29.81 + 0.115 * t - 0.001816 * t * t),
                                           static_cast<float>((-5.74 + 0.093 * t - 0.001896 * t * t) / 1000.0),
                                           Pbar, RT));
    EXPECT_EQ(fresh.KW, ci::PressureFactor(static_cast<float>(-25.6 + 0.2324 * t - 0.0036246 * t * t),
                                           static_cast<float>((-7.33 + 0.1368 * t - 0.001233 * t * t) / 1000.0),
                                           Pbar, RT));
    EXPECT_NE(fresh.K1, sea.K1);
    EXPECT_NE(fresh.K2, sea.K2);
    EXPECT_NE(fresh.KW, sea.KW);
    // KF, KS and the nutrient rows are shared by every set.
    EXPECT_EQ(fresh.KF, sea.KF);
    EXPECT_EQ(fresh.KS, sea.KS);
    EXPECT_EQ(fresh.KP1, sea.KP1);
    EXPECT_EQ(fresh.KSi, sea.KSi);

    const Outputs surface = Compute(ph_scale::kSeawater, 8, khso4::kDickson, 0.0f, TempC, 0.0f);
    const Outputs deep = Compute(ph_scale::kSeawater, 8, khso4::kDickson, 0.0f, TempC, Pbar * 10.0f);
    EXPECT_EQ(deep.K[k::KB], 0.0f);
    EXPECT_EQ(deep.K[k::K1], surface.K[k::K1] * fresh.K1);
    EXPECT_EQ(deep.K[k::K2], surface.K[k::K2] * fresh.K2);
    EXPECT_EQ(deep.K[k::KW], surface.K[k::KW] * fresh.KW);
}

TEST(PressureCorrections, Sets6And7UseLinearFormAt100Bar) {
    const float RT = RTOf(0.0f);
    // t 0, 100 bar: lnK1fac = 24.2*100/RT, lnK2fac = 16.4*100/RT, lnKBfac = 27.5*100/RT
    const float K1fac = static_cast<float>(std::exp(static_cast<double>(static_cast<float>(24.2 * 100.0 / RT))));
    const float K2fac = static_cast<float>(std::exp(static_cast<double>(static_cast<float>(16.4 * 100.0 / RT))));
    const float KBfac = static_cast<float>(std::exp(static_cast<double>(static_cast<float>(27.5 * 100.0 / RT))));
    // RT = 83.1451*273.15 = 22711.09; 2420/22711.09 = 0.1065557; exp(0.1065557) = 1.112440
    EXPECT_NEAR(K1fac, 1.112440f, 2e-6f);
    for (int whichKs : {6, 7}) {
        SCOPED_TRACE(whichKs);
        const ci::PressureFactors f = ci::PressureCorrectionFactors(whichKs, 0.0f, 100.0f, RT);
        EXPECT_EQ(f.K1, K1fac);
        EXPECT_EQ(f.K2, K2fac);
        EXPECT_EQ(f.KB, KBfac);
        const Outputs surface = Compute(ph_scale::kSeawater, whichKs, khso4::kDickson, 35.0f, 0.0f, 0.0f);
        const Outputs deep = Compute(ph_scale::kSeawater, whichKs, khso4::kDickson, 35.0f, 0.0f, 1000.0f);
        EXPECT_EQ(deep.K[k::K1], surface.K[k::K1] * K1fac);
        EXPECT_GT(deep.K[k::K1], surface.K[k::K1]);
    }
}

TEST(PressureCorrections, UnknownSetStillCorrectsKFKSAndNutrients) {
    const float TempC = 5.0f;
    const ci::PressureFactors f = ci::PressureCorrectionFactors(0, TempC, 300.0f, RTOf(TempC));
    EXPECT_EQ(f.K1, 1.0f);
    EXPECT_EQ(f.K2, 1.0f);
    EXPECT_EQ(f.KB, 1.0f);
    EXPECT_EQ(f.KW, 1.0f);
    const ci::PressureFactors sea = ci::PressureCorrectionFactors(1, TempC, 300.0f, RTOf(TempC));
    for (int i = k::KF; i <= k::KSi; ++i) {
        EXPECT_NE(FactorOf(f, i), 1.0f) << ConstantName(i);
        EXPECT_EQ(FactorOf(f, i), FactorOf(sea, i)) << ConstantName(i);
    }
    const Outputs surface = Compute(ph_scale::kTotal, 0, khso4::kDickson, 35.0f, TempC, 0.0f);
    const Outputs deep = Compute(ph_scale::kTotal, 0, khso4::kDickson, 35.0f, TempC, 3000.0f);
    EXPECT_EQ(deep.K[k::KF], surface.K[k::KF] * f.KF);
    EXPECT_EQ(deep.K[k::KS], surface.K[k::KS] * f.KS);
    for (int i : {k::KP1, k::KP2, k::KP3, k::KSi}) {
        EXPECT_EQ(deep.K[i], 0.0f) << ConstantName(i);
    }
}

TEST(PressureCorrections, SilicicAcidSharesBoricAcidRow) {
    for (int whichKs : {1, 5, 9, 14}) {
        for (float TempC : {0.0f, 15.0f, 30.0f}) {
            const ci::PressureFactors f = ci::PressureCorrectionFactors(whichKs, TempC, 400.0f, RTOf(TempC));
            EXPECT_EQ(f.KSi, f.KB) << "set " << whichKs << " t " << TempC;
        }
    }
}

TEST(PressureCorrections, CorrectedKSAndKFFeedTheScaleFactor) {
    const Outputs deep = Compute(ph_scale::kTotal, 1, khso4::kDickson, 35.0f, 2.0f, 5000.0f);
    const Outputs sws = Compute(ph_scale::kSeawater, 1, khso4::kDickson, 35.0f, 2.0f, 5000.0f);
    const Outputs surface = Compute(ph_scale::kTotal, 1, khso4::kDickson, 35.0f, 2.0f, 0.0f);
    const float atDepth = SWStoTOTOf(deep);
    EXPECT_NE(atDepth, SWStoTOTOf(surface));
    EXPECT_EQ(deep.K[k::K1], sws.K[k::K1] * atDepth);
}

}  // namespace
}  // namespace brinora
