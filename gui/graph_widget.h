// The graph on screen: the renderer's picture kept in an image and redrawn
// when the view changes; the wheel zooms about the pointer, dragging pans,
// and hovering a point shows its sample name, line number and both values.
#pragma once

#include <QImage>
#include <QPoint>
#include <QWidget>

#include <optional>
#include <vector>

#include "gui/graph_renderer.h"

namespace brinora {

class GraphWidget : public QWidget {
    Q_OBJECT
public:
    explicit GraphWidget(QWidget* parent = nullptr);

    // The scene shown (not owned; must outlive the widget or be replaced).
    void setScene(GraphScene* scene);
    GraphScene* scene() const { return scene_; }
    // Redraws after the scene changed.
    void sceneChanged();
    // Back to the view of every point.
    void resetView();

    // The text shown for the point nearest to `position` (within a few
    // pixels), or nothing.
    std::optional<QString> pointDescription(QPoint position) const;

    QSize sizeHint() const override { return {640, 440}; }

Q_SIGNALS:
    // The view was zoomed or panned.
    void viewChanged();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    bool event(QEvent* event) override;

private:
    void redraw();

    GraphScene* scene_ = nullptr;
    QImage picture_;
    std::vector<std::uint32_t> drawn_;  // series indices of the points drawn
    std::optional<QPoint> dragFrom_;
};

}  // namespace brinora
