// Parts of the air-sea CO2 flux, exposed for tests.
#pragma once

namespace brinora::detail {

// Schmidt number of CO2 in seawater at TempC [deg C], Wanninkhof (1992) cubic
// fit. Dimensionless.
double SchmidtNumberCO2(double TempC);

// Solubility of CO2 in seawater at TempC [deg C] and salinity Sal, Weiss
// (1974). Units: mol/(kg-SW atm).
double SolubilityCO2(double TempC, double Sal);

}  // namespace brinora::detail
