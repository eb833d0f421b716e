// The calculation of one sample: the carbonate pair at input conditions, then
// the system at output conditions with TA and TCO2 held. Chemistry units
// inside (mol/kg-SW, atm); board units at the edges.
#include <bit>
#include <climits>
#include <cmath>
#include <cstdint>
#include <limits>

#include "constants/co2_constants.h"
#include "engine/sample.h"
#include "solvers/alkalinity.h"
#include "solvers/alkalinity_terms.h"
#include "solvers/co2_flux.h"
#include "solvers/density.h"
#include "solvers/pair_solvers.h"
#include "solvers/revelle.h"
#include "solvers/saturation.h"

namespace brinora {
namespace {

// Carbonate parameters in the order of their board slots 18..22.
enum Parameter { kTA = 1, kTCO2 = 2, kpH = 3, kfCO2 = 4, kpCO2 = 5 };

// Constants-set code of the set that counts phosphate alkalinity outside TA.
constexpr int kGeosecsPhosphateSet = 7;

// Missing-value marks of the condition inputs.
constexpr float kMissing9 = -9.0f;
constexpr float kMissing999 = -999.0f;

// Sentinel pH of a pair with no solution.
constexpr float kNopH = -999.0f;

// Board units to chemistry units: micromol/kg to mol/kg, microatm to atm.
constexpr double kMicro = 1000000.0;

// Integer part of a float option value, truncated toward zero. Values outside
// the int range (and NaN) give the x86 "integer indefinite" value instead of
// undefined behaviour.
int integerPart(float value) {
    if (!(value >= -2147483648.0f && value < 2147483648.0f)) {
        return INT_MIN;
    }
    return static_cast<int>(value);
}

bool sameBits(float a, float b) { return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b); }

// x + y with, when both are not-a-number, the (quiet) NaN of x. On x86 the
// sum of two NaNs is the first operand of the instruction, and a compiler may
// put either first; the driver's compiled code has always put the phosphate
// total first in TA + TP and PAlk + TP, and these sums keep that order
// whatever the compiler does with the rest.
float sumWithNaNOf(float x, float y) {
    const float sum = x + y;
    if (std::isnan(x) && std::isnan(y)) return std::bit_cast<float>(std::bit_cast<std::uint32_t>(x) | 0x00400000u);
    return sum;
}

float toChemistry(float boardValue) { return static_cast<float>(boardValue / kMicro); }
float toBoard(float chemistryValue) { return static_cast<float>(chemistryValue * kMicro); }
float microOf(float chemistryValue) { return static_cast<float>(static_cast<double>(chemistryValue) * kMicro); }

// Clears the upper halves of the AVX registers. The calculation's code uses
// the older SSE instructions, which run several times slower while those
// halves hold data (Qt's libraries leave them so, and a desktop or
// command-line process that has read its settings computes ten times slower).
// The lower halves, which hold every value, are not touched; no result changes.
void clearUpperVectorState() {
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
    static const bool hasAVX = __builtin_cpu_supports("avx");
    if (hasAVX) {
        __asm__ volatile("vzeroupper" ::: "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8",
                         "xmm9", "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15");
    }
#endif
}

using Values = std::array<float, quantity::kCount>;

// H = 10^-pH [mol/kg-SW] of one sample's pH values, kept for the latest pH:
// the fCO2, the species and the saturation states of one pH read the same
// power of ten (detail::HydrogenIon of the same bits), computed once.
class HydrogenIonOfpH {
public:
    float operator()(float pH) {
        if (!held_ || !sameBits(pH, pH_)) {
            pH_ = pH;
            H_ = detail::HydrogenIon(pH);
            held_ = true;
        }
        return H_;
    }

private:
    float pH_ = 0.0f;
    float H_ = 0.0f;
    bool held_ = false;
};

// The parts of the derived block (species and alkalinity parts, Revelle
// factor, saturation states, xCO2) of one set of conditions.
struct DerivedParts {
    bool species = false;
    bool revelle = false;
    bool saturation = false;
    bool xCO2 = false;
};

// The parts the quantities first..first+10 of `wanted` need.
DerivedParts partsWanted(QuantityMask wanted, int first) {
    const auto any = [&](int from, int to) {
        for (int p = from; p <= to; ++p) {
            if (wanted & quantityBit(first + p)) return true;
        }
        return false;
    };
    return {any(0, 6), any(7, 7), any(8, 9), any(10, 10)};
}

// The carbonate state the derived block is computed from.
struct DerivedArguments {
    float TA, TCO2, pH, pCO2;
};

// A derived block computed before for the same conditions and constants: its
// arguments, the parts it holds and where.
struct EarlierBlock {
    DerivedArguments arguments;
    DerivedParts parts;
    int first;
};

// Everything else the derived block reads, the same for both blocks when the
// conditions are the same.
struct DerivedContext {
    int whichKs;
    float Sal, TempC, Pdbar, K0, VPFac;
    const ConstantsArray& K;
    const TotalsArray& T;
};

// Species, alkalinity parts, Revelle factor, saturation states and xCO2 of one
// set of conditions, written to quantity positions first..first+10. A part
// whose every argument has the bits of `earlier`'s (same conditions and
// constants) is copied from it: the same function of the same values.
void fillDerived(Values& r, int first, DerivedParts parts, const DerivedArguments& a, const DerivedContext& c,
                 const EarlierBlock* earlier, HydrogenIonOfpH& hydrogenIon, const float* revellepH) {
    const auto copy = [&](int from, int to) {
        for (int p = from; p <= to; ++p) r[static_cast<std::size_t>(first + p)] = r[static_cast<std::size_t>(earlier->first + p)];
    };
    const float K1 = c.K[k::K1];
    const float K2 = c.K[k::K2];

    if (parts.species) {
        if (earlier && earlier->parts.species && sameBits(a.pH, earlier->arguments.pH) &&
            sameBits(a.TCO2, earlier->arguments.TCO2)) {
            copy(0, 6);
        } else {
            float HCO3 = 0, CO3 = 0, BAlk = 0, OH = 0, PAlk = 0, SiAlk = 0, Hfree = 0, HSO4 = 0, HF = 0;
            CalculateAlkPartsAtH(hydrogenIon(a.pH), a.TCO2, c.K, c.T, HCO3, CO3, BAlk, OH, PAlk, SiAlk, Hfree,
                                 HSO4, HF);
            if (c.whichKs == kGeosecsPhosphateSet) {
                PAlk = sumWithNaNOf(c.T[t::TP], PAlk);
            }
            const float CO2 = (a.TCO2 - CO3) - HCO3;
            r[static_cast<std::size_t>(first + 0)] = microOf(HCO3);
            r[static_cast<std::size_t>(first + 1)] = microOf(CO3);
            r[static_cast<std::size_t>(first + 2)] = microOf(CO2);
            r[static_cast<std::size_t>(first + 3)] = microOf(BAlk);
            r[static_cast<std::size_t>(first + 4)] = microOf(OH);
            r[static_cast<std::size_t>(first + 5)] = microOf(PAlk);
            r[static_cast<std::size_t>(first + 6)] = microOf(SiAlk);
        }
    }
    if (parts.revelle) {
        if (earlier && earlier->parts.revelle && sameBits(a.TA, earlier->arguments.TA) &&
            sameBits(a.TCO2, earlier->arguments.TCO2)) {
            copy(7, 7);
        } else if (revellepH) {
            // The pH either side of TCO2 solved already, with the pH of the pass.
            const RevellePairs pairs = RevelleSolvePairs(static_cast<short>(c.whichKs), a.TA, a.TCO2, c.T);
            r[static_cast<std::size_t>(first + 7)] = RevelleFrompH(pairs, revellepH[0], revellepH[1], c.K0, K1, K2);
        } else {
            float Revelle = 0;
            RevelleFactor(static_cast<short>(c.whichKs), a.TA, a.TCO2, c.K0, c.K, c.T, Revelle);
            r[static_cast<std::size_t>(first + 7)] = Revelle;
        }
    }
    if (parts.saturation) {
        if (earlier && earlier->parts.saturation && sameBits(a.pH, earlier->arguments.pH) &&
            sameBits(a.TCO2, earlier->arguments.TCO2)) {
            copy(8, 9);
        } else {
            float OmegaCa = 0, OmegaAr = 0;
            CaSolubilityAtH(static_cast<short>(c.whichKs), c.Sal, c.TempC, c.Pdbar, a.TCO2, hydrogenIon(a.pH), K1,
                            K2, OmegaCa, OmegaAr);
            r[static_cast<std::size_t>(first + 8)] = OmegaCa;
            r[static_cast<std::size_t>(first + 9)] = OmegaAr;
        }
    }
    if (parts.xCO2) {
        const float xCO2 = a.pCO2 / c.VPFac;
        r[static_cast<std::size_t>(first + 10)] = microOf(xCO2);
    }
}

// The pH of (TAsolved, TC) and the pH of the Revelle factor's two pairs
// about (TApairs, TC), plus and minus 1 micromol/kg, on the same constants:
// the three solves stepped together, each as it runs on its own.
float pHWithRevellepH(int whichKs, float TAsolved, float TApairs, float TC, const ConstantsArray& K,
                      const TotalsArray& T, float (&revellepH)[2]) {
    const RevellePairs pairs = RevelleSolvePairs(static_cast<short>(whichKs), TApairs, TC, T);
    const float TAs[3] = {TAsolved, pairs.TAplus, pairs.TAminus};
    const float TCs[3] = {TC, pairs.TCplus, pairs.TCminus};
    float pHs[3];
    CalculateThreepHfromTATC(TAs, TCs, K, T, pHs);
    revellepH[0] = pHs[1];
    revellepH[1] = pHs[2];
    return pHs[0];
}

}  // namespace

