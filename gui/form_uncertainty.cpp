// The uncertainties of the main window: the Uncertainties page of the
// one-sample tab, the "± u" labels beside the results, the batch tab's check
// box for the uncertainty file and the error-space window. The propagation is
// the one of `brinora calc --u-...` (app/uncertainty_choice.h).
#include <QGridLayout>

#include "app/settings_keys.h"
#include "engine/engine.h"
#include "engine/quantities.h"
#include "gui/bound_fields.h"
#include "gui/brinora_app_controller.h"
#include "gui/error_space_view.h"
#include "gui/graph_page.h"
#include "gui/uncertainty_panel.h"

namespace brinora {

namespace {
// Width of the result fields beside their "± u" labels, in pixels.
constexpr int kResultFieldWidth = 78;
// Space between the columns of a result group, in pixels.
constexpr int kResultColumnSpacing = 5;
}  // namespace

QWidget* BrinoraAppController::buildUncertaintyPage() {
    uncertaintyPanel_ = new UncertaintyPanel(defaults_, this);
    // A change of the uncertainties takes the "± u" of the last sample away:
    // they no longer belong to what the panel shows.
    connect(uncertaintyPanel_, &UncertaintyPanel::choiceChanged, this, [this] {
        if (formUncertainty_ && !uncertaintyPanel_->choice().shown) {
            clearFormUncertainties(tr("Uncertainties are not propagated (see the check box)."));
        }
    });
    return uncertaintyPanel_;
}

QCheckBox* BrinoraAppController::buildBatchUncertaintyBox(QWidget* parent) {
    batchUncertaintyBox_ = new QCheckBox(tr("Also write the uncertainty file (<output>_uncertainty.csv) with the "
                                            "uncertainties of the one-sample form's Uncertainties tab"),
                                         parent);
    batchUncertaintyBox_->setObjectName("batchUncertaintyFile");
    batchUncertaintyBox_->setChecked(loadUncertaintyChoice(defaults_).batchFile);
    connect(batchUncertaintyBox_, &QCheckBox::toggled, this, [this](bool on) {
        defaults_.setValue(settings::kUncertaintyBatchFile, on ? "1" : "0");
    });
    return batchUncertaintyBox_;
}

void BrinoraAppController::wireUncertainties() {
    connect(graphPage_, &GraphPage::errorSpaceRequested, this, &BrinoraAppController::showErrorSpace);
    for (BoundField* bound : form_.outputFields()) {
        auto* field = dynamic_cast<OutputTextField*>(bound);
        if (!field || !field->parentWidget()) continue;
        auto* grid = qobject_cast<QGridLayout*>(field->parentWidget()->layout());
        if (!grid) continue;
        const int index = grid->indexOf(field);
        if (index < 0) continue;
        int row = 0, column = 0, rows = 0, columns = 0;
        grid->getItemPosition(index, &row, &column, &rows, &columns);
        // The result fields and their unit column give the "± u" column
        // room, so that the page still fits a 1366 by 768 screen: the
        // numbers ("-1234.567") and the units still show whole.
        field->setMinimumWidth(kResultFieldWidth);
        grid->setColumnMinimumWidth(2, 0);
        grid->setHorizontalSpacing(kResultColumnSpacing);
        if (QLayoutItem* unit = grid->itemAtPosition(row, 2); unit && unit->widget()) unit->widget()->setMinimumWidth(0);
        auto* label = new QLabel(field->parentWidget());
        label->setObjectName(QStringLiteral("uncertainty_%1").arg(field->tag()));
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        QFont font = label->font();
        font.setPointSizeF(font.pointSizeF() * 0.92);
        label->setFont(font);
        // Room for "± 0.0119" from the start, so that the window's size
        // counts it and a calculation moves nothing.
        label->setText(QStringLiteral("± 0.0000"));
        label->setMinimumWidth(label->sizeHint().width());
        label->clear();
        grid->addWidget(label, row, 3);
        uncertaintyLabels_.emplace_back(bound, label);
    }
}

std::vector<QLabel*> BrinoraAppController::uncertaintyLabels(std::uint32_t tag) const {
    std::vector<QLabel*> labels;
    for (const auto& [field, label] : uncertaintyLabels_) {
        if (field->tag() == tag) labels.push_back(label);
    }
    return labels;
}

void BrinoraAppController::showFormUncertainties() {
    const UncertaintyChoice choice = uncertaintyPanel_->choice();
    if (!choice.shown) {
        clearFormUncertainties(tr("Uncertainties are not propagated (see the check box)."));
        return;
    }
    uncertainty::SampleUncertainty result;
    if (!propagateFormSample(Engine::sharedInstance()->board(), choice, result)) {
        clearFormUncertainties(tr("No uncertainties: the double-precision calculation has no solution for "
                                  "this sample."));
        return;
    }
    for (const auto& [field, label] : uncertaintyLabels_) {
        const double u = uncertainty::RowUncertainty(quantityAtSlot(field->tag()), result);
        label->setText(u >= 0.0 ? QStringLiteral("± ") + QString::fromStdString(uncertainty::FormatUncertainty(u))
                                : QString());
    }
    uncertaintyPanel_->showBudget(result);
    formUncertainty_ = result;
    if (errorSpaceWindow_) errorSpaceWindow_->setSample(formUncertainty_, choice.correlation);
}

void BrinoraAppController::clearFormUncertainties(const QString& why) {
    for (const auto& [field, label] : uncertaintyLabels_) label->clear();
    if (uncertaintyPanel_) uncertaintyPanel_->clearBudget(why);
    formUncertainty_.reset();
    if (errorSpaceWindow_) errorSpaceWindow_->setSample(std::nullopt, 0.0);
}

void BrinoraAppController::switchToUncertainties() {
    form_.switchToConstants();
    selectTab(TabView::DataConstants, kUncertaintyTab);
}

void BrinoraAppController::showErrorSpace() {
    if (!errorSpaceWindow_) {
        errorSpaceWindow_ = new ErrorSpaceWindow(this);
        errorSpaceWindow_->resize(680, 560);
    }
    errorSpaceWindow_->setSample(formUncertainty_, uncertaintyPanel_->choice().correlation);
    errorSpaceWindow_->show();
    errorSpaceWindow_->raise();
}

}  // namespace brinora
