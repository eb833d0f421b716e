// Process-wide values of the carbonate chemistry.
#pragma once

namespace brinora {

// CO2 solubility of the latest CO2_Constants call of the process. Units: mol/(kg-SW atm).
extern float K0;
// Fugacity factor fCO2/pCO2 of the latest CO2_Constants call of the process.
extern float FugFac;

// K0 and FugFac of one calculation, for callers that keep their own state
// instead of the process-wide values (one per worker thread).
struct ProcessValues {
    float K0 = 0.0f;      // mol/(kg-SW atm)
    float FugFac = 0.0f;  // fCO2/pCO2
};

}  // namespace brinora
