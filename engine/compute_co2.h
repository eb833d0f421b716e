// The calculation driver: one whole calculation of the carbonate system from
// the field board, at input and at output conditions.
#pragma once

#include "constants/process_values.h"
#include "engine/board.h"

namespace brinora {

class BrinoraMain {
public:
    // Reads slots 1..3 and 11..24 of the process-wide board, writes slots
    // 30..67 and 69..72, and leaves the process-wide K0 and FugFac at their
    // output-condition values. A refused sample (salinity or input temperature
    // missing, a chosen carbonate parameter negative) writes nothing.
    static void ComputeCO2();

    // The same on an explicit board and explicit K0/FugFac, so that several
    // boards can be computed at once; results are identical to the bit.
    static void ComputeCO2(Board& board, ProcessValues& values);
};

}  // namespace brinora
