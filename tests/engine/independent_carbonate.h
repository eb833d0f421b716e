// An independent re-derivation of the surface (1 atm) carbonate system of
// seawater on the total pH scale, for checking the program's reviewed output
// files against numbers it did not make. Written from the published formulas
// only, in double precision throughout, with none of the program's code,
// none of its float rounding and a different solver (bisection on pH).
//
// Sources, as printed in DOE (1994) Handbook of methods, ch. 5, and Dickson,
// Sabine and Christian (2007) Guide to best practices, ch. 5, unless named:
//   K0          Weiss (1974)
//   K1, K2      Lueker, Dickson and Keeling (2000), total scale; or
//               Roy et al. (1993), total scale
//   KB          Dickson (1990), total scale
//   KW          Millero (1995), total-scale form of DOE (1994)
//   KP1-3, KSi  Millero (1995), total-scale forms of DOE (1994)
//   KS          Dickson (1990), free scale
//   KF          Dickson and Riley (1979), free scale
//   TB          Uppstrom (1974); TS Morris and Riley (1966); TF Riley (1965);
//   Ca          Riley and Tongudai (1967)
//   Ksp         Mucci (1983), calcite and aragonite
//   fugacity    Weiss (1974), virial coefficients of CO2 in air
//   water vapour Weiss and Price (1980)
#pragma once

namespace brinora::independent {

// The carbonic-acid constants used for K1 and K2.
enum class CarbonicAcid { kLueker2000, kRoy1993 };

// Total boron to salinity ratio. Units: mol/kg-SW per salinity unit.
// Uppstrom (1974): B/Cl = 0.000232 g/g, 10.811 g/mol, Cl = S/1.80655.
inline constexpr double kBoronUppstrom1974 = 0.000232 / 10.811 / 1.80655;

// The constants and totals of one sample, all on the total pH scale except KS
// and KF (free scale). Units: mol/kg-SW (KW in (mol/kg-SW)^2).
struct SurfaceConstants {
    double K0 = 0;  // CO2 solubility. Units: mol/(kg-SW atm)
    double K1 = 0, K2 = 0, KW = 0, KB = 0, KP1 = 0, KP2 = 0, KP3 = 0, KSi = 0;
    double KS = 0, KF = 0;
    double TB = 0, TS = 0, TF = 0, Ca = 0;
    double KspCalcite = 0, KspAragonite = 0;  // Units: (mol/kg-SW)^2
    double FugacityFactor = 0;                // fCO2/pCO2 at 1 atm
    double WaterVapour = 0;                   // vapour pressure of seawater. Units: atm
};

// Constants at salinity S, temperature t [deg C], 1 atm. `boronRatio` is the
// total boron per salinity unit (a test may put a wrong one in).
SurfaceConstants ConstantsAtSurface(double S, double TempC, CarbonicAcid set,
                                    double boronRatio = kBoronUppstrom1974);

// One sample's conditions. Units: deg C; TP and TSi in umol/kg-SW.
struct Conditions {
    double S = 0, TempC = 0, TP = 0, TSi = 0;
};

// The parameters a sample may be given.
enum class Parameter { kTA, kTCO2, kpH, kfCO2, kpCO2 };

// The whole carbonate system of a sample, in the units of the output file:
// umol/kg-SW for TA, TCO2 and the species, uatm for fCO2 and pCO2, ppm for xCO2.
struct CarbonateSystem {
    double TA = 0, TCO2 = 0, pH = 0, fCO2 = 0, pCO2 = 0;
    double HCO3 = 0, CO3 = 0, CO2 = 0, BAlk = 0, OH = 0, PAlk = 0, SiAlk = 0;
    double Revelle = 0, OmegaCa = 0, OmegaAr = 0, xCO2 = 0;
};

// Solves the system from two given parameters (in the output file's units).
CarbonateSystem SolveCarbonateSystem(const Conditions& conditions, const SurfaceConstants& K, Parameter first,
                                     double firstValue, Parameter second, double secondValue);

}  // namespace brinora::independent
