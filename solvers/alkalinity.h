// Partition of total alkalinity into its parts at a given pH.
#pragma once

#include "constants/arrays.h"

namespace brinora {

// The alkalinity terms at H = 10^-pH, for total carbon TC [mol/kg-SW] and the
// constants K and totals T of the sample. All outputs in mol/kg-SW:
// bicarbonate, carbonate, borate alkalinity, hydroxide, phosphate alkalinity,
// silicate alkalinity, free hydrogen ion, bisulfate, hydrogen fluoride.
void CalculateAlkParts(float pH, float TC, const ConstantsArray& K, const TotalsArray& T,
                       float& HCO3, float& CO3, float& BAlk, float& OH, float& PAlk, float& SiAlk,
                       float& Hfree, float& HSO4, float& HF);
// The same at a given H [mol/kg-SW, on the scale of K]: CalculateAlkParts is
// this at H = detail::HydrogenIon(pH), so a caller that holds that H for the
// same pH gets the same bits without computing the power again.
void CalculateAlkPartsAtH(float H, float TC, const ConstantsArray& K, const TotalsArray& T, float& HCO3,
                          float& CO3, float& BAlk, float& OH, float& PAlk, float& SiAlk, float& Hfree,
                          float& HSO4, float& HF);

}  // namespace brinora
