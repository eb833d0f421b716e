#include <gtest/gtest.h>

#include <random>

#include "graph/graph_decimate.h"
#include "graph/graph_plot.h"
#include "graph/graph_scale.h"

namespace brinora::graph {
namespace {

TEST(GraphScale, TicksAreRoundNumbers) {
    EXPECT_EQ(niceTicks({0.0, 37.3}, 8), (std::vector<double>{0, 5, 10, 15, 20, 25, 30, 35}));
    EXPECT_EQ(niceStep({7.9, 8.1}, 5), 0.05);
    EXPECT_EQ(niceTicks({1900.0, 2420.0}, 5), (std::vector<double>{2000, 2200, 2400}));
    EXPECT_EQ(niceTicks({-4.2, 4200.0}, 6), (std::vector<double>{0, 1000, 2000, 3000, 4000}));
}

TEST(GraphScale, TickLabelsHaveTheDecimalsOfTheStep) {
    const std::vector<double> ticks = niceTicks({7.9, 8.1}, 5);
    std::vector<std::string> labels;
    for (const double t : ticks) labels.push_back(tickLabel(t, 0.05));
    EXPECT_EQ(labels, (std::vector<std::string>{"7.90", "7.95", "8.00", "8.05", "8.10"}));
    EXPECT_EQ(tickLabel(2000.0, 500.0), "2000");
    EXPECT_EQ(tickLabel(-1e-12, 0.05), "0.00");
    EXPECT_EQ(tickLabel(-0.0, 1.0), "0");
    EXPECT_EQ(tickLabel(-2.5, 0.5), "-2.5");
}

TEST(GraphScale, RangesAreFiniteAndPadded) {
    const float values[] = {3.0f, NAN, -INFINITY, 1.0f, 2.0f};
    const AxisRange range = finiteRange(values);
    EXPECT_EQ(range.min, 1.0);
    EXPECT_EQ(range.max, 3.0);
    const AxisRange padded = paddedRange(range);
    EXPECT_DOUBLE_EQ(padded.min, 0.9);
    EXPECT_DOUBLE_EQ(padded.max, 3.1);
    EXPECT_DOUBLE_EQ(paddedRange({35.0, 35.0}).min, 31.5);
    EXPECT_DOUBLE_EQ(paddedRange({0.0, 0.0}).max, 1.0);
}

TEST(GraphScale, ProfilesIncreaseDownwards) {
    PlotTransform profile{{{30, 40}, {0, 4000}}, 10, 20, 100, 200, true};
    EXPECT_EQ(profile.py(0), 20.0);
    EXPECT_EQ(profile.py(4000), 220.0);
    EXPECT_EQ(profile.valueY(120.0), 2000.0);
    PlotTransform plain = profile;
    plain.yDown = false;
    EXPECT_EQ(plain.py(0), 220.0);
    EXPECT_EQ(plain.py(4000), 20.0);
    EXPECT_EQ(plain.valueY(20.0), 4000.0);
    EXPECT_EQ(plain.px(35), 60.0);
    EXPECT_EQ(plain.valueX(60.0), 35.0);
}

TEST(GraphScale, AProfileOfSurfaceSamplesOnlyHasNoNegativePressures) {
    GraphSeries series;
    series.x = {35.0f, 34.9f};
    series.y = {0.0f, 0.0f};
    const GraphView view = fullView(series, true);
    EXPECT_DOUBLE_EQ(view.y.min, -0.03);
    EXPECT_DOUBLE_EQ(view.y.max, 1.0);
    EXPECT_EQ(niceTicks(view.y, 6).front(), 0.0);
}

TEST(GraphScale, ADepthProfileStartsAtTheSurface) {
    GraphSeries series;
    series.x = {35.0f, 34.9f, 34.8f};
    series.y = {5.0f, 1000.0f, 4000.0f};
    const GraphView view = fullView(series, true);
    EXPECT_DOUBLE_EQ(view.y.min, -120.0);
    EXPECT_DOUBLE_EQ(view.y.max, 4000.0 + 3995.0 * 0.05);
    EXPECT_DOUBLE_EQ(fullView(series, false).y.min, 5.0 - 3995.0 * 0.05);
}

TEST(GraphScale, ZoomAndPan) {
    const GraphView view{{0, 10}, {0, 100}};
    const GraphView zoomed = view.zoomedAbout(5, 50, 2.0);
    EXPECT_EQ(zoomed.x.min, 2.5);
    EXPECT_EQ(zoomed.x.max, 7.5);
    EXPECT_EQ(zoomed.y.min, 25.0);
    EXPECT_EQ(zoomed.y.max, 75.0);
    const GraphView corner = view.zoomedAbout(0, 0, 4.0);
    EXPECT_EQ(corner.x.max, 2.5);
    EXPECT_EQ(corner.y.max, 25.0);
    const GraphView moved = view.movedBy(1, -10);
    EXPECT_EQ(moved.x.min, 1.0);
    EXPECT_EQ(moved.y.max, 90.0);
}

TEST(GraphDecimate, OnePointPerCellInOrder) {
    const float x[] = {0.1f, 0.2f, 5.5f, 9.9f, 0.15f, 20.0f, NAN};
    const float y[] = {0.1f, 0.2f, 5.5f, 9.9f, 0.15f, 5.0f, 1.0f};
    const PlotTransform transform{{{0, 10}, {0, 10}}, 0, 0, 10, 10, false};
    // 0, 1 and 4 share a cell; 5 is outside; 6 is not a number.
    EXPECT_EQ(decimateToCells(x, y, transform), (std::vector<std::uint32_t>{0, 2, 3}));
    // Cells of 5 pixels: 3 shares the upper right one with 2.
    EXPECT_EQ(decimateToCells(x, y, transform, 5), (std::vector<std::uint32_t>{0, 2}));
}

TEST(GraphDecimate, KeepsTheExtremesOfEveryPixelColumn) {
    std::mt19937 generator(12345);
    std::normal_distribution<float> noise(0.0f, 1.0f);
    std::vector<float> x(200000), y(200000);
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] = noise(generator);
        y[i] = 0.5f * x[i] + noise(generator);
    }
    const PlotTransform transform{{{-4, 4}, {-5, 5}}, 30, 10, 320, 240, false};
    const std::vector<std::uint32_t> kept = decimateToCells(x, y, transform);
    EXPECT_LE(kept.size(), 320u * 240u);
    EXPECT_LT(kept.size(), x.size() / 4);

    // Lowest and highest pixel row per pixel column, over all points and over the kept ones.
    const auto extremes = [&](auto&& indices) {
        std::vector<std::pair<int, int>> rows(320, {1 << 30, -1});
        for (const std::uint32_t i : indices) {
            const double px = transform.px(x[i]) - transform.left;
            const double py = transform.py(y[i]) - transform.top;
            if (px < 0 || py < 0 || px >= 320 || py >= 240) continue;
            auto& [lo, hi] = rows[static_cast<int>(px)];
            lo = std::min(lo, static_cast<int>(py));
            hi = std::max(hi, static_cast<int>(py));
        }
        return rows;
    };
    std::vector<std::uint32_t> all(x.size());
    for (std::uint32_t i = 0; i < all.size(); ++i) all[i] = i;
    EXPECT_EQ(extremes(kept), extremes(all));
}

}  // namespace
}  // namespace brinora::graph
