#include "independent_carbonate.h"

#include <cmath>
#include <stdexcept>
#include <utility>

namespace brinora::independent {
namespace {

constexpr double kMicro = 1e-6;

// Gas constant. Units: cm3 bar/(mol K)
constexpr double kGasConstant = 83.1451;

// One standard atmosphere. Units: bar
constexpr double kAtmosphere = 1.01325;

// Ionic strength of seawater, Dickson (1990). Units: mol/kg-H2O
double IonicStrength(double S) { return 19.924 * S / (1000.0 - 1.005 * S); }

// Carbonic-acid constants, total scale. Units: mol/kg-SW
void CarbonicAcidConstants(double S, double T, CarbonicAcid set, double& K1, double& K2) {
    const double lnT = std::log(T);
    const double sqrtS = std::sqrt(S);
    if (set == CarbonicAcid::kLueker2000) {
        // Lueker et al. (2000), eqs. 11 and 12 (as printed, 3633.86).
        const double pK1 = 3633.86 / T - 61.2172 + 9.67770 * lnT - 0.011555 * S + 0.0001152 * S * S;
        const double pK2 = 471.78 / T + 25.9290 - 3.16967 * lnT - 0.01781 * S + 0.0001122 * S * S;
        K1 = std::pow(10.0, -pK1);
        K2 = std::pow(10.0, -pK2);
        return;
    }
    // Roy et al. (1993) in mol/kg-H2O, converted to mol/kg-SW.
    const double toSeawater = std::log(1.0 - 0.001005 * S);
    const double lnK1 = 2.83655 - 2307.1266 / T - 1.5529413 * lnT - (0.20760841 + 4.0484 / T) * sqrtS +
                        0.08468345 * S - 0.00654208 * S * sqrtS + toSeawater;
    const double lnK2 = -9.226508 - 3351.6106 / T - 0.2005743 * lnT - (0.106901773 + 23.9722 / T) * sqrtS +
                        0.1130822 * S - 0.00846934 * S * sqrtS + toSeawater;
    K1 = std::exp(lnK1);
    K2 = std::exp(lnK2);
}

// The alkalinity of everything but carbonate at total-scale [H+] `H`,
// TA = CAlk + BAlk + OH + PAlk + SiAlk - [H+]F - [HSO4-] - [HF] (Dickson 1981).
struct NonCarbonate {
    double BAlk = 0, OH = 0, PAlk = 0, SiAlk = 0, Hfree = 0, HSO4 = 0, HF = 0;
    double total() const { return BAlk + OH + PAlk + SiAlk - Hfree - HSO4 - HF; }
};

NonCarbonate NonCarbonateAlkalinity(double H, const SurfaceConstants& K, double TP, double TSi) {
    NonCarbonate a;
    a.BAlk = K.TB * K.KB / (K.KB + H);
    a.OH = K.KW / H;
    const double H2 = H * H;
    const double H3 = H2 * H;
    const double p12 = K.KP1 * K.KP2;
    const double p123 = p12 * K.KP3;
    // HPO4 + 2 PO4 - H3PO4 over the phosphate species.
    a.PAlk = TP * (p12 * H + 2.0 * p123 - H3) / (H3 + K.KP1 * H2 + p12 * H + p123);
    a.SiAlk = TSi * K.KSi / (K.KSi + H);
    a.Hfree = H / (1.0 + K.TS / K.KS);
    a.HSO4 = K.TS / (1.0 + K.KS / a.Hfree);
    a.HF = K.TF / (1.0 + K.KF / a.Hfree);
    return a;
}

// Fraction of TCO2 present as CO2*, HCO3- and CO3-- at [H+] `H`.
struct Fractions {
    double CO2 = 0, HCO3 = 0, CO3 = 0;
};

Fractions CarbonateFractions(double H, const SurfaceConstants& K) {
    const double d = H * H + K.K1 * H + K.K1 * K.K2;
    return {H * H / d, K.K1 * H / d, K.K1 * K.K2 / d};
}

// The pH in [2, 12] where `f`, monotonic in pH, changes sign: bisection,
// starting from the whole interval, until the interval is below 1e-12 pH
// units (at most 60 halvings).
template <typename F>
double BisectpH(F f) {
    double lo = 2.0;
    double hi = 12.0;
    const double fLo = f(lo);
    const double fHi = f(hi);
    if ((fLo > 0) == (fHi > 0)) throw std::runtime_error("no pH in [2, 12] fits the given pair");
    for (int i = 0; i < 60 && hi - lo > 1e-12; ++i) {
        const double mid = 0.5 * (lo + hi);
        if ((f(mid) > 0) == (fLo > 0)) {
            lo = mid;
        } else {
            hi = mid;
        }
    }
    return 0.5 * (lo + hi);
}

double HfrompH(double pH) { return std::pow(10.0, -pH); }

// pH from TA and TCO2 (mol/kg-SW).
double pHfromTATC(double TA, double TC, const SurfaceConstants& K, double TP, double TSi) {
    return BisectpH([&](double pH) {
        const double H = HfrompH(pH);
        const Fractions x = CarbonateFractions(H, K);
        return TC * (x.HCO3 + 2.0 * x.CO3) + NonCarbonateAlkalinity(H, K, TP, TSi).total() - TA;
    });
}

// fCO2 (atm) from TCO2 (mol/kg-SW) and pH.
double fCO2fromTCpH(double TC, double pH, const SurfaceConstants& K) {
    return TC * CarbonateFractions(HfrompH(pH), K).CO2 / K.K0;
}

}  // namespace

SurfaceConstants ConstantsAtSurface(double S, double TempC, CarbonicAcid set, double boronRatio) {
    SurfaceConstants K;
    const double T = TempC + 273.15;
    const double lnT = std::log(T);
    const double sqrtS = std::sqrt(S);
    const double I = IonicStrength(S);
    const double sqrtI = std::sqrt(I);
    const double toSeawater = std::log(1.0 - 0.001005 * S);  // mol/kg-H2O to mol/kg-SW
    const double chlorinity = S / 1.80655;

    K.TB = boronRatio * S;
    K.TS = 0.14 / 96.062 * chlorinity;
    K.TF = 0.000067 / 18.998 * chlorinity;
    K.Ca = 0.02128 / 40.087 * chlorinity;

    const double T100 = T / 100.0;
    K.K0 = std::exp(-60.2409 + 93.4517 / T100 + 23.3585 * std::log(T100) +
                    S * (0.023517 - 0.023656 * T100 + 0.0047036 * T100 * T100));

    CarbonicAcidConstants(S, T, set, K.K1, K.K2);

    K.KB = std::exp((-8966.90 - 2890.53 * sqrtS - 77.942 * S + 1.728 * S * sqrtS - 0.0996 * S * S) / T + 148.0248 +
                    137.1942 * sqrtS + 1.62142 * S + (-24.4344 - 25.085 * sqrtS - 0.2474 * S) * lnT +
                    0.053105 * sqrtS * T);

    K.KW = std::exp(148.96502 - 13847.26 / T - 23.6521 * lnT + (118.67 / T - 5.977 + 1.0495 * lnT) * sqrtS -
                    0.01615 * S);

    K.KP1 = std::exp(-4576.752 / T + 115.525 - 18.453 * lnT + (-106.736 / T + 0.69171) * sqrtS +
                     (-0.65643 / T - 0.01844) * S);
    K.KP2 = std::exp(-8814.715 / T + 172.0883 - 27.927 * lnT + (-160.340 / T + 1.3566) * sqrtS +
                     (0.37335 / T - 0.05778) * S);
    K.KP3 = std::exp(-3070.75 / T - 18.141 + (17.27039 / T + 2.81197) * sqrtS + (-44.99486 / T - 0.09984) * S);
    K.KSi = std::exp(-8904.2 / T + 117.385 - 19.334 * lnT + (-458.79 / T + 3.5913) * sqrtI +
                     (188.74 / T - 1.5998) * I + (-12.1652 / T + 0.07871) * I * I + toSeawater);

    K.KS = std::exp(-4276.1 / T + 141.328 - 23.093 * lnT + (-13856.0 / T + 324.57 - 47.986 * lnT) * sqrtI +
                    (35474.0 / T - 771.54 + 114.723 * lnT) * I - 2698.0 / T * I * sqrtI + 1776.0 / T * I * I +
                    toSeawater);
    K.KF = std::exp(1590.2 / T - 12.641 + 1.525 * sqrtI + toSeawater);

    const double log10T = std::log10(T);
    K.KspCalcite = std::pow(10.0, -171.9065 - 0.077993 * T + 2839.319 / T + 71.595 * log10T +
                                      (-0.77712 + 0.0028426 * T + 178.34 / T) * sqrtS - 0.07711 * S +
                                      0.0041249 * S * sqrtS);
    K.KspAragonite = std::pow(10.0, -171.945 - 0.077993 * T + 2903.293 / T + 71.595 * log10T +
                                        (-0.068393 + 0.0017276 * T + 88.135 / T) * sqrtS - 0.10018 * S +
                                        0.0059415 * S * sqrtS);

    // Second virial coefficient of CO2 and its cross term with air. Units: cm3/mol
    const double B = -1636.75 + 12.0408 * T - 0.0327957 * T * T + 3.16528e-5 * T * T * T;
    const double delta = 57.7 - 0.118 * T;
    K.FugacityFactor = std::exp((B + 2.0 * delta) * kAtmosphere / (kGasConstant * T));

    K.WaterVapour = std::exp(24.4543 - 67.4509 / T100 - 4.8489 * std::log(T100) - 0.000544 * S);
    return K;
}

CarbonateSystem SolveCarbonateSystem(const Conditions& conditions, const SurfaceConstants& K, Parameter first,
                                     double firstValue, Parameter second, double secondValue) {
    const double TP = conditions.TP * kMicro;
    const double TSi = conditions.TSi * kMicro;
    bool hasTA = false, hasTC = false, haspH = false, hasfCO2 = false;
    double TA = 0, TC = 0, pH = 0, fCO2 = 0;  // mol/kg-SW, atm
    for (const auto& [parameter, value] : {std::pair{first, firstValue}, std::pair{second, secondValue}}) {
        switch (parameter) {
            case Parameter::kTA: hasTA = true; TA = value * kMicro; break;
            case Parameter::kTCO2: hasTC = true; TC = value * kMicro; break;
            case Parameter::kpH: haspH = true; pH = value; break;
            case Parameter::kfCO2: hasfCO2 = true; fCO2 = value * kMicro; break;
            case Parameter::kpCO2: hasfCO2 = true; fCO2 = value * kMicro * K.FugacityFactor; break;
        }
    }

    // Bring every pair to TCO2 and pH.
    if (hasTA && hasTC) {
        pH = pHfromTATC(TA, TC, K, TP, TSi);
    } else if (hasTA && haspH) {
        const double H = HfrompH(pH);
        const Fractions x = CarbonateFractions(H, K);
        TC = (TA - NonCarbonateAlkalinity(H, K, TP, TSi).total()) / (x.HCO3 + 2.0 * x.CO3);
    } else if (hasTA && hasfCO2) {
        const double CO2 = K.K0 * fCO2;
        pH = BisectpH([&](double p) {
            const double H = HfrompH(p);
            const Fractions x = CarbonateFractions(H, K);
            return CO2 / x.CO2 * (x.HCO3 + 2.0 * x.CO3) + NonCarbonateAlkalinity(H, K, TP, TSi).total() - TA;
        });
        TC = CO2 / CarbonateFractions(HfrompH(pH), K).CO2;
    } else if (hasTC && hasfCO2) {
        const double CO2 = K.K0 * fCO2;
        pH = BisectpH([&](double p) { return TC * CarbonateFractions(HfrompH(p), K).CO2 - CO2; });
    } else if (haspH && hasfCO2) {
        TC = K.K0 * fCO2 / CarbonateFractions(HfrompH(pH), K).CO2;
    } else if (!(hasTC && haspH)) {
        throw std::invalid_argument("two different carbonate parameters are needed");
    }

    CarbonateSystem out;
    const double H = HfrompH(pH);
    const Fractions x = CarbonateFractions(H, K);
    const NonCarbonate a = NonCarbonateAlkalinity(H, K, TP, TSi);
    if (!hasTA) TA = TC * (x.HCO3 + 2.0 * x.CO3) + a.total();
    fCO2 = TC * x.CO2 / K.K0;

    out.TA = TA / kMicro;
    out.TCO2 = TC / kMicro;
    out.pH = pH;
    out.fCO2 = fCO2 / kMicro;
    out.pCO2 = fCO2 / K.FugacityFactor / kMicro;
    out.HCO3 = TC * x.HCO3 / kMicro;
    out.CO3 = TC * x.CO3 / kMicro;
    out.CO2 = TC * x.CO2 / kMicro;
    out.BAlk = a.BAlk / kMicro;
    out.OH = a.OH / kMicro;
    out.PAlk = a.PAlk / kMicro;
    out.SiAlk = a.SiAlk / kMicro;
    out.OmegaCa = K.Ca * TC * x.CO3 / K.KspCalcite;
    out.OmegaAr = K.Ca * TC * x.CO3 / K.KspAragonite;
    // Dry-air mole fraction: pCO2 = xCO2 (1 atm - pH2O).
    out.xCO2 = out.pCO2 / (1.0 - K.WaterVapour);

    // Revelle factor (d ln fCO2 / d ln TCO2) at constant TA, a centred
    // difference of 1 umol/kg either side.
    const double dTC = 1.0 * kMicro;
    const double fPlus = fCO2fromTCpH(TC + dTC, pHfromTATC(TA, TC + dTC, K, TP, TSi), K);
    const double fMinus = fCO2fromTCpH(TC - dTC, pHfromTATC(TA, TC - dTC, K, TP, TSi), K);
    out.Revelle = (fPlus - fMinus) / fCO2 / (2.0 * dTC / TC);
    return out;
}

}  // namespace brinora::independent
