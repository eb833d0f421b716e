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
    float pH = 0.0f;

    const float TCplus = TC + dTC;
    if (whichKs == 7) {
        TA = TA - TP;  // set 7 counts phosphate alkalinity outside TA
    }
    CalculatepHfromTATC(TA, TCplus, K, T, pH);
    if (whichKs == 7) {
        TA = TA + TP;
    }
    float fCO2plus = 0.0f;
    CalculatefCO2fromTCpH(TCplus, pH, K0, K1, K2, fCO2plus);

    const float TCminus = TC - dTC;
    if (whichKs == 7) {
        TA = TA - TP;
    }
    CalculatepHfromTATC(TA, TCminus, K, T, pH);
    float fCO2minus = 0.0f;
    CalculatefCO2fromTCpH(TCminus, pH, K0, K1, K2, fCO2minus);

    // (dfCO2/fCO2)/(dTC/TC): the factors of two of the span and of the mean
    // cancel; the reference TC is TCminus.
    Revelle = ((fCO2plus - fCO2minus) / dTC) / ((fCO2plus + fCO2minus) / TCminus);
}

}  // namespace brinora
