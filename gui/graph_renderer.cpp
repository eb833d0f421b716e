#include "gui/graph_renderer.h"

#include <QFileInfo>
#include <QFontMetricsF>
#include <QLinearGradient>
#include <QSvgGenerator>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>

#include "graph/graph_decimate.h"
#include "gui/qt_text.h"

namespace brinora {

namespace {

// Size of every text of the picture, in pixels.
constexpr int kFontPixels = 13;
// Space around the plot area, in pixels.
constexpr double kLeftMargin = 78.0;
constexpr double kBottomMargin = 58.0;
constexpr double kTopMargin = 16.0;
constexpr double kRightMargin = 20.0;
constexpr double kNoteHeight = 20.0;
constexpr double kColourBarWidth = 96.0;
constexpr double kLegendWidth = 160.0;

// Colour scale from dark blue over green to yellow (perceptually ordered).
constexpr std::array<QRgb, 5> kScaleStops = {0xff440154, 0xff3b528b, 0xff21918c, 0xff5ec962, 0xfffde725};
// Ten well separated colours for sample names.
constexpr std::array<QRgb, 10> kNameColours = {0xff1f77b4, 0xffff7f0e, 0xff2ca02c, 0xffd62728, 0xff9467bd,
                                               0xff8c564b, 0xffe377c2, 0xff7f7f7f, 0xffbcbd22, 0xff17becf};
constexpr QRgb kPlainColour = 0xff1f5f9f;
// Points a vector drawing holds one by one at most; beyond, one per pixel.
constexpr std::size_t kVectorPointsInFull = 20000;
// Hue step between the colours of names beyond the first ten: the golden
// ratio's fraction of the colour circle, so that no two names share a colour.
constexpr double kGoldenHueStep = 0.6180339887498949;
constexpr QRgb kNoColourValue = 0xffb0b0b0;

// Colour of sample name number `name`: the ten separated colours first,
// then hues a golden-ratio step apart in two alternating brightnesses.
QColor nameColour(std::size_t name) {
    if (name < kNameColours.size()) return QColor::fromRgba(kNameColours[name]);
    const std::size_t k = name - kNameColours.size();
    const double hue = std::fmod(0.07 + static_cast<double>(k) * kGoldenHueStep, 1.0);
    return QColor::fromHsvF(static_cast<float>(hue), 0.75f, k % 2 == 0 ? 0.85f : 0.6f);
}

QColor scaleColour(double t) {
    if (!std::isfinite(t)) return QColor::fromRgba(kNoColourValue);
    t = std::clamp(t, 0.0, 1.0) * (kScaleStops.size() - 1);
    const std::size_t i = std::min<std::size_t>(static_cast<std::size_t>(t), kScaleStops.size() - 2);
    const double f = t - static_cast<double>(i);
    const QColor a = QColor::fromRgba(kScaleStops[i]);
    const QColor b = QColor::fromRgba(kScaleStops[i + 1]);
    return QColor::fromRgbF(static_cast<float>(a.redF() + (b.redF() - a.redF()) * f),
                            static_cast<float>(a.greenF() + (b.greenF() - a.greenF()) * f),
                            static_cast<float>(a.blueF() + (b.blueF() - a.blueF()) * f));
}

double rightSpace(const GraphScene& scene) {
    switch (scene.colour.mode) {
        case graph::ColourMode::Column: return kColourBarWidth;
        case graph::ColourMode::SampleName: return kLegendWidth;
        case graph::ColourMode::None: break;
    }
    return 0.0;
}

// A round marker of `colour`, drawn once and stamped for every point; drawn
// at the target's pixel density (`ratio` device pixels per pixel), so that
// markers stay round and smooth on a scaled screen.
QImage markerSprite(const QColor& colour, qreal ratio) {
    const int side = static_cast<int>(std::ceil(GraphRenderer::kMarkerSize)) + 2;
    const int pixels = static_cast<int>(std::ceil(side * ratio));
    QImage sprite(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    sprite.setDevicePixelRatio(ratio);
    sprite.fill(Qt::transparent);
    QPainter p(&sprite);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(colour.darker(140), 0.8));
    p.setBrush(colour);
    p.drawEllipse(QRectF(1, 1, GraphRenderer::kMarkerSize, GraphRenderer::kMarkerSize));
    return sprite;
}

void drawAxes(QPainter& painter, const GraphScene& scene, const QRectF& area, const graph::PlotTransform& t) {
    const QFontMetricsF metrics(painter.font());
    const graph::AxisRange yRange{std::min(scene.view.y.min, scene.view.y.max),
                                  std::max(scene.view.y.min, scene.view.y.max)};
    const int xTicks = std::max(2, static_cast<int>(area.width() / 80.0));
    const int yTicks = std::max(2, static_cast<int>(area.height() / 45.0));
    const double xStep = graph::niceStep(scene.view.x, xTicks);
    const double yStep = graph::niceStep(yRange, yTicks);

    painter.setPen(QPen(QColor(0xe4, 0xe4, 0xe4), 1.0));
    for (const double x : graph::niceTicks(scene.view.x, xTicks)) {
        painter.drawLine(QPointF(t.px(x), area.top()), QPointF(t.px(x), area.bottom()));
    }
    for (const double y : graph::niceTicks(yRange, yTicks)) {
        painter.drawLine(QPointF(area.left(), t.py(y)), QPointF(area.right(), t.py(y)));
    }

    painter.setPen(QPen(Qt::black, 1.0));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(area);
    for (const double x : graph::niceTicks(scene.view.x, xTicks)) {
        const double px = t.px(x);
        painter.drawLine(QPointF(px, area.bottom()), QPointF(px, area.bottom() + 5));
        const QString label = toQString(graph::tickLabel(x, xStep));
        const double w = metrics.horizontalAdvance(label);
        painter.drawText(QPointF(px - w / 2, area.bottom() + 7 + metrics.ascent()), label);
    }
    for (const double y : graph::niceTicks(yRange, yTicks)) {
        const double py = t.py(y);
        painter.drawLine(QPointF(area.left() - 5, py), QPointF(area.left(), py));
        const QString label = toQString(graph::tickLabel(y, yStep));
        const double w = metrics.horizontalAdvance(label);
        painter.drawText(QPointF(area.left() - 8 - w, py + metrics.ascent() / 2 - 1), label);
    }

    const auto columns = scene.table->columns();
    const QString xTitle = toQString(graph::axisLabel(columns[scene.xColumn]));
    const QString yTitle = toQString(graph::axisLabel(columns[scene.yColumn]));
    painter.drawText(QPointF(area.center().x() - metrics.horizontalAdvance(xTitle) / 2,
                             area.bottom() + 12 + metrics.height() + metrics.ascent()),
                     xTitle);
    painter.save();
    painter.translate(14 + metrics.ascent(), area.center().y() + metrics.horizontalAdvance(yTitle) / 2);
    painter.rotate(-90);
    painter.drawText(QPointF(0, 0), yTitle);
    painter.restore();
    // Values increase downwards: an arrow under the title, drawn upright so
    // that it points down (turned with the title it would point right).
    if (scene.yDown) {
        const QString arrow = QStringLiteral("↓");
        painter.drawText(QPointF(14 + metrics.ascent() / 2 - metrics.horizontalAdvance(arrow) / 2,
                                 area.center().y() + metrics.horizontalAdvance(yTitle) / 2 + 4 + metrics.ascent()),
                         arrow);
    }
}

void drawColourKey(QPainter& painter, const GraphScene& scene, const QRectF& area) {
    const QFontMetricsF metrics(painter.font());
    const auto columns = scene.table->columns();
    if (scene.colour.mode == graph::ColourMode::Column) {
        const QRectF bar(area.right() + 14, area.top() + 4, 14, area.height() - 8);
        QLinearGradient gradient(bar.bottomLeft(), bar.topLeft());
        for (std::size_t i = 0; i < kScaleStops.size(); ++i) {
            gradient.setColorAt(static_cast<double>(i) / (kScaleStops.size() - 1), QColor::fromRgba(kScaleStops[i]));
        }
        painter.setPen(QPen(Qt::black, 0.8));
        painter.setBrush(gradient);
        painter.drawRect(bar);
        const graph::AxisRange range = scene.series.colourRange;
        const double span = range.span() > 0 ? range.span() : 1.0;
        const double step = graph::niceStep(range, 5);
        for (const double v : graph::niceTicks(range, 5)) {
            const double y = bar.bottom() - (v - range.min) / span * bar.height();
            painter.drawLine(QPointF(bar.right(), y), QPointF(bar.right() + 4, y));
            painter.drawText(QPointF(bar.right() + 6, y + metrics.ascent() / 2 - 1),
                             toQString(graph::tickLabel(v, step)));
        }
        const QString title = toQString(graph::axisLabel(columns[scene.colour.column]));
        painter.save();
        painter.translate(bar.right() + 70, bar.center().y() + metrics.horizontalAdvance(title) / 2);
        painter.rotate(-90);
        painter.drawText(QPointF(0, 0), title);
        painter.restore();
        return;
    }
    if (scene.colour.mode != graph::ColourMode::SampleName) return;
    // The names of the points drawn, in order of appearance.
    std::vector<std::uint32_t> shown;
    std::vector<bool> seen(scene.table->names.size(), false);
    for (const std::uint32_t row : scene.series.row) {
        const std::uint32_t name = scene.table->nameIndex[row];
        if (!seen[name]) {
            seen[name] = true;
            shown.push_back(name);
        }
    }
    double y = area.top() + 4;
    const double x = area.right() + 12;
    const double lineHeight = metrics.height() + 3;
    // As many names as the height of the plot holds; a last line counts the rest.
    const auto rows = static_cast<std::size_t>(std::max(1.0, std::floor((area.height() - 8) / lineHeight)));
    const std::size_t entries = shown.size() <= rows ? shown.size() : rows - 1;
    for (std::size_t i = 0; i < entries; ++i) {
        const QColor colour = nameColour(shown[i]);
        painter.setPen(QPen(colour.darker(140), 0.8));
        painter.setBrush(colour);
        painter.drawRect(QRectF(x, y + (lineHeight - 8) / 2, 8, 8));
        painter.setPen(Qt::black);
        const QString name = toQString(scene.table->names[shown[i]]);
        painter.drawText(QPointF(x + 13, y + metrics.ascent()),
                         metrics.elidedText(name.isEmpty() ? QStringLiteral("(no name)") : name, Qt::ElideRight,
                                            kLegendWidth - 30));
        y += lineHeight;
    }
    if (shown.size() > entries) {
        painter.setPen(Qt::black);
        painter.drawText(QPointF(x, y + metrics.ascent()), QStringLiteral("+%1 more").arg(shown.size() - entries));
    }
}

}  // namespace

namespace {

// Error bars of at most this many points are drawn.
constexpr std::size_t kMostErrorBars = 20000;

// A vertical bar from y - u to y + u with short caps at every point that has
// a finite u greater than 0.
void drawErrorBars(QPainter& painter, const GraphScene& scene, const graph::PlotTransform& t) {
    if (scene.yError.size() != scene.series.y.size() || scene.yError.size() > kMostErrorBars) return;
    painter.save();
    painter.setPen(QPen(QColor(90, 90, 90), 1.0));
    constexpr double cap = 3.0;
    for (std::size_t i = 0; i < scene.yError.size(); ++i) {
        const double u = scene.yError[i];
        if (!(std::isfinite(u) && u > 0.0)) continue;
        const double px = t.px(scene.series.x[i]);
        const double low = t.py(scene.series.y[i] - u), high = t.py(scene.series.y[i] + u);
        painter.drawLine(QPointF(px, low), QPointF(px, high));
        painter.drawLine(QPointF(px - cap, low), QPointF(px + cap, low));
        painter.drawLine(QPointF(px - cap, high), QPointF(px + cap, high));
    }
    painter.restore();
}

}  // namespace

void GraphScene::update() {
    const auto columns = table->columns();
    series = graph::makeSeries(*table, xColumn, yColumn, colour);
    yDown = columns[yColumn].depthLike;
    yError.assign(series.y.size(), std::numeric_limits<float>::quiet_NaN());
    if (yColumn < errors.size() && errors[yColumn].size() == table->rows()) {
        for (std::size_t i = 0; i < series.row.size(); ++i) yError[i] = errors[yColumn][series.row[i]];
    }
    resetView();
}

void GraphScene::resetView() { view = graph::fullView(series, yDown); }

QRectF GraphRenderer::plotArea(const GraphScene& scene, QSizeF size) {
    const double bottom = kBottomMargin + (graph::leftOutNote(scene.series).empty() ? 0.0 : kNoteHeight);
    return QRectF(kLeftMargin, kTopMargin, std::max(10.0, size.width() - kLeftMargin - kRightMargin - rightSpace(scene)),
                  std::max(10.0, size.height() - kTopMargin - bottom));
}

graph::PlotTransform GraphRenderer::transform(const GraphScene& scene, QSizeF size) {
    const QRectF area = plotArea(scene, size);
    return graph::PlotTransform{scene.view, area.left(), area.top(), area.width(), area.height(), scene.yDown};
}

QColor GraphRenderer::pointColour(const GraphScene& scene, std::size_t i) {
    switch (scene.colour.mode) {
        case graph::ColourMode::Column: {
            const graph::AxisRange range = scene.series.colourRange;
            const double span = range.span() > 0 ? range.span() : 1.0;
            return scaleColour((scene.series.colour[i] - range.min) / span);
        }
        case graph::ColourMode::SampleName:
            return nameColour(static_cast<std::size_t>(scene.series.colour[i]));
        case graph::ColourMode::None: break;
    }
    return QColor::fromRgba(kPlainColour);
}

std::vector<std::uint32_t> GraphRenderer::drawnPoints(const GraphScene& scene, QSizeF size) {
    return graph::decimateToCells(scene.series.x, scene.series.y, transform(scene, size));
}

void GraphRenderer::render(QPainter& painter, const GraphScene& scene, QSizeF size, bool vector,
                           std::vector<std::uint32_t>* drawn) {
    painter.save();
    QFont font = painter.font();
    font.setPixelSize(kFontPixels);
    painter.setFont(font);
    painter.fillRect(QRectF(QPointF(0, 0), size), Qt::white);
    if (!scene.table) {
        painter.restore();
        return;
    }
    const QRectF area = plotArea(scene, size);
    const graph::PlotTransform t = transform(scene, size);
    drawAxes(painter, scene, area, t);

    painter.save();
    painter.setClipRect(area);
    drawErrorBars(painter, scene, t);
    const double r = kMarkerSize / 2;
    if (vector) {
        // Every point of a small series; a large one keeps one point per
        // pixel of the drawing, as on the screen, so that a drawing of a
        // million samples stays the size of what it shows.
        painter.setRenderHint(QPainter::Antialiasing);
        std::vector<std::uint32_t> points;
        if (scene.series.x.size() > kVectorPointsInFull) {
            points = graph::decimateToCells(scene.series.x, scene.series.y, t);
        } else {
            points.resize(scene.series.x.size());
            for (std::size_t i = 0; i < points.size(); ++i) points[i] = static_cast<std::uint32_t>(i);
        }
        for (const std::uint32_t i : points) {
            const double px = t.px(scene.series.x[i]);
            const double py = t.py(scene.series.y[i]);
            if (px < area.left() - r || px > area.right() + r || py < area.top() - r || py > area.bottom() + r) continue;
            const QColor colour = pointColour(scene, i);
            painter.setPen(QPen(colour.darker(140), 0.8));
            painter.setBrush(colour);
            painter.drawEllipse(QPointF(px, py), r, r);
        }
    } else {
        std::map<QRgb, QImage> sprites;
        const qreal ratio = painter.device() ? painter.device()->devicePixelRatioF() : 1.0;
        std::vector<std::uint32_t> points = graph::decimateToCells(scene.series.x, scene.series.y, t);
        for (const std::uint32_t i : points) {
            const QRgb key = pointColour(scene, i).rgba();
            auto found = sprites.find(key);
            if (found == sprites.end()) found = sprites.emplace(key, markerSprite(QColor::fromRgba(key), ratio)).first;
            const double px = t.px(scene.series.x[i]);
            const double py = t.py(scene.series.y[i]);
            painter.drawImage(QPointF(std::round(px - r - 1), std::round(py - r - 1)), found->second);
        }
        if (drawn) *drawn = std::move(points);
    }
    painter.restore();

    drawColourKey(painter, scene, area);
    const std::string note = graph::leftOutNote(scene.series);
    if (!note.empty()) {
        const QFontMetricsF metrics(painter.font());
        painter.setPen(QColor(0x80, 0x30, 0x00));
        painter.drawText(QPointF(area.left(), size.height() - 6 - metrics.descent()), toQString(note));
    }
    painter.restore();
}

std::string exportGraph(const GraphScene& scene, const QString& path, QSize size) {
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (size.width() < 100 || size.height() < 100 || size.width() > 20000 || size.height() > 20000) {
        return "the picture size must be from 100 to 20000 pixels each way";
    }
    if (suffix == QLatin1String("png")) {
        QImage image(size, QImage::Format_ARGB32_Premultiplied);
        {
            QPainter painter(&image);
            GraphRenderer::render(painter, scene, QSizeF(size), false);
        }
        if (!image.save(path, "PNG")) return "the PNG image could not be written to " + path.toStdString();
        return {};
    }
    if (suffix == QLatin1String("svg")) {
        QSvgGenerator generator;
        generator.setFileName(path);
        generator.setSize(size);
        generator.setViewBox(QRect(QPoint(0, 0), size));
        generator.setTitle(QStringLiteral("Brinora graph"));
        QPainter painter;
        if (!painter.begin(&generator)) return "the SVG document could not be written to " + path.toStdString();
        GraphRenderer::render(painter, scene, QSizeF(size), true);
        if (!painter.end()) return "the SVG document could not be written to " + path.toStdString();
        if (!QFileInfo(path).isFile()) return "the SVG document could not be written to " + path.toStdString();
        return {};
    }
    return "the file name must end in .png or .svg: " + path.toStdString();
}

}  // namespace brinora
