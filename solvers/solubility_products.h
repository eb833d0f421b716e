// Dissolved calcium and the solubility products of calcite and aragonite.
#pragma once

namespace brinora::detail {

// Ca [mol/kg-SW] and the stoichiometric solubility products KCa (calcite) and
// KAr (aragonite) [(mol/kg-SW)^2] at salinity Sal, TempC [deg C], PdBar [dbar].
// Mucci (1983) with the pressure correction of Millero (1995); for constants
// sets 6 and 7 the GEOSECS forms (Ingle 1975, Berner 1976). Rounded to float.
struct CalciumCarbonateSolubility {
    float Ca;
    float KCa;
    float KAr;
};

CalciumCarbonateSolubility CalciumCarbonateSolubilityProducts(short whichKs, float Sal,
                                                              float TempC, float PdBar);

}  // namespace brinora::detail
