#include "gui/error_space_view.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

#include <algorithm>

#include "graph/graph_scale.h"
#include "gui/qt_text.h"
#include "gui/uncertainty_panel.h"
#include "uncertainty_io/uncertainty_csv.h"

namespace brinora {

using namespace uncertainty;

namespace {
constexpr int kMarginLeft = 64;
constexpr int kMarginBottom = 48;
constexpr int kMarginTop = 28;
constexpr int kMarginRight = 16;
constexpr int kMaxLevels = 8;

// The pair's parameter `code` with its unit, e.g. "u(TA) [µmol/kg]".
QString parameterTitle(int code) {
    static const char* const names[] = {"", "TA", "TCO₂", "pH", "fCO₂", "pCO₂"};
    static const char* const units[] = {"", " [µmol/kg]", " [µmol/kg]", "", " [µatm]", " [µatm]"};
    return QStringLiteral("u(") + QString::fromUtf8(names[code]) + QStringLiteral(")") + QString::fromUtf8(units[code]);
}

// The first range of an axis: 0 to 20 micromol/kg or microatm, 0 to 0.02 for pH.
double defaultMaximum(int code) { return code == 3 ? 0.02 : 20.0; }
}  // namespace

ErrorSpaceView::ErrorSpaceView(QWidget* parent) : QWidget(parent) {
    setObjectName("errorSpaceView");
    setMinimumSize(360, 280);
}

void ErrorSpaceView::setSpace(graph::ErrorSpace space, const QString& xTitle, const QString& yTitle,
                              const QString& unit) {
    if (space.u.empty()) {
        space_.reset();
        levels_.clear();
        update();
        return;
    }
    levels_ = graph::contourLevels(space, kMaxLevels);
    space_ = std::move(space);
    xTitle_ = xTitle;
    yTitle_ = yTitle;
    unit_ = unit;
    update();
}

void ErrorSpaceView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().base());
    if (!space_) return;
    const graph::ErrorSpace& s = *space_;
    graph::PlotTransform t;
    t.view = graph::GraphView{{0.0, s.maxFirst}, {0.0, s.maxSecond}};
    t.left = kMarginLeft;
    t.top = kMarginTop;
    t.width = std::max(10, width() - kMarginLeft - kMarginRight);
    t.height = std::max(10, height() - kMarginTop - kMarginBottom);
    const QColor ink = palette().text().color();
    painter.setPen(ink);
    painter.drawRect(QRectF(t.left, t.top, t.width, t.height));
    const QFontMetrics metrics = fontMetrics();
    // Ticks and their labels.
    const double xStep = graph::niceStep(t.view.x, 6), yStep = graph::niceStep(t.view.y, 6);
    for (const double x : graph::niceTicks(t.view.x, 6)) {
        const double px = t.px(x);
        painter.drawLine(QPointF(px, t.top + t.height), QPointF(px, t.top + t.height + 4));
        const QString label = QString::fromStdString(graph::tickLabel(x, xStep));
        painter.drawText(QPointF(px - metrics.horizontalAdvance(label) / 2.0, t.top + t.height + 6 + metrics.ascent()),
                         label);
    }
    for (const double y : graph::niceTicks(t.view.y, 6)) {
        const double py = t.py(y);
        painter.drawLine(QPointF(t.left - 4, py), QPointF(t.left, py));
        const QString label = QString::fromStdString(graph::tickLabel(y, yStep));
        painter.drawText(QPointF(t.left - 6 - metrics.horizontalAdvance(label), py + metrics.ascent() / 2.0), label);
    }
    painter.drawText(QRectF(t.left, height() - metrics.height() - 2, t.width, metrics.height()), Qt::AlignCenter,
                     xTitle_);
    painter.save();
    painter.translate(12, t.top + t.height / 2.0);
    painter.rotate(-90);
    painter.drawText(QRectF(-t.height / 2.0, -metrics.height() / 2.0, t.height, metrics.height()), Qt::AlignCenter,
                     yTitle_);
    painter.restore();
    painter.drawText(QRectF(t.left, 4, t.width, metrics.height()), Qt::AlignLeft | Qt::AlignVCenter,
                     tr("u(%1)%2").arg(uncertaintyResultLabel(s.quantity),
                                       unit_.isEmpty() ? QString() : QStringLiteral(" [") + unit_ + QStringLiteral("]")));

    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setClipRect(QRectF(t.left, t.top, t.width, t.height));
    const auto drawLevel = [&](double level, const QPen& pen, bool label) {
        painter.setPen(pen);
        const std::vector<graph::ContourSegment> segments = graph::contourSegments(s, level);
        for (const graph::ContourSegment& g : segments) {
            painter.drawLine(QPointF(t.px(g.x0), t.py(g.y0)), QPointF(t.px(g.x1), t.py(g.y1)));
        }
        if (label && !segments.empty()) {
            // The label at the segment nearest the top or right edge.
            const graph::ContourSegment& g = segments[segments.size() / 2];
            painter.drawText(QPointF(t.px(g.x0) + 3, t.py(g.y0) - 3),
                             QString::fromStdString(FormatUncertainty(level)));
        }
    };
    QPen contour(QColor(60, 110, 180));
    contour.setWidthF(1.2);
    for (const double level : levels_) drawLevel(level, contour, true);
    QPen balance(QColor(200, 80, 40));
    balance.setWidthF(2.4);
    balance.setStyle(Qt::DashLine);
    drawLevel(s.balanceLevel, balance, false);
}

