// `brinora calc` with uncertainties: the table with "value ± u", the budget,
// the sensitivities and the buffer factors of one sample.
#pragma once

#include "cli/uncertainty_options.h"
#include "engine/board.h"

namespace brinora::cli {

// Prints what `options` asks for about the sample whose inputs are on
// `inputs` and whose results (the record's float values) are on `computed`.
// Returns the exit status: 0, 1 when the double-precision calculation has no
// solution, 2 for an uncertainty option that does not fit the sample.
int printCalcWithUncertainty(const Board& inputs, const Board& computed, const UncertaintyOptions& options);

}  // namespace brinora::cli
