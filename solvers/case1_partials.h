// Helpers for the partial derivatives of the TA-TC case.
#pragma once

#include "constants/arrays.h"

namespace brinora {

// Constants for the sample; K0 and fH are taken by value, so only K, T,
// FugFac, VPFac, K1 and K2 reach the caller. `pHScale` is truncated to a code.
void GetConstantsforCase1Partials(float pHScale, short whichKs, short whichKSO4, float Sal,
                                  float TempC, float PdBar, float K0, ConstantsArray& K,
                                  TotalsArray& T, float fH, float& FugFac, float& VPFac, float& K1,
                                  float& K2);

// pCO2 [atm] at the given TA and TC [mol/kg-SW]; pH and fCO2 are working
// storage only. TA is left unchanged on return.
void CalculateStuffForCase1Partials(float& TA, float TC, const ConstantsArray& K,
                                    const TotalsArray& T, float pH, float K0, float K1, float K2,
                                    float fCO2, float FugFac, short whichKs, float& pCO2);

}  // namespace brinora
