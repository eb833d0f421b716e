// One-atmosphere density of seawater and sigma-t.
#pragma once

namespace brinora {

// Density anomaly sigma-t for TempC [deg C] and salinity Sal. Units: kg/m3.
double Sigma(double TempC, double Sal);

// One-atmosphere density of seawater, Millero and Poisson (1981), narrowed to
// float. Units: kg/m3.
double Density(double TempC, double Sal);

}  // namespace brinora