SampleOptions optionsFromSlots(float constantsSet, float khso4, float pHScale, float airSeaFlux) {
    return {integerPart(constantsSet) + 1, integerPart(khso4) + 1, integerPart(pHScale) + 1,
            FluxFormulaCode(airSeaFlux)};
}

ComputeOutcome computeSample(const SampleInputs& sample, SampleResults& results, QuantityMask wanted) {
    using Status = ComputeOutcome::Status;
    clearUpperVectorState();
    const auto& v = sample.values;
    // Conditions (salinity, deg C, dbar, micromol/kg) and carbonate parameters.
    float S = v[input::kSalinity];
    float TempC = v[input::kTemperature];
    float Pdbar = v[input::kPressure];
    float TP = v[input::kPhosphate];
    float TSi = v[input::kSilicate];
    float TempCOut = v[input::kTemperatureOut];
    float PdbarOut = v[input::kPressureOut];
    // Output conditions of 0 repeat the input conditions.
    if (TempCOut == 0.0f) TempCOut = TempC;
    if (PdbarOut == 0.0f) PdbarOut = Pdbar;
    // Sigma-t at output conditions sees the output temperature before the
    // missing-value rule below.
    const float TempCOutForSigma = TempCOut;

    float TA = v[input::kTA];
    float TCO2 = v[input::kTCO2];
    float pH = v[input::kpH];
    float fCO2 = v[input::kfCO2];
    float pCO2 = v[input::kpCO2];

    const float pCO2air = v[input::kpCO2Air];
    const float windSpeed = v[input::kWindSpeed];
    const int whichKs = sample.options.whichKs;
    const int whichKSO4 = sample.options.whichKSO4;
    const int pHScale = sample.options.pHScale;

    // The pair: the first two non-zero parameters in the order TA, TCO2, pH,
    // fCO2, pCO2. A chosen negative parameter refuses the sample; salinity or
    // input temperature at a missing-value mark refuses it; other conditions
    // at a mark count as 0.
    const std::array<float, 6> parameters{0.0f, TA, TCO2, pH, fCO2, pCO2};
    std::array<float*, 8> conditions{nullptr, &S, &TempC, &Pdbar, &TP, &TSi, &TempCOut, &PdbarOut};
    int chosen[2] = {0, 0};
    int chosenCount = 0;
    for (int i = 1; i <= 7; ++i) {
        if (i <= 5 && parameters[i] != 0.0f && chosenCount < 2) {
            chosen[chosenCount++] = i;
            if (parameters[i] < 0.0f) return {Status::kNegativeParameter, i};
        }
        float& condition = *conditions[i];
        if (condition == kMissing9 || condition == kMissing999) {
            if (i == 1) return {Status::kSalinityMissing, 0};
            if (i == 2) return {Status::kTemperatureMissing, 0};
            condition = 0.0f;
        }
    }

    const bool geosecs = whichKs == 6 || whichKs == 7;
    results.pengCount = 0;
    const auto addPeng = [&](const PengLine& peng) {
        if (geosecs) results.peng[static_cast<std::size_t>(results.pengCount++)] = peng;
    };

    // Set 8 is the freshwater set: no salinity, nutrients or phosphate for it;
    // set 6 carries no nutrients.
    float SalChem = S;
    if (whichKs == 8 || whichKs == 6) {
        TP = 0.0f;
        TSi = 0.0f;
        if (whichKs == 8) SalChem = 0.0f;
    } else {
        TP = toChemistry(TP);
        TSi = toChemistry(TSi);
    }
    ConstantsArray K{};
    TotalsArray T{};
    T[t::TP] = TP;
    T[t::TSi] = TSi;

    float fH = 0.0f;
    float VPFac = 0.0f;
    float K0 = 0.0f;
    float FugFac = 0.0f;
    PengLine peng;
    CO2_ConstantsValues(pHScale, whichKs, whichKSO4, SalChem, TempC, Pdbar, K0, K, T, fH, FugFac, VPFac, peng);
    addPeng(peng);
    float K1 = K[k::K1];
    float K2 = K[k::K2];

    const short pairCode = static_cast<short>(10 * chosen[0] + chosen[1]);
    const bool fCO2Given = chosen[0] == kfCO2 || chosen[1] == kfCO2;
    const bool pCO2Given = chosen[0] == kpCO2 || chosen[1] == kpCO2;
    if (fCO2Given) {
        pCO2 = fCO2 / FugFac;
    } else if (pCO2Given) {
        fCO2 = pCO2 * FugFac;
    }

    TA = toChemistry(TA);
    TCO2 = toChemistry(TCO2);
    fCO2 = toChemistry(fCO2);
    pCO2 = toChemistry(pCO2);

    // Solve at input conditions. Set 7 counts phosphate outside TA.
    const bool phosphateOutside = whichKs == kGeosecsPhosphateSet;
    // Whether K, K0 and FugFac are still those of the sample's codes at input
    // conditions.
    bool inputConstantsOfCodes = true;
    // Whether fCO2 is CalculatefCO2fromTCpH of the final TCO2 and pH and the
    // constants K0, K1, K2 of the sample's codes at input conditions.
    bool fCO2OfTCpH = false;
    bool solved = true;
    HydrogenIonOfpH hydrogenIon;
    const DerivedParts inParts = partsWanted(wanted, 11);
    float inRevellepH[2] = {0.0f, 0.0f};
    bool inRevelleSolved = false;
    switch (pairCode) {
        case 12: {
            // The TA and TCO2 solver evaluates the constants routine again
            // with the three codes narrowed to short integers, on its own fH
            // and vapour-pressure factor: for codes that fit, the same
            // arguments, so the same constants (and, for sets 6 and 7, its
            // own log line); otherwise the constants of the narrowed codes,
            // which the species at input conditions then use.
            const int solverKs = static_cast<short>(whichKs);
            const int solverKSO4 = static_cast<short>(whichKSO4);
            const int solverScale = static_cast<short>(pHScale);
            if (solverKs == whichKs && solverKSO4 == whichKSO4 && solverScale == pHScale) {
                addPeng(peng);
            } else {
                float solverfH = 0.0f;
                float solverVPFac = 0.0f;
                PengLine solverPeng;
                CO2_ConstantsValues(solverScale, solverKs, solverKSO4, SalChem, TempC, Pdbar, K0, K, T, solverfH,
                                    FugFac, solverVPFac, solverPeng);
                if (solverKs == 6 || solverKs == 7) {
                    results.peng[static_cast<std::size_t>(results.pengCount++)] = solverPeng;
                }
                inputConstantsOfCodes = false;
            }
            const float TAused = solverKs == kGeosecsPhosphateSet ? TA - T[t::TP] : TA;
            if (inParts.revelle && TCO2 != 0.0f) {
                // The Revelle factor at input conditions will solve TA and
                // TCO2 plus and minus 1 micromol/kg on the same constants:
                // the three solves stepped together.
                pH = pHWithRevellepH(whichKs, TAused, TA, TCO2, K, T, inRevellepH);
                inRevelleSolved = true;
            } else {
                CalculatepHfromTATC(TAused, TCO2, K, T, pH);
            }
            CalculatefCO2fromTCH(TCO2, hydrogenIon(pH), K0, K[k::K1], K[k::K2], fCO2);
            pCO2 = fCO2 / FugFac;
            fCO2OfTCpH = inputConstantsOfCodes;
            break;
        }
        case 13:
            if (phosphateOutside) TA = TA - TP;
            CalculateTCfromTApH(TA, pH, K, T, TCO2);
            if (phosphateOutside) TA = sumWithNaNOf(TP, TA);
            CalculatefCO2fromTCH(TCO2, hydrogenIon(pH), K0, K1, K2, fCO2);
            pCO2 = fCO2 / FugFac;
            fCO2OfTCpH = true;
            break;
        case 14:
        case 15:
            if (phosphateOutside) TA = TA - TP;
            CalculatepHfromTAfCO2(TA, fCO2, K0, K, T, pH);
            CalculateTCfromTApH(TA, pH, K, T, TCO2);
            if (phosphateOutside) TA = sumWithNaNOf(TP, TA);
            break;
        case 23:
            CalculateTAfromTCpH(TCO2, pH, K, T, TA);
            if (phosphateOutside) TA = sumWithNaNOf(TP, TA);
            CalculatefCO2fromTCH(TCO2, hydrogenIon(pH), K0, K1, K2, fCO2);
            pCO2 = fCO2 / FugFac;
            fCO2OfTCpH = true;
            break;
        case 24:
        case 25:
            CalculatepHfromTCfCO2(TCO2, fCO2, K0, K1, K2, pH);
            if (pH == kNopH) {
                TA = 0.0f;
            } else {
                CalculateTAfromTCpH(TCO2, pH, K, T, TA);
                if (phosphateOutside) TA = sumWithNaNOf(TP, TA);
            }
            break;
        case 34:
        case 35:
            CalculateTCfrompHfCO2(pH, fCO2, K0, K1, K2, TCO2);
            CalculateTAfromTCpH(TCO2, pH, K, T, TA);
            if (phosphateOutside) TA = sumWithNaNOf(TP, TA);
            break;
        default:
            solved = false;
            break;
    }
    // The species follow from the solved TA, TCO2 and pH; an unsolved sample
    // gets the species of TA, TCO2 and pH all 0.
    const DerivedArguments inArguments{solved ? TA : 0.0f, solved ? TCO2 : 0.0f, solved ? pH : 0.0f, pCO2};

    Values& r = results.values;
    r[1] = S;
    r[2] = TempC;
    r[3] = Pdbar;
    r[4] = TP * 1000000.0f;
    r[5] = TSi * 1000000.0f;
    r[6] = toBoard(TA);
    r[7] = toBoard(TCO2);
    r[8] = pH;
    r[9] = toBoard(fCO2);
    r[10] = toBoard(pCO2);
    r[22] = 0.0f;
    // The output pass at the input conditions of a pair other than TA and
    // TCO2 solves the pH of TA and TCO2 on the same constants: when the
    // Revelle factor at input conditions solves its two pH values, that
    // solve is stepped together with them (the same TA, less phosphate for
    // set 7, as the output pass takes).
    const QuantityMask needsOutputpH = kOutputQuantities & ~quantityBit(quantity::kTemperatureOut) &
                                       ~quantityBit(quantity::kPressureOut) & ~quantityBit(quantity::kSigmaOut);
    const bool sameConditions = inputConstantsOfCodes && sameBits(TempCOut, TempC) && sameBits(PdbarOut, Pdbar);
    float earlypHOut = 0.0f;
    bool earlypHOutSolved = false;
    if (solved && !inRevelleSolved && inParts.revelle && TCO2 != 0.0f && sameConditions && pairCode != 12 &&
        (wanted & needsOutputpH) != 0) {
        const float TAout = phosphateOutside ? TA - TP : TA;
        earlypHOut = pHWithRevellepH(whichKs, TAout, TA, TCO2, K, T, inRevellepH);
        earlypHOutSolved = true;
        inRevelleSolved = true;
    }
    fillDerived(r, 11, inParts, inArguments, DerivedContext{whichKs, SalChem, TempC, Pdbar, K0, VPFac, K, T},
                nullptr, hydrogenIon, inRevelleSolved ? inRevellepH : nullptr);
    const int fluxFormula = sample.options.fluxFormula;
    if (wanted & quantityBit(quantity::kCO2FluxIn)) {
        r[quantity::kCO2FluxIn] = static_cast<float>(CalcCO2Flux(fluxFormula, TempC, SalChem, windSpeed, pCO2air, r[10]));
    }
    if (wanted & quantityBit(quantity::kSigmaIn)) {
        r[quantity::kSigmaIn] = static_cast<float>(Sigma(TempC, SalChem));
    }

    // Output conditions, TA and TCO2 held.
    r[23] = TempCOut;
    r[24] = PdbarOut;
    if (wanted & quantityBit(quantity::kSigmaOut)) {
        if ((wanted & quantityBit(quantity::kSigmaIn)) && sameBits(TempCOutForSigma, TempC)) {
            r[quantity::kSigmaOut] = r[quantity::kSigmaIn];
        } else {
            r[quantity::kSigmaOut] = static_cast<float>(Sigma(TempCOutForSigma, SalChem));
        }
    }
    if ((wanted & needsOutputpH) == 0) {
        results.K0 = K0;
        results.FugFac = FugFac;
        return {};
    }
    // The same conditions as at input: the constants routine would be
    // evaluated on the same arguments, so its values are those already held.
    if (sameConditions) {
        addPeng(peng);
    } else {
        CO2_ConstantsValues(pHScale, whichKs, whichKSO4, SalChem, TempCOut, PdbarOut, K0, K, T, fH, FugFac, VPFac,
                            peng);
        addPeng(peng);
        K1 = K[k::K1];
        K2 = K[k::K2];
    }
    const DerivedParts outParts = partsWanted(wanted, 28);
    float pHOut = 0.0f;
    float outRevellepH[2] = {0.0f, 0.0f};
    bool outRevelleSolved = false;
    if (phosphateOutside) TA = TA - TP;
    if (sameConditions && pairCode == 12) {
        // The pH from TA and TCO2 of the input pass: the same solver on the
        // same TA (less phosphate for set 7), TCO2 and constants.
        pHOut = pH;
    } else if (earlypHOutSolved) {
        // Solved with the Revelle factor's two at input conditions.
        pHOut = earlypHOut;
    } else {
        // The TA the Revelle factor at output conditions reads (restored
        // below), and whether it is copied from the input pass's.
        const float TAheld = phosphateOutside ? sumWithNaNOf(TP, TA) : TA;
        const bool revelleCopied = sameConditions && inParts.revelle && sameBits(TAheld, inArguments.TA) &&
                                   sameBits(TCO2, inArguments.TCO2);
        if (outParts.revelle && !revelleCopied && TCO2 != 0.0f) {
            // Its two solves stepped together with this one.
            pHOut = pHWithRevellepH(whichKs, TA, TAheld, TCO2, K, T, outRevellepH);
            outRevelleSolved = true;
        } else {
            CalculatepHfromTATC(TA, TCO2, K, T, pHOut);
        }
    }
    if (phosphateOutside) TA = sumWithNaNOf(TP, TA);
    float fCO2Out = 0.0f;
    if (sameConditions && fCO2OfTCpH && sameBits(pHOut, pH)) {
        // The same function of the same TCO2, pH and constants as at input.
        fCO2Out = fCO2;
    } else {
        CalculatefCO2fromTCH(TCO2, hydrogenIon(pHOut), K0, K1, K2, fCO2Out);
    }
    const float pCO2Out = fCO2Out / FugFac;

    r[25] = pHOut;
    r[26] = toBoard(fCO2Out);
    r[27] = toBoard(pCO2Out);
    const EarlierBlock earlier{inArguments, inParts, 11};
    fillDerived(r, 28, outParts, DerivedArguments{TA, TCO2, pHOut, pCO2Out},
                DerivedContext{whichKs, SalChem, TempCOut, PdbarOut, K0, VPFac, K, T},
                sameConditions ? &earlier : nullptr, hydrogenIon, outRevelleSolved ? outRevellepH : nullptr);
    if (wanted & quantityBit(quantity::kCO2FluxOut)) {
        if ((wanted & quantityBit(quantity::kCO2FluxIn)) && sameBits(TempCOut, TempC) && sameBits(r[27], r[10])) {
            r[quantity::kCO2FluxOut] = r[quantity::kCO2FluxIn];
        } else {
            r[quantity::kCO2FluxOut] =
                static_cast<float>(CalcCO2Flux(fluxFormula, TempCOut, SalChem, windSpeed, pCO2air, r[27]));
        }
    }
    results.K0 = K0;
    results.FugFac = FugFac;
    return {};
}

void computeSamples(const SampleColumns& columns, std::size_t begin, std::size_t end) {
    QuantityMask wanted = 0;
    for (int p = 1; p < quantity::kCount; ++p) {
        if (columns.outputs[static_cast<std::size_t>(p)]) wanted |= quantityBit(p);
    }
    SampleInputs sample;
    sample.options = columns.options;
    SampleResults results;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (std::size_t i = begin; i < end; ++i) {
        for (std::size_t j = 0; j < input::kCount; ++j) {
            sample.values[j] = columns.perSample[j] ? columns.inputs[j][i] : columns.inputs[j][0];
        }
        const ComputeOutcome outcome = computeSample(sample, results, wanted);
        if (columns.outcomes) columns.outcomes[i] = outcome;
        const bool computed = outcome.computed();
        for (int p = 1; p < quantity::kCount; ++p) {
            float* out = columns.outputs[static_cast<std::size_t>(p)];
            if (out) out[i] = computed ? results.values[static_cast<std::size_t>(p)] : nan;
        }
    }
}

}  // namespace brinora
