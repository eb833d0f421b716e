// The sources of uncertainty (the independent variables of the derivatives)
// and the result quantities of the double-precision calculation, with their
// names as the Python module gives them.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace brinora::uncertainty {

// Sources, in the order of the gradient. Units are those of the record:
// micromol/kg, microatm, degrees Celsius, decibar, metre per second; the
// constants are perturbed in pK units (K times 10^-dpK) on the pH scale and
// at the pressure the calculation uses them; total boron is perturbed
// relatively (TB times 1 + dTB).
enum Source : std::size_t {
    kFirstParameter,   // the first carbonate parameter of the pair
    kSecondParameter,  // the second carbonate parameter of the pair
    kSalinity,
    kTemperature,
    kPressure,
    kPhosphate,
    kSilicate,
    kTemperatureOut,
    kPressureOut,
    kpCO2Air,
    kWindSpeed,
    kpK0,
    kpK1,
    kpK2,
    kpKB,
    kpKW,
    kpKspA,
    kpKspC,
    kpKS,
    kpKF,
    kpKP1,
    kpKP2,
    kpKP3,
    kpKSi,
    kTotalBoron,
    kSourceCount
};
constexpr std::size_t kInputSourceCount = kpK0;  // sources before the constants

// The direction of each source in a gradient of fewer directions; -1 for a
// source held fixed (no derivative is carried along it).
using Directions = std::array<int, kSourceCount>;

// Names of the sources; the first two are those of the pair (ParameterName).
constexpr std::array<std::string_view, kSourceCount> kSourceNames = {
    "", "", "salinity", "temperature", "pressure", "phosphate", "silicate", "temperature_out", "pressure_out",
    "pco2_air", "wind_speed", "pk0", "pk1", "pk2", "pkb", "pkw", "pkspa", "pkspc", "pks", "pkf", "pkp1", "pkp2",
    "pkp3", "pksi", "bt"};

// Carbonate parameter codes of a pair: 1 TA, 2 TCO2, 3 pH, 4 fCO2, 5 pCO2.
constexpr std::array<std::string_view, 6> kParameterNames = {"", "ta", "tco2", "ph", "fco2", "pco2"};

// Result quantities at input conditions, then at output conditions (TA and
// TCO2 are held from input to output and appear once). Units: pH on the
// chosen scale; [H+] micromol/kg on that scale; fCO2, pCO2 microatm;
// concentrations micromol/kg; Revelle factor and saturation states
// dimensionless; xCO2 ppm; flux mmol m-2 d-1, positive from sea to air.
enum Quantity : std::size_t {
    qpH, qH, qfCO2, qpCO2, qTA, qTCO2, qHCO3, qCO3, qCO2, qBAlk, qOH, qPAlk, qSiAlk, qRevelle, qOmegaCa, qOmegaAr,
    qxCO2, qFlux,
    qpHOut, qHOut, qfCO2Out, qpCO2Out, qHCO3Out, qCO3Out, qCO2Out, qBAlkOut, qOHOut, qPAlkOut, qSiAlkOut,
    qRevelleOut, qOmegaCaOut, qOmegaArOut, qxCO2Out, qFluxOut,
    kQuantityCount
};
// First quantity of the output conditions.
constexpr std::size_t kFirstOutQuantity = qpHOut;

constexpr std::array<std::string_view, kQuantityCount> kQuantityNames = {
    "ph", "hydrogen_ion", "fco2", "pco2", "ta", "tco2", "bicarbonate", "carbonate", "dissolved_co2",
    "borate_alkalinity", "hydroxide", "phosphate_alkalinity", "silicate_alkalinity", "revelle_factor",
    "omega_calcite", "omega_aragonite", "xco2", "co2_flux",
    "ph_out", "hydrogen_ion_out", "fco2_out", "pco2_out", "bicarbonate_out", "carbonate_out", "dissolved_co2_out",
    "borate_alkalinity_out", "hydroxide_out", "phosphate_alkalinity_out", "silicate_alkalinity_out",
    "revelle_factor_out", "omega_calcite_out", "omega_aragonite_out", "xco2_out", "co2_flux_out"};

}  // namespace brinora::uncertainty
