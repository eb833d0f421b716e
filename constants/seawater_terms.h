// The terms of CO2_Constants that do not depend on the carbonic-acid constants
// set: salinity totals, CO2 solubility, ionic strength, the bisulfate and
// fluoride constants, pH-scale factors, the H+ activity coefficient, and the
// fugacity and vapour-pressure factors.
// Every function evaluates in double and returns the value stored as float.
#pragma once

namespace brinora::constants_internal {

// Gas constant as stored by the routine. Units: mL bar/(mol K).
constexpr float kGasConstant = 83.1451f;
// One standard atmosphere. Units: bar.
constexpr float kOneAtmosphere = 1.01325f;
// Celsius to kelvin offset. Units: K.
constexpr double kCelsiusToKelvin = 273.15;
// Coefficient of the mol/kg-H2O to mol/kg-SW factor (1 - 0.001005 S). Units: 1/salinity.
constexpr double kH2OToSWPerSal = 0.001005;

// Total borate, Uppstrom (1974), codes 1-5 and 9-14. Units: mol/kg-SW.
float TotalBorateUppstrom1974(float Sal);
// Total borate of the GEOSECS sets, codes 6 and 7. Units: mol/kg-SW.
float TotalBorateGEOSECS(float Sal);
// Total borate by constants-set code (0 for code 8 and unknown codes). Units: mol/kg-SW.
float TotalBorate(int whichKs, float Sal);
// Total fluoride, Riley (1965). Units: mol/kg-SW.
float TotalFluoride(float Sal);
// Total sulfate, Morris and Riley (1966). Units: mol/kg-SW.
float TotalSulfate(float Sal);

// CO2 solubility K0, Weiss (1974). Units: mol/(kg-SW atm).
float K0_Weiss1974(float Sal, float TempK);
// The two temperature terms of ln K0, Weiss (1974): ln K0 = lnK0Temperature +
// S lnK0PerSal, each as the formula's evaluation forms it (in double).
struct K0TemperatureTerms {
    double lnK0Temperature;  // -60.2409 + 93.4517/(T/100) + 23.3585 ln(T/100)
    double lnK0PerSal;       // 0.023517 - 0.023656 T/100 + 0.0047036 (T/100)^2
};
K0TemperatureTerms K0TemperatureTermsWeiss1974(float TempK);
// K0 of a salinity from the temperature terms: K0_Weiss1974(Sal, TempK) is
// K0FromTemperatureTerms(Sal, K0TemperatureTermsWeiss1974(TempK)). Units: mol/(kg-SW atm).
float K0FromTemperatureTerms(float Sal, const K0TemperatureTerms& terms);
// Ionic strength, 19.924 S/(1000 - 1.005 S). Units: mol/kg-H2O.
float IonicStrength(float Sal);

// KS (KHSO4), Dickson (1990), free scale. Units: mol/kg-SW.
float KS_Dickson1990(float Sal, float TempK, float logTempK, float IonS);
// KS (KHSO4), Khoo et al. (1977), free scale. Units: mol/kg-SW.
float KS_Khoo1977(float Sal, float TempK, float IonS);
// KS by bisulfate code (0 for codes outside 1..2). Units: mol/kg-SW.
float KS_ByCode(int whichKSO4, float Sal, float TempK, float logTempK, float IonS);
// KF (HF), Dickson and Riley (1979), free scale. Units: mol/kg-SW.
float KF_DicksonRiley1979(float Sal, float TempK, float IonS);

// Seawater-scale to total-scale factor (1 + TS/KS)/(1 + TS/KS + TF/KF). Dimensionless.
float SWStoTOTFactor(float TS, float KS, float TF, float KF);
// Free-scale to total-scale factor 1 + TS/KS. Dimensionless.
float FREEtoTOTFactor(float TS, float KS);

// Writes fH, the activity coefficient of H+ for the NBS scale, by
// constants-set code: Takahashi et al. (1982) for codes 1-6 and 9-14, the
// GEOSECS form for code 7, 1 for code 8; any other code leaves fH as it is.
// Written first as the temperature part, then the salinity part is added.
void ActivityCoefficientH(int whichKs, float Sal, float TempK, float& fH);

// Fugacity factor fCO2/pCO2 at one atmosphere, Weiss (1974). Dimensionless.
float FugacityFactorWeiss1974(float TempK, float RT);
// 1 minus the water-vapour pressure of seawater, Weiss and Price (1980). Units: atm.
float VapourPressureFactorWeissPrice1980(float Sal, float TempK);
// Its parts: the vapour pressure of pure water (Units: atm), the seawater
// correction exp(-0.000544 S) (dimensionless), and 1 minus their float product.
float VapourPressureWaterWeissPrice1980(float TempK);
float VapourPressureSalinityFactorWeissPrice1980(float Sal);
float VapourPressureFactorFromParts(float VPWP, float VPCorrWP);

}  // namespace brinora::constants_internal
