// Pressure corrections of the ten equilibrium constants, Millero (1995) and
// the GEOSECS linear form for sets 6 and 7.
#pragma once

namespace brinora::constants_internal {

// Factors K(P)/K(0) of one call; exactly 1 where no correction applies. Dimensionless.
struct PressureFactors {
    float K1 = 1.0f, K2 = 1.0f, KW = 1.0f, KB = 1.0f, KF = 1.0f, KS = 1.0f;
    float KP1 = 1.0f, KP2 = 1.0f, KP3 = 1.0f, KSi = 1.0f;
};

// exp((-deltaV + 0.5 Kappa Pbar) Pbar/RT), with lnKfac stored as float.
//   deltaV [cm3/mol], Kappa [cm3/(mol bar)], Pbar [bar], RT [mL bar/mol]
float PressureFactor(float deltaV, float Kappa, float Pbar, float RT);

// The ten factors by constants-set code.
//   TempC [deg C], Pbar [bar], RT = R TempK [mL bar/mol]
PressureFactors PressureCorrectionFactors(int whichKs, float TempC, float Pbar, float RT);

}  // namespace brinora::constants_internal
