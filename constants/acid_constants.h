// Dissociation constants of carbonic, boric, phosphoric and silicic acid and
// of water, one function per constant set, at the surface (no pressure
// correction), on the seawater scale in mol/kg-SW (KW in (mol/kg-SW)^2).
// Every function evaluates in double and stores each intermediate as float.
#pragma once

namespace brinora::constants_internal {

// Surface values the constant sets read, as stored by CO2_Constants.
struct AcidInputs {
    int whichKs = 0;         // constants-set code 1..14
    int pHScale = 0;         // pH-scale code; selects the set-14 coefficients
    float Sal = 0.0f;        // salinity
    float TempC = 0.0f;      // temperature [deg C]
    float TempK = 0.0f;      // temperature [K]
    float sqrSal = 0.0f;     // sqrt(Sal)
    float logTempK = 0.0f;   // ln(TempK)
    float IonS = 0.0f;       // ionic strength [mol/kg-H2O]
    float SWStoTOT = 0.0f;   // seawater-to-total factor at the surface
    float fH = 0.0f;         // activity coefficient of H+ at the surface
};

// K1 and K2 of carbonic acid. Units: mol/kg-SW.
struct CarbonicAcid {
    float K1 = 0.0f;
    float K2 = 0.0f;
};

// KP1, KP2, KP3 of phosphoric acid and KSi of silicic acid. Units: mol/kg-SW.
struct PhosphateSilicate {
    float KP1 = 0.0f;
    float KP2 = 0.0f;
    float KP3 = 0.0f;
    float KSi = 0.0f;
};

// Every set-dependent constant of one call; 0 where a set defines none.
struct AcidConstants {
    float K1 = 0.0f, K2 = 0.0f;    // mol/kg-SW
    float KW = 0.0f;               // (mol/kg-SW)^2
    float KB = 0.0f;               // mol/kg-SW
    float KP1 = 0.0f, KP2 = 0.0f, KP3 = 0.0f, KSi = 0.0f;  // mol/kg-SW
    float log10K2 = 0.0f;  // NBS-scale log10 K2 of the GEOSECS sets 6 and 7 (else 0)
};

// KB, Dickson (1990) total scale, divided by SWStoTOT. Units: mol/kg-SW.
float KB_Dickson1990(float Sal, float sqrSal, float TempK, float logTempK, float SWStoTOT);
// KB, GEOSECS form on the NBS scale, divided by fH. Units: mol/kg-SW.
float KB_GEOSECS(float Sal, float TempC, float fH);

// KW, Millero (1995), seawater scale. Units: (mol/kg-SW)^2.
float KW_Millero1995(float Sal, float sqrSal, float TempK, float logTempK);
// KW, Millero (1979) seawater form of the GEOSECS set 7. Units: (mol/kg-SW)^2.
float KW_Millero1979(float Sal, float sqrSal, float TempK, float logTempK);
// KW, Millero (1979) pure water. Units: (mol/kg-H2O)^2.
float KW_Millero1979PureWater(float TempK, float logTempK);

// KP1-3 and KSi, Yao and Millero (1995), seawater scale. Units: mol/kg-SW.
PhosphateSilicate KPKSi_YaoMillero1995(float Sal, float sqrSal, float TempK, float logTempK,
                                       float IonS);
// KP1-3 and KSi of the GEOSECS set 7 (fixed forms, all but KP1 divided by fH). Units: mol/kg-SW.
PhosphateSilicate KPKSi_GEOSECS(float TempK, float fH);

// K1, K2, Roy et al. (1993), total scale brought to mol/kg-SW and the seawater scale.
CarbonicAcid K1K2_Roy1993(float Sal, float sqrSal, float TempK, float logTempK, float SWStoTOT);
// K1, K2, Goyet and Poisson (1989), seawater scale.
CarbonicAcid K1K2_GoyetPoisson1989(float Sal, float TempK, float logTempK);
// K1, K2, Hansson (1973) refit by Dickson and Millero (1987), seawater scale.
CarbonicAcid K1K2_Hansson1973(float Sal, float TempK, float logTempK);
// K1, K2, Mehrbach et al. (1973) refit by Dickson and Millero (1987), seawater scale.
CarbonicAcid K1K2_Mehrbach1973(float Sal, float TempK, float logTempK);
// K1, K2, Hansson and Mehrbach data refit by Dickson and Millero (1987), seawater scale.
CarbonicAcid K1K2_HanssonMehrbach(float Sal, float TempK);
// K1, K2, GEOSECS form on the NBS scale, divided by fH; log10K2Out receives
// the NBS-scale log10 K2 (as stored), which the "peng" log line reports.
CarbonicAcid K1K2_GEOSECS(float Sal, float sqrSal, float TempK, float logTempK, float fH, float& log10K2Out);
// K1, K2, Millero (1979) pure water.
CarbonicAcid K1K2_Millero1979PureWater(float TempK, float logTempK);
// K1, K2, Millero et al. (2002), seawater scale (codes 9, 10 and 11).
CarbonicAcid K1K2_Millero2002(float Sal, float TempK);
// K1, K2, Millero (2006), seawater scale.
CarbonicAcid K1K2_Millero2006(float Sal, float TempK);
// K1, K2, Lueker et al. (2000) total scale, divided by SWStoTOT.
CarbonicAcid K1K2_Lueker2000(float Sal, float TempK, float logTempK, float SWStoTOT);
// K1, K2, Millero (2010), on the scale that pHScale names (zero-salinity values
// for pHScale 4 and unknown codes); not brought to the seawater scale.
CarbonicAcid K1K2_Millero2010(int pHScale, float Sal, float TempK);

// All set-dependent constants of one call, computed in the order KB, KW,
// KP1-3 with KSi, K1 and K2; zeros for a code outside 1..14.
AcidConstants AcidConstantsForSet(const AcidInputs& in);

}  // namespace brinora::constants_internal
