// Dissociation constants of the constant sets 1..14, seawater scale, surface.
// Each formula is evaluated in double from the stored float inputs; each
// named intermediate (lnK, pK, log10K, K) is stored as float.
#include "constants/acid_constants.h"

#include <cmath>
#include <numbers>

#include "constants/seawater_terms.h"

namespace brinora::constants_internal {
namespace {

// ln(10), for log10(x) = ln(x)/ln(10).
constexpr double kLn10 = std::numbers::ln10;

float TenToThe(float log10K) { return static_cast<float>(std::pow(10.0, static_cast<double>(log10K))); }
float TenToMinus(float pK) { return static_cast<float>(std::pow(10.0, -static_cast<double>(pK))); }
float Exp(float lnK) { return static_cast<float>(std::exp(static_cast<double>(lnK))); }

bool IsSeawaterSet(int whichKs) {
    return (whichKs >= 1 && whichKs <= 5) || (whichKs >= 9 && whichKs <= 14);
}

}  // namespace

// ---- Boric acid ----

float KB_Dickson1990(float Sal, float sqrSal, float TempK, float logTempK, float SWStoTOT) {
    const double S = Sal, sqS = sqrSal, TK = TempK, lnTK = logTempK;
    // Dickson (1990), total scale, mol/kg-SW
    const float lnKBtop = static_cast<float>(-8966.9 - 2890.53 * sqS - 77.942 * S +
                                             1.728 * sqS * S - 0.0996 * S * S);
    const float lnKBtopOverTK = lnKBtop / TempK;  // float division
    const float lnKB = static_cast<float>(lnKBtopOverTK + 148.0248 + 137.1942 * sqS + 1.62142 * S +
                                          (-24.4344 - 25.085 * sqS - 0.2474 * S) * lnTK +
                                          0.053105 * sqS * TK);
    float KB = Exp(lnKB);
    KB = KB / SWStoTOT;  // total to seawater scale, float division
    return KB;
}

float KB_GEOSECS(float Sal, float TempC, float fH) {
    const double S = Sal, t = TempC;
    // GEOSECS (Li et al. 1969 form), NBS scale: log10KB = -9.26 + 0.00886 S + 0.01 t
    const float log10KB = static_cast<float>(-9.26 + 0.00886 * S + 0.01 * t);
    // NBS to seawater scale
    return static_cast<float>(std::pow(10.0, static_cast<double>(log10KB)) / fH);
}

// ---- Water ----

float KW_Millero1995(float Sal, float sqrSal, float TempK, float logTempK) {
    const double S = Sal, sqS = sqrSal, TK = TempK, lnTK = logTempK;
    // Millero (1995), seawater scale
    const float lnKW = static_cast<float>(148.9802 - 13847.26 / TK - 23.6521 * lnTK +
                                          (-5.977 + 118.67 / TK + 1.0495 * lnTK) * sqS -
                                          0.01615 * S);
    return Exp(lnKW);
}

float KW_Millero1979(float Sal, float sqrSal, float TempK, float logTempK) {
    const double S = Sal, sqS = sqrSal, TK = TempK, lnTK = logTempK;
    // Millero (1979), seawater form
    const float lnKW = static_cast<float>(148.9802 - 13847.26 / TK - 23.6521 * lnTK +
                                          (-79.2447 + 3298.72 / TK + 12.0408 * lnTK) * sqS -
                                          0.019813 * S);
    return Exp(lnKW);
}

float KW_Millero1979PureWater(float TempK, float logTempK) {
    const double TK = TempK, lnTK = logTempK;
    // Millero (1979), pure water
    const float lnKW = static_cast<float>(148.9802 - 13847.26 / TK - 23.6521 * lnTK);
    return Exp(lnKW);
}

// ---- Phosphoric and silicic acid ----

PhosphateSilicate KPKSi_YaoMillero1995(float Sal, float sqrSal, float TempK, float logTempK,
                                       float IonS) {
    const double S = Sal, sqS = sqrSal, TK = TempK, lnTK = logTempK, I = IonS;
    PhosphateSilicate out;
    // Yao and Millero (1995), seawater scale
    const float lnKP1 = static_cast<float>(-4576.752 / TK + 115.54 - 18.453 * lnTK +
                                           (-106.736 / TK + 0.69171) * sqS +
                                           (-0.65643 / TK - 0.01844) * S);
    out.KP1 = Exp(lnKP1);
    const float lnKP2 = static_cast<float>(-8814.715 / TK + 172.1033 - 27.927 * lnTK +
                                           (-160.34 / TK + 1.3566) * sqS +
                                           (0.37335 / TK - 0.05778) * S);
    out.KP2 = Exp(lnKP2);
    const float lnKP3 = static_cast<float>(-3070.75 / TK - 18.126 + (17.27039 / TK + 2.81197) * sqS +
                                           (-44.99486 / TK - 0.09984) * S);
    out.KP3 = Exp(lnKP3);
    // Yao and Millero (1995), silicic acid, mol/kg-H2O brought to mol/kg-SW
    const float lnKSi = static_cast<float>(-8904.2 / TK + 117.4 - 19.334 * lnTK +
                                           (-458.79 / TK + 3.5913) * std::sqrt(I) +
                                           (188.74 / TK - 1.5998) * I +
                                           (-12.1652 / TK + 0.07871) * I * I);
    out.KSi = static_cast<float>(std::exp(static_cast<double>(lnKSi)) * (1.0 - kH2OToSWPerSal * S));
    return out;
}

PhosphateSilicate KPKSi_GEOSECS(float TempK, float fH) {
    const double TK = TempK;
    PhosphateSilicate out;
    // GEOSECS set 7 fixed forms; KP1 is not divided by fH
    out.KP1 = 0.02f;
    out.KP2 = static_cast<float>(std::exp(-9.039 - 1450.0 / TK) / fH);
    const float c7276OverTK = 7276.0f / TempK;  // float division
    out.KP3 = static_cast<float>(std::exp(4.466 - c7276OverTK) / fH);
    out.KSi = 4e-10f / fH;
    return out;
}

// ---- Carbonic acid ----

CarbonicAcid K1K2_Roy1993(float Sal, float sqrSal, float TempK, float logTempK, float SWStoTOT) {
    const double S = Sal, sqS = sqrSal, TK = TempK, lnTK = logTempK;
    CarbonicAcid out;
    // Roy et al. (1993), total scale, mol/kg-H2O
    const float lnK1 = static_cast<float>(2.83655 - 2307.1266 / TK - 1.5529413 * lnTK +
                                          (-0.20760841 - 4.0484 / TK) * sqS + 0.08468345 * S -
                                          0.00654208 * sqS * S);
    const float lnK2 = static_cast<float>(-9.226508 - 3351.6106 / TK - 0.2005743 * lnTK +
                                          (-0.106901773 - 23.9722 / TK) * sqS + 0.1130822 * S -
                                          0.00846934 * sqS * S);
    float K1 = Exp(lnK1);
    float K2 = Exp(lnK2);
    // mol/kg-H2O to mol/kg-SW
    K1 = static_cast<float>(K1 * (1.0 - kH2OToSWPerSal * S));
    K2 = static_cast<float>(K2 * (1.0 - kH2OToSWPerSal * S));
    // total to seawater scale
    out.K1 = K1 / SWStoTOT;
    out.K2 = K2 / SWStoTOT;
    return out;
}

CarbonicAcid K1K2_GoyetPoisson1989(float Sal, float TempK, float logTempK) {
    const double S = Sal, TK = TempK, lnTK = logTempK;
    // Goyet and Poisson (1989), seawater scale
    const float pK1 = static_cast<float>(812.27 / TK + 3.356 - 0.00171 * S * lnTK + 0.000091 * S * S);
    const float pK2 = static_cast<float>(1450.87 / TK + 4.604 - 0.00385 * S * lnTK + 0.000182 * S * S);
    return {TenToMinus(pK1), TenToMinus(pK2)};
}

CarbonicAcid K1K2_Hansson1973(float Sal, float TempK, float logTempK) {
    const double S = Sal, TK = TempK, lnTK = logTempK;
    // Hansson (1973) refit by Dickson and Millero (1987), seawater scale
    const float pK1 = static_cast<float>(851.4 / TK + 3.237 - 0.0106 * S + 0.000105 * S * S);
    const float pK2 = static_cast<float>(-3885.4 / TK + 125.844 - 18.141 * lnTK - 0.0192 * S +
                                         0.000132 * S * S);
    return {TenToMinus(pK1), TenToMinus(pK2)};
}

CarbonicAcid K1K2_Mehrbach1973(float Sal, float TempK, float logTempK) {
    const double S = Sal, TK = TempK, lnTK = logTempK;
    // Mehrbach et al. (1973) refit by Dickson and Millero (1987), seawater scale
    const float pK1 = static_cast<float>(3670.7 / TK - 62.008 + 9.7944 * lnTK - 0.0118 * S +
                                         0.000116 * S * S);
    const float pK2 = static_cast<float>(1394.7 / TK + 4.777 - 0.0184 * S + 0.000118 * S * S);
    return {TenToMinus(pK1), TenToMinus(pK2)};
}

CarbonicAcid K1K2_HanssonMehrbach(float Sal, float TempK) {
    const double S = Sal, TK = TempK;
    // Hansson and Mehrbach data refit by Dickson and Millero (1987), seawater scale
    const float pK1 = static_cast<float>(845.0 / TK + 3.248 - 0.0098 * S + 0.000087 * S * S);
    const float pK2 = static_cast<float>(1377.3 / TK + 4.824 - 0.0185 * S + 0.000122 * S * S);
    return {TenToMinus(pK1), TenToMinus(pK2)};
}

CarbonicAcid K1K2_GEOSECS(float Sal, float sqrSal, float TempK, float logTempK, float fH, float& log10K2Out) {
    const double S = Sal, sqS = sqrSal, TK = TempK;
    const double log10TK = static_cast<double>(logTempK) / kLn10;
    const double log10S = std::log(S) / kLn10;
    // GEOSECS (Mehrbach et al. 1973 as fitted by Takahashi et al. 1982), NBS scale
    const float log10K1 = static_cast<float>(13.7201 - 0.031334 * TK - 3235.76 / TK -
                                             1.3e-05 * S * TK + 0.1032 * sqS);
    const float log10K2 = static_cast<float>(-5371.9645 - 1.671221 * TK + 128375.28 / TK +
                                             2194.3055 * log10TK - 0.22913 * S -
                                             18.3802 * log10S + 0.00080944 * S * TK +
                                             5617.11 * log10S / TK - 2.136 * S / TK);
    float K1 = TenToThe(log10K1);
    float K2 = TenToThe(log10K2);
    // NBS to seawater scale
    K1 = K1 / fH;
    K2 = K2 / fH;
    log10K2Out = log10K2;
    return {K1, K2};
}

CarbonicAcid K1K2_Millero1979PureWater(float TempK, float logTempK) {
    const double TK = TempK, lnTK = logTempK;
    // Millero (1979), pure water
    const float lnK1 = static_cast<float>(290.9097 - 14554.21 / TK - 45.0575 * lnTK);
    const float lnK2 = static_cast<float>(207.6548 - 11843.79 / TK - 33.6485 * lnTK);
    return {Exp(lnK1), Exp(lnK2)};
}

CarbonicAcid K1K2_Millero2002(float Sal, float TempK) {
    const double S = Sal, TK = TempK;
    const double lnTK = std::log(TK);
    // Millero et al. (2002), seawater scale
    const float pK1 = static_cast<float>(-43.6977 - 0.0129037 * S + 0.0001364 * std::pow(S, 2.0) +
                                         2885.378 / TK + 7.045159 * lnTK);
    const float pK2 = static_cast<float>(-452.094 + 13.142162 * S - 0.000801 * std::pow(S, 2.0) +
                                         21263.61 / TK + 68.483143 * lnTK +
                                         (-581.4428 + 0.259601 * S) * S / TK - 1.967035 * S * lnTK);
    // Codes 10 and 11 correct pK2 by a measured fCO2 (-2.3e-05 fCO2) and a
    // measured TCO2 above 2050 (-0.00016 (TCO2 - 2050)); no measurement is
    // given to the calculation, so both corrections are 0 and the three codes
    // give the same constants.
    return {TenToMinus(pK1), TenToMinus(pK2)};
}

CarbonicAcid K1K2_Millero2006(float Sal, float TempK) {
    const double S = Sal, TK = TempK;
    const double lnTK = std::log(TK);
    const double sqS = std::sqrt(S);
    // Millero et al. (2006), seawater scale
    const float pK1 = static_cast<float>(-126.34048 + 6320.813 / TK + 19.568224 * lnTK + 13.4191 * sqS +
                                         0.0331 * S - 5.33e-05 * S * S -
                                         (530.123 / TK + 2.0695 * lnTK) * sqS - 6.103 * S / TK);
    const float pK2 = static_cast<float>(-90.18333 + 5143.692 / TK + 14.613358 * lnTK + 21.0894 * sqS +
                                         0.1248 * S - 0.0003687 * S * S -
                                         (772.483 / TK + 3.3336 * lnTK) * sqS - 20.051 * S / TK);
    return {TenToMinus(pK1), TenToMinus(pK2)};
}

CarbonicAcid K1K2_Lueker2000(float Sal, float TempK, float logTempK, float SWStoTOT) {
    const double S = Sal, TK = TempK, lnTK = logTempK;
    // Lueker et al. (2000), total scale
    const float log10K1 = static_cast<float>(-3633.866 / TK + 61.2172 - 9.6777 * lnTK + 0.011555 * S -
                                             0.0001152 * S * S);
    const float log10K2 = static_cast<float>(-471.78 / TK - 25.929 + 3.16967 * lnTK + 0.01781 * S -
                                             0.0001122 * S * S);
    float K1 = TenToThe(log10K1);
    float K2 = TenToThe(log10K2);
    // total to seawater scale
    K1 = K1 / SWStoTOT;
    K2 = K2 / SWStoTOT;
    return {K1, K2};
}

namespace {

// Salinity coefficients of Millero (2010), one row per pH scale.
struct Millero2010Coefficients {
    float a1, a2, a3, b1, b2, c1;  // K1
    float a4, a5, a6, b3, b4, c2;  // K2
};

constexpr Millero2010Coefficients kMillero2010Total{13.4051f, 0.03185f, -5.218e-05f, -531.095f, -5.7789f,
                                                    -2.0663f, 21.5724f, 0.1212f,    -0.0003714f,
                                                    -798.292f, -18.951f, -3.403f};
constexpr Millero2010Coefficients kMillero2010Seawater{13.4038f, 0.03206f, -5.242e-05f, -530.659f,
                                                       -5.821f,  -2.0664f, 21.3728f,    0.1218f,
                                                       -0.0003688f, -788.289f, -19.189f, -3.374f};
constexpr Millero2010Coefficients kMillero2010Free{5.09247f, 0.05574f, -9.279e-05f, -189.879f,
                                                   -11.3108f, -0.808f, 11.0637f,    0.1379f,
                                                   -0.0003788f, -366.178f, -23.288f, -1.81f};
constexpr Millero2010Coefficients kMillero2010None{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};

// pK = float(pK0 + A + B/TK) + C ln(TK), with A = a sqrt(S) + a' S + a'' S S,
// B = b sqrt(S) + b' S, C = c sqrt(S); the products with S are float products.
float Millero2010pK(float pK0, float aRoot, float aLin, float aSq, float bRoot, float bLin, float cRoot,
                    float Sal, float TempK, double sqS, double lnTK) {
    const float A = static_cast<float>(aRoot * sqS + (aLin * Sal) + ((aSq * Sal) * Sal));
    const float B = static_cast<float>(bRoot * sqS + (bLin * Sal));
    const float C = static_cast<float>(cRoot * sqS);
    const float BoverTK = B / TempK;                   // float division
    const float pKSalinity = (pK0 + A) + BoverTK;      // float additions
    return static_cast<float>(pKSalinity + C * lnTK);
}

}  // namespace

CarbonicAcid K1K2_Millero2010(int pHScale, float Sal, float TempK) {
    const Millero2010Coefficients& c = pHScale == 1   ? kMillero2010Total
                                       : pHScale == 2 ? kMillero2010Seawater
                                       : pHScale == 3 ? kMillero2010Free
                                                      : kMillero2010None;
    const double S = Sal, TK = TempK;
    const double lnTK = std::log(TK);
    const double sqS = std::sqrt(S);
    // Millero (2010): zero-salinity terms of pure water
    const float pK01 = static_cast<float>(-126.34048 + 6320.813 / TK + 19.568224 * lnTK);
    const float pK02 = static_cast<float>(-90.18333 + 5143.692 / TK + 14.613358 * lnTK);
    // Millero (2010): salinity terms on the requested scale
    const float pK1 = Millero2010pK(pK01, c.a1, c.a2, c.a3, c.b1, c.b2, c.c1, Sal, TempK, sqS, lnTK);
    const float pK2 = Millero2010pK(pK02, c.a4, c.a5, c.a6, c.b3, c.b4, c.c2, Sal, TempK, sqS, lnTK);
    return {TenToMinus(pK1), TenToMinus(pK2)};
}

// ---- One call: the constants of the chosen set ----

AcidConstants AcidConstantsForSet(const AcidInputs& in) {
    AcidConstants out;
    const int code = in.whichKs;

    // KB
    if (IsSeawaterSet(code)) {
        out.KB = KB_Dickson1990(in.Sal, in.sqrSal, in.TempK, in.logTempK, in.SWStoTOT);
    } else if (code == 6 || code == 7) {
        out.KB = KB_GEOSECS(in.Sal, in.TempC, in.fH);
    }

    // KW (code 6 defines none: 0)
    if (IsSeawaterSet(code)) {
        out.KW = KW_Millero1995(in.Sal, in.sqrSal, in.TempK, in.logTempK);
    } else if (code == 7) {
        out.KW = KW_Millero1979(in.Sal, in.sqrSal, in.TempK, in.logTempK);
    } else if (code == 8) {
        out.KW = KW_Millero1979PureWater(in.TempK, in.logTempK);
    }

    // KP1-3 and KSi (codes 6 and 8 define none: 0)
    PhosphateSilicate p;
    if (IsSeawaterSet(code)) {
        p = KPKSi_YaoMillero1995(in.Sal, in.sqrSal, in.TempK, in.logTempK, in.IonS);
    } else if (code == 7) {
        p = KPKSi_GEOSECS(in.TempK, in.fH);
    }
    out.KP1 = p.KP1;
    out.KP2 = p.KP2;
    out.KP3 = p.KP3;
    out.KSi = p.KSi;

    // K1 and K2
    CarbonicAcid c;
    switch (code) {
        case 1:
            c = K1K2_Roy1993(in.Sal, in.sqrSal, in.TempK, in.logTempK, in.SWStoTOT);
            break;
        case 2:
            c = K1K2_GoyetPoisson1989(in.Sal, in.TempK, in.logTempK);
            break;
        case 3:
            c = K1K2_Hansson1973(in.Sal, in.TempK, in.logTempK);
            break;
        case 4:
            c = K1K2_Mehrbach1973(in.Sal, in.TempK, in.logTempK);
            break;
        case 5:
            c = K1K2_HanssonMehrbach(in.Sal, in.TempK);
            break;
        case 6:
        case 7:
            c = K1K2_GEOSECS(in.Sal, in.sqrSal, in.TempK, in.logTempK, in.fH, out.log10K2);
            break;
        case 8:
            c = K1K2_Millero1979PureWater(in.TempK, in.logTempK);
            break;
        case 9:
        case 10:
        case 11:
            c = K1K2_Millero2002(in.Sal, in.TempK);
            break;
        case 12:
            c = K1K2_Millero2006(in.Sal, in.TempK);
            break;
        case 13:
            c = K1K2_Lueker2000(in.Sal, in.TempK, in.logTempK, in.SWStoTOT);
            break;
        case 14:
            c = K1K2_Millero2010(in.pHScale, in.Sal, in.TempK);
            break;
        default:
            break;  // unknown code: K1 = K2 = 0
    }
    out.K1 = c.K1;
    out.K2 = c.K2;
    return out;
}

}  // namespace brinora::constants_internal
