// Thinning a large point set to what a raster can show: one point per cell
// of a pixel grid. Every occupied cell keeps a point, so the extremes of each
// pixel column (its lowest and highest occupied cell) stay on the graph.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "graph/graph_scale.h"

namespace brinora::graph {

// Indices of the points to draw: of the points of `x`, `y` (same length) that
// fall inside the plot area of `transform`, the first one in each cell of
// `cell` by `cell` pixels, in the order of the points. Points with a value
// that is not finite are left out.
std::vector<std::uint32_t> decimateToCells(std::span<const float> x, std::span<const float> y,
                                           const PlotTransform& transform, int cell = 1);

}  // namespace brinora::graph
