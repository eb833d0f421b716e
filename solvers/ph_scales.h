// A pH on all four pH scales.
#pragma once

#include "constants/arrays.h"

namespace brinora {

// The pH given on scale `pHScale` (1 Total, 2 Seawater, 3 Free, 4 NBS; other
// codes are taken as Total) expressed on the NBS, free, total and seawater
// scales. fH is the activity coefficient of H+ of the constants routine.
void FindpHOnAllScales(short pHScale, float pH, const ConstantsArray& K, const TotalsArray& T,
                       float fH, float& pHNBS, float& pHFree, float& pHTot, float& pHSWS);

}  // namespace brinora
