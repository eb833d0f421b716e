// The calculation as the driver made it before its results were reused: every
// constants evaluation, the TA and TCO2 solver with its own evaluation, and
// every quantity at output conditions computed afresh. The reference the
// calculation is compared with bit for bit.
#pragma once

#include <string>
#include <vector>

#include "engine/board.h"
#include "engine/sample.h"

namespace brinora::test {

// Reads slots 1..4 and 11..24 of `board`, writes slots 30..67 and 69..72 and
// K0/FugFac at output conditions; `logLines` receives the "peng" lines.
ComputeOutcome fullPathComputeCO2(Board& board, float& K0, float& FugFac, std::vector<std::string>& logLines);

}  // namespace brinora::test
