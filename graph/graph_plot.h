// What one graph shows: a y column against an x column of a table, points
// optionally coloured by sample name or by a third column, and the count of
// samples left out because a value is missing, not a number or infinite.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "graph/graph_scale.h"
#include "graph/graph_table.h"

namespace brinora::graph {

enum class ColourMode {
    None,        // every point in one colour
    SampleName,  // one colour per distinct sample name
    Column,      // a colour scale over a numeric column
};

struct ColourChoice {
    ColourMode mode = ColourMode::None;
    std::size_t column = 0;  // with ColourMode::Column: position in the table's column list
};

struct GraphSeries {
    std::vector<float> x;             // finite x values of the points drawn
    std::vector<float> y;             // finite y values
    std::vector<std::uint32_t> row;   // the table row of each point
    std::vector<float> colour;        // per point: the colour column's value, or the name index
    std::size_t samples = 0;          // rows of the table
    std::size_t missing = 0;          // rows left out: x or y has no value
    std::size_t notANumber = 0;       // rows left out: x or y is not a number
    std::size_t infinite = 0;         // rows left out: x or y is infinite
    AxisRange colourRange;            // finite range of the colour column
    std::size_t leftOut() const { return missing + notANumber + infinite; }
};

// The points of column `yColumn` against column `xColumn` of `table`.
GraphSeries makeSeries(const GraphTable& table, std::size_t xColumn, std::size_t yColumn,
                       ColourChoice colour = {});

// The note under a graph that names how many samples are not drawn and why,
// e.g. "2 of 24 samples not shown: 1 with no value, 1 not a number."; empty
// when every sample is drawn.
std::string leftOutNote(const GraphSeries& series);

// The view that shows every point with a margin; the y axis of a depth-like
// column starts just above the surface (0) when no value is negative.
GraphView fullView(const GraphSeries& series, bool yDepthLike);

}  // namespace brinora::graph
