// A bar chart of an uncertainty budget: one horizontal bar per source, its
// contribution |dy/dx| u(x) to the standard uncertainty of one result, and a
// last bar for the combined standard uncertainty u, each with its value.
#pragma once

#include <QString>
#include <QWidget>

#include <vector>

namespace brinora {

class BudgetChart : public QWidget {
    Q_OBJECT
public:
    struct Bar {
        QString name;   // the source ("ta", "pk2", ...) or "u"
        double value;   // in the unit of the result
        QString text;   // the value as written beside the bar
    };

    explicit BudgetChart(QWidget* parent = nullptr);

    // Replaces the bars; `title` names the result and its unit. No bars: the
    // chart shows `title` alone (why there is no budget).
    void setBars(const QString& title, std::vector<Bar> bars);
    const std::vector<Bar>& bars() const { return bars_; }
    const QString& title() const { return title_; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString title_;
    std::vector<Bar> bars_;
};

}  // namespace brinora
