// Constants and totals of surface seawater (S 35, t 25 deg C, 1 atm) filled
// by hand with realistic magnitudes, total pH scale except KF and KS (free).
#pragma once

#include "constants/arrays.h"

namespace brinora::test {

inline ConstantsArray SurfaceConstants() {
    ConstantsArray K{};
    K[k::K1] = 1.39e-6f;    // Roy et al. (1993), ln K1 about -13.48
    K[k::K2] = 1.19e-9f;    // ln K2 about -20.55
    K[k::KW] = 6.0e-14f;    // (mol/kg-SW)^2
    K[k::KB] = 2.5e-9f;     // ln KB about -19.80
    K[k::KF] = 2.3e-3f;     // free scale
    K[k::KS] = 0.1f;        // free scale, ln KS about -2.30
    K[k::KP1] = 0.024f;
    K[k::KP2] = 1.1e-6f;
    K[k::KP3] = 1.5e-9f;
    K[k::KSi] = 4e-10f;
    return K;
}

// TB, TF, TS of S 35 and the nutrients TP 2 and TSi 15 micromol/kg.
inline TotalsArray SurfaceTotals() {
    TotalsArray T{};
    T[t::TB] = 4.16e-4f;
    T[t::TF] = 6.8e-5f;
    T[t::TS] = 0.0282f;
    T[t::TP] = 2e-6f;
    T[t::TSi] = 15e-6f;
    return T;
}

// CO2 solubility of the same water. Units: mol/(kg-SW atm).
constexpr float kSurfaceK0 = 0.0284f;

// A typical surface sample: TA 2300 and TC 2000 micromol/kg, in mol/kg-SW.
constexpr float kTA = 2300e-6f;
constexpr float kTC = 2000e-6f;

}  // namespace brinora::test
