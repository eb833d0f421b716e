// Revelle (buffer) factor by a centred difference in TC at fixed TA.
#include "solvers/revelle.h"

#include "solvers/pair_solvers.h"

namespace brinora {

void RevelleFactor(short whichKs, float TA, float TC, float K0, const ConstantsArray& K,
                   const TotalsArray& T, float& Revelle) {
    if (TC == 0.0f) {
        Revelle = 0.0f;
        return;
    }
    // One micromol/kg either side of TC.
    const float dTC = 1e-6f;
    const float K1 = K[k::K1];
    const float K2 = K[k::K2];
    const float TP = T[t::TP];

    // The pH either side of TC, the two solves stepped together. Set 7 counts
    // phosphate alkalinity outside TA: TA less TP for the first solve, then
    // that plus TP less TP for the second, as when TA was restored between.
    const float TCplus = TC + dTC;
    const float TCminus = TC - dTC;
    float TAplus = TA;
    float TAminus = TA;
    if (whichKs == 7) {
        TAplus = TA - TP;
        const float TArestored = TAplus + TP;
        TAminus = TArestored - TP;
    }
    float pHplus = 0.0f;
    float pHminus = 0.0f;
    CalculateTwopHfromTATC(TAplus, TCplus, TAminus, TCminus, K, T, pHplus, pHminus);
    float fCO2plus = 0.0f;
    CalculatefCO2fromTCpH(TCplus, pHplus, K0, K1, K2, fCO2plus);
    float fCO2minus = 0.0f;
    CalculatefCO2fromTCpH(TCminus, pHminus, K0, K1, K2, fCO2minus);

    // (dfCO2/fCO2)/(dTC/TC): the factors of two of the span and of the mean
    // cancel; the reference TC is TCminus.
    Revelle = ((fCO2plus - fCO2minus) / dTC) / ((fCO2plus + fCO2minus) / TCminus);
}

}  // namespace brinora
