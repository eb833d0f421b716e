// Saturation states of seawater with respect to calcite and aragonite.
#pragma once

namespace brinora {

// Omega of calcite and aragonite (dimensionless) for salinity Sal, TempC
// [deg C], PdBar [dbar], TC [mol/kg-SW], pH and K1, K2 on the run's scale.
// Mucci (1983) with the pressure correction of Millero (1995); GEOSECS forms
// for constants sets 6 and 7.
void CaSolubility(short whichKs, float Sal, float TempC, float PdBar, float TC, float pH,
                  float K1, float K2, float& OmegaCa, float& OmegaAr);
// The same at a given H = 10^-pH (detail::HydrogenIon(pH)) [mol/kg-SW]: the
// same bits for a caller that already holds H.
void CaSolubilityAtH(short whichKs, float Sal, float TempC, float PdBar, float TC, float H, float K1, float K2,
                     float& OmegaCa, float& OmegaAr);

}  // namespace brinora
