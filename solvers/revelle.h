// Revelle (buffer) factor.
#pragma once

#include "constants/arrays.h"

namespace brinora {

// Revelle factor (dimensionless): centred difference of fCO2 in TC at fixed TA
// [mol/kg-SW], K0 in mol/(kg-SW atm). 0 when TC is 0.
void RevelleFactor(short whichKs, float TA, float TC, float K0, const ConstantsArray& K,
                   const TotalsArray& T, float& Revelle);

// Its two parts, for a caller that solves the two pH values together with
// others on the same constants. The TA-TC pairs either side of TC
// (whichKs 7: TA less phosphate) [mol/kg-SW]:
struct RevellePairs {
    float TAplus, TCplus, TAminus, TCminus;
};
RevellePairs RevelleSolvePairs(short whichKs, float TA, float TC, const TotalsArray& T);
// The factor from the pH of each pair (CalculatepHfromTATC on the sample's
// constants); RevelleFactor is this for TC not 0.
float RevelleFrompH(const RevellePairs& pairs, float pHplus, float pHminus, float K0, float K1, float K2);

}  // namespace brinora
