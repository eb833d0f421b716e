// One sample's carbonate system as a plain function of its inputs: the value
// types of the calculation and the calculation itself. No process-wide state
// is read or written; the log lines of constants sets 6 and 7 come back with
// the results.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "constants/co2_constants.h"

namespace brinora {

// Why a calculation was or was not made.
struct ComputeOutcome {
    enum class Status {
        kComputed,            // results written
        kSalinityMissing,     // salinity at a missing-value mark (-9 or -999)
        kTemperatureMissing,  // input temperature at a missing-value mark
        kNegativeParameter,   // a chosen carbonate parameter below zero
    };
    Status status = Status::kComputed;
    // For kNegativeParameter: 1 TA, 2 TCO2, 3 pH, 4 fCO2, 5 pCO2.
    int parameter = 0;

    bool computed() const { return status == Status::kComputed; }
};

// The four option codes of a calculation.
struct SampleOptions {
    int whichKs = 0;      // constants set 1..14 (other codes give zero constants)
    int whichKSO4 = 0;    // bisulfate constant 1..2
    int pHScale = 0;      // pH scale 1..4
    int fluxFormula = -1; // flux_formula code 0..2; -1 none (flux 0)
};

// The option codes of the option values as the board holds them (slots 1..4:
// the menu item minus 1): the integer part plus 1 for the first three (the
// x86 "integer indefinite" value for a value outside the int range or NaN),
// the flux formula code for the fourth.
SampleOptions optionsFromSlots(float constantsSet, float khso4, float pHScale, float airSeaFlux);

// Positions of the fourteen inputs in SampleInputs::values, in the order of
// board slots 11..24.
namespace input {
constexpr int kSalinity = 0, kTemperature = 1, kPressure = 2, kPhosphate = 3, kSilicate = 4,
              kTemperatureOut = 5, kPressureOut = 6, kTA = 7, kTCO2 = 8, kpH = 9, kfCO2 = 10, kpCO2 = 11,
              kpCO2Air = 12, kWindSpeed = 13;
constexpr int kCount = 14;
}  // namespace input

// One sample: options and the fourteen inputs in board units (salinity; deg C;
// dbar; micromol/kg for nutrients, TA and TCO2; pH on the chosen scale;
// microatmosphere for fCO2, pCO2 and the pCO2 of the air; m/s for the wind).
struct SampleInputs {
    SampleOptions options;
    std::array<float, input::kCount> values{};
};

// Result quantities by position: 1..38 are the positions of the result
// record (board slots 30..67, in its units), then the air-sea CO2 flux
// [mmol m-2 d-1] and sigma-t [kg m-3] at input and at output conditions
// (board slots 69..72). Position 0 and 22 (the record's unassigned
// position) hold nothing.
namespace quantity {
constexpr int kFirstRecord = 1, kLastRecord = 38;
constexpr int kTemperatureOut = 23, kPressureOut = 24;
constexpr int kCO2FluxIn = 39, kSigmaIn = 40, kCO2FluxOut = 41, kSigmaOut = 42;
constexpr int kCount = 43;
}  // namespace quantity

// A set of quantity positions, bit p for position p.
using QuantityMask = std::uint64_t;
constexpr QuantityMask quantityBit(int position) { return QuantityMask{1} << position; }
// Positions 1..42.
constexpr QuantityMask kAllQuantities = ((QuantityMask{1} << quantity::kCount) - 1) & ~QuantityMask{1};
// The quantities at output conditions: positions 23..38, 41 and 42.
constexpr QuantityMask kOutputQuantities = (((QuantityMask{1} << 39) - 1) & ~((QuantityMask{1} << 23) - 1)) |
                                           quantityBit(quantity::kCO2FluxOut) | quantityBit(quantity::kSigmaOut);

// The results of one sample.
struct SampleResults {
    // By quantity position; positions not asked for hold unspecified values.
    std::array<float, quantity::kCount> values{};
    // CO2 solubility [mol/(kg-SW atm)] and fugacity factor of the last set of
    // conditions computed: the output conditions when they were computed.
    float K0 = 0.0f;
    float FugFac = 0.0f;
    // The "peng" lines of constants sets 6 and 7, one per evaluation of the
    // constants routine, in order (up to three: input conditions, the TA and
    // TCO2 solver's own evaluation, output conditions).
    std::array<PengLine, 3> peng{};
    int pengCount = 0;
};

// The carbonate system of one sample at input and at output conditions (0
// output temperature or pressure: as at input). Computes what `wanted` asks
// for (and what it needs); a refused sample (salinity or input temperature
// missing, a chosen carbonate parameter negative) leaves `results` as it was.
// Bit for bit the calculation of every earlier version of the driver.
ComputeOutcome computeSample(const SampleInputs& sample, SampleResults& results,
                             QuantityMask wanted = kAllQuantities);

// Many samples, column-wise: input j is `inputs[j]` with one value per sample
// (perSample[j]) or one value for every sample; `outputs[p]` receives
// quantity p of sample i at index i when not null (NaN for a refused sample);
// `outcomes[i]`, when not null, what sample i's calculation did.
struct SampleColumns {
    SampleOptions options;
    std::array<const float*, input::kCount> inputs{};
    std::array<bool, input::kCount> perSample{};
    std::array<float*, quantity::kCount> outputs{};
    ComputeOutcome* outcomes = nullptr;
};

// Samples begin..end-1 of `columns`.
void computeSamples(const SampleColumns& columns, std::size_t begin, std::size_t end);

}  // namespace brinora
