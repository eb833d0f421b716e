// Solvers of the carbonate system from any two of TA, TC, pH and fCO2.
// Concentrations in mol/kg-SW, fCO2 and pCO2 in atm, K0 in mol/(kg-SW atm),
// constants on the run's pH scale (KF, KS on the free scale).
#pragma once

#include "constants/arrays.h"
#include "constants/process_values.h"

namespace brinora {

// Upper bound on the steps of the two Newton solvers, far above the step count
// of any converging input; a pair with no root stops here instead of looping.
extern const int kMaxNewtonSteps;

// Steps taken by the latest Newton solve on the calling thread.
int lastNewtonSteps();

// pH from TA and TC, Newton iteration from pH 8.
void CalculatepHfromTATC(float TA, float TC, const ConstantsArray& K, const TotalsArray& T,
                         float& pH);
// Two pH values from TA and TC on the same constants: CalculatepHfromTATC of
// (TA1, TC1) and of (TA2, TC2), to the bit, the two iterations stepped
// together. The steps of the second are those lastNewtonSteps reports.
void CalculateTwopHfromTATC(float TA1, float TC1, float TA2, float TC2, const ConstantsArray& K,
                            const TotalsArray& T, float& pH1, float& pH2);
// Three pH values from TA and TC on the same constants, the same way.
void CalculateThreepHfromTATC(const float (&TA)[3], const float (&TC)[3], const ConstantsArray& K,
                              const TotalsArray& T, float (&pH)[3]);
// pH from TA and fCO2, Newton iteration from pH 8.
void CalculatepHfromTAfCO2(float TA, float fCO2, float K0, const ConstantsArray& K,
                           const TotalsArray& T, float& pH);
// pH from TC and fCO2 in closed form; -999 when there is no solution.
void CalculatepHfromTCfCO2(float TC, float fCO2, float K0, float K1, float K2, float& pH);
// TA from TC and pH.
void CalculateTAfromTCpH(float TC, float pH, const ConstantsArray& K, const TotalsArray& T,
                         float& TA);
// TC from TA and pH.
void CalculateTCfromTApH(float TA, float pH, const ConstantsArray& K, const TotalsArray& T,
                         float& TC);
// TC from pH and fCO2.
void CalculateTCfrompHfCO2(float pH, float fCO2, float K0, float K1, float K2, float& TC);
// fCO2 from TC and pH.
void CalculatefCO2fromTCpH(float TC, float pH, float K0, float K1, float K2, float& fCO2);
// The same at a given H = detail::HydrogenIon(pH) [mol/kg-SW]: the same bits
// for a caller that already holds H.
void CalculatefCO2fromTCH(float TC, float H, float K0, float K1, float K2, float& fCO2);

// Constants for (TempC [deg C], PdBar [dbar]) followed by pH, fCO2 and pCO2
// from TA and TC. T positions 4 and 5 must hold TP and TSi. Writes K0 and
// FugFac of `values`.
void FindpHfCO2fromTATC(short pHScale, short whichKs, short whichKSO4, float TA, float TC,
                        float Sal, ConstantsArray& K, TotalsArray& T, float TempC, float PdBar,
                        float& pH, float& fCO2, float& pCO2, ProcessValues& values);
// The same, writing the process-wide K0 and FugFac.
void FindpHfCO2fromTATC(short pHScale, short whichKs, short whichKSO4, float TA, float TC,
                        float Sal, ConstantsArray& K, TotalsArray& T, float TempC, float PdBar,
                        float& pH, float& fCO2, float& pCO2);

}  // namespace brinora
