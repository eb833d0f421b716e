// Every equilibrium constant and salinity total of one set of conditions, in
// double precision on any number type (double, or a dual number that carries
// derivatives). The same formulas, in the same order, as the single-precision
// constants routine, without its rounding of each stored value to float.
#pragma once

#include "uncertainty/dual.h"

namespace brinora::uncertainty {

// The option codes of one calculation.
struct ChemistryOptions {
    int whichKs = 13;    // constants set 1..14
    int whichKSO4 = 1;   // 1 Dickson (1990), 2 Khoo et al. (1977)
    int pHScale = 1;     // 1 total, 2 seawater, 3 free, 4 NBS
    int fluxCode = 0;    // 0 Wanninkhof (1992), 1 Nightingale et al. (2000), 2 Ho et al. (2006)
};

// The constants of one set of conditions. K1, K2, KW, KB, KP1-3, KSi on the
// chosen pH scale, KF and KS on the free scale, all at the given pressure, in
// mol/kg-SW (KW in (mol/kg-SW)^2); totals in mol/kg-SW.
template <class R>
struct ConditionConstants {
    R K0;      // CO2 solubility, Weiss (1974). Units: mol/(kg-SW atm)
    R K1, K2, KW, KB, KF, KS, KP1, KP2, KP3, KSi;
    R TB, TF, TS;
    R fH;      // activity coefficient of H+ (NBS scale)
    R FugFac;  // fCO2/pCO2, Weiss (1974); 1 for sets 6 and 7
    R VPFac;   // 1 minus the water-vapour pressure of seawater. Units: atm
    R Ca;      // dissolved calcium, Riley and Tongudai (1967). Units: mol/kg-SW
    R KCa;     // calcite solubility product at pressure. Units: (mol/kg-SW)^2
    R KAr;     // aragonite solubility product at pressure. Units: (mol/kg-SW)^2
};

// The constants for salinity Sal, temperature TempC [deg C] and pressure
// Pdbar [dbar], under the options' constants set, KHSO4 and pH scale.
// Instantiated for double and for ad::Dual<1>, ad::Dual<2> and ad::Dual<3>
// (derivatives along those of Sal, TempC and Pdbar that vary).
template <class R>
ConditionConstants<R> ConstantsAt(const ChemistryOptions& options, const R& Sal, const R& TempC,
                                  const R& Pdbar);

}  // namespace brinora::uncertainty
