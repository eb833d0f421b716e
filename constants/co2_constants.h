// Equilibrium constants of the carbonate system in seawater.
#pragma once

#include <string>

#include "constants/arrays.h"

namespace brinora {

// pH-scale codes.
namespace ph_scale {
constexpr int kTotal = 1, kSeawater = 2, kFree = 3, kNBS = 4;
}
// Bisulfate-constant codes.
namespace khso4 {
constexpr int kDickson = 1, kKhoo = 2;
}

// What the "peng" log line of one constants call of sets 6 and 7 reports:
// the NBS-scale log10 K2 and the seawater-scale surface K2 of the GEOSECS
// form, and the activity coefficient fH of H+.
struct PengLine {
    float log10K2 = 0.0f;
    float K2 = 0.0f;  // mol/kg-SW
    float fH = 0.0f;
};

// The line itself, "peng %f %f %f".
std::string FormatPengLine(const PengLine& peng);

// Salinity-derived totals and every equilibrium constant for one salinity,
// temperature and pressure, under constants set `whichKs` (1..14), bisulfate
// constant `whichKSO4` (1..2) and pH scale `pHScale` (1..4).
//   Sal    salinity
//   TempC  temperature [deg C]
//   Pdbar  pressure [dbar]; 0 is the surface, where no correction applies
// Outputs: K0out CO2 solubility [mol/(kg-SW atm)]; K positions 1..10; T
// positions 1..3 (TB, TF, TS); fH activity coefficient of H+ (in/out: left as
// it was for a constants-set code outside 1..14); FugFacOut fugacity factor;
// VPFac 1 minus the water-vapour pressure of seawater [atm]; peng, for sets
// 6 and 7, what their log line reports (left as it was for other sets).
// Computes in double, stores every intermediate as float; writes no log line.
// Each thread keeps the results of its last few calls and gives them again,
// to the bit, for the same arguments (codes and float bits); codes outside
// 1..14 are always computed.
void CO2_ConstantsValues(int pHScale, int whichKs, int whichKSO4, float Sal, float TempC, float Pdbar,
                         float& K0out, ConstantsArray& K, TotalsArray& T, float& fH, float& FugFacOut,
                         float& VPFac, PengLine& peng);

// The same, writing the "peng" line to the system log for sets 6 and 7.
void CO2_Constants(int pHScale, int whichKs, int whichKSO4, float Sal, float TempC, float Pdbar,
                   float& K0out, ConstantsArray& K, TotalsArray& T, float& fH, float& FugFacOut,
                   float& VPFac);

// Switches the reuse of kept results, and of the kept terms of one
// temperature, one salinity and one pressure, on or off for the calling
// thread and forgets what it kept (for tests and benchmarks; on by default).
void setConstantsReuse(bool on);

}  // namespace brinora
