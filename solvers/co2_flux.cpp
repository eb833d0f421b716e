// Air-sea CO2 flux by the bulk formula flux = k * K0 * (pCO2water - pCO2air),
// in double precision.
#include "solvers/co2_flux.h"

#include <cmath>

#include "engine/engine.h"
#include "engine/slots.h"
#include "solvers/density.h"
#include "solvers/gas_transfer.h"

namespace brinora {
namespace detail {

double SchmidtNumberCO2(double TempC) {
    const double T = TempC;
    return 2073.1 - 125.62 * T + 3.6276 * std::pow(T, 2) - 0.043219 * std::pow(T, 3);
}

double SolubilityCO2(double TempC, double Sal) {
    const double TK = TempC + 273.15;
    const double S = Sal;
    return std::exp(-60.2409 + 93.4517 * (100.0 / TK) + 23.3585 * std::log(TK / 100.0) +
                    S * (0.023517 - 0.023656 * (TK / 100.0) + 0.0047036 * std::pow(TK / 100.0, 2)));
}

}  // namespace detail

double CalcCO2Flux(const Board& board, double TempC, double Sal, double u, double pCO2air,
                   double pCO2water) {
    const double Sc = detail::SchmidtNumberCO2(TempC);
    const double K0 = detail::SolubilityCO2(TempC, Sal);  // mol/(kg atm)

    // Gas-transfer velocities in cm/h, times 0.24 for m/d.
    const double kWanninkhof = 0.31 * std::pow(u, 2) * std::pow(660.0 / Sc, 0.5) * 0.24;
    const double kNightingale =
        (0.333 * u + 0.222 * std::pow(u, 2)) * std::pow(Sc / 600.0, -0.5) * 0.24;
    const double kHo = 0.266 * std::pow(u, 2) * std::pow(Sc / 600.0, -0.5) * 0.24;

    // Solubility per volume, mmol m-3 atm-1, and partial pressures in atm.
    const double solubility = K0 * 1000.0 * Density(TempC, Sal);
    const double pCO2waterAtm = pCO2water * 1e-6;
    const double pCO2airAtm = pCO2air * 1e-6;

    // Formula code: the integer part of the board value (NaN matches no code).
    const double code = std::trunc(static_cast<double>(board.get(slot::kAirSeaFlux)));
    double k = 0.0;
    if (code == flux_formula::kWanninkhof1992) {
        k = kWanninkhof;
    } else if (code == flux_formula::kNightingale2000) {
        k = kNightingale;
    } else if (code == flux_formula::kHo2006) {
        k = kHo;
    } else {
        return 0.0;
    }
    return k * solubility * (pCO2waterAtm - pCO2airAtm);
}

double CalcCO2Flux(double TempC, double Sal, double u, double pCO2air, double pCO2water) {
    return CalcCO2Flux(Engine::sharedInstance()->board(), TempC, Sal, u, pCO2air, pCO2water);
}

}  // namespace brinora
