// Air-sea CO2 flux.
#pragma once

namespace brinora {

// Air-sea flux formula codes (board slot 4).
namespace flux_formula {
constexpr int kWanninkhof1992 = 0, kNightingale2000 = 1, kHo2006 = 2;
}

// The formula code of an option value as the board holds it: its integer
// part, truncated toward zero; -1 (no formula) for a value whose integer part
// is not 0, 1 or 2, and for not-a-number.
int FluxFormulaCode(float optionValue);

// Flux of CO2 from sea to air for TempC [deg C], salinity Sal, wind speed u
// [m/s] and pCO2 of air and water [microatm], by the gas-transfer formula
// `formula` (flux_formula codes). Units: mmol m-2 d-1, positive from sea to
// air; 0 for a code outside 0..2.
double CalcCO2Flux(int formula, double TempC, double Sal, double u, double pCO2air, double pCO2water);

}  // namespace brinora