ErrorSpaceWindow::ErrorSpaceWindow(QWidget* parent) : QDialog(parent) {
    setObjectName("errorSpaceWindow");
    setWindowTitle(tr("Error Space"));
    result_ = new QComboBox(this);
    result_->setObjectName("errorSpaceResult");
    for (std::size_t q = 0; q < kQuantityCount; ++q) result_->addItem(uncertaintyResultLabel(q));
    maxFirst_ = new QDoubleSpinBox(this);
    maxFirst_->setObjectName("errorSpaceMaxFirst");
    maxSecond_ = new QDoubleSpinBox(this);
    maxSecond_->setObjectName("errorSpaceMaxSecond");
    for (QDoubleSpinBox* box : {maxFirst_, maxSecond_}) {
        box->setDecimals(4);
        box->setRange(0.0001, 1e6);
        box->setValue(20.0);
    }
    view_ = new ErrorSpaceView(this);
    note_ = new QLabel(this);
    note_->setObjectName("errorSpaceNote");
    note_->setWordWrap(true);
    auto* choices = new QHBoxLayout;
    auto* resultLabel = new QLabel(tr("&Result"), this);
    resultLabel->setBuddy(result_);
    choices->addWidget(resultLabel);
    choices->addWidget(result_, 1);
    choices->addWidget(new QLabel(tr("up to"), this));
    choices->addWidget(maxFirst_);
    choices->addWidget(new QLabel(QStringLiteral("×"), this));
    choices->addWidget(maxSecond_);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(choices);
    layout->addWidget(view_, 1);
    layout->addWidget(note_);
    connect(result_, &QComboBox::currentIndexChanged, this, [this] { redraw(); });
    connect(maxFirst_, &QDoubleSpinBox::valueChanged, this, [this] { redraw(); });
    connect(maxSecond_, &QDoubleSpinBox::valueChanged, this, [this] { redraw(); });
    setSample(std::nullopt, 0.0);
}

void ErrorSpaceWindow::setSample(const std::optional<SampleUncertainty>& sample, double correlation) {
    correlation_ = correlation;
    const bool newPair = !sample_ || !sample || sample_->sample.first != sample->sample.first ||
                         sample_->sample.second != sample->sample.second;
    sample_ = sample;
    if (sample_ && newPair) {
        const QSignalBlocker a(maxFirst_), b(maxSecond_);
        maxFirst_->setValue(defaultMaximum(sample_->sample.first));
        maxSecond_->setValue(defaultMaximum(sample_->sample.second));
    }
    redraw();
}

void ErrorSpaceWindow::redraw() {
    if (!sample_) {
        note_->setText(tr("Calculate a sample on the one-sample form with its uncertainties propagated (the "
                          "Uncertainties tab) to see its error space."));
        view_->setSpace(graph::ErrorSpace{}, QString(), QString(), QString());
        return;
    }
    const SampleUncertainty& r = *sample_;
    const std::size_t q = static_cast<std::size_t>(std::max(0, result_->currentIndex()));
    graph::ErrorSpace space = graph::computeErrorSpace(r.gradient, r.u, correlation_, q, maxFirst_->value(),
                                                       maxSecond_->value(), kGridPoints, kGridPoints);
    note_->setText(tr("Contours of u(y) with the other sources at their uncertainties; dashed: where the pair's "
                      "part equals the constants' part (u = %1, the constants alone %2).")
                       .arg(QString::fromStdString(FormatUncertainty(space.balanceLevel)),
                            QString::fromStdString(FormatUncertainty(space.constantsPart))));
    view_->setSpace(std::move(space), parameterTitle(r.sample.first), parameterTitle(r.sample.second),
                    toQString(QuantityUnit(q)));
}

}  // namespace brinora
