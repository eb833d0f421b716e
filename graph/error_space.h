// The error-space diagram of Orr et al. (2018, Marine Chemistry 207, 84-107,
// Fig. 3): the combined standard uncertainty u(y) of one result of one sample
// over a grid of the standard uncertainties of the two carbonate parameters
// of its pair, every other source (salinity, temperature, the nutrients, the
// constants) kept at its given uncertainty; contour lines of u(y) on that
// grid; and the level at which the pair's part of u(y) equals the
// constants' part. No toolkit: the desktop program draws it.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "uncertainty/propagation.h"

namespace brinora::graph {

struct ErrorSpace {
    std::size_t quantity = 0;  // the result y (uncertainty::Quantity)
    std::size_t columns = 0;   // grid points along u(first parameter), from 0 to maxFirst
    std::size_t rows = 0;      // grid points along u(second parameter), from 0 to maxSecond
    double maxFirst = 0.0;     // units of the first parameter
    double maxSecond = 0.0;    // units of the second parameter
    // u(y) at (firstAt(i), secondAt(j)) in u[j * columns + i], units of y.
    std::vector<double> u;
    double constantsPart = 0.0;  // u(y) of the constants alone (pK0 .. total boron)
    double otherPart = 0.0;      // u(y) of salinity, temperature, pressure, the nutrients, the flux inputs
    // The level of u(y) where the pair's part equals the constants' part:
    // sqrt(2 constantsPart^2 + otherPart^2) (the pair's part includes its correlation term).
    double balanceLevel = 0.0;

    double firstAt(std::size_t i) const { return columns > 1 ? maxFirst * double(i) / double(columns - 1) : 0.0; }
    double secondAt(std::size_t j) const { return rows > 1 ? maxSecond * double(j) / double(rows - 1) : 0.0; }
    double at(std::size_t i, std::size_t j) const { return u[j * columns + i]; }
};

// u(y) of quantity `quantity` from the gradients `gradient` of one sample
// (uncertainty::DifferentiateSample) with the standard uncertainties `u` of
// every source but the pair's, whose uncertainties run over the grid; the
// pair correlated by `correlation`. Each grid point is the first-order
// propagation (uncertainty::PropagateGradients) of its uncertainties.
ErrorSpace computeErrorSpace(const std::array<uncertainty::Gradient, uncertainty::kQuantityCount>& gradient,
                             const std::array<double, uncertainty::kSourceCount>& u, double correlation,
                             std::size_t quantity, double maxFirst, double maxSecond, std::size_t columns,
                             std::size_t rows);

// One straight piece of a contour line, in the grid's units (u of the first
// parameter, u of the second).
struct ContourSegment {
    double x0, y0, x1, y1;
};

// The contour line of u(y) = `level` through the grid, by marching squares
// with linear interpolation along the cell edges.
std::vector<ContourSegment> contourSegments(const ErrorSpace& space, double level);

// Round levels for the contour lines between the least and the greatest u(y)
// of the grid, at most `maxLevels` of them.
std::vector<double> contourLevels(const ErrorSpace& space, int maxLevels);

}  // namespace brinora::graph
