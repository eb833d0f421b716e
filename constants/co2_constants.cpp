// CO2_Constants and its set-independent terms.
// Numeric model: inputs are floats, each formula is evaluated in double, and
// every named intermediate is stored as float; operations between two stored
// floats that the model fixes as float operations are written on floats.
#include "constants/co2_constants.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdint>

#include "constants/acid_constants.h"
#include "constants/pressure_corrections.h"
#include "constants/seawater_terms.h"
#include "log/log.h"

namespace brinora {
namespace constants_internal {

float TotalBorateUppstrom1974(float Sal) {
    const double S = Sal;
    // Uppstrom (1974): 0.000232 g/kg per salinity-chlorinity unit over 10.811 g/mol
    return static_cast<float>((0.000232 / 10.811) * (S / 1.80655));
}

float TotalBorateGEOSECS(float Sal) {
    const double S = Sal;
    // GEOSECS: 0.0004106 mol/kg at S = 35
    return static_cast<float>(0.0004106 * S / 35.0);
}

float TotalBorate(int whichKs, float Sal) {
    if ((whichKs >= 1 && whichKs <= 5) || (whichKs >= 9 && whichKs <= 14)) {
        return TotalBorateUppstrom1974(Sal);
    }
    if (whichKs == 6 || whichKs == 7) {
        return TotalBorateGEOSECS(Sal);
    }
    return 0.0f;  // code 8 (fresh water) and unknown codes
}

float TotalFluoride(float Sal) {
    const double S = Sal;
    // Riley (1965): 0.000067 g/kg per chlorinity over 18.998 g/mol
    return static_cast<float>((0.000067 / 18.998) * (S / 1.80655));
}

float TotalSulfate(float Sal) {
    const double S = Sal;
    // Morris and Riley (1966): 0.14 g/kg per chlorinity over 96.062 g/mol
    return static_cast<float>((0.14 / 96.062) * (S / 1.80655));
}

K0TemperatureTerms K0TemperatureTermsWeiss1974(float TempK) {
    const float TempK100 = static_cast<float>(TempK / 100.0);
    const double T100 = TempK100;
    // Weiss (1974): lnK0 = -60.2409 + 93.4517/(T/100) + 23.3585 ln(T/100) + S(0.023517 - 0.023656 T/100 + 0.0047036 (T/100)^2)
    return {-60.2409 + 93.4517 / T100 + 23.3585 * std::log(T100), 0.023517 - 0.023656 * T100 + 0.0047036 * T100 * T100};
}

float K0FromTemperatureTerms(float Sal, const K0TemperatureTerms& terms) {
    const double S = Sal;
    // The sum as the one expression of the formula has always been compiled:
    // when both terms are not-a-number, the (quiet) one of the temperature
    // term, whichever operand the compiler puts first here.
    const double salinityTerm = S * terms.lnK0PerSal;
    double sum = terms.lnK0Temperature + salinityTerm;
    if (std::isnan(terms.lnK0Temperature) && std::isnan(salinityTerm)) {
        sum = std::bit_cast<double>(std::bit_cast<std::uint64_t>(terms.lnK0Temperature) | 0x0008000000000000ull);
    }
    const float lnK0 = static_cast<float>(sum);
    return static_cast<float>(std::exp(static_cast<double>(lnK0)));
}

float K0_Weiss1974(float Sal, float TempK) { return K0FromTemperatureTerms(Sal, K0TemperatureTermsWeiss1974(TempK)); }

float IonicStrength(float Sal) {
    const double S = Sal;
    // DOE (1994) Handbook, ch. 5: I = 19.924 S/(1000 - 1.005 S)
    return static_cast<float>(19.924 * S / (1000.0 - 1.005 * S));
}

float KS_Dickson1990(float Sal, float TempK, float logTempK, float IonS) {
    const double S = Sal, TK = TempK, lnTK = logTempK, I = IonS;
    const double sqrtI = std::sqrt(I);
    // Dickson (1990), free scale, mol/kg-H2O; each addition stored as float
    float lnKS = 0.0f;
    lnKS = static_cast<float>(-4276.1 / TK);
    lnKS = static_cast<float>(lnKS + 141.328);
    lnKS = static_cast<float>(lnKS - 23.093 * lnTK);
    lnKS = static_cast<float>(lnKS + (-13856.0 / TK + 324.57 - 47.986 * lnTK) * sqrtI);
    lnKS = static_cast<float>(lnKS + (35474.0 / TK - 771.54 + 114.723 * lnTK) * I);
    lnKS = static_cast<float>(lnKS - (2698.0 / TK) * sqrtI * I);
    lnKS = static_cast<float>(lnKS + (1776.0 / TK) * I * I);
    float KS = static_cast<float>(std::exp(static_cast<double>(lnKS)));
    // mol/kg-H2O to mol/kg-SW
    KS = static_cast<float>(KS * (1.0 - kH2OToSWPerSal * S));
    return KS;
}

float KS_Khoo1977(float Sal, float TempK, float IonS) {
    const double S = Sal, TK = TempK, I = IonS;
    // Khoo et al. (1977): pKS = 647.59/T - 6.3451 + 0.019085 T - 0.5208 sqrt(I)
    const float pKS = static_cast<float>(647.59 / TK - 6.3451 + 0.019085 * TK - 0.5208 * std::sqrt(I));
    float KS = static_cast<float>(std::pow(10.0, -static_cast<double>(pKS)));
    // mol/kg-H2O to mol/kg-SW
    KS = static_cast<float>(KS * (1.0 - kH2OToSWPerSal * S));
    return KS;
}

float KS_ByCode(int whichKSO4, float Sal, float TempK, float logTempK, float IonS) {
    switch (whichKSO4) {
        case khso4::kDickson:
            return KS_Dickson1990(Sal, TempK, logTempK, IonS);
        case khso4::kKhoo:
            return KS_Khoo1977(Sal, TempK, IonS);
        default:
            return 0.0f;
    }
}

float KF_DicksonRiley1979(float Sal, float TempK, float IonS) {
    const double S = Sal, TK = TempK, I = IonS;
    // Dickson and Riley (1979): lnKF = 1590.2/T - 12.641 + 1.525 sqrt(I), free scale
    const float lnKF = static_cast<float>(1590.2 / TK - 12.641 + 1.525 * std::sqrt(I));
    // mol/kg-H2O to mol/kg-SW
    return static_cast<float>(std::exp(static_cast<double>(lnKF)) * (1.0 - kH2OToSWPerSal * S));
}

float SWStoTOTFactor(float TS, float KS, float TF, float KF) {
    const float TSoverKS = TS / KS;  // float division
    const float TFoverKF = TF / KF;  // float division
    return static_cast<float>((1.0 + TSoverKS) / (1.0 + TSoverKS + TFoverKF));
}

float FREEtoTOTFactor(float TS, float KS) {
    const float TSoverKS = TS / KS;  // float division
    return static_cast<float>(1.0 + TSoverKS);
}

void ActivityCoefficientH(int whichKs, float Sal, float TempK, float& fH) {
    const double S = Sal, TK = TempK;
    if ((whichKs >= 1 && whichKs <= 6) || (whichKs >= 9 && whichKs <= 14)) {
        // Takahashi et al. (1982): fH = 1.2948 - 0.002036 T + (0.0004607 - 0.000001475 T) S^2
        fH = static_cast<float>(1.2948 - 0.002036 * TK);
        fH = static_cast<float>(fH + (0.0004607 - 0.000001475 * TK) * S * S);
    } else if (whichKs == 7) {
        // GEOSECS: fH = 1.29 - 0.00204 T + (0.00046 - 0.00000148 T) S^2
        fH = static_cast<float>(1.29 - 0.00204 * TK);
        fH = static_cast<float>(fH + (0.00046 - 0.00000148 * TK) * S * S);
    } else if (whichKs == 8) {
        fH = 1.0f;  // fresh water
    }
    // Any other code: fH is left as the caller passed it.
}

float FugacityFactorWeiss1974(float TempK, float RT) {
    const double TK = TempK;
    // Weiss (1974): B = -1636.75 + 12.0408 T - 0.0327957 T^2 + 3.16528e-05 T^3 [cm3/mol]
    const float B = static_cast<float>(-1636.75 + 12.0408 * TK - 0.0327957 * TK * TK +
                                       3.16528e-05 * TK * TK * TK);
    // Weiss (1974): delta(CO2-air) = 57.7 - 0.118 T [cm3/mol]
    const float Delta = static_cast<float>(57.7 - 0.118 * TK);
    const float P1atm = kOneAtmosphere;
    // FugFac = exp((B + 2 delta) P/RT)
    return static_cast<float>(std::exp((static_cast<double>(B) + 2.0 * Delta) * P1atm / RT));
}

float VapourPressureWaterWeissPrice1980(float TempK) {
    const double TK = TempK;
    // Weiss and Price (1980): ln(VPWP) = 24.4543 - 67.4509 (100/T) - 4.8489 ln(T/100) [atm]
    return static_cast<float>(std::exp(24.4543 - 67.4509 * (100.0 / TK) - 4.8489 * std::log(TK / 100.0)));
}

float VapourPressureSalinityFactorWeissPrice1980(float Sal) {
    const double S = Sal;
    // Weiss and Price (1980): seawater correction exp(-0.000544 S)
    return static_cast<float>(std::exp(-0.000544 * S));
}

float VapourPressureFactorFromParts(float VPWP, float VPCorrWP) {
    const float VPSWWP = VPWP * VPCorrWP;  // float product
    return static_cast<float>(1.0 - VPSWWP);
}

float VapourPressureFactorWeissPrice1980(float Sal, float TempK) {
    return VapourPressureFactorFromParts(VapourPressureWaterWeissPrice1980(TempK),
                                         VapourPressureSalinityFactorWeissPrice1980(Sal));
}

}  // namespace constants_internal

namespace {

// ---- Terms of one temperature, one salinity, one pressure ----
//
// The two evaluations of a sample with other output conditions share its
// salinity, and the samples of a run often share their output temperature
// and pressure. The parts of the routine that read the temperature alone, the
// salinity (and set) alone, or the set, temperature and pressure alone (the
// pressure-correction factors) are kept per thread by the bits of those
// arguments and handed out again: each is the value its own expression gives
// for those arguments, so every constant is the same to the bit.

using namespace constants_internal;

// What the routine computes from the temperature alone.
struct TemperatureTerms {
    float TempK = 0.0f, RT = 0.0f, logTempK = 0.0f;
    K0TemperatureTerms K0{};
    float FugFac = 0.0f;  // Weiss (1974); sets 6 and 7 then use 1
    float VPWP = 0.0f;    // vapour pressure of pure water [atm]
};

void TemperatureTermsOf(float TempC, TemperatureTerms& terms) {
    terms.TempK = static_cast<float>(TempC + kCelsiusToKelvin);
    const float R = kGasConstant;
    terms.RT = R * terms.TempK;  // float product [mL bar/mol]
    terms.logTempK = static_cast<float>(std::log(static_cast<double>(terms.TempK)));
    terms.K0 = K0TemperatureTermsWeiss1974(terms.TempK);
    terms.FugFac = FugacityFactorWeiss1974(terms.TempK, terms.RT);
    terms.VPWP = VapourPressureWaterWeissPrice1980(terms.TempK);
}

// What the routine computes from the salinity (and, for total borate, the set) alone.
struct SalinityTerms {
    float sqrSal = 0.0f;
    float TB = 0.0f, TF = 0.0f, TS = 0.0f;  // mol/kg-SW
    float IonS = 0.0f;                      // mol/kg-H2O
    float VPCorrWP = 0.0f;                  // seawater correction of the vapour pressure
};

void SalinityTermsOf(int whichKs, float Sal, SalinityTerms& terms) {
    terms.sqrSal = static_cast<float>(std::sqrt(static_cast<double>(Sal)));
    terms.TB = TotalBorate(whichKs, Sal);
    terms.TF = TotalFluoride(Sal);
    terms.TS = TotalSulfate(Sal);
    terms.IonS = IonicStrength(Sal);
    terms.VPCorrWP = VapourPressureSalinityFactorWeissPrice1980(Sal);
}

// The values of the latest N keys, the least recently used replaced; with
// `keep` false, a value made afresh and not kept. The value is made in place
// and read where it lies.
template <typename Key, typename Value, std::size_t N>
class KeptTerms {
public:
    template <typename Make>
    const Value& get(const Key& key, bool keep, Make make) {
        if (keep) {
            for (std::size_t i = 0; i < N; ++i) {
                if (entries_[i].kept && entries_[i].key == key) {
                    latest_ = i;
                    return entries_[i].value;
                }
            }
        }
        latest_ = (latest_ + 1) % N;
        Entry& entry = entries_[latest_];
        entry.key = key;
        entry.kept = keep;
        make(entry.value);
        return entry.value;
    }
    void forget() { entries_ = {}; }

private:
    struct Entry {
        Key key{};
        Value value{};
        bool kept = false;
    };
    std::array<Entry, N> entries_{};
    std::size_t latest_ = 0;
};

struct TemperatureKey {
    std::uint32_t TempC;
    bool operator==(const TemperatureKey&) const = default;
};
struct SalinityKey {
    int whichKs;
    std::uint32_t Sal;
    bool operator==(const SalinityKey&) const = default;
};
struct PressureKey {
    int whichKs;
    std::uint32_t TempC, Pbar;
    bool operator==(const PressureKey&) const = default;
};

// Per thread: the input and output conditions of a sample.
struct ConditionTerms {
    KeptTerms<TemperatureKey, TemperatureTerms, 2> temperature;
    KeptTerms<SalinityKey, SalinityTerms, 2> salinity;
    KeptTerms<PressureKey, PressureFactors, 2> pressure;
    bool on = true;
};

thread_local ConditionTerms conditionTerms;

const TemperatureTerms& TemperatureTermsFor(float TempC) {
    return conditionTerms.temperature.get({std::bit_cast<std::uint32_t>(TempC)}, conditionTerms.on,
                                          [&](TemperatureTerms& terms) { TemperatureTermsOf(TempC, terms); });
}

const SalinityTerms& SalinityTermsFor(int whichKs, float Sal) {
    return conditionTerms.salinity.get({whichKs, std::bit_cast<std::uint32_t>(Sal)}, conditionTerms.on,
                                       [&](SalinityTerms& terms) { SalinityTermsOf(whichKs, Sal, terms); });
}

// RT is R times the TempK of TempC, so the key need not hold it.
const PressureFactors& PressureFactorsFor(int whichKs, float TempC, float Pbar, float RT) {
    return conditionTerms.pressure.get(
        {whichKs, std::bit_cast<std::uint32_t>(TempC), std::bit_cast<std::uint32_t>(Pbar)}, conditionTerms.on,
        [&](PressureFactors& factors) { factors = PressureCorrectionFactors(whichKs, TempC, Pbar, RT); });
}

// The routine itself; CO2_Constants below hands out a kept result instead
// when the arguments are those of a recent call.
void ComputeConstants(int pHScale, int whichKs, int whichKSO4, float Sal, float TempC, float Pdbar,
                      float& K0out, ConstantsArray& K, TotalsArray& T, float& fH, float& FugFacOut,
                      float& VPFac, PengLine& peng) {
    // 1. Working values.
    const TemperatureTerms& temperature = TemperatureTermsFor(TempC);
    const SalinityTerms& salinity = SalinityTermsFor(whichKs, Sal);
    const float TempK = temperature.TempK;
    const float RT = temperature.RT;
    const float sqrSal = salinity.sqrSal;
    const float logTempK = temperature.logTempK;
    const float Pbar = static_cast<float>(Pdbar / 10.0);

    // 2-3. Salinity totals [mol/kg-SW].
    const float TB = salinity.TB;
    const float TF = salinity.TF;
    const float TS = salinity.TS;
    T[t::TB] = TB;
    T[t::TF] = TF;
    T[t::TS] = TS;

    // 4. CO2 solubility [mol/(kg-SW atm)].
    K0out = K0FromTemperatureTerms(Sal, temperature.K0);

    // 5-7. Ionic strength and the free-scale bisulfate and fluoride constants.
    const float IonS = salinity.IonS;
    float KS = KS_ByCode(whichKSO4, Sal, TempK, logTempK, IonS);
    float KF = KF_DicksonRiley1979(Sal, TempK, IonS);

    // 8. Surface pH-scale factors.
    float SWStoTOT = SWStoTOTFactor(TS, KS, TF, KF);

    // 9. Activity coefficient of H+ (left as passed for unknown codes).
    ActivityCoefficientH(whichKs, Sal, TempK, fH);

    // 10. Set-dependent constants on the seawater scale at the surface.
    AcidInputs in;
    in.whichKs = whichKs;
    in.pHScale = pHScale;
    in.Sal = Sal;
    in.TempC = TempC;
    in.TempK = TempK;
    in.sqrSal = sqrSal;
    in.logTempK = logTempK;
    in.IonS = IonS;
    in.SWStoTOT = SWStoTOT;
    in.fH = fH;
    const AcidConstants acid = AcidConstantsForSet(in);
    if (whichKs == 6 || whichKs == 7) peng = PengLine{acid.log10K2, acid.K2, fH};
    float K1 = acid.K1, K2 = acid.K2, KW = acid.KW, KB = acid.KB;
    float KP1 = acid.KP1, KP2 = acid.KP2, KP3 = acid.KP3, KSi = acid.KSi;

    // 11. Pressure corrections, applied as float products.
    const PressureFactors& f = PressureFactorsFor(whichKs, TempC, Pbar, RT);
    K1 = K1 * f.K1;
    K2 = K2 * f.K2;
    KW = KW * f.KW;
    KB = KB * f.KB;
    KF = KF * f.KF;
    KS = KS * f.KS;
    KP1 = KP1 * f.KP1;
    KP2 = KP2 * f.KP2;
    KP3 = KP3 * f.KP3;
    KSi = KSi * f.KSi;

    // 12. Store the pressure-corrected constants (seawater scale; KF, KS free).
    K[k::K1] = K1;
    K[k::K2] = K2;
    K[k::KW] = KW;
    K[k::KB] = KB;
    K[k::KF] = KF;
    K[k::KS] = KS;
    K[k::KP1] = KP1;
    K[k::KP2] = KP2;
    K[k::KP3] = KP3;
    K[k::KSi] = KSi;

    // 13. Scale factors at pressure.
    SWStoTOT = SWStoTOTFactor(TS, KS, TF, KF);
    const float FREEtoTOT = FREEtoTOTFactor(TS, KS);

    // 14. Factor from the seawater scale to the requested one (0 for unknown codes).
    float pHfactor = 0.0f;
    switch (pHScale) {
        case ph_scale::kTotal:
            pHfactor = SWStoTOT;
            break;
        case ph_scale::kSeawater:
            pHfactor = 1.0f;
            break;
        case ph_scale::kFree:
            pHfactor = SWStoTOT / FREEtoTOT;
            break;
        case ph_scale::kNBS:
            pHfactor = fH;
            break;
        default:
            break;
    }

    // 15. Convert entries 1-4 and 7-10; KF and KS stay on the free scale.
    for (int i = k::K1; i <= k::KB; ++i) {
        K[i] = K[i] * pHfactor;
    }
    for (int i = k::KP1; i <= k::KSi; ++i) {
        K[i] = K[i] * pHfactor;
    }

    // 16. Fugacity factor; sets 6 and 7 work with pCO2 directly.
    float FugFac = temperature.FugFac;
    if (whichKs == 6 || whichKs == 7) {
        FugFac = 1.0f;
    }
    FugFacOut = FugFac;

    // 17. Vapour-pressure factor [atm].
    VPFac = VapourPressureFactorFromParts(temperature.VPWP, salinity.VPCorrWP);
}

// ---- Exact reuse ----
//
// A sample calls the routine twice with the same arguments when its output
// conditions are its input conditions, and consecutive samples of a cast
// often share their conditions. The routine is a pure function of its
// arguments, so each thread keeps the results of its last few calls and
// hands them out again for arguments that are equal to the bit. Not kept:
// codes outside 1..14, for which fH passes through from the caller.

// One call: its arguments, bit for bit, and everything it wrote.
struct KeptConstants {
    int pHScale = 0, whichKs = 0, whichKSO4 = 0;
    std::uint32_t Sal = 0, TempC = 0, Pdbar = 0;
    float K0 = 0.0f;
    std::array<float, 10> K{};  // positions 1..10
    std::array<float, 3> T{};   // positions 1..3
    float fH = 0.0f, FugFac = 0.0f, VPFac = 0.0f;
    PengLine peng;

