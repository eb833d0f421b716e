// The calculation driver: one whole calculation of the carbonate system from
// the field board, at input and at output conditions.
#pragma once

#include "constants/process_values.h"
#include "engine/board.h"

namespace brinora {

// Why a calculation was or was not made.
struct ComputeOutcome {
    enum class Status {
        kComputed,            // results written to slots 30..67 and 69..72
        kSalinityMissing,     // salinity at a missing-value mark (-9 or -999)
        kTemperatureMissing,  // input temperature at a missing-value mark
        kNegativeParameter,   // a chosen carbonate parameter below zero
    };
    Status status = Status::kComputed;
    // For kNegativeParameter: 1 TA, 2 TCO2, 3 pH, 4 fCO2, 5 pCO2.
    int parameter = 0;

    bool computed() const { return status == Status::kComputed; }
};

class BrinoraMain {
public:
    // Reads slots 1..3 and 11..24 of the process-wide board, writes slots
    // 30..67 and 69..72, and leaves the process-wide K0 and FugFac at their
    // output-condition values. A refused sample (salinity or input temperature
    // missing, a chosen carbonate parameter negative) writes nothing.
    static void ComputeCO2();

    // What the last ComputeCO2() on the process-wide board did (the form
    // tells the user when a sample was refused).
    inline static ComputeOutcome lastOutcome;

    // The same on an explicit board and explicit K0/FugFac, so that several
    // boards can be computed at once; results are identical to the bit.
    // Tells whether the sample was computed or why it was refused.
    static ComputeOutcome ComputeCO2(Board& board, ProcessValues& values);
};

}  // namespace brinora
