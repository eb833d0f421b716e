// Air-sea CO2 flux.
#pragma once

#include "engine/board.h"

namespace brinora {

// Air-sea flux formula codes (board slot 4).
namespace flux_formula {
constexpr int kWanninkhof1992 = 0, kNightingale2000 = 1, kHo2006 = 2;
}

// Flux of CO2 from sea to air for TempC [deg C], salinity Sal, wind speed u
// [m/s] and pCO2 of air and water [microatm], by the gas-transfer formula
// whose code is the integer part of slot 4 of `board`. Units: mmol m-2 d-1,
// positive from sea to air; 0 for a code outside 0..2.
double CalcCO2Flux(const Board& board, double TempC, double Sal, double u, double pCO2air,
                   double pCO2water);

// The same, reading the formula code from the process-wide board.
double CalcCO2Flux(double TempC, double Sal, double u, double pCO2air, double pCO2water);

}  // namespace brinora
