// The non-carbonate terms of total alkalinity at one hydrogen-ion concentration,
// shared by the alkalinity partition and the pair solvers.
#pragma once

#include "constants/arrays.h"

namespace brinora::detail {

// Borate, hydroxide, phosphate and silicate alkalinity and the free hydrogen
// ion, bisulfate and hydrogen fluoride that count against TA. Units: mol/kg-SW.
struct NonCarbonateAlkalinity {
    float BAlk;
    float OH;
    float PAlk;
    float SiAlk;
    float Hfree;
    float HSO4;
    float HF;
};

// The terms at H [mol/kg-SW, on the scale of K] for the constants K and
// totals T; each is rounded to float as it is stored.
NonCarbonateAlkalinity NonCarbonateTerms(float H, const ConstantsArray& K, const TotalsArray& T);

// H = 10^-pH, rounded to float. Units: mol/kg-SW.
float HydrogenIon(float pH);

}  // namespace brinora::detail
