#include "graph/error_space.h"

#include <algorithm>
#include <cmath>

#include "graph/graph_scale.h"

namespace brinora::graph {

using namespace uncertainty;

namespace {

// u(y) of `quantity` when only the sources in [from, to) keep their uncertainty.
double partOf(const Gradient& g, const std::array<double, kSourceCount>& u, std::size_t from, std::size_t to) {
    double sum = 0.0;
    for (std::size_t s = from; s < to; ++s) {
        const double term = g.d[s] * u[s];
        sum += term * term;
    }
    return std::sqrt(sum);
}

}  // namespace

ErrorSpace computeErrorSpace(const std::array<Gradient, kQuantityCount>& gradient,
                             const std::array<double, kSourceCount>& u, double correlation, std::size_t quantity,
                             double maxFirst, double maxSecond, std::size_t columns, std::size_t rows) {
    ErrorSpace space;
    space.quantity = quantity;
    space.columns = std::max<std::size_t>(columns, 2);
    space.rows = std::max<std::size_t>(rows, 2);
    space.maxFirst = maxFirst;
    space.maxSecond = maxSecond;
    space.u.resize(space.columns * space.rows);
    std::array<double, kSourceCount> point = u;
    Propagated propagated;
    for (std::size_t j = 0; j < space.rows; ++j) {
        for (std::size_t i = 0; i < space.columns; ++i) {
            point[kFirstParameter] = space.firstAt(i);
            point[kSecondParameter] = space.secondAt(j);
            PropagateGradients(gradient, CovarianceOf(point, correlation), propagated);
            space.u[j * space.columns + i] = propagated.u[quantity];
        }
    }
    const Gradient& g = gradient[quantity];
    space.constantsPart = partOf(g, u, kpK0, kSourceCount);
    space.otherPart = partOf(g, u, kSalinity, kpK0);
    space.balanceLevel =
        std::sqrt(2.0 * space.constantsPart * space.constantsPart + space.otherPart * space.otherPart);
    return space;
}

std::vector<ContourSegment> contourSegments(const ErrorSpace& space, double level) {
    std::vector<ContourSegment> segments;
    if (space.columns < 2 || space.rows < 2) return segments;
    // The point on the edge from corner a (value va) to corner b (value vb) where the value is `level`.
    struct Point {
        double x, y;
    };
    const auto cross = [level](Point a, double va, Point b, double vb) {
        const double t = vb == va ? 0.5 : (level - va) / (vb - va);
        return Point{a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)};
    };
    for (std::size_t j = 0; j + 1 < space.rows; ++j) {
        for (std::size_t i = 0; i + 1 < space.columns; ++i) {
            // Corners counter-clockwise from the lower left.
            const Point p[4] = {{space.firstAt(i), space.secondAt(j)},
                                {space.firstAt(i + 1), space.secondAt(j)},
                                {space.firstAt(i + 1), space.secondAt(j + 1)},
                                {space.firstAt(i), space.secondAt(j + 1)}};
            const double v[4] = {space.at(i, j), space.at(i + 1, j), space.at(i + 1, j + 1), space.at(i, j + 1)};
            if (!(std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]) && std::isfinite(v[3]))) continue;
            // The crossings of the four edges, in edge order.
            Point found[4];
            int count = 0;
            for (int e = 0; e < 4; ++e) {
                const int f = (e + 1) % 4;
                if ((v[e] < level) != (v[f] < level)) found[count++] = cross(p[e], v[e], p[f], v[f]);
            }
            if (count >= 2) segments.push_back({found[0].x, found[0].y, found[1].x, found[1].y});
            // A saddle: the level crosses all four edges.
            if (count == 4) segments.push_back({found[2].x, found[2].y, found[3].x, found[3].y});
        }
    }
    return segments;
}

std::vector<double> contourLevels(const ErrorSpace& space, int maxLevels) {
    if (space.u.empty()) return {};
    const auto [low, high] = std::minmax_element(space.u.begin(), space.u.end());
    if (!(std::isfinite(*low) && std::isfinite(*high)) || *high <= *low) return {};
    std::vector<double> levels;
    for (const double level : niceTicks(AxisRange{*low, *high}, maxLevels)) {
        if (level > *low && level < *high) levels.push_back(level);
    }
    return levels;
}

}  // namespace brinora::graph
