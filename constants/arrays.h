// The constants and totals arrays shared by the constants routine and the solvers.
#pragma once

#include <array>

namespace brinora {

// Positions 1..10: K1, K2, KW, KB, KF, KS, KP1, KP2, KP3, KSi in mol/kg-SW
// (KW in (mol/kg-SW)^2); KF and KS on the free scale, the others on the chosen
// pH scale; all pressure-corrected. Position 0 is never read.
using ConstantsArray = std::array<float, 11>;

// Positions 1..5: TB, TF, TS (filled by CO2_Constants), TP, TSi (filled by the
// driver), in mol/kg-SW. Position 0 is never read.
using TotalsArray = std::array<float, 6>;

namespace k {
constexpr int K1 = 1, K2 = 2, KW = 3, KB = 4, KF = 5, KS = 6, KP1 = 7, KP2 = 8, KP3 = 9, KSi = 10;
}
namespace t {
constexpr int TB = 1, TF = 2, TS = 3, TP = 4, TSi = 5;
}

}  // namespace brinora
