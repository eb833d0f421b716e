// Building blocks of the two Newton solvers for pH, exposed for tests.
#pragma once

#include "constants/arrays.h"

namespace brinora::detail {

// The step actually applied for a Newton step `deltapH` [pH units]: halved
// while its magnitude is above 1 (so 3.5 becomes 0.875, 1 stays 1). An
// infinite step gives not-a-number, which stops the iteration.
float HalveNewtonStep(float deltapH);

// Raw Newton step Residual/Slope at `pH` for the TA-TC pair [mol/kg-SW],
// before halving. Residual is TA minus the modelled alkalinity; the slope
// leaves out the phosphate, silicate, sulfate and fluoride terms.
float NewtonStepFromTATC(float pH, float TA, float TC, const ConstantsArray& K,
                         const TotalsArray& T);

// Raw Newton step at `pH` for the TA-fCO2 pair (TA [mol/kg-SW], fCO2 [atm],
// K0 [mol/(kg-SW atm)]), before halving.
float NewtonStepFromTAfCO2(float pH, float TA, float fCO2, float K0, const ConstantsArray& K,
                           const TotalsArray& T);

// The pH solvers with an explicit step cap; the public solvers pass
// kMaxNewtonSteps. `pH` is the working variable, set to 8 first.
void SolvepHfromTATC(float TA, float TC, const ConstantsArray& K, const TotalsArray& T,
                     float& pH, int maxSteps);
void SolvepHfromTAfCO2(float TA, float fCO2, float K0, const ConstantsArray& K,
                       const TotalsArray& T, float& pH, int maxSteps);

}  // namespace brinora::detail
