// The constants routine in double precision on any number type. Each formula
// is the one of the single-precision routine (constants/), term for term, with
// the same published source; nothing is rounded to float on the way. Numeric
// coefficients that the single-precision routine holds as floats (the gas
// constant, one atmosphere, the boric-acid compressibility, the fixed GEOSECS
// constants, the Millero (2010) salinity coefficients) keep those float values.
#include "uncertainty/constants_ad.h"

#include <cmath>
#include <numbers>
#include <type_traits>

#include "constants/process_values.h"

namespace brinora::uncertainty {
namespace {

using std::exp;
using std::log;
using std::pow;
using std::sqrt;
using ad::exp;
using ad::log;
using ad::pow;
using ad::sqrt;

constexpr double kLn10 = std::numbers::ln10;
constexpr double kGasConstant = static_cast<double>(83.1451f);   // mL bar/(mol K)
constexpr double kOneAtmosphere = static_cast<double>(1.01325f);  // bar
constexpr double kCelsiusToKelvin = 273.15;                     // K
constexpr double kH2OToSWPerSal = 0.001005;                     // 1/salinity

bool IsSeawaterSet(int whichKs) { return (whichKs >= 1 && whichKs <= 5) || (whichKs >= 9 && whichKs <= 14); }

template <class R>
R TenToMinus(const R& pK) {
    return pow(10.0, -pK);
}

// ---- Set-independent terms (Weiss 1974, Dickson 1990, Khoo et al. 1977,
// Dickson and Riley 1979, Takahashi et al. 1982, Weiss and Price 1980) ----

template <class R>
R K0Weiss1974(const R& S, const R& TK) {
    const R T100 = TK / 100.0;
    return exp(-60.2409 + 93.4517 / T100 + 23.3585 * log(T100) +
               S * (0.023517 - 0.023656 * T100 + 0.0047036 * T100 * T100));
}

template <class R>
R KSDickson1990(const R& S, const R& TK, const R& lnTK, const R& I) {
    const R sqrtI = sqrt(I);
    R lnKS = -4276.1 / TK + 141.328 - 23.093 * lnTK;
    lnKS += (-13856.0 / TK + 324.57 - 47.986 * lnTK) * sqrtI;
    lnKS += (35474.0 / TK - 771.54 + 114.723 * lnTK) * I;
    lnKS -= (2698.0 / TK) * sqrtI * I;
    lnKS += (1776.0 / TK) * I * I;
    return exp(lnKS) * (1.0 - kH2OToSWPerSal * S);
}

template <class R>
R KSKhoo1977(const R& S, const R& TK, const R& I) {
    const R pKS = 647.59 / TK - 6.3451 + 0.019085 * TK - 0.5208 * sqrt(I);
    return TenToMinus(pKS) * (1.0 - kH2OToSWPerSal * S);
}

template <class R>
R KFDicksonRiley1979(const R& S, const R& TK, const R& I) {
    return exp(1590.2 / TK - 12.641 + 1.525 * sqrt(I)) * (1.0 - kH2OToSWPerSal * S);
}

// ---- Acid constants of the sets (seawater scale, surface) ----

template <class R>
struct Acids {
    R K1 = 0.0, K2 = 0.0, KW = 0.0, KB = 0.0, KP1 = 0.0, KP2 = 0.0, KP3 = 0.0, KSi = 0.0;
};

// Millero (2010) salinity coefficients (held as floats), one row per pH scale.
struct Millero2010Row {
    float a1, a2, a3, b1, b2, c1, a4, a5, a6, b3, b4, c2;
};
constexpr Millero2010Row kMillero2010[4] = {
    {13.4051f, 0.03185f, -5.218e-05f, -531.095f, -5.7789f, -2.0663f, 21.5724f, 0.1212f, -0.0003714f, -798.292f,
     -18.951f, -3.403f},
    {13.4038f, 0.03206f, -5.242e-05f, -530.659f, -5.821f, -2.0664f, 21.3728f, 0.1218f, -0.0003688f, -788.289f,
     -19.189f, -3.374f},
    {5.09247f, 0.05574f, -9.279e-05f, -189.879f, -11.3108f, -0.808f, 11.0637f, 0.1379f, -0.0003788f, -366.178f,
     -23.288f, -1.81f},
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
};

template <class R>
void CarbonicAcid(int code, int pHScale, const R& S, const R& sqS, const R& TK, const R& lnTK,
                  const R& SWStoTOT, const R& fH, Acids<R>& a) {
    switch (code) {
        case 1: {  // Roy et al. (1993), total scale, mol/kg-H2O
            const R lnK1 = 2.83655 - 2307.1266 / TK - 1.5529413 * lnTK + (-0.20760841 - 4.0484 / TK) * sqS +
                           0.08468345 * S - 0.00654208 * sqS * S;
            const R lnK2 = -9.226508 - 3351.6106 / TK - 0.2005743 * lnTK + (-0.106901773 - 23.9722 / TK) * sqS +
                           0.1130822 * S - 0.00846934 * sqS * S;
            const R toSW = (1.0 - kH2OToSWPerSal * S) / SWStoTOT;
            a.K1 = exp(lnK1) * toSW;
            a.K2 = exp(lnK2) * toSW;
            break;
        }
        case 2:  // Goyet and Poisson (1989)
            a.K1 = TenToMinus(812.27 / TK + 3.356 - 0.00171 * S * lnTK + 0.000091 * S * S);
            a.K2 = TenToMinus(1450.87 / TK + 4.604 - 0.00385 * S * lnTK + 0.000182 * S * S);
            break;
        case 3:  // Hansson (1973) refit by Dickson and Millero (1987)
            a.K1 = TenToMinus(851.4 / TK + 3.237 - 0.0106 * S + 0.000105 * S * S);
            a.K2 = TenToMinus(-3885.4 / TK + 125.844 - 18.141 * lnTK - 0.0192 * S + 0.000132 * S * S);
            break;
        case 4:  // Mehrbach et al. (1973) refit by Dickson and Millero (1987)
            a.K1 = TenToMinus(3670.7 / TK - 62.008 + 9.7944 * lnTK - 0.0118 * S + 0.000116 * S * S);
            a.K2 = TenToMinus(1394.7 / TK + 4.777 - 0.0184 * S + 0.000118 * S * S);
            break;
        case 5:  // Hansson and Mehrbach refit by Dickson and Millero (1987)
            a.K1 = TenToMinus(845.0 / TK + 3.248 - 0.0098 * S + 0.000087 * S * S);
            a.K2 = TenToMinus(1377.3 / TK + 4.824 - 0.0185 * S + 0.000122 * S * S);
            break;
        case 6:
        case 7: {  // GEOSECS (Mehrbach et al. 1973 fitted by Takahashi et al. 1982), NBS scale
            const R log10TK = lnTK / kLn10;
            const R log10S = log(S) / kLn10;
            const R log10K1 = 13.7201 - 0.031334 * TK - 3235.76 / TK - 1.3e-05 * S * TK + 0.1032 * sqS;
            const R log10K2 = -5371.9645 - 1.671221 * TK + 128375.28 / TK + 2194.3055 * log10TK - 0.22913 * S -
                              18.3802 * log10S + 0.00080944 * S * TK + 5617.11 * log10S / TK - 2.136 * S / TK;
            a.K1 = pow(10.0, log10K1) / fH;
            a.K2 = pow(10.0, log10K2) / fH;
            break;
        }
        case 8:  // Millero (1979), pure water
            a.K1 = exp(290.9097 - 14554.21 / TK - 45.0575 * lnTK);
            a.K2 = exp(207.6548 - 11843.79 / TK - 33.6485 * lnTK);
            break;
        case 9:
        case 10:
        case 11: {  // Millero et al. (2002); the pK2 corrections of sets 10 and 11 for a
                    // measured fCO2 and TCO2 are zero, as no measured value is ever given

            const R pK1 = -43.6977 - 0.0129037 * S + 0.0001364 * S * S + 2885.378 / TK + 7.045159 * lnTK;
            const R pK2 = -452.094 + 13.142162 * S - 0.000801 * S * S + 21263.61 / TK + 68.483143 * lnTK +
                    (-581.4428 + 0.259601 * S) * S / TK - 1.967035 * S * lnTK;
            a.K1 = TenToMinus(pK1);
            a.K2 = TenToMinus(pK2);
            break;
        }
        case 12: {  // Millero et al. (2006)
            const R pK1 = -126.34048 + 6320.813 / TK + 19.568224 * lnTK + 13.4191 * sqS + 0.0331 * S -
                          5.33e-05 * S * S - (530.123 / TK + 2.0695 * lnTK) * sqS - 6.103 * S / TK;
            const R pK2 = -90.18333 + 5143.692 / TK + 14.613358 * lnTK + 21.0894 * sqS + 0.1248 * S -
                          0.0003687 * S * S - (772.483 / TK + 3.3336 * lnTK) * sqS - 20.051 * S / TK;
            a.K1 = TenToMinus(pK1);
            a.K2 = TenToMinus(pK2);
            break;
        }
        case 13: {  // Lueker et al. (2000), total scale
            const R log10K1 = -3633.866 / TK + 61.2172 - 9.6777 * lnTK + 0.011555 * S - 0.0001152 * S * S;
            const R log10K2 = -471.78 / TK - 25.929 + 3.16967 * lnTK + 0.01781 * S - 0.0001122 * S * S;
            a.K1 = pow(10.0, log10K1) / SWStoTOT;
            a.K2 = pow(10.0, log10K2) / SWStoTOT;
            break;
        }
        case 14: {  // Millero (2010), on the requested scale (zero-salinity terms for NBS)
            const Millero2010Row& c = kMillero2010[pHScale >= 1 && pHScale <= 3 ? pHScale - 1 : 3];
            const R pK01 = -126.34048 + 6320.813 / TK + 19.568224 * lnTK;
            const R pK02 = -90.18333 + 5143.692 / TK + 14.613358 * lnTK;
            const R pK1 = pK01 + (double(c.a1) * sqS + double(c.a2) * S + double(c.a3) * S * S) +
                          (double(c.b1) * sqS + double(c.b2) * S) / TK + double(c.c1) * sqS * lnTK;
            const R pK2 = pK02 + (double(c.a4) * sqS + double(c.a5) * S + double(c.a6) * S * S) +
                          (double(c.b3) * sqS + double(c.b4) * S) / TK + double(c.c2) * sqS * lnTK;
            a.K1 = TenToMinus(pK1);
            a.K2 = TenToMinus(pK2);
            break;
        }
        default:
            break;
    }
}

template <class R>
Acids<R> AcidConstants(int code, int pHScale, const R& S, const R& sqS, const R& TK, const R& TempC,
                       const R& lnTK, const R& I, const R& SWStoTOT, const R& fH) {
    Acids<R> a;
    if (IsSeawaterSet(code)) {
        // KB, Dickson (1990), total scale
        const R lnKB = (-8966.9 - 2890.53 * sqS - 77.942 * S + 1.728 * sqS * S - 0.0996 * S * S) / TK + 148.0248 +
                       137.1942 * sqS + 1.62142 * S + (-24.4344 - 25.085 * sqS - 0.2474 * S) * lnTK +
                       0.053105 * sqS * TK;
        a.KB = exp(lnKB) / SWStoTOT;
        // KW, Millero (1995)
        a.KW = exp(148.9802 - 13847.26 / TK - 23.6521 * lnTK + (-5.977 + 118.67 / TK + 1.0495 * lnTK) * sqS -
                   0.01615 * S);
        // KP1-3, KSi, Yao and Millero (1995)
        a.KP1 = exp(-4576.752 / TK + 115.54 - 18.453 * lnTK + (-106.736 / TK + 0.69171) * sqS +
                    (-0.65643 / TK - 0.01844) * S);
        a.KP2 = exp(-8814.715 / TK + 172.1033 - 27.927 * lnTK + (-160.34 / TK + 1.3566) * sqS +
                    (0.37335 / TK - 0.05778) * S);
        a.KP3 = exp(-3070.75 / TK - 18.126 + (17.27039 / TK + 2.81197) * sqS + (-44.99486 / TK - 0.09984) * S);
        const R sqI = sqrt(I);
        a.KSi = exp(-8904.2 / TK + 117.4 - 19.334 * lnTK + (-458.79 / TK + 3.5913) * sqI + (188.74 / TK - 1.5998) * I +
                    (-12.1652 / TK + 0.07871) * I * I) *
                (1.0 - kH2OToSWPerSal * S);
    } else if (code == 6 || code == 7) {
        // KB, GEOSECS (Li et al. 1969 form), NBS scale
        a.KB = pow(10.0, -9.26 + 0.00886 * S + 0.01 * TempC) / fH;
        if (code == 7) {
            // KW, Millero (1979) seawater form
            a.KW = exp(148.9802 - 13847.26 / TK - 23.6521 * lnTK +
                       (-79.2447 + 3298.72 / TK + 12.0408 * lnTK) * sqS - 0.019813 * S);
            // GEOSECS fixed forms
            a.KP1 = R(static_cast<double>(0.02f));
            a.KP2 = exp(-9.039 - 1450.0 / TK) / fH;
            a.KP3 = exp(4.466 - 7276.0 / TK) / fH;
            a.KSi = static_cast<double>(4e-10f) / fH;
        }
    } else if (code == 8) {
        a.KW = exp(148.9802 - 13847.26 / TK - 23.6521 * lnTK);  // Millero (1979), pure water
    }
    CarbonicAcid(code, pHScale, S, sqS, TK, lnTK, SWStoTOT, fH, a);
    return a;
}

// ---- Pressure corrections, Millero (1995) ----

// Whether a pressure is 0 with no gradient (the surface, held fixed).
template <class R>
bool HeldAtZero(const R& Pbar) {
    if constexpr (std::is_same_v<R, double>) {
        return Pbar == 0.0;
    } else {
        if (Pbar.v != 0.0) return false;
        for (const double d : Pbar.d) {
            if (d != 0.0 || std::signbit(d)) return false;
        }
        return true;
    }
}

// exp((-deltaV + 0.5 Kappa P) P/RT). deltaV [cm3/mol], Kappa [cm3/(mol bar)].
// At a surface held fixed, 1.
template <class R>
R PressureFactor(const R& deltaV, const R& Kappa, const R& Pbar, const R& RT) {
    if (HeldAtZero(Pbar)) return R(1.0);
    return exp((-deltaV + 0.5 * Kappa * Pbar) * Pbar / RT);
}

template <class R>
struct Factors {
    R K1 = 1.0, K2 = 1.0, KW = 1.0, KB = 1.0, KF = 1.0, KS = 1.0, KP1 = 1.0, KP2 = 1.0, KP3 = 1.0, KSi = 1.0;
};

template <class R>
Factors<R> PressureFactors(int code, const R& t, const R& Pbar, const R& RT) {
    Factors<R> f;
    if (HeldAtZero(Pbar)) return f;  // every factor 1
    const double kappaBoric = static_cast<double>(-0.00284f);
    const R boricV = -29.48 + 0.1622 * t - 0.002608 * t * t;
    if (IsSeawaterSet(code)) {
        f.K1 = PressureFactor<R>(-25.5 + 0.1271 * t, (-3.08 + 0.0877 * t) / 1000.0, Pbar, RT);
        f.K2 = PressureFactor<R>(-15.82 - 0.0219 * t, (1.13 - 0.1475 * t) / 1000.0, Pbar, RT);
        f.KB = PressureFactor<R>(boricV, R(kappaBoric), Pbar, RT);
    } else if (code == 6 || code == 7) {
        // GEOSECS linear forms (Culberson and Pytkowicz 1968)
        f.K1 = exp((24.2 - 0.085 * t) * Pbar / RT);
        f.K2 = exp((16.4 - 0.04 * t) * Pbar / RT);
        f.KB = exp((27.5 - 0.095 * t) * Pbar / RT);
    } else if (code == 8) {
        f.K1 = PressureFactor<R>(-30.54 + 0.1849 * t - 0.0023366 * t * t,
                                 (-6.22 + 0.1368 * t - 0.001233 * t * t) / 1000.0, Pbar, RT);
        f.K2 = PressureFactor<R>(-29.81 + 0.115 * t - 0.001816 * t * t,
                                 (-5.74 + 0.093 * t - 0.001896 * t * t) / 1000.0, Pbar, RT);
    }
    if (code >= 1 && code <= 14 && code != 8) {
        f.KW = PressureFactor<R>(-20.02 + 0.1119 * t - 0.001409 * t * t, (-5.13 + 0.0794 * t) / 1000.0, Pbar, RT);
    } else if (code == 8) {
        f.KW = PressureFactor<R>(-25.6 + 0.2324 * t - 0.0036246 * t * t,
                                 (-7.33 + 0.1368 * t - 0.001233 * t * t) / 1000.0, Pbar, RT);
    }
    f.KF = PressureFactor<R>(-9.78 - 0.009 * t - 0.000942 * t * t, (-3.91 + 0.054 * t) / 1000.0, Pbar, RT);
    f.KS = PressureFactor<R>(-18.03 + 0.0466 * t + 0.000316 * t * t, (-4.53 + 0.09 * t) / 1000.0, Pbar, RT);
    f.KP1 = PressureFactor<R>(-14.51 + 0.1211 * t - 0.000321 * t * t, (-2.67 + 0.0427 * t) / 1000.0, Pbar, RT);
    f.KP2 = PressureFactor<R>(-23.12 + 0.1758 * t - 0.002647 * t * t, (-5.15 + 0.09 * t) / 1000.0, Pbar, RT);
    f.KP3 = PressureFactor<R>(-26.57 + 0.202 * t - 0.003042 * t * t, (-4.08 + 0.0714 * t) / 1000.0, Pbar, RT);
    f.KSi = PressureFactor<R>(boricV, R(kappaBoric), Pbar, RT);
    return f;
}

// ---- Calcium and the solubility products of calcite and aragonite ----

// Mucci (1983) with the pressure correction of Millero (1995); GEOSECS forms
// (Culkin 1965, Ingle 1975, Berner 1976) for sets 6 and 7.
template <class R>
void Solubility(int code, const R& S, const R& t, const R& Pbar, const R& TK, const R& RT, ConditionConstants<R>& c) {
    const R sqS = sqrt(S);
    const R log10TK = log(TK) / kLn10;
    if (code == 6 || code == 7) {
        c.Ca = 0.01026 * S / 35.0;
        c.KCa = 1e-7 * (-34.452 - 39.866 * pow(S, 0.3333333333333333) + 110.21 * log(S) / kLn10 -
                        7.5752e-6 * TK * TK);
        c.KAr = 1.45 * c.KCa;
        c.KCa = c.KCa * exp((36.0 - 0.2 * t) * Pbar / RT);
        c.KAr = c.KAr * exp((33.3 - 0.22 * t) * Pbar / RT);
        return;
    }
    c.Ca = 0.0005308454112305734 * (S / 1.80655);
    const R logKCa = -171.9065 - 0.077993 * TK + 2839.319 / TK + 71.595 * log10TK +
                     (-0.77712 + 0.0028426 * TK + 178.34 / TK) * sqS - 0.07711 * S + 0.0041249 * sqS * S;
    const R logKAr = -171.945 - 0.077993 * TK + 2903.293 / TK + 71.595 * log10TK +
                     (-0.068393 + 0.0017276 * TK + 88.135 / TK) * sqS - 0.10018 * S + 0.0059415 * sqS * S;
    const R deltaVCa = -48.76 + 0.5304 * t;
    const R kappaCa = (-11.76 + 0.3692 * t) / 1000.0;
    c.KCa = pow(10.0, logKCa) * PressureFactor<R>(deltaVCa, kappaCa, Pbar, RT);
    c.KAr = pow(10.0, logKAr) * PressureFactor<R>(deltaVCa + 2.8, kappaCa, Pbar, RT);
}

}  // namespace

template <class R>
ConditionConstants<R> ConstantsAt(const ChemistryOptions& options, const R& Sal, const R& TempC, const R& Pdbar) {
    const int code = options.whichKs;
    ConditionConstants<R> c;
    const R TK = TempC + kCelsiusToKelvin;
    const R RT = kGasConstant * TK;
    const R sqS = sqrt(Sal);
    const R lnTK = log(TK);
    const R Pbar = Pdbar / 10.0;

    // Totals: Uppstrom (1974) or GEOSECS borate, Riley (1965) fluoride,
    // Morris and Riley (1966) sulfate.
    if (IsSeawaterSet(code)) {
        c.TB = (0.000232 / 10.811) * (Sal / 1.80655);
    } else if (code == 6 || code == 7) {
        c.TB = 0.0004106 * Sal / 35.0;
    } else {
        c.TB = 0.0;
    }
    c.TF = (0.000067 / 18.998) * (Sal / 1.80655);
    c.TS = (0.14 / 96.062) * (Sal / 1.80655);

    c.K0 = K0Weiss1974(Sal, TK);
    const R I = 19.924 * Sal / (1000.0 - 1.005 * Sal);
    R KS = options.whichKSO4 == 1   ? KSDickson1990(Sal, TK, lnTK, I)
           : options.whichKSO4 == 2 ? KSKhoo1977(Sal, TK, I)
                                    : R(0.0);
    R KF = KFDicksonRiley1979(Sal, TK, I);
    const R SWStoTOTsurface = (1.0 + c.TS / KS) / (1.0 + c.TS / KS + c.TF / KF);

    if ((code >= 1 && code <= 6) || (code >= 9 && code <= 14)) {
        c.fH = 1.2948 - 0.002036 * TK + (0.0004607 - 0.000001475 * TK) * Sal * Sal;
    } else if (code == 7) {
        c.fH = 1.29 - 0.00204 * TK + (0.00046 - 0.00000148 * TK) * Sal * Sal;
    } else {
        c.fH = 1.0;
    }

    const Acids<R> a = AcidConstants(code, options.pHScale, Sal, sqS, TK, TempC, lnTK, I, SWStoTOTsurface, c.fH);
    const Factors<R> f = PressureFactors(code, TempC, Pbar, RT);
    KF = KF * f.KF;
    KS = KS * f.KS;
    c.KF = KF;
    c.KS = KS;

    const R SWStoTOT = (1.0 + c.TS / KS) / (1.0 + c.TS / KS + c.TF / KF);
    const R FREEtoTOT = 1.0 + c.TS / KS;
    R pHfactor = 0.0;
    switch (options.pHScale) {
        case 1: pHfactor = SWStoTOT; break;
        case 2: pHfactor = 1.0; break;
        case 3: pHfactor = SWStoTOT / FREEtoTOT; break;
        case 4: pHfactor = c.fH; break;
        default: break;
    }
    c.K1 = a.K1 * f.K1 * pHfactor;
    c.K2 = a.K2 * f.K2 * pHfactor;
    c.KW = a.KW * f.KW * pHfactor;
    c.KB = a.KB * f.KB * pHfactor;
    c.KP1 = a.KP1 * f.KP1 * pHfactor;
    c.KP2 = a.KP2 * f.KP2 * pHfactor;
    c.KP3 = a.KP3 * f.KP3 * pHfactor;
    c.KSi = a.KSi * f.KSi * pHfactor;

    // Fugacity factor, Weiss (1974); sets 6 and 7 work with pCO2 directly.
    if (code == 6 || code == 7) {
        c.FugFac = 1.0;
    } else {
        const R B = -1636.75 + 12.0408 * TK - 0.0327957 * TK * TK + 3.16528e-05 * TK * TK * TK;
        const R Delta = 57.7 - 0.118 * TK;
        c.FugFac = exp((B + 2.0 * Delta) * kOneAtmosphere / RT);
    }
    // Vapour pressure, Weiss and Price (1980).
    const R VPWP = exp(24.4543 - 67.4509 * (100.0 / TK) - 4.8489 * log(TK / 100.0));
    c.VPFac = 1.0 - VPWP * exp(-0.000544 * Sal);

    Solubility(code, Sal, TempC, Pbar, TK, RT, c);
    return c;
}

template ConditionConstants<double> ConstantsAt(const ChemistryOptions&, const double&, const double&, const double&);
template ConditionConstants<ad::Dual<1>> ConstantsAt(const ChemistryOptions&, const ad::Dual<1>&, const ad::Dual<1>&,
                                                     const ad::Dual<1>&);
template ConditionConstants<ad::Dual<2>> ConstantsAt(const ChemistryOptions&, const ad::Dual<2>&, const ad::Dual<2>&,
                                                     const ad::Dual<2>&);
template ConditionConstants<ad::Dual<3>> ConstantsAt(const ChemistryOptions&, const ad::Dual<3>&, const ad::Dual<3>&,
                                                     const ad::Dual<3>&);

}  // namespace brinora::uncertainty
