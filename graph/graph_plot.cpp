#include "graph/graph_plot.h"

#include <cmath>

namespace brinora::graph {

GraphSeries makeSeries(const GraphTable& table, std::size_t xColumn, std::size_t yColumn,
                       ColourChoice colour) {
    GraphSeries series;
    series.samples = table.rows();
    const std::vector<float>& xs = table.values.at(xColumn);
    const std::vector<float>& ys = table.values.at(yColumn);
    const std::vector<float>* cs =
        colour.mode == ColourMode::Column ? &table.values.at(colour.column) : nullptr;
    series.x.reserve(series.samples);
    series.y.reserve(series.samples);
    series.row.reserve(series.samples);
    for (std::size_t i = 0; i < series.samples; ++i) {
        const float x = xs[i];
        const float y = ys[i];
        if (isMissing(x) || isMissing(y)) {
            ++series.missing;
            continue;
        }
        if (std::isnan(x) || std::isnan(y)) {
            ++series.notANumber;
            continue;
        }
        if (std::isinf(x) || std::isinf(y)) {
            ++series.infinite;
            continue;
        }
        series.x.push_back(x);
        series.y.push_back(y);
        series.row.push_back(static_cast<std::uint32_t>(i));
        if (cs) {
            series.colour.push_back((*cs)[i]);
        } else if (colour.mode == ColourMode::SampleName) {
            series.colour.push_back(static_cast<float>(table.nameIndex[i]));
        }
    }
    if (cs) series.colourRange = finiteRange(series.colour);
    return series;
}

std::string leftOutNote(const GraphSeries& series) {
    if (series.leftOut() == 0) return {};
    std::string note = std::to_string(series.leftOut()) + " of " + std::to_string(series.samples) +
                       (series.samples == 1 ? " sample" : " samples") + " not shown: ";
    bool first = true;
    const auto part = [&](std::size_t count, const char* what) {
        if (count == 0) return;
        if (!first) note += ", ";
        note += std::to_string(count) + " " + what;
        first = false;
    };
    part(series.missing, "with no value");
    part(series.notANumber, "not a number");
    part(series.infinite, "infinite");
    note += ".";
    return note;
}

GraphView fullView(const GraphSeries& series, bool yDepthLike) {
    GraphView view{paddedRange(finiteRange(series.x)), paddedRange(finiteRange(series.y))};
    if (yDepthLike && !series.y.empty()) {
        const AxisRange data = finiteRange(series.y);
        // The surface at the top, just inside the frame.
        if (data.min >= 0.0 && data.max > 0.0) view.y = {-data.max * 0.03, data.max + data.span() * 0.05};
        // Every point at the surface: the axis runs from the surface down,
        // with no pressures below 0.
        if (data.min == 0.0 && data.max == 0.0) view.y = {-0.03, 1.0};
    }
    return view;
}

}  // namespace brinora::graph
