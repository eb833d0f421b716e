#include "graph/graph_scale.h"

#include <cmath>
#include <cstdio>
#include <limits>

namespace brinora::graph {

AxisRange finiteRange(std::span<const float> values) {
    double lo = std::numeric_limits<double>::infinity();
    double hi = -std::numeric_limits<double>::infinity();
    for (const float v : values) {
        if (!std::isfinite(v)) continue;
        if (v < lo) lo = v;
        if (v > hi) hi = v;
    }
    if (lo > hi) return {0.0, 1.0};
    return {lo, hi};
}

AxisRange paddedRange(AxisRange range, double fraction) {
    if (!(range.max > range.min)) {
        const double centre = range.min;
        const double half = centre == 0.0 ? 1.0 : std::fabs(centre) * 0.1;
        return {centre - half, centre + half};
    }
    const double pad = range.span() * fraction;
    return {range.min - pad, range.max + pad};
}

double niceStep(AxisRange range, int maxTicks) {
    const double span = range.span();
    if (!(span > 0.0) || !std::isfinite(span) || maxTicks < 2) return 1.0;
    // Start a decade below the rough step and walk up through 1, 2, 5.
    double decade = std::pow(10.0, std::floor(std::log10(span / maxTicks)));
    for (int guard = 0; guard < 40; ++guard) {
        for (const double m : {1.0, 2.0, 5.0}) {
            const double step = m * decade;
            const double first = std::ceil(range.min / step);
            const double last = std::floor(range.max / step);
            if (last - first + 1.0 <= maxTicks) return step;
        }
        decade *= 10.0;
    }
    return span;
}

std::vector<double> niceTicks(AxisRange range, int maxTicks) {
    std::vector<double> ticks;
    const double step = niceStep(range, maxTicks);
    const double first = std::ceil(range.min / step - 1e-9);
    const double last = std::floor(range.max / step + 1e-9);
    for (double k = first; k <= last && ticks.size() < 1000; k += 1.0) {
        const double value = k * step;
        ticks.push_back(value == 0.0 ? 0.0 : value);
    }
    return ticks;
}

std::string tickLabel(double value, double step) {
    int decimals = 0;
    if (step > 0.0 && std::isfinite(step)) {
        decimals = static_cast<int>(std::ceil(-std::log10(step) - 1e-9));
        if (decimals < 0) decimals = 0;
        if (decimals > 12) decimals = 12;
    }
    // A tick value that is almost 0 (a multiple of the step computed in binary).
    if (std::fabs(value) < step * 1e-6) value = 0.0;
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    std::string label(text);
    if (label.size() > 1 && label.front() == '-' && label.find_first_not_of("-0.") == std::string::npos) {
        label.erase(0, 1);
    }
    return label;
}

GraphView GraphView::zoomedAbout(double cx, double cy, double factor) const {
    if (!(factor > 0.0)) return *this;
    const auto zoom = [factor](AxisRange r, double c) {
        return AxisRange{c + (r.min - c) / factor, c + (r.max - c) / factor};
    };
    return {zoom(x, cx), zoom(y, cy)};
}

GraphView GraphView::movedBy(double dx, double dy) const {
    return {{x.min + dx, x.max + dx}, {y.min + dy, y.max + dy}};
}

}  // namespace brinora::graph
