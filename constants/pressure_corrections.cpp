// Pressure corrections of the equilibrium constants, Millero (1995).
// deltaV [cm3/mol], Kappa [cm3/(mol bar)], lnKfac and Kfac are stored as float;
// t is the Celsius temperature.
#include "constants/pressure_corrections.h"

#include <cmath>

namespace brinora::constants_internal {
namespace {

// Partial molal volume change and compressibility change of one reaction.
struct VolumeChange {
    float deltaV = 0.0f;  // cm3/mol
    float Kappa = 0.0f;   // cm3/(mol bar)
};

// Boric acid, Millero (1979); also used for silicic acid.
VolumeChange BoricAcidVolume(double t) {
    return {static_cast<float>(-29.48 + 0.1622 * t - 0.002608 * t * t), -0.00284f};
}

bool IsSeawaterSet(int whichKs) {
    return (whichKs >= 1 && whichKs <= 5) || (whichKs >= 9 && whichKs <= 14);
}

// exp of a stored lnKfac, stored as float. At the surface lnKfac is 0 (of
// either sign), and exp(+0) and exp(-0) are exactly 1: no call needed.
float FactorFromLn(float lnKfac) {
    if (lnKfac == 0.0f) return 1.0f;
    return static_cast<float>(std::exp(static_cast<double>(lnKfac)));
}

// GEOSECS linear form: lnKfac = (a - b t) Pbar/RT.
float LinearPressureFactor(double a, double b, double t, float Pbar, float RT) {
    const float lnKfac = static_cast<float>((a - b * t) * Pbar / RT);
    return FactorFromLn(lnKfac);
}

float GeneralPressureFactor(const VolumeChange& v, float Pbar, float RT) {
    return PressureFactor(v.deltaV, v.Kappa, Pbar, RT);
}

}  // namespace

float PressureFactor(float deltaV, float Kappa, float Pbar, float RT) {
    // Millero (1995): ln(K(P)/K(0)) = (-deltaV + 0.5 Kappa P) P/RT
    const float lnKfac = static_cast<float>((-static_cast<double>(deltaV) + 0.5 * Kappa * Pbar) * Pbar / RT);
    return FactorFromLn(lnKfac);
}

PressureFactors PressureCorrectionFactors(int whichKs, float TempC, float Pbar, float RT) {
    const double t = TempC;
    PressureFactors f;

    // K1, K2 and KB by constants-set code.
    if (IsSeawaterSet(whichKs)) {
        // Millero (1995), carbonic acid in seawater
        f.K1 = GeneralPressureFactor({static_cast<float>(-25.5 + 0.1271 * t),
                                      static_cast<float>((-3.08 + 0.0877 * t) / 1000.0)},
                                     Pbar, RT);
        f.K2 = GeneralPressureFactor({static_cast<float>(-15.82 - 0.0219 * t),
                                      static_cast<float>((1.13 - 0.1475 * t) / 1000.0)},
                                     Pbar, RT);
        // Millero (1979), boric acid
        f.KB = GeneralPressureFactor(BoricAcidVolume(t), Pbar, RT);
    } else if (whichKs == 6 || whichKs == 7) {
        // GEOSECS linear forms (Culberson and Pytkowicz 1968)
        f.K1 = LinearPressureFactor(24.2, 0.085, t, Pbar, RT);
        f.K2 = LinearPressureFactor(16.4, 0.04, t, Pbar, RT);
        f.KB = LinearPressureFactor(27.5, 0.095, t, Pbar, RT);
    } else if (whichKs == 8) {
        // Millero (1983), carbonic acid in fresh water; KB is 0 and uncorrected
        f.K1 = GeneralPressureFactor({static_cast<float>(-30.54 + 0.1849 * t - 0.0023366 * t * t),
                                      static_cast<float>((-6.22 + 0.1368 * t - 0.001233 * t * t) / 1000.0)},
                                     Pbar, RT);
        f.K2 = GeneralPressureFactor({static_cast<float>(-29.81 + 0.115 * t - 0.001816 * t * t),
                                      static_cast<float>((-5.74 + 0.093 * t - 0.001896 * t * t) / 1000.0)},
                                     Pbar, RT);
    }

    // KW by constants-set code.
    if (whichKs >= 1 && whichKs <= 14 && whichKs != 8) {
        // Millero (1983), water in seawater
        f.KW = GeneralPressureFactor({static_cast<float>(-20.02 + 0.1119 * t - 0.001409 * t * t),
                                      static_cast<float>((-5.13 + 0.0794 * t) / 1000.0)},
                                     Pbar, RT);
    } else if (whichKs == 8) {
        // Millero (1983), pure water
        f.KW = GeneralPressureFactor({static_cast<float>(-25.6 + 0.2324 * t - 0.0036246 * t * t),
                                      static_cast<float>((-7.33 + 0.1368 * t - 0.001233 * t * t) / 1000.0)},
                                     Pbar, RT);
    }

    // KF, KS, KP1-3 and KSi for every code, Millero (1995).
    f.KF = GeneralPressureFactor({static_cast<float>(-9.78 - 0.009 * t - 0.000942 * t * t),
                                  static_cast<float>((-3.91 + 0.054 * t) / 1000.0)},
                                 Pbar, RT);
    f.KS = GeneralPressureFactor({static_cast<float>(-18.03 + 0.0466 * t + 0.000316 * t * t),
                                  static_cast<float>((-4.53 + 0.09 * t) / 1000.0)},
                                 Pbar, RT);
    f.KP1 = GeneralPressureFactor({static_cast<float>(-14.51 + 0.1211 * t - 0.000321 * t * t),
                                   static_cast<float>((-2.67 + 0.0427 * t) / 1000.0)},
                                  Pbar, RT);
    f.KP2 = GeneralPressureFactor({static_cast<float>(-23.12 + 0.1758 * t - 0.002647 * t * t),
                                   static_cast<float>((-5.15 + 0.09 * t) / 1000.0)},
                                  Pbar, RT);
    f.KP3 = GeneralPressureFactor({static_cast<float>(-26.57 + 0.202 * t - 0.003042 * t * t),
                                   static_cast<float>((-4.08 + 0.0714 * t) / 1000.0)},
                                  Pbar, RT);
    // Silicic acid shares the boric-acid values.
    f.KSi = GeneralPressureFactor(BoricAcidVolume(t), Pbar, RT);
    return f;
}

}  // namespace brinora::constants_internal
