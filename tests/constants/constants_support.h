// Helpers shared by the tests of the constants library.
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "constants/arrays.h"
#include "constants/co2_constants.h"
#include "log/log.h"

namespace brinora::constants_test {

// Every output of one CO2_Constants call.
struct Outputs {
    float K0 = 0.0f;      // mol/(kg-SW atm)
    ConstantsArray K{};   // positions 1..10
    TotalsArray T{};      // positions 1..3
    float fH = 0.0f;      // activity coefficient of H+
    float FugFac = 0.0f;  // fCO2/pCO2
    float VPFac = 0.0f;   // atm
};

// One sample's conditions: salinity, temperature [deg C], pressure [dbar].
struct Sample {
    float Sal, TempC, Pdbar;
};

// One call with fresh outputs; fHIn is what the caller leaves in fH.
inline Outputs Compute(int pHScale, int whichKs, int whichKSO4, float Sal, float TempC, float Pdbar,
                       float fHIn = 0.0f) {
    Outputs o;
    o.fH = fHIn;
    CO2_Constants(pHScale, whichKs, whichKSO4, Sal, TempC, Pdbar, o.K0, o.K, o.T, o.fH, o.FugFac,
                  o.VPFac);
    return o;
}

// SWStoTOT from the returned KS, KF, TS, TF, with the routine's float formula:
// (1 + TS/KS)/(1 + TS/KS + TF/KF), both quotients float divisions.
inline float SWStoTOTOf(const Outputs& o) {
    const float TSoverKS = o.T[t::TS] / o.K[k::KS];
    const float TFoverKF = o.T[t::TF] / o.K[k::KF];
    return static_cast<float>((1.0 + TSoverKS) / (1.0 + TSoverKS + TFoverKF));
}

// The bit pattern of a float, for comparisons that must be exact (NaN included).
inline std::uint32_t Bits(float x) { return std::bit_cast<std::uint32_t>(x); }

// Positions of the eight constants that follow the pH scale.
inline constexpr int kScaleDependent[] = {k::K1, k::K2, k::KW, k::KB, k::KP1, k::KP2, k::KP3, k::KSi};
// Names of the constants by position, for failure messages.
inline const char* ConstantName(int i) {
    static const char* names[] = {"-", "K1", "K2", "KW", "KB", "KF", "KS", "KP1", "KP2", "KP3", "KSi"};
    return names[i];
}

// Collects the log lines written while it lives.
class CapturedLog {
public:
    CapturedLog() : sink_([this](std::string_view line) { lines.emplace_back(line); }) {}
    std::vector<std::string> lines;

private:
    log::ScopedSink sink_;
};

}  // namespace brinora::constants_test
