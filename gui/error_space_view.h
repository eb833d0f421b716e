// The error-space diagram of one sample (Orr et al. 2018): contour lines of
// the standard uncertainty u(y) of a result over the standard uncertainties
// of the pair's two parameters, with the level where the pair's part equals
// the constants' part drawn thick and dashed; and the window that shows it
// for the one-sample form's last calculated sample.
#pragma once

#include <QComboBox>
#include <QDialog>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QWidget>

#include <optional>

#include "graph/error_space.h"
#include "uncertainty_io/sample_uncertainty.h"

namespace brinora {

class ErrorSpaceView : public QWidget {
    Q_OBJECT
public:
    explicit ErrorSpaceView(QWidget* parent = nullptr);
    // The diagram of `space`; `xTitle` and `yTitle` name the pair's
    // uncertainties with their units, `unit` that of the result.
    void setSpace(graph::ErrorSpace space, const QString& xTitle, const QString& yTitle, const QString& unit);
    const std::optional<graph::ErrorSpace>& space() const { return space_; }
    // The contour levels drawn (the balance level not included).
    const std::vector<double>& levels() const { return levels_; }

    QSize sizeHint() const override { return {560, 420}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::optional<graph::ErrorSpace> space_;
    std::vector<double> levels_;
    QString xTitle_, yTitle_, unit_;
};

class ErrorSpaceWindow : public QDialog {
    Q_OBJECT
public:
    explicit ErrorSpaceWindow(QWidget* parent = nullptr);
    // The sample whose diagram is drawn, its pair correlated by
    // `correlation`; none: the window says how to get one.
    void setSample(const std::optional<uncertainty::SampleUncertainty>& sample, double correlation);

    QComboBox* resultMenu() const { return result_; }
    QDoubleSpinBox* maxFirst() const { return maxFirst_; }
    QDoubleSpinBox* maxSecond() const { return maxSecond_; }
    ErrorSpaceView* view() const { return view_; }
    QLabel* noteLabel() const { return note_; }

    // Grid points along each axis.
    static constexpr int kGridPoints = 41;

private:
    void redraw();

    std::optional<uncertainty::SampleUncertainty> sample_;
    double correlation_ = 0.0;
    QComboBox* result_ = nullptr;
    QDoubleSpinBox* maxFirst_ = nullptr;
    QDoubleSpinBox* maxSecond_ = nullptr;
    ErrorSpaceView* view_ = nullptr;
    QLabel* note_ = nullptr;
};

}  // namespace brinora
