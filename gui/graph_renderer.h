// Draws a graph with QPainter: frame, round ticks, axis titles with their
// units, the points (thinned to one per pixel cell on a raster), a colour bar
// or a legend of sample names, and the note on left-out samples. The desktop
// program's graph tab, its PNG and SVG export and `brinora plot` all use it.
#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QRectF>
#include <QSize>
#include <QString>

#include <string>
#include <vector>

#include "graph/graph_plot.h"
#include "graph/graph_table.h"

namespace brinora {

// Everything one graph shows.
struct GraphScene {
    const graph::GraphTable* table = nullptr;
    std::size_t xColumn = 0;
    std::size_t yColumn = 1;
    graph::ColourChoice colour;
    graph::GraphSeries series;
    graph::GraphView view;
    bool yDown = false;  // the y column is depth-like: values increase downwards
    // Standard uncertainties per table column and row (graph/graph_errors.h);
    // empty: no error bars.
    std::vector<std::vector<float>> errors;
    // Per point of the series: its ± u on the y axis, not a number when none.
    std::vector<float> yError;

    // Fills series, view and yDown from the table and the three choices.
    void update();
    // Back to the view that shows every point.
    void resetView();
};

class GraphRenderer {
public:
    // Diameter of a point marker in pixels.
    static constexpr double kMarkerSize = 5.0;

    // Plot area (inside the axes) of a picture of `size`.
    static QRectF plotArea(const GraphScene& scene, QSizeF size);
    // The value-to-pixel mapping of the plot area.
    static graph::PlotTransform transform(const GraphScene& scene, QSizeF size);

    // Draws the whole picture into `painter` over (0, 0, size). A raster
    // (`vector` false) gets one marker per pixel cell; a vector picture one
    // marker per point in the view. With `drawn`, a raster's drawn points
    // (drawnPoints) are kept there.
    static void render(QPainter& painter, const GraphScene& scene, QSizeF size, bool vector = false,
                       std::vector<std::uint32_t>* drawn = nullptr);

    // Table rows of the points drawn on a raster of `size`, in drawing order.
    static std::vector<std::uint32_t> drawnPoints(const GraphScene& scene, QSizeF size);

    // Colour of point `i` of the scene's series.
    static QColor pointColour(const GraphScene& scene, std::size_t i);
};

// Writes the picture as a PNG image or an SVG document (chosen by the
// extension of `path`, ".png" or ".svg", ignoring case) of `size` pixels.
// Returns an empty string, or why the file could not be written.
std::string exportGraph(const GraphScene& scene, const QString& path, QSize size);

}  // namespace brinora
