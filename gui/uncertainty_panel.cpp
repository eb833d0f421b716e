#include "gui/uncertainty_panel.h"

#include <QDoubleValidator>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLocale>
#include <QVBoxLayout>

#include <algorithm>

#include "engine/quantities.h"
#include "gui/qt_text.h"
#include "uncertainty_io/uncertainty_csv.h"

namespace brinora {

using namespace uncertainty;

namespace {

// The fields of the panel: object name, label, unit, pair code (0: not a parameter).
struct FieldRow {
    const char* name;
    const char* label;
    const char* unit;
    int code;
};
constexpr FieldRow kFieldRows[] = {
    {"uTA", "u(TA)", "µmol/kg", 1},          {"uTCO2", "u(TCO₂)", "µmol/kg", 2},
    {"upH", "u(pH)", "", 3},                 {"ufCO2", "u(fCO₂)", "µatm", 4},
    {"upCO2", "u(pCO₂)", "µatm", 5},         {"uSalinity", "u(Salinity)", "", 0},
    {"uTemperature", "u(Temperature)", "°C", 0}, {"uPhosphate", "u(Phosphate)", "µmol/kg", 0},
    {"uSilicate", "u(Silicate)", "µmol/kg", 0},
};

// The fields of the user's own set of the constants' uncertainties, in the
// order of the constants' sources: object name and label.
struct ConstantRow {
    const char* name;
    const char* label;
};
constexpr ConstantRow kConstantRows[kConstantSources] = {
    {"upK0", "pK0"},   {"upK1", "pK1"},     {"upK2", "pK2"},     {"upKB", "pKB"}, {"upKW", "pKW"},
    {"upKspA", "pKspA"}, {"upKspC", "pKspC"}, {"upKS", "pKS"},     {"upKF", "pKF"}, {"upKP1", "pKP1"},
    {"upKP2", "pKP2"}, {"upKP3", "pKP3"},   {"upKSi", "pKSi"},   {"uBoron", "Total boron"},
};

// A field's number: its text read in the C locale, 0 when it holds none.
double numberOf(const QLineEdit* field) {
    bool ok = false;
    const double value = QLocale::c().toDouble(field->text().trimmed(), &ok);
    return ok ? value : 0.0;
}

}  // namespace

QString uncertaintyResultLabel(std::size_t q) {
    std::string_view name = kQuantityNames[q];
    const bool out = q >= kFirstOutQuantity;
    if (out) name = name.substr(0, name.size() - 4);
    const brinora::Quantity* row = resultNamed(name);
    const QString label = row && !row->label.empty() ? toQString(row->label) : toQString(name);
    return out ? label + QObject::tr(" at output conditions") : label;
}

UncertaintyPanel::UncertaintyPanel(SettingsStore& defaults, QWidget* parent)
    : QWidget(parent), defaults_(defaults) {
    setObjectName("uncertaintyPage");
    const UncertaintyChoice stored = loadUncertaintyChoice(defaults_);
    loading_ = true;

    auto* inputs = new QGroupBox(tr("Standard uncertainties"), this);
    auto* grid = new QGridLayout(inputs);
    grid->setColumnStretch(0, 1);
    shown_ = new QCheckBox(tr("Propagate the uncertainties when calculating"), inputs);
    shown_->setObjectName("uncertaintyShown");
    shown_->setChecked(stored.shown);
    grid->addWidget(shown_, 0, 0, 1, 3);
    auto* validator = new QDoubleValidator(0.0, 1e9, 12, this);
    validator->setLocale(QLocale::c());
    validator->setNotation(QDoubleValidator::StandardNotation);
    const auto addRow = [&](const QString& name, const QString& label, const QString& unit, double value,
                            QValidator* check) {
        const int row = grid->rowCount();
        auto* field = new QLineEdit(QString::fromStdString(storedNumber(value)), inputs);
        field->setObjectName(name);
        field->setValidator(check);
        field->setMaximumWidth(110);
        auto* caption = new QLabel(label, inputs);
        caption->setBuddy(field);
        grid->addWidget(caption, row, 0);
        grid->addWidget(field, row, 1);
        grid->addWidget(new QLabel(unit, inputs), row, 2);
        fields_[name] = field;
        connect(field, &QLineEdit::textChanged, this, [this] { store(); });
    };
    for (const FieldRow& row : kFieldRows) {
        const double value = row.code > 0                                   ? stored.parameter[std::size_t(row.code)]
                             : QLatin1String(row.name) == "uSalinity"       ? stored.salinity
                             : QLatin1String(row.name) == "uTemperature"    ? stored.temperature
                             : QLatin1String(row.name) == "uPhosphate"      ? stored.phosphate
                                                                            : stored.silicate;
        addRow(QString::fromLatin1(row.name), QString::fromUtf8(row.label), QString::fromUtf8(row.unit), value,
               validator);
    }
    auto* correlation = new QDoubleValidator(-1.0, 1.0, 12, this);
    correlation->setLocale(QLocale::c());
    correlation->setNotation(QDoubleValidator::StandardNotation);
    addRow(QStringLiteral("uCorrelation"), tr("Correlation of the pair"), tr("−1 to 1"), stored.correlation,
           correlation);
    constants_ = new QComboBox(inputs);
    constants_->setObjectName("uConstants");
    constants_->addItem(tr("standard (Orr et al. 2018)"));
    constants_->addItem(tr("none"));
    constants_->addItem(tr("custom (below)"));
    constants_->setCurrentIndex(static_cast<int>(stored.constantsSet));  // the order of ConstantsSet
    constants_->setToolTip(tr("standard: pK0 0.002, pK1 0.0075, pK2 0.015, pKB 0.01, pKW 0.01, pKspA 0.02, "
                              "pKspC 0.02, total boron 2 %"));
    {
        const int row = grid->rowCount();
        auto* caption = new QLabel(tr("Constants"), inputs);
        caption->setBuddy(constants_);
        grid->addWidget(caption, row, 0);
        grid->addWidget(constants_, row, 1, 1, 2);
    }
    // The user's own set, three constants a row; shown when "custom" is chosen.
    ownConstants_ = new QWidget(inputs);
    ownConstants_->setObjectName("uConstantSet");
    auto* own = new QGridLayout(ownConstants_);
    own->setContentsMargins(0, 0, 0, 0);
    for (std::size_t c = 0; c < kConstantSources; ++c) {
        const QString name = QString::fromLatin1(kConstantRows[c].name);
        auto* field = new QLineEdit(QString::fromStdString(storedNumber(stored.constants[c])), ownConstants_);
        field->setObjectName(name);
        field->setValidator(validator);
        field->setMaximumWidth(80);
        auto* caption = new QLabel(QString::fromLatin1(kConstantRows[c].label), ownConstants_);
        caption->setBuddy(field);
        const int row = static_cast<int>(c / 3), column = static_cast<int>(c % 3) * 2;
        own->addWidget(caption, row, column);
        own->addWidget(field, row, column + 1);
        fields_[name] = field;
        connect(field, &QLineEdit::textChanged, this, [this] { store(); });
    }
    auto* ownNote = new QLabel(tr("pK units; total boron relative (0.02 is 2 %)."), ownConstants_);
    ownNote->setObjectName("note");
    own->addWidget(ownNote, own->rowCount(), 0, 1, 6);
    ownConstants_->setHidden(stored.constantsSet != ConstantsSet::Custom);
    grid->addWidget(ownConstants_, grid->rowCount(), 0, 1, 3);
    auto* note = new QLabel(tr("Only the two carbonate parameters of the sample's pair are used. The same "
                               "uncertainties go into the batch's uncertainty file when its check box is on."),
                            inputs);
    note->setWordWrap(true);
    note->setObjectName("note");
    grid->addWidget(note, grid->rowCount(), 0, 1, 3);
    grid->setRowStretch(grid->rowCount(), 1);

    auto* budget = new QGroupBox(tr("Budget"), this);
    auto* budgetLayout = new QVBoxLayout(budget);
    budgetResult_ = new QComboBox(budget);
    budgetResult_->setObjectName("budgetResult");
    for (std::size_t q = 0; q < kQuantityCount; ++q) {
        budgetResult_->addItem(uncertaintyResultLabel(q), QString::fromLatin1(kQuantityNames[q].data(),
                                                                              int(kQuantityNames[q].size())));
    }
    const int chosen = budgetResult_->findData(QString::fromStdString(stored.budgetResult));
    budgetResult_->setCurrentIndex(chosen >= 0 ? chosen : 0);
    auto* resultRow = new QHBoxLayout;
    auto* resultLabel = new QLabel(tr("Result"), budget);
    resultLabel->setBuddy(budgetResult_);
    resultRow->addWidget(resultLabel);
    resultRow->addWidget(budgetResult_, 1);
    chart_ = new BudgetChart(budget);
    budgetLayout->addLayout(resultRow);
    budgetLayout->addWidget(chart_, 1);
    auto* budgetNote = new QLabel(tr("Each bar is a source's contribution |∂y/∂x|·u(x) to the result's standard "
                                     "uncertainty u, the last bar."),
                                  budget);
    budgetNote->setWordWrap(true);
    budgetNote->setObjectName("note");
    budgetLayout->addWidget(budgetNote);
    connect(budgetResult_, &QComboBox::currentIndexChanged, this, [this] {
        store();
        drawBudget();
    });
    connect(shown_, &QCheckBox::toggled, this, [this] { store(); });
    connect(constants_, &QComboBox::currentIndexChanged, this, [this](int index) {
        ownConstants_->setHidden(index != static_cast<int>(ConstantsSet::Custom));
        store();
    });
    chart_->setBars(tr("Calculate a sample to see its budget."), {});

    auto* layout = new QHBoxLayout(this);
    layout->addWidget(inputs, 2);
    layout->addWidget(budget, 3);
    loading_ = false;
}

QLineEdit* UncertaintyPanel::field(const QString& name) const {
    const auto found = fields_.find(name);
    return found == fields_.end() ? nullptr : found->second;
}

UncertaintyChoice UncertaintyPanel::choice() const {
    UncertaintyChoice choice = loadUncertaintyChoice(defaults_);
    choice.shown = shown_->isChecked();
    for (const FieldRow& row : kFieldRows) {
        if (row.code > 0) choice.parameter[std::size_t(row.code)] = numberOf(field(QString::fromLatin1(row.name)));
    }
    choice.salinity = numberOf(field(QStringLiteral("uSalinity")));
    choice.temperature = numberOf(field(QStringLiteral("uTemperature")));
    choice.phosphate = numberOf(field(QStringLiteral("uPhosphate")));
    choice.silicate = numberOf(field(QStringLiteral("uSilicate")));
    choice.correlation = std::clamp(numberOf(field(QStringLiteral("uCorrelation"))), -1.0, 1.0);
    const int set = constants_->currentIndex();
    choice.constantsSet = set == static_cast<int>(ConstantsSet::None)     ? ConstantsSet::None
                          : set == static_cast<int>(ConstantsSet::Custom) ? ConstantsSet::Custom
                                                                          : ConstantsSet::Standard;
    for (std::size_t c = 0; c < kConstantSources; ++c) {
        choice.constants[c] = std::max(0.0, numberOf(field(QString::fromLatin1(kConstantRows[c].name))));
    }
    choice.budgetResult = budgetResult_->currentData().toString().toStdString();
    return choice;
}

void UncertaintyPanel::store() {
    if (loading_) return;
    storeUncertaintyChoice(defaults_, choice());
    Q_EMIT choiceChanged();
}

void UncertaintyPanel::showBudget(const SampleUncertainty& result) {
    last_ = result;
    drawBudget();
}

void UncertaintyPanel::clearBudget(const QString& why) {
    last_.reset();
    chart_->setBars(why, {});
}

void UncertaintyPanel::drawBudget() {
    if (!last_) return;
    const std::size_t q = static_cast<std::size_t>(std::max(0, budgetResult_->currentIndex()));
    const SampleUncertainty& r = *last_;
    std::vector<BudgetChart::Bar> bars;
    for (std::size_t s = 0; s < kSourceCount; ++s) {
        if (r.u[s] == 0.0) continue;
        const double value = r.propagated.budget[q][s];
        bars.push_back({toQString(SourceName(s, r.sample.first, r.sample.second)), value,
                        QString::fromStdString(FormatUncertainty(value))});
    }
    const double u = r.propagated.u[q];
    bars.push_back({QStringLiteral("u"), u, QString::fromStdString(FormatUncertainty(u))});
    const std::string_view unit = QuantityUnit(q);
    chart_->setBars(tr("Budget of %1 (u = %2%3)")
                        .arg(uncertaintyResultLabel(q), QString::fromStdString(FormatUncertainty(u)),
                             unit.empty() ? QString() : QStringLiteral(" ") + toQString(unit)),
                    std::move(bars));
}

}  // namespace brinora
