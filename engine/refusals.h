// Why a sample is not computed: one numbered list of reasons, shared by the
// command line, the desktop form and the Python module (whose status arrays
// hold these numbers).
#pragma once

#include <cstdint>
#include <string>

#include "engine/sample.h"

namespace brinora {

namespace refusal {
constexpr std::int8_t kComputed = 0;
constexpr std::int8_t kSalinityMissing = 1;     // at a missing-value mark (-9 or -999)
constexpr std::int8_t kTemperatureMissing = 2;  // at a missing-value mark
constexpr std::int8_t kNegativeFirst = 3;       // + carbonate parameter - 1 (TA, TCO2, pH, fCO2, pCO2)
constexpr std::int8_t kNotANumberFirst = 8;     // + input index (board slot - 11)
constexpr std::int8_t kInfiniteFirst = 22;      // + input index
constexpr int kCount = 36;                      // codes 0..35
}  // namespace refusal

// The code of what the driver did with a sample.
std::int8_t refusalCode(const ComputeOutcome& outcome);

// The first sample input (index 0..13, board order) that is not a number or
// infinite, as a refusal code; refusal::kComputed when every one is finite.
std::int8_t nonFiniteInputCode(const float (&inputs)[14]);

// The reason of refusal `code` in words, without a capital or a full stop
// ("the salinity is missing (-9 and -999 mark a missing value)"); "computed"
// for kComputed.
std::string refusalReason(int code);

}  // namespace brinora
