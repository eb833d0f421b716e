#include "gui/graph_widget.h"

#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>
#include <QWheelEvent>

#include <cmath>

#include "records/output_record.h"
#include "gui/qt_text.h"

namespace brinora {

namespace {

// Distance in pixels within which hovering finds a point.
constexpr double kHoverReach = 6.0;
// Zoom per wheel notch (120 units).
constexpr double kZoomPerNotch = 1.25;

}  // namespace

GraphWidget::GraphWidget(QWidget* parent) : QWidget(parent) {
    setObjectName("graphWidget");
    setMouseTracking(true);
    setMinimumSize(320, 240);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setCursor(Qt::OpenHandCursor);
}

void GraphWidget::setScene(GraphScene* scene) {
    scene_ = scene;
    sceneChanged();
}

void GraphWidget::sceneChanged() { redraw(); }

void GraphWidget::resetView() {
    if (!scene_ || !scene_->table) return;
    scene_->resetView();
    redraw();
    Q_EMIT viewChanged();
}

void GraphWidget::redraw() {
    const QSize pixels = size() * devicePixelRatioF();
    picture_ = QImage(pixels.expandedTo(QSize(1, 1)), QImage::Format_ARGB32_Premultiplied);
    picture_.setDevicePixelRatio(devicePixelRatioF());
    drawn_.clear();
    {
        QPainter painter(&picture_);
        if (scene_ && scene_->table) {
            GraphRenderer::render(painter, *scene_, QSizeF(size()), false, &drawn_);
        } else {
            painter.fillRect(rect(), palette().window());
            painter.setPen(palette().color(QPalette::PlaceholderText));
            painter.drawText(rect(), Qt::AlignCenter | Qt::TextWordWrap,
                             tr("No graph yet: run a batch, or open an output file or batch input file."));
        }
    }
    update();
}

std::optional<QString> GraphWidget::pointDescription(QPoint position) const {
    if (!scene_ || !scene_->table) return std::nullopt;
    const graph::PlotTransform t = GraphRenderer::transform(*scene_, QSizeF(size()));
    double best = kHoverReach * kHoverReach;
    std::optional<std::uint32_t> found;
    for (const std::uint32_t i : drawn_) {
        const double dx = t.px(scene_->series.x[i]) - position.x();
        const double dy = t.py(scene_->series.y[i]) - position.y();
        const double d = dx * dx + dy * dy;
        if (d <= best) {
            best = d;
            found = i;
        }
    }
    if (!found) return std::nullopt;
    const graph::GraphTable& table = *scene_->table;
    const std::uint32_t row = scene_->series.row[*found];
    const auto columns = table.columns();
    const std::string& name = table.nameOf(row);
    return tr("%1, line %2\n%3: %4\n%5: %6")
        .arg(name.empty() ? tr("(no name)") : toQString(name))
        .arg(table.lines[row])
        .arg(toQString(graph::axisLabel(columns[scene_->xColumn])))
        .arg(toQString(formatNumber(scene_->series.x[*found])))
        .arg(toQString(graph::axisLabel(columns[scene_->yColumn])))
        .arg(toQString(formatNumber(scene_->series.y[*found])));
}

void GraphWidget::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.drawImage(QPoint(0, 0), picture_);
}

void GraphWidget::resizeEvent(QResizeEvent*) { redraw(); }

void GraphWidget::wheelEvent(QWheelEvent* event) {
    if (!scene_ || !scene_->table) return;
    const graph::PlotTransform t = GraphRenderer::transform(*scene_, QSizeF(size()));
    const QPointF at = event->position();
    const double factor = std::pow(kZoomPerNotch, event->angleDelta().y() / 120.0);
    scene_->view = scene_->view.zoomedAbout(t.valueX(at.x()), t.valueY(at.y()), factor);
    redraw();
    Q_EMIT viewChanged();
    event->accept();
}

void GraphWidget::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        dragFrom_ = event->position().toPoint();
        setCursor(Qt::ClosedHandCursor);
    }
}

void GraphWidget::mouseMoveEvent(QMouseEvent* event) {
    if (!dragFrom_ || !scene_ || !scene_->table) return;
    const QPoint now = event->position().toPoint();
    const graph::PlotTransform t = GraphRenderer::transform(*scene_, QSizeF(size()));
    const double dx = t.valueX(dragFrom_->x()) - t.valueX(now.x());
    const double dy = t.valueY(dragFrom_->y()) - t.valueY(now.y());
    scene_->view = scene_->view.movedBy(dx, dy);
    dragFrom_ = now;
    redraw();
    Q_EMIT viewChanged();
}

void GraphWidget::mouseReleaseEvent(QMouseEvent*) {
    dragFrom_.reset();
    setCursor(Qt::OpenHandCursor);
}

bool GraphWidget::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        if (const auto text = pointDescription(help->pos())) {
            QToolTip::showText(help->globalPos(), *text, this);
        } else {
            QToolTip::hideText();
            event->ignore();
        }
        return true;
    }
    return QWidget::event(event);
}

}  // namespace brinora
