// The rules of one batch input line: its 21 fields, whether it holds a
// sample, and the checks that stop a run. Pure functions of the line's text,
// shared by every kind of run (records, preview, KML) and by the fuzzers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "input/fields.h"

namespace brinora {

// Non-empty names a batch input header must have.
inline constexpr int kBatchHeaderNames = 21;

// Field numbers of a batch line (counted from 0).
inline constexpr std::size_t kSampleIdField = 0;
inline constexpr std::size_t kSalinityField = 6;
inline constexpr std::size_t kTemperatureField = 7;
inline constexpr std::size_t kFirstSampleValueField = 6;   // fields 6..19 go to slots 11..24
inline constexpr std::size_t kLastSampleValueField = 19;
inline constexpr std::size_t kCommentField = 20;

// Why a sample line stops the run, in the order the checks are made.
enum class StopReason : std::uint8_t { kNone, kSalinity, kTemperature, kPairs };

// The message that a stopping line ends the run with ("" for kNone).
std::string_view stopMessage(StopReason reason);

// What a line of a batch file is.
enum class LineVerdict : std::uint8_t {
    kSample,   // computed and written
    kNothing,  // field 0 empty: "Nothing on this line"
    kStop,     // ends the run with stopMessage(reason)
};

struct LineCheck {
    LineVerdict verdict = LineVerdict::kNothing;
    StopReason reason = StopReason::kNone;
};

// Checks a line already split into `fields`: field 0 empty marks it empty;
// otherwise salinity, temperature and the carbonate pairs are required, in
// that order. At least one of the nine pairs (TA,TCO2), (TA,pH), (TA,fCO2),
// (TA,pCO2), (TCO2,pH), (TCO2,fCO2), (TCO2,pCO2), (pH,fCO2), (pH,pCO2) must
// have both fields empty; (fCO2,pCO2) is not among them.
LineCheck checkBatchLine(const BatchFields& fields);

// Number of non-empty comma-separated names in a header line.
int countHeaderNames(std::string_view headerLine);

}  // namespace brinora
