// The one-sample form's uncertainty panel: the standard uncertainties of the
// carbonate parameters (the two of the sample's pair are used), salinity,
// temperature, phosphate and silicate, the constants' uncertainties
// (the standard set of Orr et al. 2018, none, or the user's own, one field
// per constant), the pair's correlation and
// whether Calculate propagates them; and the budget of one result as a bar
// chart. Every change is stored at once in the stored settings.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QWidget>

#include <map>
#include <optional>
#include <string>

#include "app/uncertainty_choice.h"
#include "gui/budget_chart.h"

namespace brinora {

class UncertaintyPanel : public QWidget {
    Q_OBJECT
public:
    UncertaintyPanel(SettingsStore& defaults, QWidget* parent = nullptr);

    // The choice the panel shows (with the batch tab's flag as stored).
    UncertaintyChoice choice() const;

    // The budget of the result chosen in the budget menu for `result`; with
    // none, the chart is emptied and says `why`.
    void showBudget(const uncertainty::SampleUncertainty& result);
    void clearBudget(const QString& why);

    // The input field named `name`: "uTA", "uTCO2", "upH", "ufCO2", "upCO2",
    // "uSalinity", "uTemperature", "uPhosphate", "uSilicate", "uCorrelation",
    // and of the user's own constants' set "upK0" .. "upKSi", "uBoron".
    QLineEdit* field(const QString& name) const;
    QCheckBox* shownBox() const { return shown_; }
    QComboBox* constantsMenu() const { return constants_; }
    // The fields of the user's own constants' set (shown with "custom").
    QWidget* ownConstants() const { return ownConstants_; }
    QComboBox* budgetMenu() const { return budgetResult_; }
    BudgetChart* chart() const { return chart_; }

Q_SIGNALS:
    // The user changed a value of the panel (already stored).
    void choiceChanged();

private:
    void store();
    void drawBudget();

    SettingsStore& defaults_;
    std::map<QString, QLineEdit*> fields_;
    QCheckBox* shown_ = nullptr;
    QComboBox* constants_ = nullptr;
    QWidget* ownConstants_ = nullptr;
    QComboBox* budgetResult_ = nullptr;
    BudgetChart* chart_ = nullptr;
    std::optional<uncertainty::SampleUncertainty> last_;
    bool loading_ = false;
};

// The label of result `q` of the double-precision calculation as the form
// shows it, "at output conditions" added for those ("pH", "pH at output
// conditions").
QString uncertaintyResultLabel(std::size_t q);

}  // namespace brinora
