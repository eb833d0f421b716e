// The propagated uncertainties of one sample given as a board of inputs: the
// double-precision sample of the board, the standard uncertainty of each
// source, the gradients and the combined uncertainty of every result; and the
// uncertainty that belongs to a row of the quantity table (a result, or a
// sample input such as salinity). Shared by `brinora calc` and the desktop's
// one-sample form.
#pragma once

#include <array>
#include <cstddef>

#include "engine/board.h"
#include "engine/quantities.h"
#include "uncertainty/propagation.h"
#include "uncertainty_io/uncertainty_request.h"

namespace brinora::uncertainty {

struct SampleUncertainty {
    Sample sample;
    ChemistryOptions options;
    std::array<double, kSourceCount> u{};  // standard uncertainty of each source, record units
    std::array<Gradient, kQuantityCount> gradient{};
    Propagated propagated;
};

// The sample and options of `inputs` (SampleOfBoard) with the standard
// uncertainty of every source for its pair. False when the board has fewer
// than two carbonate parameters.
bool PrepareSampleUncertainty(const Board& inputs, const UncertaintyRequest& request, SampleUncertainty& result);

// The gradients of the prepared sample and their propagation with the
// covariance of result.u and the pair's `correlation`.
Outcome PropagateSampleUncertainty(double correlation, SampleUncertainty& result);

// The quantity of the double-precision calculation that quantity table row
// `row` is (TA and TCO2 at output conditions are those at input conditions),
// or kNoQuantity.
inline constexpr std::size_t kNoQuantity = ~std::size_t{0};
std::size_t QuantityOfRow(const brinora::Quantity* row);

// The standard uncertainty of quantity table row `row` for the sample: that
// of its result, or, for a sample input (salinity, temperature, pressure,
// the nutrients, output conditions), the one given (an output temperature or
// pressure of 0 is the input one); -1 when the row has none (sigma-t).
double RowUncertainty(const brinora::Quantity* row, const SampleUncertainty& result);

}  // namespace brinora::uncertainty
