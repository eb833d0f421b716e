// Board slot numbers. Units on the board: micromol/kg for TA, TCO2, nutrients
// and species; microatmosphere for fCO2 and pCO2; ppm for xCO2; decibar for
// pressure; degrees Celsius for temperature.
#pragma once

#include <cstdint>

namespace brinora::slot {

// Option slots: selected menu index minus 1.
constexpr std::uint32_t kConstantsSet = 1;  // dissociation-constants set
constexpr std::uint32_t kKHSO4 = 2;         // bisulfate constant choice
constexpr std::uint32_t kpHScale = 3;       // pH scale
constexpr std::uint32_t kAirSeaFlux = 4;    // air-sea gas-transfer formula

// Sample inputs (batch columns 6..19 go to slots 11..24).
constexpr std::uint32_t kSalinity = 11;
constexpr std::uint32_t kTemperature = 12;     // degrees Celsius
constexpr std::uint32_t kPressure = 13;        // decibar
constexpr std::uint32_t kPhosphate = 14;       // micromol/kg
constexpr std::uint32_t kSilicate = 15;        // micromol/kg
constexpr std::uint32_t kTemperatureOut = 16;  // degrees Celsius; 0 = as input
constexpr std::uint32_t kPressureOut = 17;     // decibar; 0 = as input
constexpr std::uint32_t kTA = 18;              // micromol/kg
constexpr std::uint32_t kTCO2 = 19;            // micromol/kg
constexpr std::uint32_t kpH = 20;              // on the chosen scale
constexpr std::uint32_t kfCO2 = 21;            // microatmosphere
constexpr std::uint32_t kpCO2 = 22;            // microatmosphere
constexpr std::uint32_t kpCO2Air = 23;         // microatmosphere
constexpr std::uint32_t kWindSpeed = 24;       // metre per second

// Results: result record position i goes to slot kResultBase + i (i = 1..38).
constexpr std::uint32_t kResultBase = 29;
constexpr std::uint32_t kResultCount = 38;

constexpr std::uint32_t kSalinityUsed = 30;
constexpr std::uint32_t kTemperatureUsed = 31;
constexpr std::uint32_t kPressureUsed = 32;
constexpr std::uint32_t kPhosphateUsed = 33;
constexpr std::uint32_t kSilicateUsed = 34;
constexpr std::uint32_t kTAOut = 35;
constexpr std::uint32_t kTCO2Out = 36;
constexpr std::uint32_t kpHIn = 37;
constexpr std::uint32_t kfCO2In = 38;
constexpr std::uint32_t kpCO2In = 39;
constexpr std::uint32_t kHCO3In = 40;
constexpr std::uint32_t kCO3In = 41;
constexpr std::uint32_t kCO2In = 42;
constexpr std::uint32_t kBAlkIn = 43;
constexpr std::uint32_t kOHIn = 44;
constexpr std::uint32_t kPAlkIn = 45;
constexpr std::uint32_t kSiAlkIn = 46;
constexpr std::uint32_t kRevelleIn = 47;
constexpr std::uint32_t kOmegaCaIn = 48;
constexpr std::uint32_t kOmegaArIn = 49;
constexpr std::uint32_t kxCO2In = 50;
constexpr std::uint32_t kUnassigned = 51;
constexpr std::uint32_t kTemperatureOutUsed = 52;
constexpr std::uint32_t kPressureOutUsed = 53;
constexpr std::uint32_t kpHOut = 54;
constexpr std::uint32_t kfCO2Out = 55;
constexpr std::uint32_t kpCO2Out = 56;
constexpr std::uint32_t kHCO3Out = 57;
constexpr std::uint32_t kCO3Out = 58;
constexpr std::uint32_t kCO2Out = 59;
constexpr std::uint32_t kBAlkOut = 60;
constexpr std::uint32_t kOHOut = 61;
constexpr std::uint32_t kPAlkOut = 62;
constexpr std::uint32_t kSiAlkOut = 63;
constexpr std::uint32_t kRevelleOut = 64;
constexpr std::uint32_t kOmegaCaOut = 65;
constexpr std::uint32_t kOmegaArOut = 66;
constexpr std::uint32_t kxCO2Out = 67;

constexpr std::uint32_t kCO2FluxIn = 69;   // mmol m-2 d-1
constexpr std::uint32_t kSigmaIn = 70;     // sigma-t
constexpr std::uint32_t kCO2FluxOut = 71;  // mmol m-2 d-1
constexpr std::uint32_t kSigmaOut = 72;    // sigma-t

}  // namespace brinora::slot
