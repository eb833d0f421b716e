// Axes of a graph: the range shown, round tick values and their labels, the
// mapping from values to pixels (a profile's pressure increases downwards),
// and zooming and panning a view.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace brinora::graph {

// A closed interval of values on one axis.
struct AxisRange {
    double min = 0.0;
    double max = 1.0;
    double span() const { return max - min; }
};

// Smallest and largest finite value of `values`; {0, 1} when none is finite.
AxisRange finiteRange(std::span<const float> values);

// `range` widened by `fraction` of its span on each side; a single value
// becomes an interval around it (±1 for 0, else ±10 % of its size).
AxisRange paddedRange(AxisRange range, double fraction = 0.05);

// Distance between ticks: 1, 2 or 5 times a power of ten, the smallest such
// step that puts at most `maxTicks` ticks into `range`.
double niceStep(AxisRange range, int maxTicks);

// The multiples of niceStep(range, maxTicks) that lie in `range`, ascending.
std::vector<double> niceTicks(AxisRange range, int maxTicks);

// `value` written with as many decimals as `step` needs ("-0" written as "0").
std::string tickLabel(double value, double step);

// The part of the plane shown: an x range and a y range.
struct GraphView {
    AxisRange x;
    AxisRange y;

    // Zoomed by `factor` (above 1 shows less) about the point (cx, cy).
    GraphView zoomedAbout(double cx, double cy, double factor) const;
    // Moved by (dx, dy) in values.
    GraphView movedBy(double dx, double dy) const;
};

// Maps values to pixel positions in a plot area of `width` by `height`
// pixels whose top left corner is (left, top). The y axis increases upwards,
// or downwards when `yDown` (depth profiles).
struct PlotTransform {
    GraphView view;
    double left = 0.0;
    double top = 0.0;
    double width = 1.0;
    double height = 1.0;
    bool yDown = false;

    double px(double x) const { return left + (x - view.x.min) / view.x.span() * width; }
    double py(double y) const {
        const double t = (y - view.y.min) / view.y.span();
        return yDown ? top + t * height : top + (1.0 - t) * height;
    }
    double valueX(double px) const { return view.x.min + (px - left) / width * view.x.span(); }
    double valueY(double py) const {
        const double t = (py - top) / height;
        return yDown ? view.y.min + t * view.y.span() : view.y.max - t * view.y.span();
    }
};

}  // namespace brinora::graph
