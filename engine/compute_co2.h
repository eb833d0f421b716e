// The calculation driver on the field board: the board's slots in and out of
// computeSample (engine/sample.h), for the desktop form, its controller and
// the callers that keep a board per sample.
#pragma once

#include <string>

#include "constants/process_values.h"
#include "engine/board.h"
#include "engine/sample.h"

namespace brinora {

// The sample on `board`: options from slots 1..4, inputs from slots 11..24.
SampleInputs sampleFromBoard(const Board& board);

// Writes the results to slots 30..67 (result record positions 1..38) and
// 69..72 (flux and sigma-t at input and output conditions).
void resultsToBoard(const SampleResults& results, Board& board);

class BrinoraMain {
public:
    // Reads slots 1..3 and 11..24 of the process-wide board, writes slots
    // 30..67 and 69..72, and leaves the process-wide K0 and FugFac at their
    // output-condition values; writes the "peng" lines of sets 6 and 7 to
    // the system log. A refused sample (salinity or input temperature
    // missing, a chosen carbonate parameter negative) writes nothing.
    // Tells whether the sample was computed or why it was refused.
    static ComputeOutcome ComputeCO2();

    // The same on an explicit board and explicit K0/FugFac, so that several
    // boards can be computed at once; results are identical to the bit. The
    // "peng" lines go to the system log, or, when `logLines` is given, are
    // appended to it, each followed by a newline.
    static ComputeOutcome ComputeCO2(Board& board, ProcessValues& values, std::string* logLines = nullptr);
};

}  // namespace brinora
