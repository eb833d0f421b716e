// The acid constant sets 1..14 as CO2_Constants returns them.
#include "constants/acid_constants.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "constants/co2_constants.h"
#include "tests/constants/constants_support.h"

namespace brinora {
namespace {

using namespace brinora::constants_test;
namespace ci = brinora::constants_internal;

const log::ScopedSink kQuietLog{[](std::string_view) {}};

float TempKOf(float TempC) { return static_cast<float>(TempC + 273.15); }
float LogTempKOf(float TempC) { return static_cast<float>(std::log(static_cast<double>(TempKOf(TempC)))); }

// ---- Set 8: fresh water ----

TEST(AcidConstants, Set8HasNoBorateNoNutrientsAndNoSalinityDependence) {
    for (float Pdbar : {0.0f, 2000.0f}) {
        const Outputs ref = Compute(ph_scale::kSeawater, 8, khso4::kDickson, 0.0f, 15.0f, Pdbar);
        for (float Sal : {0.0f, 20.0f, 35.0f}) {
            SCOPED_TRACE(::testing::Message() << "S " << Sal << " P " << Pdbar);
            const Outputs o = Compute(ph_scale::kSeawater, 8, khso4::kDickson, Sal, 15.0f, Pdbar);
            EXPECT_EQ(o.T[t::TB], 0.0f);
            EXPECT_EQ(o.K[k::KB], 0.0f);
            EXPECT_EQ(o.K[k::KP1], 0.0f);
            EXPECT_EQ(o.K[k::KP2], 0.0f);
            EXPECT_EQ(o.K[k::KP3], 0.0f);
            EXPECT_EQ(o.K[k::KSi], 0.0f);
            EXPECT_EQ(o.K[k::K1], ref.K[k::K1]);
            EXPECT_EQ(o.K[k::K2], ref.K[k::K2]);
            EXPECT_EQ(o.K[k::KW], ref.K[k::KW]);
        }
    }
    // Pure water at 25 degC: pK1 6.352 (Harned and Davis 1943), pK2 10.329 (Harned and
    // Scholes 1941), pKW 13.995 (Harned and Owen 1958); Millero (1979) fits them to 0.001.
    const Outputs o = Compute(ph_scale::kSeawater, 8, khso4::kDickson, 0.0f, 25.0f, 0.0f);
    EXPECT_NEAR(-std::log10(o.K[k::K1]), 6.352, 0.001);
    EXPECT_NEAR(-std::log10(o.K[k::K2]), 10.329, 0.001);
    EXPECT_NEAR(-std::log10(o.K[k::KW]), 13.995, 0.001);
}

// ---- Sets 6 and 7: GEOSECS ----

TEST(AcidConstants, Set6HasNoWaterPhosphateOrSilicateConstant) {
    const Outputs o = Compute(ph_scale::kTotal, 6, khso4::kDickson, 35.0f, 10.0f, 1000.0f);
    EXPECT_EQ(o.K[k::KW], 0.0f);
    EXPECT_EQ(o.K[k::KP1], 0.0f);
    EXPECT_EQ(o.K[k::KP2], 0.0f);
    EXPECT_EQ(o.K[k::KP3], 0.0f);
    EXPECT_EQ(o.K[k::KSi], 0.0f);
    EXPECT_GT(o.K[k::K1], 0.0f);
    EXPECT_GT(o.K[k::KB], 0.0f);
}

TEST(AcidConstants, Set7KP1IsExactlyTwoHundredths) {
    const Outputs o = Compute(ph_scale::kSeawater, 7, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    EXPECT_EQ(o.K[k::KP1], 0.02f);
    // Not divided by fH, unlike KP2, KP3 and KSi.
    const ci::PhosphateSilicate p = ci::KPKSi_GEOSECS(TempKOf(25.0f), 0.5f);
    EXPECT_EQ(p.KP1, 0.02f);
    EXPECT_EQ(p.KSi, 8e-10f);
    EXPECT_EQ(o.K[k::KSi], 4e-10f / o.fH);
}

TEST(AcidConstants, Sets6And7ShareK1K2AndDifferInFH) {
    const Outputs s6 = Compute(ph_scale::kSeawater, 6, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    const Outputs s7 = Compute(ph_scale::kSeawater, 7, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    EXPECT_EQ(s6.fH, 0.713404357f);  // Takahashi et al. (1982)
    EXPECT_EQ(s7.fH, 0.704728067f);  // GEOSECS form
    // The NBS-scale K1 is the same; the seawater-scale K1 is it divided by each set's fH.
    EXPECT_NEAR(s6.K[k::K1] * s6.fH, s7.K[k::K1] * s7.fH, 1e-6 * s6.K[k::K1]);
    // GEOSECS KB: log10KB = -9.26 + 0.00886*35 + 0.01*25 = -8.6999; 10^-8.6999/0.7134044 = 2.797464e-09
    EXPECT_NEAR(s6.K[k::KB], 2.797464e-09f, 2e-15f);
}

TEST(AcidConstants, Sets6And7WriteThePengLine) {
    struct Case {
        int whichKs;
        const char* line;
    };
    const Case cases[] = {{6, "peng -9.114271 0.000000 0.713404"}, {7, "peng -9.114271 0.000000 0.704728"}};
    for (const Case& c : cases) {
        CapturedLog captured;
        Compute(ph_scale::kTotal, c.whichKs, khso4::kDickson, 35.0f, 25.0f, 0.0f);
        ASSERT_EQ(captured.lines.size(), 1u) << "set " << c.whichKs;
        EXPECT_EQ(captured.lines[0], c.line);
        Compute(ph_scale::kTotal, c.whichKs, khso4::kDickson, 35.0f, 25.0f, 0.0f);
        EXPECT_EQ(captured.lines.size(), 2u) << "one line on every call";
    }
    CapturedLog captured;
    for (int whichKs : {1, 8, 13, 14, 0}) {
        Compute(ph_scale::kTotal, whichKs, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    }
    EXPECT_TRUE(captured.lines.empty());
}

TEST(AcidConstants, Sets6And7AtSalinityZeroGiveNaNK2) {
    for (int whichKs : {6, 7}) {
        CapturedLog captured;
        const Outputs o = Compute(ph_scale::kSeawater, whichKs, khso4::kDickson, 0.0f, 25.0f, 0.0f);
        EXPECT_TRUE(std::isnan(o.K[k::K2])) << "set " << whichKs;
        EXPECT_TRUE(std::isfinite(o.K[k::K1])) << "set " << whichKs;
        ASSERT_EQ(captured.lines.size(), 1u);
        EXPECT_EQ(captured.lines[0].rfind("peng ", 0), 0u);
        EXPECT_NE(captured.lines[0].find("nan"), std::string::npos);
    }
}

// ---- Sets 9, 10 and 11: Millero et al. (2002) ----

TEST(AcidConstants, Sets9To11AreIdentical) {
    const Sample samples[] = {{35.0f, 25.0f, 0.0f}, {33.0f, 1.0f, 5000.0f}, {38.5f, 29.0f, 10.0f}};
    for (const Sample& s : samples) {
        for (int pHScale = 1; pHScale <= 4; ++pHScale) {
            SCOPED_TRACE(::testing::Message() << "S " << s.Sal << " pHScale " << pHScale);
            const Outputs s9 = Compute(pHScale, 9, khso4::kDickson, s.Sal, s.TempC, s.Pdbar);
            for (int whichKs : {10, 11}) {
                const Outputs o = Compute(pHScale, whichKs, khso4::kDickson, s.Sal, s.TempC, s.Pdbar);
                for (int i = 1; i <= 10; ++i) {
                    EXPECT_EQ(o.K[i], s9.K[i]) << "set " << whichKs << " " << ConstantName(i);
                }
                EXPECT_EQ(o.fH, s9.fH);
                EXPECT_EQ(o.FugFac, s9.FugFac);
            }
        }
    }
}

// ---- Set 14: Millero (2010) ----

// Millero (2010) pK of one scale, all in double:
// pK = pK0 + a1 sqrt(S) + a2 S + a3 S^2 + (b1 sqrt(S) + b2 S)/T + c1 sqrt(S) ln T.
double Millero2010pK(double pK0, double a1, double a2, double a3, double b1, double b2, double c1, double S,
                     double TK) {
    return pK0 + a1 * std::sqrt(S) + a2 * S + a3 * S * S + (b1 * std::sqrt(S) + b2 * S) / TK +
           c1 * std::sqrt(S) * std::log(TK);
}
double Millero2010pK1Zero(double TK) { return -126.34048 + 6320.813 / TK + 19.568224 * std::log(TK); }
double Millero2010pK2Zero(double TK) { return -90.18333 + 5143.692 / TK + 14.613358 * std::log(TK); }

// The float sums pK0 + A (A near 80 for K1, 130 for K2) carry up to 1.5e-5 in pK.
constexpr double kMillero2010pKTolerance = 3e-5;

TEST(AcidConstants, Set14SeawaterScaleEqualsPublishedForm) {
    for (float TempC : {2.0f, 25.0f}) {
        const double TK = TempKOf(TempC);
        const Outputs o = Compute(ph_scale::kSeawater, 14, khso4::kDickson, 35.0f, TempC, 0.0f);
        const double pK1 =
            Millero2010pK(Millero2010pK1Zero(TK), 13.4038, 0.03206, -5.242e-05, -530.659, -5.821, -2.0664, 35.0, TK);
        const double pK2 =
            Millero2010pK(Millero2010pK2Zero(TK), 21.3728, 0.1218, -0.0003688, -788.289, -19.189, -3.374, 35.0, TK);
        EXPECT_NEAR(-std::log10(o.K[k::K1]), pK1, kMillero2010pKTolerance) << "t " << TempC;
        EXPECT_NEAR(-std::log10(o.K[k::K2]), pK2, kMillero2010pKTolerance) << "t " << TempC;
    }
}

TEST(AcidConstants, Set14TotalScaleCarriesSWStoTOTTwice) {
    const float TempK = TempKOf(25.0f);
    const Outputs o = Compute(ph_scale::kTotal, 14, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    const float SWStoTOT = SWStoTOTOf(o);
    // The set's own K1, K2 are already on the total scale ...
    const ci::CarbonicAcid total = ci::K1K2_Millero2010(ph_scale::kTotal, 35.0f, TempK);
    const double pK1 = Millero2010pK(Millero2010pK1Zero(TempK), 13.4051, 0.03185, -5.218e-05, -531.095, -5.7789,
                                     -2.0663, 35.0, TempK);
    EXPECT_NEAR(-std::log10(total.K1), pK1, kMillero2010pKTolerance);
    // ... and the final scale step multiplies them by SWStoTOT once more.
    EXPECT_EQ(o.K[k::K1], total.K1 * SWStoTOT);
    EXPECT_EQ(o.K[k::K2], total.K2 * SWStoTOT);
    EXPECT_NEAR(-std::log10(o.K[k::K1]), pK1 - std::log10(SWStoTOT), kMillero2010pKTolerance);
}

TEST(AcidConstants, Set14FreeScaleCarriesTheFactorTwice) {
    const float TempK = TempKOf(25.0f);
    const Outputs o = Compute(ph_scale::kFree, 14, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    const float FREEtoTOT = static_cast<float>(1.0 + o.T[t::TS] / o.K[k::KS]);
    const float factor = SWStoTOTOf(o) / FREEtoTOT;
    const ci::CarbonicAcid free = ci::K1K2_Millero2010(ph_scale::kFree, 35.0f, TempK);
    EXPECT_EQ(o.K[k::K1], free.K1 * factor);
    EXPECT_EQ(o.K[k::K2], free.K2 * factor);
}

TEST(AcidConstants, Set14NBSScaleIsZeroSalinityTimesFH) {
    const float TempK = TempKOf(25.0f);
    const Outputs o = Compute(ph_scale::kNBS, 14, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    const ci::CarbonicAcid zero = ci::K1K2_Millero2010(ph_scale::kNBS, 35.0f, TempK);
    EXPECT_EQ(zero.K1, ci::K1K2_Millero2010(ph_scale::kNBS, 0.0f, TempK).K1);
    EXPECT_EQ(zero.K2, ci::K1K2_Millero2010(7, 35.0f, TempK).K2);
    EXPECT_NEAR(-std::log10(zero.K1), Millero2010pK1Zero(TempK), 1e-6);
    EXPECT_NEAR(-std::log10(zero.K2), Millero2010pK2Zero(TempK), 1e-6);
    EXPECT_EQ(o.K[k::K1], zero.K1 * o.fH);
    EXPECT_EQ(o.K[k::K2], zero.K2 * o.fH);
}

// ---- Sets 1 and 13 at salinity 0 ----

TEST(AcidConstants, Sets1And13AtSalinityZeroShowNoConversion) {
    const float TempK = TempKOf(18.0f);
    const double TK = TempK, lnTK = LogTempKOf(18.0f);
    // Roy et al. (1993) at S = 0: lnK1 = 2.83655 - 2307.1266/T - 1.5529413 lnT
    const float lnK1Roy = static_cast<float>(2.83655 - 2307.1266 / TK - 1.5529413 * lnTK);
    const float K1Roy = static_cast<float>(std::exp(static_cast<double>(lnK1Roy)));
    // Lueker et al. (2000) at S = 0: log10K1 = -3633.866/T + 61.2172 - 9.6777 lnT
    const float log10K1Lueker = static_cast<float>(-3633.866 / TK + 61.2172 - 9.6777 * lnTK);
    const float K1Lueker = static_cast<float>(std::pow(10.0, static_cast<double>(log10K1Lueker)));
    struct Case {
        int whichKs;
        float K1;
    };
    for (const Case& c : {Case{1, K1Roy}, Case{13, K1Lueker}}) {
        for (int pHScale = 1; pHScale <= 3; ++pHScale) {
            const Outputs o = Compute(pHScale, c.whichKs, khso4::kDickson, 0.0f, 18.0f, 0.0f);
            EXPECT_EQ(o.K[k::K1], c.K1) << "set " << c.whichKs << " pHScale " << pHScale;
        }
    }
}

// ---- Every set at the reference sample ----

// pK1 and pK2 at S 35 (S 0 for set 8), t 25, 1 atm on the seawater scale, from an
// independent float32 re-computation of each set's formulas (sets 1 and 13
// through the surface SWStoTOT 0.97796).
struct SetPK {
    int whichKs;
    double pK1, pK2;
};
const SetPK kSetPKs[] = {
    {1, 5.846647, 8.915239},  {2, 5.850841, 8.925441},  {3, 5.850235, 8.941905},
    {4, 5.837228, 8.955397},  {5, 5.845719, 8.945436},  {6, 5.853379, 8.967607},
    {7, 5.848064, 8.962293},  {8, 6.351477, 10.329713}, {9, 5.835841, 8.960958},
    {12, 5.840144, 8.963631}, {13, 5.837492, 8.956272}, {14, 5.841265, 8.960896},
};

TEST(AcidConstants, EverySetAtTheReferenceSample) {
    for (const SetPK& s : kSetPKs) {
        const float Sal = s.whichKs == 8 ? 0.0f : 35.0f;
        const Outputs o = Compute(ph_scale::kSeawater, s.whichKs, khso4::kDickson, Sal, 25.0f, 0.0f);
        EXPECT_NEAR(-std::log10(o.K[k::K1]), s.pK1, 1e-6) << "set " << s.whichKs;
        EXPECT_NEAR(-std::log10(o.K[k::K2]), s.pK2, 1e-6) << "set " << s.whichKs;
    }
}

}  // namespace
}  // namespace brinora
