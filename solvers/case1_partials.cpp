// Helpers for the partial derivatives of the TA-TC case.
#include "solvers/case1_partials.h"

#include "constants/co2_constants.h"
#include "solvers/pair_solvers.h"

namespace brinora {

void GetConstantsforCase1Partials(float pHScale, short whichKs, short whichKSO4, float Sal,
                                  float TempC, float PdBar, float K0, ConstantsArray& K,
                                  TotalsArray& T, float fH, float& FugFac, float& VPFac, float& K1,
                                  float& K2) {
    // K0 and fH are local copies: what the constants routine writes to them
    // stays here.
    const int pHScaleCode = static_cast<int>(pHScale);
    CO2_Constants(pHScaleCode, whichKs, whichKSO4, Sal, TempC, PdBar, K0, K, T, fH, FugFac, VPFac);
    K1 = K[k::K1];
    K2 = K[k::K2];
}

void CalculateStuffForCase1Partials(float& TA, float TC, const ConstantsArray& K,
                                    const TotalsArray& T, float pH, float K0, float K1, float K2,
                                    float fCO2, float FugFac, short whichKs, float& pCO2) {
    if (whichKs == 7) {
        TA = TA - T[t::TP];  // set 7 counts phosphate alkalinity outside TA
    }
    CalculatepHfromTATC(TA, TC, K, T, pH);
    if (whichKs == 7) {
        TA = TA + T[t::TP];
    }
    CalculatefCO2fromTCpH(TC, pH, K0, K1, K2, fCO2);
    pCO2 = fCO2 / FugFac;
}

}  // namespace brinora
