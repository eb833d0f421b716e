// CO2_Constants: the routine's steps, salinity totals, pH-scale factors and
// the behaviour for every option code.
#include "constants/co2_constants.h"

#include <gtest/gtest.h>

#include <cmath>

#include "constants/acid_constants.h"
#include "constants/pressure_corrections.h"
#include "constants/seawater_terms.h"
#include "tests/constants/constants_support.h"

namespace brinora {
namespace {

using namespace brinora::constants_test;
namespace ci = brinora::constants_internal;

// Sets 6 and 7 write a diagnostic line on every call; keep the test log quiet.
const log::ScopedSink kQuietLog{[](std::string_view) {}};

// ---- Hand-derived values at S = 35, t = 25 degC, P = 0 ----

TEST(CO2Constants, SalinityTotalsAtS35ByHand) {
    const Outputs o = Compute(ph_scale::kTotal, 1, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    // S/1.80655 = 35/1.80655 = 19.37394481
    // TB = (0.000232/10.811) * 19.37394481 = 2.145962446e-05 * 19.37394481 = 4.157575799e-04
    EXPECT_FLOAT_EQ(o.T[t::TB], 4.157575799e-04f);
    // TF = (0.000067/18.998) * 19.37394481 = 3.526687020e-06 * 19.37394481 = 6.832583969e-05
    EXPECT_FLOAT_EQ(o.T[t::TF], 6.832583969e-05f);
    // TS = (0.14/96.062) * 19.37394481 = 1.457392101e-03 * 19.37394481 = 2.823543413e-02
    EXPECT_FLOAT_EQ(o.T[t::TS], 2.823543413e-02f);
    // GEOSECS borate of sets 6 and 7: 0.0004106 * 35/35 = 0.0004106
    EXPECT_FLOAT_EQ(Compute(ph_scale::kTotal, 6, khso4::kDickson, 35.0f, 25.0f, 0.0f).T[t::TB], 0.0004106f);
}

TEST(CO2Constants, IonicStrengthAtS35ByHand) {
    // IonS = 19.924*35/(1000 - 1.005*35) = 697.34/964.825 = 0.7227631954
    EXPECT_FLOAT_EQ(ci::IonicStrength(35.0f), 0.7227631954f);
    EXPECT_EQ(ci::IonicStrength(0.0f), 0.0f);
}

TEST(CO2Constants, ActivityCoefficientHForSet1ByHand) {
    const Outputs o = Compute(ph_scale::kTotal, 1, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    // TempK = float(298.15) = 298.1499939
    // temperature part: 1.2948 - 0.002036*298.1499939 = 1.2948 - 0.6070333876 = 0.6877666124
    // salinity part: (0.0004607 - 0.000001475*298.1499939)*35^2 = 2.092875900e-05*1225 = 0.02563772978
    // fH = 0.6877666124 + 0.02563772978 = 0.7134043422 (0.7134043574 after the float steps)
    EXPECT_NEAR(o.fH, 0.7134043422f, 2e-8f);
    EXPECT_EQ(o.fH, 0.713404357f);
}

TEST(CO2Constants, SolubilityK0AtS35ByHand) {
    // TempK/100 = 2.981499910 (float); 93.4517/2.9815 = 31.34385471;
    // 23.3585*ln(2.9815) = 25.51744439; 35*(0.023517 - 0.023656*2.9815 + 0.0047036*2.9815^2) = -0.1820508965
    // lnK0 = -60.2409 + 31.34385471 + 25.51744439 - 0.1820508965 = -3.561651800; K0 = 0.02839189089
    const Outputs o = Compute(ph_scale::kTotal, 1, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    EXPECT_FLOAT_EQ(o.K0, 0.02839189089f);
}

// ---- Reference outputs: an independent float32 re-computation of every step ----

struct ReferenceCase {
    int pHScale, whichKs, whichKSO4;
    float Sal, TempC, Pdbar;
    // K0, K1..KSi, TB, TF, TS, fH, FugFac, VPFac
    float expected[17];
};

const ReferenceCase kReferenceCases[] = {
    {1, 1, 1, 35.0f, 25.0f, 0.0f,
     {0.0283918902f, 1.39210772e-06f, 1.18872512e-09f, 6.01983537e-14f, 2.52664534e-09f, 0.00236550136f,
      0.1003021f, 0.0242652483f, 1.08410859e-06f, 1.61250402e-09f, 4.10251805e-10f, 0.00041575759f,
      6.83258404e-05f, 0.0282354336f, 0.713404357f, 0.996810436f, 0.969344735f}},
    {2, 1, 1, 35.0f, 25.0f, 0.0f,
     {0.0283918902f, 1.42348495e-06f, 1.21551824e-09f, 6.15551853e-14f, 2.58359445e-09f, 0.00236550136f,
      0.1003021f, 0.0248121731f, 1.10854376e-06f, 1.64884895e-09f, 4.1949863e-10f, 0.00041575759f,
      6.83258404e-05f, 0.0282354336f, 0.713404357f, 0.996810436f, 0.969344735f}},
    {1, 13, 2, 33.5f, 4.25f, 3000.0f,
     {0.0540410578f, 1.18310606e-06f, 5.79076176e-10f, 9.87239601e-15f, 1.98911398e-09f, 0.00386971724f,
      0.170436934f, 0.0295083858f, 9.26905784e-07f, 7.39481143e-10f, 2.40364006e-10f, 0.00039793941f,
      6.53975876e-05f, 0.0270253439f, 0.787848771f, 0.995848894f, 0.991986275f}},
    {3, 12, 1, 20.0f, 10.0f, 500.0f,
     {0.0478350036f, 8.10759047e-07f, 3.9549386e-10f, 1.00910864e-14f, 1.25013067e-09f, 0.00235377788f,
      0.138718203f, 0.0199794546f, 5.70564339e-07f, 5.23852683e-10f, 1.85407911e-10f, 0.000237575761f,
      3.90433379e-05f, 0.016134534f, 0.735528111f, 0.996150136f, 0.988025308f}},
    {4, 7, 1, 35.0f, 2.0f, 4000.0f,
     {0.0582235232f, 1.014801e-06f, 4.93908026e-10f, 7.31454285e-15f, 1.89442084e-09f, 0.00432715425f,
      0.351105869f, 0.0201799143f, 8.9364903e-07f, 4.44614651e-10f, 6.59503674e-10f, 0.000410600012f,
      6.83258404e-05f, 0.0282354336f, 0.793347061f, 1.0f, 0.993172288f}},
    {1, 14, 1, 38.1f, 28.7f, 150.0f,
     {0.025541421f, 1.57508191e-06f, 1.30239919e-09f, 8.88683793e-14f, 2.94552427e-09f, 0.00235659559f,
      0.09462405f, 0.0246507358f, 1.20248831e-06f, 1.89913818e-09f, 4.85410712e-10f, 0.000452581793f,
      7.43775527e-05f, 0.0307362862f, 0.702691555f, 0.996949852f, 0.961960554f}},
    {2, 8, 1, 0.0f, 15.0f, 1000.0f,
     {0.0455599055f, 4.27808686e-07f, 4.18144824e-11f, 4.97569049e-15f, 0.0f, 0.000841163681f,
      0.0145926811f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.996388972f, 0.98318702f}},
};

TEST(CO2Constants, MatchesIndependentFloatRecomputation) {
    static const char* names[] = {"K0", "K1",  "K2",  "KW",  "KB", "KF", "KS", "KP1",    "KP2",
                                  "KP3", "KSi", "TB", "TF", "TS", "fH", "FugFac", "VPFac"};
    for (std::size_t c = 0; c < std::size(kReferenceCases); ++c) {
        const ReferenceCase& r = kReferenceCases[c];
        const Outputs o = Compute(r.pHScale, r.whichKs, r.whichKSO4, r.Sal, r.TempC, r.Pdbar, 0.5f);
        const float got[17] = {o.K0,     o.K[1],   o.K[2],   o.K[3],   o.K[4],   o.K[5],
                               o.K[6],   o.K[7],   o.K[8],   o.K[9],   o.K[10],  o.T[t::TB],
                               o.T[t::TF], o.T[t::TS], o.fH, o.FugFac, o.VPFac};
        for (int i = 0; i < 17; ++i) {
            EXPECT_EQ(got[i], r.expected[i]) << "case " << c << " (pHScale " << r.pHScale << ", set "
                                             << r.whichKs << "): " << names[i];
        }
    }
}

// ---- Surface call on the seawater scale ----

TEST(CO2Constants, SurfaceSeawaterScaleEqualsSetConstants) {
    const float Sal = 35.0f, TempC = 25.0f;
    const float TempK = static_cast<float>(TempC + 273.15);
    const float RT = 83.1451f * TempK;
    for (int whichKs = 1; whichKs <= 14; ++whichKs) {
        SCOPED_TRACE(whichKs);
        const Outputs o = Compute(ph_scale::kSeawater, whichKs, khso4::kDickson, Sal, TempC, 0.0f);
        // No pressure factor differs from 1 at the surface.
        const ci::PressureFactors f = ci::PressureCorrectionFactors(whichKs, TempC, 0.0f, RT);
        for (float factor : {f.K1, f.K2, f.KW, f.KB, f.KF, f.KS, f.KP1, f.KP2, f.KP3, f.KSi}) {
            EXPECT_EQ(factor, 1.0f);
        }
        // The outputs are the set's seawater-scale constants as stored.
        ci::AcidInputs in;
        in.whichKs = whichKs;
        in.pHScale = ph_scale::kSeawater;
        in.Sal = Sal;
        in.TempC = TempC;
        in.TempK = TempK;
        in.sqrSal = static_cast<float>(std::sqrt(35.0));
        in.logTempK = static_cast<float>(std::log(static_cast<double>(TempK)));
        in.IonS = ci::IonicStrength(Sal);
        in.SWStoTOT = SWStoTOTOf(o);  // at the surface the step-8 and step-13 factors agree
        in.fH = o.fH;
        const ci::AcidConstants a = ci::AcidConstantsForSet(in);
        EXPECT_EQ(o.K[k::K1], a.K1);
        EXPECT_EQ(o.K[k::K2], a.K2);
        EXPECT_EQ(o.K[k::KW], a.KW);
        EXPECT_EQ(o.K[k::KB], a.KB);
        EXPECT_EQ(o.K[k::KP1], a.KP1);
        EXPECT_EQ(o.K[k::KP2], a.KP2);
        EXPECT_EQ(o.K[k::KP3], a.KP3);
        EXPECT_EQ(o.K[k::KSi], a.KSi);
    }
}

// ---- Total against seawater scale: one factor SWStoTOT ----

TEST(CO2Constants, TotalAndSeawaterScaleDifferBySWStoTOT) {
    const Sample samples[] = {{35.0f, 25.0f, 0.0f}, {34.2f, 2.5f, 4000.0f}, {10.0f, 18.0f, 100.0f}};
    for (int whichKs = 1; whichKs <= 13; ++whichKs) {
        for (const Sample& s : samples) {
            SCOPED_TRACE(::testing::Message() << "set " << whichKs << " S " << s.Sal << " P " << s.Pdbar);
            const Outputs tot = Compute(ph_scale::kTotal, whichKs, khso4::kDickson, s.Sal, s.TempC, s.Pdbar);
            const Outputs sws = Compute(ph_scale::kSeawater, whichKs, khso4::kDickson, s.Sal, s.TempC, s.Pdbar);
            const float SWStoTOT = SWStoTOTOf(tot);  // step-13 factor, from the corrected KS, KF
            EXPECT_NE(SWStoTOT, 1.0f);
            for (int i : kScaleDependent) {
                EXPECT_EQ(tot.K[i], sws.K[i] * SWStoTOT) << ConstantName(i);
            }
            EXPECT_EQ(tot.K[k::KF], sws.K[k::KF]);
            EXPECT_EQ(tot.K[k::KS], sws.K[k::KS]);
        }
    }
}

TEST(CO2Constants, FreeScaleDividesByFREEtoTOT) {
    const Outputs fre = Compute(ph_scale::kFree, 4, khso4::kDickson, 35.0f, 25.0f, 1000.0f);
    const Outputs sws = Compute(ph_scale::kSeawater, 4, khso4::kDickson, 35.0f, 25.0f, 1000.0f);
    const float FREEtoTOT = static_cast<float>(1.0 + fre.T[t::TS] / fre.K[k::KS]);
    const float factor = SWStoTOTOf(fre) / FREEtoTOT;
    for (int i : kScaleDependent) {
        EXPECT_EQ(fre.K[i], sws.K[i] * factor) << ConstantName(i);
    }
}

TEST(CO2Constants, NBSScaleWithSet8EqualsSeawaterScale) {
    const Outputs nbs = Compute(ph_scale::kNBS, 8, khso4::kDickson, 35.0f, 12.0f, 500.0f, 0.3f);
    const Outputs sws = Compute(ph_scale::kSeawater, 8, khso4::kDickson, 35.0f, 12.0f, 500.0f);
    EXPECT_EQ(nbs.fH, 1.0f);
    for (int i = 1; i <= 10; ++i) {
        EXPECT_EQ(Bits(nbs.K[i]), Bits(sws.K[i])) << ConstantName(i);
    }
}

TEST(CO2Constants, NBSScaleMultipliesByFH) {
    const Outputs nbs = Compute(ph_scale::kNBS, 1, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    const Outputs sws = Compute(ph_scale::kSeawater, 1, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    for (int i : kScaleDependent) {
        EXPECT_EQ(nbs.K[i], sws.K[i] * 0.713404357f) << ConstantName(i);
    }
}

// ---- Pressure ----

TEST(CO2Constants, PressureLeavesTotalsAndK0AndChangesEveryConstant) {
    for (int whichKs : {1, 2, 7, 9, 12, 13, 14}) {
        SCOPED_TRACE(whichKs);
        const Outputs surface = Compute(ph_scale::kTotal, whichKs, khso4::kDickson, 35.0f, 25.0f, 0.0f);
        const Outputs deep = Compute(ph_scale::kTotal, whichKs, khso4::kDickson, 35.0f, 25.0f, 100.0f);
        EXPECT_EQ(deep.T[t::TB], surface.T[t::TB]);
        EXPECT_EQ(deep.T[t::TF], surface.T[t::TF]);
        EXPECT_EQ(deep.T[t::TS], surface.T[t::TS]);
        EXPECT_EQ(deep.K0, surface.K0);
        for (int i = 1; i <= 10; ++i) {
            ASSERT_NE(surface.K[i], 0.0f) << ConstantName(i);
            EXPECT_NE(deep.K[i], surface.K[i]) << ConstantName(i);
        }
    }
}

// ---- Fugacity and vapour-pressure factors ----

TEST(CO2Constants, FugacityFactorIsExactlyOneForSets6And7) {
    for (int whichKs : {6, 7}) {
        for (float TempC : {-2.0f, 0.0f, 10.0f, 25.0f, 40.0f}) {
            const Outputs o = Compute(ph_scale::kTotal, whichKs, khso4::kDickson, 35.0f, TempC, 0.0f);
            EXPECT_EQ(o.FugFac, 1.0f) << "set " << whichKs << " t " << TempC;
        }
    }
    // Every other set keeps the Weiss (1974) factor.
    EXPECT_EQ(Compute(ph_scale::kTotal, 5, khso4::kDickson, 35.0f, 25.0f, 0.0f).FugFac, 0.996810436f);
}

TEST(CO2Constants, VapourPressureFactorAtS35T25ByHand) {
    // Weiss and Price (1980): ln VPWP = 24.4543 - 67.4509*(100/298.15) - 4.8489*ln(2.9815)
    //   = 24.4543 - 22.6231432 - 5.2970669 = -3.4659101; VPWP = 0.0312445575 atm
    // VPCorrWP = exp(-0.000544*35) = 0.9811401159; VPSWWP = 0.0306552888; VPFac = 0.9693447112
    const Outputs o = Compute(ph_scale::kTotal, 1, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    EXPECT_FLOAT_EQ(o.VPFac, 0.9693447112f);
}

// ---- Bad codes and salinity zero ----

TEST(CO2Constants, PHScaleOutsideOneToFourGivesZeros) {
    const Outputs sws = Compute(ph_scale::kSeawater, 1, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    for (int pHScale : {0, 5, -1}) {
        const Outputs o = Compute(pHScale, 1, khso4::kDickson, 35.0f, 25.0f, 0.0f);
        for (int i : kScaleDependent) {
            EXPECT_EQ(o.K[i], 0.0f) << "pHScale " << pHScale << " " << ConstantName(i);
        }
        EXPECT_EQ(o.K[k::KF], sws.K[k::KF]);
        EXPECT_EQ(o.K[k::KS], sws.K[k::KS]);
    }
}

TEST(CO2Constants, KSO4CodeOutsideOneToTwoGivesKSZeroAndNaN) {
    for (int whichKSO4 : {0, 3}) {
        const Outputs o = Compute(ph_scale::kTotal, 1, whichKSO4, 35.0f, 25.0f, 100.0f);
        EXPECT_EQ(o.K[k::KS], 0.0f);
        EXPECT_EQ(o.K[k::KF], Compute(ph_scale::kTotal, 1, khso4::kDickson, 35.0f, 25.0f, 100.0f).K[k::KF]);
        for (int i : kScaleDependent) {
            EXPECT_TRUE(std::isnan(o.K[i])) << "whichKSO4 " << whichKSO4 << " " << ConstantName(i);
        }
    }
    // TS/KS = 0/0 at salinity 0: not a number as well.
    const Outputs fresh = Compute(ph_scale::kTotal, 1, 3, 0.0f, 25.0f, 0.0f);
    EXPECT_EQ(fresh.K[k::KS], 0.0f);
    EXPECT_TRUE(std::isnan(fresh.K[k::K1]));
    EXPECT_TRUE(std::isnan(ci::SWStoTOTFactor(0.0f, 0.0f, 0.0f, 1.0f)));
}

TEST(CO2Constants, KhooBisulfateConstantByHand) {
    // Khoo et al. (1977) at S 35, t 25: pKS = 647.59/298.15 - 6.3451 + 0.019085*298.15 - 0.5208*sqrt(0.7227632)
    //   = 2.1720275 - 6.3451 + 5.6901926 - 0.4427606 = 1.0743596;
    // KS = 10^-1.0743596 * (1 - 0.001005*35) = 0.08426368 * 0.964825 = 0.08129971
    const Outputs o = Compute(ph_scale::kTotal, 1, khso4::kKhoo, 35.0f, 25.0f, 0.0f);
    EXPECT_NEAR(o.K[k::KS], 0.08129971f, 2e-8f);
}

TEST(CO2Constants, SalinityZeroGivesFactorsOfExactlyOne) {
    for (int whichKs : {1, 4, 13}) {
        const Outputs tot = Compute(ph_scale::kTotal, whichKs, khso4::kDickson, 0.0f, 20.0f, 300.0f);
        const Outputs sws = Compute(ph_scale::kSeawater, whichKs, khso4::kDickson, 0.0f, 20.0f, 300.0f);
        const Outputs fre = Compute(ph_scale::kFree, whichKs, khso4::kDickson, 0.0f, 20.0f, 300.0f);
        EXPECT_EQ(tot.T[t::TB], 0.0f);
        EXPECT_EQ(tot.T[t::TF], 0.0f);
        EXPECT_EQ(tot.T[t::TS], 0.0f);
        EXPECT_EQ(SWStoTOTOf(tot), 1.0f);
        for (int i : kScaleDependent) {
            EXPECT_EQ(tot.K[i], sws.K[i]) << "set " << whichKs << " " << ConstantName(i);
            EXPECT_EQ(fre.K[i], sws.K[i]) << "set " << whichKs << " " << ConstantName(i);
        }
    }
    EXPECT_EQ(ci::SWStoTOTFactor(0.0f, 0.1f, 0.0f, 0.002f), 1.0f);
    EXPECT_EQ(ci::FREEtoTOTFactor(0.0f, 0.1f), 1.0f);
}

TEST(CO2Constants, UnknownSetGivesZerosAndLeavesFH) {
    const Outputs set1 = Compute(ph_scale::kTotal, 1, khso4::kDickson, 35.0f, 25.0f, 1000.0f);
    for (int whichKs : {0, 15, -3}) {
        SCOPED_TRACE(whichKs);
        const Outputs o = Compute(ph_scale::kTotal, whichKs, khso4::kDickson, 35.0f, 25.0f, 1000.0f, 0.625f);
        EXPECT_EQ(o.fH, 0.625f);
        EXPECT_EQ(o.T[t::TB], 0.0f);
        for (int i : kScaleDependent) {
            EXPECT_EQ(o.K[i], 0.0f) << ConstantName(i);
        }
        // The set-independent outputs are still computed.
        EXPECT_EQ(o.T[t::TF], set1.T[t::TF]);
        EXPECT_EQ(o.T[t::TS], set1.T[t::TS]);
        EXPECT_EQ(o.K[k::KS], set1.K[k::KS]);
        EXPECT_EQ(o.K[k::KF], set1.K[k::KF]);
        EXPECT_EQ(o.K0, set1.K0);
        EXPECT_EQ(o.FugFac, set1.FugFac);
        EXPECT_EQ(o.VPFac, set1.VPFac);
    }
    // On the NBS scale the caller's fH is the factor; the constants are 0 anyway.
    const Outputs nbs = Compute(ph_scale::kNBS, 0, khso4::kDickson, 35.0f, 25.0f, 0.0f, 0.625f);
    EXPECT_EQ(nbs.fH, 0.625f);
    EXPECT_EQ(nbs.K[k::K1], 0.0f);
}

// ---- No state between calls ----

TEST(CO2Constants, TwoCallsInARowLeaveNoTrace) {
    Outputs reused;
    reused.K[0] = -7.0f;
    reused.T[0] = -8.0f;
    reused.T[t::TP] = 2.0e-6f;
    reused.T[t::TSi] = 1.5e-5f;
    CO2_Constants(ph_scale::kNBS, 7, khso4::kKhoo, 30.0f, 5.0f, 500.0f, reused.K0, reused.K, reused.T,
                  reused.fH, reused.FugFac, reused.VPFac);
    CO2_Constants(ph_scale::kTotal, 1, khso4::kDickson, 35.0f, 25.0f, 0.0f, reused.K0, reused.K, reused.T,
                  reused.fH, reused.FugFac, reused.VPFac);
    const Outputs fresh = Compute(ph_scale::kTotal, 1, khso4::kDickson, 35.0f, 25.0f, 0.0f);
    for (int i = 1; i <= 10; ++i) {
        EXPECT_EQ(Bits(reused.K[i]), Bits(fresh.K[i])) << ConstantName(i);
    }
    for (int i = t::TB; i <= t::TS; ++i) {
        EXPECT_EQ(reused.T[i], fresh.T[i]);
    }
    EXPECT_EQ(reused.K0, fresh.K0);
    EXPECT_EQ(reused.fH, fresh.fH);
    EXPECT_EQ(reused.FugFac, fresh.FugFac);
    EXPECT_EQ(reused.VPFac, fresh.VPFac);
    // Entry 0 of both arrays and the driver's TP and TSi are untouched.
    EXPECT_EQ(reused.K[0], -7.0f);
    EXPECT_EQ(reused.T[0], -8.0f);
    EXPECT_EQ(reused.T[t::TP], 2.0e-6f);
    EXPECT_EQ(reused.T[t::TSi], 1.5e-5f);
}

TEST(CO2Constants, OnlyFHCarriesOverForUnknownSet) {
    Outputs o;
    CO2_Constants(ph_scale::kTotal, 7, khso4::kDickson, 35.0f, 25.0f, 0.0f, o.K0, o.K, o.T, o.fH, o.FugFac,
                  o.VPFac);
    const float fHSet7 = o.fH;
    CO2_Constants(ph_scale::kNBS, 99, khso4::kDickson, 35.0f, 25.0f, 0.0f, o.K0, o.K, o.T, o.fH, o.FugFac,
                  o.VPFac);
    EXPECT_EQ(o.fH, fHSet7);
    EXPECT_EQ(o.fH, 0.704728067f);
    EXPECT_EQ(o.T[t::TB], 0.0f);
    EXPECT_EQ(o.K[k::K1], 0.0f);
    EXPECT_EQ(o.K[k::KP1], 0.0f);
    EXPECT_EQ(o.FugFac, 0.996810436f);
}

}  // namespace
}  // namespace brinora
