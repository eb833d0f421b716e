#include "gui/budget_chart.h"

#include <QPainter>

#include <algorithm>

namespace brinora {

namespace {
constexpr int kBarHeight = 16;
constexpr int kBarGap = 4;
constexpr int kNameWidth = 90;
constexpr int kValueWidth = 80;
}  // namespace

BudgetChart::BudgetChart(QWidget* parent) : QWidget(parent) {
    setObjectName("budgetChart");
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void BudgetChart::setBars(const QString& title, std::vector<Bar> bars) {
    title_ = title;
    bars_ = std::move(bars);
    updateGeometry();
    update();
}

QSize BudgetChart::sizeHint() const { return {420, 260}; }

QSize BudgetChart::minimumSizeHint() const { return {300, 160}; }

void BudgetChart::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.fillRect(rect(), palette().base());
    const int line = fontMetrics().height();
    painter.setPen(palette().text().color());
    painter.drawText(QRect(4, 2, width() - 8, line), Qt::AlignLeft | Qt::AlignVCenter, title_);
    if (bars_.empty()) return;
    double largest = 0.0;
    for (const Bar& bar : bars_) largest = std::max(largest, bar.value);
    const int left = kNameWidth;
    const int room = std::max(10, width() - left - kValueWidth - 8);
    // Bars fill the height left, as far as kBarHeight allows.
    const int count = static_cast<int>(bars_.size());
    const int step = std::clamp((height() - line - 8) / std::max(1, count), 6, kBarHeight + kBarGap);
    int y = line + 6;
    for (const Bar& bar : bars_) {
        const bool total = &bar == &bars_.back();
        const int length = largest > 0.0 ? static_cast<int>(room * (bar.value / largest) + 0.5) : 0;
        painter.setPen(palette().text().color());
        painter.drawText(QRect(4, y, kNameWidth - 8, step - kBarGap / 2), Qt::AlignRight | Qt::AlignVCenter,
                         bar.name);
        painter.fillRect(QRect(left, y, std::max(length, 1), step - kBarGap),
                         total ? QColor(200, 80, 40) : QColor(60, 110, 180));
        painter.drawText(QRect(left + length + 4, y, kValueWidth, step - kBarGap / 2),
                         Qt::AlignLeft | Qt::AlignVCenter, bar.text);
        y += step;
    }
}

}  // namespace brinora