    bool matches(const KeptConstants& other) const {
        return Sal == other.Sal && TempC == other.TempC && Pdbar == other.Pdbar && pHScale == other.pHScale &&
               whichKs == other.whichKs && whichKSO4 == other.whichKSO4;
    }
};

// Calls kept per thread: a sample's input and output conditions and those of
// the sample before it.
constexpr std::size_t kKeptCalls = 4;

struct ConstantsReuse {
    std::array<KeptConstants, kKeptCalls> calls;
    std::size_t filled = 0;
    std::size_t next = 0;  // the slot the next new call replaces
    bool on = true;
};

thread_local ConstantsReuse reuse;

bool Reusable(int whichKs) { return whichKs >= 1 && whichKs <= 14; }

}  // namespace

std::string FormatPengLine(const PengLine& peng) {
    // A float printed with %f takes at most 47 characters (39 digits of
    // 3.4e38, sign, point, 6 decimals): three of them and the word fit.
    char text[192];
    const int length = std::snprintf(text, sizeof text, "peng %f %f %f", static_cast<double>(peng.log10K2),
                                     static_cast<double>(peng.K2), static_cast<double>(peng.fH));
    return std::string(text, static_cast<std::size_t>(length));
}

void CO2_ConstantsValues(int pHScale, int whichKs, int whichKSO4, float Sal, float TempC, float Pdbar,
                         float& K0out, ConstantsArray& K, TotalsArray& T, float& fH, float& FugFacOut,
                         float& VPFac, PengLine& peng) {
    if (!reuse.on || !Reusable(whichKs)) {
        ComputeConstants(pHScale, whichKs, whichKSO4, Sal, TempC, Pdbar, K0out, K, T, fH, FugFacOut, VPFac, peng);
        return;
    }
    KeptConstants key;
    key.pHScale = pHScale;
    key.whichKs = whichKs;
    key.whichKSO4 = whichKSO4;
    key.Sal = std::bit_cast<std::uint32_t>(Sal);
    key.TempC = std::bit_cast<std::uint32_t>(TempC);
    key.Pdbar = std::bit_cast<std::uint32_t>(Pdbar);
    for (std::size_t i = 0; i < reuse.filled; ++i) {
        const KeptConstants& kept = reuse.calls[i];
        if (!kept.matches(key)) continue;
        K0out = kept.K0;
        for (int k = 0; k < 10; ++k) K[static_cast<std::size_t>(k + 1)] = kept.K[static_cast<std::size_t>(k)];
        for (int t = 0; t < 3; ++t) T[static_cast<std::size_t>(t + 1)] = kept.T[static_cast<std::size_t>(t)];
        fH = kept.fH;
        FugFacOut = kept.FugFac;
        VPFac = kept.VPFac;
        if (whichKs == 6 || whichKs == 7) peng = kept.peng;
        return;
    }
    ComputeConstants(pHScale, whichKs, whichKSO4, Sal, TempC, Pdbar, K0out, K, T, fH, FugFacOut, VPFac, key.peng);
    if (whichKs == 6 || whichKs == 7) peng = key.peng;
    key.K0 = K0out;
    for (int k = 0; k < 10; ++k) key.K[static_cast<std::size_t>(k)] = K[static_cast<std::size_t>(k + 1)];
    for (int t = 0; t < 3; ++t) key.T[static_cast<std::size_t>(t)] = T[static_cast<std::size_t>(t + 1)];
    key.fH = fH;
    key.FugFac = FugFacOut;
    key.VPFac = VPFac;
    reuse.calls[reuse.next] = key;
    reuse.next = (reuse.next + 1) % kKeptCalls;
    if (reuse.filled < kKeptCalls) ++reuse.filled;
}

void CO2_Constants(int pHScale, int whichKs, int whichKSO4, float Sal, float TempC, float Pdbar,
                   float& K0out, ConstantsArray& K, TotalsArray& T, float& fH, float& FugFacOut,
                   float& VPFac) {
    PengLine peng;
    CO2_ConstantsValues(pHScale, whichKs, whichKSO4, Sal, TempC, Pdbar, K0out, K, T, fH, FugFacOut, VPFac, peng);
    if (whichKs == 6 || whichKs == 7) log::line(FormatPengLine(peng));
}

void setConstantsReuse(bool on) {
    reuse.on = on;
    reuse.filled = 0;
    reuse.next = 0;
    conditionTerms.on = on;
    conditionTerms.temperature.forget();
    conditionTerms.salinity.forget();
    conditionTerms.pressure.forget();
}

}  // namespace brinora
