// The whole carbonate calculation of one sample in double precision, at input
// and at output conditions, on plain doubles (values) or on dual numbers
// (values and their exact derivatives along every source).
#pragma once

#include <array>

#include "uncertainty/constants_ad.h"
#include "uncertainty/dual.h"
#include "uncertainty/sources.h"

namespace brinora::uncertainty {

using Gradient = ad::Dual<kSourceCount>;

// One sample: the codes of its carbonate pair and the value of every source
// in record units (Source). A temperature_out or pressure_out of 0 means "as
// at input"; -9 and -999 mark a missing condition (salinity and temperature
// refuse the sample, the others count as 0), as in the single-precision
// calculation. The constants' offsets and the relative boron offset are 0
// for the calculation itself (a Monte Carlo draw sets them).
struct Sample {
    int first = 1;   // parameter code of the first of the pair, 1 TA .. 5 pCO2
    int second = 2;  // parameter code of the second, greater than `first`
    std::array<double, kSourceCount> x{};
};

// Why a sample has no results: computed, refused as the single-precision
// calculation refuses it, or its pair has no solution (pH of TCO2 and fCO2
// undefined, or a pH solve that does not converge).
enum class Outcome { kComputed, kRefused, kNoSolution };

// Every quantity of the sample in record units (Quantity).
Outcome EvaluateSample(const ChemistryOptions& options, const Sample& sample,
                       std::array<double, kQuantityCount>& out);
// The same with the derivative of each quantity along every source.
Outcome DifferentiateSample(const ChemistryOptions& options, const Sample& sample,
                            std::array<Gradient, kQuantityCount>& out);

// The same along the sources of `directions` only, on gradients of N
// directions (N = 4, 8, 12 or 16). Each derivative is the one that
// DifferentiateSample gives along that source, bit for bit: every operation
// on a gradient treats its directions one by one, in the same order.
template <std::size_t N>
Outcome DifferentiateSampleAlong(const ChemistryOptions& options, const Sample& sample,
                                 const Directions& directions, std::array<ad::Dual<N>, kQuantityCount>& out);

}  // namespace brinora::uncertainty
