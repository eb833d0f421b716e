// Sigma-t and the one-atmosphere density of seawater, in double precision.
#include "solvers/density.h"

#include <cmath>

namespace brinora {

double Sigma(double TempC, double Sal) {
    const double T = TempC;
    const double S = Sal;
    // Density anomaly at 0 deg C as a function of salinity.
    const double sigma0 = ((6.76786136e-06 * S - 0.00048249614) * S + 0.814876577) * S - 0.0934458632;
    // Temperature terms (Knudsen-Ekman form).
    const double SumT =
        ((((-1.4380306e-07 * T - 0.00198248399) * T - 0.545939111) * T + 4.53168426) * T) /
        (T + 67.26);
    const double At = ((-1.0843e-06 * T + 9.8185e-05) * T - 0.0047867) * T;
    const double Bt = ((1.667e-08 * T - 8.164e-07) * T + 1.803e-05) * T;
    return SumT + (Bt * sigma0 + At + 1.0) * sigma0;
}

double Density(double TempC, double Sal) {
    const double T = TempC;
    const double S = Sal;
    // Millero and Poisson (1981): pure water (Bigg 1967) plus the salinity terms.
    const double rho = 999.842594 + 0.06793952 * T - 0.00909529 * std::pow(T, 2) +
                       0.0001001685 * std::pow(T, 3) - 1.120083e-06 * std::pow(T, 4) +
                       6.536332e-09 * std::pow(T, 5) +
                       (0.824493 - 0.0040899 * T + 7.6438e-05 * std::pow(T, 2) -
                        8.2476e-07 * std::pow(T, 3) + 5.3875e-09 * std::pow(T, 4)) *
                           S +
                       (-0.00572466 + 0.00010227 * T - 1.6546e-06 * std::pow(T, 2)) *
                           std::pow(S, 1.5) +
                       0.00048314 * std::pow(S, 2);
    const float density = static_cast<float>(rho);
    return density;
}

}  // namespace brinora
