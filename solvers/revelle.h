// Revelle (buffer) factor.
#pragma once

#include "constants/arrays.h"

namespace brinora {

// Revelle factor (dimensionless): centred difference of fCO2 in TC at fixed TA
// [mol/kg-SW], K0 in mol/(kg-SW atm). 0 when TC is 0.
void RevelleFactor(short whichKs, float TA, float TC, float K0, const ConstantsArray& K,
                   const TotalsArray& T, float& Revelle);

}  // namespace brinora
