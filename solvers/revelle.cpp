// Revelle (buffer) factor by a centred difference in TC at fixed TA.
#include "solvers/revelle.h"

#include "solvers/pair_solvers.h"

namespace brinora {

namespace {

// One micromol/kg either side of TC.
constexpr float kdTC = 1e-6f;

}  // namespace

RevellePairs RevelleSolvePairs(short whichKs, float TA, float TC, const TotalsArray& T) {
    const float TP = T[t::TP];
    // Set 7 counts phosphate alkalinity outside TA: TA less TP for the first
    // solve, then that plus TP less TP for the second, as when TA was
    // restored between the two.
    RevellePairs pairs{TA, TC + kdTC, TA, TC - kdTC};
    if (whichKs == 7) {
        pairs.TAplus = TA - TP;
        const float TArestored = pairs.TAplus + TP;
        pairs.TAminus = TArestored - TP;
    }
    return pairs;
}

float RevelleFrompH(const RevellePairs& pairs, float pHplus, float pHminus, float K0, float K1, float K2) {
    float fCO2plus = 0.0f;
    CalculatefCO2fromTCpH(pairs.TCplus, pHplus, K0, K1, K2, fCO2plus);
    float fCO2minus = 0.0f;
    CalculatefCO2fromTCpH(pairs.TCminus, pHminus, K0, K1, K2, fCO2minus);
    // (dfCO2/fCO2)/(dTC/TC): the factors of two of the span and of the mean
    // cancel; the reference TC is TCminus.
    return ((fCO2plus - fCO2minus) / kdTC) / ((fCO2plus + fCO2minus) / pairs.TCminus);
}

void RevelleFactor(short whichKs, float TA, float TC, float K0, const ConstantsArray& K,
                   const TotalsArray& T, float& Revelle) {
    if (TC == 0.0f) {
        Revelle = 0.0f;
        return;
    }
    // The pH either side of TC, the two solves stepped together.
    const RevellePairs pairs = RevelleSolvePairs(whichKs, TA, TC, T);
    float pHplus = 0.0f;
    float pHminus = 0.0f;
    CalculateTwopHfromTATC(pairs.TAplus, pairs.TCplus, pairs.TAminus, pairs.TCminus, K, T, pHplus, pHminus);
    Revelle = RevelleFrompH(pairs, pHplus, pHminus, K0, K[k::K1], K[k::K2]);
}

}  // namespace brinora
