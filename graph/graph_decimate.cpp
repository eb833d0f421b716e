#include "graph/graph_decimate.h"

#include <algorithm>
#include <cmath>

namespace brinora::graph {

std::vector<std::uint32_t> decimateToCells(std::span<const float> x, std::span<const float> y,
                                           const PlotTransform& transform, int cell) {
    std::vector<std::uint32_t> kept;
    if (cell < 1) cell = 1;
    const long columns = std::max(1L, std::lround(std::ceil(transform.width / cell)));
    const long rows = std::max(1L, std::lround(std::ceil(transform.height / cell)));
    std::vector<std::uint8_t> occupied(static_cast<std::size_t>(columns * rows), 0);
    const std::size_t n = std::min(x.size(), y.size());
    for (std::size_t i = 0; i < n; ++i) {
        if (!std::isfinite(x[i]) || !std::isfinite(y[i])) continue;
        const double px = (transform.px(x[i]) - transform.left) / cell;
        const double py = (transform.py(y[i]) - transform.top) / cell;
        if (!(px >= 0.0 && py >= 0.0)) continue;
        const long cx = static_cast<long>(px);
        const long cy = static_cast<long>(py);
        // The right and bottom edges belong to the last cell.
        const long col = cx == columns && px <= static_cast<double>(columns) ? columns - 1 : cx;
        const long row = cy == rows && py <= static_cast<double>(rows) ? rows - 1 : cy;
        if (col >= columns || row >= rows) continue;
        std::uint8_t& slot = occupied[static_cast<std::size_t>(row * columns + col)];
        if (slot) continue;
        slot = 1;
        kept.push_back(static_cast<std::uint32_t>(i));
    }
    return kept;
}

}  // namespace brinora::graph
